#include "Platform/FileTimes.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr std::int64_t second = 1'000'000'000;

} // namespace

FileTimes FileTimes::of(const std::string& path) {
    struct statx status = {};
    if (statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_MTIME | STATX_BTIME, &status) != 0) {
        return {};
    }
    FileTimes times;
    times.modified = status.stx_mtime.tv_sec * second + status.stx_mtime.tv_nsec;
    if ((status.stx_mask & STATX_BTIME) != 0) {
        times.made = status.stx_btime.tv_sec * second + status.stx_btime.tv_nsec;
    }
    return times;
}
