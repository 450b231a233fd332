// What becomes of the record, and of the rights of what is installed, in whole runs of the real program.
#include "Tests/Support/EndToEndTest.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace {

class RecordOfRuns : public EndToEndTest {
protected:
    static ProductBuilder product(const std::string& id = "ALPHA") {
        return ProductBuilder(id, id)
            .target("VorlaneFX", statusFolder)
            .target("Content", "/Library/Content")
            .file("VorlaneFX/shared", "S")
            .file("VorlaneFX/" + id, id)
            .folder("Content/whole")
            .unlistedFile("Content/whole/part", "part");
    }
    static ProductBuilder common() {
        ProductBuilder result("COMMON", "Shared Files");
        result.target("VorlaneFX", statusFolder)
            .file("VorlaneFX/SKU/COMMON.xml", "")
            .file("VorlaneFX/manager", "M");
        return result.unlistedFile("VorlaneFX/SKU/COMMON.xml", result.definition());
    }
    static std::string notListed(const std::string& id) {
        return "Warning: The record does not list the product '" + id + "'. No count is lowered.";
    }
    std::string record() { return root().read(shared("InstallationStatusFile.xml")); }
    /// The command with shell text before it, in the same process.
    static std::vector<std::string> after(const std::string& shellText,
                                          const std::vector<std::string>& command) {
        std::vector<std::string> whole{"/bin/sh", "-c", shellText + "; exec \"$@\"", "sh"};
        whole.insert(whole.end(), command.begin(), command.end());
        return whole;
    }
};

} // namespace

TEST_F(RecordOfRuns, UninstallOfWhatIsNotThereTakesNothingFromOthers) {
    Install(product());
    Install(product("BETA"));
    ExpectSuccess(Uninstall(product()));
    const Lines before = root().tree();
    for (const ProductBuilder& gone :
         {product(), product("GAMMA")}) { // uninstalled before, and never installed
        const ProgramResult result = Uninstall(gone);
        ExpectSuccess(result);
        EXPECT_EQ(logLines(result), Lines{notListed(gone.id())});
        EXPECT_EQ(FileTree::difference(before, root().tree()), "");
    }
}

TEST_F(RecordOfRuns, UninstallThatDiedAfterItsSaveIsCompleted) {
    // What a run that is killed between its save and the shared package leaves: the record with COMMON alone.
    Install(common());
    const ProgramResult result = Uninstall(product());
    ExpectSuccess(result);
    EXPECT_EQ(logLines(result).at(0), notListed("ALPHA"));
    ExpectTree({std::string(statusFolder) + "/"});
}

TEST_F(RecordOfRuns, DamagedRecordIsKeptThroughAnInstallAndAnUninstall) {
    Install(product());
    const std::string whole = record();
    const std::string half = whole.substr(0, whole.size() / 2);
    root().write(shared("InstallationStatusFile.xml"), half);
    const std::string kept = shared("InstallationStatusFile.xml.damaged");
    ProgramResult result = Install(product("BETA"));
    ExpectSuccess(result);
    ExpectLog(result, {"Checking file consistency in source folder",
                       "Error: The record '" + shared("InstallationStatusFile.xml") +
                           "' is damaged. It is kept as '" + kept + "'."});
    EXPECT_EQ(root().read(kept), half);
    ExpectSuccess(Uninstall(product("BETA")));
    EXPECT_EQ(root().read(kept), half);
}

TEST_F(RecordOfRuns, PipeInThePlaceOfTheRecordHangsNoRun) {
    root().makeFolder(statusFolder);
    const std::string pipe = shared("InstallationStatusFile.xml");
    ASSERT_EQ(mkfifo(root().outside(pipe).c_str(), 0644), 0);
    const std::string line =
        "Error: The record '" + pipe +
        "' cannot be read (it is no regular file). It stays as it is, and this run is not recorded.";
    for (const bool bUninstall : {false, true}) {
        const ProgramResult result = bUninstall ? Uninstall(product()) : Install(product());
        EXPECT_FALSE(result.bTimedOut);
        ExpectSuccess(result);
        EXPECT_TRUE(hasLine(result, line));
    }
    struct stat status {};
    EXPECT_TRUE(lstat(root().outside(pipe).c_str(), &status) == 0 && S_ISFIFO(status.st_mode));
}

TEST_F(RecordOfRuns, CallersUmaskKeepsNobodyFromLoadingWhatIsInstalled) {
    const ProductBuilder alpha = product();
    ExpectSuccess(Install(alpha));
    const Lines usual = root().tree();
    takeNewMachine();
    place(alpha);
    for (const char* mask : {"077", "027", "000"}) {
        ExpectSuccess(root().run(after(std::string("umask ") + mask, installCommand(alpha))));
        EXPECT_EQ(FileTree::difference(usual, root().tree()), "") << mask;
    }
}

TEST_F(RecordOfRuns, LimitOfTheSizeOfFilesEndsNoRunAndIsReported) {
    ProductBuilder alpha = product();
    for (int i = 0; i < 60; ++i) {
        alpha.file("VorlaneFX/file with a rather long name " + std::to_string(i), "");
    }
    place(alpha);
    // In blocks of 512 bytes: enough for the files, not for the record.
    const ProgramResult result = root().run(after("ulimit -f 4", installCommand(alpha)));
    ExpectSuccess(result);
    EXPECT_TRUE(hasLine(result, "Error: The record '" + shared("InstallationStatusFile.xml") +
                                    "' cannot be saved (File too large)."));
    EXPECT_FALSE(root().exists(shared("InstallationStatusFile.xml")));
}
