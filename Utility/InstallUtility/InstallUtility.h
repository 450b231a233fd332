#pragma once

#include "Foundation/VLString.h"
#include "Utility/InstallUtility/FileNode.h"
#include "Utility/InstallUtility/RecordFile.h"
#include "Utility/InstallUtility/SKUDefinition.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

class RunObserver;
class TiXmlNode;
struct TreeBranch;

/// The install engine: the data and the operations of one run. Use a new object for each run. Each group of
/// operations has its own source file.
class InstallUtility {
public:
    /// An item of the target paths: its candidate folders and the items inside it.
    struct InstallItem {
        /// A candidate folder. It applies if its condition holds.
        struct ItemPath {
            /// A test of this machine.
            struct Condition {
                enum ConditionType : std::int32_t {
                    None = 0,
                    PathExist = 1,
                    PathNotExist = 2,
                    FileExist = 3,
                    FileNotExist = 4,
                    RegKeyExist = 5,
                    RegKeyNotExist = 6,
                    And = 7,
                    Or = 8
                };

                VLString value; ///< a pattern, see fillPattern
                ConditionType type = None;
                std::vector<Condition> conditions; ///< operands of And and Or

                /// Reads a `condition` element. Does nothing if `node` is null or not an element.
                void parse(TiXmlNode* node);
                /// The type with this name, in upper or lower case. None if the name is unknown.
                static ConditionType fromString(const VLString& text);
                /// The name of a type. "" for None and for a number that is no type. The types after None are
                /// numbered without a gap.
                static const char* nameOf(ConditionType type);
            };

            VLString path; ///< a pattern, see getTargetPaths
            Condition condition;
        };

        std::vector<ItemPath> paths; ///< in the order of the file; the first that applies is preferred
        std::map<VLString, InstallItem> items;
    };

    VLString srcPath; ///< the folder with the files to install
    SKUDefinition skuDefinition;
    std::map<VLString, InstallItem> installItems; ///< the items at the top of the target-paths file
    StatusFile statusFile;
    VLString skuXmlPath;               ///< set by an uninstall only
    VLString targetPathsXmlPath;       ///< set by an uninstall only
    VLString currentFamily;            ///< the value of %FAMILY% in a target path
    RecordFile recordFile;             ///< the file of `statusFile`
    bool bRemoves = false;             ///< the product was removed from the record, not added
    RunObserver* observer = &nobody(); ///< receives the decisions; not owned, never null

    // The install run (InstallUtility.cpp)

    /// Installs the product of the definition `skuXmlPath` from the folder `sourcePath`. Returns false if the
    /// run cannot be prepared or the source folder is incomplete. A failed copy does not change the result.
    bool run(const VLString& sourcePath, const VLString& skuXmlPath, const VLString& targetPathsXmlPath);
    bool prepare(const VLString& sourcePath, const VLString& skuXmlPath, const VLString& targetPathsXmlPath);
    /// Sets srcPath. If `path` is not an existing folder, logs an error and returns false.
    bool setSrcPath(const VLString& path);
    /// Reads skuDefinition. If the file does not exist, logs an error and returns false. A malformed file
    /// gives an empty definition and true.
    bool parseXMLDefinitionFile(const VLString& path);
    /// Whether `folder` contains everything that `node` lists. Prints the first missing file or folder.
    bool checkFilesInFolderRecursively(const VLString& folder, const FileNode& node);
    /// Copies the branches of the tree to their targets and records the product. Returns true in any case:
    /// failures are logged, or the user is asked.
    bool copyFilesToTargets();

    /// The steps that an install and an uninstall share. Reads the record and adds the product to it, or with
    /// `remove` removes it. Calls `handle` for each branch of the tree, with its family as the current one,
    /// and logs a line for each branch that is left out. Then saves the record. Returns the folder of the
    /// record, or "" if no record is kept.
    VLString forEachBranch(bool remove, const std::function<void(const TreeBranch&)>& handle);

    // The status file of the run's product (InstallUtility.cpp)

    /// Reads the record in the folder `directory` and adds the tree of the product to it, or with `remove`
    /// removes it. If the record does not list the product, nothing is removed, because the counts are then
    /// those of other products, and a warning is logged.
    void loadStatusFile(const VLString& directory, bool remove);
    /// Adds the tree of the product to the record in memory, or removes it if the record lists the product.
    void enterProduct(bool remove);
    void updateStatusFile(const VLString& directory, const FileNode& node, bool remove);
    /// Saves the record in the folder `directory`, see RecordFile::save.
    void saveStatusFile(const VLString& directory);
    static VLString statusFilePath(const VLString& directory);

    // Target paths and conditions (TargetPaths.cpp)

    /// Reads installItems. If the file is missing, is malformed or has no root, logs an error and returns
    /// false.
    bool parseTargetsPathXMLFile(const VLString& path);
    /// Replaces `items` with the `item` children of `parent`. Always true.
    static bool parseXMLwithTargetPathsRecursively(TiXmlNode* parent, std::map<VLString, InstallItem>& items);

    /// The folders of all candidates that apply, in their order. Folders that differ only in case are given
    /// once. In each path, %FAMILY% becomes `family` (see Pattern::fillFamily), then the pattern is filled
    /// in. A path that would be too long is left out.
    static std::vector<VLString> getTargetPaths(const std::vector<InstallItem::ItemPath>& candidates,
                                                const VLString& family);
    /// Whether the condition holds on this machine. True for None and for a number that is no type.
    static bool isConditionTrue(const InstallItem::ItemPath::Condition& condition);

    // Patterns and the user (Pattern.cpp)

    /// Replaces %USER% (in upper or lower case) with the name of the user, and %REGKEY:key name::value name%
    /// with that value from the user's preference file for the key. A missing value is empty. A value with a
    /// character that a shell interprets counts as empty, and an error is logged. Placeholders in inserted
    /// text are replaced too. Other text between percent signs stays.
    ///
    /// A registry placeholder without "::" stays, and an error is logged. After 256 replacements, or if the
    /// text would be longer than 1 MiB, the rest stays, and an error is logged.
    static VLString fillPattern(const VLString& pattern);
    /// $HOME without "/Users/". A home folder elsewhere gives its whole path. Runs "eval echo $HOME". If HOME
    /// contains a character that a shell interprets, logs an error and returns "".
    static VLString getUserName();
    /// The home folder of the user with this name, as the shell finds it. Runs "eval echo '~NAME'".
    static VLString getUserHomePath();
    /// The folder Library/Preferences in the user's home folder.
    static VLString getUserPreferencesPath();
    /// See ::exec.
    static bool exec(const VLString& command, VLString& output);

    // The recursive copy and locked files (RecursiveCopy.cpp)

    /// Copies what `node` lists from `sourceFolder` to the target folders of `item`, and to `targetSubPath`
    /// if that is not empty. `treePath` is the path of the node in the tree. `lastAttempt` is passed to
    /// FileLibrary::CopyFolder. Returns false if a copy fails, except of files with ignoreInstallErrors.
    bool copyFilesRecursively(const VLString& targetSubPath, const VLString& sourceFolder,
                              const FileNode& node, const VLString& treePath, const InstallItem& item,
                              bool lastAttempt);
    bool copyNode(const VLString& targetSubPath, const VLString& sourceFolder, const FileNode& node,
                  const VLString& treePath, const InstallItem& item, bool lastAttempt);
    /// Copies `node` from `source` to `destination` and makes its shortcut. `node` is a file of the tree, and
    /// a file or folder on disk. `destination` is inside the folder `target`, which is made if it does not
    /// exist. Skips an existing file that the record says not to replace. Returns false if the copy fails.
    bool copyFile(const FileNode& node, const VLString& source, const VLString& treePath,
                  const VLString& target, const VLString& destination, bool lastAttempt);
    /// The question to the user after a failed copy of the branch `name`, on one line.
    VLString getFileLockedWarningText(const VLString& name);
    /// Asks the user. Returns true for Retry.
    bool filesLockedWarningTryAgain(const VLString& name);

    // A probe for files in use. No run calls it, and it finds nothing (RecursiveCopy.cpp)

    static bool isFileBlocked(const VLString& path);
    static bool isFilesBlocked(const std::vector<VLString>& paths);
    /// Appends the paths that a copy with these arguments would write to `paths`. Returns false if a source
    /// does not exist.
    bool getFileListRecursively(const VLString& targetSubPath, const VLString& sourceFolder,
                                const FileNode& node, const VLString& treePath, const InstallItem& item,
                                std::vector<VLString>& paths);
    bool checkFilesBlockedAndShowWarning(const VLString& sourceFolder, const FileNode& node,
                                         const VLString& treePath, const InstallItem& item,
                                         const VLString& name);

    // Shortcuts (ShortCuts.cpp)

    /// Sets `out` to the path of the node's shortcut. Intended: it is in /Applications, whatever folder the
    /// node names. If the node has no valid shortcut, logs an error, returns false and does not change `out`.
    static bool createFullShortCutName(const FileNode& node, VLString& out);
    /// Makes the node's shortcut, a symbolic link to `installedPath`. Replaces an existing file or link.
    static bool createShortCut(const VLString& installedPath, const FileNode& node);
    /// Removes the node's shortcut. `installedPath` is ignored.
    static bool removeShortCut(const VLString& installedPath, const FileNode& node);
    /// The name of the host for users. `shortName` itself if the host is unknown.
    static VLString getNLEFullName(const VLString& shortName);

    // Uninstall (Uninstall.cpp)

    /// Uninstalls the product of the definition `skuXmlPath`. With the last product, also uninstalls the
    /// shared package. Returns false if one of the two files cannot be read.
    bool runUninstall(VLString skuXmlPath, VLString targetPathsXmlPath);
    bool removeProduct();
    /// Removes the files and folders below `node` that no product uses any more, from the target folders of
    /// `item`, and from `folder` if that is not empty. `treePath` is the path of `node` in the tree. Always
    /// true.
    bool removeFilesRecursively(const VLString& folder, const FileNode& node, const VLString& treePath,
                                const InstallItem& item);
    /// The same for a node without dontDelete.
    void removeNode(const VLString& folder, const FileNode& node, const VLString& treePath,
                    const InstallItem& item);
    /// Removes the file or folder `node` at `path` if no product uses it any more.
    void removeChild(const FileNode& node, const VLString& path, const VLString& treePath);
    /// Uninstalls the shared package if it is the only product in the record. Returns false if that fails.
    bool removeSharedPackageIfLast(const VLString& statusFolder);

private:
    static RunObserver& nobody();
    bool install(const VLString& sourcePath, const VLString& definitionPath, const VLString& targetsPath);
    bool uninstall();
};
