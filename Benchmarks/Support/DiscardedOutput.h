#pragma once

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

/// Until the end of its scope standard output goes nowhere.
class DiscardedOutput {
public:
    DiscardedOutput() : before((std::fflush(stdout), dup(STDOUT_FILENO))) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (before < 0 || nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0) {
            throw std::runtime_error("cannot redirect standard output");
        }
        close(nowhere);
    }
    ~DiscardedOutput() {
        static_cast<void>(std::fflush(stdout));
        dup2(before, STDOUT_FILENO);
        close(before);
    }
    DiscardedOutput(const DiscardedOutput&) = delete;
    DiscardedOutput& operator=(const DiscardedOutput&) = delete;

private:
    int before;
};
