#pragma once

#include "Utility/InstallInspector/Author/NewDefinition.h"

#include <string>

/// The text of a first target-paths file. It has a path for each part of the staged folder, and a comment
/// wherever a person has to decide.
std::string starterTargets(const StagedFolder& folder, const StagedHosts& hosts);
