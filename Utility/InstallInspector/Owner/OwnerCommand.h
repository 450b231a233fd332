#pragma once

#include <string>
#include <vector>

/// The arguments of the subcommand "owner".
struct OwnerOptions {
    std::vector<std::string> paths; ///< on this machine or in the tree, or products
    bool bJson = false;
};

/// Returns the exit status.
int runOwner(const OwnerOptions& options);
