#pragma once

#include "Tests/Support/EndToEndTest.h"

#include <string>
#include <vector>

class Uninstaller : public EndToEndTest {
protected:
    static ProductBuilder product(const std::string& id = "ALPHA", const std::string& name = "Alpha") {
        return ProductBuilder(id, name)
            .target("VorlaneFX", statusFolder)
            .file("VorlaneFX/shared", "S")
            .file("VorlaneFX/" + id, id);
    }
    static std::string cannotRemove(const std::string& name) {
        return "Error: Cannot remove file '" + shared(name) + "'";
    }
    static std::string inside(const ProductBuilder& product, const std::string& path) {
        return uninstallerOf(product) + "/Contents/" + path;
    }

    const std::string emptyStatusFolder = std::string(statusFolder) + "/";
};

/// Programs of the test's stand in the place of the machine's. What starts the engine is tried, so that runs
/// are not compared with their plans.
class UninstallerRights : public Uninstaller {
protected:
    bool comparesPlans() const override { return false; }

    /// Puts a program in the place of the machine's, whose file is shared with others and not written to. It
    /// notes its name and arguments.
    void shim(const std::string& name, const std::string& body, const std::string& shell = "/bin/sh") {
        root().makeFolder("/tools");
        root().write("/bin/" + name,
                     "#!" + shell + "\necho \"" + name + " $*\" >>/tools/calls\n" + body + "\n", 0755);
    }
    /// A screen that a dialog could be shown on.
    static Options onADesktop() {
        Options options;
        options.environment["DISPLAY"] = ":none";
        return options;
    }
    /// The calls noted.
    Lines calls() {
        ProgramResult result;
        result.standardOutput = root().exists("/tools/calls") ? root().read("/tools/calls") : "";
        root().remove("/tools");
        return logLines(result);
    }
    /// How the launcher starts itself once it may.
    static std::string launcherWithRights() {
        return "env HOME=/Users/anna UNINSTALLER_HAS_ASKED=1 " + launcher();
    }
    static std::string launcher() { return inside(product(), "MacOS/UninstallLauncher"); }
};
