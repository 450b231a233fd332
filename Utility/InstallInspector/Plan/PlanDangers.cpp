#include "Foundation/VLString.h"
#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <algorithm>
#include <map>
#include <sys/stat.h>

namespace {

constexpr const char* productNotRecordedRule = "product-not-recorded";
constexpr const char* leavesRecordRule = "leaves-record";
constexpr const char* recordRemovedRule = "record-removed";
constexpr const char* recordUnreadableRule = "record-unreadable";
constexpr const char* recordNotSavedRule = "record-not-saved";
constexpr const char* copyFailsRule = "copy-fails";
constexpr const char* removeFailsRule = "remove-fails";
constexpr const char* unrecordedFileRule = "unrecorded-file";
constexpr const char* workingFolderRule = "working-folder";
constexpr const char* wholeFolderRule = "whole-folder";
constexpr const char* shortcutRule = "shortcut";
constexpr const char* uninstallerRule = "uninstaller";

using Action = Plan::Action;
using Verb = PlannedMachine::Verb;

/// The first few, and how many there are besides.
std::string listed(const std::vector<std::string>& names) {
    constexpr std::size_t most = 3;
    std::string text;
    for (std::size_t i = 0; i < names.size() && i < most; ++i) {
        text += (i == 0 ? "" : ", ") + names[i];
    }
    return names.size() > most ? text + " and " + std::to_string(names.size() - most) + " more" : text;
}

class DangerFinder {
public:
    explicit DangerFinder(Plan& toFill) : plan(toFill) {
        for (const Plan::Step& step : plan.steps) {
            if (step.verb == Verb::RemoveFolder && step.removed > 0) {
                removedFromFolders.emplace(step.path, step.removed);
            }
        }
    }

    void look() {
        for (const Plan::Run& run : plan.runs) {
            lookAtRecord(run);
            for (const Plan::Branch& branch : run.branches) {
                for (const Plan::Entry& entry : branch.entries) {
                    lookAtEntry(run, entry);
                }
            }
        }
        for (const Plan::Step& step : plan.steps) {
            lookAtStep(step);
        }
    }

private:
    void add(const char* rule, const std::string& message) { plan.dangers.push_back({rule, message}); }

    static bool lists(const Plan::Record& record, const VLString& id) {
        return std::any_of(record.products.begin(), record.products.end(),
                           [&](const auto& product) { return product.ID == id; });
    }

    void lookAtRecord(const Plan::Run& run) {
        if (run.recordPath.empty()) {
            return;
        }
        if (run.bRecordDamaged) {
            add(recordUnreadableRule,
                run.recordPath +
                    " is there but cannot be read: the run keeps it under another name, takes it "
                    "for an empty record and counts from nothing");
        }
        if (run.bRecordLeftAlone) {
            add(recordUnreadableRule, run.recordPath +
                                          " is there but cannot be read: the run takes it for an "
                                          "empty record and leaves it as it is");
        } else if (run.bUninstall && !run.before.products.empty() && !lists(run.before, run.product.ID)) {
            add(productNotRecordedRule,
                "the record does not list the product " + toString(run.product.ID) +
                    ": its uninstall lowers no count, and what it has installed stays");
        }
        if (!run.lost.empty()) {
            add(leavesRecordRule, "a folder above them comes to a count of zero, so that " +
                                      counted(run.lost.size(), "path that is", "paths that are") +
                                      " still in use will leave the record: " + listed(run.lost));
        }
        if (run.bRecordRemoved && !run.after.paths.empty()) {
            add(recordRemovedRule,
                "no product is left in the record, so it is removed, though it still counts " +
                    counted(run.after.paths.size(), "path", "paths"));
        }
        if (!run.bUninstall && !run.bRecordSaved && !run.bRecordLeftAlone && !run.branches.empty()) {
            add(recordNotSavedRule, run.recordPath +
                                        " cannot be saved, since its folder is not there or it is "
                                        "no file: what the run does is not recorded");
        }
    }

    void lookAtEntry(const Plan::Run& run, const Plan::Entry& entry) {
        const bool bRelative = entry.path.empty() || entry.path.front() != '/';
        switch (entry.action) {
        case Action::Fail:
            add(run.bUninstall ? removeFailsRule : copyFailsRule,
                entry.path + (run.bUninstall ? " cannot be removed: " : " cannot be written: ") + entry.why);
            break;
        case Action::Remove:
            if (bRelative) {
                add(workingFolderRule, entry.path +
                                           " is removed from the folder in which the run is started, "
                                           "since no target folder of its branch is there");
            } else if (entry.bFolder && !toVLString(entry.path)
                                             .HasOf(toVLString(entry.path).IndexOfIgnoreCase("vorlane", 0))) {
                lookAtRemovedFolder(entry.path);
            }
            break;
        case Action::Replace:
            if (!entry.bFolder && !run.recordPath.empty() && run.before.paths.count(entry.treePath) == 0) {
                add(unrecordedFileRule, entry.path +
                                            " is replaced, though the record does not list it: it may "
                                            "be someone else's");
            }
            break;
        case Action::Copy:
            if (bRelative) {
                add(workingFolderRule, entry.path + " is written relative to the folder in which the run is "
                                                    "started");
            }
            break;
        case Action::Keep:
        case Action::Missing:
            break;
        }
    }

    /// One whose path does not say that it is the family's.
    void lookAtRemovedFolder(const std::string& path) {
        const auto removed = removedFromFolders.find(path);
        if (removed != removedFromFolders.end()) {
            add(wholeFolderRule, path + " is removed as a whole, with the " +
                                     counted(removed->second, "file or folder", "files and folders") +
                                     " in it, whoever put them there");
        }
    }

    void lookAtStep(const Plan::Step& step) {
        if (step.verb == Verb::Link && step.bSucceeded && step.before == S_IFDIR) {
            add(shortcutRule, step.path + " is a folder: the shortcut to " + step.source +
                                  " is made inside it, and no uninstall will find it");
        } else if (step.verb == Verb::Link && step.bSucceeded && step.before != 0 && step.before != S_IFLNK) {
            add(shortcutRule, step.path + " is no shortcut, and is replaced by one to " + step.source);
        } else if (step.verb == Verb::Link && !step.bSucceeded) {
            add(shortcutRule, step.path + " cannot be made: " + step.why);
        } else if (!step.bSucceeded && (step.verb == Verb::CopyItem || step.verb == Verb::CreateLink ||
                                        step.verb == Verb::CreateFolder)) {
            add(uninstallerRule, step.path + " cannot be placed: " + step.why);
        }
    }

    Plan& plan;
    std::map<std::string, std::size_t> removedFromFolders; ///< how much, by the folder that was removed first
};

} // namespace

void findDangers(Plan& plan) {
    DangerFinder(plan).look();
}

std::vector<std::string> allDangerRules() {
    return {productNotRecordedRule, leavesRecordRule, recordRemovedRule, recordUnreadableRule,
            recordNotSavedRule,     copyFailsRule,    removeFailsRule,   unrecordedFileRule,
            workingFolderRule,      wholeFolderRule,  shortcutRule,      uninstallerRule};
}
