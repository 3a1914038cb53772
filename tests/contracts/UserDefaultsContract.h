// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/UserDefaults.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QPoint>
#include <QTimeZone>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

namespace velmorin {

/// What every implementation of UserDefaults owes. `Port` has `defaults()`, and `reopen()`, after
/// which `defaults()` is whatever sees the same values through no memory of the earlier one.
template <typename Port>
class UserDefaultsContract : public testing::Test {
protected:
    UserDefaults& defaults() { return m_port.defaults(); }
    void reopen() { m_port.reopen(); }

    const QString key = QStringLiteral("key");

private:
    Port m_port;
};
TYPED_TEST_SUITE_P(UserDefaultsContract);

inline QVariant nestedLists(int depth) {
    QVariant value = true;
    for (int i = 0; i < depth; ++i) {
        value = QVariantList{value};
    }
    return value;
}

TYPED_TEST_P(UserDefaultsContract, keepsValueAndType) {
    const QDateTime date(QDate(2024, 2, 29), QTime(23, 59, 59, 987), Qt::UTC);
    const QVariantMap map{{QString(), QStringLiteral("empty key")},
                          {QStringLiteral("list"), QVariantList{true, qint64{1}, 1.0, date}},
                          {QStringLiteral("bytes"), QByteArray("\0\xff", 2)},
                          {QStringLiteral("none"), QVariantList()},
                          {QStringLiteral("map"), QVariantMap()}};
    const QVariantList values{true,
                              false,
                              std::numeric_limits<qint64>::min(),
                              std::numeric_limits<qint64>::max(),
                              0.1,
                              -0.0,
                              std::numeric_limits<double>::infinity(),
                              QString(),
                              QStringLiteral("اثممخ \U0001F600 'x';--"),
                              QString(QChar(0xfeff)) + QChar(0) +
                                  QChar(0xffff), // order mark, NUL, noncharacter
                              QByteArray(),
                              QByteArray(300'000, 'x'),
                              date,
                              QDateTime::fromMSecsSinceEpoch(-1, Qt::UTC),
                              QVariantList(),
                              QVariant(QVariantMap()),
                              map,
                              QVariant(QVariantList{map, QVariantList{QVariantList{}}}),
                              nestedLists(500)};
    for (int i = 0; i < values.size(); ++i) {
        this->defaults().set(QString::number(i), values[i]);
    }
    this->reopen();
    for (int i = 0; i < values.size(); ++i) {
        const QVariant found = this->defaults().object(QString::number(i));
        EXPECT_EQ(found.typeId(), values[i].typeId()) << i;
        EXPECT_TRUE(found == values[i]) << i;
    }
    this->defaults().set(this->key, std::nan(""));
    this->reopen();
    EXPECT_TRUE(std::isnan(this->defaults().object(this->key).toDouble()));
}

TYPED_TEST_P(UserDefaultsContract, normalisesNumbersDatesAndLists) {
    const QTimeZone zone(3600);
    const QDateTime local(QDate(2024, 1, 1), QTime(1, 0), zone);
    const std::pair<QVariant, QVariant> cases[] = {
        {int{-5}, qint64{-5}},
        {4'000'000'000U, qint64{4'000'000'000}},
        {0.5F, 0.5},
        {QStringList{QStringLiteral("a")}, QVariantList{QStringLiteral("a")}},
        {QVariantList{1, QVariantMap{{QStringLiteral("k"), 2}}},
         QVariantList{qint64{1}, QVariantMap{{QStringLiteral("k"), qint64{2}}}}},
        {local, local.toUTC()},
    };
    for (const auto& [given, kept] : cases) {
        this->defaults().set(this->key, given);
        const QVariant found = this->defaults().object(this->key);
        EXPECT_EQ(found.typeId(), kept.typeId()) << given.typeName();
        EXPECT_TRUE(found == kept) << given.typeName();
    }
    this->defaults().set(this->key, local);
    EXPECT_EQ(this->defaults().object(this->key).toDateTime().timeSpec(), Qt::UTC);
}

TYPED_TEST_P(UserDefaultsContract, typedGettersAcceptTheirTypeOnly) {
    const std::tuple<QVariant, qint64, bool, bool> cases[] = {
        {QVariant(), 0, false, false},
        {42, 42, false, false},
        {true, 0, false, false},
        {42.0, 0, false, false},
        {QStringLiteral("42"), 0, true, false},
        {QByteArray("42"), 0, false, true},
    };
    for (const auto& [value, integer, isString, isData] : cases) {
        this->defaults().set(this->key, value);
        EXPECT_EQ(this->defaults().integer(this->key), integer) << value.typeName();
        EXPECT_EQ(this->defaults().string(this->key).has_value(), isString) << value.typeName();
        EXPECT_EQ(this->defaults().data(this->key).has_value(), isData) << value.typeName();
    }
}

TYPED_TEST_P(UserDefaultsContract, refusesWhatIsNoPropertyListValue) {
    this->defaults().set(this->key, 1);
    const QVariantList refused{QPoint(1, 2),
                               QVariant::fromValue(nullptr),
                               QDateTime(),
                               QDateTime(QDate(10000, 1, 1), QTime(0, 0), Qt::UTC),
                               std::numeric_limits<quint64>::max(),
                               QVariantList{QVariant()},
                               QVariantMap{{QStringLiteral("k"), QVariantList{QPoint()}}},
                               nestedLists(600)};
    for (const QVariant& value : refused) {
        this->defaults().set(this->key, value);
        EXPECT_EQ(this->defaults().integer(this->key), 1) << value.typeName();
    }
}

TYPED_TEST_P(UserDefaultsContract, removes) {
    const QString other = QStringLiteral("KEY");
    this->defaults().set(other, 2);
    this->defaults().removeObject(this->key); // not there
    this->defaults().set(this->key, 1);
    this->defaults().removeObject(this->key);
    EXPECT_FALSE(this->defaults().object(this->key).isValid());
    this->defaults().set(this->key, 1);
    this->defaults().set(this->key, QVariant());
    this->reopen();
    EXPECT_FALSE(this->defaults().object(this->key).isValid());
    EXPECT_EQ(this->defaults().integer(other), 2);
}

TYPED_TEST_P(UserDefaultsContract, servesThreads) {
    std::vector<std::thread> threads;
    for (int start = 0; start < 60; start += 20) {
        threads.emplace_back([this, start] {
            for (int i = start; i < start + 20; ++i) {
                this->defaults().set(QString::number(i), i);
                EXPECT_EQ(this->defaults().integer(QString::number(i)), i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    this->reopen();
    for (int i = 0; i < 60; ++i) {
        EXPECT_EQ(this->defaults().integer(QString::number(i)), i);
    }
}

REGISTER_TYPED_TEST_SUITE_P(UserDefaultsContract, keepsValueAndType, normalisesNumbersDatesAndLists,
                            typedGettersAcceptTheirTypeOnly, refusesWhatIsNoPropertyListValue,
                            removes, servesThreads);

} // namespace velmorin
