#pragma once

#include <string>

/// What the subcommand "log" is told.
struct LogOptions {
    std::string file; ///< "-" for standard input
    bool bJson = false;
};

/// The exit status.
int runLog(const LogOptions& options);
