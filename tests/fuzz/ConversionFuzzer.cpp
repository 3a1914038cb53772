// SPDX-License-Identifier: MIT
// Conversion against its definition, on UTF-16 that need not be well-formed.
#include "tests/contracts/ConversionByDefinition.h"
#include "tests/fuzz/Fuzzing.h"

#include <iterator>

using namespace velmorin;

namespace {

/// Of each kind of unit that conversion treats in its own way.
constexpr char16_t kUnits[] = {u'q',   u'A',   u'1',   u'`',   u'\'',  u'-',   u' ',   u'\n',
                               u'\r',  u'\t',  0x00,   0xE9,   0x0636, 0x061F, 0x0661, 0x0640,
                               0x064E, 0x0301, 0x0600, 0x06DD, 0x0903, 0x200C, 0x200D, 0x200F,
                               0xFE0F, 0xFEFF, 0xFFFE, 0xD83D, 0xDE00, 0xD804, 0xDCBD, 0xDB40,
                               0xDD00, 0x1100, 0x1161, 0xAC00, 0xA9,   0x094D, 0x0915};

QString nextText(FuzzedDataProvider& data) {
    QString text;
    while (data.remaining_bytes() > 0) {
        const auto index = data.ConsumeIntegral<uint8_t>();
        const bool isKnown = index < std::size(kUnits);
        text += QChar(isKnown ? kUnits[index] : data.ConsumeIntegral<uint16_t>());
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzedDataProvider data(bytes, size);
    const QString text = nextText(data);
    for (const FlipMode mode : allCases) {
        require(KeyboardLayoutMap::convert(text, mode) == convertedByDefinition(text, mode),
                "the conversion is the defined one");
    }
    require(KeyboardLayoutMap::characterCount(text) == characters(text).size(),
            "characters are counted as ICU does");
    return 0;
}
