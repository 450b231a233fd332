#include "Foundation/FileLibrary.h"

#include "Foundation/Machine.h"
#include "Foundation/SimpleLog.h"
#include "Tests/Support/CapturedStdout.h"
#include "Tests/Support/CommandShim.h"
#include "Tests/Support/FakeMachine.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Texts.h"
#include "Tests/Support/WorkingFolder.h"

#include <climits>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Call = CommandShim::Call;

VLString vl(const fs::path& path) {
    return VLString(path.c_str());
}

void write(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool isThere(const fs::path& path) {
    return fs::exists(fs::symlink_status(path));
}

/// The permission bits of `path` itself.
mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

/// The modification time of `path` itself, in seconds since 1970.
time_t timeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mtime;
}

constexpr timespec oldTime{981173106, 123456000};

void setOldTime(const fs::path& path) {
    const timespec times[] = {oldTime, oldTime};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

ino_t inodeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_ino;
}

/// Lets this process open no more files until the end of the scope.
class NoMoreFiles {
public:
    NoMoreFiles() {
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit none = before;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreFiles() { setrlimit(RLIMIT_NOFILE, &before); }
    NoMoreFiles(const NoMoreFiles&) = delete;
    NoMoreFiles& operator=(const NoMoreFiles&) = delete;

private:
    rlimit before{};
};

std::string outputOf(const char* commandText) {
    VLString command(commandText);
    VLString output("what was there before");
    EXPECT_TRUE(exec(command, output));
    return bytesOf(output);
}

} // namespace

// VLMemoryBuffer

TEST(VLMemoryBuffer, IsEmptyAtFirst) {
    const VLMemoryBuffer buffer;
    EXPECT_EQ(buffer.data, nullptr);
    EXPECT_EQ(buffer.size, 0UL);
}

TEST(VLMemoryBuffer, InitGivesABlockOfItsSize) {
    VLMemoryBuffer buffer;
    buffer.init(5);
    ASSERT_NE(buffer.data, nullptr);
    EXPECT_EQ(buffer.size, 5UL);
    std::memset(buffer.data, 'x', 5); // the whole block is ours
    buffer.init(0);
    EXPECT_EQ(buffer.data, nullptr);
    EXPECT_EQ(buffer.size, 0UL);
}

TEST(VLMemoryBuffer, InitCopiesBytes) {
    VLMemoryBuffer buffer;
    char bytes[] = {'a', '\0', 'b'};
    buffer.init(bytes, 3);
    bytes[0] = 'z';
    ASSERT_EQ(buffer.size, 3UL);
    EXPECT_EQ(std::string(buffer.data, buffer.size), std::string("a\0b", 3));
}

TEST(VLMemoryBuffer, InitFromNothingEmptiesIt) {
    VLMemoryBuffer buffer;
    buffer.init("abc", 3);
    buffer.init(nullptr, 3);
    EXPECT_EQ(buffer.data, nullptr);
    EXPECT_EQ(buffer.size, 0UL);

    buffer.init("abc", 3);
    buffer.init("abc", 0);
    EXPECT_EQ(buffer.data, nullptr);
    EXPECT_EQ(buffer.size, 0UL);
}

TEST(VLMemoryBuffer, InitFromAPartOfItself) {
    VLMemoryBuffer buffer;
    buffer.init("abcdef", 6);
    buffer.init(buffer.data + 2, 3);
    EXPECT_EQ(std::string(buffer.data, buffer.size), "cde");
}

TEST(VLMemoryBuffer, IsEmptyWhereMemoryCannotBeHad) {
    for (const unsigned long size : {ULONG_MAX, ULONG_MAX / 2}) {
        VLMemoryBuffer buffer;
        buffer.init("abc", 3);
        buffer.init(size);
        EXPECT_EQ(buffer.data, nullptr);
        EXPECT_EQ(buffer.size, 0UL);

        buffer.init("abc", 3);
        buffer.init("abc", size);
        EXPECT_EQ(buffer.data, nullptr);
        EXPECT_EQ(buffer.size, 0UL);
    }
}

TEST(VLMemoryBuffer, CopiesAreIndependent) {
    VLMemoryBuffer buffer;
    buffer.init("abc", 3);
    const VLMemoryBuffer copy(buffer);
    VLMemoryBuffer assigned;
    assigned.init("old", 3);
    assigned = buffer;
    buffer.data[0] = 'z';
    EXPECT_EQ(std::string(copy.data, copy.size), "abc");
    EXPECT_EQ(std::string(assigned.data, assigned.size), "abc");

    assigned = VLMemoryBuffer();
    EXPECT_EQ(assigned.data, nullptr);
    EXPECT_EQ(assigned.size, 0UL);
}

TEST(VLMemoryBuffer, AssigningItToItselfChangesNothing) {
    VLMemoryBuffer buffer;
    buffer.init("abc", 3);
    const char* block = buffer.data;
    const VLMemoryBuffer& same = buffer;
    buffer = same;
    EXPECT_EQ(buffer.data, block);
    EXPECT_EQ(std::string(buffer.data, buffer.size), "abc");
}

// exec

TEST(Exec, GivesWhatTheCommandPrints) {
    EXPECT_EQ(outputOf("echo one; echo two"), "one\ntwo\n");
    EXPECT_EQ(outputOf("printf 'no line feed'"), "no line feed");
}

TEST(Exec, CommandThatPrintsNothingSucceedsWithEmptyOutput) {
    EXPECT_EQ(outputOf("true"), "");
    EXPECT_EQ(outputOf(""), "");
}

TEST(Exec, StatusOfTheCommandDoesNotMatter) {
    EXPECT_EQ(outputOf("echo text; exit 3"), "text\n");
    EXPECT_EQ(outputOf("exit 1"), "");
    EXPECT_EQ(outputOf("/no/such/program 2>/dev/null"), "");
}

TEST(Exec, ErrorTextIsNotCaptured) {
    EXPECT_EQ(outputOf("(echo error >&2) 2>/dev/null; echo text"), "text\n");
}

TEST(Exec, CommandStaysAsItIs) {
    VLString command("echo text");
    VLString output;
    EXPECT_TRUE(exec(command, output));
    EXPECT_EQ(bytesOf(command), "echo text");
}

TEST(Exec, LongLinesComeWhole) {
    for (const int length : {126, 127, 128, 129, 254, 255, 256, 5000}) {
        const std::string command = "printf '%0" + std::to_string(length) + "d\\n' 7; echo end";
        EXPECT_EQ(outputOf(command.c_str()),
                  std::string(static_cast<std::size_t>(length) - 1, '0') + "7\nend\n");
    }
}

TEST(Exec, MegabytesComeWhole) {
    const std::string output = outputOf("head -c 3000000 /dev/zero | tr '\\0' x");
    EXPECT_EQ(output.size(), 3000000UL);
    EXPECT_EQ(output.find_first_not_of('x'), std::string::npos);
}

TEST(Exec, BytesOfAllKindsComeAsTheyAre) {
    EXPECT_EQ(outputOf("printf '\\001\\377\\303\\274%%s\\r\\n'"), "\x01\xff\xc3\xbc%s\r\n");
}

TEST(Exec, ZeroByteHidesTheRestOfItsPiece) {
    EXPECT_EQ(outputOf("printf 'ab\\000cd\\nef\\n'"), "abef\n");
    // A piece ends with its line, or after 127 bytes.
    EXPECT_EQ(outputOf("printf 'ab\\000%0200d\\n' 7"), "ab" + std::string(200 - 127 + 3 - 1, '0') + "7\n");
}

TEST(Exec, FailsWithoutOutputWhenNothingCanBeStarted) {
    VLString command("echo text");
    VLString output("what was there before");
    // The sanitizers open a file of their own when they first look at an object's class, so that comes
    // before.
    VLString first("true");
    VLString nothing;
    ASSERT_TRUE(exec(first, nothing));
    bool bStarted = true;
    {
        const NoMoreFiles none;
        bStarted = exec(command, output);
    }
    EXPECT_FALSE(bStarted);
    EXPECT_EQ(bytesOf(output), "");
}

// The order of what this program and its commands print

TEST(FileLibrary, WhatWasPrintedBeforeComesOutBeforeTheCommandsOutput) {
    CommandShim shim;
    shim.replace("rm", "echo from rm");
    CapturedStdout captured(CapturedStdout::Into::Pipe);
    SimpleLog::printText("first\n");
    EXPECT_TRUE(FileLibrary::RemoveFile("x"));
    ASSERT_NE(std::fputs("still in the buffer\n", stdout), EOF);
    EXPECT_TRUE(FileLibrary::RemoveFile("x"));
    SimpleLog::printLog(SimpleLog::Info, "", "", 0, "last");
    EXPECT_EQ(captured.text(), "first\nfrom rm\nstill in the buffer\nfrom rm\nlast\n");
}

TEST(Exec, WhatWasPrintedBeforeIsOutWhenTheCommandRuns) {
    CapturedStdout captured(CapturedStdout::Into::Pipe);
    ASSERT_NE(std::fputs("before", stdout), EOF);
    EXPECT_EQ(outputOf("true"), "");
    EXPECT_EQ(captured.unbufferedText(), "before");
}

// IsFileExists

TEST(FileLibrary, FileIsAFileAndNoDirectory) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    EXPECT_TRUE(FileLibrary::IsFileExists(folder / "f", false));
    EXPECT_FALSE(FileLibrary::IsFileExists(folder / "f", true));
    EXPECT_FALSE(FileLibrary::IsDirectoryExists(folder / "f"));
}

TEST(FileLibrary, DirectoryIsADirectoryAndNoFile) {
    const TemporaryDirectory folder;
    EXPECT_FALSE(FileLibrary::IsFileExists(folder.text(), false));
    EXPECT_TRUE(FileLibrary::IsFileExists(folder.text(), true));
    EXPECT_TRUE(FileLibrary::IsFileExists(folder.text() + "/", true));
    EXPECT_TRUE(FileLibrary::IsDirectoryExists(folder.text()));
}

TEST(FileLibrary, LinksAreFollowedToWhatTheyLeadTo) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    fs::create_symlink("f", folder.path() / "toFile");
    fs::create_symlink(".", folder.path() / "toFolder");
    fs::create_symlink("missing", folder.path() / "dangling");
    fs::create_symlink("loop", folder.path() / "loop");
    EXPECT_TRUE(FileLibrary::IsFileExists(folder / "toFile", false));
    EXPECT_FALSE(FileLibrary::IsFileExists(folder / "toFile", true));
    EXPECT_FALSE(FileLibrary::IsFileExists(folder / "toFolder", false));
    EXPECT_TRUE(FileLibrary::IsFileExists(folder / "toFolder", true));
    for (const char* name : {"dangling", "loop"}) {
        EXPECT_FALSE(FileLibrary::IsFileExists(folder / name, false)) << name;
        EXPECT_FALSE(FileLibrary::IsFileExists(folder / name, true)) << name;
    }
}

TEST(FileLibrary, WhatIsMissingOrOfAnotherKindIsNeither) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    ASSERT_EQ(mkfifo((folder.path() / "fifo").c_str(), 0600), 0);
    for (const VLString& path : {VLString(), folder / "missing", folder / "f/", folder / "f/below",
                                 folder / "fifo", VLString("/dev/null")}) {
        EXPECT_FALSE(FileLibrary::IsFileExists(path, false)) << bytesOf(path);
        EXPECT_FALSE(FileLibrary::IsFileExists(path, true)) << bytesOf(path);
        EXPECT_FALSE(FileLibrary::IsDirectoryExists(path)) << bytesOf(path);
    }
}

TEST(FileLibrary, EmptyPathIsNothingWhateverTheMachineSays) {
    FakeMachine recorded;
    for (const bool bDirectory : {false, true}) {
        recorded.types[""] = bDirectory ? S_IFDIR : S_IFREG;
        EXPECT_FALSE(FileLibrary::IsFileExists("", bDirectory));
    }
}

// The text of the commands

TEST(FileLibrary, CommandsTakeEachPathBetweenDoubleQuotes) {
    const TemporaryDirectory folder;
    const std::string dir = folder.path().string();
    write(folder.path() / "f", "");
    FakeMachine recorded;
    EXPECT_TRUE(FileLibrary::RemoveFile("/a b"));
    EXPECT_TRUE(FileLibrary::CreateDirectory("/a b", true));
    EXPECT_TRUE(FileLibrary::CreateDirectory("/a b", false));
    EXPECT_TRUE(FileLibrary::CreateDirectory("", false));
    EXPECT_TRUE(FileLibrary::CopyFile(folder / "f", "/to\\$`\""));
    EXPECT_TRUE(FileLibrary::CreateShortCut(folder / "f", "/link"));
    EXPECT_TRUE(FileLibrary::CreateShortCut(folder.text(), "-link"));
    EXPECT_TRUE(FileLibrary::RemoveFolder(folder.text()));
    EXPECT_TRUE(FileLibrary::RemoveEmptyDirectory(folder.text()));
    EXPECT_THAT(recorded.commands,
                ElementsAre("rm -f \"/a b\"", "mkdir -p \"/a b\"", "mkdir \"/a b\"", "mkdir \"\"",
                            "cp -f \"" + dir + "/f\" \"/to\\$`\"\"", "ln -sf \"" + dir + "/f\" \"/link\"",
                            "ln -sf \"" + dir + "\" \"-link\"", "rm -rf \"" + dir + "\"",
                            "rmdir \"" + dir + "\""));
}

TEST(FileLibrary, ResultIsThatOfTheCommand) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    FakeMachine recorded;
    recorded.bResult = false;
    EXPECT_FALSE(FileLibrary::RemoveFile(folder / "f"));
    EXPECT_FALSE(FileLibrary::CreateDirectory(folder / "d", true));
    EXPECT_FALSE(FileLibrary::CreateDirectory(folder / "d", false));
    EXPECT_FALSE(FileLibrary::CopyFile(folder / "f", folder / "g"));
    EXPECT_FALSE(FileLibrary::CreateShortCut(folder / "f", folder / "l"));
    EXPECT_FALSE(FileLibrary::RemoveFolder(folder.text()));
    EXPECT_FALSE(FileLibrary::RemoveEmptyDirectory(folder.text()));
    EXPECT_FALSE(FileLibrary::CopyFolder(folder.text(), folder / "d", false));
    EXPECT_EQ(recorded.commands.size(), 8UL);
}

TEST(FileLibrary, OnlyStatusZeroIsSuccess) {
    CommandShim shim;
    for (const char* script : {"exit 1", "exit 2", "exit 255", "kill -9 $$"}) {
        shim.replace("rm", script);
        EXPECT_FALSE(FileLibrary::RemoveFile("/missing")) << script;
    }
    shim.replace("rm", "exit 0");
    EXPECT_TRUE(FileLibrary::RemoveFile("/missing"));
}

TEST(FileLibrary, EachOperationIsOneCallOfItsTool) {
    const TemporaryDirectory folder;
    const std::string dir = folder.path().string();
    const CommandShim shim;
    EXPECT_TRUE(FileLibrary::CreateDirectory(folder / "p/q r", true));
    EXPECT_TRUE(FileLibrary::CreateDirectory(folder / "d", false));
    write(folder.path() / "f", "text");
    EXPECT_TRUE(FileLibrary::CopyFile(folder / "f", folder / "g"));
    EXPECT_TRUE(FileLibrary::CreateShortCut(folder / "f", folder / "l"));
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "f"));
    EXPECT_TRUE(FileLibrary::RemoveEmptyDirectory(folder / "d"));
    EXPECT_TRUE(FileLibrary::RemoveFolder(folder / "p"));
    EXPECT_THAT(shim.calls(),
                ElementsAre(Call{"mkdir", "-p", dir + "/p/q r"}, Call{"mkdir", dir + "/d"},
                            Call{"cp", "-f", dir + "/f", dir + "/g"},
                            Call{"ln", "-sf", dir + "/f", dir + "/l"}, Call{"rm", "-f", dir + "/f"},
                            Call{"rmdir", dir + "/d"}, Call{"rm", "-rf", dir + "/p"}));
}

// Names

class FileLibraryNames : public testing::TestWithParam<const char*> {};

TEST_P(FileLibraryNames, AreSafeBetweenDoubleQuotes) {
    const TemporaryDirectory temporary;
    const std::string name = GetParam();
    const fs::path folder = temporary.path() / name;
    const fs::path file = folder / name;
    const fs::path other = folder / ("2" + name);

    EXPECT_TRUE(FileLibrary::CreateDirectory(vl(folder), false));
    EXPECT_TRUE(FileLibrary::writeFile("text", vl(file), false));
    EXPECT_EQ(contentOf(file), "text");
    EXPECT_TRUE(FileLibrary::IsFileExists(vl(file), false));
    EXPECT_TRUE(FileLibrary::CopyFile(vl(file), vl(other)));
    EXPECT_EQ(contentOf(other), "text");

    const fs::path link = folder / ("link" + name);
    EXPECT_TRUE(FileLibrary::CreateShortCut(vl(file), vl(link)));
    EXPECT_EQ(fs::read_symlink(link), file);

    const fs::path copy = temporary.path() / ("copy" + name) / name;
    EXPECT_TRUE(FileLibrary::CopyFolder(vl(folder), vl(copy), false));
    EXPECT_EQ(contentOf(copy / name), "text");

    EXPECT_TRUE(FileLibrary::RemoveFile(vl(other)));
    EXPECT_FALSE(isThere(other));
    EXPECT_TRUE(FileLibrary::RemoveFolder(vl(folder)));
    EXPECT_FALSE(isThere(folder));

    EXPECT_TRUE(FileLibrary::CreateDirectory(vl(folder / name), true));
    EXPECT_TRUE(FileLibrary::RemoveEmptyDirectory(vl(folder / name)));
    EXPECT_FALSE(isThere(folder / name));
    EXPECT_TRUE(isThere(folder));
}

INSTANTIATE_TEST_SUITE_P(FileLibrary, FileLibraryNames,
                         testing::Values("with several  blanks", " blank at both ends ", "apostrophe's",
                                         "(parentheses) [brackets] {braces}", "a&b", "a&&b", "a;b", "#number",
                                         "100%", "%s%n", "-f", "--help", "-", "*", "a?c", "a|b", "<in>out",
                                         "~", "!bang", "a=b", "tab\there", "line\nfeed", "gr\xc3\xbc\xc3\x9f",
                                         "gru\xcc\x88n", "\xe4\xb8\xad\xe6\x96\x87", "\xf0\x9f\x98\x80",
                                         "latin\xfc-1", ".hidden", "..."));

TEST(FileLibrary, DoubleQuoteInANameBreaksTheCommand) {
    const TemporaryDirectory folder;
    write(folder.path() / "a\"b", "");
    EXPECT_FALSE(FileLibrary::RemoveFile(folder / "a\"b")); // the shell misses the closing quote
    EXPECT_TRUE(isThere(folder.path() / "a\"b"));

    const CommandShim shim;
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "x\" \"y"));
    EXPECT_THAT(shim.calls(), ElementsAre(Call{"rm", "-f", (folder.path() / "x").string(), "y"}));
}

TEST(FileLibrary, DollarAndBackquoteInANameAreExpanded) {
    const TemporaryDirectory folder;
    const std::string dir = folder.path().string();
    const ScopedEnvironment variable("FILE_LIBRARY_TEST", "x y");
    const CommandShim shim;
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "$FILE_LIBRARY_TEST"));
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "$(echo a)"));
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "`echo b`"));
    EXPECT_THAT(shim.calls(), ElementsAre(Call{"rm", "-f", dir + "/x y"}, Call{"rm", "-f", dir + "/a"},
                                          Call{"rm", "-f", dir + "/b"}));
}

TEST(FileLibrary, BackslashInANameTakesTheMeaningFromTheNext) {
    const TemporaryDirectory folder;
    const std::string dir = folder.path().string();
    const CommandShim shim;
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "a\\b"));
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "a\\\\b"));
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "a\\$b"));
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "a\\\"b"));
    EXPECT_THAT(shim.calls(), ElementsAre(Call{"rm", "-f", dir + "/a\\b"}, Call{"rm", "-f", dir + "/a\\b"},
                                          Call{"rm", "-f", dir + "/a$b"}, Call{"rm", "-f", dir + "/a\"b"}));
}

TEST(FileLibrary, RelativePathThatBeginsWithADashIsAnOption) {
    const TemporaryDirectory folder;
    const WorkingFolder working(folder.path());
    write("-x", "");
    write("-R", "");
    fs::create_directory("-p");
    const CommandShim shim;
    EXPECT_FALSE(FileLibrary::RemoveFile("-x"));
    EXPECT_TRUE(FileLibrary::RemoveFile("-R")); // rm -f of nothing
    EXPECT_FALSE(FileLibrary::RemoveEmptyDirectory("-p"));
    EXPECT_THAT(shim.calls(),
                ElementsAre(Call{"rm", "-f", "-x"}, Call{"rm", "-f", "-R"}, Call{"rmdir", "-p"}));
    EXPECT_TRUE(isThere("-x") && isThere("-R") && isThere("-p"));
    EXPECT_TRUE(FileLibrary::RemoveFile("./-x"));
    EXPECT_FALSE(isThere("-x"));
}

// Single operations

TEST(FileLibrary, RemoveFileOfAMissingFileSucceeds) {
    const TemporaryDirectory folder;
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "missing"));
}

TEST(FileLibrary, RemoveFileOfAnEmptyPathRunsNothing) {
    const FakeMachine recorded;
    EXPECT_FALSE(FileLibrary::RemoveFile(""));
    EXPECT_THAT(recorded.commands, IsEmpty());
}

TEST(FileLibrary, RemoveFileRemovesALinkAndLeavesItsTarget) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "text");
    fs::create_symlink("f", folder.path() / "l");
    EXPECT_TRUE(FileLibrary::RemoveFile(folder / "l"));
    EXPECT_FALSE(isThere(folder.path() / "l"));
    EXPECT_EQ(contentOf(folder.path() / "f"), "text");
}

TEST(FileLibrary, RemoveFileDoesNotRemoveADirectory) {
    const TemporaryDirectory folder;
    fs::create_directory(folder.path() / "d");
    EXPECT_FALSE(FileLibrary::RemoveFile(folder / "d"));
    EXPECT_TRUE(isThere(folder.path() / "d"));
}

TEST(FileLibrary, CreateDirectoryMakesParentsOnlyWhenAsked) {
    const TemporaryDirectory folder;
    EXPECT_FALSE(FileLibrary::CreateDirectory(folder / "a/b", false));
    EXPECT_FALSE(isThere(folder.path() / "a"));
    EXPECT_TRUE(FileLibrary::CreateDirectory(folder / "a/b", true));
    EXPECT_TRUE(fs::is_directory(folder.path() / "a/b"));
}

TEST(FileLibrary, CreateDirectoryThatIsThereSucceedsOnlyWithParents) {
    const TemporaryDirectory folder;
    EXPECT_FALSE(FileLibrary::CreateDirectory(folder.text(), false));
    EXPECT_TRUE(FileLibrary::CreateDirectory(folder.text(), true));
    EXPECT_FALSE(FileLibrary::CreateDirectory("", true));
}

TEST(FileLibrary, CopyFileReplacesTheDestination) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "new");
    write(folder.path() / "g", "old and longer");
    EXPECT_TRUE(FileLibrary::CopyFile(folder / "f", folder / "g"));
    EXPECT_EQ(contentOf(folder.path() / "g"), "new");
    EXPECT_EQ(contentOf(folder.path() / "f"), "new");
}

TEST(FileLibrary, CopyFileIntoADirectoryKeepsTheName) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "text");
    fs::create_directory(folder.path() / "d");
    EXPECT_TRUE(FileLibrary::CopyFile(folder / "f", folder / "d"));
    EXPECT_EQ(contentOf(folder.path() / "d/f"), "text");
}

TEST(FileLibrary, CopyFileCopiesWhatALinkLeadsTo) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "text");
    fs::create_symlink("f", folder.path() / "l");
    EXPECT_TRUE(FileLibrary::CopyFile(folder / "l", folder / "g"));
    EXPECT_FALSE(fs::is_symlink(folder.path() / "g"));
    EXPECT_EQ(contentOf(folder.path() / "g"), "text");
}

TEST(FileLibrary, CopyFileOfAnythingButAFileRunsNothing) {
    const TemporaryDirectory folder;
    const FakeMachine recorded;
    EXPECT_FALSE(FileLibrary::CopyFile(folder.text(), folder / "g"));
    EXPECT_FALSE(FileLibrary::CopyFile(folder / "missing", folder / "g"));
    EXPECT_FALSE(FileLibrary::CopyFile("", folder / "g"));
    EXPECT_FALSE(FileLibrary::CopyFile("/dev/null", folder / "g"));
    EXPECT_THAT(recorded.commands, IsEmpty());
}

TEST(FileLibrary, CopyFileIntoAMissingFolderFails) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "text");
    EXPECT_FALSE(FileLibrary::CopyFile(folder / "f", folder / "missing/g"));
}

TEST(FileLibrary, ShortCutIsALinkWithTheTargetsText) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    fs::create_directory(folder.path() / "d");
    EXPECT_TRUE(FileLibrary::CreateShortCut(folder / "f", folder / "toFile"));
    EXPECT_EQ(fs::read_symlink(folder.path() / "toFile"), folder.path() / "f");
    EXPECT_TRUE(FileLibrary::CreateShortCut(folder / "d/../d/", folder / "toFolder"));
    EXPECT_EQ(fs::read_symlink(folder.path() / "toFolder").string(), folder.path().string() + "/d/../d/");
}

TEST(FileLibrary, ShortCutReplacesAFileOrALink) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    write(folder.path() / "oldFile", "old");
    fs::create_symlink("missing", folder.path() / "oldLink");
    for (const char* name : {"oldFile", "oldLink"}) {
        EXPECT_TRUE(FileLibrary::CreateShortCut(folder / "f", folder / name));
        EXPECT_EQ(fs::read_symlink(folder.path() / name), folder.path() / "f") << name;
    }
}

TEST(FileLibrary, ShortCutOverADirectoryGoesInside) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    fs::create_directory(folder.path() / "d");
    fs::create_symlink("d", folder.path() / "toFolder");
    EXPECT_TRUE(FileLibrary::CreateShortCut(folder / "f", folder / "toFolder"));
    EXPECT_EQ(fs::read_symlink(folder.path() / "toFolder"), "d");
    EXPECT_EQ(fs::read_symlink(folder.path() / "d/f"), folder.path() / "f");
}

TEST(FileLibrary, ShortCutWithoutTargetOrLinkRunsNothing) {
    const TemporaryDirectory folder;
    fs::create_symlink("missing", folder.path() / "dangling");
    const FakeMachine recorded;
    EXPECT_FALSE(FileLibrary::CreateShortCut(folder / "missing", folder / "l"));
    EXPECT_FALSE(FileLibrary::CreateShortCut(folder / "dangling", folder / "l"));
    EXPECT_FALSE(FileLibrary::CreateShortCut("/dev/null", folder / "l"));
    EXPECT_FALSE(FileLibrary::CreateShortCut("", folder / "l"));
    EXPECT_FALSE(FileLibrary::CreateShortCut(folder.text(), ""));
    EXPECT_THAT(recorded.commands, IsEmpty());
}

TEST(FileLibrary, RemoveFolderRemovesAllBelowAndNothingBehindLinks) {
    const TemporaryDirectory folder;
    fs::create_directories(folder.path() / "d/sub");
    write(folder.path() / "d/sub/f", "");
    write(folder.path() / "outside", "text");
    fs::create_directory(folder.path() / "elsewhere");
    write(folder.path() / "elsewhere/f", "text");
    fs::create_symlink("../elsewhere", folder.path() / "d/link");
    EXPECT_TRUE(FileLibrary::RemoveFolder(folder / "d"));
    EXPECT_FALSE(isThere(folder.path() / "d"));
    EXPECT_EQ(contentOf(folder.path() / "elsewhere/f"), "text");
}

TEST(FileLibrary, RemoveFolderOfALinkRemovesTheLink) {
    const TemporaryDirectory folder;
    fs::create_directory(folder.path() / "d");
    write(folder.path() / "d/f", "text");
    fs::create_symlink("d", folder.path() / "l");
    EXPECT_TRUE(FileLibrary::RemoveFolder(folder / "l"));
    EXPECT_FALSE(isThere(folder.path() / "l"));
    EXPECT_EQ(contentOf(folder.path() / "d/f"), "text");
}

TEST(FileLibrary, RemoveFolderOfWhatIsNoDirectoryHasNothingToDo) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "text");
    const FakeMachine recorded;
    EXPECT_TRUE(FileLibrary::RemoveFolder(folder / "missing"));
    EXPECT_TRUE(FileLibrary::RemoveFolder(folder / "f"));
    EXPECT_TRUE(FileLibrary::RemoveFolder(""));
    EXPECT_TRUE(FileLibrary::RemoveFolder("/*"));
    EXPECT_THAT(recorded.commands, IsEmpty());
}

TEST(FileLibrary, RemoveFolderRemovesTheCollapsedPath) {
    FakeMachine recorded;
    recorded.types["/a/b/../c"] = S_IFDIR;
    EXPECT_TRUE(FileLibrary::RemoveFolder("/a/b/../c"));
    EXPECT_THAT(recorded.commands, ElementsAre("rm -rf \"/a/c\""));
}

TEST(FileLibrary, RemoveFolderRefusesTheRootAndTheWorkingFolder) {
    FakeMachine recorded;
    for (const char* path : {"/", "/a/../", "/a/b/../../", ".", "/*", "*", "/a/../*"}) {
        recorded.types[path] = S_IFDIR;
        EXPECT_FALSE(FileLibrary::RemoveFolder(path)) << path;
    }
    EXPECT_THAT(recorded.commands, IsEmpty());
}

TEST(FileLibrary, RemoveFolderRefusesTheMachinesRootWithoutCallingRm) {
    CommandShim shim;
    shim.replace("rm", "exit 0"); // were it called after all, nothing would be lost
    const TemporaryDirectory folder;
    fs::create_directories(folder.path() / "*" / "kept");
    const WorkingFolder working(folder.path());
    for (const char* path : {"/", "/usr/../", "/usr/bin/../../", ".", "*"}) {
        EXPECT_FALSE(FileLibrary::RemoveFolder(path)) << path;
    }
    EXPECT_THAT(shim.calls(), IsEmpty());
    EXPECT_TRUE(isThere("*/kept"));
}

TEST(FileLibrary, RemoveEmptyDirectoryRemovesOnlyAnEmptyOne) {
    const TemporaryDirectory folder;
    fs::create_directories(folder.path() / "d/e");
    EXPECT_FALSE(FileLibrary::RemoveEmptyDirectory(folder / "d"));
    EXPECT_TRUE(isThere(folder.path() / "d/e"));
    EXPECT_TRUE(FileLibrary::RemoveEmptyDirectory(folder / "d/e"));
    EXPECT_TRUE(FileLibrary::RemoveEmptyDirectory(folder / "d"));
    EXPECT_FALSE(isThere(folder.path() / "d"));
}

TEST(FileLibrary, RemoveEmptyDirectoryOfWhatIsNoDirectoryHasNothingToDo) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    const FakeMachine recorded;
    EXPECT_TRUE(FileLibrary::RemoveEmptyDirectory(folder / "missing"));
    EXPECT_TRUE(FileLibrary::RemoveEmptyDirectory(folder / "f"));
    EXPECT_TRUE(FileLibrary::RemoveEmptyDirectory(""));
    EXPECT_THAT(recorded.commands, IsEmpty());
}

// CopyFolder: what it runs

TEST(CopyFolder, RunsDittoWhereTheMachineHasIt) {
    FakeMachine recorded;
    recorded.programs = {"ditto"};
    recorded.types["/from a"] = S_IFDIR;
    EXPECT_TRUE(FileLibrary::CopyFolder("/from a", "/to b", false));
    EXPECT_TRUE(FileLibrary::CopyFolder("/from a", "/to b", true));
    EXPECT_THAT(recorded.commands, ElementsAre("ditto \"/from a\" \"/to b\"", "touch \"/to b\"",
                                               "ditto \"/from a\" \"/to b\"", "touch \"/to b\""));
}

TEST(CopyFolder, RunsOneCommandWithTheSameEffectElsewhere) {
    FakeMachine recorded;
    recorded.types["/from a"] = S_IFDIR;
    EXPECT_TRUE(FileLibrary::CopyFolder("/from a", "/to b", false));
    EXPECT_THAT(recorded.commands,
                ElementsAre("mkdir -p \"/to b\" && cp -a --remove-destination \"/from a/.\" \"/to b\"",
                            "touch \"/to b\""));
}

TEST(CopyFolder, FindsDittoInTheSearchPath) {
    const TemporaryDirectory folder;
    fs::create_directory(folder.path() / "s");
    CommandShim shim;
    shim.replace("ditto", "exit 0");
    shim.replace("touch", "exit 0");
    EXPECT_TRUE(FileLibrary::CopyFolder(folder / "s", folder / "d", false));
    EXPECT_THAT(shim.calls(), ElementsAre(Call{"ditto", bytesOf(folder / "s"), bytesOf(folder / "d")},
                                          Call{"touch", bytesOf(folder / "d")}));
}

TEST(CopyFolder, FailedCopyIsNotTouched) {
    const TemporaryDirectory folder;
    fs::create_directory(folder.path() / "s");
    CommandShim shim;
    shim.replace("ditto", "exit 1");
    EXPECT_FALSE(FileLibrary::CopyFolder(folder / "s", folder / "d", false));
    EXPECT_THAT(shim.calls(), ElementsAre(Call{"ditto", bytesOf(folder / "s"), bytesOf(folder / "d")}));
}

TEST(CopyFolder, FailedTouchDoesNotMatter) {
    const TemporaryDirectory folder;
    fs::create_directory(folder.path() / "s");
    CommandShim shim;
    shim.replace("touch", "exit 1");
    EXPECT_TRUE(FileLibrary::CopyFolder(folder / "s", folder / "d", false));
    EXPECT_THAT(shim.calls().back(), (Call{"touch", bytesOf(folder / "d")}));
}

TEST(CopyFolder, OfAnythingButADirectoryRunsNothing) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    const FakeMachine recorded;
    EXPECT_FALSE(FileLibrary::CopyFolder(folder / "missing", folder / "d", false));
    EXPECT_FALSE(FileLibrary::CopyFolder(folder / "f", folder / "d", false));
    EXPECT_FALSE(FileLibrary::CopyFolder("", folder / "d", false));
    EXPECT_THAT(recorded.commands, IsEmpty());
}

TEST(CopyFolder, RemovesALinkToADirectoryFirst) {
    FakeMachine recorded;
    recorded.programs = {"ditto"};
    recorded.types = {{"/s", S_IFDIR}, {"/l", S_IFDIR}};
    recorded.linkTypes = {{"/l", S_IFLNK}};
    EXPECT_TRUE(FileLibrary::CopyFolder("/s", "/l", false));
    EXPECT_THAT(recorded.commands, ElementsAre("rm -rf \"/l\"", "ditto \"/s\" \"/l\"", "touch \"/l\""));
}

TEST(CopyFolder, CopiesEvenWhereTheLinkCannotBeRemoved) {
    CommandShim shim;
    shim.replace("rm", "exit 1");
    shim.replace("ditto", "exit 0");
    shim.replace("touch", "exit 0");
    const TemporaryDirectory folder;
    fs::create_directory(folder.path() / "s");
    fs::create_symlink("s", folder.path() / "l");
    EXPECT_TRUE(FileLibrary::CopyFolder(folder / "s", folder / "l", false));
    EXPECT_THAT(shim.calls(), ElementsAre(Call{"rm", "-rf", bytesOf(folder / "l")},
                                          Call{"ditto", bytesOf(folder / "s"), bytesOf(folder / "l")},
                                          Call{"touch", bytesOf(folder / "l")}));
}

TEST(CopyFolder, MaskOfTheLinkTypeDecidesWhatIsRemovedFirst) {
    // The destination resolves to a directory throughout; only its own type differs.
    const auto removesFirst = [](mode_t type) {
        FakeMachine recorded;
        recorded.types = {{"/s", S_IFDIR}, {"/d", S_IFDIR}};
        recorded.linkTypes = {{"/d", type}};
        EXPECT_TRUE(FileLibrary::CopyFolder("/s", "/d", false));
        return recorded.commands.front() == "rm -rf \"/d\"";
    };
    for (const mode_t type : std::vector<mode_t>{S_IFLNK, S_IFREG, S_IFSOCK, S_IFBLK, S_IFCHR}) {
        EXPECT_TRUE(removesFirst(type)) << std::oct << type;
    }
    for (const mode_t type : std::vector<mode_t>{S_IFDIR, S_IFIFO}) {
        EXPECT_FALSE(removesFirst(type)) << std::oct << type;
    }
    EXPECT_FALSE(removesFirst(0));
}

TEST(CopyFolder, RegularFileAsDestinationIsNotRemoved) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "text");
    FakeMachine recorded;
    recorded.programs = {"ditto"};
    recorded.bResult = false;
    EXPECT_FALSE(FileLibrary::CopyFolder(folder.text(), folder / "f", false));
    EXPECT_THAT(recorded.commands,
                ElementsAre("ditto \"" + bytesOf(folder.text()) + "\" \"" + bytesOf(folder / "f") + "\""));
}

// CopyFolder: what comes of it, with whatever tool the machine has

class CopyFolderTree : public testing::Test {
protected:
    const TemporaryDirectory folder;
    const fs::path source = folder.path() / "source";
    const fs::path destination = folder.path() / "destination";

    void SetUp() override {
        fs::create_directories(source / "sub/deeper");
        write(source / "f", "new");
        write(source / "sub/g", "new g");
    }
    bool copy() { return FileLibrary::CopyFolder(vl(source), vl(destination), false); }
};

TEST_F(CopyFolderTree, ArrivesWholeInAMissingFolder) {
    fs::create_directory(source / "empty");
    write(source / ".hidden", "h");
    EXPECT_TRUE(copy());
    EXPECT_EQ(contentOf(destination / "f"), "new");
    EXPECT_EQ(contentOf(destination / "sub/g"), "new g");
    EXPECT_EQ(contentOf(destination / ".hidden"), "h");
    EXPECT_TRUE(fs::is_directory(destination / "empty"));
    EXPECT_FALSE(isThere(destination / "source")); // what is in the folder is copied, not the folder
    EXPECT_EQ(contentOf(source / "f"), "new");
}

TEST_F(CopyFolderTree, MissingParentsAreMade) {
    EXPECT_TRUE(FileLibrary::CopyFolder(vl(source), vl(destination / "a/b c"), false));
    EXPECT_EQ(contentOf(destination / "a/b c/f"), "new");
}

TEST_F(CopyFolderTree, IsMergedIntoWhatIsThere) {
    fs::create_directories(destination / "sub");
    write(destination / "f", "old and longer");
    write(destination / "sub/kept", "kept");
    EXPECT_TRUE(copy());
    EXPECT_EQ(contentOf(destination / "f"), "new");
    EXPECT_EQ(contentOf(destination / "sub/g"), "new g");
    EXPECT_EQ(contentOf(destination / "sub/kept"), "kept");
}

TEST_F(CopyFolderTree, SlashesAtTheEndsMakeNoDifference) {
    EXPECT_TRUE(FileLibrary::CopyFolder(vl(source) + "/", vl(destination) + "/", false));
    EXPECT_EQ(contentOf(destination / "f"), "new");
}

TEST_F(CopyFolderTree, PermissionsAreKept) {
    fs::permissions(source / "f", fs::perms(0640));
    fs::permissions(source / "sub/g", fs::perms(0755));
    fs::permissions(source / "sub/deeper", fs::perms(0555));
    fs::permissions(source / "sub", fs::perms(0700));
    fs::permissions(source, fs::perms(0750));
    EXPECT_TRUE(copy());
    EXPECT_EQ(modeOf(destination / "f"), 0640U);
    EXPECT_EQ(modeOf(destination / "sub/g"), 0755U);
    EXPECT_EQ(modeOf(destination / "sub/deeper"), 0555U);
    EXPECT_EQ(modeOf(destination / "sub"), 0700U);
    EXPECT_EQ(modeOf(destination), 0750U);
}

TEST_F(CopyFolderTree, TimesAreKeptBelowTheDestinationWhichIsNew) {
    fs::create_symlink("f", source / "link");
    for (const char* name : {"f", "sub/g", "sub/deeper", "sub", "link", "."}) {
        setOldTime(source / name);
    }
    EXPECT_TRUE(copy());
    for (const char* name : {"f", "sub/g", "sub/deeper", "sub", "link"}) {
        EXPECT_EQ(timeOf(destination / name), oldTime.tv_sec) << name;
    }
    EXPECT_EQ(fs::last_write_time(destination / "f"), fs::last_write_time(source / "f")); // to the fraction
    EXPECT_GT(timeOf(destination), oldTime.tv_sec + 3600);
}

TEST_F(CopyFolderTree, LinksStayLinks) {
    // As in a versioned bundle.
    fs::create_directories(source / "Versions/A");
    write(source / "Versions/A/Program", "program");
    fs::create_directory_symlink("A", source / "Versions/Current");
    fs::create_symlink("Versions/Current/Program", source / "Program");
    fs::create_symlink("/missing", source / "dangling");
    EXPECT_TRUE(copy());
    EXPECT_EQ(fs::read_symlink(destination / "Versions/Current"), "A");
    EXPECT_EQ(fs::read_symlink(destination / "Program"), "Versions/Current/Program");
    EXPECT_EQ(fs::read_symlink(destination / "dangling"), "/missing");
    EXPECT_EQ(contentOf(destination / "Program"), "program");

    EXPECT_TRUE(copy()); // and again, onto what the first copy made
    EXPECT_EQ(fs::read_symlink(destination / "Versions/Current"), "A");
    EXPECT_FALSE(isThere(destination / "Versions/A/A"));
}

TEST_F(CopyFolderTree, HardLinksStayTogether) {
    fs::create_hard_link(source / "f", source / "sub/f");
    EXPECT_TRUE(copy());
    EXPECT_EQ(inodeOf(destination / "f"), inodeOf(destination / "sub/f"));
    EXPECT_NE(inodeOf(destination / "f"), inodeOf(source / "f"));
}

TEST_F(CopyFolderTree, LinkToADirectoryIsReplacedByARealDirectory) {
    fs::create_directory(folder.path() / "elsewhere");
    write(folder.path() / "elsewhere/f", "untouched");
    fs::create_directory_symlink("elsewhere", destination);
    EXPECT_TRUE(copy());
    EXPECT_TRUE(fs::is_directory(fs::symlink_status(destination)));
    EXPECT_EQ(contentOf(destination / "f"), "new");
    EXPECT_EQ(contentOf(folder.path() / "elsewhere/f"), "untouched");
    EXPECT_FALSE(isThere(folder.path() / "elsewhere/sub"));
}

TEST_F(CopyFolderTree, LinksInTheDestinationAreReplacedNotWrittenThrough) {
    write(folder.path() / "elsewhere", "untouched");
    fs::create_directories(destination / "sub");
    fs::create_symlink("../elsewhere", destination / "f");
    fs::create_symlink("/missing", destination / "sub/g");
    EXPECT_TRUE(copy());
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(destination / "f")));
    EXPECT_EQ(contentOf(destination / "f"), "new");
    EXPECT_EQ(contentOf(destination / "sub/g"), "new g");
    EXPECT_EQ(contentOf(folder.path() / "elsewhere"), "untouched");
}

TEST_F(CopyFolderTree, OldFileWithSeveralNamesKeepsItsContentUnderTheOthers) {
    fs::create_directory(destination);
    write(folder.path() / "other", "old");
    fs::create_hard_link(folder.path() / "other", destination / "f");
    EXPECT_TRUE(copy());
    EXPECT_EQ(contentOf(destination / "f"), "new");
    EXPECT_EQ(contentOf(folder.path() / "other"), "old");
}

TEST_F(CopyFolderTree, LinksAreCopiedOverFilesAndLinks) {
    fs::create_symlink("f", source / "a");
    fs::create_symlink("f", source / "b");
    fs::create_directories(destination);
    write(destination / "a", "old");
    fs::create_symlink("missing", destination / "b");
    EXPECT_TRUE(copy());
    EXPECT_EQ(fs::read_symlink(destination / "a"), "f");
    EXPECT_EQ(fs::read_symlink(destination / "b"), "f");
}

TEST_F(CopyFolderTree, NothingIsWrittenThroughALinkedFolderInTheDestination) {
    fs::create_directories(folder.path() / "elsewhere");
    fs::create_directory(destination);
    fs::create_directory_symlink("../elsewhere", destination / "sub");
    EXPECT_FALSE(copy()); // a directory replaces no link
    EXPECT_TRUE(fs::is_empty(folder.path() / "elsewhere"));
}

TEST_F(CopyFolderTree, DirectoriesAndFilesDoNotReplaceEachOther) {
    fs::create_directories(destination / "f");
    write(destination / "f/kept", "kept");
    EXPECT_FALSE(copy());
    EXPECT_EQ(contentOf(destination / "f/kept"), "kept");

    fs::remove_all(destination);
    fs::create_directory(destination);
    write(destination / "sub", "kept");
    EXPECT_FALSE(copy());
    EXPECT_EQ(contentOf(destination / "sub"), "kept");
}

TEST_F(CopyFolderTree, RegularFileAsDestinationFailsAndStays) {
    write(destination, "kept");
    EXPECT_FALSE(copy());
    EXPECT_EQ(contentOf(destination), "kept");
}

TEST_F(CopyFolderTree, LinkToAFolderAsSourceIsFollowed) {
    fs::create_directory_symlink("source", folder.path() / "link");
    EXPECT_TRUE(FileLibrary::CopyFolder(folder / "link", vl(destination), false));
    EXPECT_TRUE(fs::is_directory(fs::symlink_status(destination)));
    EXPECT_EQ(contentOf(destination / "f"), "new");
}

TEST_F(CopyFolderTree, LosesNothingWhenItIsCopiedOntoItself) {
    FileLibrary::CopyFolder(vl(source), vl(source), false);
    EXPECT_EQ(contentOf(source / "f"), "new");
    EXPECT_EQ(contentOf(source / "sub/g"), "new g");
}

TEST_F(CopyFolderTree, UnreadableFileMakesTheCopyFail) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root reads every file";
    }
    fs::permissions(source / "sub/g", fs::perms::none);
    EXPECT_FALSE(copy());
}

// Whole files

TEST(WriteFile, WritesAllBytes) {
    const TemporaryDirectory folder;
    const std::string bytes("a\0b\r\n\xff%s", 8);
    EXPECT_TRUE(FileLibrary::writeFile(VLString(bytes.data(), bytes.size()), folder / "f", false));
    EXPECT_EQ(contentOf(folder.path() / "f"), bytes);
}

TEST(WriteFile, ReplacesOrAppends) {
    const TemporaryDirectory folder;
    EXPECT_TRUE(FileLibrary::writeFile("old and longer", folder / "f", true));
    EXPECT_TRUE(FileLibrary::writeFile("new", folder / "f", false));
    EXPECT_EQ(contentOf(folder.path() / "f"), "new");
    EXPECT_TRUE(FileLibrary::writeFile(" end", folder / "f", true));
    EXPECT_EQ(contentOf(folder.path() / "f"), "new end");
}

TEST(WriteFile, EmptyContentCreatesOrTruncates) {
    const TemporaryDirectory folder;
    EXPECT_TRUE(FileLibrary::writeFile("", folder / "f", false));
    EXPECT_TRUE(isThere(folder.path() / "f"));
    write(folder.path() / "f", "old");
    EXPECT_TRUE(FileLibrary::writeFile("", folder / "f", true));
    EXPECT_EQ(contentOf(folder.path() / "f"), "old");
    EXPECT_TRUE(FileLibrary::writeFile("", folder / "f", false));
    EXPECT_EQ(contentOf(folder.path() / "f"), "");
}

TEST(WriteFile, FailsWhereTheFileCannotBeOpened) {
    const TemporaryDirectory folder;
    const WorkingFolder working(folder.path());
    EXPECT_FALSE(FileLibrary::writeFile("text", "", false));
    EXPECT_FALSE(FileLibrary::writeFile("text", folder / "missing/f", false));
    EXPECT_FALSE(FileLibrary::writeFile("text", folder.text(), false));
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(WriteFile, FailsWhereNotAllBytesCanBeWritten) {
    if (!isThere("/dev/full")) {
        GTEST_SKIP() << "this machine has no device that is always full";
    }
    // Few bytes fail when the file is closed, many when they are written.
    const VLString many(std::string(1 << 20, 'x').c_str());
    for (const bool bAppend : {false, true}) {
        EXPECT_FALSE(FileLibrary::writeFile("x", "/dev/full", bAppend));
        EXPECT_FALSE(FileLibrary::writeFile(many, "/dev/full", bAppend));
        EXPECT_TRUE(FileLibrary::writeFile("", "/dev/full", bAppend));
    }
}

TEST(WriteFile, UsesNoCommandAndTakesNamesAsTheyAre) {
    const TemporaryDirectory folder;
    const FakeMachine recorded;
    const char* name = "a\"$HOME`\\b";
    EXPECT_TRUE(FileLibrary::writeFile("text", folder / name, false));
    EXPECT_EQ(bytesOf(FileLibrary::readFile(folder / name)), "text");
    EXPECT_THAT(recorded.commands, IsEmpty());
}

TEST(ReadFile, GivesAllBytes) {
    const TemporaryDirectory folder;
    const std::string bytes("\0a\r\n\xff\x1a", 6);
    write(folder.path() / "f", bytes);
    EXPECT_EQ(bytesOf(FileLibrary::readFile(folder / "f")), bytes);

    const std::string many(3000001, 'x');
    write(folder.path() / "f", many);
    EXPECT_EQ(bytesOf(FileLibrary::readFile(folder / "f")), many);
}

TEST(ReadFile, IsEmptyForAnEmptyFile) {
    const TemporaryDirectory folder;
    write(folder.path() / "f", "");
    EXPECT_TRUE(FileLibrary::readFile(folder / "f").IsEmpty());
}

TEST(ReadFile, IsEmptyForWhatCannotBeRead) {
    const TemporaryDirectory folder;
    EXPECT_TRUE(FileLibrary::readFile("").IsEmpty());
    EXPECT_TRUE(FileLibrary::readFile(folder / "missing").IsEmpty());
    EXPECT_TRUE(FileLibrary::readFile(folder.text()).IsEmpty());
    EXPECT_TRUE(FileLibrary::readFile("/dev/zero").IsEmpty()); // no end to measure
}

TEST(ReadFile, IsEmptyForAFileShorterThanItClaims) {
    const char* path = "/sys/kernel/uevent_seqnum"; // on Linux: a number in a file of a whole page
    if (!isThere(path) || fs::file_size(path) <= contentOf(path).size()) {
        GTEST_SKIP() << "this machine has no such file";
    }
    EXPECT_TRUE(FileLibrary::readFile(path).IsEmpty());
}

// Machine

TEST(Machine, GivesTheTypeThroughLinksOrNot) {
    const TemporaryDirectory folder;
    fs::create_directory_symlink(".", folder.path() / "link");
    Machine& machine = Machine::current();
    EXPECT_EQ(machine.typeOf(folder / "link"), mode_t{S_IFDIR});
    EXPECT_EQ(machine.linkTypeOf(folder / "link"), mode_t{S_IFLNK});
    EXPECT_EQ(machine.typeOf("/dev/null"), mode_t{S_IFCHR});
    EXPECT_EQ(machine.typeOf(folder / "missing"), mode_t{0});
    EXPECT_EQ(machine.linkTypeOf(folder / "missing"), mode_t{0});
}

TEST(Machine, FindsProgramsInAllFoldersOfTheSearchPath) {
    const TemporaryDirectory folder;
    fs::create_directories(folder.path() / "a");
    fs::create_directories(folder.path() / "b/folder");
    write(folder.path() / "b/program", "");
    fs::permissions(folder.path() / "b/program", fs::perms::owner_all);
    write(folder.path() / "b/document", "");
    fs::permissions(folder.path() / "b/document", fs::perms(0600));
    Machine& machine = Machine::current();
    const std::string a = (folder.path() / "a").string();
    const std::string b = (folder.path() / "b").string();
    for (const char* pattern : {"$b", "$a:$b", "$b/:$a", "::$b:", "relative:$b"}) {
        SCOPED_TRACE(pattern);
        const VLString path = VLString(pattern).Replace("$a", a.c_str()).Replace("$b", b.c_str());
        const ScopedEnvironment search("PATH", path.ConstData());
        EXPECT_TRUE(machine.hasProgram("program"));
        EXPECT_FALSE(machine.hasProgram("document"));
        EXPECT_FALSE(machine.hasProgram("folder"));
        EXPECT_FALSE(machine.hasProgram("missing"));
    }
    const ScopedEnvironment search("PATH", a);
    EXPECT_FALSE(machine.hasProgram("program"));
}

TEST(Machine, EmptyFolderInTheSearchPathIsTheWorkingFolder) {
    const TemporaryDirectory folder;
    write(folder.path() / "program", "");
    fs::permissions(folder.path() / "program", fs::perms::owner_all);
    const WorkingFolder working(folder.path());
    Machine& machine = Machine::current();
    for (const char* path : {"", ":", "/missing:", ":/missing", "/missing::/missing", "."}) {
        const ScopedEnvironment search("PATH", path);
        EXPECT_TRUE(machine.hasProgram("program")) << path;
    }
    const ScopedEnvironment search("PATH", "/missing");
    EXPECT_FALSE(machine.hasProgram("program"));
}

TEST(Machine, FindsStandardToolsWithoutASearchPath) {
    const ScopedEnvironment search("PATH", std::nullopt);
    EXPECT_TRUE(Machine::current().hasProgram("rm"));
    EXPECT_FALSE(Machine::current().hasProgram("no such program"));
}

TEST(Machine, ReplacementAnswersUntilItIsTakenAway) {
    Machine& machine = Machine::current();
    {
        FakeMachine outer;
        EXPECT_EQ(&Machine::current(), &outer);
        {
            const FakeMachine inner;
            EXPECT_TRUE(FileLibrary::RemoveFile("/inner"));
            EXPECT_THAT(inner.commands, ElementsAre("rm -f \"/inner\""));
        }
        EXPECT_TRUE(FileLibrary::RemoveFile("/outer"));
        EXPECT_THAT(outer.commands, ElementsAre("rm -f \"/outer\""));
        EXPECT_EQ(Machine::setCurrent(nullptr), &outer); // null is the machine again
        EXPECT_EQ(&Machine::current(), &machine);
    }
    EXPECT_EQ(&Machine::current(), &machine);
}

TEST(Machine, ExecAsksItToo) {
    FakeMachine recorded;
    recorded.output = "answer";
    EXPECT_EQ(outputOf("question"), "answer");
    EXPECT_THAT(recorded.commands, ElementsAre("question"));
    recorded.bResult = false;
    VLString command("question");
    VLString output;
    EXPECT_FALSE(exec(command, output));
}
