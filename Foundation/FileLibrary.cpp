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

using Verb = Command::Verb;

bool run(Verb verb, const VLString& path, const VLString& source = VLString()) {
    return Machine::current().run({verb, path, source});
}

/// Whether CopyFolder has to remove the destination before it copies. The value means a symbolic link, but as
/// a mask it also matches regular files. RemoveFolder ignores those. Intended.
bool isInTheWay(const VLString& destination) {
    constexpr mode_t linkTypeMask = 0xA000;
    return (Machine::current().linkTypeOf(destination) & linkTypeMask) != 0;
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
    // `copy` now has the old block and frees it last, because `bytes` may be part of it.
    std::swap(data, copy.data);
    std::swap(size, copy.size);
}

// Commands

bool exec(VLString& command, VLString& output) {
    return Machine::current().capture(command, output);
}

bool FileLibrary::IsFileExists(const VLString& path, bool wantDirectory) {
    const mode_t wanted = wantDirectory ? S_IFDIR : S_IFREG;
    return path.IsSet() && Machine::current().typeOf(path) == wanted;
}

bool FileLibrary::IsDirectoryExists(const VLString& path) {
    return IsFileExists(path, true);
}

bool FileLibrary::RemoveFile(const VLString& path) {
    return path.IsSet() && run(Verb::RemoveFile, path);
}

bool FileLibrary::CreateDirectory(const VLString& path, bool withParents) {
    return run(withParents ? Verb::MakeFolderWithParents : Verb::MakeFolder, path);
}

bool FileLibrary::CopyFile(const VLString& source, const VLString& destination) {
    return IsFileExists(source, false) && run(Verb::CopyFile, destination, source);
}

bool FileLibrary::CreateShortCut(const VLString& target, const VLString& link) {
    return link.IsSet() && (IsFileExists(target, false) || IsDirectoryExists(target)) &&
           run(Verb::Link, link, target);
}

bool FileLibrary::RemoveFolder(const VLString& path) {
    static constexpr std::array neverRemoved{"", "/", ".", "/*", "*"};
    if (!IsDirectoryExists(path)) {
        return true;
    }
    const VLString collapsed = PathLibrary::CollapsePath(path);
    const bool bRefused = std::any_of(neverRemoved.begin(), neverRemoved.end(),
                                      [&](const char* name) { return collapsed.EqualsIgnoreCase(name); });
    return !bRefused && run(Verb::RemoveFolder, collapsed);
}

bool FileLibrary::RemoveEmptyDirectory(const VLString& path) {
    return !IsDirectoryExists(path) || run(Verb::RemoveEmptyFolder, path);
}

bool FileLibrary::CopyFolder(const VLString& source, const VLString& destination, bool /*flag*/) {
    if (!IsDirectoryExists(source)) {
        return false;
    }
    if (isInTheWay(destination)) {
        RemoveFolder(destination);
    }
    const Verb copyVerb =
        Machine::current().hasProgram("ditto") ? Verb::CopyFolderWithDitto : Verb::CopyFolder;
    if (!run(copyVerb, destination, source)) {
        return false;
    }
    run(Verb::Touch, destination);
    return true;
}

// Whole files

bool FileLibrary::writeFile(const VLString& content, const VLString& path, bool append) {
    File file(path.IsSet() ? std::fopen(path.ConstData(), append ? "ab" : "wb") : nullptr);
    if (file == nullptr) {
        return false;
    }
    const bool bAllTaken = std::fwrite(content.ConstData(), 1, content.Size(), file.get()) == content.Size();
    // On a full disk, often only fclose fails, when it writes the buffered bytes.
    const bool bAllOut = std::fclose(file.release()) == 0;
    return bAllTaken && bAllOut;
}

VLString FileLibrary::readFile(const VLString& path) {
    const FileContent content = Machine::current().readFile(path);
    return VLString(content.bytes.get(), content.size);
}
