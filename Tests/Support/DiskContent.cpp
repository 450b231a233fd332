#include "Tests/Support/DiskContent.h"

namespace fs = std::filesystem;

DiskContent diskContentOf(const PrivateRoot& root) {
    DiskContent disk;
    for (const char* top : {"/Applications", "/Library", "/Users"}) {
        for (fs::recursive_directory_iterator entry(root.outside(top)), end; entry != end; ++entry) {
            const std::string path = "/" + entry->path().lexically_relative(root.outside("/")).string();
            if (entry->is_symlink()) {
                disk[path] = "-> " + root.targetOfLink(path);
            } else if (path.rfind("/Applications/Vorlane Uninstallers/", 0) == 0) {
                disk[path] = "";
                entry.disable_recursion_pending();
            } else if (entry->is_directory()) {
                if (fs::is_empty(entry->path())) {
                    disk[path + "/"] = "";
                }
            } else {
                disk[path] = FileTree::read(entry->path());
            }
        }
    }
    return disk;
}

bool isAt(const DiskContent& disk, const std::string& path) {
    return disk.count(path) != 0 || isFolderAt(disk, path);
}

bool isFolderAt(const DiskContent& disk, const std::string& path) {
    const auto next = disk.lower_bound(path + "/");
    return next != disk.end() && next->first.rfind(path + "/", 0) == 0;
}
