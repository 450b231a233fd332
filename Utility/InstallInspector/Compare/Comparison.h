#pragma once

#include "Utility/InstallInspector/Compare/Build.h"

#include <string>
#include <vector>

/// One thing in which a machine that had the old build and then gets the new one differs from a machine that
/// gets the new one alone.
struct Difference {
    enum class State {
        Left,      ///< the old build's is still there, and the new one has nothing in that place
        Old,       ///< the old build's is still there in place of the new one's
        Missing,   ///< the new build's is not there
        Misplaced, ///< the old build's is still there, and the new one's lies at another place
        Mixed      ///< a folder in which files of the old build may lie among those of the new one
    };
    enum class Cause {
        NotReplaced, ///< the new build's number is lower, or no record says that it is not
        InTheWay,    ///< a folder lies where a file goes, or the reverse
        NotListed,   ///< in no tree or target folder of the new build
        Part,        ///< not in the new build's folder, as the manifests say
        UnknownPart, ///< no manifest says what is in the folder
        ShortCut,
        Uninstaller
    };

    State state;
    Cause cause;
    std::string path;                  ///< see Build::Entry
    const Build::Entry* old = nullptr; ///< null for a shortcut or uninstaller
    const Build::Entry* now = nullptr; ///< null when the new build has none
    std::string at{};                  ///< where it lies that is misplaced
    std::string when{};                ///< on which machines; empty for all that had it
};
const char* nameOf(Difference::State state);

/// What an update from one build to another does to a machine. Both must outlive it.
struct Comparison {
    const Build& old;
    const Build& now;
    bool bTargets;             ///< whether target paths are compared, too
    bool bRecordMoves = false; ///< the new build looks for its record elsewhere, on some machine
    bool bNoRecord = false;    ///< it has none on any
    std::vector<Difference> differences;

    /// Whether the update writes over what is there under that path of the new build's tree.
    bool replaces(const Product::TreeNode& node) const;
};

Comparison compareBuilds(const Build& old, const Build& now);
