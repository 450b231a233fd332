#pragma once

#include <string>
#include <vector>

/// What the subcommand "status" is told.
struct StatusOptions {
    std::string folder;               ///< empty for the one that the targets give, or the usual one
    std::vector<std::string> targets; ///< one for all definitions, or one for each; none without definitions
    std::vector<std::string> definitions;
    std::vector<std::string> wanted; ///< each "ID" or "ID=BUILD"; the exit status is then about these
    bool bVerify = false;            ///< compare contents with manifests, too
    bool bJson = false;
    std::string html;    ///< the file for a page; empty for none
    bool bForce = false; ///< replace that file
};

/// The exit status.
int runStatus(const StatusOptions& options);
