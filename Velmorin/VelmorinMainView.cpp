// SPDX-License-Identifier: MIT
#include "Velmorin/VelmorinMainView.h"

#include "SharedCore/PrivacySettings.h"
#include "Velmorin/AppDelegate.h"

#include <QPointer>

#include <utility>

namespace velmorin {

using namespace std::chrono_literals;

namespace {
constexpr auto testDelay = 3s;
}

VelmorinMainView::VelmorinMainView(const Platform& platform, std::shared_ptr<VelmorinStore> store,
                                   std::shared_ptr<LiveLog> log)
    : m_platform(platform), m_store(std::move(store)), m_log(std::move(log)), m_logLines(m_log) {
    connect(m_store.get(), &VelmorinStore::countChanged, this, &VelmorinMainView::countChanged);
    connect(m_store.get(), &VelmorinStore::flipModeChanged, this,
            &VelmorinMainView::flipModeChanged);
    // Whatever is drawn again takes the status with it, permission included.
    for (const auto change : {&VelmorinStore::hotkeyRegisteredChanged, &VelmorinStore::countChanged,
                              &VelmorinStore::flipModeChanged}) {
        connect(m_store.get(), change, this, &VelmorinMainView::redrawStatus);
    }
    connect(m_log.get(), &LiveLog::entriesChanged, this, &VelmorinMainView::redrawStatus);
}

View VelmorinMainView::body() {
    return {QUrl(QStringLiteral("qrc:/qt/qml/Velmorin/VelmorinMainView.qml")),
            {{QStringLiteral("main"), QVariant::fromValue(this)}}};
}

VelmorinMainView::LineColor VelmorinMainView::colorFor(const QString& line) {
    struct Rule {
        QStringView text;
        LineColor color;
    };
    constexpr Rule rules[] = {
        {u"FAIL", red},   {u"NOT", red},        {u"failed", red},
        {u"DONE", green}, {u"GRANT", green},    {u"registered", green},
        {u"OK", green},   {u"pressed", orange}, {u"FLIP START", orange},
    };
    for (const Rule& rule : rules) {
        if (line.contains(rule.text)) {
            return rule.color;
        }
    }
    return secondary;
}

void VelmorinMainView::setFlipMode(int mode) {
    m_store->setFlipMode(allCases.at(static_cast<size_t>(mode)));
}

void VelmorinMainView::redrawStatus() {
    if (std::exchange(m_isRedrawPending, true)) {
        return;
    }
    m_platform.mainQueue->async([self = QPointer(this)] {
        if (self) {
            self->m_isRedrawPending = false;
            Q_EMIT self->statusChanged();
        }
    });
}

void VelmorinMainView::testFlip() {
    m_log->add(QStringLiteral("TEST: switch to a text field in 3 seconds…"));
    m_platform.mainQueue->asyncAfter(testDelay, [application = m_platform.application] {
        if (const auto delegate = std::dynamic_pointer_cast<AppDelegate>(application->delegate())) {
            delegate->performFlip();
        }
    });
}

void VelmorinMainView::clearLog() {
    m_log->setEntries({});
}

void VelmorinMainView::openAccessibilitySettings() {
    openPrivacySettings(*m_platform.workspace, "Privacy_Accessibility");
}

} // namespace velmorin
