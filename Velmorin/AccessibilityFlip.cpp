// SPDX-License-Identifier: MIT
#include "Velmorin/AppDelegate.h"
#include "Velmorin/KeyboardLayoutMap.h"

#include <optional>

namespace velmorin {

namespace {

/// None when the element cannot be read.
std::optional<AXUIElementRef> focusedElement(Accessibility& accessibility) {
    QVariant value;
    if (accessibility.copyAttributeValue(accessibility.createSystemWide(),
                                         kAXFocusedUIElementAttribute, value) != AXError::success) {
        return std::nullopt;
    }
    const auto element = value.value<AXUIElementRef>();
    if (!element) {
        qFatal("Accessibility reported a focused element and gave none");
    }
    return element;
}

/// The attribute's text; empty also when it cannot be read or is no text.
QString textOf(Accessibility& accessibility, const AXUIElementRef& element,
               const QString& attribute) {
    QVariant value;
    if (accessibility.copyAttributeValue(element, attribute, value) != AXError::success ||
        value.typeId() != QMetaType::QString) {
        return {};
    }
    return value.toString();
}

bool replaceText(Accessibility& accessibility, LiveLog& log, const AXUIElementRef& element,
                 const QString& attribute, const QString& shownName, const QString& converted) {
    const bool written =
        accessibility.setAttributeValue(element, attribute, converted) == AXError::success;
    log.add(QStringLiteral("  AX set %1: %2")
                .arg(shownName, written ? QStringLiteral("OK") : QStringLiteral("FAIL")));
    return written;
}

} // namespace

bool AppDelegate::tryAXFlip(FlipMode mode) {
    Accessibility& accessibility = *m_platform.accessibility;
    if (!accessibility.isProcessTrusted()) {
        log->add(QStringLiteral("  AX not trusted"));
        return false;
    }
    const std::optional<AXUIElementRef> element = focusedElement(accessibility);
    if (!element) {
        log->add(QStringLiteral("  No focused element"));
        return false;
    }
    QString attribute = kAXSelectedTextAttribute;
    QString shownName = QStringLiteral("selected");
    QString text = textOf(accessibility, *element, attribute);
    if (text.isEmpty()) {
        attribute = kAXValueAttribute;
        shownName = QStringLiteral("value");
        text = textOf(accessibility, *element, attribute);
    }
    if (text.isEmpty()) {
        log->add(QStringLiteral("  No text attributes"));
        return false;
    }
    // A selection that converts to itself ends here: the value is not tried in its place.
    const QString converted = KeyboardLayoutMap::convert(text, mode);
    if (converted == text) {
        log->add(QStringLiteral("  Same after convert"));
        return false;
    }
    return replaceText(accessibility, *log, *element, attribute, shownName, converted);
}

} // namespace velmorin
