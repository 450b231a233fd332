#pragma once

#include "Utility/InstallInspector/Report/Output.h"

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <vector>

/// A description of a machine for plans: files and folders, preferences, and installed products. Its file has
/// the JSON format of Docs/machine-format.md and Schemas/machine.schema.json.
struct MachineDescription {
    struct Entry {
        mode_t type = 0;  ///< S_IFREG, S_IFDIR or S_IFLNK; S_IFSOCK for any other type
        std::string text; ///< the content of a file, or the target of a link
    };
    struct Product {
        std::string definition; ///< path of the file on this machine
        std::string targets;    ///< path of the file on this machine
    };
    /// By the stem of the key, see RegistryHelper::Normalize, then by the name of the value.
    using Preferences = std::map<std::string, std::map<std::string, std::string>>;

    std::string path;                         ///< of the description's file; empty if there is none
    std::optional<std::string> home;          ///< the environment variable HOME
    std::string accountHome;                  ///< the shell's value for ~USER, usually the same
    std::map<std::string, Preferences> users; ///< by home folder
    bool bDitto = true;                       ///< whether the program ditto exists
    std::map<std::string, Entry> entries;     ///< by absolute path; the folders above an entry exist, too
    std::vector<Product> products;            ///< to be installed in this order

    /// Reads a description. On failure, throws BadDescription with the path of the file and the place in it.
    static MachineDescription read(const std::string& file);
    void write(Output& output) const;
};

/// A description that cannot be used. The text is one line.
class BadDescription : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
