// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Accessibility.h"
#include "Platform/Freedesktop/AtSpiBus.h"

#include <QSet>
#include <QStringList>

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

namespace velmorin {

/// Where an accessible object lives: the application's name on the bus and the object's path.
struct AtSpiAddress {
    QString service;
    QString path;

    friend bool operator==(const AtSpiAddress&, const AtSpiAddress&) = default;
};

/// The states of an accessible object, as `org.a11y.atspi.Accessible.GetState` gives them: bit n is
/// the n-th state of AtspiStateType.
class AtSpiStates {
public:
    enum State { editable = 7, focused = 12, managesDescendants = 31, readOnly = 43 };

    AtSpiStates() = default;
    explicit AtSpiStates(const QDBusMessage& reply);
    [[nodiscard]] bool has(State state) const { return (m_bits >> state & 1U) != 0; }

private:
    quint64 m_bits = 0;
};

/// A part of a text.
struct AtSpiRange {
    int start = 0;
    int end = 0;

    friend bool operator==(const AtSpiRange&, const AtSpiRange&) = default;
};

/// What is asked of an accessible object at once.
struct AtSpiQuestions {
    bool states = false;
    bool interfaces = false;
    bool selection = false;
    bool characterCount = false;
    bool caretOffset = false;
    bool toolkit = false;
    std::optional<AtSpiRange> text = std::nullopt;
};

/// One accessible object of another application: its interfaces `Accessible`, `Text` and
/// `EditableText` of org.a11y.atspi. Offsets are in the application's own unit (characters for
/// GTK, UTF-16 units for Qt) and are only ever handed back to it.
///
/// A question costs a round trip, of which a flip on a slow machine should have few. Questions that
/// do not depend on each other are asked ahead, all at once; the calls that follow take the
/// answers.
///
/// All waiting for the application's answers is paid from one purse of 800 ms; a call that comes
/// after it is empty fails at once, and so does every call after one that was not answered in time.
/// A write has two seconds of its own, and fills the purse again when it is answered.
class AtSpiElement : public AXUIElement {
public:
    using Range = AtSpiRange;
    using Questions = AtSpiQuestions;

    AtSpiElement(AtSpiBus& bus, AtSpiAddress address, std::optional<qint64> processId);

    [[nodiscard]] const AtSpiAddress& address() const { return m_address; }
    [[nodiscard]] std::optional<qint64> processId() const { return m_processId; }

    /// Whether the last call failed because the application did not answer in time.
    [[nodiscard]] bool isHung() const { return m_hung; }
    /// Whether that leaves open what has become of a write.
    [[nodiscard]] bool isWritePending() const { return m_hung && m_hasWritten; }
    /// Is finished, with an error or without, when the application has handled all that it was
    /// sent, or has gone.
    [[nodiscard]] QDBusPendingCall whenAllIsHandled() const;

    /// Asks without waiting, for the calls that follow at once: each takes its answer from here, a
    /// single time. What was asked before and not taken is forgotten.
    void askAhead(const Questions& questions);
    /// The same; none of the answers is waited for longer than `limit`.
    void askAhead(const Questions& questions, std::chrono::nanoseconds limit);

    [[nodiscard]] std::optional<AtSpiStates> states();
    /// Whether the object has `org.a11y.atspi.<name>`; asked once.
    [[nodiscard]] bool hasInterface(const QString& name);

    /// None on an error; an empty range when nothing is selected.
    [[nodiscard]] std::optional<Range> selection();
    [[nodiscard]] std::optional<int> characterCount();
    [[nodiscard]] std::optional<int> caretOffset();
    [[nodiscard]] std::optional<QString> text(Range range);

    /// The text of the selection, which is `range`; empty without a question where that is empty.
    [[nodiscard]] std::optional<QString> selectedText(Range range);
    struct Selected {
        Range range;
        QString text;
    };
    /// What `selectedText()` gave last.
    [[nodiscard]] const std::optional<Selected>& lastSelected() const { return m_lastSelected; }
    [[nodiscard]] std::optional<Range> knownSelection() const;

    /// The whole text. Asked for up to its end by number: GTK 4's entry takes -1 for "nothing".
    [[nodiscard]] std::optional<QString> value();
    /// What `value()` gave last.
    [[nodiscard]] const std::optional<QString>& lastValue() const { return m_lastValue; }
    /// The range that is all of the text, as far as is known without asking.
    [[nodiscard]] std::optional<Range> knownExtent() const;

    /// How long the text is in the application's own unit.
    [[nodiscard]] int lengthOf(const QString& text);

    /// False when the application refused. True says only that it did not. `then` is asked right
    /// behind, so that the answers are those after the write.
    bool setText(const QString& text, const Questions& then = {});
    bool insertText(int offset, const QString& text, const Questions& then = {});
    bool deleteText(Range range, const Questions& then = {});
    /// Does not wait.
    void setCaretOffset(int offset);

private:
    static constexpr std::chrono::milliseconds purse{800};

    [[nodiscard]] QDBusMessage message(const char* interface, const char* method) const;
    [[nodiscard]] QDBusMessage property(const char* interface, const char* name) const;
    [[nodiscard]] QDBusMessage toolkitName() const;
    [[nodiscard]] QDBusMessage textMessage(Range range) const;
    [[nodiscard]] std::chrono::nanoseconds readLimit() const;
    QDBusPendingCall send(const QDBusMessage& message, std::chrono::nanoseconds limit) const;
    [[nodiscard]] QDBusMessage ask(const QDBusMessage& question);
    [[nodiscard]] bool write(const QDBusMessage& message, const Questions& then);
    [[nodiscard]] QDBusMessage await(const QDBusPendingCall& pending);
    [[nodiscard]] std::optional<int> askInt(const QDBusMessage& question);
    [[nodiscard]] bool isQt();

    AtSpiBus& m_bus;
    AtSpiAddress m_address;
    std::optional<qint64> m_processId;
    std::optional<QStringList> m_interfaces;
    std::vector<std::pair<QDBusMessage, QDBusPendingCall>> m_ahead;
    std::optional<int> m_lastCount;
    std::optional<QString> m_lastValue;
    std::optional<Selected> m_lastSelected;
    std::optional<bool> m_isQt;
    std::chrono::nanoseconds m_purse = purse;
    bool m_hasWritten = false;
    bool m_hung = false;
};

} // namespace velmorin
