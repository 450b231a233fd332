#include "Platform/AtomicFile.h"

#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using FileTree::Lines;

namespace {

constexpr uid_t nobody = 65534;

bool print(AtomicFile& file, const std::string& text) {
    return std::fwrite(text.data(), 1, text.size(), file.Stream()) == text.size();
}

bool replace(const std::string& path, const std::string& text) {
    AtomicFile file(path);
    return file.Open() && print(file, text) && file.Sync() && file.Commit();
}

struct stat statusOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

/// A folder with the file "f" that says "old".
class AtomicFileTest : public testing::Test {
protected:
    AtomicFileTest() { FileTree::write(folder.path() / "f", "old"); }

    Lines tree() const { return FileTree::describe(folder.path()); }

    TemporaryDirectory folder;
    const std::string path = folder.path() / "f";
    const Lines untouched = {"f: old"};
    const Lines replaced = {"f: new"};
};

/// Another user, whom permissions stop, until the end of the scope; root is stopped by none.
class AsNobody {
public:
    AsNobody() { bChanged = getuid() == 0 && seteuid(nobody) == 0; }
    ~AsNobody() {
        if (bChanged && seteuid(0) != 0) {
            std::abort();
        }
    }
    AsNobody(const AsNobody&) = delete;
    AsNobody& operator=(const AsNobody&) = delete;

    bool bChanged;
};

/// No file can grow beyond `bytes` until the end of the scope.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : oldAction(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &old);
        rlimit limit = old;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &old);
        (void)std::signal(SIGXFSZ, oldAction);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit old = {};
    void (*oldAction)(int);
};

[[noreturn]] void die() {
    kill(getpid(), SIGKILL);
    std::abort();
}

/// Runs `action`, which is to die, in a process of its own.
void inAnotherProcess(const std::function<void()>& action) {
    const pid_t child = fork();
    if (child == 0) {
        action();
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "it did not die";
}

} // namespace

// Success

TEST_F(AtomicFileTest, ReplacesAFile) {
    EXPECT_TRUE(replace(path, "new"));
    EXPECT_EQ(tree(), replaced);
}

TEST_F(AtomicFileTest, CreatesAFile) {
    EXPECT_TRUE(replace(folder.path() / "g", "new"));
    EXPECT_EQ(tree(), (Lines{"f: old", "g: new"}));
}

TEST_F(AtomicFileTest, MayBeEmpty) {
    EXPECT_TRUE(replace(path, ""));
    EXPECT_EQ(fs::file_size(path), 0U);
}

TEST_F(AtomicFileTest, TheNameMayBeAsLongAsAFolderTakes) {
    for (const std::size_t length : {250U, 251U, 252U, 255U}) {
        const std::string longName(length, 'n');
        EXPECT_TRUE(replace(folder.path() / longName, "first")) << length;
        EXPECT_TRUE(replace(folder.path() / longName, "second")) << length;
        EXPECT_EQ(tree(), (Lines{"f: old", longName + ": second"}));
        fs::remove(folder.path() / longName);
    }
    EXPECT_FALSE(replace(folder.path() / std::string(256, 'n'), "new"));
    EXPECT_EQ(tree(), untouched);
}

TEST_F(AtomicFileTest, WorksInTheWorkingFolder) {
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    EXPECT_TRUE(replace("f", "new"));
    fs::current_path(before);
    EXPECT_EQ(tree(), replaced);
}

TEST_F(AtomicFileTest, TheOldFileStandsUntilTheCommit) {
    AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    EXPECT_EQ(FileTree::read(path), "old");
    ASSERT_TRUE(print(file, "new"));
    ASSERT_TRUE(file.Sync());
    EXPECT_EQ(FileTree::read(path), "old");
    ASSERT_TRUE(file.Commit());
    EXPECT_EQ(tree(), replaced);
}

TEST_F(AtomicFileTest, ReadersOfTheOldFileKeepIt) {
    std::FILE* reader = std::fopen(path.c_str(), "r");
    ASSERT_NE(reader, nullptr);
    ASSERT_TRUE(replace(path, "new"));
    char text[4] = {};
    EXPECT_EQ(std::fread(text, 1, 3, reader), 3U);
    EXPECT_STREQ(text, "old");
    EXPECT_EQ(std::fclose(reader), 0);
}

TEST_F(AtomicFileTest, KeepsTheMode) {
    for (const mode_t mode : std::initializer_list<mode_t>{0600, 0640, 0664, 0755, 0777, 02755, 0200}) {
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
        const mode_t oldMask = umask(027);
        EXPECT_TRUE(replace(path, "new"));
        umask(oldMask);
        EXPECT_EQ(statusOf(path).st_mode & 07777, mode);
    }
}

TEST_F(AtomicFileTest, ANewFileGetsTheModeThatFopenGives) {
    for (const mode_t mask : std::initializer_list<mode_t>{022, 077, 0}) {
        const mode_t oldMask = umask(mask);
        const std::string name = folder.path() / ("new" + std::to_string(mask));
        EXPECT_TRUE(replace(name, "new"));
        umask(oldMask);
        EXPECT_EQ(statusOf(name).st_mode & 07777, 0666U & ~mask);
    }
}

TEST_F(AtomicFileTest, TheNewFileHasTheOldModeFromTheStart) {
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    EXPECT_EQ(statusOf(folder.path() / "f.new").st_mode & 07777, 0600U);
}

TEST_F(AtomicFileTest, KeepsTheOwner) {
    if (getuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    ASSERT_EQ(chown(path.c_str(), 1234, 5678), 0);
    ASSERT_EQ(chmod(path.c_str(), 06755), 0);
    EXPECT_TRUE(replace(path, "new"));
    EXPECT_EQ(statusOf(path).st_uid, 1234U);
    EXPECT_EQ(statusOf(path).st_gid, 5678U);
    EXPECT_EQ(statusOf(path).st_mode & 07777, 06755U) << "a change of owner clears these bits";
}

// Links

TEST_F(AtomicFileTest, FollowsLinks) {
    fs::create_directory(folder.path() / "d");
    fs::create_symlink("../f", folder.path() / "d/relative");
    fs::create_symlink(folder.path() / "d/relative", folder.path() / "absolute");
    EXPECT_TRUE(replace(folder.path() / "absolute", "new"));
    EXPECT_EQ(tree(), (Lines{"absolute -> " + (folder.path() / "d/relative").string(), "d/relative -> ../f",
                             "f: new"}));
}

TEST_F(AtomicFileTest, FollowsALinkedFolder) {
    fs::create_directory(folder.path() / "d");
    fs::create_symlink("d", folder.path() / "link");
    EXPECT_TRUE(replace(folder.path() / "link/g", "new"));
    EXPECT_EQ(tree(), (Lines{"d/g: new", "f: old", "link -> d"}));
}

TEST_F(AtomicFileTest, ALinkToNothingMakesItsTarget) {
    fs::create_symlink("g", folder.path() / "link");
    EXPECT_TRUE(replace(folder.path() / "link", "new"));
    EXPECT_EQ(tree(), (Lines{"f: old", "g: new", "link -> g"}));
}

TEST_F(AtomicFileTest, ALoopOfLinksCannotBeOpened) {
    fs::create_symlink("b", folder.path() / "a");
    fs::create_symlink("a", folder.path() / "b");
    const Lines before = tree();
    EXPECT_FALSE(AtomicFile(folder.path() / "a").Open());
    EXPECT_EQ(tree(), before);
}

TEST_F(AtomicFileTest, ALinkPlantedUnderTheNewNameIsNotFollowed) {
    FileTree::write(folder.path() / "victim", "precious");
    fs::create_symlink("victim", folder.path() / "f.new");
    EXPECT_TRUE(replace(path, "new"));
    EXPECT_EQ(tree(), (Lines{"f: new", "victim: precious"}));
}

TEST_F(AtomicFileTest, AHardLinkPlantedUnderTheNewNameIsNotFollowed) {
    FileTree::write(folder.path() / "victim", "precious");
    fs::create_hard_link(folder.path() / "victim", folder.path() / "f.new");
    EXPECT_TRUE(replace(path, "new"));
    EXPECT_EQ(tree(), (Lines{"f: new", "victim: precious"}));
}

// Death, and what it leaves

TEST_F(AtomicFileTest, DeathAtAnyStepLeavesTheOldFileAndTheNextSaveTidiesUp) {
    const std::vector<std::function<void(AtomicFile&)>> steps = {
        [](AtomicFile&) {}, [](AtomicFile& file) { file.Open(); },
        [](AtomicFile& file) { print(file, "half"); }, [](AtomicFile& file) { file.Sync(); }};
    for (std::size_t count = 1; count <= steps.size(); ++count) {
        inAnotherProcess([&] {
            AtomicFile file(path);
            for (std::size_t i = 0; i < count; ++i) {
                steps[i](file);
            }
            die();
        });
        EXPECT_EQ(FileTree::read(path), "old") << count;
    }
    EXPECT_TRUE(fs::exists(folder.path() / "f.new")) << "the test is of no use";
    EXPECT_TRUE(replace(path, "new"));
    EXPECT_EQ(tree(), replaced);
}

TEST_F(AtomicFileTest, DeathAfterTheCommitLeavesTheNewFile) {
    inAnotherProcess([&] {
        AtomicFile file(path);
        file.Open();
        print(file, "new");
        file.Sync();
        file.Commit();
        die();
    });
    EXPECT_EQ(tree(), replaced);
}

TEST_F(AtomicFileTest, WithoutACommitNothingStays) {
    {
        AtomicFile file(path);
        ASSERT_TRUE(file.Open());
        ASSERT_TRUE(print(file, "half"));
    }
    EXPECT_EQ(tree(), untouched);
}

TEST_F(AtomicFileTest, OfTwoSavesAtOnceTheSecondHasToWait) {
    AtomicFile second(path);
    {
        AtomicFile first(path);
        ASSERT_TRUE(first.Open());
        ASSERT_TRUE(print(first, "first") && first.Sync());
        EXPECT_FALSE(second.Open());
        EXPECT_EQ(second.Error(), EBUSY);
        EXPECT_TRUE(first.Commit()) << "the second has left its new file alone";
        EXPECT_EQ(tree(), Lines{"f: first"});
    }
    EXPECT_TRUE(replace(path, "second"));
    EXPECT_EQ(tree(), Lines{"f: second"});
}

TEST_F(AtomicFileTest, AnotherProcessHasToWaitToo) {
    AtomicFile ours(path);
    ASSERT_TRUE(ours.Open());
    ASSERT_TRUE(print(ours, "ours"));
    inAnotherProcess([&] {
        AtomicFile theirs(path);
        if (!theirs.Open() && theirs.Error() == EBUSY) {
            die();
        }
    });
    EXPECT_TRUE(ours.Sync() && ours.Commit());
    EXPECT_EQ(tree(), Lines{"f: ours"});
}

TEST_F(AtomicFileTest, ANewFileThatAnotherHasTakenAwayIsNotCommitted) {
    AtomicFile ours(path);
    ASSERT_TRUE(ours.Open());
    ASSERT_TRUE(print(ours, "ours") && ours.Sync());
    fs::remove(folder.path() / "f.new"); // as where files cannot be locked
    FileTree::write(folder.path() / "f.new", "half");
    EXPECT_FALSE(ours.Commit()) << "would put half of another file in place";
    EXPECT_EQ(ours.Error(), EBUSY);
    EXPECT_EQ(FileTree::read(path), "old");
}

TEST_F(AtomicFileTest, AFailedSaveLeavesTheFileOfAnotherAlone) {
    {
        AtomicFile ours(path);
        ASSERT_TRUE(ours.Open());
        fs::remove(folder.path() / "f.new");
        FileTree::write(folder.path() / "f.new", "theirs");
    }
    EXPECT_EQ(tree(), (Lines{"f.new: theirs", "f: old"}));
}

TEST_F(AtomicFileTest, SavesOfManyProcessesLoseNone) {
    // Each adds a line to what it finds, as long as it takes; without the lock of the new file some lines are
    // lost.
    constexpr int processes = 4;
    constexpr int rounds = 15;
    FileTree::write(path, "");
    const auto addLines = [&] {
        for (int round = 0; round < rounds; ++round) {
            for (bool bSaved = false; !bSaved;) {
                AtomicFile file(path);
                bSaved =
                    file.Open() && print(file, FileTree::read(path) + "x") && file.Sync() && file.Commit();
            }
        }
    };
    std::vector<pid_t> children;
    for (int i = 0; i < processes; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            addLines();
            _exit(0);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(FileTree::read(path).size(), static_cast<std::size_t>(processes * rounds));
}

// Failures, one step each

TEST_F(AtomicFileTest, OpenFailsWithoutAFolder) {
    EXPECT_FALSE(AtomicFile(folder.path() / "missing/f").Open());
    EXPECT_FALSE(AtomicFile(folder.path() / "f/below a file").Open());
    EXPECT_FALSE(replace("", "new"));
    EXPECT_EQ(tree(), untouched);
}

TEST_F(AtomicFileTest, OpenFailsForAFolder) {
    fs::create_directory(folder.path() / "d");
    EXPECT_FALSE(AtomicFile(folder.path() / "d").Open());
    EXPECT_EQ(tree(), (Lines{"d/", "f: old"}));
}

TEST_F(AtomicFileTest, OpenFailsForAFileThatMayNotBeWritten) {
    chmod(folder.path().c_str(), 0777);
    chmod(path.c_str(), 0444);
    {
        const AsNobody nobodyElse;
        EXPECT_NE(geteuid(), 0U);
        EXPECT_FALSE(AtomicFile(path).Open());
    }
    EXPECT_EQ(FileTree::describe(folder.path()), Lines{"f 0444: old"});
}

TEST_F(AtomicFileTest, OpenFailsForAProgramThatRuns) {
    fs::copy_file("/bin/sleep", folder.path() / "sleep");
    const Lines before = tree();
    const pid_t child = fork();
    if (child == 0) {
        execl((folder.path() / "sleep").c_str(), "sleep", "60", nullptr);
        _exit(1);
    }
    // It runs once the copy's image is its own: until then this would succeed.
    bool opened = true;
    for (int i = 0; i < 500 && opened; ++i) {
        usleep(10'000);
        opened = AtomicFile(folder.path() / "sleep").Open();
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(opened);
    EXPECT_EQ(tree(), before);
}

TEST_F(AtomicFileTest, OpenFailsWhereTheFolderTakesNoNewFile) {
    chmod(folder.path().c_str(), 0555);
    chmod(path.c_str(), 0666);
    {
        const AsNobody nobodyElse;
        EXPECT_FALSE(AtomicFile(path).Open());
    }
    chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(tree(), Lines{"f 0666: old"});
}

TEST_F(AtomicFileTest, OpenFailsWhereTheOwnerCannotBeKept) {
    if (getuid() != 0) {
        GTEST_SKIP() << "needs two users";
    }
    chmod(folder.path().c_str(), 0777);
    chmod(path.c_str(), 0666);
    {
        const AsNobody nobodyElse;
        EXPECT_FALSE(AtomicFile(path).Open());
    }
    EXPECT_EQ(tree(), Lines{"f 0666: old"});
}

TEST_F(AtomicFileTest, OpenFailsWhereAnotherUsersFileHasTheNewName) {
    if (getuid() != 0) {
        GTEST_SKIP() << "needs two users";
    }
    // In such a folder nobody can remove what is not his.
    chmod(folder.path().c_str(), 01777);
    ASSERT_EQ(chown(path.c_str(), nobody, nobody), 0);
    FileTree::write(folder.path() / "f.new", "planted", 0666);
    {
        const AsNobody nobodyElse;
        EXPECT_FALSE(AtomicFile(path).Open());
    }
    EXPECT_EQ(tree(), (Lines{"f.new 0666: planted", "f: old"}));
}

TEST_F(AtomicFileTest, SyncFailsForTextThatDoesNotFit) {
    // Less than a stream's buffer and more: the error shows at the last flush, or before.
    for (const std::size_t size : {2000U, 100'000U}) {
        AtomicFile file(path);
        ASSERT_TRUE(file.Open());
        const FileSizeLimit limit(1000);
        print(file, std::string(size, 'x'));
        EXPECT_FALSE(file.Sync()) << size;
    }
    EXPECT_EQ(tree(), untouched);
}

TEST_F(AtomicFileTest, SyncFailsForEarlierErrors) {
    AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    {
        const FileSizeLimit limit(1000);
        print(file, std::string(100'000, 'x'));
        EXPECT_NE(std::ferror(file.Stream()), 0);
    }
    // What is printed now would fit again, behind the part that is missing.
    print(file, "the rest");
    EXPECT_FALSE(file.Sync());
}

TEST_F(AtomicFileTest, SyncFailsOnAFullDisk) {
    const std::string mountPoint = folder.path() / "disk";
    fs::create_directory(mountPoint);
    const ProgramResult mounted = runProgram({"mount", "-t", "tmpfs", "-o", "size=64k", "none", mountPoint});
    if (mounted.exitStatus != 0) {
        GTEST_SKIP() << "cannot mount a small disk: " << mounted.standardError;
    }
    EXPECT_TRUE(replace(folder.path() / "disk/f", "old"));
    {
        AtomicFile file(folder.path() / "disk/f");
        EXPECT_TRUE(file.Open());
        print(file, std::string(100'000, 'x'));
        EXPECT_FALSE(file.Sync());
    }
    EXPECT_EQ(FileTree::describe(mountPoint), untouched);
    EXPECT_EQ(runProgram({"umount", mountPoint}).exitStatus, 0);
}

TEST_F(AtomicFileTest, SyncFailsWhereTheDiskCannotBeReached) {
    AtomicFile file(path);
    ASSERT_TRUE(file.Open());
    ASSERT_TRUE(print(file, "new"));
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    dup2(ends[1], fileno(file.Stream())); // takes bytes, but knows no disk
    EXPECT_FALSE(file.Sync());
    close(ends[0]);
    close(ends[1]);
}

TEST_F(AtomicFileTest, CommitFailsWhenTheStreamCannotBeClosed) {
    {
        AtomicFile file(path);
        ASSERT_TRUE(file.Open());
        ASSERT_TRUE(print(file, "new") && file.Sync());
        close(fileno(file.Stream()));
        EXPECT_FALSE(file.Commit());
    }
    EXPECT_EQ(tree(), untouched);
}

TEST_F(AtomicFileTest, CommitFailsWithoutASync) {
    {
        AtomicFile file(path);
        ASSERT_TRUE(file.Open());
        ASSERT_TRUE(print(file, "new"));
        EXPECT_FALSE(file.Commit());
    }
    EXPECT_EQ(tree(), untouched);
}

TEST_F(AtomicFileTest, CommitFailsWhenTheNameCannotBeTaken) {
    {
        AtomicFile file(path);
        ASSERT_TRUE(file.Open());
        ASSERT_TRUE(print(file, "new") && file.Sync());
        fs::remove(folder.path() / "f");
        FileTree::write(folder.path() / "f/in a folder", "old");
        EXPECT_FALSE(file.Commit());
    }
    EXPECT_EQ(tree(), Lines{"f/in a folder: old"});
}

// What is no regular file. Never one of the machine's own devices: a fault here would replace it.

TEST_F(AtomicFileTest, APipeIsWrittenDirectly) {
    const std::string pipePath = folder.path() / "pipe";
    ASSERT_EQ(mkfifo(pipePath.c_str(), 0600), 0);
    const int reader = open(pipePath.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    EXPECT_TRUE(replace(pipePath, "new"));
    char text[8] = {};
    EXPECT_EQ(read(reader, text, sizeof text), 3);
    EXPECT_STREQ(text, "new");
    close(reader);
    EXPECT_TRUE(S_ISFIFO(statusOf(pipePath).st_mode));
    EXPECT_FALSE(fs::exists(folder.path() / "pipe.new"));
}

TEST_F(AtomicFileTest, AFullDeviceFails) {
    struct stat full = {};
    const std::string device = folder.path() / "full";
    if (stat("/dev/full", &full) != 0 || !S_ISCHR(full.st_mode) ||
        mknod(device.c_str(), S_IFCHR | 0600, full.st_rdev) != 0) {
        GTEST_SKIP() << "cannot make a device that is full";
    }
    const int usable = open(device.c_str(), O_WRONLY | O_CLOEXEC);
    if (usable < 0) {
        GTEST_SKIP() << "devices do not work in " << folder.path().c_str();
    }
    close(usable);
    EXPECT_FALSE(replace(device, "new"));
    EXPECT_TRUE(S_ISCHR(statusOf(device).st_mode));
    EXPECT_FALSE(fs::exists(folder.path() / "full.new"));
}
