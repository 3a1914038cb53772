// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/PropertyList.h"

#include <QByteArray>
#include <QVariant>

#include <cstdio>
#include <optional>

namespace velmorin {

/// Prints a line of UTF-8 on standard output, at once.
inline void printLine(const QByteArray& line) {
    std::puts(line.constData());
    std::fflush(stdout);
}

/// The number that a registry property is; none when it is anything else.
[[nodiscard]] inline std::optional<double> numberValue(const QVariant& property) {
    const QVariant value = propertyListValue(property);
    const bool isNumber =
        value.typeId() == QMetaType::LongLong || value.typeId() == QMetaType::Double;
    return isNumber ? std::optional(value.toDouble()) : std::nullopt;
}

} // namespace velmorin
