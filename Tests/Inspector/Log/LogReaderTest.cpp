// Logs that are made up: what stands between the lines of a run, what is missing, and what is too much.
#include "Utility/InstallInspector/Log/LogReader.h"

#include "Tests/Inspector/Log/ReadLog.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Answer = LoggedQuestion::Answer;
using End = LoggedRun::End;
using Kind = LoggedRun::Kind;
using Outcome = LoggedFile::Outcome;

const std::string checking = "Checking file consistency in source folder\n";

/// The only run of a log.
LoggedRun runOf(const std::string& text) {
    RunLog log = readLog(text);
    EXPECT_EQ(log.runs.size(), 1U) << text;
    return log.runs.empty() ? LoggedRun() : log.runs.front();
}

std::string copied(const std::string& source, const std::string& target) {
    return "DEBUG: Copy.cpp,32:walk Copy '" + source + "' to '" + target + "'\n";
}
std::string failed(const std::string& source, const std::string& target, const char* level = "Error") {
    return std::string(level) + ": Failed to copy '" + source + "' to '" + target + "'\n";
}
std::string removed(const std::string& path) {
    return "Error: Cannot remove file '" + path + "'\n";
}
std::string asked(const std::string& name) {
    return "Warning: Installation warning: Sorry, installation of files is blocked by '" + name + "'.\n";
}

/// `text` as the installer's log has it, with the lines of others between its own.
std::string inSystemLog(const std::string& text, const std::string& writer = "package_script_service[84]") {
    const std::string time = "2026-11-22 10:20:3";
    std::string log;
    int second = 0;
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
        const std::string now = time + std::to_string(second++ % 10) + "+01 Mac ";
        log += now + writer + ": ./postinstall: " + text.substr(begin, end - begin) + "\n";
        log += now + "softwareupdated[7]: Error: cannot reach the server\n";
        log += now + writer + ": PackageKit: Hosted team responsible for script\n";
        log += now + "rm[3]: rm: /elsewhere: Permission denied\n";
        begin = end + 1;
    }
    return log;
}

} // namespace

TEST(LogReader, WithoutARunThereIsNothing) {
    EXPECT_THAT(readLog("").runs, IsEmpty());
    EXPECT_THAT(
        readLog("a line\nError: another\ncp: a: b\nInstallation warning\n-v - show debug logs\n").runs,
        IsEmpty());
    EXPECT_EQ(readLog("a\nb").lines, 2U);
}

TEST(LogReader, OtherLinesBetweenAreLeftOut) {
    const std::string text = checking + "mkdir: /t: File exists\ncp: /t/a: Not a directory\n" +
                             failed("/s/VorlaneFX/a", "/t/a") + asked("x") + failed("/s/VorlaneFX/a", "/t/a");
    const RunLog plain = readLog(text);
    const RunLog log = readLog("first line\n" + inSystemLog(text) + "last line\n");
    ASSERT_EQ(log.runs.size(), 1U);
    const LoggedRun& run = log.runs[0];
    EXPECT_EQ(run.writer, "package_script_service[84]: ./postinstall");
    EXPECT_EQ(run.firstTime, "2026-11-22 10:20:30+01");
    EXPECT_EQ(run.lastTime, "2026-11-22 10:20:35+01");
    EXPECT_EQ(run.firstLine, 2U);
    EXPECT_EQ(log.lines, 26U);
    EXPECT_EQ(log.runLines, 6U);
    ASSERT_EQ(run.files.size(), 1U);
    EXPECT_EQ(run.files[0].failures, 2U);
    EXPECT_EQ(run.files[0].tools, plain.runs.at(0).files.at(0).tools);
    EXPECT_THAT(run.files[0].tools, ElementsAre("mkdir: /t: File exists", "cp: /t/a: Not a directory"));
    EXPECT_EQ(run.questions.size(), 1U);
    EXPECT_THAT(run.messages, IsEmpty());
    EXPECT_THAT(run.tools, IsEmpty());
}

TEST(LogReader, RunsOfSeveralWritersAtOnceAreParted) {
    const std::string a = "Nov 22 10:20:30 host a[1]: ";
    const std::string b = "Nov 22 10:20:31 host b[2]: ";
    const std::string wait = "Another install or uninstall is running. Waiting for its end.\n";
    const RunLog log = readLog(a + checking + b + checking + a + copied("/s/VorlaneFX/a", "/a") + b + wait +
                               a + failed("/s/VorlaneFX/a", "/a") + b + copied("/s/VorlaneFX/b", "/b"));
    ASSERT_EQ(log.runs.size(), 2U);
    EXPECT_EQ(log.runs[0].count(Outcome::Failed), 1U);
    EXPECT_EQ(log.runs[1].count(Outcome::Copied), 1U);
    ASSERT_EQ(log.runs[1].messages.size(), 1U);
    EXPECT_EQ(log.runs[1].verdict(), Verdict::Safe);
    EXPECT_EQ(log.runs[1].advice().at(0)->text,
              "Another install or uninstall is running. Waiting for its end.");
}

TEST(LogReader, OfManyWritersTheOneThatWasSilentLongestIsForgotten) {
    constexpr int followed = 16;
    const auto writer = [](int i) { return "Nov 22 10:20:30 host a[" + std::to_string(i) + "]: "; };
    for (const std::string& line : {copied("/s/VorlaneFX/a", "/t/a"), std::string("cp: /t/a: strange\n")}) {
        std::string text;
        for (int i = 0; i < followed; ++i) {
            text += writer(i) + checking;
        }
        text += writer(0) + line + writer(followed) + checking;
        const RunLog log = readLog(text + writer(0) + copied("/s/VorlaneFX/b", "/t/b"));
        EXPECT_EQ(log.runs.size(), followed + 1U);
        EXPECT_GT(log.runs.at(0).count(Outcome::Copied), 0U) << line;
    }
}

TEST(LogReader, ALineWithoutBeginningGoesOnWithTheOneBefore) {
    const RunLog log = readLog("Nov 22 10:20:30 host a[1]: " + checking + "cp: /t/a: No space\n" +
                               failed("/s/VorlaneFX/a", "/t/a"));
    ASSERT_EQ(log.runs.size(), 1U);
    EXPECT_THAT(log.runs[0].files.at(0).tools, ElementsAre("cp: /t/a: No space"));
    EXPECT_EQ(log.runs[0].lastTime, "Nov 22 10:20:30");
}

TEST(LogReader, AnyLineEndAndAnyByteIsRead) {
    const std::string text = checking + copied("/s/VorlaneFX/\xFF", "/t/\xFF") + "\n";
    std::string windows = "\xEF\xBB\xBF";
    for (const char c : text) {
        windows += c == '\n' ? "\r\n" : std::string(1, c);
    }
    const LoggedRun run = runOf(windows);
    ASSERT_EQ(run.files.size(), 1U);
    EXPECT_EQ(run.files[0].path, "/t/\xFF");
    const std::string zero("a\0b\n\0\0\n", 7);
    EXPECT_EQ(runOf(zero + checking + zero + copied("/s/VorlaneFX/a", "/t/a") + zero).files.size(), 1U);
    // Two files that were put together.
    EXPECT_EQ(readLog(windows + windows).runs.size(), 2U);
}

TEST(LogReader, APathMayHoldWhatPartsTheTwoPaths) {
    const std::string name = "it's ' to ' here";
    const LoggedRun run = runOf(checking + copied("/s' to 's/VorlaneFX/" + name, "/t/" + name));
    ASSERT_EQ(run.files.size(), 1U);
    EXPECT_EQ(run.files[0].path, "/t/" + name);
    EXPECT_EQ(run.files[0].phase, "VorlaneFX");
    // A whole folder has another name there.
    EXPECT_EQ(runOf(checking + copied("/s/VorlaneFX/Kit", "/t/Other")).files.at(0).path, "/t/Other");
}

TEST(LogReader, TheSourceFolderMayBeNamedAsABranch) {
    const LoggedRun run = runOf(checking + copied("/Content/VorlaneFX/files/Hosts/Edius/Glow/a", "/1") +
                                copied("/Content/VorlaneFX/files/VorlaneFX/Content/b", "/2") +
                                copied("/Content/VorlaneFX/files/Content/Hosts/c", "/3") +
                                copied("/Content/VorlaneFX/files/Hosts/Edius/Glow", "/4"));
    EXPECT_THAT(run.phases, ElementsAre("Hosts/Edius/Glow", "VorlaneFX", "Content"));
    EXPECT_EQ(run.files.at(3).phase, "Hosts/Edius/Glow");
    // The second path tells that the source folder ends before Content.
    const LoggedRun inner = runOf(checking + copied("/s/Content/Ember/VorlaneFX/a", "/1") +
                                  copied("/s/Content/Flare/VorlaneFX/b", "/2"));
    EXPECT_EQ(inner.files.at(1).phase, "Content");
    // Another source folder, as when parts of logs are put together.
    const LoggedRun other = runOf(checking + copied("/s/Content/a", "/1") + copied("/u/v/VorlaneFX/b", "/2"));
    EXPECT_THAT(other.phases, ElementsAre("Content", "VorlaneFX"));
    EXPECT_EQ(runOf(checking + copied("nowhere", "/1")).files.at(0).phase, "");
}

TEST(LogReader, AToolsMessageGoesToTheFileThatItNames) {
    // The first two are about a file before, which the log does not name: its copy went well.
    const LoggedRun run =
        runOf(checking + "rm: /t/before: Is a directory\nln: /Applications/x: Permission denied\n" +
              "mkdir: /t: Permission denied\ncp: /t/a: No such file\n" + failed("/s/Content/a", "/t/a"));
    EXPECT_THAT(run.files.at(0).tools, ElementsAre("mkdir: /t: Permission denied", "cp: /t/a: No such file"));
    ASSERT_EQ(run.tools.size(), 2U);
    EXPECT_EQ(run.tools[0].line, 2U);
    EXPECT_TRUE(run.tools[0].bHarm);
    // One that comes too late, since two streams have been mixed.
    const LoggedRun late =
        runOf(checking + failed("/s/Content/a", "/t/a") + "cp: /t/a: No space\ncp: /t/b: x\n");
    EXPECT_THAT(late.files.at(0).tools, ElementsAre("cp: /t/a: No space"));
    EXPECT_EQ(late.tools.size() + late.files[0].tools.size(), 2U);
    const LoggedRun source = runOf(checking + failed("/s/Content/a", "/t/a") + "cp: /s/Content/a: No file\n");
    EXPECT_THAT(source.files.at(0).tools, ElementsAre("cp: /s/Content/a: No file"));
    // One that names no file.
    const LoggedRun other =
        runOf(checking + "ln: no\ntouch: no\ncp: out of memory\n" + failed("/s/Content/a", "/t/a"));
    EXPECT_THAT(other.files.at(0).tools, ElementsAre("cp: out of memory"));
    EXPECT_EQ(other.tools.size(), 2U);
}

TEST(LogReader, OfAFileThatIsCopiedOnceMoreTheLastTryCounts) {
    const std::string good = copied("/s/VorlaneFX/a", "/t/a");
    const std::string bad = copied("/s/VorlaneFX/b", "/t/b") + failed("/s/VorlaneFX/b", "/t/b");
    const LoggedRun run = runOf(checking + good + "cp: /t/a: strange\n" + bad + asked("x") + good + bad);
    EXPECT_EQ(run.files.at(0).outcome, Outcome::Copied);
    EXPECT_THAT(run.files[0].tools, IsEmpty());
    EXPECT_THAT(runOf(checking + good + "cp: /t/a: strange\n" + bad).files.at(0).tools,
                ElementsAre("cp: /t/a: strange"));
}

TEST(LogReader, OfTwoFailuresTheMessagesOfTheSecondStay) {
    const std::string fails = failed("/s/Content/a", "/t/a");
    EXPECT_THAT(runOf(checking + "cp: /t/a: x\n" + fails + "cp: /t/a: y\n" + fails).files.at(0).tools,
                ElementsAre("cp: /t/a: y"));
    EXPECT_THAT(runOf(checking + fails + "mkdir: /t: denied\ncp: /t/a: denied\n" + fails).files.at(0).tools,
                ElementsAre("mkdir: /t: denied", "cp: /t/a: denied"));
}

TEST(LogReader, ManyMessagesAboutOneFileAreCounted) {
    std::string text = checking;
    for (int i = 0; i < 500; ++i) {
        text += "cp: /t/Kit/" + std::to_string(i) + ": No space\n";
    }
    const LoggedRun run = runOf(text + failed("/s/VorlaneFX/Kit", "/t/Kit"));
    EXPECT_EQ(run.files.at(0).tools.size() + run.files.at(0).toolsLeftOut, 500U);
    EXPECT_LT(run.files.at(0).tools.size(), 100U);
    const std::string fails = failed("/s/VorlaneFX/Kit", "/t/Kit");
    EXPECT_EQ(runOf(text + fails + "cp: /t/Kit/0: No space\n" + fails).files.at(0).toolsLeftOut, 0U);
}

TEST(LogReader, ThatAFolderIsNotEmptyIsNormal) {
    const LoggedRun run =
        runOf(removed("/a") +
              "rmdir: failed to remove '/b': Directory not empty\nrmdir: /c: Directory not empty\n" +
              "rmdir: \xC3\xA9"
              "chec de suppression de '/d': Le dossier n'est pas vide\n" +
              removed("/e"));
    EXPECT_EQ(run.notEmpty, 2U);
    ASSERT_EQ(run.tools.size(), 1U);
    EXPECT_FALSE(run.tools[0].bHarm);
    EXPECT_EQ(run.verdict(), Verdict::Safe);
    EXPECT_EQ(runOf(removed("/a") + "rmdir: /b: Operation not permitted\n").verdict(), Verdict::Harm);
    // Also before the first line of the engine.
    const LoggedRun before = runOf("rmdir: /b: Directory not empty\n" + removed("/a"));
    EXPECT_EQ(before.notEmpty, 1U);
    EXPECT_THAT(before.tools, IsEmpty());
}

TEST(LogReader, ManyFoldersThatAreNotEmptyHideNoOtherMessage) {
    std::string text = removed("/a");
    for (int i = 0; i < 100; ++i) {
        text += "rmdir: /b: Directory not empty\n";
    }
    const LoggedRun run = runOf(text + "rm: /c: Operation not permitted\n" + removed("/d"));
    EXPECT_EQ(run.notEmpty, 100U);
    ASSERT_EQ(run.tools.size(), 1U);
    EXPECT_EQ(run.verdict(), Verdict::Harm);
}

TEST(LogReader, AFolderInPlaceOfAFileThatStaysIsTold) {
    const LoggedRun run = runOf(removed("/a") + "rm: /b/c: busy\n" + removed("/b") + removed("/bc"));
    EXPECT_EQ(run.files.at(0).outcome, Outcome::Removed);
    EXPECT_EQ(run.files.at(1).outcome, Outcome::NotRemoved);
    EXPECT_THAT(run.files.at(1).tools, ElementsAre("rm: /b/c: busy"));
    EXPECT_EQ(run.files.at(2).outcome, Outcome::Removed);
}

TEST(LogReader, TheRemovalOfAFolderIsToldOnlyWhenItFails) {
    const std::string begins = "DEBUG: Remove.cpp,3:walk Delete dir '/t/Kit'\n";
    const LoggedRun gone = runOf(begins);
    EXPECT_EQ(gone.files.at(0).outcome, Outcome::Removed);
    EXPECT_EQ(gone.verdict(), Verdict::Safe);
    EXPECT_EQ(runOf("DEBUG: Remove.cpp,3:walk Delete '/t/a'\n").files.at(0).outcome, Outcome::Unclear);
    EXPECT_EQ(runOf(begins + "sh: 1: rm: not found\n" + removed("/t/b")).files.at(0).outcome,
              Outcome::NotRemoved);
    // What cannot be removed as it is not empty is another folder.
    const LoggedRun stays = runOf(begins + "rmdir: /u: Permission denied\nrm: /t/Kit/a: busy\n" +
                                  "Error: Failed to remove '/t/Kit'\n");
    EXPECT_EQ(stays.files.at(0).outcome, Outcome::NotRemoved);
    EXPECT_THAT(stays.files[0].tools, ElementsAre("rm: /t/Kit/a: busy"));
    EXPECT_EQ(stays.tools.size(), 1U);
}

TEST(LogReader, TheSharedPackageIsGoneWhenItsDefinitionIs) {
    const std::string definition = "/t/SKU/COMMON.xml";
    EXPECT_TRUE(runOf(removed(definition)).bSharedPackage);
    EXPECT_FALSE(runOf("rm: " + definition + ": Permission denied\n" + removed(definition)).bSharedPackage);
}

TEST(LogReader, NamesWithoutAFolderHaveNoTargetHere) {
    const LoggedRun run =
        runOf(removed("Glow.epl") + removed("Glow.epl") + "Warning: Src path 'Kit' not found\n" +
              "Warning: Src path '/a/Kit' not found\n");
    EXPECT_EQ(run.count(Outcome::NoTarget), 3U);
    EXPECT_EQ(run.count(Outcome::Removed), 0U);
    ASSERT_EQ(run.messages.size(), 1U);
    EXPECT_EQ(run.verdict(), Verdict::Safe);
}

TEST(LogReader, ALogThatBeginsInTheMiddleIsToldAsSuch) {
    const LoggedRun run = runOf(copied("/s/VorlaneFX/a", "/t/a"));
    EXPECT_TRUE(run.bBeginningMissing);
    EXPECT_FALSE(run.bChecked);
    EXPECT_EQ(run.kind, Kind::Install);
    EXPECT_EQ(run.verdict(), Verdict::CannotTell);
    EXPECT_EQ(readLog(copied("/s/VorlaneFX/a", "/t/a")).verdict(), Verdict::CannotTell);
    EXPECT_FALSE(runOf(checking + copied("/s/VorlaneFX/a", "/t/a")).bBeginningMissing);
    // What an uninstall says at first is any of its lines.
    EXPECT_FALSE(runOf(removed("/a")).bBeginningMissing);
}

TEST(LogReader, AMessageThatAnotherOneHasToFollowBreaksOff) {
    EXPECT_EQ(runOf(checking + "Error! File '/s/a' not found\n").end, End::BreaksOff);
    EXPECT_EQ(runOf("Error: Not enough arguments.\n").end, End::BreaksOff);
    EXPECT_EQ(runOf(checking + "Installation warning\n").end, End::BreaksOff);
    EXPECT_EQ(runOf(checking + "Installation warning\nSorry\n[R]etry or [C]ancel: ").end, End::BreaksOff);
    // An uninstall says no more.
    const LoggedRun uninstall = runOf("Error: Error! Source dir '/a' is empty\n\n");
    EXPECT_EQ(uninstall.end, End::Failed);
    EXPECT_EQ(uninstall.kind, Kind::Uninstall);
    // Unless it is that of the shared package, inside another.
    const LoggedRun inner =
        runOf(removed("/t/a") + "Error: Error! Source dir '/t/SKU/COMMON.xml' is empty\n\n");
    EXPECT_EQ(inner.end, End::BreaksOff);
    const LoggedRun install = runOf("Error: Error! Source dir '/a' is empty\n\nError! Failed to prepare\n");
    EXPECT_EQ(install.end, End::Failed);
    EXPECT_EQ(install.kind, Kind::Install);
}

TEST(LogReader, ALineThatIsNotWholeBreaksOff) {
    const std::string text = checking + copied("/s/VorlaneFX/a", "/t/a");
    EXPECT_EQ(runOf(text + "DEBUG: Copy.c").end, End::BreaksOff);
    EXPECT_EQ(runOf(text + "DEBUG: Copy.cpp,32:walk Copy '/s/Vor").end, End::BreaksOff);
    EXPECT_EQ(runOf(text + "Err").end, End::BreaksOff);
    EXPECT_EQ(runOf(text + "Error! Src pa").end, End::BreaksOff);
    EXPECT_EQ(runOf(text + "Error: Failed to copy '/s/b' to '/t/").end, End::BreaksOff);
    // What an editor has left away.
    EXPECT_EQ(runOf(text.substr(0, text.size() - 1)).end, End::NotInLog);
    EXPECT_EQ(runOf(text + "root#").end, End::NotInLog);
    EXPECT_EQ(runOf(text + "Error! Src pa\n").end, End::NotInLog);
}

TEST(LogReader, AFailureThatNoSecondTryFollowsIsUnclear) {
    const std::string text = checking + failed("/s/VorlaneFX/a", "/t/a");
    EXPECT_EQ(runOf(text).files.at(0).outcome, Outcome::Unclear);
    EXPECT_EQ(runOf(text).end, End::NotInLog);
    // With debug lines a second try can be seen.
    EXPECT_EQ(runOf(checking + copied("/s/VorlaneFX/a", "/t/a") + failed("/s/VorlaneFX/a", "/t/a")).end,
              End::BreaksOff);
    // Another branch follows: a dialog has asked, and the second try went well.
    const LoggedRun later = runOf(text + failed("/s/Content/b", "/t/b") + failed("/s/Content/b", "/t/b"));
    EXPECT_EQ(later.files.at(0).outcome, Outcome::CopiedLater);
    EXPECT_EQ(later.files.at(1).outcome, Outcome::Failed);
    EXPECT_TRUE(later.bDialog);
    // The end of the install follows.
    const LoggedRun ends = runOf(text + "Error: Can't copy SKU XML to Uninstall.app\n");
    EXPECT_EQ(ends.files.at(0).outcome, Outcome::CopiedLater);
    EXPECT_TRUE(ends.bDialog);
    const LoggedRun told =
        runOf(checking + copied("/s/VorlaneFX/a", "/t/a") + failed("/s/VorlaneFX/a", "/t/a") +
              "Error: Can't copy SKU XML to Uninstall.app\n");
    EXPECT_EQ(told.end, End::NotInLog);
    EXPECT_TRUE(told.bDialog);
    // A question about one branch says nothing of the next.
    EXPECT_TRUE(runOf(text + asked("x") + failed("/s/VorlaneFX/a", "/t/a") + failed("/s/Content/b", "/t/b") +
                      "Error: Can't copy SKU XML to Uninstall.app\n")
                    .bDialog);
    // A question that the log has, and something after it.
    EXPECT_EQ(runOf(text + asked("x")).files.at(0).outcome, Outcome::Unclear);
    EXPECT_EQ(runOf(text + asked("x") + "Error: Wrong/corrupted SKU XML\n").files.at(0).outcome,
              Outcome::CopiedLater);
    EXPECT_EQ(runOf(text + asked("x") + failed("/s/VorlaneFX/a", "/t/a")).files.at(0).outcome,
              Outcome::Failed);
}

TEST(LogReader, FilesThatMayFailLeadToNoDialog) {
    const std::string allowed = failed("/s/VorlaneFX/a", "/t/a", "Warning");
    const std::string other = failed("/s/Content/b", "/t/b");
    EXPECT_FALSE(runOf(checking + allowed).bDialog);
    // They are copied once more when another file of their branch has led to one.
    EXPECT_TRUE(runOf(checking + allowed + failed("/s/VorlaneFX/b", "/t/b") + allowed).bDialog);
    // Those of one branch say nothing of the next.
    const std::string third = failed("/s/Hosts/Edius/Glow/c", "/t/c", "Warning");
    EXPECT_FALSE(runOf(checking + allowed + third).bDialog);
    const LoggedRun run = runOf(checking + allowed + other + third);
    EXPECT_TRUE(run.bDialog);
    EXPECT_EQ(run.files.at(1).outcome, Outcome::CopiedLater);
}

TEST(LogReader, WhatAFailedCopyHasLeftIsNoCopyWhenItIsSkipped) {
    const std::string skipped = "DEBUG: Copy.cpp,123:walk Skipped file: /t/a\n";
    const std::string both = copied("/s/VorlaneFX/a", "/t/a") + failed("/s/VorlaneFX/a", "/t/a");
    EXPECT_EQ(runOf(checking + both + asked("x") + skipped).files.at(0).outcome, Outcome::Failed);
    // Without a question in the log, a dialog has asked.
    const LoggedRun dialog = runOf(checking + both + skipped);
    EXPECT_EQ(dialog.files.at(0).outcome, Outcome::Failed);
    EXPECT_EQ(dialog.end, End::NotInLog);
    EXPECT_TRUE(dialog.bDialog);
    // One that was copied in the first try is skipped in the second.
    const LoggedRun run =
        runOf(checking + copied("/s/VorlaneFX/a", "/t/a") + copied("/s/VorlaneFX/b", "/t/b") +
              failed("/s/VorlaneFX/b", "/t/b") + asked("x") + skipped + copied("/s/VorlaneFX/b", "/t/b"));
    EXPECT_EQ(run.files.at(0).outcome, Outcome::Copied);
    EXPECT_EQ(run.files.at(1).outcome, Outcome::CopiedLater);
}

TEST(LogReader, AnswersInATerminalAreRead) {
    const auto answered = [](const std::string& prompts) {
        const LoggedRun run =
            runOf(checking + failed("/s/Content/a", "/t/a") + "Installation warning\nSorry\n" + prompts +
                  failed("/s/Content/a", "/t/a"));
        EXPECT_EQ(run.files.at(0).failures, 2U);
        EXPECT_EQ(run.questions.at(0).text, "Sorry");
        return run.questions.at(0).answer;
    };
    const std::string prompt = "[R]etry or [C]ancel: ";
    EXPECT_EQ(answered(prompt + "r\n"), Answer::Retry);
    EXPECT_EQ(answered(prompt + "RETRY\r\n"), Answer::Retry);
    EXPECT_EQ(answered(prompt + "what?\n" + prompt + "\n" + prompt + "c\n"), Answer::Cancel);
    EXPECT_EQ(answered(prompt + "\n"), Answer::Cancel); // the end of input
    EXPECT_EQ(answered(prompt), Answer::NotInLog);      // what was typed is not shown
    // The log ends with what was typed, and not inside "Checking".
    const LoggedRun ends = runOf(checking + failed("/s/Content/a", "/t/a") +
                                 "Installation warning\nSorry\n[R]etry or [C]ancel: C");
    EXPECT_EQ(ends.questions.at(0).answer, Answer::Cancel);
    EXPECT_EQ(ends.breakOff, "");
}

TEST(LogReader, AnErrorThatTheEngineDoesNotKnowIsShownAsSuch) {
    const LoggedRun run = runOf(checking + "Error: of a newer engine\nWarning: of it, too\n");
    ASSERT_EQ(run.messages.size(), 2U);
    EXPECT_EQ(run.messages[0].known, nullptr);
    EXPECT_TRUE(run.messages[0].bHarm);
    EXPECT_FALSE(run.messages[1].bHarm);
    EXPECT_EQ(run.verdict(), Verdict::Harm);
}

TEST(LogReader, AMessageThatIsRepeatedIsToldOnce) {
    std::string text = checking;
    for (int i = 0; i < 1000; ++i) {
        text += "Error: The pattern '%USER%' does not come to an end\n";
    }
    const LoggedRun run = runOf(text);
    ASSERT_EQ(run.messages.size(), 1U);
    EXPECT_EQ(run.messages[0].count, 1000U);
    // The same words as an error are not the engine's.
    const std::string wait = "Another install or uninstall is running. Waiting for its end.\n";
    const LoggedRun two = runOf(wait + "Error: " + wait);
    EXPECT_EQ(two.messages.size(), 2U);
    EXPECT_EQ(two.verdict(), Verdict::Harm);
}

TEST(LogReader, WhatMayComeBeforeAnInstallBelongsToIt) {
    const std::string home = "Error: HOME holds a character that a shell would act on. It counts as empty.\n";
    const LoggedRun run = runOf(home + checking);
    EXPECT_EQ(run.kind, Kind::Install);
    EXPECT_EQ(run.firstLine, 1U);
    EXPECT_FALSE(run.bBeginningMissing);
    EXPECT_EQ(readLog(removed("/a") + home + checking).runs.size(), 2U);
}

TEST(LogReader, AnUninstallThatFollowsAnotherIsParted) {
    const std::string begins =
        "rmdir: failed to remove '/Applications/Vorlane Uninstallers/': Directory not empty\n";
    EXPECT_EQ(readLog(removed("/a") + begins + removed("/b")).runs.size(), 2U);
    EXPECT_EQ(readLog(checking + begins).runs.size(), 2U);
    EXPECT_EQ(
        readLog(checking + "rmdir: /Applications/Vorlane Uninstallers: Directory not empty\n").runs.size(),
        2U);
    EXPECT_EQ(readLog("Warning: The record does not list the product 'B'. No count is lowered.\n"
                      "Another install or uninstall is running. Waiting for its end.\n" +
                      removed("/b"))
                  .runs.size(),
              2U);
    EXPECT_EQ(readLog(checking + copied("/s/VorlaneFX/a", "/t/a") +
                      "Another install or uninstall is running. Waiting for its end.\n")
                  .runs.size(),
              2U);
    EXPECT_EQ(readLog(removed("/a") +
                      "Warning: The record does not list the product 'B'. No count is lowered.\n" +
                      removed("/b"))
                  .runs.size(),
              2U);
    EXPECT_EQ(readLog(begins + "Warning: The record does not list the product 'B'. No count is lowered.\n" +
                      removed("/b"))
                  .runs.size(),
              1U);
}

TEST(LogReader, AnUninstallWithoutDefinitionIsPartedFromWhatStandsBefore) {
    const std::string missing = "Error: Postflight failed: sku xml not found\n"
                                "Error: Error! Source dir '/a/sku.xml' is empty\n\n";
    for (const std::string& before : {checking, removed("/a")}) {
        const RunLog log = readLog(before + missing);
        ASSERT_EQ(log.runs.size(), 2U);
        EXPECT_EQ(log.runs[0].lastLine, 1U);
        EXPECT_EQ(log.runs[0].verdict(), Verdict::Safe);
        EXPECT_EQ(log.runs[1].kind, Kind::Uninstall);
        EXPECT_EQ(log.runs[1].firstLine, 2U);
        EXPECT_EQ(log.runs[1].end, End::Failed);
        ASSERT_EQ(log.runs[1].messages.size(), 2U);
        EXPECT_EQ(log.runs[1].messages[0].text, "Postflight failed: sku xml not found");
    }
    EXPECT_EQ(readLog(removed("/a") + "Error: Postflight failed: sku xml not found\n" + checking)
                  .runs.at(0)
                  .messages.size(),
              1U);
    // A run that was killed has said it itself.
    const RunLog killed =
        readLog(removed("/a") + "Error: Postflight failed: sku xml not found\n" +
                "./go: line 5: 12 Killed\nError: Error! Source dir '/a/sku.xml' is empty\n");
    ASSERT_EQ(killed.runs.size(), 2U);
    EXPECT_EQ(killed.runs[0].messages.size(), 1U);
    EXPECT_EQ(killed.runs[1].messages.size(), 1U);
    // The definition disappeared during the install.
    EXPECT_EQ(readLog(checking + "Error: Postflight failed: sku xml not found\n").runs.size(), 1U);
}

TEST(LogReader, AVeryLongLineIsReadInPart) {
    const std::string tail(3 * LogReader::longestLine, 'x');
    const RunLog log = readLog(tail + "\n" + checking + tail + "\n" + copied("/s/VorlaneFX/a", "/t/" + tail) +
                               copied("/s/VorlaneFX/b", "/t/b"));
    EXPECT_EQ(log.lines, 5U);
    ASSERT_EQ(log.runs.size(), 1U);
    ASSERT_EQ(log.runs[0].files.size(), 2U);
    EXPECT_LT(log.runs[0].files[0].path.size(), LogReader::longestLine);
    EXPECT_EQ(log.runs[0].files[1].path, "/t/b");
}

TEST(LogReader, WhatHasNoRoomIsCounted) {
    LogReader reader(100000);
    reader.take("Checking file consistency in source folder");
    constexpr std::size_t count = 20000;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = std::to_string(i);
        reader.take("DEBUG: a,1:b Copy '/s/VorlaneFX/" + name + "' to '/t/" + name + "'");
        if (i % 10 == 0) {
            reader.take("cp: /t/" + name + ": No space left on device");
            reader.take("Error: Failed to copy '/s/VorlaneFX/" + name + "' to '/t/" + name + "'");
        }
    }
    const RunLog log = reader.finish();
    ASSERT_EQ(log.runs.size(), 1U);
    EXPECT_LT(log.runs[0].files.size(), 1000U);
    EXPECT_EQ(log.runs[0].count(Outcome::Failed), count / 10);
    EXPECT_EQ(log.runs[0].count(Outcome::Copied), count - count / 10);
    EXPECT_EQ(log.runs[0].verdict(), Verdict::Harm);
}

TEST(LogReader, HarmCountsAlsoWhereThereIsNoRoom) {
    const std::string harmless = checking + copied("/s/VorlaneFX/a", "/t/a");
    EXPECT_EQ(readLog(harmless, 0).verdict(), Verdict::Safe);
    for (const char* line : {"Error: Can't copy SKU XML to Uninstall.app\n", "cp: out of memory\n"}) {
        const RunLog log = readLog(harmless + line, 0);
        EXPECT_EQ(log.runs.at(0).leftOut, 1U) << line;
        EXPECT_EQ(log.verdict(), Verdict::Harm) << line;
    }
    EXPECT_EQ(readLog(harmless + "touch: /t/a: no\n", 0).verdict(), Verdict::CannotTell);
    const RunLog unlisted = readLog(checking + failed("/s/Content/a", "/t/a"), 0);
    EXPECT_EQ(unlisted.runs.at(0).count(Outcome::Failed), 1U);
    ASSERT_EQ(unlisted.runs[0].advice().size(), 1U);
    EXPECT_EQ(unlisted.runs[0].advice()[0]->text, "Failed to copy '%s' to '%s'");
    // A run that is not shown may have told of harm.
    const RunLog two = readLog(checking + checking, 0);
    EXPECT_EQ(two.runsLeftOut, 1U);
    EXPECT_EQ(two.verdict(), Verdict::CannotTell);
}

TEST(LogReader, WhatIsRemovedIsCountedOnceWhereThereIsNoRoom) {
    LogReader reader(100000);
    constexpr std::size_t count = 20000;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string name = std::to_string(i);
        reader.take("DEBUG: a,1:b Delete '/t/" + name + "'");
        reader.take("Error: Cannot remove file '/t/" + name + "'");
    }
    reader.take("rm: /t/" + std::string(1000, 'o') + ": Permission denied");
    const RunLog log = reader.finish();
    EXPECT_LT(log.runs.at(0).files.size(), 1000U);
    EXPECT_EQ(log.runs[0].count(Outcome::Removed), count);
    EXPECT_EQ(log.runs[0].verdict(), Verdict::Harm);
}

TEST(LogReader, TheOldestRunsGoWhenThereIsNoRoom) {
    LogReader reader(100000);
    for (int i = 0; i < 10000; ++i) {
        const std::string writer = "Nov 22 10:20:30 host a[" + std::to_string(i) + "]: ";
        reader.take(writer + "Checking file consistency in source folder");
        reader.take(writer + "Error: The record '" + std::to_string(i) + "' cannot be saved (No space).");
    }
    const RunLog log = reader.finish();
    EXPECT_EQ(log.runs.size() + log.runsLeftOut, 10000U);
    EXPECT_LT(log.runs.size(), 1000U);
    EXPECT_GT(log.runs.size(), 10U);
    EXPECT_THAT(log.runs.back().messages.at(0).text, HasSubstr("'9999'"));
    std::size_t last = 0;
    for (const LoggedRun& run : log.runs) {
        EXPECT_GT(run.firstLine, last);
        last = run.firstLine;
    }
}

TEST(LogReader, TimeGrowsWithTheLogAlone) {
    // Each of these would take minutes if lines were looked for again and again.
    const auto begin = std::chrono::steady_clock::now();
    std::string branches = "/";
    std::string quotes;
    while (branches.size() < 10000) {
        branches += "Content/Hosts/";
        quotes += "' to '";
    }
    LogReader reader;
    reader.take("Checking file consistency in source folder");
    for (int i = 0; i < 2000; ++i) {
        reader.take("Error: Failed to copy '" + branches + std::to_string(i) + "' to '/a'");
        reader.take("Error: Failed to copy '" + quotes + "' to '" + quotes + "'");
        reader.take("Warning: Installation warning: Sorry");
        reader.take("Error: The pattern '" + std::to_string(i) + "' does not come to an end");
    }
    EXPECT_EQ(reader.finish().runs.size(), 1U);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}
