#include "Utility/InstallInspector/Documents/ConditionResult.h"

#include "Foundation/Machine.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <sys/stat.h>

namespace {

using Condition = InstallUtility::InstallItem::ItemPath::Condition;

/// The entry of a preference file to which the pattern refers, or the pattern itself.
std::string preferenceOf(const std::string& pattern) {
    const std::string opening = "%REGKEY:";
    const bool bAlone = pattern.size() > opening.size() + 1 && pattern.rfind(opening, 0) == 0 &&
                        pattern.find('%', 1) == pattern.size() - 1;
    return bAlone ? "preference " + pattern.substr(opening.size(), pattern.size() - opening.size() - 1)
                  : "\"" + pattern + "\"";
}

std::string foundFor(const Condition& condition, const VLString& filled) {
    const std::string path = toString(filled);
    if (condition.type == Condition::None) {
        return "a condition of a kind that the engine does not know always holds";
    }
    if (condition.type == Condition::RegKeyExist || condition.type == Condition::RegKeyNotExist) {
        return preferenceOf(toString(condition.value)) +
               (path.empty() ? " is not set" : " is \"" + path + "\"");
    }
    if (path.empty()) {
        return "\"" + toString(condition.value) + "\" comes out empty";
    }
    Machine& machine = Machine::current();
    switch (machine.typeOf(filled)) {
    case S_IFDIR:
        return path + " is a folder";
    case S_IFREG:
        return path + " is a file";
    case 0:
        return path + (machine.linkTypeOf(filled) == 0 ? " is not there" : " is a link that leads nowhere");
    default:
        return path + " is neither a file nor a folder";
    }
}

} // namespace

bool isGiven(const Condition& condition) {
    return condition.type != Condition::None || condition.value.IsSet() || !condition.conditions.empty();
}

ConditionResult resultOf(const Condition& condition) {
    ConditionResult result;
    result.type = Condition::nameOf(condition.type);
    result.value = toString(condition.value);
    result.bHolds = InstallUtility::isConditionTrue(condition);
    if (condition.type == Condition::And || condition.type == Condition::Or) {
        for (const Condition& operand : condition.conditions) {
            result.operands.push_back(resultOf(operand));
        }
    } else {
        const VLString filled = InstallUtility::fillPattern(condition.value);
        result.filled = toString(filled);
        result.found = foundFor(condition, filled);
    }
    return result;
}

std::string reasonOf(const ConditionResult& result) {
    const bool bAnd = result.type == "And";
    if (!bAnd && result.type != "Or") {
        return result.found;
    }
    if (result.operands.empty()) {
        return bAnd ? "an And of nothing always holds" : "an Or of nothing never holds";
    }
    std::vector<std::string> reasons;
    for (const ConditionResult& operand : result.operands) {
        if (bAnd != result.bHolds && operand.bHolds != bAnd) {
            return reasonOf(operand); // this one is enough
        }
        reasons.push_back(reasonOf(operand));
    }
    return joined(reasons, " and ");
}
