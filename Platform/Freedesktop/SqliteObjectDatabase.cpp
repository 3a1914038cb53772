// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SqliteObjectDatabase.h"
#include "Platform/Freedesktop/PrivateFile.h"
#include "Platform/Freedesktop/SqliteDatabase.h"

#include <QDateTime>
#include <QStringList>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <system_error>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

constexpr auto lockWait = 1s;

QString quoted(QString name) {
    return u'"' + name.replace(u'"', QStringLiteral("\"\"")) + u'"';
}

QString columnType(AttributeType type) {
    switch (type) {
    case AttributeType::string:
        return QStringLiteral("TEXT");
    case AttributeType::real:
        return QStringLiteral("REAL");
    default:
        return QStringLiteral("INTEGER");
    }
}

QString tableDefinition(const EntitySchema& schema) {
    // AUTOINCREMENT keeps the identity of a deleted object from coming back as another one's.
    QStringList columns{QStringLiteral("rowid INTEGER PRIMARY KEY AUTOINCREMENT")};
    for (const EntityAttribute& attribute : schema.attributes) {
        columns.append(quoted(attribute.name) + u' ' + columnType(attribute.type) +
                       (attribute.isOptional ? QString() : QStringLiteral(" NOT NULL")));
    }
    return quoted(schema.name) + QStringLiteral(" (") + columns.join(QStringLiteral(", ")) + u')';
}

QString columnNames(const EntitySchema& schema) {
    QStringList names;
    for (const EntityAttribute& attribute : schema.attributes) {
        names.append(quoted(attribute.name));
    }
    return names.join(QStringLiteral(", "));
}

QVariant encoded(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return qint64{value.toBool()};
    case QMetaType::QDateTime:
        return value.toDateTime().toMSecsSinceEpoch();
    case QMetaType::QString: {
        // Half a surrogate pair has no UTF-8: such a text is kept as its UTF-16 bytes.
        const QString text = value.toString();
        return text.isValidUtf16()
                   ? value
                   : QVariant(QByteArray(reinterpret_cast<const char*>(text.utf16()),
                                         text.size() * qsizetype{sizeof(char16_t)}));
    }
    default:
        return value;
    }
}

/// What is not of the attribute's type comes back as it is, or invalid.
QVariant decoded(const EntityAttribute& attribute, const QVariant& column) {
    const bool isInteger = column.typeId() == QMetaType::LongLong;
    switch (attribute.type) {
    case AttributeType::string:
        if (column.typeId() == QMetaType::QByteArray) {
            const QByteArray bytes = column.toByteArray();
            QString text(bytes.size() / qsizetype{sizeof(char16_t)}, Qt::Uninitialized);
            std::copy_n(bytes.constData(), text.size() * qsizetype{sizeof(char16_t)},
                        reinterpret_cast<char*>(text.data()));
            return text;
        }
        return column;
    case AttributeType::boolean:
        return isInteger ? QVariant(column.toLongLong() != 0) : column;
    case AttributeType::date:
        return isInteger ? QDateTime::fromMSecsSinceEpoch(column.toLongLong(), Qt::UTC) : column;
    default:
        return column;
    }
}

/// The row as "SELECT rowid, ..." gives it.
ObjectRow objectRow(const EntitySchema& schema, const QVariantList& columns) {
    ObjectRow row{columns.value(0).toLongLong(), {}};
    for (int i = 0; i < schema.attributes.size(); ++i) {
        const EntityAttribute& attribute = schema.attributes[i];
        row.values.insert(attribute.name, decoded(attribute, columns.value(i + 1)));
    }
    return row;
}

QString comparisonOperator(ObjectQuery::Comparison comparison) {
    switch (comparison) {
    case ObjectQuery::Comparison::less:
        return QStringLiteral(" < ?");
    case ObjectQuery::Comparison::greaterOrEqual:
        return QStringLiteral(" >= ?");
    default:
        return QStringLiteral(" IS ?"); // "=" is not true of NULL and NULL
    }
}

} // namespace

SqliteObjectDatabase::SqliteObjectDatabase(const QString& filePath) : m_path(filePath) {}

SqliteObjectDatabase::~SqliteObjectDatabase() = default;

bool SqliteObjectDatabase::createTable(const EntitySchema& schema) {
    const QString definition = tableDefinition(schema);
    if (!open() || !run(QStringLiteral("CREATE TABLE IF NOT EXISTS ") + definition)) {
        return false;
    }
    const Rows found =
        run(QStringLiteral("SELECT sql FROM sqlite_schema WHERE name = ?"), {schema.name});
    const QString sql = found ? found->value(0).value(0).toString() : QString();
    return found && (sql == QStringLiteral("CREATE TABLE ") + definition ||
                     fail(schema.name + QStringLiteral(": the table holds something else")));
}

bool SqliteObjectDatabase::begin() {
    return open() && run(QStringLiteral("BEGIN IMMEDIATE"));
}

bool SqliteObjectDatabase::commit() {
    return run(QStringLiteral("COMMIT")).has_value();
}

void SqliteObjectDatabase::rollback() {
    if (m_database) {
        // Fails where there is none, as after a full disk, when SQLite has rolled back itself.
        (void)m_database->run("ROLLBACK");
    }
}

std::optional<qint64> SqliteObjectDatabase::insert(const EntitySchema& schema,
                                                   const QVariantMap& values) {
    const QVariantMap whole = schema.completed(values);
    if (!isStorable(schema, whole)) {
        return std::nullopt;
    }
    QVariantList parameters;
    QStringList marks;
    for (const EntityAttribute& attribute : schema.attributes) {
        parameters.append(encoded(whole.value(attribute.name)));
        marks.append(QStringLiteral("?"));
    }
    const Rows row =
        run(QStringLiteral("INSERT INTO %1 (%2) VALUES (%3) RETURNING rowid")
                .arg(quoted(schema.name), columnNames(schema), marks.join(QStringLiteral(", "))),
            parameters);
    return row ? std::optional(row->value(0).value(0).toLongLong()) : std::nullopt;
}

bool SqliteObjectDatabase::update(const EntitySchema& schema, const ObjectRow& changes) {
    if (changes.values.isEmpty()) {
        return true;
    }
    QStringList assignments;
    QVariantList parameters;
    for (auto entry = changes.values.begin(); entry != changes.values.end(); ++entry) {
        assignments.append(quoted(entry.key()) + QStringLiteral(" = ?"));
        parameters.append(encoded(entry.value()));
    }
    parameters.append(changes.row);
    return isStorable(schema, changes.values) &&
           run(QStringLiteral("UPDATE %1 SET %2 WHERE rowid = ?")
                   .arg(quoted(schema.name), assignments.join(QStringLiteral(", "))),
               parameters);
}

bool SqliteObjectDatabase::remove(const EntitySchema& schema, qint64 row) {
    return run(QStringLiteral("DELETE FROM %1 WHERE rowid = ?").arg(quoted(schema.name)), {row})
        .has_value();
}

std::optional<QList<ObjectRow>> SqliteObjectDatabase::select(const EntitySchema& schema,
                                                             const ObjectQuery& query) {
    QString sql = QStringLiteral("SELECT rowid, %1 FROM %2 WHERE rowid > 0")
                      .arg(columnNames(schema), quoted(schema.name));
    QVariantList parameters;
    if (query.row) {
        sql += QStringLiteral(" AND rowid = ?");
        parameters.append(*query.row);
    }
    for (const auto& [attribute, comparison, value] : query.conditions) {
        if (!isStorable(schema, {{attribute, value}})) {
            return std::nullopt;
        }
        sql += QStringLiteral(" AND ") + quoted(attribute) + comparisonOperator(comparison);
        parameters.append(encoded(value));
    }
    sql += QStringLiteral(" ORDER BY ");
    for (const auto& [attribute, isDescending] : query.orders) {
        if (schema.attribute(attribute) == nullptr) { // SQLite would take the name for a text
            (void)fail(schema.name + QStringLiteral(": an order by something else"));
            return std::nullopt;
        }
        sql +=
            quoted(attribute) + (isDescending ? QStringLiteral(" DESC, ") : QStringLiteral(", "));
    }
    sql += QStringLiteral("rowid LIMIT ?");
    parameters.append(query.limit.value_or(-1));
    const Rows found = open() ? run(sql, parameters) : std::nullopt;
    if (!found) {
        return std::nullopt;
    }
    QList<ObjectRow> rows;
    for (const QVariantList& columns : *found) {
        const ObjectRow row = objectRow(schema, columns);
        if (!schema.unstorable(row.values)) {
            rows.append(row);
        }
    }
    return rows;
}

std::optional<QList<qint64>> SqliteObjectDatabase::rows(const EntitySchema& schema) {
    const QString sql =
        QStringLiteral("SELECT rowid FROM %1 WHERE rowid > 0").arg(quoted(schema.name));
    const Rows found = open() ? run(sql) : std::nullopt;
    if (!found) {
        return std::nullopt;
    }
    QList<qint64> rows;
    for (const QVariantList& columns : *found) {
        rows.append(columns.value(0).toLongLong());
    }
    return rows;
}

std::optional<qint64> SqliteObjectDatabase::dataVersion() {
    const Rows row = open() ? run(QStringLiteral("PRAGMA data_version")) : std::nullopt;
    return row ? std::optional(row->value(0).value(0).toLongLong()) : std::nullopt;
}

bool SqliteObjectDatabase::open() {
    m_deadline.setRemainingTime(lockWait);
    if (m_database) {
        return !m_database->hasMoved() || fail(QStringLiteral("the file was moved or removed"));
    }
    if (const int error = makePrivateFile(m_path); error != 0) {
        return fail(QString::fromStdString(std::generic_category().message(error)));
    }
    m_database =
        std::make_unique<SqliteDatabase>(m_path, SqliteDatabase::Access::readWrite, m_deadline);
    if (const int code = openFile(); code == SQLITE_OK || fail(code)) {
        return true;
    }
    m_database.reset();
    return false;
}

int SqliteObjectDatabase::openFile() {
    // Not even looked into when it is only readable: the files that SQLite would make beside it
    // would be so as well, and in the way once it is writable again.
    if (m_database->isReadOnly()) {
        return m_database->run("SELECT 1").code == SQLITE_OK ? SQLITE_READONLY : SQLITE_CANTOPEN;
    }
    const SqliteDatabase::Result pages = m_database->run("PRAGMA quick_check(1)");
    if (pages.code != SQLITE_OK) {
        return pages.code == SQLITE_ERROR ? SQLITE_CORRUPT : pages.code; // the schema is garbled
    }
    if (pages.row.value(0) != QStringLiteral("ok")) {
        return SQLITE_CORRUPT;
    }
    if (m_database->isReadOnly()) { // some files turn out to be of a later format
        return SQLITE_READONLY;
    }
    // Of connections that change the mode at once, some are refused without their busy handler.
    int code = m_database->run("PRAGMA journal_mode = WAL").code;
    while ((code & 0xff) == SQLITE_BUSY && !m_deadline.hasExpired()) {
        QThread::msleep(1);
        code = m_database->run("PRAGMA journal_mode = WAL").code;
    }
    return code == SQLITE_OK ? m_database->run("PRAGMA synchronous = FULL").code : code;
}

SqliteObjectDatabase::Rows SqliteObjectDatabase::run(const QString& sql,
                                                     const QVariantList& parameters) {
    if (!m_database) {
        (void)fail(QStringLiteral("the file is not open"));
        return std::nullopt;
    }
    m_deadline.setRemainingTime(lockWait);
    auto [code, rows] = m_database->runForRows(sql.toUtf8().constData(), parameters);
    return code == SQLITE_OK || fail(code) ? Rows(std::move(rows)) : std::nullopt;
}

bool SqliteObjectDatabase::isStorable(const EntitySchema& schema, const QVariantMap& values) {
    const std::optional<QString> name = schema.unstorable(values);
    return !name ||
           fail(QStringLiteral("%1.%2: not a value that it can have").arg(schema.name, *name));
}

bool SqliteObjectDatabase::fail(const QString& reason) {
    m_error = reason;
    return false;
}

bool SqliteObjectDatabase::fail(int code) {
    const int primary = code & 0xff;
    const int error = m_database ? m_database->systemError() : 0;
    const bool isSystems = (primary == SQLITE_CANTOPEN || primary == SQLITE_IOERR) && error != 0;
    return fail(isSystems ? QString::fromStdString(std::generic_category().message(error))
                          : QString::fromUtf8(sqlite3_errstr(code)));
}

} // namespace velmorin
