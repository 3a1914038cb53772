// SPDX-License-Identifier: MIT
#include "Platform/Qt/QtApplication.h"

#include <QEvent>
#include <QPalette>
#include <QTimer>

#include <utility>

namespace velmorin {

namespace {

/// The application's windows that the user sees, without icons in trays and the like.
QWindowList visibleWindows() {
    QWindowList windows = QGuiApplication::topLevelWindows();
    windows.removeIf([](const QWindow* window) {
        return !window->isVisible() || window->type() != Qt::Window ||
               window->flags().testFlag(Qt::BypassWindowManagerHint) ||
               window->windowStates().testFlag(Qt::WindowMinimized);
    });
    return windows;
}

QPalette darkPalette() {
    return {QColor(0xffffff), QColor(0x4a4a4a), QColor(0x6a6a6a),
            QColor(0x161616), QColor(0x303030), QColor(0xffffff),
            QColor(0xffffff), QColor(0x161616), QColor(0x1e1e1e)};
}

} // namespace

QtApplication::QtApplication(int& argc, char** argv) : m_application(argc, argv) {
    // Whether the last window's closing is the end is the delegate's decision.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    connect(&m_application, &QGuiApplication::lastWindowClosed, this, [this] {
        const auto delegate = m_delegate.lock();
        if (delegate && delegate->applicationShouldTerminateAfterLastWindowClosed()) {
            QCoreApplication::quit();
        }
    });
    m_application.installEventFilter(this);
    connect(&m_signals, &TerminationSignals::received, &m_application, &QCoreApplication::quit);
}

void QtApplication::setActivationPolicy(ActivationPolicy policy) {
    if (std::exchange(m_policy, policy) == policy) {
        return;
    }
    for (const QWindow* window : visibleWindows()) {
        applyPolicy(*window);
    }
}

bool QtApplication::eventFilter(QObject* watched, QEvent* event) {
    // A window that has just been mapped is regular.
    if (event->type() == QEvent::Expose && m_policy != ActivationPolicy::regular) {
        const auto* window = qobject_cast<QWindow*>(watched);
        if (window != nullptr && window->isExposed() && visibleWindows().contains(window)) {
            applyPolicy(*window);
        }
    }
    return QObject::eventFilter(watched, event);
}

void QtApplication::applyPolicy(const QWindow& window) {
    if (m_setInTaskbar) {
        m_setInTaskbar(window.winId(), m_policy == ActivationPolicy::regular);
    }
}

void QtApplication::setDelegate(std::weak_ptr<ApplicationDelegate> delegate) {
    m_delegate = std::move(delegate);
}

std::shared_ptr<ApplicationDelegate> QtApplication::delegate() const {
    return m_delegate.lock();
}

void QtApplication::activateIgnoringOtherApps() {
    const QWindowList windows = visibleWindows();
    for (QWindow* window : windows) {
        window->raise();
    }
    if (!windows.isEmpty()) {
        windows.constLast()->requestActivate();
    }
}

int QtApplication::run() {
    QTimer::singleShot(0, this, [this] {
        if (const auto delegate = m_delegate.lock()) {
            delegate->applicationDidFinishLaunching();
        }
    });
    return QCoreApplication::exec();
}

void QtApplication::reopen() {
    const auto delegate = m_delegate.lock();
    if (delegate && delegate->applicationShouldHandleReopen(!visibleWindows().isEmpty())) {
        activateIgnoringOtherApps();
    }
}

void QtApplication::setPrefersDark(bool prefersDark) {
    QGuiApplication::setPalette(prefersDark ? darkPalette() : QPalette());
}

} // namespace velmorin
