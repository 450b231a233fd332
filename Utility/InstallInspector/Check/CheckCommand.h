#pragma once

#include "Utility/InstallInspector/Report/Finding.h"

#include <string>
#include <vector>

/// What the subcommand "check" is told.
struct CheckOptions {
    std::vector<std::string> files;   ///< definitions and target-paths files, in any order
    std::vector<std::string> sources; ///< one for all products, or one for each
    std::vector<std::string> hosts;   ///< which the engine does not know, and which are meant
    std::vector<std::string> ignoredRules;
    Severity failOn = Severity::Warning; ///< the least that makes the exit status 1
    bool bJson = false;
    bool bRules = false; ///< only list the rules
};

/// The exit status.
int runCheck(const CheckOptions& options);
