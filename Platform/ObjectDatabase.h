// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QVariant>

#include <optional>

namespace velmorin {

enum class AttributeType { string, boolean, integer64, real, date };

/// One attribute of an entity: a column of its table. It has no default value, no options, no
/// constraint but whether it is optional, and no index.
struct EntityAttribute {
    QString name; ///< The column's, and the key path: the name of the object's property.
    AttributeType type = AttributeType::string;
    bool isOptional = false;

    /// Whether `value` can be stored: a QString, a bool, a qint64, a double that is a number, or a
    /// valid QDateTime, as the type says; an invalid QVariant is none.
    [[nodiscard]] bool accepts(const QVariant& value) const;

    bool operator==(const EntityAttribute&) const = default;
};

/// What a table holds. `name` is the table's.
struct EntitySchema {
    QString name;
    QList<EntityAttribute> attributes; ///< In order.

    /// Null when there is no such attribute.
    [[nodiscard]] const EntityAttribute* attribute(const QString& attributeName) const;
    /// The first name in `values` that is no attribute's or has a value that cannot be stored;
    /// none when there is no such. Attributes that are not named are not looked at.
    [[nodiscard]] std::optional<QString> unstorable(const QVariantMap& values) const;
    /// `values` with none under the names that are missing.
    [[nodiscard]] QVariantMap completed(QVariantMap values) const;

    bool operator==(const EntitySchema&) const = default;
};

/// Which rows, and in which order; all of them, the oldest first, when nothing is said.
struct ObjectQuery {
    enum class Comparison { equal, less, greaterOrEqual };
    struct Condition {
        QString attribute;
        Comparison comparison = Comparison::equal;
        QVariant value; ///< Invalid for none, which equals none and is neither less nor greater.
    };
    struct Order {
        QString attribute; ///< Texts by their bytes, which is no order for a reader; none first.
        bool isDescending = false;
    };

    std::optional<qint64> row = std::nullopt; ///< The one of this identity.
    QList<Condition> conditions = {};         ///< All must hold.
    QList<Order> orders = {};                 ///< The first decides, then the next, then the age.
    std::optional<qint64> limit = std::nullopt;
};

/// A row: its identity, which is positive and never given twice, and its values by column name.
struct ObjectRow {
    qint64 row = 0;
    QVariantMap values;
};

/// A connection to a database of one table an entity. Main thread.
///
/// Nothing throws; what fails shows as none or false, with the reason in `lastError()`. A call
/// waits no longer than a bounded time for other connections. Strings are stored whatever is in
/// them, dates as UTC to the millisecond.
class ObjectDatabase {
public:
    virtual ~ObjectDatabase() = default;

    /// Makes the entity's table unless it is there; fails when that holds anything else. Comes
    /// before all other use of the entity, outside a transaction.
    [[nodiscard]] virtual bool createTable(const EntitySchema& schema) = 0;

    /// Starts a transaction: what follows is stored, for all to see, by `commit()` or not at all.
    /// Outside a transaction each change is one of its own.
    [[nodiscard]] virtual bool begin() = 0;
    /// The changes are durable when it returns true. After false, `rollback()` is due.
    [[nodiscard]] virtual bool commit() = 0;
    /// Does nothing outside a transaction.
    virtual void rollback() = 0;

    /// Gives the new row's identity.
    [[nodiscard]] virtual std::optional<qint64> insert(const EntitySchema& schema,
                                                       const QVariantMap& values) = 0;
    /// Changes the named values. True also when the row is no longer there.
    [[nodiscard]] virtual bool update(const EntitySchema& schema, const ObjectRow& changes) = 0;
    /// True also when the row is no longer there.
    [[nodiscard]] virtual bool remove(const EntitySchema& schema, qint64 row) = 0;

    /// Leaves out rows that hold anything but the entity's types.
    [[nodiscard]] virtual std::optional<QList<ObjectRow>> select(const EntitySchema& schema,
                                                                 const ObjectQuery& query) = 0;
    /// The identities of all rows.
    [[nodiscard]] virtual std::optional<QList<qint64>> rows(const EntitySchema& schema) = 0;

    /// A number that is another one once another connection has changed anything.
    [[nodiscard]] virtual std::optional<qint64> dataVersion() = 0;

    /// Why the last call that failed did, in English, without anything of what is stored.
    [[nodiscard]] virtual QString lastError() const = 0;
};

} // namespace velmorin
