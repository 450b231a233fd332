#pragma once

#include "Utility/InstallInspector/Plan/PlannedMachine.h"

/// Installs the products of the description in their order. Runs the engine on `machine`, which must be in
/// use. The files of a product are those that its definition lists. Throws BadDescription if a product
/// cannot be installed.
void installProducts(const MachineDescription& description, PlannedMachine& machine);
