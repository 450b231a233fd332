#pragma once

#include "Foundation/Machine.h"

#include <string>

// A bundle is a folder that systems show and move as one file, such as an application or a plug-in.

/// Whether `path` is the name or path of a bundle.
bool hasBundleName(const std::string& path);

/// Whether a folder at `path` is a bundle. It has the name of one, or contains a folder "Contents" on
/// `machine`.
bool isBundle(const std::string& path, Machine& machine = Machine::current());
