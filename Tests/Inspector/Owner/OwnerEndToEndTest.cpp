// "owner" on a machine on which the real program has installed real products.
#include "Tests/Support/EndToEndTest.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>

using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

const std::string library = "/Library/Application Support/Vorlane/";
const std::string record = library + "InstallationStatusFile.xml";

class OwnerEndToEnd : public EndToEndTest {
protected:
    using Json = nlohmann::json;
    static constexpr const char* inspector = PrivateRoot::inspector;

    bool comparesPlans() const override { return false; }

    ProgramResult owner(std::vector<std::string> paths, const Options& options = Options()) {
        paths.insert(paths.begin(), {inspector, "owner"});
        return root().run(paths, options);
    }

    /// The only answer, without what is asked in other tests.
    Json answer(const std::string& path, const Options& options = Options()) {
        const auto result = owner({path, "--json"}, options);
        const Json document = Json::parse(result.standardOutput);
        EXPECT_EQ(result.exitStatus, document["verdict"] == "safe" ? 0 : 1);
        EXPECT_EQ(document["answers"].size(), 1U);
        EXPECT_EQ(document["answers"][0]["asked"], path);
        return document["answers"][0];
    }
    std::string removal(const std::string& path) {
        const Json one = answer(path);
        return one["entries"].size() == 1 ? one["entries"][0]["removal"].get<std::string>() : one.dump(2);
    }

    void edit(const std::string& path, const std::string& from, const std::string& to) {
        std::string text = root().read(path);
        const std::size_t at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from << " in " << text;
        root().write(path, text.replace(at, from.size(), to));
    }
};

ProductBuilder alpha() {
    return ProductBuilder("ALPHA", "Alpha")
        .build("1.0.0.100")
        .family("Glow")
        .file("VorlaneFX/Looks/Grey.look", "grey")
        .file("VorlaneFX/Guide.html", "guide")
        .shortCut("VorlaneFX/Guide.html", "Alpha Guide.html")
        .file("VorlaneFX/Kept.txt", "kept", {{"dontdelete", "1"}})
        .listedFile("VorlaneFX/Glow.bundle")
        .unlistedFile("VorlaneFX/Glow.bundle/Contents/Info.plist", "info")
        .file("Hosts/OpenFX/Glow/Glow.ofx", "glow")
        .file("Content/Paper.txt", "paper")
        .target("VorlaneFX", "/Library/Application Support/Vorlane")
        .target("Hosts/OpenFX", "/Library/OFX/Vorlane/%FAMILY%", pathExists("/Applications/OpenFX.app"))
        .target("Content", "/Users/%USER%/Vorlane Content");
}

ProductBuilder beta() {
    return ProductBuilder("BETA", "Beta")
        .build("1.0.0.200")
        .file("VorlaneFX/Looks/Grey.look", "newer grey")
        .target("VorlaneFX", "/Library/Application Support/Vorlane");
}

} // namespace

TEST_F(OwnerEndToEnd, NamesTheProductsOfAFileWithCountAndBuildAndWhoRemovesIt) {
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    const Lines before = root().tree();
    const auto result = owner({library + "Looks/Grey.look"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, "/Library/Application Support/Vorlane/Looks/Grey.look\n"
                                     "\n"
                                     "  VorlaneFX/Looks/Grey.look  uses 2  build 1.0.0.200\n"
                                     "    /Library/Application Support/Vorlane/Looks/Grey.look  of ALPHA "
                                     "1.0.0.100, BETA 1.0.0.200\n"
                                     "    The last uninstall of ALPHA and BETA removes it.\n");
    EXPECT_EQ(answer(library + "Looks/Grey.look"),
              Json::parse(R"({"asked": "/Library/Application Support/Vorlane/Looks/Grey.look", "kind": "file",
    "notes": [], "entries": [{"path": "VorlaneFX/Looks/Grey.look", "count": 2, "build": "1.0.0.200",
    "record": "/Library/Application Support/Vorlane/InstallationStatusFile.xml",
    "products": [{"ID": "ALPHA", "name": "Alpha", "build": "1.0.0.100"},
                 {"ID": "BETA", "name": "Beta", "build": "1.0.0.200"}],
    "uses": [{"product": "ALPHA", "file": "/Library/Application Support/Vorlane/Looks/Grey.look", "there": true,
              "applies": true, "relation": "same"},
             {"product": "BETA", "file": "/Library/Application Support/Vorlane/Looks/Grey.look", "there": true,
              "applies": true, "relation": "same"}],
    "removal": "The last uninstall of ALPHA and BETA removes it."}]})"));
    EXPECT_EQ(FileTree::difference(before, root().tree()), "");

    ExpectSuccess(Uninstall(beta()));
    EXPECT_EQ(removal(library + "Looks/Grey.look"), "The uninstall of ALPHA removes it.");
    EXPECT_EQ(removal(library + "Looks"), "The uninstall of ALPHA removes the folder, if it is empty then.");
    EXPECT_EQ(removal(library + "Kept.txt"), "No uninstall removes it: it is dontdelete.");
}

TEST_F(OwnerEndToEnd, TheCountDecidesWhoRemovesIt) {
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    const std::string look = library + "Looks/Grey.look";
    edit(record, "\"Grey.look\" ref=\"2\"", "\"Grey.look\" ref=\"3\"");
    EXPECT_EQ(removal(look), "No uninstall removes it: its count is 3, and 2 installed products list it.");
    edit(record, "\"Grey.look\" ref=\"3\"", "\"Grey.look\" ref=\"1\"");
    EXPECT_EQ(removal(look), "It is removed too early: its count is 1, and 2 installed products list it.");
    root().remove(record);
    EXPECT_EQ(removal(look), "No uninstall removes it: no record lists it.");
    root().write(record, "<install");
    EXPECT_EQ(removal(look), "No uninstall removes it: no record lists it.");
}

TEST_F(OwnerEndToEnd, AFileInAWholeFolderBelongsToTheFolder) {
    ExpectSuccess(Install(alpha()));
    const Json inside = answer(library + "Glow.bundle/Contents/Info.plist");
    ASSERT_EQ(inside["entries"].size(), 1U);
    EXPECT_EQ(inside["entries"][0]["path"], "VorlaneFX/Glow.bundle");
    EXPECT_EQ(inside["entries"][0]["uses"][0]["relation"], "inside");
    EXPECT_EQ(inside["entries"][0]["removal"], "The uninstall of ALPHA removes it.");
    EXPECT_EQ(answer(library + "Looks/mine.look")["kind"], "unknown") << "a folder with entries is not whole";
}

TEST_F(OwnerEndToEnd, TheConditionOfTheTargetPathIsShown) {
    root().makeFolder("/Applications/OpenFX.app");
    ExpectSuccess(Install(alpha()));
    const std::string plugin = "/Library/OFX/Vorlane/Glow/Glow.ofx";
    EXPECT_THAT(owner({plugin}).standardOutput,
                HasSubstr(plugin + "  since PathExist \"/Applications/OpenFX.app\"  of ALPHA 1.0.0.100\n"));
    EXPECT_EQ(removal(plugin), "The uninstall of ALPHA removes it.");
    root().remove("/Applications/OpenFX.app");
    EXPECT_THAT(owner({plugin}).standardOutput,
                HasSubstr(plugin + "  out of reach: no longer PathExist \"/Applications/OpenFX.app\""));
    EXPECT_EQ(removal(plugin),
              "No uninstall removes it: the condition of the target path does not hold today.");
    root().remove(plugin);
    EXPECT_EQ(removal("Hosts/OpenFX/Glow/Glow.ofx"),
              "No target path applies on this machine: there is nothing to remove.");
}

TEST_F(OwnerEndToEnd, KnowsWhatRunsPlaceBesideTheTree) {
    ExpectSuccess(Install(alpha()));
    const Json link = answer("/Applications/Alpha Guide.html");
    ASSERT_EQ(link["entries"].size(), 1U);
    EXPECT_EQ(link["entries"][0]["path"], "VorlaneFX/Guide.html");
    EXPECT_EQ(link["entries"][0]["uses"][0]["relation"], "shortcut");
    EXPECT_EQ(answer("/Applications/Vorlane Uninstallers/Uninstall Alpha.app/Contents/sku.xml")["notes"][0],
              "It belongs to the uninstaller of ALPHA, whose uninstall removes it.");
    EXPECT_EQ(answer(record)["notes"][0],
              "It is the record, which the uninstall of the last product removes.");
}

TEST_F(OwnerEndToEnd, TellsWhereATreePathOrAProductLies) {
    ExpectSuccess(Install(alpha()));
    ExpectSuccess(Install(beta()));
    root().remove(library + "Guide.html");
    const Json tree = answer("VorlaneFX/Looks/");
    EXPECT_EQ(tree["kind"], "tree path");
    ASSERT_EQ(tree["entries"].size(), 1U);
    EXPECT_EQ(tree["entries"][0]["uses"].size(), 2U);
    EXPECT_EQ(answer("Beta")["entries"], answer("BETA")["entries"]);
    EXPECT_EQ(answer("BETA")["entries"].size(), 1U);
    EXPECT_EQ(answer("ALPHA")["entries"].size(), 6U);
    const std::string text = owner({"ALPHA"}).standardOutput;
    EXPECT_THAT(text,
                HasSubstr("\n  ALPHA  Alpha  1.0.0.100\n    /Applications/Vorlane Uninstallers/Uninstall "
                          "Alpha.app\n"));
    EXPECT_THAT(text, HasSubstr("    " + library + "Guide.html  missing  of ALPHA 1.0.0.100\n"));
    EXPECT_THAT(text, HasSubstr("    /Users/anna/Vorlane Content/Paper.txt  of ALPHA 1.0.0.100\n"));
    EXPECT_THAT(text, HasSubstr("    no such place here  of ALPHA 1.0.0.100\n"));
}

TEST_F(OwnerEndToEnd, OfWhatNobodyKnowsTheNearestIsNamed) {
    EXPECT_EQ(answer("/Library")["kind"], "unknown") << "nothing is installed";
    ExpectSuccess(Install(alpha()));
    EXPECT_EQ(answer(library + "Looks/Gray.look")["nearest"], library + "Looks/Grey.look");
    EXPECT_EQ(answer(library + "Looks/another/thing")["nearest"], library + "Looks");
    EXPECT_EQ(answer("ALHPA")["nearest"], "ALPHA");
    EXPECT_EQ(answer("VorlaneFX/Guide.htm")["nearest"], "VorlaneFX/Guide.html");
    EXPECT_EQ(answer("/etc/passwd").count("nearest"), 0U);
    EXPECT_EQ(answer("")["kind"], "unknown");
    const auto both = owner({"ALPHA", "/etc/pass\x1b[31mwd"});
    EXPECT_EQ(both.exitStatus, 1);
    EXPECT_THAT(both.standardOutput, HasSubstr("/etc/pass\\x1b[31mwd\n  No installed product knows it.\n"));
}

TEST_F(OwnerEndToEnd, APathMayBeWrittenInOtherWays) {
    ExpectSuccess(Install(alpha()));
    fs::create_symlink("Application Support/Vorlane", root().outside("/Library/link"));
    Options options;
    options.workingFolder = "/Library/Application Support";
    for (const std::string& path :
         {library + "Looks//../Looks/Grey.look", std::string("/Library/link/Looks/Grey.look"),
          std::string("Vorlane/Looks/Grey.look"), std::string("./Vorlane/Looks/Grey.look")}) {
        const Json one = answer(path, options);
        ASSERT_EQ(one["entries"].size(), 1U) << path;
        EXPECT_EQ(one["entries"][0]["path"], "VorlaneFX/Looks/Grey.look") << path;
    }
}

TEST_F(OwnerEndToEnd, AFileInAnotherUsersHomeIsThatUsers) {
    root().makeFolder("/Users/ben");
    Options ben;
    ben.environment["HOME"] = "/Users/ben";
    ExpectSuccess(Install(alpha(), {}, ben));
    const Json paper = answer("/Users/ben/Vorlane Content/Paper.txt");
    ASSERT_EQ(paper["entries"].size(), 1U);
    EXPECT_EQ(paper["entries"][0]["path"], "Content/Paper.txt");
    EXPECT_EQ(paper["notes"][0],
              "It lies in the home \"/Users/ben\": only an uninstall by that user looks there.");
    EXPECT_EQ(answer("/Users/ben/other")["kind"], "unknown");
}

TEST_F(OwnerEndToEnd, WithoutAPathItCannotRun) {
    EXPECT_EQ(owner({}).exitStatus, 2);
}
