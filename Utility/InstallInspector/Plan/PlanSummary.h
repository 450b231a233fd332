#pragma once

#include "Utility/InstallInspector/Plan/Plan.h"

#include <map>
#include <string>
#include <vector>

// Shared by the texts and the pages about a plan. Like in the plan, texts are not escaped.

/// "Ember & Ink 5.0.120101 (EMBERINK)".
std::string nameAndBuildOf(const SKUDefinition::SKUInfo& product);
/// The word for what happens to a file.
const char* wordFor(Plan::Action action);
Colour colourOf(Plan::Action action);
/// Why the target path applies or not, as a sentence without a full stop. Empty if it always applies.
std::string reasonOf(const Plan::Target& target);
/// The part of `path` below `folder`. "." for the folder itself. Empty if `path` lies somewhere else.
std::string relativeTo(const std::string& folder, const std::string& path);

using ActionCounts = std::map<Plan::Action, std::size_t>;
/// "2 to copy, 1 to keep". Empty if all counts are 0.
std::string printed(const ActionCounts& counts);
/// "Files and whole folders: 2 to copy.", or a sentence that there is nothing to do.
std::string workOf(const Plan& plan);
/// "The run would succeed."
std::string outcomeOf(const Plan& plan);

/// A path of the record before and after a run. The count "-" means that the path is not in the record.
struct RecordChange {
    std::string before = "-";
    std::string after = "-";
    std::string oldBuild;
    std::string newBuild;
    bool bFolder = false;

    bool isNone() const { return before == after && oldBuild == newBuild; }
    /// The build, or "1.0 to 2.0" if it changes. Empty if the new record has no build of the path.
    std::string builds() const;
};
using RecordChanges = std::map<std::string, RecordChange, Plan::TreeOrder>;
RecordChanges changesOf(const Plan::Run& run);

/// One target folder for families of a host, or for a branch that all hosts share.
struct TargetRow {
    std::string host;                  ///< the name of the host, or the path of a shared branch in the tree
    std::vector<std::string> families; ///< empty for a shared branch
    std::string folder;                ///< its path; the pattern if it does not apply or the families differ
    bool bApplies = false;
    std::string why;
    ActionCounts counts;
    std::size_t left = 0; ///< the number of remnants of an uninstall
};
/// The rows in the order of the run. With `bJoined`, the families of a host share a row if their pattern and
/// reason are the same.
std::vector<TargetRow> targetRows(const Plan& plan, const Plan::Run& run, bool bJoined);
/// What happens in the folder: "2 to copy", "nothing", or "no" if it does not apply.
std::string whatHappens(const TargetRow& row);

std::string asBrief(const Plan& plan, const Painter& painter);
std::string asHtml(const Plan& plan);

/// The folders that a run makes and removes, in the order of its steps.
struct FolderChanges {
    std::vector<std::string> made;
    std::vector<std::string> removed;
};
FolderChanges folderChangesOf(const Plan& plan, const Plan::Run& run);
