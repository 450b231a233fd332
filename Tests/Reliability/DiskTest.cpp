// Disks that are full, that can only be read, and folders in which the user may not write.
#include "Tests/Reliability/DisturbedRun.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>

namespace fs = std::filesystem;

namespace {

const char* const noUninstaller = "Error: Can't copy Uninstall.app to target folder";

/// Puts a disk of its own in the place of one folder for one run.
class Disk : public DisturbedRun {
protected:
    static constexpr const char* plugIns = "/Library/OFX/Plugins";
    static constexpr const char* uninstallers = "/Applications/Vorlane Uninstallers";

    void SetUp() override {
        DisturbedRun::SetUp();
        if (!IsSkipped() && !canMount()) {
            GTEST_SKIP() << "no right to mount a disk in a name space of its own";
        }
        if (!IsSkipped()) {
            root().makeFolder(statusFolder);
        }
    }

    static ProductBuilder product() {
        return ProductBuilder("ALPHA", "Alpha")
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .target("VorlaneFX/Presets",
                    "/Users/anna/Presets") // nothing but the record is in the status folder
            .target("Hosts/OpenFX", plugIns)
            .file("VorlaneFX/Presets/p", "p")
            .file("Hosts/OpenFX/Blur/big", std::string(64UL << 10, 'b'))
            .file("Hosts/OpenFX/Blur/bundle/part", "part");
    }

    static std::string longRecord() {
        std::string text =
            "<install>\n    <products>\n        <sku ID=\"BETA\" name=\"Beta\" build=\"1.0.0.7\" />\n"
            "    </products>\n    <installFiles>\n";
        for (int i = 1000; i < 1120; ++i) {
            text +=
                "        <file fileName=\"look" + std::to_string(i) + "\" ref=\"1\" build=\"1.0.0.7\" />\n";
        }
        return text + "    </installFiles>\n</install>\n";
    }

    /// Runs the command while shell text has mounted a disk over `folder`. What is then in it can be read
    /// below /var/after.
    ProgramResult runWithDisk(const Command& command, const std::string& folder,
                              const std::string& mounting) {
        root().makeFolder(folder);
        root().remove("/var/after");
        root().makeFolder("/var/after");
        Command mounted{"/bin/sh", "-c",
                        "folder=$1; shift; { " + mounting +
                            "; } || exit 99\n\"$@\"; status=$?\ncp -a \"$folder/.\" /var/after; exit $status",
                        "sh", folder};
        mounted.insert(mounted.end(), command.begin(), command.end());
        ProgramResult result = root().run(mounted);
        EXPECT_FALSE(result.bTimedOut);
        EXPECT_NE(result.exitStatus, 99) << "cannot mount: " << result.standardError;
        ExpectSentinels();
        return result;
    }

    /// A new disk that holds what the folder held. `limits` are options of the file system in memory.
    static std::string smallDisk(const std::string& limits) {
        return "mkdir -p /var/before && cp -a \"$folder/.\" /var/before && "
               "mount -t tmpfs -o " +
               limits + " none \"$folder\" && cp -a /var/before/. \"$folder\" && rm -r /var/before";
    }
    static std::string readOnlyDisk() {
        return "mount --bind \"$folder\" \"$folder\" && mount -o remount,bind,ro \"$folder\"";
    }

    bool isWholeAt(const std::string& folder) {
        return root().read(folder + "/big") == std::string(64UL << 10, 'b') &&
               root().read(folder + "/bundle/part") == "part";
    }
    void ExpectRepair() {
        runUndisturbed(installCommand(product()));
        EXPECT_TRUE(isWholeAt(plugIns));
        EXPECT_TRUE(root().exists(uninstallerOf(product()) + "/Contents/target_path.xml"));
        const Lines lines = counts();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "product ALPHA, Alpha, 1.0.0.100"), 1);
    }

private:
    /// Never without a name space of mounts: the disk would stay on this machine.
    bool canMount() {
        std::error_code error;
        const std::string ours = fs::read_symlink("/proc/self/ns/mnt", error).string();
        const ProgramResult theirs = root().run({"readlink", "/proc/self/ns/mnt"});
        return !error && theirs.exitStatus == 0 && theirs.standardOutput != ours + "\n" &&
               root().run({"mount", "-t", "tmpfs", "none", "/tmp"}).exitStatus == 0;
    }
};

class FullDisk : public Disk {};
class ReadOnlyDisk : public Disk {};

/// The run is that of an ordinary user.
class NoPermission : public DisturbedRun {
protected:
    void SetUp() override {
        DisturbedRun::SetUp();
        if (IsSkipped()) {
            return;
        }
        fs::permissions(root().outside("/"), fs::perms(0755));
        if (root().run(asAnna({"true"})).exitStatus != 0) {
            GTEST_SKIP() << "no right to become another user";
        }
    }

    static Command asAnna(Command command) {
        const Command become{"chroot", "--userspec=501:20", "/"};
        command.insert(command.begin(), become.begin(), become.end());
        return command;
    }

    static ProductBuilder product() {
        return ProductBuilder("ALPHA", "Alpha")
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .target("Content", "/Users/anna/Movies")
            .file("VorlaneFX/a", "a")
            .file("Content/c", "c");
    }
    void giveToAnna(const std::string& path) {
        const ProgramResult result = runProgram({"chown", "501:20", root().outside(path).string()});
        ASSERT_EQ(result.exitStatus, 0) << result.standardError;
    }
};

} // namespace

// Full

TEST_F(FullDisk, OfATargetIsReportedAndRepeatingRepairs) {
    place(product());
    const ProgramResult result = runWithDisk(installCommand(product()), plugIns, smallDisk("size=16k"));
    ExpectSuccess(result);
    EXPECT_TRUE(hasLine(result, failedCopy("Hosts/OpenFX/Blur/big", std::string(plugIns) + "/big")));
    EXPECT_THAT(result.standardOutput, testing::HasSubstr("Installation warning"));
    EXPECT_THAT(result.standardError, testing::HasSubstr("No space left on device"));
    EXPECT_LT(root().read("/var/after/big").size(), 64UL << 10) << "what fits stays";
    EXPECT_EQ(counts().at(0), "product ALPHA, Alpha, 1.0.0.100");
    ExpectRepair();
}

TEST_F(FullDisk, OfTheRecordIsReportedLeavesTheOldOneAndInstallsTheFiles) {
    // Without room for the bytes of the new record, and without room for its name.
    for (const char* limits : {"size=12k", "nr_inodes=2"}) {
        SCOPED_TRACE(limits);
        root().write(recordPath, longRecord());
        place(product());
        const ProgramResult result = runWithDisk(installCommand(product()), statusFolder, smallDisk(limits));
        ExpectSuccess(result);
        ExpectLog(result, {checking, recordNotSaved("No space left on device")});
        EXPECT_TRUE(root().read("/var/after/InstallationStatusFile.xml") == longRecord());
        EXPECT_FALSE(root().exists("/var/after/InstallationStatusFile.xml.new"));
        EXPECT_TRUE(isWholeAt(plugIns));
        ExpectRepair();
    }
}

TEST_F(FullDisk, OfTheRecordAtTheUninstallLeavesTheOldOneAndRepeatingRepairs) {
    root().write(recordPath, longRecord());
    Install(product());
    const std::string installed = record();
    const ProgramResult result =
        runWithDisk(uninstallCommand(product()), statusFolder, smallDisk("nr_inodes=2"));
    ExpectSuccess(result);
    EXPECT_TRUE(root().read("/var/after/InstallationStatusFile.xml") == installed);
    EXPECT_FALSE(root().exists(std::string(plugIns) + "/big"));
    ExpectSuccess(Uninstall(product()));
    EXPECT_EQ(counts().at(0), "product BETA, Beta, 1.0.0.7");
    EXPECT_EQ(counts().size(), 121U);
}

TEST_F(FullDisk, OfTheUninstallersIsReportedAndTheRestIsInstalled) {
    place(product());
    const ProgramResult result = runWithDisk(installCommand(product()), uninstallers, smallDisk("size=64k"));
    ExpectSuccess(result);
    ExpectLog(result, {checking, noUninstaller});
    EXPECT_TRUE(isWholeAt(plugIns));
    EXPECT_EQ(counts().at(0), "product ALPHA, Alpha, 1.0.0.100");
    ExpectRepair();
}

// Read only

TEST_F(ReadOnlyDisk, OfATargetIsReportedAndLeft) {
    place(product());
    root().write(std::string(plugIns) + "/big", "old");
    const ProgramResult result = runWithDisk(installCommand(product()), plugIns, readOnlyDisk());
    ExpectSuccess(result);
    EXPECT_TRUE(hasLine(result, failedCopy("Hosts/OpenFX/Blur/big", std::string(plugIns) + "/big")));
    EXPECT_THAT(result.standardError, testing::HasSubstr("Read-only file system"));
    EXPECT_EQ(root().tree(plugIns), Lines{std::string(plugIns) + "/big: old"});
    ExpectRepair();
}

TEST_F(ReadOnlyDisk, OfTheRecordIsReportedLeavesTheOldOneAndInstallsTheFiles) {
    root().write(recordPath, longRecord());
    place(product());
    const ProgramResult result = runWithDisk(installCommand(product()), statusFolder, readOnlyDisk());
    ExpectSuccess(result);
    ExpectLog(result, {checking, recordNotSaved("Read-only file system")});
    EXPECT_TRUE(record() == longRecord());
    EXPECT_TRUE(isWholeAt(plugIns));
    ExpectRepair();
}

TEST_F(ReadOnlyDisk, OfTheUninstallersIsReported) {
    place(product());
    const ProgramResult result = runWithDisk(installCommand(product()), uninstallers, readOnlyDisk());
    ExpectSuccess(result);
    ExpectLog(result, {checking, noUninstaller});
    EXPECT_TRUE(isWholeAt(plugIns));
    ExpectRepair();
}

TEST_F(ReadOnlyDisk, KeepsItsFilesAtTheUninstallThoughTheRecordCountsThemNoMore) {
    Install(product());
    const ProgramResult result = runWithDisk(uninstallCommand(product()), plugIns, readOnlyDisk());
    ExpectSuccess(result);
    EXPECT_THAT(result.standardError, testing::HasSubstr("Read-only file system"));
    EXPECT_TRUE(isWholeAt(plugIns));
    EXPECT_EQ(record(), noRecord);
    runUndisturbed(installCommand(product()));
    runUndisturbed(uninstallCommand(product()));
    EXPECT_FALSE(root().exists(std::string(plugIns) + "/big"));
}

TEST_F(ReadOnlyDisk, OfTheInstallerIsEnough) {
    place(product());
    const ProgramResult result =
        runWithDisk(installCommand(product()), PrivateRoot::installerFolder, readOnlyDisk());
    ExpectSuccess(result);
    ExpectLog(result, {checking});
    EXPECT_TRUE(isWholeAt(plugIns));
}

// No permission

TEST_F(NoPermission, ToWriteAnywhereIsReportedForEachAndChangesNothing) {
    place(product());
    const Lines before = root().tree();
    const ProgramResult result = root().run(asAnna(installCommand(product())));
    ExpectSuccess(result);
    for (const std::string& line :
         {failedCopy("VorlaneFX/a", std::string(statusFolder) + "/a"),
          failedCopy("Content/c", "/Users/anna/Movies/c"), std::string(noUninstaller)}) {
        EXPECT_THAT(logLines(result), testing::Contains(line));
    }
    EXPECT_EQ(FileTree::difference(before, root().tree()), "");
}

TEST_F(NoPermission, ToWriteTheRecordLeavesItAsItIs) {
    root().write(recordPath, "<install/>");
    root().makeFolder("/Users/anna/Movies");
    giveToAnna("/Users/anna/Movies");
    place(product());
    ExpectSuccess(root().run(asAnna(installCommand(product()))));
    EXPECT_EQ(record(), "<install/>");
    EXPECT_EQ(root().read("/Users/anna/Movies/c"), "c");
    // Nor where its folder is the user's own, but the record is not.
    giveToAnna(statusFolder);
    ExpectSuccess(root().run(asAnna(installCommand(product()))));
    EXPECT_EQ(record(), "<install/>");
    EXPECT_EQ(root().read(std::string(statusFolder) + "/a"), "a");
}

TEST_F(NoPermission, ToReadASourceFileIsReported) {
    place(product());
    root().makeFolder("/Users/anna/Movies");
    giveToAnna("/Users/anna/Movies");
    fs::permissions(root().outside(folderOf(product()) + "/files/Content/c"), fs::perms::none);
    const ProgramResult result = root().run(asAnna(installCommand(product())));
    ExpectSuccess(result);
    EXPECT_THAT(logLines(result), testing::Contains(failedCopy("Content/c", "/Users/anna/Movies/c")));
    EXPECT_FALSE(root().exists("/Users/anna/Movies/c"));
}

TEST_F(NoPermission, ToReadTheTargetsEndsTheRunBeforeItDoesAnything) {
    place(product());
    fs::permissions(root().outside(folderOf(product()) + "/target_path.xml"), fs::perms::none);
    const Lines before = root().tree();
    const ProgramResult result = root().run(asAnna(installCommand(product())));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(logLines(result), testing::Contains("Error: Can't find node <root> in target paths XML."));
    EXPECT_EQ(FileTree::difference(before, root().tree()), "");
}

TEST_F(NoPermission, ToRemoveFilesLeavesThemAndTheRecord) {
    Install(product());
    const Lines before = root().tree();
    const ProgramResult result = root().run(asAnna(uninstallCommand(product())));
    ExpectSuccess(result);
    EXPECT_EQ(FileTree::difference(before, root().tree()), "");
}
