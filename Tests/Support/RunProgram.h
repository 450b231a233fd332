#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct ProgramOptions {
    /// The whole environment of the program. Without a value, it inherits the environment of the test.
    std::optional<std::map<std::string, std::string>> environment;
    /// If empty, the working folder of the test.
    std::filesystem::path workingFolder;
    std::string standardInput;
    /// After this time, the program is killed, with all children in its process group.
    std::chrono::milliseconds timeout = std::chrono::minutes(1);
    /// Called in the new process right before the program starts. Standard input is a file; output and error
    /// are pipes. For example, to replace them, to set limits or to change the root.
    std::function<void()> beforeStart;
};

struct ProgramResult {
    /// -1 if a signal ended the program. 127 if it could not be started, as in the shell.
    int exitStatus = -1;
    /// The signal that ended the program, or 0.
    int signal = 0;
    bool bTimedOut = false;
    std::string standardOutput;
    std::string standardError;
};

/// Runs the program `arguments[0]`, found through PATH if it has no slash, as the leader of a process group.
/// Waits until it ends and all its children have closed standard output and error.
ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramOptions& options = {});
