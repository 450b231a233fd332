// The arguments and the exit status of the real program, and what becomes of a run that cannot be heard.
#include "Tests/Support/EndToEndTest.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const char* const usage = "Error: Not enough arguments.\n"
                          "./InstallUtility <path_to_files> <skuxml_path> <xml_with_targets_locations> [-v]\n"
                          "-v - show debug logs\n";

/// One file for the shared folder.
ProductBuilder product() {
    ProductBuilder product("P1", "Blur");
    product.family("Blur", {"blur"}).file("VorlaneFX/a.txt", "a");
    product.target("VorlaneFX", "/Library/Application Support/Vorlane");
    return product;
}

} // namespace

class CommandLine : public EndToEndTest {
protected:
    ProgramResult runProgramWith(std::vector<std::string> arguments, const Options& options = Options()) {
        arguments.insert(arguments.begin(), PrivateRoot::program);
        return root().run(arguments, options);
    }

    bool isInstalled() { return root().exists("/Library/Application Support/Vorlane/a.txt"); }
};

TEST_F(CommandLine, PrintsItsUsageWithFewerThanThreeArguments) {
    for (const auto& arguments : {std::vector<std::string>{}, {"a"}, {"a", "b"}, {"-uninstall", "b"}}) {
        const ProgramResult result = runProgramWith(arguments);
        EXPECT_EQ(result.standardOutput, usage);
        EXPECT_EQ(result.exitStatus, 1);
    }
}

TEST_F(CommandLine, InstallsWithThreeArgumentsWithoutDebugLines) {
    const ProgramResult result = Install(product());
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, "Checking file consistency in source folder\n");
    EXPECT_TRUE(isInstalled());
}

TEST_F(CommandLine, ShowsDebugLinesWhenTheFourthArgumentIsVInAnyCase) {
    for (const char* option : {"-v", "-V"}) {
        EXPECT_NE(Install(product(), {option}).standardOutput.find("DEBUG: "), std::string::npos) << option;
    }
}

TEST_F(CommandLine, LooksForVNowhereElse) {
    for (const auto& more : {std::vector<std::string>{"x", "-v"}, {"v"}, {"-vv"}, {""}}) {
        EXPECT_EQ(Install(product(), more).standardOutput, "Checking file consistency in source folder\n");
    }
}

TEST_F(CommandLine, FailsWithStatus1WhenTheSourceFolderIsMissing) {
    const ProgramResult result = runProgramWith({"a", "b", "c"});
    EXPECT_EQ(result.standardOutput, "Error: Error! Source dir 'a' is empty\n\nError! Failed to prepare\n");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST_F(CommandLine, UninstallsWithTheDefinitionBeforeTheTargets) {
    ASSERT_EQ(Install(product()).exitStatus, 0);
    EXPECT_EQ(Uninstall(product()).exitStatus, 0);
    EXPECT_FALSE(isInstalled());
}

TEST_F(CommandLine, ShowsDebugLinesOfAnUninstallToo) {
    ASSERT_EQ(Install(product()).exitStatus, 0);
    EXPECT_NE(Uninstall(product(), {"-v"}).standardOutput.find("Delete '"), std::string::npos);
}

TEST_F(CommandLine, TakesUninstallInAnotherCaseForASourceFolder) {
    for (const char* word : {"-UNINSTALL", "-Uninstall"}) {
        const ProgramResult result = runProgramWith({word, "/sku.xml", "/target_path.xml"});
        EXPECT_EQ(result.standardOutput, "Error: Error! Source dir '" + std::string(word) +
                                             "' is empty\n\nError! Failed to prepare\n");
        EXPECT_EQ(result.exitStatus, 1);
    }
}

// What the program says may be lost; what it does may not.

TEST_F(CommandLine, InstallsWhenStandardStreamsAreClosed) {
    ExpectSuccess(Install(product()));
    const Lines installed = root().tree();
    ExpectSuccess(Uninstall(product()));
    const Lines removed = root().tree();
    for (const char* redirection : {">&-", "<&- >&- 2>&-", "<&- >&-", "2>&-"}) {
        place(product());
        std::vector<std::string> command{"sh", "-c", std::string("exec \"$@\" -v ") + redirection, "sh"};
        const auto install = installCommand(product());
        command.insert(command.end(), install.begin(), install.end());
        const ProgramResult result = root().run(command);
        EXPECT_EQ(result.exitStatus, 0) << redirection;
        EXPECT_TRUE(isInstalled()) << redirection;
        // A closed stream's number must not have gone to the record, with log lines in it.
        EXPECT_EQ(FileTree::difference(installed, root().tree()), "") << redirection;
        EXPECT_EQ(Uninstall(product()).exitStatus, 0);
        EXPECT_EQ(FileTree::difference(removed, root().tree()), "") << redirection;
    }
}

TEST_F(CommandLine, InstallsWhenOutputCannotBeWritten) {
    ExpectSuccess(Install(product()));
    const Lines installed = root().tree();
    ExpectSuccess(Uninstall(product()));
    for (const char* ending : {">/dev/full", "| true", "| sleep 0"}) {
        if (std::string(ending) == ">/dev/full" && !root().exists("/dev/full")) {
            continue;
        }
        place(product());
        std::vector<std::string> command{
            "sh", "-c",
            std::string("{ \"$@\" -v; echo $? >/tmp/status; } ") + ending +
                "; while [ ! -s /tmp/status ]; do sleep 0.01; done; read status </tmp/status; exit $status",
            "sh"};
        const auto install = installCommand(product());
        command.insert(command.end(), install.begin(), install.end());
        EXPECT_EQ(root().run(command).exitStatus, 0) << ending;
        root().remove("/tmp/status");
        EXPECT_EQ(FileTree::difference(installed, root().tree()), "") << ending;
        EXPECT_EQ(Uninstall(product()).exitStatus, 0);
    }
}

TEST_F(CommandLine, StartsItsChildrenWithTheDefaultForBrokenPipes) {
    // A child that ignored the signal would print to a pipe without a reader for ever.
    root().write("/tools/rm", "#!/bin/sh\ntrap >/tmp/traps\nkill -PIPE $$\necho survived >/tmp/survived\n",
                 0755);
    Options options;
    options.environment["PATH"] = "/tools:/bin";
    Install(product(), {}, options);
    EXPECT_TRUE(root().exists("/tmp/traps"));
    EXPECT_FALSE(root().exists("/tmp/survived"));
}
