#pragma once

#include "Utility/InstallInspector/Documents/Product.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <string>
#include <vector>

struct Rule;

/// Products that are checked together. One product is a line, too.
struct ProductLine {
    std::vector<const Product*> products;  ///< not owned
    std::vector<std::string> ignoredRules; ///< names of rules whose findings are left out
};

/// One kind of mistake. To add one, write its function in the file of its group, and a line in the table
/// there. Tests check that there is an example that triggers it and one that does not, and that the man page
/// has its name.
struct Rule {
    /// The files that must exist and be readable for the rule to run.
    enum class Needs { Nothing, Definition, Targets, Both, Source, Line };
    using Check = void (*)(const Product& product, const Report& report);
    using CheckLine = void (*)(const ProductLine& line, const Report& report);

    const char* name;  ///< in kebab case; never changes, because scripts use it
    Severity severity; ///< the highest severity of its findings
    Needs needs;
    const char* summary; ///< one line, for lists of rules
    Check check;         ///< null for a rule of Needs::Line, and for the rules about ignored findings
    /// Whether a mistake in a file that several products share counts only if all of them find it. For
    /// example, an item is unused only if no product uses it.
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
const std::vector<Rule>& suppressionRules();   ///< Suppressions.cpp: mistakes in what is to be ignored

std::vector<Rule> allRules();

// Shared by several groups

/// The place of the attribute of `sku`. If there is no such attribute, the place of `sku`. If there is no
/// `sku`, that of `product`.
Location atIdentity(const Product& product, const char* attribute);
/// The place of the node's name.
Location atNode(const Product& product, const Product::TreeNode& node);
std::vector<std::string> namesOf(const std::vector<const Product::TreeNode*>& nodes);

/// The findings of all rules, sorted and without the ignored ones.
std::vector<Finding> checkLine(const ProductLine& line);
/// The same for one product.
std::vector<Finding> checkProduct(const Product& product);
