#pragma once

/// Reads the command line and runs the subcommand that it names. The exit status.
int runCommandLine(int argc, char* argv[]);
