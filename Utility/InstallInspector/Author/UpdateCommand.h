#pragma once

#include <string>

/// The arguments of the subcommand "update".
struct UpdateOptions {
    std::string definition;
    std::string source;
    bool bDryRun = false;
    bool bManifest = false; ///< add missing manifests; existing ones are always updated
};

/// Returns the exit status.
int runUpdate(const UpdateOptions& options);
