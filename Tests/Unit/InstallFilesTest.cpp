#include "Tests/Support/VLStringPrinter.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The tree of a definition whose installFiles element has that content.
FileNode filesOf(const std::string& content) {
    SKUDefinition definition;
    const std::string xml = "<product><installFiles>" + content + "</installFiles></product>";
    definition.parse(VLString(xml.data(), xml.size()));
    return definition.installFiles;
}

/// `xml` with `value` in place of each "@".
std::string filled(const char* xml, const std::string& value) {
    return VLString(xml).Replace("@", value.c_str()).ConstData();
}

std::vector<VLString> childNames(const FileNode& node) {
    std::vector<VLString> names;
    for (const auto& [name, child] : node.children) {
        EXPECT_EQ(name, child.name);
        names.push_back(name);
    }
    return names;
}

/// The node at the end of a path of names.
const FileNode& at(const FileNode& node, const std::vector<VLString>& path) {
    const FileNode* found = &node;
    for (const VLString& name : path) {
        found = &found->children.at(name);
    }
    return *found;
}

struct Flag {
    const char* attribute;
    bool FileNode::*field;
};
const Flag flags[] = {{"dontdelete", &FileNode::dontDelete},
                      {"ignoreinstallerrors", &FileNode::ignoreInstallErrors},
                      {"allowdowngrade", &FileNode::allowDowngrade}};

std::chrono::duration<double> timeToRead(int files) {
    std::string content;
    for (int i = 0; i < files; ++i) {
        content += "<file fileName='f" + std::to_string(i) + "'/>";
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(filesOf(content).children.size(), static_cast<std::size_t>(files));
    return std::chrono::steady_clock::now() - start;
}

} // namespace

TEST(InstallFiles, ANodeStartsEmpty) {
    const FileNode node;
    EXPECT_EQ(node.name, "");
    EXPECT_FALSE(node.isDirectory);
    EXPECT_THAT(node.children, IsEmpty());
    EXPECT_EQ(node.parentName, "");
    EXPECT_EQ(node.arch, 0);
    EXPECT_EQ(node.configuration, "");
    EXPECT_FALSE(node.dontDelete);
    EXPECT_FALSE(node.ignoreInstallErrors);
    EXPECT_FALSE(node.allowDowngrade);
    EXPECT_EQ(node.shortCut.name, "");
    EXPECT_EQ(node.shortCut.dir, "");
}

TEST(InstallFiles, ACopyIsDeep) {
    FileNode original = filesOf("<directory fileName='d'><file fileName='f'/></directory>");
    const FileNode copy = original;
    original.children.at("d").children.at("f").configuration = "changed";
    original.children.clear();
    EXPECT_EQ(at(copy, {"d", "f"}).configuration, "");
}

TEST(InstallFiles, FoldersAndFilesMakeATree) {
    const FileNode root = filesOf("<directory fileName='Hosts'><directory fileName='Sub'><file fileName='x'/>"
                                  "</directory><file fileName='y'/></directory><file fileName='z'/>");
    EXPECT_THAT(childNames(root), ElementsAre("Hosts", "z"));
    EXPECT_THAT(childNames(at(root, {"Hosts"})), ElementsAre("Sub", "y"));
    EXPECT_THAT(childNames(at(root, {"Hosts", "Sub"})), ElementsAre("x"));
    EXPECT_TRUE(at(root, {"Hosts"}).isDirectory);
    EXPECT_TRUE(at(root, {"Hosts", "Sub"}).isDirectory);
    EXPECT_FALSE(at(root, {"Hosts", "Sub", "x"}).isDirectory);
    EXPECT_FALSE(at(root, {"z"}).isDirectory);
}

TEST(InstallFiles, TheRootIsAFolderWithoutNameAndFlags) {
    const FileNode root = filesOf("<file fileName='f' dontdelete='1'/>");
    EXPECT_TRUE(root.isDirectory);
    EXPECT_EQ(root.name, "");
    EXPECT_FALSE(root.dontDelete);
    EXPECT_FALSE(root.ignoreInstallErrors);
    EXPECT_FALSE(root.allowDowngrade);
}

TEST(InstallFiles, AnEmptyElementGivesAnEmptyFolder) {
    const FileNode root = filesOf("");
    EXPECT_TRUE(root.isDirectory);
    EXPECT_THAT(root.children, IsEmpty());
}

TEST(InstallFiles, WithoutElementTheRootStaysAsClearLeavesIt) {
    SKUDefinition definition;
    definition.parse("<product><installFiles><file fileName='f'/></installFiles></product>");
    definition.parse("<product/>");
    EXPECT_TRUE(definition.installFiles.isDirectory);
    EXPECT_THAT(definition.installFiles.children, IsEmpty());
    definition = SKUDefinition();
    definition.parse("<product/>");
    EXPECT_FALSE(definition.installFiles.isDirectory);
}

TEST(InstallFiles, NoElementFillsNothing) {
    SKUDefinition definition;
    FileNode parent;
    parent.children["kept"].name = "kept";
    definition.parseInstallFiles(parent, nullptr, "p");
    EXPECT_THAT(childNames(parent), ElementsAre("kept"));
}

TEST(InstallFiles, FillsAnyFolderFromAnyElement) {
    TiXmlDocument document;
    document.Parse("<any><file fileName='f'/></any>");
    SKUDefinition definition;
    FileNode parent;
    parent.name = "not asked for";
    parent.dontDelete = true;
    parent.children["kept"].name = "kept";
    definition.parseInstallFiles(parent, document.RootElement(), "p");
    EXPECT_THAT(childNames(parent), ElementsAre("kept", "f"));
    EXPECT_EQ(at(parent, {"f"}).parentName, "p");
    EXPECT_TRUE(at(parent, {"f"}).dontDelete);
}

TEST(InstallFiles, ChildrenAreOrderedByTheirNamesLongestFirst) {
    EXPECT_THAT(childNames(filesOf("<file fileName='b'/><file fileName='zz'/><file fileName='abc'/>")),
                ElementsAre("abc", "zz", "b"));
}

TEST(InstallFiles, TheParentIsTheEnclosingFoldersName) {
    const FileNode root = filesOf("<directory fileName='a'><directory fileName='b'><file fileName='f'/>"
                                  "</directory></directory><file fileName='g'/>");
    EXPECT_EQ(at(root, {"a"}).parentName, "");
    EXPECT_EQ(at(root, {"g"}).parentName, "");
    EXPECT_EQ(at(root, {"a", "b"}).parentName, "a");
    EXPECT_EQ(at(root, {"a", "b", "f"}).parentName, "b");
}

TEST(InstallFiles, ANameLongerThanAnyPathIsNotRepeatedInItsChildren) {
    const std::string longest(1023, 'n');
    const std::string longer(1024, 'n');
    const FileNode root = filesOf("<directory fileName='" + longest + "'><file fileName='f'/></directory>" +
                                  "<directory fileName='" + longer + "'><file fileName='f'/></directory>");
    EXPECT_EQ(at(root, {longest.c_str(), "f"}).parentName, longest.c_str());
    EXPECT_EQ(at(root, {longer.c_str(), "f"}).parentName, "");
}

TEST(InstallFiles, OnlyX86IsAnArch) {
    const std::pair<const char*, std::int32_t> expectations[] = {
        {"x86", 1}, {"X86", 1}, {"x64", 0}, {"x86;x64", 0}, {"x86;", 0}, {" x86", 0}, {"", 0}, {"1", 0}};
    for (const auto& [arch, number] : expectations) {
        const FileNode root =
            filesOf(filled("<directory fileName='d' arch='@'/><file fileName='f' arch='@'/>", arch));
        EXPECT_EQ(at(root, {"d"}).arch, number) << arch;
        EXPECT_EQ(at(root, {"f"}).arch, number) << arch;
    }
    EXPECT_EQ(at(filesOf("<file fileName='f'/>"), {"f"}).arch, 0);
}

TEST(InstallFiles, ArchAndConfigurationAreNotInherited) {
    const FileNode root = filesOf("<directory fileName='d' arch='x86' configuration='Release'>"
                                  "<directory fileName='e'/><file fileName='f'/></directory>");
    EXPECT_EQ(at(root, {"d"}).arch, 1);
    EXPECT_EQ(at(root, {"d", "e"}).arch, 0);
    EXPECT_EQ(at(root, {"d", "f"}).arch, 0);
    EXPECT_EQ(at(root, {"d", "f"}).configuration, "");
}

TEST(InstallFiles, OnlyFilesHaveAConfiguration) {
    const FileNode root = filesOf("<directory fileName='d' configuration='Release'/>"
                                  "<file fileName='f' configuration='Release'/>");
    EXPECT_EQ(at(root, {"d"}).configuration, "");
    EXPECT_EQ(at(root, {"f"}).configuration, "Release");
}

TEST(InstallFiles, FlagsAreInheritedThroughAllLevels) {
    for (const Flag& flag : flags) {
        const FileNode root =
            filesOf(filled("<directory fileName='d' @='1'><directory fileName='e'><file fileName='f'/>"
                           "</directory></directory><file fileName='g'/>",
                           flag.attribute));
        EXPECT_TRUE(at(root, {"d"}).*flag.field) << flag.attribute;
        EXPECT_TRUE(at(root, {"d", "e"}).*flag.field) << flag.attribute;
        EXPECT_TRUE(at(root, {"d", "e", "f"}).*flag.field) << flag.attribute;
        EXPECT_FALSE(at(root, {"g"}).*flag.field) << flag.attribute;
        for (const Flag& other : flags) {
            EXPECT_EQ(at(root, {"d", "e", "f"}).*other.field, other.field == flag.field) << other.attribute;
        }
    }
}

TEST(InstallFiles, ALevelMayStateAFlagAnew) {
    for (const Flag& flag : flags) {
        const FileNode root = filesOf(
            filled("<directory fileName='d' @='1'><file fileName='inherits'/><file fileName='denies' @='0'/>"
                   "<directory fileName='e' @='0'><file fileName='f'/><file fileName='g' @='1'/>"
                   "</directory></directory>",
                   flag.attribute));
        EXPECT_TRUE(at(root, {"d", "inherits"}).*flag.field) << flag.attribute;
        EXPECT_FALSE(at(root, {"d", "denies"}).*flag.field) << flag.attribute;
        EXPECT_FALSE(at(root, {"d", "e"}).*flag.field) << flag.attribute;
        EXPECT_FALSE(at(root, {"d", "e", "f"}).*flag.field) << flag.attribute;
        EXPECT_TRUE(at(root, {"d", "e", "g"}).*flag.field) << flag.attribute;
    }
}

TEST(InstallFiles, OtherTextsOfAFlagAreAsGoodAsNone) {
    for (const Flag& flag : flags) {
        for (const char* other : {"true", "yes", "false", "no", "2", ""}) {
            const std::string stated = std::string(flag.attribute) + "='" + other + "'";
            const FileNode inherited =
                filesOf(filled("<directory fileName='d' @='1'>", flag.attribute) +
                        filled("<file fileName='f' @/><directory fileName='e' @/>", stated) + "</directory>");
            const FileNode root = filesOf(filled("<file fileName='g' @/>", stated));
            EXPECT_TRUE(at(inherited, {"d", "f"}).*flag.field) << stated;
            EXPECT_TRUE(at(inherited, {"d", "e"}).*flag.field) << stated;
            EXPECT_FALSE(at(root, {"g"}).*flag.field) << stated;
        }
    }
}

TEST(InstallFiles, NodesWithoutNameAreSkippedWithAllInsideThem) {
    const FileNode root =
        filesOf("<directory><file fileName='a'/><directory fileName='b'/></directory>"
                "<directory fileName=''><file fileName='c'/></directory><file/><file fileName=''/>"
                "<directory FileName='d'/><file name='e'/><file fileName='kept'/>");
    EXPECT_THAT(childNames(root), ElementsAre("kept"));
}

TEST(InstallFiles, OtherNodesAreIgnored) {
    const FileNode root =
        filesOf("text<!--file--><folder fileName='a'/><File fileName='b'/><Directory fileName='c'/>"
                "<shortCut name='d' dir='e'/>file<file fileName='kept'/>directory");
    EXPECT_THAT(childNames(root), ElementsAre("kept"));
}

TEST(InstallFiles, AFileHasNoChildren) {
    const FileNode root = filesOf("<file fileName='f'><file fileName='g'/><directory fileName='d'/></file>");
    EXPECT_THAT(at(root, {"f"}).children, IsEmpty());
}

TEST(InstallFiles, AFileReplacesAFolderOfItsNameWhereverItStands) {
    for (const char* content : {"<directory fileName='a.bundle'><file fileName='f'/></directory>"
                                "<file fileName='a.bundle'/>",
                                "<file fileName='a.bundle'/>"
                                "<directory fileName='a.bundle'><file fileName='f'/></directory>"}) {
        const FileNode root = filesOf(content);
        EXPECT_THAT(childNames(root), ElementsAre("a.bundle"));
        EXPECT_FALSE(at(root, {"a.bundle"}).isDirectory);
        EXPECT_THAT(at(root, {"a.bundle"}).children, IsEmpty());
    }
}

TEST(InstallFiles, ALaterNodeReplacesOneOfItsKindAndNameWhole) {
    const FileNode root =
        filesOf("<directory fileName='d' dontdelete='1' arch='x86'><file fileName='old'/></directory>"
                "<directory fileName='d'><file fileName='new'/></directory>"
                "<file fileName='f' configuration='c' allowdowngrade='1'><shortCut name='s' dir='t'/></file>"
                "<file fileName='f'/>");
    EXPECT_THAT(childNames(at(root, {"d"})), ElementsAre("new"));
    EXPECT_FALSE(at(root, {"d"}).dontDelete);
    EXPECT_FALSE(at(root, {"d", "new"}).dontDelete);
    EXPECT_EQ(at(root, {"d"}).arch, 0);
    EXPECT_EQ(at(root, {"f"}).configuration, "");
    EXPECT_FALSE(at(root, {"f"}).allowDowngrade);
    EXPECT_EQ(at(root, {"f"}).shortCut.name, "");
}

TEST(InstallFiles, NamesThatDifferInCaseAreTwo) {
    EXPECT_THAT(childNames(filesOf("<file fileName='A'/><file fileName='a'/>")), ElementsAre("A", "a"));
}

TEST(InstallFiles, AFileMayHaveAShortCut) {
    const FileNode root = filesOf("<file fileName='f'><shortCut name='s' dir='t'/></file>");
    EXPECT_EQ(at(root, {"f"}).shortCut.name, "s");
    EXPECT_EQ(at(root, {"f"}).shortCut.dir, "t");
    EXPECT_TRUE(at(root, {"f"}).IsShortCutInfoValid());
}

TEST(InstallFiles, OnlyTheFirstShortCutCounts) {
    const FileNode root =
        filesOf("<file fileName='f'><!-- c --><shortCut name='s'/><shortCut name='u' dir='v'/></file>");
    EXPECT_EQ(at(root, {"f"}).shortCut.name, "s");
    EXPECT_EQ(at(root, {"f"}).shortCut.dir, "");
}

TEST(InstallFiles, AShortCutOfAFolderIsIgnored) {
    const FileNode root = filesOf("<directory fileName='d'><shortCut name='s' dir='t'/></directory>");
    EXPECT_EQ(at(root, {"d"}).shortCut.name, "");
    EXPECT_EQ(at(root, {"d"}).shortCut.dir, "");
    EXPECT_FALSE(at(root, {"d"}).IsShortCutInfoValid());
}

TEST(InstallFiles, AShortCutIsValidWithNameAndFolderOnly) {
    const FileNode root = filesOf(
        "<file fileName='name'><shortCut name='s'/></file><file fileName='dir'><shortCut dir='t'/></file>"
        "<file fileName='none'><shortCut/></file>");
    EXPECT_EQ(at(root, {"name"}).shortCut.name, "s");
    EXPECT_FALSE(at(root, {"name"}).IsShortCutInfoValid());
    EXPECT_EQ(at(root, {"dir"}).shortCut.dir, "t");
    EXPECT_FALSE(at(root, {"dir"}).IsShortCutInfoValid());
    EXPECT_FALSE(at(root, {"none"}).IsShortCutInfoValid());
}

TEST(InstallFiles, TwoHundredLevelsAreRead) {
    std::string content = "<file fileName='f'/>";
    for (int i = 0; i < 200; ++i) {
        content.insert(0, "<directory fileName='d'>").append("</directory>");
    }
    const FileNode root = filesOf(content);
    const FileNode* node = &root;
    for (int i = 0; i < 200; ++i) {
        node = &node->children.at("d");
    }
    EXPECT_THAT(childNames(*node), ElementsAre("f"));
}

TEST(InstallFiles, TimeGrowsInProportionToTheNumberOfFiles) {
    const auto few = std::min({timeToRead(10000), timeToRead(10000), timeToRead(10000)});
    const auto many = timeToRead(100000);
    EXPECT_LT(many / few, 40); // 10 in theory; 100 where each file costs time in proportion to all others
}
