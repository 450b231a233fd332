#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/FullRun.h"

namespace {

class Install : public EndToEndTest {
protected:
    static ProductBuilder product(const std::string& id = "ALPHA", const std::string& name = "Alpha") {
        return ProductBuilder(id, name)
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .unlistedFile("VorlaneFX/u", "");
    }

    static std::string record() { return shared("InstallationStatusFile.xml: record"); }
    static std::string uninstaller(const ProductBuilder& product) {
        return uninstallerOf(product) + ": uninstaller of " + product.id();
    }
    static std::string cannotRemove(const std::string& path) {
        return "Error: Cannot remove file '" + path + "'";
    }

    const std::string checking = "Checking file consistency in source folder";
    const std::string emptyStatusFolder = std::string(statusFolder) + "/";
};

} // namespace

// One product with all that a product can have

namespace {

class FiveHosts : public Install {
protected:
    void SetUp() override {
        Install::SetUp();
        if (IsSkipped()) {
            return;
        }
        root().makeFolder("/Applications/Adobe Premiere Pro");
        root().write("/Library/Application Support/Avid/version.txt", "8");
    }

    static ProductBuilder suite() {
        ProductBuilder suite = product("SUITE", "Vorlane Suite").build("2.0.0.500").family("Glow");
        for (const char* host : {"Premiere Pro", "Media Composer", "Edius", "Final Cut Pro X", "OpenFX"}) {
            suite.host(host, "x86;x64");
        }
        return suite.file("Hosts/Premiere Pro/Blur/Blur.plugin", "blur 64")
            .file("Hosts/Premiere Pro/Glow/Glow.plugin", "glow 64")
            .file("Hosts/Premiere Pro32/Blur/Blur32.plugin", "blur 32", {{"arch", "x86"}})
            .file("Hosts/Media Composer/Blur/Blur.avx", "blur avx")
            .file("Hosts/Media Composer32/Glow/Glow32.avx", "glow avx 32")
            .file("Hosts/Edius/Glow/Glow.dll", "glow edius")
            .file("Hosts/Edius32/Glow/Glow32.dll", "glow edius 32")
            .file("Hosts/Final Cut Pro X/Blur/Blur.fxp", "blur fcp")
            .file("Hosts/Final Cut Pro X32/Blur/Blur32.fxp", "blur fcp 32")
            .listedFile("Hosts/OpenFX/Glow/Glow.ofx.bundle")
            .unlistedFile("Hosts/OpenFX/Glow/Glow.ofx.bundle/Contents/glow.ofx", "glow ofx", 0755)
            .file("Hosts/OpenFX32/Glow/Glow32.ofx", "glow ofx 32")
            .file("VorlaneFX/engine.dat", "engine")
            .file("VorlaneFX/Tool.app", "tool")
            .unlistedFile("VorlaneFX/Tool.app", "tool", 0755)
            .shortCut("VorlaneFX/Tool.app", "Vorlane Tool.app")
            .folder("VorlaneFX/Presets")
            .unlistedFile("VorlaneFX/Presets/soft.preset", "soft")
            .file("Content/clip.mov", "clip")
            .target("Hosts/Premiere Pro", "/Library/Adobe/%FAMILY%",
                    pathExists("/Applications/Adobe Premiere Pro"))
            .target("Hosts/Premiere Pro", "/Library/Adobe Beta/%FAMILY%",
                    pathExists("/Applications/Adobe Beta"))
            .target("Hosts/Premiere Pro32", "/Library/Adobe/32/%FAMILY%")
            .target("Hosts/Media Composer", "/Library/Avid",
                    fileExists("/Library/Application Support/Avid/version.txt"))
            .target("Hosts/Media Composer32", "/Library/Avid 32",
                    fileMissing("/Library/Application Support/Avid/version.txt"))
            .target("Hosts/Edius", "/Library/Edius")
            .target("Hosts/Edius32", "/Library/Edius 32")
            .target("Hosts/Final Cut Pro X", "/Users/%USER%/Movies/Motion/%FAMILY%")
            .target("Hosts/Final Cut Pro X32", "/Users/%user%/Movies/Motion 32")
            .target("Hosts/OpenFX", "/Library/OFX/Plugins")
            .target("Hosts/OpenFX32", "/Library/OFX/Plugins 32",
                    anyOf({pathExists("/nowhere"), allOf({pathMissing("/nowhere"), fileExists("/etc/passwd"),
                                                          fileMissing("/nowhere")})}))
            .target("Content", "/Users/%USER%/Movies/Vorlane");
    }

    /// What SetUp has put there.
    static Lines others() {
        return {"/Applications/Adobe Premiere Pro/", "/Library/Application Support/Avid/version.txt: 8"};
    }
};

} // namespace

TEST_F(FiveHosts, InstallPutsEveryFileInItsPlace) {
    const ProgramResult result = EndToEndTest::Install(suite());
    ExpectSuccess(result);
    ExpectLog(result, {checking});
    EXPECT_EQ(result.standardError, "");
    Lines expected = others();
    expected.insert(expected.end(),
                    {"/Library/Adobe/Blur/Blur.plugin: blur 64", "/Library/Adobe/Glow/Glow.plugin: glow 64",
                     "/Library/Adobe/32/Blur/Blur32.plugin: blur 32", "/Library/Avid/Blur.avx: blur avx",
                     "/Library/Edius/Glow.dll: glow edius", "/Library/Edius 32/Glow32.dll: glow edius 32",
                     "/Users/anna/Movies/Motion/Blur/Blur.fxp: blur fcp",
                     "/Users/anna/Movies/Motion 32/Blur32.fxp: blur fcp 32",
                     "/Library/OFX/Plugins/Glow.ofx.bundle/Contents/glow.ofx 0755: glow ofx",
                     "/Library/OFX/Plugins 32/Glow32.ofx: glow ofx 32", shared("engine.dat: engine"),
                     shared("Tool.app 0755: tool"), shared("Presets/soft.preset: soft"),
                     "/Applications/Vorlane Tool.app -> /Library/Application Support/Vorlane/Tool.app",
                     "/Users/anna/Movies/Vorlane/clip.mov: clip", record(), uninstaller(suite())});
    ExpectTree(expected);
}

TEST_F(FiveHosts, RecordCountsEveryPathOfTheTree) {
    EndToEndTest::Install(suite());
    ExpectCounts({"product SUITE, Vorlane Suite, 2.0.0.500",
                  "VorlaneFX 1",
                  "VorlaneFX/engine.dat 1, 2.0.0.500",
                  "VorlaneFX/Tool.app 1, 2.0.0.500, shortcut Vorlane Tool.app in /Applications",
                  "VorlaneFX/Presets 1",
                  "Content 1",
                  "Content/clip.mov 1, 2.0.0.500",
                  "Hosts 1",
                  "Hosts/Final Cut Pro X32 1",
                  "Hosts/Final Cut Pro X32/Blur 1",
                  "Hosts/Final Cut Pro X32/Blur/Blur32.fxp 1, 2.0.0.500",
                  "Hosts/Media Composer32 1",
                  "Hosts/Media Composer32/Glow 1",
                  "Hosts/Media Composer32/Glow/Glow32.avx 1, 2.0.0.500",
                  "Hosts/Final Cut Pro X 1",
                  "Hosts/Final Cut Pro X/Blur 1",
                  "Hosts/Final Cut Pro X/Blur/Blur.fxp 1, 2.0.0.500",
                  "Hosts/Media Composer 1",
                  "Hosts/Media Composer/Blur 1",
                  "Hosts/Media Composer/Blur/Blur.avx 1, 2.0.0.500",
                  "Hosts/Premiere Pro32 1",
                  "Hosts/Premiere Pro32/Blur 1",
                  "Hosts/Premiere Pro32/Blur/Blur32.plugin 1, 2.0.0.500",
                  "Hosts/Premiere Pro 1",
                  "Hosts/Premiere Pro/Blur 1",
                  "Hosts/Premiere Pro/Blur/Blur.plugin 1, 2.0.0.500",
                  "Hosts/Premiere Pro/Glow 1",
                  "Hosts/Premiere Pro/Glow/Glow.plugin 1, 2.0.0.500",
                  "Hosts/OpenFX32 1",
                  "Hosts/OpenFX32/Glow 1",
                  "Hosts/OpenFX32/Glow/Glow32.ofx 1, 2.0.0.500",
                  "Hosts/Edius32 1",
                  "Hosts/Edius32/Glow 1",
                  "Hosts/Edius32/Glow/Glow32.dll 1, 2.0.0.500",
                  "Hosts/OpenFX 1",
                  "Hosts/OpenFX/Glow 1",
                  "Hosts/OpenFX/Glow/Glow.ofx.bundle 1, 2.0.0.500",
                  "Hosts/Edius 1",
                  "Hosts/Edius/Glow 1",
                  "Hosts/Edius/Glow/Glow.dll 1, 2.0.0.500"});
}

TEST_F(FiveHosts, DebugLogHasEveryCopyInItsOrder) {
    const auto copied = [](const std::string& source, const std::string& destination) {
        return "DEBUG: Copy '/Volumes/Installer/SUITE/files/" + source + "' to '" + destination + "'";
    };
    const ProgramResult result = EndToEndTest::Install(suite(), {"-v"});
    ExpectLog(result,
              {checking,
               copied("Hosts/Final Cut Pro X32/Blur/Blur32.fxp", "/Users/anna/Movies/Motion 32/Blur32.fxp"),
               copied("Hosts/Final Cut Pro X/Blur/Blur.fxp", "/Users/anna/Movies/Motion/Blur/Blur.fxp"),
               copied("Hosts/Media Composer/Blur/Blur.avx", "/Library/Avid/Blur.avx"),
               copied("Hosts/Premiere Pro32/Blur/Blur32.plugin", "/Library/Adobe/32/Blur/Blur32.plugin"),
               copied("Hosts/Premiere Pro/Blur/Blur.plugin", "/Library/Adobe/Blur/Blur.plugin"),
               copied("Hosts/Premiere Pro/Glow/Glow.plugin", "/Library/Adobe/Glow/Glow.plugin"),
               copied("Hosts/OpenFX32/Glow/Glow32.ofx", "/Library/OFX/Plugins 32/Glow32.ofx"),
               copied("Hosts/Edius32/Glow/Glow32.dll", "/Library/Edius 32/Glow32.dll"),
               copied("Hosts/OpenFX/Glow/Glow.ofx.bundle", "/Library/OFX/Plugins/Glow.ofx.bundle"),
               copied("Hosts/Edius/Glow/Glow.dll", "/Library/Edius/Glow.dll"),
               copied("VorlaneFX/engine.dat", shared("engine.dat")),
               copied("VorlaneFX/Tool.app", shared("Tool.app")),
               copied("VorlaneFX/Presets", shared("Presets")),
               copied("Content/clip.mov", "/Users/anna/Movies/Vorlane/clip.mov")});
}

TEST_F(FiveHosts, UninstallTakesAllOfItAway) {
    EndToEndTest::Install(suite());
    const ProgramResult result = Uninstall(suite());
    ExpectSuccess(result);
    ExpectLog(
        result,
        {cannotRemove(shared("engine.dat")), cannotRemove(shared("Tool.app")),
         cannotRemove("/Users/anna/Movies/Motion 32/Blur32.fxp"), cannotRemove("Glow32.avx"),
         cannotRemove("/Users/anna/Movies/Motion/Blur/Blur.fxp"), cannotRemove("/Library/Avid/Blur.avx"),
         cannotRemove("/Library/Adobe/32/Blur/Blur32.plugin"),
         cannotRemove("/Library/Adobe/Blur/Blur.plugin"), cannotRemove("/Library/Adobe/Glow/Glow.plugin"),
         cannotRemove("/Library/OFX/Plugins 32/Glow32.ofx"), cannotRemove("/Library/Edius 32/Glow32.dll"),
         cannotRemove("/Library/Edius/Glow.dll"), cannotRemove("/Users/anna/Movies/Vorlane/clip.mov")});
    // Folders of the family's own go; those of others, though the install made them, stay. So does the one
    // with the record, which is not empty before the walk is over.
    Lines expected = others();
    expected.insert(expected.end(),
                    {emptyStatusFolder, "/Library/Adobe/Blur/", "/Library/Adobe/Glow/",
                     "/Library/Adobe/32/Blur/", "/Library/Avid/", "/Library/Edius/", "/Library/Edius 32/",
                     "/Library/OFX/Plugins/", "/Library/OFX/Plugins 32/", "/Users/anna/Movies/Motion/Blur/",
                     "/Users/anna/Movies/Motion 32/"});
    ExpectTree(expected);
}

// The install run

TEST_F(Install, RecordIsWrittenAsItIsDefined) {
    EndToEndTest::Install(product().file("VorlaneFX/a & b", "A").shortCut("VorlaneFX/a & b", "Tool"));
    EXPECT_EQ(root().read(shared("InstallationStatusFile.xml")), R"(<install>
    <products>
        <sku ID="ALPHA" name="Alpha" build="1.0.0.100" />
    </products>
    <installFiles>
        <directory fileName="VorlaneFX" ref="1">
            <file fileName="a &amp; b" ref="1" build="1.0.0.100">
                <shortCut name="Tool" dir="/Applications" />
            </file>
        </directory>
    </installFiles>
</install>
)");
}

TEST_F(Install, MissingSourceFolderFails) {
    place(product().file("VorlaneFX/a", "A"));
    const ProgramResult result =
        root().run({PrivateRoot::program, "/missing", "/Volumes/Installer/ALPHA/sku.xml",
                    "/Volumes/Installer/ALPHA/target_path.xml"});
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {"Error: Error! Source dir '/missing' is empty", "", "Error! Failed to prepare"});
    ExpectTree({});
}

TEST_F(Install, MissingDefinitionFails) {
    place(product().file("VorlaneFX/a", "A"));
    const ProgramResult result = root().run({PrivateRoot::program, "/Volumes/Installer/ALPHA/files",
                                             "/missing.xml", "/Volumes/Installer/ALPHA/target_path.xml"});
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {"Error: Error! Source dir '/missing.xml' is empty", "", "Error! Failed to prepare"});
    ExpectTree({});
}

TEST_F(Install, MissingOrMalformedTargetPathsFail) {
    const ProductBuilder alpha = product().file("VorlaneFX/a", "A");
    place(alpha);
    ProgramResult result = root().run({PrivateRoot::program, "/Volumes/Installer/ALPHA/files",
                                       "/Volumes/Installer/ALPHA/sku.xml", "/none"});
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {"Error: Error! File with target not found", "",
                       "Error: Can't find node <root> in target paths XML.", "Error! Failed to prepare"});
    result = EndToEndTest::Install(ProductBuilder(alpha).targetsText("<root"));
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {"Error: Can't find node <root> in target paths XML.", "Error! Failed to prepare"});
    ExpectTree({});
}

TEST_F(Install, FileOfTheTreeThatIsMissingOnDiskFailsAndNothingIsCopied) {
    const ProgramResult result =
        EndToEndTest::Install(product().file("VorlaneFX/there", "A").listedFile("VorlaneFX/gone"));
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {checking, "Error! File '/Volumes/Installer/ALPHA/files/VorlaneFX/gone' not found",
                       "Error! File checking is failed"});
    ExpectTree({});
}

TEST_F(Install, MalformedDefinitionInstallsNothingAndSucceeds) {
    const ProgramResult result = EndToEndTest::Install(product().definitionText("<product><sku ID='ALPHA'"));
    ExpectSuccess(result);
    ExpectLog(result,
              {checking, recordNotSaved("No such file or directory"), "Error: Wrong/corrupted SKU XML"});
    ExpectTree({});
}

TEST_F(Install, ProductWithoutNameIsInstalledWithoutUninstaller) {
    const ProgramResult result = EndToEndTest::Install(product("ALPHA", "").file("VorlaneFX/a", "A"));
    ExpectSuccess(result);
    ExpectLog(result, {checking, "Error: Wrong/corrupted SKU XML"});
    ExpectTree({shared("a: A"), record()});
}

TEST_F(Install, WithoutTargetForSharedFilesNothingIsRecorded) {
    const ProductBuilder alpha = ProductBuilder("ALPHA", "Alpha")
                                     .family("Blur")
                                     .unlistedFile("VorlaneFX/u", "")
                                     .file("Hosts/Edius/Blur/a", "A")
                                     .target("Hosts/Edius", "/Library/Edius");
    ExpectSuccess(EndToEndTest::Install(alpha));
    ExpectTree({"/Library/Edius/a: A", uninstaller(alpha)});
    const ProgramResult result = Uninstall(alpha);
    ExpectSuccess(result);
    ExpectLog(result, {});
    ExpectTree({"/Library/Edius/a: A"});
}

TEST_F(Install, NamesMayHoldBlanksQuotesAmpersandsPercentSignsAndUtf8) {
    const std::string name = "it's 100% a & b \303\274\342\202\254%s %n";
    const ProductBuilder alpha = product("L'ID & 5%", name)
                                     .file("VorlaneFX/" + name + "/" + name, name)
                                     .target("VorlaneFX", "/Library/" + name)
                                     .shortCut("VorlaneFX/" + name + "/" + name, name);
    ProgramResult result = EndToEndTest::Install(alpha, {"-v"});
    ExpectSuccess(result);
    const std::string source = folderOf(alpha) + "/files/VorlaneFX/" + name + "/" + name;
    const std::string first = shared(name + "/" + name);
    const std::string second = "/Library/" + name + "/" + name + "/" + name;
    ExpectLog(result, {checking, "DEBUG: Copy '" + source + "' to '" + first + "'",
                       "DEBUG: Copy '" + source + "' to '" + second + "'"});
    ExpectTree({first + ": " + name, second + ": " + name, "/Applications/" + name + " -> " + second,
                record(), uninstaller(alpha)});
    ExpectCounts(
        {"product L'ID & 5%, " + name + ", 1.0.0.100", "VorlaneFX 1", "VorlaneFX/" + name + " 1",
         "VorlaneFX/" + name + "/" + name + " 1, 1.0.0.100, shortcut " + name + " in /Applications"});
    result = OpenUninstaller(alpha);
    ExpectSuccess(result);
    ExpectLog(result, {cannotRemove(first), cannotRemove(second)});
    ExpectTree({"/Library/" + name + "/", emptyStatusFolder});
}

// Several products

TEST_F(Install, SharedFileStaysUntilTheLastProductLeaves) {
    const ProductBuilder alpha = product().file("VorlaneFX/shared", "old").file("VorlaneFX/alpha", "A");
    const ProductBuilder beta = product("BETA", "Beta")
                                    .build("1.0.0.200")
                                    .file("VorlaneFX/shared", "new")
                                    .file("VorlaneFX/beta", "B");
    EndToEndTest::Install(alpha);
    EndToEndTest::Install(beta);
    ExpectTree({shared("shared: new"), shared("alpha: A"), shared("beta: B"), record(), uninstaller(alpha),
                uninstaller(beta)});
    ExpectCounts({"product ALPHA, Alpha, 1.0.0.100", "product BETA, Beta, 1.0.0.200", "VorlaneFX 2",
                  "VorlaneFX/shared 2, 1.0.0.200", "VorlaneFX/alpha 1, 1.0.0.100",
                  "VorlaneFX/beta 1, 1.0.0.200"});
    ProgramResult result = Uninstall(beta);
    ExpectLog(result, {cannotRemove(shared("beta"))});
    ExpectTree({shared("shared: new"), shared("alpha: A"), record(), uninstaller(alpha)});
    ExpectCounts({"product ALPHA, Alpha, 1.0.0.100", "VorlaneFX 1", "VorlaneFX/shared 1, 1.0.0.200",
                  "VorlaneFX/alpha 1, 1.0.0.100"});
    result = Uninstall(alpha);
    ExpectLog(result, {cannotRemove(shared("shared")), cannotRemove(shared("alpha"))});
    ExpectTree({emptyStatusFolder});
}

TEST_F(Install, ReinstallKeepsTheCountsAndReplacesFilesAndUninstaller) {
    EndToEndTest::Install(product().file("VorlaneFX/a", "first"));
    root().write(uninstallerOf(product()) + "/Contents/stranger", "gone after the next install");
    const ProductBuilder newer = product().build("1.0.0.101").file("VorlaneFX/a", "second");
    ExpectSuccess(EndToEndTest::Install(newer));
    ExpectTree({shared("a: second"), record(), uninstaller(newer)});
    ExpectCounts({"product ALPHA, Alpha, 1.0.0.101", "VorlaneFX 1", "VorlaneFX/a 1, 1.0.0.101"});
}

TEST_F(Install, DowngradeIsRefusedUnlessTheFileAllowsIt) {
    EndToEndTest::Install(
        product().build("1.0.0.500").file("VorlaneFX/firm", "500").file("VorlaneFX/free", "500"));
    const ProgramResult result =
        EndToEndTest::Install(product("BETA", "Beta")
                                  .build("1.0.0.400")
                                  .file("VorlaneFX/firm", "400")
                                  .file("VorlaneFX/free", "400", {{"allowdowngrade", "1"}}),
                              {"-v"});
    ExpectLog(result,
              {checking, "DEBUG: Skipped file: " + shared("firm"),
               "DEBUG: Copy '/Volumes/Installer/BETA/files/VorlaneFX/free' to '" + shared("free") + "'"});
    EXPECT_EQ(root().read(shared("firm")), "500");
    EXPECT_EQ(root().read(shared("free")), "400");
    ExpectCounts({"product ALPHA, Alpha, 1.0.0.500", "product BETA, Beta, 1.0.0.400", "VorlaneFX 2",
                  "VorlaneFX/firm 2, 1.0.0.500", "VorlaneFX/free 2, 1.0.0.400"});
}

TEST_F(Install, FileHeldByTheRecordButMissingOnDiskIsCopiedAgain) {
    const ProductBuilder newer = product().build("1.0.0.500").file("VorlaneFX/a", "500");
    EndToEndTest::Install(newer);
    root().remove(shared("a"));
    const ProductBuilder older = product("BETA", "Beta").build("1.0.0.400").file("VorlaneFX/a", "400");
    EndToEndTest::Install(older);
    EXPECT_EQ(root().read(shared("a")), "400");
    root().remove(shared("a"));
    Uninstall(newer);
    ExpectLog(Uninstall(older), {cannotRemove(shared("a"))});
    ExpectTree({emptyStatusFolder});
}

TEST_F(Install, FilesMarkedToStaySurviveTheLastUninstall) {
    const ProductBuilder alpha = product()
                                     .file("VorlaneFX/licence", "L", {{"dontdelete", "1"}})
                                     .file("VorlaneFX/d/in", "I")
                                     .folder("VorlaneFX/d", {{"dontdelete", "1"}})
                                     .file("VorlaneFX/a", "A");
    EndToEndTest::Install(alpha);
    ExpectLog(Uninstall(alpha), {cannotRemove(shared("a"))});
    ExpectTree({shared("licence: L"), shared("d/in: I")});
}

TEST_F(Install, FailuresThatMayBeIgnoredAreWarningsAndAskNobody) {
    root().write("/Library/Blocked", "in the way");
    const ProductBuilder alpha = product()
                                     .file("Content/a", "A", {{"ignoreinstallerrors", "1"}})
                                     .target("Content", "/Library/Blocked");
    const ProgramResult result = EndToEndTest::Install(alpha);
    ExpectSuccess(result);
    ExpectLog(result,
              {checking,
               "Warning: Failed to copy '/Volumes/Installer/ALPHA/files/Content/a' to '/Library/Blocked/a'",
               recordNotSaved("No such file or directory")});
    ExpectTree({"/Library/Blocked: in the way", uninstaller(alpha)});
}

// Alerts

namespace {

class BlockedInstall : public Install {
protected:
    static constexpr const char* prompt = "[R]etry or [C]ancel: ";

    void SetUp() override {
        Install::SetUp();
        if (!IsSkipped()) {
            root().write("/Library/Blocked", "in the way");
            place(blocked());
        }
    }

    static ProductBuilder blocked() {
        return product()
            .file("VorlaneFX/a", "A")
            .file("Hosts/Edius/Blur/b", "B")
            .target("Hosts/Edius", "/Library/Blocked/%FAMILY%");
    }

    ProgramResult installInTerminal(const std::vector<PrivateRoot::Answer>& answers) {
        return root().runInTerminal(installCommand(blocked()), answers, Options());
    }

    /// What the program itself says in the terminal, without what the tools complain about.
    static Lines ownLines(ProgramResult result) {
        std::string& output = result.standardOutput;
        for (const char* tool : {"mkdir: ", "cp: "}) {
            for (std::size_t begin = output.find(tool); begin != std::string::npos;
                 begin = output.find(tool)) {
                output.erase(begin, output.find('\n', begin) + 1 - begin);
            }
        }
        return logLines(result);
    }

    const std::string failed = "Error: Failed to copy '/Volumes/Installer/ALPHA/files/Hosts/Edius/Blur/b' to "
                               "'/Library/Blocked/Blur/b'";
    const std::string question =
        "Sorry, installation of files is blocked by 'Grass Valley EDIUS'. Please close 'Grass "
        "Valley EDIUS' and press 'Retry' to try again or 'Cancel' to continue (some files may "
        "not be updated).";
};

} // namespace

TEST_F(BlockedInstall, RetrySucceedsOnceTheWayIsClear) {
    const ProgramResult result = installInTerminal(
        {{prompt, "r\n", {}}, {prompt, "Retry\n", [this] { root().remove("/Library/Blocked"); }}});
    ExpectSuccess(result);
    EXPECT_EQ(ownLines(result), (Lines{checking, failed, "Installation warning", question, prompt + failed,
                                       "Installation warning", question, prompt}));
    ExpectTree({"/Library/Blocked/Blur/b: B", shared("a: A"), record(), uninstaller(blocked())});
}

TEST_F(BlockedInstall, CancelGoesOnWithoutTheFiles) {
    const ProgramResult result = installInTerminal({{prompt, "c\n", {}}});
    ExpectSuccess(result);
    ExpectTree({"/Library/Blocked: in the way", shared("a: A"), record(), uninstaller(blocked())});
}

TEST_F(BlockedInstall, EndOfInputIsCancel) {
    const ProgramResult result = installInTerminal({{prompt, "\x04", {}}});
    ExpectSuccess(result);
    EXPECT_FALSE(result.bTimedOut);
    ExpectTree({"/Library/Blocked: in the way", shared("a: A"), record(), uninstaller(blocked())});
}

TEST_F(BlockedInstall, WithoutTerminalNobodyIsAskedAndTheRunGoesOn) {
    const ProgramResult result = EndToEndTest::Install(blocked());
    ExpectSuccess(result);
    ExpectLog(result, {checking, failed, "Warning: Installation warning: " + question, failed});
    ExpectTree({"/Library/Blocked: in the way", shared("a: A"), record(), uninstaller(blocked())});
}

// Families with resources to register

namespace {

class LettrixFamilies : public Install {
protected:
    /// Lets every shell remember what it was started for, in /tmp/shells.
    void watchShells() {
        ExpectSuccess(root().run({"mv", "/bin/sh", "/bin/real-sh"}));
        root().write("/bin/sh", "#!/bin/real-sh\necho \"$*\" >>/tmp/shells\nexec /bin/real-sh \"$@\"\n",
                     0755);
    }
    /// Installs the placed product from a source folder that is missing, so that preparation fails. What the
    /// shells were started for, and what the run said, in their order.
    Lines installFromNowhere() {
        ProgramResult result = root().run(
            {"/bin/real-sh", "-c", "exec \"$@\" >>/tmp/shells", "sh", PrivateRoot::program, "/missing",
             "/Volumes/Installer/ALPHA/sku.xml", "/Volumes/Installer/ALPHA/target_path.xml"});
        EXPECT_EQ(result.exitStatus, 1);
        result.standardOutput = root().read("/tmp/shells");
        root().remove("/tmp/shells");
        return logLines(result);
    }

    const Lines preparationFails{"Error: Error! Source dir '/missing' is empty", "",
                                 "Error! Failed to prepare"};
    const Lines lookedUpFirst{"-c eval echo $HOME", "-c eval echo '~anna'",
                              "Error: Error! Source dir '/missing' is empty", "", "Error! Failed to prepare"};
};

} // namespace

TEST_F(LettrixFamilies, AreRegisteredOnceBeforePreparationInAnyCase) {
    watchShells();
    for (const char* family : {"Lettrix", "LETTRIX", "LettrixLive", "lettrixlive"}) {
        place(ProductBuilder("ALPHA", "Alpha").family("Blur").family(family));
        EXPECT_EQ(installFromNowhere(), lookedUpFirst) << family;
    }
    place(ProductBuilder("ALPHA", "Alpha").family("Lettrix").family("LettrixLive"));
    EXPECT_EQ(installFromNowhere(), lookedUpFirst) << "once for both";
}

TEST_F(LettrixFamilies, OtherFamiliesRegisterNothing) {
    watchShells();
    place(product().family("Lettrix Pro").family("Lettrix", {}));
    EXPECT_EQ(installFromNowhere(), preparationFails);
}

// Large products

// In a full run five thousand files, whose shell commands alone take minutes.
TEST_F(Install, ManyFilesInManyFoldersComeAndGo) {
    const std::size_t folders = isFullRun() ? 500 : 15;
    const std::size_t files = folders * 10;
    ProductBuilder large = product();
    for (std::size_t folder = 0; folder < folders; ++folder) {
        for (int file = 0; file < 10; ++file) {
            large.file("VorlaneFX/folder " + std::to_string(folder) + "/file " + std::to_string(file),
                       "content");
        }
    }
    Options options;
    options.timeout = std::chrono::minutes(4);
    ExpectSuccess(EndToEndTest::Install(large, {}, options));
    EXPECT_EQ(root().tree(statusFolder).size(), files + 1);
    EXPECT_EQ(counts().size(), 1 + 1 + folders + files);
    const ProgramResult result = Uninstall(large, {}, options);
    ExpectSuccess(result);
    EXPECT_EQ(logLines(result).size(), files);
    ExpectTree({emptyStatusFolder});
}
