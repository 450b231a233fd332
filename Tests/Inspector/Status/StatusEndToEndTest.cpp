// "status" on a machine on which the real program has installed real products.
#include "Platform/Digest.h"
#include "Tests/Support/EndToEndTest.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <set>

namespace {

class StatusEndToEnd : public EndToEndTest {
protected:
    static constexpr const char* inspector = PrivateRoot::inspector;

    /// Runs "status" with these products, and sees to it that nothing changes.
    ProgramResult status(const std::vector<ProductBuilder>& products, std::vector<std::string> more = {}) {
        std::vector<std::string> command = {inspector, "status"};
        for (const ProductBuilder& product : products) {
            command.insert(command.end(), {"--sku", folderOf(product) + "/sku.xml", "--targets",
                                           folderOf(product) + "/target_path.xml"});
        }
        command.insert(command.end(), more.begin(), more.end());
        const Lines before = root().tree();
        ProgramResult result = root().run(command);
        EXPECT_EQ(FileTree::difference(before, root().tree()), "");
        return result;
    }

    using Json = nlohmann::json;

    /// The findings of "status" without definitions, by rule, for the user with that home folder.
    std::map<std::string, Json> findings(const std::string& home = "/Users/anna") {
        Options options;
        options.environment["HOME"] = home;
        const Lines before = root().tree();
        const ProgramResult result = root().run({inspector, "status", "--json"}, options);
        EXPECT_EQ(FileTree::difference(before, root().tree()), "");
        const Json document = Json::parse(result.standardOutput);
        std::map<std::string, Json> byRule;
        for (const Json& finding : document["findings"]) {
            EXPECT_TRUE(byRule.emplace(finding["rule"], finding).second) << "twice: " << finding;
        }
        EXPECT_EQ(result.exitStatus, byRule.empty() ? 0 : 1);
        EXPECT_EQ(document["verdict"] == "safe", byRule.empty());
        return byRule;
    }
    std::set<std::string> rules(const std::string& home = "/Users/anna") {
        std::set<std::string> names;
        for (const auto& [rule, finding] : findings(home)) {
            names.insert(rule);
        }
        return names;
    }
    /// What "status" says of a product that is wanted, and its exit status.
    std::string wanted(const std::string& product) {
        const auto result = status({}, {"--json", "--want", product});
        const Json document = Json::parse(result.standardOutput);
        EXPECT_EQ(document["wanted"].size(), 1U);
        return document["wanted"][0]["state"].get<std::string>() + " " + std::to_string(result.exitStatus);
    }
    /// The only finding.
    Json finding(const std::string& rule) {
        const auto found = findings();
        EXPECT_EQ(found.size(), 1U);
        const auto wanted = found.find(rule);
        EXPECT_NE(wanted, found.end()) << (found.empty() ? "nothing" : found.begin()->second.dump());
        return wanted == found.end() ? Json{{"message", ""}, {"advice", ""}, {"paths", Json::array()}}
                                     : wanted->second;
    }

    void edit(const std::string& path, const std::string& from, const std::string& to) {
        std::string text = root().read(path);
        const std::size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from << " in " << text;
        root().write(path, text.replace(at, from.size(), to));
    }

    static bool has(const ProgramResult& result, const std::string& text) {
        return result.standardOutput.find(text) != std::string::npos;
    }
};

ProductBuilder alpha() {
    return ProductBuilder("ALPHA", "Alpha")
        .build("1.0.0.100")
        .family("Glow")
        .file("VorlaneFX/Looks/Grey.look", "grey")
        .file("VorlaneFX/Guide.html", "guide")
        .shortCut("VorlaneFX/Guide.html", "Alpha Guide.html")
        .file("Hosts/OpenFX/Glow/Glow.ofx", "glow")
        .target("VorlaneFX", "/Library/Application Support/Vorlane")
        .target("Hosts/OpenFX", "/Users/%USER%/OFX/Vorlane/%FAMILY%", pathExists("/Applications/OpenFX.app"));
}

ProductBuilder beta() {
    return ProductBuilder("BETA", "Beta")
        .build("1.0.0.200")
        .family("Ink")
        .file("VorlaneFX/Looks/Grey.look", "newer grey")
        .target("VorlaneFX", "/Library/Application Support/Vorlane");
}

/// The shared package.
ProductBuilder common() {
    return ProductBuilder("COMMON", "Shared")
        .build("1.0.0.300")
        .listedFile("VorlaneFX/SKU/COMMON.xml")
        .file("VorlaneFX/Common/ApplicationManager.app/Contents/Info.plist", "manager")
        .target("VorlaneFX", "/Library/Application Support/Vorlane");
}

ProductBuilder installable(ProductBuilder product) {
    const std::string definition = product.definition();
    return product.unlistedFile("VorlaneFX/SKU/COMMON.xml", definition);
}

const std::string record = "/Library/Application Support/Vorlane/InstallationStatusFile.xml";
const std::string sharedDefinition = "/Library/Application Support/Vorlane/SKU/COMMON.xml";
const std::string managerLink = "/Applications/Vorlane Application Manager.app";

} // namespace

TEST_F(StatusEndToEnd, AFreshMachineHasNoRecord) {
    const auto result = status({});
    EXPECT_EQ(result.standardOutput, "/Library/Application Support/Vorlane/InstallationStatusFile.xml\n\n"
                                     "  Nothing is installed.\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(StatusEndToEnd, AgreesWithWhatWasInstalledAndRemoved) {
    root().makeFolder("/Applications/OpenFX.app");
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    const auto both = status({alpha(), beta()});
    EXPECT_EQ(both.standardOutput, R"(/Library/Application Support/Vorlane/InstallationStatusFile.xml

  product  name   build
  ALPHA    Alpha  1.0.0.100
  BETA     Beta   1.0.0.200

  uses  path                  build
     1  Hosts/
     1  └── OpenFX/
     1      └── Glow/
     1          └── Glow.ofx  1.0.0.100
     2  VorlaneFX/
     1  ├── Guide.html        1.0.0.100  shortcut /Applications/Alpha Guide.html
     2  └── Looks/
     2      └── Grey.look     1.0.0.200

The record and this machine agree.
)");
    EXPECT_EQ(both.exitStatus, 0);

    ExpectSuccess(Uninstall(alpha()));
    const auto left = status({beta()});
    EXPECT_EQ(left.exitStatus, 0) << left.standardOutput;
    EXPECT_FALSE(has(left, "ALPHA"));
    const auto gone = status({alpha()});
    EXPECT_EQ(gone.exitStatus, 1);
    EXPECT_TRUE(has(gone, "[product-not-recorded]"));

    ExpectSuccess(Uninstall(beta()));
    EXPECT_EQ(status({beta()}).exitStatus, 0);
}

TEST_F(StatusEndToEnd, SeesWhatOtherHandsDid) {
    root().makeFolder("/Applications/OpenFX.app");
    ExpectSuccess(Install(alpha()));
    root().remove("/Library/Application Support/Vorlane/Looks/Grey.look");
    root().remove("/Applications/Alpha Guide.html");
    root().remove("/Applications/OpenFX.app");
    const auto result = status({alpha()});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(
        has(result, "there is no \"/Library/Application Support/Vorlane/Looks\" [missing-file]") ||
        has(result, "there is no \"/Library/Application Support/Vorlane/Looks/Grey.look\" [missing-file]"))
        << result.standardOutput;
    EXPECT_TRUE(has(result, "\"/Applications/Alpha Guide.html\" is missing")) << result.standardOutput;
    EXPECT_TRUE(has(result,
                    "\"Hosts/OpenFX/Glow/Glow.ofx\" is in \"/Users/anna/OFX/Vorlane/Glow\", of which the "
                    "condition does not hold today"))
        << result.standardOutput;
    EXPECT_TRUE(has(result, "\n3 errors, 0 warnings\n"));

    root().makeFolder("/Applications/OpenFX.app");
    ExpectSuccess(Install(alpha()));
    const auto mended = status({alpha()});
    EXPECT_FALSE(has(mended, "[missing-file]")) << mended.standardOutput;
}

TEST_F(StatusEndToEnd, AShortcutThatLeadsElsewhereIsNamed) {
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(status({alpha()}).exitStatus, 0);
    root().remove("/Applications/Alpha Guide.html");
    std::filesystem::create_symlink("/elsewhere", root().outside("/Applications/Alpha Guide.html"));
    EXPECT_TRUE(has(status({alpha()}),
                    "\"/Applications/Alpha Guide.html\" leads to \"/elsewhere\", and should lead "
                    "to \"/Library/Application Support/Vorlane/Guide.html\" "
                    "[shortcut-missing]"));
}

TEST_F(StatusEndToEnd, WhatALostRecordForgetsIsNotRecorded) {
    ExpectSuccess(Install(alpha()));
    root().remove("/Library/Application Support/Vorlane/InstallationStatusFile.xml");
    const auto result = status({alpha()}, {"--json"});
    EXPECT_EQ(result.exitStatus, 1);
    const auto document = nlohmann::json::parse(result.standardOutput);
    EXPECT_EQ(document["state"], "missing");
    ASSERT_EQ(document["findings"].size(), 1U);
    EXPECT_EQ(document["findings"][0]["rule"], "not-recorded");
}

TEST_F(StatusEndToEnd, WithoutDefinitionsItComparesAllThatIsInstalled) {
    root().makeFolder("/Applications/OpenFX.app");
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    ExpectSuccess(Install(installable(common())));
    const auto all = status({});
    EXPECT_EQ(all.exitStatus, 0) << all.standardOutput;
    EXPECT_TRUE(has(all, "The record and this machine agree.")) << all.standardOutput;
    ExpectSuccess(Uninstall(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
    ExpectSuccess(Uninstall(beta()));
    EXPECT_TRUE(has(status({}), "Nothing is installed.")) << status({}).standardOutput;
}

TEST_F(StatusEndToEnd, WithFewerDefinitionsThanProductsItNeverAgrees) {
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    const auto one = status({alpha()});
    EXPECT_EQ(one.exitStatus, 1);
    EXPECT_TRUE(has(one, "the product \"BETA\" could not be compared [not-compared]")) << one.standardOutput;
    EXPECT_FALSE(has(one, "agree"));
}

TEST_F(StatusEndToEnd, AMissingUninstallerIsPlacedByAnInstall) {
    ExpectSuccess(Install(alpha()));
    root().remove(uninstallerOf(alpha()));
    EXPECT_EQ(finding("uninstaller-missing")["advice"],
              "Install \"ALPHA\" again, which places its uninstaller.");
    EXPECT_TRUE(has(status({alpha()}), "[uninstaller-missing]"));
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
}

TEST_F(StatusEndToEnd, AnIncompleteUninstallerIsPlacedAnewByAnInstall) {
    for (const char* part : {"/Contents/sku.xml", "/Contents/target_path.xml", "/Contents/Info.plist",
                             "/Contents/MacOS/InstallUtility", "/Contents/MacOS/UninstallLauncher",
                             "/Contents/Resources/en.lproj/Uninstaller.strings"}) {
        SCOPED_TRACE(part);
        ExpectSuccess(Install(alpha()));
        root().remove(uninstallerOf(alpha()) + part);
        EXPECT_EQ(finding("uninstaller-incomplete")["advice"],
                  "Install \"ALPHA\" again, which places it anew.");
    }
    ExpectSuccess(Install(alpha()));
    root().write(uninstallerOf(alpha()) + "/Contents/sku.xml", "<product");
    finding("uninstaller-incomplete");
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
}

TEST_F(StatusEndToEnd, OfTwoProductsOfOneNameOneHasNoUninstaller) {
    ProductBuilder same = beta().name("Alpha");
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(same));
    const Json found = finding("uninstaller-missing");
    EXPECT_EQ(found["advice"],
              "Uninstall \"BETA\", and install \"ALPHA\" again: only one of them can have an "
              "uninstaller.");
    ExpectSuccess(Uninstall(same));
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
}

TEST_F(StatusEndToEnd, TheDefinitionOfAnotherProductInAnUninstallerIsNamed) {
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    root().write(uninstallerOf(alpha()) + "/Contents/sku.xml",
                 root().read(uninstallerOf(beta()) + "/Contents/sku.xml"));
    EXPECT_NE(finding("uninstaller-missing")["message"].get<std::string>().find("is that of \"BETA\""),
              std::string::npos);
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
}

TEST_F(StatusEndToEnd, AnUninstallerUnderAnOldNameStays) {
    ProductBuilder old = alpha().name("Old Alpha");
    ExpectSuccess(Install(old));
    ExpectSuccess(Install(alpha()));
    finding("old-uninstaller");
    ExpectSuccess(Uninstall(alpha()));
    EXPECT_TRUE(root().exists(uninstallerOf(old)));
}

TEST_F(StatusEndToEnd, TheUninstallOfAProductThatTheRecordDoesNotListLeavesItsFiles) {
    const std::string guide = "/Library/Application Support/Vorlane/Guide.html";
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    edit(record, "<sku ID=\"ALPHA\" name=\"Alpha\" build=\"1.0.0.100\" />", "");
    const Json found = finding("product-not-recorded");
    EXPECT_EQ(found["paths"].size(), 2U);
    EXPECT_EQ(found["consequence"],
              "Its uninstall lowers no count and leaves its files. It removes its uninstaller.");
    const std::string damaged = root().read(record);
    ExpectSuccess(Uninstall(alpha()));
    EXPECT_TRUE(root().exists(guide));
    EXPECT_FALSE(root().exists(uninstallerOf(alpha())));
    // What it says instead.
    ExpectSuccess(Install(beta()));
    root().write(record, damaged);
    edit(record, "<products>", "<products><sku ID=\"ALPHA\" name=\"Alpha\" build=\"1.0.0.100\"/>");
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
    ExpectSuccess(Uninstall(alpha()));
    EXPECT_FALSE(root().exists(guide));
}

TEST_F(StatusEndToEnd, WithoutTheRecordEachUninstallerIsNamedAndAnInstallRecordsAgain) {
    ExpectSuccess(Install(alpha()));
    root().remove(record);
    const Json found = finding("product-not-recorded");
    EXPECT_EQ(found["advice"],
              "Let InstallInspector rebuild make the record anew (Docs/inspector.md has the three "
              "steps), or install it again, which records it.");
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
}

TEST_F(StatusEndToEnd, WithAnUnusableDefinitionTheSharedPackageStays) {
    for (const std::string& text : {std::string(), std::string("<product"), alpha().definition()}) {
        takeNewMachine();
        ExpectSuccess(Install(alpha()));
        ExpectSuccess(Install(installable(common())));
        root().write(sharedDefinition, text);
        EXPECT_EQ(finding("shared-definition-unusable")["paths"], Json({sharedDefinition})) << text;
        Uninstall(alpha());
        EXPECT_TRUE(root().exists("/Library/Application Support/Vorlane/Common/ApplicationManager.app"))
            << text;
        EXPECT_TRUE(root().exists(record)) << text;
    }
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(installable(common())));
    EXPECT_EQ(rules(), std::set<std::string>());
}

TEST_F(StatusEndToEnd, TheLinkToTheApplicationManagerIsLookedAt) {
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(installable(common())));
    root().remove(managerLink);
    EXPECT_NE(finding("manager-link")["message"].get<std::string>().find("is missing"), std::string::npos);
    std::filesystem::create_symlink("/elsewhere", root().outside(managerLink));
    EXPECT_NE(finding("manager-link")["message"].get<std::string>().find("leads to \"/elsewhere\""),
              std::string::npos);
    root().remove(managerLink);
    root().write(managerLink + "/mine", "my own");
    EXPECT_NE(finding("manager-link")["consequence"].get<std::string>().find("everything in it"),
              std::string::npos);
    ExpectSuccess(Install(installable(common())));
    EXPECT_FALSE(root().exists(managerLink + "/mine"));
    EXPECT_EQ(rules(), std::set<std::string>());
    // It leads nowhere, but what is missing is named by itself.
    root().remove("/Library/Application Support/Vorlane/Common/ApplicationManager.app");
    finding("missing-file");
}

TEST_F(StatusEndToEnd, WhatIsLeftOfTheSharedPackageIsDeletedOnlyWhereNoProductIs) {
    const std::string again = "Install the shared package again, which records it.";
    root().write(sharedDefinition, "");
    EXPECT_EQ(finding("shared-definition-unusable")["advice"], "Delete it.");
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(finding("shared-definition-unusable")["advice"], again);
    root().remove(record);
    EXPECT_EQ(findings()["shared-definition-unusable"]["advice"], again);

    takeNewMachine();
    std::filesystem::create_symlink("/Library/Application Support/Vorlane/Common/ApplicationManager.app",
                                    root().outside(managerLink));
    EXPECT_EQ(finding("manager-link")["advice"], "Delete the link.");
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(finding("manager-link")["advice"], again);
}

TEST_F(StatusEndToEnd, AShortcutComesBackWithTheProductThatCopiesTheFile) {
    ExpectSuccess(Install(alpha()));
    const auto newer =
        beta().file("VorlaneFX/Guide.html", "newer").shortCut("VorlaneFX/Guide.html", "Alpha Guide.html");
    ExpectSuccess(Install(newer));
    root().remove("/Applications/Alpha Guide.html");
    EXPECT_EQ(finding("shortcut-missing")["advice"],
              "Install \"BETA\" again, which makes the shortcut when it copies the file.");
    ExpectSuccess(Install(newer));
    EXPECT_EQ(rules(), std::set<std::string>());
}

TEST_F(StatusEndToEnd, ALinkThatLeadsNowhereIsAnErrorForUsers) {
    ProductBuilder without = ProductBuilder("COMMON", "Shared")
                                 .listedFile("VorlaneFX/SKU/COMMON.xml")
                                 .target("VorlaneFX", "/Library/Application Support/Vorlane");
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(installable(without)));
    EXPECT_EQ(finding("manager-link")["consequence"], "Users who open it get an error.");
}

TEST_F(StatusEndToEnd, AFolderInTheFilesPlaceGoesWithTheUninstall) {
    const std::string file = "/Library/Application Support/Vorlane/Looks/Grey.look";
    ExpectSuccess(Install(beta()));
    root().remove(file);
    root().write(file + "/mine.txt", "my own");
    EXPECT_EQ(finding("folder-for-file")["paths"], Json({file}));
    ExpectSuccess(Uninstall(beta()));
    EXPECT_FALSE(root().exists(file + "/mine.txt"));
}

TEST_F(StatusEndToEnd, AllThatIsMissingIsCountedAndComesBack) {
    root().makeFolder("/Applications/OpenFX.app");
    ExpectSuccess(Install(alpha()));
    const std::set<std::string> files{"/Library/Application Support/Vorlane/Looks/Grey.look",
                                      "/Users/anna/OFX/Vorlane/Glow/Glow.ofx"};
    for (const std::string& file : files) {
        root().remove(file);
    }
    const Json found = finding("missing-file");
    EXPECT_EQ(found["message"].get<std::string>().find("2 files of \"ALPHA\" are missing"), 0U) << found;
    EXPECT_EQ(found["paths"].get<std::set<std::string>>(), files);
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
}

TEST_F(StatusEndToEnd, WhatIsLeftBehindIsRemovedOnlyWhenTheConditionHolds) {
    const std::string file = "/Users/anna/OFX/Vorlane/Glow/Glow.ofx";
    for (const bool bFollowed : {false, true}) {
        root().makeFolder("/Applications/OpenFX.app");
        ExpectSuccess(Install(alpha()));
        root().remove("/Applications/OpenFX.app");
        EXPECT_EQ(finding("left-behind")["paths"], Json({file}));
        if (bFollowed) {
            root().makeFolder("/Applications/OpenFX.app");
        }
        ExpectSuccess(Uninstall(alpha()));
        EXPECT_EQ(root().exists(file), !bFollowed);
    }
}

TEST_F(StatusEndToEnd, FilesOfAnotherUserGoWithThatUsersUninstall) {
    root().makeFolder("/Applications/OpenFX.app");
    root().makeFolder("/Users/ben");
    const std::string file = "/Users/ben/OFX/Vorlane/Glow/Glow.ofx";
    Options asBen;
    asBen.environment["HOME"] = "/Users/ben";
    ExpectSuccess(Install(alpha(), {}, asBen));
    EXPECT_EQ(rules("/Users/ben"), std::set<std::string>());
    const Json found = finding("other-home");
    EXPECT_NE(found["message"].get<std::string>().find("of the user \"ben\""), std::string::npos);
    EXPECT_EQ(found["paths"], Json({file}));
    EXPECT_EQ(rules("/root"), std::set<std::string>{"other-home"});

    ExpectSuccess(Uninstall(alpha()));
    EXPECT_TRUE(root().exists(file));
    // What it says instead.
    ExpectSuccess(Install(alpha(), {}, asBen));
    ExpectSuccess(Uninstall(alpha(), {}, asBen));
    EXPECT_FALSE(root().exists(file));
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
}

TEST_F(StatusEndToEnd, TwoUsersOfOneProductAreBothSeen) {
    root().makeFolder("/Applications/OpenFX.app");
    root().makeFolder("/Users/ben");
    Options asBen;
    asBen.environment["HOME"] = "/Users/ben";
    ExpectSuccess(Install(alpha(), {}, asBen));
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(finding("other-home")["paths"], Json({"/Users/ben/OFX/Vorlane/Glow/Glow.ofx"}));
    ExpectSuccess(Uninstall(alpha(), {}, asBen));
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(rules(), std::set<std::string>());
    ExpectSuccess(Uninstall(alpha()));
    EXPECT_FALSE(root().exists("/Users/anna/OFX/Vorlane"));
}

TEST_F(StatusEndToEnd, WhatAnUpgradeNoLongerListsStaysForEver) {
    const std::string guide = "/Library/Application Support/Vorlane/Guide.html";
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(ProductBuilder("ALPHA", "Alpha")
                              .build("1.0.0.101")
                              .file("VorlaneFX/Looks/Grey.look", "grey")
                              .target("VorlaneFX", "/Library/Application Support/Vorlane")));
    auto found = findings();
    ASSERT_EQ(found.count("in-no-definition"), 1U);
    EXPECT_EQ(found["in-no-definition"]["paths"], Json({guide}));
    EXPECT_EQ(found["in-no-definition"]["advice"],
              "Move away \"" + guide + "\", and let InstallInspector rebuild make the record anew.");
    ExpectSuccess(OpenUninstaller(alpha(), {}));
    EXPECT_TRUE(root().exists(guide));
}

TEST_F(StatusEndToEnd, AfterTheAdviceForACountTheUninstallRemovesTheFile) {
    const std::string file = "/Library/Application Support/Vorlane/Looks/Grey.look";
    for (const bool bFollowed : {false, true}) {
        ExpectSuccess(Install(beta()));
        edit(record, "fileName=\"Grey.look\" ref=\"1\"", "fileName=\"Grey.look\" ref=\"2\"");
        EXPECT_EQ(finding("count-differs")["advice"],
                  "Write ref=\"1\" there, or let InstallInspector rebuild make the record anew.");
        if (bFollowed) {
            edit(record, "fileName=\"Grey.look\" ref=\"2\"", "fileName=\"Grey.look\" ref=\"1\"");
        }
        ExpectSuccess(Uninstall(beta()));
        EXPECT_EQ(root().exists(file), !bFollowed);
    }
}

namespace {

/// A product with one file, which is in its manifest.
ProductBuilder verifiable(const std::string& ID, const std::string& build, const std::string& content) {
    Sha256 digest;
    digest.add(content.data(), content.size());
    return ProductBuilder(ID, ID)
        .build(build)
        .file("VorlaneFX/Looks/Grey.look", content,
              {{"size", std::to_string(content.size())}, {"sha256", digest.finish()}})
        .target("VorlaneFX", "/Library/Application Support/Vorlane");
}

} // namespace

TEST_F(StatusEndToEnd, VerifiesWhatInstallsHaveLeftByThePlacedUninstallers) {
    const auto kinds = [&] {
        const Json document =
            Json::parse(root().run({inspector, "status", "--verify", "--json"}).standardOutput);
        std::string all;
        for (const Json& fault : document["contents"]) {
            all += fault["kind"].get<std::string>() + " " + fault["product"].get<std::string>() + ";";
        }
        EXPECT_EQ(document["verdict"] == "safe", all.empty()) << document.dump(2);
        return all;
    };
    const auto older = verifiable("ALPHA", "1.0.0.100", "alpha's grey");
    const auto newer = verifiable("BETA", "1.0.0.200", "grey");
    ExpectSuccess(Install(newer));
    ExpectSuccess(Install(older)); // keeps the newer file
    EXPECT_EQ(kinds(), "");
    const std::string look = shared("Looks/Grey.look");
    root().write(look, "gre");
    EXPECT_EQ(kinds(), "truncated BETA;");
    root().write(look, "alpha's grey");
    EXPECT_EQ(kinds(), "older BETA;");
    ExpectSuccess(Install(newer));
    EXPECT_EQ(kinds(), "");
    // What is left is of a build that nobody knows any more.
    ExpectSuccess(Uninstall(newer));
    EXPECT_EQ(kinds(), "unknown build ALPHA;");
}

TEST_F(StatusEndToEnd, TellsWhetherAWantedProductNeedsAnInstall) {
    EXPECT_EQ(wanted("ALPHA"), "missing 1");
    ExpectSuccess(Install(beta()));
    EXPECT_EQ(wanted("ALPHA=1.0.0.100"), "missing 1");
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(wanted("ALPHA"), "whole 0");
    EXPECT_EQ(wanted("ALPHA=1.0.0.100"), "whole 0");
    EXPECT_EQ(wanted("ALPHA=1.0.0.99"), "newer 0");
    EXPECT_EQ(wanted("ALPHA=1.0.0.101"), "older 1");
    // As the engine does, which compares the fourth numbers alone, and takes three for four.
    EXPECT_EQ(wanted("ALPHA=2.0.0.99"), "newer 0");
    EXPECT_EQ(wanted("ALPHA=2.0.0.100"), "older 1");
    ExpectSuccess(Install(alpha().build("1.0.100001")));
    EXPECT_EQ(wanted("ALPHA=1.0.0.100001"), "whole 0");
}

TEST_F(StatusEndToEnd, AWantedProductIsDamagedOnlyByWhatItsOwnInstallMends) {
    const std::string folder = "/Library/Application Support/Vorlane";
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    root().remove(folder + "/Looks/Grey.look");
    EXPECT_EQ(wanted("BETA=1.0.0.200"), "damaged 1");
    EXPECT_EQ(wanted("ALPHA=1.0.0.100"), "whole 0");
    const auto text = status({}, {"--want", "BETA=1.0.0.200", "--want", "ALPHA=1.0.0.90"});
    EXPECT_TRUE(has(text, "\nBETA 1.0.0.200: damaged\n"));
    EXPECT_TRUE(has(text, "\nALPHA 1.0.0.90: newer, installed is 1.0.0.100\n"));
    EXPECT_EQ(text.exitStatus, 1);
    ExpectSuccess(Install(beta()));
    for (const std::string& part : {folder + "/Guide.html", std::string("/Applications/Alpha Guide.html"),
                                    uninstallerOf(alpha()), uninstallerOf(alpha()) + "/Contents/sku.xml"}) {
        SCOPED_TRACE(part);
        root().remove(part);
        EXPECT_EQ(wanted("ALPHA=1.0.0.100"), "damaged 1");
        EXPECT_EQ(wanted("BETA=1.0.0.200"), "whole 0");
        ExpectSuccess(Install(alpha()));
        EXPECT_EQ(wanted("ALPHA=1.0.0.100"), "whole 0");
    }
    // A run that was killed before it placed the uninstaller.
    edit(uninstallerOf(alpha()) + "/Contents/sku.xml", "1.0.0.100", "1.0.0.90");
    EXPECT_EQ(wanted("ALPHA=1.0.0.100"), "damaged 1");
    ExpectSuccess(Install(alpha()));
    // The install of an older build would not copy the file.
    root().remove(folder + "/Guide.html");
    EXPECT_EQ(wanted("ALPHA=1.0.0.90"), "newer 0");
    EXPECT_EQ(wanted("ALPHA=1.0.0.101"), "older 1");
}

TEST_F(StatusEndToEnd, AWantedSharedPackageIsLookedAtToo) {
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(installable(common())));
    EXPECT_EQ(wanted("COMMON=1.0.0.300"), "whole 0");
    for (const std::string& part : {managerLink, sharedDefinition}) {
        root().remove(part);
        EXPECT_EQ(wanted("COMMON"), "damaged 1");
        EXPECT_EQ(wanted("ALPHA"), "whole 0");
        ExpectSuccess(Install(installable(common())));
    }
}

TEST_F(StatusEndToEnd, WhereAnInstallWouldForgetProductsTheRecordComesFirst) {
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    const std::string whole = root().read(record);
    for (const char* content : {"<install", ""}) {
        SCOPED_TRACE(content);
        *content != '\0' ? root().write(record, content) : root().remove(record);
        EXPECT_EQ(wanted("ALPHA=1.0.0.100"), "record damaged 3");
        EXPECT_EQ(wanted("GAMMA"), "record damaged 3");
    }
    root().write(record, whole);
    edit(record, R"(<sku ID="BETA")", R"(<sku ID="OTHER")");
    EXPECT_EQ(wanted("ALPHA=1.0.0.100"), "record damaged 3");
    // Nothing tells of products any more, but the record may be mended by hand.
    root().remove("/Applications/Vorlane Uninstallers");
    root().write(record, "<install");
    EXPECT_EQ(wanted("ALPHA"), "record damaged 3");
}
