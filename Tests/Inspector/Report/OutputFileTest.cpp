// What may happen to a file between the look at it and its replacement.
#include "Utility/InstallInspector/Report/OutputFile.h"

#include "Tests/Support/FileTree.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

using testing::HasSubstr;

TEST(OutputFile, WhatHasChangedSinceItWasReadStays) {
    const TemporaryDirectory folder;
    const std::string path = (folder.path() / "sku.xml").string();
    FileTree::write(path, "old");
    const FileState state = WholeFile::StateOf(path);
    {
        OutputFile file(path, state, false);
        EXPECT_EQ(file.prepare("new"), "");
        FileTree::write(path, "theirs");
        EXPECT_EQ(file.putInPlace(), path + " has changed since it was read, and stays as it is");
    }
    OutputFile file(path, state, false);
    EXPECT_THAT(file.prepare("new"), HasSubstr("has changed since it was read"));
    EXPECT_EQ(FileTree::read(path), "theirs");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(OutputFile, WhatHasComeSinceStays) {
    const TemporaryDirectory folder;
    const std::string path = (folder.path() / "sku.xml").string();
    OutputFile file(path, FileState(), false);
    EXPECT_EQ(file.prepare("new"), "");
    FileTree::write(path, "theirs");
    EXPECT_EQ(file.putInPlace(), path + " is there already; --force replaces it");
    EXPECT_EQ(FileTree::read(path), "theirs");
}

TEST(OutputFile, ASignalWaitsForTheEndOfTheSave) {
    EXPECT_EXIT(
        {
            {
                const SignalsHeld held;
                raise(SIGINT);
                raise(SIGTERM);
                (void)std::fputs("saved", stderr);
            }
            (void)std::fputs("never", stderr);
        },
        [](int status) { return WIFSIGNALED(status); }, "^saved$");
}
