// SPDX-License-Identifier: MIT
#pragma once

#include "Velmorin/FlipMode.h"
#include "Velmorin/InsertionOrderedMap.h"

#include <QString>

/// Conversion between what a physical key types in the US QWERTY layout and what it types in the
/// application's Arabic layout.
///
/// A character is an extended grapheme cluster: a letter that carries a mark is another character
/// than the bare letter and has no entry in the tables. All functions may be called from any
/// thread, and none of them fails.
namespace velmorin::KeyboardLayoutMap {

/// Every entry is one scalar of the Basic Multilingual Plane.
using Table = InsertionOrderedMap<char16_t, char16_t>;

/// Latin key character to Arabic character. Built on first use, unchanged from then on.
[[nodiscard]] const Table& latinToArabic();

/// Arabic character to Latin key character. Where several Latin keys type the same Arabic
/// character, it holds the one that the iteration of `latinToArabic()` meets first.
[[nodiscard]] const Table& arabicToLatin();

/// Replaces the characters that `arabicToLatin()` knows and keeps all others.
[[nodiscard]] QString toEnglish(QStringView text);

/// Replaces the characters that `latinToArabic()` knows and keeps all others.
[[nodiscard]] QString toArabic(QStringView text);

/// Converts in the direction of `mode`. `FlipMode::auto_` goes to English when at least as many
/// characters begin with an Arabic scalar as with an ASCII letter, to Arabic when fewer do, and
/// keeps a text that has neither.
[[nodiscard]] QString convert(QStringView text, FlipMode mode);

/// The number of characters in `text`, of which at most 2^31 - 1 UTF-16 units are looked at.
[[nodiscard]] qsizetype characterCount(QStringView text);

} // namespace velmorin::KeyboardLayoutMap
