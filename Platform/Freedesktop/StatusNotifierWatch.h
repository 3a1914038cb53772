// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/TrayWatch.h"

#include <QDBusServiceWatcher>

namespace velmorin {

/// The session bus's "org.kde.StatusNotifierWatcher", freedesktop.org's protocol for status icons.
class StatusNotifierWatch : public TrayWatch {
public:
    StatusNotifierWatch();

    [[nodiscard]] bool isThere() const override;
    void onAppear(std::function<void()> handler) override;

private:
    QDBusServiceWatcher m_watcher;
};

} // namespace velmorin
