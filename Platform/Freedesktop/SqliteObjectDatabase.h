// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ObjectDatabase.h"

#include <QDeadlineTimer>

#include <memory>

namespace velmorin {

class SqliteDatabase;

/// Objects in one SQLite file, in write-ahead mode: a table an entity, a column an attribute, and
/// the rowid as identity. Dates are integers, milliseconds since 1970 UTC; booleans 0 and 1.
///
/// No call waits longer than about a second for other processes; then it fails with "database is
/// locked" and may be tried again. Main thread.
class SqliteObjectDatabase final : public ObjectDatabase {
public:
    /// The first `createTable()` opens the file and reads through all of it. It and its directory
    /// are made then, for the user alone, if missing. A file that is damaged or cannot be written
    /// is refused and left as it is; so is one that is moved or removed later.
    explicit SqliteObjectDatabase(const QString& filePath);
    ~SqliteObjectDatabase() override;
    Q_DISABLE_COPY_MOVE(SqliteObjectDatabase)

    [[nodiscard]] bool createTable(const EntitySchema& schema) override;
    [[nodiscard]] bool begin() override;
    [[nodiscard]] bool commit() override;
    void rollback() override;
    [[nodiscard]] std::optional<qint64> insert(const EntitySchema& schema,
                                               const QVariantMap& values) override;
    [[nodiscard]] bool update(const EntitySchema& schema, const ObjectRow& changes) override;
    [[nodiscard]] bool remove(const EntitySchema& schema, qint64 row) override;
    [[nodiscard]] std::optional<QList<ObjectRow>> select(const EntitySchema& schema,
                                                         const ObjectQuery& query) override;
    [[nodiscard]] std::optional<QList<qint64>> rows(const EntitySchema& schema) override;
    [[nodiscard]] std::optional<qint64> dataVersion() override;
    [[nodiscard]] QString lastError() const override { return m_error; }

private:
    using Rows = std::optional<QList<QVariantList>>;

    [[nodiscard]] bool open();
    [[nodiscard]] int openFile();
    [[nodiscard]] Rows run(const QString& sql, const QVariantList& parameters = {});
    [[nodiscard]] bool isStorable(const EntitySchema& schema, const QVariantMap& values);
    [[nodiscard]] bool fail(const QString& reason);
    [[nodiscard]] bool fail(int code);

    const QString m_path;
    QDeadlineTimer m_deadline;
    std::unique_ptr<SqliteDatabase> m_database; // waits until m_deadline
    QString m_error;
};

} // namespace velmorin
