// SPDX-License-Identifier: MIT
#include "Platform/Memory/MemoryKernelServices.h"
#include "SharedCore/AppleSPUHIDAccelerometerBackend.h"
#include "SharedCore/LidAngleSensor.h"
#include "SharedCore/MotionSensor.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>

namespace velmorin {
namespace {

using MotionData = MotionSensor::MotionData;

constexpr auto noLight = "⚠️ AmbientLightSensor: AppleLMUController not found\n";
constexpr auto noMotion =
    "⚠️ MotionSensor: No accelerometer found (desktop Mac or unsupported model)\n";
constexpr auto spuOpened = "✅ MotionSensor: Opened Apple SPU HID accelerometer (experimental)\n";
constexpr IOReturn failure = kIOReturnNotPermitted;

/// What `body` prints on standard output.
std::string printed(const std::function<void()>& body) {
    testing::internal::CaptureStdout();
    body();
    return testing::internal::GetCapturedStdout();
}

class SensorsTest : public testing::Test {
protected:
    MemoryKernelService& addAccelerometer(const QVariant& page = 0xFF00,
                                          const QVariant& usage = 3) {
        MemoryKernelService& service = kernel->add("AppleSPUHIDDevice");
        service.properties = {{"PrimaryUsagePage", page}, {"PrimaryUsage", usage}};
        service.hidDevice = std::make_shared<MemoryHidDevice>();
        return service;
    }

    /// A report of which only x is not zero.
    static std::vector<quint8> report(quint32 x, std::size_t length = 22) {
        std::vector<quint8> bytes(length);
        for (std::size_t i = 0; i < 4; ++i) {
            bytes[6 + i] = static_cast<quint8>(x >> (8 * i));
        }
        return bytes;
    }

    std::shared_ptr<MemoryKernelServices> kernel = std::make_shared<MemoryKernelServices>();
    MotionSensor motion{kernel};
    AmbientLightSensor light{kernel};
};

TEST_F(SensorsTest, LightIsTheMeanOfTwoChannels) {
    MemoryKernelService& controller = kernel->add("AppleLMUController");
    EXPECT_EQ(light.readRaw(), 0U);
    EXPECT_EQ(light.readNormalized(), 0);
    EXPECT_EQ(printed([&] { EXPECT_TRUE(light.open()); }), "");
    const std::tuple<std::array<quint64, 2>, IOReturn, quint64, double> cases[] = {
        {{60'000'000, 40'000'000}, kIOReturnSuccess, 50'000'000, 1},
        {{30'000'000, 20'000'000}, kIOReturnSuccess, 25'000'000, 0.5},
        {{90'000'000, 90'000'001}, kIOReturnSuccess, 90'000'000, 1},
        {{60'000'000, 40'000'000}, failure, 0, 0},
    };
    for (const auto& [channels, status, raw, normalized] : cases) {
        controller.scalars = channels;
        controller.methodStatus = status;
        EXPECT_EQ(light.readRaw(), raw);
        EXPECT_EQ(light.readNormalized(), normalized);
    }
    EXPECT_EQ(kernel->journal.last(), "scalar 1 0 in 0 out 2");
    controller.methodStatus = kIOReturnSuccess;
    controller.scalars = {std::numeric_limits<quint64>::max(), 1};
    EXPECT_DEATH((void)light.readRaw(), "overflowed");
}

TEST_F(SensorsTest, LightOpensClosesAndSaysWhatIsMissing) {
    EXPECT_EQ(printed([&] { EXPECT_FALSE(light.open()); }), noLight);
    MemoryKernelService& controller = kernel->add("AppleLMUController");
    controller.openStatus = failure;
    EXPECT_EQ(printed([&] { EXPECT_FALSE(light.open()); }), "");
    light.close();
    controller.openStatus = kIOReturnSuccess;
    {
        AmbientLightSensor other(kernel);
        EXPECT_TRUE(other.open());
        EXPECT_TRUE(other.open()); // over the first connection
    }
    EXPECT_EQ(kernel->journal.last(), "close 2");
    EXPECT_EQ(kernel->connectionCount(), 1U);
}

TEST_F(SensorsTest, MotionTriesTheServicesInOrder) {
    const QStringList names = {"IOHIDMotionSensor", "AppleEmbeddedMotionSensor", "SMCMotionSensor"};
    for (qsizetype first = 0; first < names.size(); ++first) {
        const auto registry = std::make_shared<MemoryKernelServices>();
        QStringList expected;
        for (qsizetype i = names.size() - 1; i >= 0; --i) {
            registry->add(names[i]).openStatus = i < first ? failure : kIOReturnSuccess;
        }
        for (qsizetype i = 0; i <= first; ++i) {
            expected << "match " + names[i] << "open " + names[i] + " 0";
        }
        MotionSensor sensor(registry);
        EXPECT_EQ(printed([&] { EXPECT_TRUE(sensor.open()); }),
                  "✅ MotionSensor: Opened " + names[first].toStdString() + "\n");
        EXPECT_EQ(registry->journal, expected);
        sensor.close();
        sensor.close();
        EXPECT_EQ(registry->journal, expected << "close 1");
    }
}

TEST_F(SensorsTest, MotionDecodesTheServicesRecord) {
    MemoryKernelService& service = kernel->add("SMCMotionSensor");
    EXPECT_EQ(motion.read(), MotionData());
    printed([&] { EXPECT_TRUE(motion.open()); });
    const std::tuple<std::vector<quint8>, IOReturn, MotionData> cases[] = {
        {{0x00, 0x01, 0x80, 0xFF, 0x00, 0x80}, kIOReturnSuccess, {1, -0.5, -128}},
        {{0x80, 0xFF, 0xFF, 0x7F, 0x01, 0x00}, kIOReturnSuccess, {-0.5, 127.99609375, 0.00390625}},
        {{0x00, 0x01, 0x80, 0xFF, 0x00, 0x80}, failure, {}},
    };
    for (const auto& [record, status, data] : cases) {
        service.record = record;
        service.methodStatus = status;
        EXPECT_EQ(motion.read(), data);
    }
    EXPECT_EQ(kernel->journal.last(), "struct 1 5 in 40 zeros out 40");
    motion.close();
    EXPECT_EQ(motion.read(), MotionData());
}

TEST_F(SensorsTest, TheFirstAccelerometerThatOpensStreams) {
    kernel->add("AppleSPUHIDDriver");
    const MemoryKernelService& otherPage = addAccelerometer(0xFF01);
    const MemoryKernelService& otherUsage = addAccelerometer(0xFF00, 4);
    const MemoryKernelService& noNumber = addAccelerometer(0xFF00, "3");
    addAccelerometer().hidDevice.reset();
    const MemoryKernelService& closed = addAccelerometer();
    closed.hidDevice->openStatus = failure;
    const MemoryKernelService& first = addAccelerometer();
    const MemoryKernelService& second = addAccelerometer();

    EXPECT_EQ(printed([&] { EXPECT_TRUE(motion.open()); }), spuOpened);
    EXPECT_EQ(
        kernel->journal,
        (QStringList{"match IOHIDMotionSensor", "match AppleEmbeddedMotionSensor",
                     "match SMCMotionSensor", "match all AppleSPUHIDDriver",
                     "set SensorPropertyReportingState int 1", "set SensorPropertyPowerState int 1",
                     "set ReportInterval int 1000", "match all AppleSPUHIDDevice"}));
    for (const auto* ignored : {&otherPage, &otherUsage, &noNumber, &second}) {
        EXPECT_TRUE(ignored->hidDevice->journal.isEmpty());
    }
    EXPECT_EQ(closed.hidDevice->journal, QStringList{"open 0"});
    EXPECT_EQ(first.hidDevice->journal,
              (QStringList{"open 0", "register 4096", "schedule default"}));
    motion.close();
    EXPECT_EQ(first.hidDevice->journal.mid(3),
              (QStringList{"unregister 4096", "unschedule default", "close 0"}));
}

TEST_F(SensorsTest, WithoutAnAccelerometerNothingOpens) {
    EXPECT_EQ(printed([&] { EXPECT_FALSE(motion.open()); }), noMotion);
    addAccelerometer();
    kernel->matchStatus["AppleSPUHIDDriver"] = failure; // the drivers may do without being woken
    EXPECT_EQ(printed([&] { EXPECT_TRUE(motion.open()); }), spuOpened);
    motion.close();
    kernel->matchStatus["AppleSPUHIDDevice"] = failure;
    EXPECT_EQ(printed([&] { EXPECT_FALSE(motion.open()); }), noMotion);
    EXPECT_EQ(motion.read(), MotionData());
}

TEST_F(SensorsTest, EveryEighthReportIsKept) {
    MemoryHidDevice& device = *addAccelerometer().hidDevice;
    printed([&] { EXPECT_TRUE(motion.open()); });
    const auto sendValid = [&](int count, quint32 x) {
        for (int i = 0; i < count; ++i) {
            device.send(report(x));
        }
    };
    sendValid(7, 0x00010000);
    device.send(report(0x00010000, 21));
    device.send(report(0x00010000, 23));
    device.send(report(0x00010000), failure);
    EXPECT_EQ(motion.read(), MotionData());
    sendValid(1, 0x00010000);
    EXPECT_EQ(motion.read(), (MotionData{1, 0, 0}));
    sendValid(7, 0x00020000);
    EXPECT_EQ(motion.read(), (MotionData{1, 0, 0}));
    std::vector<quint8> bytes = report(0xFFFF8000);
    bytes[13] = 0x80; // y, its sign
    bytes[14] = 0x01; // z, its lowest bit
    device.send(bytes);
    EXPECT_EQ(motion.read(), (MotionData{-0.5, -32768, 1.0 / 65536}));
}

TEST_F(SensorsTest, TheCountAndTheSampleSurviveClosing) {
    MemoryHidDevice& device = *addAccelerometer().hidDevice;
    AppleSPUHIDAccelerometerBackend backend(kernel);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(backend.open()); // drops the device that was open
        device.send(report(0x00010000));
        device.send(report(0x00010000));
    }
    EXPECT_EQ(backend.decimationTick, 8);
    backend.close();
    device.send(report(0x00020000));
    EXPECT_EQ(backend.latest, (MotionData{1, 0, 0}));
    EXPECT_EQ(device.journal.count("close 0"), 4);
    EXPECT_EQ(backend.reportBuffer, nullptr);

    EXPECT_TRUE(backend.open());
    backend.decimationTick = std::numeric_limits<qint64>::max();
    EXPECT_DEATH(device.send(report(0)), "overflowed");
    device.hasRunLoop = false;
    EXPECT_DEATH((void)backend.open(), "main run loop");
}

TEST_F(SensorsTest, TheLidIsMeasuredOrElseEstimated) {
    LidAngleSensor lid(kernel);
    EXPECT_EQ(printed([&] { EXPECT_EQ(lid.read(), 90); }), noLight);
    MemoryKernelService& controller = kernel->add("AppleLMUController");
    controller.scalars = {30'000'000, 20'000'000};
    EXPECT_EQ(lid.read(), 67.5);
    EXPECT_EQ(kernel->connectionCount(), 0U);
    controller.openStatus = failure;
    EXPECT_EQ(lid.readEstimated(), 90);
    controller.openStatus = kIOReturnSuccess;

    MemoryKernelService& display = kernel->add("AppleBacklightDisplay");
    const std::pair<QVariant, std::optional<double>> cases[] = {
        {QVariant(), std::nullopt}, {"110", std::nullopt},
        {true, std::nullopt},       {110, 110.0},
        {110.25, 110.25},           {0, 0.0},
    };
    for (const auto& [property, angle] : cases) {
        display.properties["lid-angle"] = property;
        EXPECT_EQ(lid.readDirect(), angle);
        EXPECT_EQ(lid.read(), angle.value_or(67.5));
    }
}

TEST_F(SensorsTest, TheModelNameTellsAMacBook) {
    const std::pair<QByteArray, bool> cases[] = {
        {QByteArray("MacBookPro18,3\0", 15), true}, {QByteArray("My MacBook\0", 11), true},
        {QByteArray("macbook\0", 8), false},        {QByteArray("\xFFMacBook\0", 9), true},
        {QByteArray("Mac\0Book\0", 9), false},      {QByteArray("\0", 1), false},
        {QByteArray("x\0MacBook\0", 10), false},
    };
    for (const auto& [model, expected] : cases) {
        kernel->sysctls["hw.model"] = model;
        EXPECT_EQ(LidAngleSensor::isMacBook(*kernel), expected) << model.constData();
    }
    kernel->sysctls["hw.model"] = "MacBook";
    EXPECT_DEATH((void)LidAngleSensor::isMacBook(*kernel), "no end");
    kernel->sysctls.clear();
    EXPECT_DEATH((void)LidAngleSensor::isMacBook(*kernel), "no end");
}

} // namespace
} // namespace velmorin
