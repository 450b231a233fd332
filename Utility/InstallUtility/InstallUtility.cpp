#include "Utility/InstallUtility/InstallUtility.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/PathLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/Mac/LettrixResources.h"
#include "Utility/InstallUtility/Mac/Postflight.h"
#include "Utility/InstallUtility/MapLookup.h"
#include "Utility/InstallUtility/OncePerRun.h"
#include "Utility/InstallUtility/RunLock.h"
#include "Utility/InstallUtility/RunObserver.h"

#include <algorithm>
#include <utility>

namespace {

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
void copyWithRetry(InstallUtility& engine, const VLString& sourceFolder, const FileNode& node,
                   const VLString& treePath, const InstallUtility::InstallItem& item,
                   const VLString& subject) {
    const auto attempt = [&](bool bLast) {
        engine.observer->attemptBegins(bLast);
        return engine.copyFilesRecursively(VLString(), sourceFolder, node, treePath, item, bLast);
    };
    while (!attempt(false)) {
        if (!engine.filesLockedWarningTryAgain(subject)) {
            attempt(true);
            return;
        }
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
    const auto& branches = skuDefinition.installFiles.children;
    const InstallItem& sharedItem = findOrEmpty(installItems, Branch::shared);
    const VLString statusFolder = findStatusFolder();
    if (statusFolder.IsSet()) {
        loadStatusFile(statusFolder, false);
    }

    const auto copyBranch = [this](const FileNode& node, const VLString& path, const InstallItem& item,
                                   const VLString& subject) {
        copyWithRetry(*this, PathLibrary::GetDirectoryWithFile(srcPath, path), node, path, item, subject);
    };
    forEachHostFamily(copyBranch);
    copyBranch(findOrEmpty(branches, Branch::shared), Branch::shared, sharedItem, Branch::shared);
    const auto content = branches.find(Branch::content);
    if (content != branches.end()) {
        const auto contentItem = installItems.find(Branch::content);
        if (contentItem != installItems.end()) {
            copyBranch(content->second, Branch::content, contentItem->second, Branch::content);
        } else {
            SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                                "Has content section in SKU but can't find info for its installing");
        }
    }

    if (statusFolder.IsSet()) {
        saveStatusFile(statusFolder);
    }
    return true;
}

VLString InstallUtility::findStatusFolder() {
    const auto& families = skuDefinition.pluginsByFamily;
    currentFamily = families.empty() ? VLString() : families.begin()->first;
    const auto folders = getTargetPaths(findOrEmpty(installItems, Branch::shared).paths, currentFamily);
    return folders.empty() ? VLString() : folders.front();
}

void InstallUtility::forEachHostFamily(const HostFamilyHandler& handle) {
    const InstallItem& hostsItem = findOrEmpty(installItems, Branch::hosts);
    for (const auto& [hostName, host] :
         findOrEmpty(skuDefinition.installFiles.children, Branch::hosts).children) {
        const auto hostItem = hostsItem.items.find(hostName);
        if (hostItem == hostsItem.items.end()) {
            SimpleLog::printLog(SimpleLog::Warning, __FILE__, __FUNCTION__, __LINE__,
                                "Can't find '%s' host install info", hostName.ConstData());
            continue;
        }
        const VLString hostPath = PathLibrary::GetDirectoryWithFile(Branch::hosts, hostName);
        for (const auto& [familyName, family] : host.children) {
            if (skuDefinition.pluginsByFamily.count(familyName) == 0) {
                SimpleLog::printLog(SimpleLog::Warning, __FILE__, __FUNCTION__, __LINE__,
                                    "Family '%s' not found in SKU XML, while exists in file tree.",
                                    familyName.ConstData());
                continue;
            }
            currentFamily = familyName;
            handle(family, PathLibrary::GetDirectoryWithFile(hostPath, familyName), hostItem->second,
                   hostName);
        }
    }
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
    const VLString path = PathLibrary::GetDirectoryWithFile(directory, node.name);
    for (const auto& [name, child] : node.children) {
        updateStatusFile(path, child, remove);
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
