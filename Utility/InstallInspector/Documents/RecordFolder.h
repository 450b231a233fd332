#pragma once

#include "Utility/InstallInspector/Documents/InstalledProducts.h"

/// The usual folder of the record and of the other files that all products share.
constexpr const char* usualStatusFolder = "/Library/Application Support/Vorlane";

/// The status folder of the first installed product that has a record there. If there is none, the usual one.
VLString recordFolderOf(const InstalledProducts& installed);

/// Whether both are the same folder, or the same file.
bool isSameFolder(const VLString& a, const VLString& b);
/// The folder in which `path` lies.
VLString folderAbove(const VLString& path);
