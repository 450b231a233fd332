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

/// A root folder of its own for programs that work at fixed paths such as /Applications: a shell and the
/// tools, the folders that a fresh machine has, the user anna, and the program in its bundle below
/// /Volumes/Installer. The superuser runs in it, with anna's home folder. It goes away with the object.
///
/// Paths that begin with "/" are those inside the root.
class PrivateRoot {
public:
    /// Where the bundle lies, and products to install.
    static constexpr const char* installerFolder = "/Volumes/Installer";
    static constexpr const char* bundle = "/Volumes/Installer/InstallUtility.app";
    static constexpr const char* program =
        "/Volumes/Installer/InstallUtility.app/Contents/MacOS/InstallUtility";
    static constexpr const char* inspector = "/bin/InstallInspector";
    static constexpr const char* userPreferences = "/Users/anna/Library/Preferences";

    struct Options {
        /// Added to HOME, PATH and what the sanitizers look at, or takes their place.
        std::map<std::string, std::string> environment;
        std::string workingFolder = "/";
        std::string standardInput;
        std::chrono::milliseconds timeout = std::chrono::seconds(30);
    };

    /// What a person does at the terminal: waits for a text that has not been there before, does something
    /// elsewhere, and types.
    struct Answer {
        std::string prompt;
        std::string typed;
        std::function<void()> before;
    };

    /// Why a program cannot be run in a private root here; empty when it can.
    static const std::string& whyNot();

    /// Whether there is an `inspector`: it is built only where its libraries are.
    static bool hasInspector();

    /// Where a program that is built to measure coverage writes what it measured, at its end.
    static std::string buildFolder();

    PrivateRoot();

    /// Where the path lies on this machine.
    std::filesystem::path outside(const std::string& path) const { return folder.path() / path.substr(1); }
    void write(const std::string& path, const std::string& content, unsigned mode = 0644) const;
    /// Copies a program of this machine, with the libraries that it needs, in the place of what is there.
    void add(const std::filesystem::path& file, const std::string& path) const;
    std::string read(const std::string& path) const { return FileTree::read(outside(path)); }
    void makeFolder(const std::string& path) const;
    void remove(const std::string& path) const;
    /// Anything at all, a link that leads nowhere included.
    bool exists(const std::string& path) const;

    ProgramResult run(const std::vector<std::string>& command) const { return run(command, Options()); }
    ProgramResult run(const std::vector<std::string>& command, const Options& options) const;
    /// The same, whatever `watch` says.
    ProgramResult runUnwatched(const std::vector<std::string>& command, const Options& options) const;
    /// When it is set, `run` leaves each command to it. The last argument runs the command.
    std::function<ProgramResult(const std::vector<std::string>&, const Options&,
                                const std::function<ProgramResult()>&)>
        watch;
    /// Runs the command in a terminal, where the answers are given one after the other. Everything that the
    /// terminal shows is the result's standard output. A prompt that never comes ends in a time-out.
    ProgramResult runInTerminal(const std::vector<std::string>& command, const std::vector<Answer>& answers,
                                const Options& options) const;

    /// Everything but the tools, the installer and the build folder, as FileTree::describe tells it, in full
    /// paths. A fresh root has the lines of freshTree().
    FileTree::Lines tree() const;
    static FileTree::Lines freshTree();
    /// The same of one folder.
    FileTree::Lines tree(const std::string& path) const;

private:
    std::vector<std::string> fullCommand(const std::vector<std::string>& command,
                                         const Options& options) const;

    TemporaryDirectory folder;
};
