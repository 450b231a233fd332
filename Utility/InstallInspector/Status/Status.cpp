#include "Utility/InstallInspector/Status/Status.h"

#include <utility>

void StatusReport::operator()(const Location& where, std::string message, std::string consequence,
                              std::string advice) const {
    status.findings.push_back(
        {where, rule.name, rule.severity, std::move(message), std::move(consequence), std::move(advice)});
}

namespace {

void ask(const std::vector<StatusRuleEntry>& rules, Status& status) {
    for (const StatusRuleEntry& entry : rules) {
        entry.inspect(status, StatusReport(entry.rule, status));
    }
}

} // namespace

void Status::inspect() {
    ask(recordRules(), *this);
    record.interpret();
    weighConditions(*this);
    ask(machineRules(), *this);
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
