// The way that Docs/authoring.md describes, from a folder of files to an installed product, by its own
// commands.
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

namespace {

class AuthoringDocument : public EndToEndTest {
protected:
    /// The lines of the section "Four commands" that are indented as commands are.
    static std::vector<std::string> commandsOfThePage() {
        const std::string page = FileTree::read(DOCUMENTS_FOLDER "/authoring.md");
        const std::size_t begin = page.find("## Four commands");
        std::istringstream lines(page.substr(begin, page.find("\n## ", begin + 1) - begin));
        std::vector<std::string> commands;
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("    ", 0) == 0) {
                commands.push_back(line.substr(4));
            }
        }
        return commands;
    }

    static std::string replaced(std::string text, const std::string& from, const std::string& to) {
        return text.replace(text.find(from), from.size(), to);
    }
};

} // namespace

TEST_F(AuthoringDocument, FourCommandsLeadFromAFolderOfFilesToAnInstalledProduct) {
    if (!PrivateRoot::hasInspector()) {
        GTEST_SKIP() << "InstallInspector is not built";
    }
    for (int i = 0; i < 300; ++i) {
        const std::string number = std::to_string(i);
        root().write("/Work/files/VorlaneFX/Looks/" + std::to_string(i / 100) + "/" + number + ".look",
                     number);
    }
    root().write("/Work/files/Hosts/OpenFX/Spark/Spark.ofx.bundle/Contents/Info.plist", "plist");
    root().write("/Work/files/VorlaneFX/.DS_Store", "junk");
    root().makeFolder("/Library/OFX/Plugins");

    const std::vector<std::string> commands = commandsOfThePage();
    ASSERT_EQ(commands.size(), 4U);
    Options options;
    options.timeout = std::chrono::minutes(4);
    for (const std::string& command : commands) {
        const bool bEngine = command.rfind("InstallUtility ", 0) == 0;
        const std::string line = bEngine ? replaced(command, "InstallUtility", PrivateRoot::program)
                                         : replaced(command, "InstallInspector", PrivateRoot::inspector);
        const auto result = root().runUnwatched({"sh", "-c", "cd /Work && " + line}, options);
        EXPECT_EQ(result.exitStatus, 0) << command << "\n" << result.standardOutput << result.standardError;
    }
    EXPECT_EQ(root().read(shared("Looks/2/299.look")), "299");
    EXPECT_FALSE(root().exists(shared(".DS_Store")));
    EXPECT_TRUE(root().exists("/Library/OFX/Plugins/Vorlane/Spark/Spark.ofx.bundle/Contents/Info.plist"));
    EXPECT_TRUE(root().exists("/Applications/Vorlane Uninstallers/Uninstall Spark.app"));
}
