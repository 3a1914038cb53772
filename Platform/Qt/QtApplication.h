// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Application.h"
#include "Platform/Qt/TerminationSignals.h"

#include <QApplication>

namespace velmorin {

/// The process's QApplication. Makes it, so a display must be there. `argc` and `argv` must outlive
/// it.
class QtApplication : public QObject, public Application {
    Q_OBJECT

public:
    QtApplication(int& argc, char** argv);

    void setActivationPolicy(ActivationPolicy policy) override;
    void setDelegate(std::weak_ptr<ApplicationDelegate> delegate) override;
    [[nodiscard]] std::shared_ptr<ApplicationDelegate> delegate() const override;
    void activateIgnoringOtherApps() override;
    [[nodiscard]] int run() override;

    /// The user asks for the application again.
    void reopen();

    /// Whether windows and icons are to be light on dark. Off: as the desktop's own palette is.
    void setPrefersDark(bool prefersDark);

private:
    QApplication m_application;
    TerminationSignals m_signals;
    std::weak_ptr<ApplicationDelegate> m_delegate;
};

} // namespace velmorin
