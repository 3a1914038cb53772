// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QThread>

#include <atomic>
#include <mutex>

namespace velmorin::test {

/// An application on the accessibility bus with one text field that has the focus. It answers on a
/// thread of its own and misbehaves as told. Text is kept in UTF-16 units.
class FakeAtSpiApplication : public QDBusVirtualObject {
public:
    static constexpr char path[] = "/org/a11y/atspi/accessible/7";
    static constexpr char otherPath[] = "/org/a11y/atspi/accessible/8";

    enum class Toolkit { gtk, qt };
    enum class Writes {
        carriedOut,
        acceptedOnly, ///< What is to be written; deletions are carried out.
        refused,
        truncated,         ///< All of the text is cut to two characters.
        shortened,         ///< What is inserted is cut to two characters.
        insertedOnly,      ///< Deletes nothing but what was inserted last.
        transformed,       ///< What is inserted becomes x.
        completed,         ///< With an insertion, the field's end grows.
        replacesSelection, ///< An insertion takes the selection's place.
    };

    /// How the application behaves; set before the question is asked.
    Toolkit toolkit = Toolkit::gtk;
    Writes writes = Writes::carriedOut;
    bool isEditable = true;
    bool isReadOnly = false;
    bool isFocused = true;
    bool movesFocusWhenAsked = false; ///< To `otherPath`, by the question for the states of `path`.
    bool hasEditableText = true;
    std::atomic<bool> hangs = false;
    /// The method at whose call it begins to hang; empty for none.
    QString hangsAt;

    FakeAtSpiApplication() {
        QDBusConnection session = QDBusConnection::sessionBus();
        const QDBusReply<QString> address = session.call(QDBusMessage::createMethodCall(
            QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
            QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
        m_bus = QDBusConnection::connectToBus(address.value(), QStringLiteral("fake-application"));
        m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
        moveToThread(&m_thread);
        m_thread.start();
    }

    ~FakeAtSpiApplication() override {
        m_bus.unregisterObject(QStringLiteral("/"), QDBusConnection::UnregisterTree);
        QDBusConnection::disconnectFromBus(QStringLiteral("fake-application"));
        m_thread.quit();
        m_thread.wait();
    }

    [[nodiscard]] QString text() {
        const std::lock_guard guard(m_mutex);
        return m_text;
    }

    void setText(const QString& text, int selectionStart = 0, int selectionEnd = 0) {
        const std::lock_guard guard(m_mutex);
        m_text = text;
        m_selection = {selectionStart, selectionEnd};
    }

    /// Tells the bus that the field has got the focus.
    void emitFocused(const char* field = path) {
        QDBusMessage signal = QDBusMessage::createSignal(
            QString::fromLatin1(field), QStringLiteral("org.a11y.atspi.Event.Object"),
            QStringLiteral("StateChanged"));
        signal << QStringLiteral("focused") << 1 << 0 << QVariant::fromValue(QDBusVariant(0))
               << QVariantMap();
        m_bus.send(signal);
    }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == hangsAt) {
            hangsAt.clear();
            hangs = true;
        }
        while (hangs) {
            QThread::msleep(1);
        }
        if (movesFocusWhenAsked && message.member() == QStringLiteral("GetState")) {
            isFocused = message.path() == QString::fromLatin1(otherPath);
            emitFocused(otherPath);
        }
        const QVariant result = answer(message);
        if (message.member() == QStringLiteral("GetSelection")) {
            const std::lock_guard guard(m_mutex);
            connection.send(message.createReply({m_selection.first, m_selection.second}));
        } else if (result.isValid()) {
            connection.send(message.createReply(result));
        } else {
            connection.send(message.createErrorReply(QDBusError::UnknownMethod, QString()));
        }
        return true;
    }

private:
    QVariant answer(const QDBusMessage& message) {
        const std::lock_guard guard(m_mutex);
        const QString member = message.member();
        const QVariantList in = message.arguments();
        if (member == QStringLiteral("GetInterfaces")) {
            QStringList interfaces{QStringLiteral("org.a11y.atspi.Accessible"),
                                   QStringLiteral("org.a11y.atspi.Text")};
            if (hasEditableText) {
                interfaces << QStringLiteral("org.a11y.atspi.EditableText");
            }
            return interfaces;
        }
        if (member == QStringLiteral("GetState")) {
            const uint low = (isEditable ? 1U << 7 : 0U) | (isFocused ? 1U << 12 : 0U);
            return QVariant::fromValue(QList<uint>{low, isReadOnly ? 1U << (43 - 32) : 0U});
        }
        if (member == QStringLiteral("Get")) {
            return QVariant::fromValue(QDBusVariant(property(in.at(1).toString())));
        }
        if (member == QStringLiteral("GetNSelections")) {
            return m_selection.first == m_selection.second ? 0 : 1;
        }
        if (member == QStringLiteral("GetSelection")) {
            return true; // has two results, which the caller sends
        }
        if (member == QStringLiteral("GetText")) {
            const int start = in.at(0).toInt();
            return m_text.mid(start, in.at(1).toInt() - start);
        }
        if (member == QStringLiteral("SetCaretOffset")) {
            m_caret = in.at(0).toInt();
            return true;
        }
        return write(member, in);
    }

    QVariant property(const QString& name) const {
        if (name == QStringLiteral("CharacterCount")) {
            return static_cast<int>(m_text.size());
        }
        if (name == QStringLiteral("CaretOffset")) {
            return m_caret;
        }
        return toolkit == Toolkit::qt ? QStringLiteral("Qt") : QStringLiteral("gtk");
    }

    QVariant write(const QString& member, const QVariantList& in) {
        if (writes == Writes::refused) {
            return false;
        }
        if (writes == Writes::acceptedOnly && member != QStringLiteral("DeleteText")) {
            return true;
        }
        if (member == QStringLiteral("SetTextContents")) {
            const QString text = in.at(0).toString();
            m_text = writes == Writes::truncated && text != m_original ? text.left(2) : text;
            return true;
        }
        if (member == QStringLiteral("InsertText")) {
            insert(in.at(0).toInt(), in.at(1).toString(), in.at(2).toInt());
            return true;
        }
        if (member == QStringLiteral("DeleteText")) {
            // One that only inserts still lets go of what was just inserted.
            const int start = in.at(0).toInt();
            if (writes == Writes::insertedOnly && start != m_selection.first) {
                return false;
            }
            m_text.remove(start, in.at(1).toInt() - start);
            return true;
        }
        return {};
    }

    void insert(int start, const QString& text, int length) {
        QString taken = toolkit == Toolkit::qt ? text.leftJustified(length, QChar(u'\0'), true)
                                               : QString::fromUtf8(text.toUtf8().left(length));
        if (writes == Writes::shortened) {
            taken.truncate(2);
        } else if (writes == Writes::transformed) {
            taken.fill(u'x');
        } else if (writes == Writes::replacesSelection) {
            m_text.remove(m_selection.first, m_selection.second - m_selection.first);
        }
        m_text.insert(start, taken);
        if (writes == Writes::completed) {
            m_text.append(QStringLiteral("!!"));
        }
    }

    QThread m_thread;
    QDBusConnection m_bus{QStringLiteral("none")};
    std::mutex m_mutex;
    QString m_text;
    QString m_original = QStringLiteral("hello world");
    std::pair<int, int> m_selection;
    int m_caret = 0;
};

} // namespace velmorin::test
