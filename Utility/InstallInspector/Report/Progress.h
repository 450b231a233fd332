#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>

/// Shows the progress of long work in one line on standard error. The line appears after half a second,
/// changes at most ten times a second, and is removed with the object. Without a terminal, shows nothing.
class Progress {
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Adds the number of files and bytes that have been processed since the last call.
    void add(std::uint64_t files, std::uint64_t bytes = 0);

private:
    void show();

    bool bTerminal;
    bool bShown = false;
    std::uint64_t allFiles = 0;
    std::uint64_t allBytes = 0;
    std::chrono::steady_clock::time_point next;
};
