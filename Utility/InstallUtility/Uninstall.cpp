#include "Foundation/FileLibrary.h"
#include "Foundation/PathLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallUtility/Branches.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/Mac/Postflight.h"
#include "Utility/InstallUtility/OncePerRun.h"
#include "Utility/InstallUtility/RunLock.h"
#include "Utility/InstallUtility/RunObserver.h"

#include <algorithm>
#include <utility>

namespace {

/// Debug lines name the walk, whichever step of it prints them.
const char* const removeWalk = "removeFilesRecursively";

/// How many folders the clean-up above an emptied target looks at, the target itself included.
constexpr int highestClimb = 10;

/// `name` inside `folder`; the bare name, relative to the working folder, where there is no folder.
VLString pathInside(const VLString& folder, const VLString& name) {
    return folder.IsEmpty() ? name : PathLibrary::GetDirectoryWithFile(folder, name);
}

/// The existing target folders of a branch: those of its item and the one that its parent hands down. Without
/// any, a single empty one, below which names are relative to the working folder.
std::vector<VLString> existingTargets(const InstallUtility::InstallItem& item, const VLString& family,
                                      const VLString& folder) {
    std::vector<VLString> targets = InstallUtility::getTargetPaths(item.paths, family);
    targets.push_back(folder);
    targets.erase(
        std::remove_if(targets.begin(), targets.end(),
                       [](const VLString& target) { return !FileLibrary::IsDirectoryExists(target); }),
        targets.end());
    if (targets.empty()) {
        targets.emplace_back();
    }
    return targets;
}

/// Removes what is at `path`, a file or a whole folder. Intended: a file that was removed is reported as one
/// that cannot be, unless a folder of that name could be removed after it, and one that could not be is not
/// reported.
void removeFileOrFolder(const VLString& path) {
    if (FileLibrary::IsFileExists(path, false) && !FileLibrary::RemoveFile(path)) {
        return;
    }
    if (!FileLibrary::IsDirectoryExists(path) || !FileLibrary::RemoveFolder(path)) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, removeWalk, __LINE__, "Cannot remove file '%s'",
                            path.ConstData());
    }
}

/// Removes `folder` and the folders above it, as far as they are empty and the family's own. One that is not
/// empty stays, but the climb goes on.
void removeEmptyFamilyFolders(VLString folder) {
    for (int i = 0; i < highestClimb && folder.HasOf(folder.IndexOfIgnoreCase("vorlane", 0)); ++i) {
        FileLibrary::RemoveEmptyDirectory(folder);
        folder = PathLibrary::GetDirectoryWithoutFile(PathLibrary::GetDirectoryPathWithoutLastSlash(folder));
    }
}

} // namespace

bool InstallUtility::runUninstall(VLString definitionPath, VLString targetsPath) {
    skuXmlPath = std::move(definitionPath);
    targetPathsXmlPath = std::move(targetsPath);
    observer->runBegins(true);
    const bool bResult = uninstall();
    observer->runEnds();
    return bResult;
}

bool InstallUtility::uninstall() {
    const OncePerRun scope;
    const RunLock lock;
    postflight(skuXmlPath, targetPathsXmlPath, false);
    if (!parseXMLDefinitionFile(skuXmlPath) || !parseTargetsPathXMLFile(targetPathsXmlPath)) {
        return false;
    }
    if (!removeProduct()) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "Error! Failed to remove product\n");
        return false;
    }
    return true;
}

bool InstallUtility::removeProduct() {
    const VLString statusFolder = forEachBranch(true, [this](const TreeBranch& branch) {
        removeFilesRecursively(VLString(), branch.node, branch.treePath, branch.item);
    });
    if (statusFolder.IsSet() && recordFile.isOurs() && statusFile.getProductList().empty()) {
        FileLibrary::RemoveFile(statusFilePath(statusFolder));
    }
    return removeSharedPackageIfLast(statusFolder);
}

bool InstallUtility::removeSharedPackageIfLast(const VLString& statusFolder) {
    const auto& products = statusFile.getProductList();
    if (products.size() != 1 || !(products.front().ID == SharedPackage::ID)) {
        return true;
    }
    const VLString definitionsFolder =
        statusFolder.IsSet()
            ? PathLibrary::GetDirectoryWithFile(statusFolder, SharedPackage::definitionsFolder)
            : VLString(SharedPackage::definitionsFolderWithoutRecord);
    const VLString definitionPath =
        PathLibrary::GetDirectoryWithFile(definitionsFolder, products.front().ID + ".xml");
    SKUDefinition sharedPackage;
    sharedPackage.fromFile(definitionPath);
    if (sharedPackage.skuInfo.ID.EqualsIgnoreCase(skuDefinition.skuInfo.ID)) {
        return true; // this run is the shared package's own
    }
    return runUninstall(definitionPath, targetPathsXmlPath);
}

bool InstallUtility::removeFilesRecursively(const VLString& folder, const FileNode& node,
                                            const VLString& treePath, const InstallItem& item) {
    observer->removalBegins(treePath, node, folder, item);
    if (!node.dontDelete) {
        removeNode(folder, node, treePath, item);
    }
    observer->removalEnds(treePath, node);
    return true;
}

void InstallUtility::removeNode(const VLString& folder, const FileNode& node, const VLString& treePath,
                                const InstallItem& item) {
    if (folder.IsSet() && !FileLibrary::IsDirectoryExists(folder)) {
        SimpleLog::printLog(SimpleLog::Warning, __FILE__, removeWalk, __LINE__, "Src path '%s' not found",
                            folder.ConstData());
        return;
    }
    const std::vector<VLString> targets = existingTargets(item, currentFamily, folder);

    for (const auto& [name, child] : node.children) {
        if (child.dontDelete) {
            continue;
        }
        const VLString childTreePath = PathLibrary::GetDirectoryWithFile(treePath, name);
        const auto subItem = item.items.find(name);
        if (subItem != item.items.end()) {
            if (!removeFilesRecursively(VLString(), child, childTreePath, subItem->second)) {
                SimpleLog::printLog(SimpleLog::Warning, __FILE__, removeWalk, __LINE__,
                                    "Something goes wrong when deleting '%s' at '%s'", name.ConstData(),
                                    childTreePath.ConstData());
            }
            continue;
        }
        for (const VLString& target : targets) {
            removeChild(child, pathInside(target, name), childTreePath);
        }
    }

    if (node.isDirectory && node.children.empty() && statusFile.needRemove(treePath)) {
        for (const VLString& target : targets) {
            SimpleLog::printLog(SimpleLog::Debug, __FILE__, removeWalk, __LINE__, "Delete dir '%s'",
                                target.ConstData());
            if (!FileLibrary::RemoveFolder(target)) {
                SimpleLog::printLog(SimpleLog::Error, __FILE__, removeWalk, __LINE__, "Failed to remove '%s'",
                                    target.ConstData());
            }
        }
    }
    for (const VLString& target : targets) {
        removeEmptyFamilyFolders(target);
    }
}

void InstallUtility::removeChild(const FileNode& node, const VLString& path, const VLString& treePath) {
    if (node.isDirectory) {
        removeFilesRecursively(path, node, treePath, InstallItem());
        if (statusFile.needRemove(treePath)) {
            SimpleLog::printLog(SimpleLog::Debug, __FILE__, removeWalk, __LINE__, "Delete empty dir '%s'",
                                path.ConstData());
            FileLibrary::RemoveEmptyDirectory(path);
        }
        return;
    }
    observer->fileRemovalBegins(path);
    const bool bInUse = !statusFile.needRemove(treePath);
    VLString shortCut;
    if (!bInUse) {
        SimpleLog::printLog(SimpleLog::Debug, __FILE__, removeWalk, __LINE__, "Delete '%s'",
                            path.ConstData());
        removeFileOrFolder(path);
        if (node.IsShortCutInfoValid() && removeShortCut(path, node)) {
            createFullShortCutName(node, shortCut);
        }
    }
    observer->fileRemovalEnds(treePath, path, bInUse, shortCut);
}
