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
#include <unistd.h>

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
            FileTree::write(source() / path, "x");
        }
    }

    /// Glow.plugin as a bundle that has no mistakes.
    std::filesystem::path bundle() const { return source() / "Hosts/Edius/Glow/Glow.plugin"; }
    void makeBundle() const {
        std::filesystem::remove_all(bundle());
        FileTree::write(bundle() / "Contents/code", "x");
    }

    void writeShared(const std::string& definition) const {
        FileTree::write(source() / "VorlaneFX/SKU/COMMON.xml", definition);
        FileTree::write(source() / "VorlaneFX/Common/ApplicationManager.app/code", "x");
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

const std::vector<Edit> shared = {
    {Edit::Definition, "ID=\"ALPHA\"", "ID=\"COMMON\""},
    {Edit::Definition, "<file fileName=\"Guide.html\">",
     "<directory fileName=\"SKU\"><file fileName=\"COMMON.xml\"/></directory><directory "
     "fileName=\"Common\"/><file fileName=\"Guide.html\">"}};

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
    FileTree::write(source() / "Hosts/Edius/Glow/Glow.plugin/Contents/code", "x");
    EXPECT_THAT(check(), IsEmpty());
}

TEST_F(SourceRules, ADirectoryMayNotBeAFile) {
    std::filesystem::remove_all(source() / "VorlaneFX/Looks");
    FileTree::write(source() / "VorlaneFX/Looks", "");
    EXPECT_THAT(check(), ElementsAre("missing-in-source 24"));
}

TEST_F(SourceRules, ALinkIsWhatItLeadsTo) {
    const auto paper = source() / "Content/Paper.txt";
    std::filesystem::remove(paper);
    std::filesystem::create_symlink("../VorlaneFX/Guide.html", paper);
    EXPECT_THAT(check(), IsEmpty());
    std::filesystem::remove(paper);
    std::filesystem::create_symlink("../VorlaneFX/Gone.html", paper);
    EXPECT_THAT(check(), ElementsAre("missing-in-source 32"));
}

/// Here it leads to a file, and on a customer's machine nowhere.
TEST_F(SourceRules, ALinkOutOfTheSourceIsReported) {
    const auto paper = source() / "Content/Paper.txt";
    std::filesystem::rename(paper, folder.path() / "Paper.txt");
    std::filesystem::create_symlink("../../Paper.txt", paper);
    EXPECT_THAT(check(), ElementsAre("link-leads-out 32"));
    std::filesystem::remove(paper);
    std::filesystem::create_symlink(folder.path() / "Paper.txt", paper);
    EXPECT_THAT(check(), ElementsAre("absolute-link 32"));
    restore();
    std::filesystem::rename(source() / "VorlaneFX/Looks", folder.path() / "Looks");
    std::filesystem::create_directory_symlink(folder.path() / "Looks", source() / "VorlaneFX/Looks");
    EXPECT_THAT(check(), ElementsAre("absolute-link 24"));
}

TEST_F(SourceRules, AnotherDefinitionInAFolderTakenWholeIsReported) {
    const Edit whole = {Edit::Definition, "<file fileName=\"Guide.html\">",
                        "<directory fileName=\"SKU\"/><file fileName=\"Guide.html\">"};
    FileTree::write(source() / "VorlaneFX/SKU/ALPHA.xml", "x");
    EXPECT_THAT(check({whole}), IsEmpty());
    FileTree::write(source() / "VorlaneFX/SKU/COMMON.xml", "x");
    EXPECT_THAT(check({whole}), ElementsAre("other-products-definition 27"));
}

TEST_F(SourceRules, WhatNoEntryCoversIsReportedOnce) {
    FileTree::write(source() / "VorlaneFX/Looks/Blue.look", "");
    FileTree::write(source() / "Docs/a/b.txt", "");
    FileTree::write(source() / "Content/.DS_Store", "");
    EXPECT_THAT(check(), ElementsAre("not-listed Docs", "not-listed VorlaneFX/Looks/Blue.look"));
}

TEST_F(SourceRules, ADirectoryWithoutChildrenCoversAllThatIsInIt) {
    FileTree::write(source() / "VorlaneFX/Looks/Blue.look", "x");
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

TEST_F(SourceRules, WhatNobodyMeansToInstallIsNoFinding) {
    for (const char* path : {"README.txt", "ReadMe", "VorlaneFX/.gitkeep", "Content/.gitignore",
                             ".git/config", "__MACOSX/x", "Content/._Paper.txt", "VorlaneFX/readme.md"}) {
        FileTree::write(source() / path, "");
    }
    EXPECT_THAT(check(), IsEmpty());
    FileTree::write(source() / "Readmes", "");
    EXPECT_THAT(check(), ElementsAre("not-listed Readmes"));
}

TEST_F(SourceRules, ANameThatLooksTheSameIsSaidToDoSo) {
    std::filesystem::rename(source() / "Content/Paper.txt", source() / "Content/Paper\xC2\xA0.txt");
    const Edit blank = {Edit::Definition, "Paper.txt", "Paper .txt"};
    EXPECT_EQ(
        findings({blank}).front().advice,
        "Write \"Paper\xC2\xA0.txt\", as the source spells it. The two look the same: of this one and that, "
        "the second has U+00A0 for a blank.");
    std::filesystem::rename(source() / "Content/Paper\xC2\xA0.txt", source() / "Content/Pape\xCC\x81r.txt");
    const Edit accent = {Edit::Definition, "Paper.txt", "Pap\xC3\xA9r.txt"};
    EXPECT_NE(findings({accent}).front().advice.find("the accents of the second are characters of their own"),
              std::string::npos);
}

TEST_F(SourceRules, AnEmptyFileIsToldAlsoInsideABundle) {
    makeBundle();
    FileTree::write(bundle() / "Contents/code", "");
    FileTree::write(bundle() / "Contents/more", "");
    EXPECT_THAT(check(), ElementsAre("empty-file 19"));
    EXPECT_NE(findings().front().message.find("code\" and 1 other like it has 0 bytes"), std::string::npos);
    // On purpose.
    makeBundle();
    FileTree::write(bundle() / "Contents/.gitkeep", "");
    FileTree::write(bundle() / "Contents/scripts/__init__.py", "");
    EXPECT_THAT(check(), IsEmpty());
}

TEST_F(SourceRules, AFolderWithoutAnEndingMayBeEmpty) {
    const Edit films = {Edit::Definition, "<file fileName=\"Guide.html\">",
                        "<directory fileName=\"Films\"/><file fileName=\"Guide.html\">"};
    std::filesystem::create_directories(source() / "VorlaneFX/Films");
    EXPECT_THAT(check({films}), IsEmpty());
}

TEST_F(SourceRules, ALinkInsideItsBundleOrToTheSystemIsSound) {
    makeBundle();
    std::filesystem::create_symlink("code", bundle() / "Contents/link");
    std::filesystem::create_symlink("../Contents", bundle() / "Contents/loop");
    std::filesystem::create_symlink("/usr/lib/libz.dylib", bundle() / "Contents/system");
    EXPECT_THAT(check(), IsEmpty());
    std::filesystem::create_symlink("gone", bundle() / "Contents/broken");
    EXPECT_THAT(check(), ElementsAre("link-leads-out 19"));
}

TEST_F(SourceRules, ASharedPackageWithItsOwnDefinitionIsSound) {
    writeShared(InspectedProduct::definition(shared));
    EXPECT_THAT(check(shared), IsEmpty());
    // Another comment or order of attributes makes no difference; another build may be meant.
    writeShared("<!-- x -->" + InspectedProduct::definition(shared).substr(39));
    EXPECT_THAT(check(shared), IsEmpty());
    auto older = shared;
    older.push_back({Edit::Definition, "1.0.0.100", "1.0.0.99"});
    writeShared(InspectedProduct::definition(older));
    ASSERT_THAT(check(shared), ElementsAre("common-definition-outdated 3"));
    EXPECT_EQ(findings(shared).front().severity, Severity::Warning);
    older.back() = {Edit::Definition, "<file fileName=\"Grey.look\"/>", ""};
    writeShared(InspectedProduct::definition(older));
    EXPECT_EQ(findings(shared).front().severity, Severity::Error);
}

TEST_F(SourceRules, AFolderThatCannotBeReadIsTold) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "the superuser reads everything";
    }
    makeBundle();
    std::filesystem::permissions(bundle() / "Contents", std::filesystem::perms::none);
    const auto found = check();
    std::filesystem::permissions(bundle() / "Contents", std::filesystem::perms::owner_all);
    EXPECT_THAT(found,
                ElementsAre("empty-bundle 19", "unreadable-source Hosts/Edius/Glow/Glow.plugin/Contents"));
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
        {"manifest-differs",
         [this] {
             const std::string digest(64, '0');
             return check({{Edit::Definition, "<file fileName=\"Grey.look\"/>",
                            "<file fileName=\"Grey.look\" size=\"0\" sha256=\"" + digest + "\"/>"}});
         }},
        {"no-shared-source",
         [this] {
             std::filesystem::remove_all(source() / "VorlaneFX");
             return check({noShared});
         }},
        {"common-definition-outdated",
         [this] {
             writeShared("<product><sku ID=\"COMMON\"/></product>");
             return check(shared);
         }},
        {"empty-file",
         [this] {
             FileTree::write(source() / "Content/Paper.txt", "");
             return check();
         }},
        {"empty-bundle",
         [this] {
             makeBundle();
             std::filesystem::remove_all(bundle() / "Contents/code");
             return check();
         }},
        {"absolute-link",
         [this] {
             makeBundle();
             std::filesystem::create_symlink(source() / "Content", bundle() / "Contents/link");
             return check();
         }},
        {"link-leads-out",
         [this] {
             makeBundle();
             std::filesystem::create_symlink("../../Glow.txt", bundle() / "Contents/link");
             return check();
         }},
        {"leftover-in-folder",
         [this] {
             makeBundle();
             FileTree::write(bundle() / ".git/config", "x");
             return check();
         }},
    };
    for (const Rule& rule : allRules()) {
        if (rule.needs != Rule::Needs::Source) {
            continue;
        }
        SCOPED_TRACE(rule.name);
        const auto triggered = [&](const std::vector<std::string>& found) {
            return std::any_of(found.begin(), found.end(), [&](const std::string& line) {
                return line.substr(0, line.find(' ')) == rule.name;
            });
        };
        EXPECT_FALSE(triggered(SourceRules::check()));
        if (rule.name == std::string("unreadable-source")) {
            continue; // see AFolderThatCannotBeReadIsTold
        }
        ASSERT_EQ(triggers.count(rule.name), 1U);
        EXPECT_TRUE(triggered(triggers[rule.name]()));
        restore();
    }
}
