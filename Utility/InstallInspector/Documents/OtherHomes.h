#pragma once

#include "Foundation/Machine.h"
#include "Utility/InstallInspector/Documents/PlacedProduct.h"

#include <string>
#include <vector>

/// The folders that can be home folders of other users: those next to the home folder of this user, and those
/// in /Users.
std::vector<std::string> otherHomes();

/// Whether the target paths of the product can differ between users.
bool dependsOnUser(const PlacedProduct& product);

/// Whether this user has no permission to see if something is at `path`.
bool isHidden(const VLString& path);

/// While it lives, it is the machine in use. It is the same machine for the user with another home folder.
/// Only for reading.
class OtherHome : public Machine {
public:
    explicit OtherHome(std::string folder);
    ~OtherHome() override { setCurrent(before); }
    OtherHome(const OtherHome&) = delete;
    OtherHome& operator=(const OtherHome&) = delete;

    bool run(const Command& /*command*/) override { return false; }
    bool capture(const VLString& command, VLString& output) override;
    mode_t typeOf(const VLString& path) override { return machine.typeOf(path); }
    mode_t linkTypeOf(const VLString& path) override { return machine.linkTypeOf(path); }
    bool hasProgram(const VLString& name) override { return machine.hasProgram(name); }
    std::vector<VLString> namesIn(const VLString& folder) override { return machine.namesIn(folder); }
    FileContent readFile(const VLString& path) override { return machine.readFile(path); }
    const char* environmentHome() override { return home.c_str(); }
    VLString preference(const VLString& key, const VLString& valueName, const VLString& folder) override {
        return machine.preference(key, valueName, folder);
    }

private:
    std::string home;
    Machine& machine;
    Machine* before;
};
