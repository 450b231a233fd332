#include "Tests/Support/EndToEndTest.h"

#include "Foundation/VLString.h"
#include "Tests/Support/DebugPlaces.h"
#include "Tests/Support/OwnedReference.h"
#include "Tests/Support/SchemaCheck.h"

#include <tinyxml.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace {

using Lines = FileTree::Lines;

void fail(const char* file, int line, const std::string& message) {
    ADD_FAILURE_AT(file, line) << message;
}

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text.append("  ").append(line).append("\n");
    }
    return text;
}

void expectSame(const char* what, const Lines& expected, const Lines& actual, const char* file, int line) {
    if (expected != actual) {
        fail(file, line, std::string(what) + " is\n" + joined(actual) + "in place of\n" + joined(expected));
    }
}

std::string attribute(const TiXmlElement& element, const char* name) {
    const char* value = element.Attribute(name);
    return value == nullptr ? "(none)" : value;
}

void appendCounts(const TiXmlElement& parent, const std::string& folder, Lines& lines) {
    for (const TiXmlElement* element = parent.FirstChildElement(); element != nullptr;
         element = element->NextSiblingElement()) {
        const std::string path = folder + attribute(*element, "fileName");
        std::string line = path + " " + attribute(*element, "ref");
        const bool bFile = element->ValueStr() == "file";
        if (bFile) {
            line += ", " + attribute(*element, "build");
        }
        if (const TiXmlElement* shortCut = element->FirstChildElement("shortCut")) {
            line += ", shortcut " + attribute(*shortCut, "name") + " in " + attribute(*shortCut, "dir");
        }
        lines.push_back(line);
        if (!bFile) {
            appendCounts(*element, path + "/", lines);
        }
    }
}

/// Puts `line` in the place of the lines that begin with `beginning`, if these are `lines`.
void collapse(Lines& tree, const std::string& beginning, const Lines& lines, const std::string& line) {
    const auto bPart = [&](const std::string& candidate) { return candidate.rfind(beginning, 0) == 0; };
    Lines part;
    std::copy_if(tree.begin(), tree.end(), std::back_inserter(part), bPart);
    if (part == lines) {
        tree.erase(std::remove_if(tree.begin(), tree.end(), bPart), tree.end());
        tree.push_back(line);
    }
}

/// The text of each record below the folder, by path.
std::map<std::filesystem::path, std::string> recordsBelow(const std::filesystem::path& folder) {
    namespace fs = std::filesystem;
    std::map<fs::path, std::string> records;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (entry->path().filename() == "InstallationStatusFile.xml" && entry->is_regular_file(error) &&
            access(entry->path().c_str(), R_OK) == 0) {
            records[entry->path()] = FileTree::read(entry->path());
        }
    }
    return records;
}

/// A record that holds a name that is not UTF-8 is no XML to anyone but the engine.
void expectValid(const std::string& record) {
    static std::set<std::string> seen; // many tests leave the same record
    if (owned(VLString(record.c_str()).CreateCFString()) != nullptr && SchemaCheck::whyNot().empty() &&
        seen.insert(record).second) {
        EXPECT_EQ(SchemaCheck::mistakesInText("InstallationStatusFile.xsd", record), "") << record;
    }
}

bool isInside(const std::string& line, const std::string& folder) {
    return line.rfind(folder, 0) == 0;
}

} // namespace

void EndToEndTest::SetUp() {
    if (!PrivateRoot::whyNot().empty()) {
        GTEST_SKIP() << PrivateRoot::whyNot();
    }
    takeNewMachine();
}

void EndToEndTest::skipWherePretended(const char* reason) {
    if (PrivateRoot::isPretended()) {
        GTEST_SKIP() << reason;
    }
}

void EndToEndTest::takeNewMachine() {
    machine.emplace();
    placed.clear();
    if (comparesPlans() && PlanComparison::isAvailable()) {
        comparison.emplace(*machine);
        machine->watch = [this](const auto& command, const auto& options, const auto& run) {
            return comparison->around(command, options, run);
        };
    }
}

std::string EndToEndTest::folderOf(const ProductBuilder& product) {
    return std::string(PrivateRoot::installerFolder) + "/" + product.id();
}

std::string EndToEndTest::uninstallerOf(const ProductBuilder& product) {
    return "/Applications/Vorlane Uninstallers/Uninstall " + product.productName() + ".app";
}

std::vector<std::string> EndToEndTest::installCommand(const ProductBuilder& product) {
    const std::string folder = folderOf(product);
    return {PrivateRoot::program, folder + "/files", folder + "/sku.xml", folder + "/target_path.xml"};
}

std::vector<std::string> EndToEndTest::uninstallCommand(const ProductBuilder& product) {
    const std::string folder = folderOf(product);
    return {PrivateRoot::program, "-uninstall", folder + "/sku.xml", folder + "/target_path.xml"};
}

void EndToEndTest::place(const ProductBuilder& product) {
    product.writeTo(root().outside(folderOf(product)));
    placed[product.id()] = uninstallerOf(product);
}

ProgramResult EndToEndTest::runChecked(const std::vector<std::string>& command, const Options& options) {
    const auto before = recordsBelow(root().outside("/"));
    ProgramResult result = root().run(command, options);
    for (const auto& [path, record] : recordsBelow(root().outside("/"))) {
        const auto old = before.find(path);
        if (old == before.end() || old->second != record) {
            expectValid(record);
        }
    }
    return result;
}

ProgramResult EndToEndTest::runOnPlaced(const ProductBuilder& product, std::vector<std::string> command,
                                        const std::vector<std::string>& more, const Options& options) {
    place(product);
    command.insert(command.end(), more.begin(), more.end());
    const Lines before = root().tree(PrivateRoot::installerFolder);
    ProgramResult result = runChecked(command, options);
    EXPECT_EQ(FileTree::difference(before, root().tree(PrivateRoot::installerFolder)), "")
        << "the installer's disk has changed";
    EXPECT_FALSE(result.bTimedOut);
    return result;
}

ProgramResult EndToEndTest::Install(const ProductBuilder& product, const std::vector<std::string>& more,
                                    const Options& options) {
    return runOnPlaced(product, installCommand(product), more, options);
}

ProgramResult EndToEndTest::Uninstall(const ProductBuilder& product, const std::vector<std::string>& more,
                                      const Options& options) {
    return runOnPlaced(product, uninstallCommand(product), more, options);
}

ProgramResult EndToEndTest::OpenUninstaller(const ProductBuilder& product,
                                            const std::vector<std::string>& more, const Options& options) {
    std::vector<std::string> command{uninstallerOf(product) + "/Contents/MacOS/UninstallLauncher"};
    command.insert(command.end(), more.begin(), more.end());
    return runChecked(command, options);
}

ProgramResult EndToEndTest::RunFor(const std::string& user, const std::vector<std::string>& command) {
    Options options;
    options.environment["HOME"] = "/Users/" + user;
    return root().run(command, options);
}

void EndToEndTest::ExpectTree(const Lines& expected, int line, const char* file) {
    Lines actual = root().tree();
    const Lines bundle = FileTree::describe(root().outside(PrivateRoot::bundle));
    for (const auto& [id, uninstaller] : placed) {
        const auto xml = root().outside(std::string(PrivateRoot::installerFolder) + "/" + id);
        Lines whole = FileTree::describe(xml, uninstaller + "/Contents/",
                                         [](const auto& path) { return path.extension() != ".xml"; });
        std::transform(bundle.begin(), bundle.end(), std::back_inserter(whole),
                       [path = uninstaller + "/"](const std::string& entry) { return path + entry; });
        std::sort(whole.begin(), whole.end());
        collapse(actual, uninstaller + "/", whole,
                 std::string(uninstaller).append(": uninstaller of ").append(id));
    }
    const std::string recordPath = std::string(statusFolder) + "/InstallationStatusFile.xml";
    if (root().exists(recordPath)) {
        collapse(actual, recordPath,
                 FileTree::describe(
                     root().outside(statusFolder), std::string(statusFolder) + "/",
                     [](const auto& path) { return path.filename() != "InstallationStatusFile.xml"; }),
                 recordPath + ": record");
    }

    Lines all = expected;
    for (const std::string& fresh : PrivateRoot::freshTree()) {
        const bool bImplied =
            fresh.back() == '/' && std::any_of(expected.begin(), expected.end(),
                                               [&](const auto& entry) { return isInside(entry, fresh); });
        if (!bImplied) {
            all.push_back(fresh);
        }
    }
    const std::string difference = FileTree::difference(all, actual);
    if (!difference.empty()) {
        fail(file, line, "The tree is not as expected:\n" + difference);
    }
}

Lines EndToEndTest::counts(const std::string& folder) {
    TiXmlDocument document;
    const std::string path = folder + "/InstallationStatusFile.xml";
    if (!root().exists(path)) {
        return {"no record"};
    }
    document.Parse(root().read(path).c_str(), nullptr, TIXML_ENCODING_UTF8);
    const TiXmlElement* install = document.FirstChildElement("install");
    const TiXmlElement* products = install == nullptr ? nullptr : install->FirstChildElement("products");
    const TiXmlElement* files = install == nullptr ? nullptr : install->FirstChildElement("installFiles");
    if (products == nullptr || files == nullptr) {
        return {"malformed record"};
    }
    Lines lines;
    for (const TiXmlElement* sku = products->FirstChildElement("sku"); sku != nullptr;
         sku = sku->NextSiblingElement("sku")) {
        lines.push_back("product " + attribute(*sku, "ID") + ", " + attribute(*sku, "name") + ", " +
                        attribute(*sku, "build"));
    }
    appendCounts(*files, "", lines);
    return lines;
}

void EndToEndTest::ExpectCounts(const Lines& expected, int line, const char* file) {
    expectSame("The record", expected, counts(), file, line);
}

Lines EndToEndTest::logLines(const ProgramResult& result) {
    Lines lines;
    std::istringstream stream(result.standardOutput);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(withoutDebugPlaces(line));
    }
    return lines;
}

bool EndToEndTest::hasLine(const ProgramResult& result, const std::string& line) {
    const Lines lines = logLines(result);
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

std::string EndToEndTest::recordLeftAlone(const std::string& reason) {
    return "Error: The record '" + shared("InstallationStatusFile.xml") + "' cannot be read (" + reason +
           "). It stays as it is, and this run is not recorded.";
}

std::string EndToEndTest::recordNotSaved(const std::string& reason) {
    return "Error: The record '" + shared("InstallationStatusFile.xml") + "' cannot be saved (" + reason +
           ").";
}

std::string EndToEndTest::failedCopy(const std::string& path, const std::string& target) {
    return "Error: Failed to copy '" + std::string(PrivateRoot::installerFolder) + "/ALPHA/files/" + path +
           "' to '" + target + "'";
}

void EndToEndTest::ExpectLog(const ProgramResult& result, const Lines& expected, int line, const char* file) {
    expectSame("The log", expected, logLines(result), file, line);
}

void EndToEndTest::ExpectSuccess(const ProgramResult& result, int line, const char* file) {
    if (result.exitStatus != 0) {
        fail(file, line,
             "exit status " + std::to_string(result.exitStatus) + ", output:\n" + result.standardOutput +
                 "errors:\n" + result.standardError);
    }
}
