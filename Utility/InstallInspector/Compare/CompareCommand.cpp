#include "Utility/InstallInspector/Compare/CompareCommand.h"

#include "Utility/InstallInspector/Compare/CompareRules.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Report/JsonWriter.h"
#include "Utility/InstallInspector/Report/Verdict.h"

namespace {

void writeDifference(JsonWriter& json, const Difference& difference) {
    json.beginObject();
    json.text("state", nameOf(difference.state));
    json.text("path", difference.path);
    for (const auto& [name, value] : {std::pair("at", difference.at), std::pair("when", difference.when)}) {
        if (!value.empty()) {
            json.text(name, value);
        }
    }
    if (difference.cause == Difference::Cause::ShortCut && difference.now != nullptr) {
        json.text("leadsTo", difference.now->path);
        if (difference.state == Difference::State::Old) {
            json.text("leadsInstead", difference.old->path);
        }
    }
    if (difference.old != nullptr) {
        json.text("old", difference.old->treePath);
    }
    if (difference.now != nullptr) {
        json.text("new", difference.now->treePath);
    }
    json.endObject();
}

void writeBuild(JsonWriter& json, const char* name, const Build& build) {
    json.beginObject(name);
    json.text("definition", build.product().definitionFile.path());
    if (build.product().bTargets) {
        json.text("targets", build.product().targetsFile.path());
    }
    json.text("ID", toString(build.info().ID));
    json.text("name", toString(build.info().name));
    json.text("build", toString(build.info().build));
    json.endObject();
}

bool writeJson(const Comparison& comparison, const std::vector<Finding>& findings) {
    Output output;
    JsonWriter json(output);
    json.beginObject();
    writeBuild(json, "old", comparison.old);
    writeBuild(json, "new", comparison.now);
    json.text("verdict", nameOf(verdictOf(findings)));
    writeFindings(json, findings);
    json.beginArray("differences");
    for (const Difference& difference : comparison.differences) {
        writeDifference(json, difference);
    }
    json.endArray();
    json.endObject();
    return output.finish();
}

std::string asText(const std::vector<Finding>& findings) {
    const Painter painter = Painter::forFile(stdout);
    std::string text = findings.empty() ? "" : printed(findings, painter);
    switch (verdictOf(findings)) {
    case Verdict::Harm:
        return text + painter.paint(Colour::Red, "An update leaves something behind, or loses it.") + "\n";
    case Verdict::CannotTell:
        return text +
               painter.paint(Colour::Yellow,
                             "The definitions do not say whether an update leaves something behind.") +
               "\n";
    case Verdict::Safe:
        break;
    }
    return text + painter.paint(Colour::Green, "An update leaves nothing behind, and loses nothing.") + "\n";
}

} // namespace

int runCompare(const CompareOptions& options) {
    const bool bTargets = !options.targets.empty();
    Build old;
    Build now;
    std::string error;
    if (!old.read(options.oldDefinition, bTargets ? options.targets.front() : "", error) ||
        !now.read(options.newDefinition, bTargets ? options.targets.back() : "", error)) {
        return cannotRun(options.bJson, error);
    }
    const Comparison comparison = compareBuilds(old, now);
    const std::vector<Finding> findings = findingsOf(comparison);
    if (!(options.bJson ? writeJson(comparison, findings) : writeOutput(asText(findings)))) {
        return CannotRun;
    }
    return verdictOf(findings) == Verdict::Safe ? Clean : HasFindings;
}
