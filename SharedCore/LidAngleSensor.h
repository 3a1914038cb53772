// SPDX-License-Identifier: MIT
#pragma once

#include "SharedCore/AmbientLightSensor.h"

#include <memory>
#include <optional>

namespace velmorin {

/// The angle between keyboard and display, in degrees. One thread.
class LidAngleSensor {
public:
    explicit LidAngleSensor(std::shared_ptr<KernelServices> services);

    /// What the hardware measures: the property "lid-angle" of the service "AppleBacklightDisplay".
    /// None when there is no such service, or its property is no number.
    [[nodiscard]] std::optional<double> readDirect() const;

    /// A guess from the ambient light, since a closing lid darkens the sensor: 0 in the dark, 135
    /// in full light, 90 when there is no light sensor.
    [[nodiscard]] double readEstimated();

    /// `readDirect()` where there is one, else `readEstimated()`.
    [[nodiscard]] double read();

    /// Whether the model's name, "hw.model", contains "MacBook", in these letters. Ends the process
    /// when the name has no final NUL.
    [[nodiscard]] static bool isMacBook(KernelServices& services);

private:
    const std::shared_ptr<KernelServices> m_services;
    AmbientLightSensor m_als;
};

} // namespace velmorin
