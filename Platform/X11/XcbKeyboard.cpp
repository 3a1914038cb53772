// SPDX-License-Identifier: MIT
#include "Platform/X11/XcbKeyboard.h"

#include "Platform/KeyEvents.h"
#include "Platform/X11/VirtualKeyCodes.h"
#include "Platform/X11/XcbXkb.h"

#include <algorithm>
#include <array>

#include <xcb/xinput.h>
#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

namespace velmorin {

namespace {

/// Where a virtual key is, by the name that XKB gives the position, and the letter it bears on the
/// ANSI keyboard (none for keys that are no letters).
struct KeyPosition {
    quint16 virtualKey;
    const char* name;
    xkb_keysym_t letter;
};

constexpr std::array kPositions{
    KeyPosition{kVK_ANSI_A, "AC01", XKB_KEY_a},
    KeyPosition{kVK_ANSI_C, "AB03", XKB_KEY_c},
    KeyPosition{kVK_ANSI_V, "AB04", XKB_KEY_v},
    KeyPosition{kVK_Space, "SPCE", XKB_KEY_NoSymbol},
    KeyPosition{kVK_Delete, "BKSP", XKB_KEY_NoSymbol},
};

constexpr std::array kLockKeysyms{xkb_keysym_t{XKB_KEY_Caps_Lock}, xkb_keysym_t{XKB_KEY_Shift_Lock},
                                  xkb_keysym_t{XKB_KEY_Num_Lock},
                                  xkb_keysym_t{XKB_KEY_Scroll_Lock}};

constexpr int kControlIndex = 2; // Shift, Lock, Control, Mod1 ... Mod5

const KeyPosition* positionOf(quint16 virtualKey) {
    const auto* found = std::find_if(kPositions.begin(), kPositions.end(), [&](const auto& known) {
        return known.virtualKey == virtualKey;
    });
    return found == kPositions.end() ? nullptr : found;
}

XcbPtr<xcb_xkb_get_state_reply_t> keyboardState(const XcbConnection& connection) {
    return XcbPtr<xcb_xkb_get_state_reply_t>(xcb_xkb_get_state_reply(
        connection.get(), xcb_xkb_get_state(connection.get(), XCB_XKB_ID_USE_CORE_KBD), nullptr));
}

/// There are two keysyms for some characters. Keys of the keypad are not meant.
bool isSameCharacter(xkb_keysym_t first, xkb_keysym_t second) {
    const bool isKeypad = first >= XKB_KEY_KP_Space && first <= XKB_KEY_KP_Equal;
    const uint32_t character = isKeypad ? 0 : xkb_keysym_to_utf32(first);
    return first == second || (character != 0 && character == xkb_keysym_to_utf32(second));
}

} // namespace

XcbKeyboard::XcbKeyboard(std::shared_ptr<XcbConnection> connection)
    : m_connection(std::move(connection)), m_context(xkb_context_new(XKB_CONTEXT_NO_FLAGS)) {
    xkb_x11_setup_xkb_extension(m_connection->get(), XKB_X11_MIN_MAJOR_XKB_VERSION,
                                XKB_X11_MIN_MINOR_XKB_VERSION, XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS,
                                nullptr, nullptr, nullptr, nullptr);
    selectMapEvents();
    m_events =
        m_connection->addHandler([this](const xcb_generic_event_t& event) { handleEvent(event); });
    loadMap();
}

std::optional<xcb_keycode_t> XcbKeyboard::keyCodeAt(quint16 virtualKey) const {
    const KeyPosition* position = positionOf(virtualKey);
    if (position == nullptr || !m_keymap) {
        return std::nullopt;
    }
    const xkb_keycode_t key = xkb_keymap_key_by_name(m_keymap.get(), position->name);
    if (key == XKB_KEYCODE_INVALID || key > 255) {
        return std::nullopt;
    }
    return static_cast<xcb_keycode_t>(key);
}

quint16 XcbKeyboard::virtualKeyAt(xcb_keycode_t key) const {
    const char* name = m_keymap ? xkb_keymap_key_get_name(m_keymap.get(), key) : nullptr;
    const auto* found = std::ranges::find(virtualKeyPositions, std::string_view(name ? name : ""),
                                          &VirtualKeyPosition::name);
    return found == std::end(virtualKeyPositions) ? noVirtualKey : found->virtualKey;
}

xkb_keysym_t XcbKeyboard::keysymOf(xcb_keycode_t key, uint16_t state) const {
    if (!m_keymap) {
        return XKB_KEY_NoSymbol;
    }
    const StatePtr keys(xkb_state_new(m_keymap.get()));
    xkb_state_update_mask(keys.get(), state & 0xffU, 0, 0, 0, 0, state >> 13 & 3U);
    return xkb_state_key_get_one_sym(keys.get(), key);
}

std::optional<xcb_keycode_t> XcbKeyboard::shortcutKeyCode(quint16 virtualKey) const {
    const std::optional<xcb_keycode_t> position = keyCodeAt(virtualKey);
    const std::array letter{letterOn(virtualKey)};
    if (!position || letter.front() == XKB_KEY_NoSymbol) {
        return position;
    }
    std::vector<xkb_layout_index_t> layouts{activeLayout()};
    for (xkb_layout_index_t i = 0; i < xkb_keymap_num_layouts(m_keymap.get()); ++i) {
        layouts.push_back(i);
    }
    for (const xkb_layout_index_t layout : layouts) {
        if (bears(*position, layout, letter)) {
            return position;
        }
        for (xkb_keycode_t key = xkb_keymap_min_keycode(m_keymap.get());
             key <= std::min(xkb_keymap_max_keycode(m_keymap.get()), xkb_keycode_t{255}); ++key) {
            if (bears(static_cast<xcb_keycode_t>(key), layout, letter)) {
                return static_cast<xcb_keycode_t>(key);
            }
        }
    }
    return std::nullopt;
}

xkb_keysym_t XcbKeyboard::letterOn(quint16 virtualKey) {
    const KeyPosition* position = positionOf(virtualKey);
    return position != nullptr ? position->letter : xkb_keysym_t{XKB_KEY_NoSymbol};
}

std::optional<XcbKeyboard::KeyStroke> XcbKeyboard::keyStrokeFor(xkb_keysym_t keysym,
                                                                const KeyFilter& isIgnored) const {
    const xkb_layout_index_t active = activeLayout();
    const xkb_layout_index_t count = m_keymap ? xkb_keymap_num_layouts(m_keymap.get()) : 0;
    for (xkb_layout_index_t i = 0; i < count; ++i) {
        const xkb_layout_index_t layout = (active + i) % count;
        if (auto stroke = keyStrokeIn(layout, keysym, isIgnored)) {
            stroke->layout = static_cast<uint8_t>(layout);
            return stroke;
        }
    }
    return std::nullopt;
}

std::optional<XcbKeyboard::KeyStroke> XcbKeyboard::keyStrokeIn(xkb_layout_index_t layout,
                                                               xkb_keysym_t keysym,
                                                               const KeyFilter& isIgnored) const {
    const xkb_mod_mask_t shift = xkb_mod_mask_t{1}
                                 << xkb_keymap_mod_get_index(m_keymap.get(), XKB_MOD_NAME_SHIFT);
    for (const bool isShifted : {false, true}) {
        for (xkb_keycode_t key = xkb_keymap_min_keycode(m_keymap.get());
             key <= std::min(xkb_keymap_max_keycode(m_keymap.get()), xkb_keycode_t{255}); ++key) {
            const xkb_level_index_t level = isShifted ? 1 : 0;
            std::array<xkb_mod_mask_t, 16> masks{};
            const size_t count = xkb_keymap_key_get_mods_for_level(
                m_keymap.get(), key, layout, level, masks.data(), masks.size());
            const auto* end = masks.begin() + count;
            const xkb_keysym_t* keysyms = nullptr;
            if (std::find(masks.cbegin(), end, isShifted ? shift : 0) != end &&
                xkb_keymap_key_get_syms_by_level(m_keymap.get(), key, layout, level, &keysyms) ==
                    1 &&
                isSameCharacter(*keysyms, keysym) && !isIgnored(static_cast<xcb_keycode_t>(key))) {
                return KeyStroke{.key = static_cast<xcb_keycode_t>(key), .isShifted = isShifted};
            }
        }
    }
    return std::nullopt;
}

uint16_t XcbKeyboard::modifierMask(std::span<const xkb_keysym_t> keysyms) const {
    for (size_t bit = 0; bit < m_modifierKeys.size(); ++bit) {
        if (std::any_of(m_modifierKeys[bit].begin(), m_modifierKeys[bit].end(),
                        [&](xcb_keycode_t key) { return bearsInAnyLayout(key, keysyms); })) {
            return static_cast<uint16_t>(1U << bit);
        }
    }
    return 0;
}

std::optional<xcb_keycode_t>
XcbKeyboard::companionOf(const std::vector<xcb_keycode_t>& held) const {
    if (!m_keymap) {
        return std::nullopt;
    }
    using Meaning = std::pair<xkb_mod_mask_t, xkb_layout_index_t>;
    const auto meaningOf = [this, layout = activeLayout()](const std::vector<xcb_keycode_t>& keys) {
        const StatePtr state(xkb_state_new(m_keymap.get()));
        xkb_state_update_mask(state.get(), 0, 0, 0, 0, 0, layout);
        for (const xcb_keycode_t key : keys) {
            xkb_state_update_key(state.get(), key, XKB_KEY_DOWN);
        }
        return Meaning(xkb_state_serialize_mods(state.get(), XKB_STATE_MODS_EFFECTIVE),
                       xkb_state_serialize_layout(state.get(), XKB_STATE_LAYOUT_EFFECTIVE));
    };
    const Meaning without = meaningOf(held);
    std::vector<xcb_keycode_t> candidates = m_controlKeys;
    candidates.insert(candidates.end(), shiftKeys().begin(), shiftKeys().end());
    const auto found =
        std::find_if(candidates.begin(), candidates.end(), [&](xcb_keycode_t candidate) {
            std::vector<xcb_keycode_t> first = held;
            std::vector<xcb_keycode_t> last = held;
            first.insert(first.begin(), candidate);
            last.push_back(candidate);
            const Meaning with{without.first | meaningOf({candidate}).first, without.second};
            return with.first != without.first && meaningOf(first) == with &&
                   meaningOf(last) == with;
        });
    return found == candidates.end() ? std::nullopt : std::optional(*found);
}

bool XcbKeyboard::isCommandOn() const {
    const auto state = keyboardState(*m_connection);
    const std::array alt{xkb_keysym_t{XKB_KEY_Alt_L}, xkb_keysym_t{XKB_KEY_Alt_R}};
    return state && (state->mods & XCB_MOD_MASK_CONTROL) != 0 &&
           (state->mods & modifierMask(alt)) == 0;
}

XcbKeyboard::Locks XcbKeyboard::locks() const {
    const std::array numLock{xkb_keysym_t{XKB_KEY_Num_Lock}};
    const auto state = keyboardState(*m_connection);
    return state ? Locks{static_cast<uint8_t>(state->lockedMods & ~modifierMask(numLock)),
                         state->lockedGroup}
                 : Locks{};
}

void XcbKeyboard::changeLocks(const Locks& from, const Locks& to) const {
    if (from != to) {
        xcb_xkb_latch_lock_state(m_connection->get(), XCB_XKB_ID_USE_CORE_KBD,
                                 from.modifiers | to.modifiers, to.modifiers, 1, to.layout, 0, 0,
                                 0);
    }
}

XcbKeyboard::KeySet XcbKeyboard::pressedKeys() const {
    KeySet pressed;
    const XcbPtr<xcb_query_keymap_reply_t> reply(xcb_query_keymap_reply(
        m_connection->get(), xcb_query_keymap(m_connection->get()), nullptr));
    for (size_t key = 0; reply && key < pressed.size(); ++key) {
        pressed[key] = (reply->keys[key / 8] >> (key % 8) & 1) != 0;
    }
    return pressed;
}

std::vector<xcb_keycode_t> XcbKeyboard::heldModifierKeys() const {
    const KeySet pressed = pressedKeys();
    std::vector<xcb_keycode_t> held;
    std::copy_if(m_holdKeys.begin(), m_holdKeys.end(), std::back_inserter(held),
                 [&](xcb_keycode_t key) { return pressed[key]; });
    return held;
}

XcbKeyboard::KeySet XcbKeyboard::keysHeldOnDevices() const {
    KeySet held;
    xcb_connection_t* c = m_connection->get();
    const XcbPtr<xcb_input_xi_query_device_reply_t> devices(xcb_input_xi_query_device_reply(
        c, xcb_input_xi_query_device(c, XCB_INPUT_DEVICE_ALL), nullptr));
    if (!devices) {
        return held;
    }
    for (auto device = xcb_input_xi_query_device_infos_iterator(devices.get()); device.rem > 0;
         xcb_input_xi_device_info_next(&device)) {
        const QByteArray name(xcb_input_xi_device_info_name(device.data),
                              xcb_input_xi_device_info_name_length(device.data));
        if (device.data->type != XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD || name.contains("XTEST")) {
            continue;
        }
        const auto id = static_cast<uint8_t>(device.data->deviceid);
        const XcbPtr<xcb_input_open_device_reply_t> opened(
            xcb_input_open_device_reply(c, xcb_input_open_device(c, id), nullptr));
        const XcbPtr<xcb_input_query_device_state_reply_t> state(
            opened ? xcb_input_query_device_state_reply(c, xcb_input_query_device_state(c, id),
                                                        nullptr)
                   : nullptr);
        if (!state) {
            continue;
        }
        for (auto part = xcb_input_query_device_state_classes_iterator(state.get()); part.rem > 0;
             xcb_input_input_state_next(&part)) {
            if (part.data->class_id != XCB_INPUT_INPUT_CLASS_KEY) {
                continue;
            }
            const auto& keys = reinterpret_cast<const xcb_input_key_state_t&>(*part.data);
            for (size_t key = 0; key < held.size(); ++key) {
                held[key] = held[key] || (keys.keys[key / 8] >> (key % 8) & 1) != 0;
            }
        }
    }
    return held;
}

XcbConnection::Subscription XcbKeyboard::addMapListener(MapListener listener) {
    auto kept = std::make_shared<const MapListener>(std::move(listener));
    m_mapListeners.push_back(kept);
    return kept;
}

void XcbKeyboard::selectMapEvents() {
    const uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    const uint16_t allParts = 0xff;
    xcb_xkb_select_events_details_t details{};
    details.affectNewKeyboard = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    xcb_xkb_select_events_aux(m_connection->get(), XCB_XKB_ID_USE_CORE_KBD, events, 0, 0, allParts,
                              allParts, &details);
}

void XcbKeyboard::loadMap() {
    const int32_t device = xkb_x11_get_core_keyboard_device_id(m_connection->get());
    m_keymap.reset(device < 0
                       ? nullptr
                       : xkb_x11_keymap_new_from_device(m_context.get(), m_connection->get(),
                                                        device, XKB_KEYMAP_COMPILE_NO_FLAGS));
    loadModifiers();
}

void XcbKeyboard::loadModifiers() {
    m_modifierKeys.assign(8, {});
    m_holdKeys.clear();
    m_controlKeys.clear();
    const XcbPtr<xcb_get_modifier_mapping_reply_t> reply(xcb_get_modifier_mapping_reply(
        m_connection->get(), xcb_get_modifier_mapping(m_connection->get()), nullptr));
    if (!reply) {
        return;
    }
    const std::span keys(xcb_get_modifier_mapping_keycodes(reply.get()),
                         size_t{8} * reply->keycodes_per_modifier);
    for (size_t i = 0; i < keys.size(); ++i) {
        if (keys[i] == 0) {
            continue;
        }
        m_modifierKeys[i / reply->keycodes_per_modifier].push_back(keys[i]);
        if (!bearsInAnyLayout(keys[i], kLockKeysyms)) {
            m_holdKeys.push_back(keys[i]);
        }
    }
    m_controlKeys = m_modifierKeys[kControlIndex];
    const std::array left{xkb_keysym_t{XKB_KEY_Control_L}};
    std::stable_partition(m_controlKeys.begin(), m_controlKeys.end(),
                          [&](xcb_keycode_t key) { return bearsInAnyLayout(key, left); });
}

void XcbKeyboard::handleEvent(const xcb_generic_event_t& event) {
    const auto isChange = [xkbEvent = m_connection->firstEvent(&xcb_xkb_id)](const auto& change) {
        const bool isCoreChange =
            eventType(change) == XCB_MAPPING_NOTIFY &&
            eventAs<xcb_mapping_notify_event_t>(change).request != XCB_MAPPING_POINTER;
        // The second byte of an XKB event tells its kind; both that are selected mean the same.
        return isCoreChange || (xkbEvent != 0 && eventType(change) == xkbEvent);
    };
    if (!isChange(event)) {
        return;
    }
    std::ignore = m_connection->takeAll(isChange); // they often come in dozens
    loadMap();
    for (const std::weak_ptr<const MapListener>& weak : m_mapListeners) {
        if (const std::shared_ptr<const MapListener> listener = weak.lock()) {
            (*listener)();
        }
    }
}

bool XcbKeyboard::bears(xcb_keycode_t key, xkb_layout_index_t layout,
                        std::span<const xkb_keysym_t> keysyms) const {
    const xkb_keysym_t* syms = nullptr;
    const int count = xkb_keymap_key_get_syms_by_level(m_keymap.get(), key, layout, 0, &syms);
    return count == 1 && std::find(keysyms.begin(), keysyms.end(), *syms) != keysyms.end();
}

bool XcbKeyboard::bearsInAnyLayout(xcb_keycode_t key, std::span<const xkb_keysym_t> keysyms) const {
    if (!m_keymap) {
        return false;
    }
    for (xkb_layout_index_t layout = 0;
         layout < xkb_keymap_num_layouts_for_key(m_keymap.get(), key); ++layout) {
        if (bears(key, layout, keysyms)) {
            return true;
        }
    }
    return false;
}

xkb_layout_index_t XcbKeyboard::activeLayout() const {
    const auto state = keyboardState(*m_connection);
    return state ? state->group : xkb_layout_index_t{0};
}

} // namespace velmorin
