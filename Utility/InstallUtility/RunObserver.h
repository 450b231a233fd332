#pragma once

#include "Utility/InstallUtility/InstallUtility.h"

/// Receives the decisions of the engine as they are made. The default operations do nothing. An observer must
/// not change anything. `treePath` is the path of a node in the tree of files to install, with "/" between
/// its components.
///
/// Each ...Begins call is followed by its ...Ends call. Pairs are nested.
class RunObserver {
public:
    using InstallItem = InstallUtility::InstallItem;

    enum class FileCopy {
        Written,
        Kept, ///< the file exists, and the record says not to replace it
        Failed
    };

    virtual ~RunObserver() = default;

    /// An install or uninstall. The uninstall of the shared package is nested in that of the last product.
    virtual void runBegins(bool /*bUninstall*/) {}
    virtual void runEnds() {}

    /// The record was read. It does not contain changes of this run yet.
    virtual void recordLoaded(const VLString& /*path*/, const StatusFile& /*record*/) {}
    /// The record with the changes of this run was saved. `bSaved` is false if the save failed.
    virtual void recordSaved(const StatusFile& /*record*/, bool /*bSaved*/) {}

    /// A family of a host, or another branch of the tree, is copied. `bLast`: the user has cancelled, so the
    /// branch is copied once more and for the last time.
    virtual void attemptBegins(bool /*bLast*/) {}
    /// A folder of the tree is copied to the targets of `item` and to the folder `target`. `target` is empty
    /// for a folder that has its own target item.
    virtual void copyBegins(const VLString& /*treePath*/, const VLString& /*target*/,
                            const InstallItem& /*item*/, bool /*bLast*/) {}
    virtual void copyEnds() {}
    /// A file of the tree is copied to `destination`. It may be a folder on disk.
    virtual void fileCopyBegins(const VLString& /*destination*/) {}
    /// `shortCut` is the path of the shortcut that was made, or empty.
    virtual void fileCopyEnds(const VLString& /*treePath*/, const VLString& /*source*/,
                              const VLString& /*destination*/, FileCopy /*result*/,
                              const VLString& /*shortCut*/) {}
    /// A folder without children in the tree was copied to `target` as a whole. `bCopied` is false if the
    /// copy failed.
    virtual void wholeFolderCopied(const VLString& /*treePath*/, const VLString& /*target*/,
                                   bool /*bCopied*/) {}

    /// The node is removed from the targets of `item` and from `folder`. `folder` is empty for a node that
    /// has its own target item.
    virtual void removalBegins(const VLString& /*treePath*/, const FileNode& /*node*/,
                               const VLString& /*folder*/, const InstallItem& /*item*/) {}
    virtual void removalEnds(const VLString& /*treePath*/, const FileNode& /*node*/) {}
    virtual void fileRemovalBegins(const VLString& /*path*/) {}
    /// `bInUse`: other products use the file, so it was not removed. `shortCut` is the path of the shortcut,
    /// which was removed or did not exist. Empty if the file has no shortcut.
    virtual void fileRemovalEnds(const VLString& /*treePath*/, const VLString& /*path*/, bool /*bInUse*/,
                                 const VLString& /*shortCut*/) {}
};
