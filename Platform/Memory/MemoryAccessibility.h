// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Accessibility.h"

#include <QHash>
#include <QStringList>

#include <memory>

namespace velmorin {

/// A session with one element that can have the keyboard focus. Main thread.
class MemoryAccessibility final : public Accessibility {
public:
    /// One attribute of the focused element.
    struct Attribute {
        QVariant value;
        AXError copyError = AXError::success; ///< What reading it answers.
        AXError setError = AXError::success; ///< What writing it answers; an error changes nothing.
    };

    [[nodiscard]] bool isProcessTrusted() override { return trusted; }

    bool isProcessTrustedWithOptions(const QVariantMap& options) override {
        if (!trusted && options.value(kAXTrustedCheckOptionPrompt).toBool()) {
            m_journal.append(QStringLiteral("prompt"));
        }
        return trusted;
    }

    [[nodiscard]] AXUIElementRef createSystemWide() override { return m_systemWide; }

    [[nodiscard]] AXError copyAttributeValue(const AXUIElementRef& element,
                                             const QString& attribute, QVariant& value) override {
        m_journal.append(QStringLiteral("copy ") + attribute);
        if (element == m_systemWide && attribute == kAXFocusedUIElementAttribute) {
            return copyFocus(value);
        }
        if (element != focused || !attributes.contains(attribute)) {
            return AXError::attributeUnsupported;
        }
        const Attribute& found = attributes[attribute];
        if (found.copyError == AXError::success) {
            value = found.value;
        }
        return found.copyError;
    }

    [[nodiscard]] AXError setAttributeValue(const AXUIElementRef& element, const QString& attribute,
                                            const QVariant& value) override {
        m_journal.append(QStringLiteral("set ") + attribute);
        if (element != focused || !attributes.contains(attribute)) {
            return AXError::attributeUnsupported;
        }
        Attribute& found = attributes[attribute];
        if (found.setError == AXError::success) {
            found.value = value;
        }
        return found.setError;
    }

    [[nodiscard]] bool isWritePending() override { return writePending; }

    /// What was asked for, oldest first: "prompt", "copy ATTRIBUTE", "set ATTRIBUTE".
    [[nodiscard]] const QStringList& journal() const { return m_journal; }

    bool trusted = true;
    bool writePending = false;
    AXError focusError = AXError::success; ///< What asking for the focused element answers.
    /// The element with the focus. Null breaks the port's promise when `focusError` is success.
    AXUIElementRef focused = std::make_shared<AXUIElement>();
    /// The attributes of the focused element; any other is unsupported.
    QHash<QString, Attribute> attributes;

private:
    [[nodiscard]] AXError copyFocus(QVariant& value) const {
        if (focusError == AXError::success) {
            value = QVariant::fromValue(focused);
        }
        return focusError;
    }

    const AXUIElementRef m_systemWide = std::make_shared<AXUIElement>();
    QStringList m_journal;
};

} // namespace velmorin
