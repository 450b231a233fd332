#pragma once

/// Reads the command line and runs its subcommand. Returns the exit status.
int runCommandLine(int argc, char* argv[]);
