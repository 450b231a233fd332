#include "Utility/InstallInspector/Documents/InstalledProducts.h"

#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <set>
#include <utility>

namespace {

bool isUninstaller(const std::string& name) {
    const std::string begin = "Uninstall ";
    const std::string end = ".app";
    return name.size() > begin.size() + end.size() && name.compare(0, begin.size(), begin) == 0 &&
           name.compare(name.size() - end.size(), end.size(), end) == 0;
}

VLString sharedDefinitionIn(const VLString& statusFolder) {
    const VLString folder =
        statusFolder.IsSet()
            ? PathLibrary::GetDirectoryWithFile(statusFolder, SharedPackage::definitionsFolder)
            : VLString(SharedPackage::definitionsFolderWithoutRecord);
    return PathLibrary::GetDirectoryWithFile(folder, VLString(SharedPackage::ID) + ".xml");
}

} // namespace

InstalledProducts InstalledProducts::find(const VLString& statusFolder, const std::string& targets) {
    InstalledProducts installed;
    for (const VLString& name : Machine::current().namesIn(uninstallersFolder)) {
        if (isUninstaller(toString(name))) {
            const std::string uninstaller = uninstallersFolder + toString(name);
            installed.add(uninstaller, uninstaller + "/Contents/sku.xml",
                          uninstaller + "/Contents/target_path.xml");
        }
    }
    installed.addSharedPackages(statusFolder, targets);
    return installed;
}

const InstalledProduct* InstalledProducts::find(const VLString& ID) const {
    for (const auto& product : products) {
        if (product->isReadable() && product->files.info().ID == ID) {
            return product.get();
        }
    }
    return nullptr;
}

void InstalledProducts::add(std::string uninstaller, std::string definition, std::string targets) {
    auto product = std::make_unique<InstalledProduct>();
    product->uninstaller = std::move(uninstaller);
    product->definition = std::move(definition);
    product->targets = std::move(targets);
    product->files.read(product->definition, product->targets, product->fault);
    products.push_back(std::move(product));
}

/// One for each folder in which the products keep their record.
void InstalledProducts::addSharedPackages(const VLString& statusFolder, const std::string& targets) {
    std::set<std::string> definitions;
    const auto addFrom = [&](const VLString& folder, const std::string& targetsFile) {
        const VLString definition = sharedDefinitionIn(folder);
        if (Machine::current().linkTypeOf(definition) != 0 &&
            definitions.insert(toString(definition)).second) {
            add("", toString(definition), targetsFile);
        }
    };
    const std::size_t count = products.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (products[i]->isReadable()) {
            addFrom(products[i]->files.statusFolder(), products[i]->targets);
        }
    }
    if (!targets.empty()) {
        addFrom(statusFolder, targets);
    }
}
