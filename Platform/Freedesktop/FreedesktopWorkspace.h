// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Workspace.h"

namespace velmorin {

/// Opens URLs with the desktop's default applications, and the pages of the privacy settings
/// ("x-apple.systempreferences:com.apple.preference.security?<anchor>") in the settings program of
/// the desktop that runs, or of any that is installed.
class FreedesktopWorkspace : public Workspace {
public:
    bool openUrl(const QUrl& url) override;
};

} // namespace velmorin
