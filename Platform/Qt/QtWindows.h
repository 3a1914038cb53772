// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/MainQueue.h"
#include "Platform/UserDefaults.h"
#include "Platform/Windows.h"

#include <QQmlEngine>

#include <memory>

namespace velmorin {

/// Qt Quick windows, drawn by the software renderer. Must not outlive the QApplication; windows
/// that are left when its event loop ends are taken down then.
///
/// A window is shown empty, and its view's items are made right after that: what an application
/// does next does not wait for them, and neither does the first frame.
class QtWindows : public Windows {
public:
    QtWindows(std::shared_ptr<MainQueue> mainQueue, std::shared_ptr<UserDefaults> defaults);
    ~QtWindows() override;

    [[nodiscard]] std::shared_ptr<Window> window(const QSize& contentSize) override;

private:
    std::shared_ptr<MainQueue> m_mainQueue;
    std::shared_ptr<UserDefaults> m_defaults;
    std::shared_ptr<QQmlEngine> m_engine;
};

} // namespace velmorin
