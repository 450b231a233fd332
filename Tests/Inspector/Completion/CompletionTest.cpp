// The scripts of "completion", in the shells that they are for.
#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Terminal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

using namespace std::chrono_literals;

namespace {

using Words = std::vector<std::string>;

ProgramResult inspector(Words arguments) {
    arguments.insert(arguments.begin(), INSTALLINSPECTOR_PROGRAM);
    return runProgram(arguments);
}

std::string scriptFor(const std::string& shell) {
    const ProgramResult result = inspector({"completion", shell});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    return result.standardOutput;
}

Words sortedLines(const std::string& text) {
    std::istringstream lines(text);
    Words words;
    for (std::string line; std::getline(lines, line);) {
        words.push_back(line.substr(0, line.find('\t'))); // fish has a description after it
    }
    std::sort(words.begin(), words.end());
    return words;
}

/// A folder with a file and a folder for completion to find, and the scripts.
class Completion : public testing::Test {
protected:
    Completion() {
        FileTree::write(folder.path() / "Alpha dir/file.xml", "");
        FileTree::write(folder.path() / "Alpha.xml", "");
    }
    std::string write(const std::string& shell, const std::string& name) {
        FileTree::write(folder.path() / name, scriptFor(shell));
        return (folder.path() / name).string();
    }
    ProgramResult run(const Words& command) {
        ProgramOptions options;
        options.workingFolder = folder.path();
        return runProgram(command, options);
    }
    /// Whether the shell is on this machine.
    static bool has(const std::string& shell) { return runProgram({shell, "-c", ":"}).exitStatus == 0; }

    TemporaryDirectory folder;
};

/// What is offered for the last of these words. As in bash, "=" is a word.
struct Offer {
    Words words;
    Words offered;
};

const std::vector<Offer>& offers() {
    static const std::vector<Offer> known{
        {{"che"}, {"check"}},
        {{"com"}, {"compare", "completion"}},
        {{"completion", ""}, {"bash", "fish", "zsh"}},
        {{"check", "--fail"}, {"--fail-on"}},
        {{"check", "--fail-on", ""}, {"error", "note", "warning"}},
        {{"check", "--fail-on", "w"}, {"warning"}},
        {{"check", "sku.xml", "--ignore", "not-well"}, {"not-well-formed"}},
        {{"plan", "--js"}, {"--json"}},
        {{"plan", "--fail"}, {}},
        {{"status", "--ver"}, {"--verify"}},
    };
    return known;
}

} // namespace

TEST_F(Completion, BashOffersWhatFits) {
    const std::string script = write("bash", "script");
    const std::string offer = R"(. "$0"; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _InstallInspector
        for word in "${COMPREPLY[@]}"; do echo "$word"; done)";
    for (const auto& [words, offered] : offers()) {
        Words command{"bash", "--norc", "-c", offer, script, "InstallInspector"};
        command.insert(command.end(), words.begin(), words.end());
        const ProgramResult result = run(command);
        EXPECT_EQ(sortedLines(result.standardOutput), offered) << words.back();
        EXPECT_EQ(result.standardError, "");
    }
}

TEST_F(Completion, BashTakesAnEqualsSignAsAWord) {
    const std::string script = write("bash", "script");
    for (const auto& [last, offered] :
         {std::pair("COMP_WORDS=(InstallInspector check --fail-on =)", "error warning note"),
          std::pair("COMP_WORDS=(InstallInspector check --fail-on = n)", "note")}) {
        const ProgramResult result =
            run({"bash", "--norc", "-c",
                 ". \"$0\"; " + std::string(last) +
                     "; COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _InstallInspector; echo \"${COMPREPLY[*]}\"",
                 script});
        EXPECT_EQ(result.standardOutput, std::string(offered) + "\n");
    }
}

TEST_F(Completion, FishOffersWhatFits) {
    if (!has("fish")) {
        GTEST_SKIP() << "no fish on this machine";
    }
    const std::string script = write("fish", "script");
    std::vector<Offer> all = offers();
    all.push_back({{"log", "Al"}, {"Alpha dir/", "Alpha.xml"}});
    all.push_back({{"check", "--source", "Al"}, {"Alpha dir/"}});
    for (const auto& [words, offered] : all) {
        std::string line = "InstallInspector";
        for (const std::string& word : words) {
            line += " " + word;
        }
        const ProgramResult result =
            run({"fish", "--no-config", "-c", "source $argv[1]; complete -C $argv[2]", script, line});
        EXPECT_EQ(sortedLines(result.standardOutput), offered) << line << result.standardError;
    }
}

TEST_F(Completion, ZshCompletesWhatFits) {
    if (!has("zsh")) {
        GTEST_SKIP() << "no zsh on this machine";
    }
    write("zsh", "_InstallInspector");
    // "-D" keeps it from writing to the user's home, "-u" from asking about folders of others.
    Terminal terminal({"env", "TERM=dumb", "zsh", "-f", "-i"}, 20s);
    terminal.type("cd '" + folder.path().string() +
                  "'; fpath=($PWD $fpath); autoload -U compinit; compinit -D -u; PS1='re''ady> '\n");
    ASSERT_TRUE(terminal.waitFor("ready> "));
    for (const auto& [typed, completed] : {std::pair("chec", "check "),
                                           {"completion f", "completion fish "},
                                           {"check --fail-on=w", "check --fail-on=warning "},
                                           {"check --ignore not-well", "not-well-formed "},
                                           {"plan --js", "plan --json "},
                                           {"check --source Al", "Alpha\\ dir/"},
                                           {"log Alpha.", "log Alpha.xml "}}) {
        terminal.type("InstallInspector " + std::string(typed) + "\t");
        EXPECT_TRUE(terminal.waitFor(completed)) << typed;
        terminal.type("\x15\n"); // deletes the line
        ASSERT_TRUE(terminal.waitFor("ready> "));
    }
    terminal.type("exit\n");
    EXPECT_EQ(terminal.finish().exitStatus, 0);
}

TEST_F(Completion, OtherShellsAreRefused) {
    const ProgramResult result = inspector({"completion", "csh"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_NE(result.standardError.find("csh"), std::string::npos);
}
