#include "Utility/InstallInspector/Check/Rules.h"

#include <utility>

namespace {

bool canBeAsked(const Rule& rule, const Product& product) {
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
    }
    return false;
}

} // namespace

void Report::operator()(const Location& where, std::string message, std::string consequence,
                        std::string advice) const {
    findings.push_back(
        {where, rule.name, rule.severity, std::move(message), std::move(consequence), std::move(advice)});
}

std::vector<Rule> allRules() {
    std::vector<Rule> rules;
    for (const auto* group :
         {&documentRules(), &definitionRules(), &targetsRules(), &crossRules(), &sourceRules()}) {
        rules.insert(rules.end(), group->begin(), group->end());
    }
    return rules;
}

std::vector<Finding> checkProduct(const Product& product) {
    std::vector<Finding> findings;
    for (const Rule& rule : allRules()) {
        if (canBeAsked(rule, product)) {
            rule.check(product, Report(rule, findings));
        }
    }
    sortFindings(findings);
    return findings;
}
