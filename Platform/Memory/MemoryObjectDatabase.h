// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ObjectDatabase.h"

#include <QDateTime>
#include <QHash>
#include <QMap>

#include <algorithm>
#include <memory>
#include <utility>

namespace velmorin {

/// A connection to tables in memory, which can be told to fail. Main thread.
class MemoryObjectDatabase final : public ObjectDatabase {
public:
    struct Table {
        EntitySchema schema;
        QMap<qint64, QVariantMap> rows;
        qint64 last = 0;
    };
    /// What connections share.
    struct Contents {
        QHash<QString, Table> tables;
        qint64 version = 0;
    };

    explicit MemoryObjectDatabase(std::shared_ptr<Contents> contents = std::make_shared<Contents>())
        : m_contents(std::move(contents)) {}

    /// From now on the operation of that name fails; none does when it is empty.
    void setFailing(const QString& operation) { m_failing = operation; }

    [[nodiscard]] bool createTable(const EntitySchema& schema) override {
        if (!works("createTable")) {
            return false;
        }
        Table& table = m_contents->tables[schema.name];
        if (table.schema.name.isEmpty()) {
            table.schema = schema;
        }
        return table.schema == schema || fail("the table holds something else");
    }
    [[nodiscard]] bool begin() override {
        if (!works("begin")) {
            return false;
        }
        m_before = m_contents->tables;
        return true;
    }
    [[nodiscard]] bool commit() override {
        if (!works("commit")) {
            return false;
        }
        m_before.reset();
        noteChange();
        return true;
    }
    void rollback() override {
        if (m_before) {
            m_contents->tables = *std::exchange(m_before, std::nullopt);
        }
    }

    [[nodiscard]] std::optional<qint64> insert(const EntitySchema& schema,
                                               const QVariantMap& values) override {
        const QVariantMap whole = schema.completed(values);
        if (!works("insert") || !isStorable(schema, whole)) {
            return std::nullopt;
        }
        Table& table = m_contents->tables[schema.name];
        table.rows.insert(++table.last, kept(whole));
        noteChange();
        return table.last;
    }
    [[nodiscard]] bool update(const EntitySchema& schema, const ObjectRow& changes) override {
        if (!works("update") || !isStorable(schema, changes.values)) {
            return false;
        }
        QMap<qint64, QVariantMap>& rows = m_contents->tables[schema.name].rows;
        if (const auto found = rows.find(changes.row); found != rows.end()) {
            found->insert(kept(changes.values));
        }
        noteChange();
        return true;
    }
    [[nodiscard]] bool remove(const EntitySchema& schema, qint64 row) override {
        m_contents->tables[schema.name].rows.remove(row);
        noteChange();
        return works("remove");
    }

    [[nodiscard]] std::optional<QList<ObjectRow>> select(const EntitySchema& schema,
                                                         const ObjectQuery& query) override {
        if (!works("select") || !isMeant(schema, query)) {
            return std::nullopt;
        }
        QList<ObjectRow> found;
        const QMap<qint64, QVariantMap>& rows = m_contents->tables[schema.name].rows;
        for (auto row = rows.begin(); row != rows.end(); ++row) {
            if (query.row.value_or(row.key()) == row.key() && holds(query, *row)) {
                found.append({row.key(), *row});
            }
        }
        std::stable_sort(found.begin(), found.end(), [&](const auto& first, const auto& second) {
            return isBefore(query, first.values, second.values);
        });
        return found.mid(0, query.limit.value_or(found.size()));
    }
    [[nodiscard]] std::optional<QList<qint64>> rows(const EntitySchema& schema) override {
        return works("rows") ? std::optional(m_contents->tables[schema.name].rows.keys())
                             : std::nullopt;
    }
    [[nodiscard]] std::optional<qint64> dataVersion() override {
        return works("dataVersion") ? std::optional(m_contents->version - m_ownChanges)
                                    : std::nullopt;
    }
    [[nodiscard]] QString lastError() const override { return m_error; }

private:
    [[nodiscard]] bool fail(const char* reason) {
        m_error = QString::fromLatin1(reason);
        return false;
    }
    [[nodiscard]] bool works(const char* operation) {
        return m_failing != QLatin1StringView(operation) || fail("told to fail");
    }
    [[nodiscard]] bool isStorable(const EntitySchema& schema, const QVariantMap& values) {
        return !schema.unstorable(values) || fail("a value that cannot be stored");
    }
    [[nodiscard]] bool isMeant(const EntitySchema& schema, const ObjectQuery& query) {
        bool isMeant = true;
        for (const auto& condition : query.conditions) {
            isMeant = isMeant && !schema.unstorable({{condition.attribute, condition.value}});
        }
        for (const auto& order : query.orders) {
            isMeant = isMeant && schema.attribute(order.attribute) != nullptr;
        }
        return isMeant || fail("a query for something else");
    }

    static QVariantMap kept(QVariantMap values) {
        for (QVariant& value : values) {
            if (value.typeId() == QMetaType::QDateTime) {
                value = value.toDateTime().toUTC();
            }
        }
        return values;
    }
    static bool holds(const ObjectQuery& query, const QVariantMap& values) {
        return std::all_of(
            query.conditions.begin(), query.conditions.end(), [&](const auto& condition) {
                const QVariant found = values.value(condition.attribute);
                if (condition.comparison == ObjectQuery::Comparison::equal) {
                    return found == condition.value;
                }
                const bool isLess = condition.comparison == ObjectQuery::Comparison::less;
                return found.isValid() && condition.value.isValid() &&
                       (QVariant::compare(found, condition.value) < 0) == isLess;
            });
    }
    static bool isBefore(const ObjectQuery& query, const QVariantMap& first,
                         const QVariantMap& second) {
        for (const auto& [attribute, isDescending] : query.orders) {
            const QVariant a = (isDescending ? second : first).value(attribute);
            const QVariant b = (isDescending ? first : second).value(attribute);
            if (a != b) {
                return !a.isValid() || (b.isValid() && QVariant::compare(a, b) < 0);
            }
        }
        return false;
    }
    void noteChange() {
        if (!m_before) {
            ++m_contents->version;
            ++m_ownChanges;
        }
    }

    const std::shared_ptr<Contents> m_contents;
    std::optional<QHash<QString, Table>> m_before; // the transaction under way
    qint64 m_ownChanges = 0;
    QString m_failing;
    QString m_error;
};

} // namespace velmorin
