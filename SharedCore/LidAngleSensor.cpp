// SPDX-License-Identifier: MIT
#include "SharedCore/LidAngleSensor.h"
#include "SharedCore/SensorSupport.h"

#include <QByteArray>

#include <utility>

namespace velmorin {

namespace {
constexpr double kOpenAngle = 135; // degrees, as are both
constexpr double kUnknownAngle = 90;
} // namespace

LidAngleSensor::LidAngleSensor(std::shared_ptr<KernelServices> services)
    : m_services(std::move(services)), m_als(m_services) {}

std::optional<double> LidAngleSensor::readDirect() const {
    const KernelServiceRef service =
        m_services->serviceGetMatchingService(QStringLiteral("AppleBacklightDisplay"));
    if (!service) {
        return std::nullopt;
    }
    return numberValue(m_services->registryEntryProperty(service, QStringLiteral("lid-angle")));
}

double LidAngleSensor::readEstimated() {
    if (!m_als.open()) {
        return kUnknownAngle;
    }
    const double level = m_als.readNormalized();
    m_als.close();
    return level * kOpenAngle;
}

double LidAngleSensor::read() {
    const std::optional<double> angle = readDirect();
    return angle ? *angle : readEstimated();
}

bool LidAngleSensor::isMacBook(KernelServices& services) {
    std::size_t size = 0;
    services.sysctlByName("hw.model", nullptr, size);
    QByteArray model(static_cast<qsizetype>(size), '\0');
    services.sysctlByName("hw.model", model.data(), size);
    const qsizetype end = model.indexOf('\0');
    if (end < 0) {
        qFatal("The model's name has no end");
    }
    return QString::fromUtf8(model.first(end)).contains(QStringLiteral("MacBook"));
}

} // namespace velmorin
