#pragma once

#include "Utility/InstallInspector/Author/NewDefinition.h"

#include <string>

/// The text of a target-paths file to begin with: a place for each part of the staged folder, with a comment
/// wherever a person has to decide.
std::string starterTargets(const StagedFolder& folder, const StagedHosts& hosts);
