#pragma once

#include "Foundation/VLString.h"

#include <cstdint>
#include <map>

/// One folder or file of the tree of files to install, with all that lies below it.
struct FileNode {
    /// A shortcut to an installed file.
    struct ShortCutInfo {
        VLString name; ///< file name of the shortcut
        VLString dir; ///< must be set, but is not where the shortcut goes: see InstallUtility::createShortCut
    };

    static constexpr unsigned long longestParentName = 1023;

    VLString name; ///< also the node's key in its parent's children; empty for the root
    bool isDirectory = false;
    std::map<VLString, FileNode> children;
    /// Name of the enclosing folder, never a path. Empty at the top level, and below a folder whose name has
    /// more than `longestParentName` bytes, which is more than file systems take.
    VLString parentName;
    std::int32_t arch = 0;   ///< 1 for files of the 32-bit processor alone, otherwise 0
    VLString configuration;  ///< files only; kept so that the tree holds all that the definition states
    bool dontDelete = false; ///< an uninstall leaves the node and everything below it in place
    bool ignoreInstallErrors = false; ///< failing to install this file does not fail its branch
    bool allowDowngrade = false;      ///< an older build may replace a newer one
    ShortCutInfo shortCut;            ///< files only

    /// Whether the shortcut has both a name and a folder; only then it is created and recorded.
    bool IsShortCutInfoValid() const;
};
