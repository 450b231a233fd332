// Conditions that cannot work on any machine, and those that an install of the product itself changes.
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Documents/ConditionLogic.h"
#include "Utility/InstallInspector/Documents/Placeholders.h"
#include "Utility/InstallInspector/Documents/TargetFolders.h"

#include <algorithm>
#include <functional>
#include <set>

namespace {

using namespace ConditionLogic;
using Entry = LocatedDocument::Entry;
using Pattern::Placeholder;
using TreeNode = Product::TreeNode;

/// A path of the targets with its condition, as the engine reads them.
struct GuardedPath {
    const TiXmlElement* element;
    VLString value;
    Condition condition;
};

std::vector<GuardedPath> guardedPaths(const Product& product) {
    std::vector<GuardedPath> paths;
    product.targetsFile.forEach({Kind::Path}, [&](const Entry& entry) {
        const VLString value = attributeOf(*entry.element, "value");
        if (value.IsSet()) {
            paths.push_back({entry.element, value, {}});
            paths.back().condition.parse(entry.element->FirstChild("condition"));
        }
    });
    return paths;
}

/// Whether another rule reports a mistake in the condition, or in a condition inside it.
bool isFlawed(const Condition& condition) {
    const bool bCombines = condition.type == Condition::And || condition.type == Condition::Or;
    if (condition.type == Condition::None ||
        (bCombines ? condition.conditions.empty() : condition.value.IsEmpty())) {
        return true;
    }
    return std::any_of(condition.conditions.begin(), condition.conditions.end(), isFlawed);
}

void conditionNeverHolds(const Product& product, const Report& report) {
    for (const GuardedPath& path : guardedPaths(product)) {
        if (!isFlawed(path.condition) && !canHoldTogether(path.condition, path.condition)) {
            const TiXmlElement* element = path.element->FirstChildElement("condition");
            report(product.targetsFile.at(*element, "type"), "this condition can never hold",
                   "What it asks for contradicts itself, so that nothing is ever installed to " +
                       quotedText(path.value) + ".",
                   "Write <condition type=\"Or\"> where one of them is enough, or take one out.");
        }
    }
}

// Registry values

/// Whether the condition lets the path apply on a machine that does not have the value.
bool appliesWithout(const Condition& condition, const std::string& placeholder) {
    const Fact value = {Fact::Kind::Value, placeholder};
    const Machines machines({&condition}, {value});
    return machines.any(
        [&](const Machine& machine) {
            for (std::size_t i = 0; i < machine.size(); ++i) {
                const Fact& fact = machines.facts()[i];
                if (fact.kind == value.kind && machine[i] &&
                    comparedPath(fact.what) == comparedPath(value.what)) {
                    return false;
                }
            }
            return machines.holds(condition, machine);
        },
        false);
}

void registryPathUnguarded(const Product& product, const Report& report) {
    for (const GuardedPath& path : guardedPaths(product)) {
        std::set<VLString> told;
        for (const Placeholder& placeholder : placeholdersIn(path.value, true)) {
            // The engine skips an empty path.
            if (placeholder.kind != Placeholder::Kind::Registry || placeholder.text == path.value ||
                !appliesWithout(path.condition, toString(placeholder.text)) ||
                !told.insert(placeholder.text).second) {
                continue;
            }
            report(product.targetsFile.at(*path.element, "value"),
                   "no condition asks whether there is a value for " + quotedText(placeholder.text),
                   "Where there is none it is filled in with nothing: the files go to " +
                       quotedText(path.value.Replace(placeholder.text, "")) + ".",
                   "Write <condition type=\"RegKeyExist\" value=" + quotedText(placeholder.text) +
                       "/> inside the path.");
        }
    }
}

// What the product itself makes

/// The nodes of a target folder to which a path inside it leads, by the names on the way.
const TreeNode* nodeAt(const TargetFolder& target, const std::string& rest, bool& bInsideWhole) {
    const TreeNode* node = target.node;
    for (std::size_t begin = 0; begin < rest.size();) {
        const std::size_t end = std::min(rest.find('/', begin), rest.size());
        const std::string name = rest.substr(begin, end - begin);
        const auto children = target.children(*node);
        const auto found = std::find_if(children.begin(), children.end(), [&](const TreeNode* child) {
            return comparedPath(toString(child->node->name)) == name;
        });
        if (found == children.end()) {
            bInsideWhole = node->children.empty();
            return nullptr;
        }
        node = *found;
        begin = end + 1;
    }
    return node;
}

enum class Made { No, Above, Target, Inside };

/// What a copy to the target folder has to do with what `fact` names.
Made madeBy(const TargetFolder& target, const Fact& fact) {
    if (fact.kind == Fact::Kind::Value) {
        return Made::No;
    }
    const std::string what = comparedPath(fact.what);
    const bool bFolder = fact.kind == Fact::Kind::Folder;
    if (what == target.compared) {
        return bFolder ? Made::Target : Made::No;
    }
    if (target.compared.compare(0, what.size() + 1, what + "/") == 0) {
        return bFolder ? Made::Above : Made::No;
    }
    if (what.compare(0, target.compared.size() + 1, target.compared + "/") != 0) {
        return Made::No;
    }
    bool bInsideWhole = false;
    const TreeNode* node = nodeAt(target, what.substr(target.compared.size() + 1), bInsideWhole);
    const bool bRightKind = node != nullptr && (bFolder || !node->node->isDirectory);
    return bRightKind || bInsideWhole ? Made::Inside : Made::No;
}

/// Whether nobody but these products makes such a folder.
bool isOwn(Made made, const Fact& fact) {
    return made == Made::Inside || comparedPath(fact.what).find("vorlane") != std::string::npos;
}

/// What an install makes if the condition `when` holds.
struct Making {
    const Condition& when;
    std::function<Made(const Fact&)> made;
};

/// How an install changes the result of a condition, on a machine that did not have what the install makes.
struct Change {
    bool bEnds = false;   ///< holds before, not after
    bool bBegins = false; ///< holds after, not before
    std::string what;     ///< the pattern of what is made
};

bool changesWith(const Machines& machines, const Condition& condition, const Making& making,
                 std::size_t madeFact, bool bBefore) {
    return machines.any(
        [&](const Machine& before) {
            if (before[madeFact]) {
                return false; // there already
            }
            Machine after = before;
            for (std::size_t i = 0; i < after.size(); ++i) {
                after[i] = after[i] || making.made(machines.facts()[i]) != Made::No;
            }
            return machines.holds(making.when, before) && machines.holds(condition, before) == bBefore &&
                   machines.holds(condition, after) != bBefore;
        },
        false);
}

/// Whether the condition holds on no machine without the fact.
bool needs(const Machines& machines, const Condition& condition, std::size_t fact) {
    return !machines.any(
        [&](const Machine& machine) { return !machine[fact] && machines.holds(condition, machine); }, true);
}

Change changeBy(const Condition& condition, const Making& making) {
    Change change;
    const Machines machines({&condition, &making.when});
    for (std::size_t i = 0; i < machines.facts().size() && !change.bEnds; ++i) {
        const Fact& fact = machines.facts()[i];
        const Made made = making.made(fact);
        if (made == Made::No) {
            continue;
        }
        change.bEnds = changesWith(machines, condition, making, i, true);
        const bool bBegins = isOwn(made, fact) && (needs(machines, condition, i) ||
                                                   changesWith(machines, condition, making, i, false));
        if (change.bEnds || (bBegins && !change.bBegins)) {
            change.what = fact.what;
        }
        change.bBegins = change.bBegins || bBegins;
    }
    return change;
}

/// The record and the shortcuts. They are made on every machine.
std::set<std::string> alwaysMade(const Product& product, const std::vector<TargetFolder>& targets) {
    std::set<std::string> paths;
    for (const TreeNode& node : product.tree) {
        if (node.node->IsShortCutInfoValid()) {
            paths.insert(comparedPath("/Applications/" + toString(node.node->shortCut.name)));
        }
    }
    if (!targets.empty() && targets.front().node == product.branch(Branch::shared)) {
        paths.insert(comparedPath(targets.front().folder + "/InstallationStatusFile.xml"));
    }
    return paths;
}

std::vector<Making> makingsOf(const Product& product, const std::vector<TargetFolder>& targets) {
    static const Condition always;
    std::vector<Making> makings;
    makings.reserve(targets.size() + 1);
    for (const TargetFolder& target : targets) {
        makings.push_back(
            {target.path->condition, [&target](const Fact& fact) { return madeBy(target, fact); }});
    }
    makings.push_back({always, [paths = alwaysMade(product, targets)](const Fact& fact) {
                           const bool bMade =
                               fact.kind != Fact::Kind::Value && paths.count(comparedPath(fact.what)) != 0;
                           return bMade ? Made::Inside : Made::No;
                       }});
    return makings;
}

void reportChange(const Product& product, const TargetFolder& looking, const Change& change,
                  const Report& report) {
    const Location where = product.targetsFile.at(*looking.element->FirstChildElement("condition"), "type");
    const std::string made = quotedText(toVLString(change.what));
    const std::string place = quotedText(looking.path->path);
    const char* const advice = "Test what belongs to the machine, such as the host's application.";
    if (change.bEnds) {
        report(where, "this condition no longer holds when the install has made " + made,
               "An uninstall does not find " + place +
                   " any more: what lies there is left behind, and a next version is not installed there.",
               advice);
    } else {
        report.as(Severity::Warning)(where,
                                     "this condition asks for " + made + ", which the install itself makes",
                                     "It does not hold at a first install, so that nothing goes to " + place +
                                         ", and may hold at the next.",
                                     advice);
    }
}

/// The part of a condition that tests for the uninstaller, or for the folder around it. Null if there is
/// none.
const Condition* uninstallerIn(const Condition& condition) {
    const std::string folder = comparedPath("/Applications/Vorlane Uninstallers");
    const std::string what = comparedPath(toString(condition.value));
    const bool bRegistry =
        condition.type == Condition::RegKeyExist || condition.type == Condition::RegKeyNotExist;
    if (!bRegistry && (what == folder || what.compare(0, folder.size() + 1, folder + "/") == 0)) {
        return &condition;
    }
    for (const Condition& operand : condition.conditions) {
        if (const Condition* found = uninstallerIn(operand)) {
            return found;
        }
    }
    return nullptr;
}

void conditionOnUninstaller(const Product& product, const Report& report) {
    for (const GuardedPath& path : guardedPaths(product)) {
        if (const Condition* found = uninstallerIn(path.condition)) {
            report.as(Severity::Warning)(
                product.targetsFile.at(*path.element->FirstChildElement("condition"), "type"),
                "this condition asks for " + quotedText(found->value) + ", which the install itself makes",
                "The uninstaller of a product is not there at its first install, there at the next, and gone "
                "before "
                "an uninstall asks: what lies in the folder may be left behind, or not be replaced.",
                "Test what belongs to the machine, such as the host's application.");
        }
    }
}

void conditionOnOwnTarget(const Product& product, const Report& report) {
    constexpr std::size_t mostTargets = 500; // beyond it each would be held against each for minutes
    conditionOnUninstaller(product, report);
    const auto targets = targetFoldersOf(product);
    if (targets.size() > mostTargets) {
        return;
    }
    const auto makings = makingsOf(product, targets);
    std::set<const TiXmlElement*> told;
    for (const TargetFolder& looking : targets) {
        if (looking.element->FirstChildElement("condition") == nullptr || isFlawed(looking.path->condition)) {
            continue;
        }
        for (const Making& making : makings) {
            const Change change = changeBy(looking.path->condition, making);
            if ((change.bEnds || change.bBegins) && told.insert(looking.element).second) {
                reportChange(product, looking, change, report);
            }
        }
    }
}

} // namespace

const std::vector<Rule>& conditionRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"condition-never-holds", Severity::Error, Needs::Targets, "a condition that contradicts itself",
         conditionNeverHolds},
        {"registry-path-unguarded", Severity::Warning, Needs::Targets,
         "a registry placeholder in a path that applies without the value", registryPathUnguarded},
        {"condition-on-own-target", Severity::Error, Needs::Both,
         "a condition that looks at what the product installs", conditionOnOwnTarget},
    };
    return rules;
}
