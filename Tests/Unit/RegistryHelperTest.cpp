#include "Foundation/RegistryHelper.h"

#include "Foundation/VLString.h"
#include "Tests/Support/LiveObjects.h"
#include "Tests/Support/OwnedReference.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/VLStringPrinter.h"

#include <CoreServices/CoreServices.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::function<void(const VLString& application)> onSynchronization;

/// Has `watch` called at each synchronization of preferences while it lives.
class SynchronizationWatch {
public:
    explicit SynchronizationWatch(std::function<void(const VLString&)> watch) {
        onSynchronization = std::move(watch);
    }
    SynchronizationWatch(const SynchronizationWatch&) = delete;
    SynchronizationWatch& operator=(const SynchronizationWatch&) = delete;
    ~SynchronizationWatch() { onSynchronization = nullptr; }
};

} // namespace

// Takes the place of the platform's in this program.
Boolean CFPreferencesAppSynchronize(CFStringRef applicationID) {
    if (onSynchronization) {
        onSynchronization(VLString().FromCFString(applicationID));
    }
    return 1;
}

namespace {

using namespace RegistryHelper;

/// One key in one directory, which is not any of the locations.
class RegistryFile : public BalancedObjectsTest {
protected:
    const char* key = "Vorlane/Lettrix 3";
    const char* fileName = "com.vorlane.vorlane.lettrix3.plist";

    fs::path path() const { return folder.path() / fileName; }
    VLString directory() const { return folder.text(); }

    void write(const std::string& content) const { std::ofstream(path(), std::ios::binary) << content; }
    void writeDictionary(const std::string& entries) const {
        write("<plist version=\"1.0\"><dict>" + entries + "</dict></plist>");
    }
    std::string content() const {
        std::ifstream file(path(), std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    VLString get(const VLString& name) const { return GetRegistryKeyAtPath(key, name, directory()); }
    bool set(const VLString& name, const VLString& value) const {
        return SetRegistryKeyAtPath(key, name, value, directory());
    }
    OwnedReference<CFStringRef> cfDirectory() const { return string(directory().ConstData()); }

    TemporaryDirectory folder;
};

using CFStringConversion = BalancedObjectsTest;

std::string entry(const std::string& name, const std::string& value) {
    return "<key>" + name + "</key><string>" + value + "</string>";
}

VLString normalized(const char* input) {
    char output[nameBufferSize];
    Normalize(output, input);
    return output;
}

// Conversions of VLString

TEST_F(CFStringConversion, AsciiTextComesBackUnchanged) {
    for (const char* text : {"", "a", "abc", "100% <&> \"quoted\"\n\t\x01\x7F"}) {
        const auto converted = owned(VLString(text).CreateCFString());
        ASSERT_NE(converted, nullptr);
        EXPECT_EQ(VLString("old").FromCFString(converted.get()), VLString(text));
    }
    const std::string longText(100'000, 'x');
    EXPECT_EQ(VLString().FromCFString(owned(VLString(longText.c_str()).CreateCFString()).get()),
              VLString(longText.c_str()));
}

TEST_F(CFStringConversion, EmptyTextMakesAnEmptyString) {
    const auto converted = owned(VLString().CreateCFString());
    ASSERT_NE(converted, nullptr);
    EXPECT_EQ(CFStringGetLength(converted.get()), 0);
}

TEST_F(CFStringConversion, TextThatIsNotUtf8MakesNoString) {
    EXPECT_EQ(VLString("caf\xE9").CreateCFString(), nullptr);
}

TEST_F(CFStringConversion, TextEndsAtAZeroByte) {
    EXPECT_EQ(CFStringGetLength(owned(VLString("ab\0c", 4).CreateCFString()).get()), 2);
}

TEST_F(CFStringConversion, NoOrEmptyStringReleasesTheOldText) {
    VLString text("old");
    EXPECT_EQ(&text.FromCFString(nullptr), &text);
    EXPECT_EQ(text.Data(), nullptr);
    text = "old";
    text.FromCFString(string("").get());
    EXPECT_EQ(text.Data(), nullptr);
    EXPECT_TRUE(text.IsEmpty());
}

TEST_F(CFStringConversion, TextThatIsNotAllAsciiComesOutEmptyWithABlockThatHoldsZero) {
    for (const char* original :
         {"\xC3\xA9", "a\xC3\xA9", "\xF0\x9F\x98\x80", "plain ASCII and one \xC3\xA9"}) {
        VLString text("old");
        text.FromCFString(string(original).get());
        EXPECT_TRUE(text.IsEmpty());
        ASSERT_NE(text.Data(), nullptr);
        EXPECT_EQ(*text.Data(), '\0');
    }
}

TEST_F(CFStringConversion, TextThatCameOutEmptyCanBeUsed) {
    VLString text;
    text.FromCFString(string("\xC3\xA9").get());
    EXPECT_EQ(text, VLString());
    EXPECT_EQ(text + "b", VLString("b"));
    VLString copy(text);
    EXPECT_TRUE(copy.IsEmpty());
    text.Append("a text that is longer than what was there before");
    EXPECT_EQ(text, VLString("a text that is longer than what was there before"));
}

// Names

TEST(RegistryNames, StemKeepsLettersDigitsAndThreeSigns) {
    EXPECT_EQ(normalized("ABCXYZabcxyz0189._-"), VLString("abcxyzabcxyz0189._-"));
    EXPECT_EQ(normalized("a/b\\c"), VLString("a.b.c"));
    EXPECT_EQ(normalized(" !\"#$%&'()*+,:;<=>?@[]^`{|}~\t\n\x01\x7F"), VLString());
    EXPECT_EQ(normalized("\x80\xC3\xA9\xFF"), VLString());
    EXPECT_EQ(normalized(""), VLString());
    EXPECT_EQ(normalized("Vorlane/Lettrix 3"), VLString("vorlane.lettrix3"));
}

TEST(RegistryNames, StemIsTerminatedAndNothingBehindItIsTouched) {
    std::string output(nameBufferSize, '#');
    Normalize(output.data(), "Ab");
    EXPECT_EQ(output.substr(0, 4), std::string("ab\0#", 4));
}

TEST(RegistryNames, StemThatDoesNotFitIsCutOff) {
    std::string output(nameBufferSize + 1, '#');
    Normalize(output.data(), std::string(1000, 'A').c_str());
    EXPECT_EQ(output.substr(0, 259), std::string(259, 'a'));
    EXPECT_EQ(output[259], '\0');
    EXPECT_EQ(output[260], '#');
}

TEST(RegistryHex, EachByteIsTwoUpperCaseDigits) {
    EXPECT_EQ(EncodeToHex(VLString("JK\0\xFF\x0A", 5)), VLString("4A4B00FF0A"));
    EXPECT_EQ(EncodeToHex(""), VLString());
}

TEST(RegistryHex, DecodingIsTheInverse) {
    EXPECT_EQ(DecodeFromHex("4A4B"), VLString("JK"));
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    const VLString bytes(all.data(), all.size());
    const VLString decoded = DecodeFromHex(EncodeToHex(bytes));
    EXPECT_EQ(std::string(decoded.ConstData(), decoded.Size()), all);
}

TEST(RegistryHex, LowerCaseDigitsGiveOtherBytes) {
    // 'a' reads as 97 - 55 = 42, 'b' as 43
    EXPECT_EQ(DecodeFromHex("4a4b"), VLString("\x6A\x6B"));
    EXPECT_EQ(DecodeFromHex("aA"), VLString("\xAA")); // 42 * 16 + 10, cut to a byte
    EXPECT_EQ(DecodeFromHex(":0"), VLString("\x30")); // ':' is 58, the first that counts as a letter
    EXPECT_EQ(DecodeFromHex("0/"), VLString("\xFF")); // '/' is one below '0'
}

TEST(RegistryHex, TextOfOddLengthGivesNothing) {
    EXPECT_EQ(DecodeFromHex("ABC"), VLString());
    EXPECT_EQ(DecodeFromHex(""), VLString());
}

// One value in one directory

TEST_F(RegistryFile, ValueIsReadFromTheFileOfTheKey) {
    writeDictionary(entry("name", "value"));
    EXPECT_EQ(get("name"), VLString("value"));
    EXPECT_EQ(get("Name"), VLString());
    EXPECT_EQ(get(""), VLString());
    EXPECT_EQ(GetRegistryKeyAtPath("VORLANE\\LETTRIX3", "name", directory()), VLString("value"));
    EXPECT_EQ(GetRegistryKeyAtPath("Vorlane/Lettrix 4", "name", directory()), VLString());
    EXPECT_EQ(GetRegistryKeyAtPath(key, "name", directory() + "/"), VLString("value"));
    EXPECT_EQ(GetRegistryKeyAtPath(key, "name", directory() + "/none"), VLString());
    EXPECT_EQ(GetRegistryKeyAtPath(key, "name", ""), VLString());
}

TEST_F(RegistryFile, RelativeDirectoryIsTakenFromTheWorkingFolder) {
    writeDictionary(entry("name", "value"));
    const fs::path old = fs::current_path();
    fs::current_path(folder.path());
    const VLString value = GetRegistryKeyAtPath(key, "name", ".");
    fs::current_path(old);
    EXPECT_EQ(value, VLString("value"));
}

TEST_F(RegistryFile, KeyWithoutAnyUsableCharacterHasAFileNameWithTwoDots) {
    EXPECT_TRUE(SetRegistryKeyAtPath("!? \xC3\xA9", "name", "value", directory()));
    EXPECT_TRUE(fs::exists(folder.path() / "com.vorlane..plist"));
    EXPECT_EQ(GetRegistryKeyAtPath("", "name", directory()), VLString("value"));
}

TEST_F(RegistryFile, KeyWhoseFileNameNoFolderTakesFindsAndWritesNothing) {
    const VLString longest(std::string(237, 'a').c_str());
    EXPECT_TRUE(SetRegistryKeyAtPath(longest, "name", "value", directory()));
    EXPECT_TRUE(fs::exists(folder.path() / ("com.vorlane." + std::string(237, 'a') + ".plist")));
    for (const std::size_t length : {238U, 260U, 10'000U}) {
        const VLString tooLong(std::string(length, 'a').c_str());
        EXPECT_FALSE(SetRegistryKeyAtPath(tooLong, "name", "value", directory())) << length;
        EXPECT_EQ(GetRegistryKeyAtPath(tooLong, "name", directory()), VLString()) << length;
    }
}

TEST_F(RegistryFile, EntryThatIsNoStringIsAbsent) {
    for (const char* value :
         {"<integer>1</integer>", "<real>1.5</real>", "<true/>", "<data>AAA=</data>",
          "<date>2020-01-02T03:04:05Z</date>", "<array><string>1</string></array>", "<dict/>"}) {
        writeDictionary(std::string("<key>name</key>") + value);
        EXPECT_EQ(get("name"), VLString()) << value;
        EXPECT_EQ(GetRegistryKeyAtPath(cfDirectory().get(), string(fileName).get(), string("name").get()),
                  nullptr)
            << value;
    }
}

TEST_F(RegistryFile, ValueThatIsNotAllAsciiReadsAsEmpty) {
    writeDictionary(entry("name", "caf\xC3\xA9") + entry("caf\xC3\xA9", "value"));
    EXPECT_EQ(get("name"), VLString());
    EXPECT_EQ(get("caf\xC3\xA9"), VLString("value"));
    EXPECT_NE(owned(GetRegistryKeyAtPath(cfDirectory().get(), string(fileName).get(), string("name").get())),
              nullptr);
}

TEST_F(RegistryFile, FileWithoutADictionaryIsTheSameAsNone) {
    EXPECT_EQ(get("name"), VLString());
    for (const char* document : {"", "noise", "<plist><dict><key>name</key><string>value</string>",
                                 "<plist><array><string>name</string></array></plist>",
                                 "<plist><string>name</string></plist>", "bplist00"}) {
        write(document);
        EXPECT_EQ(get("name"), VLString()) << document;
        EXPECT_EQ(GetDictionaryAtPath(cfDirectory().get(), string(fileName).get()), nullptr) << document;
    }
    fs::remove(path());
    fs::create_directory(path());
    EXPECT_EQ(get("name"), VLString());
}

TEST_F(RegistryFile, TextThatIsNotUtf8FindsAndWritesNothing) {
    writeDictionary(entry("name", "value"));
    const std::string before = content();
    EXPECT_EQ(get("\xFF"), VLString());
    EXPECT_EQ(GetRegistryKeyAtPath(key, "name", directory() + "/\xFF"), VLString());
    EXPECT_FALSE(set("name", "\xFF"));
    EXPECT_FALSE(set("\xFF", "value"));
    EXPECT_FALSE(SetRegistryKeyAtPath(key, "name", "value", directory() + "/\xFF"));
    EXPECT_FALSE(SetRegistrySubkeyAtPath(key, "\xFF", "name", "value", directory()));
    EXPECT_EQ(content(), before);
}

// Functions over CoreFoundation objects

TEST_F(RegistryFile, LowLevelFunctionsGiveNewReferences) {
    writeDictionary(entry("name", "value") + "<key>sub</key><dict>" + entry("name", "inner") + "</dict>");
    const auto file = string(fileName);
    const auto dictionary = owned(GetDictionaryAtPath(cfDirectory().get(), file.get()));
    ASSERT_NE(dictionary, nullptr);
    EXPECT_NE(CFDictionaryGetValue(dictionary.get(), string("sub").get()), nullptr);
    const auto value = owned(GetRegistryKeyAtPath(cfDirectory().get(), file.get(), string("name").get()));
    EXPECT_EQ(VLString().FromCFString(value.get()), VLString("value"));
    const auto subkey = owned(GetRegistrySubkeyAtPath(cfDirectory().get(), file.get(), string("sub").get()));
    ASSERT_NE(subkey, nullptr);
    EXPECT_NE(CFDictionaryGetValue(subkey.get(), string("name").get()), nullptr);
    EXPECT_EQ(GetRegistrySubkeyAtPath(cfDirectory().get(), file.get(), string("name").get()), nullptr);
    EXPECT_EQ(GetRegistrySubkeyAtPath(cfDirectory().get(), file.get(), string("none").get()), nullptr);
    EXPECT_EQ(GetRegistryKeyAtPath(cfDirectory().get(), file.get(), string("sub").get()), nullptr);
}

TEST_F(RegistryFile, LowLevelFunctionsStandNull) {
    writeDictionary(entry("name", "value"));
    const auto file = string(fileName);
    EXPECT_EQ(GetDictionaryAtPath(nullptr, file.get()), nullptr);
    EXPECT_EQ(GetDictionaryAtPath(cfDirectory().get(), nullptr), nullptr);
    EXPECT_EQ(GetDictionaryAtDomain(kUserDomain, nullptr), nullptr);
    EXPECT_EQ(GetRegistryKeyAtPath(cfDirectory().get(), file.get(), static_cast<CFStringRef>(nullptr)),
              nullptr);
    EXPECT_EQ(GetRegistrySubkeyAtPath(cfDirectory().get(), file.get(), nullptr), nullptr);
    EXPECT_EQ(GetRegistryKeyAtDomain(kUserDomain, file.get(), nullptr), nullptr);
    EXPECT_EQ(GetRegistrySubkeyAtDomain(kUserDomain, file.get(), nullptr), nullptr);
    FixPermissions(nullptr);
    FlushPreferencesCache(nullptr);
    FlushPreferencesCache("none");
    FlushPreferencesCache("\xFF");
}

TEST_F(RegistryFile, OnlyKeysThatAreTextsWithContentAreAppended) {
    std::set<VLString> names;
    const auto number = owned(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    AppendKeyName(string("a").get(), number.get(), &names);
    AppendKeyName(string("").get(), string("x").get(), &names);
    AppendKeyName(string("caf\xC3\xA9").get(), string("x").get(), &names);
    AppendKeyName(number.get(), string("x").get(), &names);
    AppendKeyName(nullptr, nullptr, &names);
    EXPECT_EQ(names, std::set<VLString>({"a"}));
}

// Writing in one directory

TEST_F(RegistryFile, ValueIsWrittenAsAPropertyListWithADictionaryOnTop) {
    EXPECT_TRUE(set("name", "a<b"));
    EXPECT_EQ(content(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                         "<plist version=\"1.0\">\n<dict>\n"
                         "\t<key>name</key>\n\t<string>a&lt;b</string>\n"
                         "</dict>\n</plist>\n");
    EXPECT_EQ(get("name"), VLString("a<b"));
}

TEST_F(RegistryFile, CharacterPointersAndStringsWriteTheSame) {
    EXPECT_TRUE(SetRegistryKeyAtPath(key, "name", "1", directory().ConstData()));
    EXPECT_EQ(get("name"), VLString("1"));
    EXPECT_TRUE(SetRegistryKeyAtPath(VLString(key), VLString("name"), VLString("2"), directory()));
    EXPECT_EQ(get("name"), VLString("2"));
    const char* none = nullptr;
    EXPECT_FALSE(SetRegistryKeyAtPath(key, none, "3", directory().ConstData()));
    EXPECT_FALSE(SetRegistryKeyAtPath(key, "name", none, directory().ConstData()));
    EXPECT_FALSE(SetRegistryKeyAtPath(key, "name", "3", none));
    EXPECT_EQ(get("name"), VLString("2"));
}

TEST_F(RegistryFile, OtherEntriesStayWhenAValueIsWritten) {
    writeDictionary(entry("b", "2") + entry("caf\xC3\xA9", "\xF0\x9F\x98\x80") +
                    "<key>number</key><integer>7</integer><key>sub</key><dict>" + entry("x", "y") +
                    "</dict>");
    EXPECT_TRUE(set("a", "1"));
    EXPECT_TRUE(set("b", "3"));
    EXPECT_THAT(content(), testing::EndsWith("<dict>\n"
                                             "\t<key>a</key>\n\t<string>1</string>\n"
                                             "\t<key>b</key>\n\t<string>3</string>\n"
                                             "\t<key>caf\xC3\xA9</key>\n\t<string>\xF0\x9F\x98\x80</string>\n"
                                             "\t<key>number</key>\n\t<integer>7</integer>\n"
                                             "\t<key>sub</key>\n\t<dict>\n"
                                             "\t\t<key>x</key>\n\t\t<string>y</string>\n"
                                             "\t</dict>\n"
                                             "</dict>\n</plist>\n"));
}

TEST_F(RegistryFile, FileWithoutADictionaryIsReplacedByANewOne) {
    write("noise");
    EXPECT_TRUE(set("name", "value"));
    EXPECT_EQ(get("name"), VLString("value"));
}

TEST_F(RegistryFile, MissingDirectoryIsNotMade) {
    EXPECT_FALSE(SetRegistryKeyAtPath(key, "name", "value", directory() + "/none"));
    EXPECT_FALSE(SetRegistryKeyAtPath(key, "name", "value", ""));
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(RegistryFile, FolderInPlaceOfTheFileStays) {
    fs::create_directory(path());
    EXPECT_FALSE(set("name", "value"));
    EXPECT_TRUE(fs::is_directory(path()));
}

TEST_F(RegistryFile, SubkeyIsMadeAndExtended) {
    EXPECT_TRUE(SetRegistrySubkeyAtPath(key, "sub", "b", "2", directory()));
    EXPECT_TRUE(SetRegistrySubkeyAtPath(key, "sub", "a", "1", directory()));
    EXPECT_TRUE(SetRegistrySubkeyAtPath(key, "other", "c", "3", directory()));
    EXPECT_TRUE(SetRegistrySubkeyAtPath(key, "sub", "b", "4", directory()));
    EXPECT_THAT(content(), testing::EndsWith("<dict>\n"
                                             "\t<key>other</key>\n\t<dict>\n"
                                             "\t\t<key>c</key>\n\t\t<string>3</string>\n"
                                             "\t</dict>\n"
                                             "\t<key>sub</key>\n\t<dict>\n"
                                             "\t\t<key>a</key>\n\t\t<string>1</string>\n"
                                             "\t\t<key>b</key>\n\t\t<string>4</string>\n"
                                             "\t</dict>\n"
                                             "</dict>\n</plist>\n"));
}

TEST_F(RegistryFile, SubkeyReplacesAnEntryOfAnotherType) {
    writeDictionary(entry("sub", "text"));
    EXPECT_TRUE(SetRegistrySubkeyAtPath(key, "sub", "a", "1", directory()));
    EXPECT_NE(
        owned(GetRegistrySubkeyAtPath(cfDirectory().get(), string(fileName).get(), string("sub").get())),
        nullptr);
}

// Permissions

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status;
}

TEST_F(RegistryFile, WrittenFileHasTheModeOfItsFolder) {
    for (const mode_t mode : std::initializer_list<mode_t>{0700, 0751, 02775, 01777}) {
        ASSERT_EQ(chmod(folder.path().c_str(), mode), 0);
        EXPECT_TRUE(set("name", "value"));
        EXPECT_EQ(statusOf(path()).st_mode & 07777U, mode);
    }
}

TEST_F(RegistryFile, FileWrittenByTheSuperuserBelongsToTheOwnerOfItsFolder) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can give a file away";
    }
    ASSERT_EQ(chown(folder.path().c_str(), 1234, 2345), 0);
    EXPECT_TRUE(set("name", "value"));
    EXPECT_EQ(statusOf(path()).st_uid, 1234U);
    EXPECT_EQ(statusOf(path()).st_gid, 2345U);
}

TEST_F(RegistryFile, PermissionsAreFixedAfterAFailedWriteToo) {
    ASSERT_EQ(chmod(folder.path().c_str(), 0751), 0);
    fs::create_directory(path());
    ASSERT_EQ(chmod(path().c_str(), 0700), 0);
    EXPECT_FALSE(set("name", "value"));
    EXPECT_EQ(statusOf(path()).st_mode & 07777U, 0751U);
}

TEST_F(RegistryFile, PathsOfMoreThan1023BytesKeepTheirPermissions) {
    const std::string name(200, 'd');
    fs::path deep = folder.path();
    while (deep.string().size() + 201 < 1000) {
        deep /= name;
        fs::create_directory(deep);
    }
    fs::permissions(deep, fs::perms::owner_all);
    const auto fixed = [&](std::size_t length) {
        const fs::path file = deep / std::string(length - deep.string().size() - 1, 'f');
        std::ofstream(file) << "text";
        fs::permissions(file, fs::perms::owner_read);
        FixPermissions(owned(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, string(file.c_str()).get(),
                                                           kCFURLPOSIXPathStyle, 0))
                           .get());
        return fs::status(file).permissions() == fs::perms::owner_all;
    };
    EXPECT_TRUE(fixed(1023));
    EXPECT_FALSE(fixed(1024));
}

TEST_F(RegistryFile, PreferencesOfTheKeyAreSynchronizedWhenItsFileIsWrittenAndHasItsPermissions) {
    ASSERT_EQ(chmod(folder.path().c_str(), 0751), 0);
    mode_t mode = 0;
    std::vector<VLString> applications;
    const SynchronizationWatch watch([&](const VLString& application) {
        applications.push_back(application);
        mode = statusOf(path()).st_mode & 07777U;
    });
    EXPECT_TRUE(set("name", "value"));
    EXPECT_THAT(applications, testing::ElementsAre(VLString("com.vorlane.vorlane.lettrix3")));
    EXPECT_EQ(mode, 0751U);
    EXPECT_EQ(get("name"), VLString("value"));
    EXPECT_EQ(applications.size(), 1U) << "a read synchronizes nothing";
}

TEST_F(RegistryFile, PreferencesAreSynchronizedAfterAFailedWriteToo) {
    fs::create_directory(path());
    std::vector<VLString> applications;
    const SynchronizationWatch watch(
        [&](const VLString& application) { applications.push_back(application); });
    EXPECT_FALSE(set("name", "value"));
    EXPECT_THAT(applications, testing::ElementsAre(VLString("com.vorlane.vorlane.lettrix3")));
}

// Exchange with another reader and writer of property lists

TEST_F(RegistryFile, PythonReadsWhatIsWritten) {
    EXPECT_TRUE(set("markup", "<a> & 'b' \"c\""));
    EXPECT_TRUE(set("unicode \xF0\x9F\x98\x80", "caf\xC3\xA9 \xE4\xB8\xAD"));
    EXPECT_TRUE(set("", "empty name"));
    EXPECT_TRUE(set("empty value", ""));
    EXPECT_TRUE(SetRegistrySubkeyAtPath(key, "sub", "name", "value", directory()));
    const char* script =
        "import plistlib, sys\n"
        "with open(sys.argv[1], 'rb') as file: found = plistlib.load(file)\n"
        "expected = {'markup': '<a> & \\'b\\' \"c\"', 'unicode \\U0001F600': 'caf\\u00e9 \\u4e2d',\n"
        "            '': 'empty name', 'empty value': '', 'sub': {'name': 'value'}}\n"
        "assert found == expected, found\n";
    const auto result = runProgram({"python3", "-c", script, path().string()});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
}

TEST_F(RegistryFile, WhatPythonWritesIsRead) {
    for (const char* format : {"FMT_XML", "FMT_BINARY"}) {
        const std::string script =
            "import plistlib, sys, datetime\n"
            "values = {'name': 'a <value> & more', '': 'empty name', 'empty': '', 'long': 'x' * 5000,\n"
            "          'number': 5, 'date': datetime.datetime(2020, 1, 2), 'data': b'abc', 'list': ['a', "
            "{'b': 1.5}],\n"
            "          'caf\\u00e9': 'non-ASCII name', 'unicode': '\\u4e2d\\U0001F600', 'sub': {'inner': "
            "'y'}}\n"
            "with open(sys.argv[1], 'wb') as file: plistlib.dump(values, file, fmt=plistlib." +
            std::string(format) + ")\n";
        const auto result = runProgram({"python3", "-c", script, path().string()});
        ASSERT_EQ(result.exitStatus, 0) << result.standardError;
        EXPECT_EQ(get("name"), VLString("a <value> & more")) << format;
        EXPECT_EQ(get(""), VLString("empty name")) << format;
        EXPECT_EQ(get("empty"), VLString()) << format;
        EXPECT_EQ(get("long"), VLString(std::string(5000, 'x').c_str())) << format;
        EXPECT_EQ(get("caf\xC3\xA9"), VLString("non-ASCII name")) << format;
        EXPECT_EQ(get("unicode"), VLString()) << format;
        EXPECT_EQ(get("number"), VLString()) << format;
        EXPECT_TRUE(SetRegistrySubkeyAtPath(key, "sub", "second", "z", directory())) << format;
        const auto check = runProgram({"python3", "-c",
                                       "import plistlib, sys, datetime\n"
                                       "with open(sys.argv[1], 'rb') as file: found = plistlib.load(file)\n"
                                       "assert found['sub'] == {'inner': 'y', 'second': 'z'}, found\n"
                                       "assert found['list'] == ['a', {'b': 1.5}] and found['data'] == "
                                       "b'abc' and found['number'] == 5, found\n"
                                       "assert found['date'] == datetime.datetime(2020, 1, 2), found\n"
                                       "assert found['unicode'] == '\\u4e2d\\U0001F600', found\n",
                                       path().string()});
        EXPECT_EQ(check.exitStatus, 0) << check.standardError;
    }
}

} // namespace
