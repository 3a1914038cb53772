// SPDX-License-Identifier: MIT
#include "Velmorin/LiveLog.h"

#include "Platform/Memory/MemoryClock.h"

#include <gtest/gtest.h>

#include <thread>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

class LiveLogTest : public testing::Test {
protected:
    std::shared_ptr<MemoryMainQueue> mainQueue = std::make_shared<MemoryMainQueue>();
    std::shared_ptr<LiveLog> log =
        std::make_shared<LiveLog>(mainQueue, std::make_shared<MemoryClock>(mainQueue));
};

TEST_F(LiveLogTest, StampsTheCallAndAppendsOnALaterTurn) {
    mainQueue->asyncAfter(10ms, [this] {
        log->add(QStringLiteral("Velmorin launched %1"));
        EXPECT_TRUE(log->entries().isEmpty());
    });
    mainQueue->advance(5s);
    EXPECT_EQ(log->entries(), QStringList{QStringLiteral("[09:05:03.260] Velmorin launched %1")});
}

TEST_F(LiveLogTest, KeepsTheNewest300Lines) {
    const auto add = [this](int number) {
        log->add(QString::number(number));
        mainQueue->runUntilIdle();
    };
    for (int i = 1; i <= 300; ++i) {
        add(i);
    }
    EXPECT_EQ(log->entries().size(), 300);
    EXPECT_TRUE(log->entries().constFirst().endsWith(QStringLiteral("] 1")));

    add(301);
    EXPECT_EQ(log->entries().size(), 300);
    EXPECT_TRUE(log->entries().constFirst().endsWith(QStringLiteral("] 2")));
    EXPECT_TRUE(log->entries().constLast().endsWith(QStringLiteral("] 301")));
}

TEST_F(LiveLogTest, NotifiesBeforeAndAfterEachChange) {
    QList<qsizetype> before;
    QList<qsizetype> after;
    QObject::connect(log.get(), &LiveLog::objectWillChange,
                     [&] { before.append(log->entries().size()); });
    QObject::connect(log.get(), &LiveLog::entriesChanged,
                     [&] { after.append(log->entries().size()); });
    log->add(QStringLiteral("one"));
    log->add(QStringLiteral("two"));
    mainQueue->runUntilIdle();
    log->setEntries({});
    log->setEntries({});
    EXPECT_EQ(before, (QList<qsizetype>{0, 1, 2, 0}));
    EXPECT_EQ(after, (QList<qsizetype>{1, 2, 0, 0}));
}

TEST_F(LiveLogTest, TakesLinesFromOtherThreadsInTheirOrder) {
    constexpr int lines = 100;
    const auto addAll = [this](const QString& name) {
        for (int i = 0; i < lines; ++i) {
            log->add(name + QString::number(i));
        }
    };
    {
        const std::jthread first(addAll, QStringLiteral("first "));
        const std::jthread second(addAll, QStringLiteral("second "));
        addAll(QStringLiteral("main "));
        mainQueue->runUntilIdle();
    }
    mainQueue->runUntilIdle();
    ASSERT_EQ(log->entries().size(), 3 * lines);
    for (const QString& name : {QStringLiteral("] first "), QStringLiteral("] second ")}) {
        const QStringList own = log->entries().filter(name);
        ASSERT_EQ(own.size(), lines);
        for (int i = 0; i < lines; ++i) {
            EXPECT_TRUE(own[i].endsWith(name + QString::number(i)));
        }
    }
}

TEST_F(LiveLogTest, ALineThatOutlivesTheLogIsDropped) {
    log->add(QStringLiteral("late"));
    log.reset();
    mainQueue->runUntilIdle();
}

} // namespace
} // namespace velmorin
