// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Application.h"
#include "Platform/Qt/TerminationSignals.h"

#include <QApplication>
#include <QWindow>

#include <functional>

namespace velmorin {

/// The process's QApplication. Makes it, so a display must be there. `argc` and `argv` must outlive
/// it.
class QtApplication : public QObject, public Application {
    Q_OBJECT

public:
    /// Shows a window in the taskbar or hides it there, which Qt has no words for.
    using TaskbarSetter = std::function<void(WId window, bool isInTaskbar)>;

    QtApplication(int& argc, char** argv);

    void setTaskbarSetter(TaskbarSetter setter) { m_setInTaskbar = std::move(setter); }

    void setActivationPolicy(ActivationPolicy policy) override;
    void setDelegate(std::weak_ptr<ApplicationDelegate> delegate) override;
    [[nodiscard]] std::shared_ptr<ApplicationDelegate> delegate() const override;
    void activateIgnoringOtherApps() override;
    [[nodiscard]] int run() override;

    /// The user asks for the application again.
    void reopen();

    /// Whether windows and icons are to be light on dark. Off: as the desktop's own palette is.
    void setPrefersDark(bool prefersDark);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void applyPolicy(const QWindow& window);

    QApplication m_application;
    TerminationSignals m_signals;
    std::weak_ptr<ApplicationDelegate> m_delegate;
    ActivationPolicy m_policy = ActivationPolicy::regular;
    TaskbarSetter m_setInTaskbar;
};

} // namespace velmorin
