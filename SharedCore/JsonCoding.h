// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QMap>
#include <QString>

#include <concepts>
#include <optional>

namespace velmorin {

/// How a type stands in JSON. `toJson()` is undefined for a value that JSON cannot hold;
/// `fromJson()` is none for anything but exactly the type.
///
/// There are coders for bool, signed integers, double (finite), QString (valid Unicode), QByteArray
/// (base64 text), QDateTime (seconds since 1 January 2001 UTC), lists and maps of these, and
/// records. A record is a type with a function template
/// `static void visitMembers(auto& record, auto&& visit)` that calls `visit(name, member)` for each
/// stored member. A std::optional member is left out while it is none.
template <typename T>
struct JsonCoder;

template <typename T>
concept JsonCodable = requires(const T& value, const QJsonValue& json) {
    { JsonCoder<T>::toJson(value) } -> std::same_as<QJsonValue>;
    { JsonCoder<T>::fromJson(json) } -> std::same_as<std::optional<T>>;
};

template <>
struct JsonCoder<bool> {
    [[nodiscard]] static QJsonValue toJson(bool value) { return value; }
    [[nodiscard]] static std::optional<bool> fromJson(const QJsonValue& json);
};

template <>
struct JsonCoder<qint64> {
    [[nodiscard]] static QJsonValue toJson(qint64 value) { return value; }
    [[nodiscard]] static std::optional<qint64> fromJson(const QJsonValue& json);
};

template <>
struct JsonCoder<double> {
    [[nodiscard]] static QJsonValue toJson(double value);
    [[nodiscard]] static std::optional<double> fromJson(const QJsonValue& json);
};

template <>
struct JsonCoder<QString> {
    [[nodiscard]] static QJsonValue toJson(const QString& value);
    [[nodiscard]] static std::optional<QString> fromJson(const QJsonValue& json);
};

template <>
struct JsonCoder<QByteArray> {
    [[nodiscard]] static QJsonValue toJson(const QByteArray& value);
    [[nodiscard]] static std::optional<QByteArray> fromJson(const QJsonValue& json);
};

/// To the millisecond; read back as UTC.
template <>
struct JsonCoder<QDateTime> {
    [[nodiscard]] static QJsonValue toJson(const QDateTime& value);
    [[nodiscard]] static std::optional<QDateTime> fromJson(const QJsonValue& json);
};

template <std::signed_integral T>
struct JsonCoder<T> {
    [[nodiscard]] static QJsonValue toJson(T value) { return qint64{value}; }
    [[nodiscard]] static std::optional<T> fromJson(const QJsonValue& json) {
        const std::optional<qint64> value = JsonCoder<qint64>::fromJson(json);
        const bool fits = value && static_cast<T>(*value) == *value;
        return fits ? std::optional(static_cast<T>(*value)) : std::nullopt;
    }
};

template <JsonCodable T>
struct JsonCoder<QList<T>> {
    [[nodiscard]] static QJsonValue toJson(const QList<T>& list) {
        QJsonArray array;
        for (const T& element : list) {
            const QJsonValue value = JsonCoder<T>::toJson(element);
            if (value.isUndefined()) {
                return QJsonValue::Undefined;
            }
            array.append(value);
        }
        return array;
    }
    [[nodiscard]] static std::optional<QList<T>> fromJson(const QJsonValue& json) {
        QList<T> list;
        const QJsonArray array = json.toArray();
        for (const QJsonValue element : array) {
            const std::optional<T> decoded = JsonCoder<T>::fromJson(element);
            if (!decoded) {
                return std::nullopt;
            }
            list.append(*decoded);
        }
        return json.isArray() ? std::optional(list) : std::nullopt;
    }
};

template <JsonCodable T>
struct JsonCoder<QMap<QString, T>> {
    [[nodiscard]] static QJsonValue toJson(const QMap<QString, T>& map) {
        QJsonObject object;
        for (auto entry = map.begin(); entry != map.end(); ++entry) {
            const QJsonValue value = JsonCoder<T>::toJson(entry.value());
            if (value.isUndefined() || !entry.key().isValidUtf16()) {
                return QJsonValue::Undefined;
            }
            object.insert(entry.key(), value);
        }
        return object;
    }
    [[nodiscard]] static std::optional<QMap<QString, T>> fromJson(const QJsonValue& json) {
        QMap<QString, T> map;
        const QJsonObject object = json.toObject();
        for (auto entry = object.begin(); entry != object.end(); ++entry) {
            const std::optional<T> decoded = JsonCoder<T>::fromJson(entry.value());
            if (!decoded || !entry.key().isValidUtf16()) {
                return std::nullopt;
            }
            map.insert(entry.key(), *decoded);
        }
        return json.isObject() ? std::optional(map) : std::nullopt;
    }
};

/// Makes a JSON object of a record's members.
class JsonMemberWriter {
public:
    template <JsonCodable T>
    void operator()(const char* name, const T& member) {
        insert(name, JsonCoder<T>::toJson(member));
    }
    template <JsonCodable T>
    void operator()(const char* name, const std::optional<T>& member) {
        if (member) {
            (*this)(name, *member);
        }
    }

    /// Undefined when a member could not be written.
    [[nodiscard]] QJsonValue object() const;

private:
    void insert(const char* name, const QJsonValue& value);

    QJsonObject m_object;
    bool m_failed = false;
};

/// Fills a record's members from a JSON object; other members of the object are ignored.
class JsonMemberReader {
public:
    explicit JsonMemberReader(const QJsonValue& json)
        : m_object(json.toObject()), m_failed(!json.isObject()) {}

    template <JsonCodable T>
    void operator()(const char* name, T& member) {
        if (auto decoded = JsonCoder<T>::fromJson(m_object.value(QLatin1StringView(name)))) {
            member = *std::move(decoded);
        } else {
            m_failed = true;
        }
    }
    /// Absent or null is none.
    template <JsonCodable T>
    void operator()(const char* name, std::optional<T>& member) {
        const QJsonValue json = m_object.value(QLatin1StringView(name));
        if (!json.isUndefined() && !json.isNull()) {
            (*this)(name, member.emplace());
        }
    }

    /// Whether a member was missing or of another type, or there was no object.
    [[nodiscard]] bool failed() const { return m_failed; }

private:
    const QJsonObject m_object;
    bool m_failed;
};

template <typename T>
concept JsonRecord = std::default_initializable<T> &&
    requires(T& record, JsonMemberReader& reader) {
    T::visitMembers(record, reader);
};

template <JsonRecord T>
struct JsonCoder<T> {
    [[nodiscard]] static QJsonValue toJson(const T& record) {
        JsonMemberWriter writer;
        T::visitMembers(record, writer);
        return writer.object();
    }
    [[nodiscard]] static std::optional<T> fromJson(const QJsonValue& json) {
        T record;
        JsonMemberReader reader(json);
        T::visitMembers(record, reader);
        return reader.failed() ? std::nullopt : std::optional(std::move(record));
    }
};

/// The compact UTF-8 text of `json`, which may be any value; none when it is undefined.
[[nodiscard]] std::optional<QByteArray> jsonText(const QJsonValue& json);
/// The value that `text` is; undefined when it is no JSON text.
[[nodiscard]] QJsonValue jsonValue(const QByteArray& text);

} // namespace velmorin
