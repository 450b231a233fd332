#pragma once

#include "Utility/InstallInspector/Documents/LocatedDocument.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <map>
#include <string>
#include <vector>

/// What is checked: a product definition, and the target-paths file and source folder that go with it, each
/// with what the engine's own readers make of it.
struct Product {
    /// A node of the tree of files, with the element that it comes from.
    struct TreeNode {
        const FileNode* node;
        const TiXmlElement* element;
        VLString treePath;                     ///< components joined by "/"
        const TreeNode* parent;                ///< null for the root
        std::vector<const TreeNode*> children; ///< in the engine's order

        /// The child of that name; null when there is none.
        const TreeNode* child(const VLString& name) const;
    };
    /// An item of the target-paths file, with the element that gives its paths.
    struct TargetItem {
        const InstallUtility::InstallItem* item;
        const TiXmlElement* element;
        VLString name;
        std::vector<const TargetItem*> items;

        const TargetItem* child(const VLString& name) const;
    };

    LocatedDocument definitionFile;
    LocatedDocument targetsFile; ///< empty unless bTargets
    bool bTargets = false;
    std::string source; ///< empty for none

    SKUDefinition definition;
    std::map<VLString, InstallUtility::InstallItem> items;

    /// All nodes of the tree, parents first. The first is the root; empty without `installFiles`.
    std::vector<TreeNode> tree;
    std::vector<TargetItem> targetItems; ///< the first stands for `root`

    /// Fills what is derived from the two documents.
    void interpret();

    /// A branch that an install copies and that is in both files, see branchesOf.
    struct CopiedBranch {
        const TreeNode* node;
        const TargetItem* item;
        VLString family; ///< the current one
    };
    /// In the order of an install.
    std::vector<CopiedBranch> copiedBranches() const;

    /// A node right below the root of the tree, or an item right below that of the targets. Null for none.
    /// `name` is mostly one of Branch.
    const TreeNode* branch(const char* name) const;
    const TargetItem* topItem(const char* name) const;

private:
    void addTree(std::size_t index, TiXmlElement& element);
    void addItems(std::size_t index, TiXmlElement& element);
};

/// The attribute of that name; empty when there is none.
VLString attributeOf(const TiXmlElement& element, const char* name);
