#pragma once

#include "Foundation/VLString.h"

/// The install engine: everything that one run needs, and the operations that drive it.
class InstallUtility {
public:
    /// Installs the product that `skuXmlPath` defines from the folder `sourcePath`.
    bool run(VLString sourcePath, VLString skuXmlPath, VLString targetPathsXmlPath);
    /// Takes the product that `skuXmlPath` defines away.
    bool runUninstall(VLString skuXmlPath, VLString targetPathsXmlPath);
    VLString getUserPreferencesPath();
};
