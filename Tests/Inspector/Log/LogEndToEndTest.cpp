// What "log" tells about what the real program has printed, against what is on disk.
#include "Tests/Inspector/Log/ReadLog.h"
#include "Tests/Support/EndToEndTest.h"
#include "Utility/InstallInspector/Log/LogReader.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Answer = LoggedQuestion::Answer;
using End = LoggedRun::End;
using Kind = LoggedRun::Kind;
using Outcome = LoggedFile::Outcome;

class LogEndToEnd : public EndToEndTest {
protected:
    /// Starts the command as a package's script would, with both streams in one log.
    RunLog logOf(const std::vector<std::string>& command, const std::vector<std::string>& more = {},
                 const Options& options = {}) {
        std::vector<std::string> all{"/bin/sh", "-c", "echo $$ >/var/engine; exec \"$@\" 2>&1", "sh"};
        all.insert(all.end(), command.begin(), command.end());
        all.insert(all.end(), more.begin(), more.end());
        result = root().run(all, options);
        return readLog(result.standardOutput);
    }
    LoggedRun runOf(const std::vector<std::string>& command, const std::vector<std::string>& more = {},
                    const Options& options = {}) {
        RunLog log = logOf(command, more, options);
        EXPECT_EQ(log.runs.size(), 1U) << result.standardOutput;
        if (log.runs.empty()) {
            return {};
        }
        // A run that says so is one with status 1, and the other way round.
        EXPECT_EQ(log.runs.front().end == End::Failed, result.exitStatus == 1) << result.standardOutput;
        return log.runs.front();
    }
    LoggedRun install(const ProductBuilder& product, const std::vector<std::string>& more = {},
                      const Options& options = {}) {
        place(product);
        return runOf(installCommand(product), more, options);
    }
    LoggedRun uninstall(const ProductBuilder& product, const std::vector<std::string>& more = {},
                        const Options& options = {}) {
        place(product);
        return runOf(uninstallCommand(product), more, options);
    }

    static Lines pathsWith(const LoggedRun& run, Outcome outcome) {
        Lines paths;
        for (const LoggedFile& file : run.files) {
            if (file.outcome == outcome) {
                paths.push_back(file.path);
            }
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    }
    /// The files on disk, without the record and uninstallers.
    Lines filesOnDisk() {
        Lines paths;
        for (const std::string& line : root().tree()) {
            const std::string path = line.substr(0, line.find(": "));
            const bool bOther =
                line.find(": ") == std::string::npos || line.find(" -> ") != std::string::npos ||
                path.find("Vorlane Uninstallers") != std::string::npos ||
                path.find("InstallationStatusFile.xml") != std::string::npos || path == "/var/engine";
            if (!bOther) {
                paths.push_back(path);
            }
        }
        return paths;
    }

    /// A tool of the test's own, before those of the machine.
    Options withTool(const std::string& name, const std::string& script) {
        root().write("/var/tools/" + name, "#!/bin/sh\nread -r engine </var/engine\n" + script, 0755);
        Options options;
        options.environment = {{"PATH", "/var/tools:/usr/bin:/bin"}};
        return options;
    }

    static ProductBuilder product(const std::string& build = "1.0.0.100") {
        return ProductBuilder("ALPHA", "Alpha")
            .build(build)
            .family("Glow")
            .family("Ink")
            .target("VorlaneFX", statusFolder)
            .target("Hosts/OpenFX", "/Library/OFX/Plugins/Vorlane/%FAMILY%")
            .target("Hosts/Edius", "/Library/Edius/%FAMILY%", pathExists("/Applications/Edius.app"))
            .target("Content", "/Users/Shared/Vorlane")
            .file("VorlaneFX/Looks/Grey.look", "grey")
            .file("VorlaneFX/Guide to 'all' things.html", "guide")
            .shortCut("VorlaneFX/Guide to 'all' things.html", "Alpha Guide.html")
            .file("Hosts/OpenFX/Glow/Glow.ofx", "glow")
            .file("Hosts/OpenFX/Ink/Ink.ofx", "ink")
            .file("Hosts/Edius/Glow/Glow.epl", "edius")
            .file("Content/Paper.txt", "paper");
    }
    static ProductBuilder common() {
        ProductBuilder result("COMMON", "Shared Files");
        result.target("VorlaneFX", statusFolder)
            .file("VorlaneFX/Common/Manager", "manager")
            .file("VorlaneFX/SKU/COMMON.xml", "");
        return result.unlistedFile("VorlaneFX/SKU/COMMON.xml", result.definition());
    }

    ProgramResult result;
};

} // namespace

TEST_F(LogEndToEnd, TellsEachFileThatAnInstallHasCopied) {
    const LoggedRun run = install(product(), {"-v"});
    EXPECT_EQ(run.kind, Kind::Install);
    EXPECT_TRUE(run.bChecked);
    EXPECT_TRUE(run.bDebugLines);
    EXPECT_EQ(pathsWith(run, Outcome::Copied), filesOnDisk());
    EXPECT_EQ(run.count(Outcome::Copied), 5U);
    EXPECT_EQ(run.count(Outcome::Copied), run.files.size());
    EXPECT_THAT(run.phases, ElementsAre("Hosts/OpenFX/Glow", "Hosts/OpenFX/Ink", "VorlaneFX", "Content"));
    EXPECT_EQ(run.verdict(), Verdict::Safe);
}

TEST_F(LogEndToEnd, WithoutDebugLinesAnInstallThatWentWellNamesNoFile) {
    const LoggedRun run = install(product());
    EXPECT_TRUE(run.bChecked);
    EXPECT_FALSE(run.bDebugLines);
    EXPECT_THAT(run.files, IsEmpty());
    EXPECT_EQ(run.verdict(), Verdict::Safe);
}

TEST_F(LogEndToEnd, AnOlderBuildIsSkipped) {
    install(product("1.0.0.200"));
    const Lines before = root().tree();
    const LoggedRun run = install(product("1.0.0.100"), {"-v"});
    EXPECT_EQ(pathsWith(run, Outcome::Skipped), filesOnDisk());
    EXPECT_EQ(run.count(Outcome::Copied), 0U);
    EXPECT_EQ(run.verdict(), Verdict::Safe);
    ASSERT_EQ(run.advice().size(), 1U);
    EXPECT_EQ(run.advice().front()->text, "Skipped file: %s");
}

TEST_F(LogEndToEnd, AFailedCopyHasTheToolsWordsBesideIt) {
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        takeNewMachine();
        root().write(shared("Looks"), "a file in place of the folder");
        root().write("/Users/Shared/Vorlane", "another");
        const LoggedRun run = install(product(), more);
        EXPECT_EQ(pathsWith(run, Outcome::Failed),
                  (Lines{shared("Looks/Grey.look"), "/Users/Shared/Vorlane/Paper.txt"}));
        for (const LoggedFile& file : run.files) {
            if (file.outcome == Outcome::Failed) {
                EXPECT_FALSE(root().exists(file.path));
                EXPECT_EQ(file.failures, 2U);
                EXPECT_FALSE(file.bAllowed);
                const std::string folder = file.path.substr(0, file.path.rfind('/'));
                EXPECT_THAT(file.tools,
                            ElementsAre(HasSubstr("mkdir: cannot create directory '" + folder + "'"),
                                        HasSubstr("'" + file.path + "': Not a directory")));
                EXPECT_EQ(file.source,
                          std::string("/Volumes/Installer/ALPHA/files/") +
                              (file.phase == "Content" ? "Content/Paper.txt" : "VorlaneFX/Looks/Grey.look"));
            }
        }
        EXPECT_EQ(run.count(Outcome::Copied), more.empty() ? 0U : 3U);
        ASSERT_EQ(run.questions.size(), 2U);
        EXPECT_THAT(run.questions[0].text, HasSubstr("blocking installation of 'Alpha'"));
        EXPECT_THAT(run.questions[1].text, HasSubstr("close 'Content'"));
        for (const LoggedQuestion& question : run.questions) {
            EXPECT_EQ(question.answer, Answer::NobodyToAsk);
        }
        EXPECT_THAT(run.tools, IsEmpty());
        EXPECT_EQ(run.end, End::NotInLog);
        EXPECT_EQ(run.verdict(), Verdict::Harm);
    }
}

TEST_F(LogEndToEnd, AFileThatMayFailIsToldAsSuch) {
    root().write(shared("Looks"), "a file in place of the folder");
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        const LoggedRun run = install(
            product().file("VorlaneFX/Looks/Grey.look", "grey", {{"ignoreinstallerrors", "1"}}), more);
        ASSERT_EQ(run.count(Outcome::Failed), 1U);
        const auto failed = std::find_if(run.files.begin(), run.files.end(), [](const LoggedFile& file) {
            return file.outcome == Outcome::Failed;
        });
        EXPECT_TRUE(failed->bAllowed);
        EXPECT_EQ(failed->failures, 1U);
        EXPECT_FALSE(run.bDialog);
        EXPECT_THAT(run.questions, IsEmpty());
        EXPECT_EQ(run.end, End::NotInLog);
        EXPECT_EQ(run.verdict(), Verdict::Harm);
    }
}

TEST_F(LogEndToEnd, AFileThatALaterTryHasCopiedIsNotToldAsFailed) {
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        takeNewMachine();
        // The first copy fails: of Glow, which comes before the others.
        const Options options = withTool(
            "cp", "[ -e /var/once ] && exec /bin/cp \"$@\"\n: >/var/once\necho \"cp: busy\" >&2\nexit 1\n");
        const LoggedRun run = install(product(), more, options);
        const std::string path = "/Library/OFX/Plugins/Vorlane/Glow/Glow.ofx";
        EXPECT_TRUE(root().exists(path));
        ASSERT_EQ(run.questions.size(), 1U);
        EXPECT_EQ(run.questions.front().answer, Answer::NobodyToAsk);
        EXPECT_EQ(run.count(Outcome::Failed), 0U);
        ASSERT_FALSE(run.files.empty());
        EXPECT_EQ(run.files.front().path, path);
        EXPECT_THAT(run.files.front().tools, ElementsAre("cp: busy"));
        // Without debug lines nothing follows: the run may just as well have been killed.
        EXPECT_EQ(run.files.front().outcome, more.empty() ? Outcome::Unclear : Outcome::CopiedLater);
        EXPECT_EQ(run.verdict(), Verdict::Harm);
    }
}

TEST_F(LogEndToEnd, AnAnswerInTheTerminalIsTold) {
    // What a terminal shows where it shows what is typed.
    const auto shown = [](std::string output, const std::string& typed) {
        const std::string prompt = "[R]etry or [C]ancel: ";
        const std::size_t at = output.find(prompt);
        return output.insert(at + prompt.size(), typed + "\r\n");
    };
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        takeNewMachine();
        root().write(shared("Looks"), "a file in place of the folder");
        place(product());
        std::vector<std::string> command = installCommand(product());
        command.insert(command.end(), more.begin(), more.end());
        const ProgramResult cancelled = root().runInTerminal(command, {{"ancel: ", "c\n", {}}}, Options());
        const RunLog log = readLog(shown(cancelled.standardOutput, "c"));
        ASSERT_EQ(log.runs.size(), 1U);
        ASSERT_EQ(log.runs[0].questions.size(), 1U);
        EXPECT_THAT(log.runs[0].questions[0].text, HasSubstr("blocking installation of 'Alpha'"));
        EXPECT_EQ(log.runs[0].questions[0].answer, Answer::Cancel);
        EXPECT_EQ(pathsWith(log.runs[0], Outcome::Failed), Lines{shared("Looks/Grey.look")});
        EXPECT_EQ(log.runs[0].files.back().failures, more.empty() ? 2U : log.runs[0].files.back().failures);
        EXPECT_EQ(log.runs[0].end, End::NotInLog);

        const ProgramResult retried = root().runInTerminal(
            command, {{"ancel: ", "retry\n", [this] { root().remove(shared("Looks")); }}}, Options());
        const RunLog again = readLog(shown(retried.standardOutput, "retry"));
        ASSERT_EQ(again.runs.size(), 1U);
        EXPECT_EQ(again.runs[0].questions.at(0).answer, Answer::Retry);
        EXPECT_TRUE(root().exists(shared("Looks/Grey.look")));
        EXPECT_EQ(again.runs[0].count(Outcome::Failed), 0U);
        EXPECT_EQ(again.runs[0].count(Outcome::CopiedLater), more.empty() ? 0U : 1U);
        EXPECT_EQ(again.runs[0].count(Outcome::Unclear), more.empty() ? 1U : 0U);
    }
}

TEST_F(LogEndToEnd, ATerminalThatDoesNotShowTheAnswerGoesOnInTheSameLine) {
    root().write(shared("Looks"), "a file in place of the folder");
    place(product());
    const ProgramResult cancelled =
        root().runInTerminal(installCommand(product()), {{"ancel: ", "c\n", {}}}, Options());
    const RunLog log = readLog(cancelled.standardOutput);
    ASSERT_EQ(log.runs.size(), 1U);
    EXPECT_EQ(log.runs[0].questions.at(0).answer, Answer::NotInLog);
    EXPECT_EQ(pathsWith(log.runs[0], Outcome::Failed), Lines{shared("Looks/Grey.look")});
    EXPECT_EQ(log.runs[0].files.at(0).failures, 2U);
    EXPECT_EQ(log.runs[0].end, End::NotInLog);
}

TEST_F(LogEndToEnd, ADialogLeavesNoAnswerInTheLog) {
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        takeNewMachine();
        root().write(shared("Looks"), "a file in place of the folder");
        Options options = withTool("zenity", "exit 1\n"); // Cancel
        options.environment["DISPLAY"] = ":7";
        const LoggedRun run = install(product(), more, options);
        EXPECT_TRUE(run.bDialog);
        EXPECT_THAT(run.questions, IsEmpty());
        EXPECT_EQ(pathsWith(run, Outcome::Failed), Lines{shared("Looks/Grey.look")});
        EXPECT_EQ(run.end, End::NotInLog);

        // Retry, once the way is clear.
        options = withTool("zenity", "rm '" + shared("Looks") + "'\nexit 0\n");
        options.environment["DISPLAY"] = ":7";
        const LoggedRun retried = install(product(), more, options);
        EXPECT_TRUE(root().exists(shared("Looks/Grey.look")));
        EXPECT_EQ(retried.count(Outcome::Failed), 0U);
        EXPECT_EQ(retried.count(Outcome::CopiedLater), more.empty() ? 0U : 1U);
        EXPECT_EQ(retried.count(Outcome::Unclear), more.empty() ? 1U : 0U);
        EXPECT_EQ(retried.bDialog, !more.empty());
        EXPECT_EQ(retried.end, End::NotInLog);
        EXPECT_EQ(retried.verdict(), Verdict::Harm);
    }
}

TEST_F(LogEndToEnd, AFolderInPlaceOfAFileIsToldByTheToolAlone) {
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        takeNewMachine();
        root().write(shared("Looks/Grey.look/own"), "anna's");
        const LoggedRun run = install(product(), more);
        EXPECT_EQ(run.count(Outcome::Failed), 0U);
        EXPECT_EQ(run.toolHarms(), 1U);
        if (more.empty()) {
            ASSERT_EQ(run.tools.size(), 1U);
            EXPECT_THAT(run.tools[0].text, HasSubstr("Grey.look': Is a directory"));
        } else {
            const auto complained = std::find_if(run.files.begin(), run.files.end(),
                                                 [](const auto& file) { return !file.tools.empty(); });
            ASSERT_NE(complained, run.files.end());
            EXPECT_EQ(complained->path, shared("Looks/Grey.look"));
            EXPECT_EQ(complained->outcome, Outcome::Copied);
            EXPECT_THAT(complained->tools, ElementsAre(HasSubstr("Grey.look': Is a directory")));
        }
        EXPECT_EQ(run.verdict(), Verdict::Harm);
    }
}

TEST_F(LogEndToEnd, AShortcutThatCannotBeMadeIsToldByTheToolAlone) {
    const Options options = withTool("ln", "echo \"ln: '/Applications': read-only\" >&2\nexit 1\n");
    const LoggedRun run = install(product(), {}, options);
    EXPECT_FALSE(root().exists("/Applications/Alpha Guide.html"));
    ASSERT_EQ(run.tools.size(), 1U);
    EXPECT_EQ(run.tools[0].text, "ln: '/Applications': read-only");
    EXPECT_EQ(run.verdict(), Verdict::Harm);
}

TEST_F(LogEndToEnd, AMessageInAnotherLanguageStandsAsItIs) {
    const std::string message = "cp: impossible de créer le fichier « x »: Aucun espace disponible";
    const Options options = withTool("cp", "echo \"" + message + "\" >&2\nexit 1\n");
    const LoggedRun run = install(product(), {}, options);
    EXPECT_EQ(run.count(Outcome::Failed), 5U);
    for (const LoggedFile& file : run.files) {
        EXPECT_THAT(file.tools, ElementsAre(message));
        EXPECT_FALSE(root().exists(file.path));
    }
}

TEST_F(LogEndToEnd, UninstallTellsWhatWentAsRemoved) {
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        takeNewMachine();
        install(product());
        const Lines there = filesOnDisk();
        ASSERT_EQ(there.size(), 5U);
        const LoggedRun run = uninstall(product(), more);
        EXPECT_EQ(run.kind, Kind::Uninstall);
        EXPECT_EQ(pathsWith(run, Outcome::Removed), there);
        EXPECT_THAT(filesOnDisk(), IsEmpty());
        // Edius is not on the machine.
        EXPECT_EQ(pathsWith(run, Outcome::NoTarget), Lines{"Glow.epl"});
        EXPECT_EQ(run.count(Outcome::NotRemoved), 0U);
        EXPECT_THAT(run.messages, IsEmpty());
        EXPECT_FALSE(run.bSharedPackage);
        EXPECT_EQ(run.verdict(), Verdict::Safe) << result.standardOutput;
    }
}

TEST_F(LogEndToEnd, AFileThatCannotBeRemovedIsTold) {
    const std::string path = shared("Looks/Grey.look");
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        takeNewMachine();
        install(product());
        const Options options =
            withTool("rm", "case $2 in *.look) echo \"rm: $2: Operation not permitted\" >&2; "
                           "exit 1 ;; esac\nexec /bin/rm \"$@\"\n");
        const LoggedRun run = uninstall(product(), more, options);
        EXPECT_EQ(filesOnDisk(), Lines{path});
        EXPECT_EQ(run.count(Outcome::Removed), 4U);
        EXPECT_EQ(run.verdict(), Verdict::Harm);
        if (more.empty()) {
            // No line of the engine names it.
            ASSERT_EQ(run.tools.size(), 1U);
            EXPECT_EQ(run.tools[0].text, "rm: " + path + ": Operation not permitted");
        } else {
            EXPECT_EQ(pathsWith(run, Outcome::NotRemoved), Lines{path});
            EXPECT_THAT(run.tools, IsEmpty());
        }
    }
}

TEST_F(LogEndToEnd, AWholeFolderThatCannotBeRemovedIsTold) {
    const ProductBuilder own = product().folder("VorlaneFX/Kit").unlistedFile("VorlaneFX/Kit/part", "part");
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        takeNewMachine();
        install(own);
        const Options options =
            withTool("rm", "case $2 in */Kit) echo \"rm: $2/part: Permission denied\" >&2; exit 1 ;; esac\n"
                           "exec /bin/rm \"$@\"\n");
        const LoggedRun run = uninstall(own, more, options);
        EXPECT_TRUE(root().exists(shared("Kit/part")));
        EXPECT_EQ(pathsWith(run, Outcome::NotRemoved), Lines{shared("Kit")});
        const auto kit = std::find_if(run.files.begin(), run.files.end(), [](const LoggedFile& file) {
            return file.outcome == Outcome::NotRemoved;
        });
        EXPECT_THAT(kit->tools, ElementsAre("rm: " + shared("Kit/part") + ": Permission denied"));
        EXPECT_EQ(run.advice().front()->text, "Failed to remove '%s'");
    }
}

TEST_F(LogEndToEnd, AWholeFolderThatWentIsToldWithDebugLines) {
    const ProductBuilder own = product().folder("VorlaneFX/Kit").unlistedFile("VorlaneFX/Kit/part", "part");
    install(own);
    const LoggedRun run = uninstall(own, {"-v"});
    EXPECT_FALSE(root().exists(shared("Kit")));
    const Lines removed = pathsWith(run, Outcome::Removed);
    EXPECT_EQ(std::count(removed.begin(), removed.end(), shared("Kit")), 1);
    EXPECT_EQ(run.verdict(), Verdict::Safe);
}

TEST_F(LogEndToEnd, AFolderInPlaceOfAFileThatIsRemovedIsTold) {
    for (const bool bFails : {false, true}) {
        takeNewMachine();
        install(product());
        root().remove(shared("Looks/Grey.look"));
        root().write(shared("Looks/Grey.look/own"), "anna's");
        const Options options = withTool("rm", std::string("case $1$2 in -rf*.look) ") +
                                                   (bFails ? "echo \"rm: $2/own: busy\" >&2; exit 1" : ":") +
                                                   " ;; esac\nexec /bin/rm \"$@\"\n");
        const LoggedRun run = uninstall(product(), {"-v"}, options);
        EXPECT_EQ(root().exists(shared("Looks/Grey.look")), bFails);
        const Lines told = pathsWith(run, bFails ? Outcome::NotRemoved : Outcome::Removed);
        EXPECT_EQ(std::count(told.begin(), told.end(), shared("Looks/Grey.look")), 1);
    }
}

TEST_F(LogEndToEnd, TheSharedPackageInsideIsTold) {
    for (const Lines& more : {Lines{}, Lines{"-v"}}) {
        takeNewMachine();
        install(common());
        install(product());
        const Lines there = filesOnDisk();
        const LoggedRun run = uninstall(product(), more);
        EXPECT_TRUE(run.bSharedPackage);
        EXPECT_EQ(pathsWith(run, Outcome::Removed), there);
        EXPECT_EQ(run.verdict(), Verdict::Safe);
    }
}

TEST_F(LogEndToEnd, ASharedPackageWithoutDefinitionIsTold) {
    install(common());
    install(product());
    root().remove(shared("SKU/COMMON.xml"));
    const LoggedRun run = uninstall(product());
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(run.end, End::Failed);
    EXPECT_FALSE(run.bSharedPackage);
    EXPECT_EQ(run.count(Outcome::Removed), 5U);
    ASSERT_EQ(run.messages.size(), 3U);
    EXPECT_EQ(run.messages[2].text, "Error! Failed to remove product");
    EXPECT_EQ(run.advice().back()->text, "Error! Failed to remove product");
}

TEST_F(LogEndToEnd, OpeningAnUninstallerIsAnUninstall) {
    install(product());
    install(ProductBuilder("BETA", "Beta").target("VorlaneFX", statusFolder).file("VorlaneFX/b", "b"));
    const std::string launcher = uninstallerOf(product()) + "/Contents/MacOS/UninstallLauncher";
    root().add("/bin/bash", "/bin/bash");
    // The other uninstaller keeps their folder, which a tool tells before all else.
    const LoggedRun run = runOf({launcher});
    EXPECT_EQ(run.firstLine, 1U);
    EXPECT_EQ(run.count(Outcome::Removed), 5U);
    EXPECT_GT(run.notEmpty, 0U);
    EXPECT_EQ(run.verdict(), Verdict::Safe) << result.standardOutput;

    root().remove("/Applications/Vorlane Uninstallers/Uninstall Beta.app/Contents/sku.xml");
    const LoggedRun broken = runOf({"/Applications/Vorlane Uninstallers/Uninstall Beta.app/Contents/MacOS/"
                                    "UninstallLauncher"});
    EXPECT_EQ(broken.kind, Kind::Uninstall);
    EXPECT_EQ(broken.advice().at(0)->text,
              "'$contents/$file' is missing: this is no uninstaller that an install has placed");
}

TEST_F(LogEndToEnd, AnUninstallOfWhatIsNotRecordedIsTold) {
    install(product());
    uninstall(product());
    const LoggedRun run = uninstall(product());
    ASSERT_FALSE(run.messages.empty());
    EXPECT_EQ(run.messages[0].text, "The record does not list the product 'ALPHA'. No count is lowered.");
    EXPECT_EQ(run.verdict(), Verdict::Harm);
}

TEST_F(LogEndToEnd, ARecordThatIsDamagedOrCannotBeSavedIsTold) {
    root().write(shared("InstallationStatusFile.xml"), "<install><products>");
    const LoggedRun damaged = install(product());
    ASSERT_EQ(damaged.messages.size(), 1U);
    EXPECT_THAT(damaged.messages[0].text, HasSubstr("InstallationStatusFile.xml' is damaged. It is kept as"));
    EXPECT_EQ(damaged.advice().at(0)->text, "The record '%s' is damaged. It is kept as '%s'.");
    EXPECT_EQ(damaged.verdict(), Verdict::Harm);

    root().remove(shared("InstallationStatusFile.xml"));
    root().makeFolder(shared("InstallationStatusFile.xml"));
    const LoggedRun unread = install(product());
    ASSERT_EQ(unread.messages.size(), 1U);
    EXPECT_THAT(unread.messages[0].text, HasSubstr("cannot be read (it is no regular file)"));
}

TEST_F(LogEndToEnd, WhatIsMissingEndsTheRun) {
    const ProductBuilder whole = product();
    place(whole);
    const std::string folder = folderOf(whole);
    const LoggedRun noSource =
        runOf({PrivateRoot::program, folder + "/none", folder + "/sku.xml", folder + "/target_path.xml"});
    EXPECT_EQ(noSource.kind, Kind::Install);
    EXPECT_FALSE(noSource.bChecked);
    EXPECT_FALSE(noSource.bBeginningMissing);
    ASSERT_EQ(noSource.advice().size(), 1U);
    EXPECT_EQ(noSource.advice()[0]->text, "Error! Source dir '%s' is empty");

    const LoggedRun noTargets =
        runOf({PrivateRoot::program, folder + "/files", folder + "/sku.xml", "/none"});
    EXPECT_EQ(noTargets.kind, Kind::Install);
    EXPECT_EQ(noTargets.messages.size(), 3U);

    const LoggedRun noFile = install(product().listedFile("VorlaneFX/nowhere"));
    EXPECT_TRUE(noFile.bChecked);
    ASSERT_EQ(noFile.messages.size(), 2U);
    EXPECT_THAT(noFile.messages[0].text, HasSubstr("files/VorlaneFX/nowhere' not found"));

    const LoggedRun few = runOf({PrivateRoot::program, "a"});
    EXPECT_EQ(few.kind, Kind::Unknown);
    EXPECT_EQ(few.lastLine, 3U);

    const LoggedRun noDefinition =
        runOf({PrivateRoot::program, "-uninstall", "/none", folder + "/target_path.xml"});
    EXPECT_EQ(noDefinition.kind, Kind::Uninstall);
    EXPECT_EQ(noDefinition.messages.size(), 2U);

    const LoggedRun noUninstallTargets =
        runOf({PrivateRoot::program, "-uninstall", folder + "/sku.xml", "/none"});
    EXPECT_EQ(noUninstallTargets.kind, Kind::Uninstall);
    EXPECT_EQ(noUninstallTargets.messages.size(), 2U);
}

TEST_F(LogEndToEnd, MissingHostsAndFamiliesAreTold) {
    const LoggedRun run =
        install(product().file("Hosts/Nowhere/Glow/a", "a").file("Hosts/OpenFX/Other/b", "b"));
    ASSERT_EQ(run.messages.size(), 2U);
    EXPECT_EQ(run.messages[0].text, "Can't find 'Nowhere' host install info");
    EXPECT_THAT(run.messages[1].text, HasSubstr("Family 'Other' not found in SKU XML"));
    EXPECT_EQ(run.advice().at(0)->text, "Can't find '%s' host install info");
    EXPECT_EQ(run.verdict(), Verdict::Harm);
}

TEST_F(LogEndToEnd, ABranchThatIsNotInTheSourceIsTold) {
    const LoggedRun run = install(
        ProductBuilder("BETA", "Beta").target("Content", "/Users/Shared/Vorlane").file("Content/a", "a"));
    ASSERT_EQ(run.messages.size(), 1U);
    EXPECT_EQ(run.messages[0].text, "Error! Src path '/Volumes/Installer/BETA/files/VorlaneFX' not found");
    EXPECT_EQ(run.messages[0].count, 2U);
    EXPECT_EQ(run.questions.size(), 1U);
}

TEST_F(LogEndToEnd, ARunThatWasKilledBreaksOff) {
    root().add("/bin/bash", "/bin/bash");
    place(product());
    // As the package's script: a shell waits for the engine.
    root().write("/var/script",
                 "#!/bin/bash\n/bin/sh -c 'echo $$ >/var/engine; exec \"$@\"' sh \"$@\" 2>&1\nexit $?\n",
                 0755);
    const Options options =
        withTool("cp", "case $* in *Ink*) kill -KILL $engine ;; esac\nexec /bin/cp \"$@\"\n");
    std::vector<std::string> command{"/bin/sh", "-c", "exec \"$@\" 2>&1", "sh", "/var/script"};
    for (const std::string& argument : installCommand(product())) {
        command.push_back(argument);
    }
    command.emplace_back("-v");
    const RunLog log = readLog(root().run(command, options).standardOutput);
    ASSERT_EQ(log.runs.size(), 1U);
    EXPECT_EQ(log.runs[0].end, End::BreaksOff);
    EXPECT_THAT(log.runs[0].breakOff, HasSubstr("Killed"));
    EXPECT_EQ(log.runs[0].count(Outcome::Copied), 1U);
    EXPECT_EQ(pathsWith(log.runs[0], Outcome::Unclear), Lines{"/Library/OFX/Plugins/Vorlane/Ink/Ink.ofx"});
}

TEST_F(LogEndToEnd, ALogThatEndsAnywhereIsRead) {
    root().write(shared("Looks"), "a file in place of the folder");
    place(product());
    const RunLog whole = logOf(installCommand(product()), {"-v"});
    const std::string text = result.standardOutput;
    const std::size_t question = text.find("Warning: Installation warning");
    ASSERT_NE(question, std::string::npos);
    for (std::size_t size = 1; size < text.size(); ++size) {
        const RunLog log = readLog(text.substr(0, size));
        ASSERT_LE(log.runs.size(), 1U);
        if (log.runs.empty()) {
            EXPECT_LT(size, std::string("Checking file consistency in source folder").size());
            continue;
        }
        const LoggedRun& run = log.runs[0];
        EXPECT_LE(run.files.size(), whole.runs[0].files.size()) << size;
        // Inside of a line of the engine's, at the latest between a failure and the second try.
        const bool bInsideLine = text[size - 1] != '\n' && text[size] != '\n';
        const std::string last = text.substr(text.rfind('\n', size - 1) + 1);
        const bool bEngineLine = last.rfind("mkdir: ", 0) != 0 && last.rfind("cp: ", 0) != 0;
        if (bInsideLine && bEngineLine && text[size - 1] != '\'') {
            EXPECT_EQ(run.end, End::BreaksOff) << text.substr(0, size);
        }
    }
}

TEST_F(LogEndToEnd, RunsThatFollowEachOtherInOneFileAreParted) {
    std::string text;
    const auto add = [&](const std::vector<std::string>& command) {
        logOf(command);
        text += result.standardOutput;
    };
    place(product());
    add(installCommand(product()));
    add({PrivateRoot::program, "/none", "/none", "/none"});
    add({PrivateRoot::program, "a"});
    add(installCommand(product()));
    add(uninstallCommand(product()));
    add({PrivateRoot::program, "-uninstall", "/none", "/none"});
    add(uninstallCommand(product()));
    add(installCommand(product()));
    const RunLog log = readLog(text);
    std::vector<Kind> kinds;
    for (const LoggedRun& run : log.runs) {
        kinds.push_back(run.kind);
    }
    EXPECT_THAT(kinds, ElementsAre(Kind::Install, Kind::Install, Kind::Unknown, Kind::Install,
                                   Kind::Uninstall, Kind::Uninstall, Kind::Uninstall, Kind::Install));
    EXPECT_EQ(log.runs[4].count(Outcome::Removed), 5U);
}
