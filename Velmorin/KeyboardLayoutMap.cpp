// SPDX-License-Identifier: MIT
#include "Velmorin/KeyboardLayoutMap.h"

#include <unicode/ubrk.h>
#include <unicode/uchar.h>

#include <array>
#include <limits>
#include <string_view>

namespace velmorin::KeyboardLayoutMap {

namespace {

/// The rows of the keyboard, top to bottom. The n-th key types the n-th Arabic character.
constexpr std::u16string_view latinKeys = u"`qwertyuiop[]asdfghjkl;'zxcvbnm,./-=\\ \n\t";
constexpr std::u16string_view arabicCharacters =
    u"\u0630"                                                       // `
    u"\u0636\u0635\u062B\u0642\u0641\u063A\u0639\u0647\u062E\u062D" // qwertyuiop
    u"\u062C\u062F"                                                 // []
    u"\u0634\u0633\u064A\u0628\u0644\u0627\u0646\u0645\u0643\u0637" // asdfghjkl;
    u"'"                                                            // '
    u"\u0621\u0626\u0624\u0631\u0649\u0629\u0648\u0632\u0638\u061F" // zxcvbnm,./
    u"-=\\ \n\t";
constexpr std::u16string_view latinDigits = u"0123456789";
constexpr std::u16string_view arabicDigits =
    u"\u0660\u0661\u0662\u0663\u0664\u0665\u0666\u0667\u0668\u0669";
constexpr std::u16string_view latinLetters = u"abcdefghijklmnopqrstuvwxyz";

static_assert(latinKeys.size() == arabicCharacters.size());
static_assert(latinDigits.size() == arabicDigits.size());

void insertPairs(Table& table, std::u16string_view keys, std::u16string_view values) {
    for (std::size_t i = 0; i < keys.size(); ++i)
        table.insertOrAssign(keys[i], values[i]);
}

void insertUpperCaseLetters(Table& table) {
    for (const char16_t letter : latinLetters) {
        if (const char16_t* value = table.find(letter))
            table.insertOrAssign(QChar(letter).toUpper().unicode(), *value);
    }
}

void insertInverse(Table& table, const Table& forward) {
    for (const auto& [key, value] : forward) {
        if (!table.contains(value))
            table.insertOrAssign(value, key);
    }
}

/// What a scalar does to the extended grapheme clusters around it.
enum ClusterRole : quint8 {
    plain = 1,   ///< joins neither side, as far as the entries of the tables are concerned
    mark = 2,    ///< Extend, ZWJ and SpacingMark: joins what stands before it
    prepend = 4, ///< Prepend: joins what stands after it
    control = 8, ///< Control, CR and LF: nothing joins it
};

ClusterRole clusterRole(UChar32 scalar) {
    switch (u_getIntPropertyValue(scalar, UCHAR_GRAPHEME_CLUSTER_BREAK)) {
    case U_GCB_EXTEND:
    case U_GCB_ZWJ:
    case U_GCB_SPACING_MARK:
        return mark;
    case U_GCB_PREPEND:
        return prepend;
    case U_GCB_CONTROL:
    case U_GCB_CR:
    case U_GCB_LF:
        return control;
    default:
        return plain;
    }
}

/// 1 for Arabic, -1 for an ASCII letter, 0 for all else.
qint8 scriptBalance(UChar32 scalar) {
    const auto within = [scalar](UChar32 first, UChar32 last) {
        return scalar >= first && scalar <= last;
    };
    if (within(u'A', u'Z') || within(u'a', u'z'))
        return -1;
    if (within(0x0600, 0x06FF) || within(0x0750, 0x077F) || within(0x08A0, 0x08FF) ||
        within(0xFB50, 0xFDFF) || within(0xFE70, 0xFEFF))
        return 1;
    return 0;
}

/// The scalar that the unit at `position` is, or is one half of. Both halves of a surrogate pair
/// play their scalar's role: whichever is next to a letter tells whether it joins the letter.
UChar32 scalarAt(QStringView text, qsizetype position) {
    const QChar unit = text[position];
    if (unit.isHighSurrogate() && position + 1 < text.size() && text[position + 1].isLowSurrogate())
        return static_cast<UChar32>(QChar::surrogateToUcs4(unit, text[position + 1]));
    if (unit.isLowSurrogate() && position > 0 && text[position - 1].isHighSurrogate())
        return static_cast<UChar32>(QChar::surrogateToUcs4(text[position - 1], unit));
    return unit.unicode();
}

char16_t arabicFor(char16_t unit) {
    if (const char16_t* arabic = latinToArabic().find(unit))
        return *arabic;
    if (scriptBalance(unit) < 0) {
        if (const char16_t* arabic = latinToArabic().find(QChar(unit).toLower().unicode()))
            return *arabic;
    }
    return unit;
}

char16_t englishFor(char16_t unit) {
    const char16_t* english = arabicToLatin().find(unit);
    return english ? *english : unit;
}

/// A UTF-16 unit as the substitution sees it. Masks instead of conditions: in vocalised text a mark
/// follows about every other letter, and the processor would guess wrong as often.
struct KeyUnit {
    char16_t toEnglish;      ///< to be XORed onto the unit; 0 keeps it
    char16_t toArabic;       ///< likewise
    char16_t sparesPrevious; ///< 0 when it joins what stands before it
    char16_t sparesNext;     ///< 0 when it joins what stands after it
};

/// A UTF-16 unit as the detection of the direction sees it.
struct ScriptUnit {
    qint16 balance;   ///< `scriptBalance()`, but 0 for a mark, as it rarely begins a character
    quint8 role;      ///< its `ClusterRole`
    quint8 overrules; ///< the roles whose balance does not hold right after this unit
};

/// The tables and ICU's properties laid out flat, so that a character costs a nanosecond. The slot
/// of a unit below `end` is its value. The units from there on, of which the tables hold none,
/// share a slot with those of the same role and script.
struct Index {
    static constexpr std::size_t end = 0x0700;
    static constexpr std::size_t sharedSlots =
        std::size_t{2} * 16; ///< of each script, one a bit of the role

    std::array<char16_t, end> english{}; ///< What a unit becomes that is a whole character.
    std::array<char16_t, end> arabic{};  ///< Likewise.
    std::array<KeyUnit, end + sharedSlots> keys{};
    std::array<ScriptUnit, end + sharedSlots> scripts{};

    Index() {
        for (char16_t unit = 0; unit < end; ++unit) {
            english[unit] = englishFor(unit);
            arabic[unit] = arabicFor(unit);
            fill(unit, clusterRole(unit), scriptBalance(unit), unit ^ english[unit],
                 unit ^ arabic[unit]);
        }
        for (const ClusterRole role : {plain, mark, prepend, control}) {
            fill(sharedSlot(role, 0), role, 0, 0, 0);
            fill(sharedSlot(role, 1), role, 1, 0, 0);
        }
    }

    static std::size_t sharedSlot(ClusterRole role, int balance) {
        return end + role + (balance > 0 ? sharedSlots / 2 : 0);
    }

    static std::size_t slotAt(QStringView text, qsizetype position) {
        const char16_t unit = text[position].unicode();
        return unit < end ? unit : sharedSlotAt(text, position);
    }

private:
    Q_NEVER_INLINE static std::size_t sharedSlotAt(QStringView text, qsizetype position) {
        const UChar32 scalar = scalarAt(text, position);
        return sharedSlot(clusterRole(scalar), scriptBalance(scalar));
    }

    void fill(std::size_t slot, ClusterRole role, int balance, char16_t toEnglish,
              char16_t toArabic) {
        keys[slot] = {toEnglish, toArabic, static_cast<char16_t>(role == mark ? 0 : 0xFFFF),
                      static_cast<char16_t>(role == prepend ? 0 : 0xFFFF)};
        const int overrules = role == control ? mark : role == prepend ? plain | prepend : 0;
        scripts[slot] = {static_cast<qint8>(role == mark ? 0 : balance), role,
                         static_cast<quint8>(overrules)};
    }
};

const Index& sharedIndex() {
    static const Index index;
    return index;
}

/// Units are looked at in blocks first, by vector instructions where the compiler has any: prose
/// has long runs of units of which nothing but a range need be known. Hence no conditions in what
/// follows, and 16 bits throughout.
constexpr qsizetype blockSize = 64;

constexpr quint16 within(char16_t unit, char16_t first, char16_t last) {
    return static_cast<quint16>(unit - first) <= static_cast<quint16>(last - first);
}

/// 1 for most units that are `plain` or `control`, 0 for all others. Those from U+0300 on are
/// Arabic.
constexpr quint16 isSimple(char16_t unit) {
    return within(unit, 0x0000, 0x02FF) | within(unit, 0x0606, 0x060F) |
           within(unit, 0x061B, 0x064A) | within(unit, 0x0660, 0x066F);
}

/// 1 for most units that are `plain` or `mark`, 0 for all others.
constexpr quint16 isPlainOrMark(char16_t unit) {
    return within(unit, 0x0020, 0x007E) | within(unit, 0x00AE, 0x036F) |
           within(unit, 0x0606, 0x061B) | within(unit, 0x061D, 0x06DC);
}

/// 1 for the marks among those, 0 for the others.
constexpr quint16 isMark(char16_t unit) {
    return within(unit, 0x0300, 0x036F) | within(unit, 0x0610, 0x061A) |
           within(unit, 0x064B, 0x065F) | within(unit, 0x0670, 0x0670) |
           within(unit, 0x06D6, 0x06DC);
}

constexpr quint16 hasOwnSlot(char16_t unit) {
    return unit < Index::end;
}

/// Not inline, or gcc would do the work of several tests before it looks at the first one's result.
template <quint16 (*test)(char16_t)>
Q_NEVER_INLINE bool holdsForAll(const char16_t* units, qsizetype count) {
    quint16 result = 1;
    for (qsizetype i = 0; i < count; ++i)
        result = static_cast<quint16>(result & test(units[i]));
    return result != 0;
}

/// Whether a block is ASCII, at the least cost.
bool isAsciiBlock(const char16_t* units) {
    quint16 bits = 0;
    for (qsizetype i = 0; i < blockSize; ++i)
        bits = static_cast<quint16>(bits | units[i]);
    return bits < 0x0080;
}

/// Changes each unit of [begin, end) that is a whole character. To a unit that the tables hold,
/// only a mark after it or a prepended mark before it can join. (Nothing joins a tab or a line
/// feed, but they map to themselves.)
template <char16_t KeyUnit::*change>
void substitute(QStringView text, qsizetype begin, qsizetype end, char16_t* out) {
    const KeyUnit* const keys = sharedIndex().keys.data();
    const auto slotAt = [text](qsizetype i) {
        return i >= 0 && i < text.size() ? Index::slotAt(text, i) : Index::sharedSlot(plain, 0);
    };
    std::size_t previous = slotAt(begin - 1);
    std::size_t current = slotAt(begin);
    for (qsizetype i = begin; i < end; ++i) {
        const std::size_t next = slotAt(i + 1);
        const int applied =
            keys[current].*change & keys[next].sparesPrevious & keys[previous].sparesNext;
        out[i] = static_cast<char16_t>(text[i].unicode() ^ applied);
        previous = current;
        current = next;
    }
}

/// The same for a block that has a unit before and one after it, all of which have own slots.
template <char16_t KeyUnit::*change>
void substituteBlock(const char16_t* units, char16_t* out) {
    const KeyUnit* const keys = sharedIndex().keys.data();
    KeyUnit previous = keys[units[-1]];
    KeyUnit current = keys[units[0]];
    for (qsizetype i = 0; i < blockSize; ++i) {
        const KeyUnit next = keys[units[i + 1]];
        const int applied = current.*change & next.sparesPrevious & previous.sparesNext;
        out[i] = static_cast<char16_t>(units[i] ^ applied);
        previous = current;
        current = next;
    }
}

template <char16_t KeyUnit::*change>
QString substituted(QStringView text) {
    const qsizetype size = text.size();
    const char16_t* const units = text.utf16();
    QString result(size, Qt::Uninitialized);
    auto* const out = reinterpret_cast<char16_t*>(result.data());
    for (qsizetype begin = 0; begin < size; begin += blockSize) {
        const qsizetype end = begin + blockSize;
        if (begin > 0 && end < size && holdsForAll<hasOwnSlot>(units + begin, blockSize) &&
            hasOwnSlot(units[begin - 1]) && hasOwnSlot(units[end]))
            substituteBlock<change>(units + begin, out + begin);
        else
            substitute<change>(text, begin, qMin(end, size), out);
    }
    return result;
}

/// The same for a text that has only simple units.
QString substitutedSimply(QStringView text, const std::array<char16_t, Index::end>& replacements) {
    const char16_t* const units = text.utf16();
    const qsizetype size = text.size();
    QString result(size, Qt::Uninitialized);
    auto* const out = reinterpret_cast<char16_t*>(result.data());
#pragma GCC unroll 8 // or its speed would hang on where the linker puts so short a loop
    for (qsizetype i = 0; i < size; ++i)
        out[i] = replacements[units[i]];
    return result;
}

/// The characters that begin with an Arabic scalar against those that begin with an ASCII letter.
struct ScriptCount {
    qsizetype arabicLessLatin = 0;
    bool any = false;
    bool isSimple = true; ///< all units are
};

/// Counts the characters that begin in [begin, end).
ScriptCount countScripts(QStringView text, qsizetype begin, qsizetype end) {
    const auto& scripts = sharedIndex().scripts;
    qsizetype sum = 0;
    int any = 0;
    // Where the text begins, a mark begins a character, as it does after a control.
    std::size_t previous =
        begin > 0 ? Index::slotAt(text, begin - 1) : Index::sharedSlot(control, 0);
    for (qsizetype i = begin; i < end; ++i) {
        const std::size_t current = Index::slotAt(text, i);
        int balance = scripts[current].balance;
        if (scripts[previous].overrules & scripts[current].role) [[unlikely]]
            balance = scripts[current].role == mark ? scriptBalance(scalarAt(text, i)) : 0;
        sum += balance;
        any |= balance;
        previous = current;
    }
    return {sum, any != 0};
}

/// The same for a block of units for which `isSimple()` holds, or `isPlainOrMark()` when it may
/// have marks, and for the unit before it, too.
template <bool mayHaveMarks>
ScriptCount countBlock(const char16_t* units) {
    quint16 latin = 0;
    quint16 arabic = 0;
    for (qsizetype i = 0; i < blockSize; ++i) {
        const auto lowerCase = static_cast<char16_t>(units[i] | 0x20);
        latin = static_cast<quint16>(latin + within(lowerCase, u'a', u'z'));
        arabic = static_cast<quint16>(arabic + (units[i] >= 0x0300));
        if constexpr (mayHaveMarks)
            arabic = static_cast<quint16>(arabic - isMark(units[i]));
    }
    return {arabic - latin, (arabic | latin) != 0};
}

ScriptCount countScripts(QStringView text) {
    const char16_t* const units = text.utf16();
    ScriptCount count;
    for (qsizetype begin = 0; begin < text.size(); begin += blockSize) {
        const qsizetype end = qMin(begin + blockSize, text.size());
        const char16_t* const block = units + begin;
        const bool isWhole = end - begin == blockSize;
        const bool isSimpleBlock =
            isWhole ? isAsciiBlock(block) || holdsForAll<isSimple>(block, blockSize)
                    : holdsForAll<isSimple>(block, end - begin);
        ScriptCount part;
        if (isWhole && isSimpleBlock && begin > 0 && isSimple(block[-1]))
            part = countBlock<false>(block);
        else if (isWhole && begin > 0 && isPlainOrMark(block[-1]) &&
                 holdsForAll<isPlainOrMark>(block, blockSize))
            part = countBlock<true>(block);
        else
            part = countScripts(text, begin, end);
        count.arabicLessLatin += part.arabicLessLatin;
        count.any |= part.any;
        count.isSimple &= isSimpleBlock;
    }
    return count;
}

} // namespace

const Table& latinToArabic() {
    static const Table table = [] {
        Table built;
        insertPairs(built, latinKeys, arabicCharacters);
        insertPairs(built, latinDigits, arabicDigits);
        insertUpperCaseLetters(built);
        return built;
    }();
    return table;
}

const Table& arabicToLatin() {
    static const Table table = [] {
        Table built;
        insertInverse(built, latinToArabic());
        insertPairs(built, arabicDigits, latinDigits);
        return built;
    }();
    return table;
}

QString toEnglish(QStringView text) {
    return substituted<&KeyUnit::toEnglish>(text);
}

QString toArabic(QStringView text) {
    return substituted<&KeyUnit::toArabic>(text);
}

QString convert(QStringView text, FlipMode mode) {
    switch (mode) {
    case FlipMode::forceEnglish:
        return toEnglish(text);
    case FlipMode::forceArabic:
        return toArabic(text);
    case FlipMode::auto_:
        break;
    }
    const ScriptCount count = countScripts(text);
    if (!count.any)
        return text.toString();
    const bool isArabic = count.arabicLessLatin >= 0;
    if (count.isSimple)
        return substitutedSimply(text, isArabic ? sharedIndex().english : sharedIndex().arabic);
    return isArabic ? toEnglish(text) : toArabic(text);
}

qsizetype characterCount(QStringView text) {
    constexpr qsizetype limit = std::numeric_limits<int32_t>::max();
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUBreakIteratorPointer iterator(ubrk_open(
        UBRK_CHARACTER, "", text.utf16(), static_cast<int32_t>(qMin(text.size(), limit)), &status));
    if (U_FAILURE(status))
        return text.size();
    qsizetype count = 0;
    while (ubrk_next(iterator.getAlias()) != UBRK_DONE)
        ++count;
    return count;
}

} // namespace velmorin::KeyboardLayoutMap
