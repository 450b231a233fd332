#include "Utility/InstallInspector/CheckCommand.h"

#include "Foundation/FileLibrary.h"
#include "Utility/InstallInspector/Output.h"
#include "Utility/InstallInspector/Rules.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

namespace {

struct Arguments {
    std::string definition;
    std::string targets;
    std::string source;
    bool bJson = false;
    bool bRules = false;
};

const char* nameOf(Severity severity) {
    return severity == Severity::Error ? "error" : "warning";
}

long countOf(const std::vector<Finding>& findings, Severity severity) {
    return std::count_if(findings.begin(), findings.end(),
                         [severity](const Finding& finding) { return finding.severity == severity; });
}

std::string counted(long count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string describe(const Location& where) {
    // A path may hold what a terminal would obey.
    const std::string quoted = shown(toVLString(where.file));
    std::string text = quoted.substr(1, quoted.size() - 2);
    if (where.line > 0) {
        text += ":" + std::to_string(where.line) + ":" + std::to_string(where.column);
    }
    return text;
}

std::string describe(const Finding& finding, const Painter& painter) {
    const bool bError = finding.severity == Severity::Error;
    return painter.paint(Colour::Bold, describe(finding.where) + ":") + " " +
           painter.paint(bError ? Colour::Red : Colour::Yellow, std::string(nameOf(finding.severity)) + ":") +
           " " + finding.message + " " + painter.paint(Colour::Dim, "[" + finding.rule + "]") + "\n    " +
           finding.consequence + "\n    " + finding.advice + "\n";
}

std::string asText(const std::vector<Finding>& findings, const Painter& painter) {
    if (findings.empty()) {
        return painter.paint(Colour::Green, "No mistakes found.") + "\n";
    }
    std::string text;
    for (const Finding& finding : findings) {
        text += describe(finding, painter);
    }
    return text + "\n" + counted(countOf(findings, Severity::Error), "error") + ", " +
           counted(countOf(findings, Severity::Warning), "warning") + "\n";
}

std::string asJson(const Arguments& arguments, const std::vector<Finding>& findings) {
    nlohmann::ordered_json document;
    document["definition"] = arguments.definition;
    if (!arguments.targets.empty()) {
        document["targets"] = arguments.targets;
    }
    if (!arguments.source.empty()) {
        document["source"] = arguments.source;
    }
    document["errors"] = countOf(findings, Severity::Error);
    document["warnings"] = countOf(findings, Severity::Warning);
    document["findings"] = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        nlohmann::ordered_json entry;
        entry["file"] = finding.where.file;
        if (finding.where.line > 0) {
            entry["line"] = finding.where.line;
            entry["column"] = finding.where.column;
        }
        entry["rule"] = finding.rule;
        entry["severity"] = nameOf(finding.severity);
        entry["message"] = finding.message;
        entry["consequence"] = finding.consequence;
        entry["advice"] = finding.advice;
        document["findings"].push_back(entry);
    }
    return printed(document);
}

std::string listOfRules() {
    std::string text;
    for (const Rule& rule : allRules()) {
        std::string name = rule.name;
        name.resize(std::max<std::size_t>(name.size() + 1, 36), ' ');
        text += name + nameOf(rule.severity) + (rule.severity == Severity::Error ? "    " : "  ") +
                rule.summary + "\n";
    }
    return text;
}

int run(const Arguments& arguments) {
    if (arguments.bRules) {
        return writeOutput(listOfRules()) ? Clean : CannotRun;
    }
    Product product;
    std::string error;
    if (!product.definitionFile.read(arguments.definition, Location::Document::Definition, Kind::Product,
                                     error)) {
        return cannotRun(arguments.definition + " " + error);
    }
    if (!arguments.targets.empty()) {
        product.bTargets = true;
        if (!product.targetsFile.read(arguments.targets, Location::Document::Targets, Kind::Root, error)) {
            return cannotRun(arguments.targets + " " + error);
        }
    }
    if (!arguments.source.empty() && !FileLibrary::IsDirectoryExists(toVLString(arguments.source))) {
        return cannotRun(arguments.source + " is not an existing folder");
    }
    product.source = arguments.source;
    product.interpret();

    const std::vector<Finding> findings = checkProduct(product);
    if (!writeOutput(arguments.bJson ? asJson(arguments, findings)
                                     : asText(findings, Painter::forFile(stdout)))) {
        return CannotRun;
    }
    return findings.empty() ? Clean : HasFindings;
}

} // namespace

void addCheckCommand(CLI::App& app, int& status) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command = app.add_subcommand(
        "check", "Name every mistake in a product's files, what it will do, and what to write instead");
    CLI::Option* definition =
        command->add_option("SKU", arguments->definition, "The product definition (sku.xml)");
    command->add_option("TARGETS", arguments->targets, "The target-paths file (target_path.xml)");
    command->add_option("--source", arguments->source, "The folder that holds the product's files")
        ->type_name("DIR");
    command->add_flag("--json", arguments->bJson, "Print JSON for other programs");
    command->add_flag("--list-rules", arguments->bRules, "Print the names of all rules, and check nothing");
    command->callback([arguments, definition, &status] {
        if (!arguments->bRules && definition->empty()) {
            throw CLI::RequiredError("SKU");
        }
        status = run(*arguments);
    });
}
