#include "Foundation/FileFinder.h"

#include "Tests/Support/CommandShim.h"
#include "Tests/Support/FakeMachine.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <type_traits>
#include <vector>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace {

void touch(const fs::path& path) {
    std::ofstream(path) << "";
}

std::vector<std::string> texts(const Vector<VLString>& strings) {
    std::vector<std::string> result;
    for (const VLString& string : strings) {
        result.emplace_back(string.ConstData(), string.Size());
    }
    return result;
}

std::vector<std::string> inSubDir(const VLString& directory) {
    return texts(FileFinder().FindFilesInSubDir("*", directory, true));
}

std::vector<std::string> inDir(const char* mask, const VLString& directory, bool fullPaths, bool folders) {
    std::vector<std::string> found = texts(FileFinder().FindFilesInDir(mask, directory, fullPaths, folders));
    EXPECT_EQ(texts(FileFinder().FindFilesOrFolders(mask, directory, fullPaths, folders)), found);
    return found;
}

} // namespace

TEST(FileFinder, CanBeDerivedFrom) {
    EXPECT_TRUE(std::has_virtual_destructor_v<FileFinder>);
}

TEST(FileFinder, FindsRegularFilesAtAnyDepth) {
    const TemporaryDirectory folder;
    fs::create_directories(folder.path() / "a b/c");
    touch(folder.path() / "f");
    touch(folder.path() / "a b/g");
    touch(folder.path() / "a b/c/.hidden");
    fs::create_symlink("f", folder.path() / "link");
    fs::create_directory_symlink("a b", folder.path() / "linkedFolder");
    ASSERT_EQ(mkfifo((folder.path() / "fifo").c_str(), 0600), 0);
    const std::string dir = folder.path().string();
    EXPECT_THAT(inSubDir(folder.text()),
                UnorderedElementsAre(dir + "/f", dir + "/a b/g", dir + "/a b/c/.hidden"));
}

TEST(FileFinder, PathsBeginWithTheFolderAsItWasGiven) {
    const TemporaryDirectory folder;
    fs::create_directory(folder.path() / "d");
    touch(folder.path() / "d/f");
    const std::string dir = folder.path().string();
    EXPECT_THAT(inSubDir(folder / "d/"), ElementsAre(dir + "/d/f"));
    EXPECT_THAT(inSubDir(folder / "d/../d"), ElementsAre(dir + "/d/../d/f"));
}

TEST(FileFinder, MaskAndFlagDoNotMatterBelowAFolder) {
    const TemporaryDirectory folder;
    touch(folder.path() / "f");
    const std::string file = (folder.path() / "f").string();
    EXPECT_THAT(texts(FileFinder().FindFilesInSubDir("*.txt", folder.text(), false)), ElementsAre(file));
    EXPECT_THAT(texts(FileFinder().FindFilesInSubDir("", folder.text(), true)), ElementsAre(file));
}

TEST(FileFinder, FolderOfFoldersHoldsNoFiles) {
    const TemporaryDirectory folder;
    fs::create_directories(folder.path() / "a/b");
    EXPECT_THAT(inSubDir(folder.text()), IsEmpty());
}

TEST(FileFinder, MissingFolderIsEmptyWithoutACommand) {
    const TemporaryDirectory folder;
    touch(folder.path() / "f");
    const CommandShim shim;
    EXPECT_THAT(inSubDir(folder / "missing"), IsEmpty());
    EXPECT_THAT(inSubDir(folder / "f"), IsEmpty());
    EXPECT_THAT(inSubDir(""), IsEmpty());
    EXPECT_THAT(shim.calls(), IsEmpty());

    EXPECT_THAT(inSubDir(folder.text()), ElementsAre((folder.path() / "f").string()));
    EXPECT_THAT(shim.calls(), ElementsAre(CommandShim::Call{"find", folder.path().string(), "-type", "f"}));
}

TEST(FileFinder, NamesMayHoldAllButALineFeed) {
    const TemporaryDirectory folder;
    std::vector<std::string> expected;
    for (const char* name : {"with  blanks ", "apostrophe's", "(a) & b; #c", "100%s", "-f", "*", "\"",
                             "$HOME", "`", "\\", "tab\there", "gr\xc3\xbcn"}) {
        touch(folder.path() / name);
        expected.push_back((folder.path() / name).string());
    }
    EXPECT_THAT(inSubDir(folder.text()), testing::UnorderedElementsAreArray(expected));
}

TEST(FileFinder, FolderMayHoldWhatDoubleQuotesProtect) {
    const TemporaryDirectory temporary;
    for (const char* name :
         {"with  blanks", "apostrophe's", "(a) & b; #c", "100%", "-f", "*", "gr\xc3\xbcn"}) {
        const fs::path folder = temporary.path() / name;
        fs::create_directory(folder);
        touch(folder / "f");
        EXPECT_THAT(inSubDir(VLString(folder.c_str())), ElementsAre((folder / "f").string()));
        EXPECT_THAT(inDir("*", VLString(folder.c_str()), true, false), ElementsAre((folder / "f").string()));
    }
}

TEST(FileFinder, NameWithALineFeedIsTwoEntries) {
    const TemporaryDirectory folder;
    touch(folder.path() / "a\nb");
    EXPECT_THAT(inSubDir(folder.text()), ElementsAre((folder.path() / "a").string(), "b"));
}

TEST(FileFinder, CommandsAreTheseTexts) {
    FakeMachine recorded;
    recorded.types["/a/../b c"] = S_IFDIR;
    recorded.output = "x\n\ny\n";
    const VLString folder("/a/../b c");
    EXPECT_THAT(texts(FileFinder().FindFilesInSubDir("*", folder, true)), ElementsAre("x", "y"));
    EXPECT_THAT(texts(FileFinder().FindFilesInDir("*.x y", folder, false, false)), ElementsAre("x", "y"));
    EXPECT_THAT(texts(FileFinder().FindFilesInDir("*", folder, true, true)), ElementsAre("/b c/x", "/b c/y"));
    EXPECT_THAT(recorded.commands,
                ElementsAre("find \"/a/../b c\" -type f 2>/dev/null",
                            "cd \"/a/../b c\" && find *.x y -type f -maxdepth 0 2>/dev/null",
                            "cd \"/a/../b c\" && find * -type d -maxdepth 0 2>/dev/null"));
}

TEST(FileFinder, NothingIsFoundWhenTheCommandCannotBeStarted) {
    FakeMachine recorded;
    recorded.types["/a"] = S_IFDIR;
    recorded.bResult = false;
    EXPECT_THAT(inSubDir("/a"), IsEmpty());
    EXPECT_THAT(inDir("*", "/a", true, false), IsEmpty());
}

TEST(FileFinder, FindsFilesOfOneFolderByWildcard) {
    const TemporaryDirectory folder;
    fs::create_directories(folder.path() / "sub.txt");
    touch(folder.path() / "a.txt");
    touch(folder.path() / "b c.txt");
    touch(folder.path() / "d.doc");
    touch(folder.path() / ".hidden.txt");
    touch(folder.path() / "sub.txt/e.txt");
    const std::string dir = folder.path().string();
    EXPECT_THAT(inDir("*.txt", folder.text(), true, false),
                UnorderedElementsAre(dir + "/a.txt", dir + "/b c.txt"));
    EXPECT_THAT(inDir("*.txt", folder.text(), false, false), UnorderedElementsAre("a.txt", "b c.txt"));
    EXPECT_THAT(inDir("d.doc", folder.text(), false, false), ElementsAre("d.doc"));
    EXPECT_THAT(inDir("*.txt", folder / "", true, false),
                UnorderedElementsAre(dir + "/a.txt", dir + "/b c.txt"));
}

TEST(FileFinder, FindsFoldersOfOneFolderByWildcard) {
    const TemporaryDirectory folder;
    fs::create_directories(folder.path() / "a.plugin/inner");
    fs::create_directories(folder.path() / "b");
    fs::create_directories(folder.path() / ".hidden");
    fs::create_directory_symlink("b", folder.path() / "link");
    touch(folder.path() / "file");
    EXPECT_THAT(inDir("*", folder.text(), false, true), UnorderedElementsAre("a.plugin", "b"));
    EXPECT_THAT(inDir("*.plugin", folder.text(), true, true),
                ElementsAre((folder.path() / "a.plugin").string()));
}

TEST(FileFinder, FullPathsBeginWithTheCollapsedFolder) {
    const TemporaryDirectory folder;
    fs::create_directories(folder.path() / "d");
    touch(folder.path() / "f");
    EXPECT_THAT(inDir("*", folder / "d/../", true, false), ElementsAre((folder.path() / "f").string()));
}

TEST(FileFinder, MaskWithoutMatchOrFolderFindsNothing) {
    const TemporaryDirectory folder;
    touch(folder.path() / "f");
    EXPECT_THAT(inDir("*.none", folder.text(), true, false), IsEmpty());
    EXPECT_THAT(inDir("f", folder.text(), true, true), IsEmpty());
    EXPECT_THAT(inDir("*", folder / "missing", true, false), IsEmpty());
}
