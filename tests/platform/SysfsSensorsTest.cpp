// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/HidrawDevice.h"
#include "Platform/Freedesktop/SysfsKernelServices.h"
#include "tests/WaitUntil.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmorin {
namespace {

using test::waitUntil;

const QString smc = QStringLiteral("devices/platform/applesmc.768/");
const QString iio = QStringLiteral("bus/iio/devices/iio:device");

/// Collects what a device sends.
struct Receiver {
    std::array<quint8, 4096> buffer{};
    std::vector<std::vector<quint8>> reports;

    static void take(void* context, IOReturn, std::span<const quint8> report) {
        static_cast<Receiver*>(context)->reports.emplace_back(report.begin(), report.end());
    }
};

class SysfsSensorsTest : public testing::Test {
protected:
    using Light = std::array<quint64, 2>;
    using Record = std::array<quint8, 40>;

    void write(const QString& path, const QByteArray& contents) {
        const QString file = root.filePath(path);
        QDir().mkpath(QFileInfo(file).path());
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(contents);
    }

    void clear() { QDir(root.path()).removeRecursively(); }

    quint32 open(const QString& className) {
        quint32 connect = 0;
        const KernelServiceRef service = kernel.serviceGetMatchingService(className);
        return service && kernel.serviceOpen(service, 0, connect) == kIOReturnSuccess ? connect : 0;
    }

    Light light(quint32 connect) {
        Light output{};
        quint32 count = 2;
        lastStatus = kernel.connectCallScalarMethod(connect, 0, {}, output.data(), count);
        return output;
    }

    /// The record's numbers.
    std::array<int, 3> motion(quint32 connect) {
        Record output{};
        std::size_t size = output.size();
        lastStatus = kernel.connectCallStructMethod(connect, 5, Record{}, output.data(), size);
        const auto axis = [&](std::size_t i) {
            return static_cast<qint16>(output[i] | output[i + 1] << 8);
        };
        return {axis(0), axis(2), axis(4)};
    }

    QVariant lidAngle() {
        const auto display = kernel.serviceGetMatchingService("AppleBacklightDisplay");
        return display ? kernel.registryEntryProperty(display, "lid-angle") : QVariant();
    }

    QTemporaryDir root;
    SysfsKernelServices kernel{root.path(), root.filePath("dev")};
    IOReturn lastStatus = kIOReturnSuccess;
};

TEST_F(SysfsSensorsTest, ReadsApplesLight) {
    EXPECT_EQ(open("AppleLMUController"), 0U);
    write(smc + "light", "");
    const quint32 connect = open("AppleLMUController");
    ASSERT_NE(connect, 0U);
    const std::pair<QByteArray, Light> cases[] = {
        {"(255,255)\n", {50'000'000, 50'000'000}},
        {"(51,102)\n", {10'000'000, 20'000'000}},
        {"(51,0)\n", {10'000'000, 10'000'000}}, // one sensor
        {"(0,51)\n", {0, 10'000'000}},
        {"(-4,-4)\n", {0, 0}},
        {"(1e300,nan)\n", {0xFFFFFFFF, 0xFFFFFFFF}},
        {"(51)\n", {0, 0}},
        {"(51,51,51)\n", {0, 0}},
        {QByteArray("\0\xFF", 2), {0, 0}},
        {"", {0, 0}},
    };
    for (const auto& [text, expected] : cases) {
        write(smc + "light", text);
        EXPECT_EQ(light(connect), expected) << text.constData();
        EXPECT_EQ(lastStatus, kIOReturnSuccess);
    }
    clear();
    EXPECT_EQ(light(connect), Light());
    EXPECT_EQ(lastStatus, kIOReturnNoDevice);
    EXPECT_EQ(kernel.serviceClose(connect), kIOReturnSuccess);
    EXPECT_EQ(light(connect), Light());
    EXPECT_EQ(lastStatus, kIOReturnBadArgument);
}

TEST_F(SysfsSensorsTest, ReadsIlluminance) {
    const std::pair<QStringList, quint64> cases[] = {
        {{"_input 500"}, 25'000'000},
        {{"0_input 0.5"}, 25'000},
        {{"_raw 90", "_scale 0.1", "_offset 10"}, 500'000},
        {{"0_raw 90", "0_scale 2", "_scale 3"}, 9'000'000},
        {{"_raw 7"}, 350'000},
        {{"_raw 7", "_scale inf"}, 0},
        {{"_input dark"}, 0},
        {{"_input -1"}, 0},
    };
    for (const auto& [files, expected] : cases) {
        clear();
        write(iio + "2/in_temp_input", "21000\n");
        for (const QString& file : files) {
            write(iio + "10/in_illuminance" + file.section(' ', 0, 0),
                  file.section(' ', 1).toUtf8() + '\n');
        }
        EXPECT_EQ(light(open("AppleLMUController")), (Light{expected, expected}))
            << files.front().toStdString();
    }
    write(iio + "9/in_illuminance_input", "1000\n");
    EXPECT_EQ(light(open("AppleLMUController"))[0], 50'000'000U); // by number: 9 before 10
    write(smc + "light", "(51,51)\n");
    EXPECT_EQ(light(open("AppleLMUController"))[0], 10'000'000U); // Apple's before IIO's
}

TEST_F(SysfsSensorsTest, ReadsTheAcceleration) {
    write(smc + "position", "(256,-128,1)\n");
    const quint32 apples = open("SMCMotionSensor");
    EXPECT_EQ(motion(apples), (std::array{256, -128, 1}));
    write(smc + "position", "(99999,-99999,x)\n");
    EXPECT_EQ(motion(apples), (std::array{32767, -32768, 0}));
    clear();
    EXPECT_EQ(motion(apples), (std::array{0, 0, 0}));
    EXPECT_EQ(lastStatus, kIOReturnNoDevice);

    write(iio + "0/in_accel_x_raw", "1000\n");
    write(iio + "0/in_accel_y_raw", "-500\n");
    EXPECT_EQ(open("SMCMotionSensor"), 0U); // it takes three axes
    write(iio + "0/in_accel_z_raw", "0\n");
    write(iio + "0/in_accel_scale", "0.00980665\n");
    write(iio + "0/in_accel_z_offset", "250\n");
    const quint32 iios = open("SMCMotionSensor");
    EXPECT_EQ(motion(iios), (std::array{256, -128, 64}));
    EXPECT_EQ(light(iios), Light());
    EXPECT_EQ(lastStatus, kIOReturnNoDevice);
    QFile::remove(root.filePath(iio + "0/in_accel_z_raw"));
    EXPECT_EQ(motion(iios), (std::array{0, 0, 0}));
}

TEST_F(SysfsSensorsTest, ReadsTheHinge) {
    EXPECT_FALSE(lidAngle().isValid());
    write(iio + "1/in_angl_raw", "110\n"); // as Chromebooks do, in degrees
    EXPECT_EQ(lidAngle(), QVariant(110.0));
    write(iio + "1/in_angl_raw", "500\n"); // it cannot tell
    EXPECT_FALSE(lidAngle().isValid());
    write(iio + "1/in_angl_raw", "ajar\n");
    EXPECT_EQ(lidAngle(), QVariant(0.0));
    clear();
    write(iio + "1/in_angl0_raw", "90\n"); // as Intel's sensor hub does
    write(iio + "1/in_angl1_raw", "45\n");
    write(iio + "1/in_angl_scale", "0.017453293\n");
    EXPECT_NEAR(lidAngle().toDouble(), 90, 1e-4);
    EXPECT_EQ(kernel.registryEntryProperty(nullptr, "lid-angle"), QVariant());
}

TEST_F(SysfsSensorsTest, TheModelIsTheProductName) {
    const auto model = [this](std::size_t room) {
        QByteArray name(static_cast<qsizetype>(room), '#');
        std::size_t size = room;
        const int status = kernel.sysctlByName("hw.model", name.data(), size);
        return std::tuple(status, size, name);
    };
    EXPECT_EQ(model(2), std::tuple(0, 1U, QByteArray("\0#", 2)));
    write("class/dmi/id/product_name", "MacBookPro11,1\n");
    std::size_t size = 0;
    EXPECT_EQ(kernel.sysctlByName("hw.model", nullptr, size), 0);
    EXPECT_EQ(size, 15U);
    EXPECT_EQ(model(15), std::tuple(0, 15U, QByteArray("MacBookPro11,1\0", 15)));
    EXPECT_EQ(model(3), std::tuple(-1, 15U, QByteArray("Mac")));
    EXPECT_EQ(kernel.sysctlByName("hw.other", nullptr, size), -1);
}

TEST_F(SysfsSensorsTest, FindsTheUsageInTheReportDescriptor) {
    const std::pair<QByteArray, std::optional<HidUsage>> cases[] = {
        {"0600ff0903a101", HidUsage{0xFF00, 3}},           // page of two bytes
        {"05010906a101", HidUsage{1, 6}},                  // a keyboard
        {"090305010600ffa101", HidUsage{0xFF00, 3}},       // the last page before the collection
        {"0b030000ffa101", HidUsage{0xFF00, 3}},           // a usage with its page
        {"0600ff09030904a101", HidUsage{0xFF00, 3}},       // the first of several
        {"fe02f0aabb0600ff0903a101", HidUsage{0xFF00, 3}}, // after a long item
        {"0600ff0903a1010501a1020906", HidUsage{0xFF00, 3}},
        {"0600ff0903", std::nullopt},   // no collection
        {"0600ffa101", std::nullopt},   // no usage
        {"0600ff0903a1", std::nullopt}, // cut off
        {"fe", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [hex, expected] : cases) {
        EXPECT_EQ(primaryUsage(QByteArray::fromHex(hex)), expected) << hex.constData();
    }
}

TEST_F(SysfsSensorsTest, AHidrawDeviceStreamsUntilItVanishes) {
    write("class/hidraw/hidraw3/device/report_descriptor", QByteArray::fromHex("0600ff0903a101c0"));
    write("class/hidraw/hidraw12/device/report_descriptor", "garbage");
    std::vector<KernelServiceRef> services;
    ASSERT_EQ(kernel.serviceGetMatchingServices("AppleSPUHIDDevice", services), kIOReturnSuccess);
    ASSERT_EQ(services.size(), 2U);
    EXPECT_EQ(kernel.registryEntryProperty(services[0], "PrimaryUsagePage"), QVariant(0xFF00));
    EXPECT_EQ(kernel.registryEntryProperty(services[0], "PrimaryUsage"), QVariant(3));
    EXPECT_FALSE(kernel.registryEntryProperty(services[1], "PrimaryUsage").isValid());

    const auto device = kernel.hidDeviceCreate(services[0]);
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->open(0), kIOReturnNoDevice);
    QDir().mkpath(root.filePath("dev"));
    const QByteArray node = QFile::encodeName(root.filePath("dev/hidraw3"));
    ASSERT_EQ(::mkfifo(node.constData(), 0600), 0);
    ASSERT_EQ(device->open(0), kIOReturnSuccess);
    const int sender = ::open(node.constData(), O_WRONLY);
    ASSERT_GE(sender, 0);
    const auto send = [sender](const std::vector<quint8>& report) {
        EXPECT_EQ(::write(sender, report.data(), report.size()),
                  static_cast<ssize_t>(report.size()));
    };

    Receiver receiver;
    device->registerInputReportCallback(receiver.buffer, Receiver::take, &receiver);
    send({1, 2, 3});
    QCoreApplication::processEvents();
    EXPECT_TRUE(receiver.reports.empty()); // not scheduled yet
    ASSERT_TRUE(device->scheduleWithMainRunLoop(RunLoopMode::defaultMode));
    EXPECT_TRUE(waitUntil([&] { return receiver.reports.size() == 1; }));
    send(std::vector<quint8>(22, 7)); // alone: a pipe, unlike hidraw, would join the two
    ASSERT_TRUE(waitUntil([&] { return receiver.reports.size() == 2; }));
    EXPECT_EQ(receiver.reports[0], (std::vector<quint8>{1, 2, 3}));
    EXPECT_EQ(receiver.reports[1], std::vector<quint8>(22, 7));
    EXPECT_EQ(receiver.buffer[21], 7);

    device->unscheduleFromMainRunLoop(RunLoopMode::defaultMode);
    send({4});
    QCoreApplication::processEvents();
    EXPECT_EQ(receiver.reports.size(), 2U);
    ASSERT_TRUE(device->scheduleWithMainRunLoop(RunLoopMode::defaultMode));
    EXPECT_TRUE(waitUntil([&] { return receiver.reports.size() == 3; }));

    ::close(sender);
    // It sees the end and leaves it at that: a loop that stayed ready would always have an event.
    auto* const loop = QCoreApplication::eventDispatcher();
    EXPECT_TRUE(waitUntil([loop] { return !loop->processEvents(QEventLoop::AllEvents); }));
    EXPECT_EQ(receiver.reports.size(), 3U);
    device->registerInputReportCallback(receiver.buffer, nullptr, nullptr);
    EXPECT_EQ(device->close(0), kIOReturnSuccess);
}

} // namespace
} // namespace velmorin
