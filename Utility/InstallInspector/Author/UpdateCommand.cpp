#include "Utility/InstallInspector/Author/UpdateCommand.h"

#include "Utility/InstallInspector/Author/DefinitionUpdate.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Report/OutputFile.h"

#include <algorithm>
#include <optional>

namespace {

using Change = DefinitionChange::Kind;

std::string line(const DefinitionChange& change, const Painter& painter) {
    const std::string text = printable(change.path) + (change.text.empty() ? "" : "  (" + change.text + ")");
    switch (change.kind) {
    case Change::Added:
        return painter.paint(Colour::Green, "+ " + text) + "\n";
    case Change::Dropped:
        return painter.paint(Colour::Red, "- " + text) + "\n";
    case Change::Changed:
        break;
    }
    return painter.paint(Colour::Yellow, "~ " + text) + "\n";
}

std::string asText(const UpdateOptions& options, const std::vector<DefinitionChange>& changes) {
    const Painter painter = Painter::forFile(stdout);
    std::string text;
    std::size_t counts[3] = {};
    for (const DefinitionChange& change : changes) {
        text += line(change, painter);
        ++counts[static_cast<std::size_t>(change.kind)];
    }
    text += printable(options.definition) + ": ";
    if (changes.empty()) {
        return text + "nothing to change\n";
    }
    return text + std::to_string(counts[0]) + " added, " + std::to_string(counts[1]) + " dropped, " +
           std::to_string(counts[2]) + " changed" + (options.bDryRun ? "; not written" : "") + "\n";
}

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

int runUpdate(const UpdateOptions& options) {
    if (liesIn(options.definition, options.source)) {
        return cannotRun(options.definition + " lies among the files of the product");
    }
    EditableDefinition definition;
    std::string error;
    if (!definition.read(options.definition, error)) {
        return cannotRun(options.definition + " " + error);
    }
    Remarks remarks;
    StagedFolder folder;
    EntryWriter writer(definition.style(), remarks);
    std::optional<Progress> progress(std::in_place);
    const LeftOut leftOut(definition.document());
    if (!folder.read(options.source, leftOut, remarks, *progress, error)) {
        return cannotRun(options.source + " " + error);
    }
    if (options.bManifest || definition.hasManifest()) {
        writer.writeManifests(folder.path(), *progress);
    }
    DefinitionUpdate update(definition, folder, writer, remarks);
    update.run();
    progress.reset();
    remarks.print();
    if (!remarks.faults.empty()) {
        return cannotRun("nothing is written: no definition can carry what is told above");
    }
    if (definition.hasForeignEncoding() && !isAscii(definition.inserted())) {
        return cannotRun(options.definition + " is not UTF-8, and new names are not plain ASCII");
    }
    if (!options.bDryRun && definition.isChanged()) {
        OutputFile file(options.definition, OutputFile::Old::AsRead, definition.state());
        const std::string fault = file.save(definition.editedText());
        if (!fault.empty()) {
            return cannotRun(fault);
        }
    }
    if (!writeOutput(asText(options, update.changes()))) {
        return CannotRun;
    }
    const bool bOpen = !remarks.notes.empty() || (options.bDryRun && !update.changes().empty());
    return bOpen ? HasFindings : Clean;
}
