#pragma once

#include "Tests/Support/PrivateRoot.h"

#include <map>
#include <string>

/// What the caller of a script can put into its environment to have something of the caller's own run.
/// Whatever that is notes that it has run.
class HostileCaller {
public:
    using Variables = std::map<std::string, std::string>;

    explicit HostileCaller(const PrivateRoot& machine);

    /// Programs that have the names of the system's tools, in a folder that comes first in PATH.
    static Variables tools();
    /// A file that shells run when they start.
    static Variables startFile();
    /// Functions that have the names of tools and of what a shell knows by itself. bash takes them from its
    /// environment; old versions, and those of today, know them by different variables.
    static Variables functions();
    /// The option of bash to trace each command, which prints "traced" or, where the caller has no say in
    /// that, "+", and runs what the caller wants with each line.
    static Variables options();

    bool hasRun() const;

    /// The lines that the command env printed, sorted, without the variables that a script's shell adds.
    static FileTree::Lines variablesIn(const std::string& text);

private:
    const PrivateRoot& root;
};
