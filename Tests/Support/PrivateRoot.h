#pragma once

#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// A separate root folder for programs with fixed paths such as /Applications. Contains a shell and the
/// tools, the folders of a new machine, the user anna, and the program in its bundle below
/// /Volumes/Installer. Programs run as the superuser with anna's home folder. The destructor removes it.
///
/// Paths that begin with "/" are paths inside the root.
class PrivateRoot {
public:
    /// Contains the bundle, and products to install.
    static constexpr const char* installerFolder = "/Volumes/Installer";
    static constexpr const char* bundle = "/Volumes/Installer/InstallUtility.app";
    static constexpr const char* program =
        "/Volumes/Installer/InstallUtility.app/Contents/MacOS/InstallUtility";
    static constexpr const char* inspector = "/bin/InstallInspector";
    static constexpr const char* userPreferences = "/Users/anna/Library/Preferences";

    struct Options {
        /// Added to HOME, PATH and the variables of the sanitizers. Replaces those with the same name.
        std::map<std::string, std::string> environment;
        std::string workingFolder = "/";
        std::string standardInput;
        std::chrono::milliseconds timeout = std::chrono::seconds(30);
    };

    /// An action of a person at the terminal: wait for a new `prompt`, call `before`, and type `typed`.
    struct Answer {
        std::string prompt;
        std::string typed;
        std::function<void()> before;
    };

    /// The reason why no private root is possible here. Empty if it is possible.
    static const std::string& whyNot();

    /// Whether fakechroot pretends the root. Then programs see variables of its own, and links hold paths of
    /// this machine.
    static bool isPretended();

    /// Whether `inspector` exists. It is built only if its libraries are installed.
    static bool hasInspector();

    /// The folder to which a program that measures coverage writes its results.
    static std::string buildFolder();

    PrivateRoot();

    /// The path on this machine.
    std::filesystem::path outside(const std::string& path) const { return folder.path() / path.substr(1); }
    void write(const std::string& path, const std::string& content, unsigned mode = 0644) const;
    /// Copies a program of this machine with its libraries. Replaces an existing file.
    void add(const std::filesystem::path& file, const std::string& path) const;
    std::string read(const std::string& path) const { return FileTree::read(outside(path)); }
    void makeFolder(const std::string& path) const;
    void remove(const std::string& path) const;
    /// Whether anything exists there, also a dangling link.
    bool exists(const std::string& path) const;

    ProgramResult run(const std::vector<std::string>& command) const { return run(command, Options()); }
    ProgramResult run(const std::vector<std::string>& command, const Options& options) const;
    /// The same, without `watch`.
    ProgramResult runUnwatched(const std::vector<std::string>& command, const Options& options) const;
    /// If set, `run` calls it for each command. The last argument runs the command.
    std::function<ProgramResult(const std::vector<std::string>&, const Options&,
                                const std::function<ProgramResult()>&)>
        watch;
    /// Runs the command in a terminal and gives the answers one after the other. The output of the terminal
    /// is the standard output of the result. If a prompt does not appear, the command times out.
    ProgramResult runInTerminal(const std::vector<std::string>& command, const std::vector<Answer>& answers,
                                const Options& options) const;

    /// What the link at this path leads to.
    std::string targetOfLink(const std::string& path) const;

    /// FileTree::describe of the root with full paths, without the tools, the installer and the build folder.
    /// A new root has the lines of freshTree().
    FileTree::Lines tree() const;
    static FileTree::Lines freshTree();
    /// The same for one folder.
    FileTree::Lines tree(const std::string& path) const;

private:
    std::string inside(const std::string& target) const;
    FileTree::Lines described(const std::string& path,
                              const std::function<bool(const std::filesystem::path&)>& leftOut) const;
    /// The words before those that set a variable of the environment, as NAME=VALUE, and before the command.
    std::vector<std::string> commandToEnter(const std::string& workingFolder) const;
    std::vector<std::string> fullCommand(const std::vector<std::string>& command,
                                         const Options& options) const;

    TemporaryDirectory folder;
};
