#include "Utility/InstallInspector/Report/FindingOutput.h"

#include "Utility/InstallInspector/Report/Verdict.h"

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

Colour colourOf(Severity severity) {
    return severity == Severity::Error     ? Colour::Red
           : severity == Severity::Warning ? Colour::Yellow
                                           : Colour::Bold;
}

std::string describe(const Finding& finding, const Painter& painter) {
    return painter.paint(Colour::Bold, describe(finding.where) + ":") + " " +
           painter.paint(colourOf(finding.severity), std::string(nameOf(finding.severity)) + ":") + " " +
           finding.message + " " + painter.paint(Colour::Dim, "[" + finding.rule + "]") + "\n    " +
           finding.consequence + "\n    " + finding.advice + "\n";
}

} // namespace

const char* nameOf(Severity severity) {
    return severity == Severity::Error ? "error" : severity == Severity::Warning ? "warning" : "note";
}

std::string printed(const std::vector<Finding>& findings, const Painter& painter) {
    std::string text;
    for (const Finding& finding : findings) {
        text += describe(finding, painter);
    }
    const std::size_t notes = countOf(findings, Severity::Note);
    return text + "\n" + counted(countOf(findings, Severity::Error), "error", "errors") + ", " +
           counted(countOf(findings, Severity::Warning), "warning", "warnings") +
           (notes == 0 ? "" : ", " + counted(notes, "note", "notes")) + "\n";
}

void writeFindings(JsonWriter& json, const std::vector<Finding>& findings) {
    json.number("errors", static_cast<long>(countOf(findings, Severity::Error)));
    json.number("warnings", static_cast<long>(countOf(findings, Severity::Warning)));
    json.number("notes", static_cast<long>(countOf(findings, Severity::Note)));
    json.beginArray("findings");
    for (const Finding& finding : findings) {
        json.beginObject();
        json.text("file", finding.where.file);
        if (finding.where.line > 0) {
            json.number("line", finding.where.line);
            json.number("column", finding.where.column);
        }
        json.text("rule", finding.rule);
        json.text("severity", nameOf(finding.severity));
        json.text("message", finding.message);
        json.text("consequence", finding.consequence);
        json.text("advice", finding.advice);
        if (!finding.paths.empty()) {
            json.beginArray("paths");
            for (const std::string& path : finding.paths) {
                json.element(path);
            }
            json.endArray();
        }
        if (!finding.install.empty()) {
            json.text("install", finding.install);
        }
        json.endObject();
    }
    json.endArray();
}

int cannotRun(bool bJson, const std::string& message) {
    if (bJson) {
        Output output;
        JsonWriter json(output);
        json.beginObject();
        json.text("verdict", nameOf(Verdict::CannotTell));
        json.text("error", message);
        json.endObject();
        output.finish();
    }
    return cannotRun(message);
}
