// SPDX-License-Identifier: MIT
#include "Platform/UserDefaults.h"

namespace velmorin {

qint64 UserDefaults::integer(const QString& key) const {
    const QVariant value = object(key);
    return value.typeId() == QMetaType::LongLong ? value.toLongLong() : 0;
}

std::optional<QString> UserDefaults::string(const QString& key) const {
    const QVariant value = object(key);
    return value.typeId() == QMetaType::QString ? std::optional(value.toString()) : std::nullopt;
}

std::optional<QByteArray> UserDefaults::data(const QString& key) const {
    const QVariant value = object(key);
    return value.typeId() == QMetaType::QByteArray ? std::optional(value.toByteArray())
                                                   : std::nullopt;
}

} // namespace velmorin
