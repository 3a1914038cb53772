// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Freedesktop/AtSpiBus.h"

#include <QObject>

namespace velmorin {

/// Offers the user, by a desktop notification with a button (org.freedesktop.Notifications), to
/// switch accessibility on. At most once in the life of the process. Main thread; does not wait.
class AccessibilityOffer : public QObject {
    Q_OBJECT

public:
    explicit AccessibilityOffer(AtSpiBus& bus);

    void show();

private Q_SLOTS:
    void onActionInvoked(uint notification, const QString& action);

private:
    void send();

    AtSpiBus& m_bus;
    bool m_wanted = false;
    bool m_sent = false;
    uint m_notification = 0;
};

} // namespace velmorin
