#pragma once

#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <filesystem>
#include <string>
#include <vector>

/// Records the tools that the code under test runs, until the end of the scope. Puts a folder of small
/// scripts first in PATH. Each script records its arguments and then runs the tool. Commands inside the shell
/// (cd, echo) are not recorded.
class CommandShim {
public:
    /// The name of a tool, then the arguments that the shell passed to it.
    using Call = std::vector<std::string>;

    /// The tools that FileLibrary and FileFinder run.
    static const std::vector<std::string>& usualTools();

    /// Replaces those tools that the machine has.
    explicit CommandShim(const std::vector<std::string>& tools = usualTools());

    /// From now on, `tool` is recorded and then runs `script`. The machine need not have `tool`. In the shell
    /// text `script`, "$@" are the arguments and "$tool" is the path of the machine's tool.
    void replace(const std::string& tool, const std::string& script);

    /// All calls since the beginning or the last forget(), in the order of their starts.
    std::vector<Call> calls() const;
    void forget();
    /// The calls that a script has recorded in `log`. Each call is the number of arguments, the name and the
    /// arguments, each followed by a zero byte.
    static std::vector<Call> callsIn(const std::filesystem::path& log);

private:
    void shim(const std::string& tool, const std::string& path, const std::string& script);

    TemporaryDirectory folder;
    std::string oldPath;
    ScopedEnvironment path;
};
