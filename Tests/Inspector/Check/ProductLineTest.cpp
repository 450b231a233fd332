// Several products at once: what they do to each other, what they share, and what only one of them uses.
#include "Tests/Support/FileTree.h"
#include "Tests/Support/ProductBuilder.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Check/Rules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <set>

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr const char* status = "/Library/Application Support/Vorlane";

/// A product with the families, hosts and targets that it needs, and one shared file.
ProductBuilder product(const std::string& id, const std::string& family) {
    return ProductBuilder(id, id + " Suite")
        .family(family, {family + " plug-in"})
        .file("VorlaneFX/Runtime/VLRender.dylib", "x")
        .file("Hosts/OpenFX/" + family + "/" + family + ".ofx", "x")
        .target("VorlaneFX", status)
        .target("Hosts/OpenFX", "/Library/OFX/Plugins/Vorlane/%FAMILY%", pathExists("/Library/OFX/Plugins"));
}

ProductBuilder ink() {
    return product("INK", "Ink");
}

ProductBuilder ember() {
    return product("EMBER", "Ember");
}

class ProductLines : public testing::Test {
protected:
    TemporaryDirectory folder;

    /// "rule product" for each finding, the product being the folder of its file. With `targets` that is the
    /// one file for all products, in the folder "shared".
    std::vector<std::string> check(const std::vector<ProductBuilder>& builders,
                                   const std::string& targets = "", bool bSources = true) const {
        std::vector<std::string> found;
        for (const Finding& finding : findings(builders, targets, bSources)) {
            const auto path = std::filesystem::path(finding.where.file).lexically_relative(folder.path());
            found.push_back(finding.rule + " " + path.begin()->string());
        }
        return found;
    }

    std::vector<Finding> findings(const std::vector<ProductBuilder>& builders,
                                  const std::string& targets = "", bool bSources = true) const {
        std::deque<Product> products;
        ProductLine line;
        std::string error;
        for (std::size_t i = 0; i < builders.size(); ++i) {
            const auto place = folder.path() / std::to_string(i + 1);
            builders[i].writeTo(place);
            if (!targets.empty()) {
                FileTree::write(folder.path() / "shared/target_path.xml", targets);
            }
            Product& read = products.emplace_back();
            EXPECT_TRUE(read.definitionFile.read(place / "sku.xml", Location::Document::Definition,
                                                 Kind::Product, error));
            read.bTargets = read.targetsFile.read((targets.empty() ? place : folder.path() / "shared") /
                                                      "target_path.xml",
                                                  Location::Document::Targets, Kind::Root, error);
            EXPECT_TRUE(read.bTargets);
            read.source = bSources ? (place / "files").string() : "";
            read.interpret();
            line.products.push_back(&read);
        }
        return checkLine(line);
    }
};

struct LineExample {
    std::string rule;
    std::vector<ProductBuilder> bad;
    std::vector<ProductBuilder> good;
};

std::vector<LineExample> examples() {
    return {
        {"same-id", {ink(), product("INK", "Ember").name("Ember")}, {ink(), ember()}},
        {"same-id", {ink(), product("Ink", "Ember").name("Ember")}, {}},
        {"same-uninstaller", {ink(), ember().name("ink suite")}, {ink(), ember().name("Ink")}},
        {"same-shortcut",
         {ink().file("VorlaneFX/Ink.html", "x").shortCut("VorlaneFX/Ink.html", "Guide"),
          ember().file("VorlaneFX/Ember.html", "x").shortCut("VorlaneFX/Ember.html", "guide")},
         {ink().file("VorlaneFX/Guide.html", "x").shortCut("VorlaneFX/Guide.html", "Guide"),
          ember().file("VorlaneFX/Guide.html", "x").shortCut("VorlaneFX/Guide.html", "Guide")}},
        {"kinds-differ",
         {ink().file("VorlaneFX/Looks", "x"), ember().file("VorlaneFX/Looks/a", "x")},
         {ink().file("VorlaneFX/Looks/a", "x"), ember().file("VorlaneFX/Looks/b", "x")}},
        {"kinds-differ",
         {ink().folder("VorlaneFX/Looks"), ember().file("VorlaneFX/Looks/a", "x")},
         {ink().folder("VorlaneFX/Looks"), ember().folder("VorlaneFX/Looks")}},
        {"flags-differ",
         {ink().file("VorlaneFX/a", "x", {{"dontdelete", "1"}}), ember().file("VorlaneFX/a", "x")},
         {ink().file("VorlaneFX/a", "x", {{"dontdelete", "1"}}),
          ember().file("VorlaneFX/a", "x", {{"dontdelete", "1"}})}},
        // A directory's flag is what its files inherit.
        {"flags-differ",
         {ink().file("VorlaneFX/Looks/a", "x", {{"allowdowngrade", "1"}}),
          ember().file("VorlaneFX/Looks/a", "x")},
         {ink().folder("VorlaneFX/Looks", {{"allowdowngrade", "1"}}).file("VorlaneFX/Looks/a", "x"),
          ember().file("VorlaneFX/Looks/a", "x", {{"allowdowngrade", "1"}})}},
        {"paths-look-alike",
         {ink().file("VorlaneFX/a.look", "x"), ember().file("VorlaneFX/A.look", "x")},
         {ink().file("VorlaneFX/a.look", "x"), ember().file("VorlaneFX/b.look", "x")}},
        {"paths-look-alike",
         {ink().file("VorlaneFX/caf\xC3\xA9", "x"), ember().file("VorlaneFX/cafe\xCC\x81", "x")},
         {ink().file("VorlaneFX/caf\xC3\xA9", "x"), ember().file("VorlaneFX/caf\xC3\xA9", "x")}},
        {"records-differ",
         {ink(), ProductBuilder("EMBER", "Ember")
                     .file("VorlaneFX/Runtime/VLRender.dylib", "x")
                     .target("VorlaneFX", "/Library/Vorlane")},
         {ink(), ProductBuilder("EMBER", "Ember")
                     .file("VorlaneFX/Runtime/VLRender.dylib", "x")
                     .target("VorlaneFX", std::string(status) + "/")}},
        {"targets-differ",
         {ink().file("Content/a", "x").target("Content", "/Users/Shared/Vorlane"),
          ember().file("Content/a", "x").target("Content", "/Users/Shared/Other Vorlane")},
         {ink().file("Content/a", "x").target("Content", "/Users/Shared/Vorlane"),
          ember().file("Content/a", "x").target("Content", "/Users/Shared/Vorlane")}},
        {"targets-meet",
         {ink().file("Content/a", "x").target("Content", std::string(status) + "/Films"),
          ember().file("VorlaneFX/Films/a", "x")},
         {ink().file("Content/a", "x").target("Content", std::string(status) + "/Films"),
          ember().file("VorlaneFX/Films/b", "x")}},
    };
}

} // namespace

TEST_F(ProductLines, EachRuleHasOneThatTriggersItAndOneThatDoesNot) {
    std::set<std::string> bad;
    for (const LineExample& example : examples()) {
        SCOPED_TRACE(example.rule);
        bad.insert(example.rule);
        const auto found = check(example.bad);
        // The later of the two is the one that can still be changed.
        EXPECT_NE(std::find(found.begin(), found.end(), example.rule + " 2"), found.end())
            << testing::PrintToString(found);
        EXPECT_THAT(check(example.good), IsEmpty());
    }
    for (const Rule& rule : productLineRules()) {
        EXPECT_EQ(bad.count(rule.name), 1U) << rule.name;
    }
}

TEST_F(ProductLines, EachFindingSaysWhatHappensAndWhatToDo) {
    for (const LineExample& example : examples()) {
        for (const Finding& finding : findings(example.bad)) {
            SCOPED_TRACE(finding.rule + ": " + finding.message);
            EXPECT_NE(finding.message.back(), '.');
            EXPECT_EQ(finding.consequence.back(), '.');
            EXPECT_EQ(finding.advice.back(), '.');
            EXPECT_GT(finding.where.line, 0);
        }
    }
}

TEST_F(ProductLines, OneTargetPathsFileServesAll) {
    const auto all = product("ALL", "Ink")
                         .target("Hosts/Resolve", "/Library/Resolve/Vorlane/%FAMILY%")
                         .target("Hosts/Studio", "/Library/Studio/Vorlane/%FAMILY%")
                         .target("Content", "/Users/Shared/Vorlane")
                         .target("VorlaneFX/Films", "/Users/Shared/Films");
    const auto resolve = ink().file("Hosts/Resolve/Ink/Ink.ofx", "x");
    const auto studio = ember()
                            .file("Hosts/Studio/Ember/Ember.ofx", "x")
                            .file("Content/a", "x")
                            .file("VorlaneFX/Films/b", "x");
    EXPECT_THAT(check({resolve, studio}, all.targets()), IsEmpty());
    EXPECT_THAT(
        check({resolve, studio, ProductBuilder("THIRD", "Third").file("VorlaneFX/a", "x")}, all.targets()),
        IsEmpty());
    // What nobody uses is told once, and harms nobody.
    EXPECT_THAT(check({resolve, ember()}, all.targets()),
                ElementsAre("item-without-folder shared", "target-without-host shared",
                            "target-without-content shared"));
    for (const Finding& finding : findings({resolve, ember()}, all.targets())) {
        EXPECT_EQ(finding.severity, Severity::Note) << finding.rule;
    }
}

TEST_F(ProductLines, AMistakeInASharedFileIsToldOnce) {
    std::string targets = ink().targets();
    targets.replace(targets.find("PathExist"), 9, "PathExits");
    EXPECT_THAT(check({ink(), ember()}, targets), ElementsAre("unknown-condition-type shared"));
}

TEST_F(ProductLines, WhatIsIgnoredInOneFileIsToldInTheOther) {
    const auto broken = [](ProductBuilder builder, const std::string& comment) {
        std::string definition = builder.file("VorlaneFX/a", "x", {{"dontdelete", "no"}}).definition();
        definition.insert(definition.rfind("<file", definition.find("fileName=\"a\"")), comment);
        return builder.definitionText(definition);
    };
    EXPECT_THAT(check({broken(ink(), "<!-- inspector: ignore flag-value -->"), broken(ember(), "")}),
                ElementsAre("flag-value 2"));
}

TEST_F(ProductLines, TheSharedPackageHasNoUninstaller) {
    EXPECT_THAT(check({ink(), ProductBuilder("COMMON", "INK Suite").target("VorlaneFX", status)}),
                Not(Contains("same-uninstaller 2")));
}

/// Copies of one thing come and go with their product; two things, or two products, take from each other.
TEST_F(ProductLines, WhatMeetsIsAnErrorWhenSomethingIsLost) {
    const auto twoHosts = [](const std::string& content) {
        return ink()
            .file("Hosts/Resolve/Ink/Ink.ofx", content)
            .target("Hosts/Resolve", "/Library/OFX/Plugins/Vorlane/%FAMILY%");
    };
    const auto severity = [&](const std::vector<ProductBuilder>& builders, bool bSources) {
        const auto found = findings(builders, "", bSources);
        EXPECT_EQ(found.size(), 1U);
        EXPECT_EQ(found.empty() ? "" : found.front().rule, "targets-meet");
        return found.empty() ? Severity::Note : found.front().severity;
    };
    EXPECT_EQ(severity({twoHosts("x")}, true), Severity::Warning);
    EXPECT_EQ(severity({twoHosts("x")}, false), Severity::Warning);
    EXPECT_EQ(severity({twoHosts("y")}, true), Severity::Error);
    EXPECT_EQ(severity({ink().file("Content/a", "x").target("Content", std::string(status) + "/Films"),
                        ember().file("VorlaneFX/Films/a", "x")},
                       false),
              Severity::Error);
}

TEST_F(ProductLines, AThirdProductIsHeldAgainstTheFirst) {
    EXPECT_THAT(check({ink(), ember(), product("INK", "Smoke").name("Smoke")}), ElementsAre("same-id 3"));
}

TEST_F(ProductLines, ASourceInsideAnotherIsNotTheSame) {
    EXPECT_THAT(check({ink().unlistedFile("Extra/a.txt", "x"), ember()}), ElementsAre("not-listed 1"));
}
