// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/EventTaps.h"

#include <vector>

namespace velmorin {

/// Taps into events that the test makes.
class MemoryEventTaps : public EventTaps {
public:
    struct Tap : EventTap {
        void addToCurrentRunLoop() override { isInRunLoop = true; }
        void enable(bool isEnabledNow) override { isEnabled = isEnabledNow; }

        CGEventTapLocation location{};
        CGEventTapPlacement placement{};
        CGEventTapOptions options{};
        CGEventMask mask = 0;
        Callback callback;
        bool isInRunLoop = false;
        bool isEnabled = false;
    };

    [[nodiscard]] std::shared_ptr<EventTap> createTap(CGEventTapLocation location,
                                                      CGEventTapPlacement placement,
                                                      CGEventTapOptions options, CGEventMask mask,
                                                      Callback callback) override {
        if (isRefusing) {
            return nullptr;
        }
        auto tap = std::make_shared<Tap>();
        tap->location = location;
        tap->placement = placement;
        tap->options = options;
        tap->mask = mask;
        tap->callback = std::move(callback);
        taps.push_back(tap);
        return tap;
    }

    /// Something happens that the taps see which want it.
    void happen(const TappedEvent& event) const {
        for (const auto& tap : taps) {
            if (tap->isInRunLoop && tap->isEnabled && (tap->mask & eventMaskBit(event.type)) != 0) {
                tap->callback(event);
            }
        }
    }

    bool isRefusing = false;
    std::vector<std::shared_ptr<Tap>> taps; ///< All there ever were.
};

} // namespace velmorin
