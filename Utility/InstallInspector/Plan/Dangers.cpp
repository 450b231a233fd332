#include "Utility/InstallInspector/Plan/Dangers.h"

#include <algorithm>

namespace {

const std::vector<const std::vector<DangerRule>*>& groups() {
    static const std::vector<const std::vector<DangerRule>*> all = {&recordDangers(), &stepDangers(),
                                                                    &ownerDangers()};
    return all;
}

} // namespace

const char* singularOrPlural(const std::vector<std::string>& names, const char* one, const char* more) {
    return names.size() == 1 ? one : more;
}

void findDangers(Plan& plan, const Survey& survey) {
    for (const auto* group : groups()) {
        for (const DangerRule& rule : *group) {
            rule.inspect(survey, DangerReport(rule.name, rule.verdict, plan.dangers));
        }
    }
    const bool bHarm = std::any_of(plan.dangers.begin(), plan.dangers.end(),
                                   [](const auto& danger) { return danger.verdict == Verdict::Harm; });
    plan.verdict = bHarm || !plan.bSucceeds ? Verdict::Harm
                   : plan.dangers.empty()   ? Verdict::Safe
                                            : Verdict::CannotTell;
}

std::vector<std::string> allDangerRules() {
    std::vector<std::string> names;
    for (const auto* group : groups()) {
        for (const DangerRule& rule : *group) {
            names.emplace_back(rule.name);
        }
    }
    return names;
}
