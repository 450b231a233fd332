#pragma once

#include "Utility/InstallInspector/Documents/ConditionLogic.h"
#include "Utility/InstallInspector/Documents/Product.h"
#include "Utility/InstallInspector/Documents/TargetFolders.h"

#include <string>
#include <unordered_map>
#include <vector>

/// A build of a product, and what an install of it puts where, whatever the machine.
class Build {
public:
    using Condition = ConditionLogic::Condition;

    /// A file, or a folder in one piece, in one target folder.
    struct Entry {
        const Product::TreeNode* node;
        std::string treePath;
        std::string
            path; ///< the pattern of the target folder and what follows; without target paths `treePath`
        std::string key;             ///< the same for all paths that most disks take for one
        const Condition* condition;  ///< of the target folder
        const TiXmlElement* element; ///< that names the target folder; null without target paths
        bool bFolder;                ///< on the disk, as far as the definition says
    };

    /// An empty path of target paths gives none: all branches then go anywhere, and every one to another
    /// place. False, and `error` names the file that cannot be used and says why.
    bool read(const std::string& definition, const std::string& targets, std::string& error);

    const Product& product() const { return files; }
    const SKUDefinition::SKUInfo& info() const { return files.definition.skuInfo; }
    /// In the order of an install.
    const std::vector<Entry>& entries() const { return entryList; }
    const std::vector<TargetFolder>& folders() const { return folderList; }
    /// Whether the build has a place for the path, on some machine.
    bool places(const std::string& treePath) const { return placed.count(treePath) != 0; }
    const Product::TreeNode* find(const std::string& treePath) const;
    /// By which builds are compared.
    int number() const;
    /// The uninstaller's path; empty when none is placed.
    std::string uninstaller() const;

    Location at(const Product::TreeNode& node) const {
        return files.definitionFile.at(*node.element, "fileName");
    }
    Location atIdentity(const char* attribute) const;

private:
    void add(const Product::TreeNode& node, const TargetFolder* folder, const std::string& path);

    Product files;
    std::vector<TargetFolder> folderList;
    std::vector<Entry> entryList;
    std::unordered_map<std::string, const Product::TreeNode*> byPath;
    std::unordered_map<std::string, std::size_t> placed; ///< the number of its entries
};

/// Whether the entry of the tree is a folder on the disk, as far as the definition says: by its manifest, or
/// by its name.
bool isFolderOnDisk(const Product::TreeNode& node);
/// Whether an install takes it as one piece.
bool isLeaf(const Product::TreeNode& node);
