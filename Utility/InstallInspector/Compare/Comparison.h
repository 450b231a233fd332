#pragma once

#include "Utility/InstallInspector/Compare/Build.h"

#include <string>
#include <vector>

/// One thing in which a machine that had the old build and then gets the new one differs from a machine that
/// gets the new one alone.
struct Difference {
    enum class State {
        Left,      ///< the file of the old build stays, and the new build has nothing at its place
        Old,       ///< the file of the old build stays in place of the new one
        Missing,   ///< the file of the new build is missing
        Misplaced, ///< the file of the old build stays, and the new one is at another place
        Mixed      ///< a folder that may contain files of the old build among those of the new one
    };
    enum class Cause {
        NotReplaced, ///< the number of the new build is lower, or there is no record of the old one
        InTheWay,    ///< a folder is where a file goes, or the reverse
        NotListed,   ///< it is in no tree or target folder of the new build
        Part,        ///< it is not in the folder of the new build, according to the manifests
        UnknownPart, ///< there is no manifest of the folder
        ShortCut,
        Uninstaller
    };

    State state;
    Cause cause;
    std::string path; ///< see Build::Entry
    /// Null for an uninstaller, and for a shortcut that is missing or misplaced. For a shortcut that leads
    /// elsewhere than it should, the file to which it leads. This may be one of the new build.
    const Build::Entry* old = nullptr;
    const Build::Entry* now = nullptr; ///< null if the new build has none
    std::string at{};                  ///< the place of a misplaced file
    std::string when{};                ///< on which machines; empty for all machines that had it
};
const char* nameOf(Difference::State state);

/// What an update from one build to another does to a machine. Both builds must outlive it.
struct Comparison {
    const Build& old;
    const Build& now;
    bool bTargets;             ///< whether target paths are compared, too
    bool bRecordMoves = false; ///< on some machine the new build has its record in another folder
    bool bNoRecord = false;    ///< the new build has a record on no machine
    std::vector<Difference> differences;

    /// Whether the update overwrites the file of this node of the new build's tree.
    bool replaces(const Product::TreeNode& node) const;
};

Comparison compareBuilds(const Build& old, const Build& now);
