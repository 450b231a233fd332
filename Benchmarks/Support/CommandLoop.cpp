// The floor that a run of the engine is measured against, and the clock for both.
//
//   CommandLoop run LIST                   runs the commands of LIST, in order, and does nothing else
//   CommandLoop time FILE PROGRAM ARG...   runs the program, and writes to FILE the seconds that it took,
//                                          and those of processor time that it and its commands took
//
// LIST is what CommandLog writes: for each command "s" (system) or "p" (popen, its output read to the end),
// the command, and a zero byte.

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ; // NOLINT(readability-redundant-declaration): macOS declares it nowhere

namespace {

std::vector<std::string> readList(const char* path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> list;
    for (std::string command; std::getline(file, command, '\0');) {
        list.push_back(command);
    }
    return list;
}

void runAndRead(const char* command) {
    FILE* pipe = popen(command, "r");
    if (pipe == nullptr) {
        return;
    }
    std::array<char, 128> piece{};
    while (std::fgets(piece.data(), piece.size(), pipe) != nullptr) {
    }
    pclose(pipe);
}

int runList(const char* path) {
    const std::vector<std::string> list = readList(path);
    for (const std::string& command : list) {
        if (command.front() == 'p') {
            runAndRead(command.c_str() + 1);
        } else {
            // Some fail in the engine's runs, too: a rmdir of a folder that is not empty.
            static_cast<void>(std::system(command.c_str() + 1));
        }
    }
    return list.empty() ? 1 : 0;
}

double secondsOf(const timeval& time) {
    constexpr double microsecond = 1e-6;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * microsecond;
}

int timeProgram(const char* file, char** program) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    pid_t child = 0;
    int status = 0;
    rusage usage = {};
    if (posix_spawn(&child, *program, nullptr, nullptr, program, environ) != 0 ||
        wait4(child, &status, 0, &usage) != child) {
        return 1;
    }
    const std::chrono::duration<double> seconds = Clock::now() - start;
    std::ofstream output(file);
    output << seconds.count() << ' ' << secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime) << '\n';
    return output.flush() && WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

} // namespace

int main(int argc, char* argv[]) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "run" && argc == 3) {
        return runList(argv[2]);
    }
    if (mode == "time" && argc > 3) {
        return timeProgram(argv[2], argv + 3);
    }
    std::cerr << "CommandLoop run LIST | time FILE PROGRAM ARG...\n";
    return 2;
}
