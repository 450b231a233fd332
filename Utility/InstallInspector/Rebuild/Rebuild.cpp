#include "Utility/InstallInspector/Rebuild/Rebuild.h"

#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Platform/FileTimes.h"
#include "Utility/InstallInspector/Documents/Record.h"
#include "Utility/InstallInspector/Documents/RecordFolder.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <algorithm>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace {

using Spot = PlacedProduct::Spot;
using TreeNode = Product::TreeNode;

/// The time of the product's last install. It places the uninstaller, or the link of the shared package.
std::int64_t lastInstallOf(const InstalledProduct& product) {
    const std::int64_t placed =
        FileTimes::of(product.isShared() ? SharedPackage::managerLink : product.uninstaller + "/Contents")
            .modified;
    return placed != 0 ? placed : FileTimes::of(product.definition).modified;
}

/// What is there of products, by path, with the number of them.
using Users = std::map<VLString, int>;

Users usersOf(const std::vector<const InstalledProduct*>& products) {
    Users users;
    for (const InstalledProduct* product : products) {
        std::set<VLString> own;
        for (const Spot& spot : product->files.spots()) {
            for (const auto& place : spot.places) {
                own.insert(place.path.ToLower());
            }
        }
        for (const VLString& path : own) {
            ++users[path];
        }
    }
    return users;
}

bool keepsSomething(const TreeNode& node) {
    return node.node->dontDelete || std::any_of(node.children.begin(), node.children.end(),
                                                [](const TreeNode* child) { return keepsSomething(*child); });
}

/// Whether an install makes the folder, the next one leaves it as it is, and an uninstall removes it.
bool isFolderOfInstall(const Spot& spot, const PlacedProduct::Place& place) {
    const VLString& path = place.path;
    const bool bRemoved = path != place.target || path.HasOf(path.IndexOfIgnoreCase("vorlane", 0));
    return !spot.bLeaf && bRemoved && !keepsSomething(*spot.node) &&
           S_ISDIR(Machine::current().linkTypeOf(path));
}

/// The time of the product's first install, from the folders that no other product has. 0 if there are none.
/// The newest folder counts, because a product that was removed may have left older ones.
std::int64_t firstInstallOf(const PlacedProduct& product, const Users& users) {
    std::int64_t first = 0;
    for (const Spot& spot : product.spots()) {
        for (const auto& place : spot.places) {
            if (isFolderOfInstall(spot, place) && users.at(place.path.ToLower()) == 1) {
                first = std::max(first, FileTimes::of(toString(place.path)).made);
            }
        }
    }
    return first;
}

/// The installed products that keep their record in a folder, each once.
class Candidates {
public:
    Candidates(const InstalledProducts& installed, const VLString& folder, Rebuild& told) : rebuild(told) {
        for (const auto& each : installed.all()) {
            if (!each->isReadable()) {
                rebuild.missing.push_back("The product of " + nameOf(*each) +
                                          " is missing: " + printable(each->fault) + ".");
            } else if (isForeign(*each)) {
                rebuild.missing.push_back("The shared package is missing: " + nameOf(*each) +
                                          " is the definition of " + quoted(*each) + ".");
            } else if (!isSameFolder(each->files.statusFolder(), folder)) {
                rebuild.uncertain.push_back(quoted(*each) + " is not in it: it keeps its record in " +
                                            quotedText(each->files.statusFolder()) + ".");
            } else {
                add(*each);
            }
        }
    }

    const std::vector<const InstalledProduct*>& all() const { return products; }

private:
    static std::string nameOf(const InstalledProduct& product) {
        return quotedText(toVLString(product.isShared() ? product.definition : product.uninstaller));
    }
    static std::string quoted(const InstalledProduct& product) { return quotedText(product.files.info().ID); }
    static bool isForeign(const InstalledProduct& product) {
        return product.isShared() && !(product.files.info().ID == SharedPackage::ID);
    }

    /// If there are two for one product, the newer one counts. The other one stayed when the product was
    /// renamed.
    void add(const InstalledProduct& product) {
        const auto known = std::find_if(products.begin(), products.end(), [&](const InstalledProduct* other) {
            return other->files.info().ID == product.files.info().ID;
        });
        if (known == products.end()) {
            products.push_back(&product);
            return;
        }
        const InstalledProduct* left = &product;
        if (lastInstallOf(**known) < lastInstallOf(product)) {
            left = std::exchange(*known, &product);
        }
        rebuild.uncertain.push_back(quoted(product) + " has two uninstallers. " + nameOf(**known) +
                                    " was placed later and counts; " + nameOf(*left) + " does not.");
    }

    Rebuild& rebuild;
    std::vector<const InstalledProduct*> products;
};

/// The products in the existing record that are not in the new one.
void nameLostProducts(const VLString& folder, Rebuild& rebuild) {
    Record record;
    std::string error;
    if (!record.read(toString(folder), error)) {
        return;
    }
    record.interpret();
    for (const auto& info : record.content.products) {
        if (!rebuild.record.hasProduct(info)) {
            rebuild.missing.push_back("The present record lists " + quotedText(info.ID) +
                                      ", of which no definition is on this machine.");
        }
    }
}

/// As the engine reads it for an install.
bool readDefinition(const std::string& path, SKUDefinition& definition) {
    InstallUtility engine;
    const bool bRead = engine.parseXMLDefinitionFile(toVLString(path));
    definition = std::move(engine.skuDefinition);
    return bRead;
}

/// Finds the shared package on a machine without an uninstaller. Its target paths are not known then, so it
/// is not one of the installed products. But the record needs no target paths.
void addLoneSharedPackage(const VLString& folder, std::vector<RecordedProduct>& products) {
    const VLString definitions = PathLibrary::GetDirectoryWithFile(folder, SharedPackage::definitionsFolder);
    const VLString path =
        PathLibrary::GetDirectoryWithFile(definitions, VLString(SharedPackage::ID) + ".xml");
    RecordedProduct shared{{}, 0, 0};
    if (products.empty() && readDefinition(toString(path), shared.definition) &&
        shared.definition.skuInfo.ID == SharedPackage::ID) {
        products.push_back(std::move(shared));
    }
}

} // namespace

Rebuild Rebuild::of(const InstalledProducts& installed, const VLString& folder) {
    Rebuild rebuild;
    const Candidates candidates(installed, folder, rebuild);
    const Users users = usersOf(candidates.all());
    std::vector<RecordedProduct> products;
    std::vector<std::string> withoutFolder;
    for (const InstalledProduct* product : candidates.all()) {
        RecordedProduct recorded;
        if (!readDefinition(product->definition, recorded.definition)) {
            continue; // it was taken away in this moment
        }
        recorded.lastInstall = lastInstallOf(*product);
        const std::int64_t first = firstInstallOf(product->files, users);
        recorded.firstInstall = first == 0 ? recorded.lastInstall : std::min(first, recorded.lastInstall);
        if (first == 0) {
            withoutFolder.push_back(quotedText(product->files.info().ID));
        }
        products.push_back(std::move(recorded));
    }
    if (products.size() > 1 && !withoutFolder.empty()) {
        rebuild.uncertain.push_back(
            "The place in the order of " + joined(withoutFolder, ", ") +
            " is that of the last install, for want of a folder that no other product "
            "has.");
    }
    addLoneSharedPackage(folder, products);
    rebuild.record = rebuiltRecord(std::move(products));
    nameLostProducts(folder, rebuild);
    return rebuild;
}
