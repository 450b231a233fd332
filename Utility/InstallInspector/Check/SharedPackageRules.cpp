// What the engine keeps for all products: the record, and the shared package COMMON with its definition.
#include "Foundation/FileLibrary.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Documents/RecordFolder.h"
#include "Utility/InstallInspector/Documents/TargetFolders.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <system_error>
#include <utility>

namespace {

using TreeNode = Product::TreeNode;
using TargetItem = Product::TargetItem;

constexpr const char* recordName = "InstallationStatusFile.xml";

bool isShared(const Product& product) {
    return product.definition.skuInfo.ID == SharedPackage::ID;
}

// The record

/// Whether the file, or what the folder holds, lies where the record does: the folder is that of the record.
void findRecord(const TargetFolder& target, const TreeNode& node, const std::string& folder,
                const std::string& record, const std::function<void(const TreeNode&)>& reportAt) {
    for (const TreeNode* child : target.children(node)) {
        const std::string path = folder + "/" + comparedPath(toString(child->node->name));
        if (path == record) {
            reportAt(*child);
        } else if (record.compare(0, path.size() + 1, path + "/") == 0) {
            findRecord(target, *child, path, record, reportAt);
        }
    }
}

void recordInTree(const Product& product, const Report& report) {
    std::vector<const TreeNode*> told;
    const auto reportAt = [&](const TreeNode& node) {
        if (std::find(told.begin(), told.end(), &node) != told.end()) {
            return;
        }
        told.push_back(&node);
        report(
            atNode(product, node), quotedText(node.treePath) + " is the record of what is installed",
            "An install writes this file over the customer's record, and an uninstall removes it: all other "
            "products are forgotten, and nothing of theirs is removed any more.",
            "Take it out of the tree and of the source. The engine makes the record by itself.");
    };
    const TreeNode* shared = product.branch(Branch::shared);
    for (std::size_t i = 0; shared != nullptr && i < shared->children.size(); ++i) {
        if (shared->children[i]->node->name.EqualsIgnoreCase(recordName)) {
            reportAt(*shared->children[i]);
        }
    }
    const TargetItem* item = product.topItem(Branch::shared);
    const auto targets = targetFoldersOf(product);
    if (item == nullptr || item->item->paths.empty() || targets.empty()) {
        return;
    }
    const auto first = std::find_if(targets.begin(), targets.end(),
                                    [&](const TargetFolder& target) { return target.item == item; });
    if (first == targets.end()) {
        return;
    }
    const std::string record = first->compared + "/" + comparedPath(recordName);
    std::set<std::pair<const TreeNode*, std::string>> looked;
    for (const TargetFolder& target : targets) {
        const bool bAbove = record.compare(0, target.compared.size() + 1, target.compared + "/") == 0;
        if (bAbove && looked.insert({target.node, target.compared}).second) {
            findRecord(target, *target.node, target.compared, record, reportAt);
        }
    }
}

// Definitions in the status folder

/// Reports a definition in the folder SKU that belongs to another product.
void reportDefinition(const Product& product, const TreeNode& node, const std::string& name,
                      const Report& report) {
    const bool bCommon = toVLString(name).EqualsIgnoreCase("COMMON.xml");
    report.as(bCommon ? Severity::Error : Severity::Warning)(
        atNode(product, node),
        quotedText(toVLString(name)) + " in " + quotedText(node.treePath) +
            " is the definition of another product than " + quotedText(product.definition.skuInfo.ID),
        bCommon
            ? "A copy that is not the one of the installed shared package takes its place: the uninstall of "
              "the last product goes by it, and leaves what it does not list."
            : "It takes the place of the one that the other product has installed, in whichever version it "
              "was "
              "taken over.",
        "Take it out of the tree. Each product installs its own.");
}

/// The files of the source in a folder that is taken whole; none without a source.
std::vector<std::string> filesInSource(const Product& product, const VLString& treePath) {
    std::vector<std::string> names;
    std::error_code error;
    const auto folder = std::filesystem::path(product.source) / toString(treePath);
    for (std::filesystem::directory_iterator entry(folder, error), end;
         !product.source.empty() && !error && entry != end; entry.increment(error)) {
        names.push_back(entry->path().filename().string());
    }
    return names;
}

void otherProductsDefinition(const Product& product, const Report& report) {
    const TreeNode* shared = product.branch(Branch::shared);
    if (shared == nullptr) {
        return;
    }
    const TreeNode* folder = shared->child(SharedPackage::definitionsFolder);
    const bool bAllWhole = shared->children.empty();
    const TreeNode* whole = bAllWhole                                       ? shared
                            : folder != nullptr && folder->children.empty() ? folder
                                                                            : nullptr;
    const auto isOther = [&](const std::string& name) {
        const VLString own = product.definition.skuInfo.ID + ".xml";
        return toVLString(name).ToLower().EndsWith(".xml") && !toVLString(name).EqualsIgnoreCase(own);
    };
    if (whole != nullptr) {
        for (const std::string& name :
             filesInSource(product, VLString(Branch::shared) + "/" + SharedPackage::definitionsFolder)) {
            if (isOther(name)) {
                reportDefinition(product, *whole, name, report);
            }
        }
        return;
    }
    for (std::size_t i = 0; folder != nullptr && i < folder->children.size(); ++i) {
        const TreeNode& node = *folder->children[i];
        if (isOther(toString(node.node->name))) {
            reportDefinition(product, node, toString(node.node->name), report);
        }
    }
}

bool sameTree(const FileNode& a, const FileNode& b) {
    const bool bSame = a.name == b.name && a.isDirectory == b.isDirectory && a.dontDelete == b.dontDelete &&
                       a.shortCut.name == b.shortCut.name &&
                       a.IsShortCutInfoValid() == b.IsShortCutInfoValid();
    return bSame &&
           std::equal(a.children.begin(), a.children.end(), b.children.begin(), b.children.end(),
                      [](const auto& one, const auto& other) { return sameTree(one.second, other.second); });
}

/// Whether an uninstall with one definition does the same as with the other.
bool removesTheSame(const SKUDefinition& a, const SKUDefinition& b) {
    const auto& families = b.pluginsByFamily;
    return a.skuInfo.ID == b.skuInfo.ID && sameTree(a.installFiles, b.installFiles) &&
           std::equal(a.pluginsByFamily.begin(), a.pluginsByFamily.end(), families.begin(), families.end(),
                      [](const auto& one, const auto& other) { return one.first == other.first; });
}

void commonDefinitionOutdated(const Product& product, const Report& report) {
    const VLString path = toVLString((std::filesystem::path(product.source) / Branch::shared /
                                      SharedPackage::definitionsFolder / "COMMON.xml")
                                         .string());
    if (!isShared(product) || !FileLibrary::IsFileExists(path, false)) {
        return;
    }
    SKUDefinition copy;
    copy.fromFile(path);
    const auto& info = product.definition.skuInfo;
    const bool bSameName = copy.skuInfo.name == info.name && copy.skuInfo.build == info.build;
    if (removesTheSame(copy, product.definition) && bSameName) {
        return;
    }
    const bool bHarm = !removesTheSame(copy, product.definition);
    report.as(bHarm ? Severity::Error : Severity::Warning)(
        atIdentity(product, "ID"), quotedText(path) + " is not a copy of this definition",
        bHarm ? "The uninstall of the last product goes by the copy: what it does not list is left behind."
              : "It lists the same files, and has another name or build: it is not the one of this version.",
        "Copy this file there whenever it changes, best in the script that builds the package.");
}

// The shared package

/// Whether the tree, which is not empty, lists the path, or a folder around it that is copied whole.
bool lists(const Product& product, std::initializer_list<const char*> path) {
    const TreeNode* node = &product.tree.front();
    for (const char* name : path) {
        const TreeNode* child = node->child(name);
        if (child == nullptr) {
            return node->parent != nullptr && node->children.empty();
        }
        node = child;
    }
    return true;
}

void commonApplicationManager(const Product& product, const Report& report) {
    if (isShared(product) && !product.tree.empty() &&
        !lists(product, {Branch::shared, "Common", "ApplicationManager.app"})) {
        report(atIdentity(product, "ID"),
               "the shared package does not install VorlaneFX/Common/ApplicationManager.app",
               "Its install makes the link /Applications/Vorlane Application Manager.app to exactly this "
               "name: the "
               "customer gets a link that leads nowhere.",
               "List the application under this name in the directory Common of VorlaneFX.");
    }
}

void commonStatusFolder(const Product& product, const Report& report) {
    const TargetItem* item = product.topItem(Branch::shared);
    if (!isShared(product) || item == nullptr) {
        return;
    }
    for (const char* name : {"Common", SharedPackage::definitionsFolder}) {
        if (const TargetItem* inner = item->child(name)) {
            report(
                product.targetsFile.at(*inner->element, "name"),
                "an item that takes the directory " + quotedText(name) + " elsewhere",
                "The engine looks for the Application Manager, and for the definition of the shared package, "
                "in the status folder alone.",
                "Take the item out.");
        }
    }
    const auto targets = targetFoldersOf(product);
    const bool bThere = std::any_of(targets.begin(), targets.end(), [&](const TargetFolder& target) {
        return target.item == item && target.compared == comparedPath(usualStatusFolder);
    });
    const TiXmlElement* path = item->element->FirstChildElement("path");
    if (!bThere && path != nullptr) {
        report(product.targetsFile.at(*path, "value"),
               "the shared package does not go to " + quotedText(usualStatusFolder),
               "The link to the Application Manager leads to this folder, whatever the target paths say: the "
               "customer gets one that leads nowhere.",
               "Write <path value=" + quotedText(usualStatusFolder) + "/>, in all products.");
    }
}

} // namespace

const std::vector<Rule>& sharedPackageRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"record-in-tree", Severity::Error, Needs::Definition, "the record listed in the tree", recordInTree},
        {"other-products-definition", Severity::Error, Needs::Definition,
         "the definition of another product in the folder SKU", otherProductsDefinition},
        {"common-definition-outdated", Severity::Error, Needs::Source,
         "a shared package whose copy of its definition is another one", commonDefinitionOutdated},
        {"common-application-manager", Severity::Error, Needs::Definition,
         "a shared package without the application that its link leads to", commonApplicationManager},
        {"common-status-folder", Severity::Error, Needs::Both,
         "a shared package in another folder than the one where the engine looks for it", commonStatusFolder},
    };
    return rules;
}
