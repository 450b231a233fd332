#include "Utility/InstallInspector/Status/Status.h"

#include <utility>

void StatusReport::operator()(const Location& where, std::string message, std::string consequence,
                              std::string advice) const {
    status.findings.push_back(
        {where, rule.name, rule.severity, std::move(message), std::move(consequence), std::move(advice)});
}

void Status::inspect() {
    weighConditions(*this);
    for (const auto* group : {&recordRules(), &machineRules()}) {
        for (const StatusRuleEntry& entry : *group) {
            entry.inspect(*this, StatusReport(entry.rule, *this));
        }
    }
    sortFindings(findings);
}

std::vector<StatusRule> allStatusRules() {
    std::vector<StatusRule> rules;
    for (const auto* group : {&recordRules(), &machineRules()}) {
        for (const StatusRuleEntry& entry : *group) {
            rules.push_back(entry.rule);
        }
    }
    return rules;
}
