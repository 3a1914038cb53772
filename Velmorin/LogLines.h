// SPDX-License-Identifier: MIT
#pragma once

#include "Velmorin/LiveLog.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

namespace velmorin {

/// The live log as rows, oldest first. A row is known by its number: when the oldest line goes, the
/// rows stay and their texts move up. Main thread.
class LogLines : public QAbstractListModel {
    Q_OBJECT
    QML_ANONYMOUS

public:
    enum Role { lineRole = Qt::UserRole, colorRole };

    explicit LogLines(std::shared_ptr<LiveLog> log);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

private:
    void update();

    std::shared_ptr<LiveLog> m_log;
    QStringList m_lines;
};

} // namespace velmorin
