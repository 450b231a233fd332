#pragma once

#include "Utility/InstallInspector/Documents/Product.h"

#include <string>
#include <vector>

/// A target folder that the files name, and the part of the tree that goes there when its condition holds.
struct TargetFolder {
    const Product* product;
    const Product::TreeNode* node; ///< what the folder becomes
    const Product::TargetItem* item;
    const InstallUtility::InstallItem::ItemPath* path;
    const TiXmlElement* element; ///< the `path`
    std::string folder;          ///< the pattern with the family filled in, without a slash at its end
    std::string compared;        ///< the same, see comparedPath

    Location where() const { return product->targetsFile.at(*element, "value"); }
    /// The children of `parent`, which is the node or lies below it, that go where it goes.
    std::vector<const Product::TreeNode*> children(const Product::TreeNode& parent) const;
};

/// All of a product with target paths: VorlaneFX first, in the order of the file, then Content and the hosts.
std::vector<TargetFolder> targetFoldersOf(const Product& product);
/// Those of one branch of it, with its own family, in the order in which an install goes to them.
std::vector<TargetFolder> targetFoldersOf(const Product& product, const Product::CopiedBranch& branch);

/// The path in the form in which it is compared, since most disks do not tell case apart.
std::string comparedPath(const std::string& path);
