#include "Foundation/SimpleLog.h"
#include "Tests/Engine/EngineTest.h"

namespace fs = std::filesystem;

namespace {

class RecursiveCopy : public EngineTest {
protected:
    /// A product whose shared files go to the folder "target".
    ProductBuilder product() const {
        ProductBuilder result("ALPHA", "Alpha");
        result.target("VorlaneFX", at("target"));
        return result;
    }

    /// Copies the branch of shared files with the record as an install of the product finds it.
    Lines copy(const ProductBuilder& product, bool bExpected = true) {
        return logOf([&] {
            prepare(product);
            engine.loadStatusFile(at("status").c_str(), false);
            EXPECT_EQ(copyBranch("VorlaneFX"), bExpected);
        });
    }
};

const ProductBuilder::Attributes ignored{{"ignoreinstallerrors", "1"}};

} // namespace

// Where files go

TEST_F(RecursiveCopy, FileGoesToEveryTargetInTheirOrder) {
    SimpleLog::bEnableDebugLogs = true;
    const Lines log =
        copy(product().target("VorlaneFX", at("second")).file("VorlaneFX/a", "A").file("VorlaneFX/bb", "B"));
    expectTree({"target/a: A", "target/bb: B", "second/a: A", "second/bb: B"});
    EXPECT_EQ(log, (Lines{"DEBUG: Copy '$T/product/files/VorlaneFX/bb' to '$T/target/bb'",
                          "DEBUG: Copy '$T/product/files/VorlaneFX/bb' to '$T/second/bb'",
                          "DEBUG: Copy '$T/product/files/VorlaneFX/a' to '$T/target/a'",
                          "DEBUG: Copy '$T/product/files/VorlaneFX/a' to '$T/second/a'"}));
}

TEST_F(RecursiveCopy, RunsExactlyTheseCommandsForAFile) {
    copy(product().file("VorlaneFX/a", "A").file("VorlaneFX/bb", "B"));
    EXPECT_EQ(commands(),
              (Lines{"mkdir -p \"$T/target\"", "rm -f \"$T/target/bb\"",
                     "cp -f \"$T/product/files/VorlaneFX/bb\" \"$T/target/bb\"", "rm -f \"$T/target/a\"",
                     "cp -f \"$T/product/files/VorlaneFX/a\" \"$T/target/a\""}));
}

TEST_F(RecursiveCopy, TargetSubPathIsOneMoreTarget) {
    const Lines log = logOf([&] {
        prepare(product().file("VorlaneFX/a", "A"));
        EXPECT_TRUE(engine.copyFilesRecursively(at("handed").c_str(), sourceOf("VorlaneFX"),
                                                node("VorlaneFX"), "VorlaneFX", item("VorlaneFX"), false));
    });
    expectTree({"target/a: A", "handed/a: A"});
    EXPECT_EQ(commands().at(1), "rm -f \"$T/target/a\"") << "the item's own targets come first";
}

TEST_F(RecursiveCopy, FolderIsCopiedBelowEachTargetAndMadeForItsFiles) {
    EXPECT_EQ(copy(product().target("VorlaneFX", at("second")).file("VorlaneFX/deep/er/a", "A")), Lines());
    expectTree({"target/deep/er/a: A", "second/deep/er/a: A"});
}

TEST_F(RecursiveCopy, FilesThatTheTreeDoesNotListStayBehind) {
    copy(product().file("VorlaneFX/a", "A").unlistedFile("VorlaneFX/b", "B"));
    expectTree({"target/a: A"});
}

TEST_F(RecursiveCopy, ItemWithoutTargetFoldersCopiesNothingAndSucceeds) {
    EXPECT_EQ(
        copy(ProductBuilder("ALPHA").item("VorlaneFX").file("VorlaneFX/a", "A").file("VorlaneFX/d/b", "B")),
        Lines());
    expectTree({});
    EXPECT_EQ(commands(), Lines());
}

TEST_F(RecursiveCopy, MissingSourceFolderIsPrintedAndFails) {
    const ProductBuilder alpha = product().listedFile("VorlaneFX/a");
    EXPECT_EQ(copy(alpha, false), (Lines{"Error! Src path '$T/product/files/VorlaneFX' not found"}));
    EXPECT_EQ(commands(), Lines());
}

TEST_F(RecursiveCopy, MissingSourceFolderFailsEvenWithoutTargetFolders) {
    EXPECT_EQ(copy(ProductBuilder("ALPHA").item("VorlaneFX").listedFile("VorlaneFX/a"), false),
              (Lines{"Error! Src path '$T/product/files/VorlaneFX' not found"}));
}

TEST_F(RecursiveCopy, TargetFoldersAreLookedForBeforeTheSourceFolder) {
    EXPECT_EQ(
        copy(ProductBuilder("ALPHA").target("VorlaneFX", "%REGKEY:Key%").listedFile("VorlaneFX/a"), false),
        (Lines{"Error: The pattern '%REGKEY:Key%' has a registry placeholder without \"::\"",
               "Error! Src path '$T/product/files/VorlaneFX' not found"}));
}

TEST_F(RecursiveCopy, MissingFolderInsideFailsAndTheOthersAreCopied) {
    EXPECT_EQ(copy(product().listedFile("VorlaneFX/missing/a").file("VorlaneFX/b", "B"), false),
              (Lines{"Error! Src path '$T/product/files/VorlaneFX/missing' not found"}));
    expectTree({"target/b: B"});
}

// Sub-items

TEST_F(RecursiveCopy, SubItemTakesItsFolderAwayFromTheItemsOwnTargets) {
    copy(product()
             .file("VorlaneFX/Sub/a", "A")
             .file("VorlaneFX/b", "B")
             .target("VorlaneFX/Sub", at("elsewhere")));
    expectTree({"target/b: B", "elsewhere/a: A"});
}

TEST_F(RecursiveCopy, SubItemIsVisitedOnceHoweverManyTargetsTheItemHas) {
    copy(product()
             .target("VorlaneFX", at("second"))
             .file("VorlaneFX/Sub/a", "A")
             .target("VorlaneFX/Sub", at("elsewhere")));
    EXPECT_EQ(commands(), (Lines{"mkdir -p \"$T/elsewhere\"", "rm -f \"$T/elsewhere/a\"",
                                 "cp -f \"$T/product/files/VorlaneFX/Sub/a\" \"$T/elsewhere/a\""}));
}

TEST_F(RecursiveCopy, SubItemIsNotCopiedToTheFolderThatIsHandedDown) {
    logOf([&] {
        prepare(product().file("VorlaneFX/Sub/a", "A").target("VorlaneFX/Sub", at("elsewhere")));
        EXPECT_TRUE(engine.copyFilesRecursively(at("handed").c_str(), sourceOf("VorlaneFX"),
                                                node("VorlaneFX"), "VorlaneFX", item("VorlaneFX"), false));
    });
    expectTree({"elsewhere/a: A"});
}

TEST_F(RecursiveCopy, SubItemWithoutTargetsKeepsItsFolderFromBeingCopied) {
    copy(product().file("VorlaneFX/Sub/a", "A").item("VorlaneFX/Sub"));
    expectTree({});
}

TEST_F(RecursiveCopy, SubItemsOfSubItemsServeTheNextLevel) {
    copy(product()
             .file("VorlaneFX/Sub/Deep/a", "A")
             .target("VorlaneFX/Sub", at("sub"))
             .target("VorlaneFX/Sub/Deep", at("deep")));
    expectTree({"deep/a: A"});
}

TEST_F(RecursiveCopy, SubItemsDoNotReachBelowAFolderWithoutItem) {
    copy(product().file("VorlaneFX/Plain/Sub/a", "A").target("VorlaneFX/Sub", at("elsewhere")));
    expectTree({"target/Plain/Sub/a: A"});
}

TEST_F(RecursiveCopy, SubItemIsFoundByTheExactNameAlone) {
    copy(product().file("VorlaneFX/Sub/a", "A").target("VorlaneFX/sub", at("elsewhere")));
    expectTree({"target/Sub/a: A"});
}

TEST_F(RecursiveCopy, FailureInASubItemFailsTheBranch) {
    copy(product()
             .listedFile("VorlaneFX/Sub/a")
             .target("VorlaneFX/Sub", at("elsewhere"))
             .file("VorlaneFX/b", "B"),
         false);
    expectTree({"target/b: B"});
}

TEST_F(RecursiveCopy, SubItemNamedLikeAFileFailsSinceAFileIsNoSourceFolder) {
    EXPECT_EQ(copy(product().file("VorlaneFX/a", "A").target("VorlaneFX/a", at("elsewhere")), false),
              (Lines{"Error! Src path '$T/product/files/VorlaneFX/a' not found"}));
    expectTree({});
}

TEST_F(RecursiveCopy, FamilyPlaceholderOfSubItemsStandsForTheCurrentFamily) {
    logOf([&] {
        prepare(product().file("VorlaneFX/Sub/a", "A").target("VorlaneFX/Sub", at("of-%FAMILY%")));
        engine.currentFamily = "Effects";
        EXPECT_TRUE(copyBranch("VorlaneFX"));
        EXPECT_EQ(engine.currentFamily, VLString("Effects"));
    });
    expectTree({"of-Effects/a: A"});
}

// What is there already

TEST_F(RecursiveCopy, FileThatTheRecordDoesNotAskToReplaceIsSkipped) {
    write("target/a", "newer");
    install(product().build("1.0.0.500").file("VorlaneFX/a", "newer"));
    SimpleLog::bEnableDebugLogs = true;
    commands();
    EXPECT_EQ(install(product().build("1.0.0.400").file("VorlaneFX/a", "older")),
              (Lines{"DEBUG: Skipped file: $T/target/a"}));
    EXPECT_EQ(read("target/a"), "newer");
    EXPECT_EQ(commands(), Lines());
}

TEST_F(RecursiveCopy, FileThatTheRecordDoesNotAskToReplaceIsCopiedWhereItIsMissing) {
    install(product().build("1.0.0.500").file("VorlaneFX/a", "newer"));
    fs::remove(at("target/a"));
    install(product().build("1.0.0.400").file("VorlaneFX/a", "older"));
    EXPECT_EQ(read("target/a"), "older");
}

TEST_F(RecursiveCopy, SkippingIsDecidedForEachTargetAlone) {
    const auto twoTargets = [this] { return product().target("VorlaneFX", at("second")); };
    install(twoTargets().build("1.0.0.500").file("VorlaneFX/a", "newer"));
    fs::remove(at("second/a"));
    SimpleLog::bEnableDebugLogs = true;
    EXPECT_EQ(install(twoTargets().build("1.0.0.400").file("VorlaneFX/a", "older")),
              (Lines{"DEBUG: Skipped file: $T/target/a",
                     "DEBUG: Copy '$T/product/files/VorlaneFX/a' to '$T/second/a'"}));
}

TEST_F(RecursiveCopy, FolderInThePlaceOfAFileCountsAsThere) {
    install(product().build("1.0.0.500").file("VorlaneFX/a", "newer"));
    fs::remove(at("target/a"));
    fs::create_directories(at("target/a"));
    SimpleLog::bEnableDebugLogs = true;
    EXPECT_EQ(install(product().build("1.0.0.400").file("VorlaneFX/a", "older")),
              (Lines{"DEBUG: Skipped file: $T/target/a"}));
}

TEST_F(RecursiveCopy, FileOfTheSameBuildIsReplaced) {
    install(product().file("VorlaneFX/a", "first"));
    install(product().file("VorlaneFX/a", "again"));
    EXPECT_EQ(read("target/a"), "again");
}

TEST_F(RecursiveCopy, OlderFileReplacesANewerOneWhereDowngradesAreAllowed) {
    install(product().build("1.0.0.500").file("VorlaneFX/a", "newer").file("VorlaneFX/b", "newer"));
    install(product()
                .build("1.0.0.400")
                .file("VorlaneFX/a", "older", {{"allowdowngrade", "1"}})
                .file("VorlaneFX/b", "older"));
    EXPECT_EQ(read("target/a"), "older");
    EXPECT_EQ(read("target/b"), "newer");
}

TEST_F(RecursiveCopy, LinkInThePlaceOfAFileIsReplacedAndItsTargetLeftAlone) {
    write("precious", "untouched");
    fs::create_directories(at("target"));
    fs::create_symlink(at("precious"), at("target/a"));
    copy(product().file("VorlaneFX/a", "A"));
    expectTree({"target/a: A", "precious: untouched"});
}

TEST_F(RecursiveCopy, FileThatIsAFolderOnDiskIsMergedIntoWhatIsThere) {
    write("target/a.bundle/old", "kept");
    copy(product()
             .listedFile("VorlaneFX/a.bundle")
             .unlistedFile("VorlaneFX/a.bundle/Contents/tool", "T", 0755)
             .unlistedFile("VorlaneFX/a.bundle/Contents/.hidden", "H"));
    expectTree({"target/a.bundle/old: kept", "target/a.bundle/Contents/tool 0755: T",
                "target/a.bundle/Contents/.hidden: H"});
}

// Failures

TEST_F(RecursiveCopy, ListedFileThatIsMissingIsReportedForEveryTarget) {
    EXPECT_EQ(
        copy(product().target("VorlaneFX", at("second")).listedFile("VorlaneFX/a").folder("VorlaneFX/d"),
             false),
        (Lines{"Error: Failed to copy '$T/product/files/VorlaneFX/a' to '$T/target/a'",
               "Error: Failed to copy '$T/product/files/VorlaneFX/a' to '$T/second/a'"}));
}

TEST_F(RecursiveCopy, IgnoredFailureIsAWarningAndSucceeds) {
    EXPECT_EQ(copy(product().listedFile("VorlaneFX/a", ignored).folder("VorlaneFX/d")),
              (Lines{"Warning: Failed to copy '$T/product/files/VorlaneFX/a' to '$T/target/a'"}));
}

TEST_F(RecursiveCopy, TargetFolderThatCannotBeMadeIsReportedByTheFilesOnly) {
    write("target", "a file is in the way");
    EXPECT_EQ(copy(product().file("VorlaneFX/a", "A"), false),
              (Lines{"Error: Failed to copy '$T/product/files/VorlaneFX/a' to '$T/target/a'"}));
    expectTree({"target: a file is in the way"});
}

TEST_F(RecursiveCopy, WalkGoesOnAfterAFailure) {
    copy(product().listedFile("VorlaneFX/first").file("VorlaneFX/d", "D"), false);
    expectTree({"target/d: D"});
}

// Longer names come first in every walk, so that "first" is before "2nd".

TEST_F(RecursiveCopy, LaterIgnoredFailureMakesTheResultTrueAgain) {
    copy(product().listedFile("VorlaneFX/first").listedFile("VorlaneFX/2nd", ignored).folder("VorlaneFX/d"),
         true);
}

TEST_F(RecursiveCopy, LaterFailureThatCountsMakesTheResultFalse) {
    copy(product().listedFile("VorlaneFX/first", ignored).listedFile("VorlaneFX/2nd").folder("VorlaneFX/d"),
         false);
}

TEST_F(RecursiveCopy, LaterSuccessDoesNotClearAFailure) {
    copy(product().listedFile("VorlaneFX/first").file("VorlaneFX/2nd", "B"), false);
}

TEST_F(RecursiveCopy, LaterIgnoredFailureClearsThatOfAFolder) {
    copy(product()
             .listedFile("VorlaneFX/folder/a")
             .folder("VorlaneFX/folder")
             .listedFile("VorlaneFX/2nd", ignored),
         true);
}

TEST_F(RecursiveCopy, FolderThatSucceedsDoesNotClearAFailure) {
    copy(product().listedFile("VorlaneFX/first").file("VorlaneFX/2nd/a", "A"), false);
}

TEST_F(RecursiveCopy, LaterFolderThatFailsMakesTheResultFalse) {
    copy(product()
             .listedFile("VorlaneFX/first", ignored)
             .listedFile("VorlaneFX/2nd/a")
             .folder("VorlaneFX/2nd"),
         false);
}

TEST_F(RecursiveCopy, IgnoringOfAFolderIsInheritedByItsFiles) {
    EXPECT_EQ(copy(product().listedFile("VorlaneFX/d/a").folder("VorlaneFX/d", ignored)),
              (Lines{"Warning: Failed to copy '$T/product/files/VorlaneFX/d/a' to '$T/target/d/a'"}));
}

// Folders that are installed as one piece

TEST_F(RecursiveCopy, FolderWithoutChildrenInTheTreeIsCopiedWhole) {
    SimpleLog::bEnableDebugLogs = true;
    const Lines log = copy(product()
                               .target("VorlaneFX", at("second"))
                               .folder("VorlaneFX/whole")
                               .unlistedFile("VorlaneFX/whole/a/b", "B", 0640));
    expectTree({"target/whole/a/b 0640: B", "second/whole/a/b 0640: B"});
    EXPECT_EQ(log, (Lines{"DEBUG: Copy '$T/product/files/VorlaneFX/whole' to '$T/target/whole'",
                          "DEBUG: Copy '$T/product/files/VorlaneFX/whole' to '$T/second/whole'"}));
}

TEST_F(RecursiveCopy, BranchWithoutChildrenInTheTreeIsCopiedWholeIntoTheTargets) {
    copy(product().folder("VorlaneFX").unlistedFile("VorlaneFX/a", "A"));
    expectTree({"target/a: A"});
}

TEST_F(RecursiveCopy, FolderThatCannotBeCopiedWholeIsReported) {
    write("target/whole", "a file is in the way");
    EXPECT_EQ(copy(product().folder("VorlaneFX/whole").unlistedFile("VorlaneFX/whole/a", "A"), false),
              (Lines{"Error: Failed to copy '$T/product/files/VorlaneFX/whole' to '$T/target/whole'"}));
}

TEST_F(RecursiveCopy, IgnoredFailureOfAFolderIsAWarning) {
    write("target/whole", "a file is in the way");
    EXPECT_EQ(copy(product().folder("VorlaneFX/whole", ignored).unlistedFile("VorlaneFX/whole/a", "A"), true),
              (Lines{"Warning: Failed to copy '$T/product/files/VorlaneFX/whole' to '$T/target/whole'"}));
}

TEST_F(RecursiveCopy, LinkToAFolderIsRemovedBeforeAFolderIsCopiedToItsPlace) {
    write("precious/a", "untouched");
    fs::create_directories(at("target"));
    fs::create_directory_symlink(at("precious"), at("target/whole"));
    copy(product().folder("VorlaneFX/whole").unlistedFile("VorlaneFX/whole/a", "A"));
    expectTree({"target/whole/a: A", "precious/a: untouched"});
}

// Shortcuts

TEST_F(RecursiveCopy, ShortcutIsMadeForEveryCopyOfItsFile) {
    copy(product()
             .target("VorlaneFX", at("second"))
             .file("VorlaneFX/a", "A")
             .shortCut("VorlaneFX/a", "Tool", "/Elsewhere"));
    const Lines run = commands();
    ASSERT_EQ(run.size(), 8U);
    EXPECT_EQ(run[3], "ln -sf \"$T/target/a\" \"/Applications/Tool\"");
    EXPECT_EQ(run[7], "ln -sf \"$T/second/a\" \"/Applications/Tool\"");
}

TEST_F(RecursiveCopy, ShortcutIsMadeForAFileThatIsAFolder) {
    copy(product()
             .listedFile("VorlaneFX/a.app")
             .unlistedFile("VorlaneFX/a.app/x", "X")
             .shortCut("VorlaneFX/a.app", "Tool"));
    EXPECT_EQ(commands().back(), "ln -sf \"$T/target/a.app\" \"/Applications/Tool\"");
}

TEST_F(RecursiveCopy, SkippedFileGetsNoShortcut) {
    install(product().build("1.0.0.500").file("VorlaneFX/a", "newer"));
    commands();
    install(product().build("1.0.0.400").file("VorlaneFX/a", "older").shortCut("VorlaneFX/a", "Tool"));
    EXPECT_EQ(commands(), Lines());
}

TEST_F(RecursiveCopy, FailedCopyGetsNoShortcut) {
    machine.failing = {"cp"};
    copy(product().file("VorlaneFX/a", "A").shortCut("VorlaneFX/a", "Tool"), false);
    EXPECT_EQ(commands().back(), "cp -f \"$T/product/files/VorlaneFX/a\" \"$T/target/a\"");
}

TEST_F(RecursiveCopy, ShortcutWithoutFolderIsPassedOverInSilence) {
    EXPECT_EQ(copy(product().file("VorlaneFX/a", "A").shortCut("VorlaneFX/a", "Tool", "")), Lines());
    EXPECT_EQ(commands().back(), "cp -f \"$T/product/files/VorlaneFX/a\" \"$T/target/a\"");
}

TEST_F(RecursiveCopy, ShortcutThatCannotBeMadeDoesNotFailTheCopy) {
    machine.failing = {"ln"};
    EXPECT_EQ(copy(product().file("VorlaneFX/a", "A").shortCut("VorlaneFX/a", "Tool"), true), Lines());
}

TEST_F(RecursiveCopy, LookingForSubItemsAndTheRecordLeavesNoTrace) {
    copy(product().file("VorlaneFX/d/a", "A"));
    EXPECT_EQ(item("VorlaneFX").items.size(), 0U);
    EXPECT_EQ(engine.installItems.size(), 1U);
    EXPECT_EQ(engine.statusFile.root.refChildren.size(), 1U);
    EXPECT_FALSE(exists("status"));
}

// The alert

namespace {

class LockedFileWarning : public EngineTest {};

} // namespace

TEST_F(LockedFileWarning, NamesTheHostTwice) {
    EXPECT_EQ(
        engine.getFileLockedWarningText("premiere pro"),
        VLString(
            "Sorry, installation of files is blocked by 'Adobe Premiere Pro'. Please close 'Adobe Premiere "
            "Pro' and press 'Retry' to try again or 'Cancel' to continue (some files may not be "
            "updated)."));
}

TEST_F(LockedFileWarning, NamesTheProductForTheSharedFiles) {
    engine.skuDefinition.skuInfo.name = "Alpha Effects";
    for (const char* branch : {"VorlaneFX", "vorlanefx"}) {
        EXPECT_EQ(
            engine.getFileLockedWarningText(branch),
            VLString(
                "Something is blocking installation of 'Alpha Effects'. Please close all applications and "
                "press 'Retry' to try again or 'Cancel' to continue (some files may not be updated). If "
                "this does not succeed, please reboot and then run this install."));
    }
}

TEST_F(LockedFileWarning, GivesContentTheFormOfAHost) {
    EXPECT_EQ(
        engine.getFileLockedWarningText("Content"),
        VLString(
            "Sorry, installation of files is blocked by 'Content'. Please close 'Content' and press 'Retry' "
            "to try again or 'Cancel' to continue (some files may not be updated)."));
}

TEST_F(LockedFileWarning, HasNoLineBreaksEvenFromNames) {
    engine.skuDefinition.skuInfo.name = "two\nlines";
    EXPECT_EQ(engine.getFileLockedWarningText("VorlaneFX").IndexOf("\n", 0), VLString::maxLen);
    EXPECT_EQ(engine.getFileLockedWarningText("a\nb").IndexOf("\n", 0), VLString::maxLen);
}

TEST_F(LockedFileWarning, ShowsItsTitleAndGivesTheAnswer) {
    answerAlerts("exit 0");
    EXPECT_TRUE(engine.filesLockedWarningTryAgain("Edius"));
    answerAlerts("exit 1");
    EXPECT_FALSE(engine.filesLockedWarningTryAgain("OpenFX"));
    EXPECT_EQ(
        alerts(),
        (Lines{"Installation warning: Sorry, installation of files is blocked by 'Grass Valley EDIUS'. "
               "Please close 'Grass Valley EDIUS' and press 'Retry' to try again or 'Cancel' to "
               "continue (some files may not be updated).",
               "Installation warning: Sorry, installation of files is blocked by 'OpenFX video editor'. "
               "Please close 'OpenFX video editor' and press 'Retry' to try again or 'Cancel' to "
               "continue (some files may not be updated)."}));
}

TEST_F(LockedFileWarning, TakesItsTextForAFormatWithoutArguments) {
    answerAlerts("exit 1");
    engine.filesLockedWarningTryAgain("100%% %s %");
    EXPECT_EQ(alerts(),
              (Lines{"Installation warning: Sorry, installation of files is blocked by '100% %s %'. "
                     "Please close '100% %s %' and press 'Retry' to try again or 'Cancel' to "
                     "continue (some files may not be updated)."}));
}

// The probe for files in use

namespace {

class BlockedFileProbe : public EngineTest {
protected:
    Lines filesToWrite(const ProductBuilder& product, bool bExpected = true) {
        std::vector<VLString> paths;
        prepare(product);
        engine.loadStatusFile(at("status").c_str(), false);
        EXPECT_EQ(engine.getFileListRecursively(VLString(), sourceOf("VorlaneFX"), node("VorlaneFX"),
                                                "VorlaneFX", item("VorlaneFX"), paths),
                  bExpected);
        Lines lines;
        for (const VLString& path : paths) {
            lines.push_back(std::string(path.ConstData()).replace(0, folder.path().string().size(), "$T"));
        }
        return lines;
    }
};

} // namespace

TEST_F(BlockedFileProbe, FindsNothingBlocked) {
    write("a", "A");
    EXPECT_FALSE(InstallUtility::isFileBlocked(at("a").c_str()));
    EXPECT_FALSE(InstallUtility::isFilesBlocked({at("a").c_str(), at("missing").c_str()}));
    EXPECT_FALSE(InstallUtility::isFilesBlocked({}));
}

TEST_F(BlockedFileProbe, ListsWhatTheCopyWouldWriteAndWritesNothing) {
    EXPECT_EQ(filesToWrite(ProductBuilder("ALPHA")
                               .target("VorlaneFX", at("target"))
                               .target("VorlaneFX", at("second"))
                               .target("VorlaneFX/Sub", at("sub"))
                               .file("VorlaneFX/a", "A")
                               .file("VorlaneFX/deep/b", "B")
                               .file("VorlaneFX/Sub/c", "C")
                               .listedFile("VorlaneFX/d.bundle")
                               .unlistedFile("VorlaneFX/d.bundle/in/d", "D")
                               .folder("VorlaneFX/whole")
                               .unlistedFile("VorlaneFX/whole/in/e", "E")),
              (Lines{"$T/target/d.bundle/in/d", "$T/second/d.bundle/in/d", "$T/target/whole/in/e",
                     "$T/second/whole/in/e", "$T/target/deep/b", "$T/second/deep/b", "$T/sub/c",
                     "$T/target/a", "$T/second/a"}));
    EXPECT_EQ(commands(), Lines());
    expectTree({});
}

TEST_F(BlockedFileProbe, LeavesOutFilesThatNeedNoReplacement) {
    install(ProductBuilder("ALPHA")
                .build("1.0.0.500")
                .target("VorlaneFX", at("status"))
                .file("VorlaneFX/a", "A"));
    EXPECT_EQ(filesToWrite(ProductBuilder("BETA")
                               .build("1.0.0.400")
                               .target("VorlaneFX", at("status"))
                               .file("VorlaneFX/a", "A")
                               .file("VorlaneFX/b", "B")),
              (Lines{"$T/status/b"}));
}

TEST_F(BlockedFileProbe, LogsAMissingSourceAtTheDebugLevelOnly) {
    const ProductBuilder product =
        ProductBuilder("ALPHA").target("VorlaneFX", at("target")).listedFile("VorlaneFX/a");
    EXPECT_EQ(logOf([&] { filesToWrite(product, false); }), Lines());
    SimpleLog::bEnableDebugLogs = true;
    EXPECT_EQ(logOf([&] { filesToWrite(product, false); }),
              (Lines{"DEBUG: Src path '$T/product/files/VorlaneFX' not found", ""}));
}

TEST_F(BlockedFileProbe, ShowsNoAlert) {
    answerAlerts("exit 0");
    prepare(ProductBuilder("ALPHA").target("VorlaneFX", at("target")).file("VorlaneFX/a", "A"));
    EXPECT_FALSE(engine.checkFilesBlockedAndShowWarning(sourceOf("VorlaneFX"), node("VorlaneFX"), "VorlaneFX",
                                                        item("VorlaneFX"), "VorlaneFX"));
    EXPECT_EQ(alerts(), Lines());
}
