#pragma once

#include <string>
#include <vector>

/// The arguments of the subcommand "status".
struct StatusOptions {
    std::string folder;               ///< with the record; empty for the one in `targets`, or the usual one
    std::vector<std::string> targets; ///< one for all definitions, or one for each; none without definitions
    std::vector<std::string> definitions;
    std::vector<std::string> wanted; ///< each "ID" or "ID=BUILD"; the exit status is then about these
    bool bVerify = false;            ///< also compare the content of files with manifests
    bool bJson = false;
    std::string html;    ///< the file for a page; empty for none
    bool bForce = false; ///< replace that file
};

/// Returns the exit status.
int runStatus(const StatusOptions& options);
