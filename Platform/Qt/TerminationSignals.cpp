// SPDX-License-Identifier: MIT
#include "Platform/Qt/TerminationSignals.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace velmorin {

namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};

volatile std::sig_atomic_t wakeUp = -1;

/// Only what signal-safety(7) allows.
void onSignal(int /*signal*/) {
    const int savedErrno = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = ::write(wakeUp, &byte, sizeof byte);
    errno = savedErrno;
}

} // namespace

TerminationSignals::TerminationSignals() {
    if (::pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // out of file descriptors: the signals keep their default effect
    }
    wakeUp = m_pipe[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        char bytes[16];
        while (::read(m_pipe[0], bytes, sizeof bytes) > 0) {
        }
        Q_EMIT received();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : kSignals) {
        ::sigaction(signal, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals() {
    if (!m_notifier) {
        return;
    }
    for (const int signal : kSignals) {
        std::signal(signal, SIG_DFL);
    }
    m_notifier.reset();
    ::close(m_pipe[0]);
    ::close(m_pipe[1]);
}

} // namespace velmorin
