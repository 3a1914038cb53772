// SPDX-License-Identifier: MIT
#pragma once

#include "SharedCore/AppSettings.h"

#include <QMap>
#include <QString>

#include <optional>

namespace velmorin {

/// The general preferences that the settings form edits.
struct AppPreferences : AppSettings<AppPreferences> {
    /// The colour scheme. Stored by its raw value.
    enum class Theme { light, dark, system };

    bool launchAtLogin = false;
    bool showMenuBarIcon = true;
    QMap<QString, QString> keyboardShortcuts; ///< Keys and values are the application's affair.
    Theme theme = Theme::system;
    bool reduceMotion = false;
    bool reduceTransparency = false;

    [[nodiscard]] static QString settingsKey() { return QStringLiteral("appPreferences"); }
    [[nodiscard]] static AppPreferences defaultSettings();

    bool operator==(const AppPreferences&) const = default;

    template <typename Record, typename Visitor>
    static void visitMembers(Record& record, Visitor&& visit) {
        visit("launchAtLogin", record.launchAtLogin);
        visit("showMenuBarIcon", record.showMenuBarIcon);
        visit("keyboardShortcuts", record.keyboardShortcuts);
        visit("theme", record.theme);
        visit("reduceMotion", record.reduceMotion);
        visit("reduceTransparency", record.reduceTransparency);
    }
};

/// "light", "dark" or "system".
[[nodiscard]] QString rawValue(AppPreferences::Theme theme);

/// None for anything but exactly one of the three raw values.
[[nodiscard]] std::optional<AppPreferences::Theme> themeFromRawValue(QStringView raw);

template <>
struct JsonCoder<AppPreferences::Theme> {
    [[nodiscard]] static QJsonValue toJson(AppPreferences::Theme theme) { return rawValue(theme); }
    [[nodiscard]] static std::optional<AppPreferences::Theme> fromJson(const QJsonValue& json) {
        return themeFromRawValue(json.toString());
    }
};

} // namespace velmorin
