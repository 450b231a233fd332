#include "Utility/InstallInspector/Compare/CompareRules.h"

#include "Utility/InstallInspector/Report/Output.h"

const char* const wayOut =
    "Or take the installed build away before the new one goes in: ship Examples/packaging/preinstall "
    "(Docs/packaging-macos.md).";

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
        rule.inspect(comparison, Report(rule, findings));
    }
    sortFindings(findings);
    return findings;
}

std::string quotedList(const std::vector<std::string>& names) {
    std::vector<std::string> quoted;
    quoted.reserve(names.size());
    for (const std::string& name : names) {
        quoted.push_back(quotedText(toVLString(name)));
    }
    return listed(quoted);
}
