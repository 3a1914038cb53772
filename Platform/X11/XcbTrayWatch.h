// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/TrayWatch.h"
#include "Platform/X11/XcbConnection.h"

namespace velmorin {

/// The owner of the selection "_NET_SYSTEM_TRAY_S<screen>" (freedesktop.org's system tray
/// protocol).
class XcbTrayWatch : public TrayWatch {
public:
    explicit XcbTrayWatch(std::shared_ptr<XcbConnection> connection);

    [[nodiscard]] bool isThere() const override;
    void onAppear(std::function<void()> handler) override;

private:
    std::shared_ptr<XcbConnection> m_connection;
    xcb_atom_t m_selection;
    XcbConnection::Subscription m_subscription;
};

} // namespace velmorin
