#pragma once

#include "Utility/InstallInspector/Documents/LocatedDocument.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <map>
#include <set>
#include <string>
#include <vector>

/// The files of a product: the definition, and optionally target paths and source folder. Contains the XML
/// documents and the results of the engine's own readers.
struct Product {
    /// A node of the tree of files, with the element that it comes from.
    struct TreeNode {
        const FileNode* node;
        const TiXmlElement* element;
        VLString treePath;                     ///< with "/" between components
        const TreeNode* parent;                ///< null for the root
        std::vector<const TreeNode*> children; ///< in the engine's order

        /// The child with this name. Null if there is none.
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
    std::string source;          ///< empty if there is none
    std::set<VLString> ownHosts; ///< hosts that the engine does not know, but that are correct

    SKUDefinition definition;
    std::map<VLString, InstallUtility::InstallItem> items;

    /// All nodes of the tree, parents first. The first is the root. Empty without `installFiles`.
    std::vector<TreeNode> tree;
    std::vector<TargetItem> targetItems; ///< the first is for the element `root`

    /// Reads the file. If the engine cannot use it, returns false and sets `error` to its path and the
    /// reason.
    bool readDefinition(const std::string& path, std::string& error);
    /// The same for the target paths.
    bool readTargets(const std::string& path, std::string& error);
    /// Reads the two documents with the engine's readers, and fills the other members.
    void interpret();

    /// A branch of the tree that an install copies, with its item. See branchesOf.
    struct CopiedBranch {
        const TreeNode* node;
        const TargetItem* item;
        VLString family; ///< the current one
    };
    /// In the order of an install.
    std::vector<CopiedBranch> copiedBranches() const;

    /// The node at the top of the tree, or the item at the top of the target paths, with this name. Null if
    /// there is none. `name` is usually one of Branch.
    const TreeNode* branch(const char* name) const;
    const TargetItem* topItem(const char* name) const;
    /// Whether `name` is a host that the engine knows or that is in `ownHosts`, or its 32-bit variant.
    bool knowsHost(const VLString& name) const;

private:
    void addTree(std::size_t index, TiXmlElement& element);
    void addItems(std::size_t index, TiXmlElement& element);
};

/// The attribute with this name. "" if it is missing.
VLString attributeOf(const TiXmlElement& element, const char* name);
