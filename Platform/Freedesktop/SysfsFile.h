// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace velmorin {

/// The contents of an attribute, at most a page of it, as sysfs has them; none when it cannot be
/// read, as when its device is gone.
[[nodiscard]] std::optional<QByteArray> readSysfsFile(const QString& path);

/// `text` as a finite number, with the point as the decimal separator; 0 when it is none.
[[nodiscard]] double sysfsNumber(const QByteArray& text);

/// The paths of the entries of `folder` that match the wildcard, in the order of their numbers:
/// "device2" comes before "device10".
[[nodiscard]] QStringList sysfsEntries(const QString& folder, const QString& wildcard);

} // namespace velmorin
