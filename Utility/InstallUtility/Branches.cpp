#include "Utility/InstallUtility/Branches.h"

#include "Foundation/PathLibrary.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/MapLookup.h"

namespace {

using InstallItem = InstallUtility::InstallItem;
using LeftOut = TreeBranch::LeftOut;
using Order = TreeBranch::Order;

std::vector<VLString> namesIn(Order order, const FileNode& root) {
    switch (order) {
    case Order::Install:
        return {Branch::hosts, Branch::shared, Branch::content};
    case Order::Uninstall:
        return {Branch::shared, Branch::hosts, Branch::content};
    case Order::Tree:
        break;
    }
    std::vector<VLString> names;
    for (const auto& [name, node] : root.children) {
        names.push_back(name);
    }
    return names;
}

/// Appends the branches below `hosts`. Each family that is walked becomes the current one.
void addHosts(const SKUDefinition& definition, const FileNode& hosts, const InstallItem& hostsItem,
              VLString& family, std::vector<TreeBranch>& branches) {
    for (const auto& [hostName, host] : hosts.children) {
        const VLString hostPath = PathLibrary::GetDirectoryWithFile(Branch::hosts, hostName);
        const InstallItem& item = findOrEmpty(hostsItem.items, hostName);
        if (hostsItem.items.count(hostName) == 0) {
            branches.push_back({host, item, hostPath, hostName, family, LeftOut::HostWithoutItem});
            continue;
        }
        for (const auto& [name, node] : host.children) {
            const bool bKnown = definition.pluginsByFamily.count(name) != 0;
            if (bKnown) {
                family = name;
            }
            branches.push_back({node, item, PathLibrary::GetDirectoryWithFile(hostPath, name), hostName,
                                family, bKnown ? LeftOut::No : LeftOut::UnknownFamily});
        }
    }
}

} // namespace

std::vector<TreeBranch> branchesOf(const SKUDefinition& definition, const TreeBranch::Items& items,
                                   Order order) {
    const auto& top = definition.installFiles.children;
    std::vector<TreeBranch> branches;
    VLString family = firstFamilyOf(definition);
    for (const VLString& name : namesIn(order, definition.installFiles)) {
        const FileNode& node = findOrEmpty(top, name);
        const InstallItem& item = findOrEmpty(items, name);
        if (name == Branch::hosts) {
            addHosts(definition, node, item, family, branches);
        } else if (name == Branch::shared) {
            branches.push_back({node, item, name, {}, family, LeftOut::No});
        } else if (top.count(name) != 0) {
            const LeftOut why = items.count(name) == 0 ? LeftOut::ContentWithoutItem : LeftOut::No;
            branches.push_back(
                {node, item, name, {}, family, name == Branch::content ? why : LeftOut::UnknownName});
        }
    }
    return branches;
}

VLString firstFamilyOf(const SKUDefinition& definition) {
    const auto& families = definition.pluginsByFamily;
    return families.empty() ? VLString() : families.begin()->first;
}

VLString statusFolderOf(const SKUDefinition& definition, const TreeBranch::Items& items) {
    const auto folders =
        InstallUtility::getTargetPaths(findOrEmpty(items, Branch::shared).paths, firstFamilyOf(definition));
    return folders.empty() ? VLString() : folders.front();
}
