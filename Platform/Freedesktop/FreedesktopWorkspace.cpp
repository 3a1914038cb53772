// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/FreedesktopWorkspace.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

#include <algorithm>
#include <vector>

namespace velmorin {

namespace {

/// A page of a desktop's settings program.
struct SettingsPage {
    QStringView anchor;
    QStringView desktop; ///< As in XDG_CURRENT_DESKTOP.
    const char* command;
};

constexpr SettingsPage kPages[] = {
    {u"Privacy_Accessibility", u"GNOME", "gnome-control-center universal-access"},
    {u"Privacy_Accessibility", u"KDE", "systemsettings kcm_access"},
    {u"Privacy_Accessibility", u"XFCE", "xfce4-accessibility-settings"},
    {u"Privacy_Accessibility", u"X-Cinnamon", "cinnamon-settings universal-access"},
    {u"Privacy_Accessibility", u"MATE", "mate-at-properties"},
    {u"Privacy_Accessibility", u"Budgie", "budgie-control-center universal-access"},
};

bool start(const char* command) {
    QStringList parts = QString::fromLatin1(command).split(u' ');
    const QString program = QStandardPaths::findExecutable(parts.takeFirst());
    return !program.isEmpty() && QProcess::startDetached(program, parts);
}

bool openSettingsPage(const QString& anchor) {
    std::vector<SettingsPage> pages;
    std::ranges::copy_if(kPages, std::back_inserter(pages),
                         [&](const SettingsPage& page) { return page.anchor == anchor; });
    // The running desktop's own comes first.
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':');
    std::ranges::stable_partition(pages, [&](const SettingsPage& page) {
        return desktops.contains(page.desktop, Qt::CaseInsensitive);
    });
    return std::ranges::any_of(pages, [](const SettingsPage& page) { return start(page.command); });
}

} // namespace

bool FreedesktopWorkspace::openUrl(const QUrl& url) {
    return url.scheme() == QStringLiteral("x-apple.systempreferences")
               ? openSettingsPage(url.query())
               : QDesktopServices::openUrl(url);
}

} // namespace velmorin
