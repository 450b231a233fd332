#include "Utility/InstallInspector/Documents/Product.h"

#include "Foundation/PathLibrary.h"
#include "Utility/InstallInspector/Documents/FindByName.h"
#include "Utility/InstallUtility/Branches.h"
#include "Utility/InstallUtility/XMLDocument.h"

namespace {

std::size_t countNodes(const FileNode& node) {
    std::size_t count = 1;
    for (const auto& [name, child] : node.children) {
        count += countNodes(child);
    }
    return count;
}

std::size_t countItems(const std::map<VLString, InstallUtility::InstallItem>& items) {
    std::size_t count = items.size();
    for (const auto& [name, item] : items) {
        count += countItems(item.items);
    }
    return count;
}

} // namespace

VLString attributeOf(const TiXmlElement& element, const char* name) {
    return XMLDocument::Attribute(element, name);
}

const Product::TreeNode* Product::TreeNode::child(const VLString& name) const {
    return findByName(children, name,
                      [](const TreeNode& candidate) -> const VLString& { return candidate.node->name; });
}

const Product::TargetItem* Product::TargetItem::child(const VLString& wanted) const {
    return findByName(items, wanted, [](const TargetItem& node) -> const VLString& { return node.name; });
}

bool Product::readDefinition(const std::string& path, std::string& error) {
    return definitionFile.readUsable(path, Location::Document::Definition, Kind::Product, error);
}

bool Product::readTargets(const std::string& path, std::string& error) {
    bTargets = true;
    return targetsFile.readUsable(path, Location::Document::Targets, Kind::Root, error);
}

void Product::interpret() {
    TiXmlDocument taken = definitionFile.xml(); // reading takes it down, and the rules look at the elements
    definition.parseInner(taken);
    if (const auto* files = definitionFile.find(Kind::InstallFiles)) {
        // Pointers into the lists stay valid, because their memory is reserved before.
        tree.reserve(countNodes(definition.installFiles));
        tree.push_back({&definition.installFiles, files->element, VLString(), nullptr, {}});
        addTree(0, *files->element);
    }
    if (const auto* root = targetsFile.find(Kind::Root)) {
        InstallUtility::parseXMLwithTargetPathsRecursively(root->element, items);
        static const InstallUtility::InstallItem none;
        targetItems.reserve(countItems(items) + 1);
        targetItems.push_back({&none, root->element, VLString(), {}});
        addItems(0, *root->element);
    }
}

void Product::addTree(std::size_t index, TiXmlElement& element) {
    std::map<VLString, TiXmlElement*> elements;
    for (const char* kind : {"directory", "file"}) {
        XMLDocument::ForEachChild(&element, kind, [&elements](TiXmlElement& child) {
            elements[attributeOf(child, "fileName")] = &child;
        });
    }
    for (const auto& [name, child] : tree[index].node->children) {
        const VLString treePath =
            index == 0 ? name : PathLibrary::GetDirectoryWithFile(tree[index].treePath, name);
        tree.push_back({&child, elements.at(name), treePath, &tree[index], {}});
        tree[index].children.push_back(&tree.back());
        addTree(tree.size() - 1, *elements.at(name));
    }
}

void Product::addItems(std::size_t index, TiXmlElement& element) {
    std::map<VLString, TiXmlElement*> elements;
    XMLDocument::ForEachChild(&element, "item", [&elements](TiXmlElement& child) {
        elements[attributeOf(child, "name")] = &child;
    });
    const auto& children = index == 0 ? items : targetItems[index].item->items;
    for (const auto& [name, child] : children) {
        targetItems.push_back({&child, elements.at(name), name, {}});
        targetItems[index].items.push_back(&targetItems.back());
        addItems(targetItems.size() - 1, *elements.at(name));
    }
}

std::vector<Product::CopiedBranch> Product::copiedBranches() const {
    std::vector<CopiedBranch> copied;
    for (const TreeBranch& found : branchesOf(definition, items, TreeBranch::Order::Install)) {
        const bool bHost = found.host.IsSet();
        const VLString top = bHost ? Branch::hosts : found.treePath;
        const TreeNode* node = branch(top.ConstData());
        const TargetItem* item = topItem(top.ConstData());
        if (found.leftOut != TreeBranch::LeftOut::No || node == nullptr || item == nullptr) {
            continue;
        }
        if (bHost) {
            node = node->child(found.host)->child(found.node.name);
            item = item->child(found.host);
        }
        copied.push_back({node, item, found.family});
    }
    return copied;
}

const Product::TreeNode* Product::branch(const char* name) const {
    return tree.empty() ? nullptr : tree.front().child(name);
}

const Product::TargetItem* Product::topItem(const char* name) const {
    return targetItems.empty() ? nullptr : targetItems.front().child(name);
}

bool Product::knowsHost(const VLString& name) const {
    return isKnownHost(name) || std::any_of(ownHosts.begin(), ownHosts.end(), [&](const VLString& host) {
               return name == host || name == host + "32";
           });
}
