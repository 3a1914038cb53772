// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

namespace velmorin {

/// The status number of a platform operation: 0 is success, everything else an error whose
/// numbers the operation's port documents.
using OSStatus = qint32;

inline constexpr OSStatus noErr = 0;

/// A four-character code: the bytes of `text`, the first one most significant.
[[nodiscard]] constexpr quint32 fourCharCode(const char (&text)[5]) {
    quint32 code = 0;
    for (int i = 0; i < 4; ++i) {
        code = code << 8U | static_cast<unsigned char>(text[i]);
    }
    return code;
}

} // namespace velmorin
