// Examples/packaging/preinstall and postinstall, run as an installer package runs them over an installed
// build.

#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/HostileCaller.h"
#include "Tests/Support/Sources.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using testing::Contains;

namespace {

class PackageUpdate : public EndToEndTest {
protected:
    void SetUp() override {
        EndToEndTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        for (const char* tool :
             {"/bin/bash", "/usr/bin/xmllint", "/usr/bin/xargs", "/bin/grep", "/bin/sed"}) {
            if (!fs::exists(tool)) {
                GTEST_SKIP() << "there is no " << tool;
            }
            root().add(tool, "/bin/" + fs::path(tool).filename().string());
        }
        setHome("/Users/anna");
        root().makeFolder(inScripts("product"));
        fs::copy(root().outside(PrivateRoot::bundle), root().outside(inScripts("InstallUtility.app")),
                 fs::copy_options::recursive);
        for (const char* script : {"preinstall", "postinstall"}) {
            fs::copy(inSources("Examples/packaging/" + std::string(script)),
                     root().outside(inScripts(script)));
        }
    }

    static std::string inScripts(const std::string& name) { return "/tmp/Package of anna/Scripts/" + name; }
    static ProductBuilder productOf(const std::string& id, const std::string& build) {
        ProductBuilder product(id, "Product " + id);
        product.build("1.0.0." + build)
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .file("VorlaneFX/shared", "shared " + build);
        return product;
    }
    /// The build that customers have, and another one that drops, moves and renames its files.
    static ProductBuilder oldBuild() {
        ProductBuilder product = productOf("ALPHA", "10");
        product.file("VorlaneFX/dropped", "old")
            .shortCut("VorlaneFX/dropped", "Vorlane Dropped")
            .file("VorlaneFX/moved", "old")
            .file("VorlaneFX/kind", "old")
            .file("VorlaneFX/kept", "old", {{"dontdelete", "1"}});
        return product;
    }
    static ProductBuilder newBuild() {
        ProductBuilder product = productOf("ALPHA", "11");
        product.file("VorlaneFX/here now/moved", "new").file("VorlaneFX/kind/inside", "new");
        return product;
    }
    static ProductBuilder sharedPackage() {
        ProductBuilder product("COMMON", "Common");
        product.build("1.0.0.1").target("VorlaneFX", statusFolder).file("VorlaneFX/Common/tool", "tool");
        product.listedFile("VorlaneFX/SKU/COMMON.xml");
        product.unlistedFile("VorlaneFX/SKU/COMMON.xml", product.definition());
        return product;
    }

    /// What the directory service says about anna, and about nobody else.
    void setHome(const std::string& home) {
        root().write("/bin/dscl",
                     "#!/bin/sh\n[ \"$*\" = '/Search -read /Users/anna NFSHomeDirectory' ] || exit 56\n"
                     "echo 'NFSHomeDirectory: " +
                         home + "'\n",
                     0755);
    }
    void pack(const ProductBuilder& product) { product.writeTo(root().outside(inScripts("product"))); }
    ProgramResult script(const std::string& name,
                         const HostileCaller::Variables& variables = {{"USER", "anna"}},
                         const std::string& volume = "/") {
        Options options;
        options.environment = variables;
        options.environment.insert({"HOME", "/var/root"});
        return root().runUnwatched({inScripts(name), "/tmp/a.pkg", "/", volume, "/"}, options);
    }
    void update() {
        ExpectSuccess(script("preinstall"));
        ExpectSuccess(script("postinstall"));
    }
    bool isThere(const std::string& name) { return root().exists(shared(name)); }
    Lines uninstallers() {
        Lines names;
        for (const auto& entry :
             fs::directory_iterator(root().outside("/Applications/Vorlane Uninstallers"))) {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    /// Beside what the two builds share.
    void expectNewBuild() {
        EXPECT_FALSE(isThere("dropped"));
        EXPECT_FALSE(isThere("moved"));
        EXPECT_FALSE(root().exists("/Applications/Vorlane Dropped"));
        EXPECT_EQ(root().read(shared("here now/moved")), "new");
        EXPECT_EQ(root().read(shared("kind/inside")), "new");
        EXPECT_EQ(root().read(shared("shared")), "shared 11");
        EXPECT_EQ(root().read(shared("kept")), "old");
    }
};

} // namespace

TEST_F(PackageUpdate, LeavesOfTheOldBuildOnlyWhatIsToStay) {
    ExpectSuccess(Install(oldBuild()));
    pack(newBuild());
    update();
    expectNewBuild();
    ExpectCounts({"product ALPHA, Product ALPHA, 1.0.0.11", "VorlaneFX 1", "VorlaneFX/here now 1",
                  "VorlaneFX/here now/moved 1, 1.0.0.11", "VorlaneFX/shared 1, 1.0.0.11", "VorlaneFX/kind 1",
                  "VorlaneFX/kind/inside 1, 1.0.0.11"});
    EXPECT_EQ(uninstallers(), (Lines{"Uninstall Product ALPHA.app"}));
}

TEST_F(PackageUpdate, WhatOtherProductsShareStays) {
    ProductBuilder other = productOf("BETA", "9");
    other.file("VorlaneFX/dropped", "from beta");
    ExpectSuccess(Install(oldBuild()));
    ExpectSuccess(Install(other));
    pack(newBuild());
    ExpectSuccess(script("preinstall"));
    EXPECT_EQ(root().read(shared("dropped")), "old"); // the record has the newer build of it
    EXPECT_TRUE(isThere("shared"));
    ExpectSuccess(script("postinstall"));
    EXPECT_TRUE(isThere("dropped"));
    EXPECT_THAT(counts(), Contains("VorlaneFX/shared 2, 1.0.0.11"));
    EXPECT_THAT(counts(),
                Contains("VorlaneFX/dropped 1, 1.0.0.10, shortcut Vorlane Dropped in /Applications"));
    EXPECT_EQ(uninstallers(), (Lines{"Uninstall Product ALPHA.app", "Uninstall Product BETA.app"}));
}

TEST_F(PackageUpdate, SharedPackageStaysWhenTheProductIsTheLast) {
    ExpectSuccess(Install(sharedPackage()));
    ExpectSuccess(Install(oldBuild()));
    pack(newBuild());
    ExpectSuccess(script("preinstall"));
    EXPECT_TRUE(isThere("Common/tool"));
    EXPECT_FALSE(isThere("shared"));
    ExpectSuccess(script("postinstall"));
    expectNewBuild();
    EXPECT_EQ(root().read(shared("Common/tool")), "tool");
    EXPECT_EQ(root().read(shared("SKU/COMMON.xml")), sharedPackage().definition());
    EXPECT_THAT(counts(), Contains("VorlaneFX/Common/tool 1, 1.0.0.1"));
    // It still goes with the last product.
    ExpectSuccess(Uninstall(newBuild()));
    EXPECT_FALSE(isThere("Common"));
    EXPECT_FALSE(isThere("InstallationStatusFile.xml"));
}

TEST_F(PackageUpdate, FirstInstallIsOneAsWithoutTheScript) {
    pack(newBuild());
    const Lines before = root().tree();
    ExpectSuccess(script("preinstall"));
    EXPECT_EQ(FileTree::difference(before, root().tree()), "");
    ExpectSuccess(script("postinstall"));
    EXPECT_EQ(uninstallers(), (Lines{"Uninstall Product ALPHA.app"}));
}

TEST_F(PackageUpdate, FindsTheInstalledBuildUnderAnyName) {
    ExpectSuccess(Install(oldBuild()));
    pack(newBuild().name("Another <name> &lt; more"));
    ExpectSuccess(script("preinstall"));
    EXPECT_EQ(uninstallers(), (Lines{"Uninstall Another <name> &lt; more (update).app"}));
    ExpectSuccess(script("postinstall"));
    expectNewBuild();
    EXPECT_EQ(uninstallers(), (Lines{"Uninstall Another <name> &lt; more.app"}));
}

TEST_F(PackageUpdate, SharedPackageStaysWhereTheRecordsFolderHasTheNameOfAFamily) {
    const auto build = [](const std::string& id, const std::string& number) {
        ProductBuilder product(id, "Product " + id);
        return product.build("1.0.0." + number)
            .family("Blur")
            .target("VorlaneFX", "/Library/Vorlane/%FAMILY%");
    };
    ExpectSuccess(Install(build("COMMON", "1").file("VorlaneFX/tool", "tool")));
    ExpectSuccess(Install(build("ALPHA", "10").file("VorlaneFX/old", "old")));
    pack(build("ALPHA", "11").file("VorlaneFX/new", "new"));
    update();
    EXPECT_FALSE(root().exists("/Library/Vorlane/Blur/old"));
    EXPECT_EQ(counts("/Library/Vorlane/Blur"),
              (Lines{"product COMMON, Product COMMON, 1.0.0.1", "product ALPHA, Product ALPHA, 1.0.0.11",
                     "VorlaneFX 2", "VorlaneFX/tool 1, 1.0.0.1", "VorlaneFX/new 1, 1.0.0.11"}));
}

TEST_F(PackageUpdate, TakesTheNewestOfTwoUninstallers) {
    ExpectSuccess(Install(oldBuild()));
    ProductBuilder second = productOf("ALPHA", "10");
    second.name("A Second Name").file("VorlaneFX/only in the second", "old");
    ExpectSuccess(Install(second)); // without the script, so that the first uninstaller stays
    ASSERT_EQ(uninstallers().size(), 2U);
    for (const auto& [uninstaller, hours] :
         {std::pair("Uninstall Product ALPHA.app", 2), {"Uninstall A Second Name.app", 1}}) {
        fs::last_write_time(
            root().outside(std::string("/Applications/Vorlane Uninstallers/") + uninstaller + "/Contents"),
            fs::file_time_type::clock::now() - std::chrono::hours(hours));
    }
    pack(newBuild());
    update();
    EXPECT_FALSE(isThere("only in the second"));
    EXPECT_EQ(uninstallers(), (Lines{"Uninstall Product ALPHA.app"}));
}

TEST_F(PackageUpdate, TakesAProductAwayThatHadAnotherId) {
    ExpectSuccess(Install(oldBuild()));
    ExpectSuccess(Install(productOf("OTHER", "10")));
    ProductBuilder renamed = productOf("ALPHA2", "11");
    pack(renamed);
    root().write(inScripts("product/replaces"), "ALPHA1\nALPHA\n");
    update();
    EXPECT_FALSE(isThere("dropped"));
    EXPECT_EQ(uninstallers(), (Lines{"Uninstall Product ALPHA2.app", "Uninstall Product OTHER.app"}));
}

TEST_F(PackageUpdate, PackageThatWasStoppedIsStartedAgain) {
    ExpectSuccess(Install(sharedPackage()));
    ExpectSuccess(Install(oldBuild()));
    pack(newBuild());
    ExpectSuccess(script("preinstall"));
    root().remove(inScripts("stand-in")); // the installer unpacks the scripts anew
    update();
    expectNewBuild();
    EXPECT_TRUE(isThere("Common/tool"));
    EXPECT_EQ(uninstallers(), (Lines{"Uninstall Product ALPHA.app"}));
    EXPECT_EQ(counts()[1], "product ALPHA, Product ALPHA, 1.0.0.11");
}

TEST_F(PackageUpdate, FailedInstallKeepsTheSharedPackage) {
    ExpectSuccess(Install(sharedPackage()));
    ExpectSuccess(Install(oldBuild()));
    pack(newBuild());
    root().remove(inScripts("product/files/VorlaneFX/shared"));
    ExpectSuccess(script("preinstall"));
    EXPECT_EQ(script("postinstall").exitStatus, 1);
    EXPECT_TRUE(isThere("Common/tool"));
}

TEST_F(PackageUpdate, TakesTheOldBuildAwayInTheHomeFolderThatTheDirectoryServiceKnows) {
    const auto withNote = [](ProductBuilder product) {
        product.target("VorlaneFX/Notes", "/Users/%USER%/Notes").file("VorlaneFX/Notes/note", "n");
        return product;
    };
    setHome("/Users/anna.other");
    Options options;
    options.environment["HOME"] = "/Users/anna.other";
    ExpectSuccess(Install(withNote(oldBuild()), {}, options));
    ASSERT_TRUE(root().exists("/Users/anna.other/Notes/note"));
    pack(newBuild());
    ExpectSuccess(script("preinstall"));
    EXPECT_FALSE(root().exists("/Users/anna.other/Notes/note"));
}

TEST_F(PackageUpdate, UserWithoutAKnownHomeFolderIsAnErrorBeforeAnythingIsTakenAway) {
    ExpectSuccess(Install(oldBuild()));
    pack(newBuild());
    const ProgramResult result = script("preinstall", {{"USER", "bert"}});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "Error: the home folder of 'bert' is not known\n");
    EXPECT_TRUE(isThere("dropped"));
}

TEST_F(PackageUpdate, RefusesAnotherVolume) {
    ExpectSuccess(Install(oldBuild()));
    pack(newBuild());
    const ProgramResult result = script("preinstall", {{"USER", "anna"}}, "/Volumes/Other");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "Error: this product can be installed on the startup volume only\n");
    EXPECT_TRUE(isThere("dropped"));
}

TEST_F(PackageUpdate, NothingOfTheCallersRuns) {
    ExpectSuccess(Install(oldBuild()));
    pack(newBuild());
    root().add("/bin/bash", "/bin/sh"); // as on macOS
    const HostileCaller caller(root());
    HostileCaller::Variables variables{{"USER", "anna"}};
    variables.merge(HostileCaller::tools());
    variables.merge(HostileCaller::startFile());
    variables.merge(HostileCaller::functions());
    ExpectSuccess(script("preinstall", variables));
    EXPECT_FALSE(caller.hasRun());
    EXPECT_FALSE(isThere("dropped"));
}
