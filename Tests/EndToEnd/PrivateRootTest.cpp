#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/Sources.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using PrivateRootTest = EndToEndTest;

/// A private root in which the tool `cat` shares its file with a tool of the machine, which this test plays
/// with a file of its own.
class SharedTool : public EndToEndTest {
protected:
    void SetUp() override {
        EndToEndTest::SetUp();
        FileTree::write(machines, "the machine's");
        fs::create_directories(rootFolder / "bin");
        fs::create_hard_link(machines, inRoot);
    }
    static void run(std::vector<std::string> command) {
        command.insert(command.begin(), inSources("Scripts/private-root"));
        ExpectSuccess(runProgram(command));
    }

    TemporaryDirectory folder;
    const fs::path machines = folder.path() / "machine/cat";
    const fs::path rootFolder = folder.path() / "root";
    const fs::path inRoot = rootFolder / "bin/cat";
};

/// A `cp` of which links fail, as they do between file systems and where a file has too many names, comes
/// first in PATH until the end of the scope.
class FailingLinks {
public:
    /// `body` is what it does when it is asked for links.
    explicit FailingLinks(const std::string& body) {
        FileTree::write(tools.path() / "cp",
                        "#!/bin/sh\ncase \"$*\" in *' -l '* | '-al '*) " + body +
                            "; exit 1 ;; esac\nexec /bin/cp \"$@\"\n",
                        0755);
    }

private:
    TemporaryDirectory tools;
    ScopedEnvironment path{"PATH", tools.path().string() + ":/usr/sbin:/usr/bin:/sbin:/bin"};
};

ino_t fileNumber(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_ino;
}

} // namespace

TEST_F(PrivateRootTest, RunsAProgramAtItsOwnFixedPaths) {
    root().write("/Applications/note", "seen");
    const ProgramResult result = root().run({"cat", "/Applications/note"});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "seen");
}

TEST_F(PrivateRootTest, GivesAnnasHomeAndNothingOfTheMachinesEnvironment) {
    EXPECT_EQ(
        root().run({"sh", "-c", "echo $HOME; eval echo '~anna'; id -u; pwd; echo ${LANG-}"}).standardOutput,
        "/Users/anna\n/Users/anna\n0\n/\n\n");
    Options options;
    options.environment["HOME"] = "/Users/bert";
    options.workingFolder = "/tmp";
    EXPECT_EQ(root().run({"sh", "-c", "echo $HOME; pwd"}, options).standardOutput, "/Users/bert\n/tmp\n");
}

TEST_F(PrivateRootTest, PassesExitStatusOutputAndErrorsOn) {
    const ProgramResult result = root().run({"sh", "-c", "echo out; echo error >&2; exit 7"});
    EXPECT_EQ(result.exitStatus, 7);
    EXPECT_EQ(result.standardOutput, "out\n");
    EXPECT_EQ(result.standardError, "error\n");
}

TEST_F(PrivateRootTest, EndsAProgramThatTakesTooLong) {
    Options options;
    options.timeout = std::chrono::milliseconds(200);
    EXPECT_TRUE(root().run({"sleep", "20"}, options).bTimedOut);
}

TEST_F(PrivateRootTest, FreshTreeHasTheFoldersOfAFreshMachineAlone) {
    EXPECT_EQ(FileTree::difference(PrivateRoot::freshTree(), root().tree()), "");
    ExpectTree({});
}

TEST_F(PrivateRootTest, WhatOneRootChangesNoOtherRootSees) {
    ExpectSuccess(root().run(
        {"sh", "-c", "echo changed >/etc/passwd; rm /bin/wc; echo x >" + std::string(PrivateRoot::program)}));
    const PrivateRoot other;
    EXPECT_EQ(other.run({"sh", "-c", "echo a | wc -l"}).standardOutput, "1\n");
    EXPECT_EQ(other.run({PrivateRoot::program}).exitStatus, 1);
    EXPECT_NE(other.read("/etc/passwd"), "changed\n");
}

TEST_F(SharedTool, StaysTheMachinesWhenAnotherProgramIsAddedInItsPlace) {
    const fs::path program = folder.path() / "program";
    FileTree::write(program, "a program");
    run({"add", rootFolder, program, "/bin/cat"});
    EXPECT_EQ(FileTree::read(inRoot), "a program");
    EXPECT_EQ(FileTree::read(machines), "the machine's");
}

TEST_F(SharedTool, StaysTheMachinesWhenARootIsMadeInThatFolder) {
    run({"make", rootFolder});
    EXPECT_NE(FileTree::read(inRoot), "the machine's");
    EXPECT_EQ(FileTree::read(machines), "the machine's");
}

TEST_F(SharedTool, StaysTheMachinesWhenToolsAreCopiedSinceTheyCannotBeLinked) {
    const FailingLinks failing(":");
    run({"make", rootFolder});
    EXPECT_NE(FileTree::read(inRoot), "the machine's");
    EXPECT_EQ(FileTree::read(machines), "the machine's");
}

TEST_F(PrivateRootTest, ToolsAreCopiedWhenOnlySomeOfThemCouldBeLinked) {
    const FailingLinks failing("/bin/cp \"$@\"");
    const PrivateRoot other;
    EXPECT_EQ(other.run({"cat", "/etc/passwd"}).standardOutput, root().read("/etc/passwd"));
    EXPECT_NE(fileNumber(other.outside("/bin/cat")), fileNumber(root().outside("/bin/cat")));
}

TEST_F(PrivateRootTest, WhatProgramsMeasureIsAtItsPathOutsideAndInNoTree) {
    root().write(PrivateRoot::buildFolder() + "/some.gcda", "measured");
    ExpectTree({});
    EXPECT_EQ(root().tree(fs::path(PrivateRoot::buildFolder()).parent_path()), Lines());

    if (PrivateRoot::isPretended() || root().run({"test", "-e", "/proc/self/maps"}).exitStatus != 0) {
        GTEST_SKIP() << "nothing can be mounted here";
    }
    const TemporaryDirectory measured;
    const ScopedEnvironment coverage("PRIVATE_ROOT_COVERAGE", measured.path());
    ExpectSuccess(root().run({"sh", "-c", "echo measured >\"$1/file\"", "sh", measured.path()}));
    EXPECT_EQ(FileTree::read(measured.path() / "file"), "measured\n");
}

TEST_F(PrivateRootTest, TreeListsTypesContentsPermissionsAndLinks) {
    ExpectSuccess(
        root().run({"sh", "-c",
                    "cd /Library && mkdir empty full private && echo text >full/file && printf a >one && "
                    "chmod 755 one && chmod 700 private && ln -s nowhere link"}));
    const Lines tree = root().tree("/Library");
    ASSERT_EQ(tree.size(), 6U);
    EXPECT_EQ(tree[0], "/Library/Preferences/");
    EXPECT_EQ(tree[1], "/Library/empty/");
    EXPECT_EQ(tree[2].rfind("/Library/full/file: <5 bytes, ", 0), 0U) << tree[2];
    EXPECT_EQ(tree[3], "/Library/link -> nowhere");
    EXPECT_EQ(tree[4], "/Library/one 0755: a");
    EXPECT_EQ(tree[5], "/Library/private/ 0700");
}

TEST_F(PrivateRootTest, TerminalTakesAnswersOneAfterTheOther) {
    bool bAsked = false;
    const ProgramResult result =
        root().runInTerminal({"sh", "-c",
                              "test -t 0 && test -t 1 && printf 'name? ' && read n && printf 'age? ' && read "
                              "a && echo $n,$a; exit 3"},
                             {{"name? ", "anna\n", {}}, {"age? ", "7\n", [&] { bAsked = true; }}}, Options());
    EXPECT_TRUE(bAsked);
    EXPECT_EQ(result.standardOutput, "name? age? anna,7\n");
    EXPECT_EQ(result.exitStatus, 3);
}

TEST_F(PrivateRootTest, TerminalWithoutTheAwaitedPromptEnds) {
    Options options;
    options.timeout = std::chrono::milliseconds(200);
    const ProgramResult result = root().runInTerminal({"sleep", "20"}, {{"never", "x\n", {}}}, options);
    EXPECT_TRUE(result.bTimedOut);
}
