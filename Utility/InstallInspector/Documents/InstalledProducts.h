#pragma once

#include "Utility/InstallInspector/Documents/PlacedProduct.h"

#include <memory>
#include <string>
#include <vector>

/// A product that is installed on the machine in use. It is known by the definition and target paths that its
/// install has left: in its uninstaller, or next to the record for the shared package.
struct InstalledProduct {
    std::string uninstaller; ///< path of the application; empty for the shared package
    std::string definition;  ///< path of the file
    std::string targets;     ///< path of the file; the shared package has none and uses another product's
    std::string fault;       ///< why the two files cannot be used; empty if they can
    PlacedProduct files;     ///< empty if there is a fault

    bool isReadable() const { return fault.empty(); }
    bool isShared() const { return uninstaller.empty(); }
};

/// The installed products of one machine. They are sorted by the names of their uninstallers, with the shared
/// package at the end.
class InstalledProducts {
public:
    /// Looks for the uninstallers in their folder, and for the shared package's definition next to each
    /// record of their products. Without an uninstaller the shared package is not found, because its target
    /// paths are not known.
    static InstalledProducts find() { return find(VLString(), ""); }
    /// Also looks for the shared package's definition in the folder `statusFolder`, unless `targets` is
    /// empty. For one that is found only there, uses the target paths in the file `targets`.
    static InstalledProducts find(const VLString& statusFolder, const std::string& targets);

    const std::vector<std::unique_ptr<InstalledProduct>>& all() const { return products; }
    /// The readable product with this ID. Null if there is none.
    const InstalledProduct* find(const VLString& ID) const;

private:
    void add(std::string uninstaller, std::string definition, std::string targets);
    void addSharedPackages(const VLString& statusFolder, const std::string& targets);

    std::vector<std::unique_ptr<InstalledProduct>> products;
};
