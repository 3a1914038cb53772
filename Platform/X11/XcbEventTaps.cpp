// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbEventTaps.h"

#include <QSocketNotifier>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <optional>

#include <xcb/record.h>
#include <xcb/xcbext.h>
#include <xkbcommon/xkbcommon-compose.h>

namespace velmorin {

namespace {

constexpr uint8_t kFromServer = 0; // the category of a reply that holds events

/// The context of a session's dead keys and Compose key.
class Composer {
public:
    Composer() {
        const std::unique_ptr<xkb_context, void (*)(xkb_context*)> context(
            xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref);
        const char* locale = std::setlocale(LC_CTYPE, nullptr);
        const std::unique_ptr<xkb_compose_table, void (*)(xkb_compose_table*)> table(
            xkb_compose_table_new_from_locale(context.get(), locale != nullptr ? locale : "C",
                                              XKB_COMPOSE_COMPILE_NO_FLAGS),
            xkb_compose_table_unref);
        if (table) {
            m_state.reset(xkb_compose_state_new(table.get(), XKB_COMPOSE_STATE_NO_FLAGS));
        }
    }

    /// What the next key types; nothing for a dead key.
    [[nodiscard]] QString text(xkb_keysym_t keysym) {
        char utf8[64] = {};
        if (m_state) {
            xkb_compose_state_feed(m_state.get(), keysym);
        }
        switch (m_state ? xkb_compose_state_get_status(m_state.get()) : XKB_COMPOSE_NOTHING) {
        case XKB_COMPOSE_NOTHING:
            xkb_keysym_to_utf8(keysym, utf8, sizeof utf8);
            break;
        case XKB_COMPOSE_COMPOSED:
            xkb_compose_state_get_utf8(m_state.get(), utf8, sizeof utf8);
            xkb_compose_state_reset(m_state.get());
            break;
        case XKB_COMPOSE_CANCELLED:
            xkb_compose_state_reset(m_state.get());
            break;
        case XKB_COMPOSE_COMPOSING:
            break;
        }
        return QString::fromUtf8(utf8);
    }

private:
    struct Unref {
        void operator()(xkb_compose_state* state) const { xkb_compose_state_unref(state); }
    };
    std::unique_ptr<xkb_compose_state, Unref> m_state;
};

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

/// The movement that a pointer event is; none when another button is held.
std::optional<CGEventType> movementType(uint16_t state) {
    constexpr unsigned others = XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_4 | XCB_BUTTON_MASK_5;
    if ((state & XCB_BUTTON_MASK_1) != 0) {
        return CGEventType::leftMouseDragged;
    }
    if ((state & XCB_BUTTON_MASK_3) != 0) {
        return CGEventType::rightMouseDragged;
    }
    return (state & others) == 0 ? std::optional(CGEventType::mouseMoved) : std::nullopt;
}

} // namespace

/// A recording. It comes on a connection of its own, as the extension wants it.
class XcbEventTaps::Tap : public EventTap, public std::enable_shared_from_this<Tap> {
public:
    Tap(std::shared_ptr<XcbConnection> control, std::shared_ptr<XcbKeyboard> keyboard,
        std::shared_ptr<std::vector<std::shared_ptr<Tap>>> running, CGEventMask mask,
        Callback callback)
        : m_control(std::move(control)), m_keyboard(std::move(keyboard)),
          m_running(std::move(running)), m_mask(mask), m_callback(std::move(callback)),
          m_data(xcb_connect(nullptr, nullptr)), m_context(xcb_generate_id(m_control->get())) {}

    ~Tap() override {
        m_notifier.reset();
        if (m_isCreated) {
            xcb_record_free_context(m_control->get(), m_context);
            m_control->flush();
        }
    }
    Q_DISABLE_COPY_MOVE(Tap)

    [[nodiscard]] bool open() {
        if (xcb_connection_has_error(m_data.get()) != 0 || !hasRecord()) {
            return false;
        }
        xcb_record_range_t range = {};
        range.device_events.first = XCB_KEY_PRESS;
        range.device_events.last = XCB_MOTION_NOTIFY;
        const xcb_record_client_spec_t everybody = XCB_RECORD_CS_ALL_CLIENTS;
        xcb_connection_t* c = m_control->get();
        const XcbPtr<xcb_generic_error_t> error(xcb_request_check(
            c, xcb_record_create_context_checked(c, m_context, 0, 1, 1, &everybody, &range)));
        m_isCreated = !error;
        return m_isCreated;
    }

    void addToCurrentRunLoop() override {
        m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_data.get()),
                                                       QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                         [this] { receive(); });
        receiveWhatIsRead();
        m_running->push_back(shared_from_this());
    }

    void enable(bool isEnabled) override {
        if (isEnabled == m_isEnabled) {
            return;
        }
        m_isEnabled = isEnabled;
        if (isEnabled) {
            m_recording = xcb_record_enable_context(m_data.get(), m_context);
            // Its first reply says that it has begun: what happens from now on will be told.
            const XcbPtr<xcb_record_enable_context_reply_t> begin(
                xcb_record_enable_context_reply(m_data.get(), m_recording, nullptr));
            receiveWhatIsRead();
        } else {
            xcb_record_disable_context(m_control->get(), m_context);
            m_control->flush();
        }
    }

private:
    [[nodiscard]] bool hasRecord() const {
        const auto* extension = xcb_get_extension_data(m_control->get(), &xcb_record_id);
        return extension != nullptr && extension->present != 0;
    }

    /// Waiting may have read more than was waited for, of which the socket tells no more.
    void receiveWhatIsRead() {
        if (m_notifier) {
            QMetaObject::invokeMethod(
                m_notifier.get(), [this] { receive(); }, Qt::QueuedConnection);
        }
    }

    void receive() {
        const auto self = shared_from_this(); // the callback may end everything else
        if (xcb_connection_has_error(m_data.get()) != 0) {
            m_notifier->setEnabled(false);
            return;
        }
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        // One request has any number of replies.
        while (xcb_poll_for_reply(m_data.get(), m_recording.sequence, &reply, &error) != 0) {
            const XcbPtr<xcb_generic_error_t> failed(error);
            const XcbPtr<xcb_record_enable_context_reply_t> batch(
                static_cast<xcb_record_enable_context_reply_t*>(reply));
            if (!batch) {
                return;
            }
            if (batch->category == kFromServer) {
                handle(*batch);
            }
        }
    }

    void handle(const xcb_record_enable_context_reply_t& batch) {
        const uint8_t* data = xcb_record_enable_context_data(&batch);
        const int length = xcb_record_enable_context_data_length(&batch);
        for (int at = 0; at + static_cast<int>(sizeof(xcb_key_press_event_t)) <= length;
             at += static_cast<int>(sizeof(xcb_key_press_event_t))) {
            // Key, button and motion events have one and the same layout.
            xcb_key_press_event_t event = {};
            std::memcpy(&event, data + at, sizeof event);
            handle(event);
        }
    }

    void handle(const xcb_key_press_event_t& event) {
        const uint8_t type = event.response_type & 0x7fU;
        TappedEvent tapped;
        tapped.location = QPointF(event.root_x, event.root_y);
        if (type == XCB_MOTION_NOTIFY) {
            const std::optional<CGEventType> movement = movementType(event.state);
            if (!movement) {
                return;
            }
            tapped.type = *movement;
        } else if (type == XCB_KEY_PRESS) {
            tapped.type = CGEventType::keyDown;
            tapped.keyCode = m_keyboard->virtualKeyAt(event.detail);
            tapped.unicodeString = m_composer.text(m_keyboard->keysymOf(event.detail, event.state));
        } else {
            return;
        }
        if (m_isEnabled && (m_mask & eventMaskBit(tapped.type)) != 0) {
            m_callback(tapped);
        }
    }

    std::shared_ptr<XcbConnection> m_control;
    std::shared_ptr<XcbKeyboard> m_keyboard;
    std::shared_ptr<std::vector<std::shared_ptr<Tap>>> m_running;
    CGEventMask m_mask;
    Callback m_callback;
    std::unique_ptr<xcb_connection_t, Disconnect> m_data;
    xcb_record_context_t m_context;
    xcb_record_enable_context_cookie_t m_recording{};
    std::unique_ptr<QSocketNotifier> m_notifier;
    Composer m_composer;
    bool m_isCreated = false;
    bool m_isEnabled = false;
};

XcbEventTaps::XcbEventTaps(std::shared_ptr<XcbConnection> connection,
                           std::shared_ptr<XcbKeyboard> keyboard)
    : m_connection(std::move(connection)), m_keyboard(std::move(keyboard)),
      m_running(std::make_shared<std::vector<std::shared_ptr<Tap>>>()) {}

XcbEventTaps::~XcbEventTaps() {
    m_running->clear(); // the run loop's hold on them
}

std::shared_ptr<EventTap> XcbEventTaps::createTap(CGEventTapLocation /*location*/,
                                                  CGEventTapPlacement /*placement*/,
                                                  CGEventTapOptions /*options*/, CGEventMask mask,
                                                  Callback callback) {
    auto tap =
        std::make_shared<Tap>(m_connection, m_keyboard, m_running, mask, std::move(callback));
    return tap->open() ? tap : nullptr;
}

} // namespace velmorin
