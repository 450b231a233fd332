#pragma once

#include "Utility/InstallInspector/Documents/Product.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <string>
#include <vector>

struct Rule;

/// What is checked together. One product is a line of its own.
struct ProductLine {
    std::vector<const Product*> products;  ///< not owned
    std::vector<std::string> ignoredRules; ///< names of rules of which nothing is to be told
};

/// Takes the findings of one rule.
class Report {
public:
    Report(const Rule& reportedRule, std::vector<Finding>& list);

    /// See Finding for the three texts.
    void operator()(const Location& where, std::string message, std::string consequence,
                    std::string advice) const;
    /// Takes findings of this rule that weigh less than it mostly does.
    Report as(Severity lowered) const;

private:
    const Rule& rule;
    std::vector<Finding>& findings;
    Severity severity;
};

/// One kind of mistake. To add one: write its function in the file of its group, and a line in the table
/// there; the tests then ask for an example that triggers it and one that does not, and for its name in the
/// man page.
struct Rule {
    /// What must be there, and readable, for the rule to be asked.
    enum class Needs { Nothing, Definition, Targets, Both, Source, Line };
    using Check = void (*)(const Product& product, const Report& report);
    using CheckLine = void (*)(const ProductLine& line, const Report& report);

    const char* name;  ///< in kebab case; never changed, since scripts rely on it
    Severity severity; ///< the highest that a finding of it has
    Needs needs;
    const char* summary; ///< one line, for lists of rules
    Check check;         ///< null for a rule of Needs::Line, and for one that comes of other findings
    /// A file that several products share has this mistake only when all of them find it there: something is
    /// unused when nobody uses it.
    bool bOnlyIfAll = false;
    CheckLine checkLine = nullptr;
};

// The groups, each with its table at the end of its file.
const std::vector<Rule>& documentRules();   ///< DocumentRules.cpp: either XML file as such
const std::vector<Rule>& definitionRules(); ///< DefinitionRules.cpp
const std::vector<Rule>& hostRules();       ///< HostRules.cpp: the lists of the definition against its tree
const std::vector<Rule>& sharedPackageRules(); ///< SharedPackageRules.cpp: COMMON, and what is kept for all
const std::vector<Rule>& targetsRules();       ///< TargetsRules.cpp
const std::vector<Rule>& conditionRules();     ///< ConditionRules.cpp: what becomes of conditions
const std::vector<Rule>& crossRules();         ///< CrossRules.cpp: one file against the other
const std::vector<Rule>& meetingRules();       ///< MeetingRules.cpp: parts of the tree in one place on disk
const std::vector<Rule>& sourceRules();        ///< SourceRules.cpp: the definition against the source folder
const std::vector<Rule>& sourceContentRules(); ///< SourceContentRules.cpp: what is in the source folder
const std::vector<Rule>& productLineRules();   ///< ProductLineRules.cpp: one product against the others
const std::vector<Rule>& suppressionRules();   ///< Suppressions.cpp: what was to be ignored

std::vector<Rule> allRules();

// What several groups point at and name.

/// The place of an attribute of `sku`, of `sku`, or of `product` without one.
Location atIdentity(const Product& product, const char* attribute);
/// The place of the node's name.
Location atNode(const Product& product, const Product::TreeNode& node);
std::vector<std::string> namesOf(const std::vector<const Product::TreeNode*>& nodes);

/// The findings of all rules but those that are to be ignored, sorted.
std::vector<Finding> checkLine(const ProductLine& line);
/// The same of one product.
std::vector<Finding> checkProduct(const Product& product);
