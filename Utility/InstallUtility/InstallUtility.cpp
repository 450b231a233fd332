#include "Utility/InstallUtility/InstallUtility.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/PathLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallUtility/Branches.h"
#include "Utility/InstallUtility/Mac/LettrixResources.h"
#include "Utility/InstallUtility/Mac/Postflight.h"
#include "Utility/InstallUtility/OncePerRun.h"
#include "Utility/InstallUtility/RunLock.h"
#include "Utility/InstallUtility/RunObserver.h"

#include <algorithm>
#include <utility>

namespace {

using LeftOut = TreeBranch::LeftOut;

bool isLettrixFamily(const VLString& family) {
    return family.EqualsIgnoreCase("Lettrix") || family.EqualsIgnoreCase("LettrixLive");
}

/// Logs that a source is missing: folder or definition, the text is the same for both on purpose.
void logMissingSource(const char* function, long line, const VLString& path) {
    SimpleLog::printLog(SimpleLog::Error, __FILE__, function, line, "Error! Source dir '%s' is empty\n",
                        path.ToUTF8().ConstData());
}

/// Copies one branch of the tree, asking the user for as long as it fails and the user wants to try again.
/// The copy after that is the last one, whatever comes of it.
void copyWithRetry(InstallUtility& engine, const TreeBranch& branch) {
    const VLString sourceFolder = PathLibrary::GetDirectoryWithFile(engine.srcPath, branch.treePath);
    const auto attempt = [&](bool bLast) {
        engine.observer->attemptBegins(bLast);
        return engine.copyFilesRecursively(VLString(), sourceFolder, branch.node, branch.treePath,
                                           branch.item, bLast);
    };
    while (!attempt(false)) {
        if (!engine.filesLockedWarningTryAgain(branch.host.IsSet() ? branch.host : branch.treePath)) {
            attempt(true);
            return;
        }
    }
}

void logLeftOut(const TreeBranch& branch, bool remove) {
    switch (branch.leftOut) {
    case LeftOut::HostWithoutItem:
        SimpleLog::printLog(SimpleLog::Warning, __FILE__, __FUNCTION__, __LINE__,
                            "Can't find '%s' host install info", branch.host.ConstData());
        return;
    case LeftOut::UnknownFamily:
        SimpleLog::printLog(SimpleLog::Warning, __FILE__, __FUNCTION__, __LINE__,
                            "Family '%s' not found in SKU XML, while exists in file tree.",
                            branch.node.name.ConstData());
        return;
    case LeftOut::ContentWithoutItem:
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            remove ? "Has content section in SKU but can't find info for its uninstalling"
                                   : "Has content section in SKU but can't find info for its installing");
        return;
    case LeftOut::No:
    case LeftOut::UnknownName:
        return;
    }
}

} // namespace

RunObserver& InstallUtility::nobody() {
    static RunObserver observer;
    return observer;
}

bool InstallUtility::run(const VLString& sourcePath, const VLString& definitionPath,
                         const VLString& targetsPath) {
    observer->runBegins(false);
    const bool bResult = install(sourcePath, definitionPath, targetsPath);
    observer->runEnds();
    return bResult;
}

bool InstallUtility::install(const VLString& sourcePath, const VLString& definitionPath,
                             const VLString& targetsPath) {
    const OncePerRun scope;
    SKUDefinition definition;
    definition.fromFile(definitionPath);
    const auto& families = definition.pluginsByFamily;
    if (std::any_of(families.begin(), families.end(),
                    [](const auto& family) { return isLettrixFamily(family.first); })) {
        RegisterLettrixResources();
    }

    if (!prepare(sourcePath, definitionPath, targetsPath)) {
        SimpleLog::printText("Error! Failed to prepare\n");
        return false;
    }
    SimpleLog::printText("Checking file consistency in source folder\n");
    if (!checkFilesInFolderRecursively(srcPath, definition.installFiles)) {
        SimpleLog::printText("Error! File checking is failed\n");
        return false;
    }
    const RunLock lock;
    if (!copyFilesToTargets()) {
        SimpleLog::printText("Error! Failed to copy files\n");
        return false;
    }
    postflight(definitionPath, targetsPath, true);
    return true;
}

bool InstallUtility::prepare(const VLString& sourcePath, const VLString& definitionPath,
                             const VLString& targetsPath) {
    return setSrcPath(sourcePath) && parseXMLDefinitionFile(definitionPath) &&
           parseTargetsPathXMLFile(targetsPath);
}

bool InstallUtility::setSrcPath(const VLString& path) {
    if (!FileLibrary::IsDirectoryExists(path)) {
        logMissingSource(__FUNCTION__, __LINE__, path);
        return false;
    }
    srcPath = path;
    return true;
}

bool InstallUtility::parseXMLDefinitionFile(const VLString& path) {
    if (!FileLibrary::IsFileExists(path, false)) {
        logMissingSource(__FUNCTION__, __LINE__, path);
        return false;
    }
    skuDefinition.parse(FileLibrary::readFile(path));
    return true;
}

bool InstallUtility::checkFilesInFolderRecursively(const VLString& folder, const FileNode& node) {
    if (!FileLibrary::IsDirectoryExists(folder)) {
        SimpleLog::printText("Error! Folder '%s' doesn't exists\n", folder.ToUTF8().ConstData());
        return false;
    }
    for (const auto& [name, child] : node.children) {
        const VLString path = PathLibrary::GetDirectoryWithFile(folder, name);
        if (child.isDirectory) {
            if (!checkFilesInFolderRecursively(path, child)) {
                return false;
            }
        } else if (!FileLibrary::IsFileExists(path, false) && !FileLibrary::IsDirectoryExists(path)) {
            SimpleLog::printText("Error! File '%s' not found\n", path.ToUTF8().ConstData());
            return false;
        }
    }
    return true;
}

bool InstallUtility::copyFilesToTargets() {
    forEachBranch(false, [this](const TreeBranch& branch) { copyWithRetry(*this, branch); });
    return true;
}

VLString InstallUtility::forEachBranch(bool remove, const std::function<void(const TreeBranch&)>& handle) {
    currentFamily = firstFamilyOf(skuDefinition);
    VLString statusFolder = statusFolderOf(skuDefinition, installItems);
    if (statusFolder.IsSet()) {
        loadStatusFile(statusFolder, remove);
    }
    const auto order = remove ? TreeBranch::Order::Uninstall : TreeBranch::Order::Install;
    for (const TreeBranch& branch : branchesOf(skuDefinition, installItems, order)) {
        currentFamily = branch.family;
        if (branch.leftOut == LeftOut::No) {
            handle(branch);
        } else {
            logLeftOut(branch, remove);
        }
    }
    if (statusFolder.IsSet()) {
        saveStatusFile(statusFolder);
    }
    return statusFolder;
}

void InstallUtility::loadStatusFile(const VLString& directory, bool remove) {
    recordFile = RecordFile(statusFilePath(directory));
    recordFile.load(statusFile);
    observer->recordLoaded(statusFilePath(directory), statusFile);
    if (remove && recordFile.isOurs() && !statusFile.hasProduct(skuDefinition.skuInfo)) {
        SimpleLog::printLog(SimpleLog::Warning, __FILE__, __FUNCTION__, __LINE__,
                            "The record does not list the product '%s'. No count is lowered.",
                            skuDefinition.skuInfo.ID.ConstData());
    }
    bRemoves = remove;
    enterProduct(remove);
}

void InstallUtility::enterProduct(bool remove) {
    const bool bCounts = !remove || statusFile.hasProduct(skuDefinition.skuInfo);
    statusFile.startProcessProduct(skuDefinition.skuInfo, remove);
    if (bCounts) {
        updateStatusFile(VLString(), skuDefinition.installFiles, remove);
    }
    statusFile.endProcessProduct();
}

void InstallUtility::updateStatusFile(const VLString& directory, const FileNode& node, bool remove) {
    if (remove) {
        statusFile.decrementFileRef(directory, node);
    } else {
        statusFile.incrementFileRef(directory, node);
    }
    if (node.children.empty()) {
        return; // most nodes are files, for which no path is put together
    }
    const VLString treePath = PathLibrary::GetDirectoryWithFile(directory, node.name);
    for (const auto& [name, child] : node.children) {
        updateStatusFile(treePath, child, remove);
    }
}

void InstallUtility::saveStatusFile(const VLString& directory) {
    if (!recordFile.isAt(statusFilePath(directory))) {
        recordFile = RecordFile(statusFilePath(directory));
    }
    recordFile.save(statusFile, [this] { enterProduct(bRemoves); });
    observer->recordSaved(statusFile, recordFile.isSaved());
}

VLString InstallUtility::statusFilePath(const VLString& directory) {
    return PathLibrary::GetDirectoryWithFile(directory, "InstallationStatusFile.xml");
}
