// The installer's disk is changed, or goes away, while a run reads from it.
#include "Tests/Reliability/DisturbedRun.h"

#include <gmock/gmock.h>

#include <optional>

namespace {

struct Change {
    std::string name;
    std::string script;
    /// A file becomes a folder or the other way round. The one kind is then put into the place of the other
    /// at the target, or inside it, where repeating the run leaves it.
    bool bOtherKind = false;
};

void PrintTo(const Change& printed, std::ostream* stream) {
    *stream << printed.name;
}

const char* const productFolder = "/Volumes/Installer/ALPHA/";

class SourceChange : public DisturbedRun, public testing::WithParamInterface<Change> {
protected:
    void SetUp() override {
        DisturbedRun::SetUp();
        if (IsSkipped()) {
            return;
        }
        place(smallProduct());
        start.emplace(root());
        pathsBefore = paths();
        std::set<std::string> records;
        calls = runAndWatch(installCommand(smallProduct()), records).calls;
        treeAfter = root().tree();
        pathsAfter = paths();
        ASSERT_GT(calls.size(), 5U);
    }

    void tryChange(unsigned long number) {
        SCOPED_TRACE("before command " + std::to_string(number) + ", " + calls.at(number - 1).at(0));
        start->restore();
        place(smallProduct());
        const Disturbed run = runWithScript(installCommand(smallProduct()), number,
                                            "cd " + std::string(productFolder) + " && " + GetParam().script);
        EXPECT_FALSE(run.result.bTimedOut);
        ExpectSuccess(run.result);
        ASSERT_GE(run.calls.size(), number) << "the change did not come";
        EXPECT_THAT(counts(), testing::Not(testing::ElementsAre("malformed record")));
        for (const std::string& path : paths()) {
            const bool bInside = GetParam().bOtherKind && path.rfind("/Library/OFX/Plugins/Vorlane/", 0) == 0;
            EXPECT_TRUE(bInside || pathsBefore.count(path) + pathsAfter.count(path) > 0)
                << path << " has no reason to be";
        }
        ExpectSentinels();
        if (!GetParam().bOtherKind) {
            place(smallProduct());
            runUndisturbed(installCommand(smallProduct()));
            EXPECT_EQ(FileTree::difference(treeAfter, root().tree()), "") << "after the repair";
        }
    }

    std::optional<Snapshot> start;
    std::vector<Call> calls;
    std::set<std::string> pathsBefore;
    std::set<std::string> pathsAfter;
    Lines treeAfter;
};

} // namespace

TEST_P(SourceChange, EndsByItselfAndTouchesNothingElse) {
    unsigned long runs = 0;
    for (const unsigned long number : sample(calls.size(), 3)) {
        tryChange(number);
        ++runs;
        if (HasFailure()) {
            return;
        }
    }
    printFigures("SourceChange." + GetParam().name + ": " + std::to_string(calls.size()) + " commands, " +
                 std::to_string(runs) + " disturbed runs");
}

INSTANTIATE_TEST_SUITE_P(
    Changes, SourceChange,
    testing::Values(
        Change{"FileGoes", "/bin/rm files/VorlaneFX/guide.html"},
        Change{"FileIsEmptied", ": >files/VorlaneFX/guide.html"},
        Change{"FileBecomesFolder",
               "/bin/rm files/VorlaneFX/guide.html; /bin/mkdir files/VorlaneFX/guide.html", true},
        Change{"FileBecomesLoop", "/bin/ln -sf guide.html files/VorlaneFX/guide.html"},
        Change{"FileBecomesDanglingLink", "/bin/ln -sf nothing files/VorlaneFX/guide.html"},
        Change{"FileMayNotBeRead", "/bin/chmod 0 files/VorlaneFX/guide.html"},
        Change{"FolderOfOnePieceGoes", "/bin/rm -r files/Hosts/OpenFX/Blur/Blur.bundle"},
        Change{"FolderOfOnePieceBecomesFile",
               "/bin/rm -r files/Hosts/OpenFX/Blur/Blur.bundle; : >files/Hosts/OpenFX/Blur/Blur.bundle",
               true},
        Change{"AllGoes", "/bin/rm -r files sku.xml target_path.xml"},
        Change{"DefinitionsAreEmptied", ": >sku.xml; : >target_path.xml"}),
    [](const auto& change) { return change.param.name; });

namespace {

class SourceGoes : public DisturbedRun {
protected:
    static ProductBuilder smallProduct() {
        return ProductBuilder("ALPHA", "Alpha")
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .file("VorlaneFX/a", "a");
    }
};

} // namespace

TEST_F(SourceGoes, MissingFileIsReportedAsAFailedCopyAndTheRunAsks) {
    place(smallProduct());
    const ProgramResult result = runWithScript(installCommand(smallProduct()), 1,
                                               "/bin/rm " + std::string(productFolder) + "files/VorlaneFX/a")
                                     .result;
    ExpectSuccess(result);
    const std::string failed = "Error: Failed to copy '" + std::string(productFolder) +
                               "files/VorlaneFX/a' to '" + std::string(statusFolder) + "/a'\n";
    EXPECT_THAT(result.standardOutput, testing::HasSubstr(failed));
    EXPECT_THAT(result.standardOutput, testing::HasSubstr("Installation warning"));
}

TEST_F(SourceGoes, MissingDefinitionsAreReportedByTheUninstallerThatIsNotPlaced) {
    place(smallProduct());
    const ProgramResult result =
        runWithScript(installCommand(smallProduct()), 1,
                      "cd " + std::string(productFolder) + " && /bin/rm sku.xml target_path.xml")
            .result;
    ExpectSuccess(result);
    ExpectLog(result,
              {"Checking file consistency in source folder", "Error: Postflight failed: sku xml not found"});
    EXPECT_FALSE(root().exists(uninstallerOf(smallProduct())));
    EXPECT_EQ(root().read(std::string(statusFolder) + "/a"), "a");
}
