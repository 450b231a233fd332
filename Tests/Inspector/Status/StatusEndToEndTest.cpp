// "status" on a machine on which the real program has installed real products.
#include "Tests/Support/EndToEndTest.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace {

class StatusEndToEnd : public EndToEndTest {
protected:
    static constexpr const char* inspector = "/Volumes/Installer/InstallInspector";

    void SetUp() override {
        EndToEndTest::SetUp();
        if (!IsSkipped()) {
            std::filesystem::copy_file(INSTALLINSPECTOR_PROGRAM, root().outside(inspector));
        }
    }

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

} // namespace

TEST_F(StatusEndToEnd, AFreshMachineHasNoRecord) {
    const auto result = status({});
    EXPECT_EQ(result.standardOutput, "/Library/Application Support/Vorlane/InstallationStatusFile.xml\n\n"
                                     "  There is no record here: no product is installed.\n");
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
    EXPECT_TRUE(has(result, "\n2 errors, 1 warning\n"));

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
