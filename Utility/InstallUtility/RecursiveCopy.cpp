#include "Foundation/FileFinder.h"
#include "Foundation/FileLibrary.h"
#include "Foundation/PathLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/Mac/Postflight.h"
#include "Utility/InstallUtility/RunObserver.h"

namespace {

using FileCopy = RunObserver::FileCopy;

/// Debug lines name the walk, whichever step of it prints them.
const char* const copyWalk = "copyFilesRecursively";

bool exists(const VLString& path) {
    return FileLibrary::IsFileExists(path, false) || FileLibrary::IsDirectoryExists(path);
}

/// The target folders of a branch: those of its item, and the one that its parent hands down, if any.
std::vector<VLString> targetsOf(const InstallUtility::InstallItem& item, const VLString& family,
                                const VLString& targetSubPath) {
    std::vector<VLString> targets = InstallUtility::getTargetPaths(item.paths, family);
    if (targetSubPath.IsSet()) {
        targets.push_back(targetSubPath);
    }
    return targets;
}

void logCopy(const VLString& source, const VLString& destination) {
    SimpleLog::printLog(SimpleLog::Debug, __FILE__, copyWalk, __LINE__, "Copy '%s' to '%s'",
                        source.ConstData(), destination.ConstData());
}

void logFailedCopy(const VLString& source, const VLString& destination, const FileNode& node) {
    SimpleLog::printLog(node.ignoreInstallErrors ? SimpleLog::Warning : SimpleLog::Error, __FILE__, copyWalk,
                        __LINE__, "Failed to copy '%s' to '%s'", source.ConstData(), destination.ConstData());
}

/// Copies what `source` is, a file or a folder, to `destination`.
bool copyPath(const VLString& source, const VLString& destination, bool lastAttempt) {
    if (FileLibrary::IsFileExists(source, false)) {
        FileLibrary::RemoveFile(destination);
        return FileLibrary::CopyFile(source, destination);
    }
    return FileLibrary::IsDirectoryExists(source) &&
           FileLibrary::CopyFolder(source, destination, lastAttempt);
}

/// Appends every file below `source` as it is called below `destination`.
void appendFilesBelow(const VLString& source, const VLString& destination, std::vector<VLString>& paths) {
    for (const VLString& file : FileFinder().FindFilesInSubDir("*", source, false)) {
        paths.push_back(file.Replace(source, destination));
    }
}

} // namespace

bool InstallUtility::copyFilesRecursively(const VLString& targetSubPath, const VLString& sourceFolder,
                                          const FileNode& node, const VLString& treePath,
                                          const InstallItem& item, bool lastAttempt) {
    observer->copyBegins(treePath, targetSubPath, item, lastAttempt);
    const bool bResult = copyNode(targetSubPath, sourceFolder, node, treePath, item, lastAttempt);
    observer->copyEnds();
    return bResult;
}

bool InstallUtility::copyNode(const VLString& targetSubPath, const VLString& sourceFolder,
                              const FileNode& node, const VLString& treePath, const InstallItem& item,
                              bool lastAttempt) {
    const std::vector<VLString> targets = targetsOf(item, currentFamily, targetSubPath);
    if (!FileLibrary::IsDirectoryExists(sourceFolder)) {
        SimpleLog::printText("Error! Src path '%s' not found\n", sourceFolder.ToUTF8().ConstData());
        return false;
    }

    bool bResult = true;
    for (const auto& [name, child] : node.children) {
        const VLString source = PathLibrary::GetDirectoryWithFile(sourceFolder, name);
        const VLString childTreePath = PathLibrary::GetDirectoryWithFile(treePath, name);
        const auto subItem = item.items.find(name);
        if (subItem != item.items.end()) {
            bResult &=
                copyFilesRecursively(VLString(), source, child, childTreePath, subItem->second, lastAttempt);
            continue;
        }
        for (const VLString& target : targets) {
            const VLString destination = PathLibrary::GetDirectoryWithFile(target, name);
            if (child.isDirectory) {
                bResult &= copyFilesRecursively(destination, source, child, childTreePath, InstallItem(),
                                                lastAttempt);
            } else if (!copyFile(child, source, childTreePath, target, destination, lastAttempt)) {
                // Intended: the flag is assigned, so that a later ignored failure clears an earlier one.
                bResult = child.ignoreInstallErrors;
            }
        }
    }

    if (node.children.empty() && node.isDirectory) {
        for (const VLString& target : targets) {
            logCopy(sourceFolder, target);
            const bool bCopied = FileLibrary::CopyFolder(sourceFolder, target, lastAttempt);
            if (!bCopied) {
                bResult = node.ignoreInstallErrors;
                logFailedCopy(sourceFolder, target, node);
            }
            observer->wholeFolderCopied(treePath, target, bCopied);
        }
    }
    return bResult;
}

bool InstallUtility::copyFile(const FileNode& node, const VLString& source, const VLString& treePath,
                              const VLString& target, const VLString& destination, bool lastAttempt) {
    observer->fileCopyBegins(destination);
    if (target.IsSet() && !FileLibrary::IsDirectoryExists(target)) {
        FileLibrary::CreateDirectory(target, true);
    }
    const auto end = [&](FileCopy result, const VLString& shortCut = VLString()) {
        observer->fileCopyEnds(treePath, source, destination, result, shortCut);
        return result != FileCopy::Failed;
    };
    if (!statusFile.needReplaceFile(treePath) && exists(destination)) {
        SimpleLog::printLog(SimpleLog::Debug, __FILE__, copyWalk, __LINE__, "Skipped file: %s",
                            destination.ConstData());
        return end(FileCopy::Kept);
    }
    logCopy(source, destination);
    if (!copyPath(source, destination, lastAttempt)) {
        logFailedCopy(source, destination, node);
        return end(FileCopy::Failed);
    }
    VLString shortCut;
    if (node.IsShortCutInfoValid() && createShortCut(destination, node)) {
        createFullShortCutName(node, shortCut);
    }
    return end(FileCopy::Written, shortCut);
}

VLString InstallUtility::getFileLockedWarningText(const VLString& name) {
    const VLString displayName = getNLEFullName(name);
    VLString text;
    if (name.EqualsIgnoreCase(Branch::shared)) {
        text =
            VLString("Something is blocking installation of '") + skuDefinition.skuInfo.name +
            "'.\nPlease close all applications and press 'Retry' to try again or 'Cancel' to continue (some "
            "files may not be updated).\nIf this does not succeed, please reboot and then run this install.";
    } else {
        text = VLString("Sorry, installation of files is blocked by '") + displayName + "'.\nPlease close '" +
               displayName +
               "' and press 'Retry' to try again or 'Cancel' to continue (some files may not be updated).";
    }
    return text.Replace("\n", " ");
}

bool InstallUtility::filesLockedWarningTryAgain(const VLString& name) {
    return showRetryCancelAlert("Installation warning", getFileLockedWarningText(name));
}

bool InstallUtility::isFileBlocked(const VLString&) {
    return false;
}

bool InstallUtility::isFilesBlocked(const std::vector<VLString>& paths) {
    // Whatever is found, nothing counts as blocked: the copy itself tells.
    for (const VLString& path : paths) {
        FileLibrary::IsFileExists(path, false);
    }
    return false;
}

bool InstallUtility::getFileListRecursively(const VLString& targetSubPath, const VLString& sourceFolder,
                                            const FileNode& node, const VLString& treePath,
                                            const InstallItem& item, std::vector<VLString>& paths) {
    const std::vector<VLString> targets = targetsOf(item, currentFamily, targetSubPath);
    if (!FileLibrary::IsDirectoryExists(sourceFolder)) {
        SimpleLog::printLog(SimpleLog::Debug, __FILE__, __FUNCTION__, __LINE__, "Src path '%s' not found\n",
                            sourceFolder.ConstData());
        return false;
    }

    bool bResult = true;
    for (const auto& [name, child] : node.children) {
        const VLString source = PathLibrary::GetDirectoryWithFile(sourceFolder, name);
        const VLString childTreePath = PathLibrary::GetDirectoryWithFile(treePath, name);
        const auto subItem = item.items.find(name);
        if (subItem != item.items.end()) {
            bResult &=
                getFileListRecursively(VLString(), source, child, childTreePath, subItem->second, paths);
            continue;
        }
        for (const VLString& target : targets) {
            const VLString destination = PathLibrary::GetDirectoryWithFile(target, name);
            if (child.isDirectory) {
                bResult &=
                    getFileListRecursively(destination, source, child, childTreePath, InstallItem(), paths);
            } else if (statusFile.needReplaceFile(childTreePath)) {
                if (FileLibrary::IsFileExists(source, false)) {
                    paths.push_back(destination);
                } else {
                    appendFilesBelow(source, destination, paths);
                }
            }
        }
    }

    if (node.children.empty() && node.isDirectory) {
        for (const VLString& target : targets) {
            appendFilesBelow(sourceFolder, target, paths);
        }
    }
    return bResult;
}

bool InstallUtility::checkFilesBlockedAndShowWarning(const VLString& sourceFolder, const FileNode& node,
                                                     const VLString& treePath, const InstallItem& item,
                                                     const VLString&) {
    std::vector<VLString> paths;
    getFileListRecursively(VLString(), sourceFolder, node, treePath, item, paths);
    return isFilesBlocked(paths);
}
