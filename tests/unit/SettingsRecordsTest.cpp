// SPDX-License-Identifier: MIT
#include "Platform/Memory/MemoryUserDefaults.h"
#include "SharedCore/AppPreferences.h"
#include "SharedCore/UsageStats.h"
#include "SharedUI/SharedAppSettingsFormView.h"

#include <gtest/gtest.h>

#include <limits>

namespace velmorin {
namespace {

using Theme = AppPreferences::Theme;

const QString preferencesKey = QStringLiteral("appPreferences");

const QByteArray storedPreferences =
    R"({"keyboardShortcuts":{"flip":"⌥Space"},"launchAtLogin":true,"reduceMotion":true,)"
    R"("reduceTransparency":true,"showMenuBarIcon":false,"theme":"dark"})";

AppPreferences changedPreferences() {
    AppPreferences preferences;
    preferences.launchAtLogin = true;
    preferences.showMenuBarIcon = false;
    preferences.keyboardShortcuts = {{"flip", QStringLiteral("⌥Space")}};
    preferences.theme = Theme::dark;
    preferences.reduceMotion = true;
    preferences.reduceTransparency = true;
    return preferences;
}

class SettingsRecords : public testing::Test {
protected:
    const std::shared_ptr<MemoryUserDefaults> defaults = std::make_shared<MemoryUserDefaults>();
    StorageManager storage{defaults, nullptr, nullptr};
};

TEST_F(SettingsRecords, preferencesAreStoredWhole) {
    EXPECT_EQ(AppPreferences::load(storage), AppPreferences());
    EXPECT_TRUE(defaults->journal().isEmpty());
    AppPreferences().save(storage);
    EXPECT_EQ(defaults->data(preferencesKey),
              R"({"keyboardShortcuts":{},"launchAtLogin":false,"reduceMotion":false,)"
              R"("reduceTransparency":false,"showMenuBarIcon":true,"theme":"system"})");
    changedPreferences().save(storage);
    EXPECT_EQ(defaults->data(preferencesKey), storedPreferences);
    EXPECT_EQ(AppPreferences::load(storage), changedPreferences());

    AppPreferences unstorable;
    unstorable.keyboardShortcuts.insert("flip", QString(QChar(0xdfff)));
    unstorable.save(storage);
    EXPECT_EQ(AppPreferences::load(storage), changedPreferences());
    QByteArray text = storedPreferences; // members of a later version are ignored
    defaults->set(preferencesKey, text.replace("{\"key", "{\"later\":[null],\"key"));
    EXPECT_EQ(AppPreferences::load(storage), changedPreferences());
}

TEST_F(SettingsRecords, damagedPreferencesAreTheDefaultsAsAWhole) {
    const struct {
        QByteArray before, after;
    } cases[] = {
        {R"("reduceTransparency":true,)", ""},
        {R"("launchAtLogin":true)", R"("launchAtLogin":1)"},
        {R"("launchAtLogin":true)", R"("launchAtLogin":null)"},
        {R"({"flip":"⌥Space"})", R"({"flip":1})"},
        {R"("dark")", R"("Dark")"},
        {R"("dark")", R"(1)"},
        {R"("dark"})", R"("dark")"},
        {storedPreferences, ""},
    };
    for (const auto& [before, after] : cases) {
        QByteArray text = storedPreferences;
        ASSERT_TRUE(text.contains(before));
        defaults->set(preferencesKey, text.replace(before, after));
        EXPECT_EQ(AppPreferences::load(storage), AppPreferences()) << text.constData();
    }
    defaults->set(preferencesKey, QString::fromUtf8(storedPreferences));
    EXPECT_EQ(AppPreferences::load(storage), AppPreferences());
}

/// A clock that is a second later each time it is read.
class TickingClock final : public Clock {
public:
    void sleep(std::chrono::microseconds /*time*/) const override {}
    [[nodiscard]] std::chrono::nanoseconds uptime() const override { return {}; }
    [[nodiscard]] QDateTime now() const override {
        return QDateTime(QDate(2001, 1, 1), QTime(0, 0, m_second++), Qt::UTC);
    }

private:
    mutable int m_second = 0;
};

TEST_F(SettingsRecords, usageIsCountedAndStored) {
    const QString key = QStringLiteral("usage");
    const TickingClock clock;
    UsageStats usage;
    storage.set(usage, key);
    EXPECT_EQ(defaults->data(key), R"({"featureUsage":{},"launchCount":0,"totalUsageTime":0})");
    usage.recordLaunch(clock);
    usage.recordLaunch(clock);
    for (const char* name : {"export", "Export", "export"}) {
        usage.recordFeature(name);
    }
    usage.totalUsageTime = 0.5;
    storage.set(usage, key);
    EXPECT_EQ(defaults->data(key), R"({"featureUsage":{"Export":1,"export":2},"firstLaunchDate":1,)"
                                   R"("lastLaunchDate":2,"launchCount":2,"totalUsageTime":0.5})");
    EXPECT_EQ(storage.get<UsageStats>(key), usage);
    UsageStats unstorable = usage;
    unstorable.totalUsageTime = std::numeric_limits<double>::quiet_NaN();
    storage.set(unstorable, key);
    EXPECT_EQ(storage.get<UsageStats>(key), usage);

    usage.launchCount = std::numeric_limits<qint64>::max();
    usage.featureUsage["export"] = std::numeric_limits<qint64>::max();
    EXPECT_DEATH(usage.recordLaunch(clock), "overflowed");
    EXPECT_DEATH(usage.recordFeature("export"), "overflowed");
}

TEST_F(SettingsRecords, usageIsReadStrictly) {
    const std::pair<const char*, bool> cases[] = {
        {R"({"launchCount":1,"totalUsageTime":2,"featureUsage":{},"firstLaunchDate":null})", true},
        {R"({"launchCount":1,"featureUsage":{}})", false},
        {R"({"launchCount":1.5,"totalUsageTime":2,"featureUsage":{}})", false},
        {R"({"launchCount":1,"totalUsageTime":2,"featureUsage":{"a":"1"}})", false},
        {R"({"launchCount":1,"totalUsageTime":2,"featureUsage":{},"lastLaunchDate":1e300})", false},
    };
    for (const auto& [text, isUsable] : cases) {
        defaults->set("usage", QByteArray(text));
        EXPECT_EQ(storage.get<UsageStats>("usage").has_value(), isUsable) << text;
    }
}

} // namespace
} // namespace velmorin
