// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <QtGlobal>

#include <csignal>
#include <functional>
#include <optional>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

namespace velmorin {

/// A process that runs `body` and is killed with the object at the latest.
class Process {
public:
    using Report = std::function<void(int)>;

    explicit Process(const std::function<bool(const Report&)>& body) {
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

} // namespace velmorin
