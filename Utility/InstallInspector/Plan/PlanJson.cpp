#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/JsonWriter.h"

#include <utility>

namespace {

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

class Writer {
public:
    Writer(const Plan& toWrite, Output& output) : plan(toWrite), json(output) {}

    void document() {
        json.beginObject();
        if (!plan.bUninstall) {
            json.text("source", plan.source);
        }
        json.text("definition", plan.definition);
        json.text("targets", plan.targets);
        json.flag("succeeds", plan.bSucceeds);
        json.text("verdict", nameOf(plan.verdict));
        writeEach("dangers", plan.dangers);
        writeEach("leftBehind", plan.remnants);
        writeEach("runs", plan.runs);
        json.text("log", plan.log);
        json.endObject();
    }

private:
    template <class Item>
    void writeObject(const char* name, const Item& item) {
        json.beginObject(name);
        write(item);
        json.endObject();
    }

    template <class List>
    void writeEach(const char* name, const List& items) {
        json.beginArray(name);
        for (const auto& item : items) {
            writeObject(nullptr, item);
        }
        json.endArray();
    }

    void writeTexts(const char* name, const std::vector<std::string>& texts) {
        json.beginArray(name);
        for (const std::string& text : texts) {
            json.element(text);
        }
        json.endArray();
    }

    // Each writes the members of the object that is open.

    void write(const ConditionResult& condition) {
        json.text("type", condition.type);
        json.flag("holds", condition.bHolds);
        if (condition.type == "And" || condition.type == "Or") {
            writeEach("operands", condition.operands);
            return;
        }
        json.text("value", condition.value);
        json.text("filled", condition.filled);
        json.text("found", condition.found);
    }

    void write(const Plan::Target& target) {
        json.text("pattern", target.pattern);
        json.flag("applies", !target.path.empty());
        if (target.path.empty()) {
            json.text("why", target.whyNot);
        } else {
            json.text("path", target.path);
            json.flag("exists", target.bThere);
        }
        if (target.condition) {
            writeObject("condition", *target.condition);
        }
    }

    void write(const Plan::Entry& entry) {
        json.text("name", entry.treePath);
        json.text("path", entry.path);
        json.text("kind", entry.bFolder ? "folder" : "file");
        json.text("action", nameOf(entry.action));
        json.text("why", entry.why);
        if (!entry.shortCut.empty()) {
            json.text("shortcut", entry.shortCut);
        }
    }

    void write(const Plan::Branch& branch) {
        json.text("name", branch.treePath);
        if (!branch.host.empty()) {
            json.text("host", branch.host);
            json.text("family", branch.family);
        }
        json.text("item", branch.item);
        json.flag("secondAttempt", branch.bSecondAttempt);
        writeEach("targets", branch.targets);
        writeEach("entries", branch.entries);
    }

    void write(const SKUDefinition::SKUInfo& product) {
        json.text("ID", toString(product.ID));
        json.text("name", toString(product.name));
        json.text("build", toString(product.build));
    }

    void write(const std::pair<const std::string, Plan::RecordedPath>& entry) {
        const auto& [path, recorded] = entry;
        json.text("path", path);
        json.text("kind", recorded.bFolder ? "folder" : "file");
        json.number("count", recorded.count);
        if (!recorded.bFolder) {
            json.text("build", recorded.build);
        }
        if (!recorded.shortCut.empty()) {
            json.text("shortcut", recorded.shortCut);
        }
    }

    void write(const Plan::Record& record) {
        writeEach("products", record.products);
        writeEach("paths", record.paths);
    }

    void write(const Plan::Step& step) {
        if (step.command.empty()) {
            json.text("operation", nameOf(step.verb));
            json.text("path", step.path);
            if (!step.source.empty()) {
                json.text("source", step.source);
            }
        } else {
            json.text("command", step.command);
        }
        json.flag("succeeds", step.bSucceeded);
        if (!step.bSucceeded) {
            json.text("why", step.why);
        }
        if (!step.made.empty()) {
            writeTexts("madeFolders", step.made);
        }
        if (step.bSucceeded && (step.verb == Verb::RemoveEmptyFolder || step.verb == Verb::RemoveFolder)) {
            json.text("removedFolder", step.path);
        }
    }

    void write(const Plan::Danger& danger) {
        json.text("rule", danger.rule);
        json.text("verdict", nameOf(danger.verdict));
        json.text("message", danger.message);
        writeTexts("paths", danger.paths);
    }

    void write(const Plan::Remnant& remnant) {
        json.text("name", remnant.treePath);
        json.text("path", remnant.path);
        json.text("why", remnant.why);
    }

    void writeRecord(const Plan::Run& run) {
        json.beginObject("record");
        json.text("path", run.recordPath);
        json.flag("saved", run.bRecordSaved);
        json.flag("removed", run.bRecordRemoved);
        writeObject("before", run.before);
        writeObject("after", run.after);
        json.endObject();
    }

    void writeSteps(const Plan::Run& run) {
        json.beginArray("steps");
        for (std::size_t i = run.firstStep; i < run.endStep; ++i) {
            writeObject(nullptr, plan.steps[i]);
        }
        json.endArray();
    }

    void write(const Plan::Run& run) {
        json.text("action", run.bUninstall ? "uninstall" : "install");
        writeObject("product", run.product);
        writeEach("branches", run.branches);
        writeTexts("leftOut", run.leftOut);
        if (!run.recordPath.empty()) {
            writeRecord(run);
        }
        writeSteps(run);
    }

    const Plan& plan;
    JsonWriter json;
};

} // namespace

void writeJson(const Plan& plan, Output& output) {
    Writer(plan, output).document();
}
