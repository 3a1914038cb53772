// SPDX-License-Identifier: MIT
#include "SharedCore/AppleSPUHIDAccelerometerBackend.h"
#include "SharedCore/SensorSupport.h"

#include <QtEndian>

#include <limits>
#include <utility>
#include <vector>

namespace velmorin {

namespace {
constexpr double kUsagePage = 0xFF00; // vendor-defined
constexpr double kUsage = 3;
constexpr std::size_t kReportLength = 22;
constexpr double kReportScale = 1.0 / 65536;
constexpr qint64 kDecimation = 8;
} // namespace

AppleSPUHIDAccelerometerBackend::AppleSPUHIDAccelerometerBackend(
    std::shared_ptr<KernelServices> services)
    : m_services(std::move(services)) {}

AppleSPUHIDAccelerometerBackend::~AppleSPUHIDAccelerometerBackend() {
    close();
}

void AppleSPUHIDAccelerometerBackend::wakeSPUDrivers(KernelServices& services) {
    std::vector<KernelServiceRef> drivers;
    if (services.serviceGetMatchingServices(QStringLiteral("AppleSPUHIDDriver"), drivers) !=
        kIOReturnSuccess) {
        return;
    }
    for (const KernelServiceRef& driver : drivers) {
        services.setRegistryEntryProperty(driver, QStringLiteral("SensorPropertyReportingState"),
                                          qint32{1});
        services.setRegistryEntryProperty(driver, QStringLiteral("SensorPropertyPowerState"),
                                          qint32{1});
        services.setRegistryEntryProperty(driver, QStringLiteral("ReportInterval"), qint32{1000});
    }
}

bool AppleSPUHIDAccelerometerBackend::open() {
    close();
    wakeSPUDrivers(*m_services);
    std::vector<KernelServiceRef> services;
    if (m_services->serviceGetMatchingServices(QStringLiteral("AppleSPUHIDDevice"), services) !=
        kIOReturnSuccess) {
        return false;
    }
    std::shared_ptr<HidDevice> device;
    for (auto service = services.begin(); service != services.end() && !device; ++service) {
        device = openAccelerometer(*service);
    }
    if (!device) {
        return false;
    }
    auto buffer = std::make_unique<ReportBuffer>();
    device->registerInputReportCallback(*buffer, inputReport, this);
    if (!device->scheduleWithMainRunLoop(RunLoopMode::defaultMode)) {
        qFatal("There is no main run loop for the accelerometer");
    }
    hidDevice = std::move(device);
    reportBuffer = std::move(buffer);
    return true;
}

/// The open device, if the service is an accelerometer and opens.
std::shared_ptr<HidDevice>
AppleSPUHIDAccelerometerBackend::openAccelerometer(const KernelServiceRef& service) {
    const auto number = [&](const QString& name) {
        return numberValue(m_services->registryEntryProperty(service, name));
    };
    if (number(QStringLiteral("PrimaryUsagePage")) != kUsagePage ||
        number(QStringLiteral("PrimaryUsage")) != kUsage) {
        return nullptr;
    }
    std::shared_ptr<HidDevice> device = m_services->hidDeviceCreate(service);
    return device && device->open(0) == kIOReturnSuccess ? device : nullptr;
}

void AppleSPUHIDAccelerometerBackend::inputReport(void* context, IOReturn result,
                                                  std::span<const quint8> report) {
    if (result == kIOReturnSuccess && context && report.size() == kReportLength) {
        static_cast<AppleSPUHIDAccelerometerBackend*>(context)->keep(report);
    }
}

void AppleSPUHIDAccelerometerBackend::keep(std::span<const quint8> report) {
    if (decimationTick == std::numeric_limits<qint64>::max()) {
        qFatal("The count of accelerometer reports overflowed");
    }
    ++decimationTick;
    if (decimationTick % kDecimation != 0) {
        return;
    }
    const auto axis = [report](std::size_t offset) {
        return qFromLittleEndian<qint32>(report.data() + offset) * kReportScale;
    };
    const MotionSensor::MotionData sample{axis(6), axis(10), axis(14)};
    const std::lock_guard guard(lock);
    latest = sample;
}

void AppleSPUHIDAccelerometerBackend::close() {
    if (hidDevice) {
        if (reportBuffer) {
            hidDevice->registerInputReportCallback(*reportBuffer, nullptr, nullptr);
        }
        hidDevice->unscheduleFromMainRunLoop(RunLoopMode::defaultMode);
        hidDevice->close(0);
        hidDevice.reset();
    }
    reportBuffer.reset();
}

} // namespace velmorin
