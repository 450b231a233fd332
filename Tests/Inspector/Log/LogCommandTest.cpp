// "log" as a user runs it.
#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/Sources.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Terminal.h"
#include "Utility/InstallInspector/Log/KnownMessages.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

const char* const failingLog = R"(Checking file consistency in source folder
DEBUG: a.cpp,1:walk Copy '/s/Hosts/OpenFX/Glow/Glow.ofx' to '/Library/OFX/Glow.ofx'
mkdir: /Library/V: Not a directory
DEBUG: a.cpp,1:walk Copy '/s/VorlaneFX/a' to '/Library/V/a'
cp: /Library/V/a: Not a directory
Error: Failed to copy '/s/VorlaneFX/a' to '/Library/V/a'
Warning: Installation warning: Please close all applications.
mkdir: /Library/V: Not a directory
DEBUG: a.cpp,1:walk Copy '/s/VorlaneFX/a' to '/Library/V/a'
cp: /Library/V/a: Not a directory
Error: Failed to copy '/s/VorlaneFX/a' to '/Library/V/a'
Error: The record '/Library/V/InstallationStatusFile.xml' cannot be saved (Not a directory).
)";

const char* const goodLog = "Checking file consistency in source folder\n";

ProgramResult log(const std::vector<std::string>& arguments, const std::string& text) {
    const TemporaryDirectory folder;
    FileTree::write(folder.path() / "a.log", text);
    ProgramOptions options;
    options.workingFolder = folder.path();
    options.standardInput = text;
    std::vector<std::string> command{INSTALLINSPECTOR_PROGRAM, "log"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProgram(command, options);
}

/// The entry of the page of messages, as it is shown.
std::string entry(const std::string& text, const std::string& shown) {
    const KnownMessage* message = KnownMessages::ofThisVersion().withText(text);
    EXPECT_NE(message, nullptr) << text;
    return message == nullptr
               ? ""
               : "    " + shown + "\n        " + message->cause + "\n        Do: " + message->advice + "\n";
}

std::set<std::string> membersOf(const nlohmann::json& object) {
    std::set<std::string> names;
    for (const auto& [name, value] : object.items()) {
        names.insert(name);
    }
    return names;
}

} // namespace

TEST(LogCommand, TellsARunThatHasFailedAndWhatToDo) {
    const auto result = log({"a.log"}, failingLog);
    EXPECT_EQ(result.standardOutput,
              std::string(R"(Install, lines 1 to 12
  The source folder was checked.
  OpenFX, family Glow: 1 copied
  VorlaneFX: 1 NOT copied
    NOT copied: /Library/V/a (failed 2 times)
        mkdir: /Library/V: Not a directory
        cp: /Library/V/a: Not a directory
  asked: Please close all applications.
    answer: Cancel, since nobody could be asked. The copy was tried once more
  error: The record '/Library/V/InstallationStatusFile.xml' cannot be saved (Not a directory).

  What it means, and what to do (Docs/troubleshooting.md)
)") + entry("Failed to copy '%s' to '%s'", "Failed to copy '...' to '...'") +
                  entry("The record '%s' cannot be saved (%s).", "The record '...' cannot be saved (...).") +
                  "\n"
                  "Something went wrong.\n");
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST(LogCommand, TellsThatNothingWentWrong) {
    const auto result = log({"a.log"}, goodLog);
    EXPECT_EQ(result.standardOutput,
              "Install, line 1\n"
              "  The source folder was checked.\n"
              "  No failure is told.\n\n"
              "1 run, and nothing that went wrong is told. A run says nothing at its end, so "
              "that one that was killed may look the same.\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST(LogCommand, TellsAnUninstall) {
    const auto result =
        log({"-"}, "Error: Cannot remove file '/a'\nError: Cannot remove file '/SKU/COMMON.xml'\n"
                   "rmdir: /: Directory not empty\nError: Cannot remove file '/b/SKU/COMMON.xml'\n"
                   "Error: Cannot remove file 'Glow.epl'\n");
    EXPECT_EQ(
        result.standardOutput,
        "Uninstall, lines 1 to 5\n"
        "  Files: 3 removed, 1 without a target folder here\n"
        "    Removed files are those that the engine reports with \"Cannot remove file\": it does so\n"
        "    for each file that it did remove, or that was not there.\n"
        "  1 time a folder was not empty and stayed, which is normal\n"
        "  The shared package was uninstalled.\n"
        "  No failure is told.\n\n"
        "1 run, and nothing that went wrong is told. A run says nothing at its end, so that one that was "
        "killed may look the same.\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST(LogCommand, SeveralRunsAreToldWithTheirTimes) {
    const std::string times = "Nov 22 10:20:30 host a[1]: " + std::string(goodLog) +
                              "Nov 22 10:20:31 host a[2]: " + goodLog +
                              "Nov 22 10:20:33 host a[2]: Error: Wrong/corrupted SKU XML\n";
    const auto result = log({"a.log"}, times);
    EXPECT_THAT(result.standardOutput, HasSubstr("Install, line 1, Nov 22 10:20:30, a[1]\n"));
    EXPECT_THAT(result.standardOutput,
                HasSubstr("Install, lines 2 to 3, Nov 22 10:20:31 to Nov 22 10:20:33, a[2]\n"));
    EXPECT_THAT(result.standardOutput, EndsWith("\nSomething went wrong in 1 of 2 runs.\n"));
    EXPECT_EQ(result.exitStatus, 1);
}

TEST(LogCommand, WhatCannotBeToldIsNoSuccess) {
    const auto result = log({"a.log"}, "DEBUG: a.cpp,1:walk Copy '/s/VorlaneFX/a' to '/t/a'\n");
    EXPECT_THAT(result.standardOutput, HasSubstr("The beginning of this run is not in the log.\n"));
    EXPECT_THAT(result.standardOutput,
                EndsWith("Nothing that went wrong is told, but not all of each run is in the log.\n"));
    EXPECT_EQ(result.exitStatus, 1);
}

TEST(LogCommand, ALogThatBreaksOffIsToldWithAdvice) {
    const auto result = log({"a.log"}, std::string(goodLog) + "Error: Fail");
    EXPECT_THAT(result.standardOutput, HasSubstr("The log breaks off: The log ends inside a line.\n"
                                                 "    The run may have been killed, or is not over. The same "
                                                 "command again completes the work.\n"));
    EXPECT_EQ(result.exitStatus, 1);
}

TEST(LogCommand, LongListsAreShownInPart) {
    std::string text = goodLog;
    for (int i = 0; i < 100; ++i) {
        text += "DEBUG: a.cpp,1:walk Skipped file: /t/" + std::to_string(i) + "\n";
    }
    const auto result = log({"a.log"}, text);
    EXPECT_THAT(result.standardOutput, HasSubstr("  All branches: 100 skipped\n    skipped: /t/0\n"));
    EXPECT_THAT(result.standardOutput, HasSubstr("    skipped: /t/19\n    and 80 more; --json has all\n"));
    EXPECT_EQ(nlohmann::json::parse(log({"--json", "a.log"}, text).standardOutput)["runs"][0]["files"].size(),
              100U);
}

TEST(LogCommand, ControlCharactersDoNotReachTheTerminal) {
    const auto result =
        log({"a.log"}, std::string(goodLog) + "Error: Failed to copy '/s/VorlaneFX/\x1b[2J' to '/t/"
                                              "\x1b[2J'\ncp: \x1b[2J\n");
    EXPECT_THAT(result.standardOutput, HasSubstr("/t/\\x1b[2J"));
    EXPECT_EQ(result.standardOutput.find('\x1b'), std::string::npos);
}

TEST(LogCommand, HasColoursInATerminalOnly) {
    const TemporaryDirectory folder;
    FileTree::write(folder.path() / "a.log", failingLog);
    const ScopedEnvironment noColour("NO_COLOR", "");
    Terminal terminal({INSTALLINSPECTOR_PROGRAM, "log", (folder.path() / "a.log").string()}, 20s);
    EXPECT_THAT(terminal.finish().standardOutput, HasSubstr("\x1b[1;31mNOT copied:\x1b[0m /Library/V/a"));
}

TEST(LogCommand, JsonHasTheMembersThatTheManPageNames) {
    const auto result = log({"--json", "a.log"}, failingLog);
    EXPECT_EQ(result.exitStatus, 1);
    const auto document = nlohmann::json::parse(result.standardOutput);
    EXPECT_EQ(membersOf(document),
              (std::set<std::string>{"log", "verdict", "lines", "runLines", "runsLeftOut", "runs"}));
    EXPECT_EQ(document["log"], "a.log");
    EXPECT_EQ(document["verdict"], "harm");
    EXPECT_EQ(document["lines"], 12);
    EXPECT_EQ(document["runLines"], 12);
    EXPECT_EQ(document["runsLeftOut"], 0);
    ASSERT_EQ(document["runs"].size(), 1U);
    const auto& run = document["runs"][0];
    EXPECT_EQ(
        membersOf(run),
        (std::set<std::string>{"kind", "verdict", "firstLine", "lastLine", "beginningMissing", "end",
                               "checked", "debugLines", "sharedPackage", "dialog", "phases", "counts",
                               "files", "questions", "messages", "tools", "notEmpty", "leftOut", "advice"}));
    EXPECT_EQ(run["kind"], "install");
    EXPECT_EQ(run["end"], "not told");
    EXPECT_EQ(run["phases"], nlohmann::json({"Hosts/OpenFX/Glow", "VorlaneFX"}));
    EXPECT_EQ(run["counts"], (nlohmann::json{{"copied", 1},
                                             {"copied later", 0},
                                             {"skipped", 0},
                                             {"failed", 1},
                                             {"removed", 0},
                                             {"no target", 0},
                                             {"not removed", 0},
                                             {"unclear", 0}}));
    EXPECT_EQ(run["files"][0], (nlohmann::json{{"path", "/Library/OFX/Glow.ofx"},
                                               {"outcome", "copied"},
                                               {"line", 2},
                                               {"phase", "Hosts/OpenFX/Glow"}}));
    EXPECT_EQ(run["files"][1],
              (nlohmann::json{
                  {"path", "/Library/V/a"},
                  {"outcome", "failed"},
                  {"line", 11},
                  {"phase", "VorlaneFX"},
                  {"source", "/s/VorlaneFX/a"},
                  {"failures", 2},
                  {"allowed", false},
                  {"tools", {"mkdir: /Library/V: Not a directory", "cp: /Library/V/a: Not a directory"}},
                  {"toolsLeftOut", 0}}));
    EXPECT_EQ(run["questions"][0],
              (nlohmann::json{
                  {"line", 7}, {"text", "Please close all applications."}, {"answer", "nobody to ask"}}));
    EXPECT_EQ(
        run["messages"][0],
        (nlohmann::json{{"line", 12},
                        {"severity", "error"},
                        {"message", "The record '/Library/V/InstallationStatusFile.xml' cannot be saved "
                                    "(Not a directory)."},
                        {"count", 1}}));
    ASSERT_EQ(run["advice"].size(), 2U);
    const std::string page = FileTree::read(inSources("Docs/man/InstallInspector.1.in"));
    const std::string section = page.substr(page.find(".Ss Members of a run in JSON"));
    for (const auto* object :
         {&run, &run["files"][1], &run["questions"][0], &run["messages"][0], &run["advice"][0]}) {
        for (const std::string& name : membersOf(*object)) {
            EXPECT_TRUE(section.find(" " + name + "\n") != std::string::npos ||
                        section.find(" " + name + " ") != std::string::npos)
                << name;
        }
    }
    for (const auto& [outcome, count] : run["counts"].items()) {
        EXPECT_THAT(section, HasSubstr(".Dq " + outcome));
    }
    EXPECT_EQ(membersOf(run["advice"][0]), (std::set<std::string>{"message", "cause", "advice"}));
}

TEST(LogCommand, JsonHasTimesToolsAndWhyALogBreaksOff) {
    const std::string text =
        "Nov 22 10:20:30 host a[1]: ./postinstall: " + std::string(goodLog) +
        "Nov 22 10:20:31 host a[1]: ./postinstall: ln: /Applications/x: Permission denied\n"
        "Nov 22 10:20:32 host a[1]: ./postinstall: ./postinstall: line 3: 12 Killed: 9 env -i\n";
    const auto run = nlohmann::json::parse(log({"-", "--json"}, text).standardOutput)["runs"][0];
    EXPECT_EQ(run["firstTime"], "Nov 22 10:20:30");
    EXPECT_EQ(run["lastTime"], "Nov 22 10:20:32");
    EXPECT_EQ(run["writer"], "a[1]: ./postinstall");
    EXPECT_EQ(run["tools"][0],
              (nlohmann::json{{"line", 2}, {"text", "ln: /Applications/x: Permission denied"}}));
    EXPECT_EQ(run["end"], "breaks off");
    EXPECT_EQ(run["breakOff"], "./postinstall: line 3: 12 Killed: 9 env -i");
}

TEST(LogCommand, WhatIsNoLogIsStatusTwo) {
    const auto none = log({"a.log"}, "nothing\n");
    EXPECT_EQ(none.standardError, "InstallInspector: a.log holds no line of an install or uninstall\n");
    EXPECT_EQ(none.exitStatus, 2);
    EXPECT_EQ(log({"--json", "a.log"}, "nothing\n").standardOutput,
              "{\n  \"verdict\": \"cannot tell\",\n  \"error\": \"a.log holds no line of an install or "
              "uninstall\"\n}\n");
    EXPECT_EQ(log({"-"}, "").standardError,
              "InstallInspector: standard input holds no line of an install or uninstall\n");
    EXPECT_EQ(log({"missing"}, "").standardError, "InstallInspector: missing is not an existing file\n");
    EXPECT_EQ(log({"/"}, "").standardError, "InstallInspector: / is a folder\n");
    EXPECT_EQ(log({}, "").exitStatus, 2);
    EXPECT_EQ(log({"a.log", "b.log"}, goodLog).exitStatus, 2);
    const auto full = runProgram({"/bin/sh", "-c",
                                  "echo 'Checking file consistency in source folder' | " +
                                      std::string(INSTALLINSPECTOR_PROGRAM) + " log - >/dev/full"});
    EXPECT_THAT(full.standardError, HasSubstr("InstallInspector: cannot write to standard output: "));
    EXPECT_EQ(full.exitStatus, 2);
}
