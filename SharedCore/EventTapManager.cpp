// SPDX-License-Identifier: MIT
#include "SharedCore/EventTapManager.h"

#include "SharedCore/PrivacySettings.h"

#include <unicode/ubrk.h>

#include <QStringList>

#include <chrono>
#include <cstdio>
#include <limits>
#include <utility>

namespace velmorin {

namespace {

constexpr qsizetype kMaximumText = 4; // UTF-16 units

constexpr quint16 kTypedKey = 0;
constexpr std::chrono::microseconds kTypingPace{10'000};

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

QStringList graphemeClusters(const QString& text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUBreakIteratorPointer breaks(ubrk_open(
        UBRK_CHARACTER, "", QStringView(text).utf16(), static_cast<int32_t>(text.size()), &status));
    if (U_FAILURE(status)) {
        qFatal("There are no rules for characters");
    }
    QStringList clusters;
    int32_t start = ubrk_first(breaks.getAlias());
    for (int32_t end = ubrk_next(breaks.getAlias()); end != UBRK_DONE;
         end = ubrk_next(breaks.getAlias())) {
        clusters.append(text.sliced(start, end - start));
        start = end;
    }
    return clusters;
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

void EventTapManager::typeText(const QString& text) {
    const Platform& platform = Platform::process();
    for (const QString& character : graphemeClusters(text)) {
        const CGEventSourceRef source =
            platform.keyEvents->createSource(CGEventSourceStateID::combinedSession);
        const CGEventRef down = platform.keyEvents->createKeyboardEvent(source, kTypedKey, true);
        const CGEventRef up = platform.keyEvents->createKeyboardEvent(source, kTypedKey, false);
        if (!down || !up) {
            qFatal("The system takes no synthetic keys");
        }
        for (const CGEventRef& event : {down, up}) {
            event->flags = 0;
            event->unicodeString = character;
            platform.keyEvents->post(CGEventTapLocation::annotatedSession, event);
        }
        platform.clock->sleep(kTypingPace);
    }
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
