#pragma once

#include <string>
#include <vector>

/// The arguments of the subcommand "compare".
struct CompareOptions {
    std::string oldDefinition;
    std::string newDefinition;
    std::vector<std::string> targets; ///< none, or those of the old build and those of the new one
    bool bJson = false;
};

/// Returns the exit status.
int runCompare(const CompareOptions& options);
