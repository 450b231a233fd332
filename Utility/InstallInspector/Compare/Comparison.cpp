#include "Utility/InstallInspector/Compare/Comparison.h"

#include "Utility/InstallInspector/Documents/Manifest.h"
#include "Utility/InstallUtility/Branches.h"
#include "Utility/InstallUtility/Pattern.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

namespace {

using Entry = Build::Entry;
using Condition = Build::Condition;
using ConditionLogic::Machine;
using ConditionLogic::Machines;
using State = Difference::State;
using Cause = Difference::Cause;
using Conditions = std::vector<const Condition*>;

std::string textOf(const Condition& condition) {
    const std::string name = Condition::nameOf(condition.type);
    if (condition.conditions.empty()) {
        return name.empty() ? "" : name + " " + toString(condition.value);
    }
    std::string text;
    for (const Condition& operand : condition.conditions) {
        text += (text.empty() ? "" : ", ") + textOf(operand);
    }
    return name + " (" + text + ")";
}

/// Answers about pairs of conditions. Each answer is computed once.
class Pairs {
public:
    bool canHoldTogether(const Condition& a, const Condition& b) {
        return answer('&', a, {&b}, [](bool bFirst, bool bOthers) { return bFirst && bOthers; });
    }
    /// Whether `a` can hold where none of `others` does.
    bool canHoldAlone(const Condition& a, const Conditions& others) {
        return answer('!', a, others, [](bool bFirst, bool bOthers) { return bFirst && !bOthers; });
    }

private:
    bool answer(char question, const Condition& a, const Conditions& others, bool (*wanted)(bool, bool)) {
        std::string key = question + textOf(a);
        for (const Condition* other : others) {
            key += '\n' + textOf(*other);
        }
        const auto [known, bNew] = answers.emplace(key, true);
        if (bNew) {
            Conditions all = others;
            all.push_back(&a);
            const Machines machines(all);
            known->second = machines.any(
                [&](const Machine& machine) {
                    return wanted(machines.holds(a, machine),
                                  std::any_of(others.begin(), others.end(), [&](const Condition* other) {
                                      return machines.holds(*other, machine);
                                  }));
                },
                true);
        }
        return known->second;
    }

    std::map<std::string, bool> answers;
};

using Places = std::map<std::string, std::vector<const Entry*>>;

Places placesOf(const Build& build) {
    Places places;
    for (const Entry& entry : build.entries()) {
        places[entry.key].push_back(&entry);
    }
    return places;
}

/// Finds the differences in files and folders.
class FileComparison {
public:
    explicit FileComparison(Comparison& toFill)
        : comparison(toFill), old(placesOf(toFill.old)), now(placesOf(toFill.now)) {}

    void run() {
        for (const Entry& entry : comparison.now.entries()) {
            arrive(entry);
        }
        for (const Entry& entry : comparison.old.entries()) {
            leave(entry);
        }
    }
    /// The conditions under which the entry of the new build is not written at its place.
    const Conditions& unwritten(const Entry& entry) { return notWritten[&entry]; }

private:
    void add(Difference difference) {
        const std::string key = std::to_string(static_cast<int>(difference.state)) + difference.path;
        if (known.insert(key).second) {
            comparison.differences.push_back(std::move(difference));
        }
    }

    void arrive(const Entry& entry) {
        if (const Entry* above = fileAbove(entry)) {
            add({State::Missing, Cause::InTheWay, entry.path, above, &entry});
            notWritten[&entry].push_back(above->condition);
            return;
        }
        const auto there = old.find(entry.key);
        bool bMet = false;
        if (there != old.end()) {
            for (const Entry* before : there->second) {
                if (pairs.canHoldTogether(*before->condition, *entry.condition)) {
                    bMet = true;
                    meet(*before, entry);
                }
            }
        }
        if (!bMet) {
            meetWhatLiesBelow(entry);
        }
    }

    const Entry* fileAbove(const Entry& entry) {
        for (std::size_t slash = entry.key.rfind('/'); slash != std::string::npos && slash != 0;
             slash = entry.key.rfind('/', slash - 1)) {
            const auto above = old.find(entry.key.substr(0, slash));
            if (above == old.end()) {
                continue;
            }
            for (const Entry* before : above->second) {
                if (!before->bFolder && pairs.canHoldTogether(*before->condition, *entry.condition)) {
                    return before;
                }
            }
        }
        return nullptr;
    }

    /// An entry whose place is the old one's.
    void meet(const Entry& before, const Entry& entry) {
        // A directory is copied in any case.
        const bool bKept = !entry.node->node->isDirectory && !comparison.replaces(*entry.node);
        if (bKept) {
            add({State::Old, Cause::NotReplaced, entry.path, &before, &entry});
            notWritten[&entry].push_back(before.condition);
        } else if (!before.bFolder && entry.bFolder) {
            add({State::Old, Cause::InTheWay, entry.path, &before, &entry});
            notWritten[&entry].push_back(before.condition);
        } else if (before.bFolder && !entry.bFolder) {
            misplace(before, entry);
        } else if (before.bFolder) {
            merge(before, entry);
        }
    }

    /// A file that is copied to the path of a folder goes into the folder.
    void misplace(const Entry& before, const Entry& entry) {
        Difference difference = {State::Misplaced, Cause::InTheWay, entry.path, &before, &entry};
        difference.at = entry.path + "/" + toString(entry.node->node->name);
        add(std::move(difference));
    }

    void merge(const Entry& before, const Entry& entry) {
        const Manifest::Parts had = Manifest::of(*before.node->element);
        const Manifest::Parts has = Manifest::of(*entry.node->element);
        if (had.empty() || has.empty()) {
            add({State::Mixed, Cause::UnknownPart, entry.path, &before, &entry});
            return;
        }
        std::set<std::string> names;
        for (const Manifest::Part& part : has) {
            names.insert(comparedPath(part.path));
        }
        for (const Manifest::Part& part : had) {
            mergePart(before, entry, part.path, names);
        }
    }

    void mergePart(const Entry& before, const Entry& entry, const std::string& part,
                   const std::set<std::string>& names) {
        const std::string name = comparedPath(part);
        const std::string path = entry.path + "/" + part;
        if (names.count(name) != 0) {
            return;
        }
        const auto below = names.lower_bound(name + "/");
        if (below != names.end() && below->rfind(name + "/", 0) == 0) {
            block(path, before, entry);
            return;
        }
        for (std::size_t slash = name.rfind('/'); slash != std::string::npos && slash != 0;
             slash = name.rfind('/', slash - 1)) {
            if (names.count(name.substr(0, slash)) != 0) {
                block(entry.path + "/" + part.substr(0, slash), before, entry);
                return;
            }
        }
        add({State::Mixed, Cause::Part, path, &before, &entry});
    }

    /// If one part of a folder cannot be copied, the folder counts as not copied.
    void block(const std::string& path, const Entry& before, const Entry& entry) {
        add({State::Old, Cause::InTheWay, path, &before, &entry});
        notWritten[&entry].push_back(before.condition);
    }

    void meetWhatLiesBelow(const Entry& entry) {
        const std::string start = entry.key + "/";
        for (auto below = old.lower_bound(start); below != old.end() && below->first.rfind(start, 0) == 0;
             ++below) {
            for (const Entry* before : below->second) {
                if (!pairs.canHoldTogether(*before->condition, *entry.condition)) {
                    continue;
                }
                if (!entry.node->node->isDirectory && !comparison.replaces(*entry.node)) {
                    add({State::Old, Cause::NotReplaced, entry.path, before, &entry});
                    notWritten[&entry].push_back(before->condition);
                } else if (!entry.bFolder) {
                    misplace(*before, entry);
                }
            }
        }
    }

    void leave(const Entry& before) {
        const auto there = now.find(before.key);
        Conditions others;
        if (there != now.end()) {
            for (const Entry* entry : there->second) {
                others.push_back(entry->condition);
            }
        }
        if (!pairs.canHoldAlone(*before.condition, others)) {
            return;
        }
        const Part part = partOfNew(before);
        if (part == Part::Yes) {
            return;
        }
        const State state = part == Part::Unknown ? State::Mixed : State::Left;
        Difference difference = {state, Cause::NotListed, before.path, &before, nullptr};
        if (!others.empty()) {
            difference.when = textOf(*before.condition);
            for (const Condition* other : others) {
                difference.when += (difference.when.empty() ? "not " : ", not ") + textOf(*other);
            }
        }
        add(std::move(difference));
    }

    enum class Part { No, Yes, Unknown };

    /// Whether the new build has it in a folder in one piece.
    Part partOfNew(const Entry& before) {
        for (std::size_t slash = before.key.rfind('/'); slash != std::string::npos && slash != 0;
             slash = before.key.rfind('/', slash - 1)) {
            const auto above = now.find(before.key.substr(0, slash));
            if (above == now.end()) {
                continue;
            }
            for (const Entry* entry : above->second) {
                if (!entry->bFolder || pairs.canHoldAlone(*before.condition, {entry->condition})) {
                    continue;
                }
                const Manifest::Parts parts = Manifest::of(*entry->node->element);
                const std::string name = before.key.substr(slash + 1);
                const bool bHas = std::any_of(parts.begin(), parts.end(), [&](const Manifest::Part& part) {
                    return comparedPath(part.path) == name;
                });
                return parts.empty() ? Part::Unknown : bHas ? Part::Yes : Part::No;
            }
        }
        return Part::No;
    }

    Comparison& comparison;
    Places old;
    Places now;
    Pairs pairs;
    std::set<std::string> known;
    std::map<const Entry*, Conditions> notWritten;
};

/// Finds the differences in the shortcuts of one name, on all machines that differ in their conditions.
class LinkComparison {
public:
    LinkComparison(Comparison& toFill, std::string linkPath)
        : comparison(toFill), main(std::move(linkPath)) {}

    void addOld(const Entry& entry) { events.push_back({&entry, false, {}}); }
    void addNew(const Entry& entry, const Conditions& unless) { events.push_back({&entry, true, unless}); }

    void run() {
        Conditions conditions;
        for (const Event& event : events) {
            conditions.push_back(event.entry->condition);
            conditions.insert(conditions.end(), event.unless.begin(), event.unless.end());
        }
        const Machines machines(conditions);
        const bool bUnknown = machines.any(
            [&](const Machine& machine) {
                compareLinks(linksOn(machines, machine, true), linksOn(machines, machine, false));
                return false;
            },
            true);
        if (bUnknown && !events.front().bNew) {
            add({State::Left, Cause::ShortCut, main, events.front().entry, nullptr});
        }
    }

private:
    struct Event {
        const Entry* entry;
        bool bNew;
        Conditions unless;
    };
    struct Link {
        const Entry* target;
    };
    using Links = std::map<std::string, Link>;

    Links linksOn(const Machines& machines, const Machine& machine, bool bUpdate) const {
        Links links;
        for (const Event& event : events) {
            const bool bUnwritten = bUpdate && std::any_of(event.unless.begin(), event.unless.end(),
                                                           [&](const Condition* condition) {
                                                               return machines.holds(*condition, machine);
                                                           });
            if ((bUpdate || event.bNew) && !bUnwritten && machines.holds(*event.entry->condition, machine)) {
                const auto there = links.find(main);
                // If the old link leads to a folder, the new link is made inside that folder.
                if (there != links.end() && there->second.target->bFolder) {
                    links[there->second.target->path + "/" + toString(event.entry->node->node->name)] = {
                        event.entry};
                } else {
                    links[main] = {event.entry};
                }
            }
        }
        return links;
    }

    /// Compares the links after the update with those after an install of the new build alone.
    void compareLinks(const Links& after, const Links& alone) {
        bool bInside = false;
        for (const auto& [path, link] : after) {
            const auto same = alone.find(path);
            if (path != main && (same == alone.end() || same->second.target->key != link.target->key)) {
                bInside = true;
                Difference difference = {State::Misplaced, Cause::ShortCut, main, nullptr, link.target};
                difference.at = path;
                add(std::move(difference));
            }
        }
        for (const auto& [path, link] : alone) {
            if (path != main && after.count(path) == 0) {
                add({State::Missing, Cause::ShortCut, path, nullptr, link.target});
            }
        }
        const auto is = after.find(main);
        const auto wanted = alone.find(main);
        if (is != after.end() && wanted == alone.end()) {
            add({State::Left, Cause::ShortCut, main, is->second.target, nullptr});
        } else if (is == after.end() && wanted != alone.end()) {
            add({State::Missing, Cause::ShortCut, main, nullptr, wanted->second.target});
        } else if (is != after.end() && is->second.target->key != wanted->second.target->key && !bInside) {
            add({State::Old, Cause::ShortCut, main, is->second.target, wanted->second.target});
        }
    }

    void add(Difference difference) {
        if (known.insert(std::to_string(static_cast<int>(difference.state)) + difference.path + difference.at)
                .second) {
            comparison.differences.push_back(std::move(difference));
        }
    }

    Comparison& comparison;
    std::string main;
    std::vector<Event> events;
    std::set<std::string> known;
};

void compareLinks(Comparison& comparison, FileComparison& files) {
    std::map<std::string, LinkComparison> links;
    const auto linkOf = [&](const Entry& entry) -> LinkComparison* {
        VLString path;
        if (!entry.node->node->IsShortCutInfoValid() ||
            !InstallUtility::createFullShortCutName(*entry.node->node, path)) {
            return nullptr;
        }
        return &links.try_emplace(toString(path), comparison, toString(path)).first->second;
    };
    for (const Entry& entry : comparison.old.entries()) {
        if (LinkComparison* link = linkOf(entry)) {
            link->addOld(entry);
        }
    }
    for (const Entry& entry : comparison.now.entries()) {
        if (LinkComparison* link = linkOf(entry)) {
            link->addNew(entry, files.unwritten(entry));
        }
    }
    for (auto& [path, link] : links) {
        link.run();
    }
}

using ItemPath = InstallUtility::InstallItem::ItemPath;

/// The candidates for the folder of the record.
std::vector<ItemPath> recordFoldersOf(const Build& build) {
    const auto& items = build.product().items;
    const auto found = items.find(Branch::shared);
    std::vector<ItemPath> folders = found == items.end() ? std::vector<ItemPath>() : found->second.paths;
    for (ItemPath& folder : folders) {
        if (const VLString family = firstFamilyOf(build.product().definition); family.IsSet()) {
            Pattern::fillFamily(folder.path, family);
        }
    }
    return folders;
}

std::string firstOn(const Machines& machines, const Machine& machine, const std::vector<ItemPath>& folders) {
    const auto first = std::find_if(folders.begin(), folders.end(), [&](const ItemPath& folder) {
        return machines.holds(folder.condition, machine);
    });
    return first == folders.end() ? "" : comparedPath(toString(first->path));
}

bool recordMoves(const std::vector<ItemPath>& old, const std::vector<ItemPath>& now) {
    Conditions conditions;
    for (const auto* list : {&old, &now}) {
        for (const ItemPath& folder : *list) {
            conditions.push_back(&folder.condition);
        }
    }
    const Machines machines(conditions);
    return machines.any(
        [&](const Machine& machine) {
            const std::string before = firstOn(machines, machine, old);
            return !before.empty() && before != firstOn(machines, machine, now);
        },
        true);
}

} // namespace

const char* nameOf(Difference::State state) {
    switch (state) {
    case State::Left:
        return "left";
    case State::Old:
        return "old";
    case State::Missing:
        return "missing";
    case State::Misplaced:
        return "misplaced";
    case State::Mixed:
        break;
    }
    return "mixed";
}

bool Comparison::replaces(const Product::TreeNode& node) const {
    if (bNoRecord) {
        return false;
    }
    const Product::TreeNode* before = old.find(toString(node.treePath));
    const int recorded = before == nullptr || before->node->isDirectory ? 0 : old.number();
    return before == nullptr || bRecordMoves || recorded <= now.number() || node.node->allowDowngrade;
}

Comparison compareBuilds(const Build& old, const Build& now) {
    Comparison comparison = {old, now, old.product().bTargets, false, false, {}};
    if (comparison.bTargets) {
        const auto before = recordFoldersOf(old);
        const auto after = recordFoldersOf(now);
        comparison.bNoRecord = after.empty();
        comparison.bRecordMoves = recordMoves(before, after);
    }
    FileComparison files(comparison);
    files.run();
    compareLinks(comparison, files);
    const std::string uninstaller = old.uninstaller();
    if (!uninstaller.empty() && uninstaller != now.uninstaller()) {
        comparison.differences.push_back({State::Left, Cause::Uninstaller, uninstaller, nullptr, nullptr});
    }
    return comparison;
}
