#pragma once

#include "Utility/InstallInspector/Author/EntryWriter.h"

#include <map>
#include <set>
#include <string>
#include <vector>

/// Who a product is: the attributes of `sku`.
struct Identity {
    std::string ID;
    std::string name;
    std::string build;
    std::string prefix; ///< empty for none
};

/// Why no correct definition can contain this identity. Empty if one can.
std::string faultOf(const Identity& identity);

/// The hosts for which a staged folder has files.
struct StagedHosts {
    struct Host {
        std::set<std::string> families;
        bool b32 = false; ///< has a folder for its 32-bit variant
        bool b64 = false;
    };
    std::map<std::string, Host> hosts; ///< by name, a 32-bit variant under that of its host
    std::set<std::string> families;
    std::vector<std::string> folders; ///< the names of the folders, variants included

    static StagedHosts of(const StagedNode& root);
};

// The lines of a host, and of a family with the one plug-in that it needs. Each line begins with `before`.
std::string hostText(const std::string& name, const StagedHosts::Host& host,
                     const std::set<std::string>& allFamilies, const TextStyle& style,
                     const std::string& before);
std::string familyText(const std::string& name, const TextStyle& style, const std::string& before);

/// The text of a definition with all files in `folder`.
std::string newDefinition(const Identity& identity, const StagedFolder& folder, const LeftOut& leftOut,
                          EntryWriter& writer, const TextStyle& style);
