// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SysfsSensors.h"
#include "Platform/Freedesktop/HidrawDevice.h"
#include "Platform/Freedesktop/SysfsFile.h"
#include "Platform/Freedesktop/SysfsKernelServices.h"

#include <QFile>
#include <QFileInfo>
#include <QtMath>

#include <algorithm>
#include <limits>
#include <utility>

namespace velmorin {

namespace {
constexpr double kStandardGravity = 9.80665; // m/s²
constexpr double kMotionPerGravity = 256;

/// `value` as the whole number of type T next to it, kept within what T holds: a cast alone would
/// be undefined for a number that does not fit.
template <typename T>
T bounded(double value) {
    using Limits = std::numeric_limits<T>;
    return static_cast<T>(std::clamp(std::round(value), static_cast<double>(Limits::min()),
                                     static_cast<double>(Limits::max())));
}

/// A channel as the controller's counter of 32 bits would give it.
quint64 lightUnits(double value) {
    return bounded<quint32>(value);
}

/// An applesmc file, "(a,b,...)". Anything but N numbers is all zero; none when it is gone.
template <std::size_t N>
std::optional<std::array<double, N>> readTuple(const QString& path) {
    std::optional<QByteArray> text = readSysfsFile(path);
    if (!text) {
        return std::nullopt;
    }
    std::array<double, N> tuple{};
    const QByteArray trimmed = text->trimmed();
    if (!trimmed.startsWith('(') || !trimmed.endsWith(')')) {
        return tuple;
    }
    const QList<QByteArray> numbers = trimmed.sliced(1).chopped(1).split(',');
    if (numbers.size() == N) {
        std::transform(numbers.begin(), numbers.end(), tuple.begin(), sysfsNumber);
    }
    return tuple;
}

/// A file of applesmc.
class SmcSensor : public SysfsSensor {
public:
    explicit SmcSensor(QString file) : m_file(std::move(file)) {}
    [[nodiscard]] bool isReadable() const override { return QFileInfo(m_file).isReadable(); }

protected:
    const QString m_file;
};

class SmcLight final : public SmcSensor {
public:
    using SmcSensor::SmcSensor;
    [[nodiscard]] std::optional<Light> light() const override {
        const auto counts = readTuple<2>(m_file);
        if (!counts) {
            return std::nullopt;
        }
        // Newer models have one sensor, which the driver calls the left one, with a right one of 0.
        const auto [left, right] = *counts;
        const double unit = SysfsKernelServices::lightUnitsPerCount;
        return Light{lightUnits(left * unit), lightUnits((right == 0 ? left : right) * unit)};
    }
};

class SmcMotion final : public SmcSensor {
public:
    using SmcSensor::SmcSensor;
    [[nodiscard]] std::optional<Motion> motion() const override {
        const auto axes = readTuple<3>(m_file);
        return axes ? std::optional(Motion{bounded<qint16>((*axes)[0]), bounded<qint16>((*axes)[1]),
                                           bounded<qint16>((*axes)[2])})
                    : std::nullopt;
    }
};

class IioLight final : public SysfsSensor {
public:
    explicit IioLight(IioChannel channel) : m_channel(std::move(channel)) {}
    [[nodiscard]] bool isReadable() const override { return m_channel.isReadable(); }
    [[nodiscard]] std::optional<Light> light() const override {
        const std::optional<double> lux = m_channel.read();
        if (!lux) {
            return std::nullopt;
        }
        const quint64 units = lightUnits(*lux * SysfsKernelServices::lightUnitsPerLux);
        return Light{units, units};
    }

private:
    const IioChannel m_channel;
};

class IioMotion final : public SysfsSensor {
public:
    using Axes = std::array<IioChannel, 3>;
    explicit IioMotion(Axes axes) : m_axes(std::move(axes)) {}
    [[nodiscard]] bool isReadable() const override { return m_axes[0].isReadable(); }
    [[nodiscard]] std::optional<Motion> motion() const override {
        Motion motion{};
        for (std::size_t i = 0; i < motion.size(); ++i) {
            const std::optional<double> acceleration = m_axes[i].read();
            if (!acceleration) {
                return std::nullopt;
            }
            motion[i] = bounded<qint16>(*acceleration / kStandardGravity * kMotionPerGravity);
        }
        return motion;
    }

private:
    const Axes m_axes;
};

class IioHinge final : public SysfsSensor {
public:
    explicit IioHinge(IioChannel channel) : m_channel(std::move(channel)) {}
    [[nodiscard]] QVariant property(const QString& name) const override {
        // The Chromebook controller's driver gives degrees and no scale, and 500 when it cannot
        // tell (LID_ANGLE_UNRELIABLE).
        constexpr double unreliable = 500;
        const auto angle = name == QStringLiteral("lid-angle") ? m_channel.read() : std::nullopt;
        if (!angle || (!m_channel.hasUnit() && *angle == unreliable)) {
            return {};
        }
        return m_channel.hasUnit() ? qRadiansToDegrees(*angle) : *angle;
    }

private:
    const IioChannel m_channel;
};

class HidSensor final : public SysfsSensor {
public:
    HidSensor(QString folder, QString devRoot)
        : m_folder(std::move(folder)), m_devRoot(std::move(devRoot)) {}
    [[nodiscard]] QVariant property(const QString& name) const override {
        const std::optional<HidUsage> usage = HidrawDevice::usage(m_folder);
        if (usage && name == QStringLiteral("PrimaryUsagePage")) {
            return qint64{usage->page};
        }
        return usage && name == QStringLiteral("PrimaryUsage") ? QVariant(qint64{usage->usage})
                                                               : QVariant();
    }
    [[nodiscard]] std::shared_ptr<HidDevice> hidDevice() const override {
        return std::make_shared<HidrawDevice>(m_folder, m_devRoot);
    }

private:
    const QString m_folder;
    const QString m_devRoot;
};

/// The applesmc devices' files of that name. The platform device is "applesmc.768", for its port.
template <typename Sensor>
std::vector<KernelServiceRef> smcSensors(const QString& sysfsRoot, const QString& name) {
    std::vector<KernelServiceRef> sensors;
    for (const QString& folder : sysfsEntries(sysfsRoot + QStringLiteral("/devices/platform"),
                                              QStringLiteral("applesmc.*"))) {
        const QString file = folder + u'/' + name;
        if (QFile::exists(file)) {
            sensors.push_back(std::make_shared<Sensor>(file));
        }
    }
    return sensors;
}

QStringList iioFolders(const QString& sysfsRoot) {
    return sysfsEntries(sysfsRoot + QStringLiteral("/bus/iio/devices"),
                        QStringLiteral("iio:device*"));
}
} // namespace

std::vector<KernelServiceRef> lightSensors(const QString& sysfsRoot) {
    auto sensors = smcSensors<SmcLight>(sysfsRoot, QStringLiteral("light"));
    for (const QString& folder : iioFolders(sysfsRoot)) {
        if (auto channel = IioChannel::find(folder, QStringLiteral("in_illuminance"))) {
            sensors.push_back(std::make_shared<IioLight>(*std::move(channel)));
        }
    }
    return sensors;
}

std::vector<KernelServiceRef> motionSensors(const QString& sysfsRoot) {
    auto sensors = smcSensors<SmcMotion>(sysfsRoot, QStringLiteral("position"));
    for (const QString& folder : iioFolders(sysfsRoot)) {
        const auto axis = [&folder](const QString& name) {
            return IioChannel::find(folder, QStringLiteral("in_accel"), name);
        };
        auto x = axis(QStringLiteral("_x"));
        auto y = axis(QStringLiteral("_y"));
        auto z = axis(QStringLiteral("_z"));
        if (x && y && z) {
            sensors.push_back(std::make_shared<IioMotion>(IioMotion::Axes{*x, *y, *z}));
        }
    }
    return sensors;
}

std::vector<KernelServiceRef> hingeSensors(const QString& sysfsRoot) {
    std::vector<KernelServiceRef> sensors;
    for (const QString& folder : iioFolders(sysfsRoot)) {
        if (auto channel = IioChannel::find(folder, QStringLiteral("in_angl"))) {
            sensors.push_back(std::make_shared<IioHinge>(*std::move(channel)));
        }
    }
    return sensors;
}

std::vector<KernelServiceRef> hidSensors(const QString& sysfsRoot, const QString& devRoot) {
    std::vector<KernelServiceRef> sensors;
    for (const QString& folder : HidrawDevice::folders(sysfsRoot)) {
        sensors.push_back(std::make_shared<HidSensor>(folder, devRoot));
    }
    return sensors;
}

} // namespace velmorin
