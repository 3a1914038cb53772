// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/HotKeys.h"

#include <memory>

namespace velmorin {

class AppDelegate;

/// The delegate that a press of the hotkey reaches: the callback carries no context of its own.
/// Set at launch. Main thread.
extern std::weak_ptr<AppDelegate> _appDelegateRef;

/// Takes every event for a press: schedules the flip on the process's main queue and reports the
/// event as handled. Any thread.
extern "C" OSStatus carbonHotkeyCallback(EventHandlerCallRef nextHandler, EventRef event,
                                         void* userData);

} // namespace velmorin
