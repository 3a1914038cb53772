// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/UserDefaults.h"
#include "Velmorin/FlipMode.h"

#include <QObject>

#include <memory>

namespace velmorin {

/// The application's state: the number of conversions and the direction, which are saved on every
/// change and read once, when the store is created; and whether the hotkey is registered.
/// Main thread.
///
/// Every assignment emits `objectWillChange()` before it and the property's own signal after it,
/// also when the value stays the same.
class VelmorinStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(qint64 count READ count NOTIFY countChanged)
    Q_PROPERTY(velmorin::FlipMode flipMode READ flipMode WRITE setFlipMode NOTIFY flipModeChanged)
    Q_PROPERTY(bool hotkeyRegistered READ hotkeyRegistered WRITE setHotkeyRegistered NOTIFY
                   hotkeyRegisteredChanged)

public:
    explicit VelmorinStore(std::shared_ptr<UserDefaults> defaults);

    /// The process's store, created on first use.
    [[nodiscard]] static std::shared_ptr<VelmorinStore> shared();

    /// Adds one to `count` and saves it. Ends the process when the counter is full.
    void recordConversion();

    [[nodiscard]] qint64 count() const { return m_count; }

    [[nodiscard]] FlipMode flipMode() const { return m_flipMode; }
    void setFlipMode(FlipMode flipMode);

    [[nodiscard]] bool hotkeyRegistered() const { return m_hotkeyRegistered; }
    void setHotkeyRegistered(bool registered);

Q_SIGNALS:
    void objectWillChange();
    void countChanged();
    void flipModeChanged();
    void hotkeyRegisteredChanged();

private:
    void setCount(qint64 count);

    std::shared_ptr<UserDefaults> m_defaults;
    qint64 m_count = 0;
    FlipMode m_flipMode = FlipMode::auto_;
    bool m_hotkeyRegistered = false;
};

} // namespace velmorin
