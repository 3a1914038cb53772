// SPDX-License-Identifier: MIT
#include "Velmorin/CommandLine.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmorin {
namespace {

TEST(CommandLine, TellsTheVersionAndTheHelpAndRefusesAllElse) {
    struct Case {
        std::vector<const char*> arguments;
        int exitStatus;
        std::string output; // how it begins
        std::string error;
    };
    const Case cases[] = {
        {{"--version"}, 0, "velmorin 0.", ""},
        {{"--help"}, 0, "Usage: velmorin ", ""},
        {{"-h"}, 2, "", "velmorin: unexpected argument: -h\n"},
        {{""}, 2, "", "velmorin: unexpected argument: \n"},
        {{"text"}, 2, "", "velmorin: unexpected argument: text\n"},
        {{"--help", "text"}, 2, "", "velmorin: unexpected argument: text\n"},
        {{"-platform", "--help"}, 2, "", "velmorin: unexpected argument: -platform\n"},
    };
    for (const Case& c : cases) {
        const auto answer = answerToCommandLine(c.arguments);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->exitStatus, c.exitStatus);
        EXPECT_EQ(answer->output.substr(0, c.output.size()), c.output);
        EXPECT_EQ(answer->output.empty(), c.output.empty());
        EXPECT_EQ(answer->error.substr(0, c.error.size()), c.error);
        EXPECT_EQ(answer->error.empty(), c.error.empty());
    }
    EXPECT_FALSE(answerToCommandLine({}));
}

} // namespace
} // namespace velmorin
