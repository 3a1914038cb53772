// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SqliteDatabase.h"

#include <QFile>
#include <QStringDecoder>
#include <QThread>
#include <QUrl>

#include <algorithm>

namespace velmorin {
namespace {

/// The name of the standard file system layer with its sleeps cut short. A process that was stopped
/// while it held the lock of the shared index makes SQLite itself sleep, in about a hundred growing
/// steps, for ten seconds; the busy handler is not asked.
const char* impatientVfs() {
    static sqlite3_vfs vfs = [] {
        sqlite3_vfs copy = *sqlite3_vfs_find(nullptr);
        copy.zName = "velmorin";
        copy.pNext = nullptr;
        copy.xSleep = [](sqlite3_vfs*, int microseconds) {
            QThread::usleep(static_cast<unsigned long>(std::clamp(microseconds, 0, 3000)));
            return microseconds;
        };
        return copy;
    }();
    static const int registered = sqlite3_vfs_register(&vfs, 0);
    return registered == SQLITE_OK ? vfs.zName : nullptr;
}

int waitForLock(void* deadline, int /*attempts*/) {
    if (static_cast<const QDeadlineTimer*>(deadline)->hasExpired()) {
        return 0;
    }
    QThread::msleep(1);
    return 1;
}

int bind(sqlite3_stmt* statement, int index, const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::LongLong:
        return sqlite3_bind_int64(statement, index, value.toLongLong());
    case QMetaType::Double:
        return sqlite3_bind_double(statement, index, value.toDouble());
    case QMetaType::QString: {
        // Bound as UTF-16 it would lose a leading byte order mark.
        const QByteArray text = value.toString().toUtf8();
        return sqlite3_bind_text64(statement, index, text.constData(),
                                   static_cast<sqlite3_uint64>(text.size()), SQLITE_TRANSIENT,
                                   SQLITE_UTF8);
    }
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return sqlite3_bind_blob64(statement, index, bytes.constData(),
                                   static_cast<sqlite3_uint64>(bytes.size()), SQLITE_TRANSIENT);
    }
    default:
        return sqlite3_bind_null(statement, index);
    }
}

QVariant column(sqlite3_stmt* statement, int index) {
    // SQLite may convert in place: the type is asked for first, the size last.
    switch (sqlite3_column_type(statement, index)) {
    case SQLITE_INTEGER:
        return qint64{sqlite3_column_int64(statement, index)};
    case SQLITE_FLOAT:
        return sqlite3_column_double(statement, index);
    case SQLITE_TEXT: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
        return QString(decoder(QByteArrayView(text, sqlite3_column_bytes(statement, index))));
    }
    case SQLITE_BLOB: {
        const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, index));
        return QByteArray(bytes, sqlite3_column_bytes(statement, index));
    }
    default:
        return {};
    }
}

QVariantList columns(sqlite3_stmt* statement) {
    QVariantList row;
    for (int i = 0; i < sqlite3_column_count(statement); ++i) {
        row.append(column(statement, i));
    }
    return row;
}

} // namespace

SqliteDatabase::SqliteDatabase(const QString& path, Access access, const QDeadlineTimer& deadline)
    : m_access(access) {
    const bool immutable = access == Access::immutable;
    const QByteArray name = immutable ? QUrl::fromLocalFile(path).toEncoded() + "?immutable=1"
                                      : QFile::encodeName(path);
    const int flags = immutable ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI
                                : static_cast<int>(SQLITE_OPEN_READWRITE);
    sqlite3* connection = nullptr;
    m_openCode =
        sqlite3_open_v2(name.constData(), &connection,
                        flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, impatientVfs());
    m_connection.reset(connection);
    sqlite3_busy_handler(connection, waitForLock, const_cast<QDeadlineTimer*>(&deadline));
    if (access == Access::exclusive && m_openCode == SQLITE_OK) {
        sqlite3_db_config(connection, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
        for (const char* pragma : {"PRAGMA locking_mode = EXCLUSIVE", "PRAGMA query_only = 1"}) {
            const int code = run(pragma).code;
            m_openCode = m_openCode == SQLITE_OK ? code : m_openCode;
        }
    }
}

SqliteDatabase::Result SqliteDatabase::run(const char* sql, const QVariantList& parameters) {
    sqlite3_stmt* statement = nullptr;
    int code = prepareAndBind(sql, parameters, statement);
    if (code != SQLITE_OK) {
        return {code, {}};
    }
    code = sqlite3_step(statement);
    const QVariantList row = code == SQLITE_ROW ? columns(statement) : QVariantList();
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return {code == SQLITE_ROW || code == SQLITE_DONE ? SQLITE_OK : code, row};
}

SqliteDatabase::Rows SqliteDatabase::runForRows(const char* sql, const QVariantList& parameters) {
    sqlite3_stmt* statement = nullptr;
    int code = prepareAndBind(sql, parameters, statement);
    if (code != SQLITE_OK) {
        return {code, {}};
    }
    QList<QVariantList> rows;
    while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
        rows.append(columns(statement));
    }
    sqlite3_reset(statement);
    sqlite3_clear_bindings(statement);
    return {code == SQLITE_DONE ? SQLITE_OK : code, rows};
}

int SqliteDatabase::prepareAndBind(const char* sql, const QVariantList& parameters,
                                   sqlite3_stmt*& statement) {
    int code = prepare(sql, statement);
    for (int i = 0; code == SQLITE_OK && i < parameters.size(); ++i) {
        code = bind(statement, i + 1, parameters[i]);
    }
    return code;
}

int SqliteDatabase::prepare(const char* sql, sqlite3_stmt*& statement) {
    if (m_openCode != SQLITE_OK) {
        return m_openCode;
    }
    Statement& known = m_statements[sql];
    if (!known) {
        sqlite3_stmt* prepared = nullptr;
        const int code = sqlite3_prepare_v3(m_connection.get(), sql, -1, SQLITE_PREPARE_PERSISTENT,
                                            &prepared, nullptr);
        known.reset(prepared);
        if (code != SQLITE_OK) {
            return code;
        }
    }
    statement = known.get();
    return SQLITE_OK;
}

bool SqliteDatabase::isReadOnly() const {
    return m_access != Access::readWrite || sqlite3_db_readonly(m_connection.get(), "main") == 1;
}

bool SqliteDatabase::hasMoved() const {
    int moved = 0;
    sqlite3_file_control(m_connection.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    return moved != 0;
}

QString SqliteDatabase::fileName() const {
    return QFile::decodeName(sqlite3_db_filename(m_connection.get(), "main"));
}

int SqliteDatabase::systemError() const {
    return sqlite3_system_errno(m_connection.get());
}

} // namespace velmorin
