#include "Utility/InstallInspector/Report/FindingOutput.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

std::size_t countOf(const std::vector<Finding>& findings, Severity severity) {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [severity](const Finding& finding) { return finding.severity == severity; }));
}

std::string describe(const Location& where) {
    // A path may hold what a terminal would obey.
    std::string text = printableText(toVLString(where.file));
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

} // namespace

const char* nameOf(Severity severity) {
    return severity == Severity::Error ? "error" : "warning";
}

std::string printableText(const VLString& text) {
    const std::string quoted = quotedText(text);
    return quoted.substr(1, quoted.size() - 2);
}

std::string printed(const std::vector<Finding>& findings, const Painter& painter) {
    std::string text;
    for (const Finding& finding : findings) {
        text += describe(finding, painter);
    }
    return text + "\n" + counted(countOf(findings, Severity::Error), "error", "errors") + ", " +
           counted(countOf(findings, Severity::Warning), "warning", "warnings") + "\n";
}

void addFindings(nlohmann::ordered_json& document, const std::vector<Finding>& findings) {
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
}
