#pragma once

#include "Tests/Support/PrivateRoot.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Gets the plan of InstallInspector before a run of the program, and compares its commands with those of the
/// run. A shell in the private root records the commands of the run. The test fails if they differ or if the
/// plan changes anything.
///
/// These runs are not compared: in a terminal, where a person answers; through a shell; with the test's own
/// tools in PATH; and of an uninstaller with a replaced engine.
class PlanComparison {
public:
    /// Whether InstallInspector was built.
    static bool isAvailable();

    explicit PlanComparison(const PrivateRoot& machine);

    /// Calls `run` for the command. Compares it with its plan where that is possible.
    ProgramResult around(const std::vector<std::string>& command, const PrivateRoot::Options& options,
                         const std::function<ProgramResult()>& run) const;

private:
    /// The command of InstallInspector for a command of the program, and its options.
    struct Question {
        std::vector<std::string> command;
        PrivateRoot::Options options;
    };

    std::optional<Question> questionFor(const std::vector<std::string>& command,
                                        const PrivateRoot::Options& options) const;
    std::optional<Question> questionForUninstaller(const std::string& launcher,
                                                   const PrivateRoot::Options& options) const;
    std::string plannedCommands(const Question& question) const;

    const PrivateRoot& root;
};
