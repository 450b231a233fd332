#include "Tests/Support/EndToEndTest.h"

#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

namespace {

/// Links at the places to which a run writes. What they lead to, outside of these places, is a sentinel.
class Links : public EndToEndTest {
protected:
    bool comparesPlans() const override { return false; }

    static constexpr const char* outsideFolder = "/Users/anna/Outside";

    void SetUp() override {
        EndToEndTest::SetUp();
        skipWherePretended("fakechroot follows links that the test makes outside to other places");
        if (!IsSkipped()) {
            root().write(inOutside("sentinel"), "anna's");
        }
    }

    static std::string inOutside(const std::string& path) { return std::string(outsideFolder) + "/" + path; }
    static std::string recordPath() { return shared("InstallationStatusFile.xml"); }

    static ProductBuilder product() {
        return ProductBuilder("ALPHA", "Alpha").family("Blur").target("VorlaneFX", statusFolder);
    }
    static ProductBuilder fileProduct() { return product().file("VorlaneFX/Tools/tool", "new"); }
    /// Its folder is installed as one piece.
    static ProductBuilder folderProduct() {
        return product().folder("VorlaneFX/Kit").unlistedFile("VorlaneFX/Kit/part", "new");
    }
    static ProductBuilder shortCutProduct() {
        return product().file("VorlaneFX/guide", "guide").shortCut("VorlaneFX/guide", "Guide");
    }

    void link(const std::string& path, const std::string& target) {
        fs::create_directories(root().outside(path).parent_path());
        fs::create_symlink(target, root().outside(path));
    }
    bool isLink(const std::string& path) { return fs::is_symlink(root().outside(path)); }
    std::string linkText(const std::string& path) { return fs::read_symlink(root().outside(path)).string(); }
    bool isRealFolder(const std::string& path) {
        return fs::is_directory(fs::symlink_status(root().outside(path)));
    }
    bool isRealFile(const std::string& path) {
        return fs::is_regular_file(fs::symlink_status(root().outside(path)));
    }
    /// All that there is outside. A private root's links are full paths, which mean another place to the
    /// tests.
    void ExpectOutside(Lines expected, int line = __builtin_LINE()) {
        EXPECT_EQ(FileTree::difference(std::move(expected), root().tree(outsideFolder)), "")
            << "line " << line;
    }
    void ExpectSentinelAlone(int line = __builtin_LINE()) {
        ExpectOutside({inOutside("sentinel: anna's")}, line);
    }
};

} // namespace

// In the place of a file

TEST_F(Links, LinkToFileInPlaceOfFileIsReplaced) {
    link(shared("Tools/tool"), inOutside("sentinel"));
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isRealFile(shared("Tools/tool")));
    EXPECT_EQ(root().read(shared("Tools/tool")), "new");
    ExpectSentinelAlone();
}

TEST_F(Links, LinkToFolderInPlaceOfFileIsReplaced) {
    link(shared("Tools/tool"), outsideFolder);
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isRealFile(shared("Tools/tool")));
    ExpectSentinelAlone();
}

TEST_F(Links, DanglingLinkInPlaceOfFileIsReplaced) {
    link(shared("Tools/tool"), inOutside("nothing"));
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isRealFile(shared("Tools/tool")));
    ExpectSentinelAlone();
}

TEST_F(Links, LoopInPlaceOfFileIsReplaced) {
    link(shared("Tools/tool"), "tool");
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isRealFile(shared("Tools/tool")));
}

TEST_F(Links, UninstallRemovesLinkInPlaceOfFileAndNotWhatItLeadsTo) {
    Install(fileProduct());
    root().remove(shared("Tools/tool"));
    link(shared("Tools/tool"), inOutside("sentinel"));
    ExpectSuccess(Uninstall(fileProduct()));
    EXPECT_FALSE(root().exists(shared("Tools")));
    ExpectSentinelAlone();
}

// In the place of a folder that holds files, and above

TEST_F(Links, LinkInPlaceOfTargetFolderIsFollowed) {
    link(shared("Tools"), outsideFolder);
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isLink(shared("Tools")));
    ExpectOutside({inOutside("sentinel: anna's"), inOutside("tool: new")});
}

TEST_F(Links, UninstallThroughLinkedTargetFolderRemovesOwnFilesAloneAndLeavesTheLink) {
    link(shared("Tools"), outsideFolder);
    Install(fileProduct());
    ExpectSuccess(Uninstall(fileProduct()));
    EXPECT_TRUE(isLink(shared("Tools")));
    ExpectSentinelAlone();
}

TEST_F(Links, LinkAboveTargetFolderIsFollowed) {
    link("/Library/Application Support", outsideFolder);
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isLink("/Library/Application Support"));
    EXPECT_EQ(root().read(inOutside("Vorlane/Tools/tool")), "new");
    ExpectSuccess(Uninstall(fileProduct()));
    ExpectOutside({inOutside("sentinel: anna's"), inOutside("Vorlane/")});
}

TEST_F(Links, DanglingLinkInPlaceOfTargetFolderIsReportedAndLeft) {
    link(shared("Tools"), inOutside("nothing"));
    const ProgramResult result = Install(fileProduct());
    ExpectSuccess(result);
    EXPECT_TRUE(hasLine(result, failedCopy("VorlaneFX/Tools/tool", shared("Tools/tool"))));
    EXPECT_EQ(linkText(shared("Tools")), inOutside("nothing"));
    ExpectSentinelAlone();
}

TEST_F(Links, LoopInPlaceOfTargetFolderIsReportedAndLeft) {
    link(shared("Tools"), "Tools");
    const ProgramResult result = Install(fileProduct());
    ExpectSuccess(result);
    EXPECT_TRUE(hasLine(result, failedCopy("VorlaneFX/Tools/tool", shared("Tools/tool"))));
    EXPECT_EQ(linkText(shared("Tools")), "Tools");
}

TEST_F(Links, LinkToFileInPlaceOfTargetFolderIsReportedAndLeft) {
    link(shared("Tools"), inOutside("sentinel"));
    const ProgramResult result = Install(fileProduct());
    ExpectSuccess(result);
    EXPECT_TRUE(hasLine(result, failedCopy("VorlaneFX/Tools/tool", shared("Tools/tool"))));
    EXPECT_EQ(linkText(shared("Tools")), inOutside("sentinel"));
    ExpectSentinelAlone();
}

// In the place of a folder that is installed as one piece

TEST_F(Links, LinkInPlaceOfWholeFolderIsReplaced) {
    link(shared("Kit"), outsideFolder);
    ExpectSuccess(Install(folderProduct()));
    EXPECT_TRUE(isRealFolder(shared("Kit")));
    EXPECT_EQ(root().read(shared("Kit/part")), "new");
    ExpectSentinelAlone();
}

TEST_F(Links, DanglingLinkInPlaceOfWholeFolderIsReportedAndLeft) {
    link(shared("Kit"), inOutside("nothing"));
    const ProgramResult result = Install(folderProduct());
    ExpectSuccess(result);
    EXPECT_TRUE(hasLine(result, failedCopy("VorlaneFX/Kit", shared("Kit"))));
    EXPECT_TRUE(isLink(shared("Kit")));
    ExpectSentinelAlone();
}

TEST_F(Links, LinkToFileOrLoopInPlaceOfWholeFolderIsReportedAndLeft) {
    for (const std::string& target : {inOutside("sentinel"), std::string("Kit")}) {
        root().remove(shared("Kit"));
        link(shared("Kit"), target);
        const ProgramResult result = Install(folderProduct());
        ExpectSuccess(result);
        EXPECT_TRUE(hasLine(result, failedCopy("VorlaneFX/Kit", shared("Kit"))));
        EXPECT_EQ(linkText(shared("Kit")), target);
        ExpectSentinelAlone();
    }
}

TEST_F(Links, UninstallRemovesLinkInPlaceOfWholeFolderAndNotWhatItLeadsTo) {
    Install(folderProduct());
    root().remove(shared("Kit"));
    link(shared("Kit"), outsideFolder);
    ExpectSuccess(Uninstall(folderProduct()));
    EXPECT_FALSE(isLink(shared("Kit")));
    ExpectSentinelAlone();
}

TEST_F(Links, LinkInsideWholeFolderIsReplacedByFile) {
    link(shared("Kit/part"), inOutside("sentinel"));
    ExpectSuccess(Install(folderProduct()));
    EXPECT_TRUE(isRealFile(shared("Kit/part")));
    ExpectSentinelAlone();
}

TEST_F(Links, LinkInsideWholeFolderInPlaceOfFolderIsNeverWrittenThrough) {
    link(shared("Kit/Inner"), outsideFolder);
    Install(folderProduct().unlistedFile("VorlaneFX/Kit/Inner/deep", "new"));
    ExpectSentinelAlone();
}

TEST_F(Links, UninstallOfWholeFolderDoesNotFollowLinksInIt) {
    Install(folderProduct());
    link(shared("Kit/Inner"), outsideFolder);
    ExpectSuccess(Uninstall(folderProduct()));
    EXPECT_FALSE(root().exists(shared("Kit")));
    ExpectSentinelAlone();
}

// The record

TEST_F(Links, LinkedStatusFolderIsFollowed) {
    link(statusFolder, outsideFolder);
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isLink(statusFolder));
    EXPECT_TRUE(isRealFile(inOutside("InstallationStatusFile.xml")));
    EXPECT_EQ(counts(outsideFolder).at(0), "product ALPHA, Alpha, 1.0.0.100");
    ExpectSuccess(Uninstall(fileProduct()));
    EXPECT_TRUE(isLink(statusFolder));
    ExpectSentinelAlone();
}

TEST_F(Links, StatusFolderThatIsADanglingLinkALoopOrALinkToAFileIsReportedAndLeft) {
    for (const std::string& target : {inOutside("nothing"), std::string("Vorlane"), inOutside("sentinel")}) {
        root().remove(statusFolder);
        link(statusFolder, target);
        const ProgramResult result = Install(product().file("VorlaneFX/a", "new"));
        ExpectSuccess(result);
        EXPECT_TRUE(hasLine(result, failedCopy("VorlaneFX/a", shared("a"))));
        EXPECT_EQ(linkText(statusFolder), target);
        ExpectSentinelAlone();
    }
}

TEST_F(Links, RecordIsWrittenThroughLink) {
    root().write(inOutside("record.xml"), "<install/>");
    link(recordPath(), inOutside("record.xml"));
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isLink(recordPath()));
    EXPECT_NE(root().read(inOutside("record.xml")).find("ALPHA"), std::string::npos);
    EXPECT_FALSE(root().exists(inOutside("record.xml.new")));
}

TEST_F(Links, RecordIsMadeWhereDanglingLinkLeads) {
    link(recordPath(), inOutside("record.xml"));
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isLink(recordPath()));
    EXPECT_NE(root().read(inOutside("record.xml")).find("ALPHA"), std::string::npos);
}

TEST_F(Links, LastUninstallRemovesLinkOfRecordAndLeavesEmptyRecordBehindIt) {
    link(recordPath(), inOutside("record.xml"));
    Install(fileProduct());
    ExpectSuccess(Uninstall(fileProduct()));
    EXPECT_FALSE(isLink(recordPath()));
    EXPECT_EQ(root().read(inOutside("record.xml")),
              "<install>\n    <products />\n    <installFiles />\n</install>\n");
}

TEST_F(Links, LoopInPlaceOfRecordLeavesRunWithoutRecordAndIsReported) {
    link(recordPath(), "InstallationStatusFile.xml");
    const ProgramResult result = Install(fileProduct());
    ExpectSuccess(result);
    ExpectLog(result, {"Checking file consistency in source folder",
                       recordLeftAlone("Too many levels of symbolic links")});
    EXPECT_EQ(root().read(shared("Tools/tool")), "new");
    EXPECT_TRUE(isLink(recordPath()));
}

TEST_F(Links, PlantedLinkUnderNameOfNewRecordIsNotWrittenThrough) {
    link(recordPath() + ".new", inOutside("sentinel"));
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isRealFile(recordPath()));
    EXPECT_FALSE(root().exists(recordPath() + ".new"));
    ExpectSentinelAlone();
}

// Shortcuts

TEST_F(Links, ShortCutReplacesLinkToFile) {
    link("/Applications/Guide", inOutside("sentinel"));
    ExpectSuccess(Install(shortCutProduct()));
    EXPECT_EQ(linkText("/Applications/Guide"), shared("guide"));
    ExpectSentinelAlone();
}

TEST_F(Links, ShortCutReplacesDanglingLink) {
    link("/Applications/Guide", inOutside("nothing"));
    ExpectSuccess(Install(shortCutProduct()));
    EXPECT_EQ(linkText("/Applications/Guide"), shared("guide"));
}

TEST_F(Links, ShortCutReplacesLoop) {
    link("/Applications/Guide", "Guide");
    ExpectSuccess(Install(shortCutProduct()));
    EXPECT_EQ(linkText("/Applications/Guide"), shared("guide"));
}

TEST_F(Links, ShortCutOntoLinkToFolderIsMadeInsideThatFolderAndStaysThere) {
    link("/Applications/Guide", outsideFolder);
    ExpectSuccess(Install(shortCutProduct()));
    EXPECT_EQ(linkText("/Applications/Guide"), outsideFolder);
    ExpectOutside({inOutside("sentinel: anna's"), inOutside("guide -> " + shared("guide"))});
    ExpectSuccess(Uninstall(shortCutProduct()));
    EXPECT_FALSE(isLink("/Applications/Guide"));
    ExpectOutside({inOutside("sentinel: anna's"), inOutside("guide -> " + shared("guide"))});
}

TEST_F(Links, ShortCutOntoFolderIsMadeInsideAndFolderStays) {
    root().write("/Applications/Guide/sentinel", "anna's");
    ExpectSuccess(Install(shortCutProduct()));
    EXPECT_EQ(linkText("/Applications/Guide/guide"), shared("guide"));
    ExpectSuccess(Uninstall(shortCutProduct()));
    EXPECT_EQ(root().read("/Applications/Guide/sentinel"), "anna's");
}

// Uninstallers and the Application Manager

TEST_F(Links, LinkInPlaceOfUninstallerIsReplaced) {
    link(uninstallerOf(fileProduct()), outsideFolder);
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isRealFolder(uninstallerOf(fileProduct())));
    ExpectSentinelAlone();
}

TEST_F(Links, UninstallRemovesLinkInPlaceOfUninstallerAndNotWhatItLeadsTo) {
    Install(fileProduct());
    root().remove(uninstallerOf(fileProduct()));
    link(uninstallerOf(fileProduct()), outsideFolder);
    ExpectSuccess(Uninstall(fileProduct()));
    EXPECT_FALSE(root().exists("/Applications/Vorlane Uninstallers"));
    ExpectSentinelAlone();
}

TEST_F(Links, LinkedFolderOfUninstallersIsFollowedAndStays) {
    link("/Applications/Vorlane Uninstallers", outsideFolder);
    ExpectSuccess(Install(fileProduct()));
    EXPECT_TRUE(isRealFolder(inOutside("Uninstall Alpha.app")));
    ExpectSuccess(Uninstall(fileProduct()));
    EXPECT_TRUE(isLink("/Applications/Vorlane Uninstallers"));
    ExpectSentinelAlone();
}

TEST_F(Links, LinkInPlaceOfApplicationManagerLinkIsReplaced) {
    link("/Applications/Vorlane Application Manager.app", outsideFolder);
    const ProductBuilder common =
        ProductBuilder("COMMON", "Common").target("VorlaneFX", statusFolder).file("VorlaneFX/c", "c");
    ExpectSuccess(Install(common));
    EXPECT_EQ(linkText("/Applications/Vorlane Application Manager.app"),
              shared("Common/ApplicationManager.app"));
    ExpectSentinelAlone();
}

TEST_F(Links, DanglingLinkOrLoopInPlaceOfUninstallerIsReplaced) {
    for (const std::string& target : {inOutside("nothing"), std::string("Uninstall Alpha.app")}) {
        root().remove(uninstallerOf(fileProduct()));
        link(uninstallerOf(fileProduct()), target);
        ExpectSuccess(Install(fileProduct()));
        EXPECT_TRUE(isRealFolder(uninstallerOf(fileProduct())));
        ExpectSentinelAlone();
    }
}

TEST_F(Links, FolderOfUninstallersThatIsADanglingLinkALoopOrALinkToAFileIsReportedAndLeft) {
    const std::string folder = "/Applications/Vorlane Uninstallers";
    for (const std::string& target :
         {inOutside("nothing"), std::string("Vorlane Uninstallers"), inOutside("sentinel")}) {
        root().remove(folder);
        link(folder, target);
        const ProgramResult result = Install(fileProduct());
        ExpectSuccess(result);
        ExpectLog(result, {"Checking file consistency in source folder",
                           "Error: Can't copy Uninstall.app to target folder"});
        EXPECT_EQ(linkText(folder), target);
        ExpectSentinelAlone();
    }
}

TEST_F(Links, DanglingLinkOrLoopInPlaceOfApplicationManagerLinkIsReplaced) {
    const std::string manager = "/Applications/Vorlane Application Manager.app";
    const ProductBuilder common =
        ProductBuilder("COMMON", "Common").target("VorlaneFX", statusFolder).file("VorlaneFX/c", "c");
    for (const std::string& target : {inOutside("nothing"), std::string("Vorlane Application Manager.app")}) {
        root().remove(manager);
        link(manager, target);
        ExpectSuccess(Install(common));
        EXPECT_EQ(linkText(manager), shared("Common/ApplicationManager.app"));
        ExpectSentinelAlone();
    }
}

// The folder of all applications

TEST_F(Links, LinkedApplicationsFolderIsFollowed) {
    root().remove("/Applications");
    link("/Applications", outsideFolder);
    ExpectSuccess(Install(shortCutProduct()));
    EXPECT_EQ(linkText(inOutside("Guide")), shared("guide"));
    EXPECT_TRUE(isRealFolder(inOutside("Vorlane Uninstallers/Uninstall Alpha.app")));
    ExpectSuccess(Uninstall(shortCutProduct()));
    EXPECT_TRUE(isLink("/Applications"));
    ExpectSentinelAlone();
}

TEST_F(Links, ApplicationsFolderThatIsADanglingLinkIsReportedAndLeft) {
    root().remove("/Applications");
    link("/Applications", inOutside("nothing"));
    const ProgramResult result = Install(shortCutProduct());
    ExpectSuccess(result);
    ExpectLog(result, {"Checking file consistency in source folder",
                       "Error: Can't copy Uninstall.app to target folder"});
    EXPECT_EQ(linkText("/Applications"), inOutside("nothing"));
    EXPECT_EQ(root().read(shared("guide")), "guide");
    ExpectSentinelAlone();
}
