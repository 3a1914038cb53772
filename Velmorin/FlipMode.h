// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <array>
#include <optional>

namespace velmorin {

/// The direction of a conversion. The raw value is what is stored.
enum class FlipMode {
    auto_,        ///< detect the direction from the text itself
    forceEnglish, ///< always Arabic characters to Latin key characters
    forceArabic,  ///< always Latin key characters to Arabic characters
};

/// In the order of declaration, which is also the order shown.
inline constexpr std::array allCases{FlipMode::auto_, FlipMode::forceEnglish,
                                     FlipMode::forceArabic};

/// "auto", "forceEnglish" or "forceArabic".
[[nodiscard]] QString rawValue(FlipMode mode);

/// None for anything but exactly one of the three raw values.
[[nodiscard]] std::optional<FlipMode> flipModeFromRawValue(QStringView raw);

/// What tells the cases apart in a list: the raw value.
[[nodiscard]] inline QString id(FlipMode mode) {
    return rawValue(mode);
}

} // namespace velmorin
