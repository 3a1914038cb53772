// SPDX-License-Identifier: MIT
#include "Velmorin/CommandLine.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmorin {
namespace {

TEST(CommandLine, TellsTheVersionAndTheHelpAndRefusesAllElse) {
    const std::tuple<std::vector<const char*>, std::string, std::string> cases[] = {
        {{"--version"}, "velmorin 0.", ""},
        {{"--help"}, "Usage: velmorin ", ""},
        {{"-h"}, "", "velmorin: unexpected argument: -h\n"},
        {{""}, "", "velmorin: unexpected argument: \n"},
        {{"--help", "text"}, "", "velmorin: unexpected argument: text\n"},
        {{"-platform", "--help"}, "", "velmorin: unexpected argument: -platform\n"},
    };
    for (const auto& [arguments, output, error] : cases) {
        const auto answer = answerToCommandLine(arguments);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->exitStatus, error.empty() ? 0 : 2);
        EXPECT_TRUE(output.empty() ? answer->output.empty() : answer->output.starts_with(output));
        EXPECT_TRUE(error.empty() ? answer->error.empty() : answer->error.starts_with(error));
    }
    EXPECT_FALSE(answerToCommandLine({}));
}

} // namespace
} // namespace velmorin
