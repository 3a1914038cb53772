// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Accessibility.h"
#include "Platform/Freedesktop/AtSpiBus.h"

#include <QSet>
#include <QStringList>

#include <chrono>
#include <optional>
#include <utility>

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

/// One accessible object of another application: its interfaces `Accessible`, `Text` and
/// `EditableText` of org.a11y.atspi. Offsets are in the application's own unit (characters for
/// GTK, UTF-16 units for Qt) and are only ever handed back to it.
///
/// All waiting for the application is paid from one purse of 800 ms; a call that comes after it
/// is empty fails at once, and so does every call after one that was not answered in time.
class AtSpiElement : public AXUIElement {
public:
    AtSpiElement(AtSpiBus& bus, AtSpiAddress address, std::optional<qint64> processId);

    [[nodiscard]] const AtSpiAddress& address() const { return m_address; }
    [[nodiscard]] std::optional<qint64> processId() const { return m_processId; }

    /// Whether the last call failed because the application did not answer in time.
    [[nodiscard]] bool isHung() const { return m_hung; }

    struct Range {
        int start = 0;
        int end = 0;
    };

    [[nodiscard]] std::optional<AtSpiStates> states();
    /// Whether the object has `org.a11y.atspi.<name>`; asked once.
    [[nodiscard]] bool hasInterface(const QString& name);

    /// None on an error; an empty range when nothing is selected.
    [[nodiscard]] std::optional<Range> selection();
    [[nodiscard]] std::optional<int> characterCount();
    [[nodiscard]] std::optional<int> caretOffset();
    [[nodiscard]] std::optional<QString> text(Range range);

    /// False when the application refused. True says only that it did not.
    bool setText(const QString& text);
    bool insertText(int offset, const QString& text);
    bool deleteText(Range range);
    /// Does not wait.
    void setCaretOffset(int offset);

private:
    [[nodiscard]] QDBusMessage message(const char* interface, const char* method) const;
    [[nodiscard]] QDBusMessage call(const QDBusMessage& message);
    [[nodiscard]] std::optional<int> intProperty(const char* interface, const char* name);
    [[nodiscard]] bool isQt();

    AtSpiBus& m_bus;
    AtSpiAddress m_address;
    std::optional<qint64> m_processId;
    std::optional<QStringList> m_interfaces;
    std::chrono::nanoseconds m_purse = std::chrono::milliseconds(800);
    bool m_hung = false;
};

} // namespace velmorin
