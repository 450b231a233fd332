#include "Utility/InstallUtility/StatusFile.h"

#include "Foundation/PathLibrary.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/ProcessorTime.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/VLStringPrinter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

using SKUInfo = SKUDefinition::SKUInfo;
using FileNodeRef = StatusFile::FileNodeRef;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;

namespace {

SKUInfo product(const char* ID, const char* build = "1.0.0.100", const char* name = "Product") {
    return {ID, name, build, ""};
}

FileNode folderNode(const char* name) {
    FileNode node;
    node.name = name;
    node.isDirectory = true;
    return node;
}

FileNode fileNode(const char* name, bool allowDowngrade = false) {
    FileNode node;
    node.name = name;
    node.allowDowngrade = allowDowngrade;
    return node;
}

FileNode fileWithShortCut(const char* name, const char* shortCut, const char* dir) {
    FileNode node = fileNode(name);
    node.shortCut = {shortCut, dir};
    return node;
}

/// Adds `child` to a folder of a tree.
FileNode& add(FileNode& parent, const FileNode& child) {
    return parent.children[child.name] = child;
}

/// Visits a tree as the engine does: each node before its children.
void update(StatusFile& record, const VLString& directory, const FileNode& node, bool remove) {
    if (remove) {
        record.decrementFileRef(directory, node);
    } else {
        record.incrementFileRef(directory, node);
    }
    for (const auto& child : node.children) {
        update(record, PathLibrary::GetDirectoryWithFile(directory, node.name), child.second, remove);
    }
}

void process(StatusFile& record, const SKUInfo& info, const FileNode& tree, bool remove) {
    record.startProcessProduct(info, remove);
    update(record, "", tree, remove);
    record.endProcessProduct();
}

void install(StatusFile& record, const SKUInfo& info, const FileNode& tree) {
    process(record, info, tree, false);
}

void uninstall(StatusFile& record, const SKUInfo& info, const FileNode& tree) {
    process(record, info, tree, true);
}

/// A root with the folder VorlaneFX, and in it the file X.
FileNode treeWithX(bool allowDowngrade = false) {
    FileNode root = folderNode("");
    add(add(root, folderNode("VorlaneFX")), fileNode("X", allowDowngrade));
    return root;
}
const VLString X = "VorlaneFX/X";

FileNodeRef& at(StatusFile& record, const VLString& path) {
    static FileNodeRef none;
    FileNodeRef* node = record.getFileInfo(path);
    EXPECT_NE(node, nullptr) << path.ConstData();
    return node == nullptr ? none = FileNodeRef() : *node;
}

std::vector<std::string> IDs(const StatusFile& record) {
    std::vector<std::string> result;
    for (const SKUInfo& info : record.products) {
        result.emplace_back(info.ID.ConstData());
    }
    return result;
}

std::vector<std::string> names(const std::map<VLString, FileNodeRef>& children) {
    std::vector<std::string> result;
    for (const auto& child : children) {
        result.emplace_back(child.first.ConstData());
    }
    return result;
}

class StatusFileTest : public testing::Test {
protected:
    StatusFile& parsed(const std::string& xml) {
        FileTree::write(path.ConstData(), xml);
        EXPECT_TRUE(record.parse(path));
        return record;
    }

    /// A record with that content below `installFiles`.
    StatusFile& parsedFiles(const std::string& xml) {
        return parsed("<install><installFiles>" + xml + "</installFiles></install>");
    }

    StatusFile& parsedProducts(const std::string& xml) {
        return parsed("<install><products>" + xml + "</products></install>");
    }

    std::string written() {
        EXPECT_TRUE(record.write(path));
        return FileTree::read(path.ConstData());
    }

    /// Saves the record and loads it again.
    void saveAndLoad() {
        ASSERT_TRUE(record.write(path));
        StatusFile loaded;
        ASSERT_TRUE(loaded.parse(path));
        record = loaded;
    }

    TemporaryDirectory folder;
    const VLString path = folder / "InstallationStatusFile.xml";
    StatusFile record;
};

} // namespace

// Products

TEST_F(StatusFileTest, StartsEmpty) {
    EXPECT_TRUE(record.products.empty());
    EXPECT_TRUE(record.root.name.IsEmpty());
    EXPECT_TRUE(record.root.refChildren.empty());
    EXPECT_FALSE(record.countReferences);
    EXPECT_TRUE(record.currentProduct.ID.IsEmpty());
}

TEST_F(StatusFileTest, ANodeStartsUnused) {
    const FileNodeRef node;
    EXPECT_EQ(node.ref, 0);
    EXPECT_EQ(node.buildNumber, 0);
    EXPECT_TRUE(node.build.IsEmpty());
    EXPECT_FALSE(node.needReplace);
    EXPECT_TRUE(node.refChildren.empty());
}

TEST_F(StatusFileTest, ProductsStandInTheOrderOfTheirAddition) {
    EXPECT_TRUE(record.addProduct(product("B")));
    EXPECT_TRUE(record.addProduct(product("LONG")));
    EXPECT_TRUE(record.addProduct(product("A")));
    EXPECT_THAT(IDs(record), ElementsAre("B", "LONG", "A"));
    EXPECT_EQ(&record.getProductList(), &record.products);
}

TEST_F(StatusFileTest, AProductIsAddedOnce) {
    EXPECT_TRUE(record.addProduct(product("A", "1", "first")));
    EXPECT_TRUE(record.addProduct(product("A", "2", "second")));
    ASSERT_EQ(record.products.size(), 1U);
    EXPECT_EQ(record.products[0].name, VLString("first"));
    EXPECT_EQ(record.products[0].build, VLString("1"));
}

TEST_F(StatusFileTest, ProductsDifferByTheirIDAlone) {
    record.addProduct(product("A", "1", "same"));
    record.addProduct(product("a", "1", "same"));
    EXPECT_EQ(record.getProductIndex(product("A", "9", "other")), 0);
    EXPECT_EQ(record.getProductIndex(product("a")), 1);
    EXPECT_EQ(record.getProductIndex(product("B", "1", "same")), -1);
    EXPECT_TRUE(record.hasProduct(product("A", "9", "other")));
    EXPECT_TRUE(record.hasProduct(VLString("a")));
    EXPECT_FALSE(record.hasProduct(VLString("B")));
    EXPECT_FALSE(record.hasProduct(product("")));
}

TEST_F(StatusFileTest, TheFirstOfTwoEntriesCounts) {
    parsedProducts("<sku ID='A' name='1'/><sku ID='B'/><sku ID='B' name='2'/>");
    EXPECT_EQ(record.getProductIndex(product("B")), 1);
    EXPECT_TRUE(record.removeProduct(product("B")));
    EXPECT_THAT(IDs(record), ElementsAre("A", "B"));
    EXPECT_EQ(record.products[1].name, VLString("2"));
}

TEST_F(StatusFileTest, RemovingAnUnknownProductChangesNothing) {
    record.addProduct(product("A"));
    EXPECT_TRUE(record.removeProduct(product("B")));
    EXPECT_THAT(IDs(record), ElementsAre("A"));
}

TEST_F(StatusFileTest, ThePrefixOfAProductIsNeverStored) {
    SKUInfo info = product("A");
    info.prefix = "pre";
    record.startProcessProduct(info, false);
    record.addProduct({"B", "", "", "pre"});
    EXPECT_TRUE(record.products[0].prefix.IsEmpty());
    EXPECT_TRUE(record.products[1].prefix.IsEmpty());
    EXPECT_EQ(written().find("pre"), std::string::npos);
}

TEST_F(StatusFileTest, ClearForgetsProductsAndTree) {
    install(record, product("A"), treeWithX());
    record.root.name = "name";
    record.countReferences = true;
    record.clear();
    EXPECT_TRUE(record.products.empty());
    EXPECT_TRUE(record.root.refChildren.empty());
    EXPECT_TRUE(record.root.name.IsEmpty());
    EXPECT_TRUE(record.countReferences);
}

// Lifecycle of one product

TEST_F(StatusFileTest, StartingANewProductEntersItAndCounts) {
    record.startProcessProduct(product("A", "7", "Alpha"), false);
    ASSERT_THAT(IDs(record), ElementsAre("A"));
    EXPECT_EQ(record.products[0].name, VLString("Alpha"));
    EXPECT_EQ(record.products[0].build, VLString("7"));
    EXPECT_EQ(record.currentProduct.ID, VLString("A"));
    EXPECT_EQ(record.currentProduct.build, VLString("7"));
    EXPECT_TRUE(record.countReferences);
}

TEST_F(StatusFileTest, StartingAKnownProductRenewsItsEntryAndDoesNotCount) {
    record.addProduct(product("A", "1", "old"));
    record.addProduct(product("B", "1", "other"));
    record.countReferences = true;
    record.startProcessProduct(product("A", "2", "new"), false);
    EXPECT_THAT(IDs(record), ElementsAre("A", "B"));
    EXPECT_EQ(record.products[0].name, VLString("new"));
    EXPECT_EQ(record.products[0].build, VLString("2"));
    EXPECT_EQ(record.products[1].name, VLString("other"));
    EXPECT_FALSE(record.countReferences);
}

TEST_F(StatusFileTest, StartingARemovalTakesTheProductOffAndChangesNothingElse) {
    install(record, product("A"), treeWithX());
    for (const bool count : {true, false}) {
        record.countReferences = count;
        record.startProcessProduct(product("A", "5"), true);
        EXPECT_THAT(IDs(record), IsEmpty());
        EXPECT_EQ(record.countReferences, count);
        EXPECT_EQ(record.currentProduct.build, VLString("5"));
        EXPECT_EQ(at(record, X).ref, 1);
    }
}

TEST_F(StatusFileTest, AProductMayBeStartedFromItsOwnEntry) {
    record.addProduct(product("A"));
    record.addProduct(product("B"));
    record.startProcessProduct(record.getProductList()[0], true);
    EXPECT_THAT(IDs(record), ElementsAre("B"));
    EXPECT_EQ(record.currentProduct.ID, VLString("A"));
}

TEST_F(StatusFileTest, EndingForgetsTheCurrentProductButItsPrefix) {
    record.startProcessProduct({"A", "Alpha", "7", "pre"}, false);
    record.endProcessProduct();
    EXPECT_TRUE(record.currentProduct.ID.IsEmpty());
    EXPECT_TRUE(record.currentProduct.name.IsEmpty());
    EXPECT_TRUE(record.currentProduct.build.IsEmpty());
    EXPECT_EQ(record.currentProduct.prefix, VLString("pre"));
    EXPECT_FALSE(record.countReferences);
    EXPECT_THAT(IDs(record), ElementsAre("A"));
}

// Recording a node

TEST_F(StatusFileTest, ANewFileIsRecordedForReplacement) {
    record.startProcessProduct(product("A", "1.2.3.400"), false);
    EXPECT_EQ(record.incrementFileRef("", folderNode("VorlaneFX")), 0);
    EXPECT_EQ(record.incrementFileRef("/VorlaneFX", fileWithShortCut("X", "Alpha", "Apps")), 0);
    const FileNodeRef& file = at(record, X);
    EXPECT_EQ(file.name, VLString("X"));
    EXPECT_FALSE(file.isDirectory);
    EXPECT_EQ(file.ref, 1);
    EXPECT_EQ(file.build, VLString("1.2.3.400"));
    EXPECT_EQ(file.buildNumber, 400);
    EXPECT_TRUE(file.needReplace);
    EXPECT_EQ(file.shortCut.name, VLString("Alpha"));
    EXPECT_EQ(file.shortCut.dir, VLString("Apps"));
    EXPECT_TRUE(file.children.empty());
    EXPECT_TRUE(record.needReplaceFile(X));
}

TEST_F(StatusFileTest, ANewFolderHasNoBuild) {
    record.startProcessProduct(product("A", "1.2.3.400"), false);
    record.incrementFileRef("", folderNode("VorlaneFX"));
    const FileNodeRef& node = at(record, "VorlaneFX");
    EXPECT_TRUE(node.isDirectory);
    EXPECT_EQ(node.ref, 1);
    EXPECT_TRUE(node.needReplace);
    EXPECT_TRUE(node.build.IsEmpty());
    EXPECT_EQ(node.buildNumber, 0);
}

TEST_F(StatusFileTest, AShortCutWithoutNameOrFolderIsNotRecorded) {
    record.startProcessProduct(product("A"), false);
    record.incrementFileRef("", fileWithShortCut("a", "Alpha", ""));
    record.incrementFileRef("", fileWithShortCut("b", "", "Apps"));
    EXPECT_TRUE(at(record, "a").shortCut.name.IsEmpty());
    EXPECT_TRUE(at(record, "b").shortCut.dir.IsEmpty());
}

TEST_F(StatusFileTest, EmptyPartsOfAPathAreDropped) {
    record.startProcessProduct(product("A"), false);
    record.incrementFileRef("//VorlaneFX///sub/", fileNode("/a//b/"));
    EXPECT_NE(record.getFileInfo("VorlaneFX/sub/a/b"), nullptr);
    EXPECT_THAT(names(record.root.refChildren), ElementsAre("VorlaneFX"));
}

TEST_F(StatusFileTest, APathWithoutPartsRecordsNothing) {
    record.startProcessProduct(product("A"), false);
    for (const char* directory : {"", "/", "//"}) {
        EXPECT_EQ(record.incrementFileRef(directory, folderNode("")), 0);
        EXPECT_EQ(record.incrementFileRef(directory, folderNode("/")), 0);
    }
    EXPECT_TRUE(record.root.refChildren.empty());
    EXPECT_EQ(record.root.ref, 0);
    EXPECT_FALSE(record.root.needReplace);
}

TEST_F(StatusFileTest, AFolderThatIsMissingOnTheWayTakesAfterTheNode) {
    record.startProcessProduct(product("A", "1.0.0.7"), false);
    record.incrementFileRef("/way/further", fileWithShortCut("X", "Alpha", "Apps"));
    for (const char* name : {"way", "way/further", "way/further/X"}) {
        const FileNodeRef& node = at(record, name);
        EXPECT_FALSE(node.isDirectory) << name;
        EXPECT_EQ(node.ref, 1) << name;
        EXPECT_TRUE(node.needReplace) << name;
        EXPECT_EQ(node.build, VLString("1.0.0.7")) << name;
        EXPECT_EQ(node.buildNumber, 7) << name;
        EXPECT_EQ(node.shortCut.name, VLString("Alpha")) << name;
    }
    EXPECT_EQ(at(record, "way/further").name, VLString("further"));
}

TEST_F(StatusFileTest, ANewFileOfAKnownProductHasOneUse) {
    record.addProduct(product("A"));
    record.startProcessProduct(product("A"), false);
    ASSERT_FALSE(record.countReferences);
    record.incrementFileRef("", fileNode("X"));
    EXPECT_EQ(at(record, "X").ref, 1);
    EXPECT_TRUE(record.needReplaceFile("X"));
}

TEST_F(StatusFileTest, FoldersOnTheWayAreLeftAsTheyAre) {
    record.startProcessProduct(product("A"), false);
    record.incrementFileRef("", folderNode("d"));
    at(record, "d").needReplace = false;
    record.incrementFileRef("/d", fileNode("X"));
    EXPECT_EQ(at(record, "d").ref, 1);
    EXPECT_FALSE(at(record, "d").needReplace);
    EXPECT_TRUE(at(record, "d").isDirectory);
}

TEST_F(StatusFileTest, AKnownNodeIsCountedOnlyForANewProduct) {
    install(record, product("A"), treeWithX());
    EXPECT_EQ(at(record, X).ref, 1);
    install(record, product("B"), treeWithX());
    EXPECT_EQ(at(record, X).ref, 2);
    EXPECT_EQ(at(record, "VorlaneFX").ref, 2);
    install(record, product("A"), treeWithX());
    EXPECT_EQ(at(record, X).ref, 2);
    EXPECT_EQ(at(record, "VorlaneFX").ref, 2);
}

TEST_F(StatusFileTest, InstallingAProductTwiceKeepsItsCountsAndReplacesItsFiles) {
    for (int run = 0; run < 2; ++run) {
        install(record, product("A"), treeWithX());
        EXPECT_EQ(at(record, X).ref, 1);
        EXPECT_EQ(at(record, "VorlaneFX").ref, 1);
        EXPECT_TRUE(record.needReplaceFile(X));
        saveAndLoad();
        EXPECT_FALSE(record.needReplaceFile(X));
    }
}

TEST_F(StatusFileTest, OnlyTheFourthComponentOfTheBuildIsCompared) {
    struct Case {
        const char* recorded;
        const char* installed;
        bool bReplaced;
    };
    for (const Case& c :
         {Case{"1.0.0.500", "1.0.0.400", false}, Case{"1.0.0.500", "1.0.0.500", true},
          Case{"1.0.0.500", "1.0.0.501", true}, Case{"1.0.0.500", "9.9.9.499", false},
          Case{"9.9.9.500", "1.0.0.500", true}, Case{"1.0.500", "0.0.1", true},
          Case{"2.1.200000", "2.2.199999", false}, Case{"2.1.200000", "1.0.0.200000", true},
          Case{"", "no version", true}, Case{"1.0.0.1", "", false}, Case{"1.0.0.-5", "", true}}) {
        record.clear();
        install(record, product("A", c.recorded), treeWithX());
        install(record, product("B", c.installed), treeWithX());
        EXPECT_EQ(record.needReplaceFile(X), c.bReplaced) << c.recorded << " " << c.installed;
        EXPECT_EQ(at(record, X).build, VLString(c.bReplaced ? c.installed : c.recorded));
        EXPECT_EQ(at(record, X).ref, 2);
    }
}

TEST_F(StatusFileTest, ALargeThirdComponentIsTheBuildNumber) {
    install(record, product("A", "2.1.200000"), treeWithX());
    EXPECT_EQ(at(record, X).buildNumber, 200000);
    EXPECT_EQ(at(record, X).build, VLString("2.1.200000"));
}

TEST_F(StatusFileTest, AFileThatAllowsDowngradesIsReplacedByAnOlderBuild) {
    install(record, product("A", "1.0.0.500"), treeWithX());
    install(record, product("B", "1.0.0.400"), treeWithX(true));
    EXPECT_TRUE(record.needReplaceFile(X));
    EXPECT_EQ(at(record, X).buildNumber, 400);
    EXPECT_EQ(at(record, X).build, VLString("1.0.0.400"));
}

TEST_F(StatusFileTest, AnOlderBuildTakesReplacementBackAndLeavesTheFile) {
    record.startProcessProduct(product("A", "1.0.0.500"), false);
    record.incrementFileRef("", fileWithShortCut("X", "first", "Apps"));
    EXPECT_TRUE(record.needReplaceFile("X"));
    record.startProcessProduct(product("B", "1.0.0.400"), false);
    record.incrementFileRef("", fileWithShortCut("X", "second", "Apps"));
    EXPECT_FALSE(record.needReplaceFile("X"));
    EXPECT_EQ(at(record, "X").build, VLString("1.0.0.500"));
    EXPECT_EQ(at(record, "X").buildNumber, 500);
    EXPECT_EQ(at(record, "X").shortCut.name, VLString("first"));
    EXPECT_EQ(at(record, "X").ref, 2);
}

TEST_F(StatusFileTest, AReplacedFileGetsTheNewShortCutIfItHasOne) {
    record.startProcessProduct(product("A"), false);
    record.incrementFileRef("", fileWithShortCut("X", "first", "Apps"));
    record.incrementFileRef("", fileNode("X"));
    EXPECT_EQ(at(record, "X").shortCut.name, VLString("first"));
    record.incrementFileRef("", fileWithShortCut("X", "second", "Other"));
    EXPECT_EQ(at(record, "X").shortCut.name, VLString("second"));
    EXPECT_EQ(at(record, "X").shortCut.dir, VLString("Other"));
}

TEST_F(StatusFileTest, FoldersOfALoadedRecordAreAlwaysReplaced) {
    parsedFiles("<directory fileName='d' ref='1' build='1.0.0.900'/>");
    EXPECT_EQ(at(record, "d").buildNumber, 0);
    record.startProcessProduct(product("B", "1.0.0.1"), false);
    record.incrementFileRef("", folderNode("d"));
    EXPECT_TRUE(record.needReplaceFile("d"));
    EXPECT_EQ(at(record, "d").ref, 2);
}

TEST_F(StatusFileTest, AKnownNodeStaysTheFileOrFolderThatItWas) {
    record.startProcessProduct(product("A"), false);
    record.incrementFileRef("", fileNode("X"));
    record.incrementFileRef("", folderNode("X"));
    EXPECT_FALSE(at(record, "X").isDirectory);
}

TEST_F(StatusFileTest, CountsOfADamagedRecordDoNotOverflow) {
    parsedFiles("<file fileName='most' ref='2147483647'/><file fileName='least' ref='-2147483648'/>");
    record.startProcessProduct(product("A"), false);
    record.incrementFileRef("", fileNode("most"));
    EXPECT_EQ(at(record, "most").ref, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(record.decrementFileRef("", fileNode("least")), std::numeric_limits<std::int32_t>::min());
}

TEST_F(StatusFileTest, APathTooDeepToBeReadAgainIsNotRecorded) {
    const auto deep = [](unsigned long parts) {
        VLString text;
        for (unsigned long i = 0; i < parts; ++i) {
            text += "/d";
        }
        return text;
    };
    record.startProcessProduct(product("A"), false);
    EXPECT_EQ(record.incrementFileRef(deep(996), fileWithShortCut("X", "Alpha", "Apps")), 0);
    EXPECT_NE(record.getFileInfo(deep(996) + "/X"), nullptr);
    EXPECT_EQ(record.incrementFileRef(deep(996), fileNode("X/Y")), 0);
    EXPECT_EQ(record.incrementFileRef(deep(100'000), fileNode("X")), 0);
    EXPECT_EQ(record.getFileInfo(deep(996) + "/X/Y"), nullptr);
    // The nodes on the way are files, whose children are not read: make folders of them.
    for (unsigned long parts = 1; parts <= 996; ++parts) {
        at(record, deep(parts)).isDirectory = true;
    }
    saveAndLoad();
    EXPECT_THAT(IDs(record), ElementsAre("A"));
    EXPECT_EQ(at(record, deep(996) + "/X").shortCut.name, VLString("Alpha"));
}

// Forgetting, and the questions

TEST_F(StatusFileTest, SharedFileStaysUntilLastProductLeaves) {
    install(record, product("A"), treeWithX());
    install(record, product("B"), treeWithX());
    EXPECT_EQ(at(record, X).ref, 2);
    saveAndLoad();
    uninstall(record, product("A"), treeWithX());
    EXPECT_EQ(at(record, X).ref, 1);
    EXPECT_FALSE(record.needRemove(X));
    EXPECT_NE(written().find("\"X\""), std::string::npos);
    saveAndLoad();
    uninstall(record, product("B"), treeWithX());
    EXPECT_EQ(at(record, X).ref, 0);
    EXPECT_TRUE(record.needRemove(X));
    EXPECT_EQ(written().find("\"X\""), std::string::npos);
    EXPECT_TRUE(record.products.empty());
}

TEST_F(StatusFileTest, DecrementGivesTheUsesLeft) {
    install(record, product("A"), treeWithX());
    install(record, product("B"), treeWithX());
    EXPECT_EQ(record.decrementFileRef("/VorlaneFX/", fileNode("X")), 1);
    EXPECT_EQ(record.decrementFileRef("VorlaneFX", fileNode("X")), 0);
    EXPECT_EQ(record.decrementFileRef("VorlaneFX", fileNode("X")), -1);
    EXPECT_EQ(record.decrementFileRef("VorlaneFX", fileNode("X")), -2);
    EXPECT_NE(record.getFileInfo(X), nullptr);
    EXPECT_TRUE(record.needRemove(X));
}

TEST_F(StatusFileTest, DecrementOfAnUnknownPathChangesNothing) {
    install(record, product("A"), treeWithX());
    const std::string before = written();
    EXPECT_EQ(record.decrementFileRef("/VorlaneFX", fileNode("Y")), -1);
    EXPECT_EQ(record.decrementFileRef("/other", fileNode("X")), -1);
    EXPECT_EQ(record.decrementFileRef("", folderNode("")), -1);
    EXPECT_EQ(record.root.ref, 0);
    EXPECT_EQ(written(), before);
}

TEST_F(StatusFileTest, APathIsFoundByItsParts) {
    install(record, product("A"), treeWithX());
    FileNodeRef* file = &record.root.refChildren["VorlaneFX"].refChildren["X"];
    EXPECT_EQ(record.getFileInfo("VorlaneFX/X"), file);
    EXPECT_EQ(record.getFileInfo("//VorlaneFX//X/"), file);
    EXPECT_EQ(record.getFileInfo("X"), nullptr);
    EXPECT_EQ(record.getFileInfo("VorlaneFX/X/Y"), nullptr);
    EXPECT_EQ(record.getFileInfo("vorlanefx/X"), nullptr);
    EXPECT_EQ(record.getFileInfo("VorlaneFX/./X"), nullptr);
}

TEST_F(StatusFileTest, TheRootIsNoPath) {
    install(record, product("A"), treeWithX());
    for (const char* slashes : {"", "/", "//"}) {
        EXPECT_EQ(record.getFileInfo(slashes), nullptr);
        EXPECT_FALSE(record.needRemove(slashes));
        EXPECT_FALSE(record.needReplaceFile(slashes));
    }
}

TEST_F(StatusFileTest, AnUnknownPathNeedsNothing) {
    EXPECT_FALSE(record.needRemove("a"));
    EXPECT_FALSE(record.needReplaceFile("a"));
}

TEST_F(StatusFileTest, GetFileRefIsAlwaysNull) {
    install(record, product("A"), treeWithX());
    EXPECT_EQ(record.getFileRef(X), nullptr);
}

TEST_F(StatusFileTest, ACopyOfANodeHasItsOwnSubtree) {
    install(record, product("A"), treeWithX());
    FileNodeRef copy = record.root;
    record.decrementFileRef("VorlaneFX", fileNode("X"));
    EXPECT_EQ(copy.refChildren["VorlaneFX"].refChildren["X"].ref, 1);
    EXPECT_EQ(copy.refChildren["VorlaneFX"].refChildren["X"].build, VLString("1.0.0.100"));
}

// Reading

TEST_F(StatusFileTest, ReadsAWholeRecord) {
    parsed(R"(<install>
    <products>
        <sku ID="A" name="Alpha" build="1.0" />
        <sku ID="B" name="Beta" build="2.0" />
    </products>
    <installFiles>
        <directory fileName="VorlaneFX" ref="2">
            <directory fileName="sub" ref="1" />
            <file fileName="X" ref="2" build="1.0.0.5">
                <shortCut name="Alpha" dir="Apps" />
            </file>
        </directory>
    </installFiles>
</install>)");
    EXPECT_THAT(IDs(record), ElementsAre("A", "B"));
    EXPECT_EQ(record.products[1].name, VLString("Beta"));
    EXPECT_EQ(record.products[1].build, VLString("2.0"));
    EXPECT_TRUE(record.root.isDirectory);
    EXPECT_TRUE(at(record, "VorlaneFX").isDirectory);
    EXPECT_TRUE(at(record, "VorlaneFX/sub").isDirectory);
    const FileNodeRef& file = at(record, X);
    EXPECT_EQ(file.name, VLString("X"));
    EXPECT_FALSE(file.isDirectory);
    EXPECT_EQ(file.ref, 2);
    EXPECT_EQ(file.build, VLString("1.0.0.5"));
    EXPECT_EQ(file.buildNumber, 5);
    EXPECT_FALSE(file.needReplace);
    EXPECT_EQ(file.shortCut.name, VLString("Alpha"));
    EXPECT_EQ(file.shortCut.dir, VLString("Apps"));
}

TEST_F(StatusFileTest, AMissingFileIsAnEmptyRecord) {
    install(record, product("A"), treeWithX());
    EXPECT_TRUE(record.parse(folder / "missing.xml"));
    EXPECT_TRUE(record.products.empty());
    EXPECT_TRUE(record.root.refChildren.empty());
}

TEST_F(StatusFileTest, WhatIsNoRecordIsAnEmptyRecord) {
    for (const char* xml :
         {"", "text", "<product/>", "<install", "<install><products><sku ID='A'/></products>",
          "<x><install><products><sku ID='A'/></products></install></x>", "<!--install-->"}) {
        record.addProduct(product("A"));
        parsed(xml);
        EXPECT_TRUE(record.products.empty()) << xml;
        EXPECT_TRUE(record.root.refChildren.empty()) << xml;
    }
}

TEST_F(StatusFileTest, ReadingLeavesTheCurrentProductAlone) {
    record.startProcessProduct(product("A", "7"), false);
    parsedProducts("<sku ID='B'/>");
    EXPECT_EQ(record.currentProduct.ID, VLString("A"));
    EXPECT_EQ(record.currentProduct.build, VLString("7"));
    EXPECT_TRUE(record.countReferences);
    EXPECT_THAT(IDs(record), ElementsAre("B"));
}

TEST_F(StatusFileTest, ProductsAndFilesAreReadWithoutTheOther) {
    parsedProducts("<sku ID='A'/>");
    EXPECT_THAT(IDs(record), ElementsAre("A"));
    EXPECT_FALSE(record.root.isDirectory);
    parsedFiles("<file fileName='X' ref='1'/>");
    EXPECT_TRUE(record.products.empty());
    EXPECT_TRUE(record.root.isDirectory);
    EXPECT_EQ(at(record, "X").ref, 1);
}

TEST_F(StatusFileTest, AMissingAttributeOfAProductIsThatOfTheProductBefore) {
    parsedProducts("<sku ID='A' name='Alpha' build='1'/><sku ID='B'/><sku name='Gamma'/><!--sku-->text"
                   "<sku ID='' build='2'/>");
    ASSERT_EQ(record.products.size(), 4U);
    EXPECT_EQ(record.products[1].ID, VLString("B"));
    EXPECT_EQ(record.products[1].name, VLString("Alpha"));
    EXPECT_EQ(record.products[1].build, VLString("1"));
    EXPECT_EQ(record.products[2].ID, VLString("B"));
    EXPECT_EQ(record.products[2].name, VLString("Gamma"));
    EXPECT_EQ(record.products[3].ID, VLString(""));
    EXPECT_EQ(record.products[3].build, VLString("2"));
}

TEST_F(StatusFileTest, ThePrefixOfAProductIsNotRead) {
    parsedProducts("<sku ID='A' prefix='pre'/>");
    EXPECT_TRUE(record.products[0].prefix.IsEmpty());
}

TEST_F(StatusFileTest, OtherElementsAreSkipped) {
    parsed("<install><x><products><sku ID='no'/></products></x><products><x><sku ID='no'/></x><SKU ID='no'/>"
           "</products><installFiles><x><file fileName='no' ref='1'/></x><!--file--><FILE fileName='no' "
           "ref='1'/>"
           "text<File fileName='no' ref='1'/></installFiles></install>");
    EXPECT_TRUE(record.products.empty());
    EXPECT_TRUE(record.root.refChildren.empty());
}

TEST_F(StatusFileTest, OnlyTheFirstOfEachPartIsRead) {
    parsed("<install><products><sku ID='A'/></products><products><sku ID='B'/></products>"
           "<installFiles><file fileName='a' ref='1'/></installFiles>"
           "<installFiles><file fileName='b' ref='1'/></installFiles></install>"
           "<install><products><sku ID='C'/></products></install>");
    EXPECT_THAT(IDs(record), ElementsAre("A"));
    EXPECT_THAT(names(record.root.refChildren), ElementsAre("a"));
}

TEST_F(StatusFileTest, AFolderWithoutNameOrCountIsSkippedWithItsContents) {
    parsedFiles("<directory ref='1'><file fileName='a' ref='1'/></directory>"
                "<directory fileName='' ref='1'><file fileName='a' ref='1'/></directory>"
                "<directory fileName='d'><file fileName='a' ref='1'/></directory>"
                "<directory fileName='e' ref=''><file fileName='a' ref='1'/></directory>");
    EXPECT_TRUE(record.root.refChildren.empty());
}

TEST_F(StatusFileTest, AFileWithoutNameOrCountIsSkipped) {
    parsedFiles("<file ref='1'/><file fileName='' ref='1'/><file fileName='a'/><file fileName='b' ref=''/>"
                "<file fileName='kept' ref='1'/>");
    EXPECT_THAT(names(record.root.refChildren), ElementsAre("kept"));
}

TEST_F(StatusFileTest, TheCountIsTheLeadingNumber) {
    struct Case {
        const char* text;
        std::int32_t ref;
    };
    for (const Case& c : {Case{"3", 3}, Case{"-1", -1}, Case{" 7", 7}, Case{"+2", 2}, Case{"1x", 1},
                          Case{"x1", 0}, Case{"0x10", 0}, Case{"2147483647", 2147483647},
                          Case{"2147483648", std::numeric_limits<std::int32_t>::min()}, Case{"4294967297", 1},
                          Case{"99999999999999999999", -1}}) {
        parsedFiles("<file fileName='f' ref='"s + c.text + "'/><directory fileName='d' ref='" + c.text +
                    "'/>");
        EXPECT_EQ(at(record, "f").ref, c.ref) << c.text;
        EXPECT_EQ(at(record, "d").ref, c.ref) << c.text;
        EXPECT_EQ(c.ref, VLString(c.text).GetLong(0)) << c.text;
    }
}

TEST_F(StatusFileTest, ALaterNodeReplacesAnEarlierOneOfItsName) {
    parsedFiles("<directory fileName='d' ref='1'><file fileName='old' ref='1'/></directory>"
                "<file fileName='f' ref='1' build='1'><shortCut name='a' dir='b'/></file>"
                "<file fileName='f' ref='3'/>"
                "<directory fileName='d' ref='2'><file fileName='new' ref='1'/></directory>");
    EXPECT_EQ(at(record, "d").ref, 2);
    EXPECT_THAT(names(at(record, "d").refChildren), ElementsAre("new"));
    EXPECT_EQ(at(record, "f").ref, 3);
    EXPECT_TRUE(at(record, "f").build.IsEmpty());
    EXPECT_TRUE(at(record, "f").shortCut.name.IsEmpty());
}

TEST_F(StatusFileTest, AFileReplacesAFolderOfItsName) {
    parsedFiles("<file fileName='a' ref='5'/><directory fileName='a' ref='1'><file fileName='b' "
                "ref='1'/></directory>");
    EXPECT_FALSE(at(record, "a").isDirectory);
    EXPECT_EQ(at(record, "a").ref, 5);
    EXPECT_TRUE(at(record, "a").refChildren.empty());
}

TEST_F(StatusFileTest, ChildrenMayStandInAnyOrder) {
    parsedFiles("<file fileName='b' ref='1'/><file fileName='ccc' ref='1'/><directory fileName='dd' ref='1'/>"
                "<file fileName='a' ref='1'/>");
    EXPECT_THAT(names(record.root.refChildren), ElementsAre("ccc", "dd", "a", "b"));
}

TEST_F(StatusFileTest, OnlyTheFirstShortCutCountsAndOnlyAnElement) {
    parsedFiles("<file fileName='a' ref='1'><shortCut name='1' dir='x'/><shortCut name='2' dir='y'/></file>"
                "<file fileName='b' ref='1'><!--shortCut--><shortCut name='1' dir='x'/></file>"
                "<file fileName='c' ref='1'><shortCut name='1'/></file>"
                "<directory fileName='d' ref='1'><shortCut name='1' dir='x'/></directory>");
    EXPECT_EQ(at(record, "a").shortCut.name, VLString("1"));
    EXPECT_EQ(at(record, "a").shortCut.dir, VLString("x"));
    EXPECT_TRUE(at(record, "b").shortCut.name.IsEmpty());
    EXPECT_EQ(at(record, "c").shortCut.name, VLString("1"));
    EXPECT_TRUE(at(record, "c").shortCut.dir.IsEmpty());
    EXPECT_TRUE(at(record, "d").shortCut.name.IsEmpty());
}

TEST_F(StatusFileTest, AFileHasNoChildrenToRead) {
    parsedFiles("<file fileName='a' ref='1'><file fileName='b' ref='1'/></file>");
    EXPECT_TRUE(at(record, "a").refChildren.empty());
}

TEST_F(StatusFileTest, FlagsAreNotRead) {
    parsedFiles("<file fileName='a' ref='1' needReplace='1' allowdowngrade='1' dontdelete='1' arch='x86'/>");
    EXPECT_FALSE(at(record, "a").needReplace);
    EXPECT_FALSE(at(record, "a").allowDowngrade);
    EXPECT_FALSE(at(record, "a").dontDelete);
    EXPECT_EQ(at(record, "a").arch, 0);
}

TEST_F(StatusFileTest, AFolderWithoutUsesIsReadAndNotWrittenBack) {
    parsedFiles("<directory fileName='d' ref='0'><file fileName='used' ref='5'/></directory>");
    EXPECT_EQ(at(record, "d").ref, 0);
    EXPECT_TRUE(record.needRemove("d"));
    EXPECT_FALSE(record.needRemove("d/used"));
    EXPECT_EQ(written(), "<install>\n    <products />\n    <installFiles />\n</install>\n");
}

TEST_F(StatusFileTest, AByteOrderMarkMayComeFirst) {
    parsed("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<install>\r\n<products>\r\n"
           "<sku ID='\xC3\x89'/></products></install>");
    EXPECT_THAT(IDs(record), ElementsAre("\xC3\x89"));
}

// Writing

TEST_F(StatusFileTest, WritesTheSmallestRecord) {
    EXPECT_EQ(written(), "<install>\n    <products />\n    <installFiles />\n</install>\n");
}

TEST_F(StatusFileTest, WritesAWholeRecord) {
    FileNode tree = treeWithX();
    add(tree.children["VorlaneFX"], fileWithShortCut("longer", "Al\"pha", "bell\a"));
    add(tree.children["VorlaneFX"], fileWithShortCut("half", "Alpha", ""));
    add(tree.children["VorlaneFX"], folderNode("empty"));
    install(record, product("A", "1.0", "Alpha & 'Omega'"), tree);
    EXPECT_EQ(written(), R"(<install>
    <products>
        <sku ID="A" name="Alpha &amp; &apos;Omega&apos;" build="1.0" />
    </products>
    <installFiles>
        <directory fileName="VorlaneFX" ref="1">
            <file fileName="longer" ref="1" build="1.0">
                <shortCut name='Al&quot;pha' dir="bell&#x07;" />
            </file>
            <directory fileName="empty" ref="1" />
            <file fileName="half" ref="1" build="1.0" />
            <file fileName="X" ref="1" build="1.0" />
        </directory>
    </installFiles>
</install>
)");
}

TEST_F(StatusFileTest, AFolderCarriesNeitherBuildNorShortCut) {
    record.startProcessProduct(product("A"), false);
    FileNode node = folderNode("d");
    node.shortCut = {"Alpha", "Apps"};
    record.incrementFileRef("", node);
    record.incrementFileRef("", node);
    EXPECT_TRUE(at(record, "d").IsShortCutInfoValid());
    EXPECT_TRUE(at(record, "d").build.IsSet());
    EXPECT_NE(written().find("<directory fileName=\"d\" ref=\"2\" />\n"), std::string::npos);
}

TEST_F(StatusFileTest, AShortCutThatWasReadWithoutNameOrFolderIsNotWritten) {
    parsedFiles("<file fileName='a' ref='1'><shortCut name='1'/></file>"
                "<file fileName='b' ref='1'><shortCut dir='1'/></file>");
    EXPECT_EQ(written().find("shortCut"), std::string::npos);
}

TEST_F(StatusFileTest, NothingBelowAnUnusedNodeIsWritten) {
    parsedFiles("<directory fileName='gone' ref='1'><file fileName='below' ref='4'/></directory>"
                "<file fileName='minus' ref='-3'/><file fileName='kept' ref='1'/>");
    EXPECT_EQ(record.decrementFileRef("", folderNode("gone")), 0);
    const std::string text = written();
    EXPECT_EQ(text.find("gone"), std::string::npos);
    EXPECT_EQ(text.find("below"), std::string::npos);
    EXPECT_EQ(text.find("minus"), std::string::npos);
    EXPECT_NE(text.find("kept"), std::string::npos);
}

TEST_F(StatusFileTest, ChildrenOfAFileAreWritten) {
    record.startProcessProduct(product("A", "1"), false);
    record.incrementFileRef("/f", fileNode("g"));
    EXPECT_NE(written().find("        <file fileName=\"f\" ref=\"1\" build=\"1\">\n"
                             "            <file fileName=\"g\" ref=\"1\" build=\"1\" />\n"
                             "        </file>\n"),
              std::string::npos);
}

TEST_F(StatusFileTest, WritingFailsWhereTheFileCannotBeOpened) {
    record.addProduct(product("A"));
    EXPECT_FALSE(record.write(folder / "missing/file.xml"));
    EXPECT_FALSE(record.write(folder.text()));
    EXPECT_FALSE(record.write(""));
    EXPECT_THAT(FileTree::describe(folder.path()), IsEmpty());
}

TEST_F(StatusFileTest, WritingFailsOnAFullDiskAndTheRecordStays) {
    const VLString mountPoint = folder / "disk";
    std::filesystem::create_directory(mountPoint.ConstData());
    const ProgramResult mounted =
        runProgram({"mount", "-t", "tmpfs", "-o", "size=64k", "none", mountPoint.ConstData()});
    if (mounted.exitStatus != 0) {
        GTEST_SKIP() << "cannot mount a small disk: " << mounted.standardError;
    }
    record.addProduct(product("A"));
    EXPECT_TRUE(record.write(mountPoint + "/s.xml"));
    record.startProcessProduct(product("B"), false);
    for (int i = 0; i < 3000; ++i) {
        record.incrementFileRef("", fileNode(std::to_string(i).c_str()));
    }
    EXPECT_FALSE(record.write(mountPoint + "/s.xml"));
    StatusFile loaded;
    loaded.parse(mountPoint + "/s.xml");
    EXPECT_THAT(IDs(loaded), ElementsAre("A"));
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(mountPoint.ConstData())) {
        ++files;
    }
    EXPECT_EQ(files, 1U);
    EXPECT_EQ(runProgram({"umount", mountPoint.ConstData()}).exitStatus, 0);
}

TEST_F(StatusFileTest, WritingLeavesNoOtherFileBehind) {
    FileTree::write(folder.path() / "InstallationStatusFile.xml.new", "what a killed run left");
    written();
    EXPECT_EQ(FileTree::describe(folder.path()).size(), 1U);
}

// Texts

namespace {

const std::vector<std::string>& oddNames() {
    static const std::vector<std::string> all = {"Éclair 日本 'x' & y",
                                                 "<tag a=\"1\">",
                                                 "\"",
                                                 "'",
                                                 "\"'\"",
                                                 "]]>",
                                                 "--",
                                                 "&amp;",
                                                 "&#x41;",
                                                 "&#65;",
                                                 "&#",
                                                 "%s %n",
                                                 " leading",
                                                 "trailing ",
                                                 "two  blanks",
                                                 " ",
                                                 "tab\there",
                                                 "line\nfeed",
                                                 "return\rhere",
                                                 "both\r\nhere",
                                                 "C:\\a",
                                                 "$(touch x)",
                                                 "`x`",
                                                 "..",
                                                 ".",
                                                 "\xF0\x9F\x98\x80",
                                                 "e\xCC\x81",
                                                 "\xEF\xBB\xBF mark",
                                                 std::string(1000, 'n')};
    return all;
}

/// Not for XML: other readers refuse these.
const std::vector<std::string>& namesOfOddBytes() {
    static const std::vector<std::string> all = {"bell\a", "\x01",     "\x1F",    "Latin-1 \xE9",
                                                 "\xEF",   "\xFF\xFE", "\xF0\x9F"};
    return all;
}

} // namespace

TEST_F(StatusFileTest, AnyTextComesBackByteForByte) {
    std::vector<std::string> texts = oddNames();
    texts.insert(texts.end(), namesOfOddBytes().begin(), namesOfOddBytes().end());
    for (const std::string& text : texts) {
        const VLString name(text.data(), text.size());
        record.clear();
        FileNode tree = folderNode("");
        FileNode& inner = add(tree, folderNode(text.c_str()));
        add(inner, fileWithShortCut(text.c_str(), text.c_str(), text.c_str()));
        install(record, {name, name, name, ""}, tree);
        saveAndLoad();
        ASSERT_EQ(record.products.size(), 1U) << text;
        EXPECT_EQ(record.products[0].ID, name);
        EXPECT_EQ(record.products[0].name, name);
        EXPECT_EQ(record.products[0].build, name);
        const FileNodeRef& file = at(record, name + "/" + name);
        EXPECT_EQ(file.name, name);
        EXPECT_EQ(file.build, name);
        EXPECT_EQ(file.shortCut.name, name);
        EXPECT_EQ(file.shortCut.dir, name);
    }
}

namespace {

/// A record with all odd names at several depths, used and unused.
void fillWithOddNames(StatusFile& record, const std::vector<std::string>& texts) {
    for (const char* ID : {"A", "B"}) {
        FileNode tree = folderNode("");
        FileNode* directory = &tree;
        for (const std::string& text : texts) {
            add(*directory, fileWithShortCut(("s" + text).c_str(), text.c_str(), "Apps"));
            add(*directory, fileNode(("f" + text).c_str()));
            directory = &add(*directory, folderNode(text.c_str()));
        }
        install(record, product(ID, "1.0.0.7", texts.front().c_str()), tree);
    }
    VLString directory;
    for (const std::string& text : texts) {
        at(record, directory + ("/f" + text).c_str()).ref = 0;
        directory += ("/" + text).c_str();
    }
    at(record, directory).ref = 0;
}

} // namespace

TEST_F(StatusFileTest, OtherReadersTakeTheFileForXML) {
    fillWithOddNames(record, oddNames());
    written();
    const ProgramResult python =
        runProgram({"python3", "-c",
                    "import sys, xml.etree.ElementTree as e\n"
                    "names = [x.get('fileName') for x in e.parse(sys.argv[1]).iter()]\n"
                    "sys.exit(0 if '\\u00c9clair \\u65e5\\u672c \\'x\\' & y' in names else 1)",
                    path.ConstData()});
    if (python.exitStatus == 127) {
        GTEST_SKIP() << "no python3 on this machine";
    }
    EXPECT_EQ(python.exitStatus, 0) << python.standardError;
}

// Hostile records

TEST_F(StatusFileTest, ADamagedByteDoesNotCrash) {
    fillWithOddNames(record, {"日 &", "b"});
    const std::string whole = written();
    const std::string bytes = "\0<>\"&\xEF\xFF"s;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        std::string damaged = whole;
        damaged[i] = bytes[i % bytes.size()];
        parsed(damaged);
    }
}

TEST_F(StatusFileTest, TooDeepARecordIsEmpty) {
    std::string deep = "<install><products><sku ID='A'/></products><installFiles>";
    for (int i = 0; i < 100'000; ++i) {
        deep += "<directory fileName='d' ref='1'>";
    }
    record.addProduct(product("A"));
    parsed(deep);
    EXPECT_TRUE(record.products.empty());
    EXPECT_TRUE(record.root.refChildren.empty());
}

// Size

TEST_F(StatusFileTest, ATree200LevelsDeepIsRecordedAndReadAgain) {
    FileNode tree = folderNode("");
    FileNode* directory = &tree;
    VLString deepest;
    for (int i = 0; i < 200; ++i) {
        for (int k = 0; k < 5; ++k) {
            add(*directory, fileNode(std::to_string(k).c_str()));
        }
        directory = &add(*directory, folderNode("d"));
        deepest += "/d";
    }
    install(record, product("A"), tree);
    EXPECT_EQ(at(record, deepest).ref, 1);
    saveAndLoad();
    install(record, product("B"), tree);
    EXPECT_EQ(at(record, deepest).ref, 2);
    uninstall(record, product("A"), tree);
    EXPECT_EQ(at(record, deepest).ref, 1);
}

TEST_F(StatusFileTest, AFolderOf100000FilesTakesTimeInProportion) {
    const auto secondsFor = [&](int count) {
        FileNode tree = folderNode("");
        FileNode& directory = add(tree, folderNode("d"));
        for (int i = 0; i < count; ++i) {
            add(directory, fileNode(("file " + std::to_string(i)).c_str()));
        }
        record.clear();
        return processorSeconds([&] {
            install(record, product("A"), tree);
            saveAndLoad();
            install(record, product("B"), tree);
            saveAndLoad();
            uninstall(record, product("A"), tree);
        });
    };
    const double small = secondsFor(12'500);
    const double large = secondsFor(100'000);
    EXPECT_EQ(at(record, "d/file 99999").ref, 1);
    // Eight times as many; 64 times as long if anything were quadratic.
    EXPECT_LT(large, 24 * small + 0.1);
}

TEST_F(StatusFileTest, ManyProductsAreReadInTimeInProportion) {
    std::string text;
    for (int i = 0; i < 100'000; ++i) {
        text += "<sku ID='" + std::to_string(i) + "'/>";
    }
    EXPECT_LT(processorSeconds([&] { parsedProducts(text); }), 3);
    EXPECT_EQ(record.products.size(), 100'000U);
}
