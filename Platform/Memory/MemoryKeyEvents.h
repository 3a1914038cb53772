// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ActiveWindow.h"
#include "Platform/KeyEvents.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmorin {

/// A keyboard that types into a journal. Main thread.
class MemoryKeyEvents final : public KeyEvents {
public:
    explicit MemoryKeyEvents(std::shared_ptr<ActiveWindow> activeWindow)
        : m_activeWindow(std::move(activeWindow)) {}

    struct Posted {
        CGEventSourceStateID state;
        CGEventTapLocation location;
        quint16 keyCode;
        bool keyDown;
        quint64 flags;
        QString unicodeString = {};

        bool operator==(const Posted&) const = default;
    };

    [[nodiscard]] CGEventSourceRef createSource(CGEventSourceStateID state) override {
        return sourceFails ? nullptr : std::make_shared<Source>(state);
    }

    [[nodiscard]] CGEventRef createKeyboardEvent(const CGEventSourceRef& source, quint16 virtualKey,
                                                 bool keyDown) override {
        if (failingEvents == keyDown) {
            return nullptr;
        }
        // As if the user were holding something: flags that are not replaced would show.
        constexpr quint64 heldFlags = 0x80000;
        return std::make_shared<KeyboardEvent>(
            KeyboardEvent{source, virtualKey, keyDown, heldFlags, {}, {}});
    }

    void post(CGEventTapLocation location, const CGEventRef& event) override {
        if (event->window && event->window != m_activeWindow->identifier()) {
            return;
        }
        const auto& source = static_cast<const Source&>(*event->source);
        const Posted posted{source.state,   location,     event->keyCode,
                            event->keyDown, event->flags, event->unicodeString};
        m_journal.push_back(posted);
        if (onPost) {
            onPost(posted);
        }
    }

    /// What was posted, oldest first.
    [[nodiscard]] const std::vector<Posted>& journal() const { return m_journal; }

    bool sourceFails = false;
    std::optional<bool> failingEvents; ///< Whether key-down or key-up events cannot be created.
    /// The application that receives the events.
    std::function<void(const Posted&)> onPost;

private:
    struct Source final : CGEventSource {
        explicit Source(CGEventSourceStateID sourceState) : state(sourceState) {}
        const CGEventSourceStateID state;
    };

    std::shared_ptr<ActiveWindow> m_activeWindow;
    std::vector<Posted> m_journal;
};

} // namespace velmorin
