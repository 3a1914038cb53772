// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Freedesktop/SqliteDatabase.h"

#include <QDeadlineTimer>
#include <QString>

#include <chrono>
#include <memory>

namespace velmorin {

/// The file of one preferences domain, opened when it is first needed and again whenever the path
/// leads to another file. One thread at a time.
///
/// A file that turns out to be damaged or to hold something else is renamed, with one line on
/// standard error, and a new one takes its place.
class SqliteDefaultsFile {
public:
    explicit SqliteDefaultsFile(const QString& path) : m_path(path) {}

    /// What follows may wait for other processes' locks for this long altogether.
    void allowWaiting(std::chrono::milliseconds time) { m_deadline.setRemainingTime(time); }

    /// Carries out one statement on the table `defaults` (key, type, value).
    [[nodiscard]] SqliteDatabase::Result run(const char* sql, const QVariantList& parameters);

    /// Whether `code` says that another process holds a lock.
    [[nodiscard]] static bool isBusy(int code);

    /// Why the last statement failed, without anything of what is stored.
    [[nodiscard]] QString reason() const { return m_reason; }

private:
    [[nodiscard]] SqliteDatabase::Result runOnce(const char* sql, const QVariantList& parameters);
    [[nodiscard]] int open();
    [[nodiscard]] int openAs(SqliteDatabase::Access access);
    void createMissing();
    [[nodiscard]] int check(SqliteDatabase::Access access);
    [[nodiscard]] int prepareToWrite(bool isNew);
    [[nodiscard]] bool setAside(int code);
    void noteReason(int code);

    QString m_path;
    QDeadlineTimer m_deadline;
    std::unique_ptr<SqliteDatabase> m_database; // waits until m_deadline
    QString m_reason;
    int m_creationError = 0;
};

} // namespace velmorin
