#include "Utility/InstallInspector/Plan/DescribedProducts.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallInspector/Documents/Bundle.h"
#include "Utility/InstallInspector/Documents/Manifest.h"
#include "Utility/InstallInspector/Documents/PlacedProduct.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <algorithm>
#include <sys/stat.h>
#include <utility>

namespace {

/// The folder with the files of a product. No argument of a run can name it.
constexpr const char* source = "/../files";

/// Makes the file or folder of one node in the source. A node that is listed as a file may be a folder that
/// is copied whole. Without a manifest, such a folder gets a file with a made-up name, because the next
/// uninstall would remove an empty folder.
void makeFile(const PlacedProduct::Spot& spot, const std::string& path, PlannedMachine& machine) {
    const Product::TreeNode& node = *spot.node;
    const Manifest::Parts parts = Manifest::of(*node.element);
    const bool bFolder = isBundle(path, machine) || (!parts.empty() && !parts.front().path.empty());
    machine.make(path, node.node->isDirectory || bFolder ? S_IFDIR : S_IFREG, "");
    if (spot.bLeaf && parts.empty() && (node.node->isDirectory || bFolder)) {
        machine.make(path + "/unknown content", S_IFREG, "");
    }
    for (const Manifest::Part& part : parts) {
        if (!part.path.empty()) {
            machine.make(path + "/" + part.path, part.link.empty() ? S_IFREG : S_IFLNK, part.link);
        }
    }
}

void makeSource(const PlacedProduct& product, const std::string& definition, PlannedMachine& machine) {
    machine.giveFolder(source);
    const std::string folder = source + std::string("/");
    machine.make(folder + Branch::shared, S_IFDIR, ""); // every install needs it
    for (const PlacedProduct::Spot& spot : product.spots()) {
        makeFile(spot, folder + toString(spot.node->treePath), machine);
    }
    // The shared package installs its own definition, which its uninstall reads.
    const std::string own = std::string(Branch::shared) + "/" + SharedPackage::definitionsFolder + "/" +
                            SharedPackage::ID + ".xml";
    if (product.info().ID == SharedPackage::ID && product.find(toVLString(own)) != nullptr) {
        machine.make(folder + own, S_IFREG, toString(FileLibrary::readFile(toVLString(definition))));
    }
}

/// The first error in the log, with the paths of the tree in place of those in the source.
std::string firstErrorOf(const std::string& log) {
    const std::size_t begin = std::min(log.find("Error"), log.size());
    return toString(toVLString(log.substr(begin, log.find('\n', begin) - begin))
                        .Replace(std::string(source).append("/").c_str(), ""));
}

void install(const MachineDescription::Product& described, PlannedMachine& machine) {
    PlacedProduct product;
    std::string fault;
    if (!product.read(described.definition, described.targets, fault)) {
        throw BadDescription(fault);
    }
    makeSource(product, described.definition, machine);
    std::string log;
    std::string* const before = std::exchange(SimpleLog::held, &log);
    InstallUtility engine;
    const bool bInstalled =
        engine.run(source, toVLString(described.definition), toVLString(described.targets));
    SimpleLog::held = before;
    machine.takeBack(source);
    if (!bInstalled || !machine.alerts().empty()) {
        throw BadDescription(
            printable(described.definition) +
            " cannot be installed on the described machine: " + printable(firstErrorOf(log)));
    }
}

} // namespace

void installProducts(const MachineDescription& description, PlannedMachine& machine) {
    for (std::size_t i = 0; i < description.products.size(); ++i) {
        const MachineDescription::Product& product = description.products[i];
        machine.give(product.definition);
        machine.give(product.targets);
        try {
            install(product, machine);
        } catch (const BadDescription& fault) {
            throw BadDescription(printable(description.path) + ": products[" + std::to_string(i) +
                                 "]: " + fault.what());
        }
        machine.takeBack(product.definition);
        machine.takeBack(product.targets);
    }
}
