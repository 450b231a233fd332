#pragma once

#include "Utility/InstallInspector/Plan/Plan.h"

#include <map>
#include <string>
#include <vector>

// What the texts and pages about a plan share. Like those of the plan, texts are not escaped.

/// "Ember & Ink 5.0.120101 (EMBERINK)".
std::string nameAndBuildOf(const SKUDefinition::SKUInfo& product);
/// The word for what happens to a file.
const char* wordFor(Plan::Action action);
/// Why the target path applies, or why not: a sentence without a full stop. Empty when it always applies.
std::string reasonOf(const Plan::Target& target);
/// `path` inside `folder`, or nothing when it is somewhere else. The folder itself gives ".".
std::string relativeTo(const std::string& folder, const std::string& path);

using ActionCounts = std::map<Plan::Action, std::size_t>;
/// "2 to copy, 1 to keep"; empty without any.
std::string printed(const ActionCounts& counts);
/// "Files and whole folders: 2 to copy.", or that there is nothing to do.
std::string workOf(const Plan& plan);
/// "The run would succeed."
std::string outcomeOf(const Plan& plan);

/// A path of the record before and after a run; the count "-" stands for one that is not in it.
struct RecordChange {
    std::string before = "-";
    std::string after = "-";
    std::string oldBuild;
    std::string newBuild;
    bool bFolder = false;

    bool isNone() const { return before == after && oldBuild == newBuild; }
    /// The build, or "1.0 to 2.0"; empty where there is none.
    std::string builds() const;
};
using RecordChanges = std::map<std::string, RecordChange, Plan::TreeOrder>;
RecordChanges changesOf(const Plan::Run& run);

/// What the families of a host, or a branch that all hosts share, get in one target folder.
struct TargetRow {
    std::string host;                  ///< that of the branch, or its path in the tree
    std::vector<std::string> families; ///< empty for a shared branch
    std::string folder;                ///< its path; the pattern when it does not apply or is that of several
    bool bApplies = false;
    std::string why;
    ActionCounts counts;
    std::size_t left = 0; ///< what an uninstall leaves behind
};
/// In the order of the run. `bJoined`: families of a host come together where pattern and reason are the
/// same.
std::vector<TargetRow> targetRows(const Plan& plan, const Plan::Run& run, bool bJoined);
/// What happens there: "2 to copy", "no", "nothing".
std::string whatHappens(const TargetRow& row);

std::string asBrief(const Plan& plan, const Painter& painter);
std::string asHtml(const Plan& plan);
