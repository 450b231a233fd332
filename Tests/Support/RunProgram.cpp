#include "Tests/Support/RunProgram.h"

#include "Tests/Support/Checked.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <poll.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

extern char** environ; // NOLINT(readability-redundant-declaration): macOS declares it nowhere

namespace {

using Clock = std::chrono::steady_clock;

class Descriptor {
public:
    explicit Descriptor(int opened) : number(opened) { checked(fcntl(number, F_SETFD, FD_CLOEXEC), "fcntl"); }
    Descriptor(Descriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }

    int get() const { return number; }
    void reset() {
        if (number >= 0) {
            close(std::exchange(number, -1));
        }
    }

private:
    int number;
};

/// A file without a name that holds `text`. A pipe would need someone to feed it.
Descriptor fileWith(const std::string& text) {
    std::string path = (std::filesystem::temp_directory_path() / "standardInput.XXXXXX").string();
    Descriptor file(checked(mkstemp(path.data()), "mkstemp"));
    unlink(path.c_str());
    for (std::size_t written = 0; written < text.size();) {
        written += static_cast<std::size_t>(
            checked(static_cast<int>(write(file.get(), text.data() + written,
                                           std::min<std::size_t>(text.size() - written, 1 << 20))),
                    "write"));
    }
    lseek(file.get(), 0, SEEK_SET);
    return file;
}

struct Pipe {
    Descriptor read;
    Descriptor write;
};

Pipe openPipe() {
    std::array<int, 2> ends{};
    checked(pipe(ends.data()), "pipe");
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

[[noreturn]] void startFailed(const std::string& what) {
    std::string message = std::strerror(errno);
    message.insert(0, what + ": ").append("\n");
    [[maybe_unused]] const ssize_t ignored = write(STDERR_FILENO, message.data(), message.size());
    _exit(127);
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentTexts(const std::map<std::string, std::string>& environment) {
    std::vector<std::string> texts;
    texts.reserve(environment.size());
    for (const auto& [name, value] : environment) {
        texts.push_back(name + "=" + value);
    }
    return texts;
}

/// The new process from the fork on.
[[noreturn]] void start(std::vector<std::string> arguments, const ProgramOptions& options,
                        const std::array<int, 3>& standardDescriptors) {
    setpgid(0, 0);
    for (int i = 0; i < 3; ++i) {
        dup2(standardDescriptors[static_cast<std::size_t>(i)], i);
    }
    if (!options.workingFolder.empty() && chdir(options.workingFolder.c_str()) != 0) {
        startFailed(options.workingFolder.string());
    }
    std::vector<std::string> environment =
        environmentTexts(options.environment.value_or(std::map<std::string, std::string>()));
    std::vector<char*> environmentPointers = pointersTo(environment);
    if (options.environment) {
        environ = environmentPointers.data();
    }
    std::vector<char*> argumentPointers = pointersTo(arguments);
    if (options.beforeStart) {
        options.beforeStart();
    }
    execvp(argumentPointers[0], argumentPointers.data());
    startFailed(arguments[0]);
}

/// Milliseconds until `deadline` as poll() takes them.
int remaining(Clock::time_point deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, 1 << 30));
}

/// Reads both pipes to their ends; false when `deadline` came first.
bool readAll(int output, int error, ProgramResult& result, Clock::time_point deadline) {
    std::array<pollfd, 2> polled{{{output, POLLIN, 0}, {error, POLLIN, 0}}};
    const std::array<std::string*, 2> texts{&result.standardOutput, &result.standardError};
    std::array<char, 65536> buffer{};
    while (polled[0].fd >= 0 || polled[1].fd >= 0) {
        const int ready = poll(polled.data(), polled.size(), remaining(deadline));
        if (ready == 0) {
            return false;
        }
        for (std::size_t i = 0; ready > 0 && i < polled.size(); ++i) {
            if (polled[i].fd < 0 || polled[i].revents == 0) {
                continue;
            }
            const ssize_t count = read(polled[i].fd, buffer.data(), buffer.size());
            if (count > 0) {
                texts[i]->append(buffer.data(), static_cast<std::size_t>(count));
            } else if (count == 0) {
                polled[i].fd = -1;
            }
        }
    }
    return true;
}

/// Waits for the end of `process`; false when `deadline` came first.
bool waitUntil(Clock::time_point deadline, pid_t process, int& status) {
    while (waitpid(process, &status, WNOHANG) != process) {
        if (remaining(deadline) == 0) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramOptions& options) {
    const Descriptor input = fileWith(options.standardInput);
    Pipe output = openPipe();
    Pipe error = openPipe();
    std::cout.flush();
    static_cast<void>(std::fflush(nullptr));
    const pid_t process = checked(fork(), "fork");
    if (process == 0) {
        start(arguments, options, {input.get(), output.write.get(), error.write.get()});
    }
    setpgid(process, process);
    output.write.reset();
    error.write.reset();

    ProgramResult result;
    const auto deadline = Clock::now() + options.timeout;
    int status = 0;
    const bool bOutputEnded = readAll(output.read.get(), error.read.get(), result, deadline);
    if (!bOutputEnded || !waitUntil(deadline, process, status)) {
        result.bTimedOut = true;
        kill(-process, SIGKILL);
        waitpid(process, &status, 0);
    }
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    return result;
}
