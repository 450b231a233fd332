// What a plan says about the outcome of a run, and what is then there. That exit status 0 promises what it
// does is tested with random products, too, see RandomPlanTest.
#include "Tests/Support/EndToEndTest.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

using Json = nlohmann::json;

class PlanVerdict : public EndToEndTest {
protected:
    static ProductBuilder product(const std::string& id = "ALPHA", const std::string& name = "Alpha") {
        return ProductBuilder(id, name)
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .unlistedFile("VorlaneFX/u", "");
    }
    /// A product that installs nothing but its files of VorlaneFX.
    static ProductBuilder beta() { return product("BETA", "Beta"); }
    static ProductBuilder common(const std::string& definition = "") {
        ProductBuilder shared("COMMON", "Shared Files");
        shared.target("VorlaneFX", statusFolder)
            .file("VorlaneFX/manager", "M")
            .file("VorlaneFX/SKU/COMMON.xml", "");
        return shared.unlistedFile("VorlaneFX/SKU/COMMON.xml",
                                   definition.empty() ? shared.definition() : definition);
    }
    static Options asBen() {
        Options options;
        options.environment["HOME"] = "/Users/ben";
        return options;
    }

    ProgramResult ask(const ProductBuilder& product, bool bUninstall, const std::string& format,
                      const Options& options = Options()) {
        place(product);
        std::vector<std::string> command = bUninstall ? uninstallCommand(product) : installCommand(product);
        command.erase(command.begin(), command.begin() + (bUninstall ? 2 : 1));
        std::vector<std::string> question{PrivateRoot::inspector, "plan"};
        if (!format.empty()) {
            question.push_back(format);
        }
        if (bUninstall) {
            question.emplace_back("--uninstall");
        }
        question.insert(question.end(), command.begin(), command.end());
        return root().run(question, options);
    }
    Json planOf(const ProductBuilder& product, bool bUninstall, const Options& options = Options()) {
        const ProgramResult result = ask(product, bUninstall, "--json", options);
        Json json = Json::parse(result.standardOutput);
        EXPECT_EQ(result.exitStatus, json["verdict"] == "safe" ? 0 : 1);
        return json;
    }
    static std::set<std::string> rulesOf(const Json& plan) {
        std::set<std::string> rules;
        for (const Json& danger : plan["dangers"]) {
            rules.insert(danger["rule"]);
        }
        return rules;
    }
    static std::set<std::string> pathsOf(const Json& plan, const std::string& rule) {
        std::set<std::string> paths;
        for (const Json& danger : plan["dangers"]) {
            for (const Json& path : danger["paths"]) {
                if (danger["rule"] == rule) {
                    paths.insert(path);
                }
            }
        }
        return paths;
    }
    static std::string messagesOf(const Json& plan) {
        std::string text;
        for (const Json& danger : plan["dangers"]) {
            text += danger["message"].get<std::string>() + "\n";
        }
        return text;
    }

    using Rules = std::set<std::string>;
    /// Plans and installs; the plan has to find these dangers alone.
    Json install(const ProductBuilder& product, const Rules& rules, const Options& options = Options()) {
        Json plan = planOf(product, false, options);
        EXPECT_EQ(rulesOf(plan), rules) << messagesOf(plan);
        Install(product, {}, options);
        return plan;
    }
    Json uninstall(const ProductBuilder& product, const Rules& rules, const Options& options = Options()) {
        Json plan = planOf(product, true, options);
        EXPECT_EQ(rulesOf(plan), rules) << messagesOf(plan);
        Uninstall(product, {}, options);
        return plan;
    }
    bool isRecorded(const std::string& line) {
        const Lines lines = counts();
        return std::count(lines.begin(), lines.end(), line) != 0;
    }
    bool isFolder(const std::string& path) { return std::filesystem::is_directory(root().outside(path)); }
};

} // namespace

// What is safe

TEST_F(PlanVerdict, AnInstallAnUpdateAndAnUninstallOfSoundProductsAreSafe) {
    root().makeFolder("/Applications/Edius.app");
    const auto alpha = [](const char* build) {
        return product()
            .build(build)
            .file("VorlaneFX/shared", build)
            .file("VorlaneFX/licence", build, {{"dontdelete", "1"}})
            .folder("VorlaneFX/Presets")
            .unlistedFile("VorlaneFX/Presets/soft", build)
            .listedFile("Content/Tool.app")
            .unlistedFile("Content/Tool.app/Contents/tool", build)
            .target("Content", "/Users/%USER%/Movies")
            .file("Hosts/Edius/Blur/Blur.dll", build)
            .shortCut("Hosts/Edius/Blur/Blur.dll", "Blur")
            .target("Hosts/Edius", "/Library/Edius/%FAMILY%", pathExists("/Applications/Edius.app"));
    };
    install(common(), {});
    install(alpha("1.0.0.100"), {});
    install(beta().file("VorlaneFX/shared", "B"), {});
    install(alpha("1.0.0.100"), {});
    install(alpha("1.0.0.200"), {});
    uninstall(beta().file("VorlaneFX/shared", "B"), {});
    const Json plan = uninstall(alpha("1.0.0.200"), {});
    EXPECT_EQ(plan["verdict"], "safe");
    EXPECT_EQ(plan["runs"].size(), 2U);
    ExpectTree({shared("licence: 1.0.0.200"), "/Applications/Edius.app/", "/Library/Edius/Blur/",
                "/Users/anna/Movies/"});
}

// What stays behind at an upgrade

TEST_F(PlanVerdict, APathThatTheNewBuildDropsStays) {
    install(product().file("VorlaneFX/a", "1").file("VorlaneFX/b", "1"), {});
    const Json plan = install(product().build("1.0.0.200").file("VorlaneFX/a", "2"), {"dropped-path"});
    EXPECT_EQ(pathsOf(plan, "dropped-path"), (std::set<std::string>{"VorlaneFX/b", shared("b")}));
    EXPECT_EQ(root().read(shared("b")), "1");
    EXPECT_TRUE(isRecorded("VorlaneFX/b 1, 1.0.0.100"));
}

TEST_F(PlanVerdict, AFileStaysWhereTheNewBuildDoesNotGo) {
    const ProductBuilder alpha = product().file("VorlaneFX/x", "X").file("Content/a", "A");
    install(ProductBuilder(alpha).target("Content", "/Library/Old"), {});
    const Json plan = install(ProductBuilder(alpha).target("Content", "/Library/New"), {"moved-target"});
    EXPECT_EQ(pathsOf(plan, "moved-target"), std::set<std::string>{"/Library/Old/a"});
    EXPECT_TRUE(root().exists("/Library/Old/a"));
    EXPECT_TRUE(root().exists("/Library/New/a"));
}

TEST_F(PlanVerdict, ATargetThatIsTheSameFolderByALinkHasNotMoved) {
    const ProductBuilder alpha = product().file("VorlaneFX/x", "X").file("Content/a", "A");
    root().makeFolder("/Library/Old");
    std::filesystem::create_symlink("Old", root().outside("/Library/New"));
    install(ProductBuilder(alpha).target("Content", "/Library/Old"), {});
    install(ProductBuilder(alpha).target("Content", "/Library/New"), {});
    EXPECT_TRUE(root().exists("/Library/Old/a"));
}

TEST_F(PlanVerdict, AFolderThatBecomesAFileHasTheFileInside) {
    install(product().file("VorlaneFX/D/a", "1"), {});
    const Json plan = install(product().file("VorlaneFX/D", "2"), {"dropped-path", "kind-changes"});
    EXPECT_EQ(pathsOf(plan, "kind-changes"), std::set<std::string>{"VorlaneFX/D"});
    EXPECT_EQ(root().read(shared("D/D")), "2");
}

TEST_F(PlanVerdict, AFileThatBecomesAFolderIsInTheWay) {
    install(product().file("VorlaneFX/D", "1"), {});
    install(product().file("VorlaneFX/D/a", "2"),
            {"copy-fails", "kind-changes", "not-recorded", "user-asked"});
    EXPECT_EQ(root().read(shared("D")), "1");
}

TEST_F(PlanVerdict, AShortcutOfTheInstalledBuildStays) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    install(ProductBuilder(alpha).shortCut("VorlaneFX/a", "Old"), {});
    const Json plan = install(ProductBuilder(alpha).shortCut("VorlaneFX/a", "New"), {"dropped-path"});
    EXPECT_EQ(pathsOf(plan, "dropped-path"), std::set<std::string>{"/Applications/Old"});
    EXPECT_TRUE(root().exists("/Applications/Old"));
}

TEST_F(PlanVerdict, TheUninstallerOfAnotherNameStays) {
    install(product().file("VorlaneFX/a", "A"), {});
    install(product("ALPHA", "Alpha Two").file("VorlaneFX/a", "A"), {"old-uninstaller"});
    EXPECT_TRUE(root().exists("/Applications/Vorlane Uninstallers/Uninstall Alpha.app"));
}

// Counts

TEST_F(PlanVerdict, APathThatAnUpdateListsFirstIsCountedTooLow) {
    install(product().file("VorlaneFX/a", "A"), {});
    const ProductBuilder other = beta().file("VorlaneFX/x", "B");
    install(other, {});
    const ProductBuilder update = product().file("VorlaneFX/a", "A").file("VorlaneFX/x", "A");
    const Json plan = install(update, {"counted-too-low"});
    EXPECT_EQ(pathsOf(plan, "counted-too-low"), std::set<std::string>{"VorlaneFX/x"});
    uninstall(other, {"counted-too-low", "others-lost"});
    EXPECT_FALSE(root().exists(shared("x"))) << "which ALPHA needs";
}

TEST_F(PlanVerdict, APathThatAnotherProductListsIsCountedTooHighOnceDropped) {
    const ProductBuilder other = beta().file("VorlaneFX/x", "B");
    install(other, {});
    install(product().file("VorlaneFX/a", "A").file("VorlaneFX/x", "A"), {});
    install(product().file("VorlaneFX/a", "A"), {"counted-too-high"});
    uninstall(other, {"counted-too-high", "stays-behind"});
    EXPECT_TRUE(root().exists(shared("x")));
}

TEST_F(PlanVerdict, AnUnknownProductExplainsNoUseThatTheKnownOnesHad) {
    install(product("GAMMA", "Gamma").file("VorlaneFX/g", "G"), {});
    root().remove("/Applications/Vorlane Uninstallers/Uninstall Gamma.app");
    const ProductBuilder other = beta().file("VorlaneFX/x", "B");
    install(other, {});
    install(product().file("VorlaneFX/a", "A").file("VorlaneFX/x", "A"), {});
    const Json plan = install(product().file("VorlaneFX/a", "A"), {"counted-too-high"});
    EXPECT_EQ(pathsOf(plan, "counted-too-high"), std::set<std::string>{"VorlaneFX/x"});
}

TEST_F(PlanVerdict, AnUnknownProductMayExplainAUse) {
    install(product("GAMMA", "Gamma").file("VorlaneFX/x", "G"), {});
    root().remove("/Applications/Vorlane Uninstallers/Uninstall Gamma.app");
    install(beta().file("VorlaneFX/b", "B"), {});
    install(product().file("VorlaneFX/x", "A"), {});
    install(product().file("VorlaneFX/x", "A"), {});
}

// What stays behind at an uninstall

TEST_F(PlanVerdict, AnUninstallNamesWhatLiesBelowAConditionThatNoLongerHolds) {
    root().makeFolder("/Applications/Edius.app");
    const ProductBuilder alpha =
        product()
            .file("VorlaneFX/x", "X")
            .file("Hosts/Edius/Blur/a", "A")
            .target("Hosts/Edius", "/Library/Edius", pathExists("/Applications/Edius.app"));
    install(alpha, {});
    root().remove("/Applications/Edius.app");
    const std::string text = ask(alpha, true, "").standardOutput;
    EXPECT_NE(
        text.find("      left     /Library/Edius/a  the condition of its target folder does not hold\n"),
        std::string::npos)
        << text;
    EXPECT_EQ(text.find("nothing of it is here"), std::string::npos) << text;
    const Json plan = uninstall(alpha, {"stays-behind"});
    EXPECT_EQ(plan["leftBehind"], Json::parse(R"([{"name": "Hosts/Edius/Blur/a", "path": "/Library/Edius/a",
                               "why": "the condition of its target folder does not hold"}])"));
    EXPECT_TRUE(root().exists("/Library/Edius/a"));
}

TEST_F(PlanVerdict, AnUninstallNamesWhatLiesInAnotherUsersHome) {
    const ProductBuilder alpha =
        product().file("VorlaneFX/x", "X").file("Content/a", "A").target("Content", "/Users/%USER%/Movies");
    install(alpha, {}, asBen());
    const Json plan = uninstall(alpha, {"stays-behind"});
    EXPECT_EQ(pathsOf(plan, "stays-behind"), std::set<std::string>{"/Users/ben/Movies/a"});
    EXPECT_TRUE(root().exists("/Users/ben/Movies/a"));
}

TEST_F(PlanVerdict, AnUninstallWithoutARecordLeavesAll) {
    const ProductBuilder alpha = ProductBuilder("ALPHA", "Alpha")
                                     .unlistedFile("VorlaneFX/u", "")
                                     .file("Content/a", "A")
                                     .target("Content", "/Library/Plain");
    install(alpha, {"no-record"});
    uninstall(alpha, {"stays-behind"});
    EXPECT_TRUE(root().exists("/Library/Plain/a"));
}

TEST_F(PlanVerdict, ASharedPackageWhoseDefinitionIsEmptyOrMalformedStays) {
    for (const char* definition : {" ", "<product><sku ID='COMMON'", "<other/>"}) {
        takeNewMachine();
        install(common(definition), {});
        const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
        install(alpha, {});
        const Json plan = planOf(alpha, true);
        EXPECT_EQ(rulesOf(plan).count("shared-package-stays"), 1U) << messagesOf(plan);
        EXPECT_EQ(rulesOf(plan).count("product-not-recorded"), 0U) << messagesOf(plan);
        EXPECT_EQ(plan["succeeds"], Uninstall(alpha).exitStatus == 0);
        EXPECT_TRUE(root().exists(shared("manager")));
    }
}

TEST_F(PlanVerdict, WhatTheTargetPathsOfTheLastProductSendElsewhereStays) {
    install(common(), {});
    const ProductBuilder alpha =
        product().file("VorlaneFX/a", "A").target("VorlaneFX/manager", "/Library/Elsewhere");
    install(alpha, {});
    const Json plan = uninstall(alpha, {"stays-behind"});
    EXPECT_EQ(pathsOf(plan, "stays-behind"), std::set<std::string>{shared("manager")}) << messagesOf(plan);
    EXPECT_TRUE(root().exists(shared("manager")));
}

// What the user is asked

TEST_F(PlanVerdict, AMissingVorlaneFXIsAskedAbout) {
    const ProductBuilder alpha = ProductBuilder("ALPHA", "Alpha")
                                     .target("VorlaneFX", statusFolder)
                                     .file("Content/a", "A")
                                     .target("Content", statusFolder);
    const Json plan = planOf(alpha, false);
    EXPECT_EQ(rulesOf(plan), Rules{"user-asked"});
    EXPECT_NE(messagesOf(plan).find("\": the source has no folder VorlaneFX\n"), std::string::npos)
        << messagesOf(plan);
    EXPECT_NE(Install(alpha).standardOutput.find("Installation warning"), std::string::npos);
}

TEST_F(PlanVerdict, AnItemForAFileIsAskedAbout) {
    const ProductBuilder alpha =
        product().file("VorlaneFX/a", "A").file("VorlaneFX/b", "B").target("VorlaneFX/a", "/Library/To");
    const Json plan = planOf(alpha, false);
    EXPECT_EQ(rulesOf(plan), Rules{"user-asked"});
    EXPECT_NE(messagesOf(plan).find("VorlaneFX/a has a target item, which only a folder can have"),
              std::string::npos)
        << messagesOf(plan);
    EXPECT_NE(Install(alpha).standardOutput.find("Installation warning"), std::string::npos);
}

// Files and folders in each other's place

TEST_F(PlanVerdict, AFolderWhereAFileGoesTakesItIn) {
    root().write(shared("a/mine"), "mine");
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    install(alpha, {"folder-for-file"});
    EXPECT_EQ(root().read(shared("a/a")), "A");
    uninstall(alpha, {"folder-for-file"});
    EXPECT_FALSE(root().exists(shared("a/mine")));
}

TEST_F(PlanVerdict, AFolderOfTheUserThatBecomesTheProductsIsTold) {
    root().write(shared("Presets/mine"), "mine");
    const ProductBuilder alpha =
        product().folder("VorlaneFX/Presets").unlistedFile("VorlaneFX/Presets/soft", "soft");
    install(alpha, {"unrecorded-file"});
    Uninstall(alpha);
    EXPECT_FALSE(root().exists(shared("Presets/mine")));
}

TEST_F(PlanVerdict, AFileThatIsKeptWhereAFolderGoesIsTold) {
    const auto tool = [](const ProductBuilder& product) {
        return ProductBuilder(product)
            .listedFile("VorlaneFX/Tool.app")
            .unlistedFile("VorlaneFX/Tool.app/tool", "t");
    };
    root().write(shared("Tool.app"), "mine");
    Install(tool(beta().build("1.0.0.200"))); // which cannot write its folder
    install(tool(product()), {"not-there"});
    EXPECT_EQ(root().read(shared("Tool.app")), "mine");
}

TEST_F(PlanVerdict, ABundleIsTheProductsOwn) {
    const ProductBuilder alpha = product()
                                     .listedFile("VorlaneFX/Tool.app")
                                     .unlistedFile("VorlaneFX/Tool.app/tool", "tool")
                                     .listedFile("VorlaneFX/Package")
                                     .unlistedFile("VorlaneFX/Package/Contents/package", "package");
    install(alpha, {});
    uninstall(alpha, {});
}

// Other products

TEST_F(PlanVerdict, TwoPathsThatGoToOnePlaceAreToldUnlessTheyAreTheSame) {
    const auto alpha = [](const char* second) {
        return product()
            .file("VorlaneFX/x", "X")
            .file("Hosts/Edius/Blur/a", "A")
            .file("Hosts/OpenFX/Blur/a", second)
            .target("Hosts/Edius", "/Library/Both")
            .target("Hosts/OpenFX", "/Library/Both");
    };
    const Json plan = install(alpha("B"), {"same-place"});
    const std::string place = root().read("/Library/Both/a");
    EXPECT_TRUE(place == "A" || place == "B");
    Json entries;
    for (const Json& branch : plan["runs"][0]["branches"]) {
        for (const Json& entry : branch["entries"]) {
            entries.push_back(entry["action"].get<std::string>() + ": " + entry["why"].get<std::string>());
        }
    }
    EXPECT_EQ(entries, (Json{"copy: new",
                             "copy: in place of what this run has put there from "
                             "Hosts/OpenFX/Blur/a",
                             "copy: new"}));
    takeNewMachine();
    install(alpha("A"), {});
}

TEST_F(PlanVerdict, APathOfAnotherProductThatIsWrittenOverIsTold) {
    install(beta().file("VorlaneFX/x", "X").file("Content/a", "B").target("Content", "/Library/Both"), {});
    const Json plan = install(product()
                                  .file("VorlaneFX/x", "X")
                                  .file("Hosts/Edius/Blur/a", "A")
                                  .target("Hosts/Edius", "/Library/Both"),
                              {"others-lost"});
    EXPECT_EQ(pathsOf(plan, "others-lost"), std::set<std::string>{"/Library/Both/a"});
    EXPECT_EQ(root().read("/Library/Both/a"), "A");
}

TEST_F(PlanVerdict, AnEmptyFolderOfAnotherProductGoes) {
    install(beta().folder("VorlaneFX/Empty"), {});
    const ProductBuilder alpha = product().file("VorlaneFX/Empty/a", "A");
    install(alpha, {});
    ASSERT_TRUE(isFolder(shared("Empty")));
    const Json plan = uninstall(alpha, {"others-lost"});
    EXPECT_EQ(pathsOf(plan, "others-lost"), std::set<std::string>{shared("Empty")});
    EXPECT_FALSE(root().exists(shared("Empty")));
}

TEST_F(PlanVerdict, TheUninstallerOfAnotherProductOfTheSameNameIsLost) {
    install(product("BETA", "Alpha").file("VorlaneFX/b", "B"), {});
    install(product().file("VorlaneFX/a", "A"), {"others-lost"});
}

TEST_F(PlanVerdict, TheShortcutOfAnotherProductIsLost) {
    install(beta().file("VorlaneFX/b", "B").shortCut("VorlaneFX/b", "Tool"), {});
    const Json plan =
        install(product().file("VorlaneFX/a", "A").shortCut("VorlaneFX/a", "Tool"), {"others-lost"});
    EXPECT_EQ(pathsOf(plan, "others-lost"), std::set<std::string>{"/Applications/Tool"});
}

TEST_F(PlanVerdict, AShortcutThatIsMadeInsideTheFolderOfAnOldOneIsTold) {
    const auto tool = [](const char* folder) {
        return product()
            .file("VorlaneFX/x", "X")
            .listedFile("Content/Tool.app")
            .unlistedFile("Content/Tool.app/Contents/tool", "tool")
            .shortCut("Content/Tool.app", "Tool")
            .target("Content", folder);
    };
    install(tool("/Users/%USER%/Movies"), {}, asBen());
    install(tool("/Users/%USER%/Movies"), {}, asBen());
    install(tool("/Users/%USER%/Movies"), {"not-there", "shortcut"});
    EXPECT_EQ(root().targetOfLink("/Applications/Tool"), "/Users/ben/Movies/Tool.app");
    EXPECT_TRUE(root().exists("/Users/ben/Movies/Tool.app/Tool.app"));
}

TEST_F(PlanVerdict, ALinkOfTheUserThatBecomesAShortcutIsTold) {
    root().write("/Library/mine", "mine");
    std::filesystem::create_symlink("/Library/mine", root().outside("/Applications/Tool"));
    install(product().file("VorlaneFX/a", "A").shortCut("VorlaneFX/a", "Tool"), {"shortcut"});
    EXPECT_EQ(root().targetOfLink("/Applications/Tool"), shared("a"));
}

TEST_F(PlanVerdict, AShortcutThatIsNotMadeIsTold) {
    install(beta().build("1.0.0.200").file("VorlaneFX/a", "B"), {});
    // The newer file is kept, and a kept file gets no shortcut.
    install(product().file("VorlaneFX/a", "A").shortCut("VorlaneFX/a", "Tool"), {"not-there"});
    EXPECT_FALSE(root().exists("/Applications/Tool"));
}

TEST_F(PlanVerdict, ATreeThatListsTheRecordIsTold) {
    install(beta().file("VorlaneFX/b", "B"), {});
    const ProductBuilder alpha = product().file("VorlaneFX/InstallationStatusFile.xml", "<install/>");
    const Json plan = planOf(alpha, false);
    EXPECT_EQ(rulesOf(plan).count("lists-record"), 1U) << messagesOf(plan);
    Install(alpha);
    EXPECT_FALSE(isRecorded("VorlaneFX/b 1, 1.0.0.100"));
}

// The product itself

TEST_F(PlanVerdict, APartThatNoRunInstallsIsTold) {
    install(product().file("VorlaneFX/a", "A").file("Extras/b", "B"), {"not-installed"});
}

TEST_F(PlanVerdict, AMalformedDefinitionIsTold) {
    const ProductBuilder alpha = product().definitionText("<product><sku ID='ALPHA'");
    const Json plan = planOf(alpha, false);
    EXPECT_EQ(rulesOf(plan).count("definition-unreadable"), 1U) << messagesOf(plan);
    EXPECT_EQ(Install(alpha).exitStatus, 0);
}

TEST_F(PlanVerdict, ARunThatChangesItsOwnConditionsIsTold) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/x", "X")
                                     .file("Content/a", "A")
                                     .target("Content", "/Library/First", pathMissing("/Library/First"))
                                     .target("Content", "/Library/Later", pathExists("/Library/First"));
    install(alpha, {"moved-target", "not-there"});
    EXPECT_TRUE(root().exists("/Library/First/a"));
    uninstall(alpha, {"stays-behind"});
    EXPECT_TRUE(root().exists("/Library/First/a"));
}

// What cannot be known

TEST_F(PlanVerdict, WithoutItsUninstallerNothingIsKnownOfTheInstalledBuild) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    install(alpha, {});
    root().remove(uninstallerOf(alpha));
    const Json plan = planOf(alpha, false);
    EXPECT_EQ(rulesOf(plan), Rules{"unknown-build"});
    EXPECT_EQ(plan["verdict"], "cannot tell");
    EXPECT_EQ(plan["dangers"][0]["verdict"], "cannot tell");
    const std::string text = ask(alpha, false, "").standardOutput;
    EXPECT_NE(text.find("\nNot known\n  ? "), std::string::npos) << text;
    EXPECT_NE(text.find("The run would succeed; whether it does harm is not known.\n"), std::string::npos)
        << text;
}

TEST_F(PlanVerdict, WithoutAnothersUninstallerAnUninstallCannotBeJudged) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    const ProductBuilder other = beta().file("VorlaneFX/b", "B");
    install(other, {});
    root().remove(uninstallerOf(other));
    install(alpha, {}); // whose counts are right whatever the other lists
    install(alpha, {});
    const Json plan = uninstall(alpha, {"unknown-product"});
    EXPECT_EQ(plan["verdict"], "cannot tell");
}

// Odd machines, on which each run is compared with its plan

TEST_F(PlanVerdict, ForetellsARunThatRemovesItsWorkingFolder) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/Sub/a", "A")
                                     .file("Content/b", "B")
                                     .target("Content", "Below")
                                     .target("Content", shared("Sub/Content"));
    Options inside;
    inside.workingFolder = shared("Sub");
    root().makeFolder(shared("Sub"));
    ExpectSuccess(Install(alpha, {}, inside));
    ExpectSuccess(Uninstall(alpha, {}, inside));
    root().makeFolder(shared("Sub"));
    ExpectSuccess(Install(alpha, {}, inside));
}

TEST_F(PlanVerdict, ForetellsAHomeWithAnApostrophe) {
    const ProductBuilder alpha =
        product().file("VorlaneFX/x", "X").file("Content/a", "A").target("Content", "/Users/%USER%/Movies");
    for (const char* home :
         {"/Users/o'brien", "/Users/a=b", "/Users/#1", "/Users/{a,b}", "/Users/two  words"}) {
        Options options;
        options.environment["HOME"] = home;
        root().makeFolder(home);
        ExpectSuccess(Install(alpha, {}, options));
        Uninstall(alpha, {}, options);
    }
}

TEST_F(PlanVerdict, ForetellsARecordThatIsNoRegularFile) {
    const std::string record = shared("InstallationStatusFile.xml");
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    root().makeFolder(statusFolder);
    namespace fs = std::filesystem;
    const std::vector<void (*)(const std::string&)> makers = {
        [](const std::string& path) { fs::create_directory(path); },
        [](const std::string& path) { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); },
        [](const std::string& path) { fs::create_symlink(fs::path(path).filename(), path); },
        [](const std::string& path) { fs::create_symlink("/dev/null", path); },
        [](const std::string& path) { fs::create_symlink("nowhere", path); },
        [](const std::string& path) { fs::create_symlink("nowhere/below", path); },
        [](const std::string& path) { fs::create_directory(path + ".new"); },
    };
    for (const auto& make : makers) {
        root().remove(record);
        make(root().outside(record));
        for (const bool bUninstall : {false, true}) {
            const Json plan = planOf(alpha, bUninstall);
            const ProgramResult result = bUninstall ? Uninstall(alpha) : Install(alpha);
            EXPECT_EQ(plan["log"], result.standardOutput);
            EXPECT_EQ(plan["succeeds"], result.exitStatus == 0);
        }
    }
}

TEST_F(PlanVerdict, ForetellsLinksThatLeadInACircle) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/a", "A")
                                     .file("VorlaneFX/ring/b", "B")
                                     .folder("VorlaneFX/Whole")
                                     .unlistedFile("VorlaneFX/Whole/w", "W");
    root().makeFolder(shared("Whole"));
    namespace fs = std::filesystem;
    fs::create_symlink("ring2", root().outside(shared("ring")));
    fs::create_symlink("ring", root().outside(shared("ring2")));
    fs::create_symlink("a", root().outside(shared("a")));
    fs::create_symlink(".", root().outside(shared("Whole/self")));
    for (const bool bUninstall : {false, true}) {
        const Json plan = planOf(alpha, bUninstall);
        const ProgramResult result = bUninstall ? Uninstall(alpha) : Install(alpha);
        EXPECT_EQ(plan["succeeds"], result.exitStatus == 0);
        EXPECT_EQ(plan["verdict"], bUninstall ? "safe" : "harm") << messagesOf(plan);
    }
}

// The form of the JSON, as Docs/inspector.md has it

TEST_F(PlanVerdict, TheJsonHasTheMembersThatTheDocumentNames) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    install(ProductBuilder(alpha).file("VorlaneFX/b", "B"), {});
    const auto membersOf = [](const Json& json) {
        std::set<std::string> names;
        for (const auto& [name, value] : json.items()) {
            names.insert(name);
        }
        return names;
    };
    using Names = std::set<std::string>;
    const Json plan = planOf(alpha, false);
    EXPECT_EQ(membersOf(plan), (Names{"dangers", "definition", "leftBehind", "log", "runs", "source",
                                      "succeeds", "targets", "verdict"}));
    ASSERT_FALSE(plan["dangers"].empty());
    EXPECT_EQ(membersOf(plan["dangers"][0]), (Names{"message", "paths", "rule", "verdict"}));
    EXPECT_EQ(plan["dangers"][0]["verdict"], "harm");
    EXPECT_EQ(membersOf(plan["runs"][0]),
              (Names{"action", "branches", "leftOut", "product", "record", "steps"}));
    EXPECT_EQ(membersOf(plan["runs"][0]["branches"][0]),
              (Names{"entries", "item", "name", "secondAttempt", "targets"}));
    EXPECT_EQ(membersOf(plan["runs"][0]["branches"][0]["entries"][0]),
              (Names{"action", "kind", "name", "path", "why"}));
    EXPECT_EQ(membersOf(plan["runs"][0]["record"]), (Names{"after", "before", "path", "removed", "saved"}));
}
