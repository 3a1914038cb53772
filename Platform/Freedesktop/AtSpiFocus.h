// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Freedesktop/AtSpiElement.h"

#include <QHash>
#include <QObject>

#include <deque>
#include <memory>
#include <vector>

namespace velmorin {

/// Knows which accessible object has the keyboard focus: from the applications' focus events, and,
/// where these say nothing useful, by looking through the application's objects. Main thread.
class AtSpiFocus : public QObject {
    Q_OBJECT

public:
    explicit AtSpiFocus(AtSpiBus& bus);

    /// The object of process `processId` that has the focus, one with text if there is one; null
    /// when there is none or the process does not answer. Waits at most 300 ms, and 250 ms for an
    /// answer that does not come.
    [[nodiscard]] std::shared_ptr<AtSpiElement> find(qint64 processId);

private:
    void remember(const AtSpiAddress& address);
    [[nodiscard]] std::optional<qint64> processOf(const QString& service,
                                                  const QDeadlineTimer& deadline);
    struct Found {
        std::shared_ptr<AtSpiElement> element;
        bool isHung = false;
        bool isSettled = false; ///< Asking again would give the same answer.
    };
    [[nodiscard]] Found findAmongRecent(qint64 processId, const QDeadlineTimer& deadline);
    [[nodiscard]] std::shared_ptr<AtSpiElement>
    search(std::vector<AtSpiAddress> level, qint64 processId, const QDeadlineTimer& deadline);
    [[nodiscard]] std::vector<AtSpiAddress> applicationsOf(qint64 processId,
                                                           const QDeadlineTimer& deadline);

    AtSpiBus& m_bus;
    /// Newest first. Several, since more than one object can say that it is focused.
    std::deque<AtSpiAddress> m_recent;
    QHash<QString, qint64> m_processes;
};

} // namespace velmorin
