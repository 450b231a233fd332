#pragma once

#include <string>

/// Which of the engine's files one is, by its first element.
enum class FileRole { Unknown, Definition, Targets, Record };

/// The role of the file at `path`, also of one whose first element is misspelt. Unknown when it cannot be
/// read or nothing in it tells.
FileRole roleOfFile(const std::string& path);
