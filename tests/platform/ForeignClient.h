// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/XcbConnection.h"

#include <atomic>
#include <cstring>
#include <functional>
#include <optional>
#include <thread>

#include <poll.h>

namespace velmorin::test {

/// Another X client on a connection and a thread of its own, whose every answer the test writes.
class ForeignClient {
public:
    using Request = xcb_selection_request_event_t;
    using Handler = std::function<void(ForeignClient&, const xcb_generic_event_t&)>;
    using Answer = std::function<void(ForeignClient&, const Request&)>;
    /// The next piece of an INCR transfer; none to send no more.
    using NextPiece = std::function<std::optional<QByteArray>()>;

    /// Has a window.
    explicit ForeignClient(Handler handler) : m_handler(std::move(handler)) {
        const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(m_c)).data;
        const uint32_t values[] = {1, XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_PROPERTY_CHANGE};
        xcb_create_window(m_c, XCB_COPY_FROM_PARENT, m_window, screen->root, 0, 0, 100, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(m_c, m_window);
        xcb_flush(m_c);
        std::ignore = next(XCB_EXPOSE);
        m_thread = std::thread([this] { run(); });
    }
    /// Owns a selection, and answers what it is asked for.
    explicit ForeignClient(Answer answer, const char* selection = "CLIPBOARD")
        : ForeignClient(Handler([answer = std::move(answer)](auto& self, const auto& event) {
              if (eventType(event) == XCB_SELECTION_REQUEST) {
                  answer(self, eventAs<Request>(event));
              }
          })) {
        xcb_set_selection_owner(m_c, m_window, atom(selection), XCB_CURRENT_TIME);
        std::ignore = atom("done");
    }
    ~ForeignClient() {
        m_isStopping = true;
        m_thread.join();
        xcb_disconnect(m_c);
    }
    Q_DISABLE_COPY_MOVE(ForeignClient)

    [[nodiscard]] xcb_connection_t* get() const { return m_c; }
    [[nodiscard]] xcb_window_t window() const { return m_window; }
    [[nodiscard]] xcb_atom_t atom(const char* name) const {
        const XcbPtr<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            m_c, xcb_intern_atom(m_c, 0, static_cast<uint16_t>(std::strlen(name)), name), nullptr));
        return reply->atom;
    }

    void put(const Request& request, xcb_atom_t type, const QByteArray& bytes,
             uint8_t format = 8) const {
        xcb_change_property(m_c, XCB_PROP_MODE_REPLACE, request.requestor, request.property, type,
                            format, static_cast<uint32_t>(bytes.size() / (format / 8)),
                            bytes.constData());
    }
    void notify(const Request& request, xcb_atom_t property) const {
        char event[32] = {}; // the size of every event on the wire
        const xcb_selection_notify_event_t notify{
            XCB_SELECTION_NOTIFY, 0,       0, request.time, request.requestor, request.selection,
            request.target,       property};
        std::memcpy(event, &notify, sizeof notify);
        xcb_send_event(m_c, 0, request.requestor, 0, event);
    }
    void deliver(const Request& request, xcb_atom_t type, const QByteArray& bytes,
                 uint8_t format = 8) const {
        put(request, type, bytes, format);
        notify(request, request.property);
    }
    void sendPieces(const Request& request, xcb_atom_t type, NextPiece nextPiece) {
        const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(m_c, request.requestor, XCB_CW_EVENT_MASK, &mask);
        m_nextPiece = std::move(nextPiece);
        m_pieceType = type;
        m_transfer = request;
        deliver(request, atom("INCR"), QByteArray("\xff\xff\xff\x7f", 4), 32);
    }

    /// The clipboard's text, whole or in pieces. For handlers.
    QByteArray paste() {
        const xcb_atom_t clipboard = atom("CLIPBOARD");
        xcb_convert_selection(m_c, m_window, clipboard, atom("UTF8_STRING"), clipboard,
                              XCB_CURRENT_TIME);
        xcb_flush(m_c);
        std::ignore = next(XCB_SELECTION_NOTIFY);
        const xcb_atom_t incr = atom("INCR");
        auto [type, bytes] = take(clipboard);
        if (type != incr) {
            return bytes;
        }
        bytes.clear();
        while (const XcbEvent event = next(XCB_PROPERTY_NOTIFY)) {
            const auto& change = eventAs<xcb_property_notify_event_t>(*event);
            if (change.atom == clipboard && change.state == XCB_PROPERTY_NEW_VALUE) {
                const QByteArray piece = take(clipboard).second;
                if (piece.isEmpty()) {
                    return bytes;
                }
                bytes += piece;
            }
        }
        return bytes;
    }

private:
    /// Null when none comes in ten seconds.
    XcbEvent next(uint8_t type) const {
        for (;;) {
            XcbEvent event(xcb_poll_for_event(m_c));
            if (event && eventType(*event) == type) {
                return event;
            }
            pollfd descriptor{xcb_get_file_descriptor(m_c), POLLIN, 0};
            if (!event && ::poll(&descriptor, 1, 10'000) <= 0) {
                return event;
            }
        }
    }
    std::pair<xcb_atom_t, QByteArray> take(xcb_atom_t property) const {
        const XcbPtr<xcb_get_property_reply_t> value(xcb_get_property_reply(
            m_c, xcb_get_property(m_c, 1, m_window, property, XCB_ATOM_ANY, 0, UINT32_MAX / 4),
            nullptr));
        return {value->type,
                QByteArray(static_cast<const char*>(xcb_get_property_value(value.get())),
                           xcb_get_property_value_length(value.get()))};
    }
    void run() {
        while (!m_isStopping) {
            pollfd descriptor{xcb_get_file_descriptor(m_c), POLLIN, 0};
            ::poll(&descriptor, 1, 10);
            while (const XcbEvent event{xcb_poll_for_event(m_c)}) {
                m_handler(*this, *event);
                sendNextPiece(*event);
                xcb_flush(m_c);
            }
        }
    }
    void sendNextPiece(const xcb_generic_event_t& event) {
        const auto& change = eventAs<xcb_property_notify_event_t>(event);
        if (eventType(event) == XCB_PROPERTY_NOTIFY && change.state == XCB_PROPERTY_DELETE &&
            m_nextPiece && change.atom == m_transfer.property) {
            if (const std::optional<QByteArray> piece = m_nextPiece()) {
                put(m_transfer, m_pieceType, *piece);
            }
        }
    }

    xcb_connection_t* m_c = xcb_connect(nullptr, nullptr);
    xcb_window_t m_window = xcb_generate_id(m_c);
    Handler m_handler;
    NextPiece m_nextPiece;
    xcb_atom_t m_pieceType = XCB_ATOM_NONE;
    Request m_transfer{};
    std::atomic<bool> m_isStopping = false;
    std::thread m_thread;
};

} // namespace velmorin::test
