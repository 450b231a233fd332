#include "Tests/Reliability/DisturbedRun.h"
#include "Tests/Support/Sources.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <optional>

namespace {

/// One run of which each command is disturbed in turn.
struct Scenario {
    std::string name;
    /// Of the example products; "ALPHA" is a small one. "+" installs, "-" uninstalls: "+Common", "-Ink".
    std::vector<std::string> before;
    std::string disturbed;
    /// After these, all is as if nothing had been disturbed.
    std::vector<std::string> repair;
};

void PrintTo(const Scenario& printed, std::ostream* stream) {
    *stream << printed.name;
}

class CommandFault : public DisturbedRun, public testing::WithParamInterface<Scenario> {
protected:
    void SetUp() override {
        DisturbedRun::SetUp();
        skipWherePretended("the shell of fakechroot stands between the run and its signals");
        if (IsSkipped()) {
            return;
        }
        for (const char* product : {"Common", "EmberAndInk", "Ink"}) {
            std::filesystem::copy(inSources("Examples/" + std::string(product)),
                                  root().outside(folderOfProduct(product)),
                                  std::filesystem::copy_options::recursive);
        }
        smallProduct().writeTo(root().outside(folderOfProduct("ALPHA")));
        for (const char* folder :
             {"/Applications/Adobe Premiere Pro", "/Library/Application Support/Adobe/Common/Plug-ins",
              "/Applications/Avid Media Composer 5", "/Library/Application Support/Avid/AVX2",
              "/Applications/Final Cut Pro.app", "/Library/OFX/Plugins", "/Users/anna/OFX",
              "/Users/Shared"}) {
            root().makeFolder(folder);
        }
        preference("mediacomposer", "PluginFolder", "/Library/Application Support/Avid/AVX2");
        preference("openfx", "PerUser", "1");
        for (const std::string& step : GetParam().before) {
            runUndisturbed(commandOf(step));
        }
        start.emplace(root());
        pathsBefore = paths();
        records.insert(record());
        reference = runAndWatch(commandOf(GetParam().disturbed), records);
        treeAfter = root().tree();
        pathsAfter = paths();
        ASSERT_GT(reference.calls.size(), 5U);
    }

    static std::string folderOfProduct(const std::string& product) {
        return std::string(PrivateRoot::installerFolder) + "/" + product;
    }

    static Command commandOf(const std::string& step) {
        const std::string folder = folderOfProduct(step.substr(1));
        return {PrivateRoot::program, step[0] == '+' ? folder + "/files" : "-uninstall", folder + "/sku.xml",
                folder + "/target_path.xml"};
    }

    void preference(const std::string& host, const std::string& key, const std::string& value) {
        root().write(std::string(PrivateRoot::userPreferences) + "/com.vorlane.hosts." + host + ".plist",
                     "<plist version=\"1.0\"><dict><key>" + key + "</key><string>" + value +
                         "</string></dict></plist>\n");
    }

    const Call& call(unsigned long number) const { return reference.calls.at(number - 1); }

    // What the disturbed run has to say, compared with the undisturbed one.

    /// The failed copy that the fault at this command leads to; empty when to none.
    std::string failedCopy(unsigned long number, Fault fault) const {
        if (call(number)[0] == "mkdir") {
            const Call& following = call(number + 1);
            // Its status counts only where a whole folder is copied. A file's copy fails without the folder;
            // where the next command makes it with its parents nothing is lost.
            if (following[0] == "mkdir" || (following[0] == "rm" && fault == Fault::WorksButFails)) {
                return "";
            }
            number += following[0] == "rm" ? 2U : 1U;
        }
        if (call(number)[0] != "cp") {
            return "";
        }
        std::string source = *(call(number).end() - 2);
        if (call(number)[1] == "-a") {
            source.resize(source.size() - 2); // "/."
        }
        return "Failed to copy '" + source + "' to '" + call(number).back() + "'";
    }

    Lines expectedLog(unsigned long number, Fault fault) const {
        Lines expected = logLines(reference.result);
        const std::string& path = call(number).back();
        if (GetParam().disturbed[0] == '+') {
            const std::string failure = failedCopy(number, fault);
            const bool bIgnored = failure.find("Ember Palette.xml") != std::string::npos;
            if (!failure.empty()) {
                expected.push_back((bIgnored ? "Warning: " : "Error: ") + failure);
            }
            if (!failure.empty() && !bIgnored) {
                expected.emplace_back("Warning: Installation warning");
            }
        } else if (call(number)[0] == "rm" && call(number)[1] == "-rf") {
            expected.push_back("Error: cannot remove '" + path + "'");
        } else if (call(number)[0] == "rm") {
            // Intended by the engine: a file that was removed is told as one that could not be.
            const auto line =
                std::find(expected.begin(), expected.end(), "Error: Cannot remove file '" + path + "'");
            if (line != expected.end()) {
                expected.erase(line);
            }
        }
        return expected;
    }

    /// The alert without its text; one line for both ways to say that a folder could not be removed.
    Lines comparable(Lines lines) const {
        const Lines known = logLines(reference.result);
        for (std::string& line : lines) {
            if (line.rfind("Warning: Installation warning: ", 0) == 0) {
                line = "Warning: Installation warning";
            }
            for (const std::string beginning : {"Error: Cannot remove file '", "Error: Failed to remove '"}) {
                if (line.rfind(beginning, 0) == 0 && std::count(known.begin(), known.end(), line) == 0) {
                    line = "Error: cannot remove '" + line.substr(beginning.size());
                }
            }
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    void expectEnd(const Disturbed& run, unsigned long number, Fault fault) {
        EXPECT_FALSE(run.result.bTimedOut);
        ASSERT_GE(run.calls.size(), number) << "the fault did not come";
        EXPECT_EQ(run.calls.at(number - 1), call(number)) << "another command was disturbed";
        if (fault == Fault::Fails || fault == Fault::WorksButFails) {
            EXPECT_EQ(run.result.exitStatus, 0) << run.result.standardError;
            EXPECT_EQ(comparable(logLines(run.result)), comparable(expectedLog(number, fault)));
        } else {
            EXPECT_EQ(run.result.signal, SIGKILL);
            EXPECT_EQ(reference.result.standardOutput.rfind(run.result.standardOutput, 0), 0U)
                << run.result.standardOutput;
        }
    }

    void expectMachine() {
        EXPECT_EQ(records.count(record()), 1U) << "no record that an undisturbed run ever has:\n" << record();
        EXPECT_THAT(counts(), testing::Not(testing::ElementsAre("malformed record")));
        for (const std::string& path : paths()) {
            EXPECT_TRUE(pathsBefore.count(path) + pathsAfter.count(path) > 0)
                << path << " has no reason to be";
        }
        ExpectSentinels();
    }

    void tryFault(unsigned long number, Fault fault) {
        std::string words;
        for (const std::string& word : call(number)) {
            words += " " + word;
        }
        SCOPED_TRACE(nameOf(fault) + " at command " + std::to_string(number) + ":" + words);
        start->restore();
        expectEnd(runWithFault(commandOf(GetParam().disturbed), number, fault), number, fault);
        expectMachine();
        for (const std::string& step : GetParam().repair) {
            runUndisturbed(commandOf(step));
        }
        EXPECT_EQ(FileTree::difference(treeAfter, root().tree()), "") << "after the repair";
    }

    std::optional<Snapshot> start;
    Disturbed reference;
    std::set<std::string> records; ///< that an undisturbed run has at any moment
    std::set<std::string> pathsBefore;
    std::set<std::string> pathsAfter;
    Lines treeAfter;
};

} // namespace

TEST_P(CommandFault, LeavesAWholeRecordAndCanBeRepairedByRepeating) {
    const unsigned long commands = reference.calls.size();
    unsigned long runs = 0;
    for (const Fault fault :
         {Fault::Fails, Fault::WorksButFails, Fault::EngineDiesBefore, Fault::EngineDiesAfter}) {
        for (const unsigned long number : sample(commands, 1, static_cast<unsigned long>(fault))) {
            tryFault(number, fault);
            ++runs;
            if (HasFailure()) {
                return; // the next would say the same
            }
        }
    }
    printFigures(GetParam().name + ": " + std::to_string(commands) + " commands, " + std::to_string(runs) +
                 " disturbed runs");
}

// The suite may bring back older files, and a folder of it has no build: repeating its install after a newer
// product would do more than to repair. So it comes last where it is installed again.
INSTANTIATE_TEST_SUITE_P(
    Runs, CommandFault,
    testing::Values(Scenario{"SmallInstall", {}, "+ALPHA", {"+ALPHA"}},
                    Scenario{"SmallUninstall", {"+ALPHA"}, "-ALPHA", {"+ALPHA", "-ALPHA"}},
                    Scenario{"SuiteInstall", {}, "+EmberAndInk", {"+EmberAndInk"}},
                    Scenario{"SuiteReinstall", {"+EmberAndInk"}, "+EmberAndInk", {"+EmberAndInk"}},
                    Scenario{"UpdateOfSharedFiles", {"+Common", "+EmberAndInk"}, "+Ink", {"+Ink"}},
                    Scenario{"SuiteUninstallBesideOthers",
                             {"+Common", "+Ink", "+EmberAndInk"},
                             "-EmberAndInk",
                             {"+EmberAndInk", "-EmberAndInk"}},
                    Scenario{"LastUninstall", {"+Common", "+Ink"}, "-Ink", {"+Common", "+Ink", "-Ink"}}),
    [](const auto& scenario) { return scenario.param.name; });
