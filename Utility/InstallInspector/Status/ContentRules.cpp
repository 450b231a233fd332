// Files on this machine that differ from the manifests in the definitions.
#include "Utility/InstallInspector/Status/Status.h"

#include <map>
#include <utility>

namespace {

using Fault = Status::ContentFault;

/// Reports one finding for each product with faults of this kind. For several files, `many` follows
/// "N files of PRODUCT". Without `advice`, advises to install the product again.
void reportFaults(const Status& status, const Report& report, Fault::Kind kind, const char* many,
                  const char* consequence, const std::string& advice) {
    std::map<const PlacedProduct*, std::vector<const Fault*>> byProduct;
    for (const Fault& fault : status.contents.faults) {
        if (fault.kind == kind) {
            byProduct[fault.product].push_back(&fault);
        }
    }
    for (const PlacedProduct* product : status.products) {
        const auto& faults = byProduct[product];
        if (faults.empty()) {
            continue;
        }
        std::vector<std::string> paths;
        paths.reserve(faults.size());
        for (const Fault* fault : faults) {
            paths.push_back(fault->path);
        }
        const std::string who = quoted(product->info());
        Finding& finding = report(
            status.record.near(faults.front()->treePath),
            faults.size() == 1
                ? quotedText(toVLString(paths.front())) + " of " + who + " " + printable(faults.front()->text)
                : files(paths.size()) + " of " + who + " " + many + ": " + firstFew(paths),
            consequence, advice.empty() ? "Install " + who + " again, which copies it anew." : advice, paths);
        if (advice.empty()) {
            finding.install = toString(product->info().ID);
        }
    }
}

void truncated(Status& status, const Report& report) {
    reportFaults(status, report, Fault::Kind::Truncated, "are truncated",
                 "The rest of the file is lost: a full disk, a copy that was broken off, or a damaged disk.",
                 "");
}

void changed(Status& status, const Report& report) {
    reportFaults(
        status, report, Fault::Kind::Changed, "have other content",
        "It is not the file that was installed: other hands, another product or a damaged disk changed "
        "it.",
        "");
}

void older(Status& status, const Report& report) {
    reportFaults(
        status, report, Fault::Kind::Older, "are of an older build",
        "The product runs with a file of an earlier build: an update could not replace it, or somebody "
        "has put it back.",
        "");
}

void partMissing(Status& status, const Report& report) {
    reportFaults(status, report, Fault::Kind::Missing, "are missing in their folders",
                 "A part of a folder that is installed as one piece is lost.", "");
}

void foreign(Status& status, const Report& report) {
    reportFaults(
        status, report, Fault::Kind::Foreign, "are foreign",
        "It lies in a folder that is installed as one piece, and is in no manifest: an earlier build "
        "had it, or somebody put it there. The uninstall removes it with the folder.",
        "Move it away, if nobody needs it there.");
}

void unreadable(Status& status, const Report& report) {
    reportFaults(status, report, Fault::Kind::Unreadable, "cannot be read", "What is in it cannot be told.",
                 "Verify as the superuser, and look whether the disk is sound.");
}

void unknownBuild(Status& status, const Report& report) {
    reportFaults(
        status, report, Fault::Kind::UnknownBuild, "are of builds of which no definition is at hand",
        "A product that is not installed any more has brought it. Whether it is sound cannot be told.",
        "Give that build's definition with --sku, too.");
}

void noManifest(Status& status, const Report& report) {
    for (const PlacedProduct* product : status.products) {
        const auto found = status.contents.withoutManifest.find(product);
        if (found != status.contents.withoutManifest.end()) {
            const std::vector<std::string>& paths = found->second;
            report(product->product().definitionFile.start(),
                   "the definition of " + quoted(product->info()) + " has no manifest of " +
                       counted(paths.size(), "entry", "entries") + ": " + firstFew(paths),
                   "Whether the files there are sound cannot be told.",
                   "Install a build of which the definition was written with --manifest.", paths);
        }
    }
}

} // namespace

const std::vector<StatusRuleEntry>& contentRules() {
    static const std::vector<StatusRuleEntry> rules = {
        {{"content-truncated", Severity::Error, "a file that is shorter than its manifest says"}, truncated},
        {{"content-changed", Severity::Error, "a file of other content than its manifest says"}, changed},
        {{"content-older", Severity::Error, "a file of an older build"}, older},
        {{"content-missing", Severity::Error, "a file that is missing in a whole folder"}, partMissing},
        {{"content-foreign", Severity::Warning, "a file in a whole folder that is in no manifest"}, foreign},
        {{"content-unreadable", Severity::Warning, "a file that cannot be read"}, unreadable},
        {{"content-unknown", Severity::Warning, "a file of a build of which no definition is at hand"},
         unknownBuild},
        {{"content-without-manifest", Severity::Warning, "a definition without a manifest"}, noManifest},
    };
    return rules;
}
