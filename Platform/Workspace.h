// SPDX-License-Identifier: MIT
#pragma once

#include <QUrl>

namespace velmorin {

/// Opens things in other applications. Main thread; does not wait for them.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Opens the URL: a privacy-settings URL in the desktop's own settings, any other in its
    /// default application. False when there is nothing to open it with.
    virtual bool openUrl(const QUrl& url) = 0;
};

} // namespace velmorin
