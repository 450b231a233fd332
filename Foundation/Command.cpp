#include "Foundation/Command.h"

namespace {

VLString quoted(const VLString& path) {
    return VLString("\"") + path + "\"";
}

/// ditto makes the destination and its parents, copies links as links, never writes through a link in the
/// destination, and keeps permissions, times, hard links and extended attributes. cp does the same with these
/// options. Both fail if a directory would replace a file or a link, or the reverse. There is one difference:
/// with cp, existing directories in the destination get the permissions and times of the source.
VLString mergingCopy(const VLString& source, const VLString& destination) {
    return VLString("mkdir -p ") + quoted(destination) + " && cp -a --remove-destination " +
           quoted(source + "/.") + " " + quoted(destination);
}

} // namespace

VLString Command::text() const {
    switch (verb) {
    case Verb::RemoveFile:
        return VLString("rm -f ") + quoted(path);
    case Verb::RemoveFolder:
        return VLString("rm -rf ") + quoted(path);
    case Verb::RemoveEmptyFolder:
        return VLString("rmdir ") + quoted(path);
    case Verb::MakeFolder:
        return VLString("mkdir ") + quoted(path);
    case Verb::MakeFolderWithParents:
        return VLString("mkdir -p ") + quoted(path);
    case Verb::CopyFile:
        return VLString("cp -f ") + quoted(source) + " " + quoted(path);
    case Verb::CopyFolder:
        return mergingCopy(source, path);
    case Verb::CopyFolderWithDitto:
        return VLString("ditto ") + quoted(source) + " " + quoted(path);
    case Verb::Link:
        return VLString("ln -sf ") + quoted(source) + " " + quoted(path);
    case Verb::Touch:
        break;
    }
    return VLString("touch ") + quoted(path);
}
