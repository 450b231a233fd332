#pragma once

#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Fuzz/Support/FuzzTarget.h"
#include "Fuzz/Support/ScratchFolder.h"

#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace Fuzz {

/// Replaces the machine in the whole program. Runs no command. Every user has the same home folder with one
/// preference file, "com.vorlane.fuzz". Some of its values contain each other's placeholders without end.
class FakeUser : public Machine {
public:
    FakeUser() {
        std::filesystem::create_directories((scratch.path() + "/Library/Preferences").ConstData());
        scratch.write("Library/Preferences/com.vorlane.fuzz.plist", preferences);
        setCurrent(this);
    }
    ~FakeUser() override { setCurrent(nullptr); }

    bool run(const Command& /*command*/) override {
        require(false, "a reader changes nothing");
        return false;
    }
    bool capture(const VLString& command, VLString& output) override {
        if (command == "eval echo $HOME") {
            output = homeVariable + "\n";
            return true;
        }
        require(command == VLString("eval echo '~") + userName() + "'", "only the user is asked for");
        output = scratch.path() + "\n";
        return true;
    }
    mode_t typeOf(const VLString& path) override { return path.EndsWith("d") ? S_IFDIR : S_IFREG; }
    mode_t linkTypeOf(const VLString& path) override { return typeOf(path); }
    bool hasProgram(const VLString& /*name*/) override { return false; }

    VLString homeVariable; ///< the shell's $HOME

private:
    VLString userName() const {
        constexpr unsigned long shortest = 8;
        return homeVariable.Size() < shortest ? homeVariable : homeVariable.Replace("/Users/", VLString());
    }

    static constexpr const char* preferences =
        R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>
<key>a</key><string>%REGKEY:fuzz::b%</string><key>b</key><string>%REGKEY:fuzz::a%</string>
<key>twice</key><string>%REGKEY:fuzz::twice%%REGKEY:fuzz::twice%</string>
<key>half</key><string>%REGKEY:fu</string><key>percent</key><string>%</string>
<key>text</key><string>Plug-ins</string><key>empty</key><string/>
<key>user</key><string>%USER%</string><key>malformed</key><string>%REGKEY:fuzz%</string>
<key>number</key><integer>1</integer></dict></plist>)";

    ScratchFolder scratch;
};

} // namespace Fuzz
