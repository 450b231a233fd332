#pragma once

#include "Foundation/VLString.h"

#include <cstdint>
#include <map>

/// A folder or file in the tree of files to install, with everything below it.
struct FileNode {
    /// A shortcut to an installed file.
    struct ShortCutInfo {
        VLString name; ///< the file name of the shortcut
        VLString dir;  ///< must not be empty, but is not its folder: see InstallUtility::createShortCut
    };

    static constexpr unsigned long longestParentName = 1023;

    VLString name; ///< also its key in the parent's `children`; empty for the root
    bool isDirectory = false;
    std::map<VLString, FileNode> children;
    /// The name of the enclosing folder, not a path. Empty at the top level, and in a folder whose name has
    /// more than `longestParentName` bytes. File systems refuse such names.
    VLString parentName;
    std::int32_t arch = 0;            ///< 1 for 32-bit files, otherwise 0
    VLString configuration;           ///< files only; no run uses it
    bool dontDelete = false;          ///< an uninstall does not remove the node or anything below it
    bool ignoreInstallErrors = false; ///< a failed copy of this file does not fail its branch
    bool allowDowngrade = false;      ///< an older build may replace a newer one
    ShortCutInfo shortCut;            ///< files only

    /// Whether the shortcut has a name and a folder. Only then is it created and recorded.
    bool IsShortCutInfoValid() const;
};
