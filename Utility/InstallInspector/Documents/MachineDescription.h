#pragma once

#include "Utility/InstallInspector/Report/Output.h"

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <vector>

/// A machine in one file, as far as a plan asks for it: what exists, what preferences say, what is installed.
/// The form is JSON, see Docs/machine-format.md and Schemas/machine.schema.json.
struct MachineDescription {
    struct Entry {
        mode_t type = 0;  ///< S_IFREG, S_IFDIR or S_IFLNK; S_IFSOCK stands for all others
        std::string text; ///< the content of a file, or what a link says
    };
    struct Product {
        std::string definition; ///< path on this machine
        std::string targets;
    };
    /// By the stem of the key, see RegistryHelper::Normalize, then by the name of the value.
    using Preferences = std::map<std::string, std::map<std::string, std::string>>;

    std::string path;                         ///< of the description itself; empty when there is none
    std::optional<std::string> home;          ///< the environment variable HOME
    std::string accountHome;                  ///< what the shell takes ~USER for, as a rule the same
    std::map<std::string, Preferences> users; ///< by home folder
    bool bDitto = true;                       ///< whether that program is there
    std::map<std::string, Entry> entries;     ///< by absolute path; the folders above one are there, too
    std::vector<Product> products;            ///< to be installed in this order

    /// Throws BadDescription, with the path of the file and the place in it.
    static MachineDescription read(const std::string& file);
    void write(Output& output) const;
};

/// A description that cannot be used. The text is one line.
class BadDescription : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
