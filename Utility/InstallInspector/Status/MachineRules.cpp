// What the record says against what the given products and this machine say.
#include "Foundation/Machine.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Status/Status.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <climits>

#include <algorithm>
#include <map>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Condition = Status::Condition;
using Place = PlacedProduct::Place;
using Spot = PlacedProduct::Spot;
using TreeNode = Product::TreeNode;

mode_t typeOf(const VLString& path) {
    return Machine::current().typeOf(path);
}

bool isSomething(const VLString& path) {
    return Machine::current().linkTypeOf(path) != 0;
}

/// Whether what is there can be what an install made of the node. What is listed as a file may be a folder in
/// the source, too, which nothing on this machine tells.
bool fits(const Spot& spot, const VLString& path) {
    const mode_t type = typeOf(path);
    return S_ISDIR(type) || (S_ISREG(type) && !spot.node->node->isDirectory);
}

bool isThere(const Spot& spot) {
    return std::any_of(spot.places.begin(), spot.places.end(),
                       [&](const Place& place) { return fits(spot, place.path); });
}

VLString folderAbove(const VLString& path) {
    const std::string text = toString(path);
    return toVLString(text.substr(0, text.rfind('/')));
}

std::string quoted(const SKUDefinition::SKUInfo& info) {
    return quotedText(info.ID.IsSet() ? info.ID : info.name);
}

std::string withEntries(std::size_t count) {
    return count < 2 ? "" : " with " + std::to_string(count) + " entries";
}

bool canBeCompared(const Status& status) {
    return status.record.state != Record::State::Unreadable;
}

/// Calls `visit` with each product and each recorded node of its tree that is installed as it is.
template <class Visitor>
void forEachRecordedLeaf(const Status& status, Visitor visit) {
    for (const auto& product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded = status.record.find(spot.node->treePath);
            if (spot.bLeaf && recorded != nullptr) {
                visit(spot, *recorded);
            }
        }
    }
}

std::set<VLString> pathsOf(const std::vector<Place>& places) {
    std::set<VLString> paths;
    for (const Place& place : places) {
        paths.insert(place.path.ToLower());
    }
    return paths;
}

std::string listed(const std::vector<Place>& places) {
    std::string text;
    for (const Place& place : places) {
        text += (text.empty() ? "" : " and ") + quotedText(place.path);
    }
    return text;
}

// Missing, or something else

/// A path on this machine where something recorded should be and is not, the uppermost of its kind.
struct Loss {
    const TreeNode* node;
    std::set<VLString> leaves; ///< of the tree
    bool bOtherKind;
};

/// By path on this machine.
std::map<VLString, Loss> lossesIn(const Status& status) {
    std::map<VLString, Loss> losses;
    forEachRecordedLeaf(status, [&](const Spot& spot, const Record::Node&) {
        for (const Place& place : spot.places) {
            if (fits(spot, place.path)) {
                continue;
            }
            VLString top = place.path;
            const TreeNode* node = spot.node;
            while (!isSomething(top) && top.Size() > place.target.Size() &&
                   !S_ISDIR(typeOf(folderAbove(top)))) {
                top = folderAbove(top);
                node = node->parent;
            }
            Loss& loss = losses.try_emplace(top, Loss{node, {}, isSomething(top)}).first->second;
            loss.leaves.insert(spot.node->treePath);
        }
    });
    return losses;
}

void missingFile(Status& status, const StatusReport& report) {
    if (!canBeCompared(status)) {
        return;
    }
    for (const auto& [path, loss] : lossesIn(status)) {
        if (!loss.bOtherKind) {
            report(status.record.near(loss.node->treePath),
                   quotedText(loss.node->treePath) + withEntries(loss.leaves.size()) +
                       " is missing: there is no " + quotedText(path),
                   "The record counts it as installed. It was removed by other hands, could not be copied, "
                   "or the "
                   "host came after the install.",
                   "Install the product again, which copies what is missing.");
        }
    }
}

std::string kindOf(const VLString& path) {
    const mode_t type = typeOf(path);
    return type == 0       ? "a link that leads nowhere"
           : S_ISREG(type) ? "a file"
           : S_ISDIR(type) ? "a folder"
                           : "neither file nor folder";
}

void changedKind(Status& status, const StatusReport& report) {
    if (!canBeCompared(status)) {
        return;
    }
    for (const auto& [path, loss] : lossesIn(status)) {
        if (loss.bOtherKind) {
            report(status.record.near(loss.node->treePath),
                   quotedText(path) + " is " + kindOf(path) + ", where " + quotedText(loss.node->treePath) +
                       " should be a " + (loss.node->node->isDirectory ? "folder" : "file"),
                   "An uninstall does not remove it, and an install may not be able to replace it.",
                   "Move it away, and install the product again.");
        }
    }
    for (const auto& product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded = status.record.find(spot.node->treePath);
            const bool bFolder = spot.node->node->isDirectory;
            if (recorded != nullptr && recorded->recorded->isDirectory != bFolder) {
                report(
                    status.record.at(*recorded),
                    quotedText(spot.node->treePath) + " is a " + (bFolder ? "file" : "folder") +
                        " in the record and a " + (bFolder ? "folder" : "file") + " in the definition of " +
                        quoted(product->info()),
                    bFolder
                        ? "What the definition has below it is written into the record, but not read again: "
                          "no uninstall removes it."
                        : "It has no build in the record, so that every install replaces it.",
                    "List it as the same in all products that have it.");
            }
        }
    }
}

// Not in the record

void productNotRecorded(Status& status, const StatusReport& report) {
    for (const auto& product : status.products) {
        if (status.record.state == Record::State::Readable && !status.record.hasProduct(product->info().ID)) {
            report(status.record.start(), "the record does not list the product " + quoted(product->info()),
                   "An uninstall of it takes one use off every path that it has in common with others, and "
                   "removes "
                   "what comes to 0 under them.",
                   "Do not uninstall it here. Is this the right definition, and the right folder?");
        }
    }
}

void recordElsewhere(Status& status, const StatusReport& report) {
    const VLString folder = folderAbove(toVLString(status.record.path));
    for (const auto& product : status.products) {
        const VLString& own = product->statusFolder();
        struct stat here = {};
        struct stat there = {};
        const bool bSame = stat(folder.ConstData(), &here) == 0 && stat(own.ConstData(), &there) == 0 &&
                           here.st_dev == there.st_dev && here.st_ino == there.st_ino;
        if (!bSame && own != folder) {
            report(product->product().targetsFile.start(),
                   own.IsEmpty()
                       ? "no path of the item VorlaneFX applies here, for " + quoted(product->info())
                       : quoted(product->info()) + " keeps its record in " + quotedText(own),
                   own.IsEmpty() ? "The engine keeps no record for the product on this machine."
                                 : "The record shown is not the one that its install and uninstall use.",
                   own.IsEmpty() ? "Begin the item with a path that always applies."
                                 : "Give that folder, or have all products name the same one.");
        }
    }
}

void otherBuild(Status& status, const StatusReport& report) {
    for (const auto& product : status.products) {
        const int index = status.record.content.getProductIndex(product->info());
        if (index < 0) {
            continue;
        }
        const VLString& build = status.record.content.products[static_cast<unsigned long>(index)].build;
        if (build != product->info().build) {
            report(status.record.start(),
                   "installed is the build " + quotedText(build) + " of " + quoted(product->info()) +
                       ", the definition is of " + quotedText(product->info().build),
                   "Where the two list different files the findings here say so, too.",
                   "Give the definition that was installed; the uninstaller has it in its Contents folder.");
        }
    }
}

void notRecorded(Status& status, const StatusReport& report) {
    if (!canBeCompared(status)) {
        return;
    }
    std::set<VLString> reported;
    for (const auto& product : status.products) {
        std::map<const TreeNode*, std::vector<VLString>> found; // by the uppermost that is not recorded
        for (const Spot& spot : product->spots()) {
            if (!spot.bLeaf || status.record.find(spot.node->treePath) != nullptr || !isThere(spot)) {
                continue;
            }
            const TreeNode* top = spot.node;
            while (top->parent->parent != nullptr && status.record.find(top->parent->treePath) == nullptr) {
                top = top->parent;
            }
            found[top].push_back(spot.places.front().path);
        }
        for (const auto& [node, paths] : found) {
            if (reported.insert(node->treePath).second) {
                report(status.record.near(node->treePath),
                       quotedText(node->treePath) + withEntries(paths.size()) +
                           " is on this machine and not in the record" +
                           (paths.size() > 1 ? ", such as " : ": ") + quotedText(paths.front()),
                       "No uninstall removes it.",
                       "Install " + quoted(product->info()) +
                           " again, which enters it, or remove it by hand.");
            }
        }
    }
}

// Folders

void leftBehind(Status& status, const StatusReport& report) {
    if (!canBeCompared(status)) {
        return;
    }
    std::set<VLString> inUse;
    for (const auto& product : status.products) {
        for (const Spot& spot : product->spots()) {
            for (const Place& place : spot.places) {
                inUse.insert(place.path.ToLower());
            }
        }
    }
    std::set<VLString> reported; // target folders
    for (const auto& product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded = status.record.find(spot.node->treePath);
            for (const Place& place : spot.idle) {
                // A target folder alone may be anyone's.
                const bool bFound = spot.bLeaf && recorded != nullptr && place.path != place.target &&
                                    inUse.count(place.path.ToLower()) == 0 && fits(spot, place.path);
                if (bFound && reported.insert(place.target).second) {
                    report(status.record.at(*recorded),
                           quotedText(spot.node->treePath) + " is in " + quotedText(place.target) +
                               ", of which the condition does not hold today (line " +
                               std::to_string(place.element->Row()) + " of " +
                               printableText(toVLString(product->product().targetsFile.path())) + ")",
                           "The conditions are weighed again at an uninstall: it does not look there, and "
                           "leaves the "
                           "files.",
                           "Bring back what the condition tests before the uninstall, or remove the files by "
                           "hand.");
                }
            }
        }
    }
}

void severalFolders(Status& status, const StatusReport& report) {
    std::set<VLString> reported;
    for (const auto& first : status.products) {
        for (const auto& second : status.products) {
            if (first.get() >= second.get()) {
                continue;
            }
            for (const Spot& spot : first->spots()) {
                const Spot* other = second->find(spot.node->treePath);
                if (other == nullptr || spot.places.empty() || other->places.empty() ||
                    pathsOf(spot.places) == pathsOf(other->places) ||
                    status.record.find(spot.node->treePath) == nullptr) {
                    continue;
                }
                const bool bBelow = reported.count(spot.node->parent->treePath) != 0;
                reported.insert(spot.node->treePath);
                if (!bBelow) {
                    report(status.record.near(spot.node->treePath),
                           quotedText(spot.node->treePath) + " lies in " + listed(spot.places) + " for " +
                               quoted(first->info()) + ", in " + listed(other->places) + " for " +
                               quoted(second->info()),
                           "The record has one count for both. The product that goes first leaves its files, "
                           "and "
                           "the one that goes last removes its own alone.",
                           "Give the same target path in both products, or another name in the tree.");
                }
            }
        }
    }
}

// Counts

/// Whether each recorded product is given, in the build that is recorded.
bool isComplete(const Status& status) {
    const auto& installed = status.record.content.products;
    return !status.products.empty() && std::all_of(installed.begin(), installed.end(), [&](const auto& info) {
        return std::any_of(status.products.begin(), status.products.end(), [&](const auto& product) {
            return product->info().ID == info.ID && product->info().build == info.build;
        });
    });
}

std::int32_t usesOf(const Status& status, const VLString& path) {
    return static_cast<std::int32_t>(
        std::count_if(status.products.begin(), status.products.end(), [&](const auto& product) {
            return status.record.hasProduct(product->info().ID) && product->find(path) != nullptr;
        }));
}

void inNoDefinition(Status& status, const StatusReport& report) {
    if (!isComplete(status)) {
        return;
    }
    std::set<const Record::Node*> reported;
    for (const Record::Node& node : status.record.nodes) {
        const VLString path = pathOf(node);
        if (node.parent == nullptr || usesOf(status, path) > 0) {
            continue;
        }
        reported.insert(&node);
        if (reported.count(node.parent) == 0) {
            report(status.record.at(node), "no installed product lists " + quotedText(path),
                   "An earlier build did, and its count stays: no uninstall removes it.",
                   "Remove it by hand; the record forgets it with the last product.");
        }
    }
}

void countDiffers(Status& status, const StatusReport& report) {
    if (!isComplete(status)) {
        return;
    }
    std::map<const Record::Node*, std::int32_t> reported; // how much too high
    for (const Record::Node& node : status.record.nodes) {
        const VLString path = pathOf(node);
        const std::int32_t uses = node.parent == nullptr ? 0 : usesOf(status, path);
        const std::int32_t excess = uses == 0 ? 0 : node.recorded->ref - uses;
        if (excess == 0) {
            continue;
        }
        reported[&node] = excess;
        const auto above = reported.find(node.parent);
        if (above == reported.end() || above->second != excess) {
            report(status.record.at(node),
                   quotedText(path) + " has the count " + std::to_string(node.recorded->ref) + ", and " +
                       counted(static_cast<std::size_t>(uses), "installed product", "installed products") +
                       (uses == 1 ? " lists it" : " list it"),
                   excess > 0 ? "The count never comes to 0: no uninstall removes it."
                              : "It comes to 0 too early: it is removed while a product needs it.",
                   "Mend the count, or remove all products and install them again.");
        }
    }
}

// Shortcuts

VLString targetOfLink(const VLString& link) {
    char target[PATH_MAX];
    const ssize_t length = readlink(link.ConstData(), target, sizeof target);
    return length < 0 ? VLString() : VLString(target, static_cast<unsigned long>(length));
}

void shortCut(Status& status, const StatusReport& report) {
    std::set<VLString> reported;
    forEachRecordedLeaf(status, [&](const Spot& spot, const Record::Node& recorded) {
        VLString link;
        if (!recorded.recorded->IsShortCutInfoValid() || !isThere(spot) ||
            !InstallUtility::createFullShortCutName(*recorded.recorded, link) ||
            !reported.insert(link).second) {
            return;
        }
        const VLString target = targetOfLink(link);
        if (pathsOf(spot.places).count(target.ToLower()) == 0) {
            report(status.record.at(recorded),
                   quotedText(link) +
                       (target.IsSet()      ? " leads to " + quotedText(target)
                        : isSomething(link) ? std::string(" is no link")
                                            : std::string(" is missing")) +
                       ", and should lead to " + quotedText(spot.places.front().path),
                   isSomething(link) ? "The uninstall that removes the file removes it all the same."
                                     : "Users do not find the file where the product says.",
                   "Install the product again, which makes the shortcut when it copies the file.");
        }
    });
}

} // namespace

void weighConditions(Status& status) {
    for (const auto& product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded = status.record.find(spot.node->treePath);
            if (recorded == nullptr) {
                continue;
            }
            Condition& condition = status.conditions[recorded];
            if (spot.places.empty()) {
                const bool bLeft = std::any_of(spot.idle.begin(), spot.idle.end(), [&](const Place& place) {
                    return spot.bLeaf && place.path != place.target && fits(spot, place.path);
                });
                condition = condition != Condition::Unknown ? condition
                            : bLeft                         ? Condition::LeftBehind
                            : spot.bLeaf                    ? Condition::NoTarget
                                                            : Condition::Unknown;
                continue;
            }
            for (const Place& place : spot.places) {
                const bool bFits = !spot.bLeaf || fits(spot, place.path);
                const Condition now = bFits                     ? Condition::There
                                      : isSomething(place.path) ? Condition::OtherKind
                                                                : Condition::Missing;
                const bool bWorse = condition == Condition::Unknown || condition == Condition::There ||
                                    condition == Condition::NoTarget;
                condition = bWorse ? now : condition;
            }
        }
    }
}

const std::vector<StatusRuleEntry>& machineRules() {
    static const std::vector<StatusRuleEntry> rules = {
        {{"product-not-recorded", Severity::Error, "a given product that the record does not list"},
         productNotRecorded},
        {{"record-elsewhere", Severity::Warning, "a product that keeps its record in another folder"},
         recordElsewhere},
        {{"other-build", Severity::Warning, "a definition of another build than the recorded one"},
         otherBuild},
        {{"missing-file", Severity::Error, "a recorded file or folder that is not there"}, missingFile},
        {{"changed-kind", Severity::Error, "a file in the place of a folder, or the reverse"}, changedKind},
        {{"not-recorded", Severity::Error, "an installed file or folder that is not in the record"},
         notRecorded},
        {{"left-behind", Severity::Error, "files in a folder that today's conditions no longer reach"},
         leftBehind},
        {{"several-folders", Severity::Error,
          "one path of the tree in different folders for several products"},
         severalFolders},
        {{"in-no-definition", Severity::Warning, "a recorded path that no installed product lists"},
         inNoDefinition},
        {{"count-differs", Severity::Error, "a count other than how many installed products list the path"},
         countDiffers},
        {{"shortcut-missing", Severity::Warning, "a shortcut that is missing or leads elsewhere"}, shortCut},
    };
    return rules;
}
