// SPDX-License-Identifier: MIT
#include "Platform/X11/XTestKeyEvents.h"
#include "Platform/X11/FocusPing.h"
#include "Platform/X11/FocusedWindow.h"

#include <QThread>

#include <algorithm>
#include <chrono>
#include <functional>
#include <iterator>

#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace velmorin {

namespace {

using namespace std::chrono_literals;

constexpr auto kReceivingTime = 500ms; // for an application that is busy when a key arrives

/// What a key must bear for applications to insert the character.
xkb_keysym_t typingKeysym(char32_t codePoint) {
    return codePoint == U'\n' ? xkb_keysym_t{XKB_KEY_Return} : xkb_utf32_to_keysym(codePoint);
}

} // namespace

XTestKeyEvents::XTestKeyEvents(std::shared_ptr<XcbConnection> connection,
                               std::shared_ptr<XcbKeyboard> keyboard)
    : m_connection(std::move(connection)), m_keyboard(std::move(keyboard)),
      m_spareKeys(m_connection) {
    const XcbPtr<xcb_test_get_version_reply_t> version(xcb_test_get_version_reply(
        m_connection->get(), xcb_test_get_version(m_connection->get(), 2, 2), nullptr));
    m_available = version != nullptr;
}

CGEventSourceRef XTestKeyEvents::createSource(CGEventSourceStateID /*state*/) {
    return m_available ? std::make_shared<CGEventSource>() : nullptr;
}

CGEventRef XTestKeyEvents::createKeyboardEvent(const CGEventSourceRef& source, quint16 virtualKey,
                                               bool keyDown) {
    if (!m_keyboard->keyCodeAt(virtualKey)) {
        return nullptr;
    }
    return std::make_shared<KeyboardEvent>(KeyboardEvent{source, virtualKey, keyDown, 0, {}, {}});
}

void XTestKeyEvents::post(CGEventTapLocation location, const CGEventRef& event) {
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [&] { post(location, event); }, Qt::BlockingQueuedConnection);
        return;
    }
    if (!event || !event->source) {
        return;
    }
    if (m_replaced && (event->keyDown || m_replaced->virtualKey != event->keyCode)) {
        release(); // a key whose release was never posted
    }
    if (!event->unicodeString.isEmpty()) {
        if (event->keyDown) {
            type(event->unicodeString, event->window);
        }
    } else if (!event->keyDown) {
        if (m_replaced) {
            release();
            std::ignore = pingFocus(*m_connection, QDeadlineTimer(kReceivingTime));
        }
    } else if (const auto key = keyFor(event->keyCode)) {
        press({.virtualKey = event->keyCode,
               .command = (event->flags & kCGEventFlagMaskCommand) != 0,
               .window = event->window},
              {.key = *key});
    }
}

std::optional<xcb_keycode_t> XTestKeyEvents::keyFor(quint16 virtualKey) {
    auto key = m_keyboard->shortcutKeyCode(virtualKey);
    if (!key || m_spareKeys.isBorrowed(*key)) {
        key = m_spareKeys.keyFor(XcbKeyboard::letterOn(virtualKey));
    }
    return key ? key : m_keyboard->keyCodeAt(virtualKey);
}

void XTestKeyEvents::type(QString text, std::optional<quint64> window) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    for (const char32_t codePoint : text.toUcs4()) {
        const xkb_keysym_t keysym = typingKeysym(codePoint);
        std::optional<XcbKeyboard::KeyStroke> stroke = m_keyboard->keyStrokeFor(
            keysym, [this](xcb_keycode_t key) { return m_spareKeys.isBorrowed(key); });
        if (const auto spare = stroke ? std::nullopt : m_spareKeys.keyFor(keysym)) {
            stroke = {.key = *spare};
        }
        if (stroke) {
            press({.command = false, .window = window}, *stroke);
            if (m_replaced) {
                release();
            }
        }
    }
}

void XTestKeyEvents::press(Replaced replaced, const XcbKeyboard::KeyStroke& stroke) {
    replaced.heldOnDevices = m_keyboard->keysHeldOnDevices();
    m_replaced = std::move(replaced);
    xcb_connection_t* c = m_connection->get();
    // No other client may press or lift a modifier between our look at the keys and the last key
    // that is put back: a modifier that is let go in between would be pressed again for good. Nor
    // may the focus go elsewhere. Until the hotkey's key is up its grab sends all keys to us, so it
    // is given up first.
    xcb_grab_server(c);
    xcb_ungrab_keyboard(c, XCB_CURRENT_TIME);
    if (m_replaced->window && m_replaced->window != focusedWindow(*m_connection)) {
        m_replaced.reset();
        xcb_ungrab_server(c);
        m_connection->flush();
        return;
    }
    liftHeld();
    if (!m_replaced->command) {
        setUp(stroke);
    } else if (!m_keyboard->isCommandOn()) {
        release(); // the key would type its letter
        return;
    }
    m_replaced->key = stroke.key;
    fake(XCB_KEY_PRESS, stroke.key);
    m_connection->flush();
    // The server is given back when the key is up; a caller that never posts that must not freeze
    // the desktop, so it is also given back as soon as the event loop turns.
    QMetaObject::invokeMethod(
        this,
        [this, key = stroke.key] {
            if (m_replaced && m_replaced->key == key) {
                release();
            }
        },
        Qt::QueuedConnection);
}

void XTestKeyEvents::liftHeld() {
    const std::vector<xcb_keycode_t>& controls = m_keyboard->controlKeys();
    const auto isControl = [&](xcb_keycode_t key) {
        return std::find(controls.begin(), controls.end(), key) != controls.end();
    };
    std::vector<xcb_keycode_t> held = m_keyboard->heldModifierKeys();
    const auto heldControls =
        std::stable_partition(held.begin(), held.end(), std::not_fn(isControl));
    const bool hasControl = heldControls != held.end();
    if (m_replaced->command) {
        held.erase(heldControls, held.end());
    }
    if (!held.empty() && !hasControl) {
        m_replaced->companion = m_keyboard->companionOf(held);
    }
    if (m_replaced->command && !hasControl && !controls.empty()) {
        const bool isDown = m_replaced->companion && isControl(*m_replaced->companion);
        m_replaced->control = isDown ? m_replaced->companion : controls.front();
    }
    if (m_replaced->companion) {
        fake(XCB_KEY_PRESS, *m_replaced->companion);
    }
    for (const xcb_keycode_t modifier : held) {
        fake(XCB_KEY_RELEASE, modifier);
    }
    m_replaced->lifted = std::move(held);
    if (m_replaced->companion != m_replaced->control) {
        if (m_replaced->companion) {
            fake(XCB_KEY_RELEASE, *m_replaced->companion);
        }
        if (m_replaced->control) {
            fake(XCB_KEY_PRESS, *m_replaced->control);
        }
    }
}

void XTestKeyEvents::setUp(const XcbKeyboard::KeyStroke& stroke) {
    m_replaced->locks = m_keyboard->locks();
    m_replaced->changedLocks = {0, stroke.layout.value_or(m_replaced->locks.layout)};
    m_keyboard->changeLocks(m_replaced->locks, m_replaced->changedLocks);
    if (stroke.isShifted && !m_keyboard->shiftKeys().empty()) {
        m_replaced->shift = m_keyboard->shiftKeys().front();
        fake(XCB_KEY_PRESS, *m_replaced->shift);
    }
}

void XTestKeyEvents::release() {
    const Replaced replaced = std::move(*m_replaced);
    m_replaced.reset();
    if (replaced.key) {
        fake(XCB_KEY_RELEASE, *replaced.key);
    }
    if (replaced.shift) {
        fake(XCB_KEY_RELEASE, *replaced.shift);
    }
    m_keyboard->changeLocks(replaced.changedLocks, replaced.locks);
    if (replaced.companion != replaced.control) {
        if (replaced.control) {
            fake(XCB_KEY_RELEASE, *replaced.control);
        }
        if (replaced.companion) {
            fake(XCB_KEY_PRESS, *replaced.companion);
        }
    }
    std::for_each(replaced.lifted.rbegin(), replaced.lifted.rend(),
                  [this](xcb_keycode_t modifier) { fake(XCB_KEY_PRESS, modifier); });
    if (replaced.companion) {
        fake(XCB_KEY_RELEASE, *replaced.companion);
    }
    // A finger may have left a modifier while it was lifted; the server then saw nothing change.
    const XcbKeyboard::KeySet stillHeld = m_keyboard->keysHeldOnDevices();
    for (const xcb_keycode_t modifier : replaced.lifted) {
        if (replaced.heldOnDevices[modifier] && !stillHeld[modifier]) {
            fake(XCB_KEY_RELEASE, modifier);
        }
    }
    xcb_ungrab_server(m_connection->get());
    m_connection->flush();
}

void XTestKeyEvents::fake(uint8_t type, xcb_keycode_t key) {
    xcb_test_fake_input(m_connection->get(), type, key, XCB_CURRENT_TIME, m_connection->root(), 0,
                        0, 0);
}

} // namespace velmorin
