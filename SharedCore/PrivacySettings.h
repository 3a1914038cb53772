// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Accessibility.h"
#include "Platform/Workspace.h"

#include <QString>

namespace velmorin {

/// Whether the process may use accessibility; with `prompt` the system asks the user when not.
inline bool isAccessibilityTrusted(Accessibility& accessibility, bool prompt) {
    return accessibility.isProcessTrustedWithOptions(
        {{QString::fromLatin1(kAXTrustedCheckOptionPrompt), prompt}});
}

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
