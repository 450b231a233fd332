#include "Utility/InstallInspector/Documents/ConditionLogic.h"

#include "Utility/InstallInspector/Report/Finding.h"

#include <algorithm>
#include <optional>

namespace ConditionLogic {

namespace {

constexpr std::size_t mostFacts = 12;

struct Test {
    Fact fact;
    bool bWanted;
};

std::string withoutLastSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

/// What a condition asks of a machine; none for one that asks nothing, or combines others.
std::optional<Test> testOf(const Condition& condition) {
    const std::string what = withoutLastSlash(toString(condition.value));
    switch (condition.type) {
    case Condition::PathExist:
    case Condition::PathNotExist:
        return Test{{Fact::Kind::Folder, what}, condition.type == Condition::PathExist};
    case Condition::FileExist:
    case Condition::FileNotExist:
        return Test{{Fact::Kind::File, what}, condition.type == Condition::FileExist};
    case Condition::RegKeyExist:
    case Condition::RegKeyNotExist:
        return Test{{Fact::Kind::Value, what}, condition.type == Condition::RegKeyExist};
    default:
        return std::nullopt;
    }
}

bool isInside(const std::string& path, const std::string& folder) {
    return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 &&
           path[folder.size()] == '/';
}

/// Whether `a`, when it is true, makes `b` true (`bTrue`) or false.
bool decides(const Fact& a, const Fact& b, bool bTrue) {
    using Kind = Fact::Kind;
    const bool bPaths = a.kind != Kind::Value && b.kind != Kind::Value;
    if (bPaths && !b.what.empty() && b.what.front() == '/' && isInside(a.what, b.what)) {
        return bTrue == (b.kind == Kind::Folder); // what is inside something makes it a folder
    }
    if (bPaths && a.what == b.what && a.kind != b.kind) {
        return !bTrue;
    }
    // A path that begins with a value is there only when the value is, as far as authors mean it.
    return bTrue && a.kind != Kind::Value && b.kind == Kind::Value && !b.what.empty() &&
           b.what.front() == '%' && a.what.find(b.what) != std::string::npos;
}

} // namespace

Machines::Machines(const std::vector<const Condition*>& conditions, const std::vector<Fact>& more) {
    for (const Condition* condition : conditions) {
        collect(*condition);
    }
    for (const Fact& fact : more) {
        add(fact);
    }
}

void Machines::collect(const Condition& condition) {
    if (const auto test = testOf(condition)) {
        add(test->fact);
        return;
    }
    for (const Condition& operand : condition.conditions) {
        collect(operand);
    }
}

void Machines::add(const Fact& fact) {
    if (indexOf(fact) == factList.size()) {
        factList.push_back(fact);
    }
}

std::size_t Machines::indexOf(const Fact& fact) const {
    const auto found = std::find_if(factList.begin(), factList.end(), [&](const Fact& other) {
        return other.kind == fact.kind && other.what == fact.what;
    });
    return static_cast<std::size_t>(found - factList.begin());
}

bool Machines::canBe(const Machine& machine) const {
    for (std::size_t a = 0; a < factList.size(); ++a) {
        if (!machine[a]) {
            continue;
        }
        if (factList[a].what.empty()) {
            return false; // nothing is found under an empty name
        }
        for (std::size_t b = 0; b < factList.size(); ++b) {
            if (a != b && decides(factList[a], factList[b], !machine[b])) {
                return false;
            }
        }
    }
    return true;
}

bool Machines::holds(const Condition& condition, const Machine& machine) const {
    const auto& operands = condition.conditions;
    const auto inner = [&](const Condition& operand) { return holds(operand, machine); };
    if (condition.type == Condition::And) {
        return std::all_of(operands.begin(), operands.end(), inner);
    }
    if (condition.type == Condition::Or) {
        return std::any_of(operands.begin(), operands.end(), inner);
    }
    const auto test = testOf(condition);
    return !test.has_value() || machine[indexOf(test->fact)] == test->bWanted;
}

bool Machines::any(const std::function<bool(const Machine&)>& test, bool ifUnknown) const {
    if (factList.size() > mostFacts) {
        return ifUnknown;
    }
    for (std::size_t number = 0; number < (std::size_t{1} << factList.size()); ++number) {
        Machine machine(factList.size());
        for (std::size_t i = 0; i < machine.size(); ++i) {
            machine[i] = (number >> i & 1U) != 0;
        }
        if (canBe(machine) && test(machine)) {
            return true;
        }
    }
    return false;
}

bool canHoldTogether(const Condition& a, const Condition& b) {
    const Machines machines({&a, &b});
    return machines.any(
        [&](const Machine& machine) { return machines.holds(a, machine) && machines.holds(b, machine); },
        true);
}

} // namespace ConditionLogic
