#include "Utility/InstallUtility/RecordFile.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Foundation/SimpleLog.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <utility>

namespace {

using Saved = Machine::Saved;

/// How often a save starts again because another run has saved meanwhile, or is saving: up to a minute. This
/// happens only to runs that go on without the lock.
constexpr int mostTries = 3000;
constexpr std::chrono::milliseconds pauseForOtherSave{20};

bool isMissing(const FileContent& content) {
    return content.error == ENOENT || content.error == ENOTDIR;
}

bool hasNothingToSave(const StatusFile& record, const VLString& path) {
    return record.products.empty() &&
           !FileLibrary::IsDirectoryExists(PathLibrary::GetDirectoryWithoutFile(path));
}

/// `format` has two %s: for the path of the record and for `text`.
void logError(long line, const char* format, const VLString& path, const char* other) {
    SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, line, format, path.ConstData(), other);
}

const char* textOf(int error) {
    return std::strerror(error); // NOLINT(concurrency-mt-unsafe): one thread
}

/// Null if the file was read.
const char* whyUnreadable(const FileContent& content) {
    if (content.error != 0) {
        return textOf(content.error);
    }
    return content.state.type == S_IFREG ? nullptr : "it is no regular file";
}

} // namespace

void RecordFile::load(StatusFile& record) {
    record.clear();
    FileContent content = Machine::current().readFile(path);
    found = content.state;
    bLoaded = true;
    bDamaged = false;
    if (isMissing(content)) {
        return;
    }
    if (const char* why = whyUnreadable(content)) {
        bOurs = false;
        logError(__LINE__,
                 "The record '%s' cannot be read (%s). It stays as it is, and this run is not recorded.",
                 path, why);
    } else if (content.size > 0) {
        bDamaged = !record.parseBytes(std::move(content.bytes));
    }
}

void RecordFile::save(StatusFile& record, const std::function<void()>& enterAgain) {
    Machine& machine = Machine::current();
    int error = 0;
    for (int i = 0; i < mostTries && bOurs; ++i) {
        if (hasNothingToSave(record, path) || !keepDamaged()) {
            return;
        }
        const auto print = [&record](FILE* stream) { record.print(stream); };
        const Saved saved = machine.saveFile(path, print, bLoaded ? &found : nullptr, error);
        if (saved == Saved::Yes) {
            bSaved = true;
            return;
        }
        if (saved == Saved::ChangedMeanwhile) {
            load(record);
            enterAgain();
            error = EBUSY;
        } else if (error == EBUSY) {
            machine.pause(pauseForOtherSave); // another run is saving
        } else {
            break;
        }
    }
    if (bOurs) {
        logError(__LINE__, "The record '%s' cannot be saved (%s).", path, textOf(error));
    }
}

/// Copies a damaged file to another name in its folder. On failure, logs an error and returns false.
bool RecordFile::keepDamaged() {
    if (!bDamaged) {
        return true;
    }
    Machine& machine = Machine::current();
    const FileContent content = machine.readFile(path);
    if (content.state != found) {
        return true; // the file has changed; the save notices this
    }
    int error = content.error;
    for (int number = 1; error == 0 || error == EEXIST; ++number) {
        const VLString name = path + ".damaged" + (number == 1 ? "" : std::to_string(number).c_str());
        if (machine.createFile(name, content.bytes.get(), content.size, error)) {
            bDamaged = false;
            logError(__LINE__, "The record '%s' is damaged. It is kept as '%s'.", path, name.ConstData());
            return true;
        }
    }
    bOurs = false;
    logError(__LINE__,
             "The damaged record '%s' cannot be kept (%s). It stays as it is, and this run is not recorded.",
             path, textOf(error));
    return false;
}
