// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"

#include <QString>

#include <optional>

namespace velmorin {

/// The real services of the desktop that this process runs on. None, with a sentence for the user
/// in `error`, when there is no desktop to run on. Called once, on the main thread, after the
/// application object was made.
[[nodiscard]] std::optional<Platform> makePlatform(QString& error);

} // namespace velmorin
