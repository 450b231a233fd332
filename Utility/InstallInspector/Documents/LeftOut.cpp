#include "Utility/InstallInspector/Documents/LeftOut.h"

#include "Utility/InstallInspector/Documents/LocatedDocument.h"

#include <algorithm>
#include <fnmatch.h>
#include <iterator>

LeftOut::LeftOut(const LocatedDocument& definition) {
    definition.forEach({Kind::Exclude}, [this](const LocatedDocument::Entry& entry) {
        if (const TiXmlAttribute* name = findAttribute(*entry.element, "name")) {
            add(name->ValueStr());
        }
    });
}

bool LeftOut::isJunk(const std::string& name) {
    static const char* const names[] = {
        ".DS_Store", "__MACOSX", ".git",     ".gitattributes",  ".gitignore", ".gitkeep",  ".keep",
        ".hg",       ".svn",     ".Trashes", ".Spotlight-V100", ".fseventsd", "Thumbs.db", "desktop.ini"};
    // Nearly all names end the question with their first character.
    switch (name.empty() ? '\0' : name.front()) {
    case '.':
        if (name.compare(0, 2, "._") == 0) {
            return true;
        }
        break;
    case '_':
    case 'T':
    case 'd':
        break;
    default:
        return false;
    }
    return std::any_of(std::begin(names), std::end(names), [&](const char* junk) { return name == junk; });
}

bool LeftOut::isExcluded(const std::string& name, const std::string& path) const {
    return std::any_of(patternList.begin(), patternList.end(), [&](const std::string& pattern) {
        const bool bPath = pattern.find('/') != std::string::npos;
        return fnmatch(pattern.c_str(), bPath ? path.c_str() : name.c_str(), bPath ? FNM_PATHNAME : 0) == 0;
    });
}
