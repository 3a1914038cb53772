// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ActiveWindow.h"
#include "Platform/X11/XcbConnection.h"

namespace velmorin {

/// The window with the input focus; its process as the X server knows it (X-Resource 1.2), or as
/// the window claims (`_NET_WM_PID`) where the server does not tell.
class XcbActiveWindow : public ActiveWindow {
public:
    explicit XcbActiveWindow(std::shared_ptr<XcbConnection> connection);

    [[nodiscard]] std::optional<qint64> processId() override;
    [[nodiscard]] std::optional<quint64> identifier() override;
    void awaitInputHandled(std::chrono::milliseconds limit) override;

private:
    [[nodiscard]] std::optional<qint64> clientProcess(xcb_window_t window) const;

    std::shared_ptr<XcbConnection> m_connection;
};

} // namespace velmorin
