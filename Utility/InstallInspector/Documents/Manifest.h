#pragma once

#include "Utility/InstallInspector/Report/Progress.h"

#include <cstdint>
#include <string>
#include <vector>

class TiXmlElement;

/// What exactly an entry of the tree is: the size and the digest of a file, and of each file in a folder that
/// is copied whole. A definition says it in attributes and elements that the engine passes over:
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
    std::string digest; ///< SHA-256, 64 small hexadecimal digits; empty for a link
    std::string link;   ///< what the link says; empty for a file

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
    std::string text; ///< what is the matter, to stand behind a path: "is truncated: 3 of 5 bytes"
};

/// What the entry says; nothing when it has no manifest. What is malformed in it is left out.
Parts of(const TiXmlElement& entry);
/// Whether it has any of it, malformed or not.
bool isIn(const TiXmlElement& entry);

/// Reads the file, or all files and links of the folder, at `path`. What cannot be read, or changes
/// meanwhile, is among `faults` instead, as Unreadable.
Parts read(const std::string& path, Progress& progress, std::vector<Difference>& faults);

/// How what lies at `path` differs from what a manifest says, by path. Files of another size are not read.
std::vector<Difference> compare(const Parts& manifest, const std::string& path, Progress& progress);

/// "missing", "truncated" and so on.
const char* nameOf(Difference::Kind kind);

bool isSize(const std::string& text);
bool isDigest(const std::string& text);

} // namespace Manifest
