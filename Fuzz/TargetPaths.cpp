#include "Fuzz/Support/FakeUser.h"
#include "Fuzz/Support/Output.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/XMLDocument.h"

#include <algorithm>

using Fuzz::require;
using Item = InstallUtility::InstallItem;
using Condition = Item::ItemPath::Condition;

namespace {

/// Whether it holds, for the kinds that ask the machine nothing.
void checkCondition(const Condition& condition) {
    const auto& operands = condition.conditions;
    for (const Condition& operand : operands) {
        checkCondition(operand);
    }
    const bool bTrue = InstallUtility::isConditionTrue(condition);
    const auto trueOperands =
        std::count_if(operands.begin(), operands.end(), InstallUtility::isConditionTrue);
    switch (condition.type) {
    case Condition::And:
        require(bTrue == (static_cast<std::size_t>(trueOperands) == operands.size()), "And: all of them");
        break;
    case Condition::Or:
        require(bTrue == (trueOperands > 0), "Or: one of them");
        break;
    case Condition::None:
        require(bTrue, "what says nothing holds");
        break;
    default: {
        Condition opposite = condition;
        const bool bNegative = condition.type % 2 == 0; // each kind is followed by its opposite
        opposite.type = static_cast<Condition::ConditionType>(condition.type + (bNegative ? -1 : 1));
        require(InstallUtility::isConditionTrue(opposite) != bTrue, "one of two opposites holds");
    }
    }
}

void checkItems(const std::map<VLString, Item>& items) {
    for (const auto& [name, item] : items) {
        require(name.IsSet(), "an item has a name");
        for (const Item::ItemPath& path : item.paths) {
            require(path.path.IsSet(), "a candidate has a path");
            checkCondition(path.condition);
        }
        const std::vector<VLString> targets = InstallUtility::getTargetPaths(item.paths, "Family");
        require(targets.size() <= item.paths.size(), "a candidate gives at most one folder");
        for (auto target = targets.begin(); target != targets.end(); ++target) {
            require(target->IsSet(), "no folder is empty");
            require(std::none_of(targets.begin(), target,
                                 [&](const VLString& other) { return other.EqualsIgnoreCase(*target); }),
                    "each folder comes once");
        }
        checkItems(item.items);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Fuzz::Output output;
    static Fuzz::FakeUser user;
    user.homeVariable = "/Users/anna";
    TiXmlDocument document;
    XMLDocument::Parse(Fuzz::Input(data, size).text(), document);
    if (TiXmlNode* root = document.FirstChild("root")) {
        std::map<VLString, Item> items;
        InstallUtility::parseXMLwithTargetPathsRecursively(root, items);
        checkItems(items);
    }
    static_cast<void>(output.take());
    return 0;
}
