#pragma once

#include "Foundation/VLString.h"

/// One change of the file system that a shell command makes.
struct Command {
    enum class Verb {
        RemoveFile,
        RemoveFolder, ///< with everything in it
        RemoveEmptyFolder,
        MakeFolder,
        MakeFolderWithParents,
        CopyFile,
        CopyFolder,          ///< merges the content of `source` into `path`
        CopyFolderWithDitto, ///< the same, with the platform's own tool
        Link,                ///< makes a symbolic link at `path` to `source`, replaces what is there
        Touch                ///< sets the modification time to now
    };

    Verb verb;
    VLString path;   ///< the file or folder to change
    VLString source; ///< the source of a copy, or the target of a link; otherwise empty

    /// The text for the shell. Paths are between double quotes and not escaped.
    VLString text() const;
};
