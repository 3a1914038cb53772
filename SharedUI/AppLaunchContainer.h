// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Windows.h"

#include <QString>

#include <functional>

namespace velmorin {

/// What fills an application's window: its title above two tabs, "Control" with the application's
/// own view and "Settings" with the shared settings form and, below it, the application's own
/// settings.
class AppLaunchContainer {
public:
    using Builder = std::function<View()>;

    /// Calls each builder once.
    AppLaunchContainer(QString appTitle, const Builder& main, const Builder& settingsExtra)
        : m_appTitle(std::move(appTitle)), m_mainContent(main()), m_settingsExtra(settingsExtra()) {
    }

    /// For an application without settings of its own.
    AppLaunchContainer(QString appTitle, const Builder& main)
        : AppLaunchContainer(std::move(appTitle), main, [] { return View(); }) {}

    [[nodiscard]] View body() const {
        return {QUrl(QStringLiteral("qrc:/qt/qml/SharedUI/AppLaunchContainer.qml")),
                {{QStringLiteral("appTitle"), m_appTitle},
                 {QStringLiteral("mainContent"), QVariant::fromValue(m_mainContent)},
                 {QStringLiteral("settingsExtra"), QVariant::fromValue(m_settingsExtra)}}};
    }

private:
    QString m_appTitle;
    View m_mainContent;
    View m_settingsExtra;
};

} // namespace velmorin
