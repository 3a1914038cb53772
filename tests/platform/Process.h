// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <QStringList>

#include <csignal>
#include <functional>
#include <optional>
#include <utility>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmorin {

/// A process that runs `body` and is killed with the object at the latest.
class Process {
public:
    using Report = std::function<void(int)>;
    using Body = std::function<bool(const Report&)>;

    explicit Process(const Body& body) {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        m_pid = ::fork();
        if (m_pid == 0) {
            const bool isRight = body([&](int number) {
                if (::write(ends[1], &number, sizeof number) != sizeof number) {
                    ::_exit(2);
                }
            });
            ::_exit(isRight ? 0 : 1);
        }
        ::close(ends[1]);
        m_reports = ends[0];
    }
    ~Process() {
        kill();
        ::close(m_reports);
    }
    Q_DISABLE_COPY_MOVE(Process)

    /// The next number that it reported; waits for it. None after the last.
    std::optional<int> next() {
        int number = 0;
        return ::read(m_reports, &number, sizeof number) == sizeof number ? std::optional(number)
                                                                          : std::nullopt;
    }
    void kill() {
        if (m_pid > 0) {
            ::kill(m_pid, SIGKILL);
            (void)isRight();
        }
    }
    /// Waits for its end.
    bool isRight() {
        int status = 0;
        ::waitpid(std::exchange(m_pid, 0), &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    pid_t m_pid;
    int m_reports;
};

/// What `body` says in a process of a user who may not write everything; `owned` are its files.
inline bool asUser(const QStringList& owned, const Process::Body& body) {
    constexpr uid_t nobody = 65534;
    const bool isRoot = ::getuid() == 0;
    for (const QString& path : owned) {
        EXPECT_TRUE(!isRoot || ::chown(qPrintable(path), nobody, nobody) == 0) << qPrintable(path);
    }
    return Process([&](const Process::Report& report) {
               return (!isRoot || ::setuid(nobody) == 0) && body(report);
           })
        .isRight();
}

/// While it lives, files of this process cannot grow beyond so many bytes, as on a full disk.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        limit(bytes);
    }
    ~FullDisk() { limit(RLIM_INFINITY); }
    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    static void limit(rlim_t bytes) {
        const rlimit limits{bytes, RLIM_INFINITY};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limits), 0);
    }
};

} // namespace velmorin
