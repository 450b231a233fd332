#pragma once

#include <string>
#include <vector>

/// The arguments of the subcommand "machine".
struct MachineOptions {
    std::vector<std::string> files; ///< target paths and product definitions, in any order
};

/// Returns the exit status.
int runMachine(const MachineOptions& options);
