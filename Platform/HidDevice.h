// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <span>

namespace velmorin {

/// The result of a driver's operation: 0 is success. The numbers are those of IOKit's IOReturn.h.
using IOReturn = qint32;

inline constexpr IOReturn kIOReturnSuccess = 0;
inline constexpr IOReturn kIOReturnNoDevice = static_cast<IOReturn>(0xE00002C0U); ///< It is gone.
inline constexpr IOReturn kIOReturnBadArgument =
    static_cast<IOReturn>(0xE00002C2U); ///< No such one.
inline constexpr IOReturn kIOReturnUnsupported = static_cast<IOReturn>(0xE00002C7U);
inline constexpr IOReturn kIOReturnNotPermitted = static_cast<IOReturn>(0xE00002E2U);

/// In which turns of a run loop a source is looked at.
enum class RunLoopMode {
    defaultMode, ///< Not while the loop tracks a menu or runs a modal panel.
    commonModes,
};

/// Takes an input report, on the main thread. `report` lies in the buffer that was registered, is
/// valid during the call only, and holds nothing when `result` is an error. It must not destroy the
/// device.
using InputReportCallback = void (*)(void* context, IOReturn result,
                                     std::span<const quint8> report);

/// A human interface device that streams input reports (HID 1.11, 5.6). It is made closed, and
/// destroying it closes it. Main thread.
///
/// A device that vanishes stops streaming, without a callback; the operations stay harmless.
class HidDevice {
public:
    virtual ~HidDevice() = default;

    /// `kIOReturnNoDevice` when it is gone, `kIOReturnNotPermitted` when the user may not.
    [[nodiscard]] virtual IOReturn open(quint32 options) = 0;
    virtual IOReturn close(quint32 options) = 0;

    /// Has every report written into `buffer`, which the caller keeps alive until another one is
    /// registered, and given to `callback` with `context`; what does not fit is cut off. No
    /// callback ends that.
    virtual void registerInputReportCallback(std::span<quint8> buffer, InputReportCallback callback,
                                             void* context) = 0;

    /// Delivers reports from the main thread's run loop, in `mode`. False when there is no such
    /// loop, or this is not its thread.
    [[nodiscard]] virtual bool scheduleWithMainRunLoop(RunLoopMode mode) = 0;
    virtual void unscheduleFromMainRunLoop(RunLoopMode mode) = 0;
};

} // namespace velmorin
