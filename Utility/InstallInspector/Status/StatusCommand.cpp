#include "Utility/InstallInspector/Status/StatusCommand.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Status/Status.h"

#include <memory>

namespace {

/// Until the end of its scope the engine's log goes nowhere: what it says there is said in findings.
class QuietLog {
public:
    QuietLog() { SimpleLog::held = &log; }
    ~QuietLog() { SimpleLog::held = nullptr; }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    std::string log;
};

bool readProducts(const StatusOptions& options, Status& status, std::string& error) {
    for (std::size_t i = 0; i < options.definitions.size(); ++i) {
        const std::string& targets = options.targets[options.targets.size() == 1 ? 0 : i];
        status.products.push_back(std::make_unique<PlacedProduct>());
        if (!status.products.back()->read(options.definitions[i], targets, error)) {
            return false;
        }
    }
    return true;
}

/// The folder that was given, else the one that the first product names.
std::string folderOf(const StatusOptions& options, const Status& status) {
    if (!options.folder.empty()) {
        return options.folder;
    }
    return status.products.empty() ? usualStatusFolder : toString(status.products.front()->statusFolder());
}

} // namespace

int runStatus(const StatusOptions& options) {
    const QuietLog quiet;
    Status status;
    std::string error;
    if (!readProducts(options, status, error)) {
        return cannotRun(error);
    }
    const std::string folder = folderOf(options, status);
    if (folder.empty()) {
        return cannotRun(
            options.targets.front() +
            " gives no folder for VorlaneFX on this machine, so that no record is kept; name the "
            "folder to look at another one");
    }
    const VLString given = toVLString(options.folder);
    if (given.IsSet() && !FileLibrary::IsDirectoryExists(given) && !FileLibrary::IsFileExists(given, false)) {
        return cannotRun(options.folder + " is not an existing folder");
    }
    if (!status.record.read(folder, error)) {
        return cannotRun(status.record.path + ": " + error);
    }
    status.inspect();
    Output output;
    if (options.bJson) {
        writeJson(status, output);
    } else {
        writeText(status, Painter::forFile(stdout), output);
    }
    if (!output.finish()) {
        return CannotRun;
    }
    return status.findings.empty() ? Clean : HasFindings;
}
