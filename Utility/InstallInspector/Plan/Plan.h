#pragma once

#include "Utility/InstallInspector/Documents/ConditionResult.h"
#include "Utility/InstallInspector/Plan/PlannedMachine.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Report/Verdict.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// What a run would do on this machine. Texts are the bytes that the engine uses. Escape them before
/// printing.
struct Plan {
    using Step = PlannedMachine::Step;

    /// A target path, whether or not it applies.
    struct Target {
        std::string pattern;
        std::string path; ///< empty unless it applies
        std::string whyNot;
        std::optional<ConditionResult> condition;
        bool bThere = false; ///< whether the folder exists when the branch begins
    };

    enum class Action { Copy, Replace, Keep, Remove, Missing, Fail };

    /// A file, or a folder that is copied or removed as a whole, in one target folder.
    struct Entry {
        std::string treePath; ///< with "/" between components
        std::string path;     ///< on this machine
        bool bFolder = false;
        Action action = Action::Keep;
        std::string why;
        std::string shortCut;       ///< its path; empty when none is made or removed
        bool bListedAsFile = false; ///< of an uninstall: the tree lists it as a file
    };

    /// What the user would be asked, about a part of the tree that could not be copied.
    struct Question {
        std::string text;
        std::vector<std::string> causes;  ///< sentences without full stop
        std::vector<std::string> missing; ///< tree paths that are not folders in the source, but should be
    };

    /// A branch of the tree of files that has its own target item.
    struct Branch {
        std::string treePath; ///< with "/" between components
        std::string host;     ///< only for a family of a host
        std::string family;
        std::string item; ///< the target item, with "/" between components
        std::vector<Target> targets;
        std::vector<Entry> entries;
        bool bSecondAttempt = false; ///< a copy failed, so the branch is copied once more
    };

    struct RecordedPath {
        std::int32_t count = 0;
        std::string build;
        std::string shortCut;
        bool bFolder = false;
    };

    /// Orders paths so that everything below a folder comes directly after it.
    struct TreeOrder {
        bool operator()(const std::string& a, const std::string& b) const;
    };

    struct Record {
        std::vector<SKUDefinition::SKUInfo> products;
        std::map<std::string, RecordedPath, TreeOrder> paths;
    };

    /// An install, an uninstall, or the uninstall of the shared package that follows one.
    struct Run {
        bool bUninstall = false;
        SKUDefinition::SKUInfo product;
        std::vector<Branch> branches;
        std::vector<std::string> leftOut; ///< parts of the tree that no run touches, each with the reason
        std::vector<Question> questions;
        std::string recordPath; ///< empty when no record is kept
        Record before;
        Record after;
        std::vector<std::string> lost; ///< paths in use that leave the record together with a folder above
        bool bRecordLeftAlone = false; ///< it exists and cannot be read, so it is not saved or removed
        bool bRecordDamaged = false;   ///< it is malformed; the run keeps a copy and uses an empty record
        bool bRecordSaved = false;
        bool bRecordRemoved = false;
        std::size_t firstStep = 0;
        std::size_t endStep = 0; ///< past the last step of this run
    };

    struct Danger {
        std::string rule; ///< one of allDangerRules
        std::string message;
        Verdict verdict = Verdict::Harm; ///< or CannotTell, if something cannot be read
        std::vector<std::string> paths;  ///< all paths of the danger, on this machine or in the tree
    };

    /// A file or folder of the product that an uninstall leaves on the machine.
    struct Remnant {
        std::string treePath;
        std::string path; ///< on this machine
        std::string why;
    };

    bool bUninstall = false;
    std::string source; ///< empty for an uninstall
    std::string definition;
    std::string targets;
    std::vector<Run> runs; ///< the second is the uninstall of the shared package
    std::vector<Step> steps;
    std::vector<Danger> dangers;
    std::vector<Remnant> remnants;
    Verdict verdict = Verdict::Safe; ///< a run that fails is Harm, too
    std::string log;                 ///< what the run would print
    bool bSucceeds = false;          ///< whether its exit status would be 0
};

/// Runs the engine against an in-memory machine and records each step in a Plan. `source` is not used for an
/// uninstall. The machine is this one, or the described one when there is a description. Writes and prints
/// nothing. Throws CannotForesee if a result cannot be predicted, and BadDescription if a described product
/// cannot be installed.
Plan planRun(bool bUninstall, const std::string& source, const std::string& definition,
             const std::string& targets, const MachineDescription* described = nullptr);

class Survey;
/// Fills `dangers` and `verdict`. All other members must be filled before.
void findDangers(Plan& plan, const Survey& survey);
/// The value of Plan::remnants. Call it after Survey::lookAfterRun.
std::vector<Plan::Remnant> remnantsOf(const Survey& survey);

/// The names of all dangers. Names never change, because scripts use them.
std::vector<std::string> allDangerRules();

std::string asText(const Plan& plan, const Painter& painter);
void writeJson(const Plan& plan, Output& output);
/// The shell commands, in their order, one in each line.
std::string asCommands(const Plan& plan);
