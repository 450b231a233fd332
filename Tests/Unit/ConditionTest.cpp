#include "Foundation/FileLibrary.h"
#include "Tests/Support/FakeMachine.h"
#include "Tests/Support/PreferenceFile.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/VLStringPrinter.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tinyxml.h>

#include <filesystem>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Condition = InstallUtility::InstallItem::ItemPath::Condition;

Condition condition(Condition::ConditionType type, const VLString& value = VLString(),
                    std::vector<Condition> operands = {}) {
    Condition result;
    result.type = type;
    result.value = value;
    result.conditions = std::move(operands);
    return result;
}

bool isTrue(const Condition& tested) {
    return InstallUtility::isConditionTrue(tested);
}

bool isTrue(Condition::ConditionType type, const VLString& value) {
    return isTrue(condition(type, value));
}

/// A folder that holds the folder "folder", the file "file", and links to both.
class FileConditions : public testing::Test {
protected:
    FileConditions() {
        std::filesystem::create_directory((inside / "folder").ConstData());
        FileLibrary::writeFile("x", inside / "file", false);
        std::filesystem::create_symlink("folder", (inside / "folder link").ConstData());
        std::filesystem::create_symlink("file", (inside / "file link").ConstData());
        std::filesystem::create_symlink("nothing", (inside / "dangling link").ConstData());
    }

    TemporaryDirectory inside;
};

/// A user with preferences of the key "Vorlane/Condition Test", in both formats a file may have.
class RegistryConditions : public testing::TestWithParam<PreferenceFile::Format> {
protected:
    RegistryConditions() : machine("anna", home.text()) {
        std::filesystem::create_directories(home.path() / "Library/Preferences");
    }

    VLString placeholder(const VLString& valueName) const {
        return VLString("%REGKEY:Vorlane/Condition Test::") + valueName + "%";
    }

    TemporaryDirectory home;
    FakeMachine machine;
};

} // namespace

// Kinds

TEST(Condition, KindsHaveTheirNumbers) {
    EXPECT_EQ(Condition::None, 0);
    EXPECT_EQ(Condition::PathExist, 1);
    EXPECT_EQ(Condition::PathNotExist, 2);
    EXPECT_EQ(Condition::FileExist, 3);
    EXPECT_EQ(Condition::FileNotExist, 4);
    EXPECT_EQ(Condition::RegKeyExist, 5);
    EXPECT_EQ(Condition::RegKeyNotExist, 6);
    EXPECT_EQ(Condition::And, 7);
    EXPECT_EQ(Condition::Or, 8);
    EXPECT_EQ(sizeof(Condition::ConditionType), 4U);
}

TEST(Condition, KindsAreKnownByTheirNamesInAnyCase) {
    const std::pair<const char*, Condition::ConditionType> expectations[] = {
        {"PathExist", Condition::PathExist},
        {"PathNotExist", Condition::PathNotExist},
        {"FileExist", Condition::FileExist},
        {"FileNotExist", Condition::FileNotExist},
        {"RegKeyExist", Condition::RegKeyExist},
        {"RegKeyNotExist", Condition::RegKeyNotExist},
        {"And", Condition::And},
        {"Or", Condition::Or}};
    for (const auto& [text, type] : expectations) {
        EXPECT_EQ(Condition::fromString(text), type) << text;
        EXPECT_EQ(Condition::fromString(VLString(text).ToLower()), type) << text;
        EXPECT_EQ(Condition::fromString(VLString(text).ToUpper()), type) << text;
        EXPECT_STREQ(Condition::nameOf(type), text);
    }
}

TEST(Condition, AnyOtherTextIsNoKind) {
    for (const char* text : {"", "None", "Path Exist", "PathExist ", " PathExist", "PathExists", "PathExis",
                             "Not", "1", "And;Or", "RegKey"}) {
        EXPECT_EQ(Condition::fromString(text), Condition::None) << text;
    }
    EXPECT_STREQ(Condition::nameOf(Condition::None), "");
    EXPECT_STREQ(Condition::nameOf(static_cast<Condition::ConditionType>(9)), "");
}

// Reading

TEST(Condition, ReadsNothingFromWhatIsNoElement) {
    TiXmlText text("condition");
    TiXmlComment comment;
    comment.SetValue("condition");
    for (TiXmlNode* node : std::initializer_list<TiXmlNode*>{nullptr, &text, &comment}) {
        Condition read = condition(Condition::Or, "kept", {Condition()});
        read.parse(node);
        EXPECT_EQ(read.type, Condition::Or);
        EXPECT_EQ(read.value, "kept");
        EXPECT_EQ(read.conditions.size(), 1U);
    }
}

TEST(Condition, ReadsAnElementOfAnyName) {
    TiXmlDocument document;
    document.Parse("<any type='FileExist' value='v'><condition value='w'/></any>");
    Condition read;
    read.parse(document.RootElement());
    EXPECT_EQ(read.type, Condition::FileExist);
    EXPECT_EQ(read.value, "v");
    ASSERT_EQ(read.conditions.size(), 1U);
    EXPECT_EQ(read.conditions[0].value, "w");
}

TEST(Condition, ReadingAgainReplacesKindAndValueAndAddsOperands) {
    TiXmlDocument document;
    document.Parse("<any type='And'><condition value='new'/></any>");
    Condition read = condition(Condition::PathExist, "old", {condition(Condition::None, "kept")});
    read.parse(document.RootElement());
    EXPECT_EQ(read.type, Condition::And);
    EXPECT_EQ(read.value, "");
    ASSERT_EQ(read.conditions.size(), 2U);
    EXPECT_EQ(read.conditions[0].value, "kept");
    EXPECT_EQ(read.conditions[1].value, "new");
}

// Truth

TEST(Condition, NoneAndUnknownKindsAreTrue) {
    const FakeMachine machine;
    EXPECT_TRUE(isTrue(Condition()));
    EXPECT_TRUE(isTrue(Condition::None, "/nothing"));
    EXPECT_TRUE(isTrue(static_cast<Condition::ConditionType>(9), "/nothing"));
    EXPECT_TRUE(isTrue(static_cast<Condition::ConditionType>(2147483647), ""));
    EXPECT_TRUE(isTrue(Condition::fromString("unknown"), ""));
    EXPECT_THAT(machine.paths, IsEmpty());
    EXPECT_THAT(machine.commands, IsEmpty());
}

TEST_F(FileConditions, PathExistMeansAFolder) {
    EXPECT_TRUE(isTrue(Condition::PathExist, inside / "folder"));
    EXPECT_TRUE(isTrue(Condition::PathExist, inside / "folder link"));
    EXPECT_FALSE(isTrue(Condition::PathExist, inside / "file"));
    EXPECT_FALSE(isTrue(Condition::PathExist, inside / "file link"));
    EXPECT_FALSE(isTrue(Condition::PathExist, inside / "dangling link"));
    EXPECT_FALSE(isTrue(Condition::PathExist, inside / "nothing"));
    EXPECT_FALSE(isTrue(Condition::PathExist, ""));
}

TEST_F(FileConditions, PathNotExistIsTheOpposite) {
    EXPECT_FALSE(isTrue(Condition::PathNotExist, inside / "folder"));
    EXPECT_FALSE(isTrue(Condition::PathNotExist, inside / "folder link"));
    EXPECT_TRUE(isTrue(Condition::PathNotExist, inside / "file"));
    EXPECT_TRUE(isTrue(Condition::PathNotExist, inside / "nothing"));
    EXPECT_TRUE(isTrue(Condition::PathNotExist, ""));
}

TEST_F(FileConditions, FileExistMeansARegularFile) {
    EXPECT_TRUE(isTrue(Condition::FileExist, inside / "file"));
    EXPECT_TRUE(isTrue(Condition::FileExist, inside / "file link"));
    EXPECT_FALSE(isTrue(Condition::FileExist, inside / "folder"));
    EXPECT_FALSE(isTrue(Condition::FileExist, inside / "dangling link"));
    EXPECT_FALSE(isTrue(Condition::FileExist, inside / "nothing"));
    EXPECT_FALSE(isTrue(Condition::FileExist, "/dev/null"));
    EXPECT_FALSE(isTrue(Condition::FileExist, ""));
}

TEST_F(FileConditions, FileNotExistIsTheOpposite) {
    EXPECT_FALSE(isTrue(Condition::FileNotExist, inside / "file"));
    EXPECT_FALSE(isTrue(Condition::FileNotExist, inside / "file link"));
    EXPECT_TRUE(isTrue(Condition::FileNotExist, inside / "folder"));
    EXPECT_TRUE(isTrue(Condition::FileNotExist, inside / "nothing"));
    EXPECT_TRUE(isTrue(Condition::FileNotExist, ""));
}

TEST_F(FileConditions, TheValueIsAPattern) {
    const FakeMachine folderUser("folder", "/home");
    EXPECT_TRUE(isTrue(Condition::PathExist, inside / "%USER%"));
    EXPECT_FALSE(isTrue(Condition::PathNotExist, inside / "%USER%"));
    const FakeMachine fileUser("file", "/home");
    EXPECT_TRUE(isTrue(Condition::FileExist, inside / "%USER%"));
    EXPECT_FALSE(isTrue(Condition::FileNotExist, inside / "%USER%"));
}

TEST_F(FileConditions, AnEmptyExpansionIsNothing) {
    FakeMachine machine;
    machine.answers["eval echo $HOME"] = "\n";
    EXPECT_FALSE(isTrue(Condition::PathExist, "%USER%"));
    EXPECT_TRUE(isTrue(Condition::PathNotExist, "%USER%"));
    EXPECT_FALSE(isTrue(Condition::FileExist, "%USER%"));
    EXPECT_TRUE(isTrue(Condition::FileNotExist, "%USER%"));
    EXPECT_FALSE(isTrue(Condition::RegKeyExist, "%USER%"));
    EXPECT_TRUE(isTrue(Condition::RegKeyNotExist, "%USER%"));
}

TEST_F(FileConditions, TheFamilyPlaceholderIsNotFilledIn) {
    EXPECT_FALSE(isTrue(Condition::PathExist, inside / "%FAMILY%"));
    std::filesystem::create_directory((inside / "%FAMILY%").ConstData());
    EXPECT_TRUE(isTrue(Condition::PathExist, inside / "%FAMILY%"));
}

TEST(Condition, RegistryKindsLookAtTheTextOnly) {
    const FakeMachine machine;
    EXPECT_TRUE(isTrue(Condition::RegKeyExist, "/nothing"));
    EXPECT_FALSE(isTrue(Condition::RegKeyNotExist, "/nothing"));
    EXPECT_FALSE(isTrue(Condition::RegKeyExist, ""));
    EXPECT_TRUE(isTrue(Condition::RegKeyNotExist, ""));
    EXPECT_THAT(machine.paths, IsEmpty());
    EXPECT_THAT(machine.commands, IsEmpty());
}

TEST_P(RegistryConditions, AValueExistsWhenItIsATextThatIsNotEmpty) {
    const PreferenceFile file(home / "Library/Preferences/com.vorlane.vorlane.conditiontest.plist",
                              "{'text': 'x', 'blank': ' ', 'empty': '', 'number': 3, 'yes': True, "
                              "'dictionary': {'text': 'x'}}",
                              GetParam());
    const std::pair<const char*, bool> expectations[] = {
        {"text", true}, {"blank", true}, {"empty", false},      {"number", false},
        {"yes", false}, {"Text", false}, {"dictionary", false}, {"nothing", false},
    };
    for (const auto& [valueName, bExists] : expectations) {
        EXPECT_EQ(isTrue(Condition::RegKeyExist, placeholder(valueName)), bExists) << valueName;
        EXPECT_EQ(isTrue(Condition::RegKeyNotExist, placeholder(valueName)), !bExists) << valueName;
    }
}

TEST_P(RegistryConditions, WithoutUsableFileNoValueExists) {
    EXPECT_FALSE(isTrue(Condition::RegKeyExist, placeholder("text")));
    const PreferenceFile file(home / "Library/Preferences/com.vorlane.vorlane.conditiontest.plist",
                              "['text', 'x']", GetParam());
    EXPECT_FALSE(isTrue(Condition::RegKeyExist, placeholder("text")));
    EXPECT_TRUE(isTrue(Condition::RegKeyNotExist, placeholder("text")));
}

TEST_P(RegistryConditions, AValueMayNameAFolder) {
    const PreferenceFile file(home / "Library/Preferences/com.vorlane.vorlane.conditiontest.plist",
                              "{'folder': '/usr', 'file': '/etc/passwd', 'empty': ''}", GetParam());
    EXPECT_TRUE(isTrue(Condition::PathExist, placeholder("folder") + "/bin"));
    EXPECT_FALSE(isTrue(Condition::PathExist, placeholder("file")));
    EXPECT_TRUE(isTrue(Condition::FileExist, placeholder("file")));
    EXPECT_FALSE(isTrue(Condition::PathExist, placeholder("empty")));
    EXPECT_TRUE(isTrue(Condition::FileNotExist, placeholder("nothing")));
}

INSTANTIATE_TEST_SUITE_P(Formats, RegistryConditions,
                         testing::Values(PreferenceFile::Format::XML, PreferenceFile::Format::Binary),
                         [](const auto& format) {
                             return format.param == PreferenceFile::Format::XML ? "XML" : "Binary";
                         });

// And, Or

TEST(Condition, AndIsTrueWhenAllOperandsAre) {
    const Condition yes;
    const Condition no = condition(Condition::Or);
    EXPECT_TRUE(isTrue(condition(Condition::And)));
    EXPECT_TRUE(isTrue(condition(Condition::And, "", {yes})));
    EXPECT_TRUE(isTrue(condition(Condition::And, "", {yes, yes})));
    EXPECT_FALSE(isTrue(condition(Condition::And, "", {no})));
    EXPECT_FALSE(isTrue(condition(Condition::And, "", {yes, no})));
    EXPECT_FALSE(isTrue(condition(Condition::And, "", {no, yes})));
}

TEST(Condition, OrIsTrueWhenAnyOperandIs) {
    const Condition yes;
    const Condition no = condition(Condition::Or);
    EXPECT_FALSE(isTrue(condition(Condition::Or)));
    EXPECT_TRUE(isTrue(condition(Condition::Or, "", {yes})));
    EXPECT_TRUE(isTrue(condition(Condition::Or, "", {no, yes})));
    EXPECT_TRUE(isTrue(condition(Condition::Or, "", {yes, no})));
    EXPECT_FALSE(isTrue(condition(Condition::Or, "", {no})));
    EXPECT_FALSE(isTrue(condition(Condition::Or, "", {no, no})));
}

TEST(Condition, AndStopsAtTheFirstFalseOperand) {
    const FakeMachine machine;
    EXPECT_FALSE(
        isTrue(condition(Condition::And, "",
                         {condition(Condition::PathExist, "/"), condition(Condition::PathExist, "/none"),
                          condition(Condition::PathExist, "/usr")})));
    EXPECT_THAT(machine.paths, ElementsAre("/", "/none"));
}

TEST(Condition, OrStopsAtTheFirstTrueOperand) {
    const FakeMachine machine;
    EXPECT_TRUE(
        isTrue(condition(Condition::Or, "",
                         {condition(Condition::PathExist, "/none"), condition(Condition::PathExist, "/"),
                          condition(Condition::PathExist, "/usr")})));
    EXPECT_THAT(machine.paths, ElementsAre("/none", "/"));
}

TEST(Condition, OperandsMayHaveOperands) {
    const Condition yes;
    const Condition no = condition(Condition::Or);
    EXPECT_TRUE(isTrue(
        condition(Condition::And, "", {condition(Condition::Or, "", {no, yes}), condition(Condition::And)})));
    EXPECT_FALSE(isTrue(condition(Condition::Or, "", {condition(Condition::And, "", {yes, no}), no})));
}

TEST(Condition, OtherKindsIgnoreTheirOperands) {
    const Condition no = condition(Condition::Or);
    EXPECT_TRUE(isTrue(condition(Condition::None, "", {no})));
    EXPECT_TRUE(isTrue(condition(Condition::PathExist, "/", {no})));
    EXPECT_FALSE(isTrue(condition(Condition::FileExist, "/", {Condition()})));
    EXPECT_TRUE(isTrue(condition(Condition::RegKeyExist, "x", {no})));
}

TEST(Condition, AndAndOrIgnoreTheirValue) {
    const FakeMachine machine;
    EXPECT_TRUE(isTrue(Condition::And, "%USER%"));
    EXPECT_FALSE(isTrue(Condition::Or, "%USER%"));
    EXPECT_THAT(machine.commands, IsEmpty());
}
