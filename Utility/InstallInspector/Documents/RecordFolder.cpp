#include "Utility/InstallInspector/Documents/RecordFolder.h"

#include "Foundation/Machine.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <string>
#include <sys/stat.h>

namespace {

bool isRecordIn(const VLString& folder) {
    return Machine::current().linkTypeOf(InstallUtility::statusFilePath(folder)) != 0;
}

} // namespace

VLString recordFolderOf(const InstalledProducts& installed) {
    VLString named;
    for (const auto& product : installed.all()) {
        const VLString& folder = product->files.statusFolder();
        if (product->isReadable() && folder.IsSet()) {
            if (isRecordIn(folder)) {
                return folder;
            }
            named = named.IsSet() ? named : folder;
        }
    }
    return named.IsSet() && !isRecordIn(usualStatusFolder) ? named : VLString(usualStatusFolder);
}

bool isSameFolder(const VLString& a, const VLString& b) {
    struct stat here = {};
    struct stat there = {};
    return a == b || (stat(a.ConstData(), &here) == 0 && stat(b.ConstData(), &there) == 0 &&
                      here.st_dev == there.st_dev && here.st_ino == there.st_ino);
}

VLString folderAbove(const VLString& path) {
    const std::string text = toString(path);
    const std::size_t slash = text.rfind('/');
    return toVLString(slash == std::string::npos ? "." : text.substr(0, slash));
}
