// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/KernelServices.h"

#include <memory>

namespace velmorin {

/// The ambient-light controller, service class "AppleLMUController". One thread.
class AmbientLightSensor {
public:
    explicit AmbientLightSensor(std::shared_ptr<KernelServices> services);
    ~AmbientLightSensor();
    Q_DISABLE_COPY_MOVE(AmbientLightSensor)

    /// Connects to the controller. False, and a line on standard output, when there is none; false
    /// alone when it does not open. A connection that was open is not closed: close first.
    [[nodiscard]] bool open();

    /// The mean of the two light channels, in the controller's units; 0 when closed and when the
    /// controller does not answer. Ends the process when the sum of both overflows 64 bits.
    [[nodiscard]] quint64 readRaw() const;

    /// The same between 0 and 1, where 1 is 50 000 000 of the controller's units and above.
    [[nodiscard]] double readNormalized() const;

    void close();

private:
    const std::shared_ptr<KernelServices> m_services;
    quint32 m_connect = 0;
    bool m_isOpen = false;
};

} // namespace velmorin
