// Dangers to the owners of files: what stays behind of the product, and what other products lose.
#include "Utility/InstallInspector/Plan/Dangers.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <algorithm>
#include <set>
#include <sys/stat.h>
#include <unordered_map>

namespace {

using Names = std::vector<std::string>;
using Reach = OwnedPlace::Reach;

void append(Names& to, const Names& more) {
    to.insert(to.end(), more.begin(), more.end());
}

/// The paths of a replaced or removed build that are left at `place`. Empty if they may stay.
Names leftOf(const Survey& survey, const OwnedFiles& files, const OwnedPlace& place) {
    // At a place where the run does not go, it may belong to anyone. A recorded product shows that it does
    // not.
    const bool bUncertain = place.reach != Reach::Today && (place.bTarget || survey.bFirst);
    if (place.before == 0 || bUncertain || (place.bShortCut && !survey.isOwnShortCut(place, files))) {
        return {};
    }
    return survey.ownerless(place);
}

// At an upgrade

void droppedPath(const Survey& survey, const DangerReport& report) {
    if (!survey.newBuild) {
        return;
    }
    Names dropped;
    Names left;
    for (const OwnedFiles& files : survey.oldBuilds) {
        for (const auto& [path, node] : files.tree) {
            const bool bStays = survey.newBuild->tree.count(path) == 0 && survey.usesOf(path) == 0 &&
                                survey.countOf(path) > 0;
            if (bStays) {
                dropped.push_back(path);
            }
        }
        for (const OwnedPlace& place : files.places) {
            const bool bListed = survey.newBuild->tree.count(place.treePath) != 0;
            if ((!bListed && !place.bStays) || place.bShortCut) {
                append(left, leftOf(survey, files, place));
            }
        }
    }
    if (!dropped.empty()) {
        report("the installed build lists " + listed(dropped) + " and the new one does not: " +
                   singularOrPlural(dropped, "it stays", "they stay") + " in the record for ever",
               dropped);
    }
    if (!left.empty()) {
        report("the installed build has put " + listed(left) + " there and the new one does not: " +
                   singularOrPlural(left, "it stays", "they stay") + " on disk, where no uninstall looks",
               left);
    }
}

void movedTarget(const Survey& survey, const DangerReport& report) {
    if (!survey.newBuild) {
        return;
    }
    Names left;
    for (const OwnedFiles& files : survey.oldBuilds) {
        for (const OwnedPlace& place : files.places) {
            const auto node = survey.newBuild->tree.find(place.treePath);
            // "kind-changes" reports a path that changes its kind.
            if (!place.bShortCut && node != survey.newBuild->tree.end() &&
                node->second.bFolder == place.bFolder) {
                append(left, leftOf(survey, files, place));
            }
        }
    }
    if (!left.empty()) {
        report(listed(left) + " of the installed build " + singularOrPlural(left, "stays", "stay") +
                   " where the new one does not go any more: host applications may load both",
               left);
    }
    // The run itself can change the result of a condition.
    Names lost;
    for (const Plan::Run& run : survey.plan.runs) {
        for (const Plan::Branch& branch : run.branches) {
            for (const Plan::Entry& entry : branch.entries) {
                const bool bWritten =
                    entry.action == Plan::Action::Copy || entry.action == Plan::Action::Replace;
                if (bWritten && !survey.isOwnedAfterRun(survey.machine.placeOf(entry.path))) {
                    lost.push_back(entry.path);
                }
            }
        }
    }
    if (!lost.empty()) {
        report(listed(lost) + singularOrPlural(lost, " is", " are") +
                   " written where the product does not go any more after the run, which itself changes what "
                   "the "
                   "conditions test",
               lost);
    }
}

void oldUninstaller(const Survey& survey, const DangerReport& report) {
    for (const OwnedFiles& files : survey.oldBuilds) {
        if (!files.uninstaller.empty() && files.uninstaller != survey.ownUninstaller() &&
            survey.machine.linkTypeOf(toVLString(files.uninstaller)) != 0) {
            report(files.uninstaller + " of the same product under another name stays", {files.uninstaller});
        }
    }
}

// At an uninstall

bool isReportedAsNotRecorded(const Survey& survey) {
    return std::any_of(survey.plan.dangers.begin(), survey.plan.dangers.end(),
                       [](const Plan::Danger& danger) { return danger.rule == "product-not-recorded"; });
}

bool isReportedAsNotRemovable(const Survey& survey, const std::string& path) {
    return std::any_of(survey.plan.dangers.begin(), survey.plan.dangers.end(),
                       [&](const Plan::Danger& danger) {
                           return danger.rule == "remove-fails" && danger.paths.front() == path;
                       });
}

void staysBehind(const Survey& survey, const DangerReport& report) {
    Names paths;
    std::string why;
    for (const Plan::Remnant& remnant : survey.plan.remnants) {
        if (isReportedAsNotRemovable(survey, remnant.path)) {
            continue;
        }
        paths.push_back(remnant.path);
        why += why.find(remnant.why) == std::string::npos ? (why.empty() ? "" : "; ") + remnant.why : "";
    }
    if (!paths.empty() && !isReportedAsNotRecorded(survey)) {
        report("the uninstall leaves " + listed(paths) + " behind: " + why, paths);
    }
}

// Other products

void addLost(const Survey& survey, const OwnedFiles& files, Names& lost) {
    for (const OwnedPlace& place : files.places) {
        if (place.before == 0) {
            continue;
        }
        const bool bOwnLink = place.bShortCut && survey.isOwnShortCut(place, files);
        if (place.bShortCut ? bOwnLink && place.linkAfter != place.linkBefore
                            : place.after == 0 || place.after != place.before) {
            lost.push_back(place.path);
        }
    }
    if (!files.uninstaller.empty() && (files.uninstaller == survey.ownUninstaller() ||
                                       survey.machine.linkTypeOf(toVLString(files.uninstaller)) == 0)) {
        lost.push_back(files.uninstaller);
    }
}

/// Adds the paths of another product that this one overwrites from another path of its tree.
void addOverwritten(const Survey& survey, const OwnedFiles& files, Names& lost) {
    if (!survey.newBuild) {
        return;
    }
    std::unordered_map<std::string, const OwnedPlace*> theirs;
    for (const OwnedPlace& place : files.places) {
        if (place.before != 0 && !place.bShortCut) {
            theirs.emplace(place.place, &place);
        }
    }
    for (const OwnedPlace& place : survey.newBuild->places) {
        const auto other = theirs.find(place.place);
        if (place.reach == Reach::Today && !place.bShortCut && other != theirs.end() &&
            files.tree.count(place.treePath) == 0) {
            lost.push_back(place.path);
        }
    }
}

void othersLost(const Survey& survey, const DangerReport& report) {
    for (const OwnedFiles& files : survey.others) {
        Names lost;
        addLost(survey, files, lost);
        addOverwritten(survey, files, lost);
        if (!lost.empty()) {
            report("the product " + toString(files.product.ID) + " loses " + listed(lost), lost);
        }
    }
}

} // namespace

const std::vector<DangerRule>& ownerDangers() {
    static const std::vector<DangerRule> rules = {
        {"dropped-path", Verdict::Harm, droppedPath},       {"moved-target", Verdict::Harm, movedTarget},
        {"old-uninstaller", Verdict::Harm, oldUninstaller}, {"stays-behind", Verdict::Harm, staysBehind},
        {"others-lost", Verdict::Harm, othersLost},
    };
    return rules;
}

std::vector<Plan::Remnant> remnantsOf(const Survey& survey) {
    std::vector<Plan::Remnant> remnants;
    std::set<std::string> known;
    if (!survey.plan.bUninstall || !survey.plan.bSucceeds) {
        return remnants;
    }
    for (const OwnedFiles& files : survey.oldBuilds) {
        for (const OwnedPlace& place : files.places) {
            if (place.bStays) {
                continue;
            }
            for (const std::string& path : leftOf(survey, files, place)) {
                const char* why =
                    place.reach == Reach::Idle           ? "the condition of its target folder does not hold"
                    : place.reach == Reach::OtherHome    ? "it is another user's"
                    : place.reach == Reach::BesideRecord ? "these target paths send it elsewhere"
                    : survey.wasRecorded(place.treePath)
                        ? "its count does not come to zero, or it cannot be removed"
                        : "the record does not list it";
                if (known.insert(path).second) {
                    remnants.push_back({place.treePath, path, why});
                }
            }
        }
    }
    return remnants;
}
