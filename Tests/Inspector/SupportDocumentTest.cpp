// The steps of Docs/support.md, on machines that are damaged in every way that the page knows. The test does
// what the page says, with its commands, until "status" agrees; then the machine is compared with a whole
// one.
#include "Platform/Digest.h"
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/Sources.h"
#include "Utility/InstallInspector/Status/Status.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;

const std::string sharedFolder = "/Library/Application Support/Vorlane";
const std::string record = sharedFolder + "/InstallationStatusFile.xml";
const std::string sharedDefinition = sharedFolder + "/SKU/COMMON.xml";
const std::string uninstallers = "/Applications/Vorlane Uninstallers";
const std::string managerLink = "/Applications/Vorlane Application Manager.app";
const std::string host = "/Applications/OpenFX.app";
const std::string plugin = "/Library/OFX/Vorlane/Glow/Alpha.ofx.bundle";

// The page

std::string thePage() {
    return FileTree::read(inSources("Docs/support.md"));
}

std::string sectionOf(const std::string& heading) {
    const std::string page = thePage();
    const std::size_t begin = page.find("\n## " + heading + "\n");
    EXPECT_NE(begin, std::string::npos) << "the page has no section " << heading;
    return begin == std::string::npos ? "" : page.substr(begin, page.find("\n## ", begin + 1) - begin);
}

/// The indented lines of the section, as one script.
std::string commandsOf(const std::string& heading) {
    std::istringstream lines(sectionOf(heading));
    std::string commands;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("    ", 0) == 0) {
            commands += line.substr(4) + "\n";
        }
    }
    return commands;
}

std::string firstCommandOf(const std::string& heading) {
    const std::string commands = commandsOf(heading);
    return commands.substr(0, commands.find('\n'));
}

/// What stands between `mark` and the next `end` in the text; empty when it does not.
std::string between(const std::string& text, const std::string& mark, const std::string& end) {
    const std::size_t begin = text.find(mark);
    if (begin == std::string::npos) {
        return "";
    }
    const std::size_t from = begin + mark.size();
    return text.substr(from, text.find(end, from) - from);
}

/// A row of the table that leads from a finding to a section.
struct Row {
    std::string rule;
    std::string advice; ///< its beginning
    std::string section;
};

std::vector<Row> rowsOfThePage() {
    std::istringstream lines(sectionOf("Second step"));
    std::vector<Row> rows;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("| `", 0) == 0) {
            rows.push_back({between(line, "`", "`"), between(line, "\"", "\""), between(line, "[", "]")});
        }
    }
    return rows;
}

// The products

std::string manifestOf(const std::string& content) {
    Sha256 digest;
    digest.add(content.data(), content.size());
    return "size=\"" + std::to_string(content.size()) + "\" sha256=\"" + digest.finish() + "\"";
}

ProductBuilder::Attributes manifest(const std::string& content) {
    const std::string text = manifestOf(content);
    return {{"size", between(text, "size=\"", "\"")}, {"sha256", between(text, "sha256=\"", "\"")}};
}

void addFile(ProductBuilder& product, const std::string& path, const std::string& content) {
    product.file(path, content, manifest(content));
}

/// With a plug-in that is copied whole, a host, a user's folder, a shortcut, and a file that BETA has, too.
ProductBuilder alpha(const std::string& build = "1.0.0.100") {
    const std::string content = "plug-in of " + build;
    ProductBuilder product("ALPHA", "Alpha");
    product.build(build).family("Glow");
    addFile(product, "VorlaneFX/Looks/Grey.look", "grey of ALPHA " + build);
    addFile(product, "VorlaneFX/Alpha/Guide.html", "guide of " + build);
    addFile(product, "Hosts/Edius/Glow/Alpha.plugin", content);
    addFile(product, "Content/Alpha.txt", "content of " + build);
    product.shortCut("VorlaneFX/Alpha/Guide.html", "Alpha Guide.html")
        .listedFolder("Hosts/OpenFX/Glow/Alpha.ofx.bundle")
        .unlistedFile("Hosts/OpenFX/Glow/Alpha.ofx.bundle/Contents/Alpha", content)
        .target("VorlaneFX", sharedFolder)
        .target("Content", "/Users/%USER%/Vorlane")
        .target("Hosts/Edius", "/Library/Edius/Vorlane/%FAMILY%")
        .target("Hosts/OpenFX", "/Library/OFX/Vorlane/%FAMILY%", pathExists(host));
    std::string definition = product.definition();
    const std::string bundle = "fileName=\"Alpha.ofx.bundle\">";
    definition.insert(definition.find(bundle) + bundle.size(),
                      "<part path=\"Contents/Alpha\" " + manifestOf(content) + "/>");
    return product.definitionText(definition);
}

/// Has a newer build of the file in common.
ProductBuilder beta() {
    ProductBuilder product("BETA", "Beta");
    product.build("2.0.0.200").target("VorlaneFX", sharedFolder);
    addFile(product, "VorlaneFX/Looks/Grey.look", "grey of BETA");
    addFile(product, "VorlaneFX/Beta/Own.look", "own");
    return product;
}

ProductBuilder common() {
    ProductBuilder product("COMMON", "Shared");
    product.build("1.0.0.300").listedFile("VorlaneFX/SKU/COMMON.xml").target("VorlaneFX", sharedFolder);
    addFile(product, "VorlaneFX/Common/ApplicationManager.app/Contents/Info.plist", "manager");
    const std::string definition = product.definition();
    return product.unlistedFile("VorlaneFX/SKU/COMMON.xml", definition);
}

/// What the support engineer has: the products of the customer, each in the newest build that was installed.
class SupportDocument : public EndToEndTest {
public:
    using Json = nlohmann::json;

    const PrivateRoot& disk() { return root(); }
    void change(const std::string& path, const std::function<std::string(std::string)>& edit) {
        root().write(path, edit(root().read(path)));
    }
    void edit(const std::string& path, const std::string& from, const std::string& to) {
        change(path, [&](std::string text) {
            const std::size_t at = text.find(from);
            EXPECT_NE(at, std::string::npos) << from << " in " << text;
            return at == std::string::npos ? text : text.replace(at, from.size(), to);
        });
    }
    void cut(const std::string& path) {
        change(path, [](const std::string& text) { return text.substr(0, text.size() / 2); });
    }
    void lose(const std::string& path) {
        EXPECT_TRUE(root().exists(path)) << path;
        root().remove(path);
    }
    void link(const std::string& target, const std::string& path) {
        fs::create_symlink(target, root().outside(path));
    }
    void install(const ProductBuilder& product, const std::string& user = "anna") {
        place(product);
        ExpectSuccess(RunFor(user, installCommand(product)));
    }
    /// The run is killed by its first `command` whose arguments hold `what`.
    void killRun(const std::vector<std::string>& run, const std::string& command, const std::string& what);
    static std::vector<std::string> installing(const ProductBuilder& product) {
        return installCommand(product);
    }
    static std::vector<std::string> uninstalling(const ProductBuilder& product) {
        return uninstallCommand(product);
    }

protected:
    /// What the customer should have. The first is what was in hand last.
    void setCustomersProducts(const std::vector<ProductBuilder>& products) {
        customersProducts = products;
        for (const ProductBuilder& product : products) {
            place(product);
        }
    }

    bool comparesPlans() const override { return false; }

    void SetUp() override {
        EndToEndTest::SetUp();
        if (!IsSkipped()) {
            prepare({alpha(), beta(), common()});
        }
    }

    void prepare(const std::vector<ProductBuilder>& products) {
        root().makeFolder("/var/tmp");
        root().makeFolder(host);
        setCustomersProducts(products);
        for (const ProductBuilder& product : products) {
            install(product);
        }
    }

    /// What is on the machine but for the folders of the page's own; the record without the order of
    /// products, on which nothing depends.
    Lines machine() {
        Lines lines = root().tree();
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](const std::string& line) {
                                       return line.rfind("/var/tmp", 0) == 0 ||
                                              line.rfind(record + ": ", 0) == 0 || line.back() == '/';
                                   }),
                    lines.end());
        if (!fs::is_directory(root().outside(record))) {
            for (const std::string& line : counts()) {
                lines.push_back("in the record: " + line);
            }
        }
        return lines;
    }

    ProgramResult runScript(std::string script, const std::map<std::string, std::string>& words = {}) {
        for (const auto& [word, meaning] : words) {
            for (std::size_t at = 0; (at = script.find(word, at)) != std::string::npos;) {
                script.replace(at, word.size(), meaning);
                at += meaning.size();
            }
        }
        return root().run({"/bin/sh", "-e", "-c", script});
    }
    void follow(const std::string& heading, const std::map<std::string, std::string>& words) {
        const ProgramResult result = runScript(commandsOf(heading), words);
        EXPECT_EQ(result.exitStatus, 0)
            << heading << "\n"
            << commandsOf(heading) << result.standardOutput << result.standardError;
    }

    void followInstallAgain(const ProductBuilder& product) {
        const std::string folder = folderOf(product);
        follow("Install again", {{"ENGINE", PrivateRoot::program}, {"PRODUCT", folder}});
    }
    void followUninstall(const ProductBuilder& product) {
        follow("Uninstall", {{"NAME", product.productName()}});
    }

    /// The product that the advice names, else the one that the customer had in hand last.
    const ProductBuilder& productOf(const std::string& advice) const {
        for (const ProductBuilder& product : customersProducts) {
            const std::string common = product.id() == "COMMON" ? "the shared package" : "";
            if (advice.find("\"" + product.id() + "\"") != std::string::npos ||
                advice.find("\"" + product.productName() + "\"") != std::string::npos ||
                (!common.empty() && advice.find(common) != std::string::npos)) {
                return product;
            }
        }
        EXPECT_THAT(advice, testing::StartsWith("Do the last install or uninstall again"));
        return customersProducts.front();
    }

    void followFirstStep() {
        const std::string there = runScript(firstCommandOf("First step")).standardOutput;
        for (const ProductBuilder& product : customersProducts) {
            const std::string uninstaller = "Uninstall " + product.productName() + ".app\n";
            if (product.id() != "COMMON" && there.find(uninstaller) == std::string::npos) {
                followInstallAgain(product);
            }
        }
    }

    /// The uppermost row that is for one of the findings, with that finding.
    std::optional<std::pair<Row, Json>> uppermost(const Json& findings) const {
        for (const Row& row : rows) {
            for (const Json& finding : findings) {
                if (finding["rule"] == row.rule &&
                    finding["advice"].get<std::string>().rfind(row.advice, 0) == 0) {
                    return std::make_pair(row, finding);
                }
            }
        }
        return std::nullopt;
    }

    Json statusOfThePage() {
        const ProgramResult result = runScript(firstCommandOf("Second step") + " --json");
        Json status = Json::parse(result.standardOutput, nullptr, false);
        EXPECT_EQ(result.exitStatus, status["verdict"] == "safe" ? 0 : 1) << result.standardError;
        return status;
    }

    /// The rules that led to the sections, in the order of the rounds.
    std::vector<std::string> followThePage() {
        followFirstStep();
        std::vector<std::string> rules;
        constexpr int mostRounds = 12;
        for (int round = 0; round < mostRounds && !HasFailure(); ++round) {
            const Json status = statusOfThePage();
            if (status["verdict"] == "safe") {
                return rules;
            }
            const auto next = uppermost(status["findings"]);
            if (!next.has_value()) {
                ADD_FAILURE() << "the page leads nowhere from\n" << status["findings"].dump(2);
                return rules;
            }
            const auto& [row, finding] = *next;
            rules.push_back(row.rule);
            followSection(row.section, finding, fs::path(status["record"].get<std::string>()).parent_path());
        }
        ADD_FAILURE() << "the page comes to no end: " << testing::PrintToString(rules);
        return rules;
    }

    /// Programs, which cannot read the advice, have a member for the product that is to be installed.
    void expectInstallIsNamed(const std::string& section, const Json& finding) const {
        const std::set<std::string> withoutProduct = {"unfinished-save", "uninstaller-incomplete"};
        if (finding.contains("install")) {
            EXPECT_EQ(section, "Install again");
            EXPECT_EQ(finding["install"], productOf(finding["advice"]).id());
        } else if (section == "Install again") {
            EXPECT_THAT(withoutProduct, testing::Contains(finding["rule"]));
        }
    }

    void followSection(const std::string& section, const Json& finding,
                       const std::string& folderOfTheRecord) {
        SCOPED_TRACE(finding.dump(2));
        expectInstallIsNamed(section, finding);
        if (section == "Install again") {
            followInstallAgain(productOf(finding["advice"]));
        } else if (section == "Move away") {
            for (const std::string path : finding["paths"]) {
                follow(section, {{"PATH", path}});
            }
        } else if (section == "Make the record anew") {
            follow(section, {{"STATUS", folderOfTheRecord}});
        } else {
            ADD_FAILURE() << "the page gives up: " << section;
        }
    }

    std::vector<ProductBuilder> customersProducts;
    const std::vector<Row> rows = rowsOfThePage();
};

void SupportDocument::killRun(const std::vector<std::string>& run, const std::string& command,
                              const std::string& what) {
    const std::string tool = "/bin/" + command;
    const std::string moved = "/bin/moved-" + command;
    fs::rename(root().outside(tool), root().outside(moved));
    root().write(tool,
                 "#!/bin/sh\ncase \"$*\" in *\"" + what +
                     "\"*) kill -9 \"$(cat /var/run.pid)\"; exit 1;; esac\nexec " + moved + " \"$@\"\n",
                 0755);
    std::vector<std::string> words = {"/bin/sh", "-c", "echo $$ >/var/run.pid && exec \"$@\"", "sh"};
    words.insert(words.end(), run.begin(), run.end());
    EXPECT_NE(root().run(words).exitStatus, 0) << "the run was not killed";
    fs::rename(root().outside(moved), root().outside(tool));
    root().remove("/var/run.pid");
}

struct Damage {
    const char* name;
    std::function<void(SupportDocument&)> damage;
    /// The finding by which the page begins; empty when its first step is enough.
    std::string rule;
};

void PrintTo(const Damage& damage, std::ostream* stream) {
    *stream << damage.name;
}

class DamagedMachine : public SupportDocument, public testing::WithParamInterface<Damage> {};

using Machine = SupportDocument;

void putNothing(Machine& machine, const std::string& path) {
    machine.disk().write(path, "");
}

const std::vector<Damage>& damages() {
    const static std::string alphas = uninstallers + "/Uninstall Alpha.app";
    const static std::string betas = uninstallers + "/Uninstall Beta.app";
    const static std::string look = sharedFolder + "/Looks/Grey.look";
    const static std::vector<Damage> all = {
        // The record
        {"RecordCut", [](Machine& m) { m.cut(record); }, "record-unreadable"},
        {"RecordEmptied", [](Machine& m) { putNothing(m, record); }, "record-unreadable"},
        {"RecordLost", [](Machine& m) { m.lose(record); }, "product-not-recorded"},
        {"RecordIsAFolder",
         [](Machine& m) {
             m.lose(record);
             m.disk().write(record + "/notes.txt", "notes");
         },
         "record-unreadable"},
        {"RecordCutAndSetAsideByARun",
         [](Machine& m) {
             m.cut(record);
             m.install(beta());
         },
         "record-set-aside"},
        {"RecordOfBeforeAnInstall",
         [](Machine& m) { m.edit(record, "<sku ID=\"BETA\" name=\"Beta\" build=\"2.0.0.200\" />", ""); },
         "product-not-recorded"},
        {"RecordEditedByHand",
         [](Machine& m) {
             m.edit(record, "fileName=\"Grey.look\" ref=\"2\"", "fileName=\"Grey.look\" ref=\"many\"");
             m.edit(record, "<products>", "<products><product/>");
         },
         "record-entry-ignored"},
        {"RecordLostWithAnUninstaller",
         [](Machine& m) {
             m.lose(record);
             m.lose(betas);
         },
         ""},
        {"RecordLostWithAnUninstallersDefinition",
         [](Machine& m) {
             m.lose(record);
             putNothing(m, betas + "/Contents/sku.xml");
         },
         "uninstaller-incomplete"},
        {"RecordLostWithTheSharedDefinition",
         [](Machine& m) {
             m.lose(record);
             m.lose(sharedDefinition);
         },
         "manager-link"},
        {"RecordLostAndTheSharedDefinitionEmptied",
         [](Machine& m) {
             m.lose(record);
             putNothing(m, sharedDefinition);
         },
         "shared-definition-unusable"},
        // Uninstallers
        {"UninstallerDeleted", [](Machine& m) { m.lose(alphas); }, ""},
        {"AllUninstallersDeleted", [](Machine& m) { m.lose(uninstallers); }, ""},
        {"UninstallerWithoutItsProgram",
         [](Machine& m) { m.lose(alphas + "/Contents/MacOS/InstallUtility"); }, "uninstaller-incomplete"},
        {"UninstallerWithoutTargets", [](Machine& m) { m.lose(alphas + "/Contents/target_path.xml"); },
         "uninstaller-incomplete"},
        {"UninstallerRenamed",
         [](Machine& m) {
             fs::rename(m.disk().outside(alphas),
                        m.disk().outside(uninstallers + "/Uninstall Old Alpha.app"));
         },
         "old-uninstaller"},
        {"DraggedToTheTrash",
         [](Machine& m) {
             m.lose(alphas);
             m.lose(sharedFolder + "/Alpha");
             m.lose(plugin);
             m.lose("/Library/Edius/Vorlane");
             m.lose("/Users/anna/Vorlane");
         },
         ""},
        // Files
        {"FileTruncated", [](Machine& m) { m.cut(look); }, "content-truncated"},
        {"FileOfAnotherContent", [](Machine& m) { m.disk().write(look, "GREY of BETA"); }, "content-changed"},
        {"FileOfAnOlderBuild", [](Machine& m) { m.disk().write(look, "grey of ALPHA 1.0.0.100"); },
         "content-older"},
        {"PartOfThePlugInLost", [](Machine& m) { m.lose(plugin + "/Contents/Alpha"); }, "content-missing"},
        {"PlugInLost", [](Machine& m) { m.lose(plugin); }, "missing-file"},
        {"ForeignFileInThePlugIn", [](Machine& m) { m.disk().write(plugin + "/Contents/Old", "old"); },
         "content-foreign"},
        {"FileReplacedByAFolder",
         [](Machine& m) {
             m.lose(look);
             m.disk().write(look + "/mine.txt", "mine");
         },
         "folder-for-file"},
        {"FolderReplacedByAFile",
         [](Machine& m) {
             m.lose(sharedFolder + "/Looks");
             m.disk().write(sharedFolder + "/Looks", "a file");
         },
         "changed-kind"},
        {"PlugInReplacedByALinkToNowhere",
         [](Machine& m) {
             m.lose(plugin);
             m.link("nowhere", plugin);
         },
         "changed-kind"},
        {"ShortcutLost", [](Machine& m) { m.lose("/Applications/Alpha Guide.html"); }, "shortcut-missing"},
        {"WholeStatusFolderLost", [](Machine& m) { m.lose(sharedFolder); }, "manager-link"},
        // The shared package
        {"SharedDefinitionEmptied", [](Machine& m) { putNothing(m, sharedDefinition); },
         "shared-definition-unusable"},
        {"SharedDefinitionIsAnothers",
         [](Machine& m) { m.disk().write(sharedDefinition, beta().definition()); },
         "shared-definition-unusable"},
        {"SharedDefinitionLost", [](Machine& m) { m.lose(sharedDefinition); }, "shared-definition-unusable"},
        {"LinkLost", [](Machine& m) { m.lose(managerLink); }, "manager-link"},
        {"LinkReplacedByAFolder",
         [](Machine& m) {
             m.lose(managerLink);
             m.disk().write(managerLink + "/mine.txt", "mine");
         },
         "manager-link"},
        // Runs that were killed
        {"InstallKilledWhileItCopied",
         [](Machine& m) { m.killRun(Machine::installing(alpha()), "cp", "Alpha.plugin"); }, "missing-file"},
        {"InstallOfTheSharedPackageKilled",
         [](Machine& m) { m.killRun(Machine::installing(common()), "cp", "Info.plist"); }, "missing-file"},
        {"UninstallKilled",
         [](Machine& m) { m.killRun(Machine::uninstalling(alpha()), "rm", "Alpha/Guide.html"); }, ""},
        {"SaveBrokenOff", [](Machine& m) { m.disk().write(record + ".new", "<install>"); },
         "unfinished-save"},
        // Users
        {"FilesOfASecondUser",
         [](Machine& m) {
             m.disk().makeFolder("/Users/ben");
             m.install(alpha(), "ben");
         },
         "other-home"},
    };
    return all;
}

} // namespace

TEST_P(DamagedMachine, IsWholeAfterTheStepsOfThePage) {
    const Lines whole = machine();
    GetParam().damage(*this);
    ASSERT_NE(FileTree::difference(whole, machine()), "") << "nothing is damaged";
    const std::vector<std::string> rules = followThePage();
    if (!GetParam().rule.empty()) {
        ASSERT_FALSE(rules.empty());
        EXPECT_EQ(rules.front(), GetParam().rule);
    }
    EXPECT_EQ(FileTree::difference(whole, machine()), "") << testing::PrintToString(rules);
}

INSTANTIATE_TEST_SUITE_P(SupportDocument, DamagedMachine, testing::ValuesIn(damages()),
                         [](const auto& machine) { return std::string(machine.param.name); });

TEST_F(SupportDocument, AnUpdateThatWasKilledIsDoneAgain) {
    const auto update = alpha("1.1.0.120");
    install(update);
    const Lines whole = machine();
    for (const char* killedAt : {"Alpha.plugin", "Alpha/Guide.html"}) {
        takeNewMachine();
        prepare({alpha(), beta(), common()});
        setCustomersProducts({update, beta(), common()});
        killRun(installing(update), "cp", killedAt);
        EXPECT_FALSE(followThePage().empty());
        EXPECT_EQ(FileTree::difference(whole, machine()), "") << killedAt;
    }
}

TEST_F(SupportDocument, AnOldCopyOfTheRecordIsReplaced) {
    const std::string old = root().read(record);
    const auto update = alpha("1.1.0.120");
    install(update);
    setCustomersProducts({update, beta(), common()});
    const Lines whole = machine();
    root().write(record, old);
    EXPECT_EQ(followThePage(), std::vector<std::string>{"other-build"});
    EXPECT_EQ(FileTree::difference(whole, machine()), "");
}

TEST_F(SupportDocument, TheFolderOfTheRecordIsMadeAnewAlsoWithoutASharedPackage) {
    takeNewMachine();
    prepare({alpha(), beta()});
    const Lines whole = machine();
    lose(sharedFolder);
    EXPECT_EQ(followThePage(),
              (std::vector<std::string>{"product-not-recorded", "missing-file", "missing-file"}));
    EXPECT_EQ(FileTree::difference(whole, machine()), "");
}

TEST_F(SupportDocument, WhatOfARemovedHostIsLeftBehindIsMovedAway) {
    lose(host);
    Lines whole = machine();
    whole.erase(std::remove_if(whole.begin(), whole.end(),
                               [](const std::string& line) { return line.rfind(plugin, 0) == 0; }),
                whole.end());
    EXPECT_EQ(followThePage(), std::vector<std::string>{"left-behind"});
    EXPECT_EQ(FileTree::difference(whole, machine()), "");
}

TEST_F(SupportDocument, AProductThatWasDraggedToTheTrashIsUninstalled) {
    takeNewMachine();
    prepare({beta(), common()});
    const Lines without = machine();
    takeNewMachine();
    prepare({beta(), common(), alpha()});
    for (const std::string& path : {uninstallers + "/Uninstall Alpha.app", sharedFolder + "/Alpha", plugin}) {
        lose(path);
    }
    followThePage();
    followUninstall(alpha());
    EXPECT_EQ(statusOfThePage()["verdict"], "safe");
    EXPECT_EQ(FileTree::difference(without, machine()), "");
}

TEST_F(SupportDocument, AFileThatAnUpdateHasDroppedIsMovedAway) {
    auto earlier = beta();
    earlier.build("1.0.0.200");
    addFile(earlier, "VorlaneFX/Beta/Dropped.look", "dropped");
    const Lines whole = machine();
    takeNewMachine();
    prepare({alpha(), earlier, common()});
    install(beta());
    setCustomersProducts({alpha(), beta(), common()});
    const std::vector<std::string> twice(2, "in-no-definition");
    EXPECT_EQ(followThePage(), twice);
    EXPECT_EQ(FileTree::difference(whole, machine()), "");
}

TEST_F(SupportDocument, OfAFolderThatNoProductListsAnyMoreOnlyTheRecordTells) {
    auto earlier = beta();
    earlier.build("1.0.0.200").family("Old").target("Hosts/OpenFX", "/Library/OFX/Old");
    addFile(earlier, "Hosts/OpenFX/Old/Old.plugin", "old");
    takeNewMachine();
    prepare({beta(), common()});
    Lines whole = machine();
    takeNewMachine();
    prepare({earlier, common()});
    install(beta());
    setCustomersProducts({beta(), common()});
    EXPECT_EQ(followThePage(), std::vector<std::string>{"in-no-definition"});
    whole.push_back("/Library/OFX/Old/Old.plugin: old"); // as the page says
    EXPECT_EQ(FileTree::difference(whole, machine()), "");
}

TEST_F(SupportDocument, ALogThatIsThereTellsTheCause) {
    root().remove(sharedFolder + "/Looks");
    root().write(sharedFolder + "/Looks", "in the way");
    root().write("/var/log/install.log", root().run(installCommand(beta())).standardOutput);
    const std::string commands = commandsOf("Second step");
    const std::string log = commands.substr(commands.find('\n') + 1);
    const auto result = runScript(log, {{"LOG", "/var/log/install.log"}});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardOutput,
                testing::HasSubstr("NOT copied: " + sharedFolder + "/Looks/Grey.look"));
}

TEST_F(SupportDocument, TheMakersGetWhatTheyAskFor) {
    lose(record);
    std::istringstream commands(commandsOf("For the makers"));
    for (std::string command; std::getline(commands, command);) {
        const ProgramResult result = runScript(command);
        EXPECT_FALSE(Json::parse(result.standardOutput, nullptr, false).is_discarded())
            << command << "\n"
            << result.standardOutput << result.standardError;
    }
}

TEST_F(SupportDocument, LeadsFromEachFindingOfStatusToASection) {
    std::set<std::string> led;
    for (const Row& row : rows) {
        led.insert(row.rule);
        sectionOf(row.section);
    }
    std::set<std::string> rules;
    for (const auto& rule : allStatusRules()) {
        rules.insert(rule.name);
    }
    EXPECT_EQ(led, rules);
}
