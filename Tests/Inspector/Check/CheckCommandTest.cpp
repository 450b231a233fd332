// The program as a user runs it: output, exit statuses, colours, and that it changes nothing.
#include "Foundation/FileLibrary.h"
#include "Platform/Utf8.h"
#include "Tests/Inspector/Check/InspectedProduct.h"
#include "Tests/Support/AddressSanitizer.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/Sources.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Terminal.h"
#include "Tests/Support/Texts.h"
#include "Utility/InstallInspector/Check/Rules.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <set>
#include <sstream>
#include <tuple>

using namespace std::chrono_literals;

namespace {

const Edit wrongFlag = {Edit::Definition, "<file fileName=\"Grey.look\"/>",
                        "<file fileName=\"Grey.look\" dontdelete=\"true\"/>"};
const Edit wrongType = {Edit::Targets, "type=\"PathExist\"", "type=\"PathExists\""};
const Edit wrongHost = {Edit::Definition, "<host name=\"Edius\"", "<host name=\"Edus\""};

class CheckCommand : public testing::Test {
protected:
    TemporaryDirectory folder;

    void write(const char* name, const std::string& text) const {
        ASSERT_TRUE(FileLibrary::writeFile(toVLString(text), folder / name, false));
    }

    void writeProduct(const std::vector<Edit>& edits = {}) const {
        write("sku.xml", InspectedProduct::definition(edits));
        write("target_path.xml", InspectedProduct::targets(edits));
    }

    ProgramResult run(std::vector<std::string> arguments,
                      const std::function<void()>& beforeStart = {}) const {
        arguments.insert(arguments.begin(), INSTALLINSPECTOR_PROGRAM);
        ProgramOptions options;
        options.workingFolder = folder.path();
        options.beforeStart = beforeStart;
        return runProgram(arguments, options);
    }
};

} // namespace

TEST_F(CheckCommand, SaysThatThereIsNothingToSay) {
    writeProduct();
    const auto result = run({"check", "sku.xml", "target_path.xml"});
    EXPECT_EQ(result.standardOutput, "No mistakes found.\n");
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST_F(CheckCommand, NamesPlaceRuleConsequenceAndRemedyInTheOrderOfTheFiles) {
    writeProduct({wrongFlag, wrongType, wrongHost});
    const auto result = run({"check", "sku.xml", "target_path.xml"});
    EXPECT_EQ(
        result.standardOutput,
        "sku.xml:13:11: warning: unknown host \"Edus\" [unknown-host]\n"
        "    The engine knows no application of this name: what it says to the customer calls it just that, "
        "and target items of another name do not match it.\n"
        "    Write \"Edius\". If it is another host, name it with --host.\n"
        "sku.xml:25:36: error: dontdelete=\"true\" is neither \"0\" nor \"1\" [flag-value]\n"
        "    It counts as if it were not there: the enclosing directory's value holds, \"0\" at the top.\n"
        "    Write dontdelete=\"1\".\n"
        "target_path.xml:12:20: error: unknown condition type \"PathExists\" [unknown-condition-type]\n"
        "    A condition of no known type always holds.\n"
        "    Write \"PathExist\".\n"
        "\n"
        "2 errors, 1 warning\n");
    EXPECT_EQ(result.exitStatus, 1);
}

/// What users wrote who mended broken files by these words alone.
TEST_F(CheckCommand, AdviceLeadsToAProductWithoutMistakes) {
    const std::vector<std::tuple<Edit, std::string>> slips = {
        {{Edit::Definition, "<plugins><plugin name=\"Glow One\"/></plugins>",
          "<plugin><plugin name=\"Glow One\"/></plugin>"},
         "Write <plugins>, or move it: it is read inside <plugins> only."},
        {{Edit::Definition, "<file fileName=\"Grey.look\"/>", "<file name=\"Grey.look\"/>"},
         "Write fileName."},
        {{Edit::Targets, "</root>", "</Root>"}, "Write </root> in its place."},
        {{Edit::Definition, "</installFiles>", ""}, "Write </installFiles> before it."},
        // Not the name that the targets have: the engine does not know it.
        {{Edit::Targets, "<item name=\"Edius\">", "<item name=\"EDIUS\">"},
         "Write <item name=\"Edius\"> in place of \"EDIUS\"."},
        // Nor the one that the tree has, which would make two mistakes of one.
        {{Edit::Definition, "<directory fileName=\"Edius\">", "<directory fileName=\"Edis\">"},
         "Write \"Edius\" in the tree, in place of \"Edis\"."},
        // Names that are far from it, or right where they are, were not meant.
        {{Edit::Targets, "<item name=\"Edius\">", "<item name=\"Nova\">"},
         "Write <item name=\"Edius\"> inside <item name=\"Hosts\">."},
        {{Edit::Targets, "<item name=\"Edius\">", "<item name=\"OpenFX\"/><item name=\"Edius\">"},
         "Remove the item, or list the host in the tree; of a file for several products, check all of them "
         "at "
         "once."},
        {{Edit::Definition, "families=\"Glow\"", "families=\"Glow, Glow\""}, "Write families=\"Glow;Glow\"."},
        {{Edit::Definition, "arch=\"x64\"", "arch=\"x86,x64\""}, "Write arch=\"x86;x64\"."},
        {{Edit::Targets, "<item name=\"Looks\">", "<item name=\"Looks\xC2\xA0\">"}, "Write \"Looks\"."},
        {{Edit::Targets, "<item name=\"Edius\">", "<item name=\"Ed\xC2\xADius\">"},
         "Write <item name=\"Edius\"> in place of \"Ed\xC2\xADius\". The two look the same: of this one and "
         "that, "
         "the second has U+00AD, which nobody sees."},
        {{Edit::Definition, "<directory fileName=\"Edius\">",
          "<directory fileName=\"Edius32\"><directory fileName=\"Glow\"/></directory><directory "
          "fileName=\"Edius\">"},
         "Write <item name=\"Edius32\"> inside <item name=\"Hosts\">."},
        {{Edit::Targets, "<path value=\"%REGKEY:Hosts/Edius::Folder%/Vorlane\">",
          "<path value=\"%REGKEY:Hosts/Edius:Folder%/Vorlane\">"},
         "Write \"%REGKEY:Hosts/Edius::Folder%\"."},
        {{Edit::Targets, "<path value=\"%REGKEY:Hosts/Edius::Folder%/Vorlane\">",
          "<path value=\"%REGKEY:Hosts/Edius:%/Vorlane\">"},
         "Write %REGKEY:key::value name%."},
    };
    for (const auto& [slip, advice] : slips) {
        writeProduct({slip});
        const auto result = run({"check", "sku.xml", "target_path.xml"});
        EXPECT_NE(result.standardOutput.find("    " + advice + "\n"), std::string::npos)
            << result.standardOutput;
    }
}

TEST_F(CheckCommand, ChecksADefinitionAlone) {
    writeProduct({wrongType});
    EXPECT_EQ(run({"check", "sku.xml"}).exitStatus, 0);
    EXPECT_EQ(run({"check", "sku.xml", "target_path.xml"}).exitStatus, 1);
}

TEST_F(CheckCommand, WarningsAreFindings) {
    writeProduct({wrongHost});
    EXPECT_EQ(run({"check", "sku.xml"}).exitStatus, 1);
}

TEST_F(CheckCommand, PrintsJson) {
    writeProduct({wrongFlag, wrongHost});
    const auto result = run({"check", "--json", "sku.xml", "target_path.xml"});
    EXPECT_EQ(result.exitStatus, 1);
    const auto document = nlohmann::json::parse(result.standardOutput);
    EXPECT_EQ(document["definition"], "sku.xml");
    EXPECT_EQ(document["targets"], "target_path.xml");
    EXPECT_FALSE(document.contains("source"));
    EXPECT_EQ(document["errors"], 1);
    EXPECT_EQ(document["warnings"], 1);
    ASSERT_EQ(document["findings"].size(), 2U);
    EXPECT_EQ(document["findings"][1], nlohmann::json({
                                           {"file", "sku.xml"},
                                           {"line", 25},
                                           {"column", 36},
                                           {"rule", "flag-value"},
                                           {"severity", "error"},
                                           {"message", "dontdelete=\"true\" is neither \"0\" nor \"1\""},
                                           {"consequence", "It counts as if it were not there: the enclosing "
                                                           "directory's value holds, \"0\" at the top."},
                                           {"advice", "Write dontdelete=\"1\"."},
                                       }));
}

TEST_F(CheckCommand, PrintsJsonForAProductWithoutMistakes) {
    writeProduct();
    const auto result = run({"check", "--json", "sku.xml"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(nlohmann::json::parse(result.standardOutput),
              nlohmann::json({{"definition", "sku.xml"},
                              {"products", {{{"definition", "sku.xml"}}}},
                              {"verdict", "safe"},
                              {"errors", 0},
                              {"warnings", 0},
                              {"notes", 0},
                              {"findings", nlohmann::json::array()}}));
}

TEST_F(CheckCommand, JsonIsUtf8WhateverTheFileHolds) {
    writeProduct({{Edit::Definition, "encoding=\"UTF-8\"", "encoding=\"ISO-8859-1\""},
                  {Edit::Definition, "name=\"Alpha\"", "name=\"Caf\xE9\x1b[31m\""}});
    const auto result = run({"check", "--json", "sku.xml"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_TRUE(isUtf8(result.standardOutput));
    EXPECT_TRUE(nlohmann::json::accept(result.standardOutput));
}

TEST_F(CheckCommand, WhatATerminalWouldObeyIsEscaped) {
    writeProduct({{Edit::Definition, "name=\"Guide.html\"", "name=\"\x1b[31m$\xC2\x9B\""}});
    const auto result = run({"check", "sku.xml"});
    EXPECT_EQ(result.standardOutput.find('\x1b'), std::string::npos);
    EXPECT_NE(result.standardOutput.find("\\x1b[31m$\\xc2\\x9b"), std::string::npos);
}

TEST_F(CheckCommand, CannotRunWithoutAFile) {
    writeProduct();
    const auto missing = run({"check", "nothing.xml"});
    EXPECT_EQ(missing.exitStatus, 2);
    EXPECT_EQ(missing.standardOutput, "");
    EXPECT_EQ(missing.standardError, "InstallInspector: nothing.xml is not an existing file\n");

    const auto targets = run({"check", "sku.xml", "nothing.xml"});
    EXPECT_EQ(targets.exitStatus, 2);
    EXPECT_EQ(targets.standardError, "InstallInspector: nothing.xml is not an existing file\n");

    const auto aFolder = run({"check", "."});
    EXPECT_EQ(aFolder.exitStatus, 2);
    EXPECT_EQ(aFolder.standardError, "InstallInspector: . is a folder\n");

    const auto source = run({"check", "sku.xml", "--source", "sku.xml"});
    EXPECT_EQ(source.exitStatus, 2);
    EXPECT_EQ(source.standardError, "InstallInspector: sku.xml is not an existing folder\n");
}

TEST_F(CheckCommand, AFileIsKnownByWhatIsInIt) {
    writeProduct({wrongFlag});
    const auto swapped = run({"check", "target_path.xml", "sku.xml"});
    EXPECT_EQ(swapped.standardOutput, run({"check", "sku.xml", "target_path.xml"}).standardOutput);
    EXPECT_EQ(swapped.standardError,
              "InstallInspector: target_path.xml holds the target paths; InstallUtility takes "
              "them behind the definition\n");
    EXPECT_EQ(run({"check", "sku.xml", "target_path.xml"}).standardError, "");

    const auto alone = run({"check", "target_path.xml"});
    EXPECT_EQ(alone.exitStatus, 2);
    EXPECT_EQ(alone.standardError,
              "InstallInspector: target_path.xml holds target paths; name the definition "
              "(sku.xml) of a product that uses them, too\n");
    write("record.xml", "<install><products/></install>");
    const auto record = run({"check", "sku.xml", "record.xml"});
    EXPECT_EQ(record.exitStatus, 2);
    EXPECT_NE(record.standardError.find("record.xml is a record of what is installed"), std::string::npos);
}

/// Also when it is damaged, since that is what is to be told.
TEST_F(CheckCommand, AMisspeltRootLeavesAFileWhatItIs) {
    writeProduct({{Edit::Definition, "<product>", "<!-- <root> --><prodct>"}});
    write("target_path.xml", "<Root><item name=\"VorlaneFX\"/></Root>");
    const auto result = run({"check", "target_path.xml", "sku.xml"});
    EXPECT_NE(result.standardOutput.find(": error: not well-formed: <prodct> of line 2 is not closed"),
              std::string::npos)
        << result.standardOutput;
    EXPECT_NE(result.standardOutput.find("target_path.xml:1:1: error: no element <root>"), std::string::npos)
        << result.standardOutput;
    // What tells nothing counts by its place.
    write("sku.xml", "");
    write("target_path.xml", "");
    const auto empty = run({"check", "sku.xml", "target_path.xml"});
    EXPECT_NE(empty.standardOutput.find("sku.xml:1:1: error: not well-formed: the file is empty"),
              std::string::npos);
    EXPECT_NE(empty.standardOutput.find("target_path.xml:1:1: error: not well-formed"), std::string::npos);
}

TEST_F(CheckCommand, SeveralDefinitionsTakeOneFileOfTargetsOrOneEach) {
    writeProduct({wrongType});
    write("other.xml", InspectedProduct::definition({{Edit::Definition, "\"ALPHA\"", "\"BETA\""}}));
    write("right.xml", InspectedProduct::targets());
    const auto all = run({"check", "sku.xml", "other.xml", "target_path.xml"});
    EXPECT_NE(all.standardOutput.find(
                  "other.xml:3:18: error: the uninstaller \"Uninstall Alpha.app\" is also that of "
                  "sku.xml, line 3 [same-uninstaller]"),
              std::string::npos)
        << all.standardOutput;
    EXPECT_NE(all.standardOutput.find("\n2 errors, 0 warnings\n"), std::string::npos);
    const auto each = run({"check", "--json", "sku.xml", "other.xml", "target_path.xml", "right.xml"});
    const auto document = nlohmann::json::parse(each.standardOutput);
    EXPECT_EQ(document["products"],
              nlohmann::json({{{"definition", "sku.xml"}, {"targets", "target_path.xml"}},
                              {{"definition", "other.xml"}, {"targets", "right.xml"}}}));
    const auto none = run({"check", "sku.xml", "other.xml", "sku.xml", "target_path.xml", "right.xml"});
    EXPECT_EQ(none.exitStatus, 2);
    EXPECT_EQ(none.standardError, "InstallInspector: 3 definitions, 2 target-paths files and 0 sources: give "
                                  "one file of target paths, and "
                                  "one source, for all or one for each definition\n");
}

TEST_F(CheckCommand, ARuleIsIgnoredByOption) {
    writeProduct({wrongFlag, wrongHost});
    const auto flags = run({"check", "sku.xml", "--ignore", "flag-value"});
    EXPECT_EQ(flags.standardOutput.find("flag-value"), std::string::npos);
    EXPECT_NE(flags.standardOutput.find("unknown-host"), std::string::npos);
    EXPECT_EQ(run({"check", "--ignore", "flag-value", "--ignore", "unknown-host", "sku.xml"}).standardOutput,
              "No mistakes found.\n");
}

TEST_F(CheckCommand, AnIgnoredRuleThatIsNoneIsTold) {
    writeProduct();
    const auto none = run({"check", "sku.xml", "--ignore", "flag-valu"});
    EXPECT_EQ(none.standardOutput,
              "--ignore flag-valu: warning: no rule is called \"flag-valu\" [unknown-ignore]\n"
              "    Nothing is ignored.\n"
              "    Write \"flag-value\".\n\n0 errors, 1 warning\n");
    EXPECT_EQ(none.exitStatus, 1);
    // One list may serve many products.
    const auto unused = run({"check", "sku.xml", "--ignore", "flag-value"});
    EXPECT_NE(unused.standardOutput.find("[unused-ignore]"), std::string::npos);
    EXPECT_NE(unused.standardOutput.find("\n0 errors, 0 warnings, 1 note\n"), std::string::npos);
    EXPECT_EQ(unused.exitStatus, 0);
    EXPECT_EQ(run({"check", "sku.xml", "--ignore", "flag-value", "--ignore", "unused-ignore"}).standardOutput,
              "No mistakes found.\n");
}

TEST_F(CheckCommand, FailsOnWhatItIsToldTo) {
    const Edit unused = {Edit::Targets, "<item name=\"Hosts\">",
                         "<item name=\"Hosts\"><item name=\"OpenFX\"/>"};
    const auto status = [&](const std::vector<Edit>& edits, const std::vector<std::string>& options) {
        writeProduct(edits);
        std::vector<std::string> arguments = {"check", "sku.xml", "target_path.xml"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return run(arguments).exitStatus;
    };
    EXPECT_EQ(status({wrongFlag}, {"--fail-on", "error"}), 1);
    EXPECT_EQ(status({wrongHost}, {"--fail-on", "error"}), 0);
    EXPECT_EQ(status({wrongHost}, {"--fail-on", "warning"}), 1);
    EXPECT_EQ(status({unused}, {}), 0);
    EXPECT_EQ(status({unused}, {"--fail-on", "note"}), 1);
    EXPECT_EQ(status({}, {"--fail-on", "note"}), 0);
    EXPECT_EQ(status({}, {"--fail-on", "nothing"}), 2);
}

TEST_F(CheckCommand, AHostOfOnesOwnIsKnown) {
    const std::vector<Edit> edits = {{Edit::Definition, "<host name=\"Edius\"", "<host name=\"Edius X\""},
                                     {Edit::Definition, "fileName=\"Edius\"", "fileName=\"Edius X\""},
                                     {Edit::Targets, "<item name=\"Edius\">", "<item name=\"Edius X\">"}};
    writeProduct(edits);
    EXPECT_EQ(run({"check", "sku.xml", "target_path.xml"}).exitStatus, 1);
    EXPECT_EQ(run({"check", "sku.xml", "target_path.xml", "--host", "Edius X"}).standardOutput,
              "No mistakes found.\n");
    // A name that is near no known one needs no word.
    writeProduct({{Edit::Definition, "<host name=\"Edius\"", "<host name=\"Resolve\""},
                  {Edit::Definition, "fileName=\"Edius\"", "fileName=\"Resolve\""},
                  {Edit::Targets, "<item name=\"Edius\">", "<item name=\"Resolve\">"}});
    EXPECT_EQ(run({"check", "sku.xml", "target_path.xml"}).standardOutput, "No mistakes found.\n");
}

TEST_F(CheckCommand, JsonCarriesTheVerdict) {
    const auto verdict = [&](const std::vector<Edit>& edits, std::vector<std::string> arguments) {
        writeProduct(edits);
        arguments.insert(arguments.begin(), {"check", "--json"});
        return nlohmann::json::parse(run(arguments).standardOutput)["verdict"];
    };
    EXPECT_EQ(verdict({}, {"sku.xml", "target_path.xml"}), "safe");
    EXPECT_EQ(verdict({wrongFlag}, {"sku.xml"}), "harm");
    EXPECT_EQ(verdict({wrongHost}, {"sku.xml"}), "cannot tell");
    EXPECT_EQ(verdict({wrongHost}, {"sku.xml", "--ignore", "unknown-host"}), "safe");
    EXPECT_EQ(verdict({}, {"nothing.xml"}), "cannot tell");
}

/// Docs/inspector.md describes each member in a table, and none that is not there.
TEST_F(CheckCommand, TheDocumentDescribesTheJson) {
    writeProduct({wrongFlag});
    std::filesystem::create_directories(folder.path() / "files");
    const auto whole = nlohmann::json::parse(
        run({"check", "--json", "sku.xml", "target_path.xml", "--source", "files"}).standardOutput);
    const auto failed = nlohmann::json::parse(run({"check", "--json", "nothing.xml"}).standardOutput);
    std::set<std::string> members;
    const auto add = [&](const std::string& before, const nlohmann::json& object) {
        for (const auto& [name, value] : object.items()) {
            members.insert(before + name);
        }
    };
    add("", whole);
    add("", failed);
    add("products[].", whole["products"][0]);
    for (const auto& finding : whole["findings"]) {
        add("findings[].", finding);
    }
    std::set<std::string> described;
    std::istringstream lines(FileTree::read(inSources("Docs/inspector.md")));
    bool bCheck = false;
    for (std::string line; std::getline(lines, line);) {
        bCheck = line.rfind("## ", 0) == 0 ? line == "## check" : bCheck;
        if (bCheck && line.rfind("| `", 0) == 0) {
            std::istringstream names(line.substr(2, line.find('|', 2) - 2));
            for (std::string name; names >> name;) {
                const std::size_t end = name.rfind('`');
                described.insert(name.substr(1, end - 1));
            }
        }
    }
    EXPECT_EQ(described, members);
}

TEST_F(CheckCommand, BadUsageGoesToStandardError) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                      {"check"},
                                                      {"chek", "sku.xml"},
                                                      {"check", "--jsn", "a"},
                                                      {"check", "a", "b", "c"},
                                                      {"check", "a", "--ignore"}}) {
        const auto result = run(arguments);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_NE(result.standardError, "");
    }
}

TEST_F(CheckCommand, HelpAndVersionGoToStandardOutput) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--help"}, {"check", "--help"}}) {
        const auto result = run(arguments);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_NE(result.standardOutput.find("check"), std::string::npos);
        EXPECT_EQ(result.standardError, "");
    }
    const auto version = run({"--version"});
    EXPECT_EQ(version.exitStatus, 0);
    EXPECT_EQ(version.standardOutput, "InstallInspector " INSTALLUTILITY_VERSION "\n");
}

TEST_F(CheckCommand, ListsTheRules) {
    const auto result = run({"check", "--list-rules"});
    EXPECT_EQ(result.exitStatus, 0);
    std::istringstream lines(result.standardOutput);
    std::string line;
    for (const Rule& rule : allRules()) {
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_EQ(line.substr(0, line.find(' ')), rule.name);
        EXPECT_NE(line.find(rule.summary), std::string::npos);
    }
    EXPECT_FALSE(std::getline(lines, line));
}

TEST_F(CheckCommand, ColoursATerminalOnly) {
    writeProduct({wrongFlag});
    const std::string file = (folder.path() / "sku.xml").string();
    const std::vector<std::string> command = {INSTALLINSPECTOR_PROGRAM, "check", file};
    const ScopedEnvironment noColour("NO_COLOR", std::nullopt);
    EXPECT_NE(Terminal(command, 60s).finish().standardOutput.find("\x1b[1;31merror:\x1b[0m"),
              std::string::npos);
    EXPECT_EQ(run({"check", "sku.xml"}).standardOutput.find('\x1b'), std::string::npos);
}

TEST_F(CheckCommand, NoColourIsObeyed) {
    writeProduct({wrongFlag});
    const std::string file = (folder.path() / "sku.xml").string();
    const std::vector<std::string> command = {INSTALLINSPECTOR_PROGRAM, "check", file};
    {
        const ScopedEnvironment noColour("NO_COLOR", "1");
        const auto result = Terminal(command, 60s).finish();
        EXPECT_NE(result.standardOutput.find("error:"), std::string::npos);
        EXPECT_EQ(result.standardOutput.find('\x1b'), std::string::npos);
    }
    // Set but empty means not set.
    const ScopedEnvironment empty("NO_COLOR", "");
    EXPECT_NE(Terminal(command, 60s).finish().standardOutput.find('\x1b'), std::string::npos);
}

TEST_F(CheckCommand, ChangesNothing) {
    writeProduct({wrongFlag});
    std::filesystem::create_directories(folder.path() / "files" / "VorlaneFX" / "$(touch x)");
    const auto before = FileTree::describe(folder.path());
    run({"check", "sku.xml", "target_path.xml", "--source", "files"});
    EXPECT_EQ(FileTree::describe(folder.path()), before);
}

TEST_F(CheckCommand, ReadsFilesOfOtherSystems) {
    std::string text = InspectedProduct::definition({wrongFlag});
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) {
        text.replace(at, 1, "\r\n");
    }
    write("sku.xml", "\xEF\xBB\xBF" + text);
    const auto result = run({"check", "sku.xml"});
    EXPECT_NE(result.standardOutput.find("sku.xml:25:36: error:"), std::string::npos)
        << result.standardOutput;
    EXPECT_NE(result.standardOutput.find("\n1 error, 0 warnings\n"), std::string::npos);
}

TEST_F(CheckCommand, HostileFilesNeitherCrashItNorMakeItHang) {
    constexpr unsigned long many = bAddressSanitizer ? 2000 : 10000; // how the time grows is seen without it
    std::string manyAttributes = "<product ";
    for (int i = 0; i < 50000; ++i) {
        manyAttributes += "a" + std::to_string(i) + "='' ";
    }
    std::string deepTree = "<product><installFiles>";
    deepTree +=
        repeat("<directory fileName='d'>", 990) + repeat("</directory>", 990) + "</installFiles></product>";
    const std::vector<std::string> texts = {
        repeat("<a>", 100000),
        manyAttributes + "/>",
        deepTree,
        "<product><sku ID='" + std::string(many * 100, 'x') + "'/></product>",
        "<product>" + repeat("<sku/>", many) + "</product>",
        "<product><hosts>" + repeat("<host name='x' compilerOptions='y'/>", many / 2) +
            "</hosts><hostsForBuild/></product>",
        "<product><installFiles>" + repeat("<file fileName='a'/>", many) + "</installFiles></product>",
        repeat("&", many),
        "<product>" + repeat("&", many) + "</product>",
        "<a>x\xEF",
        "<?xml   ",
        std::string("\0\0\0", 3),
        "<product/>\xEF",
        "<",
        "<!--",
        "<![CDATA[",
        "<product a='&#99999999999;'/>",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 60));
        write("hostile.xml", text);
        for (const auto& arguments :
             {std::vector<std::string>{"check", "hostile.xml"},
              std::vector<std::string>{"check", "hostile.xml", "hostile.xml", "--json"}}) {
            const auto result = run(arguments);
            EXPECT_FALSE(result.bTimedOut);
            EXPECT_EQ(result.signal, 0);
            EXPECT_EQ(result.exitStatus, 1);
        }
    }
}

TEST_F(CheckCommand, ADocumentTruncatedAnywhereIsAFinding) {
    const std::string text = InspectedProduct::targets();
    const std::string root = "</root>";
    for (std::size_t length = 0; length + 1 < text.size(); ++length) {
        const InspectedProduct product({{Edit::Targets, "", text.substr(0, length)}});
        EXPECT_FALSE(product.findings.empty()) << length;
    }
}
