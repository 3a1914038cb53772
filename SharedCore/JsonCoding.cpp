// SPDX-License-Identifier: MIT
#include "SharedCore/JsonCoding.h"

#include <QJsonDocument>

#include <cmath>

namespace velmorin {

namespace {
constexpr qint64 kReferenceDate = 978'307'200'000; // 1 January 2001 UTC, in ms since 1970
constexpr double kFarthestDate = 9e15;             // seconds; its milliseconds fit 64 bits
} // namespace

std::optional<bool> JsonCoder<bool>::fromJson(const QJsonValue& json) {
    return json.isBool() ? std::optional(json.toBool()) : std::nullopt;
}

std::optional<qint64> JsonCoder<qint64>::fromJson(const QJsonValue& json) {
    const QVariant number = json.toVariant(); // a qint64 or a double, as the number was written
    return number.typeId() == QMetaType::LongLong ? std::optional(number.toLongLong())
                                                  : std::nullopt;
}

QJsonValue JsonCoder<double>::toJson(double value) {
    return std::isfinite(value) ? QJsonValue(value) : QJsonValue::Undefined;
}

std::optional<double> JsonCoder<double>::fromJson(const QJsonValue& json) {
    return json.isDouble() ? std::optional(json.toDouble()) : std::nullopt;
}

QJsonValue JsonCoder<QString>::toJson(const QString& value) {
    return value.isValidUtf16() ? QJsonValue(value) : QJsonValue::Undefined;
}

std::optional<QString> JsonCoder<QString>::fromJson(const QJsonValue& json) {
    const QString text = json.toString();
    return json.isString() && text.isValidUtf16() ? std::optional(text) : std::nullopt;
}

QJsonValue JsonCoder<QByteArray>::toJson(const QByteArray& value) {
    return QString::fromLatin1(value.toBase64());
}

std::optional<QByteArray> JsonCoder<QByteArray>::fromJson(const QJsonValue& json) {
    const auto decoded = QByteArray::fromBase64Encoding(
        json.toString().toUtf8(),
        QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
    return json.isString() && decoded ? std::optional(*decoded) : std::nullopt;
}

QJsonValue JsonCoder<QDateTime>::toJson(const QDateTime& value) {
    if (!value.isValid()) {
        return QJsonValue::Undefined;
    }
    return static_cast<double>(value.toMSecsSinceEpoch() - kReferenceDate) / 1000;
}

std::optional<QDateTime> JsonCoder<QDateTime>::fromJson(const QJsonValue& json) {
    const double seconds = json.toDouble();
    if (!json.isDouble() || std::abs(seconds) > kFarthestDate) {
        return std::nullopt;
    }
    return QDateTime::fromMSecsSinceEpoch(kReferenceDate + std::llround(seconds * 1000), Qt::UTC);
}

QJsonValue JsonMemberWriter::object() const {
    return m_failed ? QJsonValue(QJsonValue::Undefined) : m_object;
}

void JsonMemberWriter::insert(const char* name, const QJsonValue& value) {
    m_failed = m_failed || value.isUndefined();
    m_object.insert(QLatin1StringView(name), value);
}

// QJsonDocument holds arrays and objects only; an array around it lets any value through.
std::optional<QByteArray> jsonText(const QJsonValue& json) {
    if (json.isUndefined()) {
        return std::nullopt;
    }
    const QByteArray text = QJsonDocument(QJsonArray{json}).toJson(QJsonDocument::Compact);
    return text.sliced(1, text.size() - 2);
}

QJsonValue jsonValue(const QByteArray& text) {
    const QJsonArray array = QJsonDocument::fromJson('[' + text + ']').array();
    return array.size() == 1 ? array.first() : QJsonValue(QJsonValue::Undefined);
}

} // namespace velmorin
