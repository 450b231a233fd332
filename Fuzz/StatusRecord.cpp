#include "Foundation/FileLibrary.h"
#include "Fuzz/Support/FuzzTarget.h"
#include "Fuzz/Support/ScratchFolder.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <algorithm>
#include <limits>

using Fuzz::require;
using Fuzz::view;
using FileNodeRef = StatusFile::FileNodeRef;

namespace {

bool isSame(const FileNodeRef& a, const FileNodeRef& b);

/// Whether `b` has what is in use of `a`, and nothing else.
bool haveSameUsedChildren(const FileNodeRef& a, const FileNodeRef& b) {
    const auto used = [](const auto& child) { return child.second.ref >= 1; };
    const auto count = std::count_if(a.refChildren.begin(), a.refChildren.end(), used);
    return static_cast<std::size_t>(count) == b.refChildren.size() &&
           std::all_of(a.refChildren.begin(), a.refChildren.end(), [&](const auto& child) {
               const auto found = b.refChildren.find(child.first);
               return !used(child) || (found != b.refChildren.end() && isSame(child.second, found->second));
           });
}

bool isSame(const FileNodeRef& a, const FileNodeRef& b) {
    const bool bSameFile =
        a.isDirectory || (view(a.build) == view(b.build) && a.buildNumber == b.buildNumber &&
                          a.IsShortCutInfoValid() == b.IsShortCutInfoValid());
    const bool bSameShortCut =
        a.isDirectory || !a.IsShortCutInfoValid() ||
        (view(a.shortCut.name) == view(b.shortCut.name) && view(a.shortCut.dir) == view(b.shortCut.dir));
    return view(a.name) == view(b.name) && a.ref == b.ref && a.isDirectory == b.isDirectory && bSameFile &&
           bSameShortCut && haveSameUsedChildren(a, b);
}

bool haveSameProducts(const StatusFile& a, const StatusFile& b) {
    return std::equal(a.products.begin(), a.products.end(), b.products.begin(), b.products.end(),
                      [](const auto& one, const auto& other) {
                          return view(one.ID) == view(other.ID) && view(one.name) == view(other.name) &&
                                 view(one.build) == view(other.build);
                      });
}

/// Writes the record and reads it again.
void checkRoundTrip(StatusFile& status, const VLString& path) {
    require(status.write(path), "a record can be written");
    StatusFile again;
    again.parse(path);
    require(haveSameProducts(status, again), "the products that are written are read again");
    require(haveSameUsedChildren(status.root, again.root), "the paths that are written are read again");

    const VLString text = FileLibrary::readFile(path);
    require(again.write(path) && view(FileLibrary::readFile(path)) == view(text),
            "a record that was read is written as it stood");
}

template <class Count>
void countAll(StatusFile& status, const VLString& folder, const FileNodeRef& node, Count count) {
    for (auto& [name, child] : node.refChildren) {
        if (name.HasOf(name.IndexOf("/", 0))) {
            continue; // no path leads there
        }
        const VLString path = folder + "/" + name;
        FileNodeRef* recorded = status.getFileInfo(path);
        require(recorded != nullptr && view(recorded->name) == view(name), "a recorded path is found");
        FileNode listed;
        listed.name = name;
        listed.isDirectory = child.isDirectory;
        count(folder, listed, *recorded);
        require(status.needRemove(path) == (recorded->ref < 1), "what nobody uses may go");
        countAll(status, path, child, count);
    }
}

/// Installs and removes a product that has every path of the record.
void checkCounting(StatusFile& status, const VLString& path) {
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    SKUDefinition::SKUInfo info;
    info.ID = "another product";
    info.build = "1.0.0.7";
    const FileNodeRef tree = status.root;
    const bool bNew = !status.hasProduct(info);
    status.startProcessProduct(info, false);
    require(status.hasProduct(info) && status.countReferences == bNew, "a product that is new is counted");
    countAll(status, VLString(), tree,
             [&](const VLString& folder, const FileNode& node, FileNodeRef& recorded) {
                 const std::int32_t before = recorded.ref;
                 const std::int32_t number = recorded.buildNumber;
                 status.incrementFileRef(folder, node);
                 require(recorded.ref == (bNew && before < most ? before + 1 : before),
                         "a new product is one more use");
                 require(recorded.needReplace == (number <= 7), "only a newer build stays");
             });
    status.endProcessProduct();
    checkRoundTrip(status, path);
    if (bNew) {
        status.startProcessProduct(info, true);
        countAll(status, VLString(), tree,
                 [&](const VLString& folder, const FileNode& node, FileNodeRef& recorded) {
                     const std::int32_t before = recorded.ref;
                     require(status.decrementFileRef(folder, node) == recorded.ref &&
                                 recorded.ref == before - 1,
                             "a product that goes is one use less");
                 });
        require(!status.hasProduct(info), "a product that goes is off the list");
        status.endProcessProduct();
        checkRoundTrip(status, path);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Fuzz::ScratchFolder scratch;
    const VLString path = scratch.write("InstallationStatusFile.xml", Fuzz::Input(data, size).bytes());
    StatusFile status;
    require(status.parse(path), "reading always succeeds");
    checkRoundTrip(status, path);
    checkCounting(status, path);
    return 0;
}
