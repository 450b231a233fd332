#pragma once

#include "Utility/InstallInspector/Documents/Product.h"

#include <string>
#include <vector>

/// A target folder of a product, and the part of the tree that goes there if its condition holds.
struct TargetFolder {
    const Product* product;
    const Product::TreeNode* node; ///< the node that is copied to the folder
    const Product::TargetItem* item;
    const InstallUtility::InstallItem::ItemPath* path;
    const TiXmlElement* element; ///< the `path`
    std::string folder;          ///< the pattern with the family filled in, without a slash at its end
    std::string compared;        ///< the same, see comparedPath

    Location where() const { return product->targetsFile.at(*element, "value"); }
    /// The children of `parent` that are copied with it. `parent` is `node` or lies below it.
    std::vector<const Product::TreeNode*> children(const Product::TreeNode& parent) const;
};

/// All target folders of a product with target paths: those of VorlaneFX, then of Content, then of the hosts.
std::vector<TargetFolder> targetFoldersOf(const Product& product);
/// The target folders of one branch with its family, in the order of an install.
std::vector<TargetFolder> targetFoldersOf(const Product& product, const Product::CopiedBranch& branch);

/// The form of the path in which it is compared. Most disks ignore case.
std::string comparedPath(const std::string& path);
