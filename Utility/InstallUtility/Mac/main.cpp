#include "Foundation/SimpleLog.h"
#include "Foundation/VLString.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/Mac/StandardStreams.h"

#include <csignal>
#include <sys/stat.h>

namespace {

/// Resets two settings of the caller. With a umask of 077, only the superuser could read the installed files.
/// At a limit on file sizes, SIGXFSZ would end the run; ignored, the write fails and the run goes on.
void prepareProcess() {
    makeStandardStreamsSafe();
    umask(022);
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

} // namespace

int main(int argc, char* argv[]) {
    prepareProcess();
    if (argc <= 3) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__, "Not enough arguments.");
        SimpleLog::printLog(
            SimpleLog::Info, __FILE__, __FUNCTION__, __LINE__,
            "./InstallUtility <path_to_files> <skuxml_path> <xml_with_targets_locations> [-v]");
        SimpleLog::printLog(SimpleLog::Info, __FILE__, __FUNCTION__, __LINE__, "-v - show debug logs");
        return 1;
    }

    InstallUtility engine;
    if (argc > 4 && VLString(argv[4]).EqualsIgnoreCase("-v")) {
        SimpleLog::bEnableDebugLogs = true;
    }
    const VLString skuXmlPath(argv[2]);
    const VLString targetPathsXmlPath(argv[3]);
    const bool bSucceeded = VLString(argv[1]) == "-uninstall"
                                ? engine.runUninstall(skuXmlPath, targetPathsXmlPath)
                                : engine.run(argv[1], skuXmlPath, targetPathsXmlPath);
    return bSucceeded ? 0 : 1;
}
