// What may happen to a file between the look at it and its replacement.
#include "Utility/InstallInspector/Report/OutputFile.h"

#include "Tests/Support/FileTree.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::HasSubstr;

TEST(OutputFile, WhatHasChangedSinceItWasReadStays) {
    const TemporaryDirectory folder;
    const std::string path = (folder.path() / "sku.xml").string();
    FileTree::write(path, "old");
    const FileState state = WholeFile::StateOf(path);
    {
        OutputFile file(path, OutputFile::Old::AsRead, state);
        EXPECT_EQ(file.prepare("new"), "");
        FileTree::write(path, "theirs");
        EXPECT_EQ(file.putInPlace(), path + " has changed since it was read, and stays as it is");
    }
    OutputFile file(path, OutputFile::Old::AsRead, state);
    EXPECT_THAT(file.prepare("new"), HasSubstr("has changed since it was read"));
    EXPECT_EQ(FileTree::read(path), "theirs");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(OutputFile, WhatHasComeSinceStays) {
    const TemporaryDirectory folder;
    const std::string path = (folder.path() / "sku.xml").string();
    OutputFile file(path, OutputFile::Old::NoneWithoutForce);
    EXPECT_EQ(file.prepare("new"), "");
    FileTree::write(path, "theirs");
    EXPECT_EQ(file.putInPlace(), path + " is there already; --force replaces it");
    EXPECT_EQ(FileTree::read(path), "theirs");
}

TEST(OutputFile, NothingIsWrittenOverALinkThatLeadsNowhere) {
    const TemporaryDirectory folder;
    const std::string path = (folder.path() / "record.xml").string();
    OutputFile file(path, OutputFile::Old::None);
    EXPECT_EQ(file.prepare("new"), "");
    std::filesystem::create_symlink("nowhere", path);
    EXPECT_EQ(file.putInPlace(), path + " is there already, and stays as it is");
    EXPECT_EQ(OutputFile(path, OutputFile::Old::None).save("new"),
              path + " is there already, and stays as it is");
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "nowhere"));
    // Elsewhere it stands for the file to which it leads.
    EXPECT_EQ(OutputFile(path, OutputFile::Old::NoneWithoutForce).save("new"), "");
    EXPECT_EQ(FileTree::read(folder.path() / "nowhere"), "new");
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

TEST(OutputFile, WhoeverSavesIsNotEndedBeforeTheEnd) {
    const TemporaryDirectory folder;
    const std::string path = (folder.path() / "pipe").string();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const std::string text(1 << 20, 'x'); // more than a pipe holds
    const std::function<std::string()> saves[] = {
        [&] { return OutputFile(path, OutputFile::Old::Anything).save(text); },
        [&] {
            return saveAll({{path, text}}, true);
        },
    };
    for (const auto& save : saves) {
        const pid_t child = fork();
        if (child == 0) {
            _exit(save().empty() ? 0 : 1);
        }
        std::ifstream pipe(path);
        std::string saved(1, static_cast<char>(pipe.get()));
        kill(child, SIGTERM);
        saved.append(std::istreambuf_iterator<char>(pipe), {});
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM) << status;
        EXPECT_EQ(saved.size(), text.size());
    }
}
