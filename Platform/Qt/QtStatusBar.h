// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/StatusBar.h"
#include "Platform/TrayWatch.h"

#include <memory>
#include <vector>

namespace velmorin {

/// The desktop's tray: a StatusNotifierItem, or an XEmbed icon where no StatusNotifierWatcher is.
/// Needs a QApplication.
class QtStatusBar : public StatusBar {
public:
    /// The kinds of trays that there may be. Qt decides once in the life of a process which of them
    /// it uses, so nothing is shown before one of them is there.
    explicit QtStatusBar(std::vector<std::shared_ptr<TrayWatch>> trays);

    [[nodiscard]] std::shared_ptr<StatusItem> statusItem(double length) override;

private:
    std::vector<std::shared_ptr<TrayWatch>> m_trays;
};

} // namespace velmorin
