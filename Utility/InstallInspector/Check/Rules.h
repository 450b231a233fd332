#pragma once

#include "Utility/InstallInspector/Documents/Product.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <string>
#include <vector>

struct Rule;

/// Takes the findings of one rule.
class Report {
public:
    Report(const Rule& reportedRule, std::vector<Finding>& list) : rule(reportedRule), findings(list) {}

    /// See Finding for the three texts.
    void operator()(const Location& where, std::string message, std::string consequence,
                    std::string advice) const;

private:
    const Rule& rule;
    std::vector<Finding>& findings;
};

/// One kind of mistake. To add one: write its function in the file of its group, and a line in the table
/// there; the tests then ask for an example that triggers it and one that does not, and for its name in the
/// man page.
struct Rule {
    /// What must be there, and readable, for the rule to be asked.
    enum class Needs { Nothing, Definition, Targets, Both, Source };

    const char* name; ///< in kebab case; never changed, since scripts rely on it
    Severity severity;
    Needs needs;
    const char* summary; ///< one line, for lists of rules
    void (*check)(const Product& product, const Report& report);
};

// The groups, each with its table at the end of its file.
const std::vector<Rule>& documentRules();   ///< DocumentRules.cpp: either XML file as such
const std::vector<Rule>& definitionRules(); ///< DefinitionRules.cpp
const std::vector<Rule>& targetsRules();    ///< TargetsRules.cpp
const std::vector<Rule>& crossRules();      ///< CrossRules.cpp: one file against the other
const std::vector<Rule>& sourceRules();     ///< SourceRules.cpp: the definition against the source folder

std::vector<Rule> allRules();

/// The findings of all rules, sorted.
std::vector<Finding> checkProduct(const Product& product);
