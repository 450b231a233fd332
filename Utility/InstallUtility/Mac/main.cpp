#include "Foundation/SimpleLog.h"
#include "Foundation/VLString.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/Mac/StandardStreams.h"

#include <csignal>
#include <sys/stat.h>

namespace {

/// Keeps what the caller's process has been given from doing harm: with a umask of 077 nobody but the
/// superuser could load what is installed, and SIGXFSZ would end a run at a limit of the size of files, which
/// a failed write tells.
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
