// The products of Examples/, which users copy from.
#include "Tests/Support/Sources.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Documents/Product.h"

#include <gtest/gtest.h>

#include <filesystem>

TEST(ExampleProducts, HaveNoMistakes) {
    namespace fs = std::filesystem;
    int checked = 0;
    for (const auto& entry : fs::directory_iterator(inSources("Examples"))) {
        Product product;
        std::string error;
        if (!fs::exists(entry.path() / "sku.xml")) {
            continue;
        }
        ASSERT_TRUE(product.definitionFile.read((entry.path() / "sku.xml").string(),
                                                Location::Document::Definition, Kind::Product, error));
        product.bTargets = product.targetsFile.read((entry.path() / "target_path.xml").string(),
                                                    Location::Document::Targets, Kind::Root, error);
        ASSERT_TRUE(product.bTargets) << error;
        product.source = (entry.path() / "files").string();
        product.interpret();
        for (const Finding& finding : checkProduct(product)) {
            ADD_FAILURE() << finding.where.file << ":" << finding.where.line << ": " << finding.message;
        }
        ++checked;
    }
    EXPECT_GT(checked, 2);
}
