// The subcommand "update" as a user runs it: which bytes it changes, what it prints, and when it writes
// nothing.
#include "Platform/WholeFile.h"
#include "Tests/Inspector/Author/StagedProduct.h"
#include "Tests/Support/Sources.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

namespace fs = std::filesystem;

/// With all that an update has to leave alone.
const char* const handMade = R"(<?xml version="1.0" encoding="UTF-8"?>
<!-- By hand. -->
<product>
  <sku ID="GLOW"   name="Glow" build="1.0.0.100"/>
  <families>
    <family name="Glow"><plugins><plugin name="Glow One"/></plugins></family>
  </families>
  <hosts>
    <host name="Premiere Pro" arch="x64"/>
  </hosts>
  <installFiles>
    <directory fileName="VorlaneFX" dontdelete="1">
      <!-- The second first. -->
      <file fileName='Two.look' allowdowngrade="1" unknown="kept"/>  <!-- about two -->
      <file   fileName="One.look"/>
      <surprise>text</surprise>
      <directory fileName="Parts"><file fileName="a"/><file fileName="b"/></directory>
      <file fileName="Guide.html">
        <shortCut name="Guide.html" dir="/Applications"/>
      </file>
      <directory fileName="Whole.bundle"/>
    </directory>

    <directory fileName="Hosts">
      <directory fileName="Premiere Pro">
        <directory fileName="Glow">
          <file fileName="Glow.bundle"/>
        </directory>
      </directory>
    </directory>
  </installFiles>
</product>
)";

class UpdateCommand : public StagedProduct {
protected:
    UpdateCommand() {
        for (const char* file :
             {"VorlaneFX/One.look", "VorlaneFX/Two.look", "VorlaneFX/Parts/a", "VorlaneFX/Parts/b",
              "VorlaneFX/Guide.html", "VorlaneFX/Whole.bundle/Contents/x",
              "Hosts/Premiere Pro/Glow/Glow.bundle/Contents/x"}) {
            put(file);
        }
        define(handMade);
    }

    void define(const std::string& text) const { FileTree::write(path("sku.xml"), text); }

    ProgramResult update(const std::vector<std::string>& more = {},
                         const std::function<void()>& beforeStart = {}) const {
        std::vector<std::string> command = {"update", "sku.xml", "--source", "files"};
        command.insert(command.end(), more.begin(), more.end());
        return run(command, beforeStart);
    }

    /// The definition with `from`, which stands in it once, replaced by `to`.
    static std::string with(const std::string& from, const std::string& to, std::string text = handMade) {
        const std::size_t found = text.find(from);
        EXPECT_NE(found, std::string::npos) << from;
        EXPECT_EQ(text.find(from, found + 1), std::string::npos) << from;
        return found == std::string::npos ? text : text.replace(found, from.size(), to);
    }

    void expectText(const std::string& expected, int line = __builtin_LINE()) const {
        EXPECT_EQ(read("sku.xml"), expected) << "line " << line;
    }

    void expectRefusal(const std::string& definition, const std::string& why,
                       int line = __builtin_LINE()) const {
        SCOPED_TRACE(line);
        define(definition);
        put("VorlaneFX/New.look");
        const auto result = update();
        EXPECT_EQ(result.standardError, "InstallInspector: sku.xml " + why + "\n");
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_EQ(result.exitStatus, 2);
        expectText(definition);
    }
};

} // namespace

TEST_F(UpdateCommand, WhatIsUpToDateIsNotTouched) {
    const auto before = fs::last_write_time(path("sku.xml"));
    const auto result = update();
    EXPECT_EQ(result.standardOutput, "sku.xml: nothing to change\n");
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.exitStatus, 0);
    expectText(handMade);
    EXPECT_EQ(fs::last_write_time(path("sku.xml")), before);
}

TEST_F(UpdateCommand, TheExamplesAreUpToDate) {
    int looked = 0;
    for (const auto& entry : fs::directory_iterator(inSources("Examples"))) {
        if (!fs::exists(entry.path() / "sku.xml")) {
            continue;
        }
        const std::string text = FileTree::read(entry.path() / "sku.xml");
        define(text);
        const auto result = run({"update", "sku.xml", "--source", (entry.path() / "files").string()});
        EXPECT_EQ(result.standardOutput, "sku.xml: nothing to change\n");
        EXPECT_EQ(result.exitStatus, 0) << result.standardError;
        expectText(text);
        ++looked;
    }
    EXPECT_EQ(looked, 3);
}

TEST_F(UpdateCommand, AddsAndDropsLinesAndKeepsAllOthers) {
    put("VorlaneFX/Three.look");
    fs::remove(files() / "VorlaneFX/One.look");
    const auto result = update();
    EXPECT_EQ(result.standardOutput, "- VorlaneFX/One.look\n"
                                     "+ VorlaneFX/Three.look\n"
                                     "sku.xml: 1 added, 1 dropped, 0 changed\n");
    EXPECT_EQ(result.exitStatus, 0);
    expectText(with("      <file   fileName=\"One.look\"/>\n", "",
                    with("<file fileName=\"b\"/></directory>\n",
                         "<file fileName=\"b\"/></directory>\n      <file fileName=\"Three.look\"/>\n")));
}

TEST_F(UpdateCommand, WhatIsNewComesBehindItsNeighbourByName) {
    put("VorlaneFX/Two.look 2");
    put("VorlaneFX/A first.look");
    update();
    expectText(with("  <!-- about two -->\n", "  <!-- about two -->\n      <file fileName=\"Two.look 2\"/>\n",
                    with("<directory fileName=\"VorlaneFX\" dontdelete=\"1\">\n",
                         "<directory fileName=\"VorlaneFX\" dontdelete=\"1\">\n"
                         "      <file fileName=\"A first.look\"/>\n")));
}

TEST_F(UpdateCommand, AFolderComesAndGoesWithAllThatIsInIt) {
    fs::remove_all(files() / "VorlaneFX/Parts");
    put("VorlaneFX/Presets/Deep/x & y");
    put("VorlaneFX/Presets/App.app/Contents/x");
    const auto result = update();
    EXPECT_EQ(result.standardOutput, "- VorlaneFX/Parts/\n- VorlaneFX/Parts/a\n- VorlaneFX/Parts/b\n"
                                     "+ VorlaneFX/Presets/\n+ VorlaneFX/Presets/App.app/\n"
                                     "+ VorlaneFX/Presets/Deep/\n+ VorlaneFX/Presets/Deep/x & y\n"
                                     "sku.xml: 4 added, 3 dropped, 0 changed\n");
    EXPECT_THAT(read("sku.xml"), HasSubstr("      <file   fileName=\"One.look\"/>\n"
                                           "      <directory fileName=\"Presets\">\n"
                                           "        <file fileName=\"App.app\"/>\n"
                                           "        <directory fileName=\"Deep\">\n"
                                           "          <file fileName=\"x &amp; y\"/>\n"
                                           "        </directory>\n"
                                           "      </directory>\n"
                                           "      <surprise>text</surprise>\n"
                                           "      <file fileName=\"Guide.html\">\n"));
}

TEST_F(UpdateCommand, SeveralEntriesInALineStayThere) {
    fs::remove(files() / "VorlaneFX/Parts/a");
    put("VorlaneFX/Parts/c");
    update();
    expectText(with("<file fileName=\"a\"/><file fileName=\"b\"/></directory>",
                    "<file fileName=\"b\"/>\n        <file fileName=\"c\"/>\n      </directory>"));
}

TEST_F(UpdateCommand, WhatIsListedOnlyInPartIsCompleted) {
    define(with("<file fileName=\"b\"/>", ""));
    EXPECT_THAT(update().standardOutput, HasSubstr("+ VorlaneFX/Parts/b\n"));
    expectNoUnlisted();
}

TEST_F(UpdateCommand, AWholeFolderStaysWhole) {
    put("VorlaneFX/Whole.bundle/Contents/new");
    put("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/new");
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
    expectText(handMade);
}

/// Of Hosts and of hosts nothing is copied whole.
TEST_F(UpdateCommand, AHostWithoutFamiliesIsCompleted) {
    define(with(R"(      <directory fileName="Premiere Pro">
        <directory fileName="Glow">
          <file fileName="Glow.bundle"/>
        </directory>
      </directory>
)",
                "      <directory fileName=\"Premiere Pro\" />\n"));
    EXPECT_THAT(update().standardOutput, HasSubstr("+ Hosts/Premiere Pro/Glow/\n"));
    expectText(handMade);
}

TEST_F(UpdateCommand, AFolderInThePlaceOfAFileIsTakenWhole) {
    fs::remove(files() / "VorlaneFX/One.look");
    put("VorlaneFX/One.look/inside");
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
    expectNoUnlisted();
}

TEST_F(UpdateCommand, AFileInThePlaceOfAFolderBecomesAFileWithItsAttributes) {
    define(with("<directory fileName=\"Parts\">", "<directory fileName=\"Parts\" dontdelete=\"0\" >"));
    fs::remove_all(files() / "VorlaneFX/Parts");
    put("VorlaneFX/Parts");
    fs::remove_all(files() / "VorlaneFX/Whole.bundle");
    put("VorlaneFX/Whole.bundle");
    const auto result = update();
    EXPECT_EQ(linesWith("Parts", result.standardOutput).size(), 4U) << result.standardOutput;
    expectText(
        with("<directory fileName=\"Whole.bundle\"/>", "<file fileName=\"Whole.bundle\"/>",
             with("<directory fileName=\"Parts\"><file fileName=\"a\"/><file fileName=\"b\"/></directory>",
                  "<file fileName=\"Parts\" dontdelete=\"0\" />")));
    expectNoUnlisted();
}

TEST_F(UpdateCommand, ANameInAnotherSpellingKeepsItsEntry) {
    fs::rename(files() / "VorlaneFX/Two.look", files() / "VorlaneFX/two.LOOK");
    const auto result = update();
    EXPECT_EQ(result.standardOutput,
              "~ VorlaneFX/two.LOOK  (was \"Two.look\")\nsku.xml: 0 added, 0 dropped, 1 changed\n");
    expectText(with("fileName='Two.look'", "fileName=\"two.LOOK\""));
}

TEST_F(UpdateCommand, OfTwoSpellingsOneKeepsItsEntry) {
    define(with("<file   fileName=\"One.look\"/>",
                "<file   fileName=\"One.look\"/><file fileName=\"one.look\"/>"));
    fs::rename(files() / "VorlaneFX/One.look", files() / "VorlaneFX/ONE.look");
    const auto result = update();
    EXPECT_EQ(result.standardOutput, "~ VorlaneFX/ONE.look  (was \"One.look\")\n- VorlaneFX/one.look\n"
                                     "sku.xml: 0 added, 1 dropped, 1 changed\n");
    expectText(with("One.look", "ONE.look"));
}

TEST_F(UpdateCommand, AnEntryWithoutANameStays) {
    define(
        with("<file   fileName=\"One.look\"/>", "<file   fileName=\"One.look\"/><file unknown=\"kept\"/>"));
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
}

TEST_F(UpdateCommand, WhatIsExcludedIsDroppedAndNotAdded) {
    define(with("  <installFiles>\n", "  <installFiles>\n    <exclude name=\"*.look\"/>\n"));
    put("VorlaneFX/New.look");
    EXPECT_EQ(update().standardOutput, "- VorlaneFX/One.look  (excluded)\n- VorlaneFX/Two.look  (excluded)\n"
                                       "sku.xml: 0 added, 2 dropped, 0 changed\n");
    EXPECT_THAT(read("sku.xml"), HasSubstr("      <!-- about two -->\n")) << "comments stay";
    expectNoUnlisted();
}

TEST_F(UpdateCommand, WhatIsExcludedInAnotherSpellingIsDroppedAsExcluded) {
    define(with("  <installFiles>\n", "  <installFiles>\n    <exclude name=\"*.LOOK\"/>\n"));
    fs::rename(files() / "VorlaneFX/Two.look", files() / "VorlaneFX/two.LOOK");
    EXPECT_EQ(update().standardOutput,
              "- VorlaneFX/Two.look  (excluded)\nsku.xml: 0 added, 1 dropped, 0 changed\n");
    expectNoUnlisted();
}

TEST_F(UpdateCommand, JunkIsNotAddedAndStaysWhereItIsListed) {
    define(with("<file   fileName=\"One.look\"/>",
                "<file fileName=\".gitignore\"/><file fileName=\"One.look\"/>"));
    put("VorlaneFX/.gitignore");
    put("VorlaneFX/.DS_Store");
    const auto result = update();
    EXPECT_EQ(result.standardOutput, "sku.xml: nothing to change\n");
    EXPECT_EQ(result.standardError, "") << "new has told it";
}

TEST_F(UpdateCommand, AFolderOfWhichOnlyListedJunkIsLeftStays) {
    define(with("<file fileName=\"a\"/><file fileName=\"b\"/>", "<file fileName=\".gitignore\"/>"));
    fs::remove(files() / "VorlaneFX/Parts/a");
    fs::remove(files() / "VorlaneFX/Parts/b");
    put("VorlaneFX/Parts/.gitignore");
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
}

TEST_F(UpdateCommand, AListedFolderOfJunkIsNotLookedInto) {
    define(with("<directory fileName=\"Parts\"><file fileName=\"a\"/><file fileName=\"b\"/></directory>",
                "<directory fileName=\".git\"><file fileName=\"config\"/></directory>"));
    fs::rename(files() / "VorlaneFX/Parts", files() / "VorlaneFX/.git");
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
}

TEST_F(UpdateCommand, TheFirstBranchesComeBehindWhatIsExcluded) {
    std::string text = handMade;
    const std::size_t tree = text.find("<installFiles>\n") + 15;
    text.replace(tree, text.find("  </installFiles>") - tree, "    <exclude name=\"*.zip\"/>\n");
    define(text);
    EXPECT_NE(update().exitStatus, 2);
    EXPECT_LT(read("sku.xml").find("<exclude"), read("sku.xml").find("<directory"));
    expectNoUnlisted();
}

TEST_F(UpdateCommand, APartThatIsListedTwiceIsDropped) {
    EXPECT_EQ(update({"--manifest"}).exitStatus, 0);
    const std::string once = read("sku.xml");
    const std::size_t begin = once.rfind('\n', once.find("<part ")) + 1;
    define(std::string(once).insert(begin, once.substr(begin, once.find('\n', begin) + 1 - begin)));
    EXPECT_THAT(update().standardOutput, HasSubstr("sku.xml: 0 added, 1 dropped, 0 changed\n"));
    expectText(once);
}

TEST_F(UpdateCommand, JunkThatIsListedInAnotherSpellingStays) {
    define(with("<file   fileName=\"One.look\"/>",
                "<file fileName=\".GITIGNORE\"/><file fileName=\"One.look\"/>"));
    put("VorlaneFX/.gitignore");
    EXPECT_EQ(update().standardOutput, "~ VorlaneFX/.gitignore  (was \".GITIGNORE\")\n"
                                       "sku.xml: 0 added, 0 dropped, 1 changed\n");
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
}

TEST_F(UpdateCommand, ALinkInThePlaceOfAFolderWhoseFilesAreListedIsAFault) {
    fs::rename(files() / "VorlaneFX/Parts", files() / "VorlaneFX/Real");
    fs::create_directory_symlink("Real", files() / "VorlaneFX/Parts");
    const auto result = update();
    EXPECT_THAT(
        linesWith("VorlaneFX/Parts: error:", result.standardError),
        ElementsAre("VorlaneFX/Parts: error: is a link, while the definition lists what is in a folder"));
    EXPECT_EQ(result.exitStatus, 2);
    expectText(handMade);
    // A folder that is taken whole may be a link.
    fs::remove(files() / "VorlaneFX/Parts");
    fs::rename(files() / "VorlaneFX/Real", files() / "VorlaneFX/Parts");
    fs::rename(files() / "VorlaneFX/Whole.bundle", files() / "VorlaneFX/Real.bundle");
    fs::create_directory_symlink("Real.bundle", files() / "VorlaneFX/Whole.bundle");
    EXPECT_EQ(update().standardOutput, "+ VorlaneFX/Real.bundle/\nsku.xml: 1 added, 0 dropped, 0 changed\n");
}

TEST_F(UpdateCommand, ALinkToNothingInThePlaceOfAFileIsAFault) {
    fs::remove(files() / "VorlaneFX/One.look");
    fs::create_symlink("nothing", files() / "VorlaneFX/One.look");
    const auto result = update();
    EXPECT_THAT(linesWith("VorlaneFX/One.look: error:", result.standardError),
                ElementsAre("VorlaneFX/One.look: error: is a link to nothing"));
    EXPECT_EQ(result.exitStatus, 2);
    expectText(handMade);
}

TEST_F(UpdateCommand, ABranchHasAnEmptyLineBeforeIt) {
    put("Content/Paper.txt");
    update();
    expectText(
        with("      </directory>\n    </directory>\n  </installFiles>\n",
             "      </directory>\n    </directory>\n\n"
             "    <directory fileName=\"Content\">\n      <file fileName=\"Paper.txt\"/>\n    </directory>\n"
             "  </installFiles>\n"));
}

/// Its entry without children would stand for the target folder of all products.
TEST_F(UpdateCommand, AnEmptySharedFolderLosesItsEntry) {
    fs::remove_all(files() / "VorlaneFX");
    fs::create_directories(files() / "VorlaneFX");
    EXPECT_THAT(update().standardOutput, HasSubstr("- VorlaneFX/  (nothing is left of it)\n"));
    EXPECT_THAT(read("sku.xml"), Not(HasSubstr("fileName=\"VorlaneFX\"")));
    expectNoUnlisted();
    // And gets no other one, nor an empty line.
    const FileState state = WholeFile::StateOf(path("sku.xml"));
    EXPECT_THAT(update().standardOutput, HasSubstr("nothing to change"));
    EXPECT_EQ(WholeFile::StateOf(path("sku.xml")), state);
}

TEST_F(UpdateCommand, AFamilyFolderWithoutFilesIsAFault) {
    fs::remove_all(files() / "Hosts/Premiere Pro/Glow/Glow.bundle");
    const auto result = update();
    EXPECT_THAT(result.standardError, HasSubstr("Hosts/Premiere Pro/Glow: error: holds nothing to install"));
    EXPECT_EQ(result.exitStatus, 2);
    expectText(handMade);
}

TEST_F(UpdateCommand, NewFamiliesAndHostsAreDeclared) {
    put("Hosts/Edius/Spark/a.plugin");
    const auto result = update();
    EXPECT_THAT(result.standardOutput,
                HasSubstr("+ family Spark  (with one plug-in of its name; name the real ones)\n"
                          "+ host Edius\n"));
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    EXPECT_THAT(read("sku.xml"),
                HasSubstr("<plugin name=\"Glow One\"/></plugins></family>\n"
                          "    <family name=\"Spark\">\n      <plugins>\n"
                          "        <plugin name=\"Spark\"/>\n      </plugins>\n    </family>\n"
                          "  </families>\n"));
    EXPECT_THAT(read("sku.xml"), HasSubstr("    <host name=\"Premiere Pro\" arch=\"x64\"/>\n"
                                           "    <host name=\"Edius\" families=\"Spark\" arch=\"x64\"/>\n"));
    expectNoUnlisted();
}

TEST_F(UpdateCommand, WhatAPersonHasWrittenAboutAHostIsNotedAndNotChanged) {
    define(with("<host name=\"Premiere Pro\" arch=\"x64\"/>",
                "<host name=\"Premiere Pro\" arch=\"x64\" families=\"Glow\"/>"));
    put("Hosts/Premiere Pro32/Glow/a");
    put("Hosts/Premiere Pro/Spark/a");
    const auto result = update();
    EXPECT_THAT(
        linesWith("note:", result.standardError),
        ElementsAre(HasSubstr("Hosts/Premiere Pro/Spark: note: is new, while the families"),
                    HasSubstr("Hosts/Premiere Pro32: note: is new, while the arch of \"Premiere Pro\"")));
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(read("sku.xml"), HasSubstr("<host name=\"Premiere Pro\" arch=\"x64\" families=\"Glow\"/>"));
}

TEST_F(UpdateCommand, ADefinitionWithoutTreeOrFamiliesGetsThem) {
    for (const char* definition :
         {"<product>\n\t<sku ID=\"A\" name=\"A\" build=\"1.0.0.1\"/>\n</product>\n",
          "<product><sku ID=\"A\" name=\"A\" build=\"1.0.0.1\"/></product>",
          "<product>\n  <sku ID=\"A\" name=\"A\" build=\"1.0.0.1\"/>\n  <installFiles/>\n"
          "</product>"}) {
        define(definition);
        EXPECT_EQ(update().exitStatus, 0);
        expectNoFindings();
        EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
    }
}

TEST_F(UpdateCommand, LineEndsAndIndentationAreThoseOfTheFile) {
    std::string text = handMade;
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
        text.replace(at, 1, "\r\n");
    }
    for (std::size_t at = 0; (at = text.find("  ", at)) != std::string::npos; ++at) {
        text.replace(at, 2, "\t");
    }
    define("\xEF\xBB\xBF" + text);
    put("VorlaneFX/Z/z");
    fs::remove(files() / "VorlaneFX/One.look");
    EXPECT_EQ(update().exitStatus, 0);
    const std::string result = read("sku.xml");
    EXPECT_THAT(result, HasSubstr("\t\t\t<directory fileName=\"Z\">\r\n\t\t\t\t<file fileName=\"z\"/>\r\n"
                                  "\t\t\t</directory>\r\n"));
    EXPECT_EQ(std::count(result.begin(), result.end(), '\n'), std::count(result.begin(), result.end(), '\r'));
    EXPECT_EQ(result.substr(0, 3), "\xEF\xBB\xBF");
    expectNoUnlisted();
}

/// From any folder to any other the tree is the one that "new" writes.
TEST_F(UpdateCommand, GivesWhatNewGives) {
    const auto create = [&](const char* output) {
        run({"new", "files", "--id", "A", "--name", "A", "--build", "1.0.0.1", "-o", output, "--force"});
    };
    const std::vector<std::string> all = {
        "VorlaneFX/a", "VorlaneFX/b/c", "VorlaneFX/b/d/e",    "VorlaneFX/f.app/Contents/x", "Content/g",
        "Content/h/i", "Content/h/j/k", "Hosts/Edius/Glow/l", "Hosts/Edius/Glow/m/n"};
    for (unsigned round = 0; round < 40; ++round) {
        const auto stage = [&](unsigned bits) {
            fs::remove_all(files());
            put("VorlaneFX/always");
            put("Content/always");
            put("Hosts/Edius/Glow/always");
            for (std::size_t i = 0; i < all.size(); ++i) {
                if ((bits >> i & 1U) != 0) {
                    put(all[i]);
                }
            }
        };
        stage(round * 2654435761U >> 5U);
        create("sku.xml");
        stage(round * 2246822519U >> 7U);
        create("fresh.xml");
        EXPECT_NE(update().exitStatus, 2);
        expectText(read("fresh.xml"));
    }
}

TEST_F(UpdateCommand, DryRunOnlyPrints) {
    put("VorlaneFX/New.look");
    const auto result = update({"--dry-run"});
    EXPECT_EQ(result.standardOutput,
              "+ VorlaneFX/New.look\nsku.xml: 1 added, 0 dropped, 0 changed; not written\n");
    EXPECT_EQ(result.exitStatus, 1);
    expectText(handMade);
    update();
    EXPECT_EQ(update({"--dry-run"}).exitStatus, 0);
}

// What the engine does not read is left alone

TEST_F(UpdateCommand, EntriesThatOthersReplaceStay) {
    define(with("<file   fileName=\"One.look\"/>",
                "<file fileName=\"One.look\" arch=\"x86\"/>\n      <file fileName=\"One.look\"/>\n"
                "      <directory fileName=\"One.look\"><file fileName=\"gone\"/></directory>"));
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
    fs::remove(files() / "VorlaneFX/One.look");
    update();
    EXPECT_THAT(read("sku.xml"), Not(HasSubstr("One.look"))) << "they go together";
}

TEST_F(UpdateCommand, AFileCountsAlsoBehindADirectoryOfItsName) {
    define(with("<file   fileName=\"One.look\"/>",
                "<directory fileName=\"One.look\"><file fileName=\"gone\"/></directory>\n"
                "      <file fileName=\"One.look\"/>"));
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
}

TEST_F(UpdateCommand, ASecondTreeStaysAndIsNoted) {
    const std::string text =
        with("</installFiles>\n", "</installFiles>\n  <installFiles><file fileName=\"gone\"/>"
                                  "</installFiles>\n");
    define(text);
    const auto result = update();
    EXPECT_EQ(
        result.standardError,
        "installFiles in line 32: note: is not the first, so that nothing reads it, and it stays as it is\n");
    EXPECT_EQ(result.exitStatus, 1);
    expectText(text);
}

TEST_F(UpdateCommand, EntriesBesideTheBranchesStayWhileTheyAreThere) {
    const std::string text =
        with("  </installFiles>\n", "    <directory fileName=\"Docs\"><file fileName=\"x\"/></directory>\n"
                                    "  </installFiles>\n");
    define(text);
    put("Docs/x");
    EXPECT_EQ(update().standardOutput, "sku.xml: nothing to change\n");
    put("More/x");
    EXPECT_THAT(update().standardError, HasSubstr("More: error: lies beside Hosts, VorlaneFX and Content"));
    expectText(text);
}

// When nothing is written

TEST_F(UpdateCommand, ADefinitionThatIsNotReadWholeIsNeverWrittenOver) {
    const std::string unread = "is not read whole by the engine (check says where), and stays as it is";
    expectRefusal("", unread);
    expectRefusal("<product><sku></product>", unread);
    expectRefusal("<root/>", unread);
    expectRefusal(std::string(handMade) + "text", unread);
    expectRefusal(std::string(handMade) + std::string("\0 ", 2), unread);
    expectRefusal(with("  <installFiles>\n", "  <!--installFiles-->\n  <installFiles>\n"), unread);
    expectRefusal(std::string("\xFF\xFE<\0p\0", 6), unread);
    expectRefusal(with("By hand", "\xE9"), "is not UTF-8, and stays as it is");
    fs::remove(path("sku.xml"));
    EXPECT_EQ(update().standardError,
              "InstallInspector: sku.xml cannot be read: No such file or directory\n");
    fs::create_directory(path("sku.xml"));
    EXPECT_EQ(update().standardError, "InstallInspector: sku.xml is a folder\n");
}

TEST_F(UpdateCommand, AnotherEncodingCarriesNamesOfAsciiOnly) {
    const std::string text = with("encoding=\"UTF-8\"", "encoding=\"ISO-8859-1\"");
    define(text);
    put("VorlaneFX/plain");
    EXPECT_EQ(update().exitStatus, 0);
    const std::string before = read("sku.xml");
    put("VorlaneFX/\xC3\xA9");
    const auto result = update();
    EXPECT_THAT(result.standardError, HasSubstr("sku.xml is not UTF-8, and new names are not plain ASCII\n"));
    EXPECT_EQ(result.exitStatus, 2);
    expectText(before);
}

TEST_F(UpdateCommand, AFaultInTheFolderChangesNothing) {
    put("VorlaneFX/New.look");
    put("VorlaneFX/a$b");
    ASSERT_EQ(mkfifo((files() / "VorlaneFX/pipe").c_str(), 0644), 0);
    const auto result = update();
    EXPECT_THAT(linesWith("error:", result.standardError),
                ElementsAre(HasSubstr("VorlaneFX/pipe: error: is a named pipe"),
                            HasSubstr("VorlaneFX/a$b: error: the name holds")));
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.exitStatus, 2);
    expectText(handMade);
}

TEST_F(UpdateCommand, AFullDiskAndDeathLeaveTheOldFile) {
    put("VorlaneFX/" + std::string(200, 'n'));
    std::string text = handMade;
    text.insert(text.find("<product>"), "<!-- " + std::string(100'000, 'x') + " -->\n");
    define(text);
    const auto result = update({}, [] {
        const rlimit limit = {4096, 4096};
        setrlimit(RLIMIT_FSIZE, &limit);
        signal(SIGXFSZ, SIG_IGN);
    });
    EXPECT_EQ(result.standardError, "InstallInspector: sku.xml cannot be written: File too large\n");
    EXPECT_EQ(result.exitStatus, 2);
    expectText(text);
    EXPECT_FALSE(fs::exists(path("sku.xml.new")));
    const auto killed = update({}, [] {
        const rlimit limit = {4096, 4096};
        const rlimit noCore = {0, 0};
        setrlimit(RLIMIT_FSIZE, &limit);
        setrlimit(RLIMIT_CORE, &noCore);
    });
    EXPECT_EQ(killed.signal, SIGXFSZ);
    expectText(text);
    EXPECT_EQ(update().exitStatus, 0);
    EXPECT_FALSE(fs::exists(path("sku.xml.new")));
}

TEST_F(UpdateCommand, ADefinitionAmongTheFilesIsRefused) {
    put("VorlaneFX/SKU/COMMON.xml", handMade);
    const auto result = run({"update", "files/VorlaneFX/SKU/COMMON.xml", "--source", "files"});
    EXPECT_EQ(result.standardError,
              "InstallInspector: files/VorlaneFX/SKU/COMMON.xml lies among the files of the product\n");
    EXPECT_EQ(result.exitStatus, 2);
}

TEST_F(UpdateCommand, KeepsTheModeOfTheFileAndFollowsLinks) {
    fs::rename(path("sku.xml"), path("real.xml"));
    fs::permissions(path("real.xml"), fs::perms(0640));
    fs::create_symlink("real.xml", path("sku.xml"));
    put("VorlaneFX/New.look");
    EXPECT_EQ(update().exitStatus, 0);
    EXPECT_TRUE(fs::is_symlink(path("sku.xml")));
    EXPECT_EQ(fs::status(path("real.xml")).permissions(), fs::perms(0640));
    EXPECT_THAT(read("real.xml"), HasSubstr("New.look"));
}
