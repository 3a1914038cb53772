// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"

#include <QSize>
#include <QString>

#include <functional>
#include <memory>

namespace velmorin {

/// Presents the one window of an application: makes it at the first request, shows the same one,
/// as its user left it, at every later request. Made by `std::make_shared`. Main thread.
class LaunchWindowController : public WindowDelegate,
                               public std::enable_shared_from_this<LaunchWindowController> {
public:
    /// Describes the window's contents.
    using RootBuilder = std::function<View()>;

    explicit LaunchWindowController(const Platform& platform);

    /// The process's presenter, created on first use, from any thread.
    [[nodiscard]] static std::shared_ptr<LaunchWindowController> shared();

    /// Brings the application in front with its window. The first call makes it: titled `appName`,
    /// `idealSize` large inside, in the middle of the screen or where the user had it last. Later
    /// calls ignore the arguments.
    void present(const QString& appName, const QSize& idealSize, const RootBuilder& root);

    /// Presents on a later turn of the main queue, unless the presenter is gone by then. Returns
    /// at once.
    void presentDeferred(const QString& appName, const QSize& idealSize, RootBuilder root);

    /// Brings the application in front, and its window if there is one.
    void bringToFront();

    /// Does nothing: the window stays, hidden, for the next request.
    void windowWillClose() override {}

private:
    const Platform m_platform;
    std::shared_ptr<Window> m_window;
};

} // namespace velmorin
