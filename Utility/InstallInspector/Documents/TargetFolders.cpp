#include "Utility/InstallInspector/Documents/TargetFolders.h"

#include "Utility/InstallInspector/Documents/LookAlike.h"
#include "Utility/InstallUtility/Pattern.h"

namespace {

using TreeNode = Product::TreeNode;
using TargetItem = Product::TargetItem;

/// Without slashes that make no difference.
std::string plainPath(const std::string& text) {
    std::string path;
    for (const char c : text) {
        if (c != '/' || path.empty() || path.back() != '/') {
            path += c;
        }
    }
    if (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

std::string folderText(const VLString& path, const VLString& family) {
    VLString text = path;
    if (family.IsSet()) {
        Pattern::fillFamily(text, family);
    }
    return plainPath(toString(text));
}

/// The `path` elements that the engine reads, in the order of the item's paths.
std::vector<const TiXmlElement*> pathElements(const TargetItem& item) {
    std::vector<const TiXmlElement*> elements;
    for (const TiXmlElement* path = item.element->FirstChildElement("path"); path != nullptr;
         path = path->NextSiblingElement("path")) {
        if (attributeOf(*path, "value").IsSet()) {
            elements.push_back(path);
        }
    }
    return elements;
}

void add(const Product& product, const TreeNode& node, const TargetItem& item, const VLString& family,
         std::vector<TargetFolder>& folders) {
    const auto elements = pathElements(item);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const auto& path = item.item->paths[i];
        const std::string folder = folderText(path.path, family);
        folders.push_back({&product, &node, &item, &path, elements[i], folder, comparedPath(folder)});
    }
    for (const TreeNode* child : node.children) {
        if (const TargetItem* inner = item.child(child->node->name)) {
            add(product, *child, *inner, family, folders);
        }
    }
}

} // namespace

std::vector<const TreeNode*> TargetFolder::children(const TreeNode& parent) const {
    std::vector<const TreeNode*> here;
    for (const TreeNode* child : parent.children) {
        if (&parent != node || item->child(child->node->name) == nullptr) {
            here.push_back(child);
        }
    }
    return here;
}

std::vector<TargetFolder> targetFoldersOf(const Product& product) {
    std::vector<TargetFolder> folders;
    const auto& families = product.definition.pluginsByFamily;
    const VLString onlyFamily = families.size() == 1 ? families.begin()->first : VLString();
    for (const char* name : {Branch::shared, Branch::content}) {
        const TargetItem* item = product.topItem(name);
        const TreeNode* node = product.branch(name);
        if (item != nullptr && node != nullptr) {
            add(product, *node, *item, onlyFamily, folders);
        }
    }
    const TargetItem* hosts = product.topItem(Branch::hosts);
    const TreeNode* tree = product.branch(Branch::hosts);
    if (hosts == nullptr || tree == nullptr) {
        return folders;
    }
    for (const TreeNode* host : tree->children) {
        const TargetItem* item = hosts->child(host->node->name);
        for (const TreeNode* family : host->children) {
            if (item != nullptr && families.count(family->node->name) != 0) {
                add(product, *family, *item, family->node->name, folders);
            }
        }
    }
    return folders;
}

std::vector<TargetFolder> targetFoldersOf(const Product& product, const Product::CopiedBranch& branch) {
    std::vector<TargetFolder> folders;
    add(product, *branch.node, *branch.item, branch.family, folders);
    return folders;
}

std::string comparedPath(const std::string& path) {
    return toString(appearanceOf(toVLString(plainPath(path))).ToLower());
}
