#pragma once

#include "Utility/InstallUtility/InstallUtility.h"

/// A part of the tree of files that a run copies or removes as one: a family's folder of a host, or all of
/// "VorlaneFX" or "Content". Or a part that every run leaves out.
struct TreeBranch {
    using Items = std::map<VLString, InstallUtility::InstallItem>;

    enum class LeftOut {
        No,
        HostWithoutItem,    ///< the node is the host's folder
        UnknownFamily,      ///< the definition has no plug-ins of the family
        ContentWithoutItem, ///< the node is "Content"
        UnknownName         ///< the node lies beside the three that runs know
    };
    /// Which folders right below the root come, and in which order.
    enum class Order {
        Install,   ///< "Hosts", "VorlaneFX", "Content"
        Uninstall, ///< "VorlaneFX", "Hosts", "Content"
        Tree       ///< all that the tree has, in its own order
    };

    const FileNode& node;
    const InstallUtility::InstallItem& item; ///< empty when there is none
    VLString treePath;                       ///< the node's, components joined by "/"
    VLString host;                           ///< empty but below "Hosts"
    VLString family; ///< the current one: a family's folder sets it, and it stays for what follows
    LeftOut leftOut;
};

/// The branches of the tree; the definition and the items must outlive them. "VorlaneFX" is one for an
/// install and an uninstall even where it is in neither the tree nor the items.
std::vector<TreeBranch> branchesOf(const SKUDefinition& definition, const TreeBranch::Items& items,
                                   TreeBranch::Order order);

/// The family that is current before the first branch: that of the first name, empty without families.
VLString firstFamilyOf(const SKUDefinition& definition);
/// The folder that holds the record: the first target of the "VorlaneFX" item with the first family; empty
/// when there is none.
VLString statusFolderOf(const SKUDefinition& definition, const TreeBranch::Items& items);
