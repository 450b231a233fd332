#include "Foundation/FileLibrary.h"
#include "Foundation/PathLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/KnownNames.h"

bool InstallUtility::createFullShortCutName(const FileNode& node, VLString& out) {
    if (!node.IsShortCutInfoValid()) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "createFullShortCutName, invalid params");
        return false;
    }
    out.Clear();
    const VLString destDirectory("/Applications");
    if (destDirectory.IsEmpty()) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__, "destDirectory is zero");
        return false;
    }
    out = PathLibrary::GetDirectoryWithFile(destDirectory, node.shortCut.name);
    return true;
}

bool InstallUtility::createShortCut(const VLString& installedPath, const FileNode& node) {
    if (installedPath.IsEmpty() || !node.IsShortCutInfoValid()) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "createShortCut, invalid params");
        return false;
    }
    VLString shortCut;
    if (!createFullShortCutName(node, shortCut)) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "createFullShortCutName failed");
        return false;
    }
    return FileLibrary::CreateShortCut(installedPath, shortCut);
}

bool InstallUtility::removeShortCut(const VLString&, const FileNode& node) {
    VLString shortCut;
    if (!createFullShortCutName(node, shortCut)) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "createFullShortCutName failed");
        return false;
    }
    return FileLibrary::RemoveFile(shortCut);
}

VLString InstallUtility::getNLEFullName(const VLString& shortName) {
    for (const KnownHost& host : knownHosts) {
        if (shortName.EqualsIgnoreCase(host.name)) {
            return host.displayName;
        }
    }
    return shortName;
}
