// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/HidDevice.h"

#include <QByteArray>
#include <QSocketNotifier>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

namespace velmorin {

/// What a HID device says that it is.
struct HidUsage {
    quint16 page = 0;
    quint16 usage = 0;

    bool operator==(const HidUsage&) const = default;
};

/// The usage of the first collection that a report descriptor opens (HID 1.11, 6.2.2); none when
/// the descriptor is cut off before it, or gives it no usage.
[[nodiscard]] std::optional<HidUsage> primaryUsage(const QByteArray& reportDescriptor);

/// A hidraw device (the kernel's Documentation/hid/hidraw.rst): each read gives one input report,
/// with its number first when the device numbers its reports. The options of open and close mean
/// nothing here. Qt has one run-loop mode, which stands for both.
class HidrawDevice final : public HidDevice {
public:
    /// The folders "class/hidraw/hidrawN" below `sysfsRoot`, in the order of their numbers.
    [[nodiscard]] static QStringList folders(const QString& sysfsRoot);
    /// What the device of such a folder is, by its file "device/report_descriptor".
    [[nodiscard]] static std::optional<HidUsage> usage(const QString& folder);

    /// The device of such a folder, whose node has its name in `devRoot`.
    HidrawDevice(const QString& folder, const QString& devRoot);
    ~HidrawDevice() override;
    Q_DISABLE_COPY_MOVE(HidrawDevice)

    [[nodiscard]] IOReturn open(quint32 options) override;
    IOReturn close(quint32 options) override;
    void registerInputReportCallback(std::span<quint8> buffer, InputReportCallback callback,
                                     void* context) override;
    [[nodiscard]] bool scheduleWithMainRunLoop(RunLoopMode mode) override;
    void unscheduleFromMainRunLoop(RunLoopMode mode) override;

private:
    void listen();
    void readReport();

    const QString m_node;
    int m_descriptor = -1;
    bool m_isScheduled = false;
    std::span<quint8> m_buffer;
    InputReportCallback m_callback = nullptr;
    void* m_context = nullptr;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace velmorin
