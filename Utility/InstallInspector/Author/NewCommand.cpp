#include "Utility/InstallInspector/Author/NewCommand.h"

#include "Platform/Utf8.h"
#include "Utility/InstallInspector/Author/StarterTargets.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Report/OutputFile.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <list>
#include <utility>

namespace {

bool isPattern(const std::string& text) {
    return !text.empty() && isUtf8(text) &&
           std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; });
}

/// What is wrong with the arguments. Empty if nothing is.
std::string faultOf(const NewOptions& options) {
    std::string fault = faultOf(options.identity);
    if (!std::all_of(options.exclude.begin(), options.exclude.end(), isPattern)) {
        fault = "--exclude takes a pattern of UTF-8 without control characters";
    }
    for (const std::string& output : {options.definition, options.targets}) {
        if (!output.empty() && liesIn(output, options.folder)) {
            fault = output + " would lie in " + options.folder + ", among the files of the product";
        }
    }
    return fault;
}

/// Adds remarks about what every install needs in the folder.
void checkWholeFolder(const NewOptions& options, const StagedFolder& folder, Remarks& remarks) {
    const StagedNode* shared = folder.root().child(Branch::shared);
    if (shared == nullptr || shared->omission == StagedNode::Omission::Excluded) {
        remarks.fault(Branch::shared, "is not there: every install opens this folder, which may be empty");
        return;
    }
    if (options.identity.ID != SharedPackage::ID) {
        return;
    }
    const StagedNode* definitions = shared->child(SharedPackage::definitionsFolder);
    if (definitions != nullptr && definitions->child("COMMON.xml") != nullptr) {
        remarks.note("VorlaneFX/SKU/COMMON.xml",
                     "has to be a copy of the definition: copy it there when that is done");
    } else {
        remarks.fault(
            "VorlaneFX/SKU/COMMON.xml",
            "is not there: the shared package installs its own definition as this file, and its uninstall "
            "looks for it");
    }
}

std::string summary(const NewOptions& options, const EntryCounts& counts, const StagedHosts& hosts) {
    std::string text = printable(options.definition.empty() ? "The definition" : options.definition) + ": ";
    if (!hosts.hosts.empty()) {
        text += counted(hosts.hosts.size(), "host", "hosts") + ", " +
                counted(hosts.families.size(), "family", "families") + ", ";
    }
    text += counted(counts.files, "file", "files") + ", " +
            counted(counts.wholeFolders + counts.emptyFolders, "whole folder", "whole folders") +
            ".\nAn install into one target folder for each part runs " +
            counted(counts.commands(), "command", "commands");
    if (counts.wholeFolders > 0) {
        text += "; with the files of whole folders one by one it would be " +
                std::to_string(counts.commandsFileByFile());
    }
    return text + ".\n";
}

int write(const NewOptions& options, const std::string& definition, const std::string& targets) {
    std::vector<TextFile> texts;
    if (!options.targets.empty()) {
        texts.push_back({options.targets, targets});
    }
    if (!options.definition.empty()) {
        texts.push_back({options.definition, definition});
    }
    const std::string fault = saveAll(texts, options.bForce);
    if (!fault.empty()) {
        return cannotRun(fault);
    }
    return options.definition.empty() && !writeOutput(definition) ? CannotRun : Clean;
}

} // namespace

int runNew(const NewOptions& options) {
    const std::string usage = faultOf(options);
    if (!usage.empty()) {
        return cannotRun(usage);
    }
    LeftOut leftOut;
    for (const std::string& pattern : options.exclude) {
        leftOut.add(pattern);
    }
    Remarks remarks;
    StagedFolder folder;
    const TextStyle style;
    EntryWriter writer(style, remarks);
    std::string definition;
    {
        Progress progress;
        std::string error;
        if (!folder.read(options.folder, leftOut, remarks, progress, error)) {
            return cannotRun(options.folder + " " + error);
        }
        if (options.bManifest) {
            writer.writeManifests(folder.path(), progress);
        }
        definition = newDefinition(options.identity, folder, leftOut, writer, style);
    }
    checkWholeFolder(options, folder, remarks);
    if (remarks.faults.empty() && writer.written().empty()) {
        remarks.fault(".", "holds nothing to install");
    }
    remarks.print();
    if (!remarks.faults.empty()) {
        return cannotRun("nothing is written: no definition can carry what is told above");
    }
    const StagedHosts hosts = StagedHosts::of(folder.root());
    if (write(options, definition, starterTargets(folder, hosts)) != Clean) {
        return CannotRun;
    }
    static_cast<void>(std::fputs(summary(options, writer.counts(), hosts).c_str(), stderr));
    return remarks.notes.empty() ? Clean : HasFindings;
}
