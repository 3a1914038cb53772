// SPDX-License-Identifier: MIT
#pragma once

#include <QDeadlineTimer>
#include <QString>
#include <QVariant>

#include <map>
#include <memory>

#include <sqlite3.h>

namespace velmorin {

/// A connection to one SQLite file that exists. One thread at a time.
///
/// Waiting for other processes' locks ends at `deadline`, which its owner moves on before each use
/// and keeps alive; what SQLite waits of its own accord adds 0.3 s to that at most.
class SqliteDatabase {
public:
    /// An exclusive connection only reads, also what waits in the write-ahead log, and keeps others
    /// out as long; it needs no room on the disk. An immutable file is read without locks and
    /// without files beside it.
    enum class Access { readWrite, exclusive, immutable };

    /// What one statement came to: SQLite's result code and the columns of its first row, if any.
    /// A column is a qint64, a double, a QString, a QByteArray, or invalid for NULL.
    struct Result {
        int code = SQLITE_OK;
        QVariantList row;
    };

    SqliteDatabase(const QString& path, Access access, const QDeadlineTimer& deadline);

    /// Carries out one statement as a transaction of its own. Statements are prepared once. The
    /// code is SQLITE_OK on success, with or without a row.
    [[nodiscard]] Result run(const char* sql, const QVariantList& parameters = {});

    /// The same, carried through to its end, for all the rows that it gives.
    struct Rows {
        int code = SQLITE_OK;
        QList<QVariantList> rows;
    };
    [[nodiscard]] Rows runForRows(const char* sql, const QVariantList& parameters = {});

    [[nodiscard]] bool isReadOnly() const;
    /// Whether the path now leads to another file than this one, or to none.
    [[nodiscard]] bool hasMoved() const;
    /// The file itself, when the path that was opened is a symbolic link.
    [[nodiscard]] QString fileName() const;
    /// The error number with which the system last refused something, or 0.
    [[nodiscard]] int systemError() const;

private:
    struct Close {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

    [[nodiscard]] int prepare(const char* sql, sqlite3_stmt*& statement);
    [[nodiscard]] int prepareAndBind(const char* sql, const QVariantList& parameters,
                                     sqlite3_stmt*& statement);

    std::unique_ptr<sqlite3, Close> m_connection;
    std::map<QByteArray, Statement> m_statements; // go before the connection does
    Access m_access;
    int m_openCode = SQLITE_OK;
};

} // namespace velmorin
