// Differences between the trees of the two builds.
#include "Utility/InstallInspector/Compare/CompareRules.h"
#include "Utility/InstallInspector/Documents/Manifest.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

namespace {

using TreeNode = Product::TreeNode;
using Names = std::vector<std::string>;
using Nodes = std::vector<const TreeNode*>;

std::string pathOf(const TreeNode& node) {
    return toString(node.treePath);
}

/// Whether the node is the folder of a host or of a host's family. These have rules of their own.
bool isOfHostOrFamily(const TreeNode& node) {
    const std::string path = pathOf(node);
    return path.rfind(std::string(Branch::hosts) + "/", 0) == 0 &&
           std::count(path.begin(), path.end(), '/') <= 2;
}

/// The uppermost nodes that the other build does not list, without hosts and families.
Nodes topmostMissing(const Build& build, const Build& other) {
    Nodes nodes;
    for (const TreeNode& node : build.product().tree) {
        const bool bAbove = node.parent != nullptr &&
                            (node.parent->parent == nullptr || other.find(pathOf(*node.parent)) != nullptr);
        if (bAbove && other.find(pathOf(node)) == nullptr && !isOfHostOrFamily(node)) {
            nodes.push_back(&node);
        }
    }
    return nodes;
}

void addLeaves(const TreeNode& node, Nodes& leaves) {
    if (isLeaf(node)) {
        leaves.push_back(&node);
    }
    for (const TreeNode* child : node.children) {
        addLeaves(*child, leaves);
    }
}

Nodes leavesOf(const TreeNode& node) {
    Nodes leaves;
    addLeaves(node, leaves);
    return leaves;
}

Names pathsOf(const Nodes& nodes) {
    Names paths;
    paths.reserve(nodes.size());
    std::transform(nodes.begin(), nodes.end(), std::back_inserter(paths),
                   [](const TreeNode* node) { return pathOf(*node); });
    return paths;
}

// Moves and renames

/// A text that is equal for nodes with the same content. For a folder with entries it is made of these, for a
/// leaf of its manifest. Empty for a leaf without a manifest.
std::string contentOf(const TreeNode& node) {
    std::string text;
    if (!isLeaf(node)) {
        for (const TreeNode* leaf : leavesOf(node)) {
            text += pathOf(*leaf).substr(pathOf(node).size()) + '\n';
        }
        return text;
    }
    for (const Manifest::Part& part : Manifest::of(*node.element)) {
        text += part.path + '\t' + part.digest + part.link + '\n';
    }
    return text;
}

std::string endingOf(const TreeNode& node) {
    const std::string name = toString(node.node->name);
    const std::size_t dot = name.rfind('.');
    return dot == std::string::npos ? "" : name.substr(dot);
}

bool isSameKind(const TreeNode& a, const TreeNode& b) {
    return isLeaf(a) == isLeaf(b) && a.node->isDirectory == b.node->isDirectory;
}

/// Finds out which dropped node has become which added one.
class Moves {
public:
    explicit Moves(const Comparison& comparison)
        : dropped(topmostMissing(comparison.old, comparison.now)),
          added(topmostMissing(comparison.now, comparison.old)) {
        // Whole folders first, then the content of folders without a counterpart.
        match(dropped, added);
        Nodes leaves;
        Nodes addedLeaves;
        for (const TreeNode* node : dropped) {
            if (moved.count(node) == 0) {
                addLeaves(*node, leaves);
            }
        }
        for (const TreeNode* node : added) {
            if (taken.count(node) == 0) {
                addLeaves(*node, addedLeaves);
            }
        }
        match(leaves, addedLeaves);
    }

    /// The added node that `node` has become. Null if it has not moved.
    const TreeNode* targetOf(const TreeNode& node) const {
        const auto found = moved.find(&node);
        return found == moved.end() ? nullptr : found->second;
    }
    bool isTarget(const TreeNode& node) const { return taken.count(&node) != 0; }
    const Nodes& droppedNodes() const { return dropped; }
    const Nodes& addedNodes() const { return added; }
    const std::map<const TreeNode*, const TreeNode*>& all() const { return moved; }

private:
    using Key = std::function<std::string(const TreeNode&)>;

    void match(const Nodes& from, const Nodes& to) {
        // The best sign is the same content, then the same name, then being the only new node of its kind
        // there.
        matchBy(from, to, contentOf);
        matchBy(from, to, [](const TreeNode& node) {
            return isLeaf(node) ? toString(node.node->name) : std::string();
        });
        matchBy(from, to, [](const TreeNode& node) {
            return isLeaf(node) ? pathOf(*node.parent) + '\n' + endingOf(node) : std::string();
        });
    }

    /// Pairs nodes with the same key, if the key is unique on both sides.
    void matchBy(const Nodes& from, const Nodes& to, const Key& keyOf) {
        const auto keyed = [&](const Nodes& nodes, const auto& used) {
            std::map<std::string, Nodes> byKey;
            for (const TreeNode* node : nodes) {
                const std::string key = keyOf(*node);
                if (!key.empty() && used.count(node) == 0) {
                    byKey[key + (node->node->isDirectory ? "/" : "")].push_back(node);
                }
            }
            return byKey;
        };
        const auto targets = keyed(to, taken);
        for (const auto& [key, nodes] : keyed(from, moved)) {
            const auto found = targets.find(key);
            if (found != targets.end() && nodes.size() == 1 && found->second.size() == 1 &&
                isSameKind(*nodes.front(), *found->second.front())) {
                moved[nodes.front()] = found->second.front();
                taken.insert(found->second.front());
            }
        }
    }

    Nodes dropped;
    Nodes added;
    std::map<const TreeNode*, const TreeNode*> moved;
    std::set<const TreeNode*> taken;
};

const char* const staysText = " where the old build has put it, where hosts may load it beside the new one, "
                              "and in the record for ever: "
                              "no uninstall removes it.";

void reportMoved(const Comparison& comparison, const Report& report, bool bRenamed) {
    const Moves moves(comparison);
    for (const auto& [from, to] : moves.all()) {
        const bool bSameFolder = from->parent->treePath == to->parent->treePath;
        if (bSameFolder != bRenamed) {
            continue;
        }
        const Nodes leaves = leavesOf(*from);
        const bool bLookAlike = comparedPath(pathOf(*from)) == comparedPath(pathOf(*to));
        report(comparison.old.at(*from),
               quotedText(from->treePath) + (bRenamed ? " is renamed to " : " moves to ") +
                   quotedText(bRenamed ? to->node->name : to->treePath),
               bLookAlike
                   ? "To most disks both are one file, and the record counts two: the old name stays in it "
                     "for ever."
                   : std::string("The new one comes, and the old one stays") + staysText,
               "Keep the old path. " + std::string(wayOut), pathsOf(leaves));
    }
}

void fileMoved(const Comparison& comparison, const Report& report) {
    reportMoved(comparison, report, false);
}

void fileRenamed(const Comparison& comparison, const Report& report) {
    reportMoved(comparison, report, true);
}

/// Calls `visit` with each of the nodes and those of its leaves that have no counterpart. Skips a node that
/// has one.
template <class Visitor>
void forEachWithoutCounterpart(const Nodes& nodes, const std::function<bool(const TreeNode&)>& hasCounterpart,
                               Visitor visit) {
    for (const TreeNode* node : nodes) {
        if (hasCounterpart(*node)) {
            continue;
        }
        Nodes leaves = leavesOf(*node);
        leaves.erase(std::remove_if(leaves.begin(), leaves.end(),
                                    [&](const TreeNode* leaf) { return hasCounterpart(*leaf); }),
                     leaves.end());
        if (!leaves.empty()) {
            visit(*node, leaves);
        }
    }
}

/// The path of the node and the number of its entries, in words.
std::string named(const TreeNode& node, const Nodes& leaves) {
    return quotedText(node.treePath) +
           (isLeaf(node) ? "" : " with " + counted(leaves.size(), "entry", "entries") + " in it");
}

void fileDropped(const Comparison& comparison, const Report& report) {
    const Moves moves(comparison);
    forEachWithoutCounterpart(
        moves.droppedNodes(), [&](const TreeNode& node) { return moves.targetOf(node) != nullptr; },
        [&](const TreeNode& node, const Nodes& leaves) {
            report(comparison.old.at(node), named(node, leaves) + " is dropped",
                   std::string("It stays") + staysText, "Keep it in the tree. " + std::string(wayOut),
                   pathsOf(leaves));
        });
}

void fileAdded(const Comparison& comparison, const Report& report) {
    const Moves moves(comparison);
    forEachWithoutCounterpart(
        moves.addedNodes(), [&](const TreeNode& node) { return moves.isTarget(node); },
        [&](const TreeNode& node, const Nodes& leaves) {
            report(comparison.now.at(node), named(node, leaves) + " is new",
                   "It is installed with the update.", "Nothing has to be done.", pathsOf(leaves));
        });
}

// Hosts and families

/// The hosts of its tree.
Nodes hostsOf(const Build& build) {
    const TreeNode* hosts = build.product().branch(Branch::hosts);
    return hosts == nullptr ? Nodes() : hosts->children;
}

void hostDropped(const Comparison& comparison, const Report& report) {
    for (const TreeNode* host : hostsOf(comparison.old)) {
        if (comparison.now.find(pathOf(*host)) == nullptr) {
            Nodes leaves = leavesOf(*host);
            report(
                comparison.old.at(*host),
                "the host " + quotedText(host->node->name) + " is dropped, with " +
                    counted(leaves.size(), "entry", "entries"),
                "What the old build has installed for it stays and is still loaded, and stays in the record "
                "for ever: no uninstall removes it.",
                "Keep the host. " + std::string(wayOut), pathsOf(leaves));
        }
    }
}

void hostAdded(const Comparison& comparison, const Report& report) {
    for (const TreeNode* host : hostsOf(comparison.now)) {
        if (comparison.old.find(pathOf(*host)) == nullptr) {
            report(comparison.now.at(*host), "the host " + quotedText(host->node->name) + " is new",
                   "Its files are installed with the update.", "Nothing has to be done.",
                   pathsOf(leavesOf(*host)));
        }
    }
}

bool hasFamily(const Build& build, const VLString& family) {
    return build.product().definition.pluginsByFamily.count(family) != 0;
}

/// A family's folders in the hosts that are in both trees. For other hosts, the finding about the host is
/// enough.
Nodes familyFolders(const Build& build, const Build& other, const VLString& family) {
    Nodes nodes;
    for (const TreeNode* host : hostsOf(build)) {
        const TreeNode* node = host->child(family);
        if (node != nullptr && other.find(pathOf(*host)) != nullptr) {
            nodes.push_back(node);
        }
    }
    return nodes;
}

std::set<VLString> familiesOf(const Build& build) {
    std::set<VLString> names;
    for (const auto& [name, plugins] : build.product().definition.pluginsByFamily) {
        names.insert(name);
    }
    for (const TreeNode* host : hostsOf(build)) {
        for (const TreeNode* family : host->children) {
            names.insert(family->node->name);
        }
    }
    return names;
}

void familyDropped(const Comparison& comparison, const Report& report) {
    for (const VLString& family : familiesOf(comparison.old)) {
        Nodes lost;
        bool bListed = false;
        for (const TreeNode* node : familyFolders(comparison.old, comparison.now, family)) {
            const bool bStill = comparison.now.find(pathOf(*node)) != nullptr;
            const bool bIdle = hasFamily(comparison.old, family) && !hasFamily(comparison.now, family);
            if (!bStill || bIdle) {
                addLeaves(*node, lost);
                bListed = bListed || bStill;
            }
        }
        if (!lost.empty()) {
            report(comparison.old.at(*familyFolders(comparison.old, comparison.now, family).front()),
                   "the family " + quotedText(family) + " is dropped" +
                       (bListed ? " from the families with plug-ins, and is still in the tree"
                                : ", with " + counted(lost.size(), "entry", "entries") + " of hosts"),
                   std::string("What the old build has installed of it stays and is still loaded: ") +
                       (bListed ? "no install or uninstall goes to it any more."
                                : "it stays in the record for ever, and no uninstall removes it."),
                   "Keep the family, with a plug-in. " + std::string(wayOut), pathsOf(lost));
        } else if (hasFamily(comparison.old, family) && !hasFamily(comparison.now, family)) {
            report.as(Severity::Note)(comparison.now.atIdentity("ID"),
                                      "the family " + quotedText(family) + " is dropped",
                                      "No file of a host is in it.", "Nothing has to be done.");
        }
    }
}

void familyAdded(const Comparison& comparison, const Report& report) {
    for (const VLString& family : familiesOf(comparison.now)) {
        for (const TreeNode* node : familyFolders(comparison.now, comparison.old, family)) {
            const bool bNew = comparison.old.find(pathOf(*node)) == nullptr;
            if (bNew || (hasFamily(comparison.now, family) && !hasFamily(comparison.old, family))) {
                report(comparison.now.at(*node), quotedText(node->treePath) + " is a new family of the host",
                       "Its files are installed with the update.", "Nothing has to be done.",
                       pathsOf(leavesOf(*node)));
            }
        }
    }
}

// What is in both trees

std::string kindOf(const TreeNode& node) {
    return !isLeaf(node)            ? "a folder with entries"
           : node.node->isDirectory ? "a folder that is taken whole"
           : isFolderOnDisk(node)   ? "a folder that is listed as a file"
                                    : "a file";
}

/// Calls `visit` with each node of the old tree that the new one has, too.
void forEachInBoth(const Comparison& comparison,
                   const std::function<void(const TreeNode&, const TreeNode&)>& visit) {
    for (const TreeNode& node : comparison.old.product().tree) {
        const TreeNode* now = node.parent == nullptr ? nullptr : comparison.now.find(pathOf(node));
        if (now != nullptr) {
            visit(node, *now);
        }
    }
}

void kindChanged(const Comparison& comparison, const Report& report) {
    forEachInBoth(comparison, [&](const TreeNode& before, const TreeNode& now) {
        if (kindOf(before) == kindOf(now)) {
            return;
        }
        const std::string message =
            quotedText(now.treePath) + " turns from " + kindOf(before) + " into " + kindOf(now);
        const bool bFolders = isLeaf(before) && isLeaf(now) && isFolderOnDisk(before) && isFolderOnDisk(now);
        if (bFolders) {
            report.as(Severity::Note)(comparison.now.at(now), message,
                                      "The folder is copied over the old one.", "Nothing has to be done.");
            return;
        }
        const std::string consequence =
            !isFolderOnDisk(before) ? "The file that is there is in the way: what goes into the folder is "
                                      "not installed, and the user "
                                      "is asked."
            : !isFolderOnDisk(now)
                ? "The folder that is there stays, and the file comes to lie in it, where nobody looks."
                : "What the old build has in the folder stays in it, and the record does not know all that "
                  "the new "
                  "build puts there.";
        report(comparison.now.at(now), message, consequence,
               "Give it another name, or keep its kind. " + std::string(wayOut), {pathOf(now)});
    });
}

std::string changed(const char* flag, bool bBefore, bool bNow) {
    return bBefore == bNow ? "" : std::string(flag) + " from " + (bBefore ? "1 to 0" : "0 to 1");
}

/// The flags that differ, without those that differ in the same way above.
Names changedFlags(const FileNode& before, const FileNode& now) {
    Names flags;
    for (const std::string& flag :
         {changed("dontdelete", before.dontDelete, now.dontDelete),
          changed("allowdowngrade", before.allowDowngrade, now.allowDowngrade),
          changed("ignoreinstallerrors", before.ignoreInstallErrors, now.ignoreInstallErrors)}) {
        if (!flag.empty()) {
            flags.push_back(flag);
        }
    }
    return flags;
}

void flagsChanged(const Comparison& comparison, const Report& report) {
    forEachInBoth(comparison, [&](const TreeNode& before, const TreeNode& now) {
        const Names flags = changedFlags(*before.node, *now.node);
        const bool bAsAbove = before.parent->parent != nullptr &&
                              changedFlags(*before.parent->node, *now.parent->node) == flags;
        if (flags.empty() || bAsAbove) {
            return;
        }
        const std::string message = quotedText(now.treePath) + " changes " + joined(flags, ", ");
        const bool bKept = before.node->dontDelete;
        if (bKept == now.node->dontDelete) {
            report.as(Severity::Note)(comparison.now.at(now), message,
                                      "It counts from this install on, and changes nothing that is there.",
                                      "Nothing has to be done.", {pathOf(now)});
            return;
        }
        report(comparison.now.at(now), message,
               bKept ? "An uninstall now removes what was to stay, with what users have changed in it."
                     : "An uninstall now leaves it behind.",
               "If that is not meant, write dontdelete=\"" + std::string(bKept ? "1" : "0") + "\".",
               {pathOf(now)});
    });
}

} // namespace

const std::vector<CompareRule>& treeRules() {
    static const std::vector<CompareRule> rules = {
        {"file-dropped", Severity::Error, fileDropped},
        {"file-moved", Severity::Error, fileMoved},
        {"file-renamed", Severity::Error, fileRenamed},
        {"file-added", Severity::Note, fileAdded},
        {"host-dropped", Severity::Error, hostDropped},
        {"host-added", Severity::Note, hostAdded},
        {"family-dropped", Severity::Error, familyDropped},
        {"family-added", Severity::Note, familyAdded},
        {"kind-changed", Severity::Error, kindChanged},
        {"flags-changed", Severity::Warning, flagsChanged},
    };
    return rules;
}
