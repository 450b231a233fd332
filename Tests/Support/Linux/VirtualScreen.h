#pragma once

#include <string>
#include <sys/types.h>

/// An Xvfb on a display of its own choosing, 800 x 600.
class VirtualScreen {
public:
    VirtualScreen();
    ~VirtualScreen();
    VirtualScreen(const VirtualScreen&) = delete;
    VirtualScreen& operator=(const VirtualScreen&) = delete;

    bool isUp() const { return !number.empty(); }
    /// For the variable DISPLAY.
    std::string name() const { return ":" + number; }

private:
    pid_t server = -1;
    std::string number;
};

/// Whether PATH has the program.
bool hasProgram(const std::string& name);
