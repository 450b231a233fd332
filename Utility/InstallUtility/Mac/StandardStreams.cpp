#include "Utility/InstallUtility/Mac/StandardStreams.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

void openMissingStreams() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF) {
            // The lowest free number is this one, since those below are open by now. It stays open.
            static_cast<void>(open("/dev/null", O_RDWR));
        }
    }
}

void surviveBrokenPipe() {
    // Not SIG_IGN, which child processes would inherit: a handler is reset to the default when they start.
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
