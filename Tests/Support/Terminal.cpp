#include "Tests/Support/Terminal.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <system_error>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

int openTerminal() {
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot open a terminal");
    }
    fcntl(terminal, F_SETFD, FD_CLOEXEC);
    return terminal;
}

/// The new process from the fork on: leads a session on the terminal named `name`.
[[noreturn]] void start(std::vector<std::string> command, const std::string& name) {
    setsid();
    const int side = open(name.c_str(), O_RDWR);
    if (side < 0) {
        _exit(127);
    }
    ioctl(side, TIOCSCTTY, 0);
    termios settings{};
    tcgetattr(side, &settings);
    settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
    tcsetattr(side, TCSANOW, &settings);
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
        dup2(side, descriptor);
    }
    if (side > 2) {
        close(side);
    }
    std::signal(SIGINT, SIG_DFL); // a shell that starts the tests in the background has it ignored
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

} // namespace

Terminal::Terminal(const std::vector<std::string>& command, std::chrono::milliseconds timeout)
    : deadline(Clock::now() + timeout), terminal(openTerminal()) {
    const std::string name = ptsname(terminal); // NOLINT(concurrency-mt-unsafe): one thread
    process = fork();
    if (process < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (process == 0) {
        start(command, name);
    }
}

Terminal::~Terminal() {
    if (process > 0) {
        kill(-process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    close(terminal);
}

bool Terminal::waitFor(const std::string& text) {
    while (true) {
        const std::size_t found = output.find(text, seen);
        if (found != std::string::npos) {
            seen = found + text.size();
            return true;
        }
        if (!readMore()) {
            return false;
        }
    }
}

void Terminal::type(const std::string& text) const {
    for (std::size_t written = 0; written < text.size();) {
        const ssize_t count = write(terminal, text.data() + written, text.size() - written);
        if (count < 0) {
            throw std::system_error(errno, std::generic_category(), "cannot type");
        }
        written += static_cast<std::size_t>(count);
    }
}

bool Terminal::readMore() {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd polled{terminal, POLLIN, 0};
    if (left <= 0 || poll(&polled, 1, static_cast<int>(left)) <= 0) {
        return false;
    }
    std::array<char, 4096> buffer{};
    // Fails, on Linux, once no process has the terminal open any more.
    const ssize_t count = read(terminal, buffer.data(), buffer.size());
    if (count <= 0) {
        return false;
    }
    output.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

ProgramResult Terminal::finish() {
    while (readMore()) {
    }
    ProgramResult result;
    int status = 0;
    while (waitpid(process, &status, WNOHANG) != process) {
        if (Clock::now() >= deadline) {
            result.bTimedOut = true;
            kill(-process, SIGKILL);
            waitpid(process, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    process = -1;
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.standardOutput = output;
    return result;
}
