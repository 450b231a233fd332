// Each command is first planned and then run: success, and what there is afterwards, must be the same.
#include "Utility/InstallInspector/Plan/PlannedMachine.h"

#include "Tests/Support/FileTree.h"
#include "Tests/Support/Random.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Verb = PlannedMachine::Verb;

// Commands, in whose paths "$T" stands for the test's folder.

Command command(Command::Verb verb, const std::string& path, const std::string& source = "") {
    return {verb, toVLString(path), toVLString(source)};
}
Command removeFile(const std::string& path) {
    return command(Command::Verb::RemoveFile, path);
}
Command removeFolder(const std::string& path) {
    return command(Command::Verb::RemoveFolder, path);
}
Command removeEmptyFolder(const std::string& path) {
    return command(Command::Verb::RemoveEmptyFolder, path);
}
Command makeFolder(const std::string& path) {
    return command(Command::Verb::MakeFolderWithParents, path);
}
Command touch(const std::string& path) {
    return command(Command::Verb::Touch, path);
}
Command copyFile(const std::string& source, const std::string& path) {
    return command(Command::Verb::CopyFile, path, source);
}
Command copyFolder(const std::string& source, const std::string& path) {
    return command(Command::Verb::CopyFolder, path, source);
}
Command ditto(const std::string& source, const std::string& path) {
    return command(Command::Verb::CopyFolderWithDitto, path, source);
}
Command makeLink(const std::string& source, const std::string& path) {
    return command(Command::Verb::Link, path, source);
}

class PlannedMachineTest : public testing::Test {
protected:
    TemporaryDirectory folder;
    /// The same at the beginning; here commands are run.
    TemporaryDirectory copy;

    PlannedMachineTest() {
        FileTree::write(folder.path() / "file", "file");
        FileTree::write(folder.path() / "other", "other");
        FileTree::write(folder.path() / "full/inside", "inside");
        FileTree::write(folder.path() / "full/deep/deeper", "deeper");
        fs::create_directory(folder.path() / "empty");
        fs::create_directory_symlink("full", folder.path() / "link-to-full");
        fs::create_symlink("file", folder.path() / "link-to-file");
        fs::create_symlink("nowhere", folder.path() / "link-to-nothing");
        fs::create_symlink("loop", folder.path() / "loop");
    }

    /// "$T" stands for the test's folder.
    std::string filledIn(const std::string& text) const { return filledIn(text, folder.path()); }
    static std::string filledIn(std::string text, const fs::path& path) {
        for (std::size_t at = 0; (at = text.find("$T")) != std::string::npos;) {
            text.replace(at, 2, path.string());
        }
        return text;
    }
    Command filledIn(const Command& command) const { return filledIn(command, folder.path()); }
    static Command filledIn(const Command& command, const fs::path& path) {
        return {command.verb, text(filledIn(command.path.ConstData(), path)),
                text(filledIn(command.source.ConstData(), path))};
    }
    /// Makes the copy what the test's folder is.
    void renewCopy() const {
        for (const fs::directory_entry& entry : fs::directory_iterator(copy.path())) {
            fs::remove_all(entry.path());
        }
        fs::copy(folder.path(), copy.path(), fs::copy_options::recursive | fs::copy_options::copy_symlinks);
    }
    static VLString text(const std::string& bytes) { return toVLString(bytes); }

    /// The types of the path itself and of what it leads to, and the content.
    static std::string kindIn(Machine& access, const fs::path& path) {
        const VLString there = toVLString(path.string());
        std::string kind =
            std::to_string(access.linkTypeOf(there)) + " " + std::to_string(access.typeOf(there));
        const FileContent content = access.readFile(there);
        if (content.bytes != nullptr) {
            kind += " " + std::string(content.bytes.get(), content.size);
        }
        return kind + (content.error == 0 ? "" : " error " + std::to_string(content.error));
    }
    static std::string realKind(const fs::path& path) {
        Machine machine;
        return kindIn(machine, path);
    }

    static void addPathsBelow(const fs::path& top, std::set<std::string>& paths) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(top)) {
            paths.insert(entry.path().lexically_relative(top));
        }
    }

    /// Whether the plan, which has left the test's folder as it was, tells what has become of the copy.
    void expectCopyIsAs(PlannedMachine& planned, const std::string& after) const {
        std::set<std::string> paths;
        addPathsBelow(folder.path(), paths);
        addPathsBelow(copy.path(), paths);
        for (const std::string& path : paths) {
            EXPECT_EQ(realKind(copy.path() / path), kindIn(planned, folder.path() / path))
                << path << " after " << after;
        }
    }

    /// Plans the commands, one after the other, and runs them on the copy. Gives how each of them ended.
    std::vector<bool> expectSame(const std::vector<Command>& commands) {
        renewCopy();
        PlannedMachine planned;
        std::vector<bool> expected;
        std::vector<bool> actual;
        const auto before = FileTree::describe(folder.path());
        for (const Command& command : commands) {
            actual.push_back(planned.run(filledIn(command)));
            expected.push_back(Machine().run(filledIn(command, copy.path())));
        }
        EXPECT_EQ(FileTree::difference(before, FileTree::describe(folder.path())), "") << "the plan wrote";
        EXPECT_EQ(expected, actual) << commands.front().text().ConstData();
        expectCopyIsAs(planned, commands.back().text().ConstData());
        return actual;
    }

    void expectSuccess(const std::vector<Command>& commands) {
        EXPECT_EQ(expectSame(commands), std::vector<bool>(commands.size(), true));
    }
    void expectFailure(const Command& command) { EXPECT_EQ(expectSame({command}), std::vector<bool>{false}); }

    void expectUnforeseen(const Command& command) {
        PlannedMachine planned;
        EXPECT_THROW(planned.run(filledIn(command)), CannotForesee) << command.text().ConstData();
    }
};

const Command copyFull = copyFolder("$T/full", "$T/to");

} // namespace

// rm -f

TEST_F(PlannedMachineTest, RemovesFilesAndLinks) {
    expectSuccess({removeFile("$T/file"), removeFile("$T/link-to-full"), removeFile("$T/link-to-nothing"),
                   removeFile("$T/full/deep/deeper"), removeFile("$T/loop")});
}

TEST_F(PlannedMachineTest, RemovesWhatIsNotThereWithSuccess) {
    expectSuccess({removeFile("$T/none"), removeFile("$T/none/none"), removeFile("$T/file/none")});
}

TEST_F(PlannedMachineTest, DoesNotRemoveAFolderAsAFile) {
    expectFailure(removeFile("$T/empty"));
}

TEST_F(PlannedMachineTest, RemovesAFileThroughALinkedFolder) {
    expectSuccess({removeFile("$T/link-to-full/inside")});
}

// rm -rf and rmdir

TEST_F(PlannedMachineTest, RemovesAFolderWithAllThatIsInIt) {
    expectSuccess({removeFolder("$T/full"), removeFolder("$T/none")});
}

TEST_F(PlannedMachineTest, RemovesALinkInPlaceOfTheFolderThatItLeadsTo) {
    expectSuccess({removeFolder("$T/link-to-full")});
}

TEST_F(PlannedMachineTest, RemovesAFolderWhoseNameEndsWithASlash) {
    expectSuccess({removeFolder("$T/full/")});
}

TEST_F(PlannedMachineTest, CountsWhatIsInARemovedFolder) {
    PlannedMachine planned;
    planned.run(filledIn(removeFolder("$T/full")));
    EXPECT_EQ(planned.steps().back().removed, 3U);
}

TEST_F(PlannedMachineTest, DoesNotRemoveTheFolderItself) {
    expectFailure(removeFolder("$T/full/."));
    expectFailure(removeFolder("$T/full/.."));
    expectFailure(removeEmptyFolder("$T/empty/."));
}

TEST_F(PlannedMachineTest, RemovesAnEmptyFolderOnly) {
    expectSuccess({removeEmptyFolder("$T/empty")});
    for (const char* name : {"full", "file", "none", "link-to-full", "link-to-nothing"}) {
        expectFailure(removeEmptyFolder(std::string("$T/") + name));
    }
}

TEST_F(PlannedMachineTest, AFolderIsEmptyWhenAllInItHasBeenRemoved) {
    expectSuccess({removeFile("$T/full/inside"), removeFolder("$T/full/deep"), removeEmptyFolder("$T/full")});
}

TEST_F(PlannedMachineTest, AFolderIsNotEmptyWhenSomethingWasMadeInIt) {
    EXPECT_EQ(expectSame({makeFolder("$T/empty/new"), removeEmptyFolder("$T/empty")}),
              (std::vector<bool>{true, false}));
}

// mkdir -p

TEST_F(PlannedMachineTest, MakesAFolderAndThoseAboveIt) {
    expectSuccess({makeFolder("$T/a/b/c"), makeFolder("$T/a/b/c"), makeFolder("$T/full/x/"),
                   makeFolder("$T/link-to-full/y"), makeFolder("$T/d/../e")});
}

TEST_F(PlannedMachineTest, RecordsWhichFoldersItMakes) {
    PlannedMachine planned;
    planned.run(filledIn(makeFolder("$T/full/a/b/")));
    EXPECT_EQ(planned.steps().back().made,
              (std::vector<std::string>{filledIn("$T/full/a"), filledIn("$T/full/a/b")}));
}

TEST_F(PlannedMachineTest, MakesNoFolderWhereSomethingElseIs) {
    for (const char* name : {"file", "file/below", "link-to-nothing", "link-to-file", "loop/below"}) {
        expectFailure(makeFolder(std::string("$T/") + name));
    }
    expectFailure(makeFolder(""));
}

TEST_F(PlannedMachineTest, MakesNoFolderWithANameThatIsTooLong) {
    expectFailure(makeFolder("$T/" + std::string(256, 'x')));
    expectFailure(makeFolder("$T/" + std::string(256, 'x') + "/below"));
    expectSuccess({makeFolder("$T/" + std::string(255, 'x'))});
}

// cp -f

TEST_F(PlannedMachineTest, CopiesAFile) {
    expectSuccess({copyFile("$T/file", "$T/new"), copyFile("$T/file", "$T/other"),
                   copyFile("$T/link-to-file", "$T/full/inside")});
}

TEST_F(PlannedMachineTest, CopiesAFileIntoAFolder) {
    expectSuccess({copyFile("$T/file", "$T/empty"), copyFile("$T/file", "$T/link-to-full"),
                   copyFile("$T/other", "$T/full/")});
}

TEST_F(PlannedMachineTest, CopiesAFileThroughALink) {
    expectSuccess({copyFile("$T/other", "$T/link-to-file")});
}

TEST_F(PlannedMachineTest, CopiesNoFileWhereItCannot) {
    for (const char* name : {"none/new", "file/new", "link-to-nothing", "new/"}) {
        expectFailure(copyFile("$T/file", std::string("$T/") + name));
    }
    expectFailure(copyFile("$T/file", "$T/file"));
    expectFailure(copyFile("$T/none", "$T/new"));
    FileTree::write(folder.path() / "deep", "a file with the name of a folder");
    expectFailure(copyFile("$T/deep", "$T/full"));
}

TEST_F(PlannedMachineTest, ACopyIsThereForTheNextStep) {
    expectSuccess({copyFile("$T/file", "$T/one"), removeFile("$T/file"), copyFile("$T/one", "$T/two"),
                   removeFile("$T/one")});
}

// The copy of a folder

TEST_F(PlannedMachineTest, CopiesAFolderToANewOne) {
    expectSuccess({copyFull});
}

TEST_F(PlannedMachineTest, AddsAFolderToOneThatIsThere) {
    FileTree::write(folder.path() / "to/inside", "old");
    FileTree::write(folder.path() / "to/deep/own", "own");
    fs::create_symlink("own", folder.path() / "to/deep/deeper");
    expectSuccess({copyFull});
    EXPECT_EQ(FileTree::read(folder.path() / "to/deep/own"), "own");
}

TEST_F(PlannedMachineTest, AFolderNeverTakesThePlaceOfAFile) {
    FileTree::write(folder.path() / "to/deep", "in the way");
    expectFailure(copyFull);
}

TEST_F(PlannedMachineTest, AFileNeverTakesThePlaceOfAFolder) {
    FileTree::write(folder.path() / "to/inside/own", "in the way");
    expectFailure(copyFull);
}

TEST_F(PlannedMachineTest, CopiesAFolderWithTheLinksInIt) {
    fs::create_symlink("../file", folder.path() / "full/link");
    fs::create_directory_symlink("deep", folder.path() / "full/folder-link");
    expectSuccess({copyFull});
}

TEST_F(PlannedMachineTest, CopiesWhatEarlierStepsHaveLeftInAFolder) {
    expectSuccess({removeFile("$T/full/inside"), copyFile("$T/file", "$T/full/new"), copyFull,
                   removeFile("$T/full/new"), removeFile("$T/to/deep/deeper")});
}

TEST_F(PlannedMachineTest, DittoIsTheSameCopy) {
    PlannedMachine planned;
    EXPECT_TRUE(planned.run(filledIn(ditto("$T/full", "$T/to"))));
    EXPECT_EQ(planned.typeOf(text(filledIn("$T/to/deep/deeper"))), static_cast<mode_t>(S_IFREG));
    EXPECT_FALSE(planned.run(filledIn(ditto("$T/full", "$T/file"))));
    EXPECT_FALSE(planned.run(filledIn(ditto("$T/none", "$T/more"))));
}

TEST_F(PlannedMachineTest, CopiesNoFolderWhereAFileIs) {
    expectFailure(copyFolder("$T/full", "$T/file"));
    expectFailure(copyFolder("$T/none", "$T/to"));
}

// ln and touch

TEST_F(PlannedMachineTest, MakesALinkAndReplacesWhatIsThere) {
    expectSuccess({makeLink("$T/file", "$T/new"), makeLink("$T/full", "$T/other"),
                   makeLink("$T/file", "$T/link-to-nothing"), makeLink("$T/full", "$T/link-to-file")});
}

TEST_F(PlannedMachineTest, MakesALinkInsideAFolderOfItsName) {
    expectSuccess({makeLink("$T/file", "$T/empty"), makeLink("$T/file", "$T/link-to-full")});
}

TEST_F(PlannedMachineTest, MakesNoLinkWhereItCannot) {
    expectFailure(makeLink("$T/file", "$T/none/new"));
    expectFailure(makeLink("$T/file", "$T/file"));
    FileTree::write(folder.path() / "deep", "a file with the name of a folder");
    expectFailure(makeLink("$T/deep", "$T/full"));
}

TEST_F(PlannedMachineTest, TouchesAFolderAndMakesAFile) {
    expectSuccess({touch("$T/full"), touch("$T/new"), touch("$T/link-to-nothing")});
    expectFailure(touch("$T/none/new"));
}

// Any commands, one after the other, among links that lead anywhere

namespace {

/// Mostly something that is there.
std::string randomPath(Random& random) {
    static const std::vector<std::string> names = {
        "file", "other",           "full", "empty", "link-to-full", "link-to-file",
        "loop", "link-to-nothing", "ring", "deep",  "inside",       "self"};
    std::string path = "$T";
    const std::size_t depth = 1 + below(random, 3);
    for (std::size_t i = 0; i < depth; ++i) {
        path += "/" + names[below(random, names.size())];
    }
    return path;
}

Command randomCommand(Random& random) {
    using Kind = Command::Verb;
    static const std::vector<Kind> verbs = {Kind::RemoveFile,
                                            Kind::RemoveFolder,
                                            Kind::RemoveEmptyFolder,
                                            Kind::MakeFolderWithParents,
                                            Kind::CopyFile,
                                            Kind::CopyFolder,
                                            Kind::Link,
                                            Kind::Touch};
    const Kind verb = verbs[below(random, verbs.size())];
    const bool bSource = verb == Kind::CopyFile || verb == Kind::CopyFolder || verb == Kind::Link;
    const std::string path = randomPath(random);
    return command(verb, path, bSource ? randomPath(random) : "");
}

} // namespace

TEST_F(PlannedMachineTest, ForetellsRandomCommands) {
    fs::create_symlink("loop2", folder.path() / "ring");
    fs::create_symlink("ring", folder.path() / "loop2");
    fs::create_directory_symlink(".", folder.path() / "full/self");
    fs::create_directory_symlink("../full/deep", folder.path() / "empty/inside");
    Random random(7);
    int foreseen = 0;
    for (int round = 0; round < 60 && !HasFailure(); ++round) {
        renewCopy();
        PlannedMachine planned;
        std::string commands;
        for (int i = 0; i < 5 && !HasFailure(); ++i) {
            const Command next = randomCommand(random);
            commands += std::string(next.text().ConstData()) + "; ";
            bool bPlanned = false;
            try {
                bPlanned = planned.run(filledIn(next));
            } catch (const CannotForesee&) {
                break;
            }
            EXPECT_EQ(Machine().run(filledIn(next, copy.path())), bPlanned) << commands;
            expectCopyIsAs(planned, commands);
            ++foreseen;
        }
    }
    EXPECT_GT(foreseen, 120);
}

// Names

TEST_F(PlannedMachineTest, TakesBlanksApostrophesAndTheLikeForPartsOfAName) {
    expectSuccess({makeFolder("$T/it's a & b; c | d > e (f) * ? #"),
                   copyFile("$T/file", "$T/it's a & b; c | d > e (f) * ? #/100%"),
                   removeFile("$T/it's a & b; c | d > e (f) * ? #/100%")});
}

TEST_F(PlannedMachineTest, RelativePathsAreThoseOfTheWorkingFolder) {
    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    PlannedMachine planned;
    EXPECT_EQ(planned.typeOf("file"), static_cast<mode_t>(S_IFREG));
    planned.run(removeFile("file"));
    fs::current_path(before);
    EXPECT_EQ(planned.typeOf(text(filledIn("$T/file"))), static_cast<mode_t>(0));
}

TEST_F(PlannedMachineTest, WhatTheShellWouldInterpretIsNotGuessed) {
    expectUnforeseen(removeFile("$T/$HOME"));
    expectUnforeseen(removeFile("$T/`id`"));
    expectUnforeseen(removeFile("$T/a\\b"));
    expectUnforeseen(removeFile("$T/a\"b"));
    expectUnforeseen(removeFile("$T/a\" \"b"));
    expectUnforeseen(copyFile("$T/`id`", "$T/new"));
    expectUnforeseen(removeFile("-rf"));
}

TEST_F(PlannedMachineTest, WhatNoRunDoesIsNotGuessed) {
    for (const Command& command :
         {Command{Command::Verb::MakeFolder, "$T/new", ""}, copyFolder("$T/full", "$T/full/a"),
          removeFolder("$T/link-to-full/"), removeFolder("/")}) {
        expectUnforeseen(command);
    }
}

// Questions

TEST_F(PlannedMachineTest, AsksForTheHomeFolderAndNotesIt) {
    const ScopedEnvironment home("HOME", "/Users/anna");
    PlannedMachine planned;
    VLString output;
    EXPECT_TRUE(planned.capture("eval echo $HOME", output));
    EXPECT_EQ(output, VLString("/Users/anna\n"));
    EXPECT_TRUE(planned.capture("eval echo '~root'", output));
    ASSERT_EQ(planned.steps().size(), 2U);
    EXPECT_EQ(planned.steps()[1].command, "eval echo '~root'");
    EXPECT_EQ(planned.steps()[1].verb, Verb::Ask);
}

TEST_F(PlannedMachineTest, AsksNothingThatWouldHaveAnEffect) {
    const ScopedEnvironment home("HOME", filledIn("$(touch $T/made)"));
    PlannedMachine planned;
    VLString output;
    EXPECT_THROW(planned.capture("eval echo $HOME", output), CannotForesee);
    EXPECT_THROW(planned.capture("eval echo '~;touch made'", output), CannotForesee);
    EXPECT_THROW(planned.capture("eval echo '~a' 'b'", output), CannotForesee);
    EXPECT_THROW(planned.capture("date", output), CannotForesee);
    EXPECT_FALSE(fs::exists(folder.path() / "made"));
}

TEST_F(PlannedMachineTest, DoesNotNoteWhatTheRunDoesNotAsk) {
    PlannedMachine planned;
    VLString output;
    {
        const PlannedMachine::WithoutSteps withoutSteps(planned);
        planned.capture("eval echo $HOME", output);
    }
    EXPECT_TRUE(planned.steps().empty());
    planned.capture("eval echo $HOME", output);
    EXPECT_EQ(planned.steps().size(), 1U);
}

// The record, and the uninstaller

namespace {

/// The error of saving "text" at `path`; 0 for none.
int saveAt(PlannedMachine& planned, const VLString& path) {
    int error = 0;
    const auto print = [](FILE* stream) { std::fputs("text", stream); };
    const bool bSaved = planned.saveFile(path, print, nullptr, error) == Machine::Saved::Yes;
    EXPECT_EQ(bSaved, error == 0);
    return error;
}

std::string contentAt(PlannedMachine& planned, const VLString& path) {
    const FileContent content = planned.readFile(path);
    return content.bytes == nullptr ? "error " + std::to_string(content.error)
                                    : std::string(content.bytes.get(), content.size);
}

const std::string missing = "error " + std::to_string(ENOENT);

} // namespace

TEST_F(PlannedMachineTest, HoldsASavedFile) {
    PlannedMachine planned;
    const VLString path = text(filledIn("$T/full/record"));
    EXPECT_EQ(saveAt(planned, path), 0);
    EXPECT_EQ(contentAt(planned, path), "text");
    EXPECT_EQ(planned.readFile(path).state.type, static_cast<mode_t>(S_IFREG));
    EXPECT_TRUE(planned.run(filledIn(removeFile("$T/full/record"))));
    EXPECT_EQ(contentAt(planned, path), missing);
    EXPECT_FALSE(fs::exists(folder.path() / "full/record"));
}

TEST_F(PlannedMachineTest, HoldsNoFileWithoutItsFolder) {
    PlannedMachine planned;
    EXPECT_EQ(saveAt(planned, text(filledIn("$T/none/record"))), ENOENT);
    EXPECT_EQ(saveAt(planned, text(filledIn("$T/full"))), EISDIR);
    EXPECT_EQ(saveAt(planned, text(filledIn("$T/link-to-file"))), 0);
    EXPECT_EQ(planned.linkTypeOf(text(filledIn("$T/link-to-file"))), static_cast<mode_t>(S_IFLNK));
    EXPECT_EQ(contentAt(planned, text(filledIn("$T/file"))), "text");
}

TEST_F(PlannedMachineTest, HoldsAFileThatIsMadeUnlessTheNameIsTaken) {
    PlannedMachine planned;
    int error = 0;
    EXPECT_TRUE(planned.createFile(text(filledIn("$T/full/kept")), "a\0b", 3, error));
    EXPECT_EQ(contentAt(planned, text(filledIn("$T/full/kept"))), std::string("a\0b", 3));
    for (const auto& [name, expected] :
         {std::pair{"$T/full/kept", EEXIST}, std::pair{"$T/link-to-file", EEXIST},
          std::pair{"$T/none/kept", ENOENT}}) {
        EXPECT_FALSE(planned.createFile(text(filledIn(name)), "x", 1, error));
        EXPECT_EQ(error, expected) << name;
    }
    EXPECT_FALSE(fs::exists(folder.path() / "full/kept"));
}

TEST_F(PlannedMachineTest, PlacesAndRemovesItemsAsThePlatformDoes) {
    struct Operation {
        std::function<bool(Machine&)> take;
        const char* what;
    };
    renewCopy();
    PlannedMachine planned;
    Machine machine;
    fs::path top;
    const auto at = [&top](const char* name) { return text((top / name).string()); };
    const std::vector<Operation> operations = {
        {[&](auto& access) { return access.removeItem(at("none")); }, "remove nothing"},
        {[&](auto& access) { return access.removeItem(at("link-to-full")); }, "remove a link"},
        {[&](auto& access) { return access.removeItem(""); }, "remove an empty path"},
        {[&](auto& access) { return access.createFolder(at("a/b/")); }, "make folders"},
        {[&](auto& access) { return access.createFolder(at("full")); }, "make a folder that is there"},
        {[&](auto& access) { return access.createFolder(at("file")); }, "make a folder over a file"},
        {[&](auto& access) { return access.createFolder(at("\xff")); }, "make a folder without a name"},
        {[&](auto& access) { return access.copyItem(at("full"), at("a/b/copy")); }, "copy a folder"},
        {[&](auto& access) { return access.copyItem(at("file"), at("other")); }, "copy over a file"},
        {[&](auto& access) { return access.copyItem(at("file"), at("none/file")); }, "copy to nowhere"},
        {[&](auto& access) { return access.copyItem(at("none"), at("new")); }, "copy nothing"},
        {[&](auto& access) { return access.copyItem(at("full"), at("full/deep/copy")); }, "copy into itself"},
        {[&](auto& access) { return access.copyItem(at("link-to-nothing"), at("a/link")); }, "copy a link"},
        {[&](auto& access) { return access.createSymbolicLink(at("a/new"), "/nowhere"); }, "make a link"},
        {[&](auto& access) { return access.createSymbolicLink(at("file"), "/nowhere"); }, "link over a file"},
        {[&](auto& access) { return access.createSymbolicLink(at("none/new"), "x"); }, "link in nowhere"},
        {[&](auto& access) { return access.removeItem(at("full/")); }, "remove a folder"},
    };
    for (const Operation& operation : operations) {
        top = folder.path();
        const bool bForeseen = operation.take(planned);
        top = copy.path();
        EXPECT_EQ(operation.take(machine), bForeseen) << operation.what;
    }
    expectCopyIsAs(planned, "all of them");
}

TEST_F(PlannedMachineTest, TheBundleIsOneThatXmlFilesCanBeCopiedInto) {
    PlannedMachine planned;
    EXPECT_TRUE(planned.copyItem(planned.mainBundlePath(), text(filledIn("$T/App.app"))));
    EXPECT_TRUE(planned.copyItem(text(filledIn("$T/file")), text(filledIn("$T/App.app/Contents/sku.xml"))));
    EXPECT_FALSE(planned.copyItem(text(filledIn("$T/file")), text(filledIn("$T/App.app/Contents/sku.xml"))));
}

TEST_F(PlannedMachineTest, NobodyAnswersAlerts) {
    EXPECT_FALSE(PlannedMachine().showRetryCancelAlert("title", "text"));
}
