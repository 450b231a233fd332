#pragma once

#include "Tests/Support/RunProgram.h"

#include <chrono>
#include <string>
#include <sys/types.h>
#include <vector>

/// Runs a program in its own terminal. The terminal does not echo typed text and does not change line ends.
class Terminal {
public:
    Terminal(const std::vector<std::string>& command, std::chrono::milliseconds timeout);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Waits until `text` appears, after the text of an earlier call. Returns false if the program ends or
    /// times out before.
    bool waitFor(const std::string& text);
    /// What the program has printed so far, as far as it was waited for.
    const std::string& text() const { return output; }
    void type(const std::string& text) const;
    /// Waits for the end of the program. After the time-out, kills it. Call it once.
    ProgramResult finish();

private:
    /// Returns false at the end of the output.
    bool readMore();

    std::chrono::steady_clock::time_point deadline;
    int terminal;
    pid_t process;
    std::string output;
    std::size_t seen = 0;
};
