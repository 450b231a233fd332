// The life of the three example products. What each run does is compared with its plan, see PlanComparison.
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/Sources.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace {

class ExampleProducts : public EndToEndTest {
protected:
    void SetUp() override {
        EndToEndTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        fs::copy(inSources("Examples"), root().outside(examples), fs::copy_options::recursive);
        for (const char* folder : {"/Applications/Adobe Premiere Pro", "/Applications/Avid Media Composer 5",
                                   "/Applications/Final Cut Pro.app", "/Library/OFX/Plugins",
                                   "/Library/Application Support/Avid/AVX2", "/Users/anna/OFX",
                                   "/Users/anna/Documents", "/Users/Shared"}) {
            root().makeFolder(folder);
        }
        prefer("com.vorlane.hosts.mediacomposer.plist", "PluginFolder",
               "/Library/Application Support/Avid/AVX2");
        prefer("com.vorlane.hosts.openfx.plist", "PerUser", "1");
    }

    void prefer(const std::string& file, const std::string& name, const std::string& value) {
        root().write(std::string(PrivateRoot::userPreferences) + "/" + file,
                     "<plist version=\"1.0\"><dict><key>" + name + "</key><string>" + value +
                         "</string></dict></plist>");
    }
    void install(const std::string& product) {
        const std::string folder = examples + product;
        ExpectSuccess(root().run(
            {PrivateRoot::program, folder + "/files", folder + "/sku.xml", folder + "/target_path.xml"}));
    }
    void uninstall(const std::string& name) {
        ExpectSuccess(root().run({"/Applications/Vorlane Uninstallers/Uninstall " + name +
                                  ".app/Contents/MacOS/UninstallLauncher"}));
    }

    const std::string examples = "/Volumes/Examples/";
};

} // namespace

TEST_F(ExampleProducts, ComeAndGoAsPlanned) {
    install("Common");
    install("EmberAndInk");
    install("Ink");
    install("Ink");
    install("EmberAndInk"); // a downgrade of what both have
    uninstall("Ember & Ink");
    uninstall("Ink"); // and with it the shared package
    EXPECT_EQ(counts(), Lines{"no record"});
}
