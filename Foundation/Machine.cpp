#include "Foundation/Machine.h"

#include "Foundation/PathLibrary.h"
#include "Foundation/RegistryHelper.h"
#include "Foundation/SimpleLog.h"
#include "Platform/AtomicFile.h"
#include "Platform/PlatformServices.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

Machine machine;
Machine* inUse = &machine;

bool isExecutableFile(const VLString& path) {
    struct stat status {};
    return stat(path.ConstData(), &status) == 0 && S_ISREG(status.st_mode) &&
           access(path.ConstData(), X_OK) == 0;
}

/// The folders that the shell searches, separated by colons. An empty one is the working folder.
VLString searchPath() {
    if (const char* path = std::getenv("PATH")) {
        return VLString(path);
    }
    std::array<char, 512> standard{};
    confstr(_CS_PATH, standard.data(), standard.size());
    return VLString(standard.data());
}

} // namespace

bool Machine::run(const Command& command) {
    static_cast<void>(std::fflush(stdout));
    return std::system(command.text().ConstData()) == 0;
}

bool Machine::capture(const VLString& command, VLString& output) {
    output.Clear();
    static_cast<void>(std::fflush(stdout));
    FILE* pipe = popen(command.ConstData(), "r");
    if (pipe == nullptr) {
        return false;
    }
    std::array<char, 128> piece{};
    while (std::fgets(piece.data(), piece.size(), pipe) != nullptr) {
        output += piece.data();
    }
    pclose(pipe);
    return true;
}

mode_t Machine::typeOf(const VLString& path) {
    struct stat status {};
    return stat(path.ConstData(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

mode_t Machine::linkTypeOf(const VLString& path) {
    struct stat status {};
    return lstat(path.ConstData(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

bool Machine::hasProgram(const VLString& name) {
    const VLString path = searchPath();
    for (unsigned long from = 0, to = 0; from <= path.Size(); from = to + 1) {
        to = path.IndexOf(":", from);
        to = path.HasOf(to) ? to : path.Size();
        const VLString folder = path.Substr(from, to - from);
        if (isExecutableFile(PathLibrary::GetDirectoryWithFile(folder.IsSet() ? folder : ".", name))) {
            return true;
        }
    }
    return false;
}

std::vector<VLString> Machine::namesIn(const VLString& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder.ConstData(), error), end; !error && entry != end;
         entry.increment(error)) {
        names.push_back(entry->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    std::vector<VLString> sorted;
    sorted.reserve(names.size());
    for (const std::string& name : names) {
        sorted.emplace_back(name.c_str());
    }
    return sorted;
}

FileContent Machine::readFile(const VLString& path) {
    return WholeFile::Read(path.ConstData());
}

Machine::Saved Machine::saveFile(const VLString& path, const std::function<void(FILE*)>& print,
                                 const FileState* expected, int& error) {
    AtomicFile file(path.ConstData());
    bool bWhole = file.Open();
    if (bWhole) {
        print(file.Stream());
        bWhole = file.Sync();
    }
    if (bWhole && expected != nullptr && WholeFile::StateOf(path.ConstData()) != *expected) {
        return Saved::ChangedMeanwhile;
    }
    if (bWhole && file.Commit()) {
        return Saved::Yes;
    }
    error = file.Error();
    return Saved::No;
}

bool Machine::createFile(const VLString& path, const char* bytes, std::size_t size, int& error) {
    return WholeFile::Create(path.ConstData(), bytes, size, error);
}

Machine::Lock Machine::tryToLock() {
    if (lockedFolder >= 0) {
        return Lock::Held;
    }
    const int folder = open("/", O_RDONLY | O_CLOEXEC);
    if (folder < 0) {
        return Lock::CannotBeHad;
    }
    int result = flock(folder, LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR) {
        result = flock(folder, LOCK_EX | LOCK_NB);
    }
    if (result == 0) {
        lockedFolder = folder;
        return Lock::Held;
    }
    const bool bOfAnother = errno == EWOULDBLOCK;
    close(folder);
    return bOfAnother ? Lock::HeldByAnother : Lock::CannotBeHad;
}

void Machine::unlock() {
    if (lockedFolder >= 0) {
        close(std::exchange(lockedFolder, -1)); // also releases the lock
    }
}

std::chrono::milliseconds Machine::pause(std::chrono::milliseconds duration) {
    const auto before = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(duration);
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - before);
}

const char* Machine::environmentHome() {
    return std::getenv("HOME"); // NOLINT(concurrency-mt-unsafe): one thread
}

VLString Machine::preference(const VLString& key, const VLString& valueName, const VLString& folder) {
    return RegistryHelper::GetRegistryKeyAtPath(key, valueName, folder);
}

VLString Machine::mainBundlePath() {
    const std::string path = PlatformServices::MainBundlePath();
    return VLString(path.data(), path.size());
}

bool Machine::removeItem(const VLString& path) {
    return PlatformServices::RemoveItem(path.ConstData());
}

bool Machine::createFolder(const VLString& path) {
    return PlatformServices::CreateFolder(path.ConstData());
}

bool Machine::copyItem(const VLString& source, const VLString& destination) {
    return PlatformServices::CopyItem(source.ConstData(), destination.ConstData());
}

bool Machine::createSymbolicLink(const VLString& link, const VLString& target) {
    return PlatformServices::CreateSymbolicLink(link.ConstData(), target.ConstData());
}

bool Machine::showRetryCancelAlert(const VLString& title, const VLString& text) {
    using PlatformServices::AlertAnswer;
    const AlertAnswer answer = PlatformServices::ShowRetryCancelAlert(title.ConstData(), text.ConstData());
    if (answer == AlertAnswer::NobodyToAsk) {
        // The log formats a line a second time, where "%%" becomes "%".
        const VLString line = (title + ": " + text).Replace("%", "%%");
        SimpleLog::printLog(SimpleLog::Warning, __FILE__, __FUNCTION__, __LINE__, "%s", line.ConstData());
    }
    return answer == AlertAnswer::Retry;
}

Machine& Machine::current() {
    return *inUse;
}

Machine* Machine::setCurrent(Machine* access) {
    return std::exchange(inUse, access == nullptr ? &machine : access);
}
