#pragma once

#include "Utility/InstallInspector/Author/NewDefinition.h"

#include <string>
#include <vector>

/// The arguments of the subcommand "new".
struct NewOptions {
    std::string folder;
    Identity identity;
    std::vector<std::string> exclude;
    std::string definition; ///< empty for standard output
    std::string targets;    ///< empty for none
    bool bForce = false;
    bool bManifest = false;
};

/// Returns the exit status.
int runNew(const NewOptions& options);
