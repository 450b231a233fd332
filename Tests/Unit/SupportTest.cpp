// The fixtures that the other tests stand on.
#include "Tests/Support/CapturedStdout.h"
#include "Tests/Support/DebugPlaces.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <unistd.h>

using namespace std::chrono_literals;

TEST(DebugPlaces, AreTakenOutOfEachDebugLine) {
    EXPECT_EQ(withoutDebugPlaces("DEBUG: a/File.cpp,12:runAll text\nINFO: a,1:b c\nDEBUG: b,3:f more"),
              "DEBUG: text\nINFO: a,1:b c\nDEBUG: more");
    EXPECT_EQ(withoutDebugPlaces("x DEBUG: a,1:b DEBUG: a,1:b "), "x DEBUG: DEBUG: ");
}

TEST(DebugPlaces, StayWhereAPartIsMissing) {
    for (const char* line :
         {"", "DEBUG: ", "DEBUG: text", "DEBUG: a,:f text", "DEBUG: a,1 text", "DEBUG: a,1: text",
          "DEBUG: a,1:f", "DEBUG: a,1:f2 text", "DEBUG: a\n,1:f text"}) {
        EXPECT_EQ(withoutDebugPlaces(line), line);
    }
}

TEST(CapturedStdout, HoldsStdioStreamsAndChildrenInOrder) {
    for (const auto into : {CapturedStdout::Into::File, CapturedStdout::Into::Pipe}) {
        CapturedStdout captured(into);
        std::printf("stdio\n");
        static_cast<void>(std::fflush(stdout));
        std::cout << "stream" << std::endl;
        ASSERT_EQ(std::system("echo child; echo error >&2"), 0);
        std::printf("tail");
        EXPECT_EQ(captured.text(), "stdio\nstream\nchild\ntail");
        std::printf(" and more");
        EXPECT_EQ(captured.text(), "stdio\nstream\nchild\ntail and more");
    }
}

TEST(CapturedStdout, GivesWhatHasLeftTheBuffers) {
    CapturedStdout captured;
    std::printf("still in the buffer");
    EXPECT_EQ(captured.unbufferedText(), "");
    EXPECT_EQ(captured.text(), "still in the buffer");
}

TEST(CapturedStdout, GivesTheOutputBack) {
    CapturedStdout outer;
    {
        CapturedStdout inner;
        std::printf("inside");
    }
    std::printf("outside");
    EXPECT_EQ(outer.text(), "outside");
}

TEST(ScopedEnvironment, SetsAndRestores) {
    const ScopedEnvironment outer("SUPPORT_TEST_VARIABLE", "old");
    {
        const ScopedEnvironment inner("SUPPORT_TEST_VARIABLE", "new");
        EXPECT_STREQ(std::getenv("SUPPORT_TEST_VARIABLE"), "new");
    }
    EXPECT_STREQ(std::getenv("SUPPORT_TEST_VARIABLE"), "old");
    {
        const ScopedEnvironment inner("SUPPORT_TEST_VARIABLE", std::nullopt);
        EXPECT_EQ(std::getenv("SUPPORT_TEST_VARIABLE"), nullptr);
    }
    EXPECT_STREQ(std::getenv("SUPPORT_TEST_VARIABLE"), "old");
}

TEST(ScopedEnvironment, UnsetsWhatWasNotSetBefore) {
    ASSERT_EQ(std::getenv("SUPPORT_TEST_VARIABLE"), nullptr);
    { const ScopedEnvironment scope("SUPPORT_TEST_VARIABLE", ""); }
    EXPECT_EQ(std::getenv("SUPPORT_TEST_VARIABLE"), nullptr);
}

TEST(TemporaryDirectory, IsNewEmptyAndRemovedWithItsContents) {
    std::filesystem::path path;
    {
        const TemporaryDirectory folder;
        path = folder.path();
        EXPECT_TRUE(std::filesystem::is_empty(path));
        std::filesystem::create_directories(path / "a" / "b");
        EXPECT_EQ(folder / "a", VLString((path.string() + "/a").c_str()));
        EXPECT_EQ(folder.text(), VLString(path.c_str()));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(RunProgram, GivesOutputErrorAndExitStatus) {
    const auto result = runProgram({"sh", "-c", "echo \"$1\"; echo two >&2; exit 3", "sh", "a b"});
    EXPECT_EQ(result.standardOutput, "a b\n");
    EXPECT_EQ(result.standardError, "two\n");
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(result.signal, 0);
    EXPECT_FALSE(result.bTimedOut);
}

TEST(RunProgram, GivesTheSignal) {
    const auto result = runProgram({"sh", "-c", "kill -TERM $$"});
    EXPECT_EQ(result.exitStatus, -1);
    EXPECT_EQ(result.signal, SIGTERM);
}

TEST(RunProgram, FeedsInputAndReadsMoreThanAPipeHolds) {
    ProgramOptions options;
    options.standardInput = std::string(3000000, 'x') + "end";
    EXPECT_EQ(runProgram({"cat"}, options).standardOutput, options.standardInput);
}

TEST(RunProgram, SetsEnvironmentAndWorkingFolder) {
    const TemporaryDirectory folder;
    ProgramOptions options;
    options.environment = {{"PATH", std::getenv("PATH")}, {"ONE", "1"}};
    options.workingFolder = folder.path();
    EXPECT_EQ(runProgram({"sh", "-c", "echo $ONE $HOME; pwd -P"}, options).standardOutput,
              "1\n" + std::filesystem::canonical(folder.path()).string() + "\n");
}

TEST(RunProgram, InheritsTheEnvironmentOfTheTest) {
    const ScopedEnvironment scope("SUPPORT_TEST_VARIABLE", "inherited");
    EXPECT_EQ(runProgram({"sh", "-c", "echo $SUPPORT_TEST_VARIABLE"}).standardOutput, "inherited\n");
}

TEST(RunProgram, KillsTheProgramAndItsChildrenAfterTheTimeout) {
    ProgramOptions options;
    options.timeout = 200ms;
    const auto begin = std::chrono::steady_clock::now();
    const auto result = runProgram({"sh", "-c", "echo $$; sleep 600 & sleep 600"}, options);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 60s);
    EXPECT_TRUE(result.bTimedOut);
    EXPECT_EQ(result.signal, SIGKILL);
    EXPECT_NE(result.standardOutput, "");
}

TEST(RunProgram, TimesOutOnAProgramThatClosedItsOutput) {
    ProgramOptions options;
    options.timeout = 200ms;
    EXPECT_TRUE(runProgram({"sh", "-c", "exec sleep 600 >&- 2>&-"}, options).bTimedOut);
}

TEST(RunProgram, ReportsAProgramThatCannotBeStarted) {
    const auto result = runProgram({"/nowhere/program"});
    EXPECT_EQ(result.exitStatus, 127);
    EXPECT_NE(result.standardError.find("/nowhere/program"), std::string::npos);

    ProgramOptions options;
    options.workingFolder = "/nowhere";
    EXPECT_EQ(runProgram({"true"}, options).exitStatus, 127);
}

TEST(RunProgram, CallsBeforeStartInTheNewProcess) {
    ProgramOptions options;
    options.beforeStart = [] { close(STDOUT_FILENO); };
    EXPECT_EQ(runProgram({"sh", "-c", "test -e /dev/fd/1 || exit 9"}, options).exitStatus, 9);
    EXPECT_EQ(runProgram({"sh", "-c", "test -e /dev/fd/1 || exit 9"}).exitStatus, 0);
}
