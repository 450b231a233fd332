#pragma once

#include <string>
#include <vector>

/// What the subcommand "compare" is told.
struct CompareOptions {
    std::string oldDefinition;
    std::string newDefinition;
    std::vector<std::string> targets; ///< none, or those of the old build and those of the new one
    bool bJson = false;
};

/// The exit status.
int runCompare(const CompareOptions& options);
