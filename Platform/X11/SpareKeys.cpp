// SPDX-License-Identifier: MIT
#include "Platform/X11/SpareKeys.h"
#include "Platform/X11/FocusPing.h"
#include "Platform/X11/XcbXkb.h"

#include <QByteArray>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

namespace velmorin {
namespace {

using namespace std::chrono_literals;

constexpr auto kSettlingTime = 500ms;

// XKB's canonical key types have fixed indices ("The X Keyboard Extension: Protocol", 7.2.1).
constexpr uint8_t kOneLevel = 0; // whatever modifiers are on

template <typename T>
QByteArray bytesOf(const T& value) {
    return {reinterpret_cast<const char*>(&value), qsizetype{sizeof value}};
}

/// One key's part of the map as the protocol writes it: a keysym, or nothing.
QByteArray keySymMap(xkb_keysym_t keysym) {
    xcb_xkb_key_sym_map_t map{};
    if (keysym == XKB_KEY_NoSymbol) {
        return bytesOf(map);
    }
    std::fill(std::begin(map.kt_index), std::end(map.kt_index), kOneLevel);
    map.groupInfo = 1; // one layout, which stands for each
    map.width = 1;
    map.nSyms = 1;
    return bytesOf(map) + bytesOf(keysym);
}

/// The request that leaves a key with nothing.
QByteArray clearingRequest(uint8_t majorOpcode, const KeyRange& all, xcb_keycode_t key) {
    const QByteArray values = keySymMap(XKB_KEY_NoSymbol);
    xcb_xkb_set_map_request_t request{};
    request.major_opcode = majorOpcode;
    request.minor_opcode = XCB_XKB_SET_MAP;
    request.length =
        static_cast<uint16_t>((qsizetype{sizeof request} + values.size()) / qsizetype{4});
    request.deviceSpec = XCB_XKB_ID_USE_CORE_KBD;
    request.present = XCB_XKB_MAP_PART_KEY_SYMS;
    request.minKeyCode = all.first;
    request.maxKeyCode = all.last;
    request.firstKeySym = key;
    request.nKeySyms = 1;
    return bytesOf(request) + values;
}

} // namespace

SpareKeys::SpareKeys(std::shared_ptr<XcbConnection> connection)
    : m_connection(std::move(connection)) {}

SpareKeys::~SpareKeys() {
    settle();
}

std::optional<xcb_keycode_t> SpareKeys::keyFor(xkb_keysym_t keysym) {
    if (keysym == XKB_KEY_NoSymbol) {
        return std::nullopt;
    }
    if (find(keysym) == m_keys.end() && !m_keys.empty() && !m_keys.front().isSettled) {
        settle();
    }
    // On a machine that was asleep in between the guard may clear the key before it is confirmed.
    for (int attempt = 0; attempt < 2; ++attempt) {
        if ((!m_guard.renew() && !borrow()) || !bear(keysym)) {
            return std::nullopt;
        }
        if (m_guard.renew()) {
            return m_keys.back().code;
        }
    }
    return std::nullopt;
}

bool SpareKeys::isBorrowed(xcb_keycode_t key) const {
    return std::any_of(m_keys.begin(), m_keys.end(),
                       [key](const Key& spare) { return spare.code == key; });
}

std::vector<SpareKeys::Key>::iterator SpareKeys::find(xkb_keysym_t keysym) {
    return std::find_if(m_keys.begin(), m_keys.end(),
                        [&](const Key& key) { return key.keysym == keysym; });
}

bool SpareKeys::borrow() {
    m_keys.clear();
    xcb_connection_t* c = m_connection->get();
    const XcbPtr<xcb_xkb_get_map_reply_t> map(
        xcb_xkb_get_map_reply(c,
                              xcb_xkb_get_map(c, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_MAP_PART_KEY_SYMS,
                                              0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0),
                              nullptr));
    if (!map) {
        return false;
    }
    m_range = {map->minKeyCode, map->maxKeyCode};
    xcb_xkb_get_map_map_t parts{};
    xcb_xkb_get_map_map_unpack(xcb_xkb_get_map_map(map.get()), map->nTypes, map->nKeySyms,
                               map->nKeyActions, map->totalActions, map->totalKeyBehaviors,
                               map->virtualMods, map->totalKeyExplicit, map->totalModMapKeys,
                               map->totalVModMapKeys, map->present, &parts);
    auto key = xcb_xkb_get_map_map_syms_rtrn_iterator(map.get(), &parts);
    for (unsigned code = map->firstKeySym; key.rem > 0; ++code, xcb_xkb_key_sym_map_next(&key)) {
        if (key.data->nSyms == 0) {
            // From the end of the map on, where real keyboards have the fewest keys.
            m_keys.insert(m_keys.begin(), {.code = static_cast<xcb_keycode_t>(code)});
        }
    }
    return !m_keys.empty() && m_guard.start([this](uint8_t majorOpcode) {
        QByteArray requests;
        for (const Key& spare : m_keys) {
            requests += clearingRequest(majorOpcode, m_range, spare.code);
        }
        return requests;
    });
}

void SpareKeys::settle() {
    if (std::any_of(m_keys.begin(), m_keys.end(), [](const Key& key) { return !key.isSettled; })) {
        const QDeadlineTimer deadline(kSettlingTime);
        if (!pingFocus(*m_connection, deadline)) {
            std::this_thread::sleep_for(deadline.remainingTimeAsDuration()); // it does not tell
        }
    }
    for (Key& key : m_keys) {
        key.isSettled = true;
    }
}

bool SpareKeys::bear(xkb_keysym_t keysym) {
    auto key = find(keysym);
    if (key == m_keys.end()) {
        key = m_keys.begin();
        xcb_connection_t* c = m_connection->get();
        const QByteArray values = keySymMap(keysym);
        const XcbPtr<xcb_generic_error_t> error(xcb_request_check(
            c, xcb_xkb_set_map_checked(c, XCB_XKB_ID_USE_CORE_KBD, XCB_XKB_MAP_PART_KEY_SYMS, 0,
                                       m_range.first, m_range.last, 0, 0, key->code, 1, 1, 0, 0, 0,
                                       0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, values.constData())));
        if (error) {
            return false;
        }
        key->keysym = keysym;
    }
    key->isSettled = false;
    std::rotate(key, key + 1, m_keys.end());
    return true;
}

} // namespace velmorin
