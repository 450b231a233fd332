#include "Utility/InstallInspector/Plan/Survey.h"

#include "Utility/InstallInspector/Documents/Bundle.h"
#include "Utility/InstallInspector/Documents/FolderAbove.h"
#include "Utility/InstallInspector/Documents/OtherHomes.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/Pattern.h"

#include <algorithm>
#include <cstring>
#include <sys/stat.h>
#include <utility>

namespace {

using Reach = OwnedPlace::Reach;

} // namespace

bool isOrWasBundle(const std::string& path, PlannedMachine& machine) {
    return isBundle(path, machine) || isBundle(path, machine.before());
}

// What is owned

void Survey::Owned::add(const OwnedPlace& place, mode_t type, bool bWithAll, PlannedMachine& planned) {
    if (!places.insert(place.place).second) {
        return;
    }
    // A folder that is listed as a file may belong to someone else.
    if (bWithAll && !place.bShortCut &&
        (place.bFolder || (type == S_IFDIR && isOrWasBundle(place.path, planned)))) {
        folders.insert(place.place);
    }
    for (std::string folder = folderAbove(place.place); !folder.empty() && above.insert(folder).second;) {
        folder = folderAbove(folder);
    }
}

bool Survey::Owned::has(const std::string& place) const {
    if (places.count(place) != 0) {
        return true;
    }
    for (std::string folder = folderAbove(place); !folders.empty() && !folder.empty();
         folder = folderAbove(folder)) {
        if (folders.count(folder) != 0) {
            return true;
        }
    }
    return false;
}

void Survey::addPlace(OwnedPlace place, OwnedFiles& files, std::set<std::string>& known) {
    place.place = machine.placeOf(place.path);
    // Of places that differ only in their reach, the first one counts.
    if (!known.insert(place.treePath + '\n' + place.place).second) {
        return;
    }
    place.before = machine.linkTypeOf(toVLString(place.path));
    place.linkBefore = place.before == S_IFLNK ? machine.linkText(place.path) : "";
    files.places.push_back(std::move(place));
}

/// The place of a node of the shared package next to the record. The package was installed with target paths
/// of its own that put VorlaneFX there, and nobody keeps them. The inspector has only the target paths of
/// another product, which may put parts of it elsewhere.
PlacedProduct::Place besideRecord(const PlacedProduct& shared, const std::string& treePath) {
    const VLString& folder = shared.statusFolder();
    return {folder + toVLString(treePath.substr(std::strlen("VorlaneFX"))), folder, nullptr, nullptr};
}

void Survey::addPlaces(const PlacedProduct& placed, Reach reach, bool bShared, OwnedFiles& files,
                       std::set<std::string>& known) {
    std::unordered_map<const Product::TreeNode*, bool> stays;
    for (const PlacedProduct::Spot& spot : placed.spots()) {
        const FileNode& node = *spot.node->node;
        const bool bStays = node.dontDelete || (spot.node->parent != nullptr && stays[spot.node->parent]);
        stays[spot.node] = bStays;
        if (!spot.bLeaf) {
            continue;
        }
        OwnedPlace owned;
        owned.treePath = toString(spot.node->treePath);
        owned.bFolder = node.isDirectory;
        owned.bStays = bStays;
        const auto add = [&](const PlacedProduct::Place& place, Reach as) {
            owned.path = toString(place.path);
            owned.reach = as;
            owned.bTarget = place.path == place.target;
            addPlace(owned, files, known);
        };
        for (const PlacedProduct::Place& place : spot.places) {
            add(place, reach);
        }
        for (const PlacedProduct::Place& place : spot.idle) {
            add(place, reach == Reach::Today ? Reach::Idle : reach);
        }
        if (bShared && placed.statusFolder().IsSet() && owned.treePath.rfind("VorlaneFX/", 0) == 0) {
            add(besideRecord(placed, owned.treePath), Reach::BesideRecord);
        }
        VLString shortCut;
        if (reach == Reach::Today && node.IsShortCutInfoValid() &&
            !(spot.places.empty() && spot.idle.empty()) &&
            InstallUtility::createFullShortCutName(node, shortCut)) {
            owned.bShortCut = true;
            owned.path = toString(shortCut);
            owned.reach = spot.places.empty() ? Reach::Idle : Reach::Today;
            addPlace(owned, files, known);
        }
    }
}

OwnedFiles Survey::filesOf(PlacedProduct& placed, const std::string& uninstaller, bool bShared) {
    OwnedFiles files;
    files.product = placed.info();
    files.uninstaller = uninstaller;
    if (placed.statusFolder().IsSet()) {
        files.recordPlace = machine.placeOf(toString(InstallUtility::statusFilePath(placed.statusFolder())));
    }
    for (const PlacedProduct::Spot& spot : placed.spots()) {
        files.tree[toString(spot.node->treePath)] = {spot.node->node->isDirectory, spot.bLeaf};
    }
    std::set<std::string> known;
    addPlaces(placed, Reach::Today, bShared, files, known);
    if (dependsOnUser(placed)) {
        for (const std::string& home : homes) {
            const OtherHome other(home);
            placed.placeAgain();
            addPlaces(placed, Reach::OtherHome, false, files, known);
        }
    }
    return files;
}

// The run

Survey::Survey(PlannedMachine& inUse, const Plan& planned) : machine(inUse), plan(planned) {
    const PlannedMachine::WithoutSteps withoutSteps(machine);
    for (const std::string& home : otherHomes()) {
        if (Pattern::isFitForEval(toVLString(home))) { // any other counts as no home for the engine
            homes.push_back(home);
        }
    }
    const bool bGiven = given.read(plan.definition, plan.targets, fault);
    product = bGiven ? given.info() : SKUDefinition::SKUInfo();
    installed =
        bGiven ? InstalledProducts::find(given.statusFolder(), plan.targets) : InstalledProducts::find();
    if (bGiven && plan.bUninstall) {
        oldBuilds.push_back(filesOf(given, ""));
    }
    for (const auto& each : installed.all()) {
        if (each->isReadable()) {
            const bool bMine = bGiven && each->files.info().ID == product.ID;
            (bMine ? oldBuilds : others).push_back(filesOf(each->files, each->uninstaller, each->isShared()));
        } else if (each->isShared()) {
            sharedFault = each->fault;
        }
    }
    for (const auto* list : {&oldBuilds, &others}) {
        for (const OwnedFiles& files : *list) {
            for (const OwnedPlace& place : files.places) {
                before.add(place, place.before, true, machine);
            }
        }
    }
}

void Survey::lookAfterRun() {
    const PlannedMachine::WithoutSteps withoutSteps(machine);
    bFirst = run() == nullptr || std::none_of(run()->before.products.begin(), run()->before.products.end(),
                                              [&](const auto& info) { return info.ID == product.ID; });
    findUnknown();
    if (plan.bUninstall && plan.runs.size() > 1) {
        const auto shared = std::stable_partition(others.begin(), others.end(), [](const OwnedFiles& files) {
            return !(files.product.ID == SharedPackage::ID);
        });
        std::move(shared, others.end(), std::back_inserter(oldBuilds));
        others.erase(shared, others.end());
    }
    for (auto* list : {&oldBuilds, &others}) {
        for (OwnedFiles& files : *list) {
            for (OwnedPlace& place : files.places) {
                place.after = machine.linkTypeOf(toVLString(place.path));
                place.linkAfter = place.after == S_IFLNK ? machine.linkText(place.path) : "";
                if (list == &others) {
                    // A folder of another product does not own the files that the removed product left in it.
                    after.add(place, place.after, false, machine);
                }
            }
        }
    }
    if (!plan.bUninstall && fault.empty()) {
        given.placeAgain();
        newBuild = filesOf(given, ownUninstaller());
        for (OwnedPlace& place : newBuild->places) {
            place.after = place.before; // this is the machine after the run
            place.linkAfter = place.linkBefore;
            if (place.reach != Reach::Idle) {
                after.add(place, place.after, true, machine);
            }
        }
    }
    readRecord();
    listPaths();
}

void Survey::listPaths() {
    const auto add = [this](const OwnedFiles& files) {
        for (const auto& [path, node] : files.tree) {
            paths.push_back(path);
        }
    };
    std::for_each(oldBuilds.begin(), oldBuilds.end(), add);
    if (newBuild) {
        add(*newBuild);
    }
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
}

void Survey::findUnknown() {
    if (run() == nullptr) {
        return;
    }
    for (const SKUDefinition::SKUInfo& recorded : run()->before.products) {
        const InstalledProduct* known = installed.find(recorded.ID);
        if (known != nullptr && known->files.info().build == recorded.build) {
            continue;
        }
        if (recorded.ID == product.ID) {
            bInstalledUnknown = true;
        } else {
            unknown.push_back(toString(recorded.ID));
        }
    }
}

std::string Survey::recordPath() const {
    for (auto each = plan.runs.rbegin(); each != plan.runs.rend(); ++each) {
        if (!each->recordPath.empty()) {
            return each->recordPath;
        }
    }
    return "";
}

void Survey::readRecord() {
    recordPlace = machine.placeOf(recordPath());
    FileContent content = machine.readFile(toVLString(recordPath()));
    if (recordPath().empty() || content.bytes == nullptr) {
        return;
    }
    record.emplace();
    if (!record->parseBytes(std::move(content.bytes))) {
        record.reset();
    }
}

std::int32_t Survey::countOf(const std::string& treePath) const {
    const StatusFile::FileNodeRef* recorded = record ? record->getFileInfo(toVLString(treePath)) : nullptr;
    return recorded == nullptr ? -1 : recorded->ref;
}

bool Survey::uses(const OwnedFiles& files, const std::string& treePath) const {
    return files.recordPlace == recordPlace && files.tree.count(treePath) != 0;
}

std::int32_t Survey::usesOf(const std::string& treePath) const {
    std::int32_t count = newBuild && newBuild->tree.count(treePath) != 0 ? 1 : 0;
    for (const OwnedFiles& files : others) {
        count += uses(files, treePath) ? 1 : 0;
    }
    return count;
}

std::int32_t Survey::mostUnknownUsesOf(const std::string& treePath) const {
    const Plan::Record& recorded = plan.runs.front().before;
    const auto path = recorded.paths.find(treePath);
    if (path == recorded.paths.end()) {
        return 0;
    }
    std::map<VLString, bool> users; // of several builds of a product, each must list the path
    for (const auto* builds : {&others, &oldBuilds}) {
        for (const OwnedFiles& files : *builds) {
            bool& bUses = users.emplace(files.product.ID, true).first->second;
            bUses = bUses && uses(files, treePath);
        }
    }
    const auto known =
        std::count_if(users.begin(), users.end(), [](const auto& user) { return user.second; });
    return std::clamp(path->second.count - static_cast<std::int32_t>(known), 0,
                      static_cast<std::int32_t>(unknown.size()));
}

bool Survey::wasRecorded(const std::string& treePath) const {
    return std::any_of(plan.runs.begin(), plan.runs.end(),
                       [&](const Plan::Run& each) { return each.before.paths.count(treePath) != 0; });
}

bool Survey::hadForeignContent(const std::string& folder) const {
    const std::vector<VLString> names = machine.before().namesIn(toVLString(folder));
    return std::any_of(names.begin(), names.end(), [&](const VLString& name) {
        const std::string path = folder + "/" + toString(name);
        const bool bShared =
            before.above.count(path) != 0 && machine.before().linkTypeOf(toVLString(path)) == S_IFDIR;
        return !before.has(path) && (!bShared || hadForeignContent(path));
    });
}

bool Survey::isOwnShortCut(const OwnedPlace& shortCut, const OwnedFiles& files) const {
    if (shortCut.before != S_IFLNK) {
        return false;
    }
    const std::string target = machine.placeOf(shortCut.linkBefore);
    return std::any_of(files.places.begin(), files.places.end(), [&](const OwnedPlace& place) {
        return !place.bShortCut && place.treePath == shortCut.treePath && place.place == target;
    });
}

bool Survey::leadsToOwnFile(const OwnedPlace& shortCut) const {
    const std::string target = machine.placeOf(shortCut.linkAfter);
    return std::any_of(newBuild->places.begin(), newBuild->places.end(), [&](const OwnedPlace& place) {
        return !place.bShortCut && place.reach == Reach::Today && place.treePath == shortCut.treePath &&
               place.place == target;
    });
}

std::string Survey::ownUninstaller() const {
    return uninstallersFolder + ("Uninstall " + toString(product.name)) + ".app";
}

std::vector<std::string> Survey::ownerless(const OwnedPlace& place) const {
    std::vector<std::string> found;
    if (place.after == 0 || after.has(place.place)) {
        return found;
    }
    if (place.after == S_IFDIR && after.above.count(place.place) != 0) {
        collect(place.place, found);
    } else {
        found.push_back(place.path);
    }
    return found;
}

void Survey::collect(const std::string& folder, std::vector<std::string>& found) const {
    for (const VLString& name : machine.namesIn(toVLString(folder))) {
        const std::string path = folder + "/" + toString(name);
        if (after.has(path)) {
            continue;
        }
        if (after.above.count(path) != 0 && machine.linkTypeOf(toVLString(path)) == S_IFDIR) {
            collect(path, found);
        } else {
            found.push_back(path);
        }
    }
}
