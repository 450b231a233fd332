#include "Foundation/SimpleLog.h"
#include "Tests/Engine/EngineTest.h"
#include "Tests/Support/WorkingFolder.h"

namespace fs = std::filesystem;

namespace {

class Uninstall : public EngineTest {
protected:
    /// The record lies in a folder of its own, so that "target" holds what the walk makes of it alone. No
    /// file goes there, and saving makes no folders.
    void SetUp() override { fs::create_directories(at("status")); }
    ProductBuilder product(const std::string& id = "ALPHA") const {
        ProductBuilder result(id, "Alpha");
        result.target("VorlaneFX", at("status"))
            .target("VorlaneFX/Sub", at("target"))
            .unlistedFile("VorlaneFX/u", "");
        return result;
    }

    static std::string cannotRemove(const std::string& path) {
        return "Error: Cannot remove file '" + path + "'";
    }
};

const ProductBuilder::Attributes kept{{"dontdelete", "1"}};

} // namespace

// What goes and what stays

TEST_F(Uninstall, RemovesFilesFoldersAndTheRecord) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A").file("VorlaneFX/Sub/d/e/b", "B");
    install(alpha);
    write("target/stranger", "stays");
    uninstall(alpha);
    expectTree({"target/stranger: stays", "status/"});
}

TEST_F(Uninstall, SaysWhatItRemovesAndReportsEveryRemovedFile) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A").file("VorlaneFX/Sub/dir/b", "B");
    install(alpha);
    SimpleLog::bEnableDebugLogs = true;
    EXPECT_EQ(uninstall(alpha), (Lines{"DEBUG: Delete '$T/target/dir/b'", cannotRemove("$T/target/dir/b"),
                                       "DEBUG: Delete empty dir '$T/target/dir'",
                                       "DEBUG: Delete '$T/target/a'", cannotRemove("$T/target/a")}));
}

TEST_F(Uninstall, RemovesFromEveryTargetFolder) {
    const ProductBuilder alpha = product().target("VorlaneFX/Sub", at("second")).file("VorlaneFX/Sub/a", "A");
    install(alpha);
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/target/a"), cannotRemove("$T/second/a")}));
    expectTree({"target/", "second/", "status/"});
}

TEST_F(Uninstall, FileThatAnotherProductUsesStaysWithoutAWord) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A").file("VorlaneFX/Sub/own", "O");
    install(alpha);
    install(product("BETA").file("VorlaneFX/Sub/a", "A"));
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/target/own")}));
    EXPECT_EQ(read("target/a"), "A");
    EXPECT_TRUE(exists("status/InstallationStatusFile.xml"));
    uninstall(product("BETA").file("VorlaneFX/Sub/a", "A"));
    expectTree({"target/", "status/"});
}

TEST_F(Uninstall, FolderThatAnotherProductUsesStaysThoughEmpty) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/d/a", "A");
    install(alpha);
    install(product("BETA").file("VorlaneFX/Sub/d/b", "B"));
    fs::remove(at("target/d/b"));
    uninstall(alpha);
    EXPECT_TRUE(exists("target/d"));
}

TEST_F(Uninstall, FileMarkedToStayStays) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A", kept).file("VorlaneFX/Sub/b", "B");
    install(alpha);
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/target/b")}));
    expectTree({"target/a: A", "status/"});
}

TEST_F(Uninstall, FolderMarkedToStayKeepsAllBelowIt) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/Sub/d/a", "A", {{"dontdelete", "0"}})
                                     .file("VorlaneFX/Sub/d/e/b", "B")
                                     .folder("VorlaneFX/Sub/d/empty")
                                     .folder("VorlaneFX/Sub/d", kept);
    install(alpha);
    EXPECT_EQ(uninstall(alpha), Lines());
    expectTree({"target/d/a: A", "target/d/e/b: B", "target/d/empty/", "status/"});
}

TEST_F(Uninstall, BranchMarkedToStayIsNotTouched) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/Sub/a", "A")
                                     .file("VorlaneFX/b", "B", {{"dontdelete", "0"}})
                                     .folder("VorlaneFX", kept);
    install(alpha);
    EXPECT_EQ(uninstall(alpha), Lines());
    expectTree({"target/a: A", "status/b: B"});
}

TEST_F(Uninstall, EmptyFolderMarkedToStayStays) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/d/a", "A").folder("VorlaneFX/Sub/d", kept);
    install(alpha);
    fs::remove(at("target/d/a"));
    EXPECT_EQ(uninstall(alpha), Lines());
    expectTree({"target/d/", "status/"});
}

TEST_F(Uninstall, FileThatIsAFolderIsRemovedWholeAndWithoutAnError) {
    const ProductBuilder alpha =
        product().listedFile("VorlaneFX/Sub/a.bundle").unlistedFile("VorlaneFX/Sub/a.bundle/x/y", "Y");
    install(alpha);
    write("target/a.bundle/stranger", "goes too");
    EXPECT_EQ(uninstall(alpha), Lines());
    expectTree({"target/", "status/"});
}

TEST_F(Uninstall, FolderInstalledAsOnePieceIsRemovedWhole) {
    const ProductBuilder alpha =
        product().folder("VorlaneFX/Sub/whole").unlistedFile("VorlaneFX/Sub/whole/x", "X");
    install(alpha);
    write("target/whole/stranger", "goes too");
    SimpleLog::bEnableDebugLogs = true;
    EXPECT_EQ(uninstall(alpha),
              (Lines{"DEBUG: Delete dir '$T/target/whole'", "DEBUG: Delete empty dir '$T/target/whole'"}));
    expectTree({"target/", "status/"});
}

TEST_F(Uninstall, FolderInstalledAsOnePieceStaysWhileAnotherProductUsesIt) {
    const ProductBuilder alpha =
        product().folder("VorlaneFX/Sub/whole").unlistedFile("VorlaneFX/Sub/whole/x", "X");
    install(alpha);
    install(product("BETA").folder("VorlaneFX/Sub/whole").unlistedFile("VorlaneFX/Sub/whole/x", "X"));
    uninstall(alpha);
    EXPECT_TRUE(exists("target/whole/x"));
}

TEST_F(Uninstall, FolderThatCannotBeRemovedWholeIsAnError) {
    const ProductBuilder alpha =
        product().folder("VorlaneFX/Sub/whole").unlistedFile("VorlaneFX/Sub/whole/x", "X");
    install(alpha);
    machine.failing = {"rm -rf"};
    EXPECT_EQ(uninstall(alpha), (Lines{"Error: Failed to remove '$T/target/whole'"}));
}

TEST_F(Uninstall, FolderThatStrangersUseStays) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/d/a", "A");
    install(alpha);
    write("target/d/stranger", "stays");
    uninstall(alpha);
    expectTree({"target/d/stranger: stays", "status/"});
}

TEST_F(Uninstall, MissingFolderIsAWarning) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/d/e/a", "A");
    install(alpha);
    fs::remove_all(at("target/d"));
    SimpleLog::bEnableDebugLogs = true;
    EXPECT_EQ(uninstall(alpha),
              (Lines{"Warning: Src path '$T/target/d' not found", "DEBUG: Delete empty dir '$T/target/d'"}));
}

TEST_F(Uninstall, RunsExactlyTheseCommands) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/Sub/d/a", "A")
                                     .listedFile("VorlaneFX/Sub/b.bundle")
                                     .unlistedFile("VorlaneFX/Sub/b.bundle/x", "X");
    install(alpha);
    commands();
    uninstall(alpha);
    EXPECT_EQ(commands(), (Lines{"rm -rf \"$T/target/b.bundle\"", "rm -f \"$T/target/d/a\"",
                                 "rmdir \"$T/target/d\"", "rm -f \"$T/status/InstallationStatusFile.xml\""}));
}

// When the removal of a file is reported

TEST_F(Uninstall, RemovedFileIsReportedAsOneThatCannotBe) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A");
    install(alpha);
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/target/a")}));
    EXPECT_FALSE(exists("target/a"));
}

TEST_F(Uninstall, FileThatCannotBeRemovedIsNotReported) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A");
    install(alpha);
    machine.failing = {"rm -f \"" + at("target")};
    commands();
    EXPECT_EQ(uninstall(alpha), Lines());
    EXPECT_TRUE(exists("target/a"));
    EXPECT_EQ(commands(), (Lines{"rm -f \"$T/target/a\"", "rm -f \"$T/status/InstallationStatusFile.xml\""}));
}

TEST_F(Uninstall, MissingFileIsReported) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A");
    install(alpha);
    fs::remove(at("target/a"));
    commands();
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/target/a")}));
    EXPECT_EQ(commands(), (Lines{"rm -f \"$T/status/InstallationStatusFile.xml\""}));
}

TEST_F(Uninstall, FolderInThePlaceOfAFileIsRemovedAndNotReported) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A");
    install(alpha);
    fs::remove(at("target/a"));
    write("target/a/x", "X");
    EXPECT_EQ(uninstall(alpha), Lines());
    expectTree({"target/", "status/"});
}

TEST_F(Uninstall, FolderInThePlaceOfAFileThatCannotBeRemovedIsReported) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A");
    install(alpha);
    fs::remove(at("target/a"));
    write("target/a/x", "X");
    machine.failing = {"rm -rf"};
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/target/a")}));
}

TEST_F(Uninstall, DanglingLinkInThePlaceOfAFileIsReportedAndStays) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A");
    install(alpha);
    fs::remove(at("target/a"));
    fs::create_symlink("nowhere", at("target/a"));
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/target/a")}));
    EXPECT_TRUE(exists("target/a"));
}

// Shortcuts

TEST_F(Uninstall, ShortcutGoesWithItsFile) {
    const ProductBuilder alpha =
        product().file("VorlaneFX/Sub/a", "A").shortCut("VorlaneFX/Sub/a", "Tool", "/Elsewhere");
    install(alpha);
    commands();
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/target/a")}));
    EXPECT_EQ(commands(), (Lines{"rm -f \"$T/target/a\"", "rm -f \"/Applications/Tool\"",
                                 "rm -f \"$T/status/InstallationStatusFile.xml\""}));
}

TEST_F(Uninstall, ShortcutGoesEvenWhenTheFileCannotBeRemoved) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A").shortCut("VorlaneFX/Sub/a", "Tool");
    install(alpha);
    machine.failing = {"rm -f \"" + at("target"), "rm -f \"/Applications"};
    commands();
    EXPECT_EQ(uninstall(alpha), Lines());
    EXPECT_EQ(commands().at(1), "rm -f \"/Applications/Tool\"");
}

TEST_F(Uninstall, ShortcutOfAFileThatStaysStays) {
    const auto withShortCut = [this](const char* id) {
        return product(id).file("VorlaneFX/Sub/a", "A").shortCut("VorlaneFX/Sub/a", "Tool");
    };
    install(withShortCut("ALPHA"));
    install(withShortCut("BETA"));
    commands();
    uninstall(withShortCut("ALPHA"));
    EXPECT_EQ(commands(), Lines());
}

TEST_F(Uninstall, ShortcutWithoutFolderMakesNoLine) {
    const ProductBuilder alpha =
        product().file("VorlaneFX/Sub/a", "A").shortCut("VorlaneFX/Sub/a", "Tool", "");
    install(alpha);
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/target/a")}));
}

// The branches

TEST_F(Uninstall, SharedFilesGoBeforeHostsAndContentLast) {
    const ProductBuilder alpha = ProductBuilder("ALPHA")
                                     .family("A")
                                     .family("B")
                                     .file("VorlaneFX/a", "")
                                     .file("Hosts/Edius/B/a", "")
                                     .file("Hosts/Edius/A/a", "")
                                     .file("Hosts/OpenFX/A/a", "")
                                     .file("Content/a", "")
                                     .target("VorlaneFX", at("shared %FAMILY%"))
                                     .target("Hosts/Edius", at("edius %FAMILY%"))
                                     .target("Hosts/OpenFX", at("openfx %FAMILY%"))
                                     .target("Content", at("content %FAMILY%"));
    fs::create_directories(at("shared A"));
    install(alpha);
    // While installing, the shared files went below the last family; the first one holds the record.
    EXPECT_EQ(uninstall(alpha), (Lines{cannotRemove("$T/shared A/a"), cannotRemove("$T/openfx A/a"),
                                       cannotRemove("$T/edius A/a"), cannotRemove("$T/edius B/a"),
                                       cannotRemove("$T/content B/a")}));
    EXPECT_EQ(engine.currentFamily, VLString("B"));
}

TEST_F(Uninstall, HostWithoutItemIsSkippedWithAWarning) {
    const ProductBuilder alpha =
        product().family("A").file("Hosts/Edius/A/a", "").target("Hosts/Edius", at("edius"));
    install(alpha);
    EXPECT_EQ(uninstall(product().family("A").file("Hosts/Edius/A/a", "")),
              (Lines{"Warning: Can't find 'Edius' host install info"}));
    EXPECT_TRUE(exists("edius/a"));
}

TEST_F(Uninstall, FamilyThatTheDefinitionLacksIsSkippedWithAWarning) {
    const ProductBuilder alpha =
        product().family("A").file("Hosts/Edius/A/a", "").target("Hosts/Edius", at("edius"));
    install(alpha);
    EXPECT_EQ(uninstall(product().family("B").file("Hosts/Edius/A/a", "").target("Hosts/Edius", at("edius"))),
              (Lines{"Warning: Family 'A' not found in SKU XML, while exists in file tree."}));
    EXPECT_TRUE(exists("edius/a"));
}

TEST_F(Uninstall, ContentWithoutItemIsAnError) {
    install(product().file("Content/a", "").target("Content", at("content")));
    EXPECT_EQ(uninstall(product().file("Content/a", "")),
              (Lines{"Error: Has content section in SKU but can't find info for its uninstalling"}));
    EXPECT_TRUE(exists("content/a"));
}

TEST_F(Uninstall, WarningsStandWhereTheirBranchWouldBeRemoved) {
    const auto alpha = [this] {
        return product()
            .family("A")
            .file("VorlaneFX/Sub/s", "")
            .file("Hosts/Edius/A/a", "")
            .file("Hosts/OpenFX/A/o", "")
            .file("Hosts/X/A/c", "")
            .file("Content/e", "")
            .target("Hosts/Edius", at("edius"))
            .target("Hosts/X", at("x"));
    };
    install(alpha().target("Hosts/OpenFX", at("openfx")).target("Content", at("content")));
    EXPECT_EQ(
        uninstall(alpha().file("Hosts/Edius/B/b", "")),
        (Lines{cannotRemove("$T/target/s"), "Warning: Can't find 'OpenFX' host install info",
               cannotRemove("$T/edius/a"),
               "Warning: Family 'B' not found in SKU XML, while exists in file tree.", cannotRemove("$T/x/c"),
               "Error: Has content section in SKU but can't find info for its uninstalling"}));
}

TEST_F(Uninstall, SubItemTakesItsFolderAwayFromTheItemsOwnTargets) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A");
    install(alpha);
    write("status/Sub/a", "not this one");
    uninstall(alpha);
    expectTree({"target/", "status/Sub/a: not this one"});
}

TEST_F(Uninstall, SubItemNamedLikeAFileRemovesNothing) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub", "S");
    install(alpha);
    write("target/stranger", "stays");
    EXPECT_EQ(uninstall(alpha), Lines());
    expectTree({"target/stranger: stays", "status/"});
}

// The record

TEST_F(Uninstall, WithoutStatusFolderTheTreeIsWalkedButNothingGoes) {
    const ProductBuilder alpha =
        ProductBuilder("ALPHA").family("A").file("Hosts/Edius/A/d/a", "").target("Hosts/Edius", at("edius"));
    install(alpha);
    EXPECT_EQ(uninstall(alpha), Lines());
    expectTree({"edius/d/a: ", "status/"});
    fs::remove_all(at("edius/d"));
    EXPECT_EQ(uninstall(alpha), (Lines{"Warning: Src path '$T/edius/d' not found"}))
        << "the walk itself takes place";
}

TEST_F(Uninstall, RecordIsSavedForTheProductsThatAreLeft) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A").file("VorlaneFX/Sub/b", "B");
    install(alpha);
    install(product("BETA").file("VorlaneFX/Sub/b", "B"));
    uninstall(alpha);
    StatusFile record;
    record.parse(at("status/InstallationStatusFile.xml").c_str());
    ASSERT_EQ(record.getProductList().size(), 1U);
    EXPECT_EQ(record.getProductList().front().ID, VLString("BETA"));
    EXPECT_EQ(record.getFileInfo("VorlaneFX/Sub/a"), nullptr);
    EXPECT_EQ(record.getFileInfo("VorlaneFX/Sub/b")->ref, 1);
}

TEST_F(Uninstall, RecordIsSavedEvenWhenRemovalsFail) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A");
    install(alpha);
    install(product("BETA").file("VorlaneFX/Sub/b", "B"));
    machine.failing = {"rm"};
    uninstall(alpha);
    StatusFile record;
    record.parse(at("status/InstallationStatusFile.xml").c_str());
    EXPECT_FALSE(record.hasProduct(VLString("ALPHA")));
}

// The shared package

namespace {

/// A machine on which nothing is installed.
class MachineWithoutLibrary : public RecordingMachine {
public:
    mode_t typeOf(const VLString& path) override {
        return path.IndexOf("/Library/", 0) == 0 ? 0 : RecordingMachine::typeOf(path);
    }
};

} // namespace

TEST_F(Uninstall, WithoutStatusFolderTheSharedPackageIsDefinedInTheUsualFolder) {
    MachineWithoutLibrary bare;
    Machine::setCurrent(&bare);
    prepare(ProductBuilder("ALPHA"));
    engine.statusFile.addProduct({"COMMON", "Shared", "1", ""});
    EXPECT_EQ(
        logOf([&] { EXPECT_FALSE(engine.removeSharedPackageIfLast(VLString())); }),
        (Lines{"Error: Postflight failed: sku xml not found",
               "Error: Error! Source dir '/Library/Application Support/Vorlane/SKU/COMMON.xml' is empty",
               ""}));
    Machine::setCurrent(&machine);
}

// Tidying up above the targets

namespace {

class TidyUp : public EngineTest {
protected:
    void SetUp() override { fs::create_directories(at("status")); }
    /// Uninstalls a product whose one file has gone to `target`, a path inside the test's folder.
    void uninstallFrom(const std::string& target) {
        const ProductBuilder alpha = ProductBuilder("ALPHA")
                                         .target("VorlaneFX", at("status"))
                                         .target("VorlaneFX/Sub", at(target))
                                         .file("VorlaneFX/Sub/a", "A");
        install(alpha);
        commands();
        uninstall(alpha);
    }
};

} // namespace

TEST_F(TidyUp, RemovesEmptyFoldersUpToTheLastThatNamesTheFamily) {
    uninstallFrom("base/Vorlane/x/y");
    expectTree({"base/", "status/"});
    EXPECT_EQ(commands(), (Lines{"rm -f \"$T/base/Vorlane/x/y/a\"", "rmdir \"$T/base/Vorlane/x/y\"",
                                 "rmdir \"$T/base/Vorlane/x/\"", "rmdir \"$T/base/Vorlane/\"",
                                 "rm -f \"$T/status/InstallationStatusFile.xml\""}));
}

TEST_F(TidyUp, LeavesATargetThatDoesNotNameTheFamily) {
    uninstallFrom("base/x");
    expectTree({"base/x/", "status/"});
}

TEST_F(TidyUp, FindsTheNameInAnyCaseAnywhereInThePath) {
    uninstallFrom("base/My vORLANEs/x/y");
    expectTree({"base/", "status/"});
}

TEST_F(TidyUp, TakesASlashAtTheEndOfTheTarget) {
    uninstallFrom("base/Vorlane/x/");
    expectTree({"base/", "status/"});
}

TEST_F(TidyUp, FolderThatIsNotEmptyStaysAndTheClimbGoesOn) {
    write("base/Vorlane/x/stranger", "stays");
    uninstallFrom("base/Vorlane/x/y");
    expectTree({"base/Vorlane/x/stranger: stays", "status/"});
    EXPECT_EQ(commands().at(3), "rmdir \"$T/base/Vorlane/\"") << "looked at, though the one below it stays";
}

TEST_F(TidyUp, LooksAtTenFoldersTheTargetIncluded) {
    uninstallFrom("vorlane/1/2/3/4/5/6/7/8/9/10/11");
    expectTree({"vorlane/1/", "status/"});
}

TEST_F(TidyUp, ReachesTheTenthFolder) {
    uninstallFrom("vorlane/1/2/3/4/5/6/7/8/9");
    expectTree({"status/"});
}

TEST_F(TidyUp, TakesPlaceEvenWhereNothingIsRemoved) {
    fs::create_directories(at("base/Vorlane"));
    prepare(ProductBuilder("ALPHA").folder("VorlaneFX").target("VorlaneFX", at("base/Vorlane")));
    engine.removeFilesRecursively(VLString(), node("VorlaneFX"), "VorlaneFX", item("VorlaneFX"));
    expectTree({"base/", "status/"});
}

TEST_F(TidyUp, TakesPlaceAtEveryLevel) {
    fs::create_directories(at("base/Vorlane/d"));
    prepare(ProductBuilder("ALPHA").folder("VorlaneFX/d").target("VorlaneFX", at("base/Vorlane")));
    engine.removeFilesRecursively(VLString(), node("VorlaneFX"), "VorlaneFX", item("VorlaneFX"));
    expectTree({"base/", "status/"});
}

// Without any target folder left

TEST_F(Uninstall, WithoutTargetsNamesAreRelativeToTheWorkingFolder) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/Sub/a", "A")
                                     .file("VorlaneFX/Sub/d/b", "B")
                                     .file("VorlaneFX/Sub/missing/c", "C");
    install(alpha);
    fs::remove_all(at("target"));
    write("work/a", "hit");
    write("work/d/b", "hit");
    write("work/stranger", "stays");
    SimpleLog::bEnableDebugLogs = true;
    const WorkingFolder work(at("work"));
    EXPECT_EQ(uninstall(alpha),
              (Lines{"Warning: Src path 'missing' not found", "DEBUG: Delete empty dir 'missing'",
                     "DEBUG: Delete 'a'", cannotRemove("a"), "DEBUG: Delete 'd/b'", cannotRemove("d/b"),
                     "DEBUG: Delete empty dir 'd'"}));
    expectTree({"work/stranger: stays", "status/"});
}

TEST_F(Uninstall, OneExistingTargetIsEnoughToKeepTheWorkingFolderOut) {
    const ProductBuilder alpha = product().target("VorlaneFX/Sub", at("second")).file("VorlaneFX/Sub/a", "A");
    install(alpha);
    fs::remove_all(at("target"));
    write("work/a", "stays");
    const WorkingFolder work(at("work"));
    uninstall(alpha);
    expectTree({"work/a: stays", "second/", "status/"});
}

TEST_F(Uninstall, FolderInstalledAsOnePieceWithoutTargetsRemovesNothing) {
    const ProductBuilder alpha = product().folder("VorlaneFX/Sub").unlistedFile("VorlaneFX/Sub/x", "X");
    install(alpha);
    fs::remove_all(at("target"));
    write("work/x", "stays");
    SimpleLog::bEnableDebugLogs = true;
    const WorkingFolder work(at("work"));
    EXPECT_EQ(uninstall(alpha), (Lines{"DEBUG: Delete dir ''"}));
    expectTree({"work/x: stays", "status/"});
}

TEST_F(Uninstall, HandedFolderIsATargetBesideTheItems) {
    install(product().file("VorlaneFX/Sub/a", "A"));
    write("handed/a", "A");
    prepare(product().file("VorlaneFX/Sub/a", "A"));
    engine.loadStatusFile(at("status").c_str(), true);
    EXPECT_EQ(logOf([&] {
                  EXPECT_TRUE(engine.removeFilesRecursively(
                      at("handed").c_str(), node("VorlaneFX").children.at("Sub"), "VorlaneFX/Sub",
                      item("VorlaneFX").items.at("Sub")));
              }),
              (Lines{cannotRemove("$T/target/a"), cannotRemove("$T/handed/a")}));
}

TEST_F(Uninstall, MissingHandedFolderEndsTheWalkBeforeTheItemsTargets) {
    install(product().file("VorlaneFX/Sub/a", "A"));
    prepare(product().file("VorlaneFX/Sub/a", "A"));
    engine.loadStatusFile(at("status").c_str(), true);
    EXPECT_EQ(logOf([&] {
                  EXPECT_TRUE(
                      engine.removeFilesRecursively(at("gone").c_str(), node("VorlaneFX").children.at("Sub"),
                                                    "VorlaneFX/Sub", item("VorlaneFX").items.at("Sub")));
              }),
              (Lines{"Warning: Src path '$T/gone' not found"}));
    EXPECT_TRUE(exists("target/a"));
}
