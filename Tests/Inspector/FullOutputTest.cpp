// What cannot be printed is no success, whichever subcommand prints it.
#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/Sources.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

TEST(FullOutput, IsStatusTwo) {
    if (access("/dev/full", W_OK) != 0) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    const TemporaryDirectory folder;
    const std::string examples = inSources("Examples/");
    const std::string files = examples + "Ink/files";
    const std::string sku = examples + "Ink/sku.xml";
    const std::string targets = examples + "Ink/target_path.xml";
    const std::string machine = examples + "plans/new.json";
    const std::string record = "<install><products/><installFiles/></install>";
    FileTree::write(folder.path() / "record.xml", record);
    FileTree::write(folder.path() / "log", "Checking file consistency in source folder\n");
    FileTree::write(folder.path() / "sku.xml", FileTree::read(sku));
    ProgramOptions options;
    options.workingFolder = folder.path();
    const std::vector<std::vector<std::string>> commands = {
        {"--help"},
        {"--version"},
        {"check", "--help"},
        {"check", sku},
        {"check", sku, "--json"},
        {"check", "--list-rules"},
        {"compare", sku, sku},
        {"compare", sku, sku, "--json"},
        {"plan", "--machine", machine, files, sku, targets},
        {"plan", "--brief", "--machine", machine, files, sku, targets},
        {"plan", "--commands", "--machine", machine, files, sku, targets},
        {"plan", "--json", "--machine", machine, files, sku, targets},
        {"machine", targets},
        {"status", "record.xml"},
        {"status", "record.xml", "--json"},
        {"owner", "record.xml"},
        {"owner", "record.xml", "--json"},
        {"log", "log"},
        {"log", "log", "--json"},
        {"new", files, "--id", "A", "--name", "A", "--build", "1.0.0.1"},
        {"update", "sku.xml", "--source", files},
        {"completion", "zsh"},
    };
    for (std::vector<std::string> command : commands) {
        command.insert(command.begin(), INSTALLINSPECTOR_PROGRAM);
        options.beforeStart = {};
        EXPECT_NE(runProgram(command, options).exitStatus, 2) << testing::PrintToString(command);
        options.beforeStart = [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); };
        const ProgramResult result = runProgram(command, options);
        EXPECT_EQ(result.exitStatus, 2) << testing::PrintToString(command);
        EXPECT_NE(result.standardError.find(
                      "InstallInspector: cannot write to standard output: No space left on device\n"),
                  std::string::npos)
            << testing::PrintToString(command) << result.standardError;
    }
}
