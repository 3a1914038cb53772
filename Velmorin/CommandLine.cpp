// SPDX-License-Identifier: MIT
#include "Velmorin/CommandLine.h"

#include <string_view>

namespace velmorin {

namespace {

constexpr std::string_view version = "velmorin " VELMORIN_VERSION "\n";
constexpr std::string_view help = R"(Usage: velmorin [--version | --help]

Repairs text that was typed with the wrong keyboard layout: press Alt+Space in any
application, and the focused text becomes what the same keys give on the other layout.
Started once more, it shows its window.

  --version  Print the version and exit.
  --help     Print this and exit.
)";

} // namespace

std::optional<CommandLineAnswer> answerToCommandLine(std::span<const char* const> arguments) {
    if (arguments.empty()) {
        return std::nullopt;
    }
    const std::string_view first = arguments.front();
    if (arguments.size() == 1 && first == "--version") {
        return CommandLineAnswer{.exitStatus = 0, .output = std::string(version), .error = {}};
    }
    if (arguments.size() == 1 && first == "--help") {
        return CommandLineAnswer{.exitStatus = 0, .output = std::string(help), .error = {}};
    }
    const bool isKnown = first == "--version" || first == "--help";
    const std::string unexpected = isKnown ? arguments[1] : arguments[0];
    return CommandLineAnswer{.exitStatus = 2,
                             .output = {},
                             .error = "velmorin: unexpected argument: " + unexpected +
                                      "\nTry \"velmorin --help\".\n"};
}

} // namespace velmorin
