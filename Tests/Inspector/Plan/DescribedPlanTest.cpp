// Plans for described machines. The program itself plans, so that what it takes from this machine would show.
#include "Tests/Support/FileTree.h"
#include "Tests/Support/ProductBuilder.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallInspector/Plan/PlannedMachine.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

class DescribedPlan : public testing::Test {
protected:
    static constexpr const char* shared = "/Library/Application Support/Vorlane";

    static ProductBuilder product(const std::string& id, const std::string& name) {
        return ProductBuilder(id, name).family("Blur").target("VorlaneFX", shared).file("VorlaneFX/f", "f");
    }
    void place(const ProductBuilder& product) const { product.writeTo(folder.path() / product.id()); }

    ProgramResult inspect(const std::vector<std::string>& arguments,
                          std::map<std::string, std::string> environment = {}) const {
        std::vector<std::string> command{INSTALLINSPECTOR_PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        ProgramOptions options;
        environment.try_emplace("PATH", "/usr/bin:/bin");
        options.environment = environment;
        options.workingFolder = folder.path();
        return runProgram(command, options);
    }
    /// The plan of an install on the machine with this text.
    ProgramResult plan(const std::string& id, const std::string& machine,
                       std::vector<std::string> more = {}) const {
        FileTree::write(folder.path() / "machine.json", machine);
        more.insert(more.begin(), {"plan", "--machine", "machine.json"});
        if (more.back() != "--uninstall") {
            more.push_back(id + "/files");
        }
        more.insert(more.end(), {id + "/sku.xml", id + "/target_path.xml"});
        return inspect(more);
    }
    /// The lines of a plan that begin so, without their blanks.
    static std::vector<std::string> linesWith(const ProgramResult& result, const std::string& beginning) {
        std::vector<std::string> lines;
        std::istringstream stream(result.standardOutput);
        for (std::string line; std::getline(stream, line);) {
            line.erase(0, line.find_first_not_of(' '));
            if (line.rfind(beginning, 0) == 0) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    TemporaryDirectory folder;
};

using Lines = std::vector<std::string>;

} // namespace

// Nothing of this machine

TEST_F(DescribedPlan, HasOnlyWhatIsDescribed) {
    place(product("ALPHA", "Alpha")
              .file("Content/a", "a")
              .target("Content", "/usr/Vorlane", pathExists("/usr"))
              .target("Content", "/tmp/Vorlane", fileExists("/etc/passwd"))
              .target("Content", "/Described/Vorlane",
                      allOf({pathExists("/Described"), fileExists("/Described/file")})));
    const ProgramResult result = plan("ALPHA", R"({"files": ["/Described/file"]})");
    EXPECT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    EXPECT_EQ(linesWith(result, "since "),
              (Lines{"since /usr is not there", "since /etc/passwd is not there",
                     "since /Described is a folder and /Described/file is a file"}));
    EXPECT_EQ(linesWith(result, "make "),
              (Lines{"make     /Library", "make     /Library/Application Support",
                     std::string("make     ") + shared, "make     /Described/Vorlane",
                     "make     /Applications", "make     /Applications/Vorlane Uninstallers"}));
}

TEST_F(DescribedPlan, IsTheSameForEveryEnvironmentAndFolder) {
    place(product("ALPHA", "Alpha")
              .file("VorlaneFX/Looks/a", "a")
              .folder("VorlaneFX/Whole")
              .unlistedFile("VorlaneFX/Whole/b", "b")
              .target("Content", "/Users/%USER%/%REGKEY:Host::Folder%")
              .target("Content", "relative")
              .file("Content/c", "c"));
    const std::string machine =
        R"({"home": "/Users/anna", "preferences": {"Host": {"Folder": "Movies"}}, "folders": ["/Users/berta"]})";
    const ProgramResult first = plan("ALPHA", machine, {"--json"});
    // Another place of the files, a tool and a home of this machine, and folders where relative paths lead.
    TemporaryDirectory other;
    fs::copy(folder.path(), other.path() / "deep", fs::copy_options::recursive);
    fs::create_directories(other.path() / "deep/relative/c");
    fs::create_directories(other.path() / "home/Movies");
    FileTree::write(other.path() / "tools/ditto", "#!/bin/sh\n", 0755);
    ProgramOptions options;
    options.workingFolder = other.path() / "deep";
    options.environment = {{"HOME", (other.path() / "home").string() + ";ls"},
                           {"PATH", (other.path() / "tools").string() + ":/usr/bin:/bin"},
                           {"LC_ALL", "C.UTF-8"},
                           {"TZ", "Asia/Tokyo"}};
    const ProgramResult second =
        runProgram({INSTALLINSPECTOR_PROGRAM, "plan", "--machine", "machine.json", "--json", "ALPHA/files",
                    "ALPHA/sku.xml", "ALPHA/target_path.xml"},
                   options);
    EXPECT_EQ(first.standardOutput, second.standardOutput);
    EXPECT_EQ(first.standardError + second.standardError, "");
    EXPECT_NE(first.standardOutput.find("ditto \\\"ALPHA/files/VorlaneFX/Whole\\\""), std::string::npos);
    EXPECT_NE(first.standardOutput.find("\"/Users/anna/Movies/c\""), std::string::npos);
    EXPECT_EQ(first.standardOutput.find("tmp"), std::string::npos) << "a path of this machine";
    EXPECT_EQ(first.standardOutput.find("\"action\": \"fail\""), std::string::npos)
        << "relative paths lead somewhere";
}

TEST_F(DescribedPlan, KnowsTheSourceByTheListsOfItsFolders) {
    // A disk that does not tell "Look" from "look" would answer for both. The lists that were read first
    // tell.
    FileTree::write(folder.path() / "files/VorlaneFX/look", "a");
    const std::string files = folder.path() / "files";
    PlannedMachine machine{MachineDescription()};
    machine.give(files);
    FileTree::write(files + "/VorlaneFX/Look", "b");
    EXPECT_EQ(machine.typeOf((files + "/VorlaneFX/look").c_str()), S_IFREG);
    EXPECT_EQ(machine.typeOf((files + "/VorlaneFX/Look").c_str()), 0U);
    EXPECT_EQ(machine.namesIn((files + "/VorlaneFX").c_str()).size(), 1U);
    EXPECT_EQ(machine.namesIn("/").size(), 0U) << "nobody lists what is given";
}

TEST_F(DescribedPlan, HasDittoUnlessItIsSaidThatThereIsNone) {
    place(product("ALPHA", "Alpha").folder("VorlaneFX/Whole").unlistedFile("VorlaneFX/Whole/a", "a"));
    EXPECT_EQ(linesWith(plan("ALPHA", "{}", {"--commands"}), "ditto").size(), 1U);
    EXPECT_EQ(linesWith(plan("ALPHA", R"({"ditto": true})", {"--commands"}), "ditto").size(), 1U);
    EXPECT_EQ(linesWith(plan("ALPHA", R"({"ditto": false})", {"--commands"}),
                        "mkdir -p \"/Library/Application Support/Vorlane/Whole\" && cp -a")
                  .size(),
              1U);
}

TEST_F(DescribedPlan, TakesArgumentsThatTheMachineHasFromThere) {
    const ProductBuilder alpha = product("ALPHA", "Alpha").file("VorlaneFX/a", "a");
    place(alpha);
    std::string text = alpha.definition();
    for (std::size_t at = 0; (at = text.find_first_of("\"\n", at)) != std::string::npos; at += 2) {
        text.replace(at, 1, text[at] == '\n' ? "\\n" : "\\\"");
    }
    FileTree::write(folder.path() / "machine.json",
                    R"({"files": [{"path": "/a/sku.xml", "text": ")" + text + "\"}]}");
    const ProgramResult result =
        inspect({"plan", "--machine", "machine.json", "ALPHA/files", "/a/sku.xml", "ALPHA/target_path.xml"});
    EXPECT_EQ(linesWith(result, "Install "), Lines{"Install Alpha 1.0.0.100 (ALPHA)"})
        << result.standardError;
}

// What is described

TEST_F(DescribedPlan, KnowsFilesLinksAndOthersAsTheyWereBeforeTheRun) {
    place(product("ALPHA", "Alpha")
              .file("VorlaneFX/foreign", "a")
              .file("VorlaneFX/folder", "a")
              .file("VorlaneFX/Guide.html", "a")
              .shortCut("VorlaneFX/Guide.html", "Guide.html")
              .file("Content/c", "c")
              .target("Content", "/Content", pathExists("/odd")));
    const ProgramResult result = plan("ALPHA", R"({
        "folders": ["/Library/Application Support/Vorlane/folder"],
        "files": ["/Library/Application Support/Vorlane/foreign"],
        "links": {"/Applications/Guide.html": "/elsewhere"},
        "others": ["/odd"]})");
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(linesWith(result, "since "), Lines{"since /odd is neither a file nor a folder"});
    for (const char* rule : {"[unrecorded-file]", "[folder-for-file]", "[shortcut]"}) {
        EXPECT_NE(result.standardOutput.find(rule), std::string::npos) << rule << result.standardOutput;
    }
}

TEST_F(DescribedPlan, LooksIntoTheHomesOfOtherUsers) {
    place(product("ALPHA", "Alpha")
              .file("Content/a", "a")
              .target("Content", "%REGKEY:Host::Folder%", valueExists("Host", "Folder")));
    const std::string installed =
        R"("products": [{"definition": "ALPHA/sku.xml", "targets": "ALPHA/target_path.xml"}])";
    const std::string other = R"("otherUsers": [{"home": "/Users/berta",
        "preferences": {"Host": {"Folder": "/Berta"}}}], "files": ["/Berta/a"], "home": "/Users/anna")";
    const ProgramResult result = plan("ALPHA", "{" + other + ", " + installed + "}", {"--uninstall"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.standardOutput.find("/Berta/a"), std::string::npos) << result.standardOutput;
    EXPECT_EQ(plan("ALPHA", R"({"home": "/Users/anna", )" + installed + "}", {"--uninstall"}).exitStatus, 0);
}

TEST_F(DescribedPlan, FillsInTheNamesOfOtherUsersWhateverTheOwnHomeIs) {
    place(product("ALPHA", "Alpha").file("Content/a", "a").target("Content", "/Users/%USER%/Movies"));
    // A home that the shell would act on counts as none.
    const ProgramResult result = plan("ALPHA", R"({"home": "/Users/a;b", "files": ["/Users/berta/Movies/a"],
        "products": [{"definition": "ALPHA/sku.xml", "targets": "ALPHA/target_path.xml"}]})",
                                      {"--uninstall"});
    EXPECT_NE(result.standardOutput.find("left     /Users/berta/Movies/a  it is another user's"),
              std::string::npos)
        << result.standardOutput;
}

TEST_F(DescribedPlan, ReadsPreferencesWhereTheShellHasTheHome) {
    place(product("ALPHA", "Alpha").file("Content/a", "a").target("Content", "%REGKEY:Host/A::Folder%"));
    const std::string preferences = R"("preferences": {"host.a": {"Folder": "/Movies"}})";
    for (const char* home :
         {R"("home": "/Users/anna")", R"("home": "/var/root", "accountHome": "/var/root/x")",
          R"("accountHome": "/Users/anna")"}) {
        const ProgramResult result = plan("ALPHA", std::string("{") + home + ", " + preferences + "}");
        EXPECT_EQ(linesWith(result, "/Movies"), Lines{"/Movies"}) << home << result.standardOutput;
    }
}

TEST_F(DescribedPlan, InstallsTheProductsInTheirOrder) {
    const auto build = [](const std::string& number) {
        return product("ALPHA", "Alpha").build(number).file("VorlaneFX/a", "a");
    };
    place(product("COMMON", "Common")
              .file("VorlaneFX/SKU/COMMON.xml", "")
              .listedFile("VorlaneFX/Common/ApplicationManager.app")
              .unlistedFile("VorlaneFX/Common/ApplicationManager.app/Contents/x", ""));
    place(build("1.0.0.100").file("VorlaneFX/dropped", "b"));
    fs::rename(folder.path() / "ALPHA", folder.path() / "old");
    place(build("1.0.0.200"));
    const std::string common = R"({"definition": "COMMON/sku.xml", "targets": "COMMON/target_path.xml"})";
    const std::string old = R"({"definition": "old/sku.xml", "targets": "old/target_path.xml"})";
    const ProgramResult upgrade = plan("ALPHA", R"({"products": [)" + common + ", " + old + "]}");
    EXPECT_EQ(linesWith(upgrade, "replace "), (Lines{"replace  a  build 1.0.0.200 in place of 1.0.0.100",
                                                     "replace  f  build 1.0.0.200 in place of 1.0.0.100"}));
    EXPECT_NE(upgrade.standardOutput.find("[dropped-path]"), std::string::npos) << upgrade.standardOutput;
    // The shared package has left its own definition, by which it goes with the last product.
    const std::string now = R"({"definition": "ALPHA/sku.xml", "targets": "ALPHA/target_path.xml"})";
    const ProgramResult last =
        plan("ALPHA", R"({"products": [)" + common + ", " + now + "]}", {"--uninstall"});
    EXPECT_EQ(last.exitStatus, 0) << last.standardOutput;
    EXPECT_EQ(linesWith(last, "Uninstall "),
              (Lines{"Uninstall Alpha 1.0.0.200 (ALPHA)", "Uninstall Common 1.0.0.100 (COMMON)"}));
}

TEST_F(DescribedPlan, TakesFilesThatAreFoldersForWhatTheyAre) {
    FileTree::write(folder.path() / "ALPHA/sku.xml",
                    R"(<product><sku ID="ALPHA" name="Alpha" build="1.0.0.1"/><installFiles>
<directory fileName="VorlaneFX"><file fileName="A.bundle"/><file fileName="B.prm"><part path="Contents/x" size="1"
sha256="2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824"/></file><file fileName="c"/></directory>
</installFiles></product>)");
    FileTree::write(folder.path() / "ALPHA/target_path.xml", product("", "").targets());
    const ProgramResult result = plan(
        "ALPHA", R"({"products": [{"definition": "ALPHA/sku.xml", "targets": "ALPHA/target_path.xml"}]})",
        {"--commands", "--uninstall"});
    EXPECT_EQ(linesWith(result, "rm "),
              (Lines{"rm -rf \"/Library/Application Support/Vorlane/A.bundle\"",
                     "rm -rf \"/Library/Application Support/Vorlane/B.prm\"",
                     "rm -f \"/Library/Application Support/Vorlane/c\"",
                     "rm -f \"/Library/Application Support/Vorlane/InstallationStatusFile.xml\""}));
}

// What no plan can be made for

TEST_F(DescribedPlan, AFolderThatWasInstalledWholeIsNotEmpty) {
    place(product("ALPHA", "Alpha").folder("VorlaneFX/A.bundle"));
    place(product("BETA", "Beta").folder("VorlaneFX/A.bundle"));
    const ProgramResult result =
        plan("ALPHA",
             R"({"products": [{"definition": "ALPHA/sku.xml", "targets": "ALPHA/target_path.xml"},
                              {"definition": "BETA/sku.xml", "targets": "BETA/target_path.xml"}]})",
             {"--uninstall"});
    EXPECT_EQ(linesWith(result, "keep     A.bundle").size(), 1U) << result.standardOutput;
    EXPECT_EQ(result.exitStatus, 0) << "the other product would lose it";
}

TEST_F(DescribedPlan, EndsInOneLineWithoutAUsableDescription) {
    place(product("ALPHA", "Alpha").file("VorlaneFX/a", "a"));
    FileTree::write(folder.path() / "malformed.xml", "<product>");
    const std::string products = R"({"products": [{"definition": ")";
    const std::pair<std::string, std::string> cases[] = {
        {"",
         "it is no JSON: parse error at line 1, column 1: syntax error while parsing value - unexpected end "
         "of input; expected '[', '{', or a literal"},
        {products + R"(missing.xml", "targets": "ALPHA/target_path.xml"}]})",
         "products[0]: missing.xml is not an existing file"},
        {products + R"(malformed.xml", "targets": "ALPHA/target_path.xml"}]})",
         "products[0]: malformed.xml:1:10: not well-formed: <product> of line 1 is not closed when the file "
         "ends"},
        {products + R"(ALPHA/sku.xml", "targets": "."}]})", "products[0]: . is a folder"},
        {products + R"(ALPHA/sku.xml", "targets": "ALPHA/target_path.xml"}],
            "files": ["/Library/Application Support"]})",
         "products[0]: ALPHA/sku.xml cannot be installed on the described machine: Error: Failed to copy "
         "'VorlaneFX/a' to '/Library/Application Support/Vorlane/a'"},
    };
    for (const auto& [machine, message] : cases) {
        const ProgramResult result = plan("ALPHA", machine);
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_EQ(result.standardError, "InstallInspector: machine.json: " + message + "\n");
    }
    for (const auto& [file, why] :
         {std::pair("missing.json", "No such file or directory"), std::pair(".", "it is no file")}) {
        const ProgramResult result =
            inspect({"plan", "--machine", file, "ALPHA/files", "ALPHA/sku.xml", "ALPHA/target_path.xml"});
        EXPECT_EQ(result.exitStatus, 2);
        EXPECT_EQ(result.standardError, std::string("InstallInspector: ") + file + ": " + why + "\n");
    }
}

TEST_F(DescribedPlan, ChangesNothingThatItIsGiven) {
    place(product("ALPHA", "Alpha").file("Content/a", "a").target("Content", "ALPHA/files/Content"));
    const ProgramResult result = plan("ALPHA", "{}");
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_NE(result.standardError.find("the run would change what it is given"), std::string::npos)
        << result.standardError;
}
