#include "Platform/Linux/CoreFoundation/CoreFoundation.h"

#include "Platform/AtomicFile.h"
#include "Platform/Linux/CoreFoundation/Object.h"
#include "Tests/Support/Linux/ChildProcess.h"
#include "Tests/Support/LiveObjects.h"
#include "Tests/Support/OwnedReference.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

using CFStrings = BalancedObjectsTest;
using CFUrls = BalancedObjectsTest;
using CFResources = BalancedObjectsTest;
using CFDictionaries = BalancedObjectsTest;
using CFPropertyLists = BalancedObjectsTest;

std::string contentOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

void writeFile(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

mode_t modeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

ino_t inodeOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_ino;
}

// Strings

TEST_F(CFStrings, LengthCountsUtf16Units) {
    const std::pair<const char*, CFIndex> lengths[] = {
        {"", 0},
        {"abc", 3},
        {"\xC3\xA9", 1},                         // é
        {"e\xCC\x81", 2},                        // e and a combining accent: no normalisation
        {"\xF0\x9F\x98\x80", 2},                 // an emoji
        {"\xF0\x9F\x87\xA9\xF0\x9F\x87\xAA", 4}, // a flag
        {"\xE4\xB8\xAD\xE6\x96\x87", 2},         // two ideographs
        {"\xEF\xBF\xBF", 1},                     // U+FFFF
        {"\xF4\x8F\xBF\xBF", 2},                 // U+10FFFF
        {"\x01\x1F\x7F", 3},                     // control characters
    };
    for (const auto& [text, length] : lengths) {
        const auto made = string(text);
        ASSERT_NE(made, nullptr) << text;
        EXPECT_EQ(CFStringGetLength(made.get()), length) << text;
    }
}

TEST_F(CFStrings, LeadingByteOrderMarkIsDropped) {
    char buffer[8] = "";
    const auto made = string("\xEF\xBB\xBF"
                             "abc");
    EXPECT_EQ(CFStringGetLength(made.get()), 3);
    EXPECT_TRUE(CFStringGetCString(made.get(), buffer, sizeof buffer, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "abc");
}

TEST_F(CFStrings, IllFormedUtf8MakesNoString) {
    const std::size_t before = liveObjects();
    for (const std::string& bytes : std::vector<std::string>{"\xFF",             // never a byte of UTF-8
                                                             "\xC3", "\xE4\xB8", // cut sequences
                                                             "\xF0\x9F\x98",     //
                                                             "\x80", "\xBF",     // lone continuation bytes
                                                             "\xC0\x80", "\xC1\x81",     // overlong forms
                                                             "\xE0\x80\x80",             //
                                                             "\xE0\x9F\xBF",             //
                                                             "\xF0\x80\x80\x80",         //
                                                             "\xF0\x8F\xBF\xBF",         //
                                                             "\xED\xA0\x80",             // encoded surrogates
                                                             "\xED\xA0\xBD\xED\xB8\x80", //
                                                             "\xF4\x90\x80\x80",         // above U+10FFFF
                                                             "\xF5\x80\x80\x80",         //
                                                             "\xF8\x88\x80\x80\x80",     // five bytes
                                                             "caf\xE9"}) {
        for (const std::string& text : {bytes, "abc" + bytes, bytes + "abc", "a" + bytes + "\xC3\xA9"}) {
            EXPECT_EQ(CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8),
                      nullptr)
                << testing::PrintToString(text);
            EXPECT_EQ(liveObjects(), before) << testing::PrintToString(text);
        }
    }
}

TEST_F(CFStrings, CopyNeedsRoomForTheTerminator) {
    struct Case {
        const char* text;
        CFIndex tooSmall, enough;
    };
    for (const auto& [text, tooSmall, enough] :
         {Case{"abc", 3, 4}, Case{"", 0, 1}, Case{"\xC3\xA9", 2, 3}, Case{"a\xC3\xA9", 3, 4},
          Case{"\xF0\x9F\x98\x80", 3, 5}, Case{"\xC3\xA9", 1, 3}}) {
        const auto made = string(text);
        char buffer[8] = "#######";
        EXPECT_FALSE(CFStringGetCString(made.get(), buffer, tooSmall, kCFStringEncodingUTF8)) << text;
        EXPECT_TRUE(CFStringGetCString(made.get(), buffer, enough, kCFStringEncodingUTF8)) << text;
        EXPECT_STREQ(buffer, text);
    }
}

TEST_F(CFStrings, FailedCopyLeavesAnEmptyTextAndNothingBehindTheBuffer) {
    const auto made = string("abc");
    char buffer[5] = "####";
    EXPECT_FALSE(CFStringGetCString(made.get(), buffer, 0, kCFStringEncodingUTF8));
    EXPECT_STREQ(buffer, "####");
    EXPECT_FALSE(CFStringGetCString(made.get(), buffer, 3, kCFStringEncodingUTF8));
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(buffer[3], '#');
}

TEST_F(CFStrings, ObjectsAreCountedUntilTheirLastRelease) {
    const std::size_t before = liveObjects();
    const CFStringRef made = CFStringCreateWithCString(kCFAllocatorDefault, "a", kCFStringEncodingUTF8);
    EXPECT_EQ(liveObjects(), before + 1);
    CFRetain(made);
    CFRelease(made);
    EXPECT_EQ(liveObjects(), before + 1);
    CFRelease(made);
    EXPECT_EQ(liveObjects(), before);
}

// URLs

std::string pathOf(CFURLRef url) {
    UInt8 buffer[4096] = "";
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url, 1, buffer, sizeof buffer));
    return reinterpret_cast<const char*>(buffer);
}

OwnedReference<CFURLRef> urlOf(const char* path, bool bDirectory = false) {
    return owned(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, string(path).get(), kCFURLPOSIXPathStyle,
                                               bDirectory ? 1 : 0));
}

TEST_F(CFUrls, PathComesBackByteForByteButForOneSlashAtItsEnd) {
    for (const bool bDirectory : {false, true}) {
        EXPECT_EQ(pathOf(urlOf("/tmp/", bDirectory).get()), "/tmp");
        EXPECT_EQ(pathOf(urlOf("/", bDirectory).get()), "/");
    }
    for (const char* path :
         {"/tmp", "/tmp//x", "/tmp/../x", "/tmp/./x", "/a b%20%2F%?#;:\\\"'", "/\xC3\xA9"}) {
        EXPECT_EQ(pathOf(urlOf(path).get()), path);
    }
}

TEST_F(CFUrls, EmptyPathMakesNone) {
    EXPECT_EQ(urlOf(""), nullptr);
}

TEST_F(CFUrls, RelativePathIsResolvedWhenTheUrlIsMade) {
    TemporaryDirectory folder;
    const fs::path old = fs::current_path();
    fs::current_path(folder.path());
    const auto relative = urlOf("rel/x");
    const auto tilde = urlOf("~/x");
    fs::current_path(old);
    EXPECT_EQ(pathOf(relative.get()), (folder.path() / "rel/x").string());
    EXPECT_EQ(pathOf(tilde.get()), (folder.path() / "~/x").string());
}

TEST_F(CFUrls, ComponentIsAppendedAsItIs) {
    const std::pair<const char*, const char*> cases[] = {
        {"x", "/tmp/x"},
        {"Network/x.plist", "/tmp/Network/x.plist"},
        {"", "/tmp"},
        {".", "/tmp/."},
        {"..", "/tmp/.."},
        {"../x", "/tmp/../x"},
        {"/abs", "/tmp//abs"},
        {"x/", "/tmp/x"},
        {"a%20b?#", "/tmp/a%20b?#"},
    };
    for (const auto& [component, expected] : cases) {
        for (const char* base : {"/tmp", "/tmp/"}) {
            for (const bool bDirectory : {false, true}) {
                const auto url = owned(CFURLCreateCopyAppendingPathComponent(
                    kCFAllocatorDefault, urlOf(base, bDirectory).get(), string(component).get(), 0));
                EXPECT_EQ(pathOf(url.get()), expected);
            }
        }
    }
    EXPECT_EQ(pathOf(owned(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, urlOf("/").get(),
                                                                 string("x").get(), 0))
                         .get()),
              "/x");
}

TEST_F(CFUrls, LastComponentIsTakenAway) {
    const std::pair<const char*, const char*> cases[] = {
        {"/tmp/a/x.plist", "/tmp/a"},
        {"/x", "/"},
        {"/tmp/a/", "/tmp"},
        {"/Preferences/Network/x", "/Preferences/Network"},
    };
    for (const auto& [path, expected] : cases) {
        EXPECT_EQ(
            pathOf(owned(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, urlOf(path).get()))
                       .get()),
            expected);
    }
}

TEST_F(CFUrls, RepresentationNeedsRoomForTheTerminator) {
    UInt8 buffer[8] = "";
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(urlOf("/a/bc").get(), 1, buffer, 5));
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(urlOf("/a/bc").get(), 1, buffer, 6));
    EXPECT_FALSE(CFURLGetFileSystemRepresentation(urlOf("/a/bc").get(), 1, buffer, 0));
}

// Reading and writing

struct ReadResult {
    bool bRead = false;
    OwnedReference<CFDataRef> data;
    SInt32 error = 1;
};

ReadResult readResource(const fs::path& path) {
    ReadResult result;
    CFDataRef data = nullptr;
    result.bRead = CFURLCreateDataAndPropertiesFromResource(kCFAllocatorDefault, urlOf(path.c_str()).get(),
                                                            &data, nullptr, nullptr, &result.error) != 0;
    result.data.reset(data);
    return result;
}

OwnedReference<CFDataRef> dataOf(const std::string& content) {
    return owned<CFDataRef>(new __CFData(content));
}

bool writeResource(const fs::path& path, const std::string& content, SInt32* error = nullptr) {
    return CFURLWriteDataAndPropertiesToResource(urlOf(path.c_str()).get(), dataOf(content).get(), nullptr,
                                                 error) != 0;
}

void expectNotWritten(const fs::path& path) {
    SInt32 error = 0;
    EXPECT_FALSE(writeResource(path, "new", &error)) << path;
    EXPECT_EQ(error, -10) << path;
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

TEST_F(CFResources, FileIsReadThroughLinks) {
    TemporaryDirectory folder;
    const std::string content = std::string(200'000, 'x') + std::string("\0\xFF", 2);
    writeFile(folder.path() / "file", content);
    fs::create_symlink("file", folder.path() / "link");
    const auto result = readResource(folder.path() / "link");
    EXPECT_TRUE(result.bRead);
    EXPECT_EQ(result.error, 0);
    ASSERT_NE(result.data, nullptr);
    EXPECT_TRUE(result.data->bytes == content);
}

TEST_F(CFResources, EmptyFileGivesEmptyData) {
    TemporaryDirectory folder;
    writeFile(folder.path() / "file", "");
    const auto result = readResource(folder.path() / "file");
    EXPECT_TRUE(result.bRead);
    EXPECT_NE(result.data, nullptr);
    EXPECT_EQ(result.error, 0);
}

TEST_F(CFResources, WhatIsNoReadableFileGivesNoData) {
    TemporaryDirectory folder;
    writeFile(folder.path() / "file", "text");
    fs::create_symlink("missing", folder.path() / "dangling");
    ASSERT_EQ(mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
    for (const char* name : {"missing", "none/missing", "", "dangling", "file/below", "pipe"}) {
        const auto result = readResource(folder.path() / name);
        EXPECT_FALSE(result.bRead) << name;
        EXPECT_EQ(result.data, nullptr) << name;
        EXPECT_EQ(result.error, -10) << name;
    }
    CFDataRef data = nullptr;
    EXPECT_FALSE(CFURLCreateDataAndPropertiesFromResource(kCFAllocatorDefault, urlOf("/none").get(), &data,
                                                          nullptr, nullptr, nullptr));
}

TEST_F(CFResources, HugeFileGivesNoData) {
    TemporaryDirectory folder;
    writeFile(folder.path() / "file", "");
    fs::resize_file(folder.path() / "file", (64UL << 20) + 1);
    EXPECT_FALSE(readResource(folder.path() / "file").bRead);
    fs::resize_file(folder.path() / "file", 64UL << 20);
    EXPECT_TRUE(readResource(folder.path() / "file").bRead);
}

TEST_F(CFResources, UnreadableFileGivesNoData) {
    RUN_OR_SKIP(runAsOrdinaryUser([] {
        TemporaryDirectory folder;
        writeFile(folder.path() / "file", "text");
        fs::permissions(folder.path() / "file", fs::perms::none);
        EXPECT_FALSE(readResource(folder.path() / "file").bRead);
    }));
}

TEST_F(CFResources, NewFileHasTheModeThatTheUmaskLeaves) {
    TemporaryDirectory folder;
    for (const auto& [mask, mode] : {std::pair<mode_t, mode_t>{022, 0644}, {0, 0666}, {077, 0600}}) {
        const fs::path path = folder.path() / std::to_string(mask);
        const auto data = dataOf("text");
        const mode_t old = umask(mask);
        const bool bWritten = CFURLWriteDataAndPropertiesToResource(urlOf(path.c_str()).get(), data.get(),
                                                                    nullptr, nullptr) != 0;
        umask(old);
        EXPECT_TRUE(bWritten);
        EXPECT_EQ(modeOf(path), mode);
        EXPECT_EQ(contentOf(path), "text");
    }
}

TEST_F(CFResources, RewrittenFileKeepsItsMode) {
    TemporaryDirectory folder;
    writeFile(folder.path() / "file", "a longer old text");
    ASSERT_EQ(chmod((folder.path() / "file").c_str(), 0640), 0);
    SInt32 error = 1;
    EXPECT_TRUE(writeResource(folder.path() / "file", "new", &error));
    EXPECT_EQ(error, 0);
    EXPECT_EQ(contentOf(folder.path() / "file"), "new");
    EXPECT_EQ(modeOf(folder.path() / "file"), 0640U);
    EXPECT_THAT(namesIn(folder.path()), testing::ElementsAre("file"));
}

TEST_F(CFResources, RewrittenFileKeepsItsOwner) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can give a file away";
    }
    TemporaryDirectory folder;
    writeFile(folder.path() / "file", "old");
    ASSERT_EQ(chown((folder.path() / "file").c_str(), 1234, 2345), 0);
    EXPECT_TRUE(writeResource(folder.path() / "file", "new"));
    struct stat status {};
    ASSERT_EQ(stat((folder.path() / "file").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 1234U);
    EXPECT_EQ(status.st_gid, 2345U);
}

TEST_F(CFResources, WritingFollowsLinks) {
    TemporaryDirectory folder;
    fs::create_directory(folder.path() / "sub");
    writeFile(folder.path() / "sub/target", "old");
    fs::create_symlink("sub/target", folder.path() / "first");
    fs::create_symlink(folder.path() / "first", folder.path() / "second");
    EXPECT_TRUE(writeResource(folder.path() / "second", "new"));
    EXPECT_EQ(contentOf(folder.path() / "sub/target"), "new");
    EXPECT_TRUE(fs::is_symlink(folder.path() / "first"));
    EXPECT_TRUE(fs::is_symlink(folder.path() / "second"));
}

TEST_F(CFResources, WritingADanglingLinkMakesItsTarget) {
    TemporaryDirectory folder;
    fs::create_symlink("target", folder.path() / "link");
    EXPECT_TRUE(writeResource(folder.path() / "link", "new"));
    EXPECT_EQ(contentOf(folder.path() / "target"), "new");
    EXPECT_TRUE(fs::is_symlink(folder.path() / "link"));
}

TEST_F(CFResources, OldTextIsReplacedWhole) {
    TemporaryDirectory folder;
    writeFile(folder.path() / "file", "old");
    std::ifstream openBefore(folder.path() / "file");
    const ino_t before = inodeOf(folder.path() / "file");
    EXPECT_TRUE(writeResource(folder.path() / "file", "new"));
    EXPECT_NE(inodeOf(folder.path() / "file"), before);
    std::string text;
    openBefore >> text;
    EXPECT_EQ(text, "old");
}

TEST_F(CFResources, NothingIsWrittenWhereNoFileCanBe) {
    TemporaryDirectory folder;
    writeFile(folder.path() / "file", "old");
    fs::create_directory(folder.path() / "folder");
    ASSERT_EQ(mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
    fs::create_symlink("loop", folder.path() / "loop");
    for (const char* name : {"missing/file", "folder", "file/below", "pipe"}) {
        expectNotWritten(folder.path() / name);
    }
    EXPECT_FALSE(fs::exists(folder.path() / "missing"));
    EXPECT_TRUE(fs::is_empty(folder.path() / "folder"));
    EXPECT_TRUE(fs::is_fifo(folder.path() / "pipe"));
    EXPECT_EQ(contentOf(folder.path() / "file"), "old");
    EXPECT_EQ(namesIn(folder.path()).size(), 4U);
}

TEST_F(CFResources, ReadOnlyFileIsLeftAlone) {
    RUN_OR_SKIP(runAsOrdinaryUser([] {
        TemporaryDirectory folder;
        writeFile(folder.path() / "file", "old");
        fs::permissions(folder.path() / "file", fs::perms::owner_read);
        expectNotWritten(folder.path() / "file");
        EXPECT_EQ(contentOf(folder.path() / "file"), "old");
        EXPECT_THAT(namesIn(folder.path()), testing::ElementsAre("file"));
    }));
}

TEST_F(CFResources, ReadOnlyFolderIsLeftAlone) {
    RUN_OR_SKIP(runAsOrdinaryUser([] {
        TemporaryDirectory folder;
        writeFile(folder.path() / "file", "old");
        fs::permissions(folder.path(), fs::perms::owner_read | fs::perms::owner_exec);
        expectNotWritten(folder.path() / "file");
        expectNotWritten(folder.path() / "new");
        EXPECT_EQ(contentOf(folder.path() / "file"), "old");
        EXPECT_THAT(namesIn(folder.path()), testing::ElementsAre("file"));
        fs::permissions(folder.path(), fs::perms::owner_all);
    }));
}

TEST_F(CFResources, FileOfAnotherOwnerIsLeftAlone) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can give a file away";
    }
    TemporaryDirectory folder;
    fs::permissions(folder.path(), fs::perms::all);
    writeFile(folder.path() / "file", "old");
    fs::permissions(folder.path() / "file", fs::perms::all);
    RUN_OR_SKIP(runAsOrdinaryUser([&] { expectNotWritten(folder.path() / "file"); }));
    EXPECT_EQ(contentOf(folder.path() / "file"), "old");
    EXPECT_THAT(namesIn(folder.path()), testing::ElementsAre("file"));
}

TEST_F(CFResources, WriteThatEndsHalfwayLosesNothing) {
    TemporaryDirectory folder;
    writeFile(folder.path() / "file", "old");
    RUN_OR_SKIP(runWithLargestFile(1, [&] {
        expectNotWritten(folder.path() / "file");
        expectNotWritten(folder.path() / "new");
    }));
    EXPECT_EQ(contentOf(folder.path() / "file"), "old");
    EXPECT_THAT(namesIn(folder.path()), testing::ElementsAre("file"));
}

TEST_F(CFResources, WriteWaitsForAnotherOfTheSameFile) {
    TemporaryDirectory folder;
    const fs::path path = folder.path() / "file";
    AtomicFile other(path);
    ASSERT_TRUE(other.Open());
    std::thread end([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_TRUE(other.Sync() && other.Commit());
    });
    EXPECT_TRUE(writeResource(path, "new"));
    end.join();
    EXPECT_EQ(contentOf(path), "new");
    EXPECT_THAT(namesIn(folder.path()), testing::ElementsAre("file"));
}

TEST_F(CFResources, WriteFailsWhenAnotherOfTheSameFileDoesNotEnd) {
    TemporaryDirectory folder;
    writeFile(folder.path() / "file", "old");
    AtomicFile other(folder.path() / "file");
    ASSERT_TRUE(other.Open());
    expectNotWritten(folder.path() / "file");
    EXPECT_EQ(contentOf(folder.path() / "file"), "old");
    EXPECT_TRUE(other.Sync() && other.Commit()) << "its new file has been left alone";
}

// Dictionaries

OwnedReference<CFMutableDictionaryRef> dictionary() {
    return owned(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                           &kCFTypeDictionaryValueCallBacks));
}

void set(const OwnedReference<CFMutableDictionaryRef>& target, const char* key, const char* value) {
    CFDictionarySetValue(target.get(), string(key).get(), string(value).get());
}

std::optional<std::string> textOf(CFTypeRef object) {
    if (object == nullptr || CFGetTypeID(object) != CFStringGetTypeID()) {
        return std::nullopt;
    }
    char buffer[4096] = "";
    EXPECT_TRUE(
        CFStringGetCString(static_cast<CFStringRef>(object), buffer, sizeof buffer, kCFStringEncodingUTF8));
    return buffer;
}

std::optional<std::string> get(CFDictionaryRef source, const char* key) {
    return textOf(CFDictionaryGetValue(source, string(key).get()));
}

TEST_F(CFDictionaries, KeysCompareByExactUnits) {
    const auto values = dictionary();
    set(values, "a", "1");
    set(values, "A", "2");
    set(values, "\xC3\xA9", "3");
    set(values, "e\xCC\x81", "4");
    EXPECT_EQ(get(values.get(), "a"), "1");
    EXPECT_EQ(get(values.get(), "A"), "2");
    EXPECT_EQ(get(values.get(), "\xC3\xA9"), "3");
    EXPECT_EQ(get(values.get(), "e\xCC\x81"), "4");
    EXPECT_EQ(get(values.get(), "b"), std::nullopt);
}

TEST_F(CFDictionaries, SettingAKeyAgainReplacesItsValue) {
    const auto values = dictionary();
    set(values, "a", "1");
    set(values, "a", "2");
    EXPECT_EQ(get(values.get(), "a"), "2");
}

TEST_F(CFDictionaries, MutableCopyIsIndependent) {
    const auto original = dictionary();
    set(original, "a", "1");
    const auto copy = owned(CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, original.get()));
    set(copy, "a", "2");
    set(copy, "b", "3");
    EXPECT_EQ(get(original.get(), "a"), "1");
    EXPECT_EQ(get(original.get(), "b"), std::nullopt);
    EXPECT_EQ(get(copy.get(), "a"), "2");
}

TEST_F(CFDictionaries, ValuesLiveAsLongAsTheDictionaryThatHoldsThem) {
    const auto inner = dictionary();
    auto outer = dictionary();
    CFDictionarySetValue(outer.get(), string("sub").get(), inner.get());
    set(inner, "a", "1");
    outer.reset();
    EXPECT_EQ(get(inner.get(), "a"), "1");
}

TEST_F(CFDictionaries, ApplierSeesEveryEntryAndTheContext) {
    const auto values = dictionary();
    set(values, "a", "1");
    set(values, "", "2");
    std::vector<std::string> seen;
    CFDictionaryApplyFunction(
        values.get(),
        [](const void* key, const void* value, void* context) {
            static_cast<std::vector<std::string>*>(context)->push_back(*textOf(key) + "=" + *textOf(value));
        },
        &seen);
    EXPECT_THAT(seen, testing::UnorderedElementsAre("a=1", "=2"));
}

// Property lists

OwnedReference<CFTypeRef> parse(const std::string& document) {
    CFStringRef error = nullptr;
    auto list = owned(CFPropertyListCreateFromXMLData(kCFAllocatorDefault, dataOf(document).get(),
                                                      kCFPropertyListImmutable, &error));
    EXPECT_EQ(error == nullptr, list != nullptr);
    if (error != nullptr) {
        CFRelease(error);
    }
    return list;
}

CFDictionaryRef asDictionary(const OwnedReference<CFTypeRef>& list) {
    const bool bDictionary = list != nullptr && CFGetTypeID(list.get()) == CFDictionaryGetTypeID();
    return bDictionary ? static_cast<CFDictionaryRef>(list.get()) : nullptr;
}

/// The text of entry "a" of the dictionary in `document`.
std::optional<std::string> read(const std::string& document) {
    const auto list = parse(document);
    return asDictionary(list) == nullptr ? std::nullopt : get(asDictionary(list), "a");
}

std::string plist(const std::string& content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">\n" +
           content + "\n</plist>\n";
}

std::string xmlOf(CFTypeRef list) {
    return owned(CFPropertyListCreateXMLData(kCFAllocatorDefault, list))->bytes;
}

/// What is written for the list in `document`.
std::string rewritten(const std::string& document) {
    const auto list = parse(document);
    return list == nullptr ? "" : xmlOf(list.get());
}

TEST_F(CFPropertyLists, XmlIsRead) {
    const std::string entry = "<dict><key>a</key><string>1</string></dict>";
    for (const std::string& document : {
             plist(entry),
             "<plist>" + entry + "</plist>",
             entry,
             "\xEF\xBB\xBF" + plist(entry),
             "  \n" + plist(entry),
             plist(entry) + "text <a> after",
             "<plist version='>' other=\"/>\">" + entry + "</plist >",
             plist("<dict a='1'><key b='<2>'>a</key><string c=\"3\" >1</string></dict>"),
             plist(
                 "<!-- <dict> --><dict><!-- a --><key>a</key><!-- -- - --><string>1</string><!----></dict>"),
             plist("<dict><key>a</key><string><![CDATA[1]]></string></dict>"),
             plist("<dict><key><![CDATA[a]]></key><string>1<![CDATA[]]></string></dict>"),
             plist("<dict><key>a</key><string>2</string><key>a</key><string>1</string></dict>"),
             plist("<dict><key>b</key><array><true/></array><key>a</key><string>1</string></dict>"),
             plist("<?pi <dict>?>" + entry),
         }) {
        EXPECT_EQ(read(document), "1") << document;
    }
}

TEST_F(CFPropertyLists, TextOfAStringComesAsItIs) {
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {" \t x  ", " \t x  "},
        {"a\r\nb\n", "a\r\nb\n"},
        {"&amp;&lt;&gt;&quot;&apos;", "&<>\"'"},
        {"&#233;&#xE9;&#xe9;", "\xC3\xA9\xC3\xA9\xC3\xA9"},
        {"a > b", "a > b"},
        {"a<![CDATA[<b>&amp;]]>c", "a<b>&amp;c"},
        {"\x01\x7F", "\x01\x7F"},
        {"&#x1F600;", "\xF0\x9F\x98\x80"},
        {"semi;colons;", "semi;colons;"},
    };
    for (const auto& [xml, text] : cases) {
        EXPECT_EQ(read(plist(std::string("<dict><key>a</key><string>") + xml + "</string></dict>")), text)
            << xml;
    }
}

TEST_F(CFPropertyLists, EmptyTextsAreRead) {
    for (const char* key : {"<key/>", "<key></key>", "<key />", "<key b='1'/>"}) {
        for (const char* value : {"<string/>", "<string></string>", "<string />"}) {
            const auto list = parse(plist(std::string("<dict>") + key + value + "</dict>"));
            ASSERT_NE(asDictionary(list), nullptr) << key << value;
            EXPECT_EQ(get(asDictionary(list), ""), "") << key << value;
        }
    }
}

TEST_F(CFPropertyLists, AnyTypeMayStandOnTop) {
    const auto array = parse(plist("<array><string>1</string></array>"));
    ASSERT_NE(array, nullptr);
    EXPECT_EQ(asDictionary(array), nullptr);
    EXPECT_EQ(textOf(parse(plist("<string>1</string>")).get()), "1");
}

std::string dictionaryWith(const std::string& value) {
    return plist("<dict><key>b</key><string>2</string><key>a</key><string>" + value + "</string></dict>");
}

TEST_F(CFPropertyLists, MalformedXmlGivesNothing) {
    const std::size_t before = liveObjects();
    for (const std::string& document :
         std::vector<std::string>{"",
                                  " ",
                                  "x",
                                  "bplist00",
                                  "{\"a\": 1}",
                                  std::string(100, '\0'),
                                  "<",
                                  "</",
                                  "<!",
                                  "<?",
                                  "<a",
                                  "<plist>",
                                  "<plist/>",
                                  "<plist></plist>",
                                  plist(""),
                                  "<other/>",
                                  "<a></a>",
                                  "<plist><dict></dict>", // no end
                                  "<plist><dict></plist>",
                                  "<plist><dict></array></plist>",                      //
                                  plist("<dict><key>a</key><string>1</dict>"),          //
                                  plist("<dict><key>a</key><string>1</STRING></dict>"), //
                                  plist("<dict>text<key>a</key><string>1</string></dict>"),
                                  plist("<dict><string>1</string></dict>"), // no key
                                  plist("<DICT></DICT>"),
                                  plist("<dict><key>a</key><text>1</text></dict>"), //
                                  dictionaryWith("<b/>"),
                                  dictionaryWith("<string>1</string>"),
                                  dictionaryWith("a<!-- b -->c"),
                                  dictionaryWith("<?b?>"),
                                  dictionaryWith("<![CDATA[b"),
                                  dictionaryWith("<![XDATA[b]]>"),
                                  dictionaryWith("&unknown;"),
                                  dictionaryWith("a & b"),
                                  dictionaryWith("&#0;"),
                                  dictionaryWith("&#xD800;"),
                                  dictionaryWith("&#x110000;"),
                                  dictionaryWith("\xFF"),
                                  dictionaryWith("caf\xE9"),
                                  dictionaryWith(std::string("a\0b", 3)),
                                  "<!DOCTYPE plist [<!ENTITY a 'b'>]><plist><dict></dict></plist>",
                                  std::string("\xFF\xFE<\0p\0", 6),
                                  "<!-- ",
                                  "<?xml ",
                                  "<!DOCTYPE plist",
                                  "<plist version='><dict/></plist>"}) {
        EXPECT_EQ(parse(document), nullptr) << document;
        EXPECT_EQ(liveObjects(), before) << document;
    }
}

std::string nested(const std::string& element, std::size_t levels) {
    const std::string key = element == "dict" ? "<key>a</key>" : "";
    std::string open;
    std::string close;
    for (std::size_t i = 0; i < levels; ++i) {
        open += (i == 0 ? "" : key) + "<" + element + ">";
        close += "</" + element + ">";
    }
    return "<plist>" + open + close + "</plist>";
}

TEST_F(CFPropertyLists, DeeplyNestedXmlGivesNothing) {
    for (const char* element : {"dict", "array"}) {
        EXPECT_NE(parse(nested(element, 511)), nullptr) << element;
        EXPECT_EQ(parse(nested(element, 512)), nullptr) << element;
        EXPECT_EQ(parse(nested(element, 200'000)), nullptr) << element;
    }
    std::string opened;
    for (int i = 0; i < 200'000; ++i) {
        opened += "<array>";
    }
    EXPECT_EQ(parse("<plist>" + opened), nullptr);
}

TEST_F(CFPropertyLists, DeepListCanBeWritten) {
    EXPECT_FALSE(rewritten(nested("dict", 511)).empty());
}

/// Seconds that `work` takes.
double secondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string repeated(const std::string& text, std::size_t times) {
    std::string result;
    for (std::size_t i = 0; i < times; ++i) {
        result += text;
    }
    return result;
}

TEST_F(CFPropertyLists, TextFullOfEntitiesIsReadInProportionToItsLength) {
    const std::string text = repeated("&lt;", 500'000);
    std::size_t length = 0;
    const double seconds = secondsOf([&] {
        const auto list = parse(dictionaryWith(text));
        ASSERT_NE(asDictionary(list), nullptr);
        length = static_cast<std::size_t>(CFStringGetLength(
            static_cast<CFStringRef>(CFDictionaryGetValue(asDictionary(list), string("a").get()))));
    });
    EXPECT_EQ(length, 500'000U);
    EXPECT_LT(seconds, 10);
}

// Binary lists, as other programs write them; the helpers below make them by hand.

struct BinaryObjects {
    std::vector<std::string> objects;
    unsigned char version = '0';
    std::uint64_t root = 0;

    std::string bytes() const {
        std::string result = std::string("bplist0") + static_cast<char>(version);
        std::string offsets;
        for (const auto& object : objects) {
            append(offsets, result.size(), 4);
            result += object;
        }
        const std::size_t table = result.size();
        result += offsets + std::string(6, '\0') + std::string("\x04\x02", 2);
        append(result, objects.size(), 8);
        append(result, root, 8);
        append(result, table, 8);
        return result;
    }

    static void append(std::string& target, std::uint64_t value, int size) {
        for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
            target += static_cast<char>(value >> shift & 0xFF);
        }
    }
    static std::string container(unsigned marker, std::size_t count,
                                 const std::vector<std::uint64_t>& references) {
        std::string object(1, static_cast<char>(marker << 4 | 0xF));
        object += '\x13';
        append(object, count, 8);
        for (const auto reference : references) {
            append(object, reference, 2);
        }
        return object;
    }
    static std::string array(const std::vector<std::uint64_t>& items) {
        return container(0xA, items.size(), items);
    }
    static std::string dictionary(const std::vector<std::uint64_t>& keysThenValues) {
        return container(0xD, keysThenValues.size() / 2, keysThenValues);
    }
    static std::string ascii(const std::string& text) { return container(0x5, text.size(), {}) + text; }
    static std::string utf16(const std::u16string& text) {
        std::string object = container(0x6, text.size(), {});
        for (const char16_t unit : text) {
            append(object, unit, 2);
        }
        return object;
    }
};

using Binary = BinaryObjects;

TEST_F(CFPropertyLists, BinaryListIsRead) {
    EXPECT_EQ(
        read(Binary{{Binary::dictionary({1, 2}), Binary::ascii("a"), Binary::utf16(u"caf\u00E9\U0001F600")}}
                 .bytes()),
        "caf\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(read(Binary{{Binary::ascii("a"), Binary::dictionary({0, 0})}, '0', 1}.bytes()), "a");
    EXPECT_NE(parse(Binary{{Binary::array({1, 1}), Binary::array({})}}.bytes()), nullptr);
}

TEST_F(CFPropertyLists, CutBinaryListGivesNothing) {
    const std::string whole =
        Binary{{Binary::dictionary({1, 2}), Binary::ascii("a"), Binary::ascii("b")}}.bytes();
    ASSERT_EQ(read(whole), "b");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(parse(whole.substr(0, length)), nullptr) << length;
    }
}

TEST_F(CFPropertyLists, AnyChangedByteOfABinaryListDoesNoHarm) {
    const std::string whole =
        Binary{{Binary::dictionary({1, 2, 3, 4}), Binary::ascii("a"), Binary::utf16(u"b\u00E9"),
                Binary::array({4, 2}), std::string("\x11\x01\x02", 3)}}
            .bytes();
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (int value = 0; value < 256; ++value) {
            std::string changed = whole;
            changed[i] = static_cast<char>(value);
            const auto list = owned(CFPropertyListCreateFromXMLData(
                kCFAllocatorDefault, dataOf(changed).get(), kCFPropertyListImmutable, nullptr));
            if (list != nullptr) {
                owned(CFPropertyListCreateXMLData(kCFAllocatorDefault, list.get()));
            }
        }
    }
}

TEST_F(CFPropertyLists, BinaryListWithAZeroCharacterGivesNothing) {
    for (const bool bInKey : {false, true}) {
        for (const std::string& text :
             {Binary::ascii(std::string("a\0b", 3)), Binary::utf16(std::u16string(u"a\0b", 3))}) {
            const std::vector<std::string> objects =
                bInKey ? std::vector{Binary::dictionary({1, 2}), text, Binary::ascii("b")}
                       : std::vector{Binary::dictionary({1, 2}), Binary::ascii("b"), text};
            EXPECT_EQ(parse(Binary{objects}.bytes()), nullptr);
        }
    }
    EXPECT_NE(
        parse(Binary{{Binary::dictionary({1, 2}), Binary::ascii("b"), Binary::utf16(u"\u0100")}}.bytes()),
        nullptr);
}

TEST_F(CFPropertyLists, BinaryListWithIllFormedTextGivesNothing) {
    EXPECT_EQ(parse(Binary{{Binary::dictionary({1, 2}), Binary::ascii("a"), Binary::ascii("\xFF")}}.bytes()),
              nullptr);
    EXPECT_EQ(parse(Binary{{Binary::dictionary({1, 2}), Binary::ascii("\xFF"), Binary::ascii("a")}}.bytes()),
              nullptr);
}

TEST_F(CFPropertyLists, BinaryListThatHoldsItselfGivesNothing) {
    EXPECT_EQ(parse(Binary{{Binary::dictionary({1, 0}), Binary::ascii("a")}}.bytes()), nullptr);
    EXPECT_EQ(parse(Binary{{Binary::array({1}), Binary::array({0})}}.bytes()), nullptr);
}

TEST_F(CFPropertyLists, BinaryListWithAReferenceOrOffsetOutsideGivesNothing) {
    EXPECT_EQ(parse(Binary{{Binary::array({7})}}.bytes()), nullptr);
    EXPECT_EQ(parse(Binary{{Binary::array({})}, '0', 7}.bytes()), nullptr);
    std::string outside = Binary{{Binary::array({})}}.bytes();
    outside[outside.size() - 32 - 4] = '\x7F';
    EXPECT_EQ(parse(outside), nullptr);
}

TEST_F(CFPropertyLists, DeeplyNestedBinaryListGivesNothing) {
    for (const auto& [levels, bRead] : {std::pair{512, true}, {514, false}, {60'000, false}}) {
        Binary list;
        for (int i = 1; i < levels; ++i) {
            list.objects.push_back(Binary::array({static_cast<std::uint64_t>(i)}));
        }
        list.objects.push_back(Binary::array({}));
        EXPECT_EQ(parse(list.bytes()) != nullptr, bRead) << levels;
    }
}

TEST_F(CFPropertyLists, BinaryListThatGrowsWithoutBoundGivesNothing) {
    Binary objects; // 40 arrays, each holding the next one twice
    for (std::uint64_t i = 1; i < 40; ++i) {
        objects.objects.push_back(Binary::array({i, i}));
    }
    objects.objects.push_back(Binary::array({}));
    EXPECT_EQ(parse(objects.bytes()), nullptr);

    const Binary text{
        {Binary::array(std::vector<std::uint64_t>(1000, 1)), Binary::ascii(std::string(100'000, 'a'))}};
    EXPECT_EQ(parse(text.bytes()), nullptr);
}

// Writing

TEST_F(CFPropertyLists, WrittenTextIsExact) {
    const auto values = dictionary();
    set(values, "a", "1");
    EXPECT_EQ(xmlOf(values.get()), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                   "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                   "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                   "<plist version=\"1.0\">\n"
                                   "<dict>\n"
                                   "\t<key>a</key>\n"
                                   "\t<string>1</string>\n"
                                   "</dict>\n"
                                   "</plist>\n");
}

TEST_F(CFPropertyLists, KeysAreSortedByUnitAtEveryLevel) {
    const std::vector<std::string> sorted = {"10",
                                             "9",
                                             "A",
                                             "Z",
                                             "_",
                                             "a",
                                             "a10",
                                             "a2",
                                             "aa",
                                             "b",
                                             "e",
                                             "k1",
                                             "k10",
                                             "k2",
                                             "z",
                                             "\xC3\xA9",
                                             "\xED\x9F\xBF",
                                             "\xF0\x9F\x98\x80",
                                             "\xEE\x80\x80",
                                             "\xEF\xBF\xBD"};
    const auto outer = dictionary();
    const auto inner = dictionary();
    for (auto key = sorted.rbegin(); key != sorted.rend(); ++key) {
        set(inner, key->c_str(), "");
        CFDictionarySetValue(outer.get(), string(key->c_str()).get(), inner.get());
    }
    std::string expected;
    for (const auto& outerKey : sorted) {
        expected += outerKey + "\n";
        for (const auto& innerKey : sorted) {
            expected += "  " + innerKey + "\n";
        }
    }
    std::istringstream xml(xmlOf(outer.get()));
    std::string keys;
    for (std::string line; std::getline(xml, line);) {
        if (const auto start = line.find("<key>"); start != std::string::npos) {
            const auto end = line.find("</key>");
            keys += (start == 2 ? "  " : "") + line.substr(start + 5, end - start - 5) + "\n";
        }
    }
    EXPECT_EQ(keys, expected);
}

TEST_F(CFPropertyLists, OnlyMarkupIsEscaped) {
    const auto values = dictionary();
    set(values, "<&>\"'",
        "<&>\"'\t\r\n\x01\xE2\x80\xA8\xC3\xA9"
        "e\xCC\x81");
    EXPECT_THAT(xmlOf(values.get()),
                testing::HasSubstr("\t<key>&lt;&amp;&gt;\"'</key>\n"
                                   "\t<string>&lt;&amp;&gt;\"'\t\r\n\x01\xE2\x80\xA8\xC3\xA9"
                                   "e\xCC\x81</string>\n"));
}

TEST_F(CFPropertyLists, EmptyContainersAndTextsAreWrittenInTheirForms) {
    const std::string entries = "<dict>\n"
                                "\t<key></key>\n"
                                "\t<string></string>\n"
                                "\t<key>array</key>\n"
                                "\t<array/>\n"
                                "\t<key>dict</key>\n"
                                "\t<dict/>\n"
                                "</dict>";
    EXPECT_EQ(rewritten(plist(entries)), plist(entries));
    EXPECT_EQ(rewritten(plist("<array>\n\t<string>1</string>\n</array>")),
              plist("<array>\n\t<string>1</string>\n</array>"));
}

TEST_F(CFPropertyLists, EntriesOfOtherTypesSurviveAReadAndAWrite) {
    const std::string entries = "<dict>\n"
                                "\t<key>big</key>\n"
                                "\t<integer>18446744073709551615</integer>\n"
                                "\t<key>data</key>\n"
                                "\t<data>\n"
                                "\tAAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEy\n"
                                "\tMzQ=\n"
                                "\t</data>\n"
                                "\t<key>date</key>\n"
                                "\t<date>2020-01-02T03:04:05Z</date>\n"
                                "\t<key>false</key>\n"
                                "\t<false/>\n"
                                "\t<key>negative</key>\n"
                                "\t<integer>-5</integer>\n"
                                "\t<key>real</key>\n"
                                "\t<real>1.5</real>\n"
                                "\t<key>true</key>\n"
                                "\t<true/>\n"
                                "\t<key>unordered</key>\n"
                                "\t<array>\n"
                                "\t\t<dict>\n"
                                "\t\t\t<key>a</key>\n"
                                "\t\t\t<string>1</string>\n"
                                "\t\t</dict>\n"
                                "\t</array>\n"
                                "</dict>";
    EXPECT_EQ(rewritten(plist(entries)), plist(entries));
    EXPECT_THAT(rewritten(plist("<array><integer>0x1F</integer></array>")),
                testing::HasSubstr("<integer>31</integer>"));
}

TEST_F(CFPropertyLists, PreferencesAreAlwaysSynchronized) {
    EXPECT_TRUE(CFPreferencesAppSynchronize(string("com.vorlane.none").get()));
}

} // namespace
