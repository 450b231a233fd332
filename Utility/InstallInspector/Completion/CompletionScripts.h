#pragma once

#include "Utility/InstallInspector/Completion/CommandSyntax.h"

#include <string>

/// Scripts that let a shell complete the words of a program. They name all that the program knew when it
/// wrote them, and do not start it.

/// For bash 3.2 or later. Where it knows no word, bash completes names of files.
std::string bashCompletion(const ProgramSyntax& program);
/// For the completion system of zsh: a file "_NAME" in a folder of `fpath`.
std::string zshCompletion(const ProgramSyntax& program);
std::string fishCompletion(const ProgramSyntax& program);
