// The description of a machine: a plan for it, made on another machine, is the plan that is made on the
// machine.
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Machine/MachineLook.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

class MachineCommand : public EndToEndTest {
protected:
    static ProductBuilder product(const std::string& id, const std::string& name) {
        return ProductBuilder(id, name)
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .file("VorlaneFX/shared", id);
    }
    ProgramResult inspect(Words command, const std::string& home = "/Users/anna") {
        command.insert(command.begin(), PrivateRoot::inspector);
        Options options;
        options.environment = {{"HOME", home}};
        options.workingFolder = PrivateRoot::installerFolder;
        return root().runUnwatched(command, options);
    }
    /// Also that nothing is changed.
    ProgramResult describe(Words files, const std::string& home = "/Users/anna") {
        const Lines before = root().tree();
        files.insert(files.begin(), "machine");
        ProgramResult result = inspect(files, home);
        EXPECT_EQ(FileTree::difference(before, root().tree()), "");
        return result;
    }
    /// A machine on which much is to be told: two products, the shared package, files of others, two users.
    void fillMachine() {
        ASSERT_EQ(Install(product("COMMON", "Common")
                              .file("VorlaneFX/SKU/COMMON.xml", product("COMMON", "Common").definition()))
                      .exitStatus,
                  0);
        ASSERT_EQ(Install(alpha("1.0.0.100").file("VorlaneFX/old", "old")).exitStatus, 0);
        ASSERT_EQ(Install(product("BETA", "Beta")
                              .file("Hosts/OpenFX/Blur/b", "b")
                              .target("Hosts/OpenFX", "/OFX/%FAMILY%"))
                      .exitStatus,
                  0);
        root().write(shared("foreign"), "");
        root().write("/OFX/Blur/a.bundle/Contents/foreign", "");
        root().write("/Users/berta/Movies/Blur/a.bundle/Contents/left", "");
        root().write("/Applications/Other.app/Contents/x", "");
        root().write("/Applications/New.html", "not ours");
        root().write("/Volumes/Media/Vorlane/not ours", "");
        root().makeFolder("/Volumes/Media/Vorlane/Deep");
        fs::create_directory_symlink("/Volumes/Media", root().outside("/Users/anna/Media"));
        root().makeFolder("/Users/berta/Library/Preferences");
        // Independent of the program's own reader.
        for (const char* user : {"anna", "berta"}) {
            root().write(std::string("/Users/") + user + "/Library/Preferences/com.vorlane.host.plist",
                         std::string("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Folder</key>"
                                     "<string>/Users/%USER%/Media</string><key>Other</key><string>") +
                             user + "</string></dict></plist>");
        }
        place(newAlpha());
    }
    static ProductBuilder newAlpha() {
        return alpha("1.0.0.200")
            .file("VorlaneFX/New.html", "new")
            .shortCut("VorlaneFX/New.html", "New.html")
            .file("VorlaneFX/foreign", "");
    }
    static ProductBuilder alpha(const std::string& build) {
        return product("ALPHA", "Alpha")
            .build(build)
            .file("VorlaneFX/Guide.html", "guide")
            .shortCut("VorlaneFX/Guide.html", "Guide.html")
            .folder("Hosts/OpenFX/Blur/a.bundle")
            .unlistedFile("Hosts/OpenFX/Blur/a.bundle/Contents/a", "a")
            .target("Hosts/OpenFX", "/OFX/%FAMILY%", anyOf({pathExists("/OFX"), fileExists("/none")}))
            .target("Hosts/OpenFX", "/Users/%USER%/Movies/%FAMILY%", pathMissing("/OFX"))
            .file("Content/c", "c")
            .target("Content", "%REGKEY:Host::Folder%/Vorlane/Deep", valueExists("Host", "Folder"))
            .target("Content", "/Content", valueMissing("Host", "Folder"));
    }
    static const std::vector<Words>& plans() {
        static const std::vector<Words> all = {
            {"ALPHA/files", "ALPHA/sku.xml", "ALPHA/target_path.xml"},
            {"--json", "ALPHA/files", "ALPHA/sku.xml", "ALPHA/target_path.xml"},
            {"--uninstall", "ALPHA/sku.xml", "ALPHA/target_path.xml"},
            {"--json", "--uninstall", "BETA/sku.xml", "BETA/target_path.xml"},
        };
        return all;
    }
};

} // namespace

TEST_F(MachineCommand, ThePlanForADescribedMachineIsThatOnTheMachine) {
    fillMachine();
    Lines expected;
    for (Words words : plans()) {
        words.insert(words.begin(), "plan");
        expected.push_back(inspect(words).standardOutput);
    }
    for (const char* rule : {"[moved-target]", "[dropped-path]", "[unrecorded-file]", "[shortcut]"}) {
        EXPECT_NE(expected[0].find(rule), std::string::npos) << rule << expected[0];
    }
    EXPECT_NE(expected[2].find("/Users/berta/Movies/Blur/a.bundle  it is another user's"), std::string::npos)
        << expected[2];
    Lines descriptions;
    for (const Words& files :
         {Words{"ALPHA/target_path.xml", "BETA/target_path.xml"},
          Words{"ALPHA/sku.xml", "BETA/sku.xml", "ALPHA/target_path.xml", "BETA/target_path.xml"}}) {
        const ProgramResult result = describe(files);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.standardError, "");
        descriptions.push_back(result.standardOutput);
    }
    takeNewMachine();
    place(newAlpha());
    place(product("BETA", "Beta").file("Hosts/OpenFX/Blur/b", "b").target("Hosts/OpenFX", "/OFX/%FAMILY%"));
    for (const std::string& description : descriptions) {
        root().write("/Volumes/Installer/machine.json", description);
        for (std::size_t i = 0; i < plans().size(); ++i) {
            Words words = plans()[i];
            words.insert(words.begin(), {"plan", "--machine", "machine.json"});
            const ProgramResult result = inspect(words, "/var/root");
            EXPECT_EQ(result.standardOutput, expected[i]) << result.standardError;
        }
    }
}

TEST_F(MachineCommand, DescribesWhatIsInstalledWithoutAnyFile) {
    fillMachine();
    const ProgramResult result = describe({});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    Json description = Json::parse(result.standardOutput);
    EXPECT_EQ(description["home"], "/Users/anna");
    EXPECT_EQ(description["preferences"]["host"]["Folder"], "/Users/%USER%/Media");
    EXPECT_FALSE(description["preferences"]["host"].contains("Other")) << "nothing asks for it";
    EXPECT_EQ(description["otherUsers"][0]["home"], "/Users/berta");
    EXPECT_EQ(description["ditto"], false);
    EXPECT_EQ(description["links"]["/Users/anna/Media"], "/Volumes/Media");
    EXPECT_EQ(description["links"]["/Applications/Guide.html"], shared("Guide.html"));
    EXPECT_EQ(result.standardOutput.find("/Applications/Other.app"), std::string::npos)
        << "nothing asks for it";
    std::map<std::string, std::string> texts;
    for (const Json& file : description["files"]) {
        if (file.is_object()) {
            texts[file["path"]] = file["text"];
        }
    }
    Lines paths;
    for (const auto& [path, text] : texts) {
        paths.push_back(path);
        EXPECT_EQ(text, root().read(path));
    }
    EXPECT_EQ(paths, (Lines{"/Applications/Vorlane Uninstallers/Uninstall Alpha.app/Contents/sku.xml",
                            "/Applications/Vorlane Uninstallers/Uninstall Alpha.app/Contents/target_path.xml",
                            "/Applications/Vorlane Uninstallers/Uninstall Beta.app/Contents/sku.xml",
                            "/Applications/Vorlane Uninstallers/Uninstall Beta.app/Contents/target_path.xml",
                            shared("InstallationStatusFile.xml"), shared("SKU/COMMON.xml")}));
}

TEST_F(MachineCommand, TellsWhatCannotBeDescribed) {
    place(product("ALPHA", "Alpha"));
    root().write(shared("\xFFname"), "");
    const ProgramResult result = describe({"ALPHA/target_path.xml"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError,
              shared("\\xffname") + " has a name that is not UTF-8, and is described with another one\n");
    EXPECT_EQ(Json::parse(result.standardOutput)["files"], Json::array({shared("\\xffname")}));
    EXPECT_EQ(describe({}, "relative").standardError, "HOME is no absolute path, and is left out\n");
    EXPECT_EQ(describe({}, "/nowhere").standardError,
              "/nowhere, the home, is no folder, and is described as one\n");
}

TEST_F(MachineCommand, EndsInOneLineWithFilesThatItCannotUse) {
    place(product("ALPHA", "Alpha"));
    root().write("/Volumes/Installer/broken.xml", "<root><item");
    const std::pair<Words, std::string> cases[] = {
        {{"none.xml"}, "none.xml is neither a product definition nor target paths"},
        {{"ALPHA/files"}, "ALPHA/files is neither a product definition nor target paths"},
        {{"ALPHA/sku.xml"}, "give the target paths once for all definitions, or once for each"},
        {{"broken.xml"},
         "broken.xml:1:12: not well-formed: <item> of line 1 is not closed when the file ends"},
    };
    for (const auto& [files, message] : cases) {
        const ProgramResult result = describe(files);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_EQ(result.standardError, "InstallInspector: " + message + "\n");
    }
}

TEST(MachineLookTest, StopsWhereThereIsTooMuch) {
    const TemporaryDirectory folder;
    for (int i = 0; i < 20; ++i) {
        FileTree::write(folder.path() / std::to_string(i), "");
    }
    std::map<VLString, InstallUtility::InstallItem> items;
    items["Content"].paths.push_back({VLString(folder.path().c_str()), {}});
    MachineLook look(20);
    EXPECT_THROW(look.atTargets(items), TooMuch);
}
