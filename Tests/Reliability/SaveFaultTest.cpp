// Where the library can be loaded into the program: on Linux, and not together with a sanitizer.
#ifdef SAVE_FAULT_LIBRARY

#include "Tests/Reliability/DisturbedRun.h"
#include "Tests/Support/Sources.h"

#include <gmock/gmock.h>

#include <csignal>
#include <optional>
#include <sstream>

namespace {

const char* const libraryInside = "/var/faults/SaveFault.so";
const char* const stepsInside = "/var/faults/steps";

/// A run that saves a record so long that it takes several writes.
class SaveFault : public DisturbedRun {
protected:
    void SetUp() override {
        DisturbedRun::SetUp();
        skipWherePretended("libraries that are loaded first take the place of that of fakechroot");
        if (IsSkipped()) {
            return;
        }
        const ProgramResult added =
            runProgram({inSources("Scripts/private-root"), "add", root().outside("/").string(),
                        SAVE_FAULT_LIBRARY, libraryInside});
        ASSERT_EQ(added.exitStatus, 0) << added.standardError;
        place(product());
        root().write(recordPath, longRecord(), 0640);
        start.emplace(root());
        oldRecord = record();
        runUndisturbed(installCommand(product()));
        newRecord = record();
        treeAfter = root().tree();
        ASSERT_NE(oldRecord, newRecord);
    }

    static ProductBuilder product() {
        return ProductBuilder("ALPHA", "Alpha")
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .file("VorlaneFX/a", "a");
    }

    static std::string longRecord() {
        std::ostringstream text;
        text << "<install>\n    <products>\n        <sku ID=\"BETA\" name=\"Beta\" build=\"1.0.0.7\" />\n"
             << "    </products>\n    <installFiles>\n        <directory fileName=\"VorlaneFX\" ref=\"1\">\n";
        for (int i = 1000; i < 1200; ++i) {
            text << "            <file fileName=\"look" << i << "\" ref=\"1\" build=\"1.0.0.7\" />\n";
        }
        text << "        </directory>\n    </installFiles>\n</install>\n";
        return text.str();
    }

    ProgramResult install(unsigned long number, const std::string& fault) {
        Options options;
        options.environment = {{"LD_PRELOAD", libraryInside},
                               {"SAVE_FAULT", fault},
                               {"SAVE_FAULT_STEP", std::to_string(number)},
                               {"SAVE_FAULT_LOG", stepsInside}};
        options.timeout = patience();
        root().remove(stepsInside);
        return root().run(installCommand(product()), options);
    }

    Lines steps() {
        Lines lines;
        std::istringstream text(root().read(stepsInside));
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    bool hasNewFile() { return root().exists(std::string(recordPath) + ".new"); }

    std::optional<Snapshot> start;
    std::string oldRecord;
    std::string newRecord;
    Lines treeAfter;
};

} // namespace

TEST_F(SaveFault, LeavesTheOldRecordOrTheNewOneAndNoOtherFile) {
    start->restore();
    ExpectSuccess(install(0, ""));
    const Lines known = steps();
    ASSERT_EQ(record(), newRecord);
    ASSERT_THAT(known, testing::IsSupersetOf({"open", "write", "write", "fsync", "close", "rename",
                                              "open folder", "fsync folder"}));
    unsigned long runs = 0;
    for (const std::string fault : {"ENOSPC", "EIO", "DiesBefore", "DiesAfter"}) {
        const bool bDies = fault.rfind("Dies", 0) == 0;
        bool bReplaced = false; // whether the step comes after the one that puts the new record in place
        for (unsigned long number = 1; number <= known.size(); ++number) {
            const std::string& step = known[number - 1];
            SCOPED_TRACE(fault + " at step " + std::to_string(number) + ", " + step);
            start->restore();
            const ProgramResult result = install(number, fault);
            EXPECT_EQ(result.signal, bDies ? SIGKILL : 0);
            EXPECT_EQ(result.exitStatus, bDies ? -1 : 0);
            EXPECT_EQ(steps().at(number - 1), step);
            const bool bNew = bReplaced || (step == "rename" && fault == "DiesAfter");
            EXPECT_TRUE(record() == (bNew ? newRecord : oldRecord)) << "the record is\n" << record();
            if (!bDies) {
                EXPECT_FALSE(hasNewFile()) << "a failed save has left its new file";
            }
            runUndisturbed(installCommand(product()));
            EXPECT_FALSE(hasNewFile()) << "after the next run";
            EXPECT_EQ(FileTree::difference(treeAfter, root().tree()), "") << "after the next run";
            bReplaced = bReplaced || step == "rename";
            ++runs;
        }
    }
    printFigures("SaveOfTheRecord: " + std::to_string(known.size()) + " steps, " + std::to_string(runs) +
                 " disturbed runs");
}

TEST_F(SaveFault, FailureIsReported) {
    start->restore();
    const ProgramResult result = install(1, "ENOSPC");
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardError, "");
    ExpectLog(result,
              {"Checking file consistency in source folder", recordNotSaved("No space left on device")});
    EXPECT_EQ(record(), oldRecord);
}

#endif
