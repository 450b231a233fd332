#include "Tests/Support/HostileCaller.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace {

const char* const toolFolder = "/var/hostile/tools";
const char* const startScript = "/var/hostile/start";
const char* const trace = "/var/hostile/trace";
const char* const leaveTrace = "/bin/touch /var/hostile/trace";

const char* const systemsTools[] = {
    "basename", "bash",   "cat",       "cp", "dirname", "env",    "iconv",     "date",  "defaults",
    "dscl",     "getent", "launchctl", "ls", "zenity",  "id",     "ln",        "mkdir", "mktemp",
    "mv",       "rm",     "rmdir",     "sh", "stat",    "pkexec", "osascript", "sudo",  "uname"};
const char* const shellsOwn[] = {"[",    "cd",     "command", "echo",   "eval", "exec", "exit", "export",
                                 "kill", "printf", "pwd",     "return", "set",  "test", "trap", "unset"};

} // namespace

HostileCaller::HostileCaller(const PrivateRoot& machine) : root(machine) {
    const std::string body = std::string(leaveTrace) + "\n";
    for (const char* tool : systemsTools) {
        root.write(std::string(toolFolder) + "/" + tool, "#!/bin/sh\n" + body + "exit 1\n", 0755);
    }
    root.write(startScript, body);
}

HostileCaller::Variables HostileCaller::tools() {
    return {{"PATH", std::string(toolFolder) + ":/usr/bin:/bin"}};
}

HostileCaller::Variables HostileCaller::startFile() {
    return {{"BASH_ENV", startScript}, {"ENV", startScript}};
}

HostileCaller::Variables HostileCaller::functions() {
    Variables variables;
    const std::string body = std::string("() { ") + leaveTrace + "; }";
    const auto add = [&](const std::string& name) {
        variables[name] = body;
        variables["BASH_FUNC_" + name + "%%"] = body;
    };
    for (const char* tool : systemsTools) {
        add(tool);
    }
    for (const char* command : shellsOwn) {
        add(command);
    }
    return variables;
}

HostileCaller::Variables HostileCaller::options() {
    return {{"SHELLOPTS", "xtrace"}, {"PS4", std::string("traced $(") + leaveTrace + ") "}};
}

bool HostileCaller::hasRun() const {
    return root.exists(trace);
}

FileTree::Lines HostileCaller::variablesIn(const std::string& text) {
    static const std::set<std::string> shells{"OLDPWD", "PWD", "SHLVL", "_"};
    static const std::set<std::string> fakechroots{
        "FAKECHROOT",         "FAKECHROOT_BASE", "FAKECHROOT_EXCLUDE_PATH",
        "FAKECHROOT_VERSION", "LD_LIBRARY_PATH", "LD_PRELOAD"};
    FileTree::Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        const std::string name = line.substr(0, line.find('='));
        if (shells.count(name) == 0 && !(PrivateRoot::isPretended() && fakechroots.count(name) != 0)) {
            lines.push_back(line);
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}
