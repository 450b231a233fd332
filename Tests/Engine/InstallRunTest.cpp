#include "Foundation/SimpleLog.h"
#include "Tests/Engine/EngineTest.h"
#include "Utility/InstallUtility/RunObserver.h"

namespace fs = std::filesystem;

namespace {

class InstallRun : public EngineTest {
protected:
    /// A product whose source folder has the place of the shared files, but none of these.
    ProductBuilder product(const std::string& id = "ALPHA") const {
        ProductBuilder result(id, "Alpha");
        result.unlistedFile("VorlaneFX/unlisted", "");
        return result;
    }

    /// The folders that the commands for "a" copied to, in their order.
    Lines copiedFiles() {
        Lines result;
        for (const std::string& command : commands()) {
            if (command.rfind("cp ", 0) == 0) {
                const std::size_t begin = command.find("\" \"") + 3;
                result.push_back(command.substr(begin, command.size() - begin - 1));
            }
        }
        return result;
    }
};

} // namespace

// Preparation

TEST_F(InstallRun, SourceFolderIsKeptWhenItExists) {
    EXPECT_TRUE(engine.setSrcPath(folder.text()));
    EXPECT_EQ(engine.srcPath, folder.text());
}

TEST_F(InstallRun, MissingSourceFolderIsAnErrorAndLeavesTheOldOne) {
    write("file", "no folder");
    engine.setSrcPath(folder.text());
    EXPECT_EQ(logOf([&] {
                  EXPECT_FALSE(engine.setSrcPath(at("missing").c_str()));
                  EXPECT_FALSE(engine.setSrcPath(at("file").c_str()));
              }),
              (Lines{"Error: Error! Source dir '$T/missing' is empty", "",
                     "Error: Error! Source dir '$T/file' is empty", ""}));
    EXPECT_EQ(engine.srcPath, folder.text());
}

TEST_F(InstallRun, MissingDefinitionIsTheSameError) {
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(engine.parseXMLDefinitionFile(at("missing").c_str())); }),
              (Lines{"Error: Error! Source dir '$T/missing' is empty", ""}));
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(engine.parseXMLDefinitionFile(folder.text())); }),
              (Lines{"Error: Error! Source dir '$T' is empty", ""}));
}

TEST_F(InstallRun, DefinitionIsReadIntoTheEngine) {
    write("sku.xml", product().name("J\303\244ger & S\303\266hne").file("VorlaneFX/a", "A").definition());
    EXPECT_TRUE(engine.parseXMLDefinitionFile(at("sku.xml").c_str()));
    EXPECT_EQ(engine.skuDefinition.skuInfo.ID, VLString("ALPHA"));
    EXPECT_EQ(engine.skuDefinition.skuInfo.name, VLString("J\303\244ger & S\303\266hne"));
    EXPECT_EQ(node("VorlaneFX").children.count("a"), 1U);
}

TEST_F(InstallRun, PreparationStopsAtTheFirstFailure) {
    product().writeTo(at("product"));
    const VLString files = at("product/files").c_str();
    const VLString definition = at("product/sku.xml").c_str();
    const VLString noFiles = at("no files").c_str();
    const VLString noDefinition = at("no definition").c_str();
    const VLString noTargets = at("no targets").c_str();
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(engine.prepare(noFiles, noDefinition, noTargets)); }),
              (Lines{"Error: Error! Source dir '$T/no files' is empty", ""}));
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(engine.prepare(files, noDefinition, noTargets)); }),
              (Lines{"Error: Error! Source dir '$T/no definition' is empty", ""}));
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(engine.prepare(files, definition, noTargets)); }),
              (Lines{"Error: Error! File with target not found", "",
                     "Error: Can't find node <root> in target paths XML."}));
    EXPECT_TRUE(engine.prepare(files, definition, at("product/target_path.xml").c_str()));
}

// The check of the source folder

namespace {

class SourceCheck : public EngineTest {
protected:
    Lines check(const ProductBuilder& product, bool bExpected) {
        return logOf([&] {
            prepare(product);
            EXPECT_EQ(engine.checkFilesInFolderRecursively(engine.srcPath, engine.skuDefinition.installFiles),
                      bExpected);
        });
    }
};

} // namespace

TEST_F(SourceCheck, TakesFilesFoldersAndFilesThatAreFolders) {
    EXPECT_EQ(check(ProductBuilder("ALPHA")
                        .file("VorlaneFX/d/a", "A")
                        .folder("VorlaneFX/empty")
                        .listedFile("VorlaneFX/a.bundle")
                        .unlistedFile("VorlaneFX/a.bundle/x", "X")
                        .unlistedFile("Other/unlisted", "U"),
                    true),
              Lines());
}

TEST_F(SourceCheck, MissingFolderIsPrinted) {
    EXPECT_EQ(check(ProductBuilder("ALPHA").listedFolder("VorlaneFX/d").folder("VorlaneFX"), false),
              (Lines{"Error! Folder '$T/product/files/VorlaneFX/d' doesn't exists"}));
}

TEST_F(SourceCheck, FileInThePlaceOfAFolderIsPrintedAsAMissingFolder) {
    EXPECT_EQ(
        check(ProductBuilder("ALPHA").listedFolder("VorlaneFX/d").unlistedFile("VorlaneFX/d", "file"), false),
        (Lines{"Error! Folder '$T/product/files/VorlaneFX/d' doesn't exists"}));
}

TEST_F(SourceCheck, MissingFileIsPrinted) {
    EXPECT_EQ(check(ProductBuilder("ALPHA").file("VorlaneFX/d/a", "A").listedFile("VorlaneFX/d/b"), false),
              (Lines{"Error! File '$T/product/files/VorlaneFX/d/b' not found"}));
}

TEST_F(SourceCheck, StopsAtTheFirstThatIsMissing) {
    EXPECT_EQ(
        check(ProductBuilder("ALPHA").folder("X").listedFile("X/b").listedFile("X/second").listedFolder("Y"),
              false),
        (Lines{"Error! File '$T/product/files/X/second' not found"}));
}

TEST_F(SourceCheck, CoversBranchesThatAreNeverCopied) {
    EXPECT_EQ(check(ProductBuilder("ALPHA").listedFile("Extra/a").folder("Extra"), false),
              (Lines{"Error! File '$T/product/files/Extra/a' not found"}));
}

TEST_F(SourceCheck, MissingSourceFolderItselfIsPrinted) {
    EXPECT_EQ(
        logOf([&] { EXPECT_FALSE(engine.checkFilesInFolderRecursively(at("missing").c_str(), FileNode())); }),
        (Lines{"Error! Folder '$T/missing' doesn't exists"}));
}

// The walk over the branches

TEST_F(InstallRun, BranchesAreCopiedHostByHostThenSharedFilesThenContent) {
    install(ProductBuilder("ALPHA")
                .family("A")
                .family("B")
                .file("Content/a", "")
                .file("VorlaneFX/a", "")
                .file("Hosts/Edius/B/a", "")
                .file("Hosts/Edius/A/a", "")
                .file("Hosts/OpenFX/A/a", "")
                .file("Hosts/OpenFX/B/a", "")
                .target("Content", at("content %FAMILY%"))
                .target("VorlaneFX", at("shared %FAMILY%"))
                .target("Hosts/Edius", at("edius %FAMILY%"))
                .target("Hosts/OpenFX", at("openfx %FAMILY%")));
    // Longer names come first. The last family stays the current one for what follows the hosts.
    EXPECT_EQ(copiedFiles(), (Lines{"$T/openfx A/a", "$T/openfx B/a", "$T/edius A/a", "$T/edius B/a",
                                    "$T/shared B/a", "$T/content B/a"}));
    EXPECT_EQ(engine.currentFamily, VLString("B"));
}

TEST_F(InstallRun, FirstFamilyIsTheCurrentOneWhenNoHostWasCopied) {
    install(
        product().family("B").family("A").file("VorlaneFX/a", "").target("VorlaneFX", at("shared %FAMILY%")));
    EXPECT_EQ(copiedFiles(), (Lines{"$T/shared A/a"}));
}

TEST_F(InstallRun, WithoutFamiliesThePlaceholderIsEmptyText) {
    install(product().file("VorlaneFX/a", "").target("VorlaneFX", at("shared%FAMILY%")));
    EXPECT_TRUE(exists("shared/a"));
    EXPECT_TRUE(engine.currentFamily.IsEmpty());
}

TEST_F(InstallRun, FamilyWithoutPluginsIsNotTheFirstOne) {
    install(product()
                .family("A", {})
                .family("B")
                .file("VorlaneFX/a", "")
                .target("VorlaneFX", at("shared %FAMILY%")));
    EXPECT_EQ(copiedFiles(), (Lines{"$T/shared B/a"}));
}

TEST_F(InstallRun, HostWithoutItemIsSkippedWithAWarning) {
    EXPECT_EQ(install(product()
                          .family("A")
                          .file("Hosts/OpenFX/A/a", "")
                          .file("Hosts/Edius/A/a", "")
                          .target("Hosts/Edius", at("edius"))),
              (Lines{"Warning: Can't find 'OpenFX' host install info"}));
    expectTree({"edius/a: "});
}

TEST_F(InstallRun, FamilyThatTheDefinitionLacksIsSkippedWithAWarning) {
    EXPECT_EQ(install(product()
                          .family("Known")
                          .family("Bare", {})
                          .file("Hosts/Edius/Known/a", "")
                          .file("Hosts/Edius/Bare/b", "")
                          .file("Hosts/Edius/Unknown/c", "")
                          .target("Hosts/Edius", at("edius"))),
              (Lines{"Warning: Family 'Unknown' not found in SKU XML, while exists in file tree.",
                     "Warning: Family 'Bare' not found in SKU XML, while exists in file tree."}));
    expectTree({"edius/a: "});
    EXPECT_EQ(engine.currentFamily, VLString("Known"));
}

TEST_F(InstallRun, WarningsStandWhereTheirBranchWouldBeCopied) {
    SimpleLog::bEnableDebugLogs = true;
    const auto copied = [](const std::string& path, const std::string& target) {
        return "DEBUG: Copy '$T/product/files/" + path + "' to '$T/" + target + "'";
    };
    EXPECT_EQ(install(ProductBuilder("ALPHA")
                          .family("A")
                          .file("Hosts/Edius/A/a", "")
                          .file("Hosts/Edius/B/b", "")
                          .file("Hosts/OpenFX/A/a", "")
                          .file("Hosts/X/A/c", "")
                          .file("VorlaneFX/d", "")
                          .file("Content/e", "")
                          .target("Hosts/Edius", at("edius"))
                          .target("Hosts/X", at("x"))
                          .target("VorlaneFX", at("shared"))),
              (Lines{"Warning: Can't find 'OpenFX' host install info", copied("Hosts/Edius/A/a", "edius/a"),
                     "Warning: Family 'B' not found in SKU XML, while exists in file tree.",
                     copied("Hosts/X/A/c", "x/c"), copied("VorlaneFX/d", "shared/d"),
                     "Error: Has content section in SKU but can't find info for its installing"}));
}

TEST_F(InstallRun, ContentWithoutItemIsAnErrorAndTheRestIsInstalled) {
    EXPECT_EQ(install(ProductBuilder("ALPHA")
                          .file("Content/a", "")
                          .file("VorlaneFX/a", "")
                          .target("VorlaneFX", at("shared"))),
              (Lines{"Error: Has content section in SKU but can't find info for its installing"}));
    EXPECT_TRUE(exists("shared/a"));
}

TEST_F(InstallRun, ItemWithoutContentIsNothing) {
    EXPECT_EQ(install(product().target("Content", at("content"))), Lines());
    expectTree({});
}

TEST_F(InstallRun, OtherBranchesAreNotCopied) {
    EXPECT_EQ(install(product().file("Extra/a", "").target("Extra", at("extra"))), Lines());
    expectTree({});
}

TEST_F(InstallRun, NothingToInstallSucceeds) {
    EXPECT_EQ(install(product()), Lines());
    EXPECT_EQ(commands(), Lines());
    expectTree({});
}

TEST_F(InstallRun, SourceWithoutPlaceForSharedFilesIsReportedAsBlocked) {
    const std::string alert =
        "Warning: Installation warning: Something is blocking installation of ''. Please close "
        "all applications and press 'Retry' to try again or 'Cancel' to continue (some files may "
        "not be updated). If this does not succeed, please reboot and then run this install.";
    EXPECT_EQ(install(ProductBuilder("ALPHA")),
              (Lines{"Error! Src path '$T/product/files/VorlaneFX' not found", alert,
                     "Error! Src path '$T/product/files/VorlaneFX' not found"}));
}

TEST_F(InstallRun, LookingNamesUpLeavesNoTrace) {
    install(product().family("A").file("Hosts/Edius/A/a", ""));
    EXPECT_TRUE(engine.installItems.empty());
    EXPECT_EQ(engine.skuDefinition.installFiles.children.size(), 1U);
    EXPECT_EQ(engine.skuDefinition.installFiles.children.count("Hosts"), 1U);
    EXPECT_TRUE(engine.statusFile.root.refChildren.empty());
    uninstall(product().family("A").target("VorlaneFX", at("shared")));
    EXPECT_EQ(engine.installItems.size(), 1U);
    EXPECT_TRUE(engine.skuDefinition.installFiles.children.empty());
}

TEST_F(InstallRun, BranchThatTheTreeLacksIsNotCopied) {
    install(product().target("VorlaneFX", at("shared")));
    EXPECT_EQ(commands(), Lines()) << "what the source folder holds for it stays there";
}

TEST_F(InstallRun, BranchThatTheTreeLacksIsNotRecorded) {
    fs::create_directories(at("shared"));
    install(product()
                .family("A")
                .file("Hosts/Edius/A/a", "")
                .target("VorlaneFX", at("shared"))
                .item("Hosts/Edius"));
    EXPECT_EQ(engine.statusFile.getFileInfo("VorlaneFX"), nullptr);
    EXPECT_NE(engine.statusFile.getFileInfo("Hosts/Edius/A/a"), nullptr);
    EXPECT_EQ(read("shared/InstallationStatusFile.xml").find("VorlaneFX"), std::string::npos);
}

// The record

TEST_F(InstallRun, RecordLiesInTheFirstTargetOfTheSharedFiles) {
    install(
        product().file("VorlaneFX/a", "").target("VorlaneFX", at("first")).target("VorlaneFX", at("second")));
    EXPECT_TRUE(exists("first/InstallationStatusFile.xml"));
    EXPECT_FALSE(exists("second/InstallationStatusFile.xml"));
}

TEST_F(InstallRun, RecordLiesInTheFirstTargetThatApplies) {
    install(product()
                .file("VorlaneFX/a", "")
                .target("VorlaneFX", at("first"), pathExists("/nowhere"))
                .target("VorlaneFX", at("second")));
    EXPECT_TRUE(exists("second/InstallationStatusFile.xml"));
    EXPECT_FALSE(exists("first"));
}

TEST_F(InstallRun, WithoutTargetForSharedFilesNoRecordIsReadOrWritten) {
    install(product().family("A").file("Hosts/Edius/A/a", "").target("Hosts/Edius", at("edius")));
    expectTree({"edius/a: "});
    EXPECT_TRUE(engine.statusFile.getProductList().empty());
}

TEST_F(InstallRun, RecordIsSavedWhateverFails) {
    install(product()
                .listedFile("VorlaneFX/d.bundle")
                .unlistedFile("VorlaneFX/d.bundle/x", "")
                .target("VorlaneFX", at("shared")));
    machine.failing = {"cp"};
    EXPECT_EQ(install(product("BETA").file("VorlaneFX/a", "").target("VorlaneFX", at("shared"))).size(), 3U);
    StatusFile record;
    record.parse(at("shared/InstallationStatusFile.xml").c_str());
    EXPECT_TRUE(record.hasProduct(VLString("BETA")));
    EXPECT_NE(record.getFileInfo("VorlaneFX/a"), nullptr);
}

namespace {

/// Notes the current family of the time when the record has been read.
class FamilyOfTheRecord : public RunObserver {
public:
    explicit FamilyOfTheRecord(const InstallUtility& toObserve) : engine(toObserve) {}
    void recordLoaded(const VLString& /*path*/, const StatusFile& /*record*/) override {
        family = engine.currentFamily;
    }

    const InstallUtility& engine;
    VLString family;
};

} // namespace

TEST_F(InstallRun, FirstFamilyIsTheCurrentOneWhenTheRecordIsRead) {
    fs::create_directories(at("shared"));
    prepare(product()
                .family("A")
                .family("B")
                .file("Hosts/Edius/B/a", "")
                .target("Hosts/Edius", at("edius"))
                .target("VorlaneFX", at("shared")));
    FamilyOfTheRecord notes(engine);
    engine.observer = &notes;
    engine.currentFamily = "B";
    EXPECT_TRUE(engine.copyFilesToTargets());
    EXPECT_EQ(notes.family, VLString("A"));
}

// The loop around a copy that fails

namespace {

/// Notes the path of every branch and folder that is copied, and whether this is the last attempt.
class AttemptNotes : public RunObserver {
public:
    void copyBegins(const VLString& treePath, const VLString& /*target*/, const InstallItem& /*item*/,
                    bool bLast) override {
        attempts.push_back(std::string(treePath.ConstData()) + (bLast ? " last" : ""));
    }

    std::vector<std::string> attempts;
};

class RetryLoop : public EngineTest {
protected:
    static constexpr const char* failedCopy =
        "Error: Failed to copy '$T/product/files/VorlaneFX/a' to '$T/target/a'";
    static constexpr const char* failedSave =
        "Error: The record '$T/target/InstallationStatusFile.xml' cannot be saved (Not a directory).";

    /// A product whose shared file cannot be copied, since its target folder is a file, and whose content
    /// can.
    ProductBuilder blockedProduct() const {
        FileTree::write(at("target"), "in the way");
        return ProductBuilder("ALPHA", "Alpha")
            .file("VorlaneFX/a", "A")
            .target("VorlaneFX", at("target"))
            .file("Content/c", "C")
            .target("Content", at("content"));
    }
};

} // namespace

TEST_F(RetryLoop, RetrySucceedsOnceTheWayIsClear) {
    answerAlerts("rm target");
    EXPECT_EQ(install(blockedProduct()), (Lines{failedCopy}));
    EXPECT_EQ(alerts().size(), 1U);
    EXPECT_EQ(read("target/a"), "A");
    EXPECT_EQ(read("content/c"), "C");
}

TEST_F(RetryLoop, GoesOnForAsLongAsTheUserRetries) {
    answerAlerts("test $(wc -l <helpers/alerts) -lt 3 || rm target");
    EXPECT_EQ(install(blockedProduct()), (Lines{failedCopy, failedCopy, failedCopy}));
    EXPECT_EQ(alerts().size(), 3U);
    EXPECT_EQ(read("target/a"), "A");
}

TEST_F(RetryLoop, CancelCopiesOnceMoreAndGoesOn) {
    answerAlerts("exit 1");
    EXPECT_EQ(install(blockedProduct()), (Lines{failedCopy, failedCopy, failedSave}));
    EXPECT_EQ(alerts().size(), 1U);
    EXPECT_EQ(read("content/c"), "C");
}

TEST_F(RetryLoop, CopyAfterCancelMaySucceed) {
    answerAlerts("rm target; exit 1");
    EXPECT_EQ(install(blockedProduct()), (Lines{failedCopy}));
    EXPECT_EQ(read("target/a"), "A");
}

TEST_F(RetryLoop, CancelAfterRetryCopiesOnceMore) {
    answerAlerts("test $(wc -l <helpers/alerts) -lt 2");
    EXPECT_EQ(install(blockedProduct()), (Lines{failedCopy, failedCopy, failedCopy, failedSave}));
    EXPECT_EQ(alerts().size(), 2U);
}

TEST_F(RetryLoop, CopyAfterCancelIsTheLastAttemptForAllBelowIt) {
    answerAlerts("test $(wc -l <helpers/alerts) -lt 2");
    blockedProduct()
        .file("VorlaneFX/d/b", "B")
        .file("VorlaneFX/Sub/c", "C")
        .target("VorlaneFX/Sub", at("sub"))
        .writeTo(at("product"));
    InstallUtility observed;
    AttemptNotes notes;
    observed.observer = &notes;
    logOf([&] {
        ASSERT_TRUE(observed.prepare(at("product/files").c_str(), at("product/sku.xml").c_str(),
                                     at("product/target_path.xml").c_str()));
        EXPECT_TRUE(observed.copyFilesToTargets());
    });
    EXPECT_EQ(notes.attempts,
              (Lines{"VorlaneFX", "VorlaneFX/Sub", "VorlaneFX/d", "VorlaneFX", "VorlaneFX/Sub", "VorlaneFX/d",
                     "VorlaneFX last", "VorlaneFX/Sub last", "VorlaneFX/d last", "Content"}));
}

TEST_F(RetryLoop, NobodyToAskIsCancel) {
    const Lines log = install(blockedProduct());
    ASSERT_EQ(log.size(), 4U);
    EXPECT_EQ(log[0], failedCopy);
    EXPECT_EQ(
        log[1].rfind("Warning: Installation warning: Something is blocking installation of 'Alpha'.", 0), 0U);
    EXPECT_EQ(log[2], failedCopy);
    EXPECT_EQ(log[3], failedSave);
}

TEST_F(RetryLoop, EachBranchIsAskedForUnderItsOwnName) {
    answerAlerts("exit 1");
    machine.failing = {"cp"};
    install(ProductBuilder("ALPHA", "Alpha")
                .family("A")
                .family("B")
                .file("Hosts/Edius/A/a", "")
                .file("Hosts/Edius/B/a", "")
                .target("Hosts/Edius", at("edius"))
                .file("VorlaneFX/a", "")
                .target("VorlaneFX", at("shared"))
                .file("Content/a", "")
                .target("Content", at("content")));
    const Lines asked = alerts();
    ASSERT_EQ(asked.size(), 4U);
    EXPECT_NE(asked[0].find("blocked by 'Grass Valley EDIUS'"), std::string::npos);
    EXPECT_NE(asked[1].find("blocked by 'Grass Valley EDIUS'"), std::string::npos);
    EXPECT_NE(asked[2].find("installation of 'Alpha'"), std::string::npos);
    EXPECT_NE(asked[3].find("blocked by 'Content'"), std::string::npos);
}

TEST_F(RetryLoop, IgnoredFailureAsksNobody) {
    answerAlerts("exit 1");
    machine.failing = {"cp"};
    install(ProductBuilder("ALPHA")
                .file("VorlaneFX/a", "", {{"ignoreinstallerrors", "1"}})
                .target("VorlaneFX", at("shared")));
    EXPECT_EQ(alerts(), Lines());
}

// The record of one run's product

namespace {

class RecordOfARun : public EngineTest {
protected:
    void SetUp() override {
        fs::create_directories(at("status"));
        prepare(ProductBuilder("ALPHA", "Alpha")
                    .build("1.2.0.7")
                    .file("VorlaneFX/d/a", "")
                    .file("Content/c", ""));
    }

    int references(const char* path) {
        const StatusFile::FileNodeRef* info = engine.statusFile.getFileInfo(path);
        return info == nullptr ? -1 : info->ref;
    }
};

} // namespace

TEST_F(RecordOfARun, IsTheFileOfThatNameInTheFolder) {
    EXPECT_EQ(InstallUtility::statusFilePath("/a"), VLString("/a/InstallationStatusFile.xml"));
    EXPECT_EQ(InstallUtility::statusFilePath("/a/"), VLString("/a/InstallationStatusFile.xml"));
}

TEST_F(RecordOfARun, LoadingForAnInstallEntersTheProductAndItsTreeAndSavesNothing) {
    engine.loadStatusFile(at("status").c_str(), false);
    ASSERT_EQ(engine.statusFile.getProductList().size(), 1U);
    EXPECT_EQ(engine.statusFile.getProductList().front().ID, VLString("ALPHA"));
    for (const char* path : {"VorlaneFX", "VorlaneFX/d", "VorlaneFX/d/a", "Content", "Content/c"}) {
        EXPECT_EQ(references(path), 1) << path;
        EXPECT_TRUE(engine.statusFile.needReplaceFile(path)) << path;
    }
    EXPECT_TRUE(engine.statusFile.getFileInfo("VorlaneFX/d")->isDirectory);
    EXPECT_FALSE(engine.statusFile.getFileInfo("VorlaneFX/d/a")->isDirectory);
    EXPECT_EQ(engine.statusFile.getFileInfo("VorlaneFX/d/a")->build, VLString("1.2.0.7"));
    EXPECT_TRUE(engine.statusFile.currentProduct.ID.IsEmpty());
    EXPECT_FALSE(engine.statusFile.countReferences);
    expectTree({"status/"});
}

TEST_F(RecordOfARun, LoadingForAnUninstallTakesTheProductAndItsReferencesOff) {
    engine.loadStatusFile(at("status").c_str(), false);
    engine.saveStatusFile(at("status").c_str());
    const std::string saved = read("status/InstallationStatusFile.xml");
    engine.loadStatusFile(at("status").c_str(), true);
    EXPECT_TRUE(engine.statusFile.getProductList().empty());
    for (const char* path : {"VorlaneFX", "VorlaneFX/d", "VorlaneFX/d/a", "Content", "Content/c"}) {
        EXPECT_EQ(references(path), 0) << path;
        EXPECT_TRUE(engine.statusFile.needRemove(path)) << path;
    }
    EXPECT_EQ(read("status/InstallationStatusFile.xml"), saved);
}

TEST_F(RecordOfARun, LoadingForgetsWhatWasLoadedBefore) {
    engine.loadStatusFile(at("status").c_str(), false);
    engine.loadStatusFile(at("status").c_str(), false);
    EXPECT_EQ(references("VorlaneFX/d/a"), 1);
    EXPECT_EQ(engine.statusFile.getProductList().size(), 1U);
}

TEST_F(RecordOfARun, UpdateWalksBelowTheFolderThatItIsGiven) {
    engine.updateStatusFile("Some/Where", node("VorlaneFX"), false);
    EXPECT_EQ(references("Some/Where/VorlaneFX/d/a"), 1);
    engine.updateStatusFile("Some/Where", node("VorlaneFX"), true);
    EXPECT_EQ(references("Some/Where/VorlaneFX/d/a"), 0);
}
