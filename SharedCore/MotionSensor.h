// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/KernelServices.h"

#include <QString>

#include <memory>

namespace velmorin {

class AppleSPUHIDAccelerometerBackend;

/// The accelerometer: a motion-sensor service of the kernel, or else a HID device that streams.
///
/// `read()` may be called from any thread once it is open; everything else is the main thread's,
/// where the HID device's reports arrive.
class MotionSensor {
public:
    /// Acceleration in units of standard gravity, along the axes that the driver reports. All zero
    /// stands for no reading.
    struct MotionData {
        double x = 0;
        double y = 0;
        double z = 0;

        bool operator==(const MotionData&) const = default;
    };

    explicit MotionSensor(std::shared_ptr<KernelServices> services);
    ~MotionSensor();
    Q_DISABLE_COPY_MOVE(MotionSensor)

    /// Tries the services "IOHIDMotionSensor", "AppleEmbeddedMotionSensor" and "SMCMotionSensor",
    /// then the HID accelerometer, and says on standard output what it found. False when nothing
    /// opened. What was open is not closed: close first. Ends the process when it comes to a HID
    /// accelerometer and there is no main run loop.
    [[nodiscard]] bool open();

    /// A service is asked anew; of a HID device this is the last sample that was kept, one in
    /// eight. All zero when closed, and when the service does not answer.
    [[nodiscard]] MotionData read() const;

    void close();

private:
    [[nodiscard]] bool openService(const QString& className);
    [[nodiscard]] bool openSpuBackend();

    const std::shared_ptr<KernelServices> m_services;
    quint32 m_connect = 0;
    bool m_isOpen = false;
    QString m_sensorType; ///< What was opened last.
    std::unique_ptr<AppleSPUHIDAccelerometerBackend> m_spuBackend;
};

} // namespace velmorin
