#pragma once

#include "Utility/InstallInspector/Documents/PlacedProduct.h"

#include <memory>
#include <string>
#include <vector>

/// A product that is installed on the machine in use, as the definition and target paths that it has left
/// there tell: each product in its uninstaller, the shared package beside the record.
struct InstalledProduct {
    std::string uninstaller; ///< path of the application; empty for the shared package
    std::string definition;  ///< path
    std::string targets;     ///< path; of the shared package, which leaves none, that of another product
    std::string fault;       ///< why the two files cannot be used; empty when they can
    PlacedProduct files;     ///< empty with a fault

    bool isReadable() const { return fault.empty(); }
    bool isShared() const { return uninstaller.empty(); }
};

/// Of one machine. Both lists are in the order of the uninstallers' names, the shared package last.
class InstalledProducts {
public:
    /// Looks for the uninstallers in their folder, and for the shared package's definition beside each record
    /// that they name. Without an uninstaller the shared package is not found: nothing tells its target
    /// paths.
    static InstalledProducts find() { return find(VLString(), ""); }
    /// Looks for the shared package's definition in the folder `statusFolder`, too. Its target paths are then
    /// those of the file `targets`; an empty path gives none.
    static InstalledProducts find(const VLString& statusFolder, const std::string& targets);

    const std::vector<std::unique_ptr<InstalledProduct>>& all() const { return products; }
    /// The readable one of that ID; null when there is none.
    const InstalledProduct* find(const VLString& ID) const;

private:
    void add(std::string uninstaller, std::string definition, std::string targets);
    void addSharedPackages(const VLString& statusFolder, const std::string& targets);

    std::vector<std::unique_ptr<InstalledProduct>> products;
};
