// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QVariant>

#include <limits>

namespace velmorin {

/// `value` in the one form in which property lists keep it: every integer is a qint64, every real
/// number a double, every date an instant in UTC. Invalid when it, or anything inside it, is no
/// property-list value, when an integer does not fit, when a date is outside the years 1 to 9999,
/// or when lists and maps are nested more than 512 deep.
[[nodiscard]] inline QVariant propertyListValue(const QVariant& value, int depth = 0) {
    constexpr int deepest = 512;
    if (depth > deepest) {
        return {};
    }
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::LongLong:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return value;
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
        return value.toLongLong();
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return value.toULongLong() <= quint64{std::numeric_limits<qint64>::max()}
                   ? QVariant(value.toLongLong())
                   : QVariant();
    case QMetaType::Float:
        return value.toDouble();
    case QMetaType::QDateTime: {
        const QDateTime instant = value.toDateTime().toUTC();
        const int year = instant.date().year(); // 0 when invalid
        return year >= 1 && year <= 9999 ? QVariant(instant) : QVariant();
    }
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        QVariantList list = value.toList();
        for (QVariant& element : list) {
            element = propertyListValue(element, depth + 1);
            if (!element.isValid()) {
                return {};
            }
        }
        return list;
    }
    case QMetaType::QVariantMap: {
        QVariantMap map = value.toMap();
        for (QVariant& element : map) {
            element = propertyListValue(element, depth + 1);
            if (!element.isValid()) {
                return {};
            }
        }
        return map;
    }
    default:
        return {};
    }
}

} // namespace velmorin
