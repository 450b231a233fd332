#include "Utility/InstallInspector/Machine/MachineCommand.h"

#include "Utility/InstallInspector/Documents/FileRole.h"
#include "Utility/InstallInspector/Documents/QuietLog.h"
#include "Utility/InstallInspector/Machine/MachineLook.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <memory>

namespace {

using Items = std::map<VLString, InstallUtility::InstallItem>;

struct Files {
    std::vector<std::string> definitions;
    std::vector<std::string> targets;
};

/// What is wrong with the files. Empty if nothing is.
std::string sortOut(const std::vector<std::string>& paths, Files& files) {
    for (const std::string& path : paths) {
        const FileRole role = roleOfFile(path);
        if (role != FileRole::Definition && role != FileRole::Targets) {
            return printable(path) + " is neither a product definition nor target paths";
        }
        (role == FileRole::Definition ? files.definitions : files.targets).push_back(path);
    }
    const std::size_t count = files.definitions.size();
    if (count > 0 && files.targets.size() != 1 && files.targets.size() != count) {
        return "give the target paths once for all definitions, or once for each";
    }
    return "";
}

std::string readTargets(const std::string& path, Items& items) {
    LocatedDocument document;
    std::string fault;
    if (document.readUsable(path, Location::Document::Targets, Kind::Root, fault)) {
        InstallUtility::parseXMLwithTargetPathsRecursively(document.find(Kind::Root)->element, items);
    }
    return fault;
}

/// Reads all files before it looks at the machine. Returns what is wrong with one, or an empty text.
std::string readAll(const Files& files, std::vector<std::unique_ptr<PlacedProduct>>& products,
                    std::vector<Items>& targets) {
    std::string fault;
    for (std::size_t i = 0; i < files.definitions.size() && fault.empty(); ++i) {
        products.push_back(std::make_unique<PlacedProduct>());
        products.back()->read(files.definitions[i], files.targets[files.targets.size() == 1 ? 0 : i], fault);
    }
    for (std::size_t i = 0; i < files.targets.size() && files.definitions.empty() && fault.empty(); ++i) {
        fault = readTargets(files.targets[i], targets.emplace_back());
    }
    return fault;
}

} // namespace

int runMachine(const MachineOptions& options) {
    Files files;
    std::vector<std::unique_ptr<PlacedProduct>> products;
    std::vector<Items> targets;
    std::string fault = sortOut(options.files, files);
    fault = fault.empty() ? readAll(files, products, targets) : fault;
    if (!fault.empty()) {
        return cannotRun(fault);
    }
    const QuietLog quiet;
    MachineLook look;
    try {
        look.atInstalledProducts();
        for (const auto& product : products) {
            look.atProduct(*product);
        }
        for (const Items& items : targets) {
            look.atTargets(items);
        }
    } catch (const TooMuch& failure) {
        return cannotRun(failure.what());
    }
    const std::vector<std::string> remarks = look.finish();
    Output output;
    look.description().write(output);
    for (const std::string& remark : remarks) {
        static_cast<void>(std::fprintf(stderr, "%s\n", remark.c_str()));
    }
    if (!output.finish()) {
        return CannotRun;
    }
    return remarks.empty() ? Clean : HasFindings;
}
