#pragma once

#include "Foundation/VLString.h"

#include <string>

/// The documents of a product with a given number of files. A folder has at most a hundred entries. Names and
/// paths have usual lengths.
namespace Documents {

/// The product definition, with all files below VorlaneFX.
std::string Definition(long files);
/// The record of such a product, with two uses of each file.
std::string Record(long files);
/// A target-paths file with this number of target folders. Half of them have a condition.
std::string TargetPaths(long folders);

/// Makes the folder at `path`. On failure throws std::filesystem::filesystem_error.
void MakeFolder(const VLString& path);
/// Makes the empty files of Definition(files) in the folder at `path`. On failure throws an exception.
void MakeFiles(const VLString& path, long files);

/// A new empty folder, removed at the end of the scope. In memory, if the machine has a file system for that.
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

/// Writes `content` to the file at `path`. Throws std::runtime_error on failure.
void Write(const VLString& path, const std::string& content);

} // namespace Documents
