#include "Utility/InstallInspector/Plan/PlanSummary.h"

#include "Utility/InstallInspector/Documents/FolderAbove.h"

#include <algorithm>
#include <sys/stat.h>
#include <utility>

namespace {

using Action = Plan::Action;

std::string withoutSlash(std::string folder) {
    while (folder.size() > 1 && folder.back() == '/') {
        folder.pop_back();
    }
    return folder;
}

TargetRow rowOf(const Plan::Branch& branch) {
    TargetRow row;
    row.host = branch.host.empty() ? branch.treePath : branch.host;
    if (!branch.host.empty()) {
        row.families = {branch.family};
    }
    return row;
}

TargetRow rowOf(const Plan::Branch& branch, const Plan::Target& target) {
    TargetRow row = rowOf(branch);
    row.bApplies = !target.path.empty();
    row.folder = row.bApplies ? target.path : target.pattern;
    row.why = reasonOf(target);
    return row;
}

/// The rows of a branch, each with its pattern.
class BranchRows {
public:
    BranchRows(const Plan& toLookAt, const Plan::Branch& ofPlan) : plan(toLookAt), branch(ofPlan) {
        for (const Plan::Target& target : branch.targets) {
            rows.emplace_back(rowOf(branch, target), target.pattern);
        }
        if (branch.targets.empty()) {
            rows.emplace_back(rowOf(branch), "");
            rows.back().first.why = "it has no target path";
        }
        countEntries();
        countRemnants();
    }

    std::vector<std::pair<TargetRow, std::string>> rows;

private:
    TargetRow* rowFor(const std::string& path) {
        for (auto& [row, pattern] : rows) {
            if (row.bApplies && !relativeTo(row.folder, path).empty()) {
                return &row;
            }
        }
        return nullptr;
    }

    /// The row for the working folder of the run. If an uninstall finds no target folder of a branch, it
    /// looks for the files there.
    TargetRow& bareNames() {
        if (rows.back().first.folder != startFolder) {
            rows.emplace_back(rowOf(branch), "");
            rows.back().first.folder = startFolder;
            rows.back().first.bApplies = true;
            rows.back().first.why = "no target folder applies";
        }
        return rows.back().first;
    }

    void countEntries() {
        for (const Plan::Entry& entry : branch.entries) {
            TargetRow* row = rowFor(entry.path);
            if (row == nullptr && entry.action != Action::Missing) {
                row = &bareNames();
            }
            if (row != nullptr) {
                ++row->counts[entry.action];
            }
        }
    }

    void countRemnants() {
        for (const Plan::Remnant& remnant : plan.remnants) {
            if (isAtOrBelow(remnant.treePath, branch.treePath)) {
                TargetRow* row = rowFor(remnant.path);
                ++(row == nullptr ? rows.front().first : *row).left;
            }
        }
    }

    static constexpr const char* startFolder = "the folder in which the run is started";

    const Plan& plan;
    const Plan::Branch& branch;
};

/// Whether `next` can be joined with `row`. Both have the same pattern.
bool canJoin(const TargetRow& row, const TargetRow& next) {
    return !row.families.empty() && !next.families.empty() && row.host == next.host &&
           row.bApplies == next.bApplies && row.why == next.why &&
           row.families.back() != next.families.back();
}

void join(TargetRow& row, const TargetRow& next, const std::string& pattern) {
    row.families.insert(row.families.end(), next.families.begin(), next.families.end());
    row.folder = row.folder == next.folder ? row.folder : pattern;
    for (const auto& [action, count] : next.counts) {
        row.counts[action] += count;
    }
    row.left += next.left;
}

} // namespace

std::string nameAndBuildOf(const SKUDefinition::SKUInfo& product) {
    const std::string name = toString(product.name);
    const std::string build = toString(product.build);
    return (name.empty() ? "a product without name" : name) + (build.empty() ? "" : " " + build) + " (" +
           toString(product.ID) + ")";
}

const char* wordFor(Action action) {
    switch (action) {
    case Action::Copy:
        return "copy";
    case Action::Replace:
        return "replace";
    case Action::Remove:
        return "remove";
    case Action::Fail:
        return "FAIL";
    case Action::Missing:
        return "missing";
    case Action::Keep:
        break;
    }
    return "keep";
}

Colour colourOf(Action action) {
    switch (action) {
    case Action::Copy:
        return Colour::Green;
    case Action::Replace:
    case Action::Remove:
        return Colour::Yellow;
    case Action::Fail:
        return Colour::Red;
    case Action::Missing:
    case Action::Keep:
        break;
    }
    return Colour::Dim;
}

std::string reasonOf(const Plan::Target& target) {
    const bool bByCondition = target.condition && (!target.path.empty() || !target.condition->bHolds);
    return bByCondition ? reasonOf(*target.condition) : target.whyNot;
}

std::string relativeTo(const std::string& folder, const std::string& path) {
    const std::string above = withoutSlash(folder);
    if (path == folder || path == above) {
        return ".";
    }
    const std::string beginning = above == "/" ? above : above + "/";
    return path.rfind(beginning, 0) == 0 ? path.substr(beginning.size()) : "";
}

std::string printed(const ActionCounts& counts) {
    static const std::pair<Action, const char*> words[] = {{Action::Copy, "to copy"},
                                                           {Action::Replace, "to replace"},
                                                           {Action::Remove, "to remove"},
                                                           {Action::Keep, "to keep"},
                                                           {Action::Fail, "that fail"}};
    std::vector<std::string> texts;
    for (const auto& [action, word] : words) {
        const auto found = counts.find(action);
        if (found != counts.end() && found->second != 0) {
            texts.push_back(std::to_string(found->second) + " " + word);
        }
    }
    return joined(texts, ", ");
}

std::string workOf(const Plan& plan) {
    ActionCounts counts;
    for (const Plan::Run& run : plan.runs) {
        for (const Plan::Branch& branch : run.branches) {
            for (const Plan::Entry& entry : branch.entries) {
                ++counts[entry.action];
            }
        }
    }
    const std::string text = printed(counts);
    return text.empty() ? "Nothing to do here." : "Files and whole folders: " + text + ".";
}

std::string outcomeOf(const Plan& plan) {
    if (!plan.bSucceeds) {
        return "The run would fail.";
    }
    switch (plan.verdict) {
    case Verdict::Safe:
        return "The run would succeed.";
    case Verdict::Harm:
        return "The run would succeed, but see what is dangerous about it.";
    case Verdict::CannotTell:
        break;
    }
    return "The run would succeed; whether it does harm is not known.";
}

std::string RecordChange::builds() const {
    const bool bChanged = !oldBuild.empty() && !newBuild.empty() && oldBuild != newBuild;
    return bChanged ? oldBuild + " to " + newBuild : newBuild;
}

RecordChanges changesOf(const Plan::Run& run) {
    RecordChanges changes;
    for (const auto& [path, recorded] : run.before.paths) {
        RecordChange& change = changes[path];
        change.before = std::to_string(recorded.count);
        change.oldBuild = recorded.build;
        change.bFolder = recorded.bFolder;
    }
    for (const auto& [path, recorded] : run.after.paths) {
        RecordChange& change = changes[path];
        change.after = std::to_string(recorded.count);
        change.newBuild = recorded.build;
        change.bFolder = recorded.bFolder;
    }
    return changes;
}

std::vector<TargetRow> targetRows(const Plan& plan, const Plan::Run& run, bool bJoined) {
    std::vector<std::pair<TargetRow, std::string>> rows; // with their patterns
    for (const Plan::Branch& branch : run.branches) {
        for (auto& [row, pattern] : BranchRows(plan, branch).rows) {
            const auto same =
                std::find_if(rows.begin(), rows.end(), [&row = row, &pattern = pattern](const auto& other) {
                    return other.second == pattern && canJoin(other.first, row);
                });
            if (bJoined && same != rows.end()) {
                join(same->first, row, pattern);
            } else {
                rows.emplace_back(std::move(row), std::move(pattern));
            }
        }
    }
    std::vector<TargetRow> result;
    result.reserve(rows.size());
    for (auto& [row, pattern] : rows) {
        result.push_back(std::move(row));
    }
    return result;
}

std::string whatHappens(const TargetRow& row) {
    const std::string counts = printed(row.counts);
    const std::string left = row.left == 0 ? "" : std::to_string(row.left) + " left behind";
    const std::string text = counts + (counts.empty() || left.empty() ? "" : ", ") + left;
    return !text.empty() ? text : row.bApplies ? "nothing" : "no";
}

FolderChanges folderChangesOf(const Plan& plan, const Plan::Run& run) {
    FolderChanges changes;
    for (std::size_t i = run.firstStep; i < run.endStep; ++i) {
        const Plan::Step& step = plan.steps[i];
        changes.made.insert(changes.made.end(), step.made.begin(), step.made.end());
        if (step.bSucceeded && step.before == S_IFDIR &&
            (step.verb == PlannedMachine::Verb::RemoveEmptyFolder ||
             step.verb == PlannedMachine::Verb::RemoveFolder)) {
            changes.removed.push_back(step.path);
        }
    }
    return changes;
}
