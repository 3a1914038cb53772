// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/HidDevice.h"

#include <QStringList>

#include <algorithm>
#include <vector>

namespace velmorin {

/// A HID device whose reports the test makes, with a journal of the calls. Main thread.
class MemoryHidDevice final : public HidDevice {
public:
    [[nodiscard]] IOReturn open(quint32 options) override {
        journal << QStringLiteral("open %1").arg(options);
        return openStatus;
    }

    IOReturn close(quint32 options) override {
        journal << QStringLiteral("close %1").arg(options);
        return kIOReturnSuccess;
    }

    void registerInputReportCallback(std::span<quint8> buffer, InputReportCallback callback,
                                     void* context) override {
        journal << QStringLiteral("%1 %2")
                       .arg(callback ? QStringLiteral("register") : QStringLiteral("unregister"))
                       .arg(buffer.size());
        m_buffer = buffer;
        m_callback = callback;
        m_context = context;
    }

    [[nodiscard]] bool scheduleWithMainRunLoop(RunLoopMode mode) override {
        journal << QStringLiteral("schedule ") + name(mode);
        m_isScheduled = hasRunLoop;
        return hasRunLoop;
    }

    void unscheduleFromMainRunLoop(RunLoopMode mode) override {
        journal << QStringLiteral("unschedule ") + name(mode);
        m_isScheduled = false;
    }

    /// The device sends a report, which arrives if anyone listens.
    void send(const std::vector<quint8>& report, IOReturn result = kIOReturnSuccess) {
        if (m_isScheduled && m_callback) {
            const std::size_t size = std::min(report.size(), m_buffer.size());
            std::copy_n(report.begin(), size, m_buffer.begin());
            m_callback(m_context, result, m_buffer.first(size));
        }
    }

    QStringList journal;
    IOReturn openStatus = kIOReturnSuccess; ///< What `open()` answers.
    bool hasRunLoop = true;                 ///< What `scheduleWithMainRunLoop()` answers.

private:
    [[nodiscard]] static QString name(RunLoopMode mode) {
        return mode == RunLoopMode::defaultMode ? QStringLiteral("default")
                                                : QStringLiteral("common");
    }

    std::span<quint8> m_buffer;
    InputReportCallback m_callback = nullptr;
    void* m_context = nullptr;
    bool m_isScheduled = false;
};

} // namespace velmorin
