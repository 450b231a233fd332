#pragma once

#include "Foundation/VLString.h"

/// Operations on the text of paths. They do not read the file system and cannot fail. "/" is the only
/// separator. The simple rules are intended: results of the engine depend on them.
namespace PathLibrary {

/// The text after the last dot, even if that dot is in the name of a folder. "" if there is no dot.
VLString GetExtension(const VLString& path);
/// The text before the first dot (intended, unlike GetExtension). The whole path if there is no dot.
VLString RemoveExtension(const VLString& path);

/// The path without one slash at its end.
VLString GetDirectoryPathWithoutLastSlash(const VLString& path);
/// The path up to and including its last slash. "" if there is no slash.
VLString GetDirectoryWithoutFile(const VLString& path);
/// The path of the folder that contains `path`, without a slash at its end. "" for a bare name and for a path
/// directly below "/".
VLString GetParentDir(const VLString& path);
/// The text after the last slash. The whole path if it ends with that slash or has no slash.
VLString GetFileNameFromPath(const VLString& path);
/// `directory` and `file` with a slash between them. An empty directory gives "/" and the file.
VLString GetDirectoryWithFile(const VLString& directory, const VLString& file);

/// Removes each folder name before a "/../" together with the "/../", from left to right. Stops at a "/../"
/// at the beginning of the path, and at one whose folder has no slash before it. That and the rest of the
/// path stay. A final "/..", "/./" and repeated slashes stay.
VLString CollapsePath(const VLString& path);

} // namespace PathLibrary
