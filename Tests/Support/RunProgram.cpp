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
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

extern char** environ; // NOLINT(readability-redundant-declaration): macOS declares it nowhere

namespace {

using Clock = std::chrono::steady_clock;
using Environment = std::map<std::string, std::string>;

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
    if (text.empty()) {
        return Descriptor(checked(open("/dev/null", O_RDONLY), "/dev/null"));
    }
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

std::vector<std::string> textsOf(const Environment& environment) {
    std::vector<std::string> texts;
    texts.reserve(environment.size());
    for (const auto& [name, value] : environment) {
        texts.push_back(name + "=" + value);
    }
    return texts;
}

/// What a new process gets.
struct Process {
    char* const* arguments;
    char** environment;
    const char* workingFolder; ///< empty: that of the test
    std::array<int, 3> standardDescriptors;
};

/// Copies nothing of the test program, whose memory is large under a sanitizer.
/// On failure, returns -1, and `errno` tells why.
pid_t spawn(const Process& process) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int i = 0; i < 3; ++i) {
        posix_spawn_file_actions_adddup2(&actions, process.standardDescriptors[static_cast<std::size_t>(i)],
                                         i);
    }
    if (*process.workingFolder != '\0') {
        posix_spawn_file_actions_addchdir_np(&actions, process.workingFolder);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    pid_t started = -1;
    errno = posix_spawnp(&started, process.arguments[0], &actions, &attributes, process.arguments,
                         process.environment);
    const pid_t result = errno == 0 ? started : -1;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return result;
}

/// Starts it with a copy of the test program, which calls `beforeStart`.
pid_t forkAndStart(const Process& process, const std::function<void()>& beforeStart) {
    const pid_t started = fork();
    if (started != 0) {
        return started;
    }
    setpgid(0, 0);
    for (int i = 0; i < 3; ++i) {
        dup2(process.standardDescriptors[static_cast<std::size_t>(i)], i);
    }
    if (*process.workingFolder != '\0' && chdir(process.workingFolder) != 0) {
        startFailed(process.workingFolder);
    }
    environ = process.environment;
    beforeStart();
    execvp(process.arguments[0], process.arguments);
    startFailed(process.arguments[0]);
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
    std::vector<std::string> argumentTexts = arguments;
    const std::vector<char*> argumentPointers = pointersTo(argumentTexts);
    std::vector<std::string> environmentTexts = textsOf(options.environment.value_or(Environment()));
    std::vector<char*> environmentPointers = pointersTo(environmentTexts);
    const Process started{argumentPointers.data(),
                          options.environment ? environmentPointers.data() : environ,
                          options.workingFolder.c_str(),
                          {input.get(), output.write.get(), error.write.get()}};
    std::cout.flush();
    static_cast<void>(std::fflush(nullptr));
    const pid_t process = options.beforeStart ? forkAndStart(started, options.beforeStart) : spawn(started);
    ProgramResult result;
    if (process < 0) {
        result.exitStatus = 127;
        result.standardError = arguments[0] + ": " + std::strerror(errno) + "\n";
        return result;
    }
    setpgid(process, process);
    output.write.reset();
    error.write.reset();

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
