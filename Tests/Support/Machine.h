#pragma once

#include "Foundation/FileSystemAccess.h"

#include <map>
#include <vector>

/// Stands in for the machine until the end of the scope: commands whose output is asked for are answered from
/// `answers`, those not listed there with nothing, and all are noted. Questions of what a path is go to the
/// machine itself and are noted too.
class Machine : public FileSystemAccess {
public:
    Machine() : previous(setCurrent(this)) {}
    ~Machine() override { setCurrent(previous); }
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    /// One whose user is `name`, with the home folder `home`.
    Machine(const VLString& name, const VLString& home) : Machine() {
        answers["eval echo $HOME"] = VLString("/Users/") + name + "\n";
        answers[VLString("eval echo '~") + name + "'"] = home + "\n";
    }

    /// The machine's own lock would make tests wait for each other.
    Lock tryToLock() override { return Lock::Held; }
    bool captureCommand(const VLString& command, VLString& output) override {
        commands.push_back(command);
        output = bStartsCommands ? answers[command] : VLString();
        return bStartsCommands;
    }
    mode_t typeOf(const VLString& path) override {
        paths.push_back(path);
        return FileSystemAccess::typeOf(path);
    }

    std::map<VLString, VLString> answers;
    bool bStartsCommands = true;
    std::vector<VLString> commands;
    std::vector<VLString> paths;

private:
    FileSystemAccess* previous;
};
