#pragma once

#include <string>

/// The arguments of the subcommand "plan".
struct PlanOptions {
    std::string source; ///< empty for an uninstall
    std::string definition;
    std::string targets;
    std::string machine; ///< the description of the machine; empty for this one
    bool bUninstall = false;
    bool bJson = false;
    bool bCommands = false;
    bool bBrief = false;
    std::string html;    ///< the file for a page; empty for none
    bool bForce = false; ///< replace that file
};

/// Returns the exit status.
int runPlan(const PlanOptions& options);
