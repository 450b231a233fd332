#pragma once

#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <filesystem>
#include <string>
#include <vector>

/// Stands between the code under test and the machine's tools until the end of the scope: a folder of small
/// scripts, first in PATH, each of which notes its arguments and then becomes the tool itself. What the shell
/// does on its own (cd, echo) is not seen.
class CommandShim {
public:
    /// The name of a tool, then its arguments as the shell passed them.
    using Call = std::vector<std::string>;

    /// The tools that FileLibrary and FileFinder run.
    static const std::vector<std::string>& usualTools();

    /// Shims those of the tools that the machine has.
    explicit CommandShim(const std::vector<std::string>& tools = usualTools());

    /// From now on `tool`, which the machine need not have, is noted and then runs `script`, shell text that
    /// finds its arguments in "$@" and the path of the machine's tool in "$tool".
    void replace(const std::string& tool, const std::string& script);

    /// All calls since the beginning or the last forget(), in the order in which they started.
    std::vector<Call> calls() const;
    void forget();
    /// The calls that a script has noted in `log`: for each the number of arguments, the name and the
    /// arguments, all with a zero byte behind them.
    static std::vector<Call> callsIn(const std::filesystem::path& log);

private:
    void shim(const std::string& tool, const std::string& path, const std::string& script);

    TemporaryDirectory folder;
    std::string oldPath;
    ScopedEnvironment path;
};
