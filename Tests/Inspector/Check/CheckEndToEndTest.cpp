// What "check" says will happen, beside what happens on a machine on which the real program runs.
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Check/Rules.h"

#include <gmock/gmock.h>

#include <deque>
#include <set>

using testing::Contains;
using testing::Not;

namespace {

class CheckEndToEnd : public EndToEndTest {
protected:
    // The plan of a run is held against it in other tests; here the products are broken on purpose.
    bool comparesPlans() const override { return false; }

    /// The rules that find something in the products.
    static std::set<std::string> rulesFor(const std::vector<ProductBuilder>& builders) {
        const TemporaryDirectory folder;
        std::deque<Product> products;
        ProductLine line;
        std::string error;
        for (const ProductBuilder& builder : builders) {
            const auto place = folder.path() / builder.id();
            builder.writeTo(place);
            Product& product = products.emplace_back();
            product.definitionFile.read(place / "sku.xml", Location::Document::Definition, Kind::Product,
                                        error);
            product.bTargets = product.targetsFile.read(place / "target_path.xml",
                                                        Location::Document::Targets, Kind::Root, error);
            product.source = (place / "files").string();
            product.interpret();
            line.products.push_back(&product);
        }
        std::set<std::string> rules;
        for (const Finding& finding : checkLine(line)) {
            rules.insert(finding.rule);
        }
        return rules;
    }

    bool recordHas(const std::string& product) {
        const Lines lines = counts();
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& line) { return line.find("product " + product) == 0; });
    }
};

ProductBuilder alpha() {
    return ProductBuilder("ALPHA", "Alpha")
        .file("VorlaneFX/Alpha.txt", "alpha")
        .target("VorlaneFX", "/Library/Application Support/Vorlane");
}

ProductBuilder beta() {
    return ProductBuilder("BETA", "Beta")
        .file("VorlaneFX/Beta.txt", "beta")
        .target("VorlaneFX", "/Library/Application Support/Vorlane");
}

} // namespace

TEST_F(CheckEndToEnd, ProductsWithoutFindingsLeaveNothing) {
    EXPECT_EQ(rulesFor({alpha(), beta()}), std::set<std::string>());
    Install(alpha());
    Install(beta());
    Uninstall(alpha());
    Uninstall(beta());
    EXPECT_FALSE(root().exists(shared("Alpha.txt")));
    EXPECT_FALSE(root().exists(shared("Beta.txt")));
    EXPECT_FALSE(root().exists(shared("InstallationStatusFile.xml")));
}

TEST_F(CheckEndToEnd, ARecordInTheTreeForgetsTheOthers) {
    const auto product = beta().file("VorlaneFX/InstallationStatusFile.xml", "<install/>");
    EXPECT_THAT(rulesFor({product}), Contains("record-in-tree"));
    Install(alpha());
    ASSERT_TRUE(recordHas("ALPHA"));
    Install(product);
    EXPECT_FALSE(recordHas("ALPHA"));
}

TEST_F(CheckEndToEnd, WhatMeetsIsTakenFromTheOther) {
    const auto one = alpha().file("Content/Paper.txt", "x").target("Content", shared("Films"));
    const auto other = beta().file("VorlaneFX/Films/Paper.txt", "x");
    EXPECT_THAT(rulesFor({one, other}), Contains("targets-meet"));
    Install(one);
    Install(other);
    Uninstall(one);
    EXPECT_TRUE(recordHas("BETA"));
    EXPECT_FALSE(root().exists(shared("Films/Paper.txt")));
}

TEST_F(CheckEndToEnd, AConditionThatTheInstallEndsLeavesFiles) {
    const std::string folder = "/Users/Shared/Vorlane Paper";
    const auto product =
        alpha().file("Content/Paper.txt", "x").target("Content", folder, pathMissing(folder));
    EXPECT_THAT(rulesFor({product}), Contains("condition-on-own-target"));
    Install(product);
    Uninstall(product);
    EXPECT_TRUE(root().exists(folder + "/Paper.txt"));
}

TEST_F(CheckEndToEnd, AConditionThatTheInstallBeginsInstallsAtTheSecondRunOnly) {
    root().makeFolder("/Users/Shared");
    const auto product = alpha()
                             .family("Glow")
                             .file("Hosts/OpenFX/Glow/a", "x")
                             .target("Hosts/OpenFX", "/Users/Shared/OFX", pathExists(statusFolder));
    EXPECT_THAT(rulesFor({product}), Contains("condition-on-own-target"));
    Install(product);
    EXPECT_FALSE(root().exists("/Users/Shared/OFX/a"));
    Install(product);
    EXPECT_TRUE(root().exists("/Users/Shared/OFX/a"));
}

TEST_F(CheckEndToEnd, AnUnguardedRegistryPathGoesToTheRoot) {
    const auto product =
        alpha().file("Content/Paper.txt", "x").target("Content", "%REGKEY:Content::Folder%/Vorlane");
    EXPECT_THAT(rulesFor({product}), Contains("registry-path-unguarded"));
    Install(product);
    EXPECT_TRUE(root().exists("/Vorlane/Paper.txt"));
}

TEST_F(CheckEndToEnd, AShortCutOfAKeptFileStays) {
    const auto product = alpha()
                             .file("VorlaneFX/Guide.html", "x", {{"dontdelete", "1"}})
                             .shortCut("VorlaneFX/Guide.html", "Guide.html");
    EXPECT_THAT(rulesFor({product}), Contains("shortcut-stays"));
    Install(product);
    Uninstall(product);
    EXPECT_TRUE(root().exists("/Applications/Guide.html"));
}

TEST_F(CheckEndToEnd, AShortCutWithTheNameOfTheUninstallersStandsInTheirWay) {
    const auto product =
        alpha().file("VorlaneFX/Guide.html", "x").shortCut("VorlaneFX/Guide.html", "Vorlane Uninstallers");
    EXPECT_THAT(rulesFor({product}), Contains("shortcut-name-taken"));
    Install(product);
    EXPECT_FALSE(root().exists("/Applications/Vorlane Uninstallers/Uninstall Alpha.app"));
}

TEST_F(CheckEndToEnd, DontDeleteIsNotTakenBackBelow) {
    const auto product = alpha()
                             .folder("VorlaneFX/Looks", {{"dontdelete", "1"}})
                             .file("VorlaneFX/Looks/Grey.look", "x", {{"dontdelete", "0"}});
    EXPECT_THAT(rulesFor({product}), Contains("dontdelete-undone"));
    Install(product);
    Uninstall(product);
    EXPECT_TRUE(root().exists(shared("Looks/Grey.look")));
}

/// Of what lies above the family folders the flag does not count.
TEST_F(CheckEndToEnd, DontDeleteIsTakenBackBelowAHost) {
    const auto product = alpha()
                             .family("Glow")
                             .folder("Hosts/OpenFX", {{"dontdelete", "1"}})
                             .folder("Hosts/OpenFX/Glow", {{"dontdelete", "0"}})
                             .file("Hosts/OpenFX/Glow/a", "x")
                             .target("Hosts/OpenFX", "/Library/OFX/Vorlane");
    EXPECT_THAT(rulesFor({product}), Not(Contains("dontdelete-undone")));
    Install(product);
    EXPECT_TRUE(root().exists("/Library/OFX/Vorlane/a"));
    Uninstall(product);
    EXPECT_FALSE(root().exists("/Library/OFX/Vorlane/a"));
}

TEST_F(CheckEndToEnd, AnOutdatedSharedDefinitionLeavesFiles) {
    const auto common = ProductBuilder("COMMON", "Common")
                            .file("VorlaneFX/Common/ApplicationManager.app/code", "x")
                            .file("VorlaneFX/New.txt", "x")
                            .listedFile("VorlaneFX/SKU/COMMON.xml")
                            .target("VorlaneFX", statusFolder);
    const auto old = ProductBuilder("COMMON", "Common")
                         .listedFile("VorlaneFX/Common/ApplicationManager.app/code")
                         .listedFile("VorlaneFX/SKU/COMMON.xml");
    const auto withCopy = [&](const std::string& copy) {
        return ProductBuilder(common).unlistedFile("VorlaneFX/SKU/COMMON.xml", copy);
    };
    EXPECT_THAT(rulesFor({withCopy(common.definition())}), Not(Contains("common-definition-outdated")));
    EXPECT_THAT(rulesFor({withCopy(old.definition())}), Contains("common-definition-outdated"));
    Install(withCopy(old.definition()));
    Install(alpha());
    Uninstall(alpha());
    EXPECT_TRUE(root().exists(shared("New.txt")));
    EXPECT_FALSE(root().exists(shared("Common")));
}

TEST_F(CheckEndToEnd, ASharedPackageElsewhereHasALinkToNowhere) {
    const auto common = ProductBuilder("COMMON", "Common")
                            .file("VorlaneFX/Common/ApplicationManager.app/code", "x")
                            .target("VorlaneFX", "/Library/Vorlane");
    EXPECT_THAT(rulesFor({common}), Contains("common-status-folder"));
    Install(common);
    EXPECT_FALSE(root().exists(root().targetOfLink("/Applications/Vorlane Application Manager.app")));
}

TEST_F(CheckEndToEnd, APathOfTwoKindsLeavesFiles) {
    const auto whole = alpha().folder("VorlaneFX/Looks").unlistedFile("VorlaneFX/Looks/Old.look", "x");
    const auto listed = beta().file("VorlaneFX/Looks/Grey.look", "x");
    EXPECT_THAT(rulesFor({whole, listed}), Contains("kinds-differ"));
    Install(whole);
    Install(listed);
    Uninstall(whole);
    Uninstall(listed);
    EXPECT_TRUE(root().exists(shared("Looks/Old.look")));
}

TEST_F(CheckEndToEnd, ATargetThatDiffersLeavesFiles) {
    const auto one = alpha().file("Content/a", "x").target("Content", "/Users/Shared/Vorlane");
    const auto other = beta().file("Content/a", "x").target("Content", "/Users/Shared/Vorlane 2");
    EXPECT_THAT(rulesFor({one, other}), Contains("targets-differ"));
    Install(one);
    Install(other);
    Uninstall(one);
    Uninstall(other);
    EXPECT_TRUE(root().exists("/Users/Shared/Vorlane/a"));
}

TEST_F(CheckEndToEnd, OneUninstallerForTwoTakesOneAway) {
    const auto other = beta().name("Alpha");
    EXPECT_THAT(rulesFor({alpha(), other}), Contains("same-uninstaller"));
    Install(alpha());
    Install(other);
    const std::string sku = "/Applications/Vorlane Uninstallers/Uninstall Alpha.app/Contents/sku.xml";
    EXPECT_NE(root().read(sku).find("BETA"), std::string::npos);
}

TEST_F(CheckEndToEnd, OneIdForTwoLeavesFiles) {
    const auto other =
        ProductBuilder("ALPHA", "Beta").file("VorlaneFX/Beta.txt", "x").target("VorlaneFX", statusFolder);
    EXPECT_THAT(rulesFor({alpha(), other}), Contains("same-id"));
    Install(alpha());
    place(other); // in the place of the first, whose uninstaller stays
    root().run(installCommand(other));
    root().run({"/Applications/Vorlane Uninstallers/Uninstall Beta.app/Contents/MacOS/UninstallLauncher"});
    EXPECT_FALSE(recordHas("ALPHA"));
    EXPECT_TRUE(root().exists(shared("Alpha.txt")));
}
