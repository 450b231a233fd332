#pragma once

#include "Utility/InstallInspector/Documents/InstalledProducts.h"

/// Where the engine looks for what all products share when no target path says otherwise.
constexpr const char* usualStatusFolder = "/Library/Application Support/Vorlane";

/// The folder of the first installed product that has a record there, else the usual one.
VLString recordFolderOf(const InstalledProducts& installed);

/// Whether both are the same folder, or the same file.
bool isSameFolder(const VLString& a, const VLString& b);
/// The folder in which `path` lies.
VLString folderAbove(const VLString& path);
