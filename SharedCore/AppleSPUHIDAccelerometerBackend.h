// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/KernelServices.h"
#include "SharedCore/MotionSensor.h"

#include <array>
#include <memory>
#include <mutex>
#include <span>

namespace velmorin {

/// The accelerometer behind the sensor processing unit: a HID device of the usage page 0xFF00 and
/// usage 3, whose input reports of 22 bytes hold x, y and z at 6, 10 and 14 as little-endian fixed
/// point numbers with 16 fraction bits, in units of standard gravity.
///
/// Private to the motion sensor. Main thread, except for `latest` under `lock`.
class AppleSPUHIDAccelerometerBackend {
public:
    using ReportBuffer = std::array<quint8, 4096>;

    explicit AppleSPUHIDAccelerometerBackend(std::shared_ptr<KernelServices> services);
    ~AppleSPUHIDAccelerometerBackend();
    Q_DISABLE_COPY_MOVE(AppleSPUHIDAccelerometerBackend)

    /// Drops the device that was open, wakes the drivers and streams from the first accelerometer
    /// that opens; false when none does. Ends the process when there is no main run loop.
    [[nodiscard]] bool open();
    /// Keeps the last sample and the count of reports.
    void close();

    /// Has the sensor drivers report at their interval; whether they do is their affair.
    static void wakeSPUDrivers(KernelServices& services);

    std::mutex lock;                 ///< Guards `latest`.
    MotionSensor::MotionData latest; ///< Every eighth report's sample.
    std::shared_ptr<HidDevice> hidDevice;
    std::unique_ptr<ReportBuffer> reportBuffer;
    qint64 decimationTick = 0; ///< Valid reports so far; ends the process when full.

private:
    static void inputReport(void* context, IOReturn result, std::span<const quint8> report);
    void keep(std::span<const quint8> report);
    [[nodiscard]] std::shared_ptr<HidDevice> openAccelerometer(const KernelServiceRef& service);

    const std::shared_ptr<KernelServices> m_services;
};

} // namespace velmorin
