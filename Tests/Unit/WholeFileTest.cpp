#include "Platform/WholeFile.h"

#include "Tests/Support/FileTree.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

class WholeFileTest : public testing::Test {
protected:
    std::string at(const std::string& name) const { return folder.path() / name; }
    std::string readAt(const std::string& name) const {
        const FileContent content = WholeFile::Read(at(name));
        return content.bytes == nullptr ? "error " + std::to_string(content.error)
                                        : std::string(content.bytes.get(), content.size);
    }
    static std::string error(int number) { return "error " + std::to_string(number); }

    TemporaryDirectory folder;
};

} // namespace

TEST_F(WholeFileTest, ReadsAllBytesAndPutsAZeroByteBehindThem) {
    const std::string bytes("a\0b\xff\r\n", 6);
    FileTree::write(folder.path() / "f", bytes);
    const FileContent content = WholeFile::Read(at("f"));
    ASSERT_NE(content.bytes, nullptr);
    EXPECT_EQ(std::string(content.bytes.get(), content.size), bytes);
    EXPECT_EQ(content.bytes[content.size], '\0');
    EXPECT_EQ(content.error, 0);
    EXPECT_EQ(content.state, WholeFile::StateOf(at("f")));
    EXPECT_EQ(content.state.type, static_cast<mode_t>(S_IFREG));
}

TEST_F(WholeFileTest, DistinguishesAnEmptyFileAMissingOneAndAnotherKind) {
    FileTree::write(folder.path() / "empty", "");
    fs::create_symlink("loop", folder.path() / "loop");
    ASSERT_EQ(mkfifo(at("pipe").c_str(), 0600), 0);
    EXPECT_EQ(readAt("empty"), error(0));
    EXPECT_EQ(readAt("none"), error(ENOENT));
    EXPECT_EQ(readAt("empty/below"), error(ENOTDIR));
    EXPECT_EQ(readAt("loop"), error(ELOOP));
    EXPECT_EQ(WholeFile::Read(at("none")).state, FileState());
    EXPECT_EQ(WholeFile::Read(at("pipe")).state.type, static_cast<mode_t>(S_IFIFO));
    EXPECT_EQ(WholeFile::Read(at("")).state.type, static_cast<mode_t>(S_IFDIR));
    EXPECT_EQ(WholeFile::Read(at("")).bytes, nullptr);
}

TEST_F(WholeFileTest, StateIsThatOfWhatALinkLeadsTo) {
    FileTree::write(folder.path() / "f", "f");
    fs::create_symlink("f", folder.path() / "link");
    EXPECT_EQ(WholeFile::StateOf(at("link")), WholeFile::StateOf(at("f")));
    EXPECT_EQ(WholeFile::StateOf(at("none")), FileState());
}

TEST_F(WholeFileTest, StatesDifferByEachOfTheirParts) {
    FileTree::write(folder.path() / "f", "f");
    const timespec times[] = {{1, 2}, {123, 456000}};
    ASSERT_EQ(utimensat(AT_FDCWD, at("f").c_str(), times, 0), 0);
    const FileState state = WholeFile::StateOf(at("f"));
    struct stat status {};
    ASSERT_EQ(stat(at("f").c_str(), &status), 0);
    EXPECT_EQ(state.device, static_cast<std::uint64_t>(status.st_dev));
    EXPECT_EQ(state.inode, static_cast<std::uint64_t>(status.st_ino));
    EXPECT_EQ(state.size, 1);
    EXPECT_EQ(state.seconds, 123);
    EXPECT_EQ(state.nanoseconds, 456000);
    EXPECT_EQ(state, FileState(state));
    std::vector<FileState> others(6, state);
    others[0].type = S_IFDIR;
    ++others[1].device;
    ++others[2].inode;
    ++others[3].size;
    ++others[4].seconds;
    ++others[5].nanoseconds;
    for (const FileState& other : others) {
        EXPECT_NE(state, other);
    }
}

TEST_F(WholeFileTest, MakesAFile) {
    int error = -1;
    const mode_t mask = umask(027);
    EXPECT_TRUE(WholeFile::Create(at("f"), "a\0b", 3, error));
    umask(mask);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(readAt("f"), std::string("a\0b", 3));
    struct stat status {};
    ASSERT_EQ(stat(at("f").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
}

TEST_F(WholeFileTest, MakesNoFileWhereTheNameIsTakenOrTheFolderIsMissing) {
    FileTree::write(folder.path() / "f", "old");
    fs::create_symlink("nowhere", folder.path() / "link");
    int error = 0;
    for (const auto& [name, expected] :
         {std::pair{"f", EEXIST}, std::pair{"link", EEXIST}, std::pair{"none/f", ENOENT}}) {
        EXPECT_FALSE(WholeFile::Create(at(name), "new", 3, error));
        EXPECT_EQ(error, expected) << name;
    }
    EXPECT_EQ(readAt("f"), "old");
    EXPECT_FALSE(fs::exists(folder.path() / "nowhere"));
}

TEST_F(WholeFileTest, LeavesNothingOfAFileThatDoesNotFit) {
    rlimit old = {};
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit limit = old;
    limit.rlim_cur = 4096;
    const auto action = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    int error = 0;
    const std::string large(64UL << 10, 'x');
    EXPECT_FALSE(WholeFile::Create(at("f"), large.data(), large.size(), error));
    setrlimit(RLIMIT_FSIZE, &old);
    (void)std::signal(SIGXFSZ, action);
    EXPECT_EQ(error, EFBIG);
    EXPECT_FALSE(fs::exists(at("f")));
}
