// The subcommand "new" as a user runs it: what it writes, what it leaves out, and when it writes nothing.
#include "Foundation/FileLibrary.h"
#include "Tests/Inspector/Author/StagedProduct.h"
#include "Tests/Support/SchemaCheck.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

namespace fs = std::filesystem;

class NewCommand : public StagedProduct {
protected:
    /// With these options in place of the usual ones, or added to them.
    ProgramResult write(const std::vector<std::string>& more = {},
                        const std::function<void()>& beforeStart = {}) const {
        std::vector<std::string> command = {"new", "files"};
        for (const auto& [option, value] : {std::pair("--id", "GLOW"), std::pair("--name", "Glow & Co"),
                                            std::pair("--build", "1.0.0.100"), std::pair("-o", "sku.xml")}) {
            if (std::find(more.begin(), more.end(), option) == more.end()) {
                command.insert(command.end(), {option, value});
            }
        }
        command.insert(command.end(), more.begin(), more.end());
        return run(command, beforeStart);
    }

    void expectFault(const std::string& line, int number = __builtin_LINE()) const {
        SCOPED_TRACE(number);
        const auto result = write();
        EXPECT_THAT(linesWith(": error: ", result.standardError), ElementsAre(line));
        EXPECT_THAT(result.standardError, HasSubstr("InstallInspector: nothing is written: "));
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_FALSE(fs::exists(path("sku.xml")));
        EXPECT_FALSE(fs::exists(path("sku.xml.new")));
    }

    std::vector<std::string> entries() const { return linesWith("fileName", read("sku.xml")); }
};

/// A user who may not read and write everything.
void becomeOrdinaryUser() {
    if (geteuid() == 0 && setuid(65534) != 0) {
        _exit(126);
    }
}

} // namespace

TEST_F(NewCommand, WritesTheWholeDefinition) {
    putProduct();
    put("Hosts/Premiere Pro32/Glow/Glow.bundle/Contents/MacOS/Glow");
    put("Hosts/Premiere Pro32/Spark & Co/Spark.plugin/code");
    const auto result = write({"--prefix", "VLG"});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(read("sku.xml"),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<product>
  <sku ID="GLOW" name="Glow &amp; Co" build="1.0.0.100" prefix="VLG"/>

  <!-- Decide: name the plug-ins. A family without any is not installed. -->
  <families>
    <family name="Glow">
      <plugins>
        <plugin name="Glow"/>
      </plugins>
    </family>
    <family name="Spark &amp; Co">
      <plugins>
        <plugin name="Spark &amp; Co"/>
      </plugins>
    </family>
  </families>

  <!-- Other tools read these. Decide: compilerOptions, and hostsForBuild if the product is built for other ones. -->
  <hosts>
    <host name="Edius" families="Glow" arch="x64"/>
    <host name="Premiere Pro" arch="x86;x64"/>
  </hosts>

  <!-- A folder that is listed as a file is copied whole. Decide: dontdelete="1" keeps what users change when the product goes. -->
  <installFiles>
    <directory fileName="Hosts">
      <directory fileName="Edius">
        <directory fileName="Glow">
          <file fileName="Glow.epl"/>
        </directory>
      </directory>
      <directory fileName="Premiere Pro">
        <directory fileName="Glow">
          <file fileName="Glow.bundle"/>
        </directory>
      </directory>
      <directory fileName="Premiere Pro32" arch="x86">
        <directory fileName="Glow">
          <file fileName="Glow.bundle"/>
        </directory>
        <directory fileName="Spark &amp; Co">
          <file fileName="Spark.plugin"/>
        </directory>
      </directory>
    </directory>

    <directory fileName="VorlaneFX">
      <directory fileName="Looks">
        <file fileName="Grey.look"/>
      </directory>
    </directory>

    <directory fileName="Content">
      <file fileName="Paper.txt"/>
    </directory>
  </installFiles>
</product>
)");
    expectNoFindings();
}

TEST_F(NewCommand, WhatItWritesIsValidByItsSchema) {
    if (!SchemaCheck::whyNot().empty()) {
        GTEST_SKIP() << SchemaCheck::whyNot();
    }
    putProduct();
    put("VorlaneFX/Nuit d'été & <so>.look");
    write({"--targets", "target_path.xml", "--exclude", "*.map"});
    EXPECT_EQ(SchemaCheck::mistakesInText("sku.xsd", read("sku.xml")), "");
    EXPECT_EQ(SchemaCheck::mistakesInText("target_path.xsd", read("target_path.xml")), "");
    expectNoFindings("sku.xml", "target_path.xml");
}

TEST_F(NewCommand, TheSameFolderGivesTheSameText) {
    putProduct();
    write();
    const std::string first = read("sku.xml");
    fs::rename(files(), path("moved"));
    fs::copy(path("moved"), files(), fs::copy_options::recursive);
    write({"--force"});
    EXPECT_EQ(read("sku.xml"), first);
}

TEST_F(NewCommand, WithoutOutputFileTheDefinitionGoesToStandardOutput) {
    putProduct();
    write();
    const auto result = run({"new", "files", "--id", "GLOW", "--name", "Glow & Co", "--build", "1.0.0.100"});
    EXPECT_EQ(result.standardOutput, read("sku.xml"));
}

TEST_F(NewCommand, TheNumberOfCommandsIsThatOfThePlan) {
    if (fs::exists("/Library") || fs::exists("/Users")) {
        GTEST_SKIP() << "a plan needs a machine on which nothing is installed";
    }
    put("Content/a");
    put("Content/A.app/Contents/B/x");
    put("VorlaneFX/L/M/a");
    put("VorlaneFX/L/M/b");
    put("VorlaneFX/L/c");
    fs::create_directories(files() / "VorlaneFX/Cache");
    FileTree::write(path("bin/ditto"), "#!/bin/sh\n", 0755);
    const auto result = write({"--targets", "target_path.xml"});
    const auto plan = run({"plan", "--commands", "files", "sku.xml", "target_path.xml"}, [this] {
        setenv("PATH", (path("bin").string() + ":" + getenv("PATH")).c_str(), 1);
    });
    const auto commands = std::count(plan.standardOutput.begin(), plan.standardOutput.end(), '\n');
    EXPECT_EQ(commands, 14);
    EXPECT_THAT(result.standardError, HasSubstr(" runs " + std::to_string(commands) + " commands; "));
}

TEST_F(NewCommand, TellsHowManyCommandsAnInstallRuns) {
    putProduct();
    for (int i = 0; i < 20; ++i) {
        put("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/Resources/" + std::to_string(i));
    }
    fs::create_directories(files() / "VorlaneFX/Cache");
    const auto result = write();
    EXPECT_THAT(
        result.standardError,
        HasSubstr("sku.xml: 2 hosts, 1 family, 3 files, 2 whole folders.\n"
                  "An install into one target folder for each part runs 14 commands; with the files of "
                  "whole folders one by one it would be 59.\n"));
}

TEST_F(NewCommand, BundlesAreOneEntry) {
    put("VorlaneFX/A.app/Contents/x");
    put("VorlaneFX/B.FRAMEWORK/x");
    put("VorlaneFX/C.ofx.bundle/x");
    put("VorlaneFX/D.prm/x");
    put("VorlaneFX/E.component/x");
    put("VorlaneFX/F.plugin", "a file, whatever its name");
    put("VorlaneFX/No name says it/Contents/x");
    put("VorlaneFX/Plain/Contents", "a file");
    put("VorlaneFX/.app/x");
    EXPECT_EQ(write().exitStatus, 0);
    EXPECT_THAT(entries(),
                ElementsAre("    <directory fileName=\"VorlaneFX\">", "      <directory fileName=\".app\">",
                            "        <file fileName=\"x\"/>", "      <file fileName=\"A.app\"/>",
                            "      <file fileName=\"B.FRAMEWORK\"/>",
                            "      <file fileName=\"C.ofx.bundle\"/>", "      <file fileName=\"D.prm\"/>",
                            "      <file fileName=\"E.component\"/>", "      <file fileName=\"F.plugin\"/>",
                            "      <file fileName=\"No name says it\"/>",
                            "      <directory fileName=\"Plain\">", "        <file fileName=\"Contents\"/>"));
    expectNoFindings();
}

/// Otherwise nothing of the host would be installed.
TEST_F(NewCommand, HostsAndFamiliesAreNeverBundles) {
    put("VorlaneFX/x");
    put("Hosts/Edius/Glow.plugin/x");
    put("Hosts/Edius/Glow.plugin/Contents/y");
    EXPECT_EQ(write().exitStatus, 0);
    EXPECT_THAT(linesWith("Glow.plugin", read("sku.xml")),
                Contains(HasSubstr("<directory fileName=\"Glow.plugin\">")));
    expectNoFindings();
}

TEST_F(NewCommand, JunkIsLeftOutWithALineEach) {
    putProduct();
    put(".DS_Store");
    put("__MACOSX/Hosts/x");
    put("VorlaneFX/._Looks");
    put("VorlaneFX/.git/HEAD");
    const auto result = write();
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(linesWith("left out", result.standardError),
                ElementsAre(HasSubstr("VorlaneFX/._Looks: left out"), HasSubstr("VorlaneFX/.git: left out"),
                            HasSubstr(".DS_Store: left out"), HasSubstr("__MACOSX: left out")));
    EXPECT_THAT(read("sku.xml"), Not(HasSubstr("DS_Store")));
    EXPECT_THAT(read("sku.xml"), Not(HasSubstr(".git")));
    expectNoFindings();
}

/// It would be installed with the folder.
TEST_F(NewCommand, JunkInAWholeFolderIsNoted) {
    putProduct();
    put("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/.DS_Store");
    put("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/notes.map");
    const auto result = write({"--exclude", "*.map"});
    EXPECT_THAT(linesWith("note:", result.standardError),
                ElementsAre(HasSubstr("Glow.bundle/Contents/.DS_Store: note: is junk"),
                            HasSubstr("Glow.bundle/Contents/notes.map: note: is excluded, yet")));
    EXPECT_EQ(result.exitStatus, 1);
    const auto check = run({"check", "sku.xml", "--source", "files"});
    EXPECT_EQ(linesWith("[leftover-in-folder]", check.standardOutput).size(), 1U) << check.standardOutput;
}

TEST_F(NewCommand, WhatIsExcludedStaysExcluded) {
    putProduct();
    put("README.txt");
    put("VorlaneFX/a.map");
    put("VorlaneFX/Maps/b.map");
    put("Content/Drafts/x");
    put("Content/Old/Drafts/x");
    const auto result = write({"--exclude", "*.map", "--exclude", "README.*", "--exclude", "Content/Draft*"});
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_THAT(linesWith("exclude", read("sku.xml")),
                ElementsAre("    <exclude name=\"*.map\"/>", "    <exclude name=\"README.*\"/>",
                            "    <exclude name=\"Content/Draft*\"/>"));
    EXPECT_THAT(read("sku.xml"), Not(HasSubstr("Maps"))) << "a folder without anything else";
    EXPECT_THAT(linesWith("Drafts", read("sku.xml")), ElementsAre(HasSubstr("fileName=\"Drafts\"")))
        << "Old/Drafts";
    expectNoFindings();
}

TEST_F(NewCommand, AnEmptyFolderIsListedAndExplained) {
    putProduct();
    fs::create_directories(files() / "VorlaneFX/Cache");
    EXPECT_EQ(write().exitStatus, 0);
    EXPECT_THAT(read("sku.xml"), HasSubstr("dontdelete=\"1\". -->\n      <directory fileName=\"Cache\"/>\n"));
    expectNoFindings();
}

/// Listed without children it would be removed with all that other products have there.
TEST_F(NewCommand, AnEmptySharedFolderIsNotListed) {
    put("Content/Paper.txt");
    for (const char* file : {"", ".gitkeep"}) {
        fs::create_directories(files() / "VorlaneFX");
        if (*file != '\0') {
            put(std::string("VorlaneFX/") + file);
        }
        EXPECT_EQ(write({"--force"}).exitStatus, 0);
        EXPECT_THAT(entries(), ElementsAre(HasSubstr("Content"), HasSubstr("Paper.txt")));
        expectNoFindings();
    }
}

TEST_F(NewCommand, AHostThatNobodyKnowsIsNoted) {
    putProduct();
    put("Hosts/Premiere/Glow/a.plugin");
    put("Hosts/Nova32/Glow/a.plugin");
    const auto result = write({"--targets", "target_path.xml"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(linesWith("note:", result.standardError),
                ElementsAre("Hosts/Nova32: note: no known host has this name, and check warns of it",
                            HasSubstr("Hosts/Premiere: note: ")));
    EXPECT_THAT(read("sku.xml"), HasSubstr("<host name=\"Nova32\" arch=\"x64\"/>"));
    EXPECT_THAT(read("sku.xml"), HasSubstr("      <!-- Decide: no known host has this name. -->\n"
                                           "      <directory fileName=\"Nova32\">\n"));
    EXPECT_THAT(read("target_path.xml"),
                HasSubstr("<!-- Decide: these two paths are made of the host's name"));
}

TEST_F(NewCommand, WhatCheckWarnsOfIsNoted) {
    putProduct();
    const std::string bundle = "Hosts/Premiere Pro/Glow/Glow.bundle/Contents/";
    put("Content/blank ");
    put("Content/co:lon");
    put("Content/%USER%");
    put("Content/no\xC2\xA0"
        "break");
    put("Content/empty", "");
    put("Content/.keep me", "");
    put(bundle + "empty", "");
    fs::create_symlink("later", files() / (bundle + "loose"));
    const auto result = write();
    EXPECT_EQ(result.exitStatus, 1);
    const auto notes = linesWith(": note: ", result.standardError);
    EXPECT_EQ(notes.size(), 7U) << result.standardError;
    const auto check = run({"check", "sku.xml", "--source", "files"});
    for (const char* rule : {"[blank-at-end]", "[colon-in-name]", "[placeholder-in-name]", "[odd-blank]",
                             "[empty-file]", "[link-leads-out]"}) {
        EXPECT_FALSE(linesWith(rule, check.standardOutput).empty()) << rule;
    }
    EXPECT_EQ(linesWith("[not-listed]", check.standardOutput).size(), 0U);
}

TEST_F(NewCommand, TargetsHaveAPlaceForEachPart) {
    putProduct();
    EXPECT_EQ(write({"--targets", "target_path.xml"}).exitStatus, 0);
    EXPECT_THAT(linesWith("<item", read("target_path.xml")),
                ElementsAre(HasSubstr("\"VorlaneFX\""), HasSubstr("\"Hosts\""), HasSubstr("\"Edius\""),
                            HasSubstr("\"Premiere Pro\""), HasSubstr("\"Content\"")));
    EXPECT_THAT(linesWith("Decide", read("target_path.xml")), Not(IsEmpty()));
    expectNoFindings("sku.xml", "target_path.xml");
}

// What nobody asked to replace

TEST_F(NewCommand, AFileThatIsThereStays) {
    putProduct();
    FileTree::write(path("sku.xml"), "mine");
    const auto result = write({"--targets", "target_path.xml"});
    EXPECT_EQ(result.standardError, "InstallInspector: sku.xml is there already; --force replaces it\n");
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(read("sku.xml"), "mine");
    EXPECT_FALSE(fs::exists(path("target_path.xml"))) << "both files or none";
    EXPECT_EQ(write({"--force"}).exitStatus, 0);
    expectNoFindings();
}

TEST_F(NewCommand, NothingIsWrittenAmongTheFiles) {
    putProduct();
    fs::create_directory_symlink("files", path("link"));
    for (const char* output : {"files/sku.xml", "link/VorlaneFX/sku.xml", "files/VorlaneFX/../sku.xml"}) {
        const auto result = write({"-o", output, "--force"});
        EXPECT_THAT(result.standardError, HasSubstr("would lie in files, among the files of the product"));
        EXPECT_EQ(result.exitStatus, 2);
    }
    EXPECT_FALSE(fs::exists(files() / "sku.xml"));
}

TEST_F(NewCommand, OutputThatCannotBeWrittenIsOneLine) {
    putProduct();
    const auto full = write({"-o", "/dev/full", "--force"});
    EXPECT_EQ(full.standardError, "InstallInspector: /dev/full cannot be written: No space left on device\n");
    EXPECT_EQ(full.exitStatus, 2);
    const auto nowhere = write({"-o", "nowhere/sku.xml"});
    EXPECT_EQ(nowhere.standardError,
              "InstallInspector: nowhere/sku.xml cannot be written: No such file or directory\n");
    EXPECT_EQ(nowhere.exitStatus, 2);
}

TEST_F(NewCommand, AFullDiskAndDeathLeaveNoPartOfAFile) {
    put("VorlaneFX/Grey.look");
    for (int i = 0; i < 100; ++i) {
        put("VorlaneFX/" + std::to_string(i) + std::string(50, 'n'));
    }
    const auto limited = [] {
        // A write beyond the limit ends the program by a signal, or fails where that is ignored.
        const rlimit limit = {4096, 4096};
        const rlimit noCore = {0, 0};
        setrlimit(RLIMIT_FSIZE, &limit);
        setrlimit(RLIMIT_CORE, &noCore);
    };
    const std::vector<std::string> both = {"--targets", "target_path.xml"};
    EXPECT_EQ(write(both, limited).signal, SIGXFSZ);
    EXPECT_FALSE(fs::exists(path("sku.xml")));
    EXPECT_FALSE(fs::exists(path("target_path.xml")));
    const auto full = write(both, [limited] {
        limited();
        signal(SIGXFSZ, SIG_IGN); // NOLINT: nothing to do about a failure
    });
    EXPECT_EQ(full.standardError, "InstallInspector: sku.xml cannot be written: File too large\n");
    EXPECT_EQ(full.exitStatus, 2);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1) << "only the product's files";
    EXPECT_EQ(write(both, limited).signal, SIGXFSZ);
    EXPECT_EQ(write(both).exitStatus, 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 3);
}

TEST_F(NewCommand, AFolderThatMayNotBeWrittenStaysAsItIs) {
    putProduct();
    FileTree::write(path("out/sku.xml"), "mine");
    fs::permissions(path("out"), fs::perms(0555));
    fs::permissions(path("out/sku.xml"), fs::perms(0444));
    fs::permissions(folder.path(), fs::perms(0755));
    const auto result = write({"-o", "out/sku.xml", "--force"}, becomeOrdinaryUser);
    EXPECT_EQ(result.standardError, "InstallInspector: out/sku.xml cannot be written: Permission denied\n");
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(read("out/sku.xml"), "mine");
    fs::permissions(path("out"), fs::perms(0755));
}

// What no definition can carry

TEST_F(NewCommand, NamesThatTheShellInterpretsAreTold) {
    for (const auto& [name, what] : {std::pair("a\"b", "a double quote"), std::pair("a$b", "a \"$\""),
                                     std::pair("a`b", "a backquote"), std::pair("a\\b", "a backslash")}) {
        putProduct();
        put(std::string("VorlaneFX/Looks/") + name);
        expectFault(std::string("VorlaneFX/Looks/") + name + ": error: the name holds " + what +
                    ", which the shell interprets");
        fs::remove_all(files());
    }
}

/// No command of a run holds these.
TEST_F(NewCommand, NamesInWholeFoldersMayHoldWhatTheShellInterprets) {
    putProduct();
    put("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/A$B.class");
    EXPECT_EQ(write().exitStatus, 0);
    expectNoFindings();
}

TEST_F(NewCommand, NamesThatAreNoTextAreTold) {
    putProduct();
    put("Content/line\nbreak");
    expectFault("Content/line\\nbreak: error: the name holds a line break or another control character");
    fs::remove(files() / "Content/line\nbreak");
    put("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/\xE9");
    expectFault("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/\\xe9: error: the name is not UTF-8");
}

TEST_F(NewCommand, NamesThatLookTheSameAreTold) {
    putProduct();
    put("Content/PAPER.txt");
    expectFault(
        "Content/Paper.txt: error: differs only in case or Unicode form from \"PAPER.txt\": to most disks "
        "they are one name");
    fs::remove(files() / "Content/PAPER.txt");
    put("Content/\xC3\xA9t\xC3\xA9");
    put("Content/e\xCC\x81T\xC3\x89");
    expectFault("Content/\xC3\xA9t\xC3\xA9: error: differs only in case or Unicode form from "
                "\"e\xCC\x81T\xC3\x89\": to most disks they are one name");
}

TEST_F(NewCommand, SocketsPipesAndDevicesAreTold) {
    putProduct();
    const std::string pipe = (files() / "Content/pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0644), 0);
    expectFault("Content/pipe: error: is a named pipe");
    fs::remove(pipe);
    const int server = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string name = (files() / "Content/socket").string();
    ASSERT_LT(name.size(), sizeof address.sun_path);
    name.copy(address.sun_path, name.size());
    ASSERT_EQ(bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    expectFault("Content/socket: error: is a socket");
    close(server);
}

TEST_F(NewCommand, LinksThatLeadAwayAreTold) {
    putProduct();
    put("VorlaneFX/Other/x");
    const auto expectLink = [&](const std::string& at, const std::string& to, const std::string& text) {
        fs::create_symlink(to, files() / at);
        expectFault(at + ": error: " + text);
        fs::remove(files() / at);
    };
    expectLink("Content/a", "/etc/hosts", "is a link to a place on this machine, \"/etc/hosts\"");
    expectLink("Content/a", "../../outside", "is a link that leaves \"Content\", to \"../../outside\"");
    expectLink("Content/a", "../VorlaneFX/Other/x",
               "is a link that leaves \"Content\", to \"../VorlaneFX/Other/x\"");
    // Comes back, but by a name that the folder does not have where it is installed.
    expectLink("Content/a", "../Content/Paper.txt",
               "is a link that leaves \"Content\", to \"../Content/Paper.txt\"");
    expectLink("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/a", "../../../../Edius/Glow/Glow.epl",
               "is a link that leaves \"Hosts/Premiere Pro/Glow\", to \"../../../../Edius/Glow/Glow.epl\"");
    expectLink("Content/a", "nothing", "is a link to nothing");
    expectLink("Content/a", "a", "is a link that leads in a circle");
    expectLink("Content/a", ".", "is a link to a folder that holds it");
    expectLink("VorlaneFX/Other/a", "..", "is a link to a folder that holds it");
    expectLink("VorlaneFX/Other/up", "/", "is a link to a place on this machine, \"/\"");
}

/// By the text it stays inside, by the disk it does not.
TEST_F(NewCommand, ALinkOverALinkThatLeadsAwayIsTold) {
    putProduct();
    fs::create_directories(path("outside/inner"));
    fs::create_directory_symlink("../../outside/inner", files() / "Content/first");
    fs::create_symlink("first/../inner", files() / "Content/second");
    const auto result = write();
    EXPECT_THAT(
        linesWith(": error: ", result.standardError),
        ElementsAre("Content/first: error: is a link that leaves \"Content\", to \"../../outside/inner\"",
                    "Content/second: error: is a link that leaves \"Content\", to \"first/../inner\""));
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(NewCommand, LinksThatStayInsideAreCarried) {
    putProduct();
    put("Content/Real/a.txt");
    fs::create_symlink("Paper.txt", files() / "Content/link.txt");
    fs::create_directory_symlink("Real", files() / "Content/Alias");
    fs::create_directory_symlink("MacOS", files() / "Hosts/Premiere Pro/Glow/Glow.bundle/Contents/Current");
    EXPECT_EQ(write().exitStatus, 0);
    EXPECT_THAT(linesWith("file fileName", read("sku.xml")), Contains(HasSubstr("\"Alias\"")));
    EXPECT_THAT(linesWith("file fileName", read("sku.xml")), Contains(HasSubstr("\"link.txt\"")));
    expectNoFindings();
}

TEST_F(NewCommand, AFolderThatMayNotBeReadIsTold) {
    putProduct();
    put("Content/Private/x");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(files() / "Content/Private", fs::perms(0));
    const auto result =
        run({"new", "files", "--id", "GLOW", "--name", "Glow", "--build", "1.0.0.100"}, becomeOrdinaryUser);
    EXPECT_THAT(linesWith(": error: ", result.standardError),
                ElementsAre("Content/Private: error: cannot be read: Permission denied"));
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.exitStatus, 2);
    fs::permissions(files() / "Content/Private", fs::perms(0755));
}

TEST_F(NewCommand, AFolderThatIsTooDeepIsToldOnce) {
    putProduct();
    // Deeper than any path can say.
    const int start = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    fs::current_path(files() / "Content");
    for (int depth = 0; depth < 3000; ++depth) {
        ASSERT_EQ(mkdir("d", 0755), 0);
        ASSERT_EQ(chdir("d"), 0);
    }
    ASSERT_EQ(fchdir(start), 0);
    close(start);
    const auto result = write();
    const auto lines = linesWith(": error: ", result.standardError);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_THAT(lines.front(), HasSubstr("/d/d/d"));
    EXPECT_THAT(lines.front(),
                HasSubstr(": error: lies more than 998 folders deep, where no definition reaches"));
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(NewCommand, TheDeepestFolderThatADefinitionReachesIsRead) {
    putProduct();
    std::string deep = "Content";
    for (int depth = 0; depth < 996; ++depth) {
        deep += "/d";
    }
    put(deep + "/x");
    EXPECT_EQ(write().exitStatus, 0);
    expectNoFindings();
    put(deep + "/d/x");
    EXPECT_EQ(write({"--force"}).exitStatus, 2);
}

TEST_F(NewCommand, WhatNothingWouldBeInstalledFromIsTold) {
    putProduct();
    put("README.txt");
    expectFault(
        "README.txt: error: lies beside Hosts, VorlaneFX and Content, from where nothing is installed: move "
        "it into one of them, or exclude it");
    fs::remove(files() / "README.txt");
    put("Hosts/read me");
    expectFault("Hosts/read me: error: is a file, where only folders are installed from: move it into "
                "Hosts/HOST/FAMILY, or exclude it");
    fs::remove(files() / "Hosts/read me");
    put("Hosts/Edius/read me");
    expectFault("Hosts/Edius/read me: error: is a file, where only folders are installed from: move it into "
                "Hosts/HOST/FAMILY, or exclude it");
    fs::remove(files() / "Hosts/Edius/read me");
    fs::create_directories(files() / "Hosts/OpenFX");
    expectFault("Hosts/OpenFX: error: holds nothing to install: remove it, or exclude it");
    fs::remove(files() / "Hosts/OpenFX");
    fs::rename(files() / "VorlaneFX", path("VorlaneFX"));
    expectFault("VorlaneFX: error: is not there: every install opens this folder, which may be empty");
    fs::create_directory_symlink("Content", files() / "VorlaneFX");
    expectFault("VorlaneFX: error: is a link, where a folder has to be");
}

TEST_F(NewCommand, TheSharedPackageNeedsItsOwnDefinition) {
    put("VorlaneFX/Common/x");
    const std::vector<std::string> asShared = {"--id", "COMMON"};
    EXPECT_THAT(write(asShared).standardError, HasSubstr("VorlaneFX/SKU/COMMON.xml: error: is not there"));
    put("VorlaneFX/SKU/COMMON.xml");
    const auto result = write(asShared);
    EXPECT_THAT(result.standardError, HasSubstr("COMMON.xml: note: has to be a copy of the definition"));
    EXPECT_EQ(result.exitStatus, 1);
    fs::copy_file(path("sku.xml"), files() / "VorlaneFX/SKU/COMMON.xml",
                  fs::copy_options::overwrite_existing);
    const auto check = run({"check", "sku.xml", "--source", "files"});
    EXPECT_EQ(linesWith("[common-definition", check.standardOutput).size(), 0U) << check.standardOutput;
}

TEST_F(NewCommand, AnIdentityThatNoSoundDefinitionHasIsRefused) {
    putProduct();
    for (const auto& [option, value] :
         {std::pair("--id", ""), std::pair("--id", "common"), std::pair("--id", "a\nb"),
          std::pair("--name", ""), std::pair("--name", "a/b"), std::pair("--name", "a$b"),
          std::pair("--name", "\xE9"), std::pair("--build", ""), std::pair("--build", "1.0"),
          std::pair("--build", "1.0.0.0"), std::pair("--build", "1.0.0.x"), std::pair("--build", "1.0.0.1.2"),
          std::pair("--build", "1.0.0.2147483648"), std::pair("--prefix", "\x01"),
          std::pair("--exclude", "")}) {
        const auto result = write({option, value});
        EXPECT_THAT(result.standardError, HasSubstr(std::string("InstallInspector: ") + option + " "));
        EXPECT_EQ(result.exitStatus, 2) << option << " " << value;
    }
    EXPECT_FALSE(fs::exists(path("sku.xml")));
    EXPECT_EQ(write({"--build", "5.0.120101"}).exitStatus, 0);
    expectNoFindings();
}

TEST_F(NewCommand, NoFolderIsNoProduct) {
    EXPECT_EQ(write().standardError, "InstallInspector: files cannot be read: No such file or directory\n");
    FileTree::write(files(), "a file");
    EXPECT_EQ(write().standardError, "InstallInspector: files is not a folder\n");
    EXPECT_EQ(write().exitStatus, 2);
}

TEST_F(NewCommand, ChangesNothingAmongTheFiles) {
    putProduct();
    const auto before = FileTree::describe(files());
    write({"--targets", "target_path.xml"});
    EXPECT_EQ(FileTree::difference(before, FileTree::describe(files())), "");
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder.path())) {
        names.push_back(entry.path().filename().string());
    }
    EXPECT_THAT(names, testing::UnorderedElementsAre("files", "sku.xml", "target_path.xml"));
}
