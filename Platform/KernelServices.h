// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/HidDevice.h"

#include <QString>
#include <QVariant>

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace velmorin {

/// Opaque: a service of the kernel's registry. Destroying the last reference releases it.
class KernelService {
public:
    virtual ~KernelService() = default;
};
using KernelServiceRef = std::shared_ptr<KernelService>;

/// The kernel's registry of drivers, the connections to them, and the facts about the machine.
///
/// The classes, selectors, records and properties are those of IOKit's drivers; each back end says
/// what stands for them on its system. Every call is synchronous, asks the driver anew and keeps
/// nothing. Any thread, except for the HID devices that it makes.
class KernelServices {
public:
    virtual ~KernelServices() = default;

    /// The first service of that class; null when there is none.
    [[nodiscard]] virtual KernelServiceRef serviceGetMatchingService(const QString& className) = 0;

    /// Fills `services` with all services of that class, in the registry's order; there being none
    /// is a success. An error leaves it as it was.
    [[nodiscard]] virtual IOReturn
    serviceGetMatchingServices(const QString& className,
                               std::vector<KernelServiceRef>& services) = 0;

    /// Opens a connection from this process and puts its number, never 0, into `connect`. An error
    /// leaves `connect` as it was.
    [[nodiscard]] virtual IOReturn serviceOpen(const KernelServiceRef& service, quint32 type,
                                               quint32& connect) = 0;
    /// `kIOReturnBadArgument` when there is no such connection.
    virtual IOReturn serviceClose(quint32 connect) = 0;

    /// Calls the method `selector`. `outputCount` says how many outputs there is room for, and then
    /// how many were written. An error writes nothing.
    virtual IOReturn connectCallScalarMethod(quint32 connect, quint32 selector,
                                             std::span<const quint64> input, quint64* output,
                                             quint32& outputCount) = 0;
    /// The same with records; `outputSize` is in bytes.
    virtual IOReturn connectCallStructMethod(quint32 connect, quint32 selector,
                                             std::span<const quint8> input, quint8* output,
                                             std::size_t& outputSize) = 0;

    /// A property of the service as a property-list value; invalid when it has none of that name.
    [[nodiscard]] virtual QVariant registryEntryProperty(const KernelServiceRef& service,
                                                         const QString& name) = 0;
    virtual IOReturn setRegistryEntryProperty(const KernelServiceRef& service, const QString& name,
                                              const QVariant& value) = 0;

    /// A device on the service, not yet open; null when the service is no HID device.
    [[nodiscard]] virtual std::shared_ptr<HidDevice>
    hidDeviceCreate(const KernelServiceRef& service) = 0;

    /// Writes the named fact into the `size` bytes at `value`, and puts into `size` how many bytes
    /// it has; without `value` only the latter. A text includes its final NUL. 0, or -1 when there
    /// is no such fact, which changes nothing, or not enough room.
    virtual int sysctlByName(const char* name, char* value, std::size_t& size) = 0;
};

} // namespace velmorin
