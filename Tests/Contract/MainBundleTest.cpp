#include "Tests/Contract/MakerDifferences.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

/// Copies a program that prints its main bundle's path, and runs it.
class MainBundle : public testing::Test {
protected:
    fs::path place(const std::string& name) const {
        const fs::path program = root() / name;
        fs::create_directories(program.parent_path());
        fs::copy_file(MAIN_BUNDLE_PRINTER, program);
        return program;
    }
    static std::string run(const std::string& program, const fs::path& workingFolder = {}) {
        ProgramOptions options;
        options.workingFolder = workingFolder;
        const auto result = runProgram({program}, options);
        EXPECT_EQ(result.exitStatus, 0) << result.standardError;
        return result.standardOutput;
    }
    /// What the maker gives in place of `bundle` for the program.
    static fs::path made(const fs::path& bundle, const fs::path& program) {
        const fs::path folder = program.parent_path();
        return makerDifferences.bOtherBundleLayout && folder.extension() != ".app"
                   ? folder / "Resources" / program.filename()
                   : bundle;
    }
    fs::path root() const { return fs::canonical(folder.path()); }

    TemporaryDirectory folder;
};

TEST_F(MainBundle, IsTheApplicationAroundContentsAndMacOS) {
    const fs::path program = place("A b.app/Contents/MacOS/Tool");
    EXPECT_EQ(run(program.string()), made(root() / "A b.app", program));
}

TEST_F(MainBundle, IsTheFolderOfTheProgramOtherwise) {
    for (const char* name : {"folder/Tool", "X.app/Tool", "X.app/MacOS/Tool", "X.app/Contents/Tool"}) {
        const fs::path program = place(name);
        EXPECT_EQ(run(program.string()), made(program.parent_path(), program)) << name;
    }
}

TEST_F(MainBundle, IsFoundThroughLinks) {
    const fs::path program = place("X.app/Contents/MacOS/Tool");
    fs::create_symlink(program, root() / "link");
    fs::create_directory_symlink("X.app", root() / "Other.app");
    EXPECT_EQ(run((root() / "link").string()), made(root() / "X.app", program));
    EXPECT_EQ(run((root() / "Other.app/Contents/MacOS/Tool").string()), made(root() / "X.app", program));
}

TEST_F(MainBundle, IsAbsoluteWhateverTheWorkingFolder) {
    const fs::path program = place("X.app/Contents/MacOS/Tool");
    EXPECT_EQ(run("./Tool", program.parent_path()), made(root() / "X.app", program));
}

} // namespace
