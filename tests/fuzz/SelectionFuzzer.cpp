// SPDX-License-Identifier: MIT
// What a hostile owner of the clipboard writes: values of any type, size and encoding, in any
// order.
#include "Platform/X11/TextTransfer.h"
#include "tests/fuzz/Fuzzing.h"

#include <vector>

#include <unicode/ustring.h>

using namespace velmorin;

namespace {

constexpr xcb_atom_t kIncr = 300;
constexpr xcb_atom_t kUtf8String = 301;
constexpr xcb_atom_t kTypes[] = {kUtf8String, XCB_ATOM_STRING, kIncr, XCB_ATOM_NONE, 302};

XcbConnection::Property nextValue(FuzzedDataProvider& data) {
    const xcb_atom_t type = data.PickValueInArray(kTypes);
    const uint8_t format = data.PickValueInArray<uint8_t>({8, 8, 8, 16, 32, 0});
    const std::string bytes = data.ConsumeRandomLengthString();
    return {type, format, QByteArray::fromStdString(bytes)};
}

/// As ICU decodes it; none when it is not well-formed.
std::optional<QString> decoded(const QByteArray& bytes) {
    std::vector<UChar> units(static_cast<size_t>(bytes.size()) + 1);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(units.data(), int32_t(units.size()), &length, bytes.constData(),
                  int32_t(bytes.size()), &status);
    return U_SUCCESS(status) ? std::optional(QString::fromUtf16(units.data(), length))
                             : std::nullopt;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    FuzzedDataProvider data(bytes, size);
    const xcb_atom_t target = data.ConsumeBool() ? kUtf8String : xcb_atom_t{XCB_ATOM_STRING};
    TextTransfer transfer(target, kIncr);
    QByteArray sent;
    auto state = TextTransfer::State::receiving;
    while (data.remaining_bytes() > 0 && state == TextTransfer::State::receiving) {
        const XcbConnection::Property value = nextValue(data);
        state = transfer.take(value);
        if (value.type == target) {
            sent += value.bytes;
        }
        require(state == TextTransfer::State::delivered || !transfer.text(),
                "there is no text before all of it is there");
    }
    if (state == TextTransfer::State::delivered) {
        const auto expected = target == kUtf8String ? decoded(sent) : QString::fromLatin1(sent);
        require(transfer.text() == expected, "it is the text that was sent, or none");
    }
    return 0;
}
