// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SqliteObjectDatabase.h"
#include "Platform/Freedesktop/SqliteDatabase.h"
#include "tests/contracts/ObjectDatabaseContract.h"
#include "tests/platform/Process.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <functional>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace velmorin {
namespace {

class SqliteObjectsPort {
public:
    std::unique_ptr<ObjectDatabase> connect() {
        return std::make_unique<SqliteObjectDatabase>(m_home.filePath(QStringLiteral("objects")));
    }

private:
    QTemporaryDir m_home;
};

INSTANTIATE_TYPED_TEST_SUITE_P(SqliteObjectDatabase, ObjectDatabaseContract, SqliteObjectsPort);

class SqliteObjectDatabaseTest : public testing::Test {
protected:
    QByteArray contents() const {
        QFile file(path);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    void write(const QByteArray& bytes) const {
        QFile file(path);
        ASSERT_TRUE(file.open(QFile::WriteOnly | QFile::Truncate));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    void runSql(const char* sql) const {
        const QDeadlineTimer none;
        SqliteDatabase database(path, SqliteDatabase::Access::readWrite, none);
        ASSERT_EQ(database.run(sql).code, SQLITE_OK) << sql;
    }
    static qint64 count(ObjectDatabase& database) {
        const auto rows = database.rows(thingSchema);
        return rows ? rows->size() : -1;
    }
    /// Two rows or none of them.
    static bool insertPair(ObjectDatabase& database, qint64 order) {
        const bool isDone = database.begin() && database.insert(thingSchema, thing(order)) &&
                            database.insert(thingSchema, thing(order)) && database.commit();
        if (!isDone) {
            database.rollback();
        }
        return isDone;
    }

    const QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("a/objects.sqlite"));
};

TEST_F(SqliteObjectDatabaseTest, isForTheUserAlone) {
    const mode_t mask = ::umask(0);
    SqliteObjectDatabase database(path);
    ASSERT_TRUE(database.createTable(thingSchema));
    ::umask(mask);
    for (const auto& [suffix, mode] : {std::pair{"/..", 0700}, std::pair{"", 0600},
                                       std::pair{"-wal", 0600}, std::pair{"-shm", 0600}}) {
        const QString each = *suffix == '/' ? QFileInfo(path).path() : path + QLatin1String(suffix);
        struct stat status {};
        ASSERT_EQ(::stat(qPrintable(each), &status), 0) << suffix;
        EXPECT_EQ(status.st_mode & 07777U, static_cast<mode_t>(mode)) << suffix;
    }
}

TEST_F(SqliteObjectDatabaseTest, processesWriteSideBySide) {
    // In memory: on a disk that takes a second to sync, waiting in vain would be right.
    const QTemporaryDir memory(QStringLiteral("/dev/shm/velmorin-XXXXXX"));
    for (int round = 0; round < 40; ++round) { // a clash needs chance
        const QString file = memory.filePath(QString::number(round));
        const auto writer = [&](const Process::Report&) {
            SqliteObjectDatabase database(file);
            bool isRight = database.createTable(thingSchema); // all of them at once
            for (int i = 0; i < 10; ++i) {
                isRight = isRight && insertPair(database, i);
            }
            return isRight;
        };
        Process first(writer);
        Process second(writer);
        Process third(writer);
        ASSERT_TRUE(first.isRight() && second.isRight() && third.isRight()) << round;
        SqliteObjectDatabase database(file);
        ASSERT_TRUE(database.createTable(thingSchema));
        EXPECT_EQ(count(database), 60);
    }
}

TEST_F(SqliteObjectDatabaseTest, whatWasCommittedSurvivesAKill) {
    int told = 0;
    int untold = 0; // at most
    for (const int kills : {1, 3, 60}) {
        Process writer([this](const Process::Report& report) {
            SqliteObjectDatabase database(path);
            bool isRight = database.createTable(thingSchema);
            while (isRight) {
                isRight = insertPair(database, 1);
                report(1);
            }
            return isRight;
        });
        for (int i = 0; i < kills; ++i) {
            ASSERT_TRUE(writer.next());
        }
        writer.kill();
        told += kills;
        while (writer.next()) {
            ++told;
        }
        ++untold;
        SqliteObjectDatabase database(path);
        ASSERT_TRUE(database.createTable(thingSchema)) << qPrintable(database.lastError());
        EXPECT_EQ(count(database) % 2, 0);
        EXPECT_GE(count(database), 2 * told);
        EXPECT_LE(count(database), 2 * (told + untold));
    }
}

TEST_F(SqliteObjectDatabaseTest, waitsForALockAndNotForEver) {
    SqliteObjectDatabase database(path);
    ASSERT_TRUE(database.createTable(thingSchema));
    Process holder([this](const Process::Report& report) {
        SqliteObjectDatabase other(path);
        if (other.createTable(thingSchema) && other.begin()) {
            report(1);
            ::pause();
        }
        return false;
    });
    ASSERT_TRUE(holder.next());
    EXPECT_FALSE(insertPair(database, 1));
    EXPECT_EQ(database.lastError(), QStringLiteral("database is locked"));
    EXPECT_EQ(count(database), 0); // reading does not wait
    holder.kill();
    EXPECT_TRUE(insertPair(database, 1));
}

TEST_F(SqliteObjectDatabaseTest, damagedFileIsRefusedAndLeftAsItIs) {
    {
        SqliteObjectDatabase database(path);
        ASSERT_TRUE(database.createTable(thingSchema));
        ASSERT_TRUE(
            database.insert(thingSchema, thing(1, QStringLiteral("secret").repeated(5000))));
    }
    const QByteArray good = contents();
    const QByteArray noise = QByteArray("\xa5\x5a\x01secret").repeated(2000);
    const std::pair<const char*, QByteArray> cases[] = {
        {"noise", noise},
        {"half", good.left(good.size() / 2)},
        {"cut in the header", good.left(60)},
        {"garbage pages", good.left(4096) + noise},
        {"later format", QByteArray(good).replace(18, 1, "\xc3")},
    };
    for (const auto& [what, damaged] : cases) {
        write(damaged);
        SqliteObjectDatabase database(path);
        EXPECT_FALSE(database.createTable(thingSchema)) << what;
        EXPECT_FALSE(database.lastError().isEmpty()) << what;
        EXPECT_FALSE(database.lastError().contains(QStringLiteral("secret"))) << what;
        EXPECT_TRUE(contents() == damaged) << what;
    }
}

TEST_F(SqliteObjectDatabaseTest, rowsOfOtherTypesAreLeftOut) {
    SqliteObjectDatabase database(path);
    ASSERT_TRUE(database.createTable(thingSchema));
    ASSERT_TRUE(insertPair(database, 1));
    runSql("UPDATE \"Thing \"\"1\"\"\" SET flag = 'secret' WHERE rowid = 1");
    const auto found = database.select(thingSchema, {});
    ASSERT_TRUE(found);
    EXPECT_EQ(found->size(), 1);
}

TEST_F(SqliteObjectDatabaseTest, movedFileIsAnError) {
    SqliteObjectDatabase database(path);
    ASSERT_TRUE(database.createTable(thingSchema));
    ASSERT_TRUE(QFile::rename(path, path + QStringLiteral(".old")));
    EXPECT_FALSE(insertPair(database, 1));
    EXPECT_EQ(count(database), -1);
    SqliteObjectDatabase anew(path);
    EXPECT_TRUE(anew.createTable(thingSchema) && insertPair(anew, 1));
}

TEST_F(SqliteObjectDatabaseTest, whatCannotBeWrittenIsAnErrorUntilItCan) {
    ASSERT_TRUE(QDir(home.path()).mkdir(QStringLiteral("a")));
    const QString folder = QFileInfo(path).path();
    const auto isRightAsUser = [&](const std::function<bool(ObjectDatabase&)>& body) {
        QStringList owned{folder, home.path()};
        if (QFile::exists(path)) {
            owned.append(path);
        }
        return asUser(owned, [&](const Process::Report&) {
            SqliteObjectDatabase database(path);
            return body(database);
        });
    };
    const auto fails = [](ObjectDatabase& database) {
        return !database.createTable(thingSchema) && !insertPair(database, 1) &&
               count(database) == -1 && !database.lastError().isEmpty();
    };
    const auto works = [](ObjectDatabase& database) {
        return database.createTable(thingSchema) && insertPair(database, 1);
    };
    ::chmod(qPrintable(folder), 0500);
    EXPECT_TRUE(isRightAsUser(fails));
    ::chmod(qPrintable(folder), 0700);
    EXPECT_TRUE(isRightAsUser(works));
    for (const auto& [fileMode, folderMode] : {std::pair{0400, 0700}, std::pair{0600, 0500}}) {
        ::chmod(qPrintable(path), static_cast<mode_t>(fileMode));
        ::chmod(qPrintable(folder), static_cast<mode_t>(folderMode));
        EXPECT_TRUE(isRightAsUser(fails)) << fileMode;
    }
    ::chmod(qPrintable(folder), 0700);
    EXPECT_TRUE(isRightAsUser(works));
}

TEST_F(SqliteObjectDatabaseTest, fullDiskIsAnErrorAndLosesNothing) {
    EXPECT_TRUE(Process([this](const Process::Report&) {
                    SqliteObjectDatabase database(path);
                    bool isRight = database.createTable(thingSchema) && insertPair(database, 1);
                    {
                        const FullDisk full(65536);
                        const QVariantMap large = thing(2, QString(1'000'000, u'x'));
                        isRight = isRight && database.begin() &&
                                  !(database.insert(thingSchema, large) && database.commit());
                        database.rollback();
                    }
                    return isRight && count(database) == 2 && insertPair(database, 3);
                }).isRight());
}

} // namespace
} // namespace velmorin
