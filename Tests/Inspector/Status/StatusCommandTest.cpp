// "status": each of its rules, and the program as a user runs it.
#include "Tests/Support/AddressSanitizer.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Terminal.h"
#include "Tests/Support/Texts.h"
#include "Utility/InstallInspector/Status/Status.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

using namespace std::chrono_literals;

namespace {

namespace fs = std::filesystem;

const char* const alphaDefinition = R"(<product>
  <sku ID="ALPHA" name="Alpha" build="1.0.0.100"/>
  <families><family name="Glow"><plugins><plugin name="Glow One"/></plugins></family></families>
  <installFiles>
    <directory fileName="Hosts">
      <directory fileName="Edius">
        <directory fileName="Glow"><file fileName="Glow.plugin"/><directory fileName="Glow.bundle"/></directory>
      </directory>
      <directory fileName="OpenFX"><directory fileName="Glow"><file fileName="Glow.ofx"/></directory></directory>
    </directory>
    <directory fileName="VorlaneFX">
      <directory fileName="Looks"><file fileName="Grey.look"/><file fileName="Red.look"/></directory>
      <directory fileName="Presets"><file fileName="Bright.preset"/></directory>
    </directory>
    <directory fileName="Content"><file fileName="Paper.txt"/></directory>
  </installFiles>
</product>
)";

const char* const betaDefinition = R"(<product>
  <sku ID="BETA" name="Beta" build="2.0.0.200"/>
  <families><family name="Ink"><plugins><plugin name="Ink One"/></plugins></family></families>
  <installFiles>
    <directory fileName="VorlaneFX">
      <directory fileName="Looks"><file fileName="Grey.look"/></directory>
    </directory>
  </installFiles>
</product>
)";

const char* const targetPaths = R"(<root>
  <item name="VorlaneFX">
    <path value="@/shared"/>
    <item name="Presets"><path value="@/presets"/></item>
  </item>
  <item name="Hosts">
    <item name="Edius">
      <path value="@/Edius/%FAMILY%"><condition type="PathExist" value="@/Edius.app"/></path>
    </item>
    <item name="OpenFX">
      <path value="@/OpenFX/%FAMILY%"><condition type="PathExist" value="@/OpenFX.app"/></path>
    </item>
  </item>
  <item name="Content"><path value="@/content"/></item>
</root>
)";

const char* const recordText = R"(<install>
    <products>
        <sku ID="ALPHA" name="Alpha" build="1.0.0.100" />
        <sku ID="BETA" name="Beta" build="2.0.0.200" />
    </products>
    <installFiles>
        <directory fileName="VorlaneFX" ref="2">
            <directory fileName="Presets" ref="1">
                <file fileName="Bright.preset" ref="1" build="1.0.0.100" />
            </directory>
            <directory fileName="Looks" ref="2">
                <file fileName="Grey.look" ref="2" build="2.0.0.200" />
                <file fileName="Red.look" ref="1" build="1.0.0.100" />
            </directory>
        </directory>
        <directory fileName="Content" ref="1">
            <file fileName="Paper.txt" ref="1" build="1.0.0.100" />
        </directory>
        <directory fileName="Hosts" ref="1">
            <directory fileName="OpenFX" ref="1">
                <directory fileName="Glow" ref="1">
                    <file fileName="Glow.ofx" ref="1" build="1.0.0.100" />
                </directory>
            </directory>
            <directory fileName="Edius" ref="1">
                <directory fileName="Glow" ref="1">
                    <directory fileName="Glow.bundle" ref="1" />
                    <file fileName="Glow.plugin" ref="1" build="1.0.0.100" />
                </directory>
            </directory>
        </directory>
    </installFiles>
</install>
)";

/// A machine on which two products are installed, one host of the first is not there, and all is well.
class World {
public:
    World() {
        write("alpha.xml", alphaDefinition);
        write("beta.xml", betaDefinition);
        write("target_path.xml", replaced(targetPaths, "@", path("").string()));
        write("shared/InstallationStatusFile.xml", recordText);
        for (const char* file :
             {"shared/Looks/Grey.look", "shared/Looks/Red.look", "presets/Bright.preset", "content/Paper.txt",
              "Edius/Glow/Glow.plugin", "Edius/Glow/Glow.bundle/a", "Edius.app/Contents/Info.plist"}) {
            write(file, "as installed");
        }
    }

    fs::path path(const std::string& name) const {
        return name.empty() ? folder.path() : folder.path() / name;
    }
    void write(const std::string& name, const std::string& text) const { FileTree::write(path(name), text); }
    void remove(const std::string& name) const { EXPECT_GT(fs::remove_all(path(name)), 0U) << name; }
    void move(const std::string& from, const std::string& to) const {
        fs::create_directories(path(to).parent_path());
        fs::rename(path(from), path(to));
    }
    /// Replaces a text that stands in the file once.
    void edit(const std::string& name, const std::string& from, const std::string& to) const {
        const std::string text = FileTree::read(path(name));
        EXPECT_NE(text.find(from), std::string::npos) << from;
        EXPECT_EQ(text.find(from), text.rfind(from)) << from;
        write(name, replaced(text, from, to));
    }
    void editRecord(const std::string& from, const std::string& to) const {
        edit("shared/InstallationStatusFile.xml", from, to);
    }

    /// Compared with both products, and with those of `more`, which are definitions here.
    std::vector<Finding> findings(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> definitions = {"alpha.xml", "beta.xml"};
        definitions.insert(definitions.end(), more.begin(), more.end());
        return findingsWith(definitions);
    }
    std::vector<Finding> findingsWith(const std::vector<std::string>& definitions) const {
        Status status;
        std::string error;
        for (const std::string& definition : definitions) {
            const std::string own = definition + ".targets";
            const std::string targets = fs::exists(path(own)) ? own : "target_path.xml";
            status.given.push_back(std::make_unique<PlacedProduct>());
            EXPECT_TRUE(status.given.back()->read(path(definition).string(), path(targets).string(), error))
                << error;
            status.products.push_back(status.given.back().get());
        }
        EXPECT_TRUE(status.record.read(path("shared").string(), error)) << error;
        status.inspect();
        return status.findings;
    }

    static std::string replaced(std::string text, const std::string& from, const std::string& to) {
        for (std::size_t at = text.find(from); at != std::string::npos;
             at = text.find(from, at + to.size())) {
            text.replace(at, from.size(), to);
        }
        return text;
    }

private:
    TemporaryDirectory folder;
};

struct Example {
    std::string rule;
    std::function<void(const World&)> bad;
    std::string at; ///< what stands in the file at the place of the finding; empty for the file as a whole
    std::function<void(const World&)> good; ///< what is close to it and right
    std::vector<std::string> definitions{"alpha.xml", "beta.xml"};
};

void nothing(const World&) {}

std::vector<Example> recordExamples() {
    const auto edit = [](const std::string& from, const std::string& to) {
        return [=](const World& world) { world.editRecord(from, to); };
    };
    const std::string red = "<file fileName=\"Red.look\" ref=\"1\" build=\"1.0.0.100\" />";
    return {
        {"record-unreadable", edit("</products>", "</product>"), "</product>", nothing},
        {"record-unreadable", edit("<install>", "<Install><!--"), "", edit("<install>", "<install><!-- -->")},
        {"record-unreadable", edit("<install>", "<!--install--><install>"), "<install>",
         edit("<install>", "<!-- install --><install>")},
        {"record-unreadable",
         [](const World& world) { world.write("shared/InstallationStatusFile.xml", "<record/>"); },
         "<record/>", nothing},
        {"record-unreadable",
         [](const World& world) { world.write("shared/InstallationStatusFile.xml", ""); }, "", nothing},
        {"record-unreadable",
         [](const World& world) {
             world.remove("shared/InstallationStatusFile.xml");
             fs::create_directory(world.path("shared/InstallationStatusFile.xml"));
         },
         "", nothing},
        {"record-set-aside",
         [](const World& world) { world.write("shared/InstallationStatusFile.xml.damaged2", "<inst"); }, "",
         [](const World& world) { world.write("shared/InstallationStatusFile.damaged", "<inst"); }},
        {"unfinished-save",
         [](const World& world) { world.write("shared/InstallationStatusFile.xml.new", "<inst"); }, "",
         [](const World& world) { world.write("shared/InstallationStatusFile.xml.old", "<inst"); }},
        {"record-entry-ignored", edit(red, red + "<folder/>"), "<folder/>",
         edit(red, red + "<!-- folder -->")},
        {"record-entry-ignored", edit("</products>", "</products><products/>"), "<products/>", nothing},
        {"record-entry-ignored", edit("fileName=\"Paper.txt\" ref=\"1\"", "fileName=\"Paper.txt\""),
         "<file fileName=\"Paper.txt\"", nothing},
        {"record-entry-ignored", edit("fileName=\"Paper.txt\"", "fileName=\"\""), "fileName=\"\"", nothing},
        {"record-duplicate", edit(red, red + red), "fileName=\"Red.look\"", edit(red, " " + red)},
        {"record-duplicate", edit("<sku ID=\"BETA\"", "<sku ID=\"ALPHA\""), "ID=\"ALPHA\"", nothing},
        {"record-product-incomplete", edit("name=\"Beta\" ", ""), "<sku ID=\"BETA\"",
         edit("name=\"Beta\" ", "name=\"\" ")},
        {"count-not-a-number", edit("fileName=\"Presets\" ref=\"1\"", "fileName=\"Presets\" ref=\"one\""),
         "ref=\"one\"", edit("fileName=\"Presets\" ref=\"1\"", "fileName=\"Presets\" ref=\"01\"")},
        {"count-not-a-number", edit("fileName=\"Presets\" ref=\"1\"", "fileName=\"Presets\" ref=\"0\""),
         "ref=\"0\"", nothing},
        {"count-not-a-number",
         edit("fileName=\"Presets\" ref=\"1\"", "fileName=\"Presets\" ref=\"4294967297\""),
         "ref=\"4294967297\"", nothing},
        {"count-above-products",
         edit("fileName=\"Grey.look\" ref=\"2\"", "fileName=\"Grey.look\" ref=\"3\""),
         "ref=\"3\"",
         nothing,
         {}},
        {"count-above-folder",
         edit("fileName=\"Bright.preset\" ref=\"1\"", "fileName=\"Bright.preset\" ref=\"2\""),
         "ref=\"2\"",
         edit("fileName=\"Red.look\" ref=\"1\"", "fileName=\"Red.look\" ref=\"2\""),
         {}},
    };
}

std::vector<Example> fileExamples() {
    return {
        {"missing-file", [](const World& world) { world.remove("shared/Looks/Red.look"); },
         "fileName=\"Red.look\"",
         [](const World& world) { world.write("shared/Looks/Red.look", "changed"); }},
        {"missing-file", [](const World& world) { world.remove("shared/Looks"); }, "fileName=\"Looks\"",
         nothing},
        {"missing-file", [](const World& world) { world.remove("presets"); }, "fileName=\"Presets\"",
         nothing},
        {"missing-file", [](const World& world) { world.remove("Edius/Glow/Glow.bundle"); },
         "fileName=\"Glow.bundle\"", [](const World& world) { world.remove("Edius/Glow/Glow.bundle/a"); }},
        // The host came after the install.
        {"missing-file", [](const World& world) { fs::create_directory(world.path("OpenFX.app")); },
         "fileName=\"Glow\"", nothing},
        {"changed-kind",
         [](const World& world) {
             world.remove("Edius/Glow/Glow.bundle");
             world.write("Edius/Glow/Glow.bundle", "a file");
         },
         "fileName=\"Glow.bundle\"",
         // A folder that the definition lists as a file.
         [](const World& world) {
             world.remove("Edius/Glow/Glow.plugin");
             fs::create_directory(world.path("Edius/Glow/Glow.plugin"));
         }},
        {"changed-kind",
         [](const World& world) {
             world.remove("shared/Looks");
             world.write("shared/Looks", "a file");
         },
         "fileName=\"Looks\"", nothing},
        {"changed-kind",
         [](const World& world) {
             world.remove("shared/Looks/Red.look");
             fs::create_symlink("nowhere", world.path("shared/Looks/Red.look"));
         },
         "fileName=\"Red.look\"",
         [](const World& world) {
             world.move("shared/Looks/Red.look", "shared/red");
             fs::create_symlink("../red", world.path("shared/Looks/Red.look"));
         }},
        {"changed-kind",
         [](const World& world) {
             world.edit("beta.xml", "<file fileName=\"Grey.look\"/>", "<directory fileName=\"Grey.look\"/>");
         },
         "fileName=\"Grey.look\"", nothing},
        {"not-recorded",
         [](const World& world) {
             world.editRecord("<file fileName=\"Red.look\" ref=\"1\" build=\"1.0.0.100\" />", "");
         },
         "fileName=\"Looks\"",
         [](const World& world) {
             world.editRecord("<file fileName=\"Red.look\" ref=\"1\" build=\"1.0.0.100\" />", "");
             world.remove("shared/Looks/Red.look");
         }},
        {"not-recorded", [](const World& world) { world.remove("shared/InstallationStatusFile.xml"); }, "",
         nothing},
        {"folder-for-file",
         [](const World& world) {
             world.remove("shared/Looks/Red.look");
             world.write("shared/Looks/Red.look/mine.txt", "my own");
         },
         "fileName=\"Red.look\"",
         [](const World& world) {
             world.remove("shared/Looks/Red.look");
             world.write("shared/Looks/Red.look/Contents/a", "of the product");
             world.remove("Edius/Glow/Glow.plugin");
             fs::create_directory(world.path("Edius/Glow/Glow.plugin"));
         }},
        {"left-behind", [](const World& world) { world.remove("Edius.app"); }, "fileName=\"Glow.bundle\"",
         [](const World& world) {
             world.remove("Edius.app");
             world.remove("Edius/Glow/Glow.bundle");
             world.remove("Edius/Glow/Glow.plugin");
         }},
    };
}

std::vector<Example> productExamples() {
    return {
        {"product-not-recorded",
         [](const World& world) {
             world.editRecord("<sku ID=\"BETA\" name=\"Beta\" build=\"2.0.0.200\" />", "");
         },
         "", [](const World& world) { world.edit("beta.xml", "name=\"Beta\"", "name=\"Bet\""); }},
        {"record-elsewhere",
         [](const World& world) { world.edit("target_path.xml", "/shared\"/>", "/other\"/>"); }, "<root>",
         [](const World& world) {
             world.edit("target_path.xml", "/shared\"/>", "/link\"/>");
             fs::create_symlink("shared", world.path("link"));
         }},
        {"record-elsewhere",
         [](const World& world) {
             world.edit("target_path.xml", "/shared\"/>", "/shared\"><condition type=\"Or\"/></path>");
         },
         "<root>", nothing},
        {"other-build", [](const World& world) { world.edit("beta.xml", "2.0.0.200", "2.0.0.201"); }, "",
         nothing},
        {"several-folders",
         [](const World& world) {
             world.write("beta.xml.targets", World::replaced(FileTree::read(world.path("target_path.xml")),
                                                             "/shared\"", "/beta\""));
         },
         "fileName=\"VorlaneFX\"",
         [](const World& world) {
             world.write("beta.xml.targets", World::replaced(FileTree::read(world.path("target_path.xml")),
                                                             "/content\"", "/beta\""));
         }},
        {"several-folders",
         [](const World& world) { world.edit("target_path.xml", "/shared\"", "/shared/%FAMILY%\""); },
         "fileName=\"VorlaneFX\"", nothing},
        {"not-compared",
         [](const World& world) {
             world.editRecord("</products>",
                              "<sku ID=\"GAMMA\" name=\"Gamma\" build=\"1.0.0.1\"/></products>");
         },
         "", nothing},
        {"in-no-definition",
         [](const World& world) { world.edit("alpha.xml", "<file fileName=\"Red.look\"/>", ""); },
         "fileName=\"Red.look\"",
         // Another product may list it, or the recorded build may have.
         [](const World& world) {
             world.edit("alpha.xml", "<file fileName=\"Red.look\"/>", "");
             world.edit("alpha.xml", "1.0.0.100", "1.0.0.101");
         }},
        {"count-differs",
         [](const World& world) {
             world.editRecord("fileName=\"Red.look\" ref=\"1\"", "fileName=\"Red.look\" ref=\"2\"");
         },
         "fileName=\"Red.look\"", nothing},
        {"count-differs",
         [](const World& world) {
             world.editRecord("fileName=\"Grey.look\" ref=\"2\"", "fileName=\"Grey.look\" ref=\"1\"");
         },
         "fileName=\"Grey.look\"",
         [](const World& world) {
             world.editRecord("fileName=\"Grey.look\" ref=\"2\"", "fileName=\"Grey.look\" ref=\"1\"");
             world.editRecord("<sku ID=\"BETA\" name=\"Beta\" build=\"2.0.0.200\" />",
                              "<sku ID=\"GAMMA\" name=\"Gamma\" build=\"2.0.0.200\" />");
         }},
    };
}

std::vector<Example> allExamples() {
    std::vector<Example> all;
    for (const auto& group : {recordExamples(), fileExamples(), productExamples()}) {
        all.insert(all.end(), group.begin(), group.end());
    }
    return all;
}

std::vector<Finding> of(const std::string& rule, const std::vector<Finding>& findings) {
    std::vector<Finding> found;
    std::copy_if(findings.begin(), findings.end(), std::back_inserter(found),
                 [&](const Finding& finding) { return finding.rule == rule; });
    return found;
}

/// What stands in the file where the finding points; empty for the file as a whole, and at its end.
std::string textAt(const Location& where, std::size_t length) {
    if (where.line == 0) {
        return "";
    }
    std::istringstream lines(FileTree::read(where.file));
    std::string line;
    for (int i = 0; i < where.line; ++i) {
        std::getline(lines, line);
    }
    const auto column = static_cast<std::size_t>(where.column - 1);
    return column < line.size() ? line.substr(column, length) : "";
}

/// The program in the world's folder.
ProgramResult run(const World& world, std::vector<std::string> arguments,
                  const std::function<void()>& beforeStart = {}) {
    arguments.insert(arguments.begin(), {INSTALLINSPECTOR_PROGRAM, "status"});
    ProgramOptions options;
    options.workingFolder = world.path("");
    options.beforeStart = beforeStart;
    return runProgram(arguments, options);
}

const std::vector<std::string> withProducts = {"shared",    "--targets", "target_path.xml", "--sku",
                                               "alpha.xml", "--sku",     "beta.xml"};

} // namespace

TEST(StatusRules, NothingIsWrongWithAMachineOnWhichAllIsWell) {
    for (const Finding& finding : World().findings()) {
        ADD_FAILURE() << finding.rule << " " << finding.where.line << " " << finding.message;
    }
}

TEST(StatusRules, EachComplainsInTheRightPlace) {
    for (const Example& example : allExamples()) {
        SCOPED_TRACE(example.rule + " at " + example.at);
        const World world;
        example.bad(world);
        const auto findings = of(example.rule, world.findingsWith(example.definitions));
        ASSERT_FALSE(findings.empty());
        EXPECT_EQ(textAt(findings.front().where, example.at.size()), example.at);
    }
}

TEST(StatusRules, EachIsContentWithWhatIsRight) {
    for (const Example& example : allExamples()) {
        SCOPED_TRACE(example.rule + " at " + example.at);
        const World world;
        example.good(world);
        for (const Finding& finding : of(example.rule, world.findingsWith(example.definitions))) {
            ADD_FAILURE() << finding.where.line << " " << finding.message;
        }
    }
}

TEST(StatusRules, EachHasAnExample) {
    std::set<std::string> names;
    for (const Example& example : allExamples()) {
        names.insert(example.rule);
    }
    for (const StatusRule& rule : allStatusRules()) {
        // What lies in /Applications or depends on the user: StatusEndToEndTest.cpp. What is told with
        // --verify alone: StatusVerifyTest.cpp.
        const std::set<std::string> others{
            "shortcut-missing", "uninstaller-missing", "uninstaller-incomplete",
            "old-uninstaller",  "manager-link",        "shared-definition-unusable",
            "other-home",       "hidden-home"};
        if (others.count(rule.name) == 0 && std::string(rule.name).rfind("content-", 0) != 0) {
            EXPECT_EQ(names.count(rule.name), 1U) << rule.name;
        }
    }
}

TEST(StatusRules, EveryFindingSaysWhatItMeansAndWhatToDo) {
    for (const Example& example : allExamples()) {
        const World world;
        example.bad(world);
        for (const Finding& finding : world.findings()) {
            SCOPED_TRACE(finding.rule + ": " + finding.message);
            EXPECT_NE(finding.message.back(), '.');
            EXPECT_EQ(finding.consequence.back(), '.');
            EXPECT_TRUE(finding.advice.back() == '.' || finding.advice.back() == '?');
        }
    }
}

TEST(StatusRules, WhatIsMissingIsReportedOnceForTheFolder) {
    const World world;
    world.remove("shared/Looks");
    const auto findings = world.findings();
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings.front().message, "\"VorlaneFX/Looks\" with 2 entries is missing: there is no \"" +
                                            world.path("shared/Looks").string() + "\"");
}

TEST(StatusRules, AHostThatWasNeverThereIsNoMistake) {
    const World world;
    fs::create_directories(world.path("OpenFX"));
    EXPECT_TRUE(world.findings().empty());
}

TEST(StatusRules, AThirdProductWithTheSameFoldersIsNoMistake) {
    const World world;
    world.write("gamma.xml", World::replaced(betaDefinition, "BETA", "GAMMA"));
    for (const Finding& finding : world.findings({"gamma.xml"})) {
        EXPECT_EQ(finding.rule, "product-not-recorded") << finding.message;
    }
}

TEST(StatusRules, TheVerdictIsHarmOnlyWhenSomethingIsKnown) {
    const auto verdict = [](const World& world, std::vector<std::string> arguments) {
        arguments.emplace_back("--json");
        const auto result = run(world, arguments);
        const std::string text = nlohmann::json::parse(result.standardOutput)["verdict"];
        EXPECT_EQ(result.exitStatus, text == "safe" ? 0 : 1);
        return text;
    };
    const World world;
    const std::vector<std::string> withBeta{"shared", "--targets", "target_path.xml", "--sku", "beta.xml"};
    EXPECT_EQ(verdict(world, withProducts), "safe");
    EXPECT_EQ(verdict(world, withBeta), "cannot tell");
    EXPECT_EQ(verdict(world, {"shared"}), "cannot tell");
    world.remove("shared/Looks/Grey.look");
    EXPECT_EQ(verdict(world, withBeta), "harm");
    EXPECT_EQ(verdict(world, withProducts), "harm");
    EXPECT_EQ(verdict(world, {"shared"}), "cannot tell");
}

TEST(StatusRules, ManyMissingFilesAreOneFindingForEachProductThatBringsThemBack) {
    const World world;
    world.remove("shared/Looks/Red.look");
    world.remove("shared/Looks/Grey.look"); // recorded with the build of the other product
    world.remove("content");
    const auto findings = world.findings();
    ASSERT_EQ(findings.size(), 2U);
    for (const Finding& finding : findings) {
        EXPECT_EQ(finding.rule, "missing-file");
        const bool bAlpha = finding.advice == "Install \"ALPHA\" again, which copies what is missing.";
        EXPECT_EQ(finding.paths.size(), bAlpha ? 2U : 1U) << finding.advice;
        EXPECT_EQ(finding.message.find("2 files of \"ALPHA\" are missing"), bAlpha ? 0U : std::string::npos);
    }
}

TEST(StatusRules, TheProductOfTheRecordedBuildIsToBeInstalledAgain) {
    for (const std::vector<std::string>& definitions :
         {std::vector<std::string>{"alpha.xml", "beta.xml"}, {"beta.xml", "alpha.xml"}}) {
        const World world;
        // "ALPHA" lists the file, too. It is older, so its install does not copy it.
        world.editRecord("<file fileName=\"Grey.look\" ref=\"2\" build=\"2.0.0.200\" />",
                         "<file fileName=\"Grey.look\" ref=\"2\" build=\"2.0.0.200\"><shortCut "
                         "name=\"Grey.look\" dir=\"" +
                             world.path("links").string() + "\"/></file>");
        auto findings = world.findingsWith(definitions);
        ASSERT_EQ(findings.size(), 1U) << definitions.front();
        EXPECT_EQ(findings[0].rule, "shortcut-missing");
        EXPECT_EQ(findings[0].advice,
                  "Install \"BETA\" again, which makes the shortcut when it copies the file.");

        world.remove("shared/Looks/Grey.look");
        findings = world.findingsWith(definitions);
        ASSERT_EQ(findings.size(), 1U) << definitions.front();
        EXPECT_EQ(findings[0].advice, "Install \"BETA\" again, which copies what is missing.");
    }
}

TEST(StatusRules, AWrongCountHasOneFinding) {
    for (const char* count : {"1", "3"}) {
        const World world;
        world.editRecord("fileName=\"Grey.look\" ref=\"2\"",
                         std::string("fileName=\"Grey.look\" ref=\"") + count + "\"");
        const auto findings = world.findings();
        ASSERT_EQ(findings.size(), 1U);
        EXPECT_EQ(findings[0].rule, "count-differs");
        EXPECT_EQ(findings[0].advice,
                  "Write ref=\"2\" there, or let InstallInspector rebuild make the record anew.");
    }
}

TEST(StatusRules, AProductThatOnlyTheListHasLostHasOneFinding) {
    const World world;
    world.editRecord("<sku ID=\"BETA\" name=\"Beta\" build=\"2.0.0.200\" />", "");
    const auto findings = world.findings();
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_NE(findings[0].advice.find("add <sku ID=\"BETA\" name=\"Beta\" build=\"2.0.0.200\"/>"),
              std::string::npos)
        << findings[0].advice;
    world.editRecord("</products>", "<sku ID=\"BETA\" name=\"Beta\" build=\"2.0.0.200\"/></products>");
    EXPECT_TRUE(world.findings().empty());
}

TEST(StatusRules, WhatIsInTheOldPlaceIsNotMissingInTheNewOne) {
    const World world;
    world.edit("target_path.xml", "<path value=\"" + world.path("").string() + "/content\"/>",
               "<path value=\"" + world.path("").string() +
                   "/content\"><condition type=\"Or\"/></path><path value=\"" + world.path("").string() +
                   "/new\"/>");
    const auto findings = world.findings();
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].rule, "left-behind");
    EXPECT_EQ(findings[0].paths, std::vector<std::string>{world.path("content/Paper.txt").string()});
}

TEST(StatusRules, WhatNoProductListsIsMovedAwayWhereItIsNobodysElse) {
    const std::string red = "<file fileName=\"Red.look\"/>";
    const auto expectOnlyFinding = [](const World& world, const std::string& advice,
                                      const std::string& path) {
        const auto findings = world.findings();
        ASSERT_EQ(findings.size(), 1U);
        EXPECT_EQ(findings[0].rule, "in-no-definition");
        EXPECT_EQ(findings[0].advice.find(advice), 0U) << findings[0].advice;
        EXPECT_EQ(findings[0].paths, std::vector<std::string>{path});
    };
    const World dropped;
    dropped.edit("alpha.xml", red, "");
    const std::string path = dropped.path("shared/Looks/Red.look").string();
    expectOnlyFinding(dropped, "Move away \"" + path + "\"", path);
    dropped.remove("shared/Looks/Red.look");
    expectOnlyFinding(dropped, "Let ", "VorlaneFX/Looks/Red.look");

    const World whole;
    whole.editRecord("<directory fileName=\"Glow.bundle\" ref=\"1\" />",
                     "<directory fileName=\"Glow.bundle\" ref=\"1\"><file fileName=\"a\" ref=\"1\" "
                     "build=\"1.0.0.100\"/></directory>");
    expectOnlyFinding(whole, "Let ", "Hosts/Edius/Glow/Glow.bundle/a");

    const World renamed;
    renamed.edit("alpha.xml", red, "");
    renamed.edit("alpha.xml", "Paper.txt", "Red.look");
    renamed.editRecord("Paper.txt", "Red.look");
    renamed.edit("target_path.xml", "/content\"", "/shared/Looks\"");
    expectOnlyFinding(renamed, "Let ", "VorlaneFX/Looks/Red.look");
}

TEST(StatusRules, BelowAFileOfTheRecordNothingIsEnteredAgain) {
    const World world;
    world.editRecord("<directory fileName=\"Glow.bundle\" ref=\"1\" />",
                     "<file fileName=\"Glow.bundle\" ref=\"1\" build=\"1.0.0.100\"/>");
    world.edit("alpha.xml", "<directory fileName=\"Glow.bundle\"/>",
               "<directory fileName=\"Glow.bundle\"><file fileName=\"a\"/></directory>");
    const auto findings = world.findings();
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].rule, "changed-kind");
}

TEST(StatusRules, AFileOfSeveralProductsIsEnteredByAll) {
    const World world;
    world.editRecord("<file fileName=\"Grey.look\" ref=\"2\" build=\"2.0.0.200\" />", "");
    const auto findings = world.findings();
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].advice,
              "Uninstall \"ALPHA\" and \"BETA\", and install them again: that counts all uses.");
}

TEST(StatusRules, AHomeThatCannotBeLookedIntoLeavesItOpen) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can start the program as another user";
    }
    const World world;
    world.edit("target_path.xml", world.path("content").string(), "%USER%/content");
    world.move("content", "homes/anna/content");
    world.write("homes/ben/content/Paper.txt", "as installed");
    fs::permissions(world.path(""), fs::perms(0755));
    const auto as = [&](uid_t user) {
        return run(
            world,
            {"shared", "--json", "--targets", "target_path.xml", "--sku", "alpha.xml", "--sku", "beta.xml"},
            [&, user] {
                setenv("HOME", world.path("homes/anna").c_str(), 1);
                static_cast<void>(setuid(user));
            });
    };
    const auto rulesOf = [](const ProgramResult& result) {
        std::set<std::string> rules;
        const auto document = nlohmann::json::parse(result.standardOutput);
        for (const auto& finding : document["findings"]) {
            rules.insert(finding["rule"]);
        }
        return rules;
    };
    constexpr uid_t nobody = 65534;
    EXPECT_EQ(rulesOf(as(0)), std::set<std::string>{"other-home"});
    EXPECT_EQ(rulesOf(as(nobody)), std::set<std::string>{"other-home"});
    fs::permissions(world.path("homes/ben"), fs::perms(0700));
    EXPECT_EQ(rulesOf(as(nobody)), std::set<std::string>{"hidden-home"});
    EXPECT_EQ(nlohmann::json::parse(as(nobody).standardOutput)["verdict"], "cannot tell");
    // It may be there: that is no advice to install again.
    world.remove("homes/anna/content");
    EXPECT_EQ(rulesOf(as(nobody)), std::set<std::string>{"hidden-home"});
    fs::permissions(world.path("homes/ben"), fs::perms(0755));
    world.remove("homes/ben/content");
    EXPECT_EQ(rulesOf(as(nobody)), std::set<std::string>{"missing-file"});
}

TEST(StatusCommand, ShowsProductsAndTheTree) {
    const World world;
    const auto result = run(world, {"shared"});
    EXPECT_EQ(result.standardOutput, R"(shared/InstallationStatusFile.xml

  product  name   build
  ALPHA    Alpha  1.0.0.100
  BETA     Beta   2.0.0.200

  uses  path                      build
     1  Content/
     1  └── Paper.txt             1.0.0.100
     1  Hosts/
     1  ├── Edius/
     1  │   └── Glow/
     1  │       ├── Glow.bundle/
     1  │       └── Glow.plugin   1.0.0.100
     1  └── OpenFX/
     1      └── Glow/
     1          └── Glow.ofx      1.0.0.100
     2  VorlaneFX/
     2  ├── Looks/
     2  │   ├── Grey.look         2.0.0.200
     1  │   └── Red.look          1.0.0.100
     1  └── Presets/
     1      └── Bright.preset     1.0.0.100

shared/InstallationStatusFile.xml: warning: without their definitions the products "ALPHA" and "BETA" could not be compared [not-compared]
    Whether the files are there and the counts right cannot be told.
    Give the definitions and target paths of all products with --sku and --targets.

0 errors, 1 warning
)");
    EXPECT_EQ(result.standardError, "");
    EXPECT_EQ(result.exitStatus, 1);
}

TEST(StatusCommand, TakesTheFolderFromTheTargets) {
    const World world;
    const auto elsewhere = run(world, {"--targets", "target_path.xml", "--sku", "beta.xml"});
    EXPECT_EQ(elsewhere.standardOutput.find(world.path("shared/InstallationStatusFile.xml").string()), 0U);
    const auto result = run(world, withProducts);
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_NE(result.standardOutput.find("Glow.ofx      1.0.0.100  no target here\n"), std::string::npos)
        << result.standardOutput;
    EXPECT_NE(result.standardOutput.find("\n  1 entry has no target path that applies on this machine.\n"
                                         "\nThe record and this machine agree.\n"),
              std::string::npos);
}

TEST(StatusCommand, MarksInTheTreeWhatIsNotThere) {
    const World world;
    world.remove("shared/Looks/Red.look");
    world.remove("Edius.app");
    const auto result = run(world, withProducts);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.standardOutput.find("Red.look          1.0.0.100  missing\n"), std::string::npos);
    EXPECT_NE(result.standardOutput.find("Glow.plugin   1.0.0.100  left behind\n"), std::string::npos);
    EXPECT_NE(result.standardOutput.find("\n2 errors, 0 warnings\n"), std::string::npos)
        << result.standardOutput;
}

TEST(StatusCommand, ReadsARecordByItself) {
    const World world;
    EXPECT_EQ(run(world, {"shared/InstallationStatusFile.xml"}).standardOutput,
              run(world, {"shared"}).standardOutput);
}

TEST(StatusCommand, SaysThatThereIsNoRecord) {
    const World world;
    world.remove("shared/InstallationStatusFile.xml");
    const auto result = run(world, {"shared"});
    EXPECT_EQ(result.standardOutput, "shared/InstallationStatusFile.xml\n\n"
                                     "  There is no record here: no product is installed.\n");
    EXPECT_EQ(result.exitStatus, 0);
}

TEST(StatusCommand, SaysThatARecordWithoutProductsHasNone) {
    const World world;
    world.write("shared/InstallationStatusFile.xml", "<install><products/><installFiles/></install>");
    const auto result = run(world, {"shared"});
    EXPECT_NE(result.standardOutput.find("\n  No product is installed.\n"), std::string::npos);
    EXPECT_EQ(result.exitStatus, 0);
}

TEST(StatusCommand, NamesWhatIsWrongInARecordThatCannotBeRead) {
    const World world;
    world.editRecord("</products>", "</product>");
    const auto result = run(world, {"shared"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.standardOutput.find("shared/InstallationStatusFile.xml\n\n"
                                         "  The record is there, but the engine cannot read it.\n\n"
                                         "shared/InstallationStatusFile.xml:5:5: error: the record cannot be "
                                         "read: <products> of line 2 is not closed when </product> comes "
                                         "[record-unreadable]\n"),
              0U)
        << result.standardOutput;
    // Without a record to compare with nothing else is said, whatever is given.
    EXPECT_NE(run(world, withProducts).standardOutput.find("\n1 error, 0 warnings\n"), std::string::npos);
}

TEST(StatusCommand, OfSeveralEntriesOfOneNameTheLastIsPrintedAtItsPlace) {
    const World world;
    world.write("shared/InstallationStatusFile.xml", R"(<install>
<products><sku ID="ALPHA" name="Alpha" build="1.0.0.100"/></products>
<installFiles>
  <file fileName="VorlaneFX" ref="1"/>
  <directory fileName="Content" ref="1"><file fileName="lost" ref="1"/></directory>
  <directory fileName="Content" ref="1">
    <file fileName="Paper.txt" ref="5"/><file fileName="a/b" ref="1"/>
  </directory>
  <directory fileName="VorlaneFX" ref="1"><file fileName="hidden" ref="1"/></directory>
</installFiles></install>)");
    std::string printedText;
    Record record;
    std::string error;
    ASSERT_TRUE(record.read(world.path("shared").string(), error)) << error;
    record.interpret();
    for (const Record::Node& node : record.nodes) {
        const Location where = record.at(node);
        printedText += toString(pathOf(node)) + " " + std::to_string(where.line) + ":" +
                       std::to_string(where.column) + "\n";
    }
    EXPECT_EQ(printedText, " 1:1\n"
                           "VorlaneFX 4:9\n"
                           "Content 6:14\n"
                           "Content/Paper.txt 7:11\n"
                           "Content/a/b 7:47\n");
    EXPECT_EQ(record.find("Content/Paper.txt"), &record.nodes[3]);
    EXPECT_EQ(record.find("Content"), &record.nodes[2]);
    for (const char* none : {"", "Content/", "/Content", "Content/lost", "VorlaneFX/hidden", "Paper.txt"}) {
        EXPECT_EQ(record.find(none), nullptr) << none;
    }
    // The engine looks for each component by itself, too.
    EXPECT_EQ(record.find("Content/a/b"), nullptr);
    EXPECT_EQ(record.content.getFileInfo("Content/a/b"), nullptr);
}

TEST(StatusCommand, ARecordThatOthersMayNotReadIsNoFinding) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "the superuser may read everything";
    }
    const World world;
    fs::permissions(world.path("shared/InstallationStatusFile.xml"), fs::perms::none);
    const auto result = run(world, {"shared"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_NE(result.standardError.find("Permission denied"), std::string::npos);
}

TEST(StatusCommand, PrintsJson) {
    const World world;
    world.remove("shared/Looks/Red.look");
    std::vector<std::string> arguments = withProducts;
    arguments.emplace_back("--json");
    const auto result = run(world, arguments);
    EXPECT_EQ(result.exitStatus, 1);
    const auto document = nlohmann::json::parse(result.standardOutput);
    EXPECT_EQ(document["record"], "shared/InstallationStatusFile.xml");
    EXPECT_EQ(document["verdict"], "harm");
    EXPECT_EQ(document["state"], "readable");
    ASSERT_EQ(document["products"].size(), 2U);
    EXPECT_EQ(document["products"][1],
              nlohmann::json({{"ID", "BETA"}, {"name", "Beta"}, {"build", "2.0.0.200"}}));
    ASSERT_EQ(document["entries"].size(), 16U);
    std::map<std::string, nlohmann::json> entries;
    for (const auto& entry : document["entries"]) {
        entries[entry["path"]] = entry;
    }
    EXPECT_EQ(entries["VorlaneFX/Looks/Red.look"],
              nlohmann::json({{"path", "VorlaneFX/Looks/Red.look"},
                              {"kind", "file"},
                              {"count", 1},
                              {"build", "1.0.0.100"},
                              {"condition", "missing"},
                              {"places", {world.path("shared/Looks/Red.look").string()}}}));
    EXPECT_EQ(entries["Hosts/OpenFX/Glow/Glow.ofx"]["condition"], "no target");
    EXPECT_EQ(entries["Hosts"], nlohmann::json({{"path", "Hosts"}, {"kind", "directory"}, {"count", 1}}));
    EXPECT_EQ(document["errors"], 1);
    EXPECT_EQ(document["warnings"], 0);
    ASSERT_EQ(document["findings"].size(), 1U);
    EXPECT_EQ(document["findings"][0]["rule"], "missing-file");
    EXPECT_EQ(document["findings"][0]["line"], 13);
    EXPECT_EQ(document["findings"][0]["column"], 23);
    EXPECT_EQ(document["findings"][0]["paths"],
              nlohmann::json({world.path("shared/Looks/Red.look").string()}));
    std::set<std::string> members;
    for (const auto& member : document.items()) {
        members.insert(member.key());
    }
    EXPECT_EQ(members, (std::set<std::string>{"record", "state", "verdict", "products", "entries", "errors",
                                              "warnings", "notes", "findings"}));
    members.clear();
    for (const auto& member : document["findings"][0].items()) {
        members.insert(member.key());
    }
    EXPECT_EQ(members, (std::set<std::string>{"file", "line", "column", "rule", "severity", "message",
                                              "consequence", "advice", "paths", "install"}));
}

TEST(StatusCommand, JsonNamesTheState) {
    const World world;
    world.write("shared/InstallationStatusFile.xml", "<install>");
    EXPECT_EQ(nlohmann::json::parse(run(world, {"shared", "--json"}).standardOutput)["state"], "unreadable");
    world.remove("shared/InstallationStatusFile.xml");
    EXPECT_EQ(nlohmann::json::parse(run(world, {"shared", "--json"}).standardOutput)["state"], "missing");
}

TEST(StatusCommand, TheEnginesLogStaysOut) {
    const World world;
    world.edit("target_path.xml", "/content\"/>", "/content\"/><path value=\"%REGKEY:broken%\"/>");
    std::vector<std::string> arguments = withProducts;
    arguments.emplace_back("--json");
    EXPECT_TRUE(nlohmann::json::accept(run(world, arguments).standardOutput));
}

TEST(StatusCommand, CannotRunWithoutWhatIsGiven) {
    const World world;
    world.write("broken.xml", "<product>");
    for (auto [arguments, message] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"nowhere"}, "nowhere is not an existing folder"},
             {{"--targets", "target_path.xml", "--sku", "nothing.xml"},
              "nothing.xml is not an existing file"},
             {{"--targets", "nothing.xml", "--sku", "alpha.xml"}, "nothing.xml is not an existing file"},
             {{"--targets", "target_path.xml", "--sku", "broken.xml"},
              "broken.xml:1:10: not well-formed: <product> of line 1 is not closed when the file ends"},
             {{"--targets", "target_path.xml", "--sku", "target_path.xml"},
              "target_path.xml:1:1: no element <product> at the top of the document"},
         }) {
        const auto result = run(world, arguments);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_EQ(result.standardError, "InstallInspector: " + message + "\n");
        arguments.emplace_back("--json");
        const auto document = nlohmann::json::parse(run(world, arguments).standardOutput);
        EXPECT_EQ(document, (nlohmann::json{{"verdict", "cannot tell"}, {"error", message}}));
    }
    world.edit("target_path.xml", "/shared\"/>", "/shared\"><condition type=\"Or\"/></path>");
    const auto result = run(world, {"--targets", "target_path.xml", "--sku", "alpha.xml"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_NE(result.standardError.find("gives no folder for VorlaneFX on this machine"), std::string::npos);
}

TEST(StatusCommand, BadUsageGoesToStandardError) {
    const World world;
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--sku", "alpha.xml"},
          {"--targets", "target_path.xml"},
          {"--sku"},
          {"shared", "shared"},
          {"--colour"},
          {"--targets", "a", "--targets", "b", "--sku", "alpha.xml"}}) {
        const auto result = run(world, arguments);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_NE(result.standardError, "");
    }
}

TEST(StatusCommand, TakesTargetsForEachProduct) {
    const World world;
    world.write("other.xml",
                World::replaced(FileTree::read(world.path("target_path.xml")), "/shared\"", "/beta\""));
    const auto result = run(world, {"--targets", "target_path.xml", "--sku", "alpha.xml", "--targets",
                                    "other.xml", "--sku", "beta.xml"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.standardOutput.find("[several-folders]"), std::string::npos);
}

TEST(StatusCommand, WhatATerminalWouldObeyIsEscaped) {
    const World world;
    world.editRecord("Paper.txt", "Pa\x1b[31mper\xC2\x9B.txt");
    const auto result = run(world, {"shared"});
    EXPECT_EQ(result.standardOutput.find('\x1b'), std::string::npos);
    EXPECT_NE(result.standardOutput.find("Pa\\x1b[31mper\\xc2\\x9b.txt"), std::string::npos);
}

TEST(StatusCommand, ColoursATerminalOnly) {
    const World world;
    world.remove("shared/Looks/Red.look");
    std::vector<std::string> command = {INSTALLINSPECTOR_PROGRAM, "status"};
    for (const std::string& argument : withProducts) {
        command.push_back(argument.rfind("--", 0) == 0 ? argument : world.path(argument).string());
    }
    {
        const ScopedEnvironment colour("NO_COLOR", std::nullopt);
        EXPECT_NE(Terminal(command, 60s).finish().standardOutput.find("\x1b[1;31mmissing\x1b[0m"),
                  std::string::npos);
    }
    const ScopedEnvironment noColour("NO_COLOR", "1");
    EXPECT_EQ(Terminal(command, 60s).finish().standardOutput.find('\x1b'), std::string::npos);
    EXPECT_EQ(run(world, withProducts).standardOutput.find('\x1b'), std::string::npos);
}

TEST(StatusCommand, ChangesNothing) {
    const World world;
    world.remove("shared/Looks");
    world.remove("Edius.app");
    world.write("shared/InstallationStatusFile.xml.new", "<inst");
    const auto before = FileTree::describe(world.path(""));
    run(world, withProducts);
    run(world, {"shared", "--json"});
    world.editRecord("</install>", "");
    const auto broken = FileTree::describe(world.path(""));
    run(world, {"shared"});
    EXPECT_EQ(FileTree::describe(world.path("")), broken);
    world.write("shared/InstallationStatusFile.xml", recordText);
    EXPECT_EQ(FileTree::describe(world.path("")), before);
}

TEST(StatusCommand, HostileRecordsNeitherCrashItNorMakeItHang) {
    constexpr unsigned long many = bAddressSanitizer ? 2000 : 10000; // how the time grows is seen without it
    const World world;
    const std::string start = "<install><products/><installFiles>";
    const std::string end = "</installFiles></install>";
    for (const std::string& text :
         {start + repeat("<directory fileName='d' ref='1'>", 990) + repeat("</directory>", 990) + end,
          start + repeat("<file fileName='f' ref='9'/>", many) + end, repeat("<install>", 100000),
          start + "<file fileName='" + std::string(many * 100, 'x') + "' ref='1'/>" + end,
          "<install><products>" + repeat("<sku/>", many) + "</products></install>", std::string("\0\0", 2),
          std::string("<!--"), start + "<file fileName='a/b' ref='-99999999999999999999'/>" + end}) {
        SCOPED_TRACE(text.substr(0, 80));
        world.write("shared/InstallationStatusFile.xml", text);
        for (const bool bJson : {false, true}) {
            std::vector<std::string> arguments = withProducts;
            if (bJson) {
                arguments.emplace_back("--json");
            }
            const auto result = run(world, arguments);
            EXPECT_FALSE(result.bTimedOut);
            EXPECT_EQ(result.signal, 0);
            EXPECT_EQ(result.exitStatus, 1);
        }
    }
}
