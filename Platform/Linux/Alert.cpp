#include "Platform/PlatformServices.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <optional>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using PlatformServices::AlertAnswer;

namespace {

bool isSet(const char* variable) {
    const char* value = std::getenv(variable); // NOLINT(concurrency-mt-unsafe): there is one thread
    return value != nullptr && *value != '\0';
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (auto& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// The environment of this process without the variables that change zenity's exit statuses, and with a UTF-8
/// locale. In the "C" locale, zenity accepts only ASCII.
std::vector<std::string> zenityEnvironment() {
    std::vector<std::string> result = {"LC_CTYPE=C.UTF-8"};
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view variable(*entry);
        bool bKeep = true;
        for (const std::string_view unwanted : {"ZENITY_", "DIALOG_", "LC_ALL=", "LC_CTYPE="}) {
            bKeep = bKeep && variable.substr(0, unwanted.size()) != unwanted;
        }
        if (bKeep) {
            result.emplace_back(variable);
        }
    }
    return result;
}

/// Runs the program, found through PATH, without standard input and output. Returns its exit status, or -1 if
/// it could not be started or was ended by a signal.
int exitStatus(std::vector<std::string> arguments, std::vector<std::string> environment) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    const int error = posix_spawnp(&child, arguments.front().c_str(), &actions, nullptr,
                                   pointersTo(arguments).data(), pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        return -1;
    }
    int status = 0;
    pid_t ended = -1;
    do {
        ended = waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Each of the next functions returns NobodyToAsk if it could not ask.

AlertAnswer askInDialog(const std::string& title, const std::string& text) {
    if (!isSet("DISPLAY") && !isSet("WAYLAND_DISPLAY")) {
        return AlertAnswer::NobodyToAsk;
    }
    // Each text is joined to its option, so that it is not read as an option itself.
    const int status = exitStatus({"zenity", "--question", "--title=" + title, "--text=" + text,
                                   "--ok-label=Retry", "--cancel-label=Cancel", "--no-markup", "--width=420"},
                                  zenityEnvironment());
    constexpr int cannotRun = 126;
    constexpr int notFound = 127;
    constexpr int internalError = 255;
    for (const int failure : {-1, cannotRun, notFound, internalError}) {
        if (status == failure) {
            return AlertAnswer::NobodyToAsk;
        }
    }
    return status == 0 ? AlertAnswer::Retry : AlertAnswer::Cancel;
}

/// The next line of standard input without its line feed, in lower case. No value at the end of input. Reads
/// byte by byte, so that the rest of the input stays unread.
std::optional<std::string> readAnswer() {
    std::string line;
    while (true) {
        char c = '\0';
        const ssize_t count = read(STDIN_FILENO, &c, 1);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return std::nullopt;
        }
        if (c == '\n') {
            return line;
        }
        line += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
}

void printText(const char* text) {
    (void)std::fputs(text, stdout);
    (void)std::fflush(stdout);
}

AlertAnswer askInTerminal(const std::string& title, const std::string& text) {
    // A background process would be stopped when it reads.
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0 || tcgetpgrp(STDIN_FILENO) != getpgrp()) {
        return AlertAnswer::NobodyToAsk;
    }
    for (const char* part : {title.c_str(), "\n", text.c_str(), "\n"}) {
        printText(part);
    }
    while (true) {
        printText("[R]etry or [C]ancel: ");
        const auto answer = readAnswer();
        if (!answer) {
            printText("\n");
            return AlertAnswer::Cancel;
        }
        if (answer == "r" || answer == "retry") {
            return AlertAnswer::Retry;
        }
        if (answer == "c" || answer == "cancel") {
            return AlertAnswer::Cancel;
        }
    }
}

} // namespace

AlertAnswer PlatformServices::ShowRetryCancelAlert(const std::string& title, const std::string& text) {
    const AlertAnswer answer = askInDialog(title, text);
    return answer == AlertAnswer::NobodyToAsk ? askInTerminal(title, text) : answer;
}
