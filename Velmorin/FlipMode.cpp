// SPDX-License-Identifier: MIT
#include "Velmorin/FlipMode.h"

namespace velmorin {

QString rawValue(FlipMode mode) {
    switch (mode) {
    case FlipMode::auto_:
        return QStringLiteral("auto");
    case FlipMode::forceEnglish:
        return QStringLiteral("forceEnglish");
    case FlipMode::forceArabic:
        return QStringLiteral("forceArabic");
    }
    Q_UNREACHABLE();
}

std::optional<FlipMode> flipModeFromRawValue(QStringView raw) {
    for (const FlipMode mode : allCases) {
        if (raw == rawValue(mode))
            return mode;
    }
    return std::nullopt;
}

} // namespace velmorin
