// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariant>

#include <optional>

namespace velmorin {

/// One domain of the user's preferences: named values that outlive the process.
///
/// Values are property-list values: bool, integers (kept as qint64), double, QString, QByteArray,
/// QDateTime, QVariantList and QVariantMap of these. A change is durable and seen by other
/// processes when the call returns. Any thread. No call fails: where the store cannot be written,
/// values live until the process ends, and the reason stands once on standard error.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    /// The value under `key`, or an invalid QVariant.
    [[nodiscard]] virtual QVariant object(const QString& key) const = 0;

    /// Stores `value`; an invalid one removes the key. A value that is no property-list value is
    /// refused, and what was there stays.
    virtual void set(const QString& key, const QVariant& value) = 0;

    virtual void removeObject(const QString& key) = 0;

    /// The integer under `key`: 0 when there is none or it is something else.
    [[nodiscard]] qint64 integer(const QString& key) const;
    /// The string under `key`, none when there is none or it is something else.
    [[nodiscard]] std::optional<QString> string(const QString& key) const;
    /// The bytes under `key`, none when there are none or it is something else.
    [[nodiscard]] std::optional<QByteArray> data(const QString& key) const;
};

} // namespace velmorin
