#pragma once

#include "Tests/Support/RunProgram.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

/// A program that runs in a terminal of its own, as in front of a person. The terminal neither echoes what is
/// typed nor changes line ends.
class Terminal {
public:
    Terminal(const std::vector<std::string>& command, std::chrono::milliseconds timeout);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Waits until `text` appears after what an earlier call has waited for. False when the program ends, or
    /// the time is over, before it does.
    bool waitFor(const std::string& text);
    void type(const std::string& text) const;
    /// Waits for the end of the program, which is killed when the time is over. Call it once.
    ProgramResult finish();

private:
    /// False at the end of the output.
    bool readMore();

    std::chrono::steady_clock::time_point deadline;
    int terminal;
    pid_t process;
    std::string shown;
    std::size_t seen = 0;
};
