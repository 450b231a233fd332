// The registry's fixed locations, in a root folder of the test's own.

#include "Foundation/RegistryHelper.h"
#include "Tests/Support/Linux/ChildProcess.h"
#include "Tests/Support/LiveObjects.h"
#include "Tests/Support/OwnedReference.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/VLStringPrinter.h"

#include <CoreServices/CoreServices.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using namespace RegistryHelper;
using testing::ElementsAre;

const char* const fileName = "com.vorlane.suite.plist";
const char* const temporary = "tmp";
const char* const user = "Home/Library/Preferences";
const char* const local = "Library/Preferences";
const char* const network = "Library/Preferences/Network";
const char* const locations[] = {temporary, user, local, network};

class RegistryLocations : public testing::Test {
protected:
    void SetUp() override {
        for (const char* location : locations) {
            fs::create_directories(root.path() / location);
        }
    }

    void write(const char* location, const std::string& entries) const {
        std::ofstream(root.path() / location / fileName) << "<plist><dict>" << entries << "</dict></plist>";
    }
    std::string content(const char* location) const {
        std::ifstream file(root.path() / location / fileName);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    bool has(const char* location) const { return fs::exists(root.path() / location / fileName); }

    /// With the number of live objects checked.
    std::string run(const std::function<void()>& body) const {
        return runInPrivateRoot(root.path(), [&] {
            const std::size_t before = liveObjects();
            body();
            EXPECT_EQ(liveObjects(), before);
        });
    }

    TemporaryDirectory root;
};

std::string entry(const std::string& name, const std::string& value) {
    return "<key>" + name + "</key><string>" + value + "</string>";
}

std::string subkey(const std::string& name, const std::string& entries) {
    return "<key>" + name + "</key><dict>" + entries + "</dict>";
}

VLString hexOf(const VLMemoryBuffer& buffer) {
    return EncodeToHex(VLString(buffer.data, buffer.size));
}

VLMemoryBuffer bufferOf(const std::string& bytes) {
    VLMemoryBuffer buffer;
    buffer.init(bytes.data(), bytes.size());
    return buffer;
}

// Reading

TEST_F(RegistryLocations, FirstLocationThatHasTheValueCounts) {
    for (const char* location : locations) {
        write(location, entry("name", location));
    }
    for (const char* location : locations) {
        RUN_OR_SKIP(run([&] { EXPECT_EQ(GetRegistryKey("Suite", "name"), VLString(location)); }));
        fs::remove(root.path() / location / fileName);
    }
    RUN_OR_SKIP(run([] { EXPECT_EQ(GetRegistryKey("Suite", "name"), VLString()); }));
}

TEST_F(RegistryLocations, EmptyOrNonAsciiValueEndsTheSearch) {
    write(temporary, entry("empty", "") + entry("accent", "\xC3\xA9"));
    write(user, entry("empty", "value") + entry("accent", "value"));
    RUN_OR_SKIP(run([] {
        EXPECT_EQ(GetRegistryKey("Suite", "empty"), VLString());
        EXPECT_EQ(GetRegistryKey("Suite", "accent"), VLString());
    }));
}

TEST_F(RegistryLocations, EntryThatIsNoStringAndFileThatIsNoDictionaryAreSkipped) {
    write(temporary, "<key>name</key><integer>1</integer>");
    std::ofstream(root.path() / user / fileName) << "noise";
    write(local, entry("name", "value"));
    RUN_OR_SKIP(run([] { EXPECT_EQ(GetRegistryKey("Suite", "name"), VLString("value")); }));
}

TEST_F(RegistryLocations, ReadingMakesNoFolder) {
    fs::remove_all(root.path() / "Home");
    fs::remove_all(root.path() / "Library");
    RUN_OR_SKIP(run([] {
        EXPECT_EQ(GetRegistryKey("Suite", "name"), VLString());
        EXPECT_TRUE(EnumRegistryKeys("Suite").empty());
        EXPECT_TRUE(GetRegistrySubkeyValues("Suite", "sub").empty());
    }));
    EXPECT_FALSE(fs::exists(root.path() / "Home"));
    EXPECT_FALSE(fs::exists(root.path() / "Library"));
}

TEST_F(RegistryLocations, DomainFunctionsReadOneFolderOnly) {
    write(temporary, entry("name", "temporary"));
    write(local, entry("name", "local") + subkey("sub", entry("a", "1")));
    RUN_OR_SKIP(run([] {
        const auto file = string(fileName);
        const auto name = string("name");
        EXPECT_EQ(GetRegistryKeyAtDomain(kUserDomain, file.get(), name.get()), nullptr);
        EXPECT_EQ(VLString().FromCFString(
                      owned(GetRegistryKeyAtDomain(kLocalDomain, file.get(), name.get())).get()),
                  VLString("local"));
        EXPECT_NE(owned(GetDictionaryAtDomain(kLocalDomain, file.get())), nullptr);
        EXPECT_EQ(GetDictionaryAtDomain(kUserDomain, file.get()), nullptr);
        EXPECT_EQ(GetDictionaryAtDomain(0, file.get()), nullptr);
        EXPECT_NE(owned(GetRegistrySubkeyAtDomain(kLocalDomain, file.get(), string("sub").get())), nullptr);
        EXPECT_EQ(GetRegistrySubkeyAtDomain(kLocalDomain, file.get(), name.get()), nullptr);
    }));
}

TEST_F(RegistryLocations, BufferTakesAValueOfItsOwnLengthWithoutTerminator) {
    write(user, entry("four", "abcd") + entry("five", "abcde") + entry("three", "abc") + entry("empty", ""));
    RUN_OR_SKIP(run([] {
        char buffer[9] = "########";
        EXPECT_FALSE(GetRegistryKey("Suite", "five", buffer, 4));
        EXPECT_FALSE(GetRegistryKey("Suite", "empty", buffer, 4));
        EXPECT_FALSE(GetRegistryKey("Suite", "none", buffer, 4));
        EXPECT_FALSE(GetRegistryKey("Suite", "four", buffer, 0));
        EXPECT_FALSE(GetRegistryKey("Suite", "four", buffer, -1));
        EXPECT_STREQ(buffer, "########");
        EXPECT_TRUE(GetRegistryKey("Suite", "four", buffer, 4));
        EXPECT_STREQ(buffer, "abcd####");
        EXPECT_TRUE(GetRegistryKey("Suite", "three", buffer, 6));
        EXPECT_EQ(std::memcmp(buffer, "abc\0\0\0##", 9), 0);
    }));
}

TEST_F(RegistryLocations, UnicodeFormReadsAndWritesTheSameValues) {
    RUN_OR_SKIP(run([] {
        EXPECT_TRUE(SetRegistryKeyUnicode(L"Suite", L"name", L"value"));
        EXPECT_EQ(GetRegistryKey("Suite", "name"), VLString("value"));
        EXPECT_TRUE(GetRegistryKeyUnicode(L"Suite", L"name") == VLUnicodeString(L"value"));
        EXPECT_TRUE(GetRegistryKeyUnicode(L"Suite", L"none").IsEmpty());
    }));
    EXPECT_TRUE(has(user));
}

TEST_F(RegistryLocations, NamesAreTheUnionOfThreeLocations) {
    write(temporary, entry("both", "1") + entry("temporary", "1"));
    write(user, entry("both", "2") + "<key>number</key><integer>1</integer>" + entry("", "1"));
    write(local, entry("local", "3") + entry("\xC3\xA9", "1"));
    write(network, entry("network", "4"));
    RUN_OR_SKIP(run([] {
        EXPECT_THAT(EnumRegistryKeys("Suite"), ElementsAre("temporary", "number", "local", "both"));
        EXPECT_TRUE(EnumRegistryKeys("Other").empty());
    }));
}

TEST_F(RegistryLocations, SubkeyOfTheFirstLocationThatHasItCounts) {
    write(temporary, entry("sub", "no dictionary"));
    for (const char* location : {user, local, network}) {
        write(location, subkey("sub", entry("name", location)));
    }
    for (const char* location : {user, local, network}) {
        RUN_OR_SKIP(run([&] {
            EXPECT_EQ(GetRegistrySubkeyValues("Suite", "sub"),
                      (std::map<VLString, VLString>{{"name", location}}));
        }));
        fs::remove(root.path() / location / fileName);
    }
    RUN_OR_SKIP(run([] { EXPECT_TRUE(GetRegistrySubkeyValues("Suite", "sub").empty()); }));
}

TEST_F(RegistryLocations, EmptySubkeyEndsTheSearch) {
    write(user, subkey("sub", ""));
    write(local, subkey("sub", entry("name", "value")));
    RUN_OR_SKIP(run([] { EXPECT_TRUE(GetRegistrySubkeyValues("Suite", "sub").empty()); }));
}

TEST_F(RegistryLocations, SubkeyValuesWithoutANameAndOfOtherTypesAreLeftOut) {
    write(user, subkey("sub", entry("", "no name") + entry("\xC3\xA9", "no ASCII name") + entry("empty", "") +
                                  entry("accent", "\xC3\xA9") + "<key>number</key><integer>1</integer>" +
                                  entry("name", "value")));
    RUN_OR_SKIP(run([] {
        EXPECT_EQ(GetRegistrySubkeyValues("Suite", "sub"),
                  (std::map<VLString, VLString>{{"accent", ""}, {"empty", ""}, {"name", "value"}}));
    }));
}

// Writing

TEST_F(RegistryLocations, DomainsFolderIsMadeForAWrite) {
    fs::remove_all(root.path() / "Home");
    fs::remove_all(root.path() / "Library");
    RUN_OR_SKIP(run([] {
        EXPECT_TRUE(SetRegistryKey("Suite", "name", "user", kUserDomain));
        EXPECT_TRUE(SetRegistryKey("Suite", "name", "local", kLocalDomain));
        EXPECT_FALSE(SetRegistryKey("Suite", "name", "none", 0));
    }));
    EXPECT_THAT(content(user), testing::HasSubstr("<string>user</string>"));
    EXPECT_THAT(content(local), testing::HasSubstr("<string>local</string>"));
    EXPECT_FALSE(has(temporary));
}

TEST_F(RegistryLocations, ShortFormWritesInTheUserDomain) {
    RUN_OR_SKIP(run([] { EXPECT_TRUE(SetRegistryKey("Suite", "name", "value")); }));
    EXPECT_TRUE(has(user));
    EXPECT_FALSE(has(local));
}

TEST_F(RegistryLocations, WriteReadsTheFileOfItsOwnDomain) {
    write(temporary, entry("temporary", "1"));
    write(user, entry("user", "1"));
    RUN_OR_SKIP(run([] { EXPECT_TRUE(SetRegistryKey("Suite", "name", "value")); }));
    EXPECT_THAT(content(user), testing::HasSubstr("<key>user</key>"));
    EXPECT_THAT(content(user), testing::Not(testing::HasSubstr("temporary")));
}

TEST_F(RegistryLocations, FullFormWritesInBothDomainsAndGivesTheUsersResult) {
    RUN_OR_SKIP(run([] { EXPECT_TRUE(FullSetRegistryKey("Suite", "name", "value")); }));
    EXPECT_TRUE(has(user));
    EXPECT_TRUE(has(local));

    fs::remove_all(root.path() / "Library");
    std::ofstream(root.path() / "Library") << "in the way";
    RUN_OR_SKIP(run([] { EXPECT_TRUE(FullSetRegistryKey("Suite", "name", "other")); }));
    EXPECT_THAT(content(user), testing::HasSubstr("<string>other</string>"));

    fs::remove(root.path() / "Library");
    fs::remove_all(root.path() / "Home");
    std::ofstream(root.path() / "Home") << "in the way";
    RUN_OR_SKIP(run([] { EXPECT_FALSE(FullSetRegistryKey("Suite", "name", "third")); }));
    EXPECT_THAT(content(local), testing::HasSubstr("<string>third</string>"));
}

TEST_F(RegistryLocations, RemovedValueStaysInTheFileAndIsEmpty) {
    write(user, entry("name", "value") + entry("other", "1"));
    RUN_OR_SKIP(run([] {
        EXPECT_TRUE(RemoveRegistryKeyValue("Suite", "name"));
        EXPECT_EQ(GetRegistryKey("Suite", "name"), VLString());
        EXPECT_THAT(EnumRegistryKeys("Suite"), ElementsAre("other", "name"));
    }));
    EXPECT_THAT(content(user), testing::HasSubstr("<key>name</key>\n\t<string></string>"));
}

TEST_F(RegistryLocations, SubkeyIsWrittenInTheDomain) {
    write(user, entry("name", "value"));
    RUN_OR_SKIP(run([] {
        EXPECT_TRUE(SetRegistrySubkey("Suite", "sub", "a", "1", kUserDomain));
        EXPECT_TRUE(
            SetRegistrySubkey(VLString("Suite"), VLString("sub"), VLString("b"), VLString("2"), kUserDomain));
        EXPECT_FALSE(SetRegistrySubkey("Suite", "sub", "a", "1", 0));
        const char* none = nullptr;
        EXPECT_FALSE(SetRegistrySubkey("Suite", none, "a", "1", kUserDomain));
        EXPECT_EQ(GetRegistrySubkeyValues("Suite", "sub"),
                  (std::map<VLString, VLString>{{"a", "1"}, {"b", "2"}}));
        EXPECT_EQ(GetRegistryKey("Suite", "name"), VLString("value"));
    }));
    EXPECT_FALSE(has(local));
}

TEST_F(RegistryLocations, BinaryValueIsBase64TextInLinesOf64Characters) {
    RUN_OR_SKIP(run([] {
        EXPECT_TRUE(SetRegistryKeyBinary("Suite", "name", bufferOf(std::string(49, '\xFF'))));
        EXPECT_EQ(GetRegistryKey("Suite", "name"),
                  VLString((std::string(64, '/') + "\r\n" + "/w==\r\n").c_str()));
    }));
}

TEST_F(RegistryLocations, BinaryValueComesBack) {
    RUN_OR_SKIP(run([] {
        std::string bytes;
        for (int length = 0; length < 200; ++length) {
            EXPECT_TRUE(SetRegistryKeyBinary("Suite", "name", bufferOf(bytes)));
            EXPECT_EQ(hexOf(GetRegistryKeyBinary("Suite", "name")), hexOf(bufferOf(bytes)));
            bytes += static_cast<char>(length * 7);
        }
    }));
}

TEST_F(RegistryLocations, EmptyBufferIsStoredAsTheEmptyText) {
    write(user, entry("name", "old"));
    RUN_OR_SKIP(run([] { EXPECT_TRUE(SetRegistryKeyBinary("Suite", "name", VLMemoryBuffer())); }));
    EXPECT_THAT(content(user), testing::HasSubstr("<string></string>"));
}

TEST_F(RegistryLocations, TextThatDoesNotDecodeGivesAnEmptyBuffer) {
    write(user, entry("signs", "!?") + entry("one", "A") + entry("empty", ""));
    RUN_OR_SKIP(run([] {
        for (const char* name : {"signs", "one", "empty", "none"}) {
            const VLMemoryBuffer value = GetRegistryKeyBinary("Suite", name);
            EXPECT_EQ(value.data, nullptr) << name;
            EXPECT_EQ(value.size, 0U) << name;
        }
    }));
}

TEST_F(RegistryLocations, FileThatCannotBeGivenToTheOwnerOfItsFolderHasItsMode) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "every folder here belongs to the user who tests";
    }
    fs::permissions(root.path(), fs::perms(0755));
    ASSERT_EQ(chmod((root.path() / temporary).c_str(), 01777), 0);
    const VLString directory((root.path() / temporary).c_str());
    RUN_OR_SKIP(
        runAsOrdinaryUser([&] { EXPECT_TRUE(SetRegistryKeyAtPath("Suite", "name", "value", directory)); }));
    struct stat status {};
    ASSERT_EQ(stat((root.path() / temporary / fileName).c_str(), &status), 0);
    EXPECT_NE(status.st_uid, 0U);
    EXPECT_EQ(status.st_mode & 07777U, 01777U);
}

TEST_F(RegistryLocations, WriteThatEndsHalfwayGivesFalseAndLosesNothing) {
    write(user, entry("name", "old"));
    const std::string before = content(user);
    RUN_OR_SKIP(run([&] {
        EXPECT_EQ(runWithLargestFile(10, [] { EXPECT_FALSE(SetRegistryKey("Suite", "name", "new")); }), "");
        EXPECT_EQ(GetRegistryKey("Suite", "name"), VLString("old"));
    }));
    EXPECT_EQ(content(user), before);
}

} // namespace
