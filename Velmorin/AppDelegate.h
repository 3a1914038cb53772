// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"
#include "SharedUI/LaunchWindowController.h"
#include "Velmorin/FlipMode.h"
#include "Velmorin/LiveLog.h"
#include "Velmorin/VelmorinMainView.h"
#include "Velmorin/VelmorinStore.h"

#include <memory>

namespace velmorin {

/// The application's delegate: its launch, its icon in the status bar and its window, and the flips
/// of text in other applications. Made by `std::make_shared`. Main thread.
///
/// Nothing here fails towards the caller: every refusal and every way out is a line of the log.
class AppDelegate : public ApplicationDelegate, public std::enable_shared_from_this<AppDelegate> {
public:
    AppDelegate(const Platform& platform, std::shared_ptr<VelmorinStore> store,
                std::shared_ptr<LiveLog> liveLog,
                std::shared_ptr<LaunchWindowController> windowController);

    void applicationDidFinishLaunching() override;
    bool applicationShouldHandleReopen(bool hasVisibleWindows) override;
    /// Never: the hotkey and the icon stay.
    bool applicationShouldTerminateAfterLastWindowClosed() override { return false; }

    /// Puts the icon into the status bar. Without a button, or without the symbol, it has no image.
    void setupMenuBar();
    void openMainWindow();
    /// What a click on the icon does.
    void showWindow();
    /// Registers Option+Space. A failure lasts until the next start.
    void registerGlobalHotkey();
    void promptAccessibilityIfNeeded();

    /// Starts one flip of the text that has the keyboard focus, unless one is still running.
    void performFlip();
    /// Shows a checkmark as the icon for 1.0 s. What the icon showed at the beginning of a flash is
    /// what it shows at its end, so of two that overlap the checkmark stays.
    void flashIcon();
    /// Lets the next flip start 0.3 s from now. Called once by each flip, when its work is done.
    void endFlip();

    /// Converts the focused element's selected text, or else its value, in place. True only when a
    /// converted text was written; else the flip is still to be done by the clipboard. Blocks for
    /// as long as the application that owns the element takes to answer.
    [[nodiscard]] bool tryAXFlip(FlipMode mode);
    /// Converts the focused field's whole text by Command-A, Command-C and Command-V. Returns at
    /// once and ends the flip later. Of the clipboard's contents only plain text is put back.
    void clipboardFlip(FlipMode mode);

    /// None until `setupMenuBar()`.
    std::shared_ptr<StatusItem> statusItem;
    /// None until the hotkey is registered.
    EventHotKeyRef hotKeyRef;
    /// From the moment a flip is accepted until 0.3 s after its end.
    bool flipInProgress = false;
    const std::shared_ptr<LiveLog> log;

private:
    const Platform m_platform;
    const std::shared_ptr<VelmorinStore> m_store;
    const std::shared_ptr<LaunchWindowController> m_windowController;
    VelmorinMainView m_mainView;
};

} // namespace velmorin
