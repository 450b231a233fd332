#include "Foundation/FileLibrary.h"

#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <utility>

namespace {

/// The command that `beginning`, which ends with an opening quote, and `path` make.
VLString command(const char* beginning, const VLString& path) {
    return VLString(beginning) + path + "\"";
}

VLString command(const char* beginning, const VLString& first, const VLString& second) {
    return VLString(beginning) + first + "\" \"" + second + "\"";
}

bool run(const VLString& command) {
    return Machine::current().runCommand(command);
}

/// Whether CopyFolder has to take the destination away before it copies. The value is that of a symbolic
/// link, but as a mask it also meets regular files, of which RemoveFolder takes no notice. Intended.
bool isInTheWay(const VLString& destination) {
    constexpr mode_t linkTypeMask = 0xA000;
    return (Machine::current().linkTypeOf(destination) & linkTypeMask) != 0;
}

/// The merging copy of one directory into another. ditto makes the destination and its parents, copies links
/// as links, never writes through a link that it finds in the destination, and keeps permissions, times, hard
/// links and extended attributes. cp does as much with these options, and like ditto fails where a directory
/// would have to replace a file or a link, or one of these a directory. It goes further in one thing:
/// directories that are already in the destination take on permissions and times of those in the source.
VLString copyFolderCommand(const VLString& source, const VLString& destination) {
    if (Machine::current().hasProgram("ditto")) {
        return command("ditto \"", source, destination);
    }
    return command("mkdir -p \"", destination) +
           command(" && cp -a --remove-destination \"", source + "/.", destination);
}

struct CloseFile {
    void operator()(FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using File = std::unique_ptr<FILE, CloseFile>;

} // namespace

// VLMemoryBuffer

VLMemoryBuffer::VLMemoryBuffer(const VLMemoryBuffer& other) {
    init(other.data, other.size);
}

VLMemoryBuffer::~VLMemoryBuffer() {
    delete[] data;
}

VLMemoryBuffer& VLMemoryBuffer::operator=(const VLMemoryBuffer& other) {
    if (this != &other) {
        init(other.data, other.size);
    }
    return *this;
}

void VLMemoryBuffer::init(unsigned long newSize) {
    delete[] std::exchange(data, nullptr);
    data = newSize == 0 ? nullptr : new (std::nothrow) char[newSize];
    size = data == nullptr ? 0 : newSize;
}

void VLMemoryBuffer::init(const char* bytes, unsigned long newSize) {
    VLMemoryBuffer copy;
    copy.init(bytes == nullptr ? 0 : newSize);
    if (copy.data != nullptr) {
        std::memcpy(copy.data, bytes, newSize);
    }
    // The old block goes last, with `copy`: `bytes` may be part of it.
    std::swap(data, copy.data);
    std::swap(size, copy.size);
}

// Commands

bool exec(VLString& command, VLString& output) {
    return Machine::current().captureCommand(command, output);
}

bool FileLibrary::IsFileExists(const VLString& path, bool wantDirectory) {
    const mode_t wanted = wantDirectory ? S_IFDIR : S_IFREG;
    return path.IsSet() && Machine::current().typeOf(path) == wanted;
}

bool FileLibrary::IsDirectoryExists(const VLString& path) {
    return IsFileExists(path, true);
}

bool FileLibrary::RemoveFile(const VLString& path) {
    return path.IsSet() && run(command("rm -f \"", path));
}

bool FileLibrary::CreateDirectory(const VLString& path, bool withParents) {
    return run(command(withParents ? "mkdir -p \"" : "mkdir \"", path));
}

bool FileLibrary::CopyFile(const VLString& source, const VLString& destination) {
    return IsFileExists(source, false) && run(command("cp -f \"", source, destination));
}

bool FileLibrary::CreateShortCut(const VLString& target, const VLString& link) {
    return link.IsSet() && (IsFileExists(target, false) || IsDirectoryExists(target)) &&
           run(command("ln -sf \"", target, link));
}

bool FileLibrary::RemoveFolder(const VLString& path) {
    static constexpr std::array neverRemoved{"", "/", ".", "/*", "*"};
    if (!IsDirectoryExists(path)) {
        return true;
    }
    const VLString collapsed = PathLibrary::CollapsePath(path);
    const bool bRefused = std::any_of(neverRemoved.begin(), neverRemoved.end(),
                                      [&](const char* name) { return collapsed.EqualsIgnoreCase(name); });
    return !bRefused && run(command("rm -rf \"", collapsed));
}

bool FileLibrary::RemoveEmptyDirectory(const VLString& path) {
    return !IsDirectoryExists(path) || run(command("rmdir \"", path));
}

bool FileLibrary::CopyFolder(const VLString& source, const VLString& destination, bool /*flag*/) {
    if (!IsDirectoryExists(source)) {
        return false;
    }
    if (isInTheWay(destination)) {
        RemoveFolder(destination);
    }
    if (!run(copyFolderCommand(source, destination))) {
        return false;
    }
    run(command("touch \"", destination));
    return true;
}

// Whole files

bool FileLibrary::writeFile(const VLString& content, const VLString& path, bool append) {
    File file(path.IsSet() ? std::fopen(path.ConstData(), append ? "ab" : "wb") : nullptr);
    if (file == nullptr) {
        return false;
    }
    const bool bAllTaken = std::fwrite(content.ConstData(), 1, content.Size(), file.get()) == content.Size();
    // A full disk often shows only when the buffered bytes go out.
    const bool bAllOut = std::fclose(file.release()) == 0;
    return bAllTaken && bAllOut;
}

VLString FileLibrary::readFile(const VLString& path) {
    const FileContent content = Machine::current().readFile(path);
    return VLString(content.bytes.get(), content.size);
}
