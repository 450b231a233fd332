#pragma once

#include "Foundation/Machine.h"

#include <map>
#include <string>
#include <vector>

/// Takes the machine's place until the end of the scope: notes every command and runs none, and notes which
/// paths are asked for. What paths are is still asked of the machine, unless a test says otherwise.
class FakeMachine : public Machine {
public:
    FakeMachine() : before(setCurrent(this)) {}
    ~FakeMachine() override { setCurrent(before); }
    FakeMachine(const FakeMachine&) = delete;
    FakeMachine& operator=(const FakeMachine&) = delete;

    /// One whose user is `name`, with the home folder `home`.
    FakeMachine(const VLString& name, const VLString& home) : FakeMachine() {
        answers["eval echo $HOME"] = std::string("/Users/") + name.ConstData() + "\n";
        answers[std::string("eval echo '~") + name.ConstData() + "'"] = std::string(home.ConstData()) + "\n";
    }

    std::vector<std::string> commands;
    std::vector<std::string> paths; ///< whose type was asked for, through links
    /// What every command gives.
    bool bResult = true;
    std::string output; ///< of those that have no answer
    std::map<std::string, std::string> answers;
    /// The answers for paths that do not come from the machine, and the programs that there are.
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
    /// The machine's own lock would make tests wait for each other.
    Lock tryToLock() override { return Lock::Held; }

private:
    Machine* before;
};
