// Starts a command in a private root, as "Scripts/private-root run" does, but without the five programs that
// the script needs for it. Most of the time of a short run would be theirs.
//
//   EnterRoot MOUNTS ROOT FOLDER [NAME=VALUE]... COMMAND...
//
// MOUNTS is "mounts" where the user may mount something, otherwise "no-mounts". FOLDER is the working folder,
// inside ROOT. The command has only those variables in its environment that are named. Exit status 127: the
// command cannot be started.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Shows a file or folder of the machine in the root. Most tools work without it, too.
void show(const std::string& root, const char* path, unsigned long flags) {
    static_cast<void>(mount(path, (root + path).c_str(), nullptr, flags, nullptr));
}

bool isDevice(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISCHR(status.st_mode);
}

/// The mounts end with the command, and nobody else sees them.
bool startOwnMounts() {
    return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

int failed(const char* what) {
    std::fprintf(stderr, "%s: %s\n", what, std::strerror(errno));
    return 127;
}

} // namespace

int main(int, char** arguments) {
    char** argument = arguments + 1;
    const bool bMounts = std::string(*argument++) == "mounts";
    const std::string root = *argument++;
    const char* const folder = *argument++;
    if (bMounts) {
        if (!startOwnMounts()) {
            return failed("mounts");
        }
        show(root, "/proc", MS_BIND | MS_REC);
        if (!isDevice(root + "/dev/null")) {
            show(root, "/dev/null", MS_BIND);
        }
    }
    umask(022); // whatever the user's is: a private root is the same for everyone
    if (chroot(root.c_str()) != 0 || chdir(folder) != 0) {
        return failed(folder);
    }
    char* noVariable = nullptr;
    environ = &noVariable;
    for (; *argument != nullptr && std::strchr(*argument, '=') != nullptr; ++argument) {
        putenv(*argument);
    }
    execvp(*argument, argument);
    return failed(*argument);
}
