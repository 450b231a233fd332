#pragma once

#include "Utility/InstallInspector/Documents/InstalledProducts.h"
#include "Utility/InstallInspector/Rebuild/RebuiltRecord.h"

#include <string>
#include <vector>

/// The record that the machine in use should have, as far as what products leave there tells.
struct Rebuild {
    StatusFile record;
    std::vector<std::string> missing;   ///< what is known to be not in it, a sentence each
    std::vector<std::string> uncertain; ///< what of it may be otherwise

    /// For the record in the folder `folder`. Nothing is in it when no product is found.
    static Rebuild of(const InstalledProducts& installed, const VLString& folder);
};
