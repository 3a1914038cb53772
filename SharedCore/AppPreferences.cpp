// SPDX-License-Identifier: MIT
#include "SharedCore/AppPreferences.h"

namespace velmorin {

using Theme = AppPreferences::Theme;

AppPreferences AppPreferences::defaultSettings() {
    static const AppPreferences defaults;
    return defaults;
}

QString rawValue(Theme theme) {
    switch (theme) {
    case Theme::light:
        return QStringLiteral("light");
    case Theme::dark:
        return QStringLiteral("dark");
    case Theme::system:
        return QStringLiteral("system");
    }
    Q_UNREACHABLE();
}

std::optional<Theme> themeFromRawValue(QStringView raw) {
    for (const Theme theme : {Theme::light, Theme::dark, Theme::system}) {
        if (raw == rawValue(theme)) {
            return theme;
        }
    }
    return std::nullopt;
}

} // namespace velmorin
