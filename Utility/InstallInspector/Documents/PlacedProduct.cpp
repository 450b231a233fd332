#include "Utility/InstallInspector/Documents/PlacedProduct.h"

#include "Foundation/PathLibrary.h"
#include "Utility/InstallUtility/Branches.h"

#include <algorithm>
#include <set>
#include <utility>

namespace {

using ItemPath = InstallUtility::InstallItem::ItemPath;
using Place = PlacedProduct::Place;

/// The folder that the candidate gives whether its condition holds or not; empty when it gives none.
VLString folderOf(const ItemPath& candidate, const VLString& family) {
    ItemPath always;
    always.path = candidate.path;
    const auto folders = InstallUtility::getTargetPaths({always}, family);
    return folders.empty() ? VLString() : folders.front();
}

/// Appends the item's target folders of today to `places`, the others to `idle`.
void addTargets(const Product::TargetItem& item, const VLString& family, std::vector<Place>& places,
                std::vector<Place>& idle) {
    std::set<VLString> seen;
    const TiXmlElement* element = item.element->FirstChildElement("path");
    for (const ItemPath& candidate : item.item->paths) {
        while (attributeOf(*element, "value").IsEmpty()) {
            element = element->NextSiblingElement("path");
        }
        const auto folders = InstallUtility::getTargetPaths({candidate}, family);
        if (folders.empty()) {
            if (const VLString folder = folderOf(candidate, family); folder.IsSet()) {
                idle.push_back({folder, folder, element, &candidate});
            }
        } else if (seen.insert(folders.front().ToLower()).second) {
            places.push_back({folders.front(), folders.front(), element, &candidate});
        }
        element = element->NextSiblingElement("path");
    }
    idle.erase(std::remove_if(idle.begin(), idle.end(),
                              [&](const Place& place) { return seen.count(place.path.ToLower()) != 0; }),
               idle.end());
}

std::vector<Place> inside(const std::vector<Place>& folders, const VLString& name) {
    std::vector<Place> places;
    places.reserve(folders.size());
    for (const Place& folder : folders) {
        places.push_back({PathLibrary::GetDirectoryWithFile(folder.path, name), folder.target, folder.element,
                          folder.candidate});
    }
    return places;
}

} // namespace

bool PlacedProduct::read(const std::string& definition, const std::string& targets, std::string& error) {
    if (!files.readDefinition(definition, error) || !files.readTargets(targets, error)) {
        return false;
    }
    files.interpret();
    place();
    return true;
}

void PlacedProduct::placeAgain() {
    spotList.clear();
    byPath.clear();
    recordFolder.Clear();
    place();
}

const PlacedProduct::Spot* PlacedProduct::find(const VLString& treePath) const {
    const auto found = byPath.find(treePath);
    return found == byPath.end() ? nullptr : &spotList[found->second];
}

void PlacedProduct::place() {
    for (const Product::TreeNode& node : files.tree) {
        if (node.parent != nullptr) {
            byPath[node.treePath] = spotList.size();
            spotList.push_back({&node, {}, {}, !node.node->isDirectory || node.children.empty()});
        }
    }
    recordFolder = statusFolderOf(files.definition, files.items);
    for (const Product::CopiedBranch& branch : files.copiedBranches()) {
        placeNode(*branch.node, branch.item, branch.family, {}, {});
    }
}

void PlacedProduct::placeNode(const Product::TreeNode& node, const Product::TargetItem* item,
                              const VLString& family, Places places, Places idle) {
    if (item != nullptr) {
        if (!node.node->isDirectory) {
            return; // an item takes folders only
        }
        addTargets(*item, family, places, idle);
    }
    for (const Product::TreeNode* child : node.children) {
        const VLString& name = child->node->name;
        const Product::TargetItem* childItem = item == nullptr ? nullptr : item->child(name);
        if (childItem != nullptr) {
            placeNode(*child, childItem, family, {}, {});
        } else {
            placeNode(*child, nullptr, family, inside(places, name), inside(idle, name));
        }
    }
    Spot& spot = spotList[byPath.at(node.treePath)];
    spot.places = std::move(places);
    spot.idle = std::move(idle);
}
