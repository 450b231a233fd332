#pragma once

#include "Platform/AtomicFile.h"
#include "Platform/WholeFile.h"

#include <csignal>
#include <string>
#include <vector>

/// A file that is written as a whole or not at all. If several files belong together, prepare all of them
/// before the first one is put in its place. On success, all calls return an empty text. On failure, they
/// return the reason.
class OutputFile {
public:
    /// What may exist at the path when the file is put in place.
    enum class Old {
        AsRead,           ///< the file in the state in which it was read
        None,             ///< nothing, not even a link that leads nowhere
        NoneWithoutForce, ///< nothing; the message advises --force
        Anything
    };

    OutputFile(std::string filePath, Old mayBeThere, const FileState& wasRead = FileState())
        : path(std::move(filePath)), old(mayBeThere), read(wasRead), file(path) {}

    std::string prepare(const std::string& text);
    std::string putInPlace();
    /// Both, for a single file.
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

/// Writes all files or none. With `bForce`, replaces existing files. On failure, returns the reason,
/// otherwise an empty text.
std::string saveAll(const std::vector<TextFile>& files, bool bForce);

/// Writes a page to the file `path`. On failure, prints a message on standard error and returns false.
bool writePage(const std::string& path, const std::string& page, bool bForce);

/// While it lives, signals that would end the program are delayed, so that no incomplete file stays.
class SignalsHeld {
public:
    SignalsHeld();
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t before = {};
};

/// Whether a file at `path` would lie in `folder`. Follows links.
bool liesIn(const std::string& path, const std::string& folder);
