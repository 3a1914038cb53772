// SPDX-License-Identifier: MIT
#include "Velmorin/LogLines.h"

#include "Velmorin/VelmorinMainView.h"

#include <algorithm>

namespace velmorin {

LogLines::LogLines(std::shared_ptr<LiveLog> log)
    : m_log(std::move(log)), m_lines(m_log->entries()) {
    connect(m_log.get(), &LiveLog::entriesChanged, this, &LogLines::update);
}

int LogLines::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_lines.size());
}

QVariant LogLines::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const QString& line = m_lines[index.row()];
    switch (role) {
    case lineRole:
        return line;
    case colorRole:
        return VelmorinMainView::colorFor(line);
    default:
        return {};
    }
}

QHash<int, QByteArray> LogLines::roleNames() const {
    return {{lineRole, "line"}, {colorRole, "lineColor"}};
}

void LogLines::update() {
    const QStringList& lines = m_log->entries();
    const auto oldCount = static_cast<int>(m_lines.size());
    const auto newCount = static_cast<int>(lines.size());
    const int kept = std::min(oldCount, newCount);
    const bool isTextMoved = !std::equal(lines.begin(), lines.begin() + kept, m_lines.begin());
    if (newCount < oldCount) {
        beginRemoveRows({}, newCount, oldCount - 1);
        m_lines = lines;
        endRemoveRows();
    } else if (newCount > oldCount) {
        beginInsertRows({}, oldCount, newCount - 1);
        m_lines = lines;
        endInsertRows();
    } else {
        m_lines = lines;
    }
    if (isTextMoved) {
        Q_EMIT dataChanged(index(0), index(kept - 1));
    }
}

} // namespace velmorin
