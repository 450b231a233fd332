#include "Utility/InstallUtility/Branches.h"

#include "Tests/Support/VLStringPrinter.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using LeftOut = TreeBranch::LeftOut;
using Order = TreeBranch::Order;

class Branches : public testing::Test {
protected:
    void families(std::initializer_list<const char*> names) {
        for (const char* name : names) {
            definition.pluginsByFamily[name];
        }
    }
    /// A node below the root; the ones above it come into being with it.
    FileNode& node(std::initializer_list<const char*> names) {
        FileNode* node = &definition.installFiles;
        for (const char* name : names) {
            node = &node->children[name];
            node->name = name;
            node->isDirectory = true;
        }
        return *node;
    }
    InstallUtility::InstallItem& hostItem(const char* host) { return items["Hosts"].items[host]; }

    std::vector<TreeBranch> branches(Order order) const { return branchesOf(definition, items, order); }
    /// A line for each branch: its path, and after "%" the family that is current there. What is left out
    /// follows "-".
    Lines walk(Order order) const {
        Lines lines;
        for (const TreeBranch& branch : branches(order)) {
            const bool bWalked = branch.leftOut == LeftOut::No;
            lines.push_back((bWalked ? "" : "-") + std::string(branch.treePath.ConstData()) + " %" +
                            branch.family.ConstData());
        }
        return lines;
    }

    SKUDefinition definition;
    TreeBranch::Items items;
};

/// Two hosts with two families each, and the two other branches.
class AllBranches : public Branches {
protected:
    AllBranches() {
        families({"A", "B"});
        for (const char* host : {"Edius", "OpenFX"}) {
            hostItem(host);
            node({"Hosts", host, "B"});
            node({"Hosts", host, "A"});
        }
        items["VorlaneFX"];
        items["Content"];
        node({"VorlaneFX"});
        node({"Content"});
    }
};

} // namespace

TEST_F(AllBranches, InstallTakesHostsFirstAndTheLastFamilyStaysCurrent) {
    EXPECT_EQ(walk(Order::Install), (Lines{"Hosts/OpenFX/A %A", "Hosts/OpenFX/B %B", "Hosts/Edius/A %A",
                                           "Hosts/Edius/B %B", "VorlaneFX %B", "Content %B"}));
}

TEST_F(AllBranches, UninstallTakesSharedFilesFirstWithTheFirstFamily) {
    EXPECT_EQ(walk(Order::Uninstall), (Lines{"VorlaneFX %A", "Hosts/OpenFX/A %A", "Hosts/OpenFX/B %B",
                                             "Hosts/Edius/A %A", "Hosts/Edius/B %B", "Content %B"}));
}

TEST_F(AllBranches, OrderOfTheTreeIsLongestNameFirst) {
    EXPECT_EQ(walk(Order::Tree), (Lines{"VorlaneFX %A", "Content %A", "Hosts/OpenFX/A %A",
                                        "Hosts/OpenFX/B %B", "Hosts/Edius/A %A", "Hosts/Edius/B %B"}));
}

TEST_F(AllBranches, BranchHasItsNodeItemAndHost) {
    const auto found = branches(Order::Install);
    ASSERT_EQ(found.size(), 6U);
    EXPECT_EQ(&found[3].node, &node({"Hosts", "Edius", "B"}));
    EXPECT_EQ(&found[3].item, &hostItem("Edius"));
    EXPECT_EQ(found[3].host, VLString("Edius"));
    EXPECT_EQ(&found[4].node, &node({"VorlaneFX"}));
    EXPECT_EQ(&found[4].item, &items["VorlaneFX"]);
    EXPECT_EQ(found[4].host, VLString());
    EXPECT_EQ(&found[5].node, &node({"Content"}));
    EXPECT_EQ(&found[5].item, &items["Content"]);
    EXPECT_EQ(found[5].host, VLString());
}

TEST_F(AllBranches, HostWithoutItemIsLeftOutAsAWhole) {
    items["Hosts"].items.erase("OpenFX");
    EXPECT_EQ(walk(Order::Install), (Lines{"-Hosts/OpenFX %A", "Hosts/Edius/A %A", "Hosts/Edius/B %B",
                                           "VorlaneFX %B", "Content %B"}));
    const TreeBranch host = branches(Order::Install).front();
    EXPECT_EQ(host.leftOut, LeftOut::HostWithoutItem);
    EXPECT_EQ(host.host, VLString("OpenFX"));
    EXPECT_EQ(&host.node, &node({"Hosts", "OpenFX"}));
}

TEST_F(AllBranches, WithoutAnyHostItemTheFirstFamilyStaysCurrent) {
    items.erase("Hosts");
    EXPECT_EQ(walk(Order::Install),
              (Lines{"-Hosts/OpenFX %A", "-Hosts/Edius %A", "VorlaneFX %A", "Content %A"}));
}

TEST_F(AllBranches, UnknownFamilyIsLeftOutAndDoesNotBecomeCurrent) {
    definition.pluginsByFamily.erase("B");
    EXPECT_EQ(walk(Order::Install), (Lines{"Hosts/OpenFX/A %A", "-Hosts/OpenFX/B %A", "Hosts/Edius/A %A",
                                           "-Hosts/Edius/B %A", "VorlaneFX %A", "Content %A"}));
    const TreeBranch family = branches(Order::Install)[1];
    EXPECT_EQ(family.leftOut, LeftOut::UnknownFamily);
    EXPECT_EQ(family.host, VLString("OpenFX"));
    EXPECT_EQ(&family.node, &node({"Hosts", "OpenFX", "B"}));
}

TEST_F(AllBranches, ContentWithoutItemIsLeftOut) {
    items.erase("Content");
    for (const Order order : {Order::Install, Order::Uninstall}) {
        const TreeBranch content = branches(order).back();
        EXPECT_EQ(content.leftOut, LeftOut::ContentWithoutItem);
        EXPECT_EQ(&content.node, &node({"Content"}));
        EXPECT_EQ(content.family, VLString("B"));
    }
}

TEST_F(AllBranches, SharedFilesWithoutItemAreWalked) {
    items.erase("VorlaneFX");
    const TreeBranch shared = branches(Order::Uninstall).front();
    EXPECT_EQ(shared.leftOut, LeftOut::No);
    EXPECT_EQ(&shared.node, &node({"VorlaneFX"}));
    EXPECT_TRUE(shared.item.paths.empty());
}

TEST_F(AllBranches, OtherFoldersOfTheTreeAreLeftOutOfItsOwnOrderAlone) {
    node({"X"});
    items["X"];
    EXPECT_EQ(branches(Order::Install).size(), 6U);
    EXPECT_EQ(branches(Order::Uninstall).size(), 6U);
    const TreeBranch extra = branches(Order::Tree).back();
    EXPECT_EQ(extra.treePath, VLString("X"));
    EXPECT_EQ(extra.leftOut, LeftOut::UnknownName);
    EXPECT_EQ(&extra.node, &node({"X"}));
}

TEST_F(Branches, OfAnEmptyTreeAreTheSharedFilesOfARun) {
    items["Hosts"];
    items["Content"];
    for (const Order order : {Order::Install, Order::Uninstall}) {
        ASSERT_EQ(walk(order), (Lines{"VorlaneFX %"}));
        EXPECT_TRUE(branches(order).front().node.children.empty());
        EXPECT_FALSE(branches(order).front().node.isDirectory);
    }
    EXPECT_EQ(walk(Order::Tree), Lines());
    EXPECT_TRUE(definition.installFiles.children.empty());
    EXPECT_EQ(items.size(), 2U);
}

TEST_F(Branches, SlashAtTheEndOfANameIsNotDoubled) {
    families({"A"});
    node({"Hosts", "Edius/", "A"});
    EXPECT_EQ(walk(Order::Tree), (Lines{"-Hosts/Edius/ %A"}));
    hostItem("Edius/");
    EXPECT_EQ(walk(Order::Tree), (Lines{"Hosts/Edius/A %A"}));
}

// The record's folder

TEST_F(Branches, FirstFamilyIsThatOfTheFirstName) {
    EXPECT_EQ(firstFamilyOf(definition), VLString());
    families({"B", "A", "Long"});
    EXPECT_EQ(firstFamilyOf(definition), VLString("Long"));
}

TEST_F(Branches, RecordLiesInTheFirstTargetOfTheSharedFilesWithTheFirstFamily) {
    EXPECT_EQ(statusFolderOf(definition, items), VLString());
    families({"B", "A"});
    items["VorlaneFX"].paths.resize(2);
    items["VorlaneFX"].paths[0].path = "/Library/%FAMILY%";
    items["VorlaneFX"].paths[1].path = "/Library/Second";
    EXPECT_EQ(statusFolderOf(definition, items), VLString("/Library/A"));
}
