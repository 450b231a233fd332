#pragma once

#include <string>

/// What the subcommand "update" is told.
struct UpdateOptions {
    std::string definition;
    std::string source;
    bool bDryRun = false;
};

/// The exit status.
int runUpdate(const UpdateOptions& options);
