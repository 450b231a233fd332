#include "Foundation/Command.h"

namespace {

VLString quoted(const VLString& path) {
    return VLString("\"") + path + "\"";
}

/// ditto makes the destination and its parents, copies links as links, never writes through a link that it
/// finds in the destination, and keeps permissions, times, hard links and extended attributes. cp does as
/// much with these options, and like ditto fails where a directory would have to replace a file or a link, or
/// one of these a directory. It goes further in one thing: directories that are already in the destination
/// take on permissions and times of those in the source.
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
