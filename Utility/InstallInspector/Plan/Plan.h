#pragma once

#include "Utility/InstallInspector/Plan/PlannedMachine.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// What a run would do on this machine. Texts are the engine's own bytes; whoever shows them makes them fit.
struct Plan {
    using Step = PlannedMachine::Step;

    /// A condition of a target path, with what it found.
    struct Condition {
        std::string type;  ///< as target-paths files name it; empty for one that no engine knows
        std::string value; ///< the pattern
        std::string filled;
        bool bHolds = true;
        std::string found; ///< a sentence without full stop; empty for And and Or
        std::vector<Condition> operands;
    };

    /// A target path, whether it applies or not.
    struct Target {
        std::string pattern;
        std::string path; ///< empty unless it applies
        std::string whyNot;
        std::optional<Condition> condition;
        bool bThere = false; ///< whether the folder is there when the branch begins
    };

    enum class Action { Copy, Replace, Keep, Remove, Missing, Fail };

    /// A file, or a folder that is installed or removed as a whole, in one target folder.
    struct Entry {
        std::string treePath; ///< components joined by "/"
        std::string path;     ///< on this machine
        bool bFolder = false;
        Action action = Action::Keep;
        std::string why;
        std::string shortCut; ///< its path; empty when none is made or removed
    };

    /// A branch of the tree of files that has a target item of its own.
    struct Branch {
        std::string treePath; ///< components joined by "/"
        std::string host;     ///< empty but for a family of a host
        std::string family;
        std::string item; ///< the target item, components joined by "/"
        std::vector<Target> targets;
        std::vector<Entry> entries;
        bool bSecondAttempt = false; ///< the first failed, and nobody is asked to clear the way
    };

    struct RecordedPath {
        std::int32_t count = 0;
        std::string build;
        std::string shortCut;
        bool bFolder = false;
    };

    /// Paths with all that lies below them right behind them.
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
        std::vector<std::string> leftOut; ///< what of the tree no run touches, and why
        std::string recordPath;           ///< empty when no record is kept
        Record before;
        Record after;
        std::vector<std::string> lost; ///< paths in use that leave the record with a folder above them
        bool bRecordLeftAlone = false; ///< it is there and cannot be read, so it is neither saved nor removed
        bool bRecordDamaged = false; ///< it is there and taken for an empty one; its bytes are kept beside it
        bool bRecordSaved = false;
        bool bRecordRemoved = false;
        std::size_t firstStep = 0;
        std::size_t endStep = 0; ///< steps of a run that follows are not among them
    };

    struct Danger {
        std::string rule; ///< one of allDangerRules
        std::string message;
    };

    bool bUninstall = false;
    std::string source; ///< empty for an uninstall
    std::string definition;
    std::string targets;
    std::vector<Run> runs; ///< the second is that of the shared package
    std::vector<Step> steps;
    std::vector<Danger> dangers;
    std::string log;        ///< what the run would print
    bool bSucceeds = false; ///< whether its exit status would be 0
};

/// Takes an install, or an uninstall, which needs no `source`, through the engine on a machine that is only
/// thought. Writes nothing, and prints nothing. Throws CannotForesee.
Plan planRun(bool bUninstall, const std::string& source, const std::string& definition,
             const std::string& targets);

/// Fills `dangers` from all the rest.
void findDangers(Plan& plan);

/// Names in kebab case; never changed, since scripts rely on them.
std::vector<std::string> allDangerRules();

std::string asText(const Plan& plan, const Painter& painter);
std::string asJson(const Plan& plan);
/// The shell commands, in their order, one in each line.
std::string asCommands(const Plan& plan);
