// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusVirtualObject>

#include <functional>

namespace velmorin {

/// One instance of the application in a session: the owner of its name on the session bus, where it
/// is an org.freedesktop.Application (freedesktop.org's "D-Bus Activation"). Whatever it
/// is asked there means the same: the user wants the application. Main thread.
class SingleInstance : public QDBusVirtualObject {
    Q_OBJECT

public:
    /// `activate` is called, from the event loop, for every request.
    explicit SingleInstance(std::function<void()> activate);
    ~SingleInstance() override;

    enum class Outcome {
        first,      ///< This one is the instance. Also where there is no session bus.
        handedOver, ///< Another one is, and was asked to come to the front.
        noAnswer,   ///< Another one is, and does not answer.
    };
    /// Waits 5 s at most.
    [[nodiscard]] Outcome acquire();

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    std::function<void()> m_activate;
};

} // namespace velmorin
