#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;
using Action = Plan::Action;
using Verb = PlannedMachine::Verb;

const char* nameOf(Action action) {
    switch (action) {
    case Action::Copy:
        return "copy";
    case Action::Replace:
        return "replace";
    case Action::Remove:
        return "remove";
    case Action::Missing:
        return "missing";
    case Action::Fail:
        return "fail";
    case Action::Keep:
        break;
    }
    return "keep";
}

const char* nameOf(Verb verb) {
    switch (verb) {
    case Verb::RemoveItem:
        return "remove";
    case Verb::CreateFolder:
        return "make-folder";
    case Verb::CopyItem:
        return "copy";
    case Verb::CreateLink:
        return "link";
    default:
        return "command";
    }
}

Json toJson(const Plan::Condition& condition) {
    Json json;
    json["type"] = condition.type;
    json["holds"] = condition.bHolds;
    if (condition.type == "And" || condition.type == "Or") {
        json["operands"] = Json::array();
        for (const Plan::Condition& operand : condition.operands) {
            json["operands"].push_back(toJson(operand));
        }
        return json;
    }
    json["value"] = condition.value;
    json["filled"] = condition.filled;
    json["found"] = condition.found;
    return json;
}

Json toJson(const Plan::Target& target) {
    Json json;
    json["pattern"] = target.pattern;
    json["applies"] = !target.path.empty();
    if (target.path.empty()) {
        json["why"] = target.whyNot;
    } else {
        json["path"] = target.path;
        json["exists"] = target.bThere;
    }
    if (target.condition) {
        json["condition"] = toJson(*target.condition);
    }
    return json;
}

Json toJson(const Plan::Entry& entry) {
    Json json;
    json["name"] = entry.treePath;
    json["path"] = entry.path;
    json["kind"] = entry.bFolder ? "folder" : "file";
    json["action"] = nameOf(entry.action);
    json["why"] = entry.why;
    if (!entry.shortCut.empty()) {
        json["shortcut"] = entry.shortCut;
    }
    return json;
}

Json toJson(const Plan::Branch& branch) {
    Json json;
    json["name"] = branch.treePath;
    if (!branch.host.empty()) {
        json["host"] = branch.host;
        json["family"] = branch.family;
    }
    json["item"] = branch.item;
    json["secondAttempt"] = branch.bSecondAttempt;
    json["targets"] = Json::array();
    for (const Plan::Target& target : branch.targets) {
        json["targets"].push_back(toJson(target));
    }
    json["entries"] = Json::array();
    for (const Plan::Entry& entry : branch.entries) {
        json["entries"].push_back(toJson(entry));
    }
    return json;
}

Json toJson(const SKUDefinition::SKUInfo& product) {
    Json json;
    json["ID"] = toString(product.ID);
    json["name"] = toString(product.name);
    json["build"] = toString(product.build);
    return json;
}

Json toJson(const Plan::Record& record) {
    Json json;
    json["products"] = Json::array();
    for (const SKUDefinition::SKUInfo& product : record.products) {
        json["products"].push_back(toJson(product));
    }
    json["paths"] = Json::array();
    for (const auto& [path, recorded] : record.paths) {
        Json entry;
        entry["path"] = path;
        entry["kind"] = recorded.bFolder ? "folder" : "file";
        entry["count"] = recorded.count;
        if (!recorded.bFolder) {
            entry["build"] = recorded.build;
        }
        if (!recorded.shortCut.empty()) {
            entry["shortcut"] = recorded.shortCut;
        }
        json["paths"].push_back(entry);
    }
    return json;
}

Json stepsOf(const Plan& plan, const Plan::Run& run) {
    Json steps = Json::array();
    for (std::size_t i = run.firstStep; i < run.endStep; ++i) {
        const Plan::Step& step = plan.steps[i];
        Json json;
        if (step.command.empty()) {
            json["operation"] = nameOf(step.verb);
            json["path"] = step.path;
            if (!step.source.empty()) {
                json["source"] = step.source;
            }
        } else {
            json["command"] = step.command;
        }
        json["succeeds"] = step.bSucceeded;
        if (!step.bSucceeded) {
            json["why"] = step.why;
        }
        if (!step.made.empty()) {
            json["madeFolders"] = step.made;
        }
        if (step.bSucceeded && (step.verb == Verb::RemoveEmptyFolder || step.verb == Verb::RemoveFolder)) {
            json["removedFolder"] = step.path;
        }
        steps.push_back(json);
    }
    return steps;
}

Json toJson(const Plan& plan, const Plan::Run& run) {
    Json json;
    json["action"] = run.bUninstall ? "uninstall" : "install";
    json["product"] = toJson(run.product);
    json["branches"] = Json::array();
    for (const Plan::Branch& branch : run.branches) {
        json["branches"].push_back(toJson(branch));
    }
    json["leftOut"] = run.leftOut;
    if (!run.recordPath.empty()) {
        Json& record = json["record"];
        record["path"] = run.recordPath;
        record["saved"] = run.bRecordSaved;
        record["removed"] = run.bRecordRemoved;
        record["before"] = toJson(run.before);
        record["after"] = toJson(run.after);
    }
    json["steps"] = stepsOf(plan, run);
    return json;
}

} // namespace

std::string asJson(const Plan& plan) {
    Json document;
    if (!plan.bUninstall) {
        document["source"] = plan.source;
    }
    document["definition"] = plan.definition;
    document["targets"] = plan.targets;
    document["succeeds"] = plan.bSucceeds;
    document["dangers"] = Json::array();
    for (const Plan::Danger& danger : plan.dangers) {
        document["dangers"].push_back({{"rule", danger.rule}, {"message", danger.message}});
    }
    document["runs"] = Json::array();
    for (const Plan::Run& run : plan.runs) {
        document["runs"].push_back(toJson(plan, run));
    }
    document["log"] = plan.log;
    return printed(document);
}
