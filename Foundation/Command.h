#pragma once

#include "Foundation/VLString.h"

/// One change of the file system, which a shell command makes.
struct Command {
    enum class Verb {
        RemoveFile,
        RemoveFolder, ///< with all that is in it
        RemoveEmptyFolder,
        MakeFolder,
        MakeFolderWithParents,
        CopyFile,
        CopyFolder,          ///< merges the content of `source` into `path`
        CopyFolderWithDitto, ///< the same, with the platform's own tool
        Link,                ///< a symbolic link at `path` to `source`, in the place of what is there
        Touch                ///< renews the time of the last change
    };

    Verb verb;
    VLString path;   ///< what is changed
    VLString source; ///< of a copy; of a link, what it leads to

    /// What the shell is given. The paths stand between double quotes exactly as they are.
    VLString text() const;
};
