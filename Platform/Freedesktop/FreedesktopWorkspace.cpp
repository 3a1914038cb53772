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
    {u"Privacy_ListenEvent", u"GNOME", "gnome-control-center keyboard"},
    {u"Privacy_ListenEvent", u"KDE", "systemsettings kcm_keyboard"},
    {u"Privacy_ListenEvent", u"XFCE", "xfce4-keyboard-settings"},
    {u"Privacy_ListenEvent", u"X-Cinnamon", "cinnamon-settings keyboard"},
    {u"Privacy_ListenEvent", u"MATE", "mate-keyboard-properties"},
    {u"Privacy_Microphone", u"GNOME", "gnome-control-center microphone"},
    {u"Privacy_Microphone", u"KDE", "systemsettings kcm_pulseaudio"},
    {u"Privacy_Microphone", u"XFCE", "pavucontrol --tab=4"},
    {u"Privacy_Microphone", u"X-Cinnamon", "cinnamon-settings sound"},
    {u"Privacy_Microphone", u"MATE", "mate-volume-control"},
    {u"Privacy_Calendars", u"GNOME", "gnome-control-center online-accounts"},
    {u"Privacy_Calendars", u"KDE", "systemsettings kcm_kaccounts"},
    {u"Privacy_Calendars", u"X-Cinnamon", "cinnamon-settings calendar"},
    {u"Privacy_AllFiles", u"GNOME", "gnome-control-center applications"},
    {u"Privacy_AllFiles", u"KDE", "systemsettings kcm_flatpak"},
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
    std::stable_partition(pages.begin(), pages.end(), [&](const SettingsPage& page) {
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
