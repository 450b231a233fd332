#include "Tests/Support/CommandShim.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace {

std::string pathVariable() {
    const char* path = std::getenv("PATH");
    return path == nullptr ? "/usr/bin:/bin" : path;
}

/// The first executable file of this name in the folders of `path`; "" when there is none.
std::string findTool(const std::string& name, const std::string& path) {
    std::istringstream folders(path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        const std::filesystem::path candidate = std::filesystem::path(folder) / name;
        std::error_code unreadable;
        if (std::filesystem::is_regular_file(candidate, unreadable) && access(candidate.c_str(), X_OK) == 0) {
            return candidate.string();
        }
    }
    return "";
}

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result + "'";
}

} // namespace

const std::vector<std::string>& CommandShim::usualTools() {
    static const std::vector<std::string> tools{"rm", "mkdir", "cp", "ln", "rmdir", "ditto", "touch", "find"};
    return tools;
}

CommandShim::CommandShim(const std::vector<std::string>& tools)
    : oldPath(pathVariable()), path("PATH", (folder.path() / "bin").string() + ":" + oldPath) {
    std::filesystem::create_directory(folder.path() / "bin");
    for (const std::string& tool : tools) {
        const std::string found = findTool(tool, oldPath);
        if (!found.empty()) {
            shim(tool, found, "exec \"$tool\" \"$@\"");
        }
    }
}

void CommandShim::replace(const std::string& tool, const std::string& script) {
    shim(tool, findTool(tool, oldPath), script);
}

void CommandShim::shim(const std::string& tool, const std::string& toolPath, const std::string& script) {
    const std::filesystem::path file = folder.path() / "bin" / tool;
    // The number of arguments, the name and the arguments, each with a zero byte behind it.
    std::ofstream(file) << "#!/bin/sh\n"
                        << "printf '%s\\0' \"$#\" " << quoted(tool) << " \"$@\" >>"
                        << quoted((folder.path() / "calls").string()) << "\n"
                        << "tool=" << quoted(toolPath) << "\n"
                        << script << "\n";
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
}

std::vector<CommandShim::Call> CommandShim::calls() const {
    return callsIn(folder.path() / "calls");
}

std::vector<CommandShim::Call> CommandShim::callsIn(const std::filesystem::path& path) {
    std::ifstream log(path, std::ios::binary);
    std::vector<Call> result;
    for (std::string count; std::getline(log, count, '\0');) {
        Call call(std::stoul(count) + 1);
        for (std::string& word : call) {
            if (!std::getline(log, word, '\0')) {
                throw std::runtime_error("the list of calls is cut short");
            }
        }
        result.push_back(call);
    }
    return result;
}

void CommandShim::forget() {
    std::filesystem::remove(folder.path() / "calls");
}
