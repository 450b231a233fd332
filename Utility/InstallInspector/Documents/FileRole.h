#pragma once

#include <string>

/// The kind of an XML file of the engine.
enum class FileRole { Unknown, Definition, Targets, Record };

/// The role of the file at `path`, according to its first element. The name of the element may be misspelt.
/// Unknown if the file cannot be read, or the element fits no role.
FileRole roleOfFile(const std::string& path);
