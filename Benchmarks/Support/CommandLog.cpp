// Loaded before a program's own libraries (LD_PRELOAD), notes each shell command that it starts, as the C
// library receives it, in the file that COMMAND_LOG names: "s" for system or "p" for popen, the command, and
// a zero byte.

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

/// A command that cannot be noted ends the program: a list with a gap would be worse than none.
void note(char kind, const char* command) {
    const char* path = std::getenv("COMMAND_LOG");
    const int file = path == nullptr ? -1 : open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    const std::string entry = std::string(1, kind) + command;
    const auto size = static_cast<ssize_t>(entry.size() + 1);
    if (file < 0 || write(file, entry.c_str(), entry.size() + 1) != size) {
        std::abort();
    }
    close(file);
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

int system(const char* command) {
    note('s', command);
    return next<int(const char*)>("system")(command);
}

FILE* popen(const char* command, const char* mode) {
    note('p', command);
    return next<FILE*(const char*, const char*)>("popen")(command, mode);
}

} // extern "C"
