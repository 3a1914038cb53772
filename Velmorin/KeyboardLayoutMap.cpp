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

    std::array<KeyUnit, end + sharedSlots> keys{};
    std::array<ScriptUnit, end + sharedSlots> scripts{};

    Index() {
        for (char16_t unit = 0; unit < end; ++unit) {
            const auto toEnglish = static_cast<char16_t>(unit ^ englishFor(unit));
            const auto toArabic = static_cast<char16_t>(unit ^ arabicFor(unit));
            fill(unit, clusterRole(unit), scriptBalance(unit), toEnglish, toArabic);
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

/// Changes each unit that is a whole character. To a unit that the tables hold, only a mark after
/// it or a prepended mark before it can join. (Nothing joins a tab or a line feed, but they map to
/// themselves.)
template <char16_t KeyUnit::*change>
QString substituted(QStringView text) {
    const auto& keys = sharedIndex().keys;
    const std::size_t outside = Index::sharedSlot(plain, 0);
    const qsizetype size = text.size();
    QString result(size, Qt::Uninitialized);
    QChar* out = result.data();
    std::size_t previous = outside;
    std::size_t current = size > 0 ? Index::slotAt(text, 0) : outside;
    for (qsizetype i = 0; i < size; ++i) {
        const std::size_t next = i + 1 < size ? Index::slotAt(text, i + 1) : outside;
        const int applied =
            keys[current].*change & keys[next].sparesPrevious & keys[previous].sparesNext;
        out[i] = QChar(text[i].unicode() ^ applied);
        previous = current;
        current = next;
    }
    return result;
}

/// The characters that begin with an Arabic scalar against those that begin with an ASCII letter.
struct ScriptCount {
    qsizetype arabicLessLatin = 0;
    bool any = false;
};

ScriptCount countScripts(QStringView text) {
    const auto& scripts = sharedIndex().scripts;
    qsizetype sum = 0;
    int any = 0;
    // Where the text begins, a mark begins a character, as it does after a control.
    std::size_t previous = Index::sharedSlot(control, 0);
    for (qsizetype i = 0; i < text.size(); ++i) {
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
    return count.arabicLessLatin >= 0 ? toEnglish(text) : toArabic(text);
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
