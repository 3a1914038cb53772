// SPDX-License-Identifier: MIT
#include "SharedCore/AmbientLightSensor.h"
#include "SharedCore/SensorSupport.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace velmorin {

namespace {
constexpr quint32 kReadLight = 0; ///< Selector: no inputs, one output a channel.
constexpr double kFullLight = 50'000'000;
} // namespace

AmbientLightSensor::AmbientLightSensor(std::shared_ptr<KernelServices> services)
    : m_services(std::move(services)) {}

AmbientLightSensor::~AmbientLightSensor() {
    close();
}

bool AmbientLightSensor::open() {
    const KernelServiceRef service =
        m_services->serviceGetMatchingService(QStringLiteral("AppleLMUController"));
    if (!service) {
        printLine("⚠️ AmbientLightSensor: AppleLMUController not found");
        return false;
    }
    m_isOpen = m_services->serviceOpen(service, 0, m_connect) == kIOReturnSuccess;
    return m_isOpen;
}

quint64 AmbientLightSensor::readRaw() const {
    if (!m_isOpen) {
        return 0;
    }
    std::array<quint64, 2> channels{};
    auto count = static_cast<quint32>(channels.size());
    m_services->connectCallScalarMethod(m_connect, kReadLight, {}, channels.data(), count);
    if (channels[0] > std::numeric_limits<quint64>::max() - channels[1]) {
        qFatal("The sum of the light channels overflowed");
    }
    return (channels[0] + channels[1]) / 2;
}

double AmbientLightSensor::readNormalized() const {
    return std::min(static_cast<double>(readRaw()) / kFullLight, 1.0);
}

void AmbientLightSensor::close() {
    if (m_isOpen) {
        m_services->serviceClose(m_connect);
    }
    m_isOpen = false;
}

} // namespace velmorin
