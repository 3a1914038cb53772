// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/KeyEvents.h"

#include <QPointF>
#include <QString>

#include <functional>
#include <memory>

namespace velmorin {

/// Where a tap stands among the taps of its location.
enum class CGEventTapPlacement : quint32 { headInsert = 0 };

/// What a tap may do with the events.
enum class CGEventTapOptions : quint32 { listenOnly = 1 };

/// The types of events; a mask has the bit 1 << type for each that is wanted.
enum class CGEventType : quint32 {
    mouseMoved = 5,
    leftMouseDragged = 6,
    rightMouseDragged = 7,
    keyDown = 10,
};
using CGEventMask = quint64;

[[nodiscard]] constexpr CGEventMask eventMaskBit(CGEventType type) {
    return CGEventMask{1} << static_cast<quint32>(type);
}

/// What a tap tells of an event.
struct TappedEvent {
    CGEventType type = CGEventType::mouseMoved;
    QPointF location;      ///< Of the pointer, in pixels of the whole desktop.
    qint64 keyCode = 0;    ///< A key's position, as a virtual key code.
    QString unicodeString; ///< What a key types under the active layout; often empty.
};

/// A tap into the stream of the system's events.
class EventTap {
public:
    virtual ~EventTap() = default;

    /// From now on the events come on this thread's run loop, which must be the main one. The run
    /// loop keeps the tap.
    virtual void addToCurrentRunLoop() = 0;
    virtual void enable(bool isEnabled) = 0;
};

/// Makes taps. Main thread.
class EventTaps {
public:
    virtual ~EventTaps() = default;

    using Callback = std::function<void(const TappedEvent&)>;

    /// Null when the system allows none.
    [[nodiscard]] virtual std::shared_ptr<EventTap>
    createTap(CGEventTapLocation location, CGEventTapPlacement placement, CGEventTapOptions options,
              CGEventMask mask, Callback callback) = 0;
};

} // namespace velmorin
