// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SqliteUserDefaults.h"
#include "Platform/Freedesktop/SqliteDatabase.h"
#include "tests/contracts/UserDefaultsContract.h"
#include "tests/platform/Process.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmorin {
namespace {

const QString key = QStringLiteral("key");
const QString otherKey = QStringLiteral("other");

class SqlitePort {
public:
    UserDefaults& defaults() { return *m_defaults; }
    void reopen() {
        m_defaults =
            std::make_unique<SqliteUserDefaults>(m_directory.filePath(QStringLiteral("f")));
    }

private:
    QTemporaryDir m_directory;
    std::unique_ptr<SqliteUserDefaults> m_defaults =
        std::make_unique<SqliteUserDefaults>(m_directory.filePath(QStringLiteral("f")));
};

INSTANTIATE_TYPED_TEST_SUITE_P(Sqlite, UserDefaultsContract, SqlitePort);

class SqliteUserDefaultsTest : public testing::Test {
protected:
    void write(const QByteArray& bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QFile::ReadWrite));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    QByteArray contents() {
        QFile file(path);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    QStringList setAside() { return QDir(home.path()).entryList({QStringLiteral("*.damaged-*Z")}); }
    static auto linesOnStandardError() {
        const std::string text = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(text.empty() || text.starts_with("velmorin: ")) << text;
        EXPECT_EQ(text.find("secret"), std::string::npos) << text;
        return std::count(text.begin(), text.end(), '\n');
    }
    /// What the file has under `name`, whatever anyone remembers.
    qint64 savedInteger(const QString& name) {
        const QDeadlineTimer none;
        SqliteDatabase database(path, SqliteDatabase::Access::readWrite, none);
        return database.run("SELECT value FROM defaults WHERE key = ?", {name})
            .row.value(0)
            .toLongLong();
    }

    const QTemporaryDir home;
    const QString path = home.filePath(QStringLiteral("standard.sqlite"));
};

TEST_F(SqliteUserDefaultsTest, isForTheUserAlone) {
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral("a/b"))));
    const QString file = SqliteUserDefaults::domainPath(QStringLiteral("standard"));
    EXPECT_EQ(file, home.filePath(QStringLiteral("a/b/velmorin/standard.sqlite")));
    const mode_t mask = ::umask(0);
    SqliteUserDefaults defaults(file);
    defaults.set(key, 1);
    ::umask(mask);
    qunsetenv("XDG_CONFIG_HOME");
    const std::pair<const char*, mode_t> cases[] = {{"a", 0700},
                                                    {"a/b/velmorin", 0700},
                                                    {"a/b/velmorin/standard.sqlite", 0600},
                                                    {"a/b/velmorin/standard.sqlite-wal", 0600},
                                                    {"a/b/velmorin/standard.sqlite-shm", 0600}};
    for (const auto& [name, mode] : cases) {
        struct stat status {};
        const QString full = home.filePath(QLatin1String(name));
        ASSERT_EQ(::stat(QFile::encodeName(full).constData(), &status), 0) << name;
        EXPECT_EQ(status.st_mode & 07777U, mode) << name;
    }
}

TEST_F(SqliteUserDefaultsTest, whatSetReturnedFromSurvivesAKill) {
    int first = 0;
    for (const int kills : {1, 3, 40, 90}) { // one of them before the file is complete
        Process writer([&](const Process::Report& report) {
            SqliteUserDefaults defaults(path);
            for (int i = first + 1;; ++i) {
                defaults.set(key, i);
                defaults.set(otherKey, QByteArray(i * 50, 'x'));
                report(i);
            }
            return true;
        });
        for (int i = 0; i < kills; ++i) {
            ASSERT_TRUE(writer.next());
        }
        writer.kill();
        int last = first + kills;
        while (const auto number = writer.next()) {
            last = *number;
        }
        SqliteUserDefaults defaults(path);
        first = static_cast<int>(defaults.integer(key));
        EXPECT_TRUE(first == last || first == last + 1) << first << " after " << last;
        EXPECT_GE(defaults.data(otherKey).value_or(QByteArray()).size(), last * 50);
    }
    EXPECT_TRUE(setAside().isEmpty());
}

TEST_F(SqliteUserDefaultsTest, damagedFileIsKeptAsideAndReplaced) {
    {
        SqliteUserDefaults defaults(path);
        defaults.set(key, 1);
        defaults.set(otherKey, QStringLiteral("secret").repeated(5000));
    }
    const QByteArray good = contents();
    const QByteArray noise = QByteArray("\xa5\x5a\x01secret").repeated(2000);
    const auto writeOtherSchema = [this] {
        const QDeadlineTimer none;
        SqliteDatabase database(path, SqliteDatabase::Access::readWrite, none);
        ASSERT_EQ(database.run("CREATE TABLE defaults (secret)").code, SQLITE_OK);
    };
    const std::pair<const char*, QByteArray> cases[] = {
        {"noise", noise},
        {"text", "secret"},
        {"half", good.left(good.size() / 2)},
        {"cut in the header", good.left(60)},
        {"garbage pages", good.left(200) + noise},
        {"schema of an unknown format", QByteArray(good).replace(47, 1, "\xc3")},
        {"other schema", {}},
    };
    for (const auto& [what, bytes] : cases) {
        QFile::remove(path);
        write(bytes);
        if (bytes.isEmpty()) {
            writeOtherSchema();
        }
        const QByteArray damaged = contents();
        testing::internal::CaptureStderr();
        {
            SqliteUserDefaults defaults(path);
            EXPECT_EQ(defaults.integer(key), 0) << what;
            defaults.set(key, 2);
        }
        EXPECT_EQ(linesOnStandardError(), 1) << what;
        EXPECT_EQ(savedInteger(key), 2) << what;
        ASSERT_EQ(setAside().size(), 1) << what;
        QFile aside(home.filePath(setAside().first()));
        ASSERT_TRUE(aside.open(QFile::ReadOnly));
        EXPECT_TRUE(aside.readAll() == damaged) << what;
        aside.remove();
    }
}

TEST_F(SqliteUserDefaultsTest, anyDamagedHeaderByteLeavesItUsable) {
    constexpr int writeVersion = 18; // of the future: SQLite then reads only
    { SqliteUserDefaults(path).set(key, 1); }
    const QByteArray good = contents();
    for (int i = 0; i < 120; ++i) {
        QFile::remove(path);
        write(QByteArray(good).replace(i, 1, "\xc3"));
        testing::internal::CaptureStderr();
        {
            SqliteUserDefaults defaults(path);
            defaults.set(key, i);
            EXPECT_EQ(defaults.integer(key), i);
            defaults.removeObject(otherKey);
        }
        EXPECT_LE(linesOnStandardError(), 1);
        EXPECT_EQ(savedInteger(key), i == writeVersion ? 1 : i);
    }
}

TEST_F(SqliteUserDefaultsTest, damageNoticedLaterIsHandledByEveryObject) {
    SqliteUserDefaults first(path);
    SqliteUserDefaults second(path);
    first.set(key, 1);
    second.set(otherKey, QByteArray(100'000, 'x')); // what `first` has cached is out of date
    Process damager([&](const Process::Report&) {
        const QDeadlineTimer none;
        SqliteDatabase database(path, SqliteDatabase::Access::readWrite, none);
        const bool isDone = database.run("PRAGMA wal_checkpoint(TRUNCATE)").code == SQLITE_OK;
        write(QByteArray(8192, 'x'));
        return isDone;
    });
    ASSERT_TRUE(damager.isRight());
    testing::internal::CaptureStderr();
    EXPECT_EQ(first.integer(key), 0);
    second.set(otherKey, 2);
    EXPECT_EQ(linesOnStandardError(), 1);
    EXPECT_EQ(first.integer(otherKey), 2);
    EXPECT_FALSE(setAside().isEmpty());
}

TEST_F(SqliteUserDefaultsTest, replacedOrRemovedFileIsNoticed) {
    SqliteUserDefaults defaults(path);
    defaults.set(key, 1);
    ASSERT_TRUE(QFile::remove(path));
    defaults.set(otherKey, 2);
    EXPECT_EQ(defaults.integer(key), 0);
    EXPECT_EQ(savedInteger(otherKey), 2);
}

TEST_F(SqliteUserDefaultsTest, valuesLiveInMemoryWhereThereIsNoFile) {
    write("a file");
    ASSERT_TRUE(QDir(home.path()).mkdir(QStringLiteral("directory")));
    const QString unwritable = QStringLiteral("/proc") + home.path();
    for (const QString& unusable : {path + QStringLiteral("/f"), path + QStringLiteral("/a/f"),
                                    home.filePath(QStringLiteral("directory")), unwritable}) {
        testing::internal::CaptureStderr();
        {
            SqliteUserDefaults defaults(unusable);
            EXPECT_FALSE(defaults.object(key).isValid());
            defaults.set(key, QStringLiteral("secret"));
        }
        SqliteUserDefaults defaults(unusable);
        EXPECT_TRUE(defaults.string(key)) << qPrintable(unusable);
        defaults.removeObject(key);
        EXPECT_FALSE(defaults.object(key).isValid());
        EXPECT_EQ(linesOnStandardError(), 1) << qPrintable(unusable);
    }
}

TEST_F(SqliteUserDefaultsTest, whatTheUserMayOnlyReadIsReadAndKeptInMemory) {
    { SqliteUserDefaults(path).set(key, 1); }
    const auto isRightAsUser = [this](const std::function<bool(UserDefaults&)>& body) {
        return asUser({path, home.path()}, [&](const Process::Report&) {
            SqliteUserDefaults defaults(path);
            return defaults.integer(key) == 1 && body(defaults);
        });
    };
    for (const auto& [fileMode, directoryMode] : {std::pair{0400, 0700}, std::pair{0600, 0500}}) {
        ASSERT_EQ(::chmod(qPrintable(path), static_cast<mode_t>(fileMode)), 0);
        ASSERT_EQ(::chmod(qPrintable(home.path()), static_cast<mode_t>(directoryMode)), 0);
        testing::internal::CaptureStderr();
        EXPECT_TRUE(isRightAsUser([](UserDefaults& defaults) {
            defaults.set(otherKey, 2);
            return defaults.integer(key) == 1 && defaults.integer(otherKey) == 2;
        })) << fileMode;
        EXPECT_EQ(linesOnStandardError(), 1) << fileMode;
    }
    ::chmod(qPrintable(home.path()), 0700);
    EXPECT_TRUE(isRightAsUser([](UserDefaults& defaults) {
        const bool isForgotten = defaults.integer(otherKey) == 0;
        defaults.set(otherKey, 3);
        return isForgotten;
    }));
    EXPECT_EQ(savedInteger(otherKey), 3);
}

TEST_F(SqliteUserDefaultsTest, whatDidNotFitIsSavedWhenThereIsRoomAgain) {
    testing::internal::CaptureStderr();
    Process writer([&](const Process::Report&) {
        SqliteUserDefaults defaults(path);
        defaults.set(key, 1);
        const FullDisk full(65536);
        defaults.set(key, QByteArray(1'000'000, 'x'));
        defaults.set(otherKey, QByteArray(1'000'000, 'x'));
        return defaults.data(key) && defaults.data(otherKey);
    });
    EXPECT_TRUE(writer.isRight());
    EXPECT_EQ(linesOnStandardError(), 1);
    SqliteUserDefaults defaults(path);
    EXPECT_TRUE(defaults.data(key));
    EXPECT_TRUE(defaults.data(otherKey));
}

TEST_F(SqliteUserDefaultsTest, whatAKilledProcessLeftIsReadOnAFullDisk) {
    Process writer([&](const Process::Report& report) {
        SqliteUserDefaults defaults(path);
        defaults.set(key, 1);
        report(1);
        ::pause();
        return true;
    });
    ASSERT_TRUE(writer.next());
    writer.kill();
    testing::internal::CaptureStderr();
    EXPECT_TRUE(Process([&](const Process::Report&) {
                    const FullDisk full(1024);
                    SqliteUserDefaults defaults(path);
                    defaults.set(otherKey, 2);
                    return defaults.integer(key) == 1 && defaults.integer(otherKey) == 2;
                }).isRight());
    EXPECT_EQ(linesOnStandardError(), 1);
    EXPECT_EQ(savedInteger(key), 1);
}

TEST_F(SqliteUserDefaultsTest, processesWriteSideBySide) {
    const auto writeFrom = [&](int start) {
        return [this, start](const Process::Report&) {
            SqliteUserDefaults defaults(path);
            for (int i = start; i < start + 100; ++i) {
                defaults.set(QString::number(i), i + 1);
            }
            return true;
        };
    };
    Process first(writeFrom(0));
    Process second(writeFrom(100));
    EXPECT_TRUE(first.isRight());
    EXPECT_TRUE(second.isRight());
    SqliteUserDefaults defaults(path);
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(defaults.integer(QString::number(i)), i + 1);
    }
}

TEST_F(SqliteUserDefaultsTest, stoppedProcessWithALockDelaysTheWriteOnly) {
    const auto holdTransaction = [&] {
        const QDeadlineTimer none;
        static SqliteDatabase database(path, SqliteDatabase::Access::readWrite, none);
        return database.run("BEGIN EXCLUSIVE").code == SQLITE_OK;
    };
    const auto holdIndex = [&] { // as in the middle of opening
        const int index = ::open(qPrintable(path + QStringLiteral("-shm")), O_RDWR | O_CREAT, 0600);
        struct flock lock {};
        lock.l_type = F_WRLCK;
        lock.l_start = 128;
        lock.l_len = 1;
        return ::fcntl(index, F_SETLK, &lock) == 0;
    };
    { SqliteUserDefaults(path).set(key, 1); }
    int value = 1;
    for (const auto& hold : std::vector<std::function<bool()>>{holdTransaction, holdIndex}) {
        Process holder([&](const Process::Report& report) {
            report(hold() ? 1 : 0);
            ::pause();
            return true;
        });
        ASSERT_EQ(holder.next(), 1);
        SqliteUserDefaults defaults(path);
        testing::internal::CaptureStderr();
        QElapsedTimer elapsed;
        elapsed.start();
        defaults.set(key, ++value);
        EXPECT_LT(elapsed.elapsed(), 5000); // SQLite left to itself waits for ten seconds
        EXPECT_EQ(defaults.integer(key), value);
        EXPECT_EQ(linesOnStandardError(), 1);
        holder.kill();
        defaults.set(otherKey, 1);
        EXPECT_EQ(savedInteger(key), value);
    }
}

} // namespace
} // namespace velmorin
