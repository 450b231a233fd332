// The floor that a run of the engine is measured against.
//
//   CommandLoop LIST    runs the commands of LIST, in order, and does nothing else
//
// LIST is what CommandLog writes: for each command "s" (system) or "p" (popen, its output read to the end),
// the command, and a zero byte.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

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

} // namespace

int main(int argc, char* argv[]) {
    if (argc != 2) {
        std::cerr << "CommandLoop LIST\n";
        return 2;
    }
    return runList(argv[1]);
}
