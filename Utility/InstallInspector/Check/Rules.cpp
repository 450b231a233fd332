#include "Utility/InstallInspector/Check/Rules.h"

#include "Utility/InstallInspector/Check/Suppressions.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <tuple>

namespace {

bool canRun(const Rule& rule, const Product& product) {
    const bool bDefinition = product.definitionFile.isReadable();
    const bool bTargets = product.bTargets && product.targetsFile.isReadable();
    switch (rule.needs) {
    case Rule::Needs::Nothing:
        return true;
    case Rule::Needs::Definition:
        return bDefinition;
    case Rule::Needs::Targets:
        return bTargets;
    case Rule::Needs::Both:
        return bDefinition && bTargets;
    case Rule::Needs::Source:
        return bDefinition && !product.source.empty();
    case Rule::Needs::Line:
        break;
    }
    return false;
}

bool hasFile(const Product& product, const Location& where) {
    if (where.document != Location::Document::Source) {
        return where.file == product.targetsFile.path();
    }
    const auto relative = std::filesystem::path(where.file).lexically_relative(product.source);
    return !product.source.empty() && !relative.empty() && *relative.begin() != "..";
}

/// Merges the findings of one rule in all products of a line. A mistake in a shared file is reported once.
std::vector<Finding> merged(const Rule& rule, const ProductLine& line,
                            const std::vector<std::vector<Finding>>& ofProducts) {
    std::vector<Finding> findings;
    std::map<std::tuple<std::string, int, int, std::string>, std::size_t> counts;
    for (const auto& list : ofProducts) {
        for (const Finding& finding : list) {
            const Location& where = finding.where;
            const std::string message = rule.bOnlyIfAll ? "" : finding.message;
            const std::size_t count = ++counts[{where.file, where.line, where.column, message}];
            const auto sharers =
                std::count_if(line.products.begin(), line.products.end(),
                              [&](const Product* product) { return hasFile(*product, where); });
            if (count == (rule.bOnlyIfAll ? static_cast<std::size_t>(sharers) : 1)) {
                findings.push_back(finding);
            }
        }
    }
    return findings;
}

std::vector<Finding> findingsOf(const Rule& rule, const ProductLine& line) {
    std::vector<std::vector<Finding>> ofProducts;
    for (const Product* product : line.products) {
        ofProducts.emplace_back();
        if (rule.check != nullptr && canRun(rule, *product)) {
            rule.check(*product, Report(rule, ofProducts.back()));
        }
    }
    if (line.products.size() == 1) {
        return ofProducts.front();
    }
    std::vector<Finding> findings = merged(rule, line, ofProducts);
    if (rule.checkLine != nullptr) {
        rule.checkLine(line, Report(rule, findings));
    }
    return findings;
}

} // namespace

std::vector<Rule> allRules() {
    std::vector<Rule> rules;
    for (const auto* group :
         {&documentRules(), &definitionRules(), &hostRules(), &sharedPackageRules(), &targetsRules(),
          &conditionRules(), &crossRules(), &meetingRules(), &sourceRules(), &sourceContentRules(),
          &productLineRules(), &suppressionRules()}) {
        rules.insert(rules.end(), group->begin(), group->end());
    }
    return rules;
}

std::vector<Finding> checkLine(const ProductLine& line) {
    std::vector<Finding> findings;
    for (const Rule& rule : allRules()) {
        const auto found = findingsOf(rule, line);
        findings.insert(findings.end(), found.begin(), found.end());
    }
    leaveOutIgnored(line, findings);
    sortFindings(findings);
    return findings;
}

std::vector<Finding> checkProduct(const Product& product) {
    return checkLine({{&product}, {}});
}

Location atIdentity(const Product& product, const char* attribute) {
    const auto* sku = product.definitionFile.find(Kind::Sku);
    const auto* place = sku != nullptr ? sku : product.definitionFile.find(Kind::Product);
    return product.definitionFile.at(*place->element, attribute);
}

Location atNode(const Product& product, const Product::TreeNode& node) {
    return product.definitionFile.at(*node.element, "fileName");
}

std::vector<std::string> namesOf(const std::vector<const Product::TreeNode*>& nodes) {
    std::vector<std::string> names;
    names.reserve(nodes.size());
    for (const Product::TreeNode* node : nodes) {
        names.push_back(toString(node->node->name));
    }
    return names;
}
