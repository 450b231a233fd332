// What every maker of PlatformServices does, but for its MakerDifferences.

#include "Platform/PlatformServices.h"

#include "Tests/Contract/MakerDifferences.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace PlatformServices;
using testing::ElementsAre;

namespace {

void write(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

void setMode(const fs::path& path, mode_t mode) {
    EXPECT_EQ(chmod(path.c_str(), mode), 0) << path;
}

constexpr time_t oldTime = 1'000'000'000;

void setOldTime(const fs::path& path) {
    const timespec times[] = {{oldTime, 0}, {oldTime, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

bool hasOldTime(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mtime == oldTime;
}

bool isThere(const fs::path& path) {
    return fs::exists(fs::symlink_status(path));
}

std::set<std::string> treeOf(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        names.insert(fs::relative(entry.path(), folder).string());
    }
    return names;
}

/// A file, a folder with a file in it, a link to each, and a dangling link.
class PlatformServicesContract : public testing::Test {
protected:
    void SetUp() override {
        write(path("file"), "text");
        fs::create_directory(path("folder"));
        write(path("folder/inner"), "inner text");
        fs::create_symlink("file", path("fileLink"));
        fs::create_directory_symlink("folder", path("folderLink"));
        fs::create_symlink("missing", path("dangling"));
    }

    fs::path path(const std::string& name) const { return folder.path() / name; }
    std::string operator()(const std::string& name) const { return path(name).string(); }

    void expectUnchanged() const {
        EXPECT_EQ(contentOf(path("file")), "text");
        EXPECT_THAT(treeOf(path("folder")), ElementsAre("inner"));
        EXPECT_EQ(contentOf(path("folder/inner")), "inner text");
        EXPECT_EQ(fs::read_symlink(path("fileLink")), "file");
        EXPECT_EQ(fs::read_symlink(path("folderLink")), "folder");
        EXPECT_EQ(fs::read_symlink(path("dangling")), "missing");
        EXPECT_FALSE(isThere(path("missing")));
    }

    TemporaryDirectory folder;
};

/// Under "unusable" there is no item, and none can be made.
const std::string unusable[] = {"", "/tmp/\xFF"};

// Path components

TEST_F(PlatformServicesContract, ComponentIsAppendedWithOneSlash) {
    EXPECT_EQ(AppendPathComponent("/Applications/Vorlane Uninstallers/", "Uninstall A B.app"),
              "/Applications/Vorlane Uninstallers/Uninstall A B.app");
    EXPECT_EQ(AppendPathComponent("/a", "b"), "/a/b");
    EXPECT_EQ(AppendPathComponent("/a", "/b"), "/a/b");
    EXPECT_EQ(AppendPathComponent("/a", "b/c.app"), "/a/b/c.app");
    EXPECT_EQ(AppendPathComponent("/a", "b/"), "/a/b");
    EXPECT_EQ(AppendPathComponent("/a", ""), "/a");
    EXPECT_EQ(AppendPathComponent("/", "b"), "/b");
    EXPECT_EQ(AppendPathComponent("/caf\xC3\xA9", "\xE4\xB8\xAD"), "/caf\xC3\xA9/\xE4\xB8\xAD");
}

TEST_F(PlatformServicesContract, ComponentThatIsNotUtf8GivesNoPath) {
    EXPECT_EQ(AppendPathComponent("/a", "\xFF"), "");
    EXPECT_EQ(AppendPathComponent("/\xFF", "b"), "");
    EXPECT_EQ(AppendPathComponent("/a", "cut \xC3"), "");
}

TEST_F(PlatformServicesContract, TextEndsAtAZeroByte) {
    const std::string hidden("\0\xFF", 2);
    EXPECT_EQ(AppendPathComponent("/a" + hidden, "b" + hidden), "/a/b");
    EXPECT_TRUE(CopyItem((*this)("file") + hidden, (*this)("copy") + hidden));
    EXPECT_TRUE(CreateSymbolicLink((*this)("new") + hidden, "target" + hidden));
    EXPECT_EQ(fs::read_symlink(path("new")), "target");
    EXPECT_TRUE(CreateFolder((*this)("made") + hidden));
    EXPECT_TRUE(RemoveItem((*this)("made") + hidden));
    EXPECT_FALSE(isThere(path("made")));
    EXPECT_EQ(contentOf(path("copy")), "text");
}

// Removing

TEST_F(PlatformServicesContract, FileOrFolderIsRemoved) {
    setMode(path("file"), 0400);
    ASSERT_EQ(mkfifo(path("folder/pipe").c_str(), 0600), 0);
    fs::create_directories(path("folder/a/b"));
    EXPECT_TRUE(RemoveItem((*this)("file")));
    EXPECT_TRUE(RemoveItem((*this)("folder")));
    EXPECT_FALSE(isThere(path("file")));
    EXPECT_FALSE(isThere(path("folder")));
}

TEST_F(PlatformServicesContract, LinkIsRemovedAndItsTargetStays) {
    for (const char* name : {"fileLink", "folderLink", "dangling"}) {
        EXPECT_TRUE(RemoveItem((*this)(name))) << name;
        EXPECT_FALSE(isThere(path(name))) << name;
    }
    EXPECT_EQ(contentOf(path("file")), "text");
    EXPECT_EQ(contentOf(path("folder/inner")), "inner text");
}

TEST_F(PlatformServicesContract, LinkNamedWithASlashIsRemovedAndItsTargetStays) {
    EXPECT_TRUE(RemoveItem((*this)("folderLink") + "/"));
    EXPECT_FALSE(isThere(path("folderLink")));
    EXPECT_EQ(contentOf(path("folder/inner")), "inner text");
}

TEST_F(PlatformServicesContract, LinksInARemovedFolderAreNotFollowed) {
    fs::create_directory(path("outer"));
    fs::create_directory_symlink("../folder", path("outer/link"));
    EXPECT_TRUE(RemoveItem((*this)("outer")));
    EXPECT_FALSE(isThere(path("outer")));
    EXPECT_EQ(contentOf(path("folder/inner")), "inner text");
}

TEST_F(PlatformServicesContract, NothingIsRemovedWhereNothingIs) {
    EXPECT_FALSE(RemoveItem((*this)("missing")));
    EXPECT_FALSE(RemoveItem((*this)("none/missing")));
    EXPECT_FALSE(RemoveItem((*this)("file/below")));
    for (const auto& item : unusable) {
        EXPECT_FALSE(RemoveItem(item));
    }
    expectUnchanged();
}

// Folders

TEST_F(PlatformServicesContract, FolderIsMadeWithItsParents) {
    const mode_t old = umask(027);
    const bool bMade = CreateFolder((*this)("a/b/c") + "/");
    umask(old);
    EXPECT_TRUE(bMade);
    EXPECT_EQ(modeOf(path("a")), 0750U);
    EXPECT_EQ(modeOf(path("a/b/c")), 0750U);
}

TEST_F(PlatformServicesContract, FolderThatIsThereIsEnough) {
    EXPECT_TRUE(CreateFolder((*this)("folder")));
    EXPECT_TRUE(CreateFolder((*this)("folderLink")));
    EXPECT_TRUE(CreateFolder((*this)("folderLink/new")));
    EXPECT_TRUE(fs::is_directory(path("folder/new")));
    EXPECT_TRUE(fs::is_symlink(path("folderLink")));
}

TEST_F(PlatformServicesContract, NoFolderIsMadeOverSomethingElse) {
    EXPECT_EQ(CreateFolder((*this)("file")), makerDifferences.bFileCountsAsFolder);
    EXPECT_FALSE(CreateFolder((*this)("file/below")));
    EXPECT_FALSE(CreateFolder((*this)("dangling")));
    for (const auto& item : unusable) {
        EXPECT_FALSE(CreateFolder(item));
    }
    expectUnchanged();
}

// Copying

TEST_F(PlatformServicesContract, FileIsCopiedWithItsPermissionsAndTime) {
    const mode_t old = umask(077);
    for (const mode_t mode : std::initializer_list<mode_t>{0755, 0640, 0444, 04755}) {
        const fs::path copy = path("copy" + std::to_string(mode));
        setMode(path("file"), mode);
        setOldTime(path("file"));
        EXPECT_TRUE(CopyItem((*this)("file"), copy));
        EXPECT_EQ(contentOf(copy), "text");
        EXPECT_EQ(modeOf(copy), mode);
        EXPECT_TRUE(hasOldTime(copy));
    }
    umask(old);
}

TEST_F(PlatformServicesContract, FolderIsCopiedWithAllItHolds) {
    fs::create_directories(path("folder/empty"));
    fs::create_directories(path("folder/.hidden/deep"));
    write(path("folder/.hidden/deep/caf\xC3\xA9"), std::string("a\0b", 3));
    write(path("folder/tool"), "#!/bin/sh");
    setMode(path("folder/tool"), 0755);
    setMode(path("folder/empty"), 0700);
    setMode(path("folder/.hidden"), 0750);
    EXPECT_TRUE(CopyItem((*this)("folder"), (*this)("copy")));
    EXPECT_EQ(treeOf(path("copy")), treeOf(path("folder")));
    EXPECT_EQ(contentOf(path("copy/.hidden/deep/caf\xC3\xA9")), std::string("a\0b", 3));
    EXPECT_EQ(modeOf(path("copy/tool")), 0755U);
    EXPECT_EQ(modeOf(path("copy/empty")), 0700U);
    EXPECT_EQ(modeOf(path("copy/.hidden")), 0750U);
}

TEST_F(PlatformServicesContract, FolderThatMayNotBeWrittenIsCopied) {
    setMode(path("folder"), 0555);
    const bool bEmpty = makerDifferences.bReadOnlyFolderIsCopiedEmpty && geteuid() != 0;
    EXPECT_EQ(CopyItem((*this)("folder"), (*this)("copy")), !bEmpty);
    EXPECT_EQ(contentOf(path("copy/inner")), bEmpty ? "" : "inner text");
    EXPECT_EQ(modeOf(path("copy")), 0555U);
    setMode(path("folder"), 0755);
    setMode(path("copy"), 0755);
}

TEST_F(PlatformServicesContract, CopiedFolderAndLinkKeepTheirTimes) {
    fs::create_symlink("inner", path("folder/link"));
    setOldTime(path("folder/inner"));
    setOldTime(path("folder/link"));
    setOldTime(path("folder"));
    EXPECT_TRUE(CopyItem((*this)("folder"), (*this)("copy")));
    EXPECT_TRUE(hasOldTime(path("copy/inner")));
    EXPECT_EQ(hasOldTime(path("copy/link")), !makerDifferences.bCopiedLinkHasANewTime);
    EXPECT_TRUE(hasOldTime(path("copy")));
}

TEST_F(PlatformServicesContract, LinkIsCopiedAsALink) {
    for (const char* name : {"fileLink", "folderLink", "dangling"}) {
        const fs::path copy = path(std::string("copy of ") + name);
        EXPECT_TRUE(CopyItem((*this)(name), copy)) << name;
        EXPECT_EQ(fs::read_symlink(copy), fs::read_symlink(path(name))) << name;
    }
    EXPECT_TRUE(CopyItem((*this)("folderLink") + "/", (*this)("another")));
    EXPECT_TRUE(fs::is_symlink(path("another")));
}

TEST_F(PlatformServicesContract, LinksInACopiedFolderStayLinks) {
    fs::create_symlink("inner", path("folder/relative"));
    fs::create_directory_symlink(path("folder"), path("folder/absolute"));
    fs::create_symlink("nowhere", path("folder/dangling"));
    EXPECT_TRUE(CopyItem((*this)("folder"), (*this)("copy")));
    EXPECT_EQ(fs::read_symlink(path("copy/relative")), "inner");
    EXPECT_EQ(fs::read_symlink(path("copy/absolute")), path("folder"));
    EXPECT_EQ(fs::read_symlink(path("copy/dangling")), "nowhere");
}

TEST_F(PlatformServicesContract, TargetOfACopiedLinkKeepsItsMode) {
    setMode(path("file"), 0640);
    EXPECT_TRUE(CopyItem((*this)("fileLink"), (*this)("copy")));
    EXPECT_EQ(modeOf(path("file")), makerDifferences.bCopiedLinkOpensItsTarget ? 0777U : 0640U);
}

TEST_F(PlatformServicesContract, NothingIsCopiedOntoWhatIsThere) {
    fs::create_directory(path("empty"));
    write(path("other"), "other text");
    for (const char* destination : {"file", "other", "empty", "folder", "fileLink", "folderLink"}) {
        for (const char* source : {"file", "folder", "fileLink"}) {
            EXPECT_FALSE(CopyItem((*this)(source), (*this)(destination)))
                << source << " onto " << destination;
        }
    }
    EXPECT_FALSE(CopyItem((*this)("file"), (*this)("empty") + "/"));
    EXPECT_FALSE(CopyItem((*this)("folder"), (*this)("dangling")));
    EXPECT_TRUE(fs::is_empty(path("empty")));
    EXPECT_EQ(contentOf(path("other")), "other text");
    expectUnchanged();
}

TEST_F(PlatformServicesContract, NoFileIsCopiedOntoADanglingLink) {
    EXPECT_EQ(CopyItem((*this)("file"), (*this)("dangling")), makerDifferences.bCopyFollowsADanglingLink);
    EXPECT_EQ(isThere(path("missing")), makerDifferences.bCopyFollowsADanglingLink);
    EXPECT_TRUE(fs::is_symlink(path("dangling")));
}

TEST_F(PlatformServicesContract, NothingIsCopiedWithoutASourceOrAFolderForIt) {
    EXPECT_FALSE(CopyItem((*this)("missing"), (*this)("copy")));
    EXPECT_FALSE(CopyItem((*this)("file"), (*this)("none/copy")));
    EXPECT_FALSE(CopyItem((*this)("folder"), (*this)("none/copy")));
    EXPECT_FALSE(CopyItem((*this)("file"), (*this)("other/file/copy")));
    for (const auto& item : unusable) {
        EXPECT_FALSE(CopyItem(item, (*this)("copy")));
        EXPECT_FALSE(CopyItem((*this)("file"), item));
    }
    EXPECT_FALSE(isThere(path("copy")));
    EXPECT_FALSE(isThere(path("none")));
    expectUnchanged();
}

TEST_F(PlatformServicesContract, FolderIsNotCopiedIntoItself) {
    EXPECT_FALSE(CopyItem((*this)("folder"), (*this)("folder/copy")));
    EXPECT_FALSE(CopyItem((*this)("folder"), (*this)("folder")));
    expectUnchanged();
}

// Links

TEST_F(PlatformServicesContract, SymbolicLinkHasTheTextAsGiven) {
    for (const char* target : {"file", "a/../b", "/a/b/", "/nowhere/caf\xC3\xA9", "folder"}) {
        EXPECT_TRUE(CreateSymbolicLink((*this)("new"), target)) << target;
        EXPECT_EQ(fs::read_symlink(path("new")).string(), target);
        fs::remove(path("new"));
    }
}

TEST_F(PlatformServicesContract, NoSymbolicLinkIsMadeOverWhatIsThereOrWithoutAFolder) {
    for (const char* name :
         {"file", "folder", "fileLink", "folderLink", "dangling", "none/link", "file/below"}) {
        EXPECT_FALSE(CreateSymbolicLink((*this)(name), "/target")) << name;
    }
    for (const auto& item : unusable) {
        EXPECT_FALSE(CreateSymbolicLink(item, "/target"));
        EXPECT_FALSE(CreateSymbolicLink((*this)("new"), item));
    }
    EXPECT_FALSE(isThere(path("new")));
    expectUnchanged();
}

// Together

TEST_F(PlatformServicesContract, UninstallerIsReplacedByASecondInstall) {
    fs::create_directories(path("Tool.app/Contents/MacOS"));
    write(path("Tool.app/Contents/MacOS/Tool"), "program");
    setMode(path("Tool.app/Contents/MacOS/Tool"), 0755);
    write(path("sku.xml"), "sku");
    for (int i = 0; i < 2; ++i) {
        const std::string bundle = AppendPathComponent((*this)("Uninstallers/"), "Uninstall A B.app");
        EXPECT_EQ(RemoveItem(bundle), i == 1);
        EXPECT_TRUE(CreateFolder((*this)("Uninstallers/")));
        EXPECT_TRUE(CopyItem((*this)("Tool.app"), bundle));
        EXPECT_TRUE(CopyItem((*this)("sku.xml"), bundle + "/Contents/sku.xml"));
        EXPECT_FALSE(CopyItem((*this)("sku.xml"), bundle + "/Contents/sku.xml"));
    }
    EXPECT_THAT(treeOf(path("Uninstallers")),
                ElementsAre("Uninstall A B.app", "Uninstall A B.app/Contents",
                            "Uninstall A B.app/Contents/MacOS", "Uninstall A B.app/Contents/MacOS/Tool",
                            "Uninstall A B.app/Contents/sku.xml"));
    EXPECT_EQ(modeOf(path("Uninstallers/Uninstall A B.app/Contents/MacOS/Tool")), 0755U);
}

} // namespace
