#include "Fuzz/Support/FuzzTarget.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <algorithm>

using Fuzz::require;
using Fuzz::view;

namespace {

bool areEqual(const FileNode& a, const FileNode& b) {
    return view(a.name) == view(b.name) && a.isDirectory == b.isDirectory && a.arch == b.arch &&
           view(a.configuration) == view(b.configuration) && a.dontDelete == b.dontDelete &&
           view(a.shortCut.name) == view(b.shortCut.name) && view(a.shortCut.dir) == view(b.shortCut.dir) &&
           std::equal(a.children.begin(), a.children.end(), b.children.begin(), b.children.end(),
                      [](const auto& one, const auto& other) { return areEqual(one.second, other.second); });
}

void checkTree(const FileNode& parent) {
    for (const auto& [name, node] : parent.children) {
        require(name.IsSet() && view(node.name) == view(name), "a node stands under its name");
        require(view(node.parentName) == view(parent.name).substr(0, FileNode::longestParentName) ||
                    (node.parentName.IsEmpty() && parent.name.Size() > FileNode::longestParentName),
                "a node knows its folder");
        require(node.isDirectory || node.children.empty(), "a file has no children");
        require(node.arch == 0 || node.arch == 1, "there are two kinds of processors");
        require(!parent.isDirectory || !node.isDirectory || node.configuration.IsEmpty(),
                "a folder has no configuration");
        checkTree(node);
    }
}

void checkFamilies(const SKUDefinition& definition) {
    for (const auto* lists : {&definition.pluginsByFamily, &definition.contentsByFamily,
                              &definition.hostFamilies, &definition.buildHostFamilies}) {
        require(
            std::none_of(lists->begin(), lists->end(), [](const auto& list) { return list.second.empty(); }),
            "no list is empty");
    }
    for (const auto& [family, mask] : definition.featuresMaskByFamily) {
        require(mask.Size() % 32 == 0 && !mask[mask.Size()], "a mask has 32 bits for each chunk");
    }
    for (const auto& [host, families] : definition.hostFamilies) {
        for (const auto& [family, plugins] : definition.pluginsByFamily) {
            require(definition.familyHasHost(family, host) ==
                        (std::find(families.begin(), families.end(), family) != families.end()),
                    "a host that names families serves those alone");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const VLString text = Fuzz::Input(data, size).text();
    SKUDefinition definition;
    definition.parse(text);
    checkTree(definition.installFiles);
    checkFamilies(definition);

    const FileNode first = definition.installFiles;
    definition.parse(text);
    require(areEqual(definition.installFiles, first), "the same text gives the same tree");
    definition.parse(VLString());
    require(definition.installFiles.children.empty() && definition.skuInfo.ID.IsEmpty() &&
                definition.hostArchNames.empty() && definition.pluginsByFamily.empty(),
            "no text gives no product");
    return 0;
}
