// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSize>
#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <memory>

namespace velmorin {

/// What a window, or a part of one, shows: a QML component and the initial values of its
/// properties. A view without a source is the empty view. Views may stand in properties of views.
class View {
    Q_GADGET
    Q_PROPERTY(QUrl source MEMBER source)
    Q_PROPERTY(QVariantMap properties MEMBER properties)

public:
    QUrl source;
    QVariantMap properties;

    bool operator==(const View&) const = default;
};

/// Hears what the user does with a window.
class WindowDelegate {
public:
    virtual ~WindowDelegate() = default;

    virtual void windowWillClose() = 0;
};

/// A titled window that can be closed, minimised and resized. Closing only hides it: it keeps its
/// contents and their state, and can be ordered front again. Main thread.
class Window {
public:
    virtual ~Window() = default;

    virtual void setTitle(const QString& title) = 0;
    /// What fills the window. Its items may be made only when the window has first been drawn.
    virtual void setContentView(const View& view) = 0;
    virtual void setMinSize(const QSize& size) = 0;
    /// Puts it in the middle of the screen.
    virtual void center() = 0;
    /// From now on the frame is stored under `name` in the standard defaults as it changes. A frame
    /// that is stored there already is taken over at once; one that the user could not reach, on
    /// the screens as they are, is brought back onto one.
    virtual void setFrameAutosaveName(const QString& name) = 0;
    /// Not owned; must outlive the window.
    virtual void setDelegate(WindowDelegate* delegate) = 0;
    /// Shows it, also when it was closed or minimised, above the others and with the focus, as far
    /// as the desktop's rules allow.
    virtual void makeKeyAndOrderFront() = 0;
};

/// Makes windows. Main thread.
class Windows {
public:
    virtual ~Windows() = default;

    /// A new window with contents of that size in device-independent pixels, not yet shown.
    [[nodiscard]] virtual std::shared_ptr<Window> window(const QSize& contentSize) = 0;
};

} // namespace velmorin
