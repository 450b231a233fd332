#pragma once

#include <string>

/// The arguments of the subcommand "rebuild".
struct RebuildOptions {
    std::string folder; ///< of the record; empty for the one of the installed products
    std::string output; ///< empty for standard output
};

/// Returns the exit status.
int runRebuild(const RebuildOptions& options);
