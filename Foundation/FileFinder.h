#pragma once

#include "Foundation/VLString.h"

/// Lists files with the `find` command, through `exec`. Lists are not sorted. On failure, the list is empty.
/// A name that contains a line feed gives two entries.
class FileFinder {
public:
    virtual ~FileFinder() = default;

    /// All regular files at any depth below `directory`, as paths that begin with the text of `directory`.
    /// `mask` and `flag` are ignored. If the directory does not exist, no command runs.
    Vector<VLString> FindFilesInSubDir(const VLString& mask, const VLString& directory, bool flag);
    /// The regular files directly inside `directory`, or the directories if `folders` is set. Their names
    /// match the shell wildcard `mask`. "*" does not match names that begin with a dot. If `fullPaths` is
    /// set, each name begins with the collapsed `directory`. `mask` goes into the command without quotes.
    Vector<VLString> FindFilesInDir(const VLString& mask, const VLString& directory, bool fullPaths,
                                    bool folders);
    /// The same as FindFilesInDir.
    Vector<VLString> FindFilesOrFolders(const VLString& mask, const VLString& directory, bool fullPaths,
                                        bool folders);
};
