// "compare" as a program: what it says of pairs of builds, and its exit status.
#include "Tests/Support/FileTree.h"
#include "Tests/Support/ProductBuilder.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/Sources.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Compare/CompareRules.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

using testing::HasSubstr;

namespace {

using Json = nlohmann::json;
using Names = std::vector<std::string>;

/// A product with something in each branch.
ProductBuilder first() {
    ProductBuilder product("SPARK", "Spark");
    product.build("1.0.0.10")
        .family("Blur")
        .family("Glow")
        .target("VorlaneFX", "/Library/Application Support/Vorlane")
        .target("Content", "/Users/%USER%/Movies/Vorlane")
        .target("Hosts/Edius", "/Library/Edius/Vorlane/%FAMILY%", pathExists("/Applications/Edius"))
        .target("Hosts/OpenFX", "/Library/OFX/Vorlane/%FAMILY%")
        .file("VorlaneFX/guide.html", "guide")
        .file("VorlaneFX/Looks/grey.look", "grey")
        .file("Content/paper.txt", "paper")
        .file("Hosts/Edius/Blur/blur.epl", "blur")
        .file("Hosts/OpenFX/Blur/blur.ofx", "blur")
        .file("Hosts/OpenFX/Glow/glow.ofx", "glow");
    return product;
}

/// The same with a higher build.
ProductBuilder second() {
    return first().build("1.0.0.11");
}

class CompareCommand : public testing::Test {
protected:
    ProgramResult run(const ProductBuilder& old, const ProductBuilder& now, const Names& options = {},
                      bool bTargets = true) {
        old.writeTo(folder.path() / "old");
        now.writeTo(folder.path() / "new");
        return runOn("old", "new", options, bTargets);
    }
    ProgramResult runOn(const std::string& old, const std::string& now, const Names& options = {},
                        bool bTargets = true) {
        Names command = {INSTALLINSPECTOR_PROGRAM, "compare", at(old + "/sku.xml"), at(now + "/sku.xml")};
        if (bTargets) {
            command.insert(command.end(),
                           {"--targets", at(old + "/target_path.xml"), at(now + "/target_path.xml")});
        }
        command.insert(command.end(), options.begin(), options.end());
        return runProgram(command);
    }
    Json json(const ProductBuilder& old, const ProductBuilder& now, bool bTargets = true) {
        return Json::parse(run(old, now, {"--json"}, bTargets).standardOutput);
    }
    std::string at(const std::string& path) const { return (folder.path() / path).string(); }
    void addManifest(const std::string& which) {
        EXPECT_EQ(runProgram({INSTALLINSPECTOR_PROGRAM, "update", "--manifest", "--source",
                              at(which + "/files"), at(which + "/sku.xml")})
                      .exitStatus,
                  0);
    }

    TemporaryDirectory folder;
};

/// "severity rule" of each finding.
std::set<std::string> told(const Json& result) {
    std::set<std::string> rules;
    for (const Json& finding : result["findings"]) {
        rules.insert(finding["severity"].get<std::string>() + " " + finding["rule"].get<std::string>());
    }
    return rules;
}

/// "state path" of each difference.
std::set<std::string> differences(const Json& result) {
    std::set<std::string> lines;
    for (const Json& difference : result["differences"]) {
        lines.insert(difference["state"].get<std::string>() + " " + difference["path"].get<std::string>());
    }
    return lines;
}

struct Example {
    std::string told; ///< "severity rule"
    std::function<ProductBuilder()> old;
    std::function<ProductBuilder()> now;
};

/// The old build without its file of that kind, or another small change.
ProductBuilder without(const std::string& dropped) {
    ProductBuilder product("SPARK", "Spark");
    product.build("1.0.0.11").family("Blur").family("Glow");
    product.target("VorlaneFX", "/Library/Application Support/Vorlane")
        .target("Content", "/Users/%USER%/Movies/Vorlane")
        .target("Hosts/Edius", "/Library/Edius/Vorlane/%FAMILY%", pathExists("/Applications/Edius"))
        .target("Hosts/OpenFX", "/Library/OFX/Vorlane/%FAMILY%");
    for (const char* path :
         {"VorlaneFX/guide.html", "VorlaneFX/Looks/grey.look", "Content/paper.txt",
          "Hosts/Edius/Blur/blur.epl", "Hosts/OpenFX/Blur/blur.ofx", "Hosts/OpenFX/Glow/glow.ofx"}) {
        if (std::string(path).rfind(dropped, 0) != 0) {
            product.file(path, "text");
        }
    }
    return product;
}

ProductBuilder withTargets(const std::string& shared, const std::string& edius,
                           const TargetCondition& condition) {
    ProductBuilder product("SPARK", "Spark");
    product.build("1.0.0.11")
        .family("Blur")
        .target("VorlaneFX", shared)
        .target("Hosts/Edius", edius, condition);
    product.file("VorlaneFX/guide.html", "guide").file("Hosts/Edius/Blur/blur.epl", "blur");
    return product;
}

std::vector<Example> examples() {
    const char* const record = "/Library/Application Support/Vorlane";
    const char* const edius = "/Library/Edius/Vorlane";
    const auto withTool = [](ProductBuilder product) { return product.file("VorlaneFX/Tool", "tool"); };
    return {
        {"error id-changed", first,
         [] {
             ProductBuilder product("SPARK2", "Spark");
             return product.build("1.0.0.11").target("VorlaneFX", "/Library/Application Support/Vorlane");
         }},
        {"error name-changed", first, [] { return second().name("Spark Two"); }},
        {"error build-not-rising", first, [] { return first().build("2.0.0.9"); }},
        {"note build-not-rising", first, [] { return first().build("2.0.0.10"); }},
        {"error file-dropped", first, [] { return without("Content/paper.txt"); }},
        {"error file-moved", first,
         [] { return without("Content/paper.txt").file("VorlaneFX/paper.txt", "paper"); }},
        {"error file-renamed", first,
         [] { return without("Content/paper.txt").file("Content/rough.txt", "paper"); }},
        {"note file-added", first, [] { return second().file("Content/more.txt", "more"); }},
        {"error host-dropped", first, [] { return without("Hosts/Edius"); }},
        {"note host-added", [] { return without("Hosts/Edius").build("1.0.0.10"); }, second},
        {"error family-dropped", first, [] { return without("Hosts/OpenFX/Glow"); }},
        {"note family-added", [] { return without("Hosts/OpenFX/Glow").build("1.0.0.10"); }, second},
        {"error kind-changed", [&] { return withTool(first()); },
         [] { return second().file("VorlaneFX/Tool/inside", "tool"); }},
        {"error kind-changed", [] { return first().file("VorlaneFX/Tool/inside", "tool"); },
         [&] { return withTool(second()); }},
        {"warning flags-changed", [&] { return withTool(first()); },
         [] {
             return second().file("VorlaneFX/Tool", "tool", {{"dontdelete", "1"}});
         }},
        {"note flags-changed", [&] { return withTool(first()); },
         [] {
             return second().file("VorlaneFX/Tool", "tool", {{"ignoreinstallerrors", "1"}});
         }},
        {"warning whole-folder-unknown",
         [] { return first().listedFile("VorlaneFX/A.app").unlistedFile("VorlaneFX/A.app/one", "1"); },
         [] { return second().listedFile("VorlaneFX/A.app").unlistedFile("VorlaneFX/A.app/one", "1"); }},
        {"error shortcut-dropped", [&] { return withTool(first()).shortCut("VorlaneFX/Tool", "Spark Tool"); },
         [&] { return withTool(second()); }},
        {"note shortcut-added", [&] { return withTool(first()); },
         [&] { return withTool(second()).shortCut("VorlaneFX/Tool", "Spark Tool"); }},
        {"error target-moved", [=] { return withTargets(record, edius, {}).build("1.0.0.10"); },
         [=] { return withTargets(record, "/Library/Edius 2/Vorlane", {}); }},
        {"note target-added", [=] { return withTargets(record, edius, {}).build("1.0.0.10"); },
         [=] { return withTargets(record, edius, {}).target("Hosts/Edius", "/Library/Edius 2"); }},
        {"error condition-changed", [=] { return withTargets(record, edius, {}).build("1.0.0.10"); },
         [=] { return withTargets(record, edius, pathExists("/Applications/Edius")); }},
        {"error record-moved", [=] { return withTargets(record, edius, {}).build("1.0.0.10"); },
         [=] { return withTargets("/Library/Vorlane", edius, {}); }},
    };
}

} // namespace

TEST_F(CompareCommand, UpdateThatOnlyRisesLeavesNothing) {
    const ProgramResult result = run(first(), second());
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, "An update leaves nothing behind, and loses nothing.\n");
    EXPECT_EQ(json(first(), second())["differences"], Json::array());
}

TEST_F(CompareCommand, EachRuleHasAnExample) {
    std::set<std::string> shown = {"part-dropped"}; // whose example needs a manifest, see below
    for (const Example& example : examples()) {
        const Json result = json(example.old(), example.now());
        EXPECT_THAT(told(result), testing::Contains(example.told)) << result.dump(1);
        shown.insert(example.told.substr(example.told.find(' ') + 1));
        // Its opposite, a build that only rises, has no finding.
    }
    std::set<std::string> rules;
    for (const CompareRule& rule : allCompareRules()) {
        rules.insert(rule.name);
    }
    EXPECT_EQ(shown, rules);
}

TEST_F(CompareCommand, ExitStatusFollowsTheVerdict) {
    const std::map<std::string, std::pair<std::string, int>> outcomes = {
        {"error", {"harm", 1}}, {"warning", {"cannot tell", 1}}, {"note", {"safe", 0}}};
    for (const Example& example : examples()) {
        const auto& [verdict, status] = outcomes.at(example.told.substr(0, example.told.find(' ')));
        const ProgramResult result = run(example.old(), example.now(), {"--json"});
        EXPECT_EQ(Json::parse(result.standardOutput)["verdict"], verdict) << example.told;
        EXPECT_EQ(result.exitStatus, status) << example.told;
    }
}

TEST_F(CompareCommand, WithoutTargetsPathsAreThoseOfTheTree) {
    const Json result = json(first(), without("Content/paper.txt"), false);
    EXPECT_EQ(differences(result), (std::set<std::string>{"left Content/paper.txt"}));
    EXPECT_FALSE(result["old"].contains("targets"));
}

TEST_F(CompareCommand, DroppedFolderIsOneFindingWithAllPaths) {
    ProductBuilder old = first();
    old.file("Content/Old/one", "1").file("Content/Old/deep/two", "2");
    const Json result = json(old, second());
    ASSERT_EQ(result["findings"].size(), 1U);
    const Json& finding = result["findings"][0];
    EXPECT_EQ(finding["rule"], "file-dropped");
    EXPECT_EQ(finding["file"], at("old/sku.xml"));
    EXPECT_EQ(finding["message"], "\"Content/Old\" with 2 entries in it is dropped");
    EXPECT_THAT(finding["paths"].get<Names>(),
                testing::UnorderedElementsAre("Content/Old/one", "Content/Old/deep/two"));
    EXPECT_THAT(finding["advice"].get<std::string>(), HasSubstr("Examples/packaging/preinstall"));
    EXPECT_THAT(finding["advice"].get<std::string>(), HasSubstr("Docs/packaging-macos.md"));
}

TEST_F(CompareCommand, RenamedFolderIsKnownByWhatIsInIt) {
    const Json result = json(first().file("Content/Old/one", "1").file("Content/Old/two", "2"),
                             second().file("Content/New/one", "1").file("Content/New/two", "2"));
    ASSERT_EQ(result["findings"].size(), 1U) << result.dump(1);
    EXPECT_EQ(result["findings"][0]["message"], "\"Content/Old\" is renamed to \"New\"");
}

TEST_F(CompareCommand, OnlyTheFourthNumberOfABuildCounts) {
    const ProgramResult result = run(first().build("5.0.120101"), first().build("5.1.0.119000"));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardOutput, HasSubstr("only its fourth number counts: 120101, then 119000"));
    EXPECT_THAT(result.standardOutput, HasSubstr("6 files that are installed are kept"));
}

TEST_F(CompareCommand, LowerBuildKeepsOnlyWhatDependsOnIt) {
    ProductBuilder now = first();
    now.build("1.0.0.9")
        .folder("Hosts", {{"allowdowngrade", "1"}})
        .folder("Content", {{"allowdowngrade", "1"}});
    EXPECT_EQ(differences(json(first(), now)),
              (std::set<std::string>{"old /Library/Application Support/Vorlane/guide.html",
                                     "old /Library/Application Support/Vorlane/Looks/grey.look"}));
}

TEST_F(CompareCommand, WhatIsInTheWayIsForetold) {
    const std::string tool = "/Library/Application Support/Vorlane/Tool";
    ProductBuilder file = first();
    file.file("VorlaneFX/Tool", "tool").shortCut("VorlaneFX/Tool", "Spark Tool");
    const ProductBuilder inside = second().file("VorlaneFX/Tool/inside", "tool");
    EXPECT_EQ(differences(json(file, inside)),
              (std::set<std::string>{"missing " + tool + "/inside", "left " + tool,
                                     "left /Applications/Spark Tool"}));
    const Json back = json(inside, file.build("1.0.0.12"));
    EXPECT_EQ(differences(back), (std::set<std::string>{"left " + tool + "/inside", "misplaced " + tool}));
    for (const Json& difference : back["differences"]) {
        EXPECT_EQ(difference.value("at", ""), difference["state"] == "misplaced" ? tool + "/Tool" : "");
    }
}

TEST_F(CompareCommand, FileForAWholeFolderComesToLieInIt) {
    const Json result = json(first().folder("VorlaneFX/Tool").unlistedFile("VorlaneFX/Tool/one", "1"),
                             second().file("VorlaneFX/Tool", "tool"));
    EXPECT_EQ(differences(result),
              (std::set<std::string>{"misplaced /Library/Application Support/Vorlane/Tool"}));
    EXPECT_EQ(told(result), (std::set<std::string>{"error kind-changed"}));
}

TEST_F(CompareCommand, ShortcutToAFolderComesToLieInIt) {
    const auto build = [](ProductBuilder product) {
        return product.listedFile("VorlaneFX/A.app")
            .unlistedFile("VorlaneFX/A.app/one", "1")
            .shortCut("VorlaneFX/A.app", "Tool");
    };
    const Json result = json(build(first()), build(second()));
    EXPECT_EQ(differences(result), (std::set<std::string>{"mixed /Library/Application Support/Vorlane/A.app",
                                                          "misplaced /Applications/Tool"}));
    const Json& link = result["differences"][1];
    EXPECT_EQ(link["at"], "/Library/Application Support/Vorlane/A.app/A.app");
    EXPECT_EQ(link["leadsTo"], "/Library/Application Support/Vorlane/A.app");
    EXPECT_THAT(told(result), testing::Contains("error shortcut-dropped"));
}

TEST_F(CompareCommand, ShortcutThatIsNotMadeLeadsToTheOldFile) {
    ProductBuilder now = first().build("1.0.0.9");
    const Json result =
        json(first().shortCut("VorlaneFX/guide.html", "Guide"), now.shortCut("Content/paper.txt", "Guide"));
    const Json& link = result["differences"].back();
    EXPECT_EQ(link["state"], "old");
    EXPECT_EQ(link["leadsTo"], "/Users/%USER%/Movies/Vorlane/paper.txt");
    EXPECT_EQ(link["leadsInstead"], "/Library/Application Support/Vorlane/guide.html");
}

TEST_F(CompareCommand, ShortcutLeadsToTheLastPlaceToWhichItsFileIsCopied) {
    const auto build = [](const char* firstFolder) {
        return withTargets("/Library/Vorlane", firstFolder, {}).shortCut("Hosts/Edius/Blur/blur.epl", "Blur");
    };
    const Json result =
        json(build("/Library/Edius"),
             build("/Library/First").target("Hosts/Edius", "/Library/Edius").build("1.0.0.9"));
    const Json& link = result["differences"].back();
    EXPECT_EQ(link["state"], "old");
    EXPECT_EQ(link["leadsTo"], "/Library/Edius/blur.epl");
    EXPECT_EQ(link["leadsInstead"], "/Library/First/blur.epl");
    EXPECT_THAT(result["findings"].dump(), HasSubstr("It leads to \\\"/Library/First/blur.epl\\\"."));
}

TEST_F(CompareCommand, NewRecordKeepsNothingBack) {
    const char* const edius = "/Library/Edius/Vorlane";
    const Json result = json(withTargets("/Library/Application Support/Vorlane", edius, {}),
                             withTargets("/Library/Vorlane", edius, {}).build("1.0.0.9"));
    EXPECT_EQ(differences(result),
              (std::set<std::string>{"left /Library/Application Support/Vorlane/guide.html"}));
}

TEST_F(CompareCommand, ShortcutOfAFileThatIsKeptIsNotMade) {
    ProductBuilder now = first();
    now.build("1.0.0.9").shortCut("VorlaneFX/guide.html", "Guide");
    EXPECT_THAT(differences(json(first(), now)), testing::Contains("missing /Applications/Guide"));
}

TEST_F(CompareCommand, OldUninstallerIsLeft) {
    EXPECT_EQ(differences(json(first(), second().name("Spark Two"))),
              (std::set<std::string>{"left /Applications/Vorlane Uninstallers/Uninstall Spark.app"}));
}

TEST_F(CompareCommand, ItemForAFileTakesItNowhere) {
    const Json result = json(first(), second().target("Content/paper.txt", "/Library/Paper"));
    EXPECT_EQ(differences(result), (std::set<std::string>{"left /Users/%USER%/Movies/Vorlane/paper.txt"}));
    EXPECT_EQ(told(result), (std::set<std::string>{"error target-moved"}));
    EXPECT_THAT(result["findings"][0]["message"].get<std::string>(), HasSubstr("no target folder any more"));
}

TEST_F(CompareCommand, ManifestsTellWhatIsLeftInAWholeFolder) {
    const auto build = [](ProductBuilder product) {
        return product.listedFile("VorlaneFX/A.app").unlistedFile("VorlaneFX/A.app/kept", "1");
    };
    build(first()).unlistedFile("VorlaneFX/A.app/gone", "2").writeTo(folder.path() / "old");
    build(second()).writeTo(folder.path() / "new");
    addManifest("old");
    addManifest("new");
    const ProgramResult result = runOn("old", "new", {"--json"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(told(Json::parse(result.standardOutput)), (std::set<std::string>{"error part-dropped"}));
    EXPECT_EQ(differences(Json::parse(result.standardOutput)),
              (std::set<std::string>{"mixed /Library/Application Support/Vorlane/A.app/gone"}));
    EXPECT_EQ(runOn("new", "new").exitStatus, 0);
}

TEST_F(CompareCommand, ConditionThatHoldsMoreOftenLeavesNothing) {
    const auto build = [](const TargetCondition& condition) {
        return withTargets("/Library/Application Support/Vorlane", "/Library/Edius", condition);
    };
    const TargetCondition edius = pathExists("/Applications/Edius");
    EXPECT_EQ(json(build(edius), build({}))["differences"], Json::array());
    EXPECT_EQ(json(build(edius), build(anyOf({edius, pathExists("/Applications/Edius 9")})))["differences"],
              Json::array());
    const Json narrower = json(build(edius), build(pathExists("/Applications/Edius/9")))["differences"];
    ASSERT_EQ(narrower.size(), 1U);
    EXPECT_EQ(narrower[0]["when"], "PathExist /Applications/Edius, not PathExist /Applications/Edius/9");
}

TEST_F(CompareCommand, SharedPackageHasNoUninstallerThatCouldStay) {
    const auto build = [](const std::string& name, const std::string& number) {
        ProductBuilder product("COMMON", name);
        return product.build(number).file("VorlaneFX/tool", "tool").target("VorlaneFX", "/Library/Vorlane");
    };
    const ProgramResult result = run(build("Common", "1.0.0.1"), build("Common Files", "1.0.0.2"));
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.standardOutput, HasSubstr("note: the name changes"));
}

TEST_F(CompareCommand, JsonHasTheDocumentedMembers) {
    const Json result =
        json(first().shortCut("VorlaneFX/guide.html", "Guide"), without("VorlaneFX/guide.html"));
    std::set<std::string> members;
    for (const auto& [name, value] : result.items()) {
        members.insert(name);
    }
    EXPECT_EQ(members, (std::set<std::string>{"old", "new", "verdict", "errors", "warnings", "notes",
                                              "findings", "differences"}));
    EXPECT_EQ(result["new"], (Json{{"definition", at("new/sku.xml")},
                                   {"targets", at("new/target_path.xml")},
                                   {"ID", "SPARK"},
                                   {"name", "Spark"},
                                   {"build", "1.0.0.11"}}));
    const std::string page = FileTree::read(inSources("Docs/inspector.md"));
    for (const char* member : {"at", "when", "leadsTo", "leadsInstead", "old", "path", "state"}) {
        EXPECT_THAT(page, HasSubstr("`differences[]." + std::string(member) + "`"));
    }
    EXPECT_EQ(result["differences"],
              (Json::array(
                  {{{"state", "left"},
                    {"path", "/Library/Application Support/Vorlane/guide.html"},
                    {"old", "VorlaneFX/guide.html"}},
                   {{"state", "left"}, {"path", "/Applications/Guide"}, {"old", "VorlaneFX/guide.html"}}})));
}

TEST_F(CompareCommand, CannotRunOnWhatTheEngineDoesNotRead) {
    first().writeTo(folder.path() / "old");
    second().definitionText("<product><sku").writeTo(folder.path() / "new");
    ProgramResult result = runOn("old", "new", {"--json"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(Json::parse(result.standardOutput)["verdict"], "cannot tell");
    EXPECT_THAT(result.standardError, HasSubstr(at("new/sku.xml") + ":1:"));
    EXPECT_EQ(runOn("old", "missing").exitStatus, 2);
    second().targetsText("<items/>").writeTo(folder.path() / "new");
    EXPECT_EQ(runOn("old", "new").exitStatus, 2);
    EXPECT_EQ(runOn("old", "new", {}, false).exitStatus, 0);
    EXPECT_EQ(runProgram({INSTALLINSPECTOR_PROGRAM, "compare", at("old/sku.xml")}).exitStatus, 2);
}

TEST_F(CompareCommand, NamesAreFitForATerminal) {
    const ProgramResult result = run(first().file("Content/a\x1b[31m", "x"), second());
    EXPECT_EQ(result.standardOutput.find('\x1b'), std::string::npos);
    EXPECT_THAT(result.standardOutput, HasSubstr("Content/a\\x1b[31m"));
}
