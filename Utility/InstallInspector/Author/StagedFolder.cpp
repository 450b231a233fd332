#include "Utility/InstallInspector/Author/StagedFolder.h"

#include "Platform/Utf8.h"
#include "Utility/InstallInspector/Author/Characters.h"
#include "Utility/InstallInspector/Documents/Bundle.h"
#include "Utility/InstallInspector/Documents/LookAlike.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/XMLTextCheck.h"

#include <climits>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

namespace {

using NodeKind = StagedNode::Kind;
using Omission = StagedNode::Omission;
using Parts = std::vector<std::string>;

/// Two levels of a document are `product` and `installFiles`.
constexpr std::size_t deepest = XMLTextCheck::maxDepth - 2;

/// The names in a path, without the empty ones and ".".
Parts partsOf(const std::string& path) {
    Parts parts;
    std::size_t begin = 0;
    while (begin <= path.size()) {
        const std::size_t end = std::min(path.find('/', begin), path.size());
        const std::string part = path.substr(begin, end - begin);
        if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        begin = end + 1;
    }
    return parts;
}

bool beginsWith(const Parts& parts, const Parts& beginning) {
    return parts.size() >= beginning.size() && std::equal(beginning.begin(), beginning.end(), parts.begin());
}

/// Finds the path to which the link at `path` leads, without links. Returns 0, or the errno value of a
/// failure.
int resolve(const std::string& path, std::string& end) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
    if (real == nullptr) {
        return errno;
    }
    end = real.get();
    return 0;
}

/// Whether the path `target`, written in the folder `from`, leaves the folder `limit` on its way, by the text
/// alone. A path that comes back has left it, too, because after the install other things are around the
/// folder.
bool leaves(const Parts& limit, Parts from, const std::string& target) {
    for (const std::string& part : partsOf(target)) {
        if (part != "..") {
            from.push_back(part);
        } else if (from.size() == limit.size()) {
            return true;
        } else {
            from.pop_back();
        }
    }
    return false;
}

class Reader {
public:
    Reader(const std::string& folder, const LeftOut& what, Remarks& toAddTo, Progress& toUpdate)
        : path(folder), rootSize(folder.size() + 1), leftOut(what), remarks(toAddTo), progress(toUpdate) {
        resolve(folder, realRoot);
    }

    void read(StagedNode& node, std::size_t depth) {
        readNames(node);
        findTwins(node);
        for (StagedNode& child : node.children) {
            if (child.isLeftOut()) {
                continue;
            }
            const std::size_t size = path.size();
            path += '/';
            path += child.name;
            look(child, depth + 1);
            path.resize(size);
        }
        const auto isContents = [](const StagedNode& child) {
            return child.name == "Contents" && child.isFolder();
        };
        node.bBundle =
            hasBundleName(node.name) || std::any_of(node.children.begin(), node.children.end(), isContents);
        const bool bHollow = !node.bBundle && !node.children.empty() &&
                             std::all_of(node.children.begin(), node.children.end(),
                                         [](const StagedNode& child) { return child.isLeftOut(); });
        node.omission = bHollow ? Omission::Hollow : node.omission;
    }

private:
    std::string path; ///< of what is looked at
    std::size_t rootSize;
    const LeftOut& leftOut;
    Remarks& remarks;
    Progress& progress;
    std::string realRoot;

    std::string pathInside() const { return path.size() < rootSize ? "." : path.substr(rootSize); }

    void fault(const std::string& text) { remarks.fault(pathInside(), text); }

    NodeKind kindOf(const dirent& entry, const std::string& name) {
        switch (entry.d_type) {
        case DT_DIR:
            return NodeKind::Folder;
        case DT_REG:
            return NodeKind::File;
        case DT_UNKNOWN:
        case DT_LNK:
        default:
            break;
        }
        return kindOfOther(path + "/" + name);
    }

    /// A link is a loose link until its target is examined.
    static NodeKind kindOfOther(const std::string& file) {
        struct stat status = {};
        if (lstat(file.c_str(), &status) != 0) {
            return NodeKind::LooseLink;
        }
        return S_ISDIR(status.st_mode)   ? NodeKind::Folder
               : S_ISREG(status.st_mode) ? NodeKind::File
                                         : NodeKind::LooseLink;
    }

    static bool isEmpty(int folder, const char* name) {
        struct stat status = {};
        return fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && status.st_size == 0;
    }

    void readNames(StagedNode& node) {
        const int descriptor = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const std::unique_ptr<DIR, int (*)(DIR*)> names(descriptor < 0 ? nullptr : fdopendir(descriptor),
                                                        &closedir);
        if (names == nullptr) {
            fault(std::string("cannot be read: ") + std::strerror(errno));
            return;
        }
        errno = 0;
        while (const dirent* entry = readdir(names.get())) {
            StagedNode child;
            child.name = entry->d_name;
            if (child.name != "." && child.name != "..") {
                child.kind = kindOf(*entry, child.name);
                child.omission = omissionOf(child.name);
                child.bEmpty = child.kind == NodeKind::File && isEmpty(descriptor, entry->d_name);
                node.children.push_back(std::move(child));
            }
            errno = 0;
        }
        if (errno != 0) {
            fault(std::string("cannot be read: ") + std::strerror(errno));
        }
        std::sort(node.children.begin(), node.children.end(),
                  [](const StagedNode& a, const StagedNode& b) { return a.name < b.name; });
        progress.add(node.children.size());
    }

    Omission omissionOf(const std::string& name) const {
        if (LeftOut::isJunk(name)) {
            return Omission::Junk;
        }
        if (leftOut.patterns().empty()) {
            return Omission::None;
        }
        const std::string inside = path.size() < rootSize ? name : path.substr(rootSize) + "/" + name;
        return leftOut.isExcluded(name, inside) ? Omission::Excluded : Omission::None;
    }

    void findTwins(const StagedNode& node) {
        std::unordered_map<std::string, const std::string*> seen;
        seen.reserve(node.children.size());
        for (const StagedNode& child : node.children) {
            if (child.isLeftOut()) {
                continue;
            }
            const auto [twin, bNew] = seen.emplace(diskFormOf(child.name), &child.name);
            if (!bNew) {
                const std::string inside = path.size() < rootSize ? "" : path.substr(rootSize) + "/";
                remarks.fault(inside + child.name, "differs only in case or Unicode form from " +
                                                       quotedText(toVLString(*twin->second)) +
                                                       ": to most disks they are one name");
            }
        }
    }

    void look(StagedNode& node, std::size_t depth) {
        if (!isUtf8(node.name)) {
            fault("the name is not UTF-8");
        } else if (hasControlCharacter(node.name)) {
            fault("the name holds a line break or another control character");
        }
        if (depth > deepest) {
            fault("lies more than " + std::to_string(deepest) + " folders deep, where no definition reaches");
        } else if (node.kind == NodeKind::Folder) {
            read(node, depth);
        } else if (node.kind == NodeKind::LooseLink) {
            lookCloser(node);
        }
    }

    void lookCloser(StagedNode& node) {
        node.kind = NodeKind::File; // so that it gets only one fault
        struct stat status = {};
        if (lstat(path.c_str(), &status) != 0) {
            fault(std::string("cannot be read: ") + std::strerror(errno));
        } else if (S_ISLNK(status.st_mode)) {
            followLink(node);
        } else {
            fault(S_ISSOCK(status.st_mode)   ? "is a socket"
                  : S_ISFIFO(status.st_mode) ? "is a named pipe"
                                             : "is a device");
        }
    }

    /// The folder that holds all that is installed in one place together with the link.
    static Parts limitOf(const Parts& link) {
        const std::size_t size = link.front() == Branch::hosts ? 3 : 1;
        return Parts(link.begin(),
                     link.begin() + static_cast<std::ptrdiff_t>(std::min(size, link.size() - 1)));
    }

    void followLink(StagedNode& node) {
        std::string target(PATH_MAX, '\0');
        const ssize_t length = readlink(path.c_str(), target.data(), target.size());
        if (length < 0) {
            fault(std::string("cannot be read: ") + std::strerror(errno));
            return;
        }
        target.resize(static_cast<std::size_t>(length));
        if (target.rfind('/', 0) == 0) {
            fault("is a link to a place on this machine, " + quotedText(toVLString(target)));
            return;
        }
        const Parts link = partsOf(pathInside());
        const Parts limit = limitOf(link);
        if (leaves(limit, Parts(link.begin(), link.end() - 1), target)) {
            faultOfLeaving(limit, target);
            return;
        }
        std::string end;
        const int error = resolve(path, end);
        if (error == ENOENT || error == ENOTDIR) {
            node.kind = NodeKind::LooseLink;
            return;
        }
        if (error != 0) {
            fault(error == ELOOP ? std::string("is a link that leads in a circle") : std::strerror(error));
            return;
        }
        judgeEnd(node, limit, target, end);
    }

    void faultOfLeaving(const Parts& limit, const std::string& target) {
        std::string whole;
        for (const std::string& part : limit) {
            whole += (whole.empty() ? "" : "/") + part;
        }
        fault("is a link that leaves " + (whole.empty() ? "the folder" : quotedText(toVLString(whole))) +
              ", to " + quotedText(toVLString(target)));
    }

    void judgeEnd(StagedNode& node, const Parts& limit, const std::string& target, const std::string& end) {
        Parts realLimit = partsOf(realRoot);
        realLimit.insert(realLimit.end(), limit.begin(), limit.end());
        const Parts realEnd = partsOf(end);
        struct stat status = {};
        if (!beginsWith(realEnd, realLimit)) {
            faultOfLeaving(limit, target);
        } else if (stat(end.c_str(), &status) != 0) {
            fault(std::string("cannot be read: ") + std::strerror(errno));
        } else if (S_ISDIR(status.st_mode)) {
            std::string own;
            resolve(path.substr(0, path.rfind('/')), own);
            if (beginsWith(partsOf(own), realEnd)) {
                fault("is a link to a folder that holds it");
            }
            node.kind = NodeKind::LinkToFolder;
        } else if (S_ISREG(status.st_mode)) {
            node.kind = NodeKind::File;
        } else {
            fault("is a link to what is neither a file nor a folder");
        }
    }
};

} // namespace

const StagedNode* StagedNode::child(const std::string& wanted) const {
    const auto found =
        std::lower_bound(children.begin(), children.end(), wanted,
                         [](const StagedNode& node, const std::string& text) { return node.name < text; });
    return found != children.end() && found->name == wanted ? &*found : nullptr;
}

bool StagedFolder::read(const std::string& path, const LeftOut& leftOut, Remarks& remarks, Progress& progress,
                        std::string& error) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        error = std::string("cannot be read: ") + std::strerror(errno);
        return false;
    }
    if (!S_ISDIR(status.st_mode)) {
        error = "is not a folder";
        return false;
    }
    folder = path;
    while (folder.size() > 1 && folder.back() == '/') {
        folder.pop_back();
    }
    top = StagedNode();
    top.kind = NodeKind::Folder;
    Reader(folder, leftOut, remarks, progress).read(top, 0);
    return true;
}
