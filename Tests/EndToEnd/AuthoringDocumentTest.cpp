// The way that Docs/authoring.md describes, from a folder of files to an installed product, by its own
// commands.
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/Sources.h"

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
        const std::string page = FileTree::read(inSources("Docs/authoring.md"));
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

    /// The machine that the section describes in its text.
    static std::string descriptionOfThePage() {
        const std::string page = FileTree::read(inSources("Docs/authoring.md"));
        const std::size_t begin = page.find("`{\"home\"") + 1;
        return page.substr(begin, page.find('`', begin) - begin);
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
    // As in real products, most files are inside bundles.
    constexpr int files = 5000;
    constexpr int filesOfABundle = 250;
    const auto bundleOf = [](int i) {
        return "Spark " + std::to_string(i / filesOfABundle) + ".ofx.bundle/Contents/";
    };
    for (int i = 0; i < files; ++i) {
        const std::string number = std::to_string(i);
        const bool bShared = i % 250 == 0;
        root().write("/Work/files/" + (bShared ? "VorlaneFX/Looks/" : "Hosts/OpenFX/Spark/" + bundleOf(i)) +
                         number,
                     number);
    }
    root().write("/Work/files/VorlaneFX/.DS_Store", "junk");
    root().write("/Work/machine.json", descriptionOfThePage());
    root().makeFolder("/Library/OFX/Plugins");

    const std::vector<std::string> commands = commandsOfThePage();
    ASSERT_EQ(commands.size(), 4U);
    EXPECT_NE(commands[2].find("plan --machine machine.json"), std::string::npos);
    Options options;
    options.timeout = std::chrono::minutes(4);
    for (const std::string& command : commands) {
        const bool bEngine = command.rfind("InstallUtility ", 0) == 0;
        const std::string line = bEngine ? replaced(command, "InstallUtility", PrivateRoot::program)
                                         : replaced(command, "InstallInspector", PrivateRoot::inspector);
        const auto result = root().runUnwatched({"sh", "-c", "cd /Work && " + line}, options);
        EXPECT_EQ(result.exitStatus, 0) << command << "\n" << result.standardOutput << result.standardError;
    }
    EXPECT_EQ(root().read(shared("Looks/4750")), "4750");
    EXPECT_FALSE(root().exists(shared(".DS_Store")));
    EXPECT_EQ(root().read("/Library/OFX/Plugins/Vorlane/Spark/" + bundleOf(4999) + "4999"), "4999");
    EXPECT_TRUE(root().exists("/Applications/Vorlane Uninstallers/Uninstall Spark.app"));
}
