#pragma once

#include "Utility/InstallInspector/Report/Finding.h"

#include <string>
#include <vector>

/// The arguments of the subcommand "check".
struct CheckOptions {
    std::vector<std::string> files;   ///< definitions and target-paths files, in any order
    std::vector<std::string> sources; ///< one for all products, or one for each
    std::vector<std::string> hosts;   ///< unknown to the engine, but correct
    std::vector<std::string> ignoredRules;
    Severity failOn = Severity::Warning; ///< the lowest severity that makes the exit status 1
    bool bJson = false;
    bool bRules = false; ///< only list the rules
};

/// Returns the exit status.
int runCheck(const CheckOptions& options);
