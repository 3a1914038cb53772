// SPDX-License-Identifier: MIT
#include "Platform/Freedesktop/AtSpiAccessibility.h"
#include "Platform/Memory/MemoryActiveWindow.h"

#include "tests/platform/FakeAtSpiApplication.h"
#include "tests/platform/XUser.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <csignal>

namespace velmorin {

namespace {

using test::FakeAtSpiApplication;
using test::waitUntil;
using Toolkit = FakeAtSpiApplication::Toolkit;
using Writes = FakeAtSpiApplication::Writes;

class AtSpiAccessibilityTest : public testing::Test {
protected:
    void SetUp() override {
        m_activeWindow->process = QCoreApplication::applicationPid();
        ASSERT_TRUE(m_accessibility.isProcessTrusted());
        m_application.setText(QStringLiteral("hello world"));
        ASSERT_TRUE(waitUntil([&] {
            m_application.emitFocused();
            return focused() != nullptr;
        }));
    }

    AXUIElementRef focused() {
        QVariant value;
        const AXError error = m_accessibility.copyAttributeValue(
            m_accessibility.createSystemWide(), QString::fromLatin1(kAXFocusedUIElementAttribute),
            value);
        return error == AXError::success ? value.value<AXUIElementRef>() : nullptr;
    }

    AXError copy(const AXUIElementRef& element, const char* attribute, QVariant& value) {
        return m_accessibility.copyAttributeValue(element, QString::fromLatin1(attribute), value);
    }

    AXError set(const AXUIElementRef& element, const char* attribute, const QString& value) {
        return m_accessibility.setAttributeValue(element, QString::fromLatin1(attribute), value);
    }

    FakeAtSpiApplication m_application;
    std::shared_ptr<MemoryActiveWindow> m_activeWindow = std::make_shared<MemoryActiveWindow>();
    AtSpiAccessibility m_accessibility{m_activeWindow, 0}; // the application is in this process
};

TEST_F(AtSpiAccessibilityTest, ReadsTheSelectionAndTheValue) {
    QVariant value;
    EXPECT_EQ(copy(focused(), kAXSelectedTextAttribute, value), AXError::success);
    EXPECT_EQ(value.toString(), QString());
    EXPECT_EQ(copy(focused(), kAXValueAttribute, value), AXError::success);
    EXPECT_EQ(value.toString(), QStringLiteral("hello world"));
    m_application.setText(QStringLiteral("hello world"), 6, 11);
    EXPECT_EQ(copy(focused(), kAXSelectedTextAttribute, value), AXError::success);
    EXPECT_EQ(value.toString(), QStringLiteral("world"));
    EXPECT_EQ(copy(focused(), "AXTitle", value), AXError::attributeUnsupported);
}

TEST_F(AtSpiAccessibilityTest, AWriteIsASuccessOnlyWhenTheFieldHoldsIt) {
    struct Row {
        const char* name;
        std::function<void(FakeAtSpiApplication&)> misbehave;
        bool valueWritten;
        bool selectionWritten;
        const char* suffix = "";
    };
    const auto writing = [](Writes writes) { return [writes](auto& app) { app.writes = writes; }; };
    const std::vector<Row> rows{
        {"GTK", [](auto&) {}, true, true},
        {"Qt", [](auto& app) { app.toolkit = Toolkit::qt; }, true, true},
        {"accepts and does nothing", writing(Writes::acceptedOnly), false, false},
        {"refuses", writing(Writes::refused), false, false},
        {"keeps a part", writing(Writes::truncated), false, true},
        {"inserts a part", writing(Writes::shortened), true, false},
        {"inserts but does not delete", writing(Writes::insertedOnly), true, false},
        {"inserts something else", writing(Writes::transformed), true, false},
        {"completes what is inserted", writing(Writes::completed), true, true, "!!"},
        {"inserts in the selection's place", writing(Writes::replacesSelection), true, true},
        {"read-only", [](auto& app) { app.isReadOnly = true; }, false, false},
        {"not editable", [](auto& app) { app.isEditable = false; }, false, false},
        {"no EditableText", [](auto& app) { app.hasEditableText = false; }, false, false},
    };
    const QString arabic = QStringLiteral("\u0647\u062B\u0643");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        m_application.toolkit = Toolkit::gtk;
        m_application.writes = Writes::carriedOut;
        m_application.isReadOnly = false;
        m_application.isEditable = m_application.hasEditableText = true;
        row.misbehave(m_application);

        m_application.setText(QStringLiteral("hello world"));
        EXPECT_EQ(set(focused(), kAXValueAttribute, arabic) == AXError::success, row.valueWritten);
        EXPECT_EQ(m_application.text(), row.valueWritten ? arabic : QStringLiteral("hello world"));

        m_application.setText(QStringLiteral("hello world"), 6, 9);
        EXPECT_EQ(set(focused(), kAXSelectedTextAttribute, arabic) == AXError::success,
                  row.selectionWritten);
        EXPECT_EQ(m_application.text(),
                  (row.selectionWritten ? QStringLiteral("hello ") + arabic + QStringLiteral("ld")
                                        : QStringLiteral("hello world")) +
                      QString::fromLatin1(row.suffix));
    }
}

TEST_F(AtSpiAccessibilityTest, WhatLooksInsertedAndIsNotIsLeftAlone) {
    m_application.writes = Writes::acceptedOnly;
    m_application.setText(QStringLiteral("hahahaha"), 0, 2);
    EXPECT_NE(set(focused(), kAXSelectedTextAttribute, QStringLiteral("xx")), AXError::success);
    EXPECT_EQ(m_application.text(), QStringLiteral("hahahaha"));
}

TEST_F(AtSpiAccessibilityTest, AnApplicationMayCountInUtf16) {
    const QString smile = QStringLiteral("\U0001F600");
    m_application.setText(QStringLiteral("hello ") + smile + QStringLiteral("x!"), 6, 9);
    EXPECT_EQ(set(focused(), kAXSelectedTextAttribute, smile + QStringLiteral("\u0621")),
              AXError::success);
    EXPECT_EQ(m_application.text(), QStringLiteral("hello ") + smile + QStringLiteral("\u0621!"));
}

TEST_F(AtSpiAccessibilityTest, AWriteThatIsAnsweredTooLateIsNotLeftHalfDone) {
    const QString hello = QStringLiteral("hello world");
    const QString arabic = QStringLiteral("\u0647\u062B\u0643");
    const struct {
        const char* attribute;
        const char* hangsAt;
        QString after;
    } rows[] = {
        {kAXValueAttribute, "SetTextContents", arabic},
        {kAXSelectedTextAttribute, "InsertText", hello},
        {kAXSelectedTextAttribute, "DeleteText",
         QStringLiteral("hello ") + arabic + QStringLiteral("ld")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.hangsAt);
        const bool isValue = row.attribute == kAXValueAttribute;
        m_application.setText(hello, isValue ? 0 : 6, isValue ? 0 : 9);
        const AXUIElementRef element = focused();
        ASSERT_TRUE(element);
        m_application.hangsAt = QString::fromLatin1(row.hangsAt);
        EXPECT_EQ(set(element, row.attribute, arabic), AXError::cannotComplete);
        EXPECT_EQ(m_application.text().size(), row.hangsAt == std::string_view("DeleteText")
                                                   ? hello.size() + arabic.size()
                                                   : hello.size());
        EXPECT_TRUE(m_accessibility.isWritePending());
        m_activeWindow->process = 1;
        EXPECT_FALSE(m_accessibility.isWritePending()) << "another application's window";
        m_activeWindow->process = QCoreApplication::applicationPid();

        m_application.hangs = false;
        EXPECT_TRUE(waitUntil([&] { return !m_accessibility.isWritePending(); }));
        EXPECT_EQ(m_application.text(), row.after);
    }
}

TEST_F(AtSpiAccessibilityTest, OnlyTheFocusedElementOfTheActiveWindowIsWritten) {
    const AXUIElementRef element = focused();
    m_application.isFocused = false;
    EXPECT_NE(set(element, kAXValueAttribute, QStringLiteral("x")), AXError::success);
    m_application.isFocused = true;
    m_activeWindow->process = 1;
    EXPECT_EQ(set(element, kAXValueAttribute, QStringLiteral("x")), AXError::invalidUIElement);
    EXPECT_EQ(focused(), nullptr);
    m_activeWindow->process = std::nullopt;
    EXPECT_EQ(focused(), nullptr);
    EXPECT_EQ(m_application.text(), QStringLiteral("hello world"));
}

TEST_F(AtSpiAccessibilityTest, WhatWasTypedSinceTheReadingIsNotOverwritten) {
    const AXUIElementRef element = focused();
    QVariant value;
    ASSERT_EQ(copy(element, kAXSelectedTextAttribute, value), AXError::success);
    // Between two questions, the text has grown.
    m_application.setText(QStringLiteral("hello worlds"));
    ASSERT_EQ(copy(element, kAXValueAttribute, value), AXError::success);
    EXPECT_EQ(value.toString(), QStringLiteral("hello worlds"));
    m_application.setText(QStringLiteral("hello worlds!"));
    EXPECT_NE(set(element, kAXValueAttribute, QStringLiteral("x")), AXError::success);
    EXPECT_EQ(m_application.text(), QStringLiteral("hello worlds!"));
    EXPECT_EQ(set(focused(), kAXValueAttribute, QStringLiteral("x")), AXError::success);

    m_application.setText(QStringLiteral("hello worlds"), 6, 11);
    ASSERT_EQ(copy(element, kAXSelectedTextAttribute, value), AXError::success);
    for (const auto& [text, end] : {std::pair("hello worlds", 12), std::pair("hello xxxxxs", 11)}) {
        m_application.setText(QString::fromLatin1(text), 6, end);
        EXPECT_NE(set(element, kAXSelectedTextAttribute, QStringLiteral("x")), AXError::success);
        EXPECT_EQ(m_application.text(), QString::fromLatin1(text));
    }

    m_application.setText(QStringLiteral("hello worlds"));
    ASSERT_EQ(copy(element, kAXSelectedTextAttribute, value), AXError::success);
    ASSERT_EQ(copy(element, kAXValueAttribute, value), AXError::success);
    m_application.setText(QStringLiteral("hello worlds"), 6, 11);
    EXPECT_NE(set(element, kAXValueAttribute, QStringLiteral("x")), AXError::success);
    EXPECT_EQ(m_application.text(), QStringLiteral("hello worlds"));
}

TEST_F(AtSpiAccessibilityTest, WhatWasTypedJustBeforeIsRead) {
    m_activeWindow->onAwaitInput = [&] { m_application.setText(QStringLiteral("hello worlds")); };
    QVariant value;
    ASSERT_EQ(copy(focused(), kAXValueAttribute, value), AXError::success);
    EXPECT_EQ(value.toString(), QStringLiteral("hello worlds"));
}

TEST_F(AtSpiAccessibilityTest, AFocusThatMovesWhileItIsLookedForIsFound) {
    m_application.movesFocusWhenAsked = true;
    EXPECT_NE(focused(), nullptr);
}

TEST_F(AtSpiAccessibilityTest, AnApplicationThatHangsIsGivenUp) {
    const AXUIElementRef element = focused();
    m_application.hangs = true;
    QVariant value;
    EXPECT_EQ(copy(element, kAXSelectedTextAttribute, value), AXError::cannotComplete);
    // From here on nothing waits any more for this element.
    EXPECT_EQ(copy(element, kAXValueAttribute, value), AXError::cannotComplete);
    EXPECT_EQ(focused(), nullptr);
    m_application.hangs = false;
    EXPECT_TRUE(waitUntil([&] { return focused() != nullptr; }));
}

/// The process of the accessibility bus.
pid_t busDaemon() {
    const QString name = QStringLiteral("killer");
    const QDBusReply<QString> address =
        QDBusConnection::sessionBus().call(QDBusMessage::createMethodCall(
            QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
            QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
    const QDBusReply<uint> daemon = QDBusConnection::connectToBus(address.value(), name)
                                        .interface()
                                        ->servicePid(QStringLiteral("org.freedesktop.DBus"));
    EXPECT_TRUE(daemon.isValid());
    QDBusConnection::disconnectFromBus(name);
    return static_cast<pid_t>(daemon.value());
}

TEST_F(AtSpiAccessibilityTest, ABusThatHangsKeepsNothingElseWaiting) {
    const pid_t daemon = busDaemon();
    ASSERT_EQ(::kill(daemon, SIGSTOP), 0);
    QElapsedTimer elapsed;
    elapsed.start();
    AtSpiAccessibility other(m_activeWindow);
    EXPECT_FALSE(other.isProcessTrusted());
    EXPECT_FALSE(QDBusConnection::sessionBus().interface()->isServiceRegistered(
        QStringLiteral("org.velmorin.Nobody")));
    EXPECT_LT(elapsed.elapsed(), 5000); // libdbus left to itself waits for 25 seconds
    ASSERT_EQ(::kill(daemon, SIGCONT), 0);
    EXPECT_TRUE(waitUntil([&] { return other.isProcessTrusted(); }));
}

TEST_F(AtSpiAccessibilityTest, ComesBackAfterTheBusWasLost) {
    ASSERT_EQ(::kill(busDaemon(), SIGKILL), 0);
    EXPECT_TRUE(waitUntil([&] { return focused() == nullptr; }));
    EXPECT_TRUE(waitUntil([&] { return m_accessibility.isProcessTrusted(); }));
}

} // namespace

} // namespace velmorin
