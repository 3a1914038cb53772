// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/KernelServices.h"

#include <map>
#include <mutex>

namespace velmorin {

/// The kernel's sensors in sysfs, as the services that stand for them. Devices appear and vanish:
/// each look-up looks anew. A file that holds garbage reads as zero; one that is gone is
/// `kIOReturnNoDevice`.
///
/// - "AppleLMUController", scalar method 0: the file "light" of the applesmc driver
///   ("(left,right)", 0 to 255 each), or else an IIO device's illuminance, the same in both
///   channels. See `lightUnitsPerCount` and `lightUnitsPerLux`.
/// - "SMCMotionSensor", struct method 5: the file "position" of applesmc ("(x,y,z)", 256 to one
///   unit of standard gravity), or else an IIO device's acceleration. The axes are the driver's;
///   IIO's mount matrix is not applied.
/// - "AppleBacklightDisplay": an IIO device's angle, as the property "lid-angle" in degrees.
/// - "AppleSPUHIDDevice": every hidraw device, with the properties "PrimaryUsagePage" and
///   "PrimaryUsage".
/// - "hw.model": the DMI product name; empty where there is no DMI.
///
/// Other classes have no services, and no property can be set. Sources, in the kernel's tree:
/// drivers/hwmon/applesmc.c, Documentation/ABI/testing/sysfs-bus-iio,
/// drivers/firmware/dmi-id.c, Documentation/hid/hidraw.rst.
class SysfsKernelServices final : public KernelServices {
public:
    /// What is 1 after normalisation is applesmc's greatest count, 255 ...
    static constexpr double lightUnitsPerCount = 50'000'000.0 / 255;
    /// ... or 1000 lux, an overcast day: this project's choice, IIO has no greatest illuminance.
    static constexpr double lightUnitsPerLux = 50'000'000.0 / 1000;

    explicit SysfsKernelServices(QString sysfsRoot = QStringLiteral("/sys"),
                                 QString devRoot = QStringLiteral("/dev"));
    ~SysfsKernelServices() override;

    [[nodiscard]] KernelServiceRef serviceGetMatchingService(const QString& className) override;
    [[nodiscard]] IOReturn
    serviceGetMatchingServices(const QString& className,
                               std::vector<KernelServiceRef>& services) override;
    [[nodiscard]] IOReturn serviceOpen(const KernelServiceRef& service, quint32 type,
                                       quint32& connect) override;
    IOReturn serviceClose(quint32 connect) override;
    IOReturn connectCallScalarMethod(quint32 connect, quint32 selector,
                                     std::span<const quint64> input, quint64* output,
                                     quint32& outputCount) override;
    IOReturn connectCallStructMethod(quint32 connect, quint32 selector,
                                     std::span<const quint8> input, quint8* output,
                                     std::size_t& outputSize) override;
    [[nodiscard]] QVariant registryEntryProperty(const KernelServiceRef& service,
                                                 const QString& name) override;
    IOReturn setRegistryEntryProperty(const KernelServiceRef& service, const QString& name,
                                      const QVariant& value) override;
    [[nodiscard]] std::shared_ptr<HidDevice>
    hidDeviceCreate(const KernelServiceRef& service) override;
    int sysctlByName(const char* name, char* value, std::size_t& size) override;

private:
    [[nodiscard]] std::vector<KernelServiceRef> matching(const QString& className) const;
    [[nodiscard]] KernelServiceRef connection(quint32 connect);

    const QString m_sysfsRoot;
    const QString m_devRoot;
    std::mutex m_mutex; ///< Guards the connections.
    std::map<quint32, KernelServiceRef> m_connections;
    quint32 m_lastConnect = 0;
};

} // namespace velmorin
