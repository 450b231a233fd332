#include "Foundation/PathLibrary.h"

#include <string>
#include <string_view>

namespace {

constexpr std::string_view stepUp = "/../";

/// The position of the last slash. Past the end if there is none.
unsigned long lastSlash(const VLString& path) {
    return path.IndexLastOf("/");
}

bool endsWithSlash(const VLString& path) {
    return path.IsSet() && path[path.Size() - 1] == '/';
}

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

} // namespace

VLString PathLibrary::GetExtension(const VLString& path) {
    const unsigned long dot = path.IndexLastOf(".");
    return path.HasOf(dot) ? path.Substr(dot + 1, VLString::maxLen) : VLString();
}

VLString PathLibrary::RemoveExtension(const VLString& path) {
    return path.Substr(0, path.IndexOf(".", 0));
}

VLString PathLibrary::GetDirectoryPathWithoutLastSlash(const VLString& path) {
    return endsWithSlash(path) ? path.Substr(0, path.Size() - 1) : path;
}

VLString PathLibrary::GetDirectoryWithoutFile(const VLString& path) {
    const unsigned long slash = lastSlash(path);
    return path.HasOf(slash) ? path.Substr(0, slash + 1) : VLString();
}

VLString PathLibrary::GetParentDir(const VLString& path) {
    return GetDirectoryPathWithoutLastSlash(GetDirectoryWithoutFile(GetDirectoryPathWithoutLastSlash(path)));
}

VLString PathLibrary::GetFileNameFromPath(const VLString& path) {
    const unsigned long slash = lastSlash(path);
    return path.HasOf(slash) && !endsWithSlash(path) ? path.Substr(slash + 1, VLString::maxLen) : path;
}

VLString PathLibrary::GetDirectoryWithFile(const VLString& directory, const VLString& file) {
    return endsWithSlash(directory) ? directory + file : directory + "/" + file;
}

// One walk over the path. The text so far contains no "/../", so one that is complete at its end is the
// leftmost of the whole text. After a removal, the slash at the new end can begin the next one.
VLString PathLibrary::CollapsePath(const VLString& path) {
    const std::string_view text(path.ConstData(), path.Size());
    std::string kept;
    for (std::size_t i = 0; i < text.size(); ++i) {
        kept += text[i];
        if (!endsWith(kept, stepUp)) {
            continue;
        }
        const std::size_t found = kept.size() - stepUp.size();
        const std::size_t slash = found == 0 ? std::string::npos : kept.rfind('/', found - 1);
        if (slash == std::string::npos) {
            kept += text.substr(i + 1);
            break;
        }
        kept.resize(slash + 1);
    }
    return VLString(kept.data(), kept.size());
}
