#include "Utility/InstallInspector/Documents/Manifest.h"

#include "Platform/Digest.h"
#include "Platform/WholeFile.h"

#include <climits>
#include <tinyxml.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace Manifest {

namespace {

using Kind = Difference::Kind;

constexpr std::size_t blockSize = 262144; ///< bytes that are read at a time

std::string valueOf(const TiXmlElement& element, const char* attribute) {
    const char* value = element.Attribute(attribute);
    return value == nullptr ? "" : value;
}

std::string whole(const std::string& folder, const std::string& inside) {
    return inside.empty() ? folder : folder + "/" + inside;
}

bool isSame(const struct stat& a, const struct stat& b) {
#ifdef __APPLE__
    const timespec& changedA = a.st_mtimespec;
    const timespec& changedB = b.st_mtimespec;
#else
    const timespec& changedA = a.st_mtim;
    const timespec& changedB = b.st_mtim;
#endif
    return a.st_size == b.st_size && changedA.tv_sec == changedB.tv_sec &&
           changedA.tv_nsec == changedB.tv_nsec;
}

/// Reads files one after the other into the same block.
class DigestReader {
public:
    explicit DigestReader(Progress& toUpdate)
        : block(std::make_unique<char[]>(blockSize)), progress(toUpdate) {}

    /// Fills size and digest of the file. On failure, returns the reason, otherwise an empty text.
    std::string read(const std::string& path, Part& part) {
        const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        if (file < 0) {
            return cannotBeRead();
        }
        std::string fault = readOpen(file, part);
        close(file);
        return fault;
    }

private:
    std::unique_ptr<char[]> block;
    Sha256 digest;
    Progress& progress;

    static std::string cannotBeRead() { return std::string("cannot be read: ") + std::strerror(errno); }

    std::string readOpen(int file, Part& part) {
        struct stat before = {};
        if (fstat(file, &before) != 0) {
            return cannotBeRead();
        }
        if (!S_ISREG(before.st_mode)) {
            return "is neither a file, a folder nor a link";
        }
        std::uint64_t size = 0;
        while (true) {
            const ssize_t count = ::read(file, block.get(), blockSize);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                digest.finish();
                return cannotBeRead();
            }
            if (count == 0) {
                break;
            }
            digest.add(block.get(), static_cast<std::size_t>(count));
            size += static_cast<std::uint64_t>(count);
            progress.add(0, static_cast<std::uint64_t>(count));
        }
        progress.add(1);
        part.size = size;
        part.digest = digest.finish();
        struct stat after = {};
        if (fstat(file, &after) != 0 || !isSame(before, after) ||
            size != static_cast<std::uint64_t>(after.st_size)) {
            return "has changed while it was read";
        }
        return part.digest.empty() ? "cannot be read: no digest" : "";
    }
};

struct Found {
    std::string path;
    mode_t type;
};

mode_t typeOf(const dirent& entry, const std::string& folder) {
    struct stat status = {};
    if (entry.d_type == DT_UNKNOWN && lstat((folder + "/" + entry.d_name).c_str(), &status) == 0) {
        return status.st_mode & S_IFMT;
    }
    return static_cast<mode_t>(DTTOIF(entry.d_type));
}

/// What is in the folder and below: everything but folders.
void list(const std::string& folder, const std::string& inside, std::vector<Found>& found,
          std::vector<Difference>& faults) {
    const std::string path = whole(folder, inside);
    std::vector<Found> here;
    {
        const std::unique_ptr<DIR, int (*)(DIR*)> names(opendir(path.c_str()), &closedir);
        if (names == nullptr) {
            faults.push_back(
                {Kind::Unreadable, inside, std::string("cannot be read: ") + std::strerror(errno)});
            return;
        }
        while (const dirent* entry = readdir(names.get())) {
            if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
                here.push_back(
                    {inside.empty() ? entry->d_name : inside + "/" + entry->d_name, typeOf(*entry, path)});
            }
        }
    }
    for (Found& one : here) {
        if (one.type == S_IFDIR) {
            list(folder, one.path, found, faults);
        } else {
            found.push_back(std::move(one));
        }
    }
}

std::vector<Found> listed(const std::string& path, std::vector<Difference>& faults) {
    std::vector<Found> found;
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        faults.push_back({Kind::Unreadable, "", std::string("cannot be read: ") + std::strerror(errno)});
    } else if (S_ISDIR(status.st_mode)) {
        list(path, "", found, faults);
        std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) { return a.path < b.path; });
    } else {
        found.push_back({"", static_cast<mode_t>(status.st_mode & S_IFMT)});
    }
    return found;
}

std::string linkAt(const std::string& path) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    target.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return target;
}

/// Fills `part` from the file or link. On failure, returns the reason, otherwise an empty text.
std::string readPart(const std::string& path, const Found& found, DigestReader& reader, Part& part) {
    part.path = found.path;
    const std::string file = whole(path, found.path);
    if (found.type == S_IFLNK) {
        part.link = linkAt(file);
        return part.link.empty() ? std::string("cannot be read: ") + std::strerror(errno) : "";
    }
    return reader.read(file, part);
}

std::string bytes(std::uint64_t size) {
    return std::to_string(size) + (size == 1 ? " byte" : " bytes");
}

/// Whether the file has another size than in the manifest. If so, sets `difference`. Does not read the file.
bool differsInSize(const Part& expected, const std::string& file, Difference& difference) {
    struct stat status = {};
    if (!expected.link.empty() || stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size < expected.size) {
        difference = {Kind::Truncated, expected.path,
                      "is truncated: " + std::to_string(size) + " of " + bytes(expected.size)};
    } else if (size > expected.size) {
        difference = {Kind::Changed, expected.path,
                      "has " + bytes(size) + " in place of " + std::to_string(expected.size)};
    }
    return size != expected.size;
}

void compareOne(const Part& expected, const std::string& path, const Found& found, DigestReader& reader,
                std::vector<Difference>& differences) {
    Difference difference = {};
    if (found.type != S_IFLNK && differsInSize(expected, whole(path, found.path), difference)) {
        differences.push_back(difference);
        return;
    }
    Part is;
    const std::string fault = readPart(path, found, reader, is);
    if (!fault.empty()) {
        differences.push_back({Kind::Unreadable, expected.path, fault});
    } else if (is.link != expected.link) {
        differences.push_back({Kind::Changed, expected.path,
                               expected.link.empty() ? "is a link in place of a file"
                               : is.link.empty()     ? "is a file in place of a link"
                                                     : "is a link to another place"});
    } else if (is.digest != expected.digest) {
        differences.push_back({Kind::Changed, expected.path, "has other content of the same size"});
    }
}

bool isBelowAny(const std::vector<Difference>& folders, const std::string& path) {
    return std::any_of(folders.begin(), folders.end(), [&](const Difference& folder) {
        return folder.path.empty() || path.compare(0, folder.path.size() + 1, folder.path + "/") == 0;
    });
}

} // namespace

bool isSize(const std::string& text) {
    return !text.empty() && text.size() <= 19 && text.find_first_not_of("0123456789") == std::string::npos;
}

bool isDigest(const std::string& text) {
    return text.size() == 64 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

bool isIn(const TiXmlElement& entry) {
    return entry.Attribute("size") != nullptr || entry.Attribute("sha256") != nullptr ||
           entry.FirstChildElement("part") != nullptr;
}

Parts of(const TiXmlElement& entry) {
    Parts parts;
    const auto add = [&parts](const TiXmlElement& element, const std::string& path) {
        const std::string size = valueOf(element, "size");
        const std::string digest = valueOf(element, "sha256");
        const std::string link = path.empty() ? "" : valueOf(element, "link");
        if (!link.empty()) {
            parts.push_back({path, 0, "", link});
        } else if (isSize(size) && isDigest(digest)) {
            parts.push_back({path, std::stoull(size), digest, ""});
        }
    };
    add(entry, "");
    for (const TiXmlElement* part = entry.FirstChildElement("part"); part != nullptr;
         part = part->NextSiblingElement("part")) {
        const std::string path = valueOf(*part, "path");
        if (!path.empty()) {
            add(*part, path);
        }
    }
    const auto byPath = [](const Part& a, const Part& b) { return a.path < b.path; };
    if (!std::is_sorted(parts.begin(), parts.end(), byPath)) {
        std::stable_sort(parts.begin(), parts.end(), byPath);
    }
    parts.erase(std::unique(parts.begin(), parts.end(),
                            [](const Part& a, const Part& b) { return a.path == b.path; }),
                parts.end());
    return parts;
}

Parts read(const std::string& path, Progress& progress, std::vector<Difference>& faults) {
    DigestReader reader(progress);
    Parts parts;
    for (const Found& found : listed(path, faults)) {
        Part part;
        const std::string fault = readPart(path, found, reader, part);
        if (fault.empty()) {
            parts.push_back(std::move(part));
        } else {
            faults.push_back({Kind::Unreadable, found.path, fault});
        }
    }
    return parts;
}

std::vector<Difference> compare(const Parts& manifest, const std::string& path, Progress& progress) {
    std::vector<Difference> differences;
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR)) {
        return {{Kind::Missing, "", "is missing"}};
    }
    const std::vector<Found> found = listed(path, differences);
    const bool bFile = found.size() == 1 && found.front().path.empty();
    if (bFile != (manifest.size() == 1 && manifest.front().path.empty())) {
        return {
            {Kind::Changed, "", bFile ? "is a file in place of a folder" : "is a folder in place of a file"}};
    }
    // The content of a folder that cannot be read is not known.
    const std::vector<Difference> unreadable = differences;
    DigestReader reader(progress);
    auto expected = manifest.begin();
    auto is = found.begin();
    while (expected != manifest.end() || is != found.end()) {
        if (is == found.end() || (expected != manifest.end() && expected->path < is->path)) {
            if (!isBelowAny(unreadable, expected->path)) {
                differences.push_back({Kind::Missing, expected->path, "is missing"});
            }
            ++expected;
        } else if (expected == manifest.end() || is->path < expected->path) {
            differences.push_back({Kind::Foreign, is->path, "is not in the manifest"});
            ++is;
        } else {
            compareOne(*expected++, path, *is++, reader, differences);
        }
    }
    std::stable_sort(differences.begin(), differences.end(),
                     [](const Difference& a, const Difference& b) { return a.path < b.path; });
    return differences;
}

const char* nameOf(Difference::Kind kind) {
    switch (kind) {
    case Kind::Missing:
        return "missing";
    case Kind::Truncated:
        return "truncated";
    case Kind::Changed:
        return "changed";
    case Kind::Foreign:
        return "foreign";
    case Kind::Unreadable:
        break;
    }
    return "unreadable";
}

} // namespace Manifest
