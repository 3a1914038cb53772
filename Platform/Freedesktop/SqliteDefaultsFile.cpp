// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SqliteDefaultsFile.h"
#include "Platform/Freedesktop/PrivateFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmorin {
namespace {

using Access = SqliteDatabase::Access;
using Result = SqliteDatabase::Result;

constexpr const char* createTable =
    "CREATE TABLE defaults (key TEXT PRIMARY KEY NOT NULL, type TEXT NOT NULL, value) "
    "WITHOUT ROWID";
constexpr int otherContents = SQLITE_FORMAT; // SQLite itself has no use for it any more

bool isDamage(int code) {
    const int primary = code & 0xff;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB || primary == otherContents;
}

bool renameFile(const QString& from, const QString& to) {
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

/// Keeps other processes from opening or renaming preferences files in a directory meanwhile. It
/// locks the directory and not the file: closing a second descriptor of the file would end the
/// locks that SQLite holds on it.
class DirectoryLock {
public:
    DirectoryLock(const QString& directory, const QDeadlineTimer& deadline)
        : m_descriptor(::open(QFile::encodeName(directory).constData(),
                              O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        while (::flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            if (deadline.hasExpired()) {
                m_taken = true;
                return;
            }
            QThread::msleep(1);
        }
    }
    ~DirectoryLock() {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }
    Q_DISABLE_COPY_MOVE(DirectoryLock)

    /// Another process has it. Where there is nothing to lock, or no such lock, there is no wait.
    [[nodiscard]] bool isTaken() const { return m_taken; }

private:
    int m_descriptor;
    bool m_taken = false;
};

} // namespace

Result SqliteDefaultsFile::run(const char* sql, const QVariantList& parameters) {
    m_reason.clear();
    Result result = runOnce(sql, parameters);
    if (isDamage(result.code) && setAside(result.code)) {
        result = runOnce(sql, parameters);
    }
    if (result.code != SQLITE_OK) {
        noteReason(result.code);
    }
    // An immutable file is opened each time, lest later changes go unseen.
    const bool keep = result.code == SQLITE_OK || isBusy(result.code);
    if (m_database && (!keep || m_database->isReadOnly())) {
        m_database.reset();
    }
    return result;
}

bool SqliteDefaultsFile::isBusy(int code) {
    const int primary = code & 0xff;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED || primary == SQLITE_PROTOCOL;
}

Result SqliteDefaultsFile::runOnce(const char* sql, const QVariantList& parameters) {
    const int code = open();
    return code == SQLITE_OK ? m_database->run(sql, parameters) : Result{code, {}};
}

int SqliteDefaultsFile::open() {
    if (m_database && !m_database->hasMoved()) {
        return SQLITE_OK;
    }
    m_database.reset();
    m_creationError = makePrivateDirectory(QFileInfo(m_path).path());
    const DirectoryLock lock(QFileInfo(m_path).path(), m_deadline);
    if (lock.isTaken()) {
        return SQLITE_BUSY;
    }
    createMissing();
    const int code = openAs(Access::readWrite);
    const bool isUnwritable = code != SQLITE_OK && !isBusy(code) && !isDamage(code);
    if (!isUnwritable || !QFileInfo(m_path).isFile()) {
        return code;
    }
    return openAs(Access::exclusive) == SQLITE_OK ? SQLITE_OK : openAs(Access::immutable);
}

int SqliteDefaultsFile::openAs(Access access) {
    m_database = std::make_unique<SqliteDatabase>(m_path, access, m_deadline);
    // Not even looked into when it is only readable: the files that SQLite would make beside it
    // would be so as well, and in the way once it is writable again.
    const bool isUnwritable = access == Access::readWrite && m_database->isReadOnly();
    const int code = isUnwritable ? SQLITE_READONLY : check(access);
    if (code != SQLITE_OK && !isDamage(code)) {
        noteReason(code);
        m_database.reset();
    }
    return code;
}

void SqliteDefaultsFile::createMissing() {
    // SQLite gives the files beside it the mode of this one.
    const QByteArray path = QFile::encodeName(m_path);
    if (::mknod(path.constData(), S_IFREG | 0600, 0) == 0) {
        // What a removed file has left behind is not a part of the new one.
        ::unlink((path + "-wal").constData());
        ::unlink((path + "-shm").constData());
    } else if (errno != EEXIST && m_creationError == 0) {
        m_creationError = errno;
    }
}

int SqliteDefaultsFile::check(Access access) {
    const Result pages = m_database->run("PRAGMA quick_check(1)");
    if (pages.code != SQLITE_OK) {
        return pages.code == SQLITE_ERROR ? SQLITE_CORRUPT : pages.code; // the schema is garbled
    }
    if (pages.row.value(0) != QStringLiteral("ok")) {
        return SQLITE_CORRUPT;
    }
    const Result schema = m_database->run("SELECT group_concat(sql, ';') FROM sqlite_schema "
                                          "WHERE name NOT LIKE 'sqlite^_%' ESCAPE '^'");
    const QString found = schema.row.value(0).toString();
    if (!found.isEmpty() && found != QLatin1String(createTable)) {
        return otherContents;
    }
    if (schema.code != SQLITE_OK || access != Access::readWrite) {
        return schema.code;
    }
    // Some files turn out to be of a later format, which may only be read.
    return m_database->isReadOnly() ? SQLITE_READONLY : prepareToWrite(found.isEmpty());
}

int SqliteDefaultsFile::prepareToWrite(bool isNew) {
    for (const char* sql : {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = FULL",
                            isNew ? createTable : "SELECT 1"}) {
        if (const int code = m_database->run(sql).code; code != SQLITE_OK) {
            return code;
        }
    }
    return SQLITE_OK;
}

bool SqliteDefaultsFile::setAside(int code) {
    const DirectoryLock lock(QFileInfo(m_path).path(), m_deadline);
    if (!m_database || lock.isTaken()) {
        return false;
    }
    if (m_database->hasMoved()) { // another process was faster
        m_database.reset();
        return true;
    }
    noteReason(code);
    const QString file = m_database->fileName();
    const QString aside =
        file + QStringLiteral(".damaged-") +
        QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmss.zzz'Z'"));
    if (!renameFile(file, aside)) {
        return false;
    }
    for (const char* suffix : {"-wal", "-shm"}) {
        renameFile(file + QLatin1String(suffix), aside + QLatin1String(suffix));
    }
    // Closed only now: a connection whose file has moved leaves everything as it is.
    m_database.reset();
    const QString message =
        QStringLiteral("velmorin: the preferences start from their defaults: %1 cannot be used "
                       "(%2) and is kept as %3\n")
            .arg(file, m_reason, QFileInfo(aside).fileName());
    std::fputs(QFile::encodeName(message).constData(), stderr);
    m_reason.clear();
    return true;
}

void SqliteDefaultsFile::noteReason(int code) {
    if (!m_reason.isEmpty()) { // the first one is the cause
        return;
    }
    const int primary = code & 0xff;
    const int error =
        m_creationError == 0 && m_database ? m_database->systemError() : m_creationError;
    if (primary == otherContents) {
        m_reason = QStringLiteral("it holds something else");
    } else if ((primary == SQLITE_CANTOPEN || primary == SQLITE_IOERR) && error != 0) {
        m_reason = QString::fromStdString(std::generic_category().message(error));
    } else {
        m_reason = QString::fromUtf8(sqlite3_errstr(code));
    }
}

} // namespace velmorin
