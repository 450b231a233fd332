#include "Foundation/RegistryHelper.h"
#include "Tests/Support/CapturedStdout.h"
#include "Tests/Support/FakeMachine.h"
#include "Tests/Support/PreferenceFile.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Texts.h"
#include "Tests/Support/VLStringPrinter.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/OncePerRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <pwd.h>
#include <string>
#include <unistd.h>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using InstallItem = InstallUtility::InstallItem;
using ItemPath = InstallItem::ItemPath;
using Condition = ItemPath::Condition;

/// A filled pattern, and what was said of it.
struct Filling {
    VLString result;
    std::string output;

    explicit Filling(const std::string& pattern) : Filling(pattern, CapturedStdout()) {}

private:
    Filling(const std::string& pattern, CapturedStdout&& captured)
        : result(InstallUtility::fillPattern(textOf(pattern))), output(captured.text()) {}
};

std::string malformedLine(const std::string& pattern) {
    return "Error: The pattern '" + pattern + "' has a registry placeholder without \"::\"\n";
}

std::string endlessLine(const std::string& pattern) {
    return "Error: The pattern '" + pattern + "' does not come to an end\n";
}

/// The machine of the user anna, whose home folder is a temporary one.
class FillPattern : public testing::Test {
protected:
    FillPattern() : machine("anna", home.text()) {
        std::filesystem::create_directories(home.path() / "Library/Preferences");
    }

    VLString file(const std::string& stem) const {
        return home / ("Library/Preferences/com.vorlane." + stem + ".plist");
    }

    TemporaryDirectory home;
    FakeMachine machine;
};

using TargetPaths = FillPattern;

ItemPath candidate(const VLString& path, Condition::ConditionType type = Condition::None,
                   const VLString& value = VLString()) {
    ItemPath result;
    result.path = path;
    result.condition.type = type;
    result.condition.value = value;
    return result;
}

/// A folder that is made unless it is there, and then removed at the end of the scope if it is empty.
class MadeFolder {
public:
    explicit MadeFolder(const std::filesystem::path& path)
        : folder(path), bMade(std::filesystem::create_directory(path, error)) {}
    ~MadeFolder() {
        if (bMade) {
            std::filesystem::remove(folder, error);
        }
    }
    MadeFolder(const MadeFolder&) = delete;
    MadeFolder& operator=(const MadeFolder&) = delete;

    bool isWritable() const { return access(folder.c_str(), W_OK) == 0; }

private:
    std::filesystem::path folder;
    std::error_code error;
    bool bMade;
};

/// The true one is an And without operands, the false one an Or.
constexpr Condition::ConditionType always = Condition::And;
constexpr Condition::ConditionType never = Condition::Or;

} // namespace

// Text that stays

TEST_F(FillPattern, TextWithoutPlaceholderStays) {
    const char* sentence = "\xC3\x89"
                           "clair \xE6\x97\xA5\xE6\x9C\xAC 'x' & y";
    for (const char* pattern :
         {"", "/Library/x y", "%", "100% sure", "a%", "%a", "USER", "%USER", "USER%", sentence}) {
        const Filling filling(pattern);
        EXPECT_EQ(filling.result, pattern);
        EXPECT_EQ(filling.output, "") << pattern;
    }
    EXPECT_THAT(machine.commands, IsEmpty());
}

TEST_F(FillPattern, UnknownPlaceholdersStay) {
    for (const char* pattern :
         {"%FAMILY%/x", "%FOO%", "%%", "%%%", "% USER%", "%USERS%", "%regkey:Key::Name%",
          "%RegKey:Key::Name%", "%REGKEY;Key::Name%", "%Key::Name%"}) {
        const Filling filling(pattern);
        EXPECT_EQ(filling.result, pattern);
        EXPECT_EQ(filling.output, "") << pattern;
    }
    EXPECT_THAT(machine.commands, IsEmpty());
}

TEST_F(FillPattern, AnUnknownPlaceholderIsPassedOverWhole) {
    EXPECT_EQ(Filling("a%FOO%b%USER%c").result, "a%FOO%bannac");
    EXPECT_EQ(Filling("%FOO%%USER%").result, "%FOO%anna");
    // The percent sign that closes one placeholder opens no other.
    EXPECT_EQ(Filling("%FOO%USER%").result, "%FOO%USER%");
    EXPECT_EQ(Filling("%%USER%").result, "%%USER%");
}

// The user

TEST_F(FillPattern, TheUserIsFilledInInAnyCase) {
    EXPECT_EQ(Filling("/Users/%USER%/Library").result, "/Users/anna/Library");
    EXPECT_EQ(Filling("%user%").result, "anna");
    EXPECT_EQ(Filling("%UsEr%%uSeR%").result, "annaanna");
}

TEST_F(FillPattern, AllPlacesOfAPlaceholderAreFilledInAtOnce) {
    EXPECT_EQ(Filling("%USER%/%USER%/%USER%").result, "anna/anna/anna");
    EXPECT_THAT(machine.commands, ElementsAre("eval echo $HOME"));
}

TEST_F(FillPattern, SpellingsAreFilledInOneByOne) {
    EXPECT_EQ(Filling("%USER%/%user%/%USER%").result, "anna/anna/anna");
    EXPECT_THAT(machine.commands, ElementsAre("eval echo $HOME", "eval echo $HOME"));
}

TEST_F(FillPattern, PlacesThatTheScanHasPassedAreFilledInToo) {
    // "%x%" hides the first one from the scan, and the last one brings it in.
    EXPECT_EQ(Filling("%A%USER%x%y%USER%").result, "%Aannax%yanna");
}

TEST_F(FillPattern, AUserWithoutNameIsFilledInAsNothing) {
    machine.answers["eval echo $HOME"] = "\n";
    EXPECT_EQ(Filling("a%USER%b").result, "ab");
}

TEST_F(FillPattern, WhatIsFilledInIsLookedAtAgain) {
    const PreferenceFile preferences(file("key"), "{'Name': 'value', 'user': '%USER%', 'half': 'x%US'}");
    machine.answers["eval echo $HOME"] = "/Users/a%RE\n";
    EXPECT_EQ(Filling("%USER%FOO%").result, "a%REFOO%");
    machine.answers["eval echo $HOME"] = "/Users/anna\n";
    EXPECT_EQ(Filling("%REGKEY:Key::user%").result, "anna");
    EXPECT_EQ(Filling("%REGKEY:Key::half%ER%").result, "xanna");
}

// The registry

TEST_F(FillPattern, ARegistryValueIsFilledIn) {
    const PreferenceFile preferences(file("vorlane.lettrix3"), "{'Path': '/Library/Lettrix', 'x': 'y'}");
    EXPECT_EQ(Filling("%REGKEY:Vorlane/Lettrix 3::Path%/Presets").result, "/Library/Lettrix/Presets");
    EXPECT_EQ(Filling("a%REGKEY:Vorlane\\Lettrix3::x%b").result, "ayb");
}

TEST_F(FillPattern, ABinaryPreferenceFileIsReadAsWell) {
    const PreferenceFile preferences(file("key"), "{'Name': 'value'}", PreferenceFile::Format::Binary);
    EXPECT_EQ(Filling("%REGKEY:Key::Name%").result, "value");
}

TEST_F(FillPattern, AnAbsentValueIsFilledInAsNothing) {
    EXPECT_EQ(Filling("a%REGKEY:Key::Name%b").result, "ab");
    const PreferenceFile preferences(file("key"), "{'number': 3, 'empty': '', 'name': 'lower'}");
    EXPECT_EQ(Filling("a%REGKEY:Key::Name%b").result, "ab");
    EXPECT_EQ(Filling("a%REGKEY:Key::number%b").result, "ab");
    EXPECT_EQ(Filling("a%REGKEY:Key::empty%b").result, "ab");
    EXPECT_EQ(Filling("%REGKEY:Key::%").output, "");
}

TEST_F(FillPattern, KeyAndNameArePartedAtTheFirstTwoColons) {
    const PreferenceFile preferences(file("key"), "{'a::b': '1', ':c': '2', '': '3'}");
    const PreferenceFile unnamed(file(""), "{'d': '4'}");
    EXPECT_EQ(Filling("%REGKEY:Key::a::b%").result, "1");
    EXPECT_EQ(Filling("%REGKEY:Key:::c%").result, "2");
    EXPECT_EQ(Filling("%REGKEY:Key::%").result, "3");
    EXPECT_EQ(Filling("%REGKEY:::d%").result, "4");
}

TEST_F(FillPattern, TheKeyBeginsBehindEightCharactersWhereverTheWordStands) {
    const PreferenceFile preferences(file("keykey"), "{'Name': '1'}");
    const PreferenceFile unnamed(file(""), "{'d': '2'}");
    EXPECT_EQ(Filling("%Key/REGKEY:Key::Name%").result, "1"); // the key is "KEY:Key"
    EXPECT_EQ(Filling("%xREGKEY::d%").result, "2");
}

TEST_F(FillPattern, ARegistryPlaceholderIsReadOnceForAllItsPlaces) {
    const PreferenceFile preferences(file("key"), "{'Name': 'v'}");
    EXPECT_EQ(Filling("%REGKEY:Key::Name%/%REGKEY:Key::Name%").result, "v/v");
    EXPECT_THAT(machine.commands, ElementsAre("eval echo $HOME", "eval echo '~anna'"));
}

// What a shell would act on

TEST_F(FillPattern, AValueThatAShellWouldActOnCountsAsEmptyAndIsReported) {
    for (const char* character : {"\"", "$", "`", "\\", "\t", "\n", "\x01", "\x7f"}) {
        ASSERT_TRUE(RegistryHelper::SetRegistryKeyAtPath("Host", "Folder", VLString("/a") + character + "b",
                                                         home / "Library/Preferences"));
        const Filling filled("[%REGKEY:Host::Folder%]");
        EXPECT_EQ(filled.result, VLString("[]")) << character;
        EXPECT_EQ(filled.output,
                  "Error: The preference 'Host::Folder' holds a character that a shell would act "
                  "on. It counts as empty.\n");
        CapturedStdout ignoredOutput;
        Condition exists;
        exists.type = Condition::RegKeyExist;
        exists.value = "%REGKEY:Host::Folder%";
        EXPECT_FALSE(InstallUtility::isConditionTrue(exists));
        exists.type = Condition::RegKeyNotExist;
        EXPECT_TRUE(InstallUtility::isConditionTrue(exists));
    }
}

TEST_F(FillPattern, AValueThatAShellDoesNotInterpretIsFilledIn) {
    const char* value = "/My 'old' Plug-ins; a&b|c<d>e(f)*?[g]~#!{h}%";
    ASSERT_TRUE(RegistryHelper::SetRegistryKeyAtPath("Host", "Folder", value, home / "Library/Preferences"));
    const Filling filled("%REGKEY:Host::Folder%");
    EXPECT_EQ(filled.result, VLString(value));
    EXPECT_EQ(filled.output, "");
}

TEST_F(FillPattern, AHomeThatAShellWouldActOnIsNotGivenToItAndGivesNoUser) {
    for (const char character : std::string(";&|<>()$`\\\"'*?[\t\n\x01\x7f")) {
        const ScopedEnvironment hostile("HOME", std::string("/Users/anna") + character + "x");
        machine.commands.clear();
        CapturedStdout captured;
        EXPECT_EQ(InstallUtility::getUserName(), VLString()) << character;
        EXPECT_THAT(machine.commands, IsEmpty()) << character;
        EXPECT_EQ(captured.text(),
                  "Error: The environment variable HOME holds a character that a shell would act "
                  "on. It counts as empty.\n");
    }
}

TEST_F(FillPattern, AHomeThatAShellDoesNotInterpretIsPassedToIt) {
    for (const char* path : {"/Users/anna", "/Users/Anna Müller", "/Users/a-b.c,d+e@f~#{g}!%", ""}) {
        const ScopedEnvironment changed("HOME", std::string(path));
        CapturedStdout captured;
        EXPECT_EQ(InstallUtility::getUserName(), VLString("anna")) << path;
        EXPECT_EQ(captured.text(), "");
    }
    const ScopedEnvironment none("HOME", std::nullopt);
    EXPECT_EQ(InstallUtility::getUserName(), VLString("anna"));
}

TEST_F(FillPattern, WithoutAUserPatternsAreFilledInAllTheSame) {
    const ScopedEnvironment hostile("HOME", "/Users/$(id)");
    machine.answers["eval echo '~'"] = "/Users/anna\n";
    const Filling filled("/%USER%/%REGKEY:Host::Folder%/x");
    EXPECT_EQ(filled.result, VLString("///x"));
}

TEST_F(FillPattern, ARunLogsOnceWhatItDoesNotUse) {
    ASSERT_TRUE(
        RegistryHelper::SetRegistryKeyAtPath("Host", "Folder", "$(id)", home / "Library/Preferences"));
    ASSERT_TRUE(RegistryHelper::SetRegistryKeyAtPath("Host", "Other", "$(id)", home / "Library/Preferences"));
    const auto linesOf = [](const char* pattern) { return Filling(pattern).output.empty() ? 0 : 1; };
    for (int run = 0; run < 2; ++run) {
        const OncePerRun outer;
        EXPECT_EQ(linesOf("%REGKEY:Host::Folder%"), 1);
        EXPECT_EQ(linesOf("%REGKEY:Host::Folder%"), 0);
        {
            const OncePerRun inner;
            EXPECT_EQ(linesOf("%REGKEY:Host::Folder%"), 0);
        }
        EXPECT_EQ(linesOf("%REGKEY:Host::Folder%"), 0);
        EXPECT_EQ(linesOf("%REGKEY:Host::Other%"), 1);
    }
    EXPECT_EQ(linesOf("%REGKEY:Host::Folder%"), 1);
    EXPECT_EQ(linesOf("%REGKEY:Host::Folder%"), 1);
}

TEST_F(FillPattern, OnlyTheUsersPreferencesCount) {
    const std::string stem = "fillpatterntest" + std::to_string(getpid());
    const PreferenceFile preferences(textOf("/tmp/com.vorlane." + stem + ".plist"), "{'Name': 'v'}");
    EXPECT_EQ(Filling("a%REGKEY:" + stem + "::Name%b").result, "ab");
}

// Patterns that would not come to an end

TEST_F(FillPattern, AMalformedRegistryPlaceholderStaysAndIsReported) {
    for (const char* pattern :
         {"%REGKEY:Key%", "%REGKEY:%", "%REGKEY:Key:Name%", "%REGKEY::Name%", "%xREGKEY:%", "%::REGKEY:x%"}) {
        const Filling filling(pattern);
        EXPECT_EQ(filling.result, pattern);
        EXPECT_EQ(filling.output, malformedLine(pattern));
    }
    EXPECT_THAT(machine.commands, IsEmpty());
}

TEST_F(FillPattern, TheScanGoesOnBehindAMalformedRegistryPlaceholder) {
    const PreferenceFile preferences(file("key"), "{'Name': 'v'}");
    const std::string pattern = "a%REGKEY:Key%b%USER%c%REGKEY:Key::Name%d%REGKEY:%e";
    const Filling filling(pattern);
    EXPECT_EQ(filling.result, "a%REGKEY:Key%bannacvd%REGKEY:%e");
    EXPECT_EQ(filling.output, malformedLine(pattern)); // once for the pattern
}

TEST_F(FillPattern, AMalformedPlaceholderInAValueIsReportedToo) {
    const PreferenceFile preferences(file("key"), "{'Name': '%REGKEY:x%'}");
    const Filling filling("%REGKEY:Key::Name%");
    EXPECT_EQ(filling.result, "%REGKEY:x%");
    EXPECT_EQ(filling.output, malformedLine("%REGKEY:Key::Name%"));
}

TEST_F(FillPattern, AValueThatHoldsItsOwnPlaceholderComesToAnEnd) {
    const PreferenceFile preferences(file("key"),
                                     "{'self': '%REGKEY:Key::self%', 'grows': 'x%REGKEY:Key::grows%', "
                                     "'a': '%REGKEY:Key::b%', 'b': '%REGKEY:Key::a%'}");
    const Filling self("%REGKEY:Key::self%/%USER%");
    EXPECT_EQ(self.result, "%REGKEY:Key::self%/%USER%");
    EXPECT_EQ(self.output, endlessLine("%REGKEY:Key::self%/%USER%"));

    const Filling grows("%REGKEY:Key::grows%");
    EXPECT_EQ(grows.result, textOf(std::string(256, 'x') + "%REGKEY:Key::grows%"));
    EXPECT_EQ(grows.output, endlessLine("%REGKEY:Key::grows%"));

    const Filling mutual("%REGKEY:Key::a%");
    EXPECT_EQ(mutual.result, "%REGKEY:Key::a%");
    EXPECT_EQ(mutual.output, endlessLine("%REGKEY:Key::a%"));
}

TEST_F(FillPattern, AUserNamedLikeThePlaceholderComesToAnEnd) {
    machine.answers["eval echo $HOME"] = "%USER%\n";
    const Filling filling("%USER%");
    EXPECT_EQ(filling.result, "%USER%");
    EXPECT_EQ(filling.output, endlessLine("%USER%"));
    EXPECT_EQ(machine.commands.size(), 256U);
}

TEST_F(FillPattern, AValueThatDoublesDoesNotFillTheMemory) {
    const PreferenceFile preferences(file("key"), "{'twice': '%REGKEY:Key::twice%%REGKEY:Key::twice%'}");
    const Filling filling("%REGKEY:Key::twice%");
    EXPECT_EQ(filling.output, endlessLine("%REGKEY:Key::twice%"));
    EXPECT_LE(filling.result.Size(), 1UL << 20);
    EXPECT_GT(filling.result.Size(), 1UL << 18);
}

TEST_F(FillPattern, TwoHundredAndFiftySixPlaceholdersAreFilledIn) {
    std::string pattern;
    for (int i = 0; i < 256; ++i) {
        pattern += "%REGKEY:Key::" + std::to_string(i) + "%/";
    }
    const Filling complete(pattern);
    EXPECT_EQ(complete.result, textOf(std::string(256, '/')));
    EXPECT_EQ(complete.output, "");
    const Filling tooMany(pattern + "%USER%");
    EXPECT_EQ(tooMany.result, textOf(std::string(256, '/') + "%USER%"));
    EXPECT_EQ(tooMany.output, endlessLine(pattern + "%USER%"));
}

TEST_F(FillPattern, AMebibyteIsFilledIn) {
    const std::string longest(1UL << 20, 'x');
    const PreferenceFile preferences(file("key"), "{'longest': '" + longest + "'}");
    EXPECT_EQ(Filling("%REGKEY:Key::longest%").result, textOf(longest));
    const Filling tooLong("a%REGKEY:Key::longest%");
    EXPECT_EQ(tooLong.result, "a%REGKEY:Key::longest%");
    EXPECT_EQ(tooLong.output, endlessLine("a%REGKEY:Key::longest%"));
}

TEST_F(FillPattern, ALongPatternOfUnknownPlaceholdersTakesNoTime) {
    std::string pattern;
    for (int i = 0; i < 500000; ++i) {
        pattern += "%x%%REGKEY:%";
    }
    const Filling filling(pattern);
    EXPECT_EQ(filling.result, textOf(pattern));
    EXPECT_EQ(std::count(filling.output.begin(), filling.output.end(), '\n'), 1);
}

// The user and his folders

TEST(User, IsWhoHisHomeFolderSays) {
    const std::pair<const char*, const char*> expectations[] = {
        {"/Users/anna", "anna"},          {"/Users/a", "a"},
        {"/Users/", "/Users/"},           {"/root", "/root"},
        {"/var/empty/x", "/var/empty/x"}, {"/x/Users/anna", "/xanna"},
        {"/Users//Users/b", "b"},         {"", ""}};
    for (const auto& [home, name] : expectations) {
        const ScopedEnvironment environment("HOME", home);
        EXPECT_EQ(InstallUtility::getUserName(), name) << home;
    }
}

TEST(User, LosesTheLastCharacterOfWhatTheShellSaysWhateverItIs) {
    FakeMachine machine;
    machine.answers["eval echo $HOME"] = "/Users/anna";
    EXPECT_EQ(InstallUtility::getUserName(), "ann");
    machine.answers["eval echo $HOME"] = "x";
    EXPECT_EQ(InstallUtility::getUserName(), "");
    machine.answers["eval echo $HOME"] = "";
    EXPECT_EQ(InstallUtility::getUserName(), "");
    EXPECT_THAT(machine.commands, testing::Each(std::string("eval echo $HOME")));
}

TEST(User, HasTheHomeFolderThatTheShellFinds) {
    const FakeMachine machine("anna", "/Volumes/Home s/anna");
    EXPECT_EQ(InstallUtility::getUserHomePath(), "/Volumes/Home s/anna");
    EXPECT_THAT(machine.commands, ElementsAre("eval echo $HOME", "eval echo '~anna'"));
    EXPECT_EQ(InstallUtility::getUserPreferencesPath(), "/Volumes/Home s/anna/Library/Preferences");
}

TEST(User, OfAnotherNameThanTheMachineKnowsHasNoFolder) {
    const ScopedEnvironment environment("HOME", "/Users/no such-user");
    EXPECT_EQ(InstallUtility::getUserHomePath(), "~no such-user");
}

TEST(User, IsNobodyWhenNoShellCanBeStarted) {
    FakeMachine machine;
    machine.bResult = false;
    EXPECT_EQ(InstallUtility::getUserName(), "");
    EXPECT_EQ(InstallUtility::getUserHomePath(), "");
    EXPECT_EQ(InstallUtility::getUserPreferencesPath(), "/Library/Preferences");
}

TEST(User, OfTheMachineHasPreferences) {
    const struct passwd* user = getpwuid(geteuid()); // NOLINT(concurrency-mt-unsafe)
    if (user == nullptr) {
        GTEST_SKIP() << "this process runs as a user whom the machine does not know by name";
    }
    const ScopedEnvironment environment("HOME", "/Users/" + std::string(user->pw_name));
    ASSERT_EQ(InstallUtility::getUserName(), user->pw_name);
    ASSERT_EQ(InstallUtility::getUserHomePath(), user->pw_dir);

    const std::filesystem::path folder = std::filesystem::path(user->pw_dir) / "Library/Preferences";
    const MadeFolder library(folder.parent_path());
    const MadeFolder preferencesFolder(folder);
    if (!preferencesFolder.isWritable()) {
        GTEST_SKIP() << "no right to write to " << folder;
    }
    const std::string stem = "userpreferencestest" + std::to_string(getpid());
    for (const auto format : {PreferenceFile::Format::XML, PreferenceFile::Format::Binary}) {
        const PreferenceFile preferences(VLString((folder / ("com.vorlane." + stem + ".plist")).c_str()),
                                         "{'Name': 'v', 'empty': ''}", format);
        EXPECT_EQ(Filling("%REGKEY:" + stem + "::Name%").result, "v");
        Condition condition;
        condition.type = Condition::RegKeyExist;
        const std::string beginning = "%REGKEY:" + stem;
        condition.value = VLString(beginning.c_str()) + "::Name%";
        EXPECT_TRUE(InstallUtility::isConditionTrue(condition));
        condition.value = VLString(beginning.c_str()) + "::empty%";
        EXPECT_FALSE(InstallUtility::isConditionTrue(condition));
        condition.type = Condition::RegKeyNotExist;
        EXPECT_TRUE(InstallUtility::isConditionTrue(condition));
    }
}

// Commands

TEST(Exec, GivesAllOutputWhateverTheStatus) {
    VLString output = "old";
    EXPECT_TRUE(InstallUtility::exec("printf 'a\\nb\\n'; exit 3", output));
    EXPECT_EQ(output, "a\nb\n");
    EXPECT_TRUE(InstallUtility::exec("true", output));
    EXPECT_EQ(output, "");
    EXPECT_TRUE(InstallUtility::exec("printf '%0300d\\n' 7", output));
    EXPECT_EQ(output, textOf(std::string(299, '0') + "7\n"));
}

TEST(Exec, FailsOnlyWhenTheCommandCannotBeStarted) {
    FakeMachine machine;
    machine.bResult = false;
    VLString output = "old";
    EXPECT_FALSE(InstallUtility::exec("true", output));
    EXPECT_EQ(output, "");
}

// Target folders

TEST_F(TargetPaths, EveryCandidateThatAppliesGivesItsFolderInOrder) {
    EXPECT_THAT(
        InstallUtility::getTargetPaths({candidate("/c"), candidate("/no", never), candidate("/aaa", always),
                                        candidate("/b", Condition::PathExist, home.text()),
                                        candidate("/no", Condition::PathExist, home / "none")},
                                       "F"),
        ElementsAre("/c", "/aaa", "/b"));
}

TEST_F(TargetPaths, NoCandidateGivesNoFolder) {
    EXPECT_THAT(InstallUtility::getTargetPaths({}, "F"), IsEmpty());
    EXPECT_THAT(InstallUtility::getTargetPaths({candidate("/a", never)}, "F"), IsEmpty());
}

TEST_F(TargetPaths, TheFamilyIsFilledInInPaths) {
    EXPECT_THAT(
        InstallUtility::getTargetPaths({candidate("%FAMILY%/x"), candidate("/%FAMILY%/%FAMILY%")}, "Effects"),
        ElementsAre("Effects/x", "/Effects/Effects"));
    EXPECT_THAT(InstallUtility::getTargetPaths({candidate("/%family%")}, "Effects"),
                ElementsAre("/%family%"));
    EXPECT_THAT(InstallUtility::getTargetPaths({candidate("/a/%FAMILY%")}, ""), ElementsAre("/a/"));
}

TEST_F(TargetPaths, TheFamilysNameIsNotSearchedForTheFamilyButForOtherPlaceholders) {
    EXPECT_THAT(InstallUtility::getTargetPaths({candidate("/%FAMILY%")}, "%FAMILY%"),
                ElementsAre("/%FAMILY%"));
    EXPECT_THAT(InstallUtility::getTargetPaths({candidate("/%FAMILY%")}, "%USER%"), ElementsAre("/anna"));
}

TEST_F(TargetPaths, AFamilyMayMakeAPathOfAMebibyte) {
    const std::string half(1UL << 19, 'x');
    const std::vector<VLString> paths =
        InstallUtility::getTargetPaths({candidate("%FAMILY%%FAMILY%")}, textOf(half));
    EXPECT_THAT(paths, ElementsAre(textOf(half + half)));
}

TEST_F(TargetPaths, APathThatTheFamilyMakesLongerIsReportedAndSkipped) {
    const std::string name(1UL << 19, 'x');
    const std::string tooLong = "%FAMILY%/%FAMILY%";
    std::vector<VLString> paths;
    std::string output;
    {
        CapturedStdout captured;
        paths = InstallUtility::getTargetPaths(
            {candidate(textOf(tooLong)), candidate("/a"), candidate(textOf(tooLong), never)}, textOf(name));
        output = captured.text();
    }
    EXPECT_THAT(paths, ElementsAre("/a"));
    EXPECT_EQ(output, endlessLine(tooLong));
}

TEST_F(TargetPaths, ALongPathThatTheFamilyMakesNoLongerIsTaken) {
    const std::string longer(1UL << 20, 'x');
    EXPECT_THAT(InstallUtility::getTargetPaths(
                    {candidate(textOf(longer + "x")), candidate(textOf(longer + "%FAMILY%"))}, "F"),
                testing::SizeIs(2));
}

TEST_F(TargetPaths, TheFamilyIsNotFilledInInConditions) {
    std::filesystem::create_directory((home / "%FAMILY%").ConstData());
    EXPECT_THAT(
        InstallUtility::getTargetPaths({candidate("/a", Condition::PathExist, home / "%FAMILY%")}, "Effects"),
        ElementsAre("/a"));
    std::filesystem::remove((home / "%FAMILY%").ConstData());
    std::filesystem::create_directory((home / "Effects").ConstData());
    EXPECT_THAT(
        InstallUtility::getTargetPaths({candidate("/a", Condition::PathExist, home / "%FAMILY%")}, "Effects"),
        IsEmpty());
}

TEST_F(TargetPaths, PathsAreFilledInForCandidatesThatApplyOnly) {
    EXPECT_THAT(InstallUtility::getTargetPaths({candidate("/%USER%", never)}, "F"), IsEmpty());
    EXPECT_THAT(machine.commands, IsEmpty());
    EXPECT_THAT(InstallUtility::getTargetPaths({candidate("/%USER%/%REGKEY:Key::Name%x")}, "F"),
                ElementsAre("/anna/x"));
}

TEST_F(TargetPaths, ACandidateThatComesOutEmptyIsSkipped) {
    EXPECT_THAT(InstallUtility::getTargetPaths(
                    {candidate("%REGKEY:Key::Name%"), candidate("%FAMILY%"), candidate("/a")}, ""),
                ElementsAre("/a"));
}

TEST_F(TargetPaths, AFolderCountsOnceWhateverItsCase) {
    EXPECT_THAT(
        InstallUtility::getTargetPaths(
            {candidate("/A"), candidate("/b"), candidate("/a"), candidate("/B"), candidate("/a/")}, "F"),
        ElementsAre("/A", "/b", "/a/"));
    EXPECT_THAT(InstallUtility::getTargetPaths({candidate("/Anna"), candidate("/%USER%")}, "F"),
                ElementsAre("/Anna"));
    EXPECT_THAT(InstallUtility::getTargetPaths({candidate("/a", never), candidate("/A")}, "F"),
                ElementsAre("/A"));
}
