// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Platform.h"

#include <QString>

#include <variant>

namespace velmorin {

/// Why the program ends before it began.
struct EarlyEnd {
    int exitStatus = 0;
    QString message; ///< A sentence for the user; empty when there is nothing to say.
};

/// The real services of the desktop that this process runs on; or its early end, when there is no
/// desktop to run on, or another instance runs already and was brought to the front. Called once,
/// on the main thread. `argc` and `argv` must outlive the platform.
[[nodiscard]] std::variant<Platform, EarlyEnd> makePlatform(int& argc, char** argv);

} // namespace velmorin
