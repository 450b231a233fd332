// The manifest: what "new" and "update" write, and how a file or folder on disk is compared with it.
#include "Utility/InstallInspector/Documents/Manifest.h"

#include "Platform/Digest.h"
#include "Tests/Inspector/Author/StagedProduct.h"
#include "Tests/Support/SchemaCheck.h"
#include "Tests/Support/Terminal.h"
#include "Utility/InstallInspector/Author/EntryWriter.h"

#include <gmock/gmock.h>
#include <tinyxml.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace std::chrono_literals;

namespace {

namespace fs = std::filesystem;

const std::string digestOfAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
const std::string digestOfNothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

class ManifestTest : public StagedProduct {
protected:
    std::vector<Manifest::Difference> faults;

    Manifest::Parts readParts(const std::string& name) {
        Progress progress;
        return Manifest::read((files() / name).string(), progress, faults);
    }

    /// "kind path: text" for each difference between what the element says and what is there.
    std::vector<std::string> compare(const std::string& xml, const std::string& name) const {
        TiXmlDocument document;
        document.Parse(xml.c_str());
        Progress progress;
        std::vector<std::string> lines;
        for (const auto& difference :
             Manifest::compare(Manifest::of(*document.RootElement()), (files() / name).string(), progress)) {
            lines.push_back(std::string(nameOf(difference.kind)) + " " + difference.path + ": " +
                            difference.text);
        }
        return lines;
    }

    ProgramResult create(const std::vector<std::string>& more = {"--manifest", "-o", "sku.xml"}) const {
        std::vector<std::string> command = {"new", "files", "--id", "A", "--name", "A", "--build", "1.0.0.1"};
        command.insert(command.end(), more.begin(), more.end());
        return run(command);
    }

    ProgramResult update(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> command = {"update", "sku.xml", "--source", "files"};
        command.insert(command.end(), more.begin(), more.end());
        return run(command);
    }

    std::vector<std::string> findings() const {
        return linesWith("[manifest-differs]", run({"check", "sku.xml", "--source", "files"}).standardOutput);
    }
};

const std::string wholeFolder = "<file fileName='x'><part path='a' size='3' sha256='" + digestOfAbc +
                                "'/><part path='b/c' size='3' sha256='" + digestOfAbc +
                                "'/><part path='link' link='a'/></file>";

} // namespace

TEST(Sha256, GivesTheDigestsOfTheStandard) {
    Sha256 digest;
    EXPECT_EQ(digest.finish(), digestOfNothing);
    digest.add("ab", 2);
    digest.add("c", 1);
    EXPECT_EQ(digest.finish(), digestOfAbc);
    const std::string many(1000, 'a');
    for (int i = 0; i < 1000; ++i) {
        digest.add(many.data(), many.size());
    }
    EXPECT_EQ(digest.finish(), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST_F(ManifestTest, AFileIsItsSizeAndDigest) {
    put("a", "abc");
    const auto parts = readParts("a");
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(manifestAttributes(parts[0]), " size=\"3\" sha256=\"" + digestOfAbc + "\"");
    EXPECT_THAT(compare("<file size='3' sha256='" + digestOfAbc + "'/>", "a"), IsEmpty());
}

/// More than one block is read of it.
TEST_F(ManifestTest, ALargeFileIsReadWhole) {
    put("a", std::string(1'000'000, 'a'));
    EXPECT_EQ(readParts("a").front().digest,
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST_F(ManifestTest, AFolderIsAllThatIsInIt) {
    put("x/b/c", "");
    put("x/b.d", "abc");
    put("x/.hidden", "abc");
    fs::create_directories(files() / "x/empty");
    fs::create_symlink("b", files() / "x/link");
    std::vector<std::string> lines;
    for (const auto& part : readParts("x")) {
        lines.push_back(manifestAttributes(part));
    }
    EXPECT_THAT(lines, ElementsAre(" path=\".hidden\" size=\"3\" sha256=\"" + digestOfAbc + "\"",
                                   " path=\"b.d\" size=\"3\" sha256=\"" + digestOfAbc + "\"",
                                   " path=\"b/c\" size=\"0\" sha256=\"" + digestOfNothing + "\"",
                                   " path=\"link\" link=\"b\""));
    EXPECT_THAT(faults, IsEmpty());
}

TEST_F(ManifestTest, NamesEveryDifference) {
    const std::string file = "<file size='3' sha256='" + digestOfAbc + "'/>";
    EXPECT_THAT(compare(file, "a"), ElementsAre("missing : is missing"));
    put("a", "ab");
    EXPECT_THAT(compare(file, "a"), ElementsAre("truncated : is truncated: 2 of 3 bytes"));
    put("a", "abcd");
    EXPECT_THAT(compare(file, "a"), ElementsAre("changed : has 4 bytes in place of 3"));
    put("a", "abd");
    EXPECT_THAT(compare(file, "a"), ElementsAre("changed : has other content of the same size"));
    fs::remove(files() / "a");
    put("a/x");
    EXPECT_THAT(compare(file, "a"), ElementsAre("changed : is a folder in place of a file"));
    EXPECT_THAT(compare(wholeFolder, "nothing"), ElementsAre("missing : is missing"));
    put("b", "abc");
    EXPECT_THAT(compare(wholeFolder, "b"), ElementsAre("changed : is a file in place of a folder"));
}

TEST_F(ManifestTest, NamesEveryDifferenceInAFolder) {
    put("x/a", "abc");
    put("x/b/c", "abc");
    fs::create_symlink("a", files() / "x/link");
    EXPECT_THAT(compare(wholeFolder, "x"), IsEmpty());
    put("x/new");
    put("x/a", "a");
    fs::remove(files() / "x/b/c");
    fs::remove(files() / "x/link");
    fs::create_symlink("b", files() / "x/link");
    EXPECT_THAT(compare(wholeFolder, "x"),
                ElementsAre("truncated a: is truncated: 1 of 3 bytes", "missing b/c: is missing",
                            "changed link: is a link to another place",
                            "foreign new: is not in the manifest"));
    fs::remove(files() / "x/link");
    put("x/link", "a");
    fs::remove(files() / "x/a");
    fs::create_symlink("link", files() / "x/a");
    EXPECT_THAT(compare(wholeFolder, "x"),
                ElementsAre("changed a: is a link in place of a file", "missing b/c: is missing",
                            "changed link: is a file in place of a link",
                            "foreign new: is not in the manifest"));
    fs::remove(files() / "x/a");
    ASSERT_EQ(mkfifo((files() / "x/a").c_str(), 0644), 0);
    EXPECT_THAT(compare(wholeFolder, "x"),
                testing::Contains("unreadable a: is neither a file, a folder nor a link"));
}

TEST_F(ManifestTest, WhatIsMalformedIsNoManifest) {
    for (const char* text :
         {"<file/>", "<file size='3'/>", "<file size='x' sha256='y'/>", "<file sha256='y'/>",
          "<file><part path='a'/><part link='b'/><part path='' size='1'/></file>"}) {
        TiXmlDocument document;
        document.Parse(text);
        EXPECT_THAT(Manifest::of(*document.RootElement()), IsEmpty()) << text;
    }
}

TEST_F(ManifestTest, WhatVanishesWhileItIsReadIsAFault) {
    const auto parts = readParts("gone");
    EXPECT_THAT(parts, IsEmpty());
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults[0].text, "cannot be read: No such file or directory");
}

TEST_F(ManifestTest, WhatChangesWhileItIsReadIsAFault) {
    put("a");
    fs::resize_file(files() / "a", 1'000'000'000);
    std::thread writer([this] {
        std::this_thread::sleep_for(100ms);
        fs::resize_file(files() / "a", 1'000'000'001);
    });
    readParts("a");
    writer.join();
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults[0].text, "has changed while it was read");
}

TEST_F(ManifestTest, NewWritesItAndCheckIsContent) {
    putProduct();
    fs::create_symlink("Glow", files() / "Hosts/Premiere Pro/Glow/Glow.bundle/Contents/MacOS/Alias");
    put("Content/Paper.txt", "abc");
    EXPECT_EQ(create().exitStatus, 0);
    EXPECT_THAT(read("sku.xml"), HasSubstr("      <file fileName=\"Paper.txt\" size=\"3\" sha256=\"" +
                                           digestOfAbc + "\"/>\n"));
    EXPECT_THAT(
        linesWith("part ", read("sku.xml")),
        ElementsAre(HasSubstr("            <part path=\"Contents/Info.plist\" size=\"7\" sha256=\""),
                    HasSubstr("            <part path=\"Contents/MacOS/Alias\" link=\"Glow\"/>"),
                    HasSubstr("            <part path=\"Contents/MacOS/Glow\" size=\"7\" sha256=\"")));
    if (SchemaCheck::whyNot().empty()) {
        EXPECT_EQ(SchemaCheck::mistakesInText("sku.xsd", read("sku.xml")), "");
    }
    expectNoFindings();
}

TEST_F(ManifestTest, CheckNamesWhatIsAnotherFile) {
    putProduct();
    create();
    put("VorlaneFX/Looks/Grey.look", "short");
    put("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/new");
    EXPECT_THAT(findings(),
                ElementsAre(HasSubstr("Glow.bundle/Contents/new\" is not in the manifest [manifest-differs]"),
                            HasSubstr("Grey.look\" is truncated: 5 of 7 bytes [manifest-differs]")));
    update();
    EXPECT_THAT(findings(), IsEmpty());
    expectNoFindings();
}

TEST_F(ManifestTest, UpdateKeepsTheManifestThatIsThere) {
    putProduct();
    create();
    put("VorlaneFX/Looks/Grey.look", "longer than before");
    put("VorlaneFX/Looks/New.look", "abc");
    put("Content/Paper.txt", "CONTENT");
    const std::string bundle = "Hosts/Premiere Pro/Glow/Glow.bundle/Contents/";
    put(bundle + "Info.plist", "changed");
    put(bundle + "Helper", "abc");
    put(bundle + "Zone", "abc");
    fs::remove(files() / (bundle + "MacOS/Glow"));
    EXPECT_EQ(update().standardOutput, "~ Content/Paper.txt  (other content)\n"
                                       "+ " +
                                           bundle +
                                           "Helper\n"
                                           "~ " +
                                           bundle +
                                           "Info.plist  (other content)\n"
                                           "- " +
                                           bundle +
                                           "MacOS/Glow\n"
                                           "+ " +
                                           bundle +
                                           "Zone\n"
                                           "~ VorlaneFX/Looks/Grey.look  (7 to 18 bytes)\n"
                                           "+ VorlaneFX/Looks/New.look\n"
                                           "sku.xml: 3 added, 1 dropped, 3 changed\n");
    const std::string updated = read("sku.xml");
    create({"--manifest", "--force", "-o", "sku.xml"});
    EXPECT_EQ(updated, read("sku.xml"));
}

TEST_F(ManifestTest, UpdateBeginsOneOnlyWhenAsked) {
    putProduct();
    create({"-o", "sku.xml"});
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
    EXPECT_EQ(update({"--manifest"}).standardOutput,
              "~ manifest  (of 4 entries, new)\nsku.xml: 0 added, 0 dropped, 1 changed\n");
    const std::string updated = read("sku.xml");
    create({"--manifest", "--force", "-o", "sku.xml"});
    EXPECT_EQ(updated, read("sku.xml"));
}

TEST_F(ManifestTest, UpdateMendsWhatIsMalformed) {
    putProduct();
    create();
    const std::string whole = read("sku.xml");
    std::string text = whole;
    const std::size_t file = text.find("\"Paper.txt\" size=");
    text.replace(text.find(" sha256", file), 8, " keep='it' sha256=");
    text.insert(text.find("<part path=\"Contents/MacOS"),
                "<part path=\"Contents/Info.plist\" size=\"1\"/><part/>");
    FileTree::write(path("sku.xml"), text);
    EXPECT_EQ(update().exitStatus, 0);
    EXPECT_THAT(read("sku.xml"), HasSubstr(" keep='it' sha256="));
    EXPECT_THAT(findings(), IsEmpty());
    EXPECT_EQ(linesWith("part", read("sku.xml")).size(), linesWith("part", whole).size());
}

TEST_F(ManifestTest, AFileThatBecomesAFolderAndBack) {
    putProduct();
    create();
    fs::remove(files() / "Content/Paper.txt");
    put("Content/Paper.txt/page", "abc");
    EXPECT_EQ(update().exitStatus, 0);
    EXPECT_THAT(read("sku.xml"),
                HasSubstr("      <file fileName=\"Paper.txt\">\n        <part path=\"page\" size=\"3\""));
    expectNoFindings();
    fs::remove_all(files() / "Content/Paper.txt");
    put("Content/Paper.txt");
    EXPECT_EQ(update().exitStatus, 0);
    expectNoFindings();
    EXPECT_THAT(read("sku.xml"), Not(HasSubstr("\"page\"")));
}

TEST_F(ManifestTest, WhatCannotBeReadIsAFault) {
    putProduct();
    put("Content/secret");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(files() / "Content/secret", fs::perms(0));
    const auto result =
        run({"new", "files", "--id", "A", "--name", "A", "--build", "1.0.0.1", "--manifest"}, [] {
            if (geteuid() == 0 && setuid(65534) != 0) {
                _exit(126);
            }
        });
    EXPECT_THAT(result.standardError,
                HasSubstr("Content/secret: error: cannot be read: Permission denied\n"));
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(ManifestTest, LongWorkShowsProgressOnATerminalAndCanBeInterrupted) {
    putProduct();
    create();
    const std::string before = read("sku.xml");
    fs::resize_file(files() / "Content/Paper.txt", 200'000'000'000);
    const std::string program = INSTALLINSPECTOR_PROGRAM;
    Terminal terminal(
        {"sh", "-c",
         "cd '" + folder.path().string() + "' && exec " + program + " update sku.xml --source files"},
        30s);
    EXPECT_TRUE(terminal.waitFor(" files, "));
    EXPECT_TRUE(terminal.waitFor(" MB"));
    terminal.type("\x03"); // Control-C
    const auto result = terminal.finish();
    EXPECT_FALSE(result.bTimedOut);
    EXPECT_EQ(result.signal, SIGINT);
    EXPECT_EQ(read("sku.xml"), before);
    EXPECT_FALSE(fs::exists(path("sku.xml.new")));
}

TEST_F(ManifestTest, WithoutTerminalThereIsNoProgress) {
    putProduct();
    fs::resize_file(files() / "Content/Paper.txt", 1'000'000'000);
    EXPECT_THAT(create().standardError, Not(HasSubstr(" MB")));
}

TEST_F(ManifestTest, ADefinitionThatChangesMeanwhileStays) {
    putProduct();
    create();
    fs::resize_file(files() / "Content/Paper.txt", 1'000'000'000);
    std::thread writer([this] {
        std::this_thread::sleep_for(100ms);
        FileTree::write(path("sku.xml"), "theirs");
    });
    const auto result = update();
    writer.join();
    EXPECT_EQ(result.standardError,
              "InstallInspector: sku.xml has changed since it was read, and stays as it is\n");
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(read("sku.xml"), "theirs");
}
