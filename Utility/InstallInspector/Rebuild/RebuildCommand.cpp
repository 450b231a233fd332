#include "Utility/InstallInspector/Rebuild/RebuildCommand.h"

#include "Utility/InstallInspector/Documents/QuietLog.h"
#include "Utility/InstallInspector/Documents/RecordFolder.h"
#include "Utility/InstallInspector/Rebuild/Rebuild.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Report/OutputFile.h"

#include <cstdio>
#include <cstdlib>

namespace {

/// What cannot be found out on any machine.
const char* const neverKnown[] = {
    "Builds are those of the definitions. Of a shared file, an uninstalled product may have left a newer "
    "one.",
    "The order is told by the times of folders and uninstallers: a copied disk may have others.",
    "A product of which somebody deleted the uninstaller is missing. Of two products of one name only the "
    "one "
    "that was installed last has an uninstaller.",
    "Files that only an earlier build of a product listed are not in it. Counts that an earlier update did "
    "not "
    "raise are right in it.",
};

std::string textOf(const StatusFile& record) {
    char* text = nullptr;
    std::size_t size = 0;
    FILE* stream = open_memstream(&text, &size);
    if (stream == nullptr) {
        throw std::bad_alloc();
    }
    record.print(stream);
    const bool bWhole = std::fclose(stream) == 0;
    std::string copy(text, size);
    std::free(text);
    if (!bWhole) {
        throw std::bad_alloc();
    }
    return copy;
}

/// Replaces no file, because an existing one may be a record.
std::string writeNew(const std::string& path, const std::string& text) {
    return OutputFile(path, OutputFile::Old::None).save(text);
}

void say(const std::string& text) {
    static_cast<void>(std::fprintf(stderr, "%s\n", text.c_str()));
}

void tell(const Rebuild& rebuild) {
    for (const std::string& text : rebuild.missing) {
        say("missing: " + text);
    }
    for (const std::string& text : rebuild.uncertain) {
        say("note: " + text);
    }
}

} // namespace

int runRebuild(const RebuildOptions& options) {
    const QuietLog quiet;
    const InstalledProducts installed = InstalledProducts::find();
    const VLString folder = options.folder.empty() ? recordFolderOf(installed) : toVLString(options.folder);
    const Rebuild rebuild = Rebuild::of(installed, folder);
    tell(rebuild);
    if (rebuild.record.products.empty()) {
        return cannotRun(
            printableText(folder) +
            " holds the record of no product whose definition is on this machine: there is nothing "
            "to rebuild");
    }
    for (const char* text : neverKnown) {
        say(std::string("note: ") + text);
    }
    const std::string text = textOf(rebuild.record);
    if (options.output.empty()) {
        if (!writeOutput(text)) {
            return CannotRun;
        }
    } else if (const std::string fault = writeNew(options.output, text); !fault.empty()) {
        return cannotRun(fault);
    }
    return rebuild.missing.empty() ? Clean : HasFindings;
}
