#include "Utility/InstallInspector/Check/CheckCommand.h"
#include "Utility/InstallInspector/Plan/PlanCommand.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Status/StatusCommand.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

namespace {

int runCommandLine(int argc, char* argv[]) {
    CLI::App app(
        "Checks a product before it ships, tells what a run would do, and shows what is installed, without "
        "changing anything.",
        "InstallInspector");
    app.set_version_flag("--version", "InstallInspector " INSTALLUTILITY_VERSION);
    app.require_subcommand(1);
    int status = Clean;
    addCheckCommand(app, status);
    addPlanCommand(app, status);
    addStatusCommand(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // Help and version come this way, too, with status 0.
        return app.exit(error) == 0 ? Clean : CannotRun;
    }
    return status;
}

} // namespace

int main(int argc, char* argv[]) {
    try {
        return runCommandLine(argc, argv);
    } catch (const std::exception& error) {
        // What remains is memory that ran out; nothing that allocates may report it.
        static_cast<void>(std::fprintf(stderr, "InstallInspector: %s\n", error.what()));
        return CannotRun;
    }
}
