#include "platform/command_line.h"

#include <gtest/gtest.h>

#if defined(_WIN32)

TEST(CommandLine, IsTheProcessesOwnWithoutItsName) {
    // The arguments of main are not looked at: these would be another program's.
    const char* const others[] = {"other", "--option"};
    for (const std::string& argument : platform::commandLineArguments(2, others)) {
        EXPECT_NE(argument, "--option");
        EXPECT_EQ(argument.find("q7core_tests"), std::string::npos);
    }
}

#else

TEST(CommandLine, IsWhatMainWasGivenWithoutTheName) {
    const char* const given[] = {"program", "--option", "\xC3\xA9"};
    EXPECT_EQ(platform::commandLineArguments(3, given),
              (std::vector<std::string>{"--option", "\xC3\xA9"}));
    EXPECT_TRUE(platform::commandLineArguments(1, given).empty());
    EXPECT_TRUE(platform::commandLineArguments(0, given).empty());
}

#endif
