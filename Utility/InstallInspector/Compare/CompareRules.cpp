#include "Utility/InstallInspector/Compare/CompareRules.h"

#include <algorithm>

const char* const wayOut =
    "Or take the installed build away before the new one goes in: ship Examples/packaging/preinstall "
    "(Docs/packaging-macos.md).";

CompareReport::CompareReport(const CompareRule& reportedRule, std::vector<Finding>& list)
    : rule(reportedRule), findings(list), severity(reportedRule.severity) {}

void CompareReport::operator()(const Location& where, std::string message, std::string consequence,
                               std::string advice, std::vector<std::string> paths) const {
    findings.push_back({where, rule.name, severity, std::move(message), std::move(consequence),
                        std::move(advice), std::move(paths)});
}

CompareReport CompareReport::as(Severity lowered) const {
    CompareReport report = *this;
    report.severity = lowered;
    return report;
}

std::vector<CompareRule> allCompareRules() {
    std::vector<CompareRule> all;
    for (const auto* group : {&identityRules(), &treeRules(), &placeRules()}) {
        all.insert(all.end(), group->begin(), group->end());
    }
    return all;
}

std::vector<Finding> findingsOf(const Comparison& comparison) {
    std::vector<Finding> findings;
    for (const CompareRule& rule : allCompareRules()) {
        rule.inspect(comparison, CompareReport(rule, findings));
    }
    sortFindings(findings);
    return findings;
}

std::string quotedList(const std::vector<std::string>& names) {
    constexpr std::size_t most = 3;
    std::string text;
    for (std::size_t i = 0; i < names.size() && i < most; ++i) {
        text += (i == 0 ? "" : ", ") + quotedText(toVLString(names[i]));
    }
    return names.size() > most ? text + " and " + std::to_string(names.size() - most) + " more" : text;
}
