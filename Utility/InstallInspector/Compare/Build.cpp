#include "Utility/InstallInspector/Compare/Build.h"

#include "Foundation/VLVersion.h"
#include "Utility/InstallInspector/Documents/Bundle.h"
#include "Utility/InstallInspector/Documents/Manifest.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>

namespace {

using TreeNode = Product::TreeNode;

/// What an install copies if every host has a target folder.
std::vector<const TreeNode*> branchesIn(const Product& product) {
    std::vector<const TreeNode*> branches;
    if (const TreeNode* hosts = product.branch(Branch::hosts)) {
        for (const TreeNode* host : hosts->children) {
            std::copy_if(host->children.begin(), host->children.end(), std::back_inserter(branches),
                         [&](const TreeNode* family) {
                             return product.definition.pluginsByFamily.count(family->node->name) != 0;
                         });
        }
    }
    for (const char* name : {Branch::shared, Branch::content}) {
        if (const TreeNode* branch = product.branch(name)) {
            branches.push_back(branch);
        }
    }
    return branches;
}

} // namespace

bool isLeaf(const TreeNode& node) {
    return !node.node->isDirectory || node.children.empty();
}

bool isFolderOnDisk(const TreeNode& node) {
    if (node.node->isDirectory) {
        return true;
    }
    const Manifest::Parts parts = Manifest::of(*node.element);
    return parts.empty() ? hasBundleName(toString(node.node->name)) : !parts.back().path.empty();
}

bool Build::read(const std::string& definition, const std::string& targets, std::string& error) {
    if (!files.readDefinition(definition, error) ||
        (!targets.empty() && !files.readTargets(targets, error))) {
        return false;
    }
    files.interpret();
    for (const TreeNode& node : files.tree) {
        if (node.parent != nullptr) {
            byPath.emplace(toString(node.treePath), &node);
        }
    }
    if (targets.empty()) {
        for (const TreeNode* branch : branchesIn(files)) {
            add(*branch, nullptr, toString(branch->treePath));
        }
        return true;
    }
    for (const Product::CopiedBranch& branch : files.copiedBranches()) {
        const auto more = targetFoldersOf(files, branch);
        folderList.insert(folderList.end(), more.begin(), more.end());
    }
    for (const TargetFolder& folder : folderList) {
        if (folder.node->node->isDirectory) { // an item takes folders only
            add(*folder.node, &folder, folder.folder);
        }
    }
    return true;
}

void Build::add(const TreeNode& node, const TargetFolder* folder, const std::string& path) {
    static const Condition none;
    if (isLeaf(node)) {
        const std::string treePath = toString(node.treePath);
        ++placed[treePath];
        entryList.push_back({&node, treePath, path, comparedPath(path),
                             folder == nullptr ? &none : &folder->path->condition,
                             folder == nullptr ? nullptr : folder->element, isFolderOnDisk(node)});
        return;
    }
    const auto children = folder == nullptr ? node.children : folder->children(node);
    for (const TreeNode* child : children) {
        add(*child, folder, path + "/" + toString(child->node->name));
    }
}

const TreeNode* Build::find(const std::string& treePath) const {
    const auto found = byPath.find(treePath);
    return found == byPath.end() ? nullptr : found->second;
}

int Build::number() const {
    return VLVersion(info().build).build;
}

std::string Build::uninstaller() const {
    const bool bNone =
        info().ID.IsEmpty() || info().name.IsEmpty() || info().ID.EqualsIgnoreCase(SharedPackage::ID);
    return bNone ? "" : uninstallersFolder + ("Uninstall " + toString(info().name)) + ".app";
}

Location Build::atIdentity(const char* attribute) const {
    const auto* sku = files.definitionFile.find(Kind::Sku);
    return sku == nullptr ? files.definitionFile.start() : files.definitionFile.at(*sku->element, attribute);
}
