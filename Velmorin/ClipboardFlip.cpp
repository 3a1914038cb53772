// SPDX-License-Identifier: MIT
#include "Velmorin/AppDelegate.h"
#include "Velmorin/KeyboardLayoutMap.h"

#include <optional>

namespace velmorin {

using namespace std::chrono_literals;

namespace {

// Each counts from the step before. They are all that keeps the other application in step.
constexpr auto copyDelay = 120ms;
constexpr auto readDelay = 200ms;
constexpr auto pasteDelay = 60ms;
constexpr auto finishDelay = 250ms;

/// In what time an application takes a key when it is not busy. A busy one gets the whole delay
/// after it.
constexpr auto promptTime = 10ms;

/// What one flip carries from step to step. Every scheduled step has its own copy, so that the
/// clipboard is put back also when the delegate is gone.
struct ClipboardFlip {
    std::weak_ptr<AppDelegate> weakDelegate;
    std::weak_ptr<MainQueue> weakMainQueue; // the steps lie in it: owning it would be a cycle
    std::weak_ptr<Clock> weakClock;         // may own the main queue
    std::shared_ptr<Pasteboard> pasteboard;
    std::shared_ptr<KeyEvents> keyEvents;
    std::shared_ptr<ActiveWindow> activeWindow;
    std::shared_ptr<Accessibility> accessibility;
    std::shared_ptr<VelmorinStore> store;
    FlipMode mode;
    std::optional<quint64> window = {}; // whose text is flipped; none gets no keys
    std::optional<QString> savedText = {};
    qint64 expectedChangeCount = 0;

    void start();

private:
    void copyStep() const;
    void readStep() const;
    void pasteStep() const;
    void finishStep() const;

    using Step = void (ClipboardFlip::*)() const;
    void schedule(std::chrono::nanoseconds delay, Step step) const;
    void postAndSchedule(quint16 virtualKey, std::chrono::nanoseconds delay, Step step) const;
    void log(const QString& message) const;
    void postCommandKey(quint16 virtualKey) const;
    void replaceContents(const QString& text) const;
    void restore() const;
    void endWithout(AppDelegate& delegate, const QString& message) const;
};

void ClipboardFlip::start() {
    // A write of the direct path that the application still carries out converts the text: keys
    // would convert it back.
    window = accessibility->isWritePending() ? std::nullopt : activeWindow->identifier();
    savedText = pasteboard->string(NSPasteboardTypeString);
    replaceContents(QLatin1String(""));
    expectedChangeCount = pasteboard->changeCount();
    log(QStringLiteral("  ⌘A"));
    postAndSchedule(kVK_ANSI_A, copyDelay, &ClipboardFlip::copyStep);
}

void ClipboardFlip::copyStep() const {
    log(QStringLiteral("  ⌘C"));
    postAndSchedule(kVK_ANSI_C, readDelay, &ClipboardFlip::readStep);
}

void ClipboardFlip::readStep() const {
    const auto delegate = weakDelegate.lock();
    if (!delegate) {
        return;
    }
    const QString copied = pasteboard->string(NSPasteboardTypeString).value_or(QString());
    const bool changed = pasteboard->changeCount() != expectedChangeCount && !copied.isEmpty();
    delegate->log->add(QStringLiteral("  Clipboard: changed=%1, len=%2")
                           .arg(changed ? QStringLiteral("true") : QStringLiteral("false"))
                           .arg(KeyboardLayoutMap::characterCount(copied)));
    if (!changed) {
        endWithout(*delegate, QStringLiteral("  Nothing copied"));
        return;
    }
    const QString converted = KeyboardLayoutMap::convert(copied, mode);
    if (converted == copied) {
        endWithout(*delegate, QStringLiteral("  Same text"));
        return;
    }
    delegate->log->add(QStringLiteral("  Converted → pasting"));
    replaceContents(converted);
    schedule(pasteDelay, &ClipboardFlip::pasteStep);
}

void ClipboardFlip::pasteStep() const {
    log(QStringLiteral("  ⌘V"));
    postAndSchedule(kVK_ANSI_V, finishDelay, &ClipboardFlip::finishStep);
}

void ClipboardFlip::finishStep() const {
    restore();
    store->recordConversion();
    if (const auto delegate = weakDelegate.lock()) {
        delegate->log->add(
            QStringLiteral("── FLIP DONE (clipboard) — total: %1 ──").arg(store->count()));
        delegate->endFlip();
    }
}

void ClipboardFlip::postAndSchedule(quint16 virtualKey, std::chrono::nanoseconds delay,
                                    Step step) const {
    const auto now = [this] {
        const auto clock = weakClock.lock();
        return clock ? clock->uptime() : 0ns;
    };
    const auto begin = now();
    postCommandKey(virtualKey);
    const auto taken = now() - begin;
    schedule(taken <= promptTime ? delay - taken : delay, step);
}

void ClipboardFlip::schedule(std::chrono::nanoseconds delay, Step step) const {
    if (const auto mainQueue = weakMainQueue.lock()) {
        mainQueue->asyncAfter(delay, [flip = *this, step] { (flip.*step)(); });
    }
}

void ClipboardFlip::log(const QString& message) const {
    if (const auto delegate = weakDelegate.lock()) {
        delegate->log->add(message);
    }
}

/// A key that cannot be pressed is left out, and so is one that another window would get: it would
/// paste the text where it does not belong.
void ClipboardFlip::postCommandKey(quint16 virtualKey) const {
    const CGEventSourceRef source = keyEvents->createSource(CGEventSourceStateID::hidSystem);
    if (!source) {
        return;
    }
    const CGEventRef down = keyEvents->createKeyboardEvent(source, virtualKey, true);
    const CGEventRef up = keyEvents->createKeyboardEvent(source, virtualKey, false);
    if (!down || !up || !window) {
        return;
    }
    down->window = window;
    up->window = window;
    down->flags = kCGEventFlagMaskCommand;
    up->flags = kCGEventFlagMaskCommand;
    keyEvents->post(CGEventTapLocation::hid, down);
    keyEvents->post(CGEventTapLocation::hid, up);
}

void ClipboardFlip::replaceContents(const QString& text) const {
    pasteboard->clearContents();
    pasteboard->setString(text, NSPasteboardTypeString);
}

/// Where there was no plain text, what the flip left stays.
void ClipboardFlip::restore() const {
    if (savedText) {
        replaceContents(*savedText);
    }
}

void ClipboardFlip::endWithout(AppDelegate& delegate, const QString& message) const {
    delegate.log->add(message);
    restore();
    delegate.endFlip();
}

} // namespace

void AppDelegate::clipboardFlip(FlipMode mode) {
    ClipboardFlip{.weakDelegate = weak_from_this(),
                  .weakMainQueue = m_platform.mainQueue,
                  .weakClock = m_platform.clock,
                  .pasteboard = m_platform.pasteboard,
                  .keyEvents = m_platform.keyEvents,
                  .activeWindow = m_platform.activeWindow,
                  .accessibility = m_platform.accessibility,
                  .store = m_store,
                  .mode = mode}
        .start();
}

} // namespace velmorin
