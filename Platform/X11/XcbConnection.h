// SPDX-License-Identifier: MIT
#pragma once

#include <QDeadlineTimer>
#include <QObject>
#include <QSocketNotifier>

#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <xcb/xcb.h>

namespace velmorin {

/// Frees what xcb allocated with malloc.
struct XcbFree {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using XcbPtr = std::unique_ptr<T, XcbFree>;
using XcbEvent = XcbPtr<xcb_generic_event_t>;

/// The program's own connection to the X server, shared by the ports that need one client (a
/// keyboard grab can only be released by the client that holds it). Main thread.
///
/// Events are handed to every handler in the order in which they were added, from the event loop;
/// a handler that is called while another one waits in `waitFor` would see them out of order, so
/// events that arrive meanwhile are kept until the loop turns again. The exception is what another
/// client stands still for, perhaps the very one that is waited for.
class XcbConnection : public QObject {
    Q_OBJECT

public:
    using Handler = std::function<void(const xcb_generic_event_t&)>;
    using Matcher = std::function<bool(const xcb_generic_event_t&)>;

    /// Whether there is a display of the name in `DISPLAY`.
    [[nodiscard]] static bool canOpen();
    /// Connects to the display that `DISPLAY` names; null when there is none.
    [[nodiscard]] static std::shared_ptr<XcbConnection> open();
    ~XcbConnection() override;

    [[nodiscard]] xcb_connection_t* get() const { return m_connection; }
    [[nodiscard]] xcb_window_t root() const { return m_screen->root; }
    /// The number of the root's screen.
    [[nodiscard]] int screenNumber() const { return m_screenNumber; }
    /// A window of ours that is never shown. Its property changes are reported.
    [[nodiscard]] xcb_window_t window() const { return m_window; }

    /// The atom called `name`; asked of the server once.
    [[nodiscard]] xcb_atom_t atom(const std::string& name);

    /// The first event number of an extension, or 0 when the server does not have it.
    [[nodiscard]] uint8_t firstEvent(xcb_extension_t* extension) const;

    /// Calls `handler` with every event for as long as the returned subscription is kept. An event
    /// that `isUrgent` is for this handler alone if it arrives during a wait: it comes at once
    /// then, and the handler must not itself wait for events.
    using Subscription = std::shared_ptr<const void>;
    [[nodiscard]] Subscription addHandler(Handler handler, Matcher isUrgent = {});

    /// Waits for an event that `matches`, until `deadline`. Null when none came. Other events are
    /// kept and handed out later, in their order.
    [[nodiscard]] XcbEvent waitFor(const Matcher& matches, const QDeadlineTimer& deadline);

    /// Takes out all kept events that `matches`, after everything that the server has sent so far
    /// was read. One round trip.
    [[nodiscard]] std::vector<XcbEvent> takeAll(const Matcher& matches);

    /// The server's present time: needed to own a selection. One round trip.
    [[nodiscard]] xcb_timestamp_t serverTime();

    /// The value of a window's property, at most `maxBytes` of it; empty when there is none.
    struct Property {
        xcb_atom_t type = XCB_ATOM_NONE;
        uint8_t format = 0;
        QByteArray bytes;
    };
    [[nodiscard]] Property property(xcb_window_t window, xcb_atom_t name, uint32_t maxBytes,
                                    bool deleteAfter = false) const;

    void flush() const { xcb_flush(m_connection); }

Q_SIGNALS:
    /// The server has gone; nothing will work any more.
    void lost();

private:
    XcbConnection(xcb_connection_t* connection, xcb_screen_t* screen, int screenNumber);

    struct Registered {
        Handler handle;
        Matcher isUrgent;
    };

    void readArrived();
    void dispatch();
    [[nodiscard]] bool handleUrgent(const xcb_generic_event_t& event) const;

    xcb_connection_t* m_connection;
    xcb_screen_t* m_screen;
    int m_screenNumber;
    xcb_window_t m_window;
    QSocketNotifier m_notifier;
    std::vector<std::weak_ptr<const Registered>> m_handlers;
    std::deque<XcbEvent> m_kept;
    std::unordered_map<std::string, xcb_atom_t> m_atoms;
    bool m_lost = false;
};

/// The event's type without the bit that says that another client sent it.
[[nodiscard]] inline uint8_t eventType(const xcb_generic_event_t& event) {
    return event.response_type & 0x7fU;
}

/// The event seen as the structure of its type.
template <typename T>
[[nodiscard]] const T& eventAs(const xcb_generic_event_t& event) {
    return reinterpret_cast<const T&>(event);
}

} // namespace velmorin
