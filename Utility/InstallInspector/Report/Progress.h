#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>

/// Tells on a terminal how far long work is: one line on standard error, which is not there before half a
/// second, changes ten times a second at most, and goes with the object. Without a terminal nothing is shown.
class Progress {
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// So much more has been looked at.
    void add(std::uint64_t files, std::uint64_t bytes = 0);

private:
    void show();

    bool bTerminal;
    bool bShown = false;
    std::uint64_t allFiles = 0;
    std::uint64_t allBytes = 0;
    std::chrono::steady_clock::time_point next;
};
