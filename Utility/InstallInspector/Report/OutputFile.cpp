#include "Utility/InstallInspector/Report/OutputFile.h"

#include "Utility/InstallInspector/Report/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <list>

namespace {

std::string cannotBeWritten(const std::string& path, int error) {
    return path + " cannot be written: " + std::strerror(error != 0 ? error : EIO);
}

bool isLink(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_symlink(path, error);
}

} // namespace

std::string OutputFile::unexpected() const {
    const FileState now = WholeFile::StateOf(path);
    switch (old) {
    case Old::AsRead:
        return now == read ? "" : path + " has changed since it was read, and stays as it is";
    case Old::None:
        return now == FileState() && !isLink(path) ? "" : path + " is there already, and stays as it is";
    case Old::NoneWithoutForce:
        return now == FileState() ? "" : path + " is there already; --force replaces it";
    case Old::Anything:
        break;
    }
    return "";
}

std::string OutputFile::prepare(const std::string& text) {
    std::string fault = unexpected();
    if (!fault.empty()) {
        return fault;
    }
    if (!file.Open() || std::fwrite(text.data(), 1, text.size(), file.Stream()) != text.size() ||
        !file.Sync()) {
        const int error = file.Error() != 0 ? file.Error() : errno;
        return cannotBeWritten(path, error);
    }
    return "";
}

std::string OutputFile::putInPlace() {
    // Once more: reading and preparing take time.
    std::string fault = unexpected();
    if (!fault.empty()) {
        return fault;
    }
    return file.Commit() ? "" : cannotBeWritten(path, file.Error());
}

std::string OutputFile::save(const std::string& text) {
    const SignalsHeld held;
    const std::string fault = prepare(text);
    return fault.empty() ? putInPlace() : fault;
}

std::string saveAll(const std::vector<TextFile>& texts, bool bForce) {
    const SignalsHeld held;
    std::list<OutputFile> files;
    for (const auto& [path, text] : texts) {
        files.emplace_back(path, bForce ? OutputFile::Old::Anything : OutputFile::Old::NoneWithoutForce);
        std::string fault = files.back().prepare(text);
        if (!fault.empty()) {
            return fault;
        }
    }
    for (OutputFile& file : files) {
        std::string fault = file.putInPlace();
        if (!fault.empty()) {
            return fault;
        }
    }
    return "";
}

bool writePage(const std::string& path, const std::string& page, bool bForce) {
    const std::string fault = saveAll({{path, page}}, bForce);
    if (!fault.empty()) {
        cannotRun(fault);
    }
    return fault.empty();
}

SignalsHeld::SignalsHeld() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
        sigaddset(&held, signal);
    }
    pthread_sigmask(SIG_BLOCK, &held, &before);
}

SignalsHeld::~SignalsHeld() {
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

bool liesIn(const std::string& path, const std::string& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::path inside = fs::weakly_canonical(fs::absolute(path, error), error).parent_path();
    const fs::path outer = fs::weakly_canonical(fs::absolute(folder, error), error);
    const auto relative = inside.lexically_relative(outer);
    return !relative.empty() && *relative.begin() != "..";
}
