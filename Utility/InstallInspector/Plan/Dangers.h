#pragma once

#include "Utility/InstallInspector/Plan/Survey.h"

#include <string>
#include <vector>

/// Adds the dangers that one rule finds in a planned run.
class DangerReport {
public:
    DangerReport(const char* name, Verdict verdict, std::vector<Plan::Danger>& list)
        : rule(name), weight(verdict), dangers(list) {}

    /// `paths` are all paths of the danger. The message may name only the first of them.
    void operator()(std::string message, std::vector<std::string> paths = {}) const {
        dangers.push_back({rule, std::move(message), weight, std::move(paths)});
    }

private:
    const char* rule;
    Verdict weight;
    std::vector<Plan::Danger>& dangers;
};

/// One kind of danger in a planned run. To add one, write a function and a line in the table of its group. A
/// test checks that the man page has its name.
struct DangerRule {
    const char* name; ///< in kebab case; never changes, because scripts use it
    Verdict verdict;  ///< of a run with this danger: Harm, or CannotTell
    void (*inspect)(const Survey& survey, const DangerReport& report);
};

// The groups, each with its table at the end of its file.

/// RecordDangers.cpp: the record, its counts, and what cannot be known.
const std::vector<DangerRule>& recordDangers();
/// StepDangers.cpp: what happens to single files.
const std::vector<DangerRule>& stepDangers();
/// OwnerDangers.cpp: what stays behind, and what other products lose.
const std::vector<DangerRule>& ownerDangers();

/// `one` for a single name, otherwise `more`: "is" or "are".
const char* singularOrPlural(const std::vector<std::string>& names, const char* one, const char* more);
