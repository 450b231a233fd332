#pragma once

#include <CLI/CLI.hpp>

/// Adds the subcommand "check" to `app`. When it is chosen, its exit status is put into `status`, which has
/// to live as long as `app`.
void addCheckCommand(CLI::App& app, int& status);
