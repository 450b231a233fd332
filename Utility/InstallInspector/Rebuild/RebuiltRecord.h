#pragma once

#include "Utility/InstallUtility/SKUDefinition.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <cstdint>
#include <vector>

/// An installed product, with what decides on its place in the record.
struct RecordedProduct {
    SKUDefinition definition;
    std::int64_t firstInstall; ///< any clock that is the same for all
    std::int64_t lastInstall;  ///< on that clock, and not before the first
};

/// The record of a machine on which these products were installed: the engine's own, as it makes it. The
/// list has the order of the first installs; the last ones decide on the builds of shared files.
StatusFile rebuiltRecord(std::vector<RecordedProduct> products);
