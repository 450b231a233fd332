#pragma once

#include "Utility/InstallInspector/Compare/Comparison.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <string>
#include <vector>

struct CompareRule;

/// Takes the findings of one rule.
class CompareReport {
public:
    CompareReport(const CompareRule& reportedRule, std::vector<Finding>& list);

    /// See Finding for the three texts. `paths` are all that it is about.
    void operator()(const Location& where, std::string message, std::string consequence, std::string advice,
                    std::vector<std::string> paths = {}) const;
    /// Takes findings of this rule that weigh less than it mostly does.
    CompareReport as(Severity lowered) const;

private:
    const CompareRule& rule;
    std::vector<Finding>& findings;
    Severity severity;
};

/// One way in which builds differ. To add one: a function and a line in the table of its group; the tests
/// then ask for an example and for its name in the man page.
struct CompareRule {
    const char* name;  ///< in kebab case; never changed, since scripts rely on it
    Severity severity; ///< the highest that a finding of it has
    void (*look)(const Comparison& comparison, const CompareReport& report);
};

// The groups, each with its table at the end of its file.
const std::vector<CompareRule>& identityRules(); ///< IdentityRules.cpp: ID, name and build
const std::vector<CompareRule>& treeRules();     ///< TreeRules.cpp: what the trees list
const std::vector<CompareRule>& placeRules();    ///< PlaceRules.cpp: where it goes, and what becomes of it

std::vector<CompareRule> allCompareRules();

/// The findings of all rules, sorted.
std::vector<Finding> findingsOf(const Comparison& comparison);

/// What helps against whatever an update leaves: the end of an advice.
extern const char* const wayOut;

/// The first few, quoted, and how many there are besides.
std::string quotedList(const std::vector<std::string>& names);
