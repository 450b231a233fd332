// Differences between the record, the compared products and this machine.
#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Utility/InstallInspector/Documents/Bundle.h"
#include "Utility/InstallInspector/Documents/OtherHomes.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Status/Status.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace {

using Condition = Status::Condition;
using Place = PlacedProduct::Place;
using Spot = PlacedProduct::Spot;
using TreeNode = Product::TreeNode;

mode_t typeOf(const VLString& path) {
    return Machine::current().typeOf(path);
}

bool exists(const VLString& path) {
    return Machine::current().linkTypeOf(path) != 0;
}

/// Whether an install of the node can have made what is at `path`. A node that is listed as a file may be a
/// folder in the source, which nobody can see on this machine.
bool fits(const Spot& spot, const VLString& path) {
    const mode_t type = typeOf(path);
    return S_ISDIR(type) || (S_ISREG(type) && !spot.node->node->isDirectory);
}

bool isThere(const Spot& spot) {
    return std::any_of(spot.places.begin(), spot.places.end(),
                       [&](const Place& place) { return fits(spot, place.path); });
}

std::string withEntries(std::size_t count) {
    return count < 2 ? "" : " with " + std::to_string(count) + " entries";
}

/// Calls `visit` with each file or whole folder of each product that is in the record.
template <class Visitor>
void forEachRecordedLeaf(const Status& status, Visitor visit) {
    for (PlacedProduct* const product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded = status.record.find(spot.node->treePath);
            if (spot.bLeaf && recorded != nullptr) {
                visit(*product, spot, *recorded);
            }
        }
    }
}

std::set<VLString> pathsOf(const std::vector<Place>& places) {
    std::set<VLString> paths;
    for (const Place& place : places) {
        paths.insert(place.path.ToLower());
    }
    return paths;
}

std::string pathsIn(const std::vector<Place>& places) {
    std::string text;
    for (const Place& place : places) {
        text += (text.empty() ? "" : " and ") + quotedText(place.path);
    }
    return text;
}

const char* isOrAre(std::size_t count) {
    return count == 1 ? "is" : "are";
}

// Missing, or something else

/// The uppermost path on this machine that should be there because of the record, and is missing or of
/// another kind.
struct Loss {
    const TreeNode* node;
    const PlacedProduct* product; ///< a product that installs it
    std::set<VLString> leaves;    ///< the lost files and whole folders, by their path in the tree
    std::vector<std::string> paths;
    bool bOtherKind;
};

/// Whether the product has the recorded build of the path. Then an install of the product brings the right
/// file.
bool isOfRecordedBuild(const PlacedProduct& product, const Record::Node& recorded) {
    return recorded.recorded->isDirectory || recorded.recorded->build == product.info().build;
}

/// All losses, by path on this machine.
std::map<VLString, Loss> lossesIn(const Status& status) {
    std::map<VLString, Loss> losses;
    for (const PlacedProduct* const product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded = spot.bLeaf ? status.record.find(spot.node->treePath) : nullptr;
            if (recorded == nullptr || status.explained.count(recorded) != 0) {
                continue;
            }
            for (const Place& place : spot.places) {
                if (fits(spot, place.path)) {
                    continue;
                }
                VLString top = place.path;
                const TreeNode* node = spot.node;
                while (!exists(top) && top.Size() > place.target.Size() &&
                       !S_ISDIR(typeOf(folderAbove(top)))) {
                    top = folderAbove(top);
                    node = node->parent;
                }
                Loss& loss = losses.try_emplace(top, Loss{node, product, {}, {}, exists(top)}).first->second;
                if (loss.leaves.insert(spot.node->treePath).second) {
                    loss.paths.push_back(toString(place.path));
                }
                if (isOfRecordedBuild(*product, *recorded)) {
                    loss.product = product;
                }
            }
        }
    }
    return losses;
}

void missingFile(Status& status, const Report& report) {
    if (!status.canCompareRecord()) {
        return;
    }
    const std::map<VLString, Loss> losses = lossesIn(status);
    for (const PlacedProduct* const product : status.products) {
        const Loss* first = nullptr;
        std::string top;
        std::size_t tops = 0;
        std::vector<std::string> paths;
        for (const auto& [path, loss] : losses) {
            if (loss.bOtherKind || loss.product != product) {
                continue;
            }
            if (tops++ == 0) {
                first = &loss;
                top = quotedText(path);
            }
            paths.insert(paths.end(), loss.paths.begin(), loss.paths.end());
        }
        if (first == nullptr) {
            continue;
        }
        report(status.record.near(first->node->treePath),
               tops == 1 ? quotedText(first->node->treePath) + withEntries(first->leaves.size()) +
                               " is missing: there is no " + top
                         : files(paths.size()) + " of " + quoted(product->info()) +
                               " are missing: there is no " + firstFew(paths),
               "The record counts " + std::string(paths.size() == 1 ? "it" : "them") +
                   " as installed. A file was removed by other hands, could not be copied, or its host came "
                   "after the install.",
               "Install " + quoted(product->info()) + " again, which copies what is missing.", paths)
            .install = toString(product->info().ID);
    }
}

std::string kindOf(const VLString& path) {
    const mode_t type = typeOf(path);
    return type == 0       ? "a link that leads nowhere"
           : S_ISREG(type) ? "a file"
           : S_ISDIR(type) ? "a folder"
                           : "neither file nor folder";
}

void changedKind(Status& status, const Report& report) {
    if (!status.canCompareRecord()) {
        return;
    }
    for (const auto& [path, loss] : lossesIn(status)) {
        if (loss.bOtherKind) {
            report(status.record.near(loss.node->treePath),
                   quotedText(path) + " is " + kindOf(path) + ", where " + quotedText(loss.node->treePath) +
                       " should be a " + (loss.node->node->isDirectory ? "folder" : "file"),
                   "An uninstall does not remove it, and an install may not be able to replace it.",
                   "Move it away, and install " + quoted(loss.product->info()) + " again.", {toString(path)});
        }
    }
    for (PlacedProduct* const product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded = status.record.find(spot.node->treePath);
            const bool bFolder = spot.node->node->isDirectory;
            if (recorded != nullptr && recorded->recorded->isDirectory != bFolder) {
                report(
                    status.record.at(*recorded),
                    quotedText(spot.node->treePath) + " is a " + (bFolder ? "file" : "folder") +
                        " in the record and a " + (bFolder ? "folder" : "file") + " in the definition of " +
                        quoted(product->info()),
                    bFolder
                        ? "What the definition has below it is written into the record, but not read again: "
                          "no uninstall removes it."
                        : "It has no build in the record, so that every install replaces it.",
                    "List it as the same in all products that have it.");
            }
        }
    }
}

void folderForFile(Status& status, const Report& report) {
    std::set<VLString> found;
    const Record::Node* first = nullptr;
    const PlacedProduct* owner = nullptr;
    for (const PlacedProduct* const product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded =
                spot.node->node->isDirectory ? nullptr : status.record.find(spot.node->treePath);
            for (const Place& place : spot.places) {
                if (recorded != nullptr && S_ISDIR(typeOf(place.path)) && !isBundle(toString(place.path))) {
                    found.insert(place.path);
                    first = first == nullptr ? recorded : first;
                    owner = owner == nullptr ? product : owner;
                }
            }
        }
    }
    if (first == nullptr) {
        return;
    }
    std::vector<std::string> paths;
    paths.reserve(found.size());
    for (const VLString& path : found) {
        paths.push_back(toString(path));
    }
    report(status.record.at(*first),
           firstFew(paths) + " " + isOrAre(paths.size()) +
               (paths.size() == 1 ? " a folder where a file of " : " folders where files of ") +
               quoted(owner->info()) +
               (paths.size() == 1 ? " goes: it may be someone's own"
                                  : " and others go: they may be someone's own"),
           "An uninstall removes such a folder with everything in it.",
           "If the product brings no folder of that name, move it away, and install " +
               quoted(owner->info()) + " again.",
           paths);
}

// Not in the record

bool isRecorded(const Status& status, const PlacedProduct& product) {
    return status.record.hasProduct(product.info().ID);
}

/// How many recorded products list the path.
std::int32_t recordedUsesOf(const Status& status, const VLString& path) {
    return static_cast<std::int32_t>(
        std::count_if(status.products.begin(), status.products.end(), [&](const PlacedProduct* product) {
            return isRecorded(status, *product) && product->find(path) != nullptr;
        }));
}

/// Whether the counts still contain the uses of a product that the record does not list.
bool isStillCounted(const Status& status, const PlacedProduct& product) {
    bool bAny = false;
    for (const Spot& spot : product.spots()) {
        const Record::Node* recorded = status.record.find(spot.node->treePath);
        if (recorded != nullptr && recorded->recorded->ref <= recordedUsesOf(status, spot.node->treePath)) {
            return false;
        }
        bAny = bAny || recorded != nullptr;
    }
    return bAny;
}

/// An XML attribute, with a blank before it.
std::string attribute(const char* name, const VLString& value) {
    return std::string(" ") + name + "=" + quotedText(value);
}

/// The files and whole folders of the product that are on this machine.
std::vector<std::string> filesOf(const PlacedProduct& product) {
    std::vector<std::string> paths;
    for (const Spot& spot : product.spots()) {
        for (const Place& place : spot.places) {
            if (spot.bLeaf && fits(spot, place.path)) {
                paths.push_back(toString(place.path));
            }
        }
    }
    return paths;
}

void productNotRecorded(Status& status, const Report& report) {
    for (PlacedProduct* const product : status.products) {
        const InstalledProduct* installed = status.installedOf(*product);
        const bool bShouldBeRecorded =
            status.record.state == Record::State::Readable ||
            (status.record.state == Record::State::Missing && installed != nullptr);
        if (!bShouldBeRecorded || isRecorded(status, *product)) {
            continue;
        }
        const auto& info = product->info();
        const std::string advice =
            status.record.state == Record::State::Missing
                ? "Let InstallInspector rebuild make the record anew (Docs/inspector.md "
                  "has the three steps), or install it again, which records it."
            : isStillCounted(status, *product) ? "The counts still have its uses. Let InstallInspector "
                                                 "rebuild make the record anew, or add <sku" +
                                                     attribute("ID", info.ID) + attribute("name", info.name) +
                                                     attribute("build", info.build) + "/> to its products."
                                               : "Install it again, which records it.";
        const bool bUninstaller = installed != nullptr && !installed->isShared();
        report(
            status.record.start(),
            "the record does not list the product " + quoted(info) +
                (installed == nullptr ? std::string()
                                      : ", of which " +
                                            quotedText(toVLString(bUninstaller ? installed->uninstaller
                                                                               : installed->definition)) +
                                            " is there"),
            bUninstaller ? "Its uninstall lowers no count and leaves its files. It removes its uninstaller."
                         : "Its uninstall lowers no count and leaves its files.",
            installed == nullptr ? "Is this the right definition, and the right folder? " + advice : advice,
            filesOf(*product));
    }
}

void reportElsewhere(const Status& status, const Report& report, const PlacedProduct& product) {
    const VLString& own = product.statusFolder();
    report(product.product().targetsFile.start(),
           own.IsEmpty() ? "no path of the item VorlaneFX applies here, for " + quoted(product.info())
                         : quoted(product.info()) + " keeps its record in " + quotedText(own),
           own.IsEmpty() ? "The engine keeps no record for the product on this machine."
                         : "The record shown is not the one that its install and uninstall use.",
           own.IsEmpty()          ? "Begin the item with a path that always applies."
           : status.given.empty() ? "Ask for the status of that folder, too."
                                  : "Give that folder, or have all products name the same one.");
}

void recordElsewhere(Status& status, const Report& report) {
    const VLString folder = folderAbove(toVLString(status.record.path));
    for (const PlacedProduct* const product : status.products) {
        if (!isSameFolder(folder, product->statusFolder())) {
            reportElsewhere(status, report, *product);
        }
    }
    for (const InstalledProduct* const product : status.elsewhere) {
        status.explainedProducts.insert(product->files.info().ID);
        reportElsewhere(status, report, product->files);
    }
}

void otherBuild(Status& status, const Report& report) {
    for (PlacedProduct* const product : status.products) {
        const int index = status.record.content.getProductIndex(product->info());
        if (index < 0) {
            continue;
        }
        const VLString& build = status.record.content.products[static_cast<unsigned long>(index)].build;
        if (build != product->info().build) {
            Finding& finding =
                report(status.record.start(),
                       "installed is the build " + quotedText(build) + " of " + quoted(product->info()) +
                           ", the definition is of " + quotedText(product->info().build),
                       "The two may list different files, so that what is said of its files may not hold.",
                       status.installedOf(*product) != nullptr
                           ? "Install the newer of the two builds of " + quoted(product->info()) + " again."
                           : "Give the definition that was installed; the uninstaller has it in its Contents "
                             "folder.");
            if (status.installedOf(*product) != nullptr) {
                finding.install = toString(product->info().ID);
            }
        }
    }
}

/// A part of the tree that is on this machine and not in the record.
struct Unrecorded {
    const TreeNode* top;
    std::vector<std::string> paths;
};

/// The uppermost node on the way to `leaf` that is not recorded. Null if the record has a file where the tree
/// has a folder: "changed-kind" reports that.
const TreeNode* uppermostUnrecorded(const Status& status, const TreeNode& leaf) {
    const TreeNode* top = &leaf;
    while (top->parent->parent != nullptr) {
        if (const Record::Node* above = status.record.find(top->parent->treePath)) {
            return above->recorded->isDirectory ? top : nullptr;
        }
        top = top->parent;
    }
    return top;
}

std::vector<Unrecorded> unrecordedOf(const Status& status, const PlacedProduct& product,
                                     std::set<VLString>& reported) {
    std::vector<Unrecorded> found;
    std::map<const TreeNode*, std::size_t> places;
    for (const Spot& spot : product.spots()) {
        if (!spot.bLeaf || !isThere(spot) || status.record.find(spot.node->treePath) != nullptr ||
            !reported.insert(spot.node->treePath).second) {
            continue;
        }
        if (const TreeNode* top = uppermostUnrecorded(status, *spot.node)) {
            const auto known = places.try_emplace(top, found.size());
            if (known.second) {
                found.push_back({top, {}});
            }
            found[known.first->second].paths.push_back(toString(spot.places.front().path));
        }
    }
    return found;
}

/// How the path gets into the record. If several products use it, an install of one of them counts one use
/// only.
std::string howToEnter(const Status& status, const PlacedProduct& product, const VLString& path) {
    std::vector<std::string> users;
    for (const PlacedProduct* const each : status.products) {
        if (isRecorded(status, *each) && each->find(path) != nullptr) {
            users.push_back(toString(each->info().ID));
        }
    }
    return users.size() < 2
               ? "Install " + quoted(product.info()) + " again, which enters it."
               : "Uninstall " + firstFew(users) + ", and install them again: that counts all uses.";
}

void notRecorded(Status& status, const Report& report) {
    if (!status.canCompareRecord()) {
        return;
    }
    std::set<VLString> reported;
    for (PlacedProduct* const product : status.products) {
        const bool bProductReported =
            !isRecorded(status, *product) &&
            (status.record.state == Record::State::Readable || status.installedOf(*product) != nullptr);
        if (bProductReported) {
            continue; // "product-not-recorded" reports the whole product
        }
        const std::vector<Unrecorded> found = unrecordedOf(status, *product, reported);
        if (found.empty()) {
            continue;
        }
        std::vector<std::string> paths;
        for (const Unrecorded& part : found) {
            paths.insert(paths.end(), part.paths.begin(), part.paths.end());
        }
        const VLString& top = found.front().top->treePath;
        report(
            status.record.near(top),
            found.size() == 1
                ? quotedText(top) + withEntries(paths.size()) + " is on this machine and not in the record" +
                      (paths.size() > 1 ? ", such as " : ": ") + quotedText(toVLString(paths.front()))
                : files(paths.size()) + " of " + quoted(product->info()) +
                      " are on this machine and not in the record: " + firstFew(paths),
            "No uninstall removes what the record does not list.", howToEnter(status, *product, top), paths);
    }
}

// Folders

std::set<VLString> placesInUse(const Status& status) {
    std::set<VLString> inUse;
    for (const PlacedProduct* const product : status.products) {
        for (const Spot& spot : product->spots()) {
            for (const Place& place : spot.places) {
                inUse.insert(place.path.ToLower());
            }
        }
    }
    return inUse;
}

/// Calls `visit` with each recorded node that is in a target folder whose condition does not hold today.
template <class Visitor>
void forEachLeftBehind(const Status& status, Visitor visit) {
    std::set<VLString> inUse;
    for (const PlacedProduct* const product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded =
                spot.bLeaf && !spot.idle.empty() ? status.record.find(spot.node->treePath) : nullptr;
            if (recorded == nullptr) {
                continue;
            }
            if (inUse.empty()) {
                inUse = placesInUse(status);
            }
            for (const Place& place : spot.idle) {
                // A target folder itself may belong to anyone.
                if (place.path != place.target && inUse.count(place.path.ToLower()) == 0 &&
                    fits(spot, place.path)) {
                    visit(*product, spot, place, *recorded);
                }
            }
        }
    }
}

/// The files of a product that are left behind in one target folder.
struct FilesLeftBehind {
    const PlacedProduct* product;
    VLString treePath;
    Location where;
    const TiXmlElement* element;
    std::set<VLString> paths;
};

void leftBehind(Status& status, const Report& report) {
    if (!status.canCompareRecord()) {
        return;
    }
    std::map<VLString, FilesLeftBehind> left; // by target folder
    forEachLeftBehind(status, [&](const PlacedProduct& product, const Spot& spot, const Place& place,
                                  const Record::Node& recorded) {
        left.try_emplace(
                place.target,
                FilesLeftBehind{&product, spot.node->treePath, status.record.at(recorded), place.element, {}})
            .first->second.paths.insert(place.path);
    });
    for (const auto& [target, found] : left) {
        std::vector<std::string> paths;
        for (const VLString& path : found.paths) {
            paths.push_back(toString(path));
        }
        report(
            found.where,
            (paths.size() == 1
                 ? quotedText(found.treePath) + " is in "
                 : files(paths.size()) + ", such as " + quotedText(found.treePath) + ", are in ") +
                quotedText(target) + ", of which the condition does not hold today (line " +
                std::to_string(found.element->Row()) + " of " +
                printableText(toVLString(found.product->product().targetsFile.path())) + ")",
            "The conditions are weighed again at an uninstall: it does not look there, and leaves the files.",
            "Bring back what the condition tests before the uninstall, or move them away.", paths);
    }
}

// Other users

std::string userOf(const std::string& home) {
    return quotedText(toVLString(home.substr(home.rfind('/') + 1)));
}

void otherHome(Status& status, const Report& report) {
    for (const auto& [home, paths] : status.inOtherHomes) {
        report(status.record.start(),
               files(paths.size()) + " " + isOrAre(paths.size()) + " in the home of the user " +
                   userOf(home) + ": " + firstFew(paths),
               "An uninstall looks in the home of the user who starts it: only that user's uninstall removes "
               "them.",
               "Move them away, or uninstall as the user " + userOf(home) +
                   " (HOME=" + quotedText(toVLString(home)) +
                   "), and install again as the user who is to have the product.",
               paths);
    }
}

void hiddenHome(Status& status, const Report& report) {
    for (const auto& [home, paths] : status.hiddenHomes) {
        report(status.record.start(),
               "this user may not look into the home of the user " + userOf(home) + ", where " +
                   files(paths.size()) + " may be: " + firstFew(paths),
               "Whether the product has files there cannot be told. What is missing here may be there.",
               "Ask as the superuser.", paths);
    }
}

// Products without a definition

void notCompared(Status& status, const Report& report) {
    std::vector<std::string> names;
    for (const auto& info : status.record.content.products) {
        const bool bCompared =
            std::any_of(status.products.begin(), status.products.end(),
                        [&](const PlacedProduct* product) { return product->info().ID == info.ID; });
        if (!bCompared && (status.explainedProducts.count(info.ID) == 0 || !status.given.empty())) {
            names.push_back(toString(info.ID.IsSet() ? info.ID : info.name));
        }
    }
    if (!names.empty()) {
        report(status.record.start(),
               std::string("without ") +
                   (names.size() == 1 ? "its definition the product " : "their definitions the products ") +
                   firstFew(names) + " could not be compared",
               "Whether the files are there and the counts right cannot be told.",
               status.given.empty() ? "Give the definitions and target paths of all products with --sku and "
                                      "--targets."
                                    : "Give the definitions of all products, or none: without any, those in "
                                      "the uninstallers count.",
               names);
    }
}

void severalFolders(Status& status, const Report& report) {
    std::set<VLString> reported;
    for (const PlacedProduct* const first : status.products) {
        for (const PlacedProduct* const second : status.products) {
            if (first >= second) {
                continue;
            }
            for (const Spot& spot : first->spots()) {
                const Spot* other = second->find(spot.node->treePath);
                if (other == nullptr || spot.places.empty() || other->places.empty() ||
                    pathsOf(spot.places) == pathsOf(other->places) ||
                    status.record.find(spot.node->treePath) == nullptr) {
                    continue;
                }
                const bool bBelow = reported.count(spot.node->parent->treePath) != 0;
                reported.insert(spot.node->treePath);
                if (!bBelow) {
                    report(status.record.near(spot.node->treePath),
                           quotedText(spot.node->treePath) + " lies in " + pathsIn(spot.places) + " for " +
                               quoted(first->info()) + ", in " + pathsIn(other->places) + " for " +
                               quoted(second->info()),
                           "The record has one count for both. The product that goes first leaves its files, "
                           "and "
                           "the one that goes last removes its own alone.",
                           "Give the same target path in both products, or another name in the tree.");
                }
            }
        }
    }
}

// Counts

/// Counts the products that use a path: the recorded ones, and those that the record does not list but still
/// counts.
class Uses {
public:
    explicit Uses(const Status& status) {
        for (const PlacedProduct* const product : status.products) {
            if (isRecorded(status, *product) || isStillCounted(status, *product)) {
                products.push_back(product);
            }
        }
    }

    std::int32_t of(const VLString& path) const {
        return static_cast<std::int32_t>(
            std::count_if(products.begin(), products.end(),
                          [&](const PlacedProduct* product) { return product->find(path) != nullptr; }));
    }

private:
    std::vector<const PlacedProduct*> products;
};

/// Whether an uninstaller on this machine lists the path, even if its product is not compared.
bool isInUninstaller(const Status& status, const VLString& path) {
    const auto& installed = status.installed.all();
    return std::any_of(installed.begin(), installed.end(), [&](const auto& product) {
        return product->isReadable() && product->files.find(path) != nullptr;
    });
}

/// Adds the paths where the recorded node is on this machine. They follow from the products that list the
/// folder above it. Leaves out what may belong to a product: inside a folder that it copies whole, or as
/// another path of its tree.
void addPlacesOnDisk(const Status& status, const Record::Node& node, std::set<VLString>& found) {
    const std::set<VLString> inUse = placesInUse(status);
    std::set<VLString> paths;
    for (const PlacedProduct* const product : status.products) {
        const Spot* above = product->find(pathOf(*node.parent));
        if (above != nullptr && above->bLeaf) {
            return;
        }
        for (const Place& place : above == nullptr ? std::vector<Place>() : above->places) {
            const VLString path = PathLibrary::GetDirectoryWithFile(place.path, node.recorded->name);
            if (exists(path) && inUse.count(path.ToLower()) == 0) {
                paths.insert(path);
            }
        }
    }
    found.insert(paths.begin(), paths.end());
}

/// Recorded paths that no installed product lists.
struct Unlisted {
    std::vector<const Record::Node*> tops; ///< the uppermost ones
    std::vector<std::string> treePaths;
};

Unlisted unlistedIn(const Status& status) {
    const Uses uses(status);
    std::set<const Record::Node*> found;
    Unlisted unlisted;
    for (const Record::Node& node : status.record.nodes) {
        const VLString path = pathOf(node);
        if (node.parent == nullptr || uses.of(path) > 0 || isInUninstaller(status, path)) {
            continue;
        }
        found.insert(&node);
        unlisted.treePaths.push_back(toString(path));
        if (found.count(node.parent) == 0) {
            unlisted.tops.push_back(&node);
        }
    }
    return unlisted;
}

void inNoDefinition(Status& status, const Report& report) {
    const Unlisted unlisted = isComplete(status) ? unlistedIn(status) : Unlisted();
    if (unlisted.tops.empty()) {
        return;
    }
    std::set<VLString> there;
    for (const Record::Node* top : unlisted.tops) {
        addPlacesOnDisk(status, *top, there);
    }
    std::vector<std::string> paths;
    std::transform(there.begin(), there.end(), std::back_inserter(paths), toString);
    report(status.record.at(*unlisted.tops.front()),
           "no installed product lists " + (unlisted.tops.size() == 1
                                                ? quotedText(pathOf(*unlisted.tops.front()))
                                                : firstFew(unlisted.treePaths)),
           "An earlier build did, and the count stays: no uninstall removes what it has installed there.",
           (paths.empty() ? "Let " : "Move away " + firstFew(paths) + ", and let ") +
               std::string("InstallInspector rebuild make the record anew."),
           paths.empty() ? unlisted.treePaths : paths);
}

void countDiffers(Status& status, const Report& report) {
    if (!isComplete(status)) {
        return;
    }
    const Uses users(status);
    std::map<const Record::Node*, std::int32_t> reported; // how much too high
    for (const Record::Node& node : status.record.nodes) {
        const VLString path = pathOf(node);
        const std::int32_t uses = node.parent == nullptr ? 0 : users.of(path);
        const std::int32_t excess = uses == 0 ? 0 : node.recorded->ref - uses;
        if (excess == 0) {
            continue;
        }
        reported[&node] = excess;
        const auto above = reported.find(node.parent);
        if (above == reported.end() || above->second != excess) {
            report(status.record.at(node),
                   quotedText(path) + " has the count " + std::to_string(node.recorded->ref) + ", and " +
                       counted(static_cast<std::size_t>(uses), "installed product", "installed products") +
                       (uses == 1 ? " lists it" : " list it"),
                   excess > 0 ? "The count never comes to 0: no uninstall removes it."
                              : "It comes to 0 too early: it is removed while a product needs it.",
                   "Write ref=\"" + std::to_string(uses) +
                       "\" there, or let InstallInspector rebuild make the record anew.",
                   {toString(path)});
        }
    }
}

// Shortcuts

/// The product whose install copies the recorded file again. An older build than the recorded one does not.
/// `one` if no product has the recorded build.
const PlacedProduct& copierOf(const Status& status, const Record::Node& recorded, const PlacedProduct& one) {
    const VLString path = pathOf(recorded);
    const auto found =
        std::find_if(status.products.begin(), status.products.end(), [&](const PlacedProduct* product) {
            return product->find(path) != nullptr && isOfRecordedBuild(*product, recorded);
        });
    return found == status.products.end() ? one : **found;
}

void shortCut(Status& status, const Report& report) {
    std::set<VLString> reported;
    forEachRecordedLeaf(status, [&](const PlacedProduct& product, const Spot& spot,
                                    const Record::Node& recorded) {
        VLString link;
        if (!recorded.recorded->IsShortCutInfoValid() || !isThere(spot) ||
            !InstallUtility::createFullShortCutName(*recorded.recorded, link) ||
            !reported.insert(link).second) {
            return;
        }
        const VLString target = targetOfLink(link);
        if (pathsOf(spot.places).count(target.ToLower()) == 0) {
            const auto& copier = copierOf(status, recorded, product).info();
            report(status.record.at(recorded),
                   quotedText(link) +
                       (target.IsSet() ? " leads to " + quotedText(target)
                        : exists(link) ? std::string(" is no link")
                                       : std::string(" is missing")) +
                       ", and should lead to " + quotedText(spot.places.front().path),
                   exists(link) ? "The uninstall that removes the file removes it all the same."
                                : "Users do not find the file where the product says.",
                   "Install " + quoted(copier) + " again, which makes the shortcut when it copies the file.",
                   {toString(link)})
                .install = toString(copier.ID);
        }
    });
}

// The condition of each path

/// Looks at the places of the product, which it has for the user with the home folder `home`. Skips those in
/// `seen`, and adds the others there.
void lookIntoHome(Status& status, const PlacedProduct& product, const std::string& home,
                  std::set<VLString>& seen) {
    for (const Spot& spot : product.spots()) {
        const Record::Node* recorded = spot.bLeaf ? status.record.find(spot.node->treePath) : nullptr;
        if (recorded == nullptr) {
            continue;
        }
        for (const auto* places : {&spot.places, &spot.idle}) {
            for (const Place& place : *places) {
                if (place.path == place.target || !seen.insert(place.path.ToLower()).second) {
                    continue;
                }
                if (fits(spot, place.path)) {
                    status.inOtherHomes[home].push_back(toString(place.path));
                    status.conditions[recorded] = Condition::OtherHome;
                } else if (places == &spot.places && isHidden(place.path)) {
                    status.hiddenHomes[home].push_back(toString(place.path));
                    status.explained.insert(recorded);
                }
            }
        }
    }
}

void lookIntoOtherHomes(Status& status) {
    std::set<VLString> inUse;
    const std::vector<std::string> homes = otherHomes();
    for (PlacedProduct* const product : status.products) {
        if (homes.empty() || !dependsOnUser(*product)) {
            continue;
        }
        if (inUse.empty()) {
            inUse = placesInUse(status);
        }
        std::set<VLString> seen = inUse;
        for (const std::string& home : homes) {
            {
                const OtherHome asUser(home);
                product->placeAgain();
            }
            lookIntoHome(status, *product, home, seen);
        }
        product->placeAgain();
    }
}

Condition conditionOf(const Spot& spot, const Place& place) {
    return !spot.bLeaf || fits(spot, place.path) ? Condition::There
           : exists(place.path)                  ? Condition::OtherKind
                                                 : Condition::Missing;
}

} // namespace

bool isComplete(const Status& status) {
    const auto& installed = status.record.content.products;
    return !status.products.empty() && std::all_of(installed.begin(), installed.end(), [&](const auto& info) {
        return std::any_of(status.products.begin(), status.products.end(), [&](const auto& product) {
            return product->info().ID == info.ID && product->info().build == info.build;
        });
    });
}

void findConditions(Status& status) {
    lookIntoOtherHomes(status);
    std::map<const Record::Node*, Condition> here;
    for (const PlacedProduct* const product : status.products) {
        for (const Spot& spot : product->spots()) {
            const Record::Node* recorded = status.record.find(spot.node->treePath);
            if (recorded == nullptr) {
                continue;
            }
            Condition& condition = here[recorded];
            if (spot.places.empty() && spot.bLeaf && condition == Condition::Unknown) {
                condition = Condition::NoTarget;
            }
            for (const Place& place : spot.places) {
                const Condition now = conditionOf(spot, place);
                condition = std::max(condition, now);
            }
        }
    }
    // A path that is missing here but exists in another home is not lost. The finding about that home
    // explains it.
    for (auto& [recorded, condition] : here) {
        const auto other = status.conditions.find(recorded);
        if (other != status.conditions.end() &&
            (condition == Condition::Missing || condition == Condition::NoTarget)) {
            condition = other->second;
            status.explained.insert(recorded);
        }
    }
    forEachLeftBehind(status,
                      [&](const PlacedProduct&, const Spot&, const Place&, const Record::Node& recorded) {
                          Condition& condition = here[&recorded];
                          if (condition == Condition::Missing || condition == Condition::NoTarget) {
                              condition = Condition::LeftBehind;
                              status.explained.insert(&recorded);
                          }
                      });
    status.conditions = std::move(here);
}

const std::vector<StatusRuleEntry>& machineRules() {
    static const std::vector<StatusRuleEntry> rules = {
        {{"product-not-recorded", Severity::Error, "a given product that the record does not list"},
         productNotRecorded},
        {{"record-elsewhere", Severity::Warning, "a product that keeps its record in another folder"},
         recordElsewhere},
        {{"other-build", Severity::Warning, "a definition of another build than the recorded one"},
         otherBuild},
        {{"not-compared", Severity::Warning, "a recorded product whose definition is not at hand"},
         notCompared},
        {{"missing-file", Severity::Error, "a recorded file or folder that is not there"}, missingFile},
        {{"changed-kind", Severity::Error, "a file in the place of a folder, or the reverse"}, changedKind},
        {{"not-recorded", Severity::Error, "an installed file or folder that is not in the record"},
         notRecorded},
        {{"left-behind", Severity::Error, "files in a folder that today's conditions no longer reach"},
         leftBehind},
        {{"other-home", Severity::Error, "recorded files in the home folder of another user"}, otherHome},
        {{"hidden-home", Severity::Warning, "a home folder that this user may not look into"}, hiddenHome},
        {{"folder-for-file", Severity::Warning, "a folder in the place of a recorded file"}, folderForFile},
        {{"several-folders", Severity::Error,
          "one path of the tree in different folders for several products"},
         severalFolders},
        {{"in-no-definition", Severity::Error, "a recorded path that no installed product lists"},
         inNoDefinition},
        {{"count-differs", Severity::Error, "a count other than how many installed products list the path"},
         countDiffers},
        {{"shortcut-missing", Severity::Error, "a shortcut that is missing or leads elsewhere"}, shortCut},
    };
    return rules;
}
