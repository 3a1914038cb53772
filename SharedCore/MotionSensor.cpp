// SPDX-License-Identifier: MIT
#include "SharedCore/MotionSensor.h"
#include "SharedCore/AppleSPUHIDAccelerometerBackend.h"
#include "SharedCore/SensorSupport.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

namespace velmorin {

namespace {
constexpr quint32 kReadMotion = 5; ///< Selector: a record in, a record out.
constexpr double kRecordScale = 1.0 / 256;
using MotionRecord = std::array<quint8, 40>;
} // namespace

MotionSensor::MotionSensor(std::shared_ptr<KernelServices> services)
    : m_services(std::move(services)) {}

MotionSensor::~MotionSensor() {
    close();
}

bool MotionSensor::open() {
    const auto classNames = {QStringLiteral("IOHIDMotionSensor"),
                             QStringLiteral("AppleEmbeddedMotionSensor"),
                             QStringLiteral("SMCMotionSensor")};
    return std::any_of(classNames.begin(), classNames.end(),
                       [this](const QString& className) { return openService(className); }) ||
           openSpuBackend();
}

bool MotionSensor::openService(const QString& className) {
    const KernelServiceRef service = m_services->serviceGetMatchingService(className);
    if (!service || m_services->serviceOpen(service, 0, m_connect) != kIOReturnSuccess) {
        return false;
    }
    m_sensorType = className;
    m_isOpen = true;
    printLine("✅ MotionSensor: Opened " + className.toUtf8());
    return true;
}

bool MotionSensor::openSpuBackend() {
    auto backend = std::make_unique<AppleSPUHIDAccelerometerBackend>(m_services);
    if (!backend->open()) {
        printLine("⚠️ MotionSensor: No accelerometer found (desktop Mac or unsupported model)");
        return false;
    }
    m_spuBackend = std::move(backend);
    m_sensorType = QStringLiteral("AppleSPUHIDDevice(accel)");
    m_isOpen = true;
    printLine("✅ MotionSensor: Opened Apple SPU HID accelerometer (experimental)");
    return true;
}

MotionSensor::MotionData MotionSensor::read() const {
    if (!m_isOpen) {
        return {};
    }
    if (m_spuBackend) {
        const std::lock_guard guard(m_spuBackend->lock);
        return m_spuBackend->latest;
    }
    const MotionRecord input{};
    MotionRecord output{};
    std::size_t size = output.size();
    m_services->connectCallStructMethod(m_connect, kReadMotion, input, output.data(), size);
    const auto axis = [&output](std::size_t offset) {
        return qFromLittleEndian<qint16>(output.data() + offset) * kRecordScale;
    };
    return {axis(0), axis(2), axis(4)};
}

void MotionSensor::close() {
    if (m_spuBackend) {
        m_spuBackend->close();
        m_spuBackend.reset();
    }
    if (m_connect != 0) {
        m_services->serviceClose(m_connect);
    }
    m_connect = 0;
    m_isOpen = false;
}

} // namespace velmorin
