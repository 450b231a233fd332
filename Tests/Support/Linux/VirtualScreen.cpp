#include "Tests/Support/Linux/VirtualScreen.h"

#include "Tests/Support/RunProgram.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

VirtualScreen::VirtualScreen() {
    int ready[2];
    if (pipe(ready) != 0) {
        return;
    }
    server = fork();
    if (server == 0) {
        const std::string descriptor = std::to_string(ready[1]);
        execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "800x600x24", "-nolisten",
               "tcp", nullptr);
        _exit(127);
    }
    close(ready[1]);
    char c = '\0';
    while (read(ready[0], &c, 1) == 1 && c != '\n') {
        number += c;
    }
    close(ready[0]);
}

VirtualScreen::~VirtualScreen() {
    if (server > 0) {
        kill(server, SIGTERM);
        waitpid(server, nullptr, 0);
    }
}

bool hasProgram(const std::string& name) {
    return runProgram({"sh", "-c", "command -v " + name}).exitStatus == 0;
}
