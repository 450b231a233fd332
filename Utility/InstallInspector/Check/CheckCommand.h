#pragma once

#include <string>

/// What the subcommand "check" is told.
struct CheckOptions {
    std::string definition;
    std::string targets; ///< empty when there is none
    std::string source;  ///< empty when there is none
    bool bJson = false;
    bool bRules = false; ///< only list the rules
};

/// The exit status.
int runCheck(const CheckOptions& options);
