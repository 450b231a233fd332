#include "Utility/InstallUtility/InstallUtility.h"

#include "Foundation/SimpleLog.h"

bool InstallUtility::run(VLString, VLString, VLString) {
    SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__, "Installing is not available yet.");
    return false;
}

bool InstallUtility::runUninstall(VLString, VLString) {
    SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                        "Uninstalling is not available yet.");
    return false;
}
