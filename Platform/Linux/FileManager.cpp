#include "Platform/PlatformServices.h"
#include "Platform/Utf8.h"

#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

std::optional<std::string_view> utf8Text(const std::string& text) {
    const std::string_view view(text.c_str()); // up to the first zero byte
    return isUtf8(view) ? std::optional(view) : std::nullopt;
}

/// No value for an empty path and for a text that is not UTF-8.
std::optional<fs::path> pathOf(const std::string& text) {
    auto path = utf8Text(text);
    while (path && path->size() > 1 && path->back() == '/') {
        path->remove_suffix(1);
    }
    return path && !path->empty() ? std::optional<fs::path>(*path) : std::nullopt;
}

bool isThere(const fs::path& path) {
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

/// Gives `copy` the times of `original`. Does not follow a link at `copy`.
bool copyTimes(const fs::path& original, const fs::path& copy) {
    struct stat status {};
    if (lstat(original.c_str(), &status) != 0) {
        return false;
    }
    const timespec times[] = {status.st_atim, status.st_mtim};
    return utimensat(AT_FDCWD, copy.c_str(), times, AT_SYMLINK_NOFOLLOW) == 0;
}

bool copyAnything(const fs::path& source, const fs::path& destination);

bool copyFolder(const fs::path& source, const fs::path& destination) {
    std::error_code error;
    if (!fs::create_directory(destination, error)) {
        return false;
    }
    for (fs::directory_iterator entry(source, error), end; !error && entry != end; entry.increment(error)) {
        if (!copyAnything(entry->path(), destination / entry->path().filename())) {
            return false;
        }
    }
    if (error) {
        return false;
    }
    // Last, because the mode of a folder may forbid writing into it.
    fs::permissions(destination, fs::status(source, error).permissions(), error);
    return !error;
}

/// A write clears the set-user and set-group bits, unless the superuser writes.
bool copyMode(const fs::path& source, const fs::path& destination) {
    std::error_code error;
    fs::permissions(destination, fs::status(source, error).permissions(), error);
    return !error;
}

bool copyAnything(const fs::path& source, const fs::path& destination) {
    std::error_code error;
    bool bCopied = false;
    switch (fs::symlink_status(source, error).type()) {
    case fs::file_type::regular:
        bCopied = fs::copy_file(source, destination, error) && copyMode(source, destination);
        break;
    case fs::file_type::directory:
        bCopied = copyFolder(source, destination);
        break;
    case fs::file_type::symlink:
        fs::copy_symlink(source, destination, error);
        bCopied = !error;
        break;
    default:
        break;
    }
    return bCopied && copyTimes(source, destination);
}

bool isInside(const fs::path& path, const fs::path& folder) {
    std::error_code error;
    const fs::path inner = fs::weakly_canonical(path, error);
    const fs::path outer = fs::canonical(folder, error);
    const fs::path relative = inner.lexically_relative(outer);
    return !error && !relative.empty() && *relative.begin() != "..";
}

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(fs::symlink_status(path, error));
}

/// With links resolved. Empty if unknown.
fs::path programPath() {
    std::error_code error;
    fs::path path = fs::read_symlink("/proc/self/exe", error);
    if (error) {
        // A root folder without /proc, as in some containers. The program was started with this path.
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel hands pointers over as numbers
        const auto* startedWith = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
        path = startedWith != nullptr ? fs::canonical(startedWith, error) : fs::path();
    }
    return path;
}

} // namespace

std::string PlatformServices::MainBundlePath() {
    const fs::path folder = programPath().parent_path();
    const fs::path bundle = folder.parent_path().parent_path();
    const bool bInBundle = folder.filename() == "MacOS" && folder.parent_path().filename() == "Contents" &&
                           bundle.extension() == ".app";
    return bInBundle ? bundle : folder;
}

std::string PlatformServices::AppendPathComponent(const std::string& folder, const std::string& component) {
    const auto base = utf8Text(folder);
    const auto name = utf8Text(component);
    if (!base || !name) {
        return {};
    }
    std::string path;
    const std::string joined = std::string(*base).append(base->empty() ? "" : "/").append(*name);
    for (const char c : joined) {
        if (c != '/' || path.empty() || path.back() != '/') {
            path += c;
        }
    }
    if (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

bool PlatformServices::RemoveItem(const std::string& path) {
    const auto item = pathOf(path);
    if (!item || *item == "/" || !isThere(*item)) {
        return false;
    }
    std::error_code error;
    fs::remove_all(*item, error);
    return !error;
}

bool PlatformServices::CreateFolder(const std::string& path) {
    const auto folder = pathOf(path);
    if (!folder) {
        return false;
    }
    std::error_code error;
    fs::create_directories(*folder, error);
    return fs::is_directory(*folder, error);
}

bool PlatformServices::CopyItem(const std::string& source, const std::string& destination) {
    const auto from = pathOf(source);
    const auto to = pathOf(destination);
    if (!from || !to || (isFolder(*from) && isInside(*to, *from))) {
        return false;
    }
    // Each kind of item is made with a call that fails if anything exists there.
    return copyAnything(*from, *to);
}

bool PlatformServices::CreateSymbolicLink(const std::string& link, const std::string& target) {
    const auto path = pathOf(link);
    const auto text = utf8Text(target);
    if (!path || !text) {
        return false;
    }
    std::error_code error;
    fs::create_symlink(*text, *path, error);
    return !error;
}
