#pragma once

#include "Tests/Support/PrivateRoot.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// Asks InstallInspector for its plan before a run of the program, and compares what the plan says with what
/// the run then does: the shells that it starts, which note for what they were started. A plan that differs,
/// or that changes anything, fails the test.
///
/// Not compared are runs whose outcome the machine does not decide alone: those in a terminal, where a person
/// answers; those that are started through a shell, which this class does not take for a run; those with
/// tools of the test's own in PATH; and uninstallers whose engine the test has replaced.
class PlanComparison {
public:
    /// Whether there is an inspector to ask.
    static bool isAvailable();

    explicit PlanComparison(const PrivateRoot& machine);

    /// Runs the command through `run`, and compares if it can be compared.
    ProgramResult around(const std::vector<std::string>& command, const PrivateRoot::Options& options,
                         const std::function<ProgramResult()>& run) const;

private:
    /// What InstallInspector gets in place of the program's command, and where it is started.
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
