// SPDX-License-Identifier: MIT
#include "Velmorin/VelmorinStore.h"

#include "Platform/Memory/MemoryUserDefaults.h"

#include <gtest/gtest.h>

#include <limits>

namespace velmorin {
namespace {

std::shared_ptr<MemoryUserDefaults> defaultsWith(const QString& key, const QVariant& value) {
    auto defaults = std::make_shared<MemoryUserDefaults>();
    if (value.isValid()) {
        defaults->set(key, value);
    }
    return defaults;
}

TEST(VelmorinStore, ReadsTheSavedDirectionAndWritesOnlyAValidOneBack) {
    const std::tuple<QVariant, FlipMode, bool> cases[] = {
        {{}, FlipMode::auto_, false},
        {QStringLiteral("auto"), FlipMode::auto_, true},
        {QStringLiteral("forceEnglish"), FlipMode::forceEnglish, true},
        {QStringLiteral("forceArabic"), FlipMode::forceArabic, true},
        {QStringLiteral("Auto"), FlipMode::auto_, false},
        {QStringLiteral(""), FlipMode::auto_, false},
        {2, FlipMode::auto_, false},
    };
    for (const auto& [saved, read, isWrittenBack] : cases) {
        SCOPED_TRACE(saved.toString().toStdString());
        const auto defaults = defaultsWith(QStringLiteral("vl.mode"), saved);
        const qsizetype writesBefore = defaults->journal().size();
        const VelmorinStore store(defaults);
        EXPECT_EQ(store.flipMode(), read);
        EXPECT_EQ(defaults->journal().size() - writesBefore, isWrittenBack ? 1 : 0);
        EXPECT_EQ(defaults->object(QStringLiteral("vl.mode")), saved);
    }
}

TEST(VelmorinStore, CountsOnFromTheSavedCount) {
    const std::pair<QVariant, qint64> cases[] = {
        {{}, 2}, {41, 43}, {QStringLiteral("41"), 2}, {qint64{1} << 40, (qint64{1} << 40) + 2}};
    for (const auto& [saved, counted] : cases) {
        const auto defaults = defaultsWith(QStringLiteral("vl.count"), saved);
        VelmorinStore store(defaults);
        EXPECT_EQ(defaults->object(QStringLiteral("vl.count")), saved);
        store.recordConversion();
        store.recordConversion();
        EXPECT_EQ(store.count(), counted);
        EXPECT_EQ(defaults->integer(QStringLiteral("vl.count")), counted);
    }
}

TEST(VelmorinStoreDeathTest, AFullCounterEndsTheProcess) {
    VelmorinStore store(
        defaultsWith(QStringLiteral("vl.count"), std::numeric_limits<qint64>::max()));
    EXPECT_DEATH(store.recordConversion(), "overflow");
}

TEST(VelmorinStore, SavesAndNotifiesOnEveryAssignmentAlsoOfTheSameValue) {
    const auto defaults = std::make_shared<MemoryUserDefaults>();
    VelmorinStore store(defaults);
    QStringList seen;
    const auto note = [&] {
        const bool saved = !defaults->journal().isEmpty();
        seen.append(rawValue(store.flipMode()) +
                    (saved ? QStringLiteral(" saved") : QStringLiteral(" unsaved")));
    };
    QObject::connect(&store, &VelmorinStore::objectWillChange, note);
    QObject::connect(&store, &VelmorinStore::flipModeChanged, note);
    store.setFlipMode(FlipMode::forceArabic);
    store.setFlipMode(FlipMode::forceArabic);
    EXPECT_EQ(seen.join(u'\n').toStdString(), "auto unsaved\nforceArabic unsaved\n"
                                              "forceArabic saved\nforceArabic saved");
    EXPECT_EQ(defaults->journal(), QStringList(2, QStringLiteral("set vl.mode")));

    int willChange = 0;
    int changed = 0;
    QObject::connect(&store, &VelmorinStore::objectWillChange, [&] { ++willChange; });
    QObject::connect(&store, &VelmorinStore::countChanged, [&] { ++changed; });
    QObject::connect(&store, &VelmorinStore::hotkeyRegisteredChanged, [&] { ++changed; });
    store.recordConversion();
    store.setHotkeyRegistered(false);
    EXPECT_EQ(willChange, 2);
    EXPECT_EQ(changed, 2);
}

} // namespace
} // namespace velmorin
