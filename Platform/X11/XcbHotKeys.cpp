// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbHotKeys.h"

#include "Platform/X11/XcbXkb.h"

#include <algorithm>
#include <array>

#include <xcb/xinput.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace velmorin {

/// One hotkey: the grabs of one key, given back when it is destroyed.
class XcbHotKeys::Grab : public RegisteredHotKey {
public:
    Grab(std::shared_ptr<XcbConnection> connection, quint32 virtualKey, quint32 modifiers,
         EventHotKeyID id)
        : m_virtualKey(virtualKey), m_modifiers(modifiers), m_id(id),
          m_connection(std::move(connection)) {}
    ~Grab() override { release(); }

    /// Grabs `key` with each of `states`, and gives up what was grabbed before only then, so that a
    /// press in between is not lost. False when some were another client's; the others are kept.
    [[nodiscard]] bool take(xcb_keycode_t key, const std::vector<uint16_t>& states) {
        if (key == m_key && states == m_states) {
            return true;
        }
        xcb_connection_t* c = m_connection->get();
        std::vector<xcb_void_cookie_t> cookies;
        cookies.reserve(states.size());
        for (const uint16_t state : states) {
            cookies.push_back(xcb_grab_key_checked(c, 0, m_connection->root(), state, key,
                                                   XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        }
        std::vector<uint16_t> taken;
        for (size_t i = 0; i < cookies.size(); ++i) {
            const XcbPtr<xcb_generic_error_t> error(xcb_request_check(c, cookies[i]));
            if (!error) {
                taken.push_back(states[i]);
            }
        }
        std::erase_if(m_states, [&](uint16_t state) {
            return key == m_key && std::find(taken.begin(), taken.end(), state) != taken.end();
        });
        release();
        m_key = key;
        m_states = std::move(taken);
        return m_states.size() == states.size();
    }

    void release() {
        for (const uint16_t state : m_states) {
            xcb_ungrab_key(m_connection->get(), m_key, m_connection->root(), state);
        }
        m_states.clear();
        m_connection->flush();
    }

    [[nodiscard]] bool matches(const xcb_key_press_event_t& press) const {
        return press.detail == m_key && !m_states.empty();
    }

    [[nodiscard]] xcb_keycode_t key() const { return m_key; }

    const quint32 m_virtualKey;
    const quint32 m_modifiers;
    const EventHotKeyID m_id;
    bool m_isDown = false;

private:
    std::shared_ptr<XcbConnection> m_connection;
    xcb_keycode_t m_key = 0;
    std::vector<uint16_t> m_states;
};

XcbHotKeys::XcbHotKeys(std::shared_ptr<XcbConnection> connection,
                       std::shared_ptr<XcbKeyboard> keyboard)
    : m_connection(std::move(connection)), m_keyboard(std::move(keyboard)) {
    xcb_connection_t* c = m_connection->get();
    // Auto-repeat then comes as presses alone: a release is a finger's.
    const XcbPtr<xcb_xkb_per_client_flags_reply_t> flags(xcb_xkb_per_client_flags_reply(
        c,
        xcb_xkb_per_client_flags(c, XCB_XKB_ID_USE_CORE_KBD,
                                 XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                                 XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0),
        nullptr));
    const XcbPtr<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), nullptr));
    if (version) {
        m_xinputOpcode = xcb_get_extension_data(c, &xcb_input_id)->major_opcode;
    }
    m_events =
        m_connection->addHandler([this](const xcb_generic_event_t& event) { handleEvent(event); });
    m_mapChanges = m_keyboard->addMapListener([this] { regrab(); });
}

XcbHotKeys::~XcbHotKeys() = default;

OSStatus XcbHotKeys::installEventHandler(EventTarget target, EventHandler handler,
                                         std::span<const EventTypeSpec> types, void* userData) {
    if (target != this || handler == nullptr) {
        return eventHotKeyInvalidErr;
    }
    m_handlers.push_back({handler, {types.begin(), types.end()}, userData});
    return noErr;
}

OSStatus XcbHotKeys::registerEventHotKey(quint32 keyCode, quint32 modifiers, EventHotKeyID id,
                                         EventTarget target, quint32 /*options*/,
                                         EventHotKeyRef& hotKey) {
    const std::optional<xcb_keycode_t> key = m_keyboard->keyCodeAt(static_cast<quint16>(keyCode));
    const std::vector<uint16_t> states = statesWith(modifiers);
    if (target != this || !key || states.empty()) {
        return eventHotKeyInvalidErr;
    }
    auto grab = std::make_shared<Grab>(m_connection, keyCode, modifiers, id);
    if (!grab->take(*key, states)) {
        return eventHotKeyExistsErr;
    }
    m_grabs.push_back(grab);
    hotKey = grab;
    return noErr;
}

void XcbHotKeys::handleEvent(const xcb_generic_event_t& event) {
    std::erase_if(m_grabs, [](const std::weak_ptr<Grab>& grab) { return grab.expired(); });
    switch (eventType(event)) {
    case XCB_KEY_PRESS:
        for (const std::weak_ptr<Grab>& weak : std::vector(m_grabs)) {
            const std::shared_ptr<Grab> grab = weak.lock();
            if (grab && grab->matches(eventAs<xcb_key_press_event_t>(event))) {
                pressed(*grab);
            }
        }
        break;
    case XCB_KEY_RELEASE:
        released(eventAs<xcb_key_release_event_t>(event).detail);
        break;
    case XCB_GE_GENERIC: {
        const auto& raw = eventAs<xcb_input_raw_key_release_event_t>(event);
        if (m_xinputOpcode != 0 && raw.extension == m_xinputOpcode &&
            raw.event_type == XCB_INPUT_RAW_KEY_RELEASE) {
            released(static_cast<xcb_keycode_t>(raw.detail));
        }
        break;
    }
    default:
        break;
    }
}

void XcbHotKeys::pressed(Grab& grab) {
    if (grab.m_isDown) {
        return; // auto-repeat
    }
    grab.m_isDown = true;
    watchRelease(true);
    // The grab that the press activated took the focus from the application until the key is up,
    // and with it what accessibility tells of the focus.
    xcb_ungrab_keyboard(m_connection->get(), XCB_CURRENT_TIME);
    maskModifiers(grab.m_modifiers);
    m_connection->flush();
    const HotKeyEvent event{kEventClassKeyboard, kEventHotKeyPressed, grab.m_id.signature,
                            grab.m_id.id};
    for (const Handler& handler : m_handlers) {
        const bool wanted =
            std::any_of(handler.types.begin(), handler.types.end(), [&](const EventTypeSpec& type) {
                return type.eventClass == event.eventClass && type.eventKind == event.eventKind;
            });
        if (wanted && handler.handler(nullptr, &event, handler.userData) == noErr) {
            break;
        }
    }
    if (!m_keyboard->pressedKeys()[grab.key()]) {
        released(grab.key()); // it came up before the watch was in place
    }
}

void XcbHotKeys::maskModifiers(quint32 modifiers) {
    if ((modifiers & optionKey) == 0 || (modifiers & (controlKey | cmdKey)) != 0) {
        return;
    }
    const std::optional<xcb_keycode_t> mask =
        m_keyboard->companionOf(m_keyboard->heldModifierKeys());
    if (!mask) {
        return;
    }
    for (const uint8_t type : {uint8_t{XCB_KEY_PRESS}, uint8_t{XCB_KEY_RELEASE}}) {
        xcb_test_fake_input(m_connection->get(), type, *mask, XCB_CURRENT_TIME,
                            m_connection->root(), 0, 0, 0);
    }
}

void XcbHotKeys::released(xcb_keycode_t key) {
    bool anyDown = false;
    for (const std::weak_ptr<Grab>& weak : m_grabs) {
        if (const std::shared_ptr<Grab> grab = weak.lock()) {
            grab->m_isDown = grab->m_isDown && grab->key() != key;
            anyDown = anyDown || grab->m_isDown;
        }
    }
    if (!anyDown) {
        watchRelease(false);
    }
}

void XcbHotKeys::watchRelease(bool watch) {
    if (m_xinputOpcode == 0) {
        return;
    }
    struct {
        xcb_input_event_mask_t head{XCB_INPUT_DEVICE_ALL_MASTER, 1};
        uint32_t mask = 0;
    } selection;
    selection.mask = watch ? uint32_t{XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE} : 0U;
    xcb_input_xi_select_events(m_connection->get(), m_connection->root(), 1, &selection.head);
    m_connection->flush();
}

void XcbHotKeys::regrab() {
    for (const std::weak_ptr<Grab>& weak : m_grabs) {
        const std::shared_ptr<Grab> grab = weak.lock();
        if (!grab) {
            continue;
        }
        const std::optional<xcb_keycode_t> key =
            m_keyboard->keyCodeAt(static_cast<quint16>(grab->m_virtualKey));
        // Where the map has no such key, or another client has it, the next map is awaited.
        std::ignore = grab->take(key.value_or(grab->key()),
                                 key ? statesWith(grab->m_modifiers) : std::vector<uint16_t>());
    }
}

std::optional<uint16_t> XcbHotKeys::modifierState(quint32 modifiers) const {
    using Keysyms = std::array<xkb_keysym_t, 2>;
    struct Modifier {
        quint32 mask;
        Keysyms keysyms;
    };
    // The Command key's work is done by Control here.
    static constexpr std::array kModifiers{
        Modifier{optionKey, {XKB_KEY_Alt_L, XKB_KEY_Alt_R}},
        Modifier{shiftKey, {XKB_KEY_Shift_L, XKB_KEY_Shift_R}},
        Modifier{controlKey, {XKB_KEY_Control_L, XKB_KEY_Control_R}},
        Modifier{cmdKey, {XKB_KEY_Control_L, XKB_KEY_Control_R}},
    };
    uint16_t state = 0;
    for (const Modifier& modifier : kModifiers) {
        if ((modifiers & modifier.mask) == 0) {
            continue;
        }
        const uint16_t bit = m_keyboard->modifierMask(modifier.keysyms);
        if (bit == 0) {
            return std::nullopt;
        }
        state |= bit;
        modifiers &= ~modifier.mask;
    }
    return modifiers == 0 ? std::optional(state) : std::nullopt;
}

std::vector<uint16_t> XcbHotKeys::statesWith(quint32 modifiers) const {
    const std::optional<uint16_t> state = modifierState(modifiers);
    if (!state) {
        return {};
    }
    std::vector<uint16_t> locks{XCB_MOD_MASK_LOCK};
    for (const xkb_keysym_t keysym :
         {xkb_keysym_t{XKB_KEY_Num_Lock}, xkb_keysym_t{XKB_KEY_Scroll_Lock}}) {
        const uint16_t bit = m_keyboard->modifierMask(std::array{keysym});
        if (bit != 0 && std::find(locks.begin(), locks.end(), bit) == locks.end()) {
            locks.push_back(bit);
        }
    }
    std::vector<uint16_t> states{*state};
    for (const uint16_t lock : locks) {
        for (size_t i = 0, count = states.size(); i < count; ++i) {
            states.push_back(static_cast<uint16_t>(states[i] | lock));
        }
    }
    return states;
}

} // namespace velmorin
