// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/StatusBar.h"

namespace velmorin {

/// The desktop's tray: a StatusNotifierItem, or an XEmbed icon where no StatusNotifierWatcher is.
/// Needs a QApplication.
class QtStatusBar : public StatusBar {
public:
    [[nodiscard]] std::shared_ptr<StatusItem> statusItem(double length) override;
};

} // namespace velmorin
