#pragma once

#include <string>

/// What the subcommand "update" is told.
struct UpdateOptions {
    std::string definition;
    std::string source;
    bool bDryRun = false;
    bool bManifest = false; ///< begin a manifest; one that is there is brought up to date anyway
};

/// The exit status.
int runUpdate(const UpdateOptions& options);
