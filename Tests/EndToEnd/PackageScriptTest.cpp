// Examples/packaging/postinstall, run as an installer package runs it.

#include "Tests/Support/EndToEndTest.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

namespace {

class PackageScript : public EndToEndTest {
protected:
    void SetUp() override {
        EndToEndTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (!fs::exists("/bin/bash")) {
            GTEST_SKIP() << "there is no /bin/bash";
        }
        root().add("/bin/bash", "/bin/bash");
        product.target("VorlaneFX", statusFolder)
            .target("VorlaneFX/Presets", "/Users/%USER%/Documents")
            .file("VorlaneFX/file", "text")
            .file("VorlaneFX/Presets/preset", "text");
        product.writeTo(root().outside(inScripts("product")));
        fs::copy(root().outside(PrivateRoot::bundle), root().outside(inScripts("InstallUtility.app")),
                 fs::copy_options::recursive);
        fs::copy(EXAMPLES_FOLDER "/packaging/postinstall", root().outside(inScripts("postinstall")));
        setConsoleUser("root");
    }

    static std::string inScripts(const std::string& name) { return "/tmp/Package of anna/Scripts/" + name; }
    /// Who has logged in, as the tool of macOS tells it. The machine's own tool is not written to.
    void setConsoleUser(const std::string& user) {
        root().remove("/bin/stat");
        root().write("/bin/stat", "#!/bin/sh\n[ \"$*\" = '-f %Su /dev/console' ] && echo " + user + "\n",
                     0755);
    }

    /// What the installer passes: package, target folder, target volume, startup root.
    static std::vector<std::string> command(const std::string& volume) {
        return {inScripts("postinstall"), "/tmp/a.pkg", "/", volume, "/"};
    }
    ProgramResult run(const std::map<std::string, std::string>& environment,
                      const std::string& volume = "/") {
        Options options;
        options.environment = environment;
        options.environment.insert({"HOME", "/var/root"});
        return root().run(command(volume), options);
    }
    bool isInstalled() {
        return root().exists(std::string(statusFolder) + "/file") && root().exists(uninstallerOf(product));
    }

    ProductBuilder product{"ALPHA", "Alpha"};
};

} // namespace

TEST_F(PackageScript, InstallsForTheUserWhoInstalls) {
    ExpectSuccess(run({{"USER", "anna"}}));
    EXPECT_TRUE(isInstalled());
    EXPECT_TRUE(root().exists("/Users/anna/Documents/preset"));
    EXPECT_EQ(root().read(uninstallerOf(product) + "/Contents/sku.xml"), product.definition());
    EXPECT_EQ(root().read(uninstallerOf(product) + "/Contents/target_path.xml"), product.targets());
}

TEST_F(PackageScript, UserIsTheOneWhoHasLoggedInWhenTheInstallerIsTheSuperuser) {
    setConsoleUser("anna");
    for (const auto& environment : {std::map<std::string, std::string>{{"USER", "root"}}, {}}) {
        ExpectSuccess(run(environment));
        EXPECT_TRUE(isInstalled());
        EXPECT_TRUE(root().exists("/Users/anna/Documents/preset"));
        root().remove("/Users/anna/Documents");
    }
}

TEST_F(PackageScript, HomeFolderStaysTheSuperusersWhenNobodyHasLoggedIn) {
    ExpectSuccess(run({{"USER", "root"}}));
    EXPECT_TRUE(isInstalled());
    EXPECT_TRUE(root().exists("/Users/var/root/Documents/preset"));
}

TEST_F(PackageScript, RefusesAnotherVolume) {
    const ProgramResult result = run({{"USER", "anna"}}, "/Volumes/Other");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "Error: this product can be installed on the startup volume only\n");
    EXPECT_FALSE(isInstalled());
}

TEST_F(PackageScript, PassesTheEnginesStatusOn) {
    root().remove(inScripts("product/files/VorlaneFX/file"));
    const ProgramResult result = run({{"USER", "anna"}});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardOutput, HasSubstr("Error! File checking is failed"));
}

TEST_F(PackageScript, NobodyIsAskedInATerminal) {
    root().write(statusFolder, "a file in the folder's place");
    Options options;
    options.environment = {{"HOME", "/var/root"}, {"USER", "anna"}};
    const ProgramResult result = root().runInTerminal(command("/"), {}, options);
    EXPECT_FALSE(result.bTimedOut);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.standardOutput, HasSubstr("Something is blocking installation"));
    EXPECT_THAT(result.standardOutput, Not(HasSubstr("[R]etry")));
}

TEST_F(PackageScript, TakesTheSystemsToolsOnly) {
    for (const char* tool : {"cp", "mkdir", "dirname"}) {
        root().write(std::string("/tools/") + tool, "#!/bin/sh\ntouch /tools/called\nexit 1\n", 0755);
    }
    root().write("/tools/start", "touch /tools/called\n");
    ExpectSuccess(run({{"USER", "anna"}, {"PATH", "/tools:/usr/bin:/bin"}, {"BASH_ENV", "/tools/start"}}));
    EXPECT_TRUE(isInstalled());
    EXPECT_FALSE(root().exists("/tools/called"));
}
