// SPDX-License-Identifier: MIT
#pragma once

#include "Velmorin/KeyboardLayoutMap.h"

#include <QStringList>

#include <algorithm>

#include <unicode/ubrk.h>

namespace velmorin {

[[nodiscard]] inline QStringList characters(QStringView text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUBreakIteratorPointer iterator(
        ubrk_open(UBRK_CHARACTER, "", text.utf16(), static_cast<int32_t>(text.size()), &status));
    QStringList result;
    int32_t begin = 0;
    for (int32_t end; (end = ubrk_next(iterator.getAlias())) != UBRK_DONE; begin = end)
        result.append(text.sliced(begin, end - begin).toString());
    return result;
}

inline QString substituted(const QStringList& characters, const KeyboardLayoutMap::Table& table) {
    QString result;
    for (const QString& character : characters) {
        const char16_t* value =
            character.size() == 1 ? table.find(character[0].unicode()) : nullptr;
        result += value ? QString(QChar(*value)) : character;
    }
    return result;
}

inline bool isArabic(QChar first) {
    const char16_t c = first.unicode();
    return (c >= 0x0600 && c <= 0x06FF) || (c >= 0x0750 && c <= 0x077F) ||
           (c >= 0x08A0 && c <= 0x08FF) || (c >= 0xFB50 && c <= 0xFDFF) ||
           (c >= 0xFE70 && c <= 0xFEFF);
}

inline bool isLatin(QChar first) {
    return first.unicode() < 0x80 && first.isLetter();
}

/// Conversion as it is defined, slow and obvious: ICU cuts the text into characters, and each is
/// looked up.
[[nodiscard]] inline QString convertedByDefinition(QStringView text, FlipMode mode) {
    const QStringList whole = characters(text);
    const auto count = [&whole](bool (*matches)(QChar)) {
        return std::count_if(whole.begin(), whole.end(),
                             [&](const QString& character) { return matches(character[0]); });
    };
    const auto arabic = count(isArabic);
    const auto latin = count(isLatin);
    if (mode == FlipMode::auto_ && arabic == 0 && latin == 0) {
        return text.toString();
    }
    const bool isToEnglish =
        mode == FlipMode::auto_ ? arabic >= latin : mode == FlipMode::forceEnglish;
    return substituted(whole, isToEnglish ? KeyboardLayoutMap::arabicToLatin()
                                          : KeyboardLayoutMap::latinToArabic());
}

} // namespace velmorin
