#include "Utility/InstallInspector/Check/CheckCommand.h"

#include "Foundation/FileLibrary.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Check/Suppressions.h"
#include "Utility/InstallInspector/Documents/FileRole.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Report/Verdict.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <set>
#include <string>

namespace {

/// The files by their role.
struct Arguments {
    std::vector<std::string> definitions;
    std::vector<std::string> targets;
};

std::string asText(const std::vector<Finding>& findings, const Painter& painter) {
    if (findings.empty()) {
        return painter.paint(Colour::Green, "No mistakes found.") + "\n";
    }
    return printed(findings, painter);
}

/// Writes the members of an object that is already begun.
void writeProduct(JsonWriter& json, const Product& product) {
    json.text("definition", product.definitionFile.path());
    if (product.bTargets) {
        json.text("targets", product.targetsFile.path());
    }
    if (!product.source.empty()) {
        json.text("source", product.source);
    }
}

bool writeJson(const ProductLine& line, const std::vector<Finding>& findings) {
    Output output;
    JsonWriter json(output);
    json.beginObject();
    writeProduct(json, *line.products.front());
    json.beginArray("products");
    for (const Product* product : line.products) {
        json.beginObject();
        writeProduct(json, *product);
        json.endObject();
    }
    json.endArray();
    json.text("verdict", nameOf(verdictOf(findings)));
    writeFindings(json, findings);
    json.endObject();
    return output.finish();
}

std::string listOfRules() {
    std::string text;
    for (const Rule& rule : allRules()) {
        std::string name = rule.name;
        name.resize(std::max<std::size_t>(name.size() + 1, 36), ' ');
        text += name + padded(nameOf(rule.severity), 9) + rule.summary + "\n";
    }
    return text;
}

/// Sorts the files by their role. A file of unknown role gets one from its position. On failure, returns
/// false and sets `error`.
bool sortFiles(const CheckOptions& options, Arguments& arguments, std::string& error) {
    std::vector<std::string> unknown;
    for (const std::string& file : options.files) {
        switch (roleOfFile(file)) {
        case FileRole::Definition:
            arguments.definitions.push_back(file);
            break;
        case FileRole::Targets:
            arguments.targets.push_back(file);
            break;
        case FileRole::Record:
            error = file + " is a record of what is installed; \"InstallInspector status\" looks at it";
            return false;
        case FileRole::Unknown:
            unknown.push_back(file);
            break;
        }
    }
    for (const std::string& file : unknown) {
        const bool bTargets = !arguments.definitions.empty() && arguments.targets.empty();
        (bTargets ? arguments.targets : arguments.definitions).push_back(file);
    }
    if (arguments.definitions.empty()) {
        error = arguments.targets.front() +
                " holds target paths; name the definition (sku.xml) of a product that uses them, too";
        return false;
    }
    return true;
}

/// Whether `count` is right for a list with one element for all products, or one for each.
bool fits(std::size_t count, std::size_t products) {
    return count <= 1 || count == products;
}

std::string of(const std::vector<std::string>& list, std::size_t product) {
    return list.empty() ? "" : list.size() == 1 ? list.front() : list[product];
}

bool readProduct(Product& product, const std::string& definition, const std::string& targets,
                 const std::string& source, std::string& error) {
    std::string reason;
    if (!product.definitionFile.read(definition, Location::Document::Definition, Kind::Product, reason)) {
        error = definition + " " + reason;
        return false;
    }
    product.bTargets = !targets.empty();
    if (product.bTargets &&
        !product.targetsFile.read(targets, Location::Document::Targets, Kind::Root, reason)) {
        error = targets + " " + reason;
        return false;
    }
    if (!source.empty() && !FileLibrary::IsDirectoryExists(toVLString(source))) {
        error = source + " is not an existing folder";
        return false;
    }
    product.source = source;
    product.interpret();
    return true;
}

bool readLine(const CheckOptions& options, std::deque<Product>& products, std::string& error) {
    Arguments arguments;
    if (!sortFiles(options, arguments, error)) {
        return false;
    }
    const std::size_t count = arguments.definitions.size();
    if (!fits(arguments.targets.size(), count) || !fits(options.sources.size(), count)) {
        error = counted(count, "definition", "definitions") + ", " +
                counted(arguments.targets.size(), "target-paths file", "target-paths files") + " and " +
                counted(options.sources.size(), "source", "sources") +
                ": give one file of target paths, and one source, for all or one for each definition";
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        products.emplace_back();
        if (!readProduct(products.back(), arguments.definitions[i], of(arguments.targets, i),
                         of(options.sources, i), error)) {
            return false;
        }
    }
    return true;
}

/// Makes a host that one product names known to all products.
void knowHosts(const CheckOptions& options, std::deque<Product>& products) {
    std::set<VLString> hosts;
    for (const std::string& host : options.hosts) {
        hosts.insert(toVLString(host));
    }
    for (const Product& product : products) {
        const auto named = hostsInComments(product);
        hosts.insert(named.begin(), named.end());
    }
    for (Product& product : products) {
        product.ownHosts = hosts;
    }
}

/// Says that the files are in an order that the engine would not accept.
void reportOrder(const CheckOptions& options) {
    if (options.files.size() == 2 && roleOfFile(options.files.front()) == FileRole::Targets) {
        static_cast<void>(std::fprintf(
            stderr,
            "InstallInspector: %s holds the target paths; InstallUtility takes them behind the definition\n",
            options.files.front().c_str()));
    }
}

} // namespace

int runCheck(const CheckOptions& options) {
    if (options.bRules) {
        return writeOutput(listOfRules()) ? Clean : CannotRun;
    }
    std::deque<Product> products;
    std::string error;
    if (!readLine(options, products, error)) {
        return cannotRun(options.bJson, error);
    }
    reportOrder(options);
    knowHosts(options, products);
    ProductLine line;
    line.ignoredRules = options.ignoredRules;
    for (const Product& product : products) {
        line.products.push_back(&product);
    }

    const std::vector<Finding> findings = checkLine(line);
    const bool bWritten =
        options.bJson ? writeJson(line, findings) : writeOutput(asText(findings, Painter::forFile(stdout)));
    if (!bWritten) {
        return CannotRun;
    }
    const bool bFails = std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
        return finding.severity <= options.failOn;
    });
    return bFails ? HasFindings : Clean;
}
