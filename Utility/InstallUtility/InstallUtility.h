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

/// The install engine: everything that one run needs, and the operations that drive it. One object serves
/// one run. Each group of operations below has a source file of its own.
class InstallUtility {
public:
    /// Where one kind of installed item may go on this machine: candidate folders, and items inside it.
    struct InstallItem {
        /// One candidate folder, which applies when its condition holds.
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

                /// Fills the condition from a `condition` element. Null, or another kind of node, changes
                /// nothing.
                void parse(TiXmlNode* node);
                /// The kind of that name in any case. An unknown name gives None.
                static ConditionType fromString(const VLString& text);
                /// The name of that kind. None, and a number that is no kind, have an empty one. The kinds
                /// behind None are numbered without a gap.
                static const char* nameOf(ConditionType type);
            };

            VLString path; ///< a pattern, see getTargetPaths
            Condition condition;
        };

        std::vector<ItemPath> paths; ///< in the order of the file, which is the order of preference
        std::map<VLString, InstallItem> items;
    };

    VLString srcPath; ///< folder that holds the files to install
    SKUDefinition skuDefinition;
    std::map<VLString, InstallItem> installItems; ///< top level of the target-paths file
    StatusFile statusFile;
    VLString skuXmlPath;               ///< set by an uninstall only
    VLString targetPathsXmlPath;       ///< set by an uninstall only
    VLString currentFamily;            ///< what %FAMILY% in a target path stands for
    RecordFile recordFile;             ///< where `statusFile` comes from
    bool bRemoves = false;             ///< the product was taken off the record, not entered
    RunObserver* observer = &nobody(); ///< told of what is decided; not owned, never null

    // The install run (InstallUtility.cpp)

    /// Installs the product that `skuXmlPath` defines from the folder `sourcePath`. False when the run cannot
    /// be prepared or the source folder is incomplete; a copy that fails does not fail the run.
    bool run(const VLString& sourcePath, const VLString& skuXmlPath, const VLString& targetPathsXmlPath);
    bool prepare(const VLString& sourcePath, const VLString& skuXmlPath, const VLString& targetPathsXmlPath);
    /// False, and one error line, when `path` is not an existing folder.
    bool setSrcPath(const VLString& path);
    /// Reads skuDefinition. False, and one error line, only when the file does not exist: a malformed one
    /// gives an empty definition.
    bool parseXMLDefinitionFile(const VLString& path);
    /// Whether everything that `node` lists exists in `folder`; prints what is missing first and stops there.
    bool checkFilesInFolderRecursively(const VLString& folder, const FileNode& node);
    /// Copies the branches of the tree to their targets and records the product. Always true: what goes wrong
    /// is logged, shown to the user, or passed over.
    bool copyFilesToTargets();

    /// What an install and an uninstall have in common. Reads the record and enters the product, or takes it
    /// off with `remove`; hands each branch of the tree to `handle`, its family being the current one; saves
    /// the record. One line is logged for each branch that is left out. Gives the folder of the record, empty
    /// when none is kept.
    VLString forEachBranch(bool remove, const std::function<void(const TreeBranch&)>& handle);

    // The status file of the run's product (InstallUtility.cpp)

    /// Reads the record in the folder `directory` and enters the product's tree, or takes it off with
    /// `remove`. A product that the record does not list is not taken off, since what the record counts is
    /// then used by others; one warning line says so.
    void loadStatusFile(const VLString& directory, bool remove);
    /// Enters the product's tree into the record in memory, or takes it off if the record lists the product.
    void enterProduct(bool remove);
    void updateStatusFile(const VLString& directory, const FileNode& node, bool remove);
    /// Saves the record in the folder `directory`, see RecordFile::save.
    void saveStatusFile(const VLString& directory);
    static VLString statusFilePath(const VLString& directory);

    // Target paths and conditions (TargetPaths.cpp)

    /// Reads installItems. On failure (the file is missing, is malformed or has no root) gives false, and
    /// logs an error line.
    bool parseTargetsPathXMLFile(const VLString& path);
    /// Replaces `items` by the `item` children of `parent`. Always true.
    static bool parseXMLwithTargetPathsRecursively(TiXmlNode* parent, std::map<VLString, InstallItem>& items);

    /// The folders of all candidates that apply, in their order. Folders that differ only in case count once.
    /// In each path %FAMILY% is replaced by `family`, see Pattern::fillFamily, and then the pattern is
    /// filled. A path that would become too long is left out.
    static std::vector<VLString> getTargetPaths(const std::vector<InstallItem::ItemPath>& candidates,
                                                const VLString& family);
    /// Whether the condition holds on this machine. One of the kind None, or of no known kind, always does.
    static bool isConditionTrue(const InstallItem::ItemPath::Condition& condition);

    // Patterns and the user (Pattern.cpp)

    /// Fills in %USER% (in any case) with the user's name, and %REGKEY:key name::value name% with that value
    /// of the user's preference file for the key. An absent value counts as empty. A value with a character
    /// that a shell acts on counts as empty too, and one error line says so. What is filled in is looked at
    /// again. Other text between percent signs stays as it is.
    ///
    /// A registry placeholder without "::" stays as it is. When filling in does not come to an end, or the
    /// text would grow beyond 1 MiB, the rest stays as it is. Each of the two gives one error line.
    static VLString fillPattern(const VLString& pattern);
    /// What $HOME holds without "/Users/". A home elsewhere gives its whole path. Runs "eval echo $HOME".
    /// When HOME holds a character that a shell would act on, gives an empty name, and one error line says
    /// so.
    static VLString getUserName();
    /// Home folder of the user of that name, as the shell finds it. Runs "eval echo '~NAME'".
    static VLString getUserHomePath();
    /// The folder Library/Preferences in it.
    static VLString getUserPreferencesPath();
    /// See ::exec.
    static bool exec(const VLString& command, VLString& output);

    // The recursive copy and locked files (RecursiveCopy.cpp)

    /// Copies what `node` lists from `sourceFolder` to the target folders of `item` and to `targetSubPath`,
    /// unless that is empty. `treePath` is the node's path in the tree, `lastAttempt` goes to
    /// FileLibrary::CopyFolder. True when everything that counts was copied.
    bool copyFilesRecursively(const VLString& targetSubPath, const VLString& sourceFolder,
                              const FileNode& node, const VLString& treePath, const InstallItem& item,
                              bool lastAttempt);
    bool copyNode(const VLString& targetSubPath, const VLString& sourceFolder, const FileNode& node,
                  const VLString& treePath, const InstallItem& item, bool lastAttempt);
    /// Copies the file `node`, or the folder that it is on disk, from `source` to `destination` inside the
    /// folder `target`, which is made when it is missing, and makes its shortcut. A file that is there and
    /// that the record does not ask to replace is passed over. False when the copy fails.
    bool copyFile(const FileNode& node, const VLString& source, const VLString& treePath,
                  const VLString& target, const VLString& destination, bool lastAttempt);
    /// What the user is told when the branch `name` cannot be copied, on one line.
    VLString getFileLockedWarningText(const VLString& name);
    /// Tells the user; true to try again.
    bool filesLockedWarningTryAgain(const VLString& name);

    // A probe for files in use, which no run calls and which finds nothing (RecursiveCopy.cpp)

    static bool isFileBlocked(const VLString& path);
    static bool isFilesBlocked(const std::vector<VLString>& paths);
    /// Appends the paths that a copy with these arguments would write to `paths`. False when a source is
    /// missing.
    bool getFileListRecursively(const VLString& targetSubPath, const VLString& sourceFolder,
                                const FileNode& node, const VLString& treePath, const InstallItem& item,
                                std::vector<VLString>& paths);
    bool checkFilesBlockedAndShowWarning(const VLString& sourceFolder, const FileNode& node,
                                         const VLString& treePath, const InstallItem& item,
                                         const VLString& name);

    // Shortcuts (ShortCuts.cpp)

    /// Path of the node's shortcut. Intended: it lies in /Applications whatever folder the node names. When
    /// the node has no valid shortcut, gives false and one error line, and `out` is as it was.
    static bool createFullShortCutName(const FileNode& node, VLString& out);
    /// Makes the node's shortcut a symbolic link to `installedPath`, replacing what is there.
    static bool createShortCut(const VLString& installedPath, const FileNode& node);
    /// Removes the node's shortcut. `installedPath` does not matter.
    static bool removeShortCut(const VLString& installedPath, const FileNode& node);
    /// The name under which users know the host; `shortName` itself for an unknown one.
    static VLString getNLEFullName(const VLString& shortName);

    // Uninstall (Uninstall.cpp)

    /// Takes the product that `skuXmlPath` defines away, and the shared package with the last product that
    /// uses it. False when one of the two files cannot be read.
    bool runUninstall(VLString skuXmlPath, VLString targetPathsXmlPath);
    bool removeProduct();
    /// Removes what no product uses any more of the tree below `node`, whose path in the tree is
    /// `treePath`, from the target folders of `item` and from `folder`, unless that is empty. Always true.
    bool removeFilesRecursively(const VLString& folder, const FileNode& node, const VLString& treePath,
                                const InstallItem& item);
    /// The same for a node that may be deleted.
    void removeNode(const VLString& folder, const FileNode& node, const VLString& treePath,
                    const InstallItem& item);
    /// Removes the file or folder `node`, which lies at `path`, if no product uses it any more.
    void removeChild(const FileNode& node, const VLString& path, const VLString& treePath);
    /// Uninstalls the shared package when it is the only product left in the record. False when that fails.
    bool removeSharedPackageIfLast(const VLString& statusFolder);

private:
    static RunObserver& nobody();
    bool install(const VLString& sourcePath, const VLString& definitionPath, const VLString& targetsPath);
    bool uninstall();
};
