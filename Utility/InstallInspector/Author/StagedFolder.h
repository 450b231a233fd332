#pragma once

#include "Utility/InstallInspector/Author/Remarks.h"
#include "Utility/InstallInspector/Documents/LeftOut.h"
#include "Utility/InstallInspector/Report/Progress.h"

#include <cstdint>
#include <string>
#include <vector>

/// A file, folder or link in a staged folder.
struct StagedNode {
    enum class Kind : std::uint8_t {
        File, ///< a regular file, or a link to one
        Folder,
        LinkToFolder, ///< copied as the folder that it leads to
        LooseLink     ///< leads to nothing
    };
    enum class Omission : std::uint8_t {
        None,
        Junk,
        Excluded,
        Hollow ///< a folder that contains only what is left out
    };

    std::string name;
    std::vector<StagedNode> children; ///< of a folder, sorted by name; empty if it is left out
    Kind kind = Kind::File;
    Omission omission = Omission::None;
    /// Whether it is a folder that users see as one file: it contains a folder Contents, or has such a name.
    bool bBundle = false;
    bool bEmpty = false; ///< a file of 0 bytes

    bool isFolder() const { return kind == Kind::Folder; }
    bool isLeftOut() const { return omission != Omission::None; }
    /// The child with this name. Null if there is none.
    const StagedNode* child(const std::string& name) const;
};

/// A folder on the disk with the files of a product, and everything in it.
class StagedFolder {
public:
    /// Reads the folder at `path`. If it is not a folder, returns false and sets `error` to the reason. Adds
    /// a fault to `remarks` for everything that no definition can contain: impossible names, sockets and the
    /// like, links out of the part that is installed at one place, names that look the same, and folders that
    /// cannot be read.
    bool read(const std::string& path, const LeftOut& leftOut, Remarks& remarks, Progress& progress,
              std::string& error);

    const StagedNode& root() const { return top; }
    /// The path that was read, without a slash at its end.
    const std::string& path() const { return folder; }

private:
    std::string folder;
    StagedNode top;
};
