// The uninstaller as a person meets it: asked first, shown that it works, told what was done.

#include "Tests/EndToEnd/UninstallerTest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <regex.h>
#include <set>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

constexpr int cancelled = 3;
const char* const logName = "Uninstall [0-9]+-[0-9]+-[0-9]+ [0-9]+ Alpha.log";

class UninstallerApplication : public UninstallerRights {
protected:
    void SetUp() override {
        UninstallerRights::SetUp();
        if (!IsSkipped()) {
            Install(product());
            root().makeFolder("/tools");
        }
    }

    /// A program that notes its arguments in /tools/NAME, one in a line.
    void standIn(const std::string& name, const std::string& body) {
        root().write("/bin/" + name, "#!/bin/sh\nnote() { printf '%s\\n' \"$@\" >/tools/$part; }\n" + body,
                     0755);
    }
    /// What a program noted; no line if it was not called.
    Lines noted(const std::string& part) {
        ProgramResult result;
        result.standardOutput = root().exists("/tools/" + part) ? root().read("/tools/" + part) : "";
        return logLines(result);
    }

    /// A Mac on which a user has logged in. Each script that osascript gets must be the one for its
    /// arguments. Its command for the shell runs as there: with rights, and two line feeds after its output.
    void onTheMac(const std::string& answer = "echo Remove", const std::string& rights = "runAll") {
        standIn("id", "echo 501\n");
        standIn("uname", "echo Darwin\n");
        standIn("launchctl", "[ \"$*\" = managername ] && echo Aqua\n");
        root().add("/usr/bin/iconv", "/bin/iconv");
        standIn("osascript", R"(
script=$(cat)
printf '%s\n' "$script" >>/tools/scripts
runAll() {
    while [ ! -e /tools/progress ]; do sleep 0.02; done
    sh -c "$2" >/tools/output && cat /tools/output && echo
}
case $script in
*'do shell script theCommand with administrator privileges without altering line endings'*)
    [ $# = 2 ] || exit 1
    part=rights
    note "$@"
    )" + rights + R"( "$@"
    ;;
*'display dialog theText with title theTitle buttons theButtons default button 1'*)
    case $#$3 in
    5*) part=question; note "$@"; )" +
                                 answer + R"( ;;
    4*Removing*)
        trap 'kill $!; part=ended; note; exit' TERM
        sleep 20 &
        part=progress
        note "$@"
        wait
        ;;
    4*) part=result; note "$@"; echo "$4" ;;
    esac
    ;;
*) exit 1 ;;
esac
)");
    }
    /// A desktop of Linux.
    static Options onLinux() { return onADesktop(); }
    void withZenity(const std::string& answer = "exit 0") {
        standIn("zenity", "part=${1#--}\nnote \"$@\" \"locale $LC_ALL\"\n[ $part != question ] || " + answer +
                              "\n[ $part != progress ] || cat >/tools/input\n");
    }

    ProgramResult inTerminal(const std::string& typed, const std::string& language = "",
                             const std::vector<std::string>& more = {}) {
        Options options;
        options.environment["LANG"] = language;
        std::vector<std::string> command{launcher()};
        command.insert(command.end(), more.begin(), more.end());
        std::vector<PrivateRoot::Answer> answers;
        if (!typed.empty()) {
            answers.push_back({"[N]", typed, {}});
        }
        return root().runInTerminal(command, answers, options);
    }

    void expectNothingChanged(const Lines& before) {
        Lines after = root().tree();
        const auto isTool = [](const std::string& line) { return line.rfind("/tools/", 0) == 0; };
        after.erase(std::remove_if(after.begin(), after.end(), isTool), after.end());
        EXPECT_EQ(FileTree::difference(before, after), "");
    }
    Lines treeWithoutTools() {
        root().remove("/tools");
        Lines tree = root().tree();
        root().makeFolder("/tools");
        return tree;
    }

    /// The names of the logs in the folder, oldest first.
    Lines logs(const std::string& folder = "/Library/Logs/Vorlane") {
        Lines names;
        if (root().exists(folder)) {
            for (const auto& entry : fs::directory_iterator(root().outside(folder))) {
                names.push_back(entry.path().filename());
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    std::string onlyLog() {
        const Lines names = logs();
        return names.size() == 1 ? "/Library/Logs/Vorlane/" + names.front() : "not one log";
    }
    /// What stands in the place of the engine prints these debug lines and ends with that status.
    void engineSays(const std::string& lines, int status = 0) {
        root().write(inside(product(), "MacOS/InstallUtility"),
                     "#!/bin/sh\nrm -rf '" + uninstallerOf(product()) + "'\ncat <<'END'\n" + lines +
                         "END\nexit " + std::to_string(status) + "\n",
                     0755);
    }
};

using Texts = std::map<std::string, std::string>;

/// Of lines like: "key" = "text";
Texts textsIn(const std::string& content) {
    static const std::string between = "\" = \"";
    Texts texts;
    std::istringstream stream(content);
    for (std::string line; std::getline(stream, line);) {
        const std::size_t middle = line.find(between);
        if (middle == std::string::npos) {
            EXPECT_EQ(line.find('='), std::string::npos) << line;
            continue;
        }
        const std::string key = line.substr(1, middle - 1);
        const std::string rest = line.substr(middle + between.size());
        EXPECT_EQ(line.front(), '"') << line;
        EXPECT_THAT(key, MatchesRegex("[a-z_]+")) << line;
        EXPECT_THAT(rest, EndsWith("\";")) << line;
        EXPECT_TRUE(texts.insert({key, rest.substr(0, rest.size() - 2)}).second) << line;
    }
    return texts;
}

/// What the last group of the extended regular expression `pattern` matches in `text`.
std::multiset<std::string> matchesOf(const char* pattern, const std::string& text) {
    regex_t expression;
    EXPECT_EQ(regcomp(&expression, pattern, REG_EXTENDED), 0) << pattern;
    std::array<regmatch_t, 3> match{};
    std::multiset<std::string> result;
    for (const char* at = text.c_str(); regexec(&expression, at, match.size(), match.data(), 0) == 0;
         at += match[0].rm_eo) {
        const regmatch_t& group = match.at(expression.re_nsub);
        result.insert(std::string(at + group.rm_so, at + group.rm_eo));
    }
    regfree(&expression);
    return result;
}

} // namespace

// On macOS

TEST_F(UninstallerApplication, OnTheMacAsksShowsThatItWorksAndTellsWhatWasDone) {
    onTheMac();
    const ProgramResult result = OpenUninstaller(product());
    ExpectSuccess(result);
    EXPECT_EQ(result.standardOutput + result.standardError, "");
    EXPECT_EQ(noted("question"),
              (Lines{"-", "Alpha", "Remove Alpha from this Mac? Files that other products use stay.",
                     "Cancel", "Remove"}));
    EXPECT_EQ(noted("rights"),
              (Lines{"-", "{ HOME='/Users/anna' UNINSTALLER_HAS_ASKED=1 UNINSTALLER_REPORTS=1 '" +
                              launcher() + "' 2>&1; echo $?; } | iconv -c -f UTF-8 -t UTF-8; true"}));
    EXPECT_EQ(noted("progress"), (Lines{"-", "Alpha", "Removing Alpha …", "OK"}));
    EXPECT_TRUE(root().exists("/tools/ended")) << "the dialog of the progress stays";
    EXPECT_EQ(noted("result"), (Lines{"-", "Alpha", "Alpha was removed.", "", "Log: " + onlyLog(), "OK"}));
    EXPECT_THAT(logs(), ElementsAre(MatchesRegex(logName)));
    EXPECT_THAT(root().read(onlyLog()),
                HasSubstr(" Delete '" + shared("ALPHA") + "'\n" + cannotRemove("ALPHA")));
    root().remove("/Library/Logs");
    root().remove("/tools");
    ExpectTree({emptyStatusFolder});
}

TEST_F(UninstallerApplication, OnTheMacNothingHappensUnlessTheAnswerIsRemove) {
    const Lines before = treeWithoutTools();
    for (const char* answer : {"echo Cancel", "echo", "exit 1"}) {
        onTheMac(answer);
        EXPECT_EQ(OpenUninstaller(product()).exitStatus, cancelled) << answer;
        EXPECT_FALSE(noted("question").empty());
        EXPECT_EQ(noted("rights"), Lines());
        EXPECT_EQ(noted("result"), Lines());
        expectNothingChanged(before);
    }
}

TEST_F(UninstallerApplication, OnTheMacRefusedRightsAreAFailureAndNothingIsTouched) {
    const Lines before = treeWithoutTools();
    onTheMac("echo Remove", "exit 1");
    EXPECT_EQ(OpenUninstaller(product()).exitStatus, 1);
    EXPECT_EQ(noted("result"), (Lines{"-", "Alpha", "Alpha was not removed. Nothing has changed.", "OK"}));
    expectNothingChanged(before);
}

TEST_F(UninstallerApplication, OnTheMacNoNameBecomesAPartOfAScriptOrACommand) {
    const ProductBuilder odd = product("ODD", "A & <b>\\n%LOG% \"%s\" $x `y` 'z' é");
    Install(odd);
    onTheMac();
    Options options;
    options.environment["HOME"] = "/Users/o'brien \"$x\" `y`";
    ExpectSuccess(OpenUninstaller(odd, {}, options));
    EXPECT_FALSE(root().exists(uninstallerOf(odd)));
    EXPECT_EQ(noted("question").at(1), odd.productName());
    EXPECT_EQ(noted("question").at(2),
              "Remove " + odd.productName() + " from this Mac? Files that other products use stay.");
    EXPECT_EQ(noted("result").at(2), odd.productName() + " was removed.");
    EXPECT_THAT(noted("rights").at(1), HasSubstr("HOME='/Users/o'\\''brien \"$x\" `y`' "));
    const std::string scripts = root().read("/tools/scripts");
    EXPECT_THAT(scripts, Not(HasSubstr("<b>")));
    EXPECT_THAT(scripts, Not(HasSubstr("brien")));
}

TEST_F(UninstallerApplication, OnTheMacTheReportIsUtf8WhateverTheEngineSays) {
    root().write("/Library/caf\xE9", "");
    engineSays("DEBUG: a,1:b Delete '/Library/caf\xE9'\n");
    onTheMac();
    ExpectSuccess(OpenUninstaller(product()));
    EXPECT_THAT(root().read("/tools/output"), HasSubstr("left /Library/caf\n"));
}

TEST_F(UninstallerApplication, OnTheMacTellsWhatIsMissing) {
    root().remove(inside(product(), "target_path.xml"));
    onTheMac();
    EXPECT_EQ(OpenUninstaller(product()).exitStatus, 1);
    EXPECT_EQ(noted("question"), Lines());
    EXPECT_EQ(noted("result"), (Lines{"-", "Alpha",
                                      "'" + inside(product(), "target_path.xml") +
                                          "' is missing: this is no uninstaller that an install has placed",
                                      "OK"}));
}

TEST_F(UninstallerApplication, OnTheMacPassesTheExitStatusOn) {
    engineSays("Error: something\n", 7);
    onTheMac();
    EXPECT_EQ(OpenUninstaller(product()).exitStatus, 7);
    EXPECT_EQ(noted("result"),
              (Lines{"-", "Alpha", "Alpha could not be removed completely. The log says why.", "",
                     "Log: " + onlyLog(), "OK"}));
    EXPECT_EQ(root().read(onlyLog()), "Error: something\n");
}

TEST_F(UninstallerApplication, OnTheMacSpeaksTheFirstLanguageOfTheUser) {
    standIn("defaults",
            "[ \"$*\" = 'read -g AppleLanguages' ] && printf '(\\n    \"de-DE\",\\n    en\\n)\\n'\n");
    onTheMac("echo Abbrechen");
    EXPECT_EQ(OpenUninstaller(product()).exitStatus, cancelled);
    const std::string question = "Soll Alpha von diesem Mac entfernt werden? Dateien, die andere Produkte "
                                 "verwenden, bleiben erhalten.";
    EXPECT_EQ(noted("question"), (Lines{"-", "Alpha", question, "Abbrechen", "Entfernen"}));
}

TEST_F(UninstallerApplication, OnTheMacWithoutAWindowSessionAsksNobody) {
    onTheMac();
    standIn("launchctl", "echo Background\n");
    const ProgramResult result = OpenUninstaller(product());
    ExpectSuccess(result);
    ExpectLog(result, {cannotRemove("shared"), cannotRemove("ALPHA")});
    EXPECT_EQ(root().tree("/tools"), Lines()) << "somebody was asked";
    EXPECT_FALSE(root().exists("/Library/Logs"));
}

// On Linux

TEST_F(UninstallerApplication, OnADesktopAsksShowsThatItWorksAndTellsWhatWasDone) {
    withZenity();
    const ProgramResult result = OpenUninstaller(product(), {}, onLinux());
    ExpectSuccess(result);
    EXPECT_EQ(result.standardOutput + result.standardError, "");
    EXPECT_EQ(noted("question"),
              (Lines{"--question", "--title=Alpha",
                     "--text=Remove Alpha from this computer? Files that other products use stay.",
                     "--width=420", "--no-markup", "--default-cancel", "--ok-label=Remove",
                     "--cancel-label=Cancel", "locale C.UTF-8"}));
    EXPECT_EQ(noted("progress"),
              (Lines{"--progress", "--title=Alpha", "--text=Removing Alpha …", "--width=420", "--pulsate",
                     "--auto-close", "--no-cancel", "locale C.UTF-8"}));
    EXPECT_EQ(noted("input"), (Lines{"100"})) << "what closes it";
    EXPECT_EQ(noted("info"),
              (Lines{"--info", "--title=Alpha", "--text=Alpha was removed.", "", "Log: " + onlyLog(),
                     "--width=420", "--no-markup", "--ok-label=OK", "locale C.UTF-8"}));
    EXPECT_FALSE(root().exists(uninstallerOf(product())));
    EXPECT_EQ(root().tree("/tmp"), Lines());
}

TEST_F(UninstallerApplication, OnADesktopNothingHappensUnlessTheAnswerIsYes) {
    const Lines before = treeWithoutTools();
    for (const char* answer : {"exit 1", "exit 255", "kill $$"}) {
        withZenity(answer);
        EXPECT_EQ(OpenUninstaller(product(), {}, onLinux()).exitStatus, cancelled) << answer;
        EXPECT_EQ(noted("progress"), Lines());
        expectNothingChanged(before);
    }
}

TEST_F(UninstallerApplication, OnADesktopTheDialogOfTheRightsGetsTheReport) {
    withZenity();
    standIn("id", "echo 501\n");
    standIn("pkexec", "part=pkexec\nnote \"$@\"\nexec \"$@\"\n");
    ExpectSuccess(OpenUninstaller(product(), {"-v"}, onLinux()));
    EXPECT_EQ(noted("pkexec"), (Lines{"env", "HOME=/Users/anna", "UNINSTALLER_HAS_ASKED=1",
                                      "UNINSTALLER_REPORTS=1", launcher()}));
    EXPECT_EQ(noted("info").at(2), "--text=Alpha was removed.");
}

TEST_F(UninstallerApplication, OnADesktopRefusedRightsAreAFailureAndNothingIsTouched) {
    const Lines before = treeWithoutTools();
    withZenity();
    standIn("id", "echo 501\n");
    standIn("pkexec", "exit 126\n");
    EXPECT_EQ(OpenUninstaller(product(), {}, onLinux()).exitStatus, 1);
    EXPECT_EQ(noted("info").at(2), "--text=Alpha was not removed. Nothing has changed.");
    expectNothingChanged(before);
}

TEST_F(UninstallerApplication, WorksOnWhenItsProgressIsClosed) {
    standIn("zenity", "[ $1 != --progress ] || exit 1\n");
    ExpectSuccess(OpenUninstaller(product(), {}, onLinux()));
    EXPECT_FALSE(root().exists(uninstallerOf(product())));
}

TEST_F(UninstallerApplication, ShowsEveryNameAsItIs) {
    const ProductBuilder odd = product("ODD", "A & <b>\\n%LOG% \"%s\" $x `y` 'z'");
    Install(odd);
    withZenity();
    ExpectSuccess(OpenUninstaller(odd, {}, onLinux()));
    const std::string shown = "A & <b>\\\\n%LOG% \"%s\" $x `y` 'z'"; // zenity reads two backslashes as one
    EXPECT_EQ(noted("question").at(1), "--title=" + odd.productName());
    EXPECT_EQ(noted("question").at(2),
              "--text=Remove " + shown + " from this computer? Files that other products use stay.");
    EXPECT_EQ(noted("progress").at(2), "--text=Removing A &amp; &lt;b>\\\\n%LOG% \"%s\" $x `y` 'z' …");
    EXPECT_EQ(noted("info").at(2), "--text=" + shown + " was removed.");
}

TEST_F(UninstallerApplication, OnADesktopTellsWhatIsMissing) {
    root().remove(inside(product(), "sku.xml"));
    withZenity();
    const ProgramResult result = OpenUninstaller(product(), {}, onLinux());
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(noted("question"), Lines());
    EXPECT_EQ(noted("info").at(2), "--text='" + inside(product(), "sku.xml") +
                                       "' is missing: this is no uninstaller that an install has placed");
}

// In a terminal

TEST_F(UninstallerApplication, InATerminalAsksAndTellsWhatWasDone) {
    for (const char* yes : {"y\n", "YES\n"}) {
        Install(product());
        root().remove("/Library/Logs");
        const ProgramResult result = inTerminal(yes);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.standardOutput,
                  "Remove Alpha from this computer? Files that other products use stay.\n"
                  "[y]es or [N]o: Removing Alpha …\nAlpha was removed.\n\nLog: " +
                      onlyLog() + "\n");
        EXPECT_FALSE(root().exists(uninstallerOf(product())));
    }
}

TEST_F(UninstallerApplication, InATerminalNothingHappensUnlessTheAnswerIsYes) {
    const Lines before = treeWithoutTools();
    for (const std::string answer : {"n\n", "\n", "j\n", "x y\n", "\x04"}) {
        const ProgramResult result = inTerminal(answer);
        EXPECT_EQ(result.exitStatus, cancelled) << answer;
        EXPECT_THAT(result.standardOutput, HasSubstr("Cancelled. Nothing has changed."));
    }
    expectNothingChanged(before);
    skipWherePretended("the shell of fakechroot ends with Control-C before the launcher answers");
    if (IsSkipped()) {
        return;
    }
    // bash loses a signal that comes after the prompt and before it reads. Nobody types as quickly as that.
    const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(200)); };
    Options options;
    options.environment["LANG"] = "";
    EXPECT_EQ(root().runInTerminal({launcher()}, {{"[N]", "\x03", pause}}, options).exitStatus, cancelled);
    expectNothingChanged(before);
}

TEST_F(UninstallerApplication, InTheBackgroundOfATerminalCancels) {
    const Lines before = treeWithoutTools();
    const ProgramResult result = root().runInTerminal(
        {"bash", "-c", "set -m; '" + launcher() + "' & wait $!; exit $?"}, {}, Options());
    EXPECT_FALSE(result.bTimedOut);
    EXPECT_EQ(result.exitStatus, cancelled);
    expectNothingChanged(before);
}

TEST_F(UninstallerApplication, InATerminalSpeaksTheLanguageOfTheEnvironment) {
    const std::string english = "Remove Alpha";
    const std::string german = "Soll Alpha";
    const std::map<std::string, std::string> languages{{"de_AT.UTF-8", german},  {"de", german},
                                                       {"fr_FR.UTF-8", english}, {"C", english},
                                                       {"../de", german},        {"..", english}};
    for (const auto& [language, question] : languages) {
        EXPECT_THAT(inTerminal("n\n", language).standardOutput, HasSubstr(question)) << language;
    }
    EXPECT_THAT(inTerminal("j\n", "de_DE.UTF-8").standardOutput, HasSubstr("Alpha wurde entfernt."));
}

TEST_F(UninstallerApplication, InATerminalAsksForRightsThroughSudoAndKeepsTheUsersHome) {
    standIn("id", "echo 501\n");
    standIn("sudo", "part=sudo\nnote \"$@\"\nexec \"$@\"\n");
    const ProgramResult result = inTerminal("y\n");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(noted("sudo"), (Lines{"env", "HOME=/Users/anna", "UNINSTALLER_HAS_ASKED=1",
                                    "UNINSTALLER_REPORTS=1", launcher()}));
    root().remove("/tools");
    root().remove("/Library/Logs");
    ExpectTree({emptyStatusFolder});
}

// Without a question

TEST_F(UninstallerApplication, AsksNothingWithTheOptionForIt) {
    standIn("sudo", "part=sudo\nnote\n");
    standIn("pkexec", "part=pkexec\nnote\n");
    withZenity("exit 1");
    const std::string deleted = "DEBUG: Delete '" + shared("ALPHA") + "'";
    for (const bool bSuperuser : {true, false}) {
        Install(product());
        standIn("id", bSuperuser ? "echo 0\n" : "echo 501\n");
        const ProgramResult desktop = OpenUninstaller(product(), {"-y", "-v"}, onLinux());
        ExpectSuccess(desktop);
        EXPECT_TRUE(hasLine(desktop, deleted));
        Install(product());
        const ProgramResult terminal = inTerminal("", "", {"-v", "-y"});
        EXPECT_EQ(terminal.exitStatus, 0);
        EXPECT_TRUE(hasLine(terminal, deleted));
    }
    EXPECT_EQ(root().tree("/tools"), Lines()) << "somebody was asked";
    EXPECT_FALSE(root().exists("/Library/Logs")) << "the log was printed";
}

TEST_F(UninstallerApplication, NeedsNoTextsWhenItAsksNothing) {
    root().remove(inside(product(), "Resources"));
    ExpectSuccess(OpenUninstaller(product()));
    EXPECT_FALSE(root().exists(uninstallerOf(product())));
}

TEST_F(UninstallerApplication, AsksNothingThatItHasNoTextsFor) {
    root().remove(inside(product(), "Resources"));
    const Lines before = treeWithoutTools();
    const ProgramResult result = inTerminal("");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardOutput, HasSubstr("Resources/en.lproj/Uninstaller.strings' is missing"));
    expectNothingChanged(before);
}

// What the result says

TEST_F(UninstallerApplication, NamesWhatCouldNotBeRemoved) {
    root().add("/bin/rm", "/bin/rm-of-the-system");
    root().remove("/bin/rm");
    root().write("/bin/rm",
                 "#!/bin/sh\ncase $* in *Vorlane/ALPHA) echo 'rm: refused' >&2; exit 1 ;; esac\n"
                 "exec rm-of-the-system \"$@\"\n",
                 0755);
    const ProgramResult result = inTerminal("y\n");
    EXPECT_EQ(result.exitStatus, 0) << "the engine's";
    EXPECT_THAT(result.standardOutput, HasSubstr("Not everything of Alpha could be removed. Still there:\n" +
                                                 shared("ALPHA") + "\n\nLog: " + onlyLog() + "\n"));
}

TEST_F(UninstallerApplication, NamesOnlyTheFirstFilesAndCountsTheOthers) {
    std::string lines;
    for (int i = 10; i < 22; ++i) {
        const std::string path = "/Library/left/" + std::to_string(i);
        root().write(path, "");
        lines += "DEBUG: a,1:b Delete '" + path + "'\nDEBUG: a,1:b Delete '" + path + "'\n";
    }
    engineSays(lines);
    const std::string output = inTerminal("y\n").standardOutput;
    EXPECT_THAT(output, HasSubstr("/Library/left/19\nand 2 more\n"));
}

TEST_F(UninstallerApplication, NamesFoldersThatAreNotEmptyLinksThatLeadNowhereAndItself) {
    root().write("/Library/full/file", "");
    root().makeFolder("/Library/empty");
    fs::create_symlink("/nowhere", root().outside("/Library/link"));
    root().write(inside(product(), "MacOS/InstallUtility"),
                 "#!/bin/sh\nprintf \"DEBUG: a,1:b Delete dir '/Library/%s'\\n\" full empty none\n"
                 "printf \"DEBUG: a,1:b Delete '/Library/%s'\\n\" link gone\n",
                 0755);
    EXPECT_THAT(inTerminal("y\n").standardOutput, HasSubstr("Still there:\n/Library/link\n/Library/full\n" +
                                                            uninstallerOf(product()) + "\n\n"));
}

TEST_F(UninstallerApplication, DoesNotSayRemovedWhenSomethingWentWrong) {
    const std::string trouble = "Alpha could not be removed completely. The log says why.";
    for (const char* line : {"Error: The record '/x' cannot be read (Is a directory).", "rm: refused",
                             "Warning: The record does not list the product 'ALPHA'. No count is lowered."}) {
        engineSays(std::string(line) + "\n");
        EXPECT_THAT(inTerminal("y\n").standardOutput, HasSubstr(trouble)) << line;
        Install(product());
    }
    engineSays("Error: Cannot remove file '/x'\nWarning: Src path '/x' not found\nrmdir: not empty\n");
    EXPECT_THAT(inTerminal("y\n").standardOutput, HasSubstr("Alpha was removed."));
    Install(product());
    root().write(inside(product(), "target_path.xml"), "<root");
    const ProgramResult result = inTerminal("y\n");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardOutput, HasSubstr(trouble));
}

TEST_F(UninstallerApplication, DoesNotSayRemovedWhenTheReportBreaksOff) {
    standIn("id", "echo 501\n");
    standIn("sudo", "echo started\n");
    EXPECT_THAT(inTerminal("y\n").standardOutput, HasSubstr("Alpha could not be removed completely."));
}

// The log

TEST_F(UninstallerApplication, KeepsTheLastTenLogs) {
    const std::string folder = "/Library/Logs/Vorlane/";
    for (int day = 10; day < 22; ++day) {
        root().write(folder + "Uninstall 2020-01-" + std::to_string(day) + " 101010 Beta.log", "old");
    }
    root().write(folder + "Other 2020-01-01.log", "another's");
    inTerminal("y\n");
    const Lines left = logs();
    ASSERT_EQ(left.size(), 11U);
    EXPECT_EQ(left.at(0), "Other 2020-01-01.log");
    EXPECT_EQ(left.at(1), "Uninstall 2020-01-13 101010 Beta.log");
    EXPECT_THAT(left.at(10), MatchesRegex(logName));
}

TEST_F(UninstallerApplication, WritesNoLogWhereAnotherCouldHaveChosenTheFile) {
    for (const std::string path : {"/Library/Logs", "/Library/Logs/Vorlane"}) {
        Install(product());
        root().write(path, "in the way");
        EXPECT_THAT(inTerminal("y\n").standardOutput,
                    HasSubstr("Alpha was removed.\n\nNo log could be kept.\n"));
        root().remove(path);
    }
    Install(product());
    root().makeFolder("/Library/Logs");
    root().makeFolder("/Users/anna/elsewhere");
    fs::create_symlink("/Users/anna/elsewhere", root().outside("/Library/Logs/Vorlane"));
    EXPECT_THAT(inTerminal("y\n").standardOutput, HasSubstr("No log could be kept."));
    EXPECT_EQ(root().tree("/Users/anna/elsewhere"), Lines());
}

TEST_F(UninstallerApplication, WithoutRightsTheLogIsInTheHomeFolder) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can become another user";
    }
    constexpr int anna = 501;
    fs::permissions(root().outside("/"), fs::perms(0755));
    ASSERT_EQ(chown(root().outside("/Users/anna/Library").c_str(), anna, anna), 0);
    Options options;
    options.environment = {{"UNINSTALLER_HAS_ASKED", "1"}, {"UNINSTALLER_REPORTS", "1"}};
    const ProgramResult result = root().run({"chroot", "--userspec=501:501", "/", launcher()}, options);
    const Lines names = logs("/Users/anna/Library/Logs/Vorlane");
    ASSERT_EQ(names.size(), 1U) << result.standardOutput << result.standardError;
    EXPECT_TRUE(hasLine(result, "log /Users/anna/Library/Logs/Vorlane/" + names.front()));
    EXPECT_TRUE(hasLine(result, "left " + shared("ALPHA")));
    EXPECT_TRUE(hasLine(result, "left " + uninstallerOf(product())));
    EXPECT_FALSE(root().exists("/Library/Logs"));
}

TEST_F(UninstallerApplication, ALogDoesNotReplaceAnother) {
    root().remove("/bin/date");
    root().write("/bin/date", "#!/bin/sh\necho '2026-01-02 030405'\n", 0755);
    const std::string taken = "/Library/Logs/Vorlane/Uninstall 2026-01-02 030405 Alpha.log";
    root().write(taken, "another's");
    EXPECT_THAT(inTerminal("y\n").standardOutput, HasSubstr("Log: /Library/Logs/Vorlane/"));
    EXPECT_EQ(root().read(taken), "another's");
    EXPECT_EQ(logs().size(), 2U);
}

// Texts

TEST_F(UninstallerApplication, EachLanguageHasEachText) {
    const fs::path resources = root().outside(inside(product(), "Resources"));
    const Texts english = textsIn(FileTree::read(resources / "en.lproj/Uninstaller.strings"));
    std::set<std::string> keys;
    for (const auto& entry : english) {
        keys.insert(entry.first);
    }
    const std::multiset<std::string> used =
        matchesOf(R"((\(|  |else )text ([a-z_]+))", root().read(launcher()));
    EXPECT_EQ(std::set<std::string>(used.begin(), used.end()), keys);
    int languages = 0;
    for (const auto& folder : fs::directory_iterator(resources)) {
        const Texts texts = textsIn(FileTree::read(folder.path() / "Uninstaller.strings"));
        EXPECT_EQ(texts.size(), english.size()) << folder.path();
        for (const auto& [key, text] : english) {
            ASSERT_EQ(texts.count(key), 1U) << folder.path() << ": " << key;
            EXPECT_EQ(matchesOf("(%[A-Z]+%|\\\\n)", texts.at(key)), matchesOf("(%[A-Z]+%|\\\\n)", text))
                << folder.path() << ": " << key;
        }
        ++languages;
    }
    EXPECT_GE(languages, 2);
}

TEST_F(UninstallerApplication, ATextHasLineBreaksAndQuotesAndAMissingOneIsEnglish) {
    root().write(inside(product(), "Resources/fr.lproj/Uninstaller.strings"),
                 "\"question\" = \"\\\"%NAME%\\\"\\nnon?\";\n");
    EXPECT_EQ(inTerminal("n\n", "fr_FR.UTF-8").standardOutput,
              "\"Alpha\"\nnon?\n[y]es or [N]o: Cancelled. Nothing has changed.\n");
}
