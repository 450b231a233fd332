#pragma once

#include "Foundation/Machine.h"

#include <map>
#include <string>
#include <vector>

/// Replaces the machine until the end of the scope. Records every command and runs none. Records the paths
/// whose type is read. Types of paths come from the real machine unless a test sets them.
class FakeMachine : public Machine {
public:
    FakeMachine() : before(setCurrent(this)) {}
    ~FakeMachine() override { setCurrent(before); }
    FakeMachine(const FakeMachine&) = delete;
    FakeMachine& operator=(const FakeMachine&) = delete;

    /// A machine with the user `name` and the home folder `home`.
    FakeMachine(const VLString& name, const VLString& home) : FakeMachine() {
        answers["eval echo $HOME"] = std::string("/Users/") + name.ConstData() + "\n";
        answers[std::string("eval echo '~") + name.ConstData() + "'"] = std::string(home.ConstData()) + "\n";
    }

    std::vector<std::string> commands;
    std::vector<std::string> paths; ///< the arguments of typeOf
    /// The result of every command.
    bool bResult = true;
    std::string output;                         ///< of commands that are not in `answers`
    std::map<std::string, std::string> answers; ///< outputs by command
    /// Types of paths in place of those of the real machine, and the existing programs.
    std::map<std::string, mode_t> types;
    std::map<std::string, mode_t> linkTypes;
    std::vector<std::string> programs;

    bool run(const Command& command) override {
        commands.emplace_back(command.text().ConstData());
        return bResult;
    }
    bool capture(const VLString& command, VLString& result) override {
        commands.emplace_back(command.ConstData());
        const auto answer = answers.find(command.ConstData());
        const std::string& text = answer == answers.end() ? output : answer->second;
        result = bResult ? VLString(text.c_str()) : VLString();
        return bResult;
    }
    mode_t typeOf(const VLString& path) override {
        paths.emplace_back(path.ConstData());
        const auto found = types.find(path.ConstData());
        return found == types.end() ? Machine::typeOf(path) : found->second;
    }
    mode_t linkTypeOf(const VLString& path) override {
        const auto found = linkTypes.find(path.ConstData());
        return found == linkTypes.end() ? Machine::linkTypeOf(path) : found->second;
    }
    bool hasProgram(const VLString& name) override {
        for (const std::string& program : programs) {
            if (name == program.c_str()) {
                return true;
            }
        }
        return false;
    }
    /// With the real lock, tests would wait for each other.
    Lock tryToLock() override { return Lock::Held; }

private:
    Machine* before;
};
