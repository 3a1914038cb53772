// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/IioChannel.h"
#include "Platform/Freedesktop/SysfsFile.h"

#include <QFile>
#include <QFileInfo>

#include <cmath>

namespace velmorin {

std::optional<IioChannel> IioChannel::find(const QString& folder, const QString& type,
                                           const QString& modifier) {
    IioChannel channel;
    channel.m_type = folder + u'/' + type;
    for (const QString& index : {QString(), QStringLiteral("0")}) {
        channel.m_channel = channel.m_type + index + modifier;
        channel.m_isProcessed = QFile::exists(channel.m_channel + QStringLiteral("_input"));
        if (QFile::exists(channel.valueFile())) {
            return channel;
        }
    }
    return std::nullopt;
}

QString IioChannel::valueFile() const {
    return m_channel + (m_isProcessed ? QStringLiteral("_input") : QStringLiteral("_raw"));
}

std::optional<double> IioChannel::read() const {
    const std::optional<QByteArray> text = readSysfsFile(valueFile());
    if (!text) {
        return std::nullopt;
    }
    double value = sysfsNumber(*text);
    if (!m_isProcessed) {
        value =
            (value + factor(QStringLiteral("_offset"), 0)) * factor(QStringLiteral("_scale"), 1);
    }
    return std::isfinite(value) ? value : 0;
}

double IioChannel::factor(const QString& suffix, double otherwise) const {
    for (const QString& prefix : {m_channel, m_type}) {
        if (const std::optional<QByteArray> text = readSysfsFile(prefix + suffix)) {
            return sysfsNumber(*text);
        }
    }
    return otherwise;
}

bool IioChannel::hasUnit() const {
    return m_isProcessed || QFile::exists(m_channel + QStringLiteral("_scale")) ||
           QFile::exists(m_type + QStringLiteral("_scale"));
}

bool IioChannel::isReadable() const {
    return QFileInfo(valueFile()).isReadable();
}

} // namespace velmorin
