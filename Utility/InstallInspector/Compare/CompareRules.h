#pragma once

#include "Utility/InstallInspector/Compare/Comparison.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <string>
#include <vector>

/// One way in which builds differ. To add one, write a function and a line in the table of its group. Tests
/// check that there is an example of it and that the man page has its name.
struct CompareRule {
    const char* name;  ///< in kebab case; never changes, because scripts use it
    Severity severity; ///< the highest severity of its findings
    void (*inspect)(const Comparison& comparison, const Report& report);
};

// The groups, each with its table at the end of its file.
const std::vector<CompareRule>& identityRules(); ///< IdentityRules.cpp: ID, name and build
const std::vector<CompareRule>& treeRules();     ///< TreeRules.cpp: what the trees list
const std::vector<CompareRule>& placeRules();    ///< PlaceRules.cpp: where it goes, and what becomes of it

std::vector<CompareRule> allCompareRules();

/// The findings of all rules, sorted.
std::vector<Finding> findingsOf(const Comparison& comparison);

/// The end of an advice: what helps against everything that an update leaves.
extern const char* const wayOut;

/// The first three names in quotes, and the number of the others.
std::string quotedList(const std::vector<std::string>& names);
