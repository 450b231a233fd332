// Mistakes that only the product definition and the target-paths file together show.
#include "Utility/InstallInspector/Check/NameRules.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Report/NearestName.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

using TargetItem = Product::TargetItem;
using TreeNode = Product::TreeNode;
using TreeNodes = std::vector<const TreeNode*>;

Location atItem(const Product& product, const TargetItem& item) {
    return product.targetsFile.at(*item.element, "name");
}

std::vector<std::string> namesOf(const std::vector<const TargetItem*>& items) {
    std::vector<std::string> names;
    names.reserve(items.size());
    for (const TargetItem* item : items) {
        names.push_back(toString(item->name));
    }
    return names;
}

/// Calls `visit` with each item for which the engine copies parts of the tree, and with these parts: the
/// family folders for a host's item, and the folder with the same name for an item inside it.
template <class Visitor>
void forEachWalkedItem(const TargetItem& item, const TreeNodes& nodes, Visitor& visit) {
    visit(item, nodes);
    for (const TargetItem* child : item.items) {
        TreeNodes below;
        for (const TreeNode* node : nodes) {
            if (const TreeNode* found = node->child(child->name)) {
                below.push_back(found);
            }
        }
        forEachWalkedItem(*child, below, visit);
    }
}

template <class Visitor>
void forEachWalkedItem(const Product& product, Visitor visit) {
    std::map<const TargetItem*, TreeNodes> parts;
    for (const Product::CopiedBranch& branch : product.copiedBranches()) {
        // A file in the place of a family's folder is not the item's mistake.
        if (branch.node->node->isDirectory || branch.node->parent == &product.tree.front()) {
            parts[branch.item].push_back(branch.node);
        }
    }
    for (const auto& [item, nodes] : parts) {
        forEachWalkedItem(*item, nodes, visit);
    }
}

// Hosts and Content

/// The hosts of `names` that nothing knows, neither the engine nor `others`: each may be a slip for a known
/// one, which is right however near another name is.
std::vector<std::string> strangers(const Product& product, std::vector<std::string> names,
                                   const std::vector<std::string>& others) {
    const std::set<std::string> known(others.begin(), others.end());
    names.erase(std::remove_if(names.begin(), names.end(),
                               [&](const std::string& name) {
                                   return product.knowsHost(toVLString(name)) || known.count(name) != 0;
                               }),
                names.end());
    return names;
}

std::string adviseItemOf(const VLString& knownHost, const std::vector<std::string>& slips) {
    const auto slip = nearestName(toString(knownHost), slips);
    return "Write <item name=" + quotedText(knownHost) + "> " +
           (slip.has_value() ? "in place of " + quotedText(toVLString(*slip)) + "." +
                                   remarkOnLook(knownHost, toVLString(*slip))
                             : "inside <item name=\"Hosts\">.");
}

/// Those of `names` that are not among `others`.
std::vector<std::string> without(std::vector<std::string> names, const std::vector<std::string>& others) {
    names.erase(std::remove_if(names.begin(), names.end(),
                               [&](const std::string& name) {
                                   return std::find(others.begin(), others.end(), name) != others.end();
                               }),
                names.end());
    return names;
}

/// The advice if the item is a misspelling of a host `inTree` without an item, or the reverse. Empty if it is
/// neither.
std::string adviseSlip(const Product& product, const TargetItem& item,
                       const std::vector<std::string>& inTree) {
    if (!product.knowsHost(item.name)) {
        return adviseNearest(item.name, inTree, "");
    }
    const auto slip = nearestName(toString(item.name), strangers(product, inTree, {}));
    return slip.has_value()
               ? "Write " + quotedText(item.name) + " in the tree, in place of " +
                     quotedText(toVLString(*slip)) + "." + remarkOnLook(item.name, toVLString(*slip))
               : "";
}

void hostWithoutTarget(const Product& product, const Report& report) {
    const TreeNode* hosts = product.branch(Branch::hosts);
    if (hosts == nullptr) {
        return;
    }
    const TargetItem* item = product.topItem(Branch::hosts);
    const std::vector<std::string> items =
        item == nullptr ? std::vector<std::string>() : namesOf(item->items);
    const std::vector<std::string> strangeItems = strangers(product, items, namesOf(hosts->children));
    for (const TreeNode* host : hosts->children) {
        const VLString& name = host->node->name;
        if (host->node->isDirectory && (item == nullptr || item->child(name) == nullptr)) {
            report(atNode(product, *host),
                   "the host " + quotedText(name) + " has no item inside Hosts of the targets",
                   "Nothing of the host is installed; the log has a warning.",
                   product.knowsHost(name)
                       ? adviseItemOf(name, strangeItems)
                       : adviseNearest(name, items,
                                       "Write <item name=\"...\"> with the host's name inside "
                                       "<item name=\"Hosts\">."));
        }
    }
}

void targetWithoutHost(const Product& product, const Report& report) {
    const TargetItem* item = product.topItem(Branch::hosts);
    const TreeNode* hosts = product.branch(Branch::hosts);
    if (item == nullptr) {
        return;
    }
    const std::vector<std::string> inTree = hosts == nullptr
                                                ? std::vector<std::string>()
                                                : without(namesOf(hosts->children), namesOf(item->items));
    for (const TargetItem* host : item->items) {
        if (hosts != nullptr && hosts->child(host->name) != nullptr) {
            continue;
        }
        // An item for other products of the line is correct.
        const std::string slip = adviseSlip(product, *host, inTree);
        report.as(slip.empty() ? Severity::Note : Severity::Warning)(
            atItem(product, *host), "the tree has no host " + quotedText(host->name),
            "The product installs nothing there.",
            slip.empty()
                ? "Remove the item, or list the host in the tree; of a file for several products, check "
                  "all of them at once."
                : slip);
    }
}

void contentWithoutTarget(const Product& product, const Report& report) {
    const TreeNode* content = product.branch(Branch::content);
    if (content != nullptr && product.topItem(Branch::content) == nullptr) {
        report(atNode(product, *content), "the targets have no item Content",
               "The Content branch is not installed; the log has an error, and the install reports success.",
               "Write <item name=\"Content\"> with its paths.");
    }
}

void targetWithoutContent(const Product& product, const Report& report) {
    const TargetItem* item = product.topItem(Branch::content);
    if (item != nullptr && product.branch(Branch::content) == nullptr) {
        report(atItem(product, *item), "the tree has no Content", "The product installs nothing there.",
               "Remove the item, or list the directory Content in the tree; of a file for several products, "
               "check "
               "all of them at once.");
    }
}

// Items inside items

void itemWithoutFolder(const Product& product, const Report& report) {
    forEachWalkedItem(product, [&](const TargetItem& item, const TreeNodes& nodes) {
        std::set<std::string> names;
        for (const TreeNode* node : nodes) {
            const auto below = namesOf(node->children);
            names.insert(below.begin(), below.end());
        }
        for (const TargetItem* child : item.items) {
            if (!nodes.empty() && names.count(toString(child->name)) == 0) {
                const std::string slip = adviseNearest(
                    child->name, without({names.begin(), names.end()}, namesOf(item.items)), "");
                report.as(slip.empty() ? Severity::Note : Severity::Warning)(
                    atItem(product, *child),
                    "the tree has no directory " + quotedText(child->name) + " where this item belongs",
                    "Nothing is installed there: an item inside another takes the directory of its own name "
                    "away from the outer one.",
                    slip.empty()
                        ? "Write the name of a directory of the tree, or remove the item; of a file for "
                          "several products, check all of them at once."
                        : slip);
            }
        }
    });
}

void itemForFile(const Product& product, const Report& report) {
    forEachWalkedItem(product, [&](const TargetItem& item, const TreeNodes& nodes) {
        for (const TreeNode* node : nodes) {
            if (!node->node->isDirectory) {
                report(
                    atItem(product, item), quotedText(item.name) + " is a file of the tree",
                    "An item takes directories only: the file is installed nowhere, and the customer may be "
                    "told that something blocks the installation.",
                    "Put the file into a directory, and name the item for that.");
                return;
            }
        }
    });
}

void itemWithoutPath(const Product& product, const Report& report) {
    forEachWalkedItem(product, [&](const TargetItem& item, const TreeNodes& nodes) {
        if (!item.item->paths.empty() || item.name == Branch::shared) {
            return; // no-record speaks of VorlaneFX
        }
        for (const TreeNode* node : nodes) {
            // What has an item of its own needs no path here.
            const bool bCovered =
                !node->children.empty() &&
                std::all_of(node->children.begin(), node->children.end(),
                            [&](const TreeNode* child) { return item.child(child->node->name) != nullptr; });
            if (!bCovered) {
                report(atItem(product, item), "the item " + quotedText(item.name) + " has no path",
                       quotedText(node->treePath) + " is installed nowhere, and the install reports success.",
                       "Write a <path> inside the item.");
                return;
            }
        }
    });
}

/// Whether the folder is one that only this family of products, or this part of the tree, uses.
bool isOwnFolder(const VLString& path, const VLString& name) {
    return path.HasOf(path.IndexOfIgnoreCase("vorlane", 0)) || path.HasOf(path.IndexOf("%FAMILY%", 0)) ||
           path.EndsWith(VLString("/") + name) || path.EndsWith(VLString("/") + name + "/");
}

void sharedFolderRemoved(const Product& product, const Report& report) {
    forEachWalkedItem(product, [&](const TargetItem& item, const TreeNodes& nodes) {
        for (const TreeNode* node : nodes) {
            if (!node->node->isDirectory || !node->children.empty() || node->node->dontDelete) {
                continue;
            }
            for (const auto& path : item.item->paths) {
                if (!isOwnFolder(path.path, node->node->name)) {
                    report(
                        atNode(product, *node),
                        quotedText(node->treePath) + " lists nothing, and its target is " +
                            quotedText(path.path),
                        "A directory without children is one piece with its target folder: the uninstall "
                        "removes that folder with everything in it, whoever put it there.",
                        "List the files, or give the item a path of its own below that folder, such as one "
                        "that ends in /%FAMILY%.");
                    break;
                }
            }
        }
    });
}

// Families in paths

Location atPath(const Product& product, const TargetItem& item, const VLString& value) {
    for (const TiXmlElement* path = item.element->FirstChildElement("path"); path != nullptr;
         path = path->NextSiblingElement("path")) {
        if (attributeOf(*path, "value") == value) {
            return product.targetsFile.at(*path, "value");
        }
    }
    return atItem(product, item);
}

void familyInSharedPath(const Product& product, const Report& report) {
    const auto& families = product.definition.pluginsByFamily;
    for (const char* name : {Branch::shared, Branch::content}) {
        const TargetItem* item = product.topItem(name);
        if (item == nullptr || families.size() == 1) {
            continue;
        }
        for (const auto& path : item->item->paths) {
            if (!path.path.HasOf(path.path.IndexOf("%FAMILY%", 0))) {
                continue;
            }
            const std::string message = std::string("%FAMILY% in a path of ") + name;
            const char* const advice = "Leave %FAMILY% to the paths of hosts.";
            if (families.empty()) {
                report(atPath(product, *item, path.path), message + ", while the product has no family",
                       "It is replaced by nothing.", advice);
            } else if (name == std::string(Branch::shared)) {
                report(
                    atPath(product, *item, path.path), message + " of a product with several families",
                    "An install copies to the folder of the family that it copied last, while the uninstall "
                    "looks in that of the first: files stay behind.",
                    advice);
            } else {
                report(atPath(product, *item, path.path), message + " of a product with several families",
                       "It stands for the one family that happens to be copied last on that machine.",
                       advice);
            }
        }
    }
}

} // namespace

const std::vector<Rule>& crossRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"host-without-target", Severity::Error, Needs::Both, "a host in the tree without target item",
         hostWithoutTarget},
        {"target-without-host", Severity::Warning, Needs::Both,
         "a target item for a host that is not in the tree", targetWithoutHost, true},
        {"content-without-target", Severity::Error, Needs::Both, "a Content branch without target item",
         contentWithoutTarget},
        {"target-without-content", Severity::Note, Needs::Both, "a target item Content without the branch",
         targetWithoutContent, true},
        {"item-without-folder", Severity::Warning, Needs::Both,
         "an item inside another that matches no directory of the tree", itemWithoutFolder, true},
        {"item-for-file", Severity::Error, Needs::Both, "an item that has the name of a file", itemForFile},
        {"item-without-path", Severity::Error, Needs::Both, "an item without a path for what it takes",
         itemWithoutPath},
        {"shared-folder-removed", Severity::Error, Needs::Both,
         "a folder of others that the uninstall would remove whole", sharedFolderRemoved},
        {"family-in-shared-path", Severity::Error, Needs::Both, "%FAMILY% in a path of VorlaneFX or Content",
         familyInSharedPath},
    };
    return rules;
}
