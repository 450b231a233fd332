#include "Utility/InstallInspector/Documents/PlacedProduct.h"

#include "Tests/Support/ProductBuilder.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/VLStringPrinter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

class PlacedProductTest : public testing::Test {
protected:
    void read(const ProductBuilder& builder) {
        const TemporaryDirectory folder;
        builder.writeTo(folder.path());
        std::string error;
        ASSERT_TRUE(product.read(folder.path() / "sku.xml", folder.path() / "target_path.xml", error))
            << error;
    }
    Lines placesOf(const char* treePath) const {
        const PlacedProduct::Spot* spot = product.find(treePath);
        if (spot == nullptr) {
            return {"not in the tree"};
        }
        Lines places;
        for (const PlacedProduct::Place& place : spot->places) {
            places.emplace_back(place.path.ConstData());
        }
        return places;
    }

    PlacedProduct product;
};

} // namespace

TEST_F(PlacedProductTest, FilesLieWhereAnInstallPutsThem) {
    read(ProductBuilder("ALPHA")
             .family("A")
             .family("B")
             .file("Hosts/Edius/A/a", "")
             .file("Hosts/Edius/B/b", "")
             .file("VorlaneFX/s", "")
             .file("Content/c", "")
             .target("Hosts/Edius", "/Edius/%FAMILY%")
             .target("VorlaneFX", "/Shared/%FAMILY%")
             .target("Content", "/Content/%FAMILY%"));
    EXPECT_EQ(placesOf("Hosts/Edius/A/a"), (Lines{"/Edius/A/a"}));
    EXPECT_EQ(placesOf("Hosts/Edius/B/b"), (Lines{"/Edius/B/b"}));
    // The last family stays the current one; the first one's folder holds the record.
    EXPECT_EQ(placesOf("VorlaneFX/s"), (Lines{"/Shared/B/s"}));
    EXPECT_EQ(placesOf("Content/c"), (Lines{"/Content/B/c"}));
    EXPECT_EQ(product.statusFolder(), VLString("/Shared/A"));
}

TEST_F(PlacedProductTest, WhatAnInstallLeavesOutLiesNowhere) {
    read(ProductBuilder("ALPHA")
             .family("A")
             .file("Hosts/OpenFX/A/o", "")
             .file("Hosts/Edius/B/b", "")
             .file("Extra/e", "")
             .file("VorlaneFX/s", "")
             .file("Content/c", "")
             .target("Hosts/Edius", "/Edius/%FAMILY%")
             .target("Extra", "/Extra"));
    for (const char* path : {"Hosts/OpenFX/A/o", "Hosts/Edius/B/b", "Extra/e", "VorlaneFX/s", "Content/c"}) {
        EXPECT_EQ(placesOf(path), Lines()) << path;
    }
    EXPECT_EQ(product.statusFolder(), VLString());
}

TEST_F(PlacedProductTest, ItemsOfWhatTheTreeLacksPlaceNothing) {
    read(ProductBuilder("ALPHA").target("VorlaneFX", "/Shared").target("Content", "/Content"));
    EXPECT_TRUE(product.spots().empty());
    EXPECT_EQ(product.statusFolder(), VLString("/Shared"));
}
