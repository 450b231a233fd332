#include "Utility/InstallUtility/Mac/Postflight.h"

#include "Tests/Engine/EngineTest.h"

// Only what ends the step before it touches the machine; what it places and removes needs a root folder of
// its own.

namespace {

class Postflight : public EngineTest {
protected:
    Lines logOfStep(const ProductBuilder& product, const std::string& targets, bool bInstall) {
        product.writeTo(at("product"));
        return logOf([&] { postflight(at("product/sku.xml").c_str(), at(targets).c_str(), bInstall); });
    }

    const Lines wrongDefinition{"Error: Wrong/corrupted SKU XML"};
};

} // namespace

TEST_F(Postflight, MissingDefinitionIsAnErrorInBothModes) {
    for (const bool bInstall : {true, false}) {
        EXPECT_EQ(logOf([&] { postflight(at("missing").c_str(), at("missing").c_str(), bInstall); }),
                  (Lines{"Error: Postflight failed: sku xml not found"}));
        EXPECT_EQ(logOf([&] { postflight(folder.text(), at("missing").c_str(), bInstall); }),
                  (Lines{"Error: Postflight failed: sku xml not found"}));
    }
}

TEST_F(Postflight, ProductWithoutNameOrIdIsAnErrorInBothModes) {
    for (const bool bInstall : {true, false}) {
        EXPECT_EQ(logOfStep(ProductBuilder("ALPHA", ""), "product/target_path.xml", bInstall),
                  wrongDefinition);
        EXPECT_EQ(logOfStep(ProductBuilder("", "Alpha"), "product/target_path.xml", bInstall),
                  wrongDefinition);
        EXPECT_EQ(logOfStep(ProductBuilder("COMMON", ""), "product/target_path.xml", bInstall),
                  wrongDefinition);
    }
}

TEST_F(Postflight, MalformedDefinitionIsAnErrorInBothModes) {
    for (const bool bInstall : {true, false}) {
        EXPECT_EQ(logOfStep(ProductBuilder("ALPHA", "Alpha").definitionText("<product><sku"),
                            "product/target_path.xml", bInstall),
                  wrongDefinition);
    }
}

TEST_F(Postflight, InstallWithoutTargetPathsIsAnError) {
    EXPECT_EQ(logOfStep(ProductBuilder("ALPHA", "Alpha"), "missing", true),
              (Lines{"Error: Target Path XML not found"}));
    EXPECT_EQ(logOfStep(ProductBuilder("COMMON", "Shared"), "missing", true),
              (Lines{"Error: Target Path XML not found"}));
}

TEST_F(Postflight, DefinitionIsLookedAtBeforeTheTargetPaths) {
    EXPECT_EQ(logOfStep(ProductBuilder("ALPHA", ""), "missing", true), wrongDefinition);
}
