#pragma once

#include <string>

/// What the subcommand "plan" is told.
struct PlanOptions {
    std::string source; ///< empty for an uninstall
    std::string definition;
    std::string targets;
    bool bUninstall = false;
    bool bJson = false;
    bool bCommands = false;
};

/// The exit status.
int runPlan(const PlanOptions& options);
