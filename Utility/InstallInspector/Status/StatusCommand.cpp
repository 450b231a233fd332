#include "Utility/InstallInspector/Status/StatusCommand.h"

#include "Foundation/FileLibrary.h"
#include "Utility/InstallInspector/Documents/QuietLog.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Report/OutputFile.h"
#include "Utility/InstallInspector/Status/StatusWords.h"
#include "Utility/InstallInspector/Status/Wanted.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <algorithm>
#include <memory>

namespace {

bool readProducts(const StatusOptions& options, Status& status, std::string& error) {
    for (std::size_t i = 0; i < options.definitions.size(); ++i) {
        const std::string& targets = options.targets[options.targets.size() == 1 ? 0 : i];
        status.given.push_back(std::make_unique<PlacedProduct>());
        if (!status.given.back()->read(options.definitions[i], targets, error)) {
            return false;
        }
        status.products.push_back(status.given.back().get());
    }
    return true;
}

/// The folder with the record: the given one, or that of the first given product, or that of the machine.
std::string folderOf(const StatusOptions& options, const Status& status) {
    if (!options.folder.empty()) {
        return options.folder;
    }
    return toString(status.given.empty() ? recordFolderOf(status.installed)
                                         : status.given.front()->statusFolder());
}

/// Whether products on this machine use the record. It may also be a copy, or come from another machine.
bool isOfThisMachine(const StatusOptions& options, const Status& status) {
    const VLString path = toVLString(status.record.path);
    const VLString folder = folderAbove(path);
    if (options.folder.empty()) {
        return true;
    }
    const auto& installed = status.installed.all();
    const bool bUsed =
        isSameFolder(folder, usualStatusFolder) ||
        std::any_of(installed.begin(), installed.end(), [&](const auto& product) {
            return product->isReadable() && isSameFolder(product->files.statusFolder(), folder);
        });
    // A file of another name beside the record is another record.
    return bUsed && isSameFolder(path, InstallUtility::statusFilePath(folder));
}

InstalledProducts findInstalled(const StatusOptions& options, const Status& status) {
    return status.given.empty()
               ? InstalledProducts::find()
               : InstalledProducts::find(status.given.front()->statusFolder(), options.targets.front());
}

std::vector<Wanted> wantedWithStates(const StatusOptions& options, const Status& status) {
    std::vector<Wanted> all;
    for (const std::string& text : options.wanted) {
        all.push_back(wantedOf(text));
        findState(all.back(), status);
    }
    return all;
}

bool print(const Status& status, const std::vector<Wanted>& wanted, const StatusOptions& options) {
    Output output;
    if (options.bJson) {
        writeJson(status, wanted, output);
    } else {
        writeText(status, wanted, Painter::forFile(stdout), output);
    }
    return output.finish();
}

/// Scripts decide only by it whether to install.
int exitStatusOf(const std::vector<Wanted>& wanted) {
    constexpr int mustNotBeInstalled = 3;
    if (wanted.front().state == Wanted::State::RecordDamaged) {
        return mustNotBeInstalled;
    }
    const bool bThere =
        std::all_of(wanted.begin(), wanted.end(), [](const Wanted& each) { return each.isThere(); });
    return bThere ? Clean : HasFindings;
}

} // namespace

int runStatus(const StatusOptions& options) {
    const QuietLog quiet;
    Status status;
    std::string error;
    if (!readProducts(options, status, error)) {
        return cannotRun(options.bJson, error);
    }
    status.installed = findInstalled(options, status);
    const std::string folder = folderOf(options, status);
    if (folder.empty()) {
        return cannotRun(
            options.bJson,
            options.targets.front() +
                " gives no folder for VorlaneFX on this machine, so that no record is kept; name the "
                "folder to look at another one");
    }
    const VLString given = toVLString(options.folder);
    if (given.IsSet() && !FileLibrary::IsDirectoryExists(given) && !FileLibrary::IsFileExists(given, false)) {
        return cannotRun(options.bJson, options.folder + " is not an existing folder");
    }
    if (!status.record.read(folder, error)) {
        return cannotRun(options.bJson, status.record.path + ": " + error);
    }
    status.bThisMachine = isOfThisMachine(options, status);
    status.contents.bVerified = options.bVerify;
    status.inspect();
    const std::vector<Wanted> wanted = wantedWithStates(options, status);
    if (!(options.html.empty() ? print(status, wanted, options)
                               : writePage(options.html, asHtml(status), options.bForce))) {
        return CannotRun;
    }
    if (!wanted.empty()) {
        return exitStatusOf(wanted);
    }
    return verdictOf(status.findings) == Verdict::Safe ? Clean : HasFindings;
}
