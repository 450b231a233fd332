#pragma once

#include "Utility/InstallUtility/InstallUtility.h"

/// Is told by the engine what it decides, while it decides it; does nothing by itself. An observer must not
/// change anything. A tree path is the path of a node in the tree of files to install, components joined by
/// "/".
///
/// What begins ends again, and lies inside of what has begun before it.
class RunObserver {
public:
    using InstallItem = InstallUtility::InstallItem;

    enum class FileCopy {
        Written,
        Kept, ///< it is there, and the record does not ask to replace it
        Failed
    };

    virtual ~RunObserver() = default;

    /// An install or uninstall. The uninstall of the shared package lies inside that of the last product.
    virtual void runBegins(bool /*bUninstall*/) {}
    virtual void runEnds() {}

    /// The record has been read, and nothing of this run has been entered yet.
    virtual void recordLoaded(const VLString& /*path*/, const StatusFile& /*record*/) {}
    /// The record, with what this run has entered, has been saved or could not be.
    virtual void recordSaved(const StatusFile& /*record*/, bool /*bSaved*/) {}

    /// A family of a host, or another branch of the tree, is copied. `bLast`: the user has cancelled. This
    /// attempt is the last, and does again what the one before it has done.
    virtual void attemptBegins(bool /*bLast*/) {}
    /// The folder `node` of the tree is copied to the targets of `item` and to the folder `target`, which is
    /// empty for a node that has a target item of its own.
    virtual void copyBegins(const VLString& /*treePath*/, const VLString& /*target*/,
                            const InstallItem& /*item*/, bool /*bLast*/) {}
    virtual void copyEnds() {}
    /// The file, or folder on disk, `source` is copied to `destination`.
    virtual void fileCopyBegins(const VLString& /*destination*/) {}
    /// `shortCut` is the path of the shortcut that has been made; empty for none.
    virtual void fileCopyEnds(const VLString& /*treePath*/, const VLString& /*source*/,
                              const VLString& /*destination*/, FileCopy /*result*/,
                              const VLString& /*shortCut*/) {}
    /// A folder of which the tree lists nothing has been copied to `target` with all that is in it, or could
    /// not be.
    virtual void wholeFolderCopied(const VLString& /*treePath*/, const VLString& /*target*/,
                                   bool /*bCopied*/) {}

    /// The node is removed from the targets of `item` and from `folder`, which is empty for a node that has a
    /// target item of its own.
    virtual void removalBegins(const VLString& /*treePath*/, const FileNode& /*node*/,
                               const VLString& /*folder*/, const InstallItem& /*item*/) {}
    virtual void removalEnds(const VLString& /*treePath*/, const FileNode& /*node*/) {}
    virtual void fileRemovalBegins(const VLString& /*path*/) {}
    /// `bInUse`: other products use the file, so that it was left alone. `shortCut` is the path of the
    /// shortcut that has been removed or was not there; empty for none.
    virtual void fileRemovalEnds(const VLString& /*treePath*/, const VLString& /*path*/, bool /*bInUse*/,
                                 const VLString& /*shortCut*/) {}
};
