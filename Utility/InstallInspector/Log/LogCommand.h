#pragma once

#include <string>

/// The arguments of the subcommand "log".
struct LogOptions {
    std::string file; ///< "-" for standard input
    bool bJson = false;
};

/// Returns the exit status.
int runLog(const LogOptions& options);
