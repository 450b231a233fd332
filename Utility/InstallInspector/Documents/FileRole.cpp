#include "Utility/InstallInspector/Documents/FileRole.h"

#include "Foundation/FileLibrary.h"
#include "Utility/InstallInspector/Documents/Vocabulary.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/NearestName.h"

#include <utility>

namespace {

/// The name of the first element; empty when there is none.
std::string firstElement(const std::string& text) {
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
        if (text.compare(at, 4, "<!--") == 0) {
            at = text.find("-->", at);
            if (at == std::string::npos) {
                break;
            }
        } else if (at + 1 < text.size() && text[at + 1] != '?' && text[at + 1] != '!') {
            return text.substr(at + 1, text.find_first_of(" \t\r\n/>", at) - at - 1);
        }
    }
    return "";
}

FileRole roleOfRoot(const std::string& name) {
    return name == nameOf(Kind::Product)   ? FileRole::Definition
           : name == nameOf(Kind::Root)    ? FileRole::Targets
           : name == nameOf(Kind::Install) ? FileRole::Record
                                           : FileRole::Unknown;
}

} // namespace

FileRole roleOfFile(const std::string& path) {
    const VLString file = toVLString(path);
    if (!FileLibrary::IsFileExists(file, false)) {
        return FileRole::Unknown;
    }
    const std::string text = toString(FileLibrary::readFile(file));
    const std::string root = firstElement(text);
    if (const FileRole role = roleOfRoot(root); role != FileRole::Unknown) {
        return role;
    }
    for (const auto& [inside, role] :
         {std::pair("<installFiles", FileRole::Definition), std::pair("<sku", FileRole::Definition),
          std::pair("<item", FileRole::Targets)}) {
        if (text.find(inside) != std::string::npos) {
            return role;
        }
    }
    const auto nearest = nearestName(root, {nameOf(Kind::Product), nameOf(Kind::Root)});
    return nearest.has_value() ? roleOfRoot(*nearest) : FileRole::Unknown;
}
