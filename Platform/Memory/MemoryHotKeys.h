// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/HotKeys.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace velmorin {

/// Hotkeys that the test presses. Main thread.
class MemoryHotKeys final : public HotKeys {
public:
    struct Registration {
        quint32 keyCode;
        quint32 modifiers;
        EventHotKeyID id;
        EventTarget target;
        quint32 options;
        std::weak_ptr<RegisteredHotKey> hotKey; ///< Expired once the combination is given back.
    };

    [[nodiscard]] EventTarget applicationEventTarget() override { return this; }

    OSStatus installEventHandler(EventTarget target, EventHandler handler,
                                 std::span<const EventTypeSpec> types, void* userData) override {
        m_handlers.push_back({target, handler, {types.begin(), types.end()}, userData});
        return installStatus;
    }

    [[nodiscard]] OSStatus registerEventHotKey(quint32 keyCode, quint32 modifiers, EventHotKeyID id,
                                               EventTarget target, quint32 options,
                                               EventHotKeyRef& hotKey) override {
        if (registerStatus == noErr) {
            hotKey = std::make_shared<RegisteredHotKey>();
            m_registrations.push_back({keyCode, modifiers, id, target, options, hotKey});
        }
        return registerStatus;
    }

    /// The user presses every combination that is registered. Each press goes to the handler that
    /// was installed last, and on to the one before while the result is an error.
    void press() {
        for (const Registration& registration : m_registrations) {
            if (!registration.hotKey.expired()) {
                deliver(registration);
            }
        }
    }

    /// The registrations that succeeded, oldest first.
    [[nodiscard]] const std::vector<Registration>& registrations() const { return m_registrations; }

    OSStatus installStatus = noErr;  ///< What `installEventHandler()` answers.
    OSStatus registerStatus = noErr; ///< What `registerEventHotKey()` answers.

private:
    struct Handler {
        EventTarget target;
        EventHandler handler;
        std::vector<EventTypeSpec> types;
        void* userData;

        [[nodiscard]] bool takes(const HotKeyEvent& event) const {
            return std::any_of(types.begin(), types.end(), [&event](const EventTypeSpec& type) {
                return type.eventClass == event.eventClass && type.eventKind == event.eventKind;
            });
        }
    };

    void deliver(const Registration& registration) {
        const HotKeyEvent event{kEventClassKeyboard, kEventHotKeyPressed, registration.id.signature,
                                registration.id.id};
        for (auto handler = m_handlers.rbegin(); handler != m_handlers.rend(); ++handler) {
            if (handler->target == registration.target && handler->takes(event) &&
                handler->handler(nullptr, &event, handler->userData) == noErr) {
                return;
            }
        }
    }

    std::vector<Handler> m_handlers;
    std::vector<Registration> m_registrations;
};

} // namespace velmorin
