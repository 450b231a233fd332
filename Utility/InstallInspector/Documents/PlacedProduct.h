#pragma once

#include "Utility/InstallInspector/Documents/Product.h"

#include <string>
#include <vector>

/// A product, and where the engine would put and look for each node of its tree on this machine today.
class PlacedProduct {
public:
    /// Where a node of the tree lies on this machine.
    struct Place {
        VLString path;
        VLString target;             ///< the target folder that `path` is, or lies in
        const TiXmlElement* element; ///< the `path` element that gives the target folder
        const InstallUtility::InstallItem::ItemPath* candidate; ///< what the engine reads from it
    };
    struct Spot {
        const Product::TreeNode* node;
        std::vector<Place> places;
        /// In target folders of which the condition does not hold today.
        std::vector<Place> idle;
        /// Whether the node is installed as it is: a file, or a folder that is copied whole.
        bool bLeaf;
    };

    /// Reads both files. False, and `error` names the one that cannot be used and says why.
    bool read(const std::string& definition, const std::string& targets, std::string& error);

    /// Finds all places anew, on the machine that is in use now.
    void placeAgain();

    const SKUDefinition::SKUInfo& info() const { return files.definition.skuInfo; }
    const Product& product() const { return files; }
    /// One for each node of the product's tree, in its order, the root left out.
    const std::vector<Spot>& spots() const { return spotList; }
    /// The spot of that path in the tree; null when there is none.
    const Spot* find(const VLString& treePath) const;
    /// The first folder of the item "VorlaneFX"; empty when there is none today.
    const VLString& statusFolder() const { return recordFolder; }

private:
    using Places = std::vector<Place>;

    void place();
    void placeNode(const Product::TreeNode& node, const Product::TargetItem* item, const VLString& family,
                   Places places, Places idle);

    Product files;
    std::vector<Spot> spotList;
    std::map<VLString, std::size_t> byPath;
    VLString recordFolder;
};
