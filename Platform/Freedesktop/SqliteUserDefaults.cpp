// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SqliteUserDefaults.h"
#include "Platform/Freedesktop/SqliteDefaultsFile.h"
#include "Platform/PropertyList.h"

#include <QCborMap>
#include <QCborValue>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QMutex>
#include <QSet>
#include <QStandardPaths>

#include <chrono>
#include <cstdio>
#include <limits>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

constexpr auto lockWait = 200ms;
constexpr auto lockWaitWhileLocked = 20ms; // a second wait of the full length is of little use

/// A property-list value as a row has it: the type's name, and a value that SQLite knows.
struct StoredValue {
    QString type;
    QVariant value;
};

StoredValue encoded(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return {QStringLiteral("bool"), qint64{value.toBool()}};
    case QMetaType::LongLong:
        return {QStringLiteral("integer"), value};
    case QMetaType::Double:
        return {QStringLiteral("real"), value};
    case QMetaType::QString:
        return {QStringLiteral("string"), value};
    case QMetaType::QByteArray:
        return {QStringLiteral("data"), value};
    case QMetaType::QDateTime:
        return {QStringLiteral("date"), value.toDateTime().toMSecsSinceEpoch()};
    case QMetaType::QVariantList:
        return {QStringLiteral("array"), QCborValue::fromVariant(value).toCbor()};
    default:
        return {QStringLiteral("dictionary"), QCborValue::fromVariant(value).toCbor()};
    }
}

/// Invalid when the row was not written by `encoded`.
QVariant decoded(const StoredValue& stored) {
    const int kind = stored.value.typeId();
    if (kind == QMetaType::LongLong) {
        const qint64 number = stored.value.toLongLong();
        if (stored.type == QStringLiteral("bool")) {
            return number != 0;
        }
        if (stored.type == QStringLiteral("date")) {
            return QDateTime::fromMSecsSinceEpoch(number, Qt::UTC);
        }
        return stored.type == QStringLiteral("integer") ? stored.value : QVariant();
    }
    if (stored.type == QStringLiteral("real")) {
        const bool isNull = !stored.value.isValid(); // SQLite stores NaN so
        return isNull ? std::numeric_limits<double>::quiet_NaN()
                      : (kind == QMetaType::Double ? stored.value : QVariant());
    }
    if (stored.type == QStringLiteral("string")) {
        return kind == QMetaType::QString ? stored.value : QVariant();
    }
    if (kind != QMetaType::QByteArray) {
        return {};
    }
    if (stored.type == QStringLiteral("data")) {
        return stored.value;
    }
    const QCborValue tree = QCborValue::fromCbor(stored.value.toByteArray());
    const bool isTree = (stored.type == QStringLiteral("array") && tree.isArray()) ||
                        (stored.type == QStringLiteral("dictionary") && tree.isMap());
    return isTree ? tree.toVariant() : QVariant();
}

/// What all objects on one file have in common. Kept until the process ends.
struct Domain {
    QMutex mutex;                     // also held while a file is used
    QHash<QString, QVariant> pending; // not written yet; an invalid value removes the key
    QSet<QString> told;
    bool isLocked = false;
};

std::shared_ptr<Domain> domainOf(const QString& filePath) {
    static QMutex mutex;
    static QHash<QString, std::shared_ptr<Domain>> domains;
    const QMutexLocker lock(&mutex);
    std::shared_ptr<Domain>& domain = domains[QDir::cleanPath(QDir().absoluteFilePath(filePath))];
    if (!domain) {
        domain = std::make_shared<Domain>();
    }
    return domain;
}

} // namespace

class SqliteUserDefaults::Store {
public:
    explicit Store(const QString& filePath)
        : m_path(filePath), m_file(filePath), m_domain(domainOf(filePath)) {}

    QVariant read(const QString& key) {
        const QMutexLocker lock(&m_domain->mutex);
        allowWaiting();
        if (m_domain->pending.contains(key)) {
            QVariant value = m_domain->pending.value(key);
            writePending();
            return value;
        }
        QVariant value = readFromFile(key);
        if (!m_domain->isLocked) {
            writePending();
        }
        return value;
    }

    void write(const QString& key, const QVariant& value) {
        const QMutexLocker lock(&m_domain->mutex);
        allowWaiting();
        m_domain->pending.insert(key, value);
        writePending();
    }

    void finish() {
        const QMutexLocker lock(&m_domain->mutex);
        allowWaiting();
        writePending();
    }

private:
    void allowWaiting() {
        m_file.allowWaiting(m_domain->isLocked ? lockWaitWhileLocked : lockWait);
    }

    QVariant readFromFile(const QString& key) {
        const auto [code, row] =
            m_file.run("SELECT type, value FROM defaults WHERE key = ?", {key});
        note(code);
        return row.size() == 2 ? decoded({row[0].toString(), row[1]}) : QVariant();
    }

    void writePending() {
        auto next = m_domain->pending.begin();
        while (next != m_domain->pending.end()) {
            const int code = writeToFile(next.key(), next.value());
            note(code);
            if (m_domain->isLocked) {
                return;
            }
            next = code == SQLITE_OK ? m_domain->pending.erase(next) : std::next(next);
        }
    }

    int writeToFile(const QString& key, const QVariant& value) {
        if (!value.isValid()) {
            return m_file.run("DELETE FROM defaults WHERE key = ?", {key}).code;
        }
        const StoredValue stored = encoded(value);
        return m_file
            .run("INSERT INTO defaults (key, type, value) VALUES (?, ?, ?) "
                 "ON CONFLICT (key) DO UPDATE SET type = excluded.type, value = excluded.value",
                 {key, stored.type, stored.value})
            .code;
    }

    void note(int code) {
        m_domain->isLocked = SqliteDefaultsFile::isBusy(code);
        if (code == SQLITE_OK || m_domain->told.contains(m_file.reason())) {
            return;
        }
        m_domain->told.insert(m_file.reason());
        const QString message =
            QStringLiteral("velmorin: preferences are kept in memory: %1 cannot be used (%2)\n")
                .arg(m_path, m_file.reason());
        std::fputs(QFile::encodeName(message).constData(), stderr);
    }

    QString m_path;
    SqliteDefaultsFile m_file;
    std::shared_ptr<Domain> m_domain;
};

SqliteUserDefaults::SqliteUserDefaults(const QString& filePath)
    : m_store(std::make_unique<Store>(filePath)) {}

SqliteUserDefaults::~SqliteUserDefaults() {
    m_store->finish();
}

QString SqliteUserDefaults::domainPath(const QString& domain) {
    return QStringLiteral("%1/velmorin/%2.sqlite")
        .arg(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation), domain);
}

QVariant SqliteUserDefaults::object(const QString& key) const {
    return m_store->read(key);
}

void SqliteUserDefaults::set(const QString& key, const QVariant& value) {
    const QVariant kept = propertyListValue(value);
    if (kept.isValid() || !value.isValid()) {
        m_store->write(key, kept);
    }
}

void SqliteUserDefaults::removeObject(const QString& key) {
    m_store->write(key, {});
}

} // namespace velmorin
