#include "Foundation/PathLibrary.h"

#include "Tests/Support/Texts.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

struct Example {
    const char* path;
    const char* expected;
};

void expectAll(VLString (*operation)(const VLString&), const std::vector<Example>& examples) {
    for (const Example& example : examples) {
        EXPECT_EQ(bytesOf(operation(example.path)), example.expected) << "for '" << example.path << "'";
    }
}

} // namespace

TEST(PathLibrary, ExtensionIsWhatFollowsTheLastDot) {
    expectAll(PathLibrary::GetExtension, {{"a/b.txt", "txt"},
                                          {"file.tar.gz", "gz"},
                                          {"a.d/b", "d/b"},
                                          {"abc", ""},
                                          {"abc.", ""},
                                          {".profile", "profile"},
                                          {".", ""},
                                          {"", ""}});
}

TEST(PathLibrary, RemovingTheExtensionCutsAtTheFirstDot) {
    expectAll(PathLibrary::RemoveExtension, {{"file.tar.gz", "file"},
                                             {"/a.b/c.txt", "/a"},
                                             {"abc", "abc"},
                                             {"abc.", "abc"},
                                             {".profile", ""},
                                             {"../a", ""},
                                             {"", ""}});
}

TEST(PathLibrary, OneFinalSlashIsRemoved) {
    expectAll(PathLibrary::GetDirectoryPathWithoutLastSlash,
              {{"/a/b/", "/a/b"}, {"/a/b//", "/a/b/"}, {"/", ""}, {"/a/b", "/a/b"}, {"ab", "ab"}, {"", ""}});
}

TEST(PathLibrary, DirectoryWithoutFileEndsWithTheLastSlash) {
    expectAll(
        PathLibrary::GetDirectoryWithoutFile,
        {{"/a/b/c.txt", "/a/b/"}, {"/a/b/", "/a/b/"}, {"/a", "/"}, {"/", "/"}, {"c.txt", ""}, {"", ""}});
}

TEST(PathLibrary, ParentIsTheFolderAbove) {
    expectAll(PathLibrary::GetParentDir, {{"/a/b/c/", "/a/b"},
                                          {"/a/b/c", "/a/b"},
                                          {"/a/b//", "/a/b"},
                                          {"/a//b", "/a/"},
                                          {"/a", ""},
                                          {"a/b", "a"},
                                          {"a", ""},
                                          {"/", ""},
                                          {"", ""}});
}

TEST(PathLibrary, FileNameIsWhatFollowsTheLastSlash) {
    expectAll(PathLibrary::GetFileNameFromPath,
              {{"/a/b.txt", "b.txt"}, {"/a/b/", "/a/b/"}, {"/a", "a"}, {"b", "b"}, {"/", "/"}, {"", ""}});
}

TEST(PathLibrary, DirectoryAndFileMeetAtOneSlash) {
    const auto joined = [](const char* directory, const char* file) {
        return bytesOf(PathLibrary::GetDirectoryWithFile(directory, file));
    };
    EXPECT_EQ(joined("/a", "b"), "/a/b");
    EXPECT_EQ(joined("/a/", "b"), "/a/b");
    EXPECT_EQ(joined("/a//", "b"), "/a//b");
    EXPECT_EQ(joined("/", "b"), "/b");
    EXPECT_EQ(joined("", "b"), "/b");
    EXPECT_EQ(joined("/a", "/b"), "/a//b");
    EXPECT_EQ(joined("/a", ""), "/a/");
    EXPECT_EQ(joined("", ""), "/");
}

TEST(PathLibrary, CollapseRemovesAFolderWithTheStepUpBehindIt) {
    expectAll(PathLibrary::CollapsePath, {{"/a/b/../c", "/a/c"},
                                          {"/a/b/../../c", "/c"},
                                          {"/a/b/c/../../d", "/a/d"},
                                          {"/a/../", "/"},
                                          {"/a/../b/../c", "/c"},
                                          {"x/a/../b", "x/b"},
                                          {"/a b/ü/../c", "/a b/c"},
                                          {"/a/b", "/a/b"},
                                          {"/", "/"},
                                          {"", ""}});
}

TEST(PathLibrary, CollapseLeavesWhatHasNoFolderToRemove) {
    expectAll(PathLibrary::CollapsePath, {{"/../a", "/../a"},
                                          {"/../", "/../"},
                                          {"a/../b", "a/../b"},
                                          {"a/../b/c/../d", "a/../b/c/../d"},
                                          {"/a/../../b/c/../d", "/../b/c/../d"},
                                          {"../a", "../a"}});
}

TEST(PathLibrary, CollapseKnowsNothingButTheStepUpBetweenSlashes) {
    expectAll(PathLibrary::CollapsePath, {{"/a/b/..", "/a/b/.."},
                                          {"/a/./b", "/a/./b"},
                                          {"/a//b", "/a//b"},
                                          {"/a/.../b", "/a/.../b"},
                                          {"/a/..b/c", "/a/..b/c"},
                                          {"/a//../b", "/a/b"},
                                          {"/a/./../b", "/a/b"}});
}

TEST(PathLibrary, CollapseKeepsZeroBytes) {
    const VLString path("/a\0b/c/../d", 11);
    EXPECT_EQ(bytesOf(PathLibrary::CollapsePath(path)), std::string("/a\0b/d", 6));
}

TEST(PathLibrary, CollapseAgreesWithRepeatedSearches) {
    // The same, pass by pass: the first "/../" of the whole text is looked for again after each removal.
    const auto collapsedInPasses = [](std::string path) {
        for (std::size_t found = path.find("/../"); found != std::string::npos && found != 0;
             found = path.find("/../")) {
            const std::size_t slash = path.rfind('/', found - 1);
            if (slash == std::string::npos) {
                break;
            }
            path.erase(slash + 1, found + 3 - slash);
        }
        return path;
    };
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts each time
    for (int round = 0; round < 20000; ++round) {
        std::string path;
        for (auto length = random() % 12; length > 0; --length) {
            static const std::vector<std::string> pieces{"/", "/", "..", ".", "a", "/../"};
            path += pieces[random() % pieces.size()];
        }
        ASSERT_EQ(bytesOf(PathLibrary::CollapsePath(path.c_str())), collapsedInPasses(path)) << path;
    }
}

TEST(PathLibrary, CollapseOfALongPathTakesOneWalk) {
    std::string path;
    for (int i = 0; i < 300000; ++i) {
        path += "/a/..";
    }
    EXPECT_EQ(bytesOf(PathLibrary::CollapsePath((path + "/b").c_str())), "/b");
}
