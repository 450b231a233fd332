#pragma once

#include <string>

/// The path of a file or folder in the project's sources, for example "Docs/support.md".
std::string inSources(const std::string& path);
