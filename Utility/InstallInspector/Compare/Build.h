#pragma once

#include "Utility/InstallInspector/Documents/ConditionLogic.h"
#include "Utility/InstallInspector/Documents/Product.h"
#include "Utility/InstallInspector/Documents/TargetFolders.h"

#include <string>
#include <unordered_map>
#include <vector>

/// A build of a product, and the places where its install puts files on any machine.
class Build {
public:
    using Condition = ConditionLogic::Condition;

    /// A file, or a folder that is installed as one piece, in one target folder.
    struct Entry {
        const Product::TreeNode* node;
        std::string treePath;
        /// The path with the pattern of the target folder. Without target paths, `treePath`.
        std::string path;
        std::string key;             ///< equal for all paths that most disks treat as the same
        const Condition* condition;  ///< of the target folder
        const TiXmlElement* element; ///< the `path` of the target folder; null without target paths
        bool bFolder;                ///< on the disk, as far as the definition says
    };

    /// Reads both files. If one cannot be used, returns false and sets `error` to its path and the reason.
    /// With an empty `targets` there are no target paths. Then each branch goes to an unknown place of its
    /// own.
    bool read(const std::string& definition, const std::string& targets, std::string& error);

    const Product& product() const { return files; }
    const SKUDefinition::SKUInfo& info() const { return files.definition.skuInfo; }
    /// In the order of an install.
    const std::vector<Entry>& entries() const { return entryList; }
    const std::vector<TargetFolder>& folders() const { return folderList; }
    /// Whether the build has a place for the path, on some machine.
    bool places(const std::string& treePath) const { return placed.count(treePath) != 0; }
    const Product::TreeNode* find(const std::string& treePath) const;
    /// The number by which the engine compares builds.
    int number() const;
    /// The path of the uninstaller. Empty if an install places none.
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

/// Whether the node is a folder on the disk, judging by its manifest or its name.
bool isFolderOnDisk(const Product::TreeNode& node);
/// Whether an install copies the node as one piece.
bool isLeaf(const Product::TreeNode& node);
