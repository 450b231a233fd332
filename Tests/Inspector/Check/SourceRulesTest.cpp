// The rules that hold the definition against the source folder: what triggers each, and what does not.
#include "Tests/Inspector/Check/InspectedProduct.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Check/Rules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class SourceRules : public testing::Test {
protected:
    TemporaryDirectory folder;

    SourceRules() { restore(); }

    /// The whole source and nothing else.
    void restore() const {
        std::filesystem::remove_all(source());
        for (const char* path : {"Hosts/Edius/Glow/Glow.plugin", "VorlaneFX/Looks/Grey.look",
                                 "VorlaneFX/Guide.html", "Content/Paper.txt"}) {
            FileTree::write(source() / path, "");
        }
    }

    std::filesystem::path source() const { return folder.path() / "files"; }

    std::vector<Finding> findings(const std::vector<Edit>& edits = {}) const {
        FileTree::write(folder.path() / "sku.xml", InspectedProduct::definition(edits));
        Product product;
        std::string error;
        EXPECT_TRUE(product.definitionFile.read((folder.path() / "sku.xml").string(),
                                                Location::Document::Definition, Kind::Product, error));
        product.source = source().string();
        product.interpret();
        return checkProduct(product);
    }

    /// "rule line" for what is found in the definition, "rule path" for what is found in the source.
    std::vector<std::string> check(const std::vector<Edit>& edits = {}) const {
        std::vector<std::string> found;
        for (const Finding& finding : findings(edits)) {
            const Location& where = finding.where;
            const auto path = std::filesystem::path(where.file).lexically_relative(source()).string();
            found.push_back(finding.rule + " " + (where.line > 0 ? std::to_string(where.line) : path));
        }
        return found;
    }
};

const Edit noShared = {Edit::Definition, "<directory fileName=\"VorlaneFX\">", "<directory>"};

} // namespace

TEST_F(SourceRules, ACompleteSourceIsClean) {
    EXPECT_THAT(check(), IsEmpty());
}

TEST_F(SourceRules, EveryMissingNameIsReportedAndNotOnlyTheFirst) {
    std::filesystem::remove(source() / "VorlaneFX" / "Guide.html");
    std::filesystem::remove_all(source() / "Hosts" / "Edius");
    EXPECT_THAT(check(), ElementsAre("missing-in-source 17", "missing-in-source 27"));
}

TEST_F(SourceRules, AFileMayBeAFolderInTheSource) {
    std::filesystem::remove(source() / "Hosts/Edius/Glow/Glow.plugin");
    FileTree::write(source() / "Hosts/Edius/Glow/Glow.plugin/Contents/code", "");
    EXPECT_THAT(check(), IsEmpty());
}

TEST_F(SourceRules, ADirectoryMayNotBeAFile) {
    std::filesystem::remove_all(source() / "VorlaneFX/Looks");
    FileTree::write(source() / "VorlaneFX/Looks", "");
    EXPECT_THAT(check(), ElementsAre("missing-in-source 24"));
}

TEST_F(SourceRules, ALinkIsWhatItLeadsTo) {
    std::filesystem::rename(source() / "Content/Paper.txt", folder.path() / "Paper.txt");
    std::filesystem::create_symlink("../../Paper.txt", source() / "Content/Paper.txt");
    EXPECT_THAT(check(), IsEmpty());
    std::filesystem::remove(folder.path() / "Paper.txt");
    EXPECT_THAT(check(), ElementsAre("missing-in-source 32"));
}

TEST_F(SourceRules, WhatNoEntryCoversIsReportedOnce) {
    FileTree::write(source() / "VorlaneFX/Looks/Blue.look", "");
    FileTree::write(source() / "Docs/a/b.txt", "");
    FileTree::write(source() / "Content/.DS_Store", "");
    EXPECT_THAT(check(), ElementsAre("not-listed Docs", "not-listed VorlaneFX/Looks/Blue.look"));
}

TEST_F(SourceRules, ADirectoryWithoutChildrenCoversAllThatIsInIt) {
    FileTree::write(source() / "VorlaneFX/Looks/Blue.look", "");
    EXPECT_THAT(check({{Edit::Definition, "<file fileName=\"Grey.look\"/>", ""}}), IsEmpty());
}

TEST_F(SourceRules, AnotherCaseInTheSourceIsReportedOnEveryDisk) {
    std::filesystem::rename(source() / "Content/Paper.txt", source() / "Content/paper.txt");
    EXPECT_THAT(check(), ElementsAre("missing-in-source 32", "not-listed Content/paper.txt"));
}

TEST_F(SourceRules, TheNameThatTheSourceHasInsteadIsAdvised) {
    const auto adviceAfterMoving = [this](const char* from, const char* to) {
        std::filesystem::rename(source() / from, source() / to);
        const std::string advice = findings().front().advice;
        restore();
        return advice;
    };
    EXPECT_EQ(adviceAfterMoving("Content/Paper.txt", "Content/paper.txt"),
              "Write \"paper.txt\", as the source spells it.");
    EXPECT_EQ(adviceAfterMoving("Content/Paper.txt", "Content/Papr.txt"),
              "Write \"Papr.txt\", which the source has, or put it there.");
    EXPECT_EQ(adviceAfterMoving("Content", "Contents"),
              "Write \"Contents\", which the source has, or put it there.");
    const char* const neither = "Put it there, or take it out of the tree.";
    EXPECT_EQ(adviceAfterMoving("Content/Paper.txt", "Content/Wood.png"), neither);
    // A file is no directory's other name, and a name that the tree lists is nothing else's.
    EXPECT_EQ(adviceAfterMoving("VorlaneFX/Looks", "VorlaneFX/Look"),
              "Write \"Look\", which the source has, or put it there.");
    std::filesystem::remove_all(source() / "VorlaneFX/Looks");
    FileTree::write(source() / "VorlaneFX/Look", "");
    EXPECT_EQ(findings().front().advice, neither);
    restore();
    std::filesystem::rename(source() / "Content/Paper.txt", source() / "Content/Papers.txt");
    EXPECT_EQ(findings({{Edit::Definition, "<file fileName=\"Paper.txt\" arch=\"x86\"/>",
                         "<file fileName=\"Paper.txt\"/><file fileName=\"Papers.txt\"/>"}})
                  .front()
                  .advice,
              neither);
}

TEST_F(SourceRules, AMissingSharedFolderIsReportedEvenWhenTheTreeDoesNotListIt) {
    std::filesystem::remove_all(source() / "VorlaneFX");
    EXPECT_THAT(check({noShared}), ElementsAre("missing-attribute 23", "no-shared-source ."));
}

TEST_F(SourceRules, AnUnlistedSharedFolderInTheSourceIsEnoughForIt) {
    EXPECT_THAT(check({noShared}), ElementsAre("missing-attribute 23", "not-listed VorlaneFX"));
}

TEST_F(SourceRules, EachHasOneThatTriggersItAndOneThatDoesNot) {
    std::map<std::string, std::function<std::vector<std::string>()>> triggers = {
        {"missing-in-source",
         [this] {
             std::filesystem::remove(source() / "Content/Paper.txt");
             return check();
         }},
        {"not-listed",
         [this] {
             FileTree::write(source() / "Docs/a.txt", "");
             return check();
         }},
        {"no-shared-source",
         [this] {
             std::filesystem::remove_all(source() / "VorlaneFX");
             return check({noShared});
         }},
    };
    for (const Rule& rule : sourceRules()) {
        SCOPED_TRACE(rule.name);
        const auto triggered = [&](const std::vector<std::string>& found) {
            return std::any_of(found.begin(), found.end(), [&](const std::string& line) {
                return line.substr(0, line.find(' ')) == rule.name;
            });
        };
        EXPECT_FALSE(triggered(SourceRules::check()));
        ASSERT_EQ(triggers.count(rule.name), 1U);
        EXPECT_TRUE(triggered(triggers[rule.name]()));
        restore();
    }
}
