// What several products of a line do to each other.
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Documents/LookAlike.h"
#include "Utility/InstallInspector/Documents/TargetFolders.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

namespace {

using TreeNode = Product::TreeNode;

/// The place of the other one, as part of a sentence.
std::string inFile(const Location& where) {
    return printable(where.file) + ", line " + std::to_string(where.line);
}

/// Products with a <sku> to point at.
std::vector<const Product*> withIdentity(const ProductLine& line) {
    std::vector<const Product*> products;
    std::copy_if(line.products.begin(), line.products.end(), std::back_inserter(products),
                 [](const Product* product) { return product->definitionFile.find(Kind::Sku) != nullptr; });
    return products;
}

// Identity

void sameId(const ProductLine& line, const Report& report) {
    std::map<std::string, const Product*> seen;
    for (const Product* product : withIdentity(line)) {
        const VLString& ID = product->definition.skuInfo.ID;
        const auto [first, bNew] = seen.emplace(comparedPath(toString(ID)), product);
        if (bNew || ID.IsEmpty()) {
            continue;
        }
        const std::string place = inFile(atIdentity(*first->second, "ID"));
        if (first->second->definition.skuInfo.ID == ID) {
            report(atIdentity(*product, "ID"), "the ID " + quotedText(ID) + " is also that of " + place,
                   "To the engine the two are one product: an install of the second counts no file, and an "
                   "uninstall of either takes both off the record; files of one stay for good.",
                   "Give each product an ID of its own.");
        } else {
            report.as(Severity::Warning)(
                atIdentity(*product, "ID"),
                "the ID " + quotedText(ID) + " looks like " +
                    quotedText(first->second->definition.skuInfo.ID) + " of " + place,
                "IDs are compared byte for byte: these are two products.",
                "Write the same, if it is one product; otherwise IDs that nobody can mistake." +
                    (lookAlike(ID, first->second->definition.skuInfo.ID)
                         ? " Of this one and that, " +
                               hiddenDifference(ID, first->second->definition.skuInfo.ID) + "."
                         : std::string()));
        }
    }
}

void sameUninstaller(const ProductLine& line, const Report& report) {
    std::map<std::string, const Product*> seen;
    for (const Product* product : withIdentity(line)) {
        const auto& info = product->definition.skuInfo;
        if (info.name.IsEmpty() || info.ID.EqualsIgnoreCase(SharedPackage::ID)) {
            continue;
        }
        const auto [first, bNew] = seen.emplace(comparedPath(toString(info.name)), product);
        if (!bNew) {
            report(atIdentity(*product, "name"),
                   "the uninstaller " + quotedText(VLString("Uninstall ") + info.name + ".app") +
                       " is also that of " + inFile(atIdentity(*first->second, "name")),
                   "Whichever is installed last replaces the uninstaller of the other, which the customer "
                   "can no "
                   "longer uninstall.",
                   "Give each product a name of its own, whatever the case of letters.");
        }
    }
}

/// A node of one of the products of the line.
struct NodeOfProduct {
    const Product* product;
    const TreeNode* node;
};

void sameShortCut(const ProductLine& line, const Report& report) {
    std::map<std::string, NodeOfProduct> seen;
    for (const Product* product : line.products) {
        for (const TreeNode& node : product->tree) {
            if (!node.node->IsShortCutInfoValid()) {
                continue;
            }
            const VLString& name = node.node->shortCut.name;
            const auto [first, bNew] =
                seen.emplace(comparedPath(toString(name)), NodeOfProduct{product, &node});
            // A file that both list has one shortcut. It is removed with the last of them.
            if (!bNew && first->second.product != product && first->second.node->treePath != node.treePath) {
                report(product->definitionFile.at(*node.element->FirstChildElement("shortCut"), "name"),
                       "the shortcut " + quotedText(name) + " is also that of " +
                           quotedText(first->second.node->treePath) + " in " +
                           inFile(atNode(*first->second.product, *first->second.node)),
                       "There is one link, to whichever is installed last, and it goes with whichever is "
                       "removed "
                       "first.",
                       "Give one of them another name.");
            }
        }
    }
}

// Paths of the tree

/// Calls `visit` with each two nodes of one path, in different products, the first of the line first.
void forEachShared(
    const ProductLine& line,
    const std::function<void(const Product&, const TreeNode&, const Product&, const TreeNode&)>& visit) {
    std::map<VLString, std::pair<const Product*, const TreeNode*>> seen;
    for (const Product* product : line.products) {
        for (const TreeNode& node : product->tree) {
            if (node.parent == nullptr) {
                continue;
            }
            const auto [first, bNew] = seen.emplace(node.treePath, std::pair(product, &node));
            if (!bNew && first->second.first != product) {
                visit(*first->second.first, *first->second.second, *product, node);
            }
        }
    }
}

std::string kindOf(const TreeNode& node) {
    return !node.node->isDirectory ? "a file"
           : node.children.empty() ? "a directory that is taken whole"
                                   : "a directory of what it lists";
}

void kindsDiffer(const ProductLine& line, const Report& report) {
    forEachShared(line,
                  [&](const Product& first, const TreeNode& a, const Product& second, const TreeNode& b) {
                      if (kindOf(a) != kindOf(b)) {
                          report(atNode(second, b),
                                 quotedText(b.treePath) + " is " + kindOf(b) + " here, and " + kindOf(a) +
                                     " in " + inFile(atNode(first, a)),
                                 "The two have one count. What the one brings and the other does not list is "
                                 "removed by nobody, "
                                 "or taken from the other.",
                                 "List it in the same way in both.");
                      }
                  });
}

std::string differingFlags(const FileNode& a, const FileNode& b) {
    std::vector<std::string> names;
    if (a.dontDelete != b.dontDelete) {
        names.emplace_back("dontdelete");
    }
    if (a.ignoreInstallErrors != b.ignoreInstallErrors) {
        names.emplace_back("ignoreinstallerrors");
    }
    if (a.allowDowngrade != b.allowDowngrade) {
        names.emplace_back("allowdowngrade");
    }
    return joined(names, ", ");
}

void flagsDiffer(const ProductLine& line, const Report& report) {
    forEachShared(line, [&](const Product& first, const TreeNode& a, const Product& second,
                            const TreeNode& b) {
        // Only the attributes that a directory passes on to its content count.
        const bool bLeaves = a.children.empty() && b.children.empty();
        const std::string flags = differingFlags(*a.node, *b.node);
        if (bLeaves && !flags.empty()) {
            report(atNode(second, b),
                   quotedText(b.treePath) + " has another " + flags + " than in " + inFile(atNode(first, a)),
                   "One file is treated in two ways: what becomes of it depends on which product is "
                   "installed, or "
                   "removed, last.",
                   "Give it the same flags in both, or another name in one.");
        }
    });
}

void pathsLookAlike(const ProductLine& line, const Report& report) {
    std::map<std::string, NodeOfProduct> seen;
    for (const Product* product : line.products) {
        for (const TreeNode& node : product->tree) {
            const auto [first, bNew] =
                seen.emplace(comparedPath(toString(node.treePath)), NodeOfProduct{product, &node});
            const TreeNode& other = *first->second.node;
            const bool bParentsSame = node.parent != nullptr && other.parent != nullptr &&
                                      node.parent->treePath == other.parent->treePath;
            if (bNew || first->second.product == product || node.treePath == other.treePath ||
                !bParentsSame) {
                continue;
            }
            const bool bCase = !lookAlike(node.treePath, other.treePath);
            report(atNode(*product, node),
                   quotedText(node.treePath) + " and " + quotedText(other.treePath) + " in " +
                       inFile(atNode(*first->second.product, other)) +
                       (bCase ? " differ only in case, or look the same"
                              : " look the same and are two names: " +
                                    hiddenDifference(node.treePath, other.treePath)),
                   "To most disks they are one file, and the record counts two: whichever product goes first "
                   "takes "
                   "it from the other.",
                   "Write the name in the same way in both.");
        }
    }
}

// Targets

/// The targets of a product as text, to compare and to print.
std::string statusFolderOf(const Product& product) {
    const Product::TargetItem* item = product.topItem(Branch::shared);
    return item == nullptr || item->item->paths.empty() ? "" : toString(item->item->paths.front().path);
}

void recordsDiffer(const ProductLine& line, const Report& report) {
    const Product* first = nullptr;
    for (const Product* product : line.products) {
        const std::string folder = statusFolderOf(*product);
        if (folder.empty()) {
            continue;
        }
        if (first == nullptr) {
            first = product;
        } else if (comparedPath(folder) != comparedPath(statusFolderOf(*first))) {
            const auto* element = product->topItem(Branch::shared)->element->FirstChildElement("path");
            report(product->targetsFile.at(*element, "value"),
                   "the record of this product is in " + quotedText(toVLString(folder)) + ", and in " +
                       quotedText(toVLString(statusFolderOf(*first))) + " for " +
                       printable(first->targetsFile.path()),
                   "Products with different records do not know of each other: what they share goes with the "
                   "first "
                   "of them.",
                   "Write the same first path of VorlaneFX in the target paths of all products.");
        }
    }
}

/// The target folders for each part of the tree that has some, in one text.
std::map<VLString, std::set<std::string>> foldersByPath(const Product& product) {
    std::map<VLString, std::set<std::string>> folders;
    for (const TargetFolder& target : targetFoldersOf(product)) {
        folders[target.node->treePath].insert(target.compared);
    }
    return folders;
}

void targetsDiffer(const ProductLine& line, const Report& report) {
    struct Known {
        const Product* product;
        std::set<std::string> folders;
    };
    std::map<VLString, Known> seen;
    for (const Product* product : line.products) {
        const auto targets = targetFoldersOf(*product);
        for (const auto& [path, folders] : foldersByPath(*product)) {
            const auto [first, bNew] = seen.emplace(path, Known{product, folders});
            const bool bShared = path == VLString(Branch::shared);
            if (bNew || first->second.folders == folders || bShared) {
                continue; // records-differ speaks of VorlaneFX
            }
            const VLString& wanted = path;
            const auto target = std::find_if(targets.begin(), targets.end(), [&](const TargetFolder& other) {
                return other.node->treePath == wanted;
            });
            report(target->where(),
                   quotedText(path) + " goes to other folders here than in " +
                       printable(first->second.product->targetsFile.path()),
                   "Products that list the same path of the tree have one count for it: whichever goes last "
                   "removes "
                   "its own files, and those in the other's folders stay for good.",
                   "Name the same folders in both, best with one target-paths file for all products.");
        }
    }
}

} // namespace

const std::vector<Rule>& productLineRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"same-id", Severity::Error, Needs::Line, "two products with one ID", nullptr, false, sameId},
        {"same-uninstaller", Severity::Error, Needs::Line, "two products with one uninstaller", nullptr,
         false, sameUninstaller},
        {"same-shortcut", Severity::Error, Needs::Line, "a shortcut of two products to different files",
         nullptr, false, sameShortCut},
        {"kinds-differ", Severity::Error, Needs::Line,
         "a path of the tree that is a file in one product, a directory in another", nullptr, false,
         kindsDiffer},
        {"flags-differ", Severity::Warning, Needs::Line, "a path of the tree with different flags", nullptr,
         false, flagsDiffer},
        {"paths-look-alike", Severity::Warning, Needs::Line,
         "paths of the tree that differ in case, or in nothing that can be seen", nullptr, false,
         pathsLookAlike},
        {"records-differ", Severity::Error, Needs::Line, "products with different records", nullptr, false,
         recordsDiffer},
        {"targets-differ", Severity::Error, Needs::Line,
         "a path of the tree that goes to other folders in another product", nullptr, false, targetsDiffer},
    };
    return rules;
}
