#pragma once

#include "Utility/InstallUtility/InstallUtility.h"

#include <functional>
#include <string>
#include <vector>

/// What follows from conditions alone, on all possible machines.
namespace ConditionLogic {

using Condition = InstallUtility::InstallItem::ItemPath::Condition;

/// Something that a machine has or does not have.
struct Fact {
    enum class Kind { Folder, File, Value };

    Kind kind;
    std::string what; ///< the pattern, as the condition has it
};

/// A possible machine: which of the facts of Machines are true, by the same index.
using Machine = std::vector<bool>;

/// All possible machines that differ in what some conditions test.
class Machines {
public:
    /// The machines that differ in a fact of `conditions` or in one of `more`.
    explicit Machines(const std::vector<const Condition*>& conditions, const std::vector<Fact>& more = {});

    const std::vector<Fact>& facts() const { return factList; }
    bool holds(const Condition& condition, const Machine& machine) const;
    /// Whether `test` holds for one of the machines. If there are too many to try all of them, `ifUnknown`.
    bool any(const std::function<bool(const Machine&)>& test, bool ifUnknown) const;

private:
    void collect(const Condition& condition);
    void add(const Fact& fact);
    std::size_t indexOf(const Fact& fact) const;
    bool canBe(const Machine& machine) const;

    std::vector<Fact> factList;
};

/// Whether there is a machine on which both hold.
bool canHoldTogether(const Condition& a, const Condition& b);

} // namespace ConditionLogic
