// Loaded into the engine before the C library (LD_PRELOAD), to disturb what a run asks of the system.
//
//   RECORD_FAULT   the name of an error, with which the record cannot be opened or read
//   RECORD_STEP    which of the two fails: open or read
//   LOCK_FAULT     the name of an error, with which the lock of runs cannot be had, which is on a folder
//   FAST_CLOCK     how many times faster the monotonic clock goes

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int record = -1;

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// The error that the variable names; 0 for none.
int errorIn(const char* variable) {
    static const struct {
        const char* name;
        int number;
    } errors[] = {{"EIO", EIO},     {"EACCES", EACCES}, {"EMFILE", EMFILE},         {"EINTR", EINTR},
                  {"EBADF", EBADF}, {"ENOLCK", ENOLCK}, {"EOPNOTSUPP", EOPNOTSUPP}, {"ENOSYS", ENOSYS}};
    const char* wanted = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): there is one thread
    for (const auto& error : errors) {
        if (wanted != nullptr && std::strcmp(wanted, error.name) == 0) {
            return error.number;
        }
    }
    return 0;
}

bool isStep(const char* step) {
    const char* wanted = std::getenv("RECORD_STEP"); // NOLINT(concurrency-mt-unsafe): there is one thread
    return wanted != nullptr && std::strcmp(wanted, step) == 0;
}

int failed(int error) {
    errno = error;
    return -1;
}

bool isRecord(const char* path) {
    const char* name = std::strrchr(path, '/');
    return name != nullptr && std::strcmp(name, "/InstallationStatusFile.xml") == 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const bool bRecord = isRecord(path) && (flags & O_ACCMODE) == O_RDONLY;
    if (bRecord && isStep("open") && errorIn("RECORD_FAULT") != 0) {
        return failed(errorIn("RECORD_FAULT"));
    }
    const int file = next<int(const char*, int, ...)>("open")(path, flags, mode);
    record = bRecord ? file : record == file ? -1 : record;
    return file;
}

ssize_t read(int file, void* to, size_t size) {
    const bool bFails = file >= 0 && file == record && isStep("read") && errorIn("RECORD_FAULT") != 0;
    return bFails ? failed(errorIn("RECORD_FAULT"))
                  : next<ssize_t(int, void*, size_t)>("read")(file, to, size);
}

int flock(int file, int operation) {
    struct stat status = {};
    const bool bOfRuns = fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
    const int error = bOfRuns ? errorIn("LOCK_FAULT") : 0;
    return error != 0 ? failed(error) : next<int(int, int)>("flock")(file, operation);
}

int clock_gettime(clockid_t clock, struct timespec* time) noexcept {
    const int result = next<int(clockid_t, struct timespec*)>("clock_gettime")(clock, time);
    const char* factor = std::getenv("FAST_CLOCK"); // NOLINT(concurrency-mt-unsafe): there is one thread
    if (result == 0 && clock == CLOCK_MONOTONIC && factor != nullptr) {
        constexpr long second = 1'000'000'000;
        const long times = std::atol(factor); // NOLINT(cert-err34-c): a test's own number
        const long nanoseconds = time->tv_nsec * times;
        time->tv_sec = time->tv_sec * times + nanoseconds / second;
        time->tv_nsec = nanoseconds % second;
    }
    return result;
}

} // extern "C"
