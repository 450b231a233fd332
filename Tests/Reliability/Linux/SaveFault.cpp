// Loaded into the engine before the C library (LD_PRELOAD), to disturb one step of the saving of the record.
//
//   SAVE_FAULT_STEP   the number of the step, from 1 on; 0 for none
//   SAVE_FAULT        ENOSPC or EIO: the step fails with it, a write and a close after a part of their work;
//                     DiesBefore, DiesAfter: the process dies there
//   SAVE_FAULT_LOG    a file to which the name of each step is appended
//
// A step is a call that opens, writes, syncs, closes or renames the new file, or opens or syncs its folder
// after that. The stream that is printed to is one of our own, since the C library's streams call the system
// directly.

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

int step = 0;
int newFile = -1;
int folder = -1;
bool bRenamed = false;
FILE* ourStream = nullptr;

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

const char* setting(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): there is one thread
    return value == nullptr ? "" : value;
}

void note(const char* name) {
    const int log = next<int(const char*, int, ...)>("open")(setting("SAVE_FAULT_LOG"),
                                                             O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    const std::string line = std::string(name) + "\n";
    if (log >= 0) {
        static_cast<void>(!::write(log, line.data(), line.size()));
        next<int(int)>("close")(log);
    }
}

long chosenStep() {
    constexpr int decimal = 10;
    return std::strtol(setting("SAVE_FAULT_STEP"), nullptr, decimal);
}

/// Counts the step, and gives the error that it has to fail with, or 0. The process may die here.
int begin(const char* name) {
    note(name);
    if (++step != chosenStep()) {
        return 0;
    }
    const std::string fault = setting("SAVE_FAULT");
    if (fault == "DiesBefore") {
        static_cast<void>(raise(SIGKILL));
    }
    return fault == "ENOSPC" ? ENOSPC : fault == "EIO" ? EIO : 0;
}

void end() {
    if (step == chosenStep() && std::strcmp(setting("SAVE_FAULT"), "DiesAfter") == 0) {
        static_cast<void>(raise(SIGKILL));
    }
}

int failed(int error) {
    errno = error;
    return -1;
}

ssize_t writeStep(void*, const char* data, size_t size) {
    const int error = begin("write");
    const ssize_t written = ::write(newFile, data, error == 0 ? size : size / 2);
    end();
    if (error != 0) {
        errno = error;
        return 0; // as the interface of such streams has it
    }
    return written;
}

int closeStep(void*) {
    const int error = begin("close");
    const int result = next<int(int)>("close")(newFile);
    newFile = -1;
    end();
    return error == 0 ? result : failed(error);
}

bool endsWith(const char* text, const char* ending) {
    const size_t length = std::strlen(text);
    const size_t endingLength = std::strlen(ending);
    return length >= endingLength && std::strcmp(text + length - endingLength, ending) == 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const bool bNew = (flags & O_CREAT) != 0 && endsWith(path, "/InstallationStatusFile.xml.new");
    const bool bFolder = bRenamed && endsWith(path, "/Vorlane/");
    const int error = bNew ? begin("open") : bFolder ? begin("open folder") : 0;
    if (error != 0) {
        return failed(error);
    }
    const int file = next<int(const char*, int, ...)>("open")(path, flags, mode);
    if (bNew) {
        newFile = file;
    }
    if (bFolder) {
        folder = file;
    }
    if (bNew || bFolder) {
        end();
    }
    return file;
}

FILE* fdopen(int file, const char* mode) {
    if (file < 0 || file != newFile) {
        return next<FILE*(int, const char*)>("fdopen")(file, mode);
    }
    cookie_io_functions_t functions = {};
    functions.write = writeStep;
    functions.close = closeStep;
    ourStream = fopencookie(nullptr, mode, functions);
    return ourStream;
}

int fileno(FILE* stream) {
    return stream == ourStream && stream != nullptr ? newFile : next<int(FILE*)>("fileno")(stream);
}

int fsync(int file) {
    const bool bStep = file >= 0 && (file == newFile || file == folder);
    const int error = bStep ? begin(file == newFile ? "fsync" : "fsync folder") : 0;
    if (error != 0) {
        return failed(error);
    }
    const int result = next<int(int)>("fsync")(file);
    if (bStep) {
        end();
    }
    return result;
}

int rename(const char* from, const char* to) {
    const bool bStep = endsWith(from, "/InstallationStatusFile.xml.new");
    const int error = bStep ? begin("rename") : 0;
    if (error != 0) {
        return failed(error);
    }
    const int result = next<int(const char*, const char*)>("rename")(from, to);
    if (bStep) {
        bRenamed = true;
        end();
    }
    return result;
}

} // extern "C"
