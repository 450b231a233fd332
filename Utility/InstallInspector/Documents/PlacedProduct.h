#pragma once

#include "Utility/InstallInspector/Documents/Product.h"

#include <string>
#include <vector>

/// A product, and the paths on the machine in use where the engine puts each node of its tree and looks for
/// it.
class PlacedProduct {
public:
    /// One path of a node of the tree on this machine.
    struct Place {
        VLString path;
        VLString target;             ///< the target folder that `path` is, or lies in
        const TiXmlElement* element; ///< the `path` element that gives the target folder
        const InstallUtility::InstallItem::ItemPath* candidate; ///< the same element in the engine's form
    };
    /// A node of the tree with all its places.
    struct Spot {
        const Product::TreeNode* node;
        /// The places in target folders whose condition holds today.
        std::vector<Place> places;
        /// The places in target folders whose condition does not hold today.
        std::vector<Place> idle;
        /// Whether the node is installed as one piece: a file, or a folder that is copied whole.
        bool bLeaf;
    };

    /// Reads both files. If one cannot be used, returns false and sets `error` to its path and the reason.
    bool read(const std::string& definition, const std::string& targets, std::string& error);

    /// Finds all places again, on the machine that is now in use. Invalidates all references to spots.
    void placeAgain();

    const SKUDefinition::SKUInfo& info() const { return files.definition.skuInfo; }
    const Product& product() const { return files; }
    /// One for each node of the product's tree but the root, parents first.
    const std::vector<Spot>& spots() const { return spotList; }
    /// The spot of this path in the tree. Null if there is none.
    const Spot* find(const VLString& treePath) const;
    /// The folder of the product's record: the first one of the item "VorlaneFX". Empty if none applies
    /// today.
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
