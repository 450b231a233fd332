#include "Utility/InstallUtility/FileNode.h"

#include "Tests/Support/VLStringPrinter.h"

#include <gtest/gtest.h>

TEST(FileNode, StartsAsAnEmptyFile) {
    const FileNode node;
    EXPECT_TRUE(node.name.IsEmpty());
    EXPECT_FALSE(node.isDirectory);
    EXPECT_TRUE(node.children.empty());
    EXPECT_TRUE(node.parentName.IsEmpty());
    EXPECT_EQ(node.arch, 0);
    EXPECT_TRUE(node.configuration.IsEmpty());
    EXPECT_FALSE(node.dontDelete);
    EXPECT_FALSE(node.ignoreInstallErrors);
    EXPECT_FALSE(node.allowDowngrade);
    EXPECT_TRUE(node.shortCut.name.IsEmpty());
    EXPECT_TRUE(node.shortCut.dir.IsEmpty());
}

TEST(FileNode, AShortCutNeedsANameAndAFolder) {
    FileNode node;
    EXPECT_FALSE(node.IsShortCutInfoValid());
    node.shortCut.name = "Alpha";
    EXPECT_FALSE(node.IsShortCutInfoValid());
    node.shortCut.dir = "/Applications";
    EXPECT_TRUE(node.IsShortCutInfoValid());
    node.shortCut.name.Clear();
    EXPECT_FALSE(node.IsShortCutInfoValid());
}

TEST(FileNode, ACopyHasTheWholeSubtreeToItself) {
    FileNode node;
    node.isDirectory = true;
    node.children["a"].children["b"].name = "b";

    FileNode copy = node;
    node.children["a"].children["b"].name = "changed";
    EXPECT_EQ(copy.children["a"].children["b"].name, VLString("b"));
    EXPECT_TRUE(copy.isDirectory);
}

TEST(FileNode, ChildrenStandLongestNameFirst) {
    FileNode node;
    for (const char* name : {"b", "aa", "a", "ccc"}) {
        node.children[name].name = name;
    }
    VLString order;
    for (const auto& child : node.children) {
        order += child.first + " ";
    }
    EXPECT_EQ(order, VLString("ccc aa a b "));
}
