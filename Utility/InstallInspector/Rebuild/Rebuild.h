#pragma once

#include "Utility/InstallInspector/Documents/InstalledProducts.h"
#include "Utility/InstallInspector/Rebuild/RebuiltRecord.h"

#include <string>
#include <vector>

/// The record that the machine in use should have. It is made from what installed products have left there.
struct Rebuild {
    StatusFile record;
    std::vector<std::string> missing;   ///< what is known to be missing in it, a sentence each
    std::vector<std::string> uncertain; ///< what may be wrong in it, a sentence each

    /// Makes the record of the products that keep it in `folder`. It is empty if there is no such product.
    static Rebuild of(const InstalledProducts& installed, const VLString& folder);
};
