#pragma once

#include "Utility/InstallInspector/Report/Progress.h"

#include <cstdint>
#include <string>
#include <vector>

class TiXmlElement;

/// The exact content of an entry of the tree: the size and digest of a file, or of each file in a folder that
/// is copied whole. In a definition it has the form of attributes and elements that the engine ignores:
///
///     <file fileName="Grey.look" size="5120" sha256="..."/>
///     <file fileName="Glow.bundle">
///       <part path="Contents/MacOS/Glow" size="81920" sha256="..."/>
///       <part path="Contents/Current" link="MacOS"/>
///     </file>
namespace Manifest {

struct Part {
    std::string path; ///< in the folder; empty for the file itself
    std::uint64_t size = 0;
    std::string digest; ///< SHA-256 as 64 lower-case hexadecimal digits; empty for a link
    std::string link;   ///< the target of a link; empty for a file

    bool operator==(const Part& other) const {
        return path == other.path && size == other.size && digest == other.digest && link == other.link;
    }
};
using Parts = std::vector<Part>; ///< sorted by path, each path once

struct Difference {
    enum class Kind {
        Missing,
        Truncated, ///< shorter than the manifest says
        Changed,
        Foreign, ///< in a whole folder, and not in the manifest
        Unreadable
    };

    Kind kind;
    std::string path; ///< in the folder; empty for the file itself
    std::string text; ///< the difference, worded to follow a path: "is truncated: 3 of 5 bytes"
};

/// The manifest of the entry. Empty if it has none. Leaves out malformed parts.
Parts of(const TiXmlElement& entry);
/// Whether the entry has a manifest, even a malformed one.
bool isIn(const TiXmlElement& entry);

/// Makes the manifest of the file, or of all files and links in the folder, at `path`. A file that cannot be
/// read, or changes in the meantime, becomes an Unreadable in `faults`.
Parts read(const std::string& path, Progress& progress, std::vector<Difference>& faults);

/// The differences of the file or folder at `path` from the manifest, by path. Does not read files of a wrong
/// size.
std::vector<Difference> compare(const Parts& manifest, const std::string& path, Progress& progress);

/// "missing", "truncated" and so on.
const char* nameOf(Difference::Kind kind);

bool isSize(const std::string& text);
bool isDigest(const std::string& text);

} // namespace Manifest
