#pragma once

#include "Utility/InstallUtility/SKUDefinition.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <cstdint>
#include <vector>

/// An installed product, and the times that decide its place in the record.
struct RecordedProduct {
    SKUDefinition definition;
    std::int64_t firstInstall; ///< any clock that is the same for all
    std::int64_t lastInstall;  ///< on that clock, and not before the first
};

/// The record that the engine would write for installs of these products. The list of products has the order
/// of the first installs. The last installs decide the builds of shared files.
StatusFile rebuiltRecord(std::vector<RecordedProduct> products);
