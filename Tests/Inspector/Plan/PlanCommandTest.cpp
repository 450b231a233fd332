// The plan of a run as a user reads it, on a machine of its own. That its commands are those of the run is
// tested with every end-to-end test, see PlanComparison.
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/RunProgram.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;

class PlanCommand : public EndToEndTest {
protected:
    static ProductBuilder product(const std::string& id = "ALPHA", const std::string& name = "Alpha") {
        return ProductBuilder(id, name)
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .unlistedFile("VorlaneFX/u", "");
    }

    ProgramResult plan(const ProductBuilder& product, std::vector<std::string> options = {}) {
        place(product);
        std::vector<std::string> command = installCommand(product);
        command.erase(command.begin());
        if (std::count(options.begin(), options.end(), "--uninstall") != 0) {
            command.erase(command.begin());
        }
        options.insert(options.begin(), {PrivateRoot::inspector, "plan"});
        command.insert(command.begin(), options.begin(), options.end());
        const Lines before = root().tree();
        ProgramResult result = root().run(command);
        EXPECT_EQ(FileTree::difference(before, root().tree()), "") << "the plan has changed something";
        EXPECT_EQ(result.standardError, "");
        return result;
    }
    /// The exit status must tell whether there is a danger, or the run fails.
    Json jsonOf(const ProductBuilder& product, std::vector<std::string> options = {}) {
        options.emplace_back("--json");
        const ProgramResult result = plan(product, options);
        Json json = Json::parse(result.standardOutput);
        EXPECT_EQ(result.exitStatus, json["verdict"] == "safe" ? 0 : 1);
        EXPECT_EQ(json["verdict"] == "safe", json["succeeds"] == true && json["dangers"].empty());
        return json;
    }
    Json uninstallOf(const ProductBuilder& product) { return jsonOf(product, {"--uninstall"}); }

    /// "action path: why", with the shortcut behind it, for each entry.
    static Lines entriesOf(const Json& plan) {
        Lines lines;
        for (const Json& run : plan["runs"]) {
            for (const Json& branch : run["branches"]) {
                for (const Json& entry : branch["entries"]) {
                    std::string line = entry["action"].get<std::string>() + " " +
                                       entry["path"].get<std::string>() + ": " +
                                       entry["why"].get<std::string>();
                    if (entry.contains("shortcut")) {
                        line += ", shortcut " + entry["shortcut"].get<std::string>();
                    }
                    lines.push_back(line);
                }
            }
        }
        return lines;
    }
    /// "path before after" for each path of the record, "-" for one that is not in it.
    static Lines countsOf(const Json& run) {
        std::map<std::string, std::pair<std::string, std::string>> counts;
        for (const Json& path : run["record"]["before"]["paths"]) {
            counts[path["path"]] = {std::to_string(path["count"].get<int>()), "-"};
        }
        for (const Json& path : run["record"]["after"]["paths"]) {
            auto& count = counts.try_emplace(path["path"], "-", "-").first->second;
            count.second = std::to_string(path["count"].get<int>());
        }
        Lines lines;
        for (const auto& [path, count] : counts) {
            lines.push_back(path + " " + count.first + " " + count.second);
        }
        return lines;
    }
    static Lines dangersOf(const Json& plan) {
        Lines rules;
        for (const Json& danger : plan["dangers"]) {
            rules.push_back(danger["rule"]);
        }
        return rules;
    }
    static std::string messageOf(const Json& plan, const std::string& rule) {
        for (const Json& danger : plan["dangers"]) {
            if (danger["rule"] == rule) {
                return danger["message"];
            }
        }
        return "no such danger";
    }
    static Lines linesOf(const std::string& text) {
        Lines lines;
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
            lines.push_back(text.substr(begin, end - begin));
        }
        return lines;
    }
};

} // namespace

// The tree

TEST_F(PlanCommand, PrintsAnInstallAsATree) {
    root().makeFolder("/Applications/Edius.app");
    const ProductBuilder alpha =
        product()
            .file("VorlaneFX/Guide.html", "guide")
            .shortCut("VorlaneFX/Guide.html", "Alpha Guide.html")
            .file("VorlaneFX/Looks/Grey.look", "grey")
            .file("Hosts/Edius/Blur/Blur.dll", "blur")
            .target("Hosts/Edius", "/Library/Edius/%FAMILY%", pathExists("/Applications/Edius.app"))
            .target("Hosts/Edius", "/Library/Edius Beta/%FAMILY%",
                    pathExists("/Applications/Edius Beta.app"));
    const ProgramResult result = plan(alpha);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, R"(Install Alpha 1.0.0.100 (ALPHA)

Edius, family Blur
  /Library/Edius/Blur
      since /Applications/Edius.app is a folder
      copy     Blur.dll  new
  not /Library/Edius Beta/%FAMILY%
      since /Applications/Edius Beta.app is not there

VorlaneFX
  /Library/Application Support/Vorlane
      copy     Guide.html       new
               shortcut /Applications/Alpha Guide.html
      copy     Looks/Grey.look  new

Folders
  make     /Library/Edius
  make     /Library/Edius/Blur
  make     /Library/Application Support
  make     /Library/Application Support/Vorlane
  make     /Library/Application Support/Vorlane/Looks
  make     /Applications/Vorlane Uninstallers

Record /Library/Application Support/Vorlane/InstallationStatusFile.xml
  enters   Alpha 1.0.0.100 (ALPHA)
  before  after
       -      1  Hosts/
       -      1    Edius/
       -      1      Blur/
       -      1        Blur.dll  1.0.0.100
       -      1  VorlaneFX/
       -      1    Guide.html  1.0.0.100
       -      1    Looks/
       -      1      Grey.look  1.0.0.100

Uninstaller
  copy     /Applications/Vorlane Uninstallers/Uninstall Alpha.app  the bundle of InstallUtility
  copy     /Applications/Vorlane Uninstallers/Uninstall Alpha.app/Contents/sku.xml  from /Volumes/Installer/ALPHA/sku.xml
  copy     /Applications/Vorlane Uninstallers/Uninstall Alpha.app/Contents/target_path.xml  from /Volumes/Installer/ALPHA/target_path.xml

Files and whole folders: 3 to copy. The run would succeed.
)");
}

TEST_F(PlanCommand, PrintsAnUninstallAsATree) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/shared", "S")
                                     .file("VorlaneFX/own/a", "A")
                                     .file("VorlaneFX/licence", "L", {{"dontdelete", "1"}})
                                     .file("Content/gone", "G")
                                     .target("Content", "/Library/Gone");
    ExpectSuccess(Install(alpha));
    ExpectSuccess(Install(product("BETA", "Beta").file("VorlaneFX/shared", "S")));
    root().remove("/Library/Gone");
    const ProgramResult result = plan(alpha, {"--uninstall"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, R"(Uninstall Alpha 1.0.0.100 (ALPHA)

Uninstaller
  remove   /Applications/Vorlane Uninstallers/Uninstall Alpha.app

VorlaneFX
  /Library/Application Support/Vorlane
      keep     licence  marked to stay
      keep     shared   another product uses it
      remove   own/a    no product uses it any more

Content
  /Library/Gone
      nothing of it is here

Folders
  remove   /Library/Application Support/Vorlane/own

Record /Library/Application Support/Vorlane/InstallationStatusFile.xml
  leaves   Alpha 1.0.0.100 (ALPHA)
  stays    Beta 1.0.0.100 (BETA)
  before  after
       1      -  Content/
       1      -    gone
       2      1  VorlaneFX/
       1      -    licence
       1      -    own/
       1      -      a
       2      1    shared  1.0.0.100

Files and whole folders: 1 to remove, 2 to keep. The run would succeed.
)");
}

TEST_F(PlanCommand, WhatATerminalWouldObeyIsEscaped) {
    const ProgramResult result = plan(product("ALPHA", "\xc2\x9b[31m").file("VorlaneFX/\xc2\x9b", ""));
    EXPECT_EQ(result.standardOutput.find("\xc2\x9b"), std::string::npos);
    EXPECT_NE(result.standardOutput.find("\\xc2\\x9b"), std::string::npos);
}

// Why

TEST_F(PlanCommand, ComparesTheBuilds) {
    ExpectSuccess(Install(product("OLD", "Old")
                              .build("1.0.0.500")
                              .file("VorlaneFX/firm", "500")
                              .file("VorlaneFX/free", "500")
                              .file("VorlaneFX/gone", "500")));
    root().remove(shared("gone"));
    const auto now = [](const std::string& build) {
        return product()
            .build(build)
            .file("VorlaneFX/firm", build)
            .file("VorlaneFX/free", build, {{"allowdowngrade", "1"}})
            .file("VorlaneFX/gone", build)
            .file("VorlaneFX/more", build);
    };
    const std::string gone = "copy " + shared("gone") + ": the record lists it, but it is not there";
    const std::string more = "copy " + shared("more") + ": new";
    EXPECT_EQ(entriesOf(jsonOf(now("1.0.0.400"))),
              (Lines{"keep " + shared("firm") + ": the newer build 1.0.0.500 is there",
                     "replace " + shared("free") +
                         ": its newer build 1.0.0.500 goes back to 1.0.0.400, which it allows",
                     gone, more}));
    EXPECT_EQ(entriesOf(jsonOf(now("1.0.0.500"))),
              (Lines{"replace " + shared("firm") + ": the same build again, 1.0.0.500",
                     "replace " + shared("free") + ": the same build again, 1.0.0.500", gone, more}));
    EXPECT_EQ(entriesOf(jsonOf(now("1.0.0.600"))),
              (Lines{"replace " + shared("firm") + ": build 1.0.0.600 in place of 1.0.0.500",
                     "replace " + shared("free") + ": build 1.0.0.600 in place of 1.0.0.500", gone, more}));
}

TEST_F(PlanCommand, WithoutRecordKeepsWhatIsThere) {
    root().write("/Library/Plain/there", "T");
    const Json json = jsonOf(ProductBuilder("ALPHA", "Alpha")
                                 .unlistedFile("VorlaneFX/u", "")
                                 .file("Content/there", "T")
                                 .file("Content/new", "N")
                                 .target("Content", "/Library/Plain"));
    EXPECT_EQ(entriesOf(json),
              (Lines{"keep /Library/Plain/there: it is there, and no record is kept that would say whether "
                     "it may be replaced",
                     "copy /Library/Plain/new: new; no record is kept"}));
    EXPECT_FALSE(json["runs"][0].contains("record"));
}

TEST_F(PlanCommand, PrintsWholeFoldersAndFilesThatAreFolders) {
    const ProductBuilder alpha = product()
                                     .folder("VorlaneFX/Presets")
                                     .unlistedFile("VorlaneFX/Presets/soft", "soft")
                                     .listedFile("VorlaneFX/Tool.app")
                                     .unlistedFile("VorlaneFX/Tool.app/tool", "tool");
    EXPECT_EQ(entriesOf(jsonOf(alpha)),
              (Lines{"copy " + shared("Tool.app") + ": new",
                     "copy " + shared("Presets") + ": new, with all that is in it"}));
    ExpectSuccess(Install(alpha));
    EXPECT_EQ(entriesOf(jsonOf(alpha)),
              (Lines{"replace " + shared("Tool.app") + ": the same build again, 1.0.0.100",
                     "replace " + shared("Presets") + ": its content is added to the folder that is there"}));
    EXPECT_EQ(
        entriesOf(uninstallOf(alpha)),
        (Lines{"remove " + shared("Tool.app") + ": no product uses it any more",
               "remove " + shared("Presets") + ": with all that is in it; no product uses it any more"}));
}

TEST_F(PlanCommand, PrintsShortcutsThatAreMadeAndRemoved) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A").shortCut("VorlaneFX/a", "Tool");
    EXPECT_EQ(entriesOf(jsonOf(alpha)),
              (Lines{"copy " + shared("a") + ": new, shortcut /Applications/Tool"}));
    ExpectSuccess(Install(alpha));
    EXPECT_EQ(
        entriesOf(uninstallOf(alpha)),
        (Lines{"remove " + shared("a") + ": no product uses it any more, shortcut /Applications/Tool"}));
}

TEST_F(PlanCommand, PrintsWhyNothingIsRemoved) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/shared", "S")
                                     .file("VorlaneFX/gone", "G")
                                     .file("VorlaneFX/d/in", "I")
                                     .folder("VorlaneFX/d", {{"dontdelete", "1"}});
    ExpectSuccess(Install(alpha));
    ExpectSuccess(Install(product("BETA", "Beta").file("VorlaneFX/shared", "S")));
    ExpectSuccess(Install(product("GAMMA", "Gamma").file("VorlaneFX/shared", "S")));
    root().remove(shared("gone"));
    EXPECT_EQ(entriesOf(uninstallOf(ProductBuilder(alpha).file("VorlaneFX/gone2", ""))),
              (Lines{"keep " + shared("d") + ": marked to stay",
                     "keep " + shared("shared") + ": 2 other products use it",
                     "missing " + shared("gone2") + ": it is not there",
                     "missing " + shared("gone") + ": it is not there"}));
}

TEST_F(PlanCommand, PrintsWhatEachConditionFinds) {
    root().write("/Library/file", "");
    root().makeFolder("/Library/folder");
    root().write(std::string(PrivateRoot::userPreferences) + "/com.vorlane.host.plist",
                 "<plist version=\"1.0\"><dict><key>Set</key><string>x</string></dict></plist>");
    const std::vector<std::pair<TargetCondition, std::string>> conditions = {
        {pathExists("/Library/folder"), "true /Library/folder is a folder"},
        {pathExists("/Library/file"), "false /Library/file is a file"},
        {pathExists("/Library/none"), "false /Library/none is not there"},
        {pathMissing("/Library/none"), "true /Library/none is not there"},
        {pathMissing("/Library/folder"), "false /Library/folder is a folder"},
        {fileExists("/Library/file"), "true /Library/file is a file"},
        {fileExists("/Library/folder"), "false /Library/folder is a folder"},
        {fileMissing("/Library/file"), "false /Library/file is a file"},
        {pathExists("/Users/%USER%/Library"), "true /Users/anna/Library is a folder"},
        {pathExists("%REGKEY:Host::None%"), "false \"%REGKEY:Host::None%\" comes out empty"},
        {valueExists("Host", "Set"), "true preference Host::Set is \"x\""},
        {valueExists("Host", "None"), "false preference Host::None is not set"},
        {valueMissing("Host", "None"), "true preference Host::None is not set"},
        {{"Sometimes", "x", {}}, "true a condition of a kind that the engine does not know always holds"},
    };
    ProductBuilder alpha = product().file("Content/a", "A");
    for (std::size_t i = 0; i < conditions.size(); ++i) {
        alpha.target("Content", "/Library/to " + std::to_string(i), conditions[i].first);
    }
    const Json json = jsonOf(alpha);
    const Json& targets = json["runs"][0]["branches"].back()["targets"];
    ASSERT_EQ(targets.size(), conditions.size());
    for (std::size_t i = 0; i < conditions.size(); ++i) {
        const Json& condition = targets[i]["condition"];
        EXPECT_EQ(std::string(condition["holds"] == true ? "true " : "false ") +
                      condition["found"].get<std::string>(),
                  conditions[i].second);
        EXPECT_EQ(targets[i]["applies"], condition["holds"]) << i;
    }
}

TEST_F(PlanCommand, PrintsWhatDecidedBetweenSeveralConditions) {
    const auto here = pathExists("/Applications");
    const auto there = pathExists("/Library");
    const auto none = pathExists("/none");
    const auto nothing = pathExists("/nothing");
    const std::vector<std::pair<TargetCondition, std::string>> conditions = {
        {allOf({here, there}), "/Applications is a folder and /Library is a folder"},
        {allOf({here, none, nothing}), "/none is not there"},
        {anyOf({none, here, there}), "/Applications is a folder"},
        {anyOf({none, nothing}), "/none is not there and /nothing is not there"},
        {allOf({anyOf({none, here}), there}), "/Applications is a folder and /Library is a folder"},
    };
    ProductBuilder alpha = product().file("Content/a", "A");
    for (std::size_t i = 0; i < conditions.size(); ++i) {
        alpha.target("Content", "/Library/to " + std::to_string(i), conditions[i].first);
    }
    Lines reasons;
    for (const std::string& line : linesOf(plan(alpha).standardOutput)) {
        if (line.rfind("      since ", 0) == 0) {
            reasons.push_back(line.substr(std::string("      since ").size()));
        }
    }
    Lines expected;
    for (const auto& [condition, reason] : conditions) {
        expected.push_back(reason);
    }
    EXPECT_EQ(reasons, expected);
}

TEST_F(PlanCommand, PrintsWhyATargetPathIsPassedOver) {
    const Json json = jsonOf(product()
                                 .file("Content/a", "A")
                                 .target("Content", "%REGKEY:Host::Folder%")
                                 .target("Content", "/Library/To")
                                 .target("Content", "/library/TO"));
    const Json& targets = json["runs"][0]["branches"].back()["targets"];
    EXPECT_EQ(targets[0]["why"], "the path comes out empty");
    EXPECT_EQ(targets[1]["path"], "/Library/To");
    EXPECT_EQ(targets[1]["exists"], false);
    EXPECT_EQ(targets[2]["why"], "the same folder is named before");
}

TEST_F(PlanCommand, PrintsWhatIsLeftOut) {
    const Json json = jsonOf(product()
                                 .file("Hosts/Edius/Glow/a", "A")
                                 .file("Hosts/OpenFX/Blur/a", "A")
                                 .file("Content/a", "A")
                                 .file("Extras/a", "A")
                                 .target("Hosts/Edius", "/Library/Edius"));
    EXPECT_EQ(json["runs"][0]["leftOut"],
              (Json{"Content: the target-paths file has no item of that name",
                    "Extras: only Hosts, VorlaneFX and Content are installed",
                    "Hosts/OpenFX: the target-paths file has no item for this host",
                    "Hosts/Edius/Glow: the definition has no plug-ins of this family"}));
}

TEST_F(PlanCommand, AnItemInsideAnItemIsABranchOfItsOwn) {
    const Json json = jsonOf(product()
                                 .file("VorlaneFX/Presets/a", "A")
                                 .file("VorlaneFX/b", "B")
                                 .target("VorlaneFX/Presets", "/Users/%USER%/Presets"));
    EXPECT_EQ(entriesOf(json), (Lines{"copy " + shared("b") + ": new", "copy /Users/anna/Presets/a: new"}));
    EXPECT_EQ(json["runs"][0]["branches"][1]["item"], "VorlaneFX/Presets");
}

// The record

TEST_F(PlanCommand, PrintsTheCountsBeforeAndAfter) {
    const ProductBuilder alpha = product().file("VorlaneFX/shared", "S").file("VorlaneFX/alpha", "A");
    const ProductBuilder beta = product("BETA", "Beta").file("VorlaneFX/shared", "S");
    EXPECT_EQ(countsOf(jsonOf(alpha)["runs"][0]),
              (Lines{"VorlaneFX - 1", "VorlaneFX/alpha - 1", "VorlaneFX/shared - 1"}));
    ExpectSuccess(Install(alpha));
    EXPECT_EQ(countsOf(jsonOf(beta)["runs"][0]),
              (Lines{"VorlaneFX 1 2", "VorlaneFX/alpha 1 1", "VorlaneFX/shared 1 2"}));
    ExpectSuccess(Install(beta));
    EXPECT_EQ(countsOf(jsonOf(beta)["runs"][0]),
              (Lines{"VorlaneFX 2 2", "VorlaneFX/alpha 1 1", "VorlaneFX/shared 2 2"}));
    EXPECT_EQ(countsOf(uninstallOf(alpha)["runs"][0]),
              (Lines{"VorlaneFX 2 1", "VorlaneFX/alpha 1 -", "VorlaneFX/shared 2 1"}));
}

TEST_F(PlanCommand, AReinstallChangesNothingInTheRecord) {
    const ProductBuilder alpha = product().file("VorlaneFX/Sub/a", "A");
    ExpectSuccess(Install(alpha));
    const std::string text = plan(alpha).standardOutput;
    EXPECT_NE(text.find("3 other paths keep their counts and builds"), std::string::npos) << text;
    EXPECT_EQ(text.find("before  after"), std::string::npos) << text;
}

TEST_F(PlanCommand, AnUninstallOnAnEmptyMachineHasNothingToDo) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    place(alpha);
    EXPECT_EQ(dangersOf(uninstallOf(alpha)), Lines());
}

TEST_F(PlanCommand, TheLastProductTakesTheRecordAlong) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    ExpectSuccess(Install(alpha));
    const Json json = uninstallOf(alpha);
    EXPECT_EQ(json["runs"][0]["record"]["removed"], true);
    EXPECT_EQ(dangersOf(json), Lines());
    EXPECT_NE(plan(alpha, {"--uninstall"})
                  .standardOutput.find("the file is removed, since no product is left in it"),
              std::string::npos);
}

TEST_F(PlanCommand, PrintsTheSharedPackageThatGoesWithTheLastProduct) {
    ProductBuilder common("COMMON", "Shared Files");
    common.target("VorlaneFX", statusFolder)
        .file("VorlaneFX/manager", "M")
        .file("VorlaneFX/SKU/COMMON.xml", "");
    common.unlistedFile("VorlaneFX/SKU/COMMON.xml", common.definition());
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    ExpectSuccess(Install(common));
    ExpectSuccess(Install(alpha));
    const Json json = uninstallOf(alpha);
    ASSERT_EQ(json["runs"].size(), 2U);
    EXPECT_EQ(json["runs"][0]["product"]["ID"], "ALPHA");
    EXPECT_EQ(json["runs"][1]["product"]["name"], "Shared Files");
    EXPECT_EQ(entriesOf(json),
              (Lines{"remove " + shared("a") + ": no product uses it any more",
                     "remove " + shared("manager") + ": no product uses it any more",
                     "remove " + shared("SKU/COMMON.xml") + ": no product uses it any more"}));
    EXPECT_EQ(countsOf(json["runs"][1])[0], "VorlaneFX 1 -") << "counted after the first run";
    EXPECT_EQ(json["runs"][0]["record"]["removed"], false);
    EXPECT_EQ(json["runs"][1]["record"]["removed"], true);
    EXPECT_EQ(json["succeeds"], true);
}

TEST_F(PlanCommand, AChainWithoutItsDefinitionFails) {
    ExpectSuccess(Install(ProductBuilder("COMMON", "Shared Files")
                              .target("VorlaneFX", statusFolder)
                              .file("VorlaneFX/manager", "M")));
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    ExpectSuccess(Install(alpha));
    const Json json = uninstallOf(alpha);
    EXPECT_EQ(json["succeeds"], false);
    ASSERT_EQ(json["runs"].size(), 2U);
    EXPECT_EQ(json["runs"][1]["product"]["ID"], "COMMON");
}

TEST_F(PlanCommand, ARecordThatGoesWithItsFolderHoldsNothing) {
    // The product takes the whole shared folder for its own.
    const ProductBuilder alpha = product().folder("VorlaneFX").unlistedFile("VorlaneFX/a", "A");
    ExpectSuccess(Install(alpha));
    const Json json = uninstallOf(alpha);
    EXPECT_EQ(json["runs"][0]["record"]["saved"], false);
    EXPECT_EQ(countsOf(json["runs"][0]), Lines{"VorlaneFX 1 -"});
}

// Dangers

TEST_F(PlanCommand, WarnsOfTheUninstallOfAProductThatIsNotRecorded) {
    ExpectSuccess(Install(product("BETA", "Beta").file("VorlaneFX/shared", "S").file("VorlaneFX/beta", "B")));
    const Json json = uninstallOf(product().file("VorlaneFX/shared", "S"));
    EXPECT_EQ(dangersOf(json), Lines{"product-not-recorded"});
    EXPECT_EQ(messageOf(json, "product-not-recorded"),
              "the record does not list the product ALPHA: its uninstall lowers no count, and what it has "
              "installed stays");
}

TEST_F(PlanCommand, WarnsOfPathsInUseThatLeaveTheRecordWithTheirFolder) {
    root().write(shared("InstallationStatusFile.xml"),
                 "<install><products><sku ID='ALPHA' name='Alpha' build='1'/><sku ID='BETA' name='Beta' "
                 "build='1'/></products><installFiles><directory fileName='VorlaneFX' ref='1'>"
                 "<file fileName='a' ref='1' build='1'/><file fileName='beta' ref='1' build='1'/></directory>"
                 "</installFiles></install>");
    const Json json = uninstallOf(product().file("VorlaneFX/a", "A"));
    EXPECT_EQ(dangersOf(json), (Lines{"leaves-record", "unknown-build", "unknown-product"}));
    EXPECT_EQ(messageOf(json, "leaves-record"),
              "a folder above them comes to a count of zero, so that 1 path that is "
              "still in use will leave the record: VorlaneFX/beta");
}

TEST_F(PlanCommand, WarnsOfARecordThatIsRemovedThoughItCounts) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A").file("VorlaneFX/b", "B");
    ExpectSuccess(Install(alpha));
    const ProductBuilder smaller = product().file("VorlaneFX/a", "A");
    root().write(shared("InstallationStatusFile.xml"),
                 "<install><products><sku ID='ALPHA' name='Alpha' build='1'/></products><installFiles>"
                 "<directory fileName='VorlaneFX' ref='2'><file fileName='a' ref='1' build='1'/></directory>"
                 "</installFiles></install>");
    const Json json = uninstallOf(smaller);
    EXPECT_EQ(dangersOf(json), (Lines{"record-removed", "unknown-build", "stays-behind"}));
    EXPECT_EQ(messageOf(json, "record-removed"),
              "no product is left in the record, so it is removed, though it still counts 1 path");
}

TEST_F(PlanCommand, WarnsOfADamagedRecordAndPredictsThatItIsKept) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    root().write(shared("InstallationStatusFile.xml"), "<install><products>");
    const Json json = jsonOf(alpha);
    EXPECT_EQ(dangersOf(json), Lines{"record-unreadable"});
    EXPECT_NE(messageOf(json, "record-unreadable").find("keeps it under another name"), std::string::npos);
    EXPECT_EQ(json["runs"][0]["record"]["saved"], true);
}

TEST_F(PlanCommand, WarnsOfARecordThatIsNoFileAndPredictsThatItStays) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    root().makeFolder(shared("InstallationStatusFile.xml"));
    const Json json = jsonOf(alpha);
    EXPECT_EQ(dangersOf(json), Lines{"record-unreadable"});
    EXPECT_NE(messageOf(json, "record-unreadable").find("leaves it as it is"), std::string::npos);
    EXPECT_EQ(json["runs"][0]["record"]["saved"], false);
}

TEST_F(PlanCommand, WarnsOfARecordThatCannotBeSaved) {
    const ProductBuilder alpha = ProductBuilder("ALPHA", "Alpha")
                                     .target("VorlaneFX", statusFolder)
                                     .folder("VorlaneFX")
                                     .file("Content/a", "A")
                                     .target("Content", "/Library/To");
    root().write("/Library/Application Support", "in the way");
    EXPECT_EQ(dangersOf(jsonOf(alpha)), (Lines{"record-not-saved", "user-asked", "copy-fails"}));
}

TEST_F(PlanCommand, WarnsOfFilesThatCannotBeWritten) {
    root().write("/Library/Blocked", "in the way");
    const Json json = jsonOf(
        product().file("VorlaneFX/x", "X").file("Content/a", "A").target("Content", "/Library/Blocked"));
    EXPECT_EQ(dangersOf(json), (Lines{"user-asked", "copy-fails"}));
    EXPECT_EQ(
        messageOf(json, "user-asked"),
        "the user is asked \"Sorry, installation of files is blocked by 'Content'. Please close 'Content' "
        "and press 'Retry' to try again or 'Cancel' to continue (some files may not be updated).\": "
        "/Library/Blocked/a: /Library/Blocked is in the way");
    EXPECT_EQ(messageOf(json, "copy-fails"),
              "/Library/Blocked/a cannot be written: /Library/Blocked is in the way");
    EXPECT_EQ(json["succeeds"], true);
    EXPECT_EQ(json["runs"][0]["branches"].back()["secondAttempt"], true);
    EXPECT_EQ(entriesOf(json), (Lines{"copy " + shared("x") + ": new",
                                      "fail /Library/Blocked/a: /Library/Blocked is in the way"}))
        << "told once";
}

TEST_F(PlanCommand, WarnsOfFilesThatCannotBeRemoved) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A").file("VorlaneFX/b", "B");
    ExpectSuccess(Install(alpha));
    root().remove(shared("a"));
    std::filesystem::create_symlink("nowhere", root().outside(shared("a")));
    const Json json = uninstallOf(alpha);
    EXPECT_EQ(dangersOf(json), Lines{"remove-fails"});
    EXPECT_EQ(messageOf(json, "remove-fails"),
              shared("a") + " cannot be removed: it is neither a file nor a folder");
}

TEST_F(PlanCommand, WarnsOfFilesThatTheRecordDoesNotList) {
    root().write(shared("a"), "someone else's");
    const Json json = jsonOf(product().file("VorlaneFX/a", "A"));
    EXPECT_EQ(dangersOf(json), Lines{"unrecorded-file"});
    EXPECT_EQ(entriesOf(json),
              Lines{"replace " + shared("a") + ": it is there, but the record does not list it"});
}

TEST_F(PlanCommand, WarnsOfBareNamesInTheWorkingFolder) {
    const ProductBuilder alpha =
        product().file("VorlaneFX/x", "X").file("Content/note", "N").target("Content", "/Library/Gone");
    ExpectSuccess(Install(alpha));
    root().remove("/Library/Gone");
    EXPECT_EQ(dangersOf(uninstallOf(alpha)), Lines());
    root().write("/note", "mine");
    const Json json = uninstallOf(alpha);
    EXPECT_EQ(dangersOf(json), Lines{"working-folder"});
    EXPECT_NE(plan(alpha, {"--uninstall"}).standardOutput.find("in the folder in which the run is started"),
              std::string::npos);
}

TEST_F(PlanCommand, WarnsOfFilesThatGoToTheWorkingFolder) {
    const Json json =
        jsonOf(product().file("VorlaneFX/x", "X").file("Content/note", "N").target("Content", "Notes"));
    EXPECT_EQ(dangersOf(json), Lines{"working-folder"});
    EXPECT_EQ(messageOf(json, "working-folder"),
              "Notes/note is written relative to the folder in which the run is started");
}

TEST_F(PlanCommand, WarnsOfFoldersOfOthersThatAreRemovedAsAWhole) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/x", "X")
                                     .folder("Content")
                                     .unlistedFile("Content/a", "A")
                                     .target("Content", "/Users/Shared");
    ExpectSuccess(Install(alpha));
    const Json json = uninstallOf(alpha);
    EXPECT_EQ(dangersOf(json), Lines{"whole-folder"});
    EXPECT_EQ(messageOf(json, "whole-folder"),
              "/Users/Shared is removed as a whole, with the 1 file or folder in it, whoever put them there");
}

TEST_F(PlanCommand, WarnsOfShortcutsThatMeetSomethingElse) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A").shortCut("VorlaneFX/a", "Tool");
    root().write("/Applications/Tool", "a program");
    EXPECT_EQ(messageOf(jsonOf(alpha), "shortcut"),
              "/Applications/Tool is no shortcut, and is replaced by one to " + shared("a"));
    root().remove("/Applications/Tool");
    root().makeFolder("/Applications/Tool");
    EXPECT_EQ(messageOf(jsonOf(alpha), "shortcut"), "/Applications/Tool is a folder: the shortcut to " +
                                                        shared("a") +
                                                        " is made inside it, and no uninstall will find it");
    root().makeFolder("/Applications/Tool/a");
    EXPECT_EQ(messageOf(jsonOf(alpha), "shortcut"),
              "/Applications/Tool cannot be made: /Applications/Tool/a is a folder");
}

TEST_F(PlanCommand, WarnsOfAnUninstallerThatCannotBePlaced) {
    root().write("/Applications/Vorlane Uninstallers", "in the way");
    const Json json = jsonOf(product().file("VorlaneFX/a", "A"));
    EXPECT_EQ(dangersOf(json), (Lines{"uninstaller", "uninstaller"}));
}

// Commands and exit statuses

TEST_F(PlanCommand, PrintsTheCommandsAsTheyAre) {
    const ProgramResult result = plan(product().file("VorlaneFX/it's a & b", "A"), {"--commands"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, "mkdir -p \"/Library/Application Support/Vorlane\"\n"
                                     "rm -f \"/Library/Application Support/Vorlane/it's a & b\"\n"
                                     "cp -f \"/Volumes/Installer/ALPHA/files/VorlaneFX/it's a & b\" "
                                     "\"/Library/Application Support/Vorlane/it's a & b\"\n");
}

TEST_F(PlanCommand, ARunThatFailsSaysWhatItWouldPrint) {
    const ProgramResult result = plan(product().listedFile("VorlaneFX/gone"));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(
        result.standardOutput.find("The run would fail. It would print:\n"
                                   "  Checking file consistency in source folder\n"
                                   "  Error! File '/Volumes/Installer/ALPHA/files/VorlaneFX/gone' not found\n"
                                   "  Error! File checking is failed\n"),
        std::string::npos)
        << result.standardOutput;
}

TEST_F(PlanCommand, AMissingDefinitionIsARunThatFails) {
    const ProgramResult result =
        root().run({PrivateRoot::inspector, "plan", "--uninstall", "/none/sku.xml", "/none/target_path.xml"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.standardOutput.find("The run would fail."), std::string::npos);
}

TEST_F(PlanCommand, WhatTheShellWouldInterpretGivesNoPlan) {
    const ProductBuilder alpha = product().file("VorlaneFX/$(touch made)", "A");
    place(alpha);
    const std::string folder = folderOf(alpha);
    const ProgramResult result = root().run({PrivateRoot::inspector, "plan", folder + "/files",
                                             folder + "/sku.xml", folder + "/target_path.xml"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.standardError,
              "InstallInspector: cannot tell what the run would do: the shell would interpret a character of "
              "the path: rm -f \"/Library/Application Support/Vorlane/$(touch made)\"\n");
    EXPECT_FALSE(root().exists("/made"));
    const ProgramResult json = root().run({PrivateRoot::inspector, "plan", "--json", folder + "/files",
                                           folder + "/sku.xml", folder + "/target_path.xml"});
    EXPECT_EQ("InstallInspector: " + Json::parse(json.standardOutput)["error"].get<std::string>() + "\n",
              result.standardError);
}

TEST(PlanCommandLine, BadUsageGoesToStandardError) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"plan"},
                                                      {"plan", "a"},
                                                      {"plan", "a", "b"},
                                                      {"plan", "a", "b", "c", "d"},
                                                      {"plan", "--uninstall", "a"},
                                                      {"plan", "--uninstall", "a", "b", "c"},
                                                      {"plan", "--json", "--commands", "a", "b", "c"}}) {
        std::vector<std::string> command = arguments;
        command.insert(command.begin(), INSTALLINSPECTOR_PROGRAM);
        const ProgramResult result = runProgram(command);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_NE(result.standardError, "");
    }
}

TEST(PlanCommandLine, HelpNamesTheExitStatus) {
    const ProgramResult result = runProgram({INSTALLINSPECTOR_PROGRAM, "plan", "--help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.standardOutput.find("Exit status"), std::string::npos);
}
