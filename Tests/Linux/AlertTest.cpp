// The Retry/Cancel alert, shown by a program of its own in a terminal, with a program in place of zenity, and
// with zenity itself.

#include "Foundation/Machine.h"
#include "Tests/Support/CapturedStdout.h"
#include "Tests/Support/Linux/VirtualScreen.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Terminal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr int retry = 10;
constexpr int cancel = 11;
constexpr int nobodyToAsk = 12;
const std::string question = "[R]etry or [C]ancel: ";
/// Text that something on the way might take for a format, an option, markup or a command.
const std::string awkward = "--help 100% %% %s %n \"a\" 'b' <b>c</b> &amp; $(touch x) `touch x` \\n -x";

using Environment = std::map<std::string, std::string>;

/// A terminal with a program that shows the alert, and then others.
class AlertTerminal : public Terminal {
public:
    explicit AlertTerminal(const std::string& text = "text", const Environment& variables = {})
        : Terminal(command(text, variables), std::chrono::seconds(30)) {}
    /// A shell script that finds the program in $0.
    static Terminal script(const std::string& commands) {
        return Terminal({"sh", "-c", commands, SHOW_ALERT_PROGRAM}, std::chrono::seconds(30));
    }

private:
    static std::vector<std::string> command(const std::string& text, const Environment& variables) {
        std::vector<std::string> words = {"env", "-i"};
        for (const auto& [name, value] : variables) {
            words.push_back(std::string(name).append("=").append(value));
        }
        words.insert(words.end(), {SHOW_ALERT_PROGRAM, "title", text});
        return words;
    }
};

ProgramResult alertWithoutTerminal(const std::string& text, const Environment& variables = {},
                                   const std::string& input = "r\n") {
    ProgramOptions options;
    options.environment = variables;
    options.standardInput = input;
    return runProgram({SHOW_ALERT_PROGRAM, "title", text}, options);
}

// Terminal

TEST(AlertInTerminal, ShowsTitleTextAndQuestion) {
    AlertTerminal terminal;
    ASSERT_TRUE(terminal.waitFor(question));
    terminal.type("r\n");
    const auto result = terminal.finish();
    EXPECT_EQ(result.standardOutput, "title\ntext\n" + question);
    EXPECT_EQ(result.exitStatus, retry);
}

TEST(AlertInTerminal, TakesLettersAndWordsInAnyCase) {
    const std::pair<const char*, int> answers[] = {{"r", retry},       {"R", retry},      {"retry", retry},
                                                   {"RETRY", retry},   {"c", cancel},     {"C", cancel},
                                                   {"cancel", cancel}, {"Cancel", cancel}};
    for (const auto& [answer, status] : answers) {
        AlertTerminal terminal;
        ASSERT_TRUE(terminal.waitFor(question));
        terminal.type(std::string(answer) + "\n");
        EXPECT_EQ(terminal.finish().exitStatus, status) << answer;
    }
}

TEST(AlertInTerminal, AsksAgainOnAnythingElse) {
    AlertTerminal terminal;
    for (const char* answer : {"", "x", "yes", "retry please", " r", "rr", "0"}) {
        ASSERT_TRUE(terminal.waitFor(question));
        terminal.type(std::string(answer) + "\n");
    }
    ASSERT_TRUE(terminal.waitFor(question));
    terminal.type("r\n");
    EXPECT_EQ(terminal.finish().exitStatus, retry);
}

TEST(AlertInTerminal, EndOfInputIsCancel) {
    AlertTerminal terminal;
    ASSERT_TRUE(terminal.waitFor(question));
    terminal.type("\x04");
    const auto result = terminal.finish();
    EXPECT_EQ(result.exitStatus, cancel);
    EXPECT_EQ(result.standardOutput, "title\ntext\n" + question + "\n");
}

TEST(AlertInTerminal, InterruptEndsTheProgram) {
    AlertTerminal terminal;
    ASSERT_TRUE(terminal.waitFor(question));
    terminal.type("\x03");
    EXPECT_EQ(terminal.finish().signal, SIGINT);
}

TEST(AlertInTerminal, ShowsTheTextAsItIs) {
    AlertTerminal terminal(awkward);
    ASSERT_TRUE(terminal.waitFor(question));
    terminal.type("c\n");
    EXPECT_EQ(terminal.finish().standardOutput, "title\n" + awkward + "\n" + question);
}

TEST(AlertInTerminal, LeavesInputBehindTheAnswerToOthers) {
    Terminal terminal = AlertTerminal::script("\"$0\" title text; read rest; echo \"rest=$rest\"");
    ASSERT_TRUE(terminal.waitFor(question));
    terminal.type("c\nmore\n");
    EXPECT_THAT(terminal.finish().standardOutput, HasSubstr("rest=more\n"));
}

TEST(AlertInTerminal, BackgroundProcessIsNotAsked) {
    Terminal terminal = AlertTerminal::script("set -m; \"$0\" title text & wait $!");
    const auto result = terminal.finish();
    EXPECT_EQ(result.exitStatus, nobodyToAsk);
    EXPECT_THAT(result.standardOutput, Not(HasSubstr("title")));
    EXPECT_THAT(result.standardOutput, Not(HasSubstr(question)));
}

TEST(AlertInTerminal, IsNotAskedWhenOnlyOneOfInputAndOutputIsATerminal) {
    for (const char* redirection : {"</dev/null", "| cat"}) {
        Terminal terminal =
            AlertTerminal::script("{ \"$0\" title text; echo $? >&2; } " + std::string(redirection));
        EXPECT_EQ(terminal.finish().standardOutput, std::to_string(nobodyToAsk) + "\n") << redirection;
    }
}

// Nobody to ask

TEST(AlertWithoutTerminal, HasNobodyToAsk) {
    const auto result = alertWithoutTerminal(awkward);
    EXPECT_EQ(result.exitStatus, nobodyToAsk);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError, "");
}

// A program in place of zenity, which records how it was called

class AlertInDialog : public testing::Test {
protected:
    void SetUp() override { setZenity("exit 0"); }

    void setZenity(const std::string& commands) {
        const fs::path program = folder.path() / "zenity";
        std::ofstream(program) << "#!/bin/sh\n"
                                  "printf '%s\\n' \"$@\" >\"${0%/*}/arguments\"\n"
                                  "env >\"${0%/*}/environment\"\n"
                                  "echo output of the dialog\n"
                               << commands << "\n";
        fs::permissions(program, fs::perms::owner_all);
    }
    Environment environment() const {
        return {{"PATH", folder.path().string() + ":/usr/bin:/bin"}, {"DISPLAY", ":77"}};
    }
    bool wasCalled() const { return fs::exists(folder.path() / "arguments"); }
    std::string recorded(const std::string& name) const {
        std::ifstream file(folder.path() / name);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    TemporaryDirectory folder;
};

TEST_F(AlertInDialog, OnlyExitStatusZeroIsRetry) {
    for (const auto& [status, answer] :
         {std::pair{0, retry}, {1, cancel}, {2, cancel}, {5, cancel}, {254, cancel}}) {
        setZenity("exit " + std::to_string(status));
        const auto result = alertWithoutTerminal("text", environment());
        EXPECT_EQ(result.exitStatus, answer) << status;
        EXPECT_EQ(result.standardOutput, "") << status;
    }
}

TEST_F(AlertInDialog, TextIsDataInOneArgument) {
    alertWithoutTerminal(awkward, environment());
    EXPECT_EQ(recorded("arguments"),
              "--question\n--title=title\n--text=" + awkward +
                  "\n--ok-label=Retry\n--cancel-label=Cancel\n--no-markup\n--width=420\n");
    EXPECT_FALSE(fs::exists(folder.path() / "x"));
}

TEST_F(AlertInDialog, VariablesThatChangeExitStatusesAreUnset) {
    Environment variables = environment();
    variables.insert(
        {{"ZENITY_OK", "1"}, {"ZENITY_CANCEL", "0"}, {"DIALOG_OK", "1"}, {"OTHER_ZENITY_X", "kept"}});
    alertWithoutTerminal("text", variables);
    EXPECT_THAT(recorded("environment"), Not(HasSubstr("ZENITY_OK")));
    EXPECT_THAT(recorded("environment"), Not(HasSubstr("ZENITY_CANCEL")));
    EXPECT_THAT(recorded("environment"), Not(HasSubstr("DIALOG_OK")));
    EXPECT_THAT(recorded("environment"), HasSubstr("OTHER_ZENITY_X=kept\n"));
    EXPECT_THAT(recorded("environment"), HasSubstr("DISPLAY=:77\n"));
}

TEST_F(AlertInDialog, TextIsUtf8WhateverTheLocale) {
    Environment variables = environment();
    variables.insert({{"LC_ALL", "C"}, {"LC_CTYPE", "POSIX"}, {"LANG", "C"}});
    alertWithoutTerminal("text", variables);
    EXPECT_THAT(recorded("environment"), HasSubstr("LC_CTYPE=C.UTF-8\n"));
    EXPECT_THAT(recorded("environment"), Not(HasSubstr("LC_ALL")));
    EXPECT_THAT(recorded("environment"), Not(HasSubstr("POSIX")));
}

TEST_F(AlertInDialog, NeedsADisplay) {
    const std::pair<Environment, bool> cases[] = {
        {{}, false},
        {{{"DISPLAY", ""}}, false},
        {{{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}}, false},
        {{{"DISPLAY", ":77"}}, true},
        {{{"WAYLAND_DISPLAY", "wayland-0"}}, true},
    };
    for (auto [variables, bCalled] : cases) {
        fs::remove(folder.path() / "arguments");
        variables["PATH"] = environment()["PATH"];
        EXPECT_EQ(alertWithoutTerminal("text", variables).exitStatus, bCalled ? retry : nobodyToAsk);
        EXPECT_EQ(wasCalled(), bCalled);
    }
}

TEST_F(AlertInDialog, FailureGoesOnToTheTerminal) {
    for (const char* failure : {"exit 255", "exit 126", "exit 127", "kill -KILL $$", "kill -TERM $$"}) {
        setZenity(failure);
        AlertTerminal terminal("text", environment());
        ASSERT_TRUE(terminal.waitFor(question)) << failure;
        terminal.type("r\n");
        EXPECT_EQ(terminal.finish().exitStatus, retry) << failure;
        EXPECT_TRUE(wasCalled());
    }
}

TEST_F(AlertInDialog, AfterAFailureWithoutATerminalThereIsNobodyToAsk) {
    setZenity("exit 255");
    const auto result = alertWithoutTerminal("text", environment());
    EXPECT_EQ(result.exitStatus, nobodyToAsk);
    EXPECT_EQ(result.standardOutput, "");
}

TEST_F(AlertInDialog, MissingOrUnusableProgramGoesOn) {
    fs::remove(folder.path() / "zenity");
    Environment variables = environment();
    variables["PATH"] = folder.path().string();
    EXPECT_EQ(alertWithoutTerminal("text", variables).exitStatus, nobodyToAsk);
    std::ofstream(folder.path() / "zenity") << "not executable";
    EXPECT_EQ(alertWithoutTerminal("text", variables).exitStatus, nobodyToAsk);
}

TEST_F(AlertInDialog, AnswerOfTheDialogIsFinalInATerminalToo) {
    setZenity("exit 1");
    AlertTerminal terminal("text", environment());
    const auto result = terminal.finish();
    EXPECT_EQ(result.exitStatus, cancel);
    EXPECT_EQ(result.standardOutput, "");
}

// What the machine makes of the answer

class AlertOfTheMachine : public AlertInDialog {
protected:
    /// Shows the alert in this process; `output` becomes what that prints.
    bool show(const Environment& variables, std::string& output) const {
        std::vector<std::unique_ptr<ScopedEnvironment>> scoped;
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
            scoped.push_back(std::make_unique<ScopedEnvironment>(name, std::nullopt));
        }
        for (const auto& [name, value] : variables) {
            scoped.push_back(std::make_unique<ScopedEnvironment>(name, value));
        }
        CapturedStdout captured;
        const bool bRetry = Machine::current().showRetryCancelAlert("title", awkward.c_str());
        output = captured.text();
        return bRetry;
    }
};

TEST_F(AlertOfTheMachine, IsTrueForRetryOnly) {
    std::string output;
    EXPECT_TRUE(show(environment(), output));
    EXPECT_EQ(output, "");
    setZenity("exit 1");
    EXPECT_FALSE(show(environment(), output));
    EXPECT_EQ(output, "");
}

TEST_F(AlertOfTheMachine, IsOneLogLineWhenThereIsNobodyToAsk) {
    std::string output;
    EXPECT_FALSE(show({}, output));
    EXPECT_EQ(output, "Warning: title: " + awkward + "\n");
}

// zenity itself, on a virtual screen

/// Presses `key` in the window titled "title" until the program with the alert has ended.
ProgramResult pressInZenity(const std::string& key, const std::string& text, const Environment& more = {}) {
    const VirtualScreen screen;
    EXPECT_TRUE(screen.isUp());
    TemporaryDirectory home;
    Environment variables = {{"PATH", std::getenv("PATH")}, // NOLINT(concurrency-mt-unsafe)
                             {"DISPLAY", screen.name()},
                             {"HOME", home.path().string()}};
    variables.insert(more.begin(), more.end());
    const std::string script =
        "\"$1\" title \"$2\" & alert=$!\n"
        "while kill -0 $alert 2>/dev/null; do\n"
        "  window=$(xdotool search --onlyvisible --name '^title$' 2>/dev/null | head -n 1)\n"
        "  if [ -n \"$window\" ]; then\n"
        "    xdotool windowfocus \"$window\" key \"$3\" 2>/dev/null\n"
        "  fi\n"
        "  sleep 0.2\n"
        "done\n"
        "wait $alert\n";
    ProgramOptions options;
    options.environment = variables;
    return runProgram({"sh", "-c", script, "sh", SHOW_ALERT_PROGRAM, text, key}, options);
}

#define SKIP_WITHOUT_ZENITY_AND_A_SCREEN()                                                                   \
    for (const char* program : {"zenity", "Xvfb", "xdotool"}) {                                              \
        if (!hasProgram(program)) {                                                                          \
            GTEST_SKIP() << program << " is not installed";                                                  \
        }                                                                                                    \
    }                                                                                                        \
    static_assert(true)

TEST(AlertInZenity, ReturnIsRetryAndEscapeIsCancel) {
    SKIP_WITHOUT_ZENITY_AND_A_SCREEN();
    EXPECT_EQ(pressInZenity("Return", "text").exitStatus, retry);
    EXPECT_EQ(pressInZenity("Escape", "text").exitStatus, cancel);
}

TEST(AlertInZenity, VariablesDoNotChangeTheAnswer) {
    SKIP_WITHOUT_ZENITY_AND_A_SCREEN();
    EXPECT_EQ(pressInZenity("Escape", "text", {{"ZENITY_ESC", "0"}, {"ZENITY_CANCEL", "0"}}).exitStatus,
              cancel);
    EXPECT_EQ(pressInZenity("Return", "text", {{"ZENITY_OK", "1"}}).exitStatus, retry);
}

TEST(AlertInZenity, AwkwardTextIsDisplayed) {
    SKIP_WITHOUT_ZENITY_AND_A_SCREEN();
    for (const std::string& text :
         {awkward, std::string("<b>not closed"), std::string("caf\xC3\xA9 \xE4\xB8\xAD")}) {
        const auto result = pressInZenity("Return", text);
        EXPECT_EQ(result.exitStatus, retry) << text;
        EXPECT_THAT(result.standardError, Not(HasSubstr("markup"))) << text;
    }
}

} // namespace
