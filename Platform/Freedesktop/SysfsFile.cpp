// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/SysfsFile.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cmath>

namespace velmorin {

std::optional<QByteArray> readSysfsFile(const QString& path) {
    constexpr qint64 page = 4096;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return std::nullopt;
    }
    QByteArray contents(page, '\0');
    const qint64 length = file.read(contents.data(), page);
    if (length < 0) {
        return std::nullopt; // the driver refused, or its device has just gone
    }
    contents.truncate(length);
    return contents;
}

double sysfsNumber(const QByteArray& text) {
    bool isNumber = false;
    const double number = text.trimmed().toDouble(&isNumber);
    return isNumber && std::isfinite(number) ? number : 0;
}

QStringList sysfsEntries(const QString& folder, const QString& wildcard) {
    const QDir directory(folder);
    QStringList names =
        directory.entryList({wildcard}, QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    std::stable_sort(names.begin(), names.end(),
                     [](const QString& a, const QString& b) { return a.size() < b.size(); });
    std::transform(names.begin(), names.end(), names.begin(),
                   [&directory](const QString& name) { return directory.filePath(name); });
    return names;
}

} // namespace velmorin
