#include "Tests/EndToEnd/UninstallerTest.h"

#include "Tests/Support/HostileCaller.h"

#include <filesystem>
#include <optional>

// Opening it

TEST_F(Uninstaller, TwoProductsLeaveOneAfterTheOtherAndNothingOfThemIsLeft) {
    const ProductBuilder alpha = product();
    const ProductBuilder beta = product("BETA", "Beta");
    Install(alpha);
    Install(beta);
    root().remove(PrivateRoot::installerFolder); // what an uninstaller needs lies in itself

    ProgramResult result = OpenUninstaller(alpha);
    ExpectSuccess(result);
    ExpectLog(result, {cannotRemove("ALPHA")});
    EXPECT_FALSE(root().exists(uninstallerOf(alpha)));
    EXPECT_TRUE(root().exists(uninstallerOf(beta)));
    ExpectCounts({"product BETA, Beta, 1.0.0.100", "VorlaneFX 1", "VorlaneFX/shared 1, 1.0.0.100",
                  "VorlaneFX/BETA 1, 1.0.0.100"});

    result = OpenUninstaller(beta);
    ExpectSuccess(result);
    ExpectLog(result, {cannotRemove("shared"), cannotRemove("BETA")});
    EXPECT_EQ(FileTree::difference({"/Applications/", emptyStatusFolder, "/Library/Preferences/",
                                    "/Users/anna/Library/Preferences/", "/tmp/ 1777"},
                                   root().tree()),
              "");
}

TEST_F(Uninstaller, HandsItsArgumentsOn) {
    Install(product());
    const ProgramResult result = OpenUninstaller(product(), {"-v"});
    ExpectSuccess(result);
    ExpectLog(result, {"DEBUG: Delete '" + shared("shared") + "'", cannotRemove("shared"),
                       "DEBUG: Delete '" + shared("ALPHA") + "'", cannotRemove("ALPHA")});
}

TEST_F(Uninstaller, PassesTheExitStatusOnAndCleansUp) {
    Install(product());
    root().write(inside(product(), "MacOS/InstallUtility"), "#!/bin/sh\nexit 42\n", 0755);
    const ProgramResult result = OpenUninstaller(product());
    EXPECT_EQ(result.exitStatus, 42);
    EXPECT_EQ(root().tree("/tmp"), Lines());
}

TEST_F(Uninstaller, FailedUninstallFailsAndItIsGoneAllTheSame) {
    Install(product());
    root().write(inside(product(), "target_path.xml"), "<root");
    const ProgramResult result = OpenUninstaller(product());
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {"Error: Can't find node <root> in target paths XML."});
    EXPECT_FALSE(root().exists("/Applications/Vorlane Uninstallers"));
    EXPECT_EQ(root().tree("/tmp"), Lines());
}

TEST_F(Uninstaller, WithoutItsXmlFilesTouchesNothing) {
    for (const std::string name : {"sku.xml", "target_path.xml"}) {
        Install(product());
        root().remove(inside(product(), name));
        const Lines before = root().tree();
        const ProgramResult result = OpenUninstaller(product());
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_EQ(result.standardError,
                  "Error: '" + inside(product(), name) +
                      "' is missing: this is no uninstaller that an install has placed\n");
        EXPECT_EQ(FileTree::difference(before, root().tree()), "");
    }
}

TEST_F(Uninstaller, BundleThatIsNoUninstallerSaysSo) {
    const ProgramResult result =
        root().run({std::string(PrivateRoot::bundle) + "/Contents/MacOS/UninstallLauncher"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.standardError.find("this is no uninstaller"), std::string::npos);
}

TEST_F(Uninstaller, LooksForBareNamesInAnEmptyFolderOfItsOwn) {
    const ProductBuilder alpha = product().file("Content/note", "N").target("Content", "/Library/Gone");
    Install(alpha);
    root().remove("/Library/Gone");
    root().write("/Users/anna/note", "mine");
    Options options;
    options.workingFolder = "/Users/anna";
    const ProgramResult result = OpenUninstaller(alpha, {}, options);
    ExpectSuccess(result);
    ExpectLog(result, {cannotRemove("shared"), cannotRemove("ALPHA"), "Error: Cannot remove file 'note'"});
    EXPECT_EQ(root().read("/Users/anna/note"), "mine");
}

TEST_F(Uninstaller, WorksWhenStartedFromItsOwnFolderThroughARelativePath) {
    Install(product());
    Options options;
    options.workingFolder = inside(product(), "MacOS");
    ExpectSuccess(root().run({"./UninstallLauncher"}, options));
    EXPECT_FALSE(root().exists("/Applications/Vorlane Uninstallers"));
}

// Rights

TEST_F(UninstallerRights, OnADesktopAsksForRightsInADialogAndKeepsTheUsersHome) {
    Install(product());
    shim("id", "echo 501");
    shim("pkexec", "exec \"$@\"");
    ExpectSuccess(OpenUninstaller(product(), {}, onADesktop()));
    EXPECT_EQ(calls(), (Lines{"id -u", "pkexec " + launcherWithRights()}));
}

TEST_F(UninstallerRights, NothingThatTheUserCouldExchangeRunsWithRights) {
    Install(product());
    shim("id", "echo 501");
    const std::string before = root().run({"ls", "-A", "/tmp", "/Users/anna"}).standardOutput;
    shim("pkexec", "ls -A /tmp /Users/anna >/tools/then; exec \"$@\" -v");
    Options options = onADesktop();
    options.environment["TMPDIR"] = "/Users/anna"; // as on macOS: a folder of the user's
    root().write(inside(product(), "MacOS/InstallUtility"), "#!/bin/sh\necho \"$0 ${TMPDIR-unset} $*\"\n",
                 0755);
    const ProgramResult result = OpenUninstaller(product(), {}, options);
    EXPECT_EQ(root().read("/tools/then"), before);
    EXPECT_EQ(calls(), (Lines{"id -u", "pkexec " + launcherWithRights()}));
    EXPECT_EQ(result.standardOutput.rfind("/tmp/InstallUtility.", 0), 0U) << result.standardOutput;
    EXPECT_NE(result.standardOutput.find("/InstallUtility unset -uninstall /tmp/InstallUtility."),
              std::string::npos)
        << result.standardOutput;
    EXPECT_EQ(root().tree("/tmp"), Lines());
}

TEST_F(UninstallerRights, WithNobodyToAskTriesWithTheRightsThatThereAre) {
    Install(product());
    shim("id", "echo 501");
    shim("sudo", "exit 1");
    ExpectSuccess(OpenUninstaller(product()));
    EXPECT_EQ(calls(), (Lines{"id -u"}));
    ExpectTree({emptyStatusFolder});
}

// The caller's environment

namespace {

class UninstallerOfHostileCaller : public UninstallerRights {
protected:
    void SetUp() override {
        UninstallerRights::SetUp();
        if (!IsSkipped()) {
            caller.emplace(root());
            Install(product());
        }
    }

    /// Opens the uninstaller with these variables. It has to do what it does without them, and nothing of the
    /// caller's may run.
    void expectNoEffect(const HostileCaller::Variables& variables) {
        Options options;
        options.environment = variables;
        const ProgramResult result = OpenUninstaller(product(), {}, options);
        ExpectSuccess(result);
        ExpectLog(result, {cannotRemove("shared"), cannotRemove("ALPHA")});
        EXPECT_EQ(result.standardError,
                  std::string("rmdir: failed to remove '") + statusFolder + "': Directory not empty\n");
        EXPECT_FALSE(root().exists(uninstallerOf(product())));
        EXPECT_FALSE(caller->hasRun());
    }
    void letEnginePrintItsEnvironment() {
        root().write(inside(product(), "MacOS/InstallUtility"), "#!/bin/sh\nenv >/var/environment\n", 0755);
    }
    Lines printedEnvironment() { return HostileCaller::variablesIn(root().read("/var/environment")); }
    /// All that is handed on, and more.
    static HostileCaller::Variables manyVariables() {
        return {{"BASH_ENV", "/b"},
                {"BASH_FUNC_cp%%", "() { :; }"},
                {"CDPATH", "/c"},
                {"DISPLAY", ":7 of anna"},
                {"DYLD_INSERT_LIBRARIES", "/d"},
                {"ENV", "/e"},
                {"HOME", "/Users/anna in a house"},
                {"IFS", "S"},
                {"LANG", "de_DE.UTF-8"},
                {"LC_ALL", "fr_FR.UTF-8"},
                {"PATH", "/tools:/usr/bin:/bin"},
                {"TMPDIR", "/Users/anna"},
                {"USER", "anna"},
                {"WAYLAND_DISPLAY", "wayland-7"},
                {"XAUTHORITY", "/Users/anna/.Xauthority"},
                {"XDG_CONFIG_HOME", "/x"},
                {"XDG_RUNTIME_DIR", "/run/user/501"}};
    }
    static Lines handedOn() {
        return {"DISPLAY=:7 of anna",
                "HOME=/Users/anna in a house",
                "LANG=de_DE.UTF-8",
                "PATH=/usr/bin:/bin:/usr/sbin:/sbin",
                "WAYLAND_DISPLAY=wayland-7",
                "XAUTHORITY=/Users/anna/.Xauthority",
                "XDG_RUNTIME_DIR=/run/user/501"};
    }

    std::optional<HostileCaller> caller;
};

} // namespace

TEST_F(UninstallerOfHostileCaller, ItsPrivateFolderIsBelowTmpWhateverTmpdirSays) {
    root().write(inside(product(), "MacOS/InstallUtility"), "#!/bin/sh\necho \"$0\"\n", 0755);
    Options options;
    options.environment["TMPDIR"] = "/Users/anna";
    const ProgramResult result = OpenUninstaller(product(), {}, options);
    ExpectSuccess(result);
    EXPECT_EQ(result.standardOutput.rfind("/tmp/InstallUtility.", 0), 0U) << result.standardOutput;
}

TEST_F(UninstallerOfHostileCaller, TakesTheSystemsTools) {
    expectNoEffect(HostileCaller::tools());
}

TEST_F(UninstallerOfHostileCaller, AsksForRightsWithTheSystemsToolsAlone) {
    shim("id", "echo 501");
    HostileCaller::Variables variables = HostileCaller::tools();
    variables["DISPLAY"] = ":none";
    expectNoEffect(variables);
    EXPECT_EQ(calls(), (Lines{"id -u"}));
}

TEST_F(UninstallerOfHostileCaller, FindsItsOwnFolderWhateverCdpathSays) {
    root().makeFolder("/Users/anna/MacOS");
    Options options;
    options.environment["CDPATH"] = "/Users/anna";
    options.workingFolder = inside(product(), "");
    const ProgramResult result = root().run({"MacOS/UninstallLauncher"}, options);
    ExpectSuccess(result);
    EXPECT_FALSE(root().exists(uninstallerOf(product())));
}

TEST_F(UninstallerOfHostileCaller, ReadsNoFileOfTheCallersInAToolThatIsAScript) {
    if (!std::filesystem::exists("/bin/bash")) {
        GTEST_SKIP() << "there is no /bin/bash";
    }
    root().add("/bin/bash", "/bin/bash");
    shim("id", "echo 0", "/bin/bash");
    expectNoEffect(HostileCaller::startFile());
}

TEST_F(UninstallerOfHostileCaller, GivesToolsNoneOfTheVariablesThatChangeAShell) {
    shim("id", "env >/var/environment; echo 0");
    Options options;
    options.environment = manyVariables();
    ExpectSuccess(OpenUninstaller(product(), {}, options));
    for (const std::string& line : printedEnvironment()) {
        const std::string name = line.substr(0, line.find('='));
        EXPECT_TRUE(name != "BASH_ENV" && name != "CDPATH" && name != "ENV" && name != "IFS") << line;
        EXPECT_TRUE(name != "PATH" || line == "PATH=/usr/bin:/bin:/usr/sbin:/sbin") << line;
    }
}

TEST_F(UninstallerOfHostileCaller, CallsNoFunctionOfTheCallersWhenTheShellIsBash) {
    if (!std::filesystem::exists("/bin/bash")) {
        GTEST_SKIP() << "there is no /bin/bash";
    }
    root().add("/bin/bash", "/bin/sh"); // as on macOS
    expectNoEffect(HostileCaller::functions());
}

TEST_F(UninstallerOfHostileCaller, TracesNothingWhenTheShellIsBash) {
    if (!std::filesystem::exists("/bin/bash")) {
        GTEST_SKIP() << "there is no /bin/bash";
    }
    root().add("/bin/bash", "/bin/sh"); // as on macOS
    expectNoEffect(HostileCaller::options());
}

TEST_F(UninstallerOfHostileCaller, GivesTheEngineAnEnvironmentMadeAnew) {
    letEnginePrintItsEnvironment();
    Options options;
    options.environment = manyVariables();
    ExpectSuccess(OpenUninstaller(product(), {}, options));
    EXPECT_EQ(printedEnvironment(), handedOn());
}

TEST_F(UninstallerOfHostileCaller, GivesTheEngineNoVariableThatIsNotSet) {
    letEnginePrintItsEnvironment();
    ExpectSuccess(OpenUninstaller(product()));
    EXPECT_EQ(printedEnvironment(), (Lines{"HOME=/Users/anna", "PATH=/usr/bin:/bin:/usr/sbin:/sbin"}));
    ExpectSuccess(root().run({"env", "-u", "HOME", launcher()}));
    EXPECT_EQ(printedEnvironment(), (Lines{"PATH=/usr/bin:/bin:/usr/sbin:/sbin"}));
}

TEST_F(UninstallerOfHostileCaller, GivesEachDialogAnEnvironmentMadeAnew) {
    shim("id", "echo 501");
    shim("uname", "echo Darwin");
    shim("launchctl", "echo Aqua");
    // The question has one more argument than the result, and three more than the dialog that gives the
    // rights.
    shim("osascript", "env >/var/environment$#; [ $# -ne 5 ] || echo Remove");
    Options options;
    options.environment = manyVariables();
    EXPECT_EQ(OpenUninstaller(product(), {}, options).exitStatus, 1);
    for (const char* count : {"2", "4", "5"}) {
        EXPECT_EQ(HostileCaller::variablesIn(root().read(std::string("/var/environment") + count)),
                  handedOn());
    }
}

TEST_F(UninstallerOfHostileCaller, CallsNoFunctionOfTheCallersWhileItAsksAndTells) {
    if (!std::filesystem::exists("/bin/bash")) {
        GTEST_SKIP() << "there is no /bin/bash";
    }
    root().add("/bin/bash", "/bin/sh"); // as on macOS
    shim("zenity", "");
    HostileCaller::Variables variables = HostileCaller::functions();
    variables.merge(HostileCaller::tools());
    variables.merge(HostileCaller::startFile());
    variables.merge(HostileCaller::options());
    variables["DISPLAY"] = ":none";
    Options options;
    options.environment = variables;
    const ProgramResult result = OpenUninstaller(product(), {}, options);
    ExpectSuccess(result);
    EXPECT_EQ(result.standardError.find('+'), std::string::npos) << result.standardError;
    EXPECT_EQ(result.standardError.find("traced"), std::string::npos) << result.standardError;
    EXPECT_EQ(calls().size(), 5U) << "a question, progress, and a result of three lines";
    EXPECT_FALSE(root().exists(uninstallerOf(product())));
    EXPECT_FALSE(caller->hasRun());
}

// Placing and removing it

TEST_F(Uninstaller, GoesEvenWhenTheUninstallFailsLater) {
    Install(product());
    const ProgramResult result = Uninstall(product().targetsText("<nothing/>"));
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {"Error: Can't find node <root> in target paths XML."});
    EXPECT_FALSE(root().exists("/Applications/Vorlane Uninstallers"));
    EXPECT_TRUE(root().exists(shared("ALPHA")));
}

TEST_F(Uninstaller, UninstallDoesNotNeedTheTargetPathsToRemoveIt) {
    Install(product());
    const ProgramResult result =
        root().run({PrivateRoot::program, "-uninstall", folderOf(product()) + "/sku.xml", "/missing"});
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {"Error: Error! File with target not found", "",
                       "Error: Can't find node <root> in target paths XML."});
    EXPECT_FALSE(root().exists("/Applications/Vorlane Uninstallers"));
}

TEST_F(Uninstaller, UninstallWithoutDefinitionReportsItTwice) {
    const ProgramResult result = root().run({PrivateRoot::program, "-uninstall", "/missing", "/missing"});
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {"Error: Postflight failed: sku xml not found",
                       "Error: Error! Source dir '/missing' is empty", ""});
}

TEST_F(Uninstaller, FolderOfUninstallersStaysWhileOthersAreInIt) {
    Install(product());
    root().write("/Applications/Vorlane Uninstallers/note", "stays");
    Uninstall(product());
    ExpectTree({"/Applications/Vorlane Uninstallers/note: stays", emptyStatusFolder});
}

TEST_F(Uninstaller, ThatCannotBePlacedIsReportedAndTheInstallSucceeds) {
    root().write("/Applications/Vorlane Uninstallers", "in the way");
    const ProgramResult result = Install(product());
    ExpectSuccess(result);
    ExpectLog(result, {"Checking file consistency in source folder",
                       "Error: Can't copy Uninstall.app to target folder"});
    ExpectTree({"/Applications/Vorlane Uninstallers: in the way", shared("shared: S"), shared("ALPHA: ALPHA"),
                shared("InstallationStatusFile.xml: record")});
}

TEST_F(Uninstaller, ThatHasNoNameOnThePlatformIsNotPlaced) {
    const ProgramResult result = Install(product("ALPHA", "no UTF-8: \xff"));
    ExpectSuccess(result);
    ExpectLog(result, {"Checking file consistency in source folder"});
    ExpectTree({shared("shared: S"), shared("ALPHA: ALPHA"), shared("InstallationStatusFile.xml: record")});
}

TEST_F(Uninstaller, InstallByAnotherProductsUninstallerReportsTheFilesThatAreThere) {
    Install(product());
    const ProductBuilder beta = product("BETA", "Beta");
    place(beta);
    std::vector<std::string> command = installCommand(beta);
    command.front() = inside(product(), "MacOS/InstallUtility");
    const ProgramResult result = root().run(command);
    ExpectSuccess(result);
    ExpectLog(result,
              {"Checking file consistency in source folder", "Error: Can't copy SKU XML to Uninstall.app",
               "Error: Can't copy Target Path XML to Uninstall.app"});
    EXPECT_EQ(root().read(inside(beta, "sku.xml")), root().read(inside(product(), "sku.xml")));
}

// The shared package

namespace {

class SharedPackage : public Uninstaller {
protected:
    static constexpr const char* link = "/Applications/Vorlane Application Manager.app";

    static ProductBuilder common(const std::string& id = "COMMON",
                                 const ProductBuilder::Attributes& definitionAttributes = {}) {
        ProductBuilder result(id, "Shared Files");
        result.target("VorlaneFX", statusFolder)
            .file("VorlaneFX/Common/ApplicationManager.app", "manager")
            .file("VorlaneFX/SKU/COMMON.xml", "", definitionAttributes);
        return result.unlistedFile("VorlaneFX/SKU/COMMON.xml", result.definition());
    }
    static Lines installedCommon() {
        const ProductBuilder package = common();
        return {std::string(link) + " -> " + statusFolder + "/Common/ApplicationManager.app",
                shared("Common/ApplicationManager.app: manager"),
                shared("InstallationStatusFile.xml: record")};
    }
    /// Product files alone: what is left of the shared package stands in `installedCommon`.
    void expectCommonAnd(Lines more) {
        const std::string definition = shared("SKU/COMMON.xml");
        EXPECT_EQ(root().read(definition), common().definition());
        root().remove(definition);
        for (const std::string& line : installedCommon()) {
            more.push_back(line);
        }
        more.push_back(shared("SKU/"));
        ExpectTree(more);
        root().write(definition, common().definition());
    }
};

} // namespace

TEST_F(SharedPackage, PlacesALinkAndNoUninstallerInAnyCaseOfItsId) {
    for (const char* id : {"COMMON", "common", "Common"}) {
        ExpectSuccess(Install(common(id)));
        EXPECT_EQ(root().tree("/Applications"),
                  (Lines{std::string(link) + " -> " + statusFolder + "/Common/ApplicationManager.app"}));
        ExpectSuccess(Uninstall(common(id)));
        ExpectTree({emptyStatusFolder});
    }
}

TEST_F(SharedPackage, InstallReplacesWhateverIsInThePlaceOfTheLink) {
    root().write(std::string(link) + "/Contents/old", "old");
    ExpectSuccess(Install(common()));
    expectCommonAnd({});
}

TEST_F(SharedPackage, LeavesWithTheLastOrdinaryProduct) {
    Install(common());
    Install(product());
    Install(product("BETA", "Beta"));
    ExpectSuccess(Uninstall(product()));
    expectCommonAnd({shared("shared: S"), shared("BETA: BETA"),
                     uninstallerOf(product("BETA", "Beta")) + ": uninstaller of BETA"});
    const ProgramResult result = OpenUninstaller(product("BETA", "Beta"));
    ExpectSuccess(result);
    ExpectLog(result, {cannotRemove("shared"), cannotRemove("BETA"),
                       cannotRemove("Common/ApplicationManager.app"), cannotRemove("SKU/COMMON.xml")});
    ExpectTree({emptyStatusFolder});
}

TEST_F(SharedPackage, StaysWhileAnOrdinaryProductIsLeft) {
    Install(product());
    Install(common());
    ExpectSuccess(Uninstall(common()));
    ExpectTree({shared("shared: S"), shared("ALPHA: ALPHA"), shared("InstallationStatusFile.xml: record"),
                uninstallerOf(product()) + ": uninstaller of ALPHA"});
    ExpectCounts({"product ALPHA, Alpha, 1.0.0.100", "VorlaneFX 1", "VorlaneFX/shared 1, 1.0.0.100",
                  "VorlaneFX/ALPHA 1, 1.0.0.100"});
}

TEST_F(SharedPackage, WithoutItsDefinitionTheChainFails) {
    Install(common());
    Install(product());
    root().remove(shared("SKU/COMMON.xml"));
    const ProgramResult result = Uninstall(product());
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result,
              {cannotRemove("shared"), cannotRemove("ALPHA"), "Error: Postflight failed: sku xml not found",
               "Error: Error! Source dir '" + shared("SKU/COMMON.xml") + "' is empty", "",
               "Error: Error! Failed to remove product", ""});
    ExpectCounts({"product COMMON, Shared Files, 1.0.0.100", "VorlaneFX 1", "VorlaneFX/Common 1",
                  "VorlaneFX/Common/ApplicationManager.app 1, 1.0.0.100", "VorlaneFX/SKU 1",
                  "VorlaneFX/SKU/COMMON.xml 1, 1.0.0.100"});
}

TEST_F(SharedPackage, IsNotRecordedUnderAnotherCaseForTheChain) {
    Install(common("Common"));
    Install(product());
    const ProgramResult result = Uninstall(product());
    ExpectSuccess(result);
    ExpectLog(result, {cannotRemove("shared"), cannotRemove("ALPHA")});
    EXPECT_TRUE(root().exists(shared("Common/ApplicationManager.app")));
}

TEST_F(SharedPackage, OwnUninstallUnderAnotherCaseDoesNotStartItself) {
    const ProductBuilder::Attributes kept{{"dontdelete", "1"}};
    Install(common("COMMON", kept));
    const ProgramResult result = Uninstall(common("Common", kept));
    ExpectSuccess(result);
    ExpectLog(result, {"Warning: The record does not list the product 'Common'. No count is lowered."});
    EXPECT_EQ(counts().at(0), "product COMMON, Shared Files, 1.0.0.100");
    EXPECT_TRUE(root().exists(shared("Common/ApplicationManager.app")));
}
