#pragma once

#include "Platform/AtomicFile.h"
#include "Platform/WholeFile.h"

#include <csignal>
#include <string>
#include <vector>

/// A file that is written as a whole or not at all: prepare it, and everything else that goes with it, before
/// the first of them is put in its place. Each gives an empty text, or why it is not possible.
class OutputFile {
public:
    /// What may be there when the file is put in place.
    enum class Old {
        AsRead,           ///< the file in the state in which it was read
        None,             ///< nothing, not even a link that leads nowhere
        NoneWithoutForce, ///< nothing; --force takes anything
        Anything
    };

    OutputFile(std::string filePath, Old mayBeThere, const FileState& wasRead = FileState())
        : path(std::move(filePath)), old(mayBeThere), read(wasRead), file(path) {}

    std::string prepare(const std::string& text);
    std::string putInPlace();
    /// Both, for a file that goes alone.
    std::string save(const std::string& text);

private:
    std::string unexpected() const;

    std::string path;
    Old old;
    FileState read;
    AtomicFile file;
};

struct TextFile {
    std::string path;
    std::string text;
};

/// Writes all of them, or none. `bForce` replaces files that are there. Gives an empty text, or why it is not
/// possible.
std::string saveAll(const std::vector<TextFile>& files, bool bForce);

/// Signals that would end the program wait until the end of the scope, so that nothing half-written stays.
class SignalsHeld {
public:
    SignalsHeld();
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t before = {};
};

/// Whether a file at `path` would lie in `folder`, links followed.
bool liesIn(const std::string& path, const std::string& folder);
