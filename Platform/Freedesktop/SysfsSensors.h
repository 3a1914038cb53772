// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Freedesktop/IioChannel.h"
#include "Platform/KernelServices.h"

#include <array>
#include <optional>
#include <vector>

namespace velmorin {

/// A sensor in sysfs, as a service of the kernel. It gives what its kind has; the rest is none.
class SysfsSensor : public KernelService {
public:
    using Light = std::array<quint64, 2>; ///< Both channels, in the light controller's units.
    using Motion = std::array<qint16, 3>; ///< x, y, z, 256 to one unit of standard gravity.

    /// Whether the user may read it.
    [[nodiscard]] virtual bool isReadable() const { return true; }
    /// None also when the sensor is gone.
    [[nodiscard]] virtual std::optional<Light> light() const { return std::nullopt; }
    [[nodiscard]] virtual std::optional<Motion> motion() const { return std::nullopt; }
    [[nodiscard]] virtual QVariant property(const QString& /*name*/) const { return {}; }
    [[nodiscard]] virtual std::shared_ptr<HidDevice> hidDevice() const { return nullptr; }
};

/// The sensors of each kind below a sysfs root, Apple's own driver first.
[[nodiscard]] std::vector<KernelServiceRef> lightSensors(const QString& sysfsRoot);
[[nodiscard]] std::vector<KernelServiceRef> motionSensors(const QString& sysfsRoot);
[[nodiscard]] std::vector<KernelServiceRef> hingeSensors(const QString& sysfsRoot);
[[nodiscard]] std::vector<KernelServiceRef> hidSensors(const QString& sysfsRoot,
                                                       const QString& devRoot);

} // namespace velmorin
