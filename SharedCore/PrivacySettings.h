// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Workspace.h"

#include <QString>

namespace velmorin {

/// Opens a page of the system's privacy settings. What comes of it is not told.
inline void openPrivacySettings(Workspace& workspace, const char* anchor) {
    const QUrl url(QStringLiteral("x-apple.systempreferences:com.apple.preference.security?") +
                       QString::fromLatin1(anchor),
                   QUrl::StrictMode);
    if (!url.isValid()) {
        qFatal("The address of a settings page is invalid");
    }
    workspace.openUrl(url);
}

} // namespace velmorin
