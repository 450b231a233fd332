#pragma once

#include <string>
#include <vector>

/// What the subcommand "owner" is told.
struct OwnerOptions {
    std::vector<std::string> paths; ///< on this machine or in the tree, or products
    bool bJson = false;
};

/// The exit status.
int runOwner(const OwnerOptions& options);
