#include "Utility/InstallInspector/Owner/Owners.h"

#include "Foundation/Machine.h"
#include "Utility/InstallInspector/Documents/RecordFolder.h"
#include "Utility/InstallInspector/Report/NearestName.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

namespace {

namespace fs = std::filesystem;

std::string nameIn(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

bool isThere(const VLString& path) {
    return Machine::current().linkTypeOf(path) != 0;
}

/// The path without ".", ".." and a slash at the end. Does not resolve links.
std::string wholePath(const std::string& path) {
    std::error_code error;
    std::string whole = fs::absolute(path, error).lexically_normal().string();
    while (whole.size() > 1 && whole.back() == '/') {
        whole.pop_back();
    }
    return whole;
}

std::string above(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

bool isBelow(const VLString& path, const VLString& folder) {
    const std::string text = toString(path);
    const std::string begin = toString(folder) + "/";
    return text.compare(0, begin.size(), begin) == 0;
}

/// The name in a form for people.
std::string textOf(const TiXmlElement& condition) {
    const std::string type = toString(attributeOf(condition, "type"));
    const bool bAnd = attributeOf(condition, "type").EqualsIgnoreCase("And");
    if (!bAnd && !attributeOf(condition, "type").EqualsIgnoreCase("Or")) {
        return type + " " + quotedText(attributeOf(condition, "value"));
    }
    std::vector<std::string> operands;
    for (const TiXmlElement* operand = condition.FirstChildElement(); operand != nullptr;
         operand = operand->NextSiblingElement()) {
        operands.push_back(textOf(*operand));
    }
    return "(" + joined(operands, bAnd ? " and " : " or ") + ")";
}

std::string conditionOf(const TiXmlElement* path) {
    const TiXmlElement* condition = path == nullptr ? nullptr : path->FirstChildElement("condition");
    return condition == nullptr ? "" : textOf(*condition);
}

std::string IDOf(const InstalledProduct& product) {
    return printableText(product.files.info().ID);
}

std::string IDsOf(const std::vector<const InstalledProduct*>& products) {
    const auto nameOf = [](const InstalledProduct& product) {
        return IDOf(product) + (product.isShared() ? " (which goes with the last product)" : "");
    };
    std::string text;
    for (std::size_t i = 0; i < products.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == products.size() ? " and " : ", ") + nameOf(*products[i]);
    }
    return text;
}

/// Who removes the file or folder of `entry`.
std::string removalOf(const OwnedEntry& entry) {
    const auto keeps = [&](const InstalledProduct* product) {
        return product->files.find(entry.treePath)->node->node->dontDelete;
    };
    const bool bOutOfReach = !entry.uses.empty() && std::none_of(entry.uses.begin(), entry.uses.end(),
                                                                 [](const Use& use) { return use.bApplies; });
    std::vector<const InstalledProduct*> keepers;
    std::copy_if(entry.products.begin(), entry.products.end(), std::back_inserter(keepers), keeps);
    const auto count = entry.recorded == nullptr ? 0 : entry.recorded->recorded->ref;
    const auto users = static_cast<std::int32_t>(entry.products.size());
    if (entry.uses.empty()) {
        return "No target path applies on this machine: there is nothing to remove.";
    }
    const char* const what = entry.bFolder ? " removes the folder, if it is empty then." : " removes it.";
    if (entry.recorded == nullptr) {
        return "No uninstall removes it: no record lists it.";
    }
    if (bOutOfReach) {
        return "No uninstall removes it: the condition of the target path does not hold today.";
    }
    if (keepers.size() == entry.products.size()) {
        return "No uninstall removes it: it is dontdelete.";
    }
    if (count > users) {
        return "No uninstall removes it: its count is " + std::to_string(count) + ", and " +
               counted(entry.products.size(), "installed product lists", "installed products list") + " it.";
    }
    if (count < users) {
        return "It is removed too early: its count is " + std::to_string(count) + ", and " +
               counted(entry.products.size(), "installed product lists", "installed products list") + " it.";
    }
    const std::string text = users == 1 ? "The uninstall of " + IDsOf(entry.products) + what
                                        : "The last uninstall of " + IDsOf(entry.products) + what;
    return keepers.empty() ? text
                           : text + " If that is the one of " + IDsOf(keepers) + ", it stays: dontdelete.";
}

} // namespace

Owners::Owners() : installed(InstalledProducts::find()) {
    for (const auto& product : installed.all()) {
        if (product->isReadable()) {
            addPlaces(*product);
        }
    }
}

void Owners::addPlaces(const InstalledProduct& product) {
    for (const Spot& spot : product.files.spots()) {
        for (const auto* places : {&spot.places, &spot.idle}) {
            for (const Place& place : *places) {
                byName.emplace(toVLString(nameIn(wholePath(toString(place.path)))).ToLower(),
                               Known{&product, &spot, &place, places == &spot.places});
            }
        }
    }
}

OwnerAnswer Owners::ask(const std::string& what) {
    OwnerAnswer answer;
    answer.asked = what;
    entryPlaces.clear();
    if (!what.empty() && (askProduct(answer) || askTreePath(answer) || askFile(answer))) {
        for (OwnedEntry& entry : answer.entries) {
            finish(entry);
        }
    } else {
        findNearest(answer);
    }
    return answer;
}

bool Owners::askProduct(OwnerAnswer& answer) {
    for (const auto& product : installed.all()) {
        const auto& info = product->files.info();
        if (!product->isReadable() ||
            (toString(info.ID) != answer.asked && toString(info.name) != answer.asked)) {
            continue;
        }
        answer.kind = OwnerAnswer::Kind::Product;
        answer.product = product.get();
        for (const Spot& spot : product->files.spots()) {
            if (spot.bLeaf) {
                addUsesOfAll(answer, *product, spot);
            }
        }
        return true;
    }
    return false;
}

bool Owners::askTreePath(OwnerAnswer& answer) {
    std::string path = answer.asked;
    while (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
    const VLString treePath = toVLString(path);
    for (const auto& product : installed.all()) {
        if (!product->isReadable() || product->files.find(treePath) == nullptr) {
            continue;
        }
        answer.kind = OwnerAnswer::Kind::TreePath;
        for (const Spot& spot : product->files.spots()) {
            if (spot.bLeaf && (spot.node->treePath == treePath || isBelow(spot.node->treePath, treePath))) {
                addUses(answer, *product, spot);
            }
        }
    }
    return answer.kind == OwnerAnswer::Kind::TreePath;
}

bool Owners::askFile(OwnerAnswer& answer) {
    const std::string file = wholePath(answer.asked);
    for (std::string path = file; path.size() > 1; path = above(path)) {
        const bool bSelf = path.size() == file.size();
        const auto range = byName.equal_range(toVLString(nameIn(path)).ToLower());
        for (auto known = range.first; known != range.second; ++known) {
            const Known& one = known->second;
            const bool bWhole = one.spot->bLeaf && one.spot->node->children.empty();
            if ((!bSelf && !bWhole) || !isSameFolder(toVLString(path), one.place->path)) {
                continue;
            }
            Use use = useOf(one);
            use.bInside = !bSelf;
            entryOf(answer, *one.product, *one.spot).uses.push_back(std::move(use));
        }
    }
    noteOtherThings(file, answer);
    const bool bKnown = !answer.entries.empty() || !answer.notes.empty();
    answer.kind = bKnown ? OwnerAnswer::Kind::File : OwnerAnswer::Kind::Unknown;
    return bKnown;
}

/// Adds notes about what runs place besides the files of the tree.
void Owners::noteOtherThings(const std::string& file, OwnerAnswer& answer) {
    for (const auto& product : installed.all()) {
        const bool bUninstaller =
            !product->isShared() &&
            (file == product->uninstaller || isBelow(toVLString(file), toVLString(product->uninstaller)));
        if (bUninstaller && !product->isReadable()) {
            answer.notes.push_back(
                "It belongs to an uninstaller that is not complete: " + printable(product->fault) + ".");
        } else if (bUninstaller) {
            answer.notes.push_back("It belongs to the uninstaller of " + IDOf(*product) +
                                   ", whose uninstall removes it.");
        }
        if (!product->isReadable()) {
            continue;
        }
        const VLString& folder = product->files.statusFolder();
        if (answer.notes.empty() && folder.IsSet() &&
            isSameFolder(toVLString(file), InstallUtility::statusFilePath(folder))) {
            answer.notes.emplace_back("It is the record, which the uninstall of the last product removes.");
        }
        for (const Spot& spot : product->files.spots()) {
            VLString link;
            if (!spot.node->node->IsShortCutInfoValid() ||
                !InstallUtility::createFullShortCutName(*spot.node->node, link) || toString(link) != file) {
                continue;
            }
            for (const Place& place : spot.places) {
                Use use = useOf({product.get(), &spot, &place, true});
                use.bShortCut = true;
                entryOf(answer, *product, spot).uses.push_back(std::move(use));
            }
        }
    }
    if (file == SharedPackage::managerLink && installed.find(SharedPackage::ID) != nullptr) {
        answer.notes.emplace_back(
            "It is the link to the Application Manager, which the uninstall of COMMON removes.");
    }
}

/// Finds a similar name in the same place. If there is none, the nearest folder above.
void Owners::findNearest(OwnerAnswer& answer) {
    const std::string file = wholePath(answer.asked);
    std::vector<std::string> names;
    std::set<std::string> beside;
    for (const auto& product : installed.all()) {
        if (!product->isReadable()) {
            continue;
        }
        names.push_back(toString(product->files.info().ID));
        names.push_back(toString(product->files.info().name));
        for (const Spot& spot : product->files.spots()) {
            const std::string treePath = toString(spot.node->treePath);
            if (above(treePath) == above(answer.asked)) {
                names.push_back(treePath);
            }
            for (const Place& place : spot.places) {
                const std::string path = toString(place.path);
                if (above(path) == above(file)) {
                    beside.insert(nameIn(path));
                }
            }
        }
    }
    if (const auto name = nearestName(nameIn(file), {beside.begin(), beside.end()})) {
        answer.nearest = above(file) + "/" + *name;
    } else if (const auto other = nearestName(answer.asked, names)) {
        answer.nearest = *other;
    } else {
        for (std::string path = above(file); path.size() > 1 && answer.nearest.empty(); path = above(path)) {
            const auto range = byName.equal_range(toVLString(nameIn(path)).ToLower());
            const bool bKnown = std::any_of(range.first, range.second, [&](const auto& known) {
                return isSameFolder(toVLString(path), known.second.place->path);
            });
            answer.nearest = bKnown ? path : "";
        }
    }
}

Use Owners::useOf(const Known& known) {
    return {known.product, toString(known.place->path), isThere(known.place->path), known.bApplies,
            conditionOf(known.place->element)};
}

/// Adds the uses in folders that apply today, and those where files still are although the folder does not
/// apply.
void Owners::addUses(OwnerAnswer& answer, const InstalledProduct& product, const Spot& spot) {
    OwnedEntry& entry = entryOf(answer, product, spot);
    for (const Place& place : spot.places) {
        entry.uses.push_back(useOf({&product, &spot, &place, true}));
    }
    for (const Place& place : spot.idle) {
        if (isThere(place.path)) {
            entry.uses.push_back(useOf({&product, &spot, &place, false}));
        }
    }
}

/// Adds the uses of this product, and of the others that have the path in the same record.
void Owners::addUsesOfAll(OwnerAnswer& answer, const InstalledProduct& product, const Spot& spot) {
    addUses(answer, product, spot);
    for (const auto& other : installed.all()) {
        const Spot* same =
            other->isReadable() && other.get() != &product ? other->files.find(spot.node->treePath) : nullptr;
        if (same != nullptr &&
            recordIn(other->files.statusFolder()).path == recordIn(product.files.statusFolder()).path) {
            addUses(answer, *other, *same);
        }
    }
}

OwnedEntry& Owners::entryOf(OwnerAnswer& answer, const InstalledProduct& product, const Spot& spot) {
    const Record& record = recordIn(product.files.statusFolder());
    const auto known = entryPlaces.try_emplace({record.path, spot.node->treePath}, answer.entries.size());
    if (known.second) {
        OwnedEntry entry;
        entry.treePath = spot.node->treePath;
        entry.bFolder = !spot.bLeaf;
        entry.record = record.path;
        entry.recorded = record.find(spot.node->treePath);
        answer.entries.push_back(std::move(entry));
    }
    return answer.entries[known.first->second];
}

void Owners::finish(OwnedEntry& entry) {
    for (const auto& product : installed.all()) {
        if (product->isReadable() && product->files.find(entry.treePath) != nullptr &&
            recordIn(product->files.statusFolder()).path == entry.record) {
            entry.products.push_back(product.get());
        }
    }
    entry.removal = removalOf(entry);
}

const Record& Owners::recordIn(const VLString& folder) {
    std::unique_ptr<Record>& record = records[folder];
    if (record == nullptr) {
        record = std::make_unique<Record>();
        std::string error;
        if (folder.IsSet() && record->read(toString(folder), error)) {
            record->interpret();
        }
    }
    return *record;
}
