#include "Utility/InstallInspector/CommandLine.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <cstdio>
#include <exception>

int main(int argc, char* argv[]) {
    try {
        return runCommandLine(argc, argv);
    } catch (const std::exception& error) {
        // What remains is memory that ran out; nothing that allocates may report it.
        static_cast<void>(std::fprintf(stderr, "InstallInspector: %s\n", error.what()));
        return CannotRun;
    }
}
