#pragma once

#include "Tests/Support/PrivateRoot.h"

#include <map>
#include <string>

/// Environment variables with which the caller of a script could run the caller's own code. That code records
/// that it has run.
class HostileCaller {
public:
    using Variables = std::map<std::string, std::string>;

    explicit HostileCaller(const PrivateRoot& machine);

    /// Programs with the names of the system's tools, in a folder that is first in PATH.
    static Variables tools();
    /// A file that shells run when they start.
    static Variables startFile();
    /// Functions with the names of tools and of shell built-ins. bash reads them from its environment. Old
    /// and new versions use different variables.
    static Variables functions();
    /// The option of bash to trace each command. It runs code of the caller for each line and prints
    /// "traced", or "+" if bash ignores the caller's variable.
    static Variables options();

    bool hasRun() const;

    /// The sorted lines of the output of env, without the variables that a script's shell adds.
    static FileTree::Lines variablesIn(const std::string& text);

private:
    const PrivateRoot& root;
};
