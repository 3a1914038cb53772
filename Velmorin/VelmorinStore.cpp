// SPDX-License-Identifier: MIT
#include "Velmorin/VelmorinStore.h"

#include "Platform/Platform.h"

#include <limits>
#include <utility>

namespace velmorin {

namespace {
constexpr char countKey[] = "vl.count";
constexpr char modeKey[] = "vl.mode";
} // namespace

VelmorinStore::VelmorinStore(std::shared_ptr<UserDefaults> defaults)
    : m_defaults(std::move(defaults)) {
    setCount(m_defaults->integer(countKey));
    const std::optional<QString> savedMode = m_defaults->string(modeKey);
    if (!savedMode) {
        return;
    }
    if (const std::optional<FlipMode> mode = flipModeFromRawValue(*savedMode)) {
        setFlipMode(*mode);
    }
}

std::shared_ptr<VelmorinStore> VelmorinStore::shared() {
    return Platform::sharedInstance<VelmorinStore>([](const Platform& platform) {
        return std::make_shared<VelmorinStore>(platform.standardUserDefaults);
    });
}

void VelmorinStore::recordConversion() {
    if (m_count == std::numeric_limits<qint64>::max()) {
        qFatal("The conversion counter overflowed");
    }
    setCount(m_count + 1);
    m_defaults->set(countKey, m_count);
}

void VelmorinStore::setFlipMode(FlipMode flipMode) {
    Q_EMIT objectWillChange();
    m_flipMode = flipMode;
    Q_EMIT flipModeChanged();
    m_defaults->set(modeKey, rawValue(m_flipMode));
}

void VelmorinStore::setHotkeyRegistered(bool registered) {
    Q_EMIT objectWillChange();
    m_hotkeyRegistered = registered;
    Q_EMIT hotkeyRegisteredChanged();
}

void VelmorinStore::setCount(qint64 count) {
    Q_EMIT objectWillChange();
    m_count = count;
    Q_EMIT countChanged();
}

} // namespace velmorin
