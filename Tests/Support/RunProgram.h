#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct ProgramOptions {
    /// The program's whole environment; none lets it inherit that of the test.
    std::optional<std::map<std::string, std::string>> environment;
    /// Empty for that of the test.
    std::filesystem::path workingFolder;
    std::string standardInput;
    /// A program that has not ended by then is killed, with all the children it has left in its process
    /// group.
    std::chrono::milliseconds timeout = std::chrono::minutes(1);
    /// Called in the new process, after standard input (a file), output and error (pipes) have been set up
    /// and right before the program starts: to close or replace them, to set limits, to change the root.
    std::function<void()> beforeStart;
};

struct ProgramResult {
    /// -1 when a signal ended the program; 127 when it could not be started, as in the shell.
    int exitStatus = -1;
    /// The signal that ended the program, or 0.
    int signal = 0;
    bool bTimedOut = false;
    std::string standardOutput;
    std::string standardError;
};

/// Runs the program `arguments[0]`, looked up in PATH when it has no slash, with `arguments` to its end, and
/// until all its children have closed standard output and error. Makes it the leader of a process group.
ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramOptions& options = {});
