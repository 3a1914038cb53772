// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/AtSpiAccessibility.h"

#include <algorithm>
#include <chrono>
#include <tuple>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

/// Stands for the whole session.
class SystemWideElement : public AXUIElement {};

/// How long a connection that is being made may keep a question about it waiting.
constexpr auto kConnectLimit = 500ms;

/// How long an application may take to handle the keys that were pressed before.
constexpr auto kInputLimit = 250ms;

AXError errorOf(const AtSpiElement& element) {
    return element.isHung() ? AXError::cannotComplete : AXError::failure;
}

AXError copySelectedText(AtSpiElement& element, QVariant& value) {
    element.askAhead({.selection = true, .characterCount = true});
    const std::optional<AtSpiElement::Range> range = element.selection();
    std::ignore = element.characterCount(); // then known to who reads the value next
    if (!range) {
        return errorOf(element);
    }
    const std::optional<QString> text = element.selectedText(*range);
    if (!text) {
        return errorOf(element);
    }
    value = *text;
    return AXError::success;
}

AXError copyValue(AtSpiElement& element, QVariant& value) {
    element.askAhead({.characterCount = true, .text = element.knownExtent()});
    const std::optional<QString> text = element.value();
    if (!text) {
        return errorOf(element);
    }
    value = *text;
    return AXError::success;
}

/// Replaces everything, unless it or the selection has changed since it was read. The caret stays
/// where it is: the text has as many characters as before.
AXError setValue(AtSpiElement& element, const QString& text) {
    const std::optional<QString> read = element.lastValue();
    const std::optional<AtSpiElement::Range> selectionRead = element.knownSelection();
    const std::optional<AtSpiElement::Range> selection = element.selection();
    const std::optional<int> caret = element.caretOffset();
    const std::optional<QString> old = element.value();
    if (!old || (read && read != old) || (selectionRead && selectionRead != selection)) {
        return errorOf(element);
    }
    const std::optional<AtSpiElement::Range> extent = element.knownExtent();
    element.setText(text, {.characterCount = true, .text = extent});
    const std::optional<QString> written = element.value();
    if (written == text) {
        element.setCaretOffset(caret.value_or(element.knownExtent()->end));
        return AXError::success;
    }
    if (written && written != old) {
        element.setText(*old); // it took something else, say a part of the text
    }
    return errorOf(element);
}

/// Replaces the selection, unless it has changed since it was read: the new text goes in before it
/// and only then the old text out, so that an application that refuses either step loses nothing.
AXError setSelectedText(AtSpiElement& element, const QString& text) {
    const std::optional<AtSpiElement::Selected> read = element.lastSelected();
    const std::optional<AtSpiElement::Range> range = element.selection();
    const std::optional<int> count = element.characterCount();
    if (!range || range->start == range->end || !count ||
        (read && (read->range != *range || element.text(*range) != read->text))) {
        return errorOf(element);
    }
    const int removed = range->end - range->start;
    element.insertText(
        range->start, text,
        {.characterCount = true, .text = AtSpiElement::Range{range->start, range->end}});
    const std::optional<int> grown = element.characterCount();
    const int added = grown ? *grown - *count : 0;
    if (added <= 0) {
        return errorOf(element);
    }
    const AtSpiElement::Range inserted{range->start, range->start + added};
    if (element.text(inserted) == text &&
        element.deleteText({inserted.end, inserted.end + removed},
                           {.characterCount = true, .text = inserted}) &&
        element.characterCount() == *count + added - removed && element.text(inserted) == text) {
        element.setCaretOffset(inserted.end);
        return AXError::success;
    }
    if (element.characterCount() == grown) {
        element.deleteText(inserted); // the old text is still there
    }
    return errorOf(element);
}

} // namespace

AtSpiAccessibility::AtSpiAccessibility(std::shared_ptr<ActiveWindow> activeWindow,
                                       qint64 ownProcessId)
    : m_activeWindow(std::move(activeWindow)), m_focus(m_bus), m_offer(m_bus),
      m_ownProcessId(ownProcessId) {}

bool AtSpiAccessibility::isProcessTrusted() {
    return m_bus.isEnabled(QDeadlineTimer(kConnectLimit));
}

bool AtSpiAccessibility::isProcessTrustedWithOptions(const QVariantMap& options) {
    const bool trusted = isProcessTrusted();
    if (!trusted && options.value(QString::fromLatin1(kAXTrustedCheckOptionPrompt)).toBool()) {
        m_offer.show();
    }
    return trusted;
}

AXUIElementRef AtSpiAccessibility::createSystemWide() {
    return std::make_shared<SystemWideElement>();
}

AXError AtSpiAccessibility::copyAttributeValue(const AXUIElementRef& element,
                                               const QString& attribute, QVariant& value) {
    if (!m_bus.isConnected()) {
        return AXError::apiDisabled;
    }
    if (std::dynamic_pointer_cast<SystemWideElement>(element)) {
        return attribute == QLatin1String(kAXFocusedUIElementAttribute)
                   ? copyFocused(value)
                   : AXError::attributeUnsupported;
    }
    const auto accessible = std::dynamic_pointer_cast<AtSpiElement>(element);
    if (!accessible) {
        return AXError::illegalArgument;
    }
    if (!accessible->hasInterface(QStringLiteral("Text"))) {
        return accessible->isHung() ? AXError::cannotComplete : AXError::attributeUnsupported;
    }
    if (attribute == QLatin1String(kAXSelectedTextAttribute)) {
        return copySelectedText(*accessible, value);
    }
    return attribute == QLatin1String(kAXValueAttribute) ? copyValue(*accessible, value)
                                                         : AXError::attributeUnsupported;
}

AXError AtSpiAccessibility::setAttributeValue(const AXUIElementRef& element,
                                              const QString& attribute, const QVariant& value) {
    if (!m_bus.isConnected()) {
        return AXError::apiDisabled;
    }
    const auto accessible = std::dynamic_pointer_cast<AtSpiElement>(element);
    if (!accessible || value.typeId() != QMetaType::QString) {
        return AXError::illegalArgument;
    }
    const bool selected = attribute == QLatin1String(kAXSelectedTextAttribute);
    if (!selected && attribute != QLatin1String(kAXValueAttribute)) {
        return AXError::attributeUnsupported;
    }
    // What the check and the writing ask first, at once.
    accessible->askAhead(
        {.states = true,
         .interfaces = true,
         .selection = true,
         .characterCount = true,
         .caretOffset = !selected,
         .toolkit = selected,
         .text = selected ? accessible->knownSelection() : accessible->knownExtent()});
    if (const AXError error = mayWrite(*accessible); error != AXError::success) {
        return error;
    }
    return selected ? setSelectedText(*accessible, value.toString())
                    : setValue(*accessible, value.toString());
}

AXError AtSpiAccessibility::copyFocused(QVariant& value) {
    const std::optional<qint64> process = m_activeWindow->processId();
    if (!process || *process == m_ownProcessId) {
        return AXError::noValue;
    }
    // What was typed just before is to be in the text that is read next.
    m_activeWindow->awaitInputHandled(kInputLimit);
    const std::shared_ptr<AtSpiElement> focused = m_focus.find(*process);
    if (!focused) {
        return AXError::noValue;
    }
    value = QVariant::fromValue(AXUIElementRef(focused));
    return AXError::success;
}

AXError AtSpiAccessibility::mayWrite(AtSpiElement& element) {
    if (!element.processId() || m_activeWindow->processId() != element.processId()) {
        return AXError::invalidUIElement;
    }
    const std::optional<AtSpiStates> states = element.states();
    if (!states || !element.hasInterface(QStringLiteral("EditableText"))) {
        return states ? AXError::attributeUnsupported : errorOf(element);
    }
    const bool writable = states->has(AtSpiStates::focused) && states->has(AtSpiStates::editable) &&
                          !states->has(AtSpiStates::readOnly);
    return writable ? AXError::success : AXError::failure;
}

} // namespace velmorin
