#pragma once

#include <string>

/// What the subcommand "rebuild" is told.
struct RebuildOptions {
    std::string folder; ///< of the record; empty for that of the installed products
    std::string output; ///< empty for standard output
};

/// The exit status.
int runRebuild(const RebuildOptions& options);
