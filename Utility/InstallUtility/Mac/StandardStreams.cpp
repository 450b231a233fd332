#include "Utility/InstallUtility/Mac/StandardStreams.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

void openMissingStreams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
            // open() returns this number, because all lower ones are open now. It stays open.
            static_cast<void>(open("/dev/null", O_RDWR));
        }
    }
}

void surviveBrokenPipe() {
    // A handler, not SIG_IGN: child processes would inherit SIG_IGN, but a handler is reset when they start.
    struct sigaction action {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGPIPE, &action, nullptr);
}

} // namespace

void makeStandardStreamsSafe() {
    openMissingStreams();
    surviveBrokenPipe();
}
