#pragma once

#include "Utility/InstallUtility/InstallUtility.h"

#include <functional>
#include <string>
#include <vector>

/// What follows from conditions alone, whatever machine they meet.
namespace ConditionLogic {

using Condition = InstallUtility::InstallItem::ItemPath::Condition;

/// Something that a machine has or has not.
struct Fact {
    enum class Kind { Folder, File, Value };

    Kind kind;
    std::string what; ///< the pattern, as the condition has it
};

/// Which of `facts` are true; by the same index.
using Machine = std::vector<bool>;

/// Machines as far as some conditions can tell them apart: each that can be, once.
class Machines {
public:
    /// All that differ in what `conditions` and `more` ask.
    explicit Machines(const std::vector<const Condition*>& conditions, const std::vector<Fact>& more = {});

    const std::vector<Fact>& facts() const { return factList; }
    bool holds(const Condition& condition, const Machine& machine) const;
    /// Whether there is one for which `test` holds. With so many facts that there is no going through all of
    /// them, `ifUnknown`.
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
