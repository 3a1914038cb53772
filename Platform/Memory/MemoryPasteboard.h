// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Pasteboard.h"

#include <QStringList>

namespace velmorin {

/// A pasteboard of this process alone, with a journal of the calls. Main thread.
class MemoryPasteboard final : public Pasteboard {
public:
    [[nodiscard]] std::optional<QString> string(const QString& type) override {
        m_journal.append(QStringLiteral("string"));
        return isPlainText(type) ? m_text : std::nullopt;
    }

    qint64 clearContents() override {
        m_journal.append(QStringLiteral("clearContents"));
        copyElsewhere(std::nullopt);
        return m_changeCount;
    }

    bool setString(const QString& text, const QString& type) override {
        m_journal.append(QStringLiteral("setString ") + text);
        if (!isPlainText(type)) {
            return false;
        }
        copyElsewhere(text);
        return true;
    }

    [[nodiscard]] qint64 changeCount() override {
        m_journal.append(QStringLiteral("changeCount"));
        return m_changeCount;
    }

    /// What another application does that copies `text`, or something that has no text, such as an
    /// image.
    void copyElsewhere(std::optional<QString> text) {
        m_text = std::move(text);
        ++m_changeCount;
    }

    /// What is there, without a line in the journal.
    [[nodiscard]] const std::optional<QString>& text() const { return m_text; }

    /// The calls, oldest first: "string", "clearContents", "setString TEXT", "changeCount".
    [[nodiscard]] const QStringList& journal() const { return m_journal; }

private:
    [[nodiscard]] static bool isPlainText(const QString& type) {
        return type == QLatin1String(NSPasteboardTypeString);
    }

    std::optional<QString> m_text;
    qint64 m_changeCount = 0;
    QStringList m_journal;
};

} // namespace velmorin
