#pragma once

#include "Utility/InstallInspector/Plan/PlannedMachine.h"

/// Installs the products of the description, in their order, by running the engine on the machine, which must
/// be in use. The files of each are what its definition lists. Throws BadDescription if one cannot be
/// installed.
void installProducts(const MachineDescription& description, PlannedMachine& machine);
