#include "Platform/Linux/CoreServices/CoreServices.h"

#include "Tests/Support/LiveObjects.h"
#include "Tests/Support/OwnedReference.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace fs = std::filesystem;

namespace {

using FSFindFolderTest = BalancedObjectsTest;

TEST_F(FSFindFolderTest, FindsAndMakesTheUsersPreferencesFolder) {
    TemporaryDirectory home;
    const ScopedEnvironment variable("HOME", home.path().string());
    FSRef folder;
    EXPECT_EQ(FSFindFolder(kUserDomain, kPreferencesFolderType, 0, &folder), fnfErr);
    EXPECT_TRUE(fs::is_empty(home.path()));
    ASSERT_EQ(FSFindFolder(kUserDomain, kPreferencesFolderType, 1, &folder), noErr);
    EXPECT_TRUE(fs::is_directory(home.path() / "Library/Preferences"));
    ASSERT_EQ(FSFindFolder(kUserDomain, kPreferencesFolderType, 0, &folder), noErr);

    UInt8 path[4096] = "";
    const auto url = owned(CFURLCreateFromFSRef(kCFAllocatorDefault, &folder));
    ASSERT_NE(url, nullptr);
    EXPECT_TRUE(CFURLGetFileSystemRepresentation(url.get(), 1, path, sizeof path));
    EXPECT_EQ(reinterpret_cast<const char*>(path), (home.path() / "Library/Preferences").string());
}

TEST_F(FSFindFolderTest, FindsNothingWithoutAUsableHome) {
    FSRef folder;
    for (const auto& home :
         {std::optional<std::string>(), std::optional<std::string>(""),
          std::optional<std::string>("relative"), std::optional<std::string>("/" + std::string(5000, 'a'))}) {
        const ScopedEnvironment variable("HOME", home);
        EXPECT_EQ(FSFindFolder(kUserDomain, kPreferencesFolderType, 1, &folder), fnfErr);
    }
    EXPECT_FALSE(fs::exists("relative"));
}

TEST_F(FSFindFolderTest, FindsNothingWhereNoFolderCanBe) {
    TemporaryDirectory home;
    std::ofstream(home.path() / "Library") << "a file";
    const ScopedEnvironment variable("HOME", home.path().string());
    FSRef folder;
    EXPECT_EQ(FSFindFolder(kUserDomain, kPreferencesFolderType, 1, &folder), fnfErr);
}

TEST_F(FSFindFolderTest, FindsNoOtherFolders) {
    FSRef folder;
    EXPECT_EQ(FSFindFolder(0, kPreferencesFolderType, 0, &folder), fnfErr);
    EXPECT_EQ(FSFindFolder(kLocalDomain, 0x64657363, 0, &folder), fnfErr);
}

TEST_F(FSFindFolderTest, PathThatIsNotUtf8MakesNoUrl) {
    FSRef folder{"/\xFF"};
    EXPECT_EQ(CFURLCreateFromFSRef(kCFAllocatorDefault, &folder), nullptr);
}

} // namespace
