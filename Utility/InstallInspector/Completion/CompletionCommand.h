#pragma once

#include "Utility/InstallInspector/Completion/CommandSyntax.h"

#include <string>
#include <vector>

/// The names of the shells that "completion" knows.
std::vector<std::string> shellsWithCompletion();

/// Prints the script for one of these shells. The exit status.
int runCompletion(const std::string& shell, const ProgramSyntax& program);
