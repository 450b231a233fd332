// Differences in where the builds go, and what happens there to the files of the old build.
#include "Utility/InstallInspector/Compare/CompareRules.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

using State = Difference::State;
using Cause = Difference::Cause;
using Names = std::vector<std::string>;

// Folders in one piece

void partDropped(const Comparison& comparison, const Report& report) {
    std::map<const Product::TreeNode*, Names> parts;
    for (const Difference& difference : comparison.differences) {
        const bool bBlocked = difference.state == State::Old && difference.cause == Cause::InTheWay &&
                              difference.old->bFolder && difference.now->bFolder;
        if (difference.cause == Cause::Part || bBlocked) {
            parts[difference.now->node].push_back(difference.path);
        }
    }
    for (const auto& [node, paths] : parts) {
        report(comparison.now.at(*node),
               quotedText(node->treePath) + " no longer has " + counted(paths.size(), "file", "files") +
                   " of the old build as it was",
               "The folder is copied over the old one, so that " + quotedList(paths) + " of the old build " +
                   (paths.size() == 1 ? "stays" : "stay") +
                   " in it until an uninstall. A signature of the folder is then broken.",
               "Keep the files in the folder. " + std::string(wayOut), paths);
    }
}

void wholeFolderUnknown(const Comparison& comparison, const Report& report) {
    Names paths;
    const Build::Entry* first = nullptr;
    for (const Difference& difference : comparison.differences) {
        if (difference.cause == Cause::UnknownPart) {
            first = first == nullptr ? difference.now : first;
            paths.push_back(difference.path);
        }
    }
    if (first != nullptr) {
        report(comparison.now.at(*first->node),
               "the definitions do not say what is in " +
                   counted(paths.size(), "folder that is taken whole: ", "folders that are taken whole: ") +
                   quotedList(paths),
               "A folder is copied over the old one: a file that the new build no longer has in it stays "
               "until an "
               "uninstall.",
               "Write what is in it into both definitions: InstallInspector update --manifest. " +
                   std::string(wayOut),
               paths);
    }
}

// Shortcuts

const char* const inApplications = "/Applications/";

std::string linkName(const Difference& difference) {
    return quotedText(toVLString(difference.path.substr(difference.path.rfind('/') + 1)));
}

void shortCutDropped(const Comparison& comparison, const Report& report) {
    for (const Difference& difference : comparison.differences) {
        if (difference.cause != Cause::ShortCut) {
            continue;
        }
        if (difference.state == State::Left) {
            report(comparison.old.at(*difference.old->node),
                   "the shortcut " + linkName(difference) + " of " +
                       quotedText(toVLString(difference.old->treePath)) + " is dropped",
                   "The link stays in /Applications, and no uninstall removes it.",
                   "Keep the shortcut. " + std::string(wayOut), {difference.path});
        } else if (difference.state == State::Misplaced) {
            report(comparison.now.at(*difference.now->node),
                   "the shortcut " + linkName(difference) + " leads to a folder already",
                   "The link of the update is made inside that folder, as " +
                       quotedText(toVLString(difference.at)) + ". A signature of the folder is then broken.",
                   "Give no shortcut to a folder. " + std::string(wayOut), {difference.path, difference.at});
        } else {
            report(comparison.now.at(*difference.now->node),
                   "the shortcut " + linkName(difference) + " does not come to lead to " +
                       quotedText(toVLString(difference.now->treePath)),
                   (difference.old == nullptr
                        ? ""
                        : "It leads to " + quotedText(toVLString(difference.old->path)) + ". ") +
                       "A shortcut is made only with a file that is copied.",
                   "See the finding about the file. " + std::string(wayOut), {difference.path});
        }
    }
}

std::string shortCutOf(const Product::TreeNode& node) {
    return node.node->IsShortCutInfoValid() ? toString(node.node->shortCut.name) : "";
}

void shortCutAdded(const Comparison& comparison, const Report& report) {
    std::map<std::string, std::string> old;
    for (const Product::TreeNode& node : comparison.old.product().tree) {
        old.emplace(shortCutOf(node), toString(node.treePath));
    }
    for (const Product::TreeNode& node : comparison.now.product().tree) {
        const std::string name = shortCutOf(node);
        const auto before = old.find(name);
        if (name.empty() || (before != old.end() && before->second == toString(node.treePath))) {
            continue;
        }
        report(comparison.now.at(node),
               "the shortcut " + quotedText(toVLString(name)) +
                   (before == old.end() ? " is new" : " leads to " + quotedText(node.treePath) + " now"),
               "It is made when the file is copied.", "Nothing has to be done.", {inApplications + name});
    }
}

// Target folders

/// The differences about what stays of a file that the new tree lists, by the target folder of the old build.
using ByFolder = std::map<const TiXmlElement*, std::vector<const Difference*>>;

ByFolder leftByFolder(const Comparison& comparison) {
    ByFolder folders;
    for (const Difference& difference : comparison.differences) {
        if (difference.cause == Cause::NotListed && difference.old->element != nullptr &&
            comparison.now.find(difference.old->treePath) != nullptr) {
            folders[difference.old->element].push_back(&difference);
        }
    }
    return folders;
}

std::string valueOf(const TiXmlElement& path) {
    return quotedText(attributeOf(path, "value"));
}

Names pathsOf(const std::vector<const Difference*>& differences) {
    Names paths;
    for (const Difference* difference : differences) {
        paths.push_back(difference->path);
    }
    return paths;
}

void reportLeft(const Comparison& comparison, const Report& report, bool bConditions) {
    for (const auto& [element, all] : leftByFolder(comparison)) {
        std::vector<const Difference*> differences;
        std::copy_if(all.begin(), all.end(), std::back_inserter(differences),
                     [&](const Difference* difference) { return difference->when.empty() != bConditions; });
        if (differences.empty()) {
            continue;
        }
        const Location where = comparison.old.product().targetsFile.at(*element, "value");
        const std::string staying = counted(differences.size(), "entry", "entries") + " of the tree";
        if (bConditions) {
            report(where, "the condition of " + valueOf(*element) + " is another one",
                   "Where only the old one holds (" + printable(differences.front()->when) + "), " + staying +
                       (differences.size() == 1 ? " stays" : " stay") +
                       " there, and no uninstall looks there.",
                   "Keep the condition, or one that holds wherever the old one does. " + std::string(wayOut),
                   pathsOf(differences));
            continue;
        }
        const bool bNowhere =
            std::none_of(differences.begin(), differences.end(), [&](const Difference* difference) {
                return comparison.now.places(difference->old->treePath);
            });
        report(where,
               staying +
                   (bNowhere
                        ? (differences.size() == 1 ? " has" : " have") +
                              std::string(" no target folder any more, in place of ")
                        : std::string(differences.size() == 1 ? " goes" : " go") + " elsewhere than to ") +
                   valueOf(*element),
               "What the old build has put there stays, where hosts may load it beside the new one, and no "
               "uninstall "
               "looks there.",
               "Keep the target folder. " + std::string(wayOut), pathsOf(differences));
    }
}

void targetMoved(const Comparison& comparison, const Report& report) {
    reportLeft(comparison, report, false);
}

void conditionChanged(const Comparison& comparison, const Report& report) {
    reportLeft(comparison, report, true);
}

void targetAdded(const Comparison& comparison, const Report& report) {
    std::set<std::pair<std::string, std::string>> old;
    for (const TargetFolder& folder : comparison.old.folders()) {
        old.emplace(toString(folder.node->treePath), folder.compared);
    }
    for (const TargetFolder& folder : comparison.now.folders()) {
        const std::string treePath = toString(folder.node->treePath);
        const bool bTaken = folder.node->node->isDirectory; // an item takes folders only
        if (bTaken && comparison.old.find(treePath) != nullptr &&
            old.count({treePath, folder.compared}) == 0) {
            report(folder.where(),
                   quotedText(folder.node->treePath) + " also goes to " + valueOf(*folder.element),
                   "It is installed there with the update.", "Nothing has to be done.", {folder.folder});
        }
    }
}

void recordMoved(const Comparison& comparison, const Report& report) {
    if (!comparison.bRecordMoves && !comparison.bNoRecord) {
        return;
    }
    const Product& now = comparison.now.product();
    const Product::TargetItem* item = now.topItem(Branch::shared);
    report(item == nullptr ? now.targetsFile.start() : now.targetsFile.at(*item->element),
           comparison.bNoRecord
               ? "the new build has no folder for its record"
               : "the first target folder of \"VorlaneFX\", where the record is, is another one",
           comparison.bNoRecord
               ? "Files that are there are not replaced, and no uninstall removes a file."
               : "The new build begins a record of its own. The old one, which counts for all products, "
                 "keeps this "
                 "product for ever, so that what products share is never removed, or too early.",
           "Keep the first target folder of VorlaneFX, and its condition, for ever and in all products.");
}

} // namespace

const std::vector<CompareRule>& placeRules() {
    static const std::vector<CompareRule> rules = {
        {"part-dropped", Severity::Error, partDropped},
        {"whole-folder-unknown", Severity::Warning, wholeFolderUnknown},
        {"shortcut-dropped", Severity::Error, shortCutDropped},
        {"shortcut-added", Severity::Note, shortCutAdded},
        {"target-moved", Severity::Error, targetMoved},
        {"condition-changed", Severity::Error, conditionChanged},
        {"target-added", Severity::Note, targetAdded},
        {"record-moved", Severity::Error, recordMoved},
    };
    return rules;
}
