#include "Tests/Engine/EngineTest.h"

namespace {

class ShortCuts : public EngineTest {
protected:
    static FileNode nodeWith(const char* name, const char* shortCutFolder) {
        FileNode node;
        node.name = "tool";
        node.shortCut.name = name;
        node.shortCut.dir = shortCutFolder;
        return node;
    }
};

} // namespace

TEST_F(ShortCuts, LieInApplicationsWhateverFolderTheNodeNames) {
    VLString path("old");
    EXPECT_TRUE(InstallUtility::createFullShortCutName(nodeWith("Tool", "/Elsewhere"), path));
    EXPECT_EQ(path, VLString("/Applications/Tool"));
}

TEST_F(ShortCuts, NameOfAnInvalidShortcutIsAnErrorAndLeavesTheResultAlone) {
    VLString path("old");
    EXPECT_EQ(logOf([&] {
                  EXPECT_FALSE(InstallUtility::createFullShortCutName(nodeWith("Tool", ""), path));
                  EXPECT_FALSE(InstallUtility::createFullShortCutName(nodeWith("", "/Applications"), path));
              }),
              (Lines{"Error: createFullShortCutName, invalid params",
                     "Error: createFullShortCutName, invalid params"}));
    EXPECT_EQ(path, VLString("old"));
}

TEST_F(ShortCuts, CreateLinksToTheInstalledFile) {
    write("tool", "T");
    EXPECT_TRUE(InstallUtility::createShortCut(at("tool").c_str(), nodeWith("My Tool", "x")));
    EXPECT_EQ(commands(), (Lines{"ln -sf \"$T/tool\" \"/Applications/My Tool\""}));
}

TEST_F(ShortCuts, CreateFailsInSilenceWhenTheTargetIsMissing) {
    EXPECT_EQ(logOf([&] {
                  EXPECT_FALSE(InstallUtility::createShortCut(at("missing").c_str(), nodeWith("Tool", "x")));
              }),
              Lines());
    EXPECT_EQ(commands(), Lines());
}

TEST_F(ShortCuts, CreateGivesTheResultOfTheCommand) {
    write("tool", "T");
    machine.failing = {"ln"};
    EXPECT_FALSE(InstallUtility::createShortCut(at("tool").c_str(), nodeWith("Tool", "x")));
}

TEST_F(ShortCuts, CreateOfAnInvalidShortcutIsOneError) {
    write("tool", "T");
    EXPECT_EQ(logOf([&] {
                  EXPECT_FALSE(InstallUtility::createShortCut(at("tool").c_str(), nodeWith("Tool", "")));
              }),
              (Lines{"Error: createShortCut, invalid params"}));
    EXPECT_EQ(commands(), Lines());
}

TEST_F(ShortCuts, CreateForAnEmptyPathIsAnErrorEvenWithAValidShortcut) {
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(InstallUtility::createShortCut(VLString(), nodeWith("Tool", "x"))); }),
              (Lines{"Error: createShortCut, invalid params"}));
}

TEST_F(ShortCuts, RemoveTakesTheLinkAwayAndDoesNotLookAtTheInstalledFile) {
    EXPECT_TRUE(InstallUtility::removeShortCut(VLString(), nodeWith("Tool", "x")));
    EXPECT_EQ(commands(), (Lines{"rm -f \"/Applications/Tool\""}));
    machine.failing = {"rm"};
    EXPECT_FALSE(InstallUtility::removeShortCut(VLString(), nodeWith("Tool", "x")));
}

TEST_F(ShortCuts, RemoveOfAnInvalidShortcutIsTwoErrors) {
    EXPECT_EQ(
        logOf([&] { EXPECT_FALSE(InstallUtility::removeShortCut("/tool", nodeWith("", "x"))); }),
        (Lines{"Error: createFullShortCutName, invalid params", "Error: createFullShortCutName failed"}));
    EXPECT_EQ(commands(), Lines());
}

namespace {

struct HostName {
    const char* shortName;
    const char* displayName;
};

class DisplayName : public testing::TestWithParam<HostName> {};

} // namespace

TEST_P(DisplayName, IsThatOfTheHost) {
    EXPECT_EQ(InstallUtility::getNLEFullName(GetParam().shortName), VLString(GetParam().displayName));
}

INSTANTIATE_TEST_SUITE_P(
    OfHosts, DisplayName,
    testing::Values(
        HostName{"Premiere Pro", "Adobe Premiere Pro"}, HostName{"Media Composer", "Avid Media Composer"},
        HostName{"Edius", "Grass Valley EDIUS"}, HostName{"OpenFX", "OpenFX video editor"},
        HostName{"Lettrix", "Vorlane Lettrix"}, HostName{"Final Cut Pro X", "Apple Final Cut Pro X"},
        HostName{"edius", "Grass Valley EDIUS"}, HostName{"FINAL CUT PRO X", "Apple Final Cut Pro X"},
        HostName{"Premiere", "Premiere"}, HostName{"Premiere Pro32", "Premiere Pro32"},
        HostName{"Content", "Content"}, HostName{"", ""}),
    [](const testing::TestParamInfo<HostName>& row) { return "Row" + std::to_string(row.index); });
