#include "Foundation/FileFinder.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/PathLibrary.h"

namespace {

/// The lines of the command's output that are not empty.
Vector<VLString> linesOf(VLString command) {
    VLString output;
    return exec(command, output) ? StringLibrary::Split(output, "\n", true) : Vector<VLString>();
}

} // namespace

Vector<VLString> FileFinder::FindFilesInSubDir(const VLString& /*mask*/, const VLString& directory,
                                               bool /*flag*/) {
    if (!FileLibrary::IsDirectoryExists(directory)) {
        return {};
    }
    return linesOf(VLString("find \"") + directory + "\" -type f 2>/dev/null");
}

Vector<VLString> FileFinder::FindFilesInDir(const VLString& mask, const VLString& directory, bool fullPaths,
                                            bool folders) {
    const VLString kind = folders ? "d" : "f";
    Vector<VLString> names = linesOf(VLString("cd \"") + directory + "\"" + " && " + "find " + mask +
                                     " -type " + kind + " -maxdepth 0 2>/dev/null");
    if (fullPaths) {
        const VLString collapsed = PathLibrary::CollapsePath(directory);
        for (VLString& name : names) {
            name = PathLibrary::GetDirectoryWithFile(collapsed, name);
        }
    }
    return names;
}

Vector<VLString> FileFinder::FindFilesOrFolders(const VLString& mask, const VLString& directory,
                                                bool fullPaths, bool folders) {
    return FindFilesInDir(mask, directory, fullPaths, folders);
}
