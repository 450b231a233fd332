#pragma once

#include "Foundation/FileSystemAccess.h"

#include <map>
#include <string>
#include <vector>

/// Takes the machine's place until the end of the scope: notes every command and runs none. What paths are is
/// still asked of the machine, unless a test says otherwise.
class RecordedCommands : public FileSystemAccess {
public:
    RecordedCommands() : before(setCurrent(this)) {}
    ~RecordedCommands() override { setCurrent(before); }
    RecordedCommands(const RecordedCommands&) = delete;
    RecordedCommands& operator=(const RecordedCommands&) = delete;

    std::vector<std::string> commands;
    /// What every command gives.
    bool bResult = true;
    std::string output;
    /// The answers for paths that do not come from the machine, and the programs that there are.
    std::map<std::string, mode_t> types;
    std::map<std::string, mode_t> linkTypes;
    std::vector<std::string> programs;

    bool runCommand(const VLString& command) override {
        commands.emplace_back(command.ConstData());
        return bResult;
    }
    /// The machine's own lock would make tests wait for each other.
    Lock tryToLock() override { return Lock::Held; }
    bool captureCommand(const VLString& command, VLString& result) override {
        commands.emplace_back(command.ConstData());
        result = VLString(bResult ? output.c_str() : "");
        return bResult;
    }
    mode_t typeOf(const VLString& path) override {
        const auto found = types.find(path.ConstData());
        return found == types.end() ? FileSystemAccess::typeOf(path) : found->second;
    }
    mode_t linkTypeOf(const VLString& path) override {
        const auto found = linkTypes.find(path.ConstData());
        return found == linkTypes.end() ? FileSystemAccess::linkTypeOf(path) : found->second;
    }
    bool hasProgram(const VLString& name) override {
        for (const std::string& program : programs) {
            if (name == program.c_str()) {
                return true;
            }
        }
        return false;
    }

private:
    FileSystemAccess* before;
};
