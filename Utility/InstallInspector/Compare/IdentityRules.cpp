// Differences in the identity of the builds: ID, name and build.
#include "Utility/InstallInspector/Compare/CompareRules.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <algorithm>

namespace {

std::string uninstallerNamed(const std::string& path) {
    return quotedText(toVLString(path.substr(path.rfind('/') + 1)));
}

void idChanged(const Comparison& comparison, const Report& report) {
    const VLString& before = comparison.old.info().ID;
    const VLString& after = comparison.now.info().ID;
    if (before == after) {
        return;
    }
    const bool bSameName = comparison.old.uninstaller() == comparison.now.uninstaller();
    report(comparison.now.atIdentity("ID"),
           "the ID changes from " + quotedText(before) + " to " + quotedText(after),
           "To the engine these are two products: the old one stays in the record, and what it has installed "
           "stays counted. " +
               std::string(bSameName
                               ? "Its uninstaller is replaced by that of the new one, so that nobody can "
                                 "uninstall it."
                               : "Its uninstaller stays, too."),
           "Keep the ID for ever. If it has to change, take the old product away first: ship "
           "Examples/packaging/preinstall and name the old ID in the file \"replaces\" "
           "(Docs/packaging-macos.md).");
}

void nameChanged(const Comparison& comparison, const Report& report) {
    const VLString& before = comparison.old.info().name;
    const VLString& after = comparison.now.info().name;
    if (before == after) {
        return;
    }
    const std::string uninstaller = comparison.old.uninstaller();
    if (uninstaller.empty()) {
        report.as(Severity::Note)(comparison.now.atIdentity("name"),
                                  "the name changes from " + quotedText(before) + " to " + quotedText(after),
                                  "The old build has no uninstaller, so that nothing stays.",
                                  "Nothing has to be done.");
        return;
    }
    report(comparison.now.atIdentity("name"),
           "the name changes from " + quotedText(before) + " to " + quotedText(after),
           "The old uninstaller, " + uninstallerNamed(uninstaller) +
               ", stays beside the new one. Whoever starts it uninstalls with the old definition, and what "
               "only the new build has stays for good.",
           "Keep the name. " + std::string(wayOut), {uninstaller});
}

/// The files of the new build that are not written because its number is too low.
std::vector<std::string> keptBack(const Comparison& comparison) {
    std::vector<std::string> paths;
    for (const Difference& difference : comparison.differences) {
        if (difference.cause == Difference::Cause::NotReplaced && !comparison.bNoRecord) {
            paths.push_back(difference.path);
        }
    }
    return paths;
}

void buildNotRising(const Comparison& comparison, const Report& report) {
    const int before = comparison.old.number();
    const int after = comparison.now.number();
    if (after > before) {
        return;
    }
    const std::string message = "the build goes from " + quotedText(comparison.old.info().build) + " to " +
                                quotedText(comparison.now.info().build) +
                                ", and only its fourth number counts: " + std::to_string(before) + ", then " +
                                std::to_string(after);
    const std::string advice = "Give each release a fourth number above that of all before, here above " +
                               std::to_string(before) + ".";
    const std::vector<std::string> paths = keptBack(comparison);
    if (paths.empty()) {
        report.as(Severity::Note)(comparison.now.atIdentity("build"), message,
                                  before == after
                                      ? "An equal build replaces the files, but whichever of the two is "
                                        "installed last wins."
                                      : "Nothing that is installed is kept, since no file depends on it.",
                                  advice);
        return;
    }
    report(comparison.now.atIdentity("build"), message,
           counted(paths.size(), "file that is installed is kept: ", "files that are installed are kept: ") +
               quotedList(paths) + ". The new ones do not arrive.",
           advice + " " + wayOut, paths);
}

} // namespace

const std::vector<CompareRule>& identityRules() {
    static const std::vector<CompareRule> rules = {
        {"id-changed", Severity::Error, idChanged},
        {"name-changed", Severity::Error, nameChanged},
        {"build-not-rising", Severity::Error, buildNotRising},
    };
    return rules;
}
