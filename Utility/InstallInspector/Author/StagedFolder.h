#pragma once

#include "Utility/InstallInspector/Author/Remarks.h"
#include "Utility/InstallInspector/Documents/LeftOut.h"
#include "Utility/InstallInspector/Report/Progress.h"

#include <cstdint>
#include <string>
#include <vector>

/// One thing in a staged folder.
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
        Hollow ///< a folder with nothing but what is left out
    };

    std::string name;
    std::vector<StagedNode> children; ///< of a folder, by name; of one that is left out none
    Kind kind = Kind::File;
    Omission omission = Omission::None;
    /// A folder that is one thing for users: it holds a folder Contents, or its name says so.
    bool bBundle = false;
    bool bEmpty = false; ///< a file of 0 bytes

    bool isFolder() const { return kind == Kind::Folder; }
    bool isLeftOut() const { return omission != Omission::None; }
    /// The child of that name; null when there is none.
    const StagedNode* child(const std::string& name) const;
};

/// A folder with the files of a product as it lies on the disk, all of it.
class StagedFolder {
public:
    /// Reads the folder at `path`. False, and `error` says why, when it is no folder. What no definition can
    /// carry, whatever it lists, becomes a fault in `remarks`: names, sockets and the like, links that lead
    /// out of the part that is installed in one place, names that look the same, folders that cannot be read.
    bool read(const std::string& path, const LeftOut& leftOut, Remarks& remarks, Progress& progress,
              std::string& error);

    const StagedNode& root() const { return top; }
    /// As given, without a slash at its end.
    const std::string& path() const { return folder; }

private:
    std::string folder;
    StagedNode top;
};
