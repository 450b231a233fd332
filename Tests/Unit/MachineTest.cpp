#include "Foundation/Machine.h"

#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/VLStringPrinter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

TEST(Machine, NamesInAFolderAreSortedByTheirBytes) {
    const TemporaryDirectory folder;
    for (const char* name : {"b", "a", "B", ".hidden", "\xC3\xA9"}) {
        std::ofstream(folder.path() / name) << "x";
    }
    fs::create_directory(folder.path() / "c");
    EXPECT_EQ(Machine::current().namesIn(folder.path().c_str()),
              (std::vector<VLString>{".hidden", "B", "a", "b", "c", "\xC3\xA9"}));
}

TEST(Machine, WhatIsNoFolderHasNoNamesInIt) {
    const TemporaryDirectory folder;
    std::ofstream(folder.path() / "file") << "x";
    EXPECT_TRUE(Machine::current().namesIn((folder.path() / "file").c_str()).empty());
    EXPECT_TRUE(Machine::current().namesIn((folder.path() / "missing").c_str()).empty());
}
