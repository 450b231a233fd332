#include "Utility/InstallInspector/Documents/InstalledProducts.h"

#include "Tests/Support/ProductBuilder.h"
#include "Utility/InstallInspector/Plan/PlannedMachine.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

/// A machine in memory on which a test places what installs have left.
class InstalledProductsTest : public testing::Test {
protected:
    InstalledProductsTest() : before(Machine::setCurrent(&machine)) {}
    ~InstalledProductsTest() override { Machine::setCurrent(before); }

    void write(const std::string& path, const std::string& text) {
        machine.createFolder(toVLString(path.substr(0, path.rfind('/'))));
        int error = 0;
        ASSERT_TRUE(machine.createFile(toVLString(path), text.data(), text.size(), error)) << path;
    }

    void placeUninstaller(const std::string& name, const ProductBuilder& product) {
        const std::string contents = folder + "Uninstall " + name + ".app/Contents/";
        write(contents + "sku.xml", product.definition());
        write(contents + "target_path.xml", product.targets());
    }

    static ProductBuilder product(const std::string& ID, const std::string& name) {
        ProductBuilder builder(ID, name);
        builder.target("VorlaneFX", "/Library/Tested").file("VorlaneFX/a.txt", "a");
        return builder;
    }

    static std::vector<std::string> found() {
        std::vector<std::string> lines;
        const InstalledProducts installed = InstalledProducts::find();
        for (const auto& each : installed.all()) {
            lines.push_back(each->isReadable() ? toString(each->files.info().ID) + " " + each->definition
                                               : each->fault);
        }
        return lines;
    }

    const std::string folder = "/Applications/Vorlane Uninstallers/";
    PlannedMachine machine;
    Machine* before;
};

using Lines = std::vector<std::string>;

} // namespace

TEST_F(InstalledProductsTest, NoneWithoutTheFolderOfTheUninstallers) {
    EXPECT_EQ(found(), Lines());
}

TEST_F(InstalledProductsTest, EachUninstallerStandsForAProduct) {
    placeUninstaller("Beta", product("BETA", "Beta"));
    placeUninstaller("Alpha", product("ALPHA", "Alpha"));
    EXPECT_EQ(found(), (Lines{"ALPHA " + folder + "Uninstall Alpha.app/Contents/sku.xml",
                              "BETA " + folder + "Uninstall Beta.app/Contents/sku.xml"}));
    const InstalledProducts installed = InstalledProducts::find();
    ASSERT_NE(installed.find("BETA"), nullptr);
    EXPECT_EQ(installed.find("BETA")->uninstaller, folder + "Uninstall Beta.app");
    EXPECT_EQ(installed.find("BETA")->files.statusFolder(), VLString("/Library/Tested"));
    EXPECT_EQ(installed.find("GAMMA"), nullptr);
}

TEST_F(InstalledProductsTest, OtherNamesInTheFolderAreNoUninstallers) {
    write(folder + ".DS_Store", "x");
    write(folder + "Uninstall .app/Contents/sku.xml", "x");
    write(folder + "Uninstall Alpha.txt", "x");
    write(folder + "Alpha.app/Contents/sku.xml", "x");
    EXPECT_EQ(found(), Lines());
}

TEST_F(InstalledProductsTest, AnIncompleteUninstallerSaysWhatItLacks) {
    placeUninstaller("Alpha", product("ALPHA", "Alpha"));
    write(folder + "Uninstall Beta.app/Contents/sku.xml", product("BETA", "Beta").definition());
    write(folder + "Uninstall Gamma.app/Contents/sku.xml", "<product");
    EXPECT_EQ(found().size(), 3U);
    EXPECT_EQ(found()[1], folder + "Uninstall Beta.app/Contents/target_path.xml is not an existing file");
    EXPECT_NE(found()[2].find("Uninstall Gamma.app/Contents/sku.xml:1:9: not well-formed"), std::string::npos)
        << found()[2];
    EXPECT_EQ(InstalledProducts::find().find("BETA"), nullptr);
}

TEST_F(InstalledProductsTest, TheSharedPackageIsFoundOnceBesideTheRecord) {
    placeUninstaller("Alpha", product("ALPHA", "Alpha"));
    placeUninstaller("Beta", product("BETA", "Beta"));
    write("/Library/Tested/SKU/COMMON.xml", product("COMMON", "Shared").definition());
    EXPECT_EQ(found().size(), 3U);
    EXPECT_EQ(found().back(), "COMMON /Library/Tested/SKU/COMMON.xml");
    const InstalledProducts installed = InstalledProducts::find();
    EXPECT_TRUE(installed.find("COMMON")->isShared());
    EXPECT_EQ(installed.find("COMMON")->targets, folder + "Uninstall Alpha.app/Contents/target_path.xml");
}

TEST_F(InstalledProductsTest, ProductsWithoutARecordNameTheUsualFolderOfTheSharedPackage) {
    ProductBuilder alpha("ALPHA", "Alpha");
    placeUninstaller("Alpha", alpha.target("Content", "/Library/Tested").file("Content/a.txt", "a"));
    write("/Library/Application Support/Vorlane/SKU/COMMON.xml", product("COMMON", "Shared").definition());
    EXPECT_EQ(found().back(), "COMMON /Library/Application Support/Vorlane/SKU/COMMON.xml");
}
