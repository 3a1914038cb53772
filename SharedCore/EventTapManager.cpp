// SPDX-License-Identifier: MIT
#include "SharedCore/EventTapManager.h"

#include "SharedCore/PrivacySettings.h"

#include <cstdio>
#include <limits>
#include <utility>

namespace velmorin {

namespace {

constexpr qsizetype kMaximumText = 4; // UTF-16 units

constexpr CGEventMask kMouseMask = eventMaskBit(CGEventType::mouseMoved) |
                                   eventMaskBit(CGEventType::leftMouseDragged) |
                                   eventMaskBit(CGEventType::rightMouseDragged);
constexpr CGEventMask kKeyMask = eventMaskBit(CGEventType::keyDown);

void print(const char* line) {
    std::puts(line);
    std::fflush(stdout);
}

void report(const TappedEvent& event, const EventTapManager::KeyCallback& callback) {
    if (event.keyCode < 0 || event.keyCode > std::numeric_limits<quint16>::max()) {
        qFatal("A key code out of range");
    }
    const auto keyCode = static_cast<quint16>(event.keyCode);
    const bool isDelete = keyCode == kVK_Delete;
    const QString text = isDelete ? QString() : event.unicodeString.left(kMaximumText);
    if (callback) {
        callback(text, keyCode, isDelete);
    }
}

} // namespace

EventTapManager::~EventTapManager() {
    stopAll();
}

bool EventTapManager::startMouseTracking(MouseCallback callback) {
    if (!checkAccessibility()) {
        return false;
    }
    m_callbacks->mouse = std::move(callback);
    const auto tapped = [weak = std::weak_ptr(m_callbacks)](const TappedEvent& event) {
        const auto callbacks = weak.lock();
        if (callbacks && callbacks->mouse) {
            callbacks->mouse(event.location);
        }
    };
    return start(m_mouseTap, kMouseMask, tapped,
                 {.started = "✅ Mouse tracking started",
                  .failed = "❌ EventTap: Failed to create mouse tap. Check Accessibility "
                            "permissions."});
}

bool EventTapManager::startKeyTracking(KeyCallback callback) {
    if (!checkAccessibility()) {
        return false;
    }
    m_callbacks->key = std::move(callback);
    const auto tapped = [weak = std::weak_ptr(m_callbacks)](const TappedEvent& event) {
        if (const auto callbacks = weak.lock()) {
            report(event, callbacks->key);
        }
    };
    return start(m_keyTap, kKeyMask, tapped,
                 {.started = "✅ Key tracking started",
                  .failed = "❌ EventTap: Failed to create key tap. Check Input Monitoring "
                            "permissions."});
}

bool EventTapManager::start(std::shared_ptr<EventTap>& tap, CGEventMask mask,
                            EventTaps::Callback callback, const Texts& texts) {
    // The run loop keeps an earlier tap, which goes on.
    tap = m_platform.eventTaps->createTap(CGEventTapLocation::session,
                                          CGEventTapPlacement::headInsert,
                                          CGEventTapOptions::listenOnly, mask, std::move(callback));
    if (!tap) {
        print(texts.failed);
        return false;
    }
    tap->addToCurrentRunLoop();
    tap->enable(true);
    print(texts.started);
    return true;
}

void EventTapManager::stopAll() {
    for (const auto& tap : {m_mouseTap, m_keyTap}) {
        if (tap) {
            tap->enable(false);
        }
    }
}

bool EventTapManager::checkAccessibility() const {
    return isAccessibilityTrusted(*m_platform.accessibility, false);
}

void EventTapManager::requestAccessibility() {
    std::ignore = isAccessibilityTrusted(*Platform::process().accessibility, true);
}

void EventTapManager::openAccessibilitySettings() {
    openPrivacySettings(*Platform::process().workspace, "Privacy_Accessibility");
}

void EventTapManager::openInputMonitoringSettings() {
    openPrivacySettings(*Platform::process().workspace, "Privacy_ListenEvent");
}

} // namespace velmorin
