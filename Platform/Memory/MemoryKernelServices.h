// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/KernelServices.h"
#include "Platform/Memory/MemoryHidDevice.h"

#include <QByteArray>
#include <QHash>
#include <QStringList>
#include <QVariantMap>

#include <algorithm>
#include <array>
#include <map>

namespace velmorin {

/// A service that a test makes up.
class MemoryKernelService final : public KernelService {
public:
    QString className;
    IOReturn openStatus = kIOReturnSuccess;
    IOReturn methodStatus = kIOReturnSuccess; ///< Of both methods.
    std::array<quint64, 2> scalars{};         ///< What the scalar method gives.
    std::vector<quint8> record;               ///< What the struct method gives.
    QVariantMap properties;                   ///< Those that are set are not put here.
    std::shared_ptr<MemoryHidDevice> hidDevice;
};

/// A registry of made-up services, with a journal of the calls. One thread.
class MemoryKernelServices final : public KernelServices {
public:
    /// A new service, after those of its class that there are.
    MemoryKernelService& add(const QString& className) {
        m_services.push_back(std::make_shared<MemoryKernelService>());
        m_services.back()->className = className;
        return *m_services.back();
    }

    [[nodiscard]] KernelServiceRef serviceGetMatchingService(const QString& className) override {
        journal << QStringLiteral("match ") + className;
        const auto found = std::find_if(m_services.begin(), m_services.end(),
                                        [&](const auto& s) { return s->className == className; });
        return found == m_services.end() ? nullptr : *found;
    }

    [[nodiscard]] IOReturn
    serviceGetMatchingServices(const QString& className,
                               std::vector<KernelServiceRef>& services) override {
        journal << QStringLiteral("match all ") + className;
        const IOReturn status = matchStatus.value(className, kIOReturnSuccess);
        if (status == kIOReturnSuccess) {
            services.clear();
            std::copy_if(m_services.begin(), m_services.end(), std::back_inserter(services),
                         [&](const auto& s) { return s->className == className; });
        }
        return status;
    }

    [[nodiscard]] IOReturn serviceOpen(const KernelServiceRef& service, quint32 type,
                                       quint32& connect) override {
        const auto opened = std::static_pointer_cast<MemoryKernelService>(service);
        journal << QStringLiteral("open %1 %2").arg(opened->className).arg(type);
        if (opened->openStatus == kIOReturnSuccess) {
            connect = m_nextConnect++;
            m_connections[connect] = opened;
        }
        return opened->openStatus;
    }

    IOReturn serviceClose(quint32 connect) override {
        journal << QStringLiteral("close %1").arg(connect);
        return m_connections.erase(connect) == 1 ? kIOReturnSuccess : kIOReturnBadArgument;
    }

    IOReturn connectCallScalarMethod(quint32 connect, quint32 selector,
                                     std::span<const quint64> input, quint64* output,
                                     quint32& outputCount) override {
        journal << QStringLiteral("scalar %1 %2 in %3 out %4")
                       .arg(connect)
                       .arg(selector)
                       .arg(input.size())
                       .arg(outputCount);
        const auto service = m_connections.find(connect);
        if (service == m_connections.end()) {
            return kIOReturnBadArgument;
        }
        if (service->second->methodStatus == kIOReturnSuccess) {
            outputCount = std::min<quint32>(outputCount, 2);
            std::copy_n(service->second->scalars.begin(), outputCount, output);
        }
        return service->second->methodStatus;
    }

    IOReturn connectCallStructMethod(quint32 connect, quint32 selector,
                                     std::span<const quint8> input, quint8* output,
                                     std::size_t& outputSize) override {
        const bool isZero =
            std::all_of(input.begin(), input.end(), [](quint8 b) { return b == 0; });
        journal << QStringLiteral("struct %1 %2 in %3%4 out %5")
                       .arg(connect)
                       .arg(selector)
                       .arg(input.size())
                       .arg(isZero ? QStringLiteral(" zeros") : QString())
                       .arg(outputSize);
        const auto service = m_connections.find(connect);
        if (service == m_connections.end()) {
            return kIOReturnBadArgument;
        }
        if (service->second->methodStatus == kIOReturnSuccess) {
            outputSize = std::min(outputSize, service->second->record.size());
            std::copy_n(service->second->record.begin(), outputSize, output);
        }
        return service->second->methodStatus;
    }

    [[nodiscard]] QVariant registryEntryProperty(const KernelServiceRef& service,
                                                 const QString& name) override {
        return std::static_pointer_cast<MemoryKernelService>(service)->properties.value(name);
    }

    IOReturn setRegistryEntryProperty(const KernelServiceRef&, const QString& name,
                                      const QVariant& value) override {
        journal << QStringLiteral("set %1 %2 %3")
                       .arg(name, QString::fromLatin1(value.typeName()), value.toString());
        return setStatus;
    }

    [[nodiscard]] std::shared_ptr<HidDevice>
    hidDeviceCreate(const KernelServiceRef& service) override {
        return std::static_pointer_cast<MemoryKernelService>(service)->hidDevice;
    }

    int sysctlByName(const char* name, char* value, std::size_t& size) override {
        if (!sysctls.contains(QByteArray(name))) {
            return -1;
        }
        const QByteArray bytes = sysctls.value(QByteArray(name));
        const std::size_t needed = static_cast<std::size_t>(bytes.size());
        const bool fits = !value || size >= needed;
        if (value) {
            std::copy_n(bytes.begin(), std::min(size, needed), value);
        }
        size = needed;
        return fits ? 0 : -1;
    }

    /// How many connections are open.
    [[nodiscard]] std::size_t connectionCount() const { return m_connections.size(); }

    QStringList journal;
    QHash<QString, IOReturn> matchStatus; ///< What looking for all of a class answers.
    IOReturn setStatus = kIOReturnSuccess;
    QHash<QByteArray, QByteArray> sysctls; ///< With their final NUL.

private:
    std::vector<std::shared_ptr<MemoryKernelService>> m_services;
    std::map<quint32, std::shared_ptr<MemoryKernelService>> m_connections;
    quint32 m_nextConnect = 1;
};

} // namespace velmorin
