// SPDX-License-Identifier: MIT
// What sensors and the kernel's files say: reports of any length, descriptors, numbers as text.
#include "Platform/Freedesktop/HidrawDevice.h"
#include "Platform/Freedesktop/SysfsFile.h"
#include "Platform/Memory/MemoryHidDevice.h"
#include "Platform/Memory/MemoryKernelServices.h"
#include "SharedCore/AppleSPUHIDAccelerometerBackend.h"
#include "tests/fuzz/Fuzzing.h"

#include <bit>
#include <cmath>
#include <optional>
#include <vector>

using namespace velmorin;

namespace {

double axis(const std::vector<uint8_t>& report, size_t offset) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) {
        value |= uint32_t{report[offset + i]} << (8 * i);
    }
    return std::bit_cast<int32_t>(value) / 65536.0;
}

void checkReports(FuzzedDataProvider& data) {
    const auto services = std::make_shared<MemoryKernelServices>();
    MemoryKernelService& service = services->add("AppleSPUHIDDevice");
    service.properties = {{"PrimaryUsagePage", 0xFF00}, {"PrimaryUsage", 3}};
    service.hidDevice = std::make_shared<MemoryHidDevice>();
    AppleSPUHIDAccelerometerBackend backend(services);
    require(backend.open(), "the accelerometer opens");
    MotionSensor::MotionData expected;
    int complete = 0;
    while (data.remaining_bytes() > 0) {
        const bool isComplete = data.ConsumeBool();
        const auto length = isComplete ? 22 : data.ConsumeIntegralInRange<size_t>(0, 64);
        const std::vector<uint8_t> report = data.ConsumeBytes<uint8_t>(length);
        const bool isRefused = data.ConsumeIntegral<uint8_t>() == 1;
        service.hidDevice->send(report, isRefused ? -1 : kIOReturnSuccess);
        if (!isRefused && report.size() == 22 && ++complete % 8 == 0) {
            expected = {axis(report, 6), axis(report, 10), axis(report, 14)};
        }
    }
    require(backend.latest == expected, "each eighth report of the right length is the sample");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const QByteArray all(reinterpret_cast<const char*>(bytes), qsizetype(size));
    require(std::isfinite(sysfsNumber(all)), "a number is finite");
    const std::optional<HidUsage> usage = primaryUsage(all);
    require(!usage || primaryUsage(all + '\xc0') == usage, "only what comes first matters");
    FuzzedDataProvider data(bytes, size);
    checkReports(data);
    return 0;
}
