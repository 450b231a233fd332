#pragma once

#include "Foundation/VLString.h"

/// Operations on the text of paths; none looks at the file system, and none fails. "/" is the only
/// separator. The rules are as simple as they are on purpose: results of the engine depend on them.
namespace PathLibrary {

/// The text after the last dot, also when that dot stands in the name of a folder; "" without one.
VLString GetExtension(const VLString& path);
/// The text before the first dot, not the last (intended, unlike GetExtension); the whole path without one.
VLString RemoveExtension(const VLString& path);

/// The path without its final slash; only one is removed.
VLString GetDirectoryPathWithoutLastSlash(const VLString& path);
/// The path up to its last slash, which is included; "" without one.
VLString GetDirectoryWithoutFile(const VLString& path);
/// The path of the folder that holds `path`, without a slash at its end; "" for a name alone and for what
/// stands directly below "/".
VLString GetParentDir(const VLString& path);
/// The text after the last slash; the whole path when that slash is its end, or when there is none.
VLString GetFileNameFromPath(const VLString& path);
/// `directory` and `file` with a slash between them; an empty directory gives "/" and the file.
VLString GetDirectoryWithFile(const VLString& directory, const VLString& file);

/// Takes away each folder name that a "/../" follows, together with that "/../", from left to right. Ends at
/// a "/../" that begins the path and at one whose folder no slash precedes, and leaves these and all that
/// follows as they stand. A final "/..", "/./" and repeated slashes are not touched.
VLString CollapsePath(const VLString& path);

} // namespace PathLibrary
