#include "Platform/FileTimes.h"

#include <sys/stat.h>

namespace {

constexpr std::int64_t second = 1'000'000'000;

std::int64_t nanoseconds(const timespec& time) {
    return time.tv_sec * second + time.tv_nsec;
}

} // namespace

FileTimes FileTimes::of(const std::string& path) {
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0) {
        return {};
    }
    return {nanoseconds(status.st_birthtimespec), nanoseconds(status.st_mtimespec)};
}
