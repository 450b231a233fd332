// Examples/packaging/postinstall, run as an installer package runs it.

#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/HostileCaller.h"
#include "Tests/Support/Sources.h"

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
        fs::copy(inSources("Examples/packaging/postinstall"), root().outside(inScripts("postinstall")));
        setConsoleUser("root");
        setHome("NFSHomeDirectory: /Users/anna");
    }

    static std::string inScripts(const std::string& name) { return "/tmp/Package of anna/Scripts/" + name; }
    /// Who has logged in, as the tool of macOS tells it. The machine's own tool is not written to.
    void setConsoleUser(const std::string& user) {
        root().remove("/bin/stat");
        root().write("/bin/stat", "#!/bin/sh\n[ \"$*\" = '-f %Su /dev/console' ] && echo " + user + "\n",
                     0755);
    }

    /// What the directory service says about anna, and about nobody else.
    void setHome(const std::string& said) {
        root().write("/bin/dscl",
                     "#!/bin/sh\n[ \"$*\" = '/Search -read /Users/anna NFSHomeDirectory' ] || exit 56\n"
                     "cat <<'END'\n" +
                         said + "\nEND\n",
                     0755);
    }
    /// A session of anna, whose number is 501. Notes what runs in it, with its number of arguments.
    void setSession(const std::string& status = "0") {
        root().write("/bin/id", "#!/bin/sh\n[ \"$*\" = '-u anna' ] && echo 501\n", 0755);
        root().write("/bin/launchctl",
                     "#!/bin/sh\n[ \"$1 $2\" = 'asuser 501' ] && [ " + status +
                         " = 0 ] || exit 1\nshift 2\necho \"$#: $*\" >>/var/session\nexec \"$@\"\n",
                     0755);
    }
    Lines inSession() {
        ProgramResult result;
        result.standardOutput = root().exists("/var/session") ? root().read("/var/session") : "";
        return logLines(result);
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

    /// Runs it with these variables, with which anna installs: nothing of the caller's may run.
    ProgramResult expectNoEffect(const HostileCaller::Variables& variables) {
        const HostileCaller caller(root());
        ProgramResult result = run(variables);
        ExpectSuccess(result);
        EXPECT_TRUE(isInstalled());
        EXPECT_TRUE(root().exists("/Users/anna/Documents/preset"));
        EXPECT_FALSE(caller.hasRun());
        return result;
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

TEST_F(PackageScript, DeviceManagementNamesTheHomeFolderAndNobodyIsAsked) {
    setConsoleUser("anna");
    setSession();
    for (const char* user : {"root", "anna"}) {
        ExpectSuccess(run({{"USER", user}, {"UNATTENDED_HOME", "/Users/berta"}}));
        EXPECT_TRUE(isInstalled());
        EXPECT_TRUE(root().exists("/Users/berta/Documents/preset"));
        root().remove("/Users/berta/Documents");
    }
    EXPECT_FALSE(root().exists("/Users/anna/Documents"));
    EXPECT_EQ(inSession(), Lines());
}

TEST_F(PackageScript, AnUnattendedPackageAsksNobodyButInstallsForTheUserAtTheScreen) {
    setConsoleUser("anna");
    setSession();
    root().write(inScripts("unattended"), "");
    ExpectSuccess(run({{"USER", "root"}}));
    EXPECT_TRUE(root().exists("/Users/anna/Documents/preset"));
    EXPECT_EQ(inSession(), Lines());
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

TEST_F(PackageScript, NobodyIsLoggedInAtTheLoginWindowAndInTheSetupOfANewMachine) {
    for (const char* user : {"loginwindow", "_mbsetupuser"}) {
        setConsoleUser(user);
        ExpectSuccess(run({{"USER", "root"}}));
        EXPECT_TRUE(root().exists("/Users/var/root/Documents/preset")) << user;
        root().remove("/Users/var");
    }
}

TEST_F(PackageScript, HomeFolderIsTheOneThatTheDirectoryServiceKnows) {
    root().write(inScripts("InstallUtility.app/Contents/MacOS/InstallUtility"),
                 "#!/bin/sh\necho \"HOME=$HOME\"\n", 0755);
    const std::map<std::string, std::string> homes{
        {"NFSHomeDirectory: /Volumes/Work/anna", "/Volumes/Work/anna"},
        {"NFSHomeDirectory:\n /Volumes/Hard Disk/anna", "/Volumes/Hard Disk/anna"}};
    for (const auto& [said, home] : homes) {
        setHome(said);
        EXPECT_EQ(run({{"USER", "anna"}}).standardOutput, "HOME=" + home + "\n");
    }
    root().remove("/bin/dscl");
    root().write("/bin/getent",
                 "#!/bin/sh\n[ \"$*\" = 'passwd anna' ] && echo 'anna:x:501:20:Anna:/home/of anna:/bin/sh'\n",
                 0755);
    EXPECT_EQ(run({{"USER", "anna"}}).standardOutput, "HOME=/home/of anna\n");
}

TEST_F(PackageScript, UserWithoutAKnownHomeFolderIsAnErrorBeforeAnythingIsInstalled) {
    const ProgramResult result = run({{"USER", "bert"}});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardError, "Error: the home folder of 'bert' is not known\n");
    EXPECT_FALSE(isInstalled());
}

TEST_F(PackageScript, EngineRunsInTheSessionOfTheUserAtTheScreen) {
    setConsoleUser("anna");
    setSession();
    for (const char* user : {"root", "anna"}) {
        ExpectSuccess(run({{"USER", user}}));
        EXPECT_TRUE(root().exists("/Users/anna/Documents/preset"));
        const std::string source = inScripts("product");
        EXPECT_EQ(
            inSession(),
            (Lines{"1: true", "8: env -i PATH=/usr/bin:/bin:/usr/sbin:/sbin HOME=/Users/anna " +
                                  inScripts("InstallUtility.app/Contents/MacOS/InstallUtility") + " " +
                                  source + "/files " + source + "/sku.xml " + source + "/target_path.xml"}));
        root().remove("/var/session");
        root().remove("/Users/anna/Documents");
    }
}

TEST_F(PackageScript, EngineRunsWithoutASessionWhenNobodyIsAtTheScreenOrItHasNone) {
    setSession();
    ExpectSuccess(run({{"USER", "anna"}}));
    EXPECT_TRUE(isInstalled());
    setConsoleUser("anna");
    setSession("1");
    root().remove(statusFolder);
    ExpectSuccess(run({{"USER", "anna"}}));
    EXPECT_TRUE(isInstalled());
    EXPECT_EQ(inSession(), Lines());
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
    HostileCaller::Variables variables{{"USER", "anna"}};
    variables.merge(HostileCaller::tools());
    expectNoEffect(variables);
}

TEST_F(PackageScript, ReadsNoFileOfTheCallersAlsoInAToolThatIsAScript) {
    root().write("/bin/stat", "#!/bin/bash\necho anna\n", 0755);
    expectNoEffect(HostileCaller::startFile());
}

TEST_F(PackageScript, CallsNoFunctionOfTheCallers) {
    root().add("/bin/bash", "/bin/sh"); // as on macOS
    HostileCaller::Variables variables{{"USER", "anna"}};
    variables.merge(HostileCaller::functions());
    expectNoEffect(variables);
}

TEST_F(PackageScript, TracesNothing) {
    root().add("/bin/bash", "/bin/sh"); // as on macOS
    HostileCaller::Variables variables{{"USER", "anna"}};
    variables.merge(HostileCaller::options());
    EXPECT_EQ(expectNoEffect(variables).standardError, "");
}

TEST_F(PackageScript, FindsItsOwnFolderWhateverCdpathSays) {
    root().makeFolder("/Users/anna/Scripts");
    Options options;
    options.environment = {{"CDPATH", "/Users/anna"}, {"USER", "anna"}};
    options.workingFolder = "/tmp/Package of anna";
    ExpectSuccess(root().run({"Scripts/postinstall"}, options));
    EXPECT_TRUE(isInstalled());
}

TEST_F(PackageScript, GivesToolsNoneOfTheVariablesThatChangeAShell) {
    root().write("/bin/stat", "#!/bin/sh\nenv >/var/environment\necho root\n", 0755);
    ExpectSuccess(run({{"BASH_ENV", "/b"}, {"CDPATH", "/c"}, {"ENV", "/e"}, {"IFS", "S"}}));
    for (const std::string& line : HostileCaller::variablesIn(root().read("/var/environment"))) {
        const std::string name = line.substr(0, line.find('='));
        EXPECT_TRUE(name != "BASH_ENV" && name != "CDPATH" && name != "ENV" && name != "IFS") << line;
    }
}

TEST_F(PackageScript, GivesTheEngineAnEnvironmentMadeAnew) {
    root().write(inScripts("InstallUtility.app/Contents/MacOS/InstallUtility"),
                 "#!/bin/sh\nenv >/var/environment\n", 0755);
    const std::map<std::string, std::string> others{{"DISPLAY", ":7"},    {"LC_ALL", "fr_FR.UTF-8"},
                                                    {"TMPDIR", "/Users"}, {"PATH", "/tools:/usr/bin:/bin"},
                                                    {"USER", "anna"},     {"BASH_FUNC_cp%%", "() { :; }"}};
    ExpectSuccess(run(others));
    EXPECT_EQ(HostileCaller::variablesIn(root().read("/var/environment")),
              (Lines{"HOME=/Users/anna", "PATH=/usr/bin:/bin:/usr/sbin:/sbin"}));
    ExpectSuccess(run({{"LANG", "de_DE.UTF-8"}, {"HOME", "/var/root in a house"}}));
    EXPECT_EQ(HostileCaller::variablesIn(root().read("/var/environment")),
              (Lines{"HOME=/var/root in a house", "LANG=de_DE.UTF-8", "PATH=/usr/bin:/bin:/usr/sbin:/sbin"}));
}
