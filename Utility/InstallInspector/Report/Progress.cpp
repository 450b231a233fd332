#include "Utility/InstallInspector/Report/Progress.h"

#include <unistd.h>

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds untilShown(500);
constexpr milliseconds betweenChanges(100);
constexpr std::uint64_t megabyte = 1'000'000;

} // namespace

Progress::Progress() : bTerminal(isatty(STDERR_FILENO) != 0), next(Clock::now() + untilShown) {}

Progress::~Progress() {
    if (bShown) {
        static_cast<void>(std::fputs("\r\x1b[K", stderr));
    }
}

void Progress::add(std::uint64_t files, std::uint64_t bytes) {
    allFiles += files;
    allBytes += bytes;
    if (bTerminal && Clock::now() >= next) {
        show();
        next = Clock::now() + betweenChanges;
    }
}

void Progress::show() {
    bShown = true;
    static_cast<void>(std::fprintf(stderr, "\r%llu files", static_cast<unsigned long long>(allFiles)));
    if (allBytes > 0) {
        static_cast<void>(
            std::fprintf(stderr, ", %llu MB", static_cast<unsigned long long>(allBytes / megabyte)));
    }
    static_cast<void>(std::fputs("\x1b[K", stderr));
}
