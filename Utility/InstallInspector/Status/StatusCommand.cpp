#include "Utility/InstallInspector/Status/StatusCommand.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Status/Status.h"

#include <memory>
#include <string>
#include <vector>

namespace {

/// Where the engine looks for what all products share when no target path says otherwise.
constexpr const char* usualFolder = "/Library/Application Support/Vorlane";

struct Arguments {
    std::string folder;
    std::vector<std::string> targets;
    std::vector<std::string> definitions;
    bool bJson = false;
};

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

bool readProducts(const Arguments& arguments, Status& status, std::string& error) {
    for (std::size_t i = 0; i < arguments.definitions.size(); ++i) {
        const std::string& targets = arguments.targets[arguments.targets.size() == 1 ? 0 : i];
        status.products.push_back(std::make_unique<PlacedProduct>());
        if (!status.products.back()->read(arguments.definitions[i], targets, error)) {
            return false;
        }
    }
    return true;
}

/// The folder that was given, else the one that the first product names.
std::string folderOf(const Arguments& arguments, const Status& status) {
    if (!arguments.folder.empty()) {
        return arguments.folder;
    }
    return status.products.empty() ? usualFolder : toString(status.products.front()->statusFolder());
}

int run(const Arguments& arguments) {
    const QuietLog quiet;
    Status status;
    std::string error;
    if (!readProducts(arguments, status, error)) {
        return cannotRun(error);
    }
    const std::string folder = folderOf(arguments, status);
    if (folder.empty()) {
        return cannotRun(
            arguments.targets.front() +
            " gives no folder for VorlaneFX on this machine, so that no record is kept; name the "
            "folder to look at another one");
    }
    const VLString given = toVLString(arguments.folder);
    if (given.IsSet() && !FileLibrary::IsDirectoryExists(given) && !FileLibrary::IsFileExists(given, false)) {
        return cannotRun(arguments.folder + " is not an existing folder");
    }
    if (!status.record.read(folder, error)) {
        return cannotRun(status.record.path + ": " + error);
    }
    status.inspect();
    if (!writeOutput(arguments.bJson ? statusAsJson(status)
                                     : statusAsText(status, Painter::forFile(stdout)))) {
        return CannotRun;
    }
    return status.findings.empty() ? Clean : HasFindings;
}

void checkUsage(const Arguments& arguments) {
    if (arguments.definitions.empty() != arguments.targets.empty()) {
        throw CLI::RequiredError(arguments.targets.empty() ? "--targets (with --sku)"
                                                           : "--sku (with --targets)");
    }
    if (arguments.targets.size() > 1 && arguments.targets.size() != arguments.definitions.size()) {
        throw CLI::ValidationError("--targets", "give it once for all products, or once for each --sku");
    }
}

} // namespace

void addStatusCommand(CLI::App& app, int& status) {
    auto arguments = std::make_shared<Arguments>();
    CLI::App* command =
        app.add_subcommand("status", "Show what is installed, and how the record and this machine agree");
    command->add_option("FOLDER", arguments->folder,
                        std::string("The folder that holds the record, or a record by itself; without it the "
                                    "folder that the targets give, or ") +
                            usualFolder);
    command
        ->add_option("--targets", arguments->targets,
                     "The target-paths file of the products; once for all, or once for each --sku")
        ->type_name("FILE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command
        ->add_option("--sku", arguments->definitions,
                     "A product definition to compare the record and this machine with; may be repeated")
        ->type_name("FILE")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command->add_flag("--json", arguments->bJson, "Print JSON for other programs");
    command->callback([arguments, &status] {
        checkUsage(*arguments);
        status = run(*arguments);
    });
}
