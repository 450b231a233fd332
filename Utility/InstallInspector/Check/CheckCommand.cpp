#include "Utility/InstallInspector/Check/CheckCommand.h"

#include "Foundation/FileLibrary.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"

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

std::string asText(const std::vector<Finding>& findings, const Painter& painter) {
    if (findings.empty()) {
        return painter.paint(Colour::Green, "No mistakes found.") + "\n";
    }
    return printed(findings, painter);
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
    addFindings(document, findings);
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
