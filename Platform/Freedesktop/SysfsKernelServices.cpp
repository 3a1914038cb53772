// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SysfsKernelServices.h"
#include "Platform/Freedesktop/SysfsFile.h"
#include "Platform/Freedesktop/SysfsSensors.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <utility>

namespace velmorin {

namespace {
constexpr quint32 kReadLight = 0;
constexpr quint32 kReadMotion = 5;
constexpr std::size_t kMotionRecordSize = 40;

/// The service as what it is; null for a null one and for another back end's.
const SysfsSensor* sensor(const KernelServiceRef& service) {
    return dynamic_cast<const SysfsSensor*>(service.get());
}
} // namespace

SysfsKernelServices::SysfsKernelServices(QString sysfsRoot, QString devRoot)
    : m_sysfsRoot(std::move(sysfsRoot)), m_devRoot(std::move(devRoot)) {}

SysfsKernelServices::~SysfsKernelServices() = default;

std::vector<KernelServiceRef> SysfsKernelServices::matching(const QString& className) const {
    if (className == QStringLiteral("AppleLMUController")) {
        return lightSensors(m_sysfsRoot);
    }
    if (className == QStringLiteral("SMCMotionSensor")) {
        return motionSensors(m_sysfsRoot);
    }
    if (className == QStringLiteral("AppleBacklightDisplay")) {
        return hingeSensors(m_sysfsRoot);
    }
    if (className == QStringLiteral("AppleSPUHIDDevice")) {
        return hidSensors(m_sysfsRoot, m_devRoot);
    }
    return {};
}

KernelServiceRef SysfsKernelServices::serviceGetMatchingService(const QString& className) {
    const std::vector<KernelServiceRef> services = matching(className);
    return services.empty() ? nullptr : services.front();
}

IOReturn SysfsKernelServices::serviceGetMatchingServices(const QString& className,
                                                         std::vector<KernelServiceRef>& services) {
    services = matching(className);
    return kIOReturnSuccess;
}

IOReturn SysfsKernelServices::serviceOpen(const KernelServiceRef& service, quint32 /*type*/,
                                          quint32& connect) {
    if (!sensor(service)) {
        return kIOReturnBadArgument;
    }
    if (!sensor(service)->isReadable()) {
        return kIOReturnNotPermitted;
    }
    const std::lock_guard guard(m_mutex);
    connect = ++m_lastConnect;
    m_connections[connect] = service;
    return kIOReturnSuccess;
}

IOReturn SysfsKernelServices::serviceClose(quint32 connect) {
    const std::lock_guard guard(m_mutex);
    return m_connections.erase(connect) == 1 ? kIOReturnSuccess : kIOReturnBadArgument;
}

KernelServiceRef SysfsKernelServices::connection(quint32 connect) {
    const std::lock_guard guard(m_mutex);
    const auto found = m_connections.find(connect);
    return found == m_connections.end() ? nullptr : found->second;
}

IOReturn SysfsKernelServices::connectCallScalarMethod(quint32 connect, quint32 selector,
                                                      std::span<const quint64> /*input*/,
                                                      quint64* output, quint32& outputCount) {
    const KernelServiceRef service = connection(connect);
    if (!service) {
        return kIOReturnBadArgument;
    }
    if (selector != kReadLight) {
        return kIOReturnUnsupported;
    }
    const auto light = sensor(service)->light();
    if (!light) {
        return kIOReturnNoDevice;
    }
    outputCount = std::min(outputCount, static_cast<quint32>(light->size()));
    std::copy_n(light->begin(), outputCount, output);
    return kIOReturnSuccess;
}

IOReturn SysfsKernelServices::connectCallStructMethod(quint32 connect, quint32 selector,
                                                      std::span<const quint8> /*input*/,
                                                      quint8* output, std::size_t& outputSize) {
    const KernelServiceRef service = connection(connect);
    if (!service || outputSize < kMotionRecordSize) {
        return kIOReturnBadArgument;
    }
    if (selector != kReadMotion) {
        return kIOReturnUnsupported;
    }
    const auto motion = sensor(service)->motion();
    if (!motion) {
        return kIOReturnNoDevice;
    }
    outputSize = kMotionRecordSize;
    std::memset(output, 0, kMotionRecordSize);
    qToLittleEndian<qint16>(motion->data(), static_cast<qsizetype>(motion->size()), output);
    return kIOReturnSuccess;
}

QVariant SysfsKernelServices::registryEntryProperty(const KernelServiceRef& service,
                                                    const QString& name) {
    return sensor(service) ? sensor(service)->property(name) : QVariant();
}

IOReturn SysfsKernelServices::setRegistryEntryProperty(const KernelServiceRef& /*service*/,
                                                       const QString& /*name*/,
                                                       const QVariant& /*value*/) {
    return kIOReturnUnsupported;
}

std::shared_ptr<HidDevice> SysfsKernelServices::hidDeviceCreate(const KernelServiceRef& service) {
    return sensor(service) ? sensor(service)->hidDevice() : nullptr;
}

int SysfsKernelServices::sysctlByName(const char* name, char* value, std::size_t& size) {
    if (std::strcmp(name, "hw.model") != 0) {
        return -1;
    }
    const QString file = m_sysfsRoot + QStringLiteral("/class/dmi/id/product_name");
    const QByteArray model = readSysfsFile(file).value_or(QByteArray()).trimmed();
    const std::size_t needed = static_cast<std::size_t>(model.size()) + 1; // with its NUL
    const std::size_t room = std::exchange(size, needed);
    if (value) {
        std::copy_n(model.constData(), std::min(room, needed), value);
    }
    return !value || room >= needed ? 0 : -1;
}

} // namespace velmorin
