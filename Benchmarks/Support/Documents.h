#pragma once

#include "Foundation/VLString.h"

#include <string>

/// A product of a given number of files, at most a hundred in a folder at every level. Names and paths are of
/// usual lengths.
namespace Documents {

/// The product definition, its tree below VorlaneFX.
std::string Definition(long files);
/// The record of one such product, whose files are used twice.
std::string Record(long files);
/// A target-paths file with that many target folders, half of them under a condition.
std::string TargetPaths(long folders);

/// A new empty folder in memory, where the machine has such a place, until the end of the scope.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    VLString path() const { return VLString(name.c_str()); }
    VLString operator/(const char* file) const { return VLString((name + "/" + file).c_str()); }

private:
    std::string name;
};

/// Makes the file at `path` hold `content`. Throws std::runtime_error when it cannot.
void Write(const VLString& path, const std::string& content);

} // namespace Documents
