// SPDX-License-Identifier: MIT
// Prints the light, the acceleration and the lid's angle of this machine.
#include "Platform/Freedesktop/SysfsKernelServices.h"
#include "SharedCore/AmbientLightSensor.h"
#include "SharedCore/LidAngleSensor.h"
#include "SharedCore/MotionSensor.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <cstdio>

using namespace velmorin;

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const auto services = std::make_shared<SysfsKernelServices>();

    AmbientLightSensor light(services);
    if (light.open()) {
        std::printf("light: %.3f of full\n", light.readNormalized());
    }

    MotionSensor motion(services);
    if (motion.open()) {
        // An accelerometer that streams needs the run loop for its first sample.
        QTimer::singleShot(std::chrono::milliseconds(200), qApp, &QCoreApplication::quit);
        QCoreApplication::exec();
        const MotionSensor::MotionData data = motion.read();
        std::printf("acceleration: %.3f %.3f %.3f g\n", data.x, data.y, data.z);
    }

    LidAngleSensor lid(services);
    const bool isMeasured = lid.readDirect().has_value();
    std::printf("lid: %.1f degrees, %s\n", lid.read(), isMeasured ? "measured" : "estimated");
    std::printf("a MacBook: %s\n", LidAngleSensor::isMacBook(*services) ? "yes" : "no");
}
