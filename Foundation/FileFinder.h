#pragma once

#include "Foundation/VLString.h"

/// Lists files with the `find` of the machine, through `exec`. Nothing is sorted, and nothing reports an
/// error: what cannot be listed gives an empty list. A name that holds a line feed comes out as two entries.
class FileFinder {
public:
    virtual ~FileFinder() = default;

    /// Every regular file at any depth below `directory`, as a path that begins with the text of `directory`.
    /// `mask` and `flag` are ignored. Runs nothing when there is no such directory.
    Vector<VLString> FindFilesInSubDir(const VLString& mask, const VLString& directory, bool flag);
    /// The regular files, or with `folders` the directories, directly inside `directory` whose names the
    /// shell's wildcard `mask` matches; "*" leaves out names that begin with a dot. With `fullPaths` each
    /// name is prefixed with the collapsed `directory`. The mask goes into the command without quotes.
    Vector<VLString> FindFilesInDir(const VLString& mask, const VLString& directory, bool fullPaths,
                                    bool folders);
    /// The same as FindFilesInDir.
    Vector<VLString> FindFilesOrFolders(const VLString& mask, const VLString& directory, bool fullPaths,
                                        bool folders);
};
