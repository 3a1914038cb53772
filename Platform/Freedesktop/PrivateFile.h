// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmorin {

/// Makes the directory and those above it that are missing, for the user alone (mode 0700). Gives 0
/// or an errno; what is there already stays as it is. Any thread.
[[nodiscard]] int makePrivateDirectory(const QString& path);

/// Makes an empty file for the user alone (mode 0600), and its directory. Gives 0 or an errno; what
/// is there already stays as it is. Any thread.
[[nodiscard]] int makePrivateFile(const QString& path);

} // namespace velmorin
