// What stays behind of the product, and what other products lose.
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

/// What is left of a place of the build that goes; empty for what may stay.
Names leftOf(const Survey& survey, const OwnedFiles& files, const OwnedPlace& place) {
    // Elsewhere than where the run goes it may be anyone's, unless the record says that the product was here.
    const bool bUncertain = place.reach != Reach::Today && (place.bTarget || survey.bFirst);
    if (place.before == 0 || bUncertain || (place.bShortCut && !survey.isOwnShortCut(place, files))) {
        return {};
    }
    return survey.ownerless(place);
}

// At an upgrade

void droppedPath(const Survey& survey, const DangerReport& report) {
    if (!survey.made) {
        return;
    }
    Names dropped;
    Names left;
    for (const OwnedFiles& files : survey.mine) {
        for (const auto& [path, node] : files.tree) {
            const bool bStays =
                survey.made->tree.count(path) == 0 && survey.usesOf(path) == 0 && survey.countOf(path) > 0;
            if (bStays) {
                dropped.push_back(path);
            }
        }
        for (const OwnedPlace& place : files.places) {
            const bool bListed = survey.made->tree.count(place.treePath) != 0;
            if ((!bListed && !place.bStays) || place.bShortCut) {
                append(left, leftOf(survey, files, place));
            }
        }
    }
    if (!dropped.empty()) {
        report("the installed build lists " + listed(dropped) + " and the new one does not: " +
                   chosen(dropped, "it stays", "they stay") + " in the record for ever",
               dropped);
    }
    if (!left.empty()) {
        report("the installed build has put " + listed(left) + " there and the new one does not: " +
                   chosen(left, "it stays", "they stay") + " on disk, where no uninstall looks",
               left);
    }
}

void movedTarget(const Survey& survey, const DangerReport& report) {
    if (!survey.made) {
        return;
    }
    Names left;
    for (const OwnedFiles& files : survey.mine) {
        for (const OwnedPlace& place : files.places) {
            const auto node = survey.made->tree.find(place.treePath);
            // One that changes its kind has a rule of its own.
            if (!place.bShortCut && node != survey.made->tree.end() &&
                node->second.bFolder == place.bFolder) {
                append(left, leftOf(survey, files, place));
            }
        }
    }
    if (!left.empty()) {
        report(listed(left) + " of the installed build " + chosen(left, "stays", "stay") +
                   " where the new one does not go any more: host applications may load both",
               left);
    }
    // What the run itself changes can change the conditions.
    Names lost;
    for (const Plan::Run& run : survey.plan.runs) {
        for (const Plan::Branch& branch : run.branches) {
            for (const Plan::Entry& entry : branch.entries) {
                const bool bWritten =
                    entry.action == Plan::Action::Copy || entry.action == Plan::Action::Replace;
                if (bWritten && !survey.isAfterOwned(survey.machine.placeOf(entry.path))) {
                    lost.push_back(entry.path);
                }
            }
        }
    }
    if (!lost.empty()) {
        report(listed(lost) + chosen(lost, " is", " are") +
                   " written where the product does not go any more after the run, which itself changes what "
                   "the "
                   "conditions test",
               lost);
    }
}

void oldUninstaller(const Survey& survey, const DangerReport& report) {
    for (const OwnedFiles& files : survey.mine) {
        if (!files.uninstaller.empty() && files.uninstaller != survey.ownUninstaller() &&
            survey.machine.linkTypeOf(toVLString(files.uninstaller)) != 0) {
            report(files.uninstaller + " of the same product under another name stays", {files.uninstaller});
        }
    }
}

// At an uninstall

bool isLoweredByNone(const Survey& survey) {
    return std::any_of(survey.plan.dangers.begin(), survey.plan.dangers.end(),
                       [](const Plan::Danger& danger) { return danger.rule == "product-not-recorded"; });
}

bool cannotBeRemoved(const Survey& survey, const std::string& path) {
    return std::any_of(survey.plan.dangers.begin(), survey.plan.dangers.end(),
                       [&](const Plan::Danger& danger) {
                           return danger.rule == "remove-fails" && danger.paths.front() == path;
                       });
}

void staysBehind(const Survey& survey, const DangerReport& report) {
    Names paths;
    std::string why;
    for (const Plan::Remnant& remnant : survey.plan.remnants) {
        if (cannotBeRemoved(survey, remnant.path)) {
            continue; // which a rule of its own tells
        }
        paths.push_back(remnant.path);
        why += why.find(remnant.why) == std::string::npos ? (why.empty() ? "" : "; ") + remnant.why : "";
    }
    if (!paths.empty() && !isLoweredByNone(survey)) {
        report("the uninstall leaves " + listed(paths) + " behind: " + why, paths);
    }
}

// Other products

void lookForLost(const Survey& survey, const OwnedFiles& files, Names& lost) {
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

/// Paths of others that the product writes over under another name in its tree.
void lookForOverwritten(const Survey& survey, const OwnedFiles& files, Names& lost) {
    if (!survey.made) {
        return;
    }
    std::unordered_map<std::string, const OwnedPlace*> theirs;
    for (const OwnedPlace& place : files.places) {
        if (place.before != 0 && !place.bShortCut) {
            theirs.emplace(place.place, &place);
        }
    }
    for (const OwnedPlace& place : survey.made->places) {
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
        lookForLost(survey, files, lost);
        lookForOverwritten(survey, files, lost);
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

// Named with the branches, too, so that nobody is told that nothing is there.
std::vector<Plan::Remnant> remnantsOf(const Survey& survey) {
    std::vector<Plan::Remnant> remnants;
    std::set<std::string> known;
    if (!survey.plan.bUninstall || !survey.plan.bSucceeds) {
        return remnants;
    }
    for (const OwnedFiles& files : survey.mine) {
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
