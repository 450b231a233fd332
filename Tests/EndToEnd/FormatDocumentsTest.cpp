// The examples in the documents of the three formats: the product that they describe can be installed, lands
// where they say, and leaves exactly the record that they show.

#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/Sources.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

/// The one XML text that stands in the document.
std::string exampleIn(const std::string& document) {
    std::ifstream file(inSources("Docs/" + std::string(document)));
    std::ostringstream text;
    text << file.rdbuf();
    const std::string content = text.str();
    const std::string begin = "```xml\n";
    const std::size_t from = content.find(begin);
    const std::size_t to = content.find("```\n", from + begin.size());
    if (from == std::string::npos || to == std::string::npos) {
        ADD_FAILURE() << "no example in " << document;
        return "";
    }
    return content.substr(from + begin.size(), to - from - begin.size());
}

class FormatDocuments : public EndToEndTest {
protected:
    void install() {
        root().makeFolder("/Library/OFX/Plugins");
        product.definitionText(exampleIn("definition-format.md"))
            .targetsText(exampleIn("target-paths-format.md"))
            .unlistedFile("Hosts/OpenFX/Spark/Spark.ofx.bundle/Contents/Spark.ofx", "plug-in")
            .unlistedFile("VorlaneFX/Spark Guide.html", "guide")
            .unlistedFile("VorlaneFX/Spark.cache", "cache")
            .unlistedFile("VorlaneFX/Presets/Bright.preset", "preset");
        const ProgramResult result = Install(product);
        ExpectSuccess(result);
        ExpectLog(result, {"Checking file consistency in source folder"});
    }

    ProductBuilder product{"SPARK", "Spark"};
};

} // namespace

TEST_F(FormatDocuments, ExampleIsInstalledWhereTheTargetPathsSay) {
    install();
    const std::string family = std::string(statusFolder) + "/";
    EXPECT_EQ(root().read(family + "Spark Guide.html"), "guide");
    EXPECT_EQ(root().read(family + "Spark.cache"), "cache");
    EXPECT_EQ(root().targetOfLink("/Applications/Spark Guide.html"), family + "Spark Guide.html");
    EXPECT_EQ(root().read("/Users/anna/Documents/Vorlane/Presets/Bright.preset"), "preset");
    EXPECT_EQ(root().read("/Library/OFX/Plugins/Vorlane/Spark/Spark.ofx.bundle/Contents/Spark.ofx"),
              "plug-in");
    EXPECT_FALSE(root().exists(family + "Presets"));
    EXPECT_FALSE(root().exists("/Users/anna/OFX"));
}

TEST_F(FormatDocuments, RecordIsTheExample) {
    install();
    EXPECT_EQ(root().read(std::string(statusFolder) + "/InstallationStatusFile.xml"),
              exampleIn("status-file-format.md"));
}
