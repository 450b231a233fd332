#include "Utility/InstallInspector/Check/CheckCommand.h"

#include "Foundation/FileLibrary.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"

#include <algorithm>
#include <string>

namespace {

std::string asText(const std::vector<Finding>& findings, const Painter& painter) {
    if (findings.empty()) {
        return painter.paint(Colour::Green, "No mistakes found.") + "\n";
    }
    return printed(findings, painter);
}

bool writeJson(const CheckOptions& options, const std::vector<Finding>& findings) {
    Output output;
    JsonWriter json(output);
    json.beginObject();
    json.text("definition", options.definition);
    if (!options.targets.empty()) {
        json.text("targets", options.targets);
    }
    if (!options.source.empty()) {
        json.text("source", options.source);
    }
    writeFindings(json, findings);
    json.endObject();
    return output.finish();
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

} // namespace

int runCheck(const CheckOptions& options) {
    if (options.bRules) {
        return writeOutput(listOfRules()) ? Clean : CannotRun;
    }
    Product product;
    std::string error;
    if (!product.definitionFile.read(options.definition, Location::Document::Definition, Kind::Product,
                                     error)) {
        return cannotRun(options.definition + " " + error);
    }
    if (!options.targets.empty()) {
        product.bTargets = true;
        if (!product.targetsFile.read(options.targets, Location::Document::Targets, Kind::Root, error)) {
            return cannotRun(options.targets + " " + error);
        }
    }
    if (!options.source.empty() && !FileLibrary::IsDirectoryExists(toVLString(options.source))) {
        return cannotRun(options.source + " is not an existing folder");
    }
    product.source = options.source;
    product.interpret();

    const std::vector<Finding> findings = checkProduct(product);
    const bool bWritten = options.bJson ? writeJson(options, findings)
                                        : writeOutput(asText(findings, Painter::forFile(stdout)));
    if (!bWritten) {
        return CannotRun;
    }
    return findings.empty() ? Clean : HasFindings;
}
