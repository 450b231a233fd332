#pragma once

#include "Foundation/Machine.h"

#include <string>

/// Whether it is the name, or the path, of one that systems show and move as one file, such as an application
/// or a plug-in.
bool hasBundleName(const std::string& path);

/// Whether a folder at `path` is one that systems show and move as one file, such as an application or a
/// plug-in: by its name, or because `machine` has a folder "Contents" in it.
bool isBundle(const std::string& path, Machine& machine = Machine::current());
