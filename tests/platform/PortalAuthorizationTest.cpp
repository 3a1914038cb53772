// SPDX-License-Identifier: MIT
// With the desktop portal, its permission store and its dialog; the user is xdotool.
#include "Platform/Freedesktop/PortalAuthorization.h"
#include "tests/platform/XUser.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>

#include <gtest/gtest.h>

#include <optional>

namespace velmorin {
namespace {

using test::waitUntil;

/// What the user says, by where its button is in the dialog.
enum class Say { deny = 135, grant = 405 };

struct PortalAuthorizationTest : testing::Test {
    /// Asks; the user says something as soon as there is a dialog.
    std::optional<bool> answerTo(Say say) {
        std::optional<bool> answer;
        authorization.requestAudioCapture([&](bool granted) { answer = granted; });
        const QString click =
            QStringLiteral("search --onlyvisible --class portal-gtk mousemove --window %1 "
                           "%2 160 click 1")
                .arg(QStringLiteral("%1"), QString::number(static_cast<int>(say)));
        waitUntil([&] {
            if (!answer) {
                QProcess::execute(QStringLiteral("xdotool"), click.split(u' '));
            }
            return answer.has_value();
        });
        return answer;
    }

    PortalAuthorization authorization;
};

/// Before it nobody was asked.
void forgetWhatTheUserSaid() {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.impl.portal.PermissionStore"),
        QStringLiteral("/org/freedesktop/impl/portal/PermissionStore"),
        QStringLiteral("org.freedesktop.impl.portal.PermissionStore"), QStringLiteral("Delete"));
    call << QStringLiteral("devices") << QStringLiteral("microphone");
    QDBusConnection::sessionBus().call(call);
}

TEST_F(PortalAuthorizationTest, TheMicrophoneIsWhatTheUserSays) {
    for (const auto& [say, status] : {std::pair(Say::deny, AuthorizationStatus::denied),
                                      std::pair(Say::grant, AuthorizationStatus::authorized)}) {
        forgetWhatTheUserSaid();
        EXPECT_EQ(authorization.audioCaptureStatus(), AuthorizationStatus::notDetermined);
        EXPECT_EQ(answerTo(say), say == Say::grant);
        EXPECT_EQ(authorization.audioCaptureStatus(), status);
        // The second time nobody is asked.
        std::optional<bool> again;
        authorization.requestAudioCapture([&](bool granted) { again = granted; });
        EXPECT_TRUE(waitUntil([&] { return again.has_value(); }));
        EXPECT_EQ(again, say == Say::grant);
    }
}

TEST_F(PortalAuthorizationTest, WithoutACalendarServiceThereIsNoAccess) {
    std::optional<bool> answer;
    QString reason;
    authorization.requestFullAccessToEvents([&](bool granted, const QString& error) {
        answer = granted;
        reason = error;
    });
    EXPECT_TRUE(waitUntil([&] { return answer.has_value(); }));
    EXPECT_EQ(answer, reason.isEmpty());
}

} // namespace
} // namespace velmorin
