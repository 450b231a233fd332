// Dangers in the record and its counts, and what cannot be known about a run.
#include "Utility/InstallInspector/Plan/Dangers.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <sys/stat.h>

namespace {

using Names = std::vector<std::string>;

bool lists(const Plan::Record& record, const VLString& id) {
    return std::any_of(record.products.begin(), record.products.end(),
                       [&](const auto& product) { return product.ID == id; });
}

bool isUnlisted(const Plan::Run& run) {
    return run.bUninstall && !run.recordPath.empty() && !run.bRecordLeftAlone &&
           !run.before.products.empty() && !lists(run.before, run.product.ID);
}

void recordUnreadable(const Survey& survey, const DangerReport& report) {
    for (const Plan::Run& run : survey.plan.runs) {
        if (run.bRecordDamaged) {
            report(run.recordPath +
                   " is there but cannot be read: the run keeps it under another name, takes it "
                   "for an empty record and counts from nothing");
        }
        if (run.bRecordLeftAlone) {
            report(run.recordPath +
                   " is there but cannot be read: the run takes it for an empty record and leaves "
                   "it as it is");
        }
    }
}

void productNotRecorded(const Survey& survey, const DangerReport& report) {
    for (const Plan::Run& run : survey.plan.runs) {
        if (isUnlisted(run) && run.product.ID.IsSet()) {
            report("the record does not list the product " + toString(run.product.ID) +
                   ": its uninstall lowers no count, and what it has installed stays");
        }
    }
}

void leavesRecord(const Survey& survey, const DangerReport& report) {
    for (const Plan::Run& run : survey.plan.runs) {
        if (!run.recordPath.empty() && !run.lost.empty()) {
            report("a folder above them comes to a count of zero, so that " +
                       counted(run.lost.size(), "path that is", "paths that are") +
                       " still in use will leave the record: " + listed(run.lost),
                   run.lost);
        }
    }
}

void recordRemoved(const Survey& survey, const DangerReport& report) {
    for (const Plan::Run& run : survey.plan.runs) {
        if (run.bRecordRemoved && !run.after.paths.empty()) {
            Names paths;
            for (const auto& [path, recorded] : run.after.paths) {
                paths.push_back(path);
            }
            report("no product is left in the record, so it is removed, though it still counts " +
                       counted(paths.size(), "path", "paths"),
                   paths);
        }
    }
    const Plan::Run* run = survey.run();
    if (survey.plan.bUninstall && run != nullptr && !run->recordPath.empty() && !run->bRecordRemoved &&
        !run->bRecordLeftAlone && !survey.record && run->before.products.size() > 1 &&
        survey.plan.runs.size() == 1) {
        report(run->recordPath + " goes with a folder that is removed, though it lists other products");
    }
}

void recordNotSaved(const Survey& survey, const DangerReport& report) {
    for (const Plan::Run& run : survey.plan.runs) {
        if (!run.recordPath.empty() && !run.bUninstall && !run.bRecordSaved && !run.bRecordLeftAlone &&
            !run.branches.empty()) {
            report(run.recordPath +
                   " cannot be saved, since its folder is not there or it is no file: what the "
                   "run does is not recorded");
        }
    }
}

void noRecord(const Survey& survey, const DangerReport& report) {
    const Plan::Run* run = survey.run();
    const bool bInstalls = run != nullptr && !run->bUninstall && run->recordPath.empty() &&
                           std::any_of(run->branches.begin(), run->branches.end(),
                                       [](const Plan::Branch& branch) { return !branch.entries.empty(); });
    if (bInstalls) {
        report(
            "no record is kept, since the item VorlaneFX has no target folder here: no uninstall removes a "
            "file");
    }
}

// The counts

/// Whether the counts after the run can be compared with the uses of the installed products.
bool canCheckCounts(const Survey& survey) {
    const Plan::Run* run = survey.run();
    return run != nullptr && survey.record && !run->bRecordLeftAlone && survey.fault.empty() &&
           (survey.plan.bUninstall ? !isUnlisted(*run) && !run->before.products.empty() : run->bRecordSaved);
}

void countedTooLow(const Survey& survey, const DangerReport& report) {
    if (!canCheckCounts(survey)) {
        return;
    }
    Names low;
    for (const std::string& path : survey.paths) {
        const std::int32_t count = std::max(survey.countOf(path), 0);
        const bool bNotRecorded = count == 0 && survey.newBuild && survey.newBuild->tree.count(path) != 0;
        if (!bNotRecorded && count < survey.usesOf(path)) {
            low.push_back(path);
        }
    }
    if (!low.empty()) {
        report("the record counts fewer uses than there are installed products that list " + listed(low) +
                   ": the first uninstall takes " + singularOrPlural(low, "it", "them") + " from the others",
               low);
    }
}

void countedTooHigh(const Survey& survey, const DangerReport& report) {
    if (!canCheckCounts(survey)) {
        return;
    }
    Names high;
    for (const std::string& path : survey.paths) {
        const std::int32_t uses = survey.usesOf(path);
        // "dropped-path" reports what no product lists any more.
        if ((uses > 0 || survey.plan.bUninstall) &&
            survey.countOf(path) > uses + survey.mostUnknownUsesOf(path)) {
            high.push_back(path);
        }
    }
    if (!high.empty()) {
        report("the record counts more uses than there are installed products that list " + listed(high) +
                   ": no uninstall will remove " + singularOrPlural(high, "it", "them"),
               high);
    }
}

void notRecorded(const Survey& survey, const DangerReport& report) {
    if (!canCheckCounts(survey) || !survey.newBuild) {
        return;
    }
    Names missing;
    for (const auto& [path, node] : survey.newBuild->tree) {
        if (node.bLeaf && survey.countOf(path) < 1) {
            missing.push_back(path);
        }
    }
    if (!missing.empty()) {
        report("after the run the record does not have " + listed(missing) + ": no uninstall removes " +
                   singularOrPlural(missing, "it", "them"),
               missing);
    }
}

void listsRecord(const Survey& survey, const DangerReport& report) {
    if (!survey.newBuild || survey.recordPath().empty()) {
        return;
    }
    const std::string record = survey.machine.placeOf(survey.recordPath());
    for (const OwnedPlace& place : survey.newBuild->places) {
        if (place.place == record && place.reach == OwnedPlace::Reach::Today) {
            report("the tree lists the record itself, " + place.treePath +
                       ": what other products have recorded there is lost",
                   {place.path});
        }
    }
}

// The shared package

void sharedPackageStays(const Survey& survey, const DangerReport& report) {
    if (!survey.plan.bUninstall || survey.plan.runs.empty() || survey.product.ID == SharedPackage::ID) {
        return;
    }
    const Plan::Record& after = survey.plan.runs.back().after;
    if (after.products.size() == 1 && after.products.front().ID == SharedPackage::ID) {
        report("the shared package is the last product and stays, since its definition cannot be used" +
               (survey.sharedFault.empty() ? "" : ": " + survey.sharedFault));
    }
}

// What cannot be known

void definitionUnreadable(const Survey& survey, const DangerReport& report) {
    if (!survey.fault.empty() && survey.plan.bSucceeds) {
        report("the run takes a file that cannot be read for an empty one: " + survey.fault);
    }
}

void unknownBuild(const Survey& survey, const DangerReport& report) {
    if (survey.bInstalledUnknown) {
        report("the record lists the product " + toString(survey.product.ID) +
               ", and no uninstaller with the definition of that build is there: what it has installed "
               "cannot be "
               "looked at");
    }
}

void unknownProduct(const Survey& survey, const DangerReport& report) {
    const Plan::Run* run = survey.run();
    if (run == nullptr || survey.unknown.empty() || survey.bFirst) {
        return;
    }
    Names open;
    for (const std::string& path : survey.paths) {
        const bool bHad = std::any_of(survey.oldBuilds.begin(), survey.oldBuilds.end(),
                                      [&](const OwnedFiles& files) { return files.tree.count(path) != 0; });
        if (run->before.paths.count(path) != 0 && (survey.plan.bUninstall || !bHad)) {
            open.push_back(path);
        }
    }
    if (!open.empty()) {
        report("no definition of the recorded " +
                   std::string(singularOrPlural(survey.unknown, "product ", "products ")) +
                   listed(survey.unknown) + " is there, which may use " + listed(open),
               open);
    }
}

} // namespace

const std::vector<DangerRule>& recordDangers() {
    static const std::vector<DangerRule> rules = {
        {"record-unreadable", Verdict::Harm, recordUnreadable},
        {"product-not-recorded", Verdict::Harm, productNotRecorded},
        {"leaves-record", Verdict::Harm, leavesRecord},
        {"record-removed", Verdict::Harm, recordRemoved},
        {"record-not-saved", Verdict::Harm, recordNotSaved},
        {"no-record", Verdict::Harm, noRecord},
        {"counted-too-low", Verdict::Harm, countedTooLow},
        {"counted-too-high", Verdict::Harm, countedTooHigh},
        {"not-recorded", Verdict::Harm, notRecorded},
        {"lists-record", Verdict::Harm, listsRecord},
        {"shared-package-stays", Verdict::Harm, sharedPackageStays},
        {"definition-unreadable", Verdict::Harm, definitionUnreadable},
        {"unknown-build", Verdict::CannotTell, unknownBuild},
        {"unknown-product", Verdict::CannotTell, unknownProduct},
    };
    return rules;
}
