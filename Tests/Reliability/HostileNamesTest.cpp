// Names and trees that no release engineer means: what they lead to is known, and nothing is lost by them.
#include "Tests/Reliability/DisturbedRun.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class HostileNames : public DisturbedRun {
protected:
    static std::string inSource(const std::string& path) { return "/Volumes/Installer/ALPHA/files/" + path; }

    static ProductBuilder product() {
        return ProductBuilder("ALPHA", "Alpha").family("Blur").target("VorlaneFX", statusFolder);
    }

    /// A product with one file, which is listed under the name `name`, as it is to stand in XML.
    static ProductBuilder listing(const std::string& name) {
        ProductBuilder result = product();
        result.listedFile("VorlaneFX/PLACE").unlistedFile("VorlaneFX/other", "other");
        std::string text = result.definition();
        const std::string place = "PLACE";
        text.replace(text.find(place), place.size(), name);
        return result.definitionText(text);
    }

    /// A file on the installer's disk is installed, once more, and removed, and each time does what it
    /// should.
    void ExpectLife(const ProductBuilder& alpha, const std::string& path) {
        for (int i = 0; i < 2; ++i) {
            const ProgramResult installed = root().run(installCommand(alpha));
            ExpectSuccess(installed);
            ExpectLog(installed, {checking});
            EXPECT_EQ(root().read(path), "content");
        }
        const Lines lines = counts();
        EXPECT_TRUE(std::all_of(lines.begin() + 1, lines.end(), [](const std::string& line) {
            return line.find(" 1") != std::string::npos;
        })) << record();
        runUndisturbed(uninstallCommand(alpha));
        EXPECT_FALSE(root().exists(path));
        EXPECT_EQ(record(), noRecord);
        ExpectSentinels();
    }
};

/// Makes folders inside each other. Longer paths than any call takes are no hindrance.
void makeDeepFolder(const std::filesystem::path& folder, const std::string& name, int levels) {
    int parent = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (int i = 0; i < levels && parent >= 0; ++i) {
        ASSERT_EQ(mkdirat(parent, name.c_str(), 0755), 0) << errno;
        const int child = openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        close(parent);
        parent = child;
    }
    ASSERT_GE(parent, 0);
    close(parent);
}

} // namespace

// Ways out of the target folder

TEST_F(HostileNames, StepsUpLeadOutOfTheTargetFolderAndTheUninstallLeavesWhatIsThere) {
    const ProductBuilder alpha = listing("../../stray");
    place(alpha);
    root().write("/Volumes/Installer/ALPHA/stray", "content");
    runUndisturbed(installCommand(alpha));
    EXPECT_EQ(root().read("/Library/stray"), "content");
    runUndisturbed(uninstallCommand(alpha));
    EXPECT_EQ(root().read("/Library/stray"), "content");
    EXPECT_EQ(record(), noRecord);
    ExpectSentinels();
}

TEST_F(HostileNames, AnAbsoluteNameIsOneBelowTheTargetFolderAndTheUninstallLeavesWhatIsThere) {
    const ProductBuilder alpha = listing("/etc/stray");
    place(alpha);
    root().write(inSource("VorlaneFX/etc/stray"), "content");
    root().makeFolder(shared("etc"));
    runUndisturbed(installCommand(alpha));
    EXPECT_EQ(root().read(shared("etc/stray")), "content");
    EXPECT_FALSE(root().exists("/etc/stray"));
    runUndisturbed(uninstallCommand(alpha));
    EXPECT_EQ(root().read(shared("etc/stray")), "content");
    EXPECT_EQ(record(), noRecord);
    ExpectSentinels();
}

TEST_F(HostileNames, AStepUpThatIsNotInTheSourceEndsTheRunBeforeItDoesAnything) {
    const ProductBuilder alpha = listing("../../nothing");
    place(alpha);
    const Lines before = root().tree();
    const ProgramResult result = root().run(installCommand(alpha));
    EXPECT_EQ(result.exitStatus, 1);
    ExpectLog(result, {checking, "Error! File '" + inSource("VorlaneFX/../../nothing") + "' not found",
                       "Error! File checking is failed"});
    EXPECT_EQ(FileTree::difference(before, root().tree()), "");
}

TEST_F(HostileNames, ADotIsTheFolderItself) {
    const ProductBuilder alpha = listing(".");
    place(alpha);
    ExpectSuccess(root().run(installCommand(alpha)));
    EXPECT_EQ(root().read(shared("other")), "other") << "the folder is copied as one piece";
    ExpectSentinels();
}

// Text that the shell reads, and text that no terminal shows

TEST_F(HostileNames, WhatTheShellWouldExpandIsExpandedAndReportedAsAFailedCopy) {
    for (const std::string name : {"$HOME", "$(echo b)", "`echo b`"}) {
        SCOPED_TRACE(name);
        const ProductBuilder alpha = listing(name);
        place(alpha);
        root().write(inSource("VorlaneFX/" + name), "content");
        const ProgramResult result = root().run(installCommand(alpha));
        ExpectSuccess(result);
        EXPECT_THAT(logLines(result), testing::Contains(failedCopy("VorlaneFX/" + name, shared(name))));
        ExpectSentinels();
    }
}

TEST_F(HostileNames, AQuoteEndsThePathAndWhatFollowsIsRunAsACommand) {
    const ProductBuilder alpha = listing("&quot;; touch &quot;/var/run-by-the-shell");
    place(alpha);
    root().write(inSource("VorlaneFX/\"; touch \"/var/run-by-the-shell"), "content");
    ExpectSuccess(root().run(installCommand(alpha)));
    EXPECT_TRUE(root().exists("/var/run-by-the-shell"));
    ExpectSentinels();
}

TEST_F(HostileNames, AnyOtherBytesAreAName) {
    struct {
        std::string inXML;
        std::string name;
    } const names[] = {{"a&#x07;b", "a\x07"
                                    "b"},
                       {"a&#x1B;[31mb", "a\x1b[31mb"},
                       {"\xFF\xFE\x80\xC3z", "\xFF\xFE\x80\xC3z"},
                       {"-rf", "-rf"},
                       {"* ?", "* ?"},
                       {"a;b|c>d'(", "a;b|c>d'("},
                       {"...", "..."},
                       {" ", " "},
                       {std::string(255, 'n'), std::string(255, 'n')}};
    for (const auto& [inXML, name] : names) {
        SCOPED_TRACE(name);
        const ProductBuilder alpha = listing(inXML);
        place(alpha);
        root().write(inSource("VorlaneFX/" + name), "content");
        ExpectLife(alpha, shared(name));
    }
}

// Too long, too deep

TEST_F(HostileNames, ANameThatIsTooLongForTheDiskEndsTheRunBeforeItDoesAnything) {
    const std::string name(256, 'n');
    const ProductBuilder alpha = listing(name);
    place(alpha);
    const Lines before = root().tree();
    const ProgramResult result = root().run(installCommand(alpha));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(logLines(result).back(), "Error! File checking is failed");
    EXPECT_EQ(FileTree::difference(before, root().tree()), "");
}

TEST_F(HostileNames, ATargetWithANameThatIsTooLongIsReportedAndTheRestIsInstalled) {
    const std::string folder = "/Library/" + std::string(256, 'n');
    const ProductBuilder alpha =
        product().file("VorlaneFX/a", "a").target("Content", folder).file("Content/c", "c");
    place(alpha);
    const ProgramResult result = root().run(installCommand(alpha));
    ExpectSuccess(result);
    EXPECT_THAT(logLines(result), testing::Contains(failedCopy("Content/c", folder + "/c")));
    EXPECT_EQ(root().read(shared("a")), "a");
    ExpectSentinels();
}

TEST_F(HostileNames, ATargetWithAPathThatIsTooLongIsReportedAndTheRestIsInstalled) {
    std::string folder = "/Library/deep";
    for (int i = 0; i < 25; ++i) {
        folder += "/" + std::string(200, 'n');
    }
    const ProductBuilder alpha =
        product().file("VorlaneFX/a", "a").target("Content", folder).file("Content/c", "c");
    place(alpha);
    const ProgramResult result = root().run(installCommand(alpha));
    ExpectSuccess(result);
    EXPECT_THAT(logLines(result), testing::Contains(failedCopy("Content/c", folder + "/c")));
    EXPECT_EQ(root().read(shared("a")), "a");
    EXPECT_EQ(root().run({"rm", "-rf", "/Library/deep"}).exitStatus, 0);
    ExpectSentinels();
}

TEST_F(HostileNames, ADefinitionOfTenThousandLevelsCountsAsMalformedAndInstallsNothing) {
    std::string text = "<product><sku ID=\"ALPHA\" name=\"Alpha\" build=\"1.0.0.1\"/><installFiles>"
                       "<directory fileName=\"VorlaneFX\">";
    std::string end;
    for (int i = 0; i < 10000; ++i) {
        text += "<directory fileName=\"d\">";
        end += "</directory>";
    }
    const ProductBuilder alpha =
        product().definitionText(text + end + "</directory></installFiles></product>");
    place(alpha);
    const Lines before = root().tree();
    const ProgramResult result = root().run(installCommand(alpha));
    ExpectSuccess(result);
    EXPECT_THAT(logLines(result), testing::Contains("Error: Wrong/corrupted SKU XML"));
    EXPECT_EQ(FileTree::difference(before, root().tree()), "");
}

TEST_F(HostileNames, AListedTreeOfTwoHundredLevelsComesAndGoes) {
    std::string path = "VorlaneFX";
    for (int i = 0; i < 200; ++i) {
        path += "/d";
    }
    const ProductBuilder alpha = product().file(path + "/a", "content");
    place(alpha);
    ExpectLife(alpha, shared(path.substr(sizeof "VorlaneFX") + "/a"));
    EXPECT_FALSE(root().exists(shared("d")));
}

TEST_F(HostileNames, AFolderWithPathsThatAreTooLongIsReportedAndTheRestIsInstalled) {
    skipWherePretended("fakechroot itself ends with paths that are too long");
    if (IsSkipped()) {
        return;
    }
    const ProductBuilder alpha = product().file("VorlaneFX/a", "a").folder("VorlaneFX/Deep");
    place(alpha);
    makeDeepFolder(root().outside(inSource("VorlaneFX/Deep")), std::string(100, 'd'), 60);
    const ProgramResult result = root().run(installCommand(alpha));
    ExpectSuccess(result);
    EXPECT_THAT(logLines(result), testing::Contains(failedCopy("VorlaneFX/Deep", shared("Deep"))));
    EXPECT_EQ(root().read(shared("a")), "a");
    runUndisturbed(uninstallCommand(alpha));
    EXPECT_FALSE(root().exists(shared("Deep")));
    EXPECT_EQ(root().run({"rm", "-rf", inSource("VorlaneFX/Deep")}).exitStatus, 0);
    ExpectSentinels();
}
