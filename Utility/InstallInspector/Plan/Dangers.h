#pragma once

#include "Utility/InstallInspector/Plan/Survey.h"

#include <string>
#include <vector>

/// Takes what one rule says about a planned run.
class DangerReport {
public:
    DangerReport(const char* name, Verdict verdict, std::vector<Plan::Danger>& list)
        : rule(name), weight(verdict), dangers(list) {}

    /// `paths` are all that it is about; the message may name the first of them alone.
    void operator()(std::string message, std::vector<std::string> paths = {}) const {
        dangers.push_back({rule, std::move(message), weight, std::move(paths)});
    }

private:
    const char* rule;
    Verdict weight;
    std::vector<Plan::Danger>& dangers;
};

/// One thing that a planned run may do which its user has to know before. To add one: a function and a line
/// in the table of its group; the tests then ask for its name in the man page.
struct DangerRule {
    const char* name; ///< in kebab case; never changed, since scripts rely on it
    Verdict verdict;  ///< what the run as a whole comes to with it: Harm, or CannotTell
    void (*look)(const Survey& survey, const DangerReport& report);
};

// The groups, each with its table at the end of its file.
const std::vector<DangerRule>&
recordDangers();                               ///< RecordDangers.cpp: what is recorded, and what can be known
const std::vector<DangerRule>& stepDangers();  ///< StepDangers.cpp: what becomes of single files
const std::vector<DangerRule>& ownerDangers(); ///< OwnerDangers.cpp: what stays behind, and what others lose

/// The first few, and how many there are besides.
std::string listed(const std::vector<std::string>& names);
/// "is" or "are", or another such pair.
const char* chosen(const std::vector<std::string>& names, const char* one, const char* more);
