// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <span>
#include <string>

namespace velmorin {

/// What the program says and ends with, without starting.
struct CommandLineAnswer {
    int exitStatus = 0;
    std::string output; ///< For standard output; whole lines.
    std::string error;  ///< For standard error; whole lines.
};

/// The answer to what follows the program's name: "--version" and "--help" are told, all else is
/// refused with status 2. None without arguments, when the program is to start.
[[nodiscard]] std::optional<CommandLineAnswer>
answerToCommandLine(std::span<const char* const> arguments);

} // namespace velmorin
