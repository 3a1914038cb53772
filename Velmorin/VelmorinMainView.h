// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"
#include "Velmorin/LiveLog.h"
#include "Velmorin/LogLines.h"
#include "Velmorin/VelmorinStore.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace velmorin {

/// The application's own contents of the main window: what they show, and what their controls do.
/// Has no state of its own. Main thread.
class VelmorinMainView : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(MainViewModel)
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(bool hotkeyRegistered READ hotkeyRegistered NOTIFY statusChanged)
    /// Read from the system at every notification; nothing notifies of the permission itself.
    Q_PROPERTY(bool processTrusted READ isProcessTrusted NOTIFY statusChanged)
    /// Decimal, in full, without grouping.
    Q_PROPERTY(QString count READ count NOTIFY countChanged)
    /// The place of the direction in declaration order.
    Q_PROPERTY(int flipMode READ flipMode WRITE setFlipMode NOTIFY flipModeChanged)
    Q_PROPERTY(velmorin::LogLines* logLines READ logLines CONSTANT)

public:
    /// The colours of log lines.
    enum LineColor { secondary, red, green, orange };
    Q_ENUM(LineColor)

    VelmorinMainView(const Platform& platform, std::shared_ptr<VelmorinStore> store,
                     std::shared_ptr<LiveLog> log);

    /// The view tree. This object must outlive it.
    [[nodiscard]] View body();

    [[nodiscard]] static LineColor colorFor(const QString& line);

    [[nodiscard]] bool hotkeyRegistered() const { return m_store->hotkeyRegistered(); }
    [[nodiscard]] bool isProcessTrusted() const {
        return m_platform.accessibility->isProcessTrusted();
    }
    [[nodiscard]] QString count() const { return QString::number(m_store->count()); }
    [[nodiscard]] int flipMode() const { return static_cast<int>(m_store->flipMode()); }
    void setFlipMode(int mode);
    [[nodiscard]] LogLines* logLines() { return &m_logLines; }

    /// Flips 3 s from now, in whatever has the focus then. Every call flips once.
    Q_INVOKABLE void testFlip();
    Q_INVOKABLE void clearLog();
    Q_INVOKABLE void openAccessibilitySettings();

Q_SIGNALS:
    /// Once a turn of the main queue, however much has changed.
    void statusChanged();
    void countChanged();
    void flipModeChanged();

private:
    void redrawStatus();

    const Platform m_platform;
    std::shared_ptr<VelmorinStore> m_store;
    std::shared_ptr<LiveLog> m_log;
    LogLines m_logLines;
    bool m_isRedrawPending = false;
};

} // namespace velmorin
