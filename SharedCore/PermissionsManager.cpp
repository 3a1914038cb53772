// SPDX-License-Identifier: MIT
#include "SharedCore/PermissionsManager.h"

#include "SharedCore/PrivacySettings.h"

#include <utility>

namespace velmorin {

std::shared_ptr<PermissionsManager> PermissionsManager::shared() {
    return Platform::sharedInstance<PermissionsManager>(
        [](const Platform& platform) { return std::make_shared<PermissionsManager>(platform); });
}

bool PermissionsManager::isAccessibilityGranted() const {
    return isAccessibilityTrusted(*m_platform.accessibility, false);
}

void PermissionsManager::requestAccessibility() {
    std::ignore = isAccessibilityTrusted(*m_platform.accessibility, true);
}

void PermissionsManager::openAccessibilitySettings() {
    openPrivacySettings(*m_platform.workspace, "Privacy_Accessibility");
}

void PermissionsManager::openInputMonitoringSettings() {
    openPrivacySettings(*m_platform.workspace, "Privacy_ListenEvent");
}

void PermissionsManager::requestMicrophone(Callback callback) {
    m_platform.authorization->requestAudioCapture(
        [queue = m_platform.mainQueue, callback = std::move(callback)](bool granted) {
            queue->async([callback, granted] { callback(granted); });
        });
}

bool PermissionsManager::isMicrophoneGranted() const {
    return m_platform.authorization->audioCaptureStatus() == AuthorizationStatus::authorized;
}

void PermissionsManager::openMicrophoneSettings() {
    openPrivacySettings(*m_platform.workspace, "Privacy_Microphone");
}

void PermissionsManager::requestCalendar(Callback callback) {
    m_platform.authorization->requestFullAccessToEvents(
        [queue = m_platform.mainQueue, callback = std::move(callback)](bool granted,
                                                                       const QString& /*error*/) {
            queue->async([callback, granted] { callback(granted); });
        });
}

void PermissionsManager::openCalendarSettings() {
    openPrivacySettings(*m_platform.workspace, "Privacy_Calendars");
}

void PermissionsManager::openFullDiskAccessSettings() {
    openPrivacySettings(*m_platform.workspace, "Privacy_AllFiles");
}

void configureAsMenuBarOnlyApp(const Platform& platform) {
    if (!platform.application) {
        qFatal("There is no application yet");
    }
    platform.application->setActivationPolicy(ActivationPolicy::accessory);
}

} // namespace velmorin
