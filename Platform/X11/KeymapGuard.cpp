// SPDX-License-Identifier: MIT
#include "Platform/X11/KeymapGuard.h"

#include "Platform/X11/XcbXkb.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmorin {
namespace {

constexpr int kQuietTime = 2000;  // ms in which every application has seen the last key
constexpr int kAnswerTime = 1000; // ms in which the guard answers
constexpr char kSignOfLife = 'l';
constexpr char kPutBack = 'p';
constexpr char kReply = 1; // the first byte of a reply, 0 of an error; all else are events

// What follows runs between fork() and _exit() of a process that may have had several threads: it
// calls async-signal-safe functions alone (signal-safety(7)), and allocates nothing.

/// The next message of the owner; 0 when it has gone, -1 when it was quiet for too long.
int nextMessage(int control) {
    pollfd waiting{control, POLLIN, 0};
    char message = 0;
    if (::poll(&waiting, 1, kQuietTime) <= 0) {
        return -1;
    }
    return ::read(control, &message, 1) == 1 ? message : 0;
}

[[noreturn]] void guard(int control, int display, const char* requests, size_t size) {
    ::setsid(); // a signal to the owner's group is not for us
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGPIPE}) {
        ::signal(signal, SIG_IGN);
    }
    ::dup2(control, 0);
    ::dup2(display, 1);
    ::close_range(2, ~0U, 0); // whoever reads what the owner prints does not wait for us
    int message = nextMessage(0);
    for (; message == kSignOfLife; message = nextMessage(0)) {
        std::ignore = ::write(0, &kSignOfLife, 1);
    }
    if (message == 0) {
        ::poll(nullptr, 0, kQuietTime);
    }
    ::fcntl(1, F_SETFL, 0); // xcb made it one that does not wait
    ssize_t written = 0;
    for (size_t done = 0; done < size && written >= 0; done += static_cast<size_t>(written)) {
        written = ::write(1, requests + done, size - done);
    }
    // Until the reply to the last request: the server drops what it has not done when we go.
    std::array<char, 32> answer{}; // the size of each
    while (::recv(1, answer.data(), answer.size(), MSG_WAITALL) == ssize_t{answer.size()} &&
           answer.front() != kReply) {
    }
    ::_exit(0);
}

} // namespace

KeymapGuard::~KeymapGuard() {
    std::ignore = ask(kPutBack);
}

bool KeymapGuard::start(const std::function<QByteArray(uint8_t)>& restoringRequests) {
    m_connection.reset(xcb_connect(nullptr, nullptr));
    xcb_connection_t* c = m_connection.get();
    const XcbPtr<xcb_xkb_use_extension_reply_t> used(
        xcb_xkb_use_extension_reply(c, xcb_xkb_use_extension(c, 1, 0), nullptr));
    std::array<int, 2> ends{};
    if (!used || used->supported == 0 ||
        ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        m_connection.reset();
        return false;
    }
    const int display = ::fcntl(xcb_get_file_descriptor(c), F_DUPFD_CLOEXEC, 5);
    const int control = ::fcntl(ends[1], F_DUPFD_CLOEXEC, 5);
    QByteArray requests = restoringRequests(xcb_get_extension_data(c, &xcb_xkb_id)->major_opcode);
    const xcb_get_input_focus_request_t last{XCB_GET_INPUT_FOCUS, 0, 1};
    requests.append(reinterpret_cast<const char*>(&last), sizeof last);
    m_control = ends[0];
    // Twice, so that the guard is nobody's child to wait for.
    const pid_t child = ::fork();
    if (child == 0) {
        if (::fork() == 0) {
            guard(control, display, requests.constData(), static_cast<size_t>(requests.size()));
        }
        ::_exit(0);
    }
    for (const int ours : {ends[1], control, display}) {
        ::close(ours);
    }
    if (child > 0) {
        ::waitpid(child, nullptr, 0);
    }
    return child > 0 && renew();
}

bool KeymapGuard::renew() {
    return ask(kSignOfLife);
}

bool KeymapGuard::ask(char message) {
    if (m_control < 0) {
        return false;
    }
    pollfd waiting{m_control, POLLIN, 0};
    char answer = 0;
    ssize_t length = -1;
    if (::send(m_control, &message, 1, MSG_NOSIGNAL) == 1 || errno == EPIPE) {
        length = ::poll(&waiting, 1, kAnswerTime) == 1 ? ::read(m_control, &answer, 1) : -1;
    }
    if (length == 1) {
        return true;
    }
    if (length < 0) {
        std::ignore = m_connection.release(); // of some use to the guard yet
    }
    m_connection.reset();
    ::close(std::exchange(m_control, -1));
    return false;
}

} // namespace velmorin
