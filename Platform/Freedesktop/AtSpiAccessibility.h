// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Accessibility.h"
#include "Platform/ActiveWindow.h"
#include "Platform/Freedesktop/AccessibilityOffer.h"
#include "Platform/Freedesktop/AtSpiElement.h"
#include "Platform/Freedesktop/AtSpiFocus.h"

#include <QCoreApplication>
#include <QObject>
#include <QSet>

#include <memory>
#include <optional>

namespace velmorin {

/// Accessibility through AT-SPI 2 on D-Bus. "Trusted" means that the accessibility bus is there
/// and switched on.
///
/// Applications are not believed: some accept a write and do nothing, some carry out a write into
/// a read-only field. So a field is written only when its states and interfaces allow it, and read
/// again afterwards; what was half done is put back, also when a late answer leaves it so.
class AtSpiAccessibility : public Accessibility {
public:
    /// The objects of `ownProcessId` are not looked at: they would answer from this very thread, so
    /// that asking them only waits in vain.
    explicit AtSpiAccessibility(std::shared_ptr<ActiveWindow> activeWindow,
                                qint64 ownProcessId = QCoreApplication::applicationPid());

    [[nodiscard]] bool isProcessTrusted() override;
    bool isProcessTrustedWithOptions(const QVariantMap& options) override;
    [[nodiscard]] AXUIElementRef createSystemWide() override;
    [[nodiscard]] AXError copyAttributeValue(const AXUIElementRef& element,
                                             const QString& attribute, QVariant& value) override;
    [[nodiscard]] AXError setAttributeValue(const AXUIElementRef& element, const QString& attribute,
                                            const QVariant& value) override;
    [[nodiscard]] bool isWritePending() override;

    /// A text that stands in a field before the one whose place it is to take. Lengths in the
    /// application's own unit.
    struct Insertion {
        int start = 0;
        int length = 0;
        int replacedLength = 0;
        QString text;
        QString replaced;
    };

private:
    [[nodiscard]] AXError copyFocused(QVariant& value);
    [[nodiscard]] AXError mayWrite(AtSpiElement& element);
    void awaitLateAnswer(const std::shared_ptr<AtSpiElement>& element,
                         const std::optional<Insertion>& insertion);

    std::shared_ptr<ActiveWindow> m_activeWindow;
    AtSpiBus m_bus;
    AtSpiFocus m_focus;
    AccessibilityOffer m_offer;
    qint64 m_ownProcessId;
    QSet<qint64> m_processesWithPendingWrite;
    QObject m_lateAnswers; ///< As long as it lives, late answers are listened to.
};

} // namespace velmorin
