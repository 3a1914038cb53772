// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/AtSpiAccessibility.h"

#include <QDBusPendingCallWatcher>

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

using Insertion = AtSpiAccessibility::Insertion;

AtSpiElement::Range insertedRange(const Insertion& insertion) {
    return {insertion.start, insertion.start + insertion.length};
}

AtSpiElement::Range replacedRange(const Insertion& insertion) {
    const int start = insertedRange(insertion).end;
    return {start, start + insertion.replacedLength};
}

/// Where the inserted text and behind it the one that it replaces are to be.
AtSpiElement::Range bothRange(const Insertion& insertion) {
    return {insertion.start, replacedRange(insertion).end};
}

/// Deletes what was inserted where it stands before the text that it should have replaced, and
/// nothing else: `both` is what the field holds there.
void takeBack(AtSpiElement& element, const Insertion& insertion,
              const std::optional<QString>& both) {
    if (both == insertion.text + insertion.replaced) {
        element.deleteText(insertedRange(insertion));
    }
}

/// The same where the field has taken only the beginning of the text, or something else of its
/// size.
void takeBackOther(AtSpiElement& element, Insertion insertion, const QString& both) {
    if (!both.endsWith(insertion.replaced)) {
        return;
    }
    const QString inserted = both.chopped(insertion.replaced.size());
    if (!inserted.isEmpty() &&
        (inserted.size() == insertion.text.size() || insertion.text.startsWith(inserted))) {
        insertion.text = inserted;
        takeBack(element, insertion, both);
    }
}

/// Replaces the selection, unless it has changed since it was read: the new text goes in before it
/// and only then the old text out, so that an application that refuses either step loses nothing.
/// What an answer that did not come in time leaves open is `unfinished`.
AXError setSelectedText(AtSpiElement& element, const QString& text,
                        std::optional<Insertion>& unfinished) {
    const std::optional<AtSpiElement::Selected> read = element.lastSelected();
    const std::optional<AtSpiElement::Range> range = element.selection();
    const std::optional<int> count = element.characterCount();
    const std::optional<QString> replaced =
        range && range->start != range->end ? element.text(*range) : std::nullopt;
    if (!count || !replaced || (read && (read->range != *range || read->text != *replaced))) {
        return errorOf(element);
    }
    Insertion insertion{range->start, element.lengthOf(text), range->end - range->start, text,
                        *replaced};
    unfinished = insertion;
    element.insertText(insertion.start, text,
                       {.characterCount = true, .text = bothRange(insertion)});
    const std::optional<int> grown = element.characterCount();
    std::optional<QString> both = element.text(bothRange(insertion));
    if (!grown || !both) {
        return errorOf(element);
    }
    const int added = *grown - *count;
    const bool hasItselfReplaced =
        added == insertion.length - insertion.replacedLength && both->startsWith(text);
    if (both != text + *replaced && added > 0 && added != insertion.length) {
        insertion.length = added; // in another unit, or not all of it
        unfinished = insertion;
        both = element.text(bothRange(insertion));
    }
    if (both == text + *replaced) {
        const bool isReplaced =
            element.deleteText(replacedRange(insertion),
                               {.characterCount = true, .text = insertedRange(insertion)}) &&
            element.characterCount() == *grown - insertion.replacedLength &&
            element.text(insertedRange(insertion)) == text;
        if (!isReplaced) {
            takeBack(element, insertion, element.text(bothRange(insertion)));
            return errorOf(element);
        }
    } else if (!hasItselfReplaced) {
        if (added > 0 && both) {
            takeBackOther(element, insertion, *both);
        }
        return errorOf(element);
    }
    element.setCaretOffset(insertedRange(insertion).end);
    return AXError::success;
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
    std::optional<Insertion> unfinished;
    const AXError error = selected ? setSelectedText(*accessible, value.toString(), unfinished)
                                   : setValue(*accessible, value.toString());
    if (accessible->isWritePending()) {
        awaitLateAnswer(accessible, unfinished);
    }
    return error;
}

bool AtSpiAccessibility::isWritePending() {
    const std::optional<qint64> process = m_activeWindow->processId();
    return process && m_processesWithPendingWrite.contains(*process);
}

/// The application may still carry out what it was sent. Until it has, nothing else is written.
void AtSpiAccessibility::awaitLateAnswer(const std::shared_ptr<AtSpiElement>& element,
                                         const std::optional<Insertion>& insertion) {
    const qint64 process = *element->processId();
    m_processesWithPendingWrite.insert(process);
    auto* watcher = new QDBusPendingCallWatcher(element->whenAllIsHandled(), &m_lateAnswers);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &m_lateAnswers,
                     [this, watcher, element, insertion, process] {
                         watcher->deleteLater();
                         if (insertion && !watcher->isError()) {
                             AtSpiElement again(m_bus, element->address(), process);
                             takeBack(again, *insertion, again.text(bothRange(*insertion)));
                         }
                         m_processesWithPendingWrite.remove(process);
                     });
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
    const std::optional<qint64> process = m_activeWindow->processId();
    if (!process || process != element.processId()) {
        return AXError::invalidUIElement;
    }
    if (m_processesWithPendingWrite.contains(*process)) {
        return AXError::cannotComplete;
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
