#pragma once

#include "Utility/InstallUtility/InstallUtility.h"

#include <string>
#include <vector>

/// A condition of a target path, with its result on the machine in use.
struct ConditionResult {
    std::string type;   ///< its name in the target-paths file; empty for an unknown type
    std::string value;  ///< the pattern
    std::string filled; ///< the pattern after its placeholders were filled in
    bool bHolds = true;
    std::string found; ///< the reason, a sentence without a full stop; empty for And and Or
    std::vector<ConditionResult> operands;
};

/// Whether the target path has a condition at all.
bool isGiven(const InstallUtility::InstallItem::ItemPath::Condition& condition);
ConditionResult resultOf(const InstallUtility::InstallItem::ItemPath::Condition& condition);
/// What decided the result, as a sentence without a full stop.
std::string reasonOf(const ConditionResult& result);
