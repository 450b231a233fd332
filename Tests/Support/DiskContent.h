#pragma once

#include "Tests/Support/PrivateRoot.h"

#include <map>
#include <string>

/// What is on a private root's disk where products go: content by path. A folder that holds nothing ends with
/// a slash, a link has "-> " before where it leads, an uninstaller is one entry without content.
using DiskContent = std::map<std::string, std::string>;

DiskContent diskContentOf(const PrivateRoot& root);

/// Whether the path, or something below it, is there.
bool isAt(const DiskContent& disk, const std::string& path);
bool isFolderAt(const DiskContent& disk, const std::string& path);
