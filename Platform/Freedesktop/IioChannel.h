// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

namespace velmorin {

/// One measuring channel of an Industrial I/O device, as the kernel's
/// Documentation/ABI/testing/sysfs-bus-iio lays it out: its value is the file `_input`, or else
/// (`_raw` + `_offset`) * `_scale`, where offset and scale are the channel's own or those of all
/// channels of its type.
class IioChannel {
public:
    /// The channel of the device in `folder` that is called, say, "in_accel", "_x"; the index of
    /// the first one of a type, 0, may be written or not. None when there is no such channel.
    [[nodiscard]] static std::optional<IioChannel> find(const QString& folder, const QString& type,
                                                        const QString& modifier = {});

    /// The value in the unit of its type (m/s², lux, radians). Garbage in a file counts as 0; none
    /// when the device does not answer.
    [[nodiscard]] std::optional<double> read() const;

    /// Whether the driver says how to come from the raw value to the unit.
    [[nodiscard]] bool hasUnit() const;

    /// Whether the user may read it.
    [[nodiscard]] bool isReadable() const;

private:
    [[nodiscard]] QString valueFile() const;
    [[nodiscard]] double factor(const QString& suffix, double otherwise) const;

    QString m_type;    ///< The path up to the type: ".../in_accel".
    QString m_channel; ///< The path up to the channel: ".../in_accel_x".
    bool m_isProcessed = false;
};

} // namespace velmorin
