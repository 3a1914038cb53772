// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/X11/XcbConnection.h"

#include <QByteArray>

namespace velmorin {

/// Puts a borrowed part of the keyboard map back when nobody needs it any more: some time after the
/// last sign of life, also when this process was killed meanwhile. A process of its own does it, on
/// its own connection to the X server. Main thread.
class KeymapGuard {
public:
    KeymapGuard() = default;
    /// Puts the map back now.
    ~KeymapGuard();
    Q_DISABLE_COPY_MOVE(KeymapGuard)

    /// Starts to guard. `restoringRequests` makes the XKB requests, complete and as they go over
    /// the wire, that put the map back; it is given the extension's major opcode. False when there
    /// can be no guard: then the map must stay as it is.
    [[nodiscard]] bool
    start(const std::function<QByteArray(uint8_t majorOpcode)>& restoringRequests);

    /// A sign of life. False when there is no guard, or the map was put back: then start again.
    [[nodiscard]] bool renew();

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };

    [[nodiscard]] bool ask(char message);

    // The guard's connection, of which this process must not make use. It can be closed only when
    // the guard has ended: xcb ends it for both.
    std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
    int m_control = -1;
};

} // namespace velmorin
