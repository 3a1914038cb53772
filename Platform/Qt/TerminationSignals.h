// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <array>
#include <memory>

namespace velmorin {

/// Hands SIGTERM, SIGINT and SIGHUP to the event loop, which is where a program can end cleanly.
/// One at a time. Main thread.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    TerminationSignals();
    ~TerminationSignals() override;

Q_SIGNALS:
    void received();

private:
    std::array<int, 2> m_pipe{-1, -1}; ///< The handler writes into [1].
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace velmorin
