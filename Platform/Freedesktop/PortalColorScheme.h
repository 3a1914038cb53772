// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusMessage>
#include <QObject>

#include <functional>

namespace velmorin {

/// Follows the desktop's colour scheme: "color-scheme" of "org.freedesktop.appearance" in the
/// settings portal (org.freedesktop.portal.Settings). Main thread.
class PortalColorScheme : public QObject {
    Q_OBJECT

public:
    /// `onChange` is told whether dark is preferred.
    explicit PortalColorScheme(std::function<void(bool prefersDark)> onChange);

    /// Begins. Does not wait: without a portal nothing ever changes.
    void follow();

private Q_SLOTS:
    void onSettingChanged(const QDBusMessage& signal);

private:
    void read();
    void take(const QVariant& value);

    std::function<void(bool)> m_onChange;
    bool m_prefersDark = false;
};

} // namespace velmorin
