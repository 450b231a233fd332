// Dangers in the steps of a run: files, folders, shortcuts and the uninstaller, and questions to the user.
#include "Utility/InstallInspector/Documents/FolderAbove.h"
#include "Utility/InstallInspector/Plan/Dangers.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <sys/stat.h>
#include <unordered_map>

namespace {

using Action = Plan::Action;
using Names = std::vector<std::string>;
using Reach = OwnedPlace::Reach;
using Verb = PlannedMachine::Verb;

/// Calls `visit` with each run and each of its entries.
template <class Visitor>
void forEachEntry(const Survey& survey, Visitor visit) {
    for (const Plan::Run& run : survey.plan.runs) {
        for (const Plan::Branch& branch : run.branches) {
            for (const Plan::Entry& entry : branch.entries) {
                visit(run, entry);
            }
        }
    }
}

bool isRelative(const Plan::Entry& entry) {
    return entry.path.empty() || entry.path.front() != '/';
}

mode_t typeOf(const Survey& survey, const std::string& path) {
    return survey.machine.typeOf(toVLString(path));
}

mode_t typeBefore(const Survey& survey, const std::string& path) {
    return survey.machine.before().linkTypeOf(toVLString(path));
}

mode_t typeInSource(const Survey& survey, const std::string& treePath) {
    return typeOf(survey, survey.plan.source + "/" + treePath);
}

// The user

void userAsked(const Survey& survey, const DangerReport& report) {
    for (const Plan::Run& run : survey.plan.runs) {
        for (const Plan::Question& question : run.questions) {
            report("the user is asked \"" + question.text +
                       "\": " + (question.causes.empty() ? "a copy fails" : listed(question.causes)),
                   question.causes);
        }
    }
}

// Copies and removals

void copyFails(const Survey& survey, const DangerReport& report) {
    forEachEntry(survey, [&](const Plan::Run& run, const Plan::Entry& entry) {
        if (!run.bUninstall && entry.action == Action::Fail) {
            report(entry.path + " cannot be written: " + entry.why, {entry.path});
        }
    });
}

void removeFails(const Survey& survey, const DangerReport& report) {
    forEachEntry(survey, [&](const Plan::Run& run, const Plan::Entry& entry) {
        if (run.bUninstall && entry.action == Action::Fail) {
            report(entry.path + " cannot be removed: " + entry.why, {entry.path});
        }
    });
}

void notInstalled(const Survey& survey, const DangerReport& report) {
    const Plan::Run* run = survey.run();
    if (run != nullptr && !run->bUninstall && !run->leftOut.empty()) {
        report("the tree lists what no run installs: " + listed(run->leftOut), run->leftOut);
    }
}

/// Whether the tree path is part of a question about something that the source does not have.
bool isMissingInSource(const Plan::Run& run, const std::string& treePath) {
    return std::any_of(run.questions.begin(), run.questions.end(), [&](const Plan::Question& question) {
        return std::any_of(question.missing.begin(), question.missing.end(),
                           [&](const std::string& missing) { return isAtOrBelow(treePath, missing); });
    });
}

/// A folder in the place of a file counts as there, because "folder-for-file" reports it.
bool isThere(const Survey& survey, const OwnedPlace& place) {
    const mode_t type = typeOf(survey, place.path);
    const bool bFolder = place.bFolder || typeInSource(survey, place.treePath) == S_IFDIR;
    return bFolder ? type == S_IFDIR : type != 0;
}

void notThere(const Survey& survey, const DangerReport& report) {
    if (!survey.newBuild || survey.run() == nullptr || !survey.plan.bSucceeds) {
        return;
    }
    std::set<std::string> failed;
    forEachEntry(survey, [&](const Plan::Run&, const Plan::Entry& entry) {
        if (entry.action == Action::Fail) {
            failed.insert(entry.path);
        }
    });
    Names missing;
    for (const OwnedPlace& place : survey.newBuild->places) {
        const bool bThere = place.bShortCut ? survey.leadsToOwnFile(place) : isThere(survey, place);
        if (place.reach == Reach::Today && !bThere && failed.count(place.path) == 0 &&
            !isMissingInSource(*survey.run(), place.treePath)) {
            missing.push_back(place.path);
        }
    }
    if (!missing.empty()) {
        report(listed(missing) + singularOrPlural(missing, " is", " are") +
                   " not there after the run, though the product and its target paths say so",
               missing);
    }
}

// Files and folders in each other's place

/// Whether a replaced build lists the path as a file and the new one as a folder, or the reverse.
bool changesKind(const Survey& survey, const std::string& treePath, bool bFolder) {
    return std::any_of(survey.oldBuilds.begin(), survey.oldBuilds.end(), [&](const OwnedFiles& files) {
        const auto node = files.tree.find(treePath);
        return node != files.tree.end() && node->second.bFolder != bFolder;
    });
}

void kindChanges(const Survey& survey, const DangerReport& report) {
    if (!survey.newBuild) {
        return;
    }
    for (const auto& [path, node] : survey.newBuild->tree) {
        const StatusFile::FileNodeRef* recorded =
            survey.record ? survey.record->getFileInfo(toVLString(path)) : nullptr;
        if (changesKind(survey, path, node.bFolder)) {
            report(path + " is a " + (node.bFolder ? "file" : "folder") + " in the installed build and a " +
                       (node.bFolder ? "folder" : "file") +
                       " in the new one: the one does not take the place "
                       "of the other, on disk or in the record",
                   {path});
        } else if (recorded != nullptr && recorded->isDirectory != node.bFolder) {
            report(path + " is a " + (node.bFolder ? "file" : "folder") + " in the record and a " +
                       (node.bFolder ? "folder" : "file") + " in the definition",
                   {path});
        }
    }
}

void folderForFile(const Survey& survey, const DangerReport& report) {
    forEachEntry(survey, [&](const Plan::Run& run, const Plan::Entry& entry) {
        if (run.bUninstall) {
            const bool bRemoved = entry.action == Action::Remove && !isRelative(entry) &&
                                  entry.bListedAsFile && typeBefore(survey, entry.path) == S_IFDIR &&
                                  !isOrWasBundle(entry.path, survey.machine);
            if (bRemoved) {
                report(entry.path +
                           " is a folder where the product lists a file, and is removed with all that is "
                           "in it: it may be someone else's",
                       {entry.path});
            }
            return;
        }
        const bool bFile =
            entry.action != Action::Fail && !entry.bFolder && typeInSource(survey, entry.treePath) == S_IFREG;
        if (!bFile || typeOf(survey, entry.path) != S_IFDIR || changesKind(survey, entry.treePath, false)) {
            return;
        }
        report(entry.path + " is a folder: " +
                   (entry.action == Action::Keep ? "the file that goes there is left out"
                                                 : "the file goes inside it, as " + entry.path + "/" +
                                                       entry.path.substr(entry.path.rfind('/') + 1) +
                                                       ", where no product looks for it") +
                   ", and an uninstall removes the folder with all that is in it",
               {entry.path});
    });
}

void unrecordedFile(const Survey& survey, const DangerReport& report) {
    forEachEntry(survey, [&](const Plan::Run& run, const Plan::Entry& entry) {
        const bool bTakesOver = entry.action == Action::Replace || entry.action == Action::Copy ||
                                (entry.action == Action::Keep && !run.recordPath.empty());
        if (run.bUninstall || !bTakesOver || isRelative(entry) || typeBefore(survey, entry.path) == 0 ||
            survey.wasOwned(survey.machine.placeOf(entry.path))) {
            return;
        }
        const bool bRecorded = run.before.paths.count(entry.treePath) != 0;
        if (bRecorded && (!survey.unknown.empty() || survey.bInstalledUnknown)) {
            return; // a product that cannot be looked at may have put it there
        }
        if (typeInSource(survey, entry.treePath) == S_IFDIR) {
            if (survey.hadForeignContent(survey.machine.placeOf(entry.path))) {
                report(entry.path +
                           " is a folder that no product has put there: what is in it is mixed with the "
                           "product's, and goes with it",
                       {entry.path});
            }
        } else if (typeBefore(survey, entry.path) == S_IFDIR) {
            return; // "folder-for-file" and others report it
        } else if (entry.action == Action::Keep) {
            report(entry.path + " is kept, though no installed product has put it there: it is taken for the "
                                "product's, and goes with it",
                   {entry.path});
        } else if (!run.recordPath.empty()) {
            report(entry.path + " is replaced, though " +
                       (bRecorded ? "no installed product has put it there" : "the record does not list it") +
                       ": it may be someone else's",
                   {entry.path});
        }
    });
}

bool isSameContent(const Survey& survey, const std::string& one, const std::string& other) {
    const FileContent first = survey.machine.readFile(toVLString(survey.plan.source + "/" + one));
    const FileContent second = survey.machine.readFile(toVLString(survey.plan.source + "/" + other));
    return first.state.type == S_IFREG && second.state.type == S_IFREG && first.size == second.size &&
           std::equal(first.bytes.get(), first.bytes.get() + first.size, second.bytes.get());
}

void samePlace(const Survey& survey, const DangerReport& report) {
    if (!survey.newBuild) {
        return;
    }
    std::unordered_map<std::string, const OwnedPlace*> first;
    for (const OwnedPlace& place : survey.newBuild->places) {
        if (place.reach != Reach::Today) {
            continue;
        }
        const OwnedPlace& other = *first.try_emplace(place.place, &place).first->second;
        if (other.treePath != place.treePath &&
            (place.bShortCut || !isSameContent(survey, other.treePath, place.treePath))) {
            report(other.treePath + " and " + place.treePath + " both go to " + place.path +
                       ": one takes the place of the other",
                   {place.path});
        }
    }
}

// Folders

void workingFolder(const Survey& survey, const DangerReport& report) {
    forEachEntry(survey, [&](const Plan::Run&, const Plan::Entry& entry) {
        if (isRelative(entry) && entry.action == Action::Remove) {
            report(entry.path +
                       " is removed from the folder in which the run is started, since no target folder of "
                       "its branch is there",
                   {entry.path});
        } else if (isRelative(entry) && (entry.action == Action::Copy || entry.action == Action::Replace)) {
            report(entry.path + " is written relative to the folder in which the run is started",
                   {entry.path});
        }
    });
}

/// A removed folder whose path does not show that it belongs to this family of products.
void wholeFolder(const Survey& survey, const DangerReport& report) {
    std::unordered_map<std::string, std::size_t> removed; // what was in a folder at its first removal
    for (const Plan::Step& step : survey.plan.steps) {
        if (step.verb == Verb::RemoveFolder && step.removed > 0) {
            removed.emplace(step.path, step.removed);
        }
    }
    forEachEntry(survey, [&](const Plan::Run&, const Plan::Entry& entry) {
        const VLString path = toVLString(entry.path);
        const auto found = removed.find(entry.path);
        const bool bOwn = path.HasOf(path.IndexOfIgnoreCase("vorlane", 0)) || entry.bListedAsFile;
        if (entry.action == Action::Remove && entry.bFolder && !isRelative(entry) && !bOwn &&
            found != removed.end()) {
            report(entry.path + " is removed as a whole, with the " +
                       counted(found->second, "file or folder", "files and folders") +
                       " in it, whoever put them there",
                   {entry.path});
        }
    });
}

// Shortcuts and the uninstaller

bool replacesForeignLink(const Survey& survey, const Plan::Step& step) {
    const std::string before = survey.machine.linkTextBefore(step.path);
    return !before.empty() && before != step.source && !survey.wasOwned(survey.machine.placeOf(step.path));
}

void shortcut(const Survey& survey, const DangerReport& report) {
    for (const Plan::Step& step : survey.plan.steps) {
        if (step.verb == Verb::RemoveItem && step.bSucceeded && step.before != S_IFLNK &&
            step.path == SharedPackage::managerLink) {
            report(step.path + " is no link, and is removed", {step.path});
        }
        if (step.verb != Verb::Link) {
            continue;
        }
        if (!step.bSucceeded) {
            report(step.path + " cannot be made: " + step.why, {step.path});
        } else if (step.before == S_IFDIR) {
            report(step.path + " is a folder: the shortcut to " + step.source +
                       " is made inside it, and no uninstall will find it",
                   {step.path});
        } else if (!step.inside.empty() && step.inside != survey.machine.placeOf(step.source)) {
            report(step.path + " leads to the folder " + step.inside + ": the shortcut to " + step.source +
                       " is made inside it, and the old one stays",
                   {step.path});
        } else if (replacesForeignLink(survey, step)) {
            report(step.path + " is a link that no installed product has made, and is replaced by one to " +
                       step.source,
                   {step.path});
        } else if (step.before != 0 && step.before != S_IFLNK) {
            report(step.path + " is no shortcut, and is replaced by one to " + step.source, {step.path});
        }
    }
}

void uninstaller(const Survey& survey, const DangerReport& report) {
    for (const Plan::Step& step : survey.plan.steps) {
        if (!step.bSucceeded && (step.verb == Verb::CopyItem || step.verb == Verb::CreateLink ||
                                 step.verb == Verb::CreateFolder)) {
            report(step.path + " cannot be placed: " + step.why, {step.path});
        }
    }
    const bool bNameless = !survey.plan.bUninstall && survey.plan.bSucceeds && survey.fault.empty() &&
                           (survey.product.ID.IsEmpty() || survey.product.name.IsEmpty());
    if (bNameless) {
        report("no uninstaller is placed, since the product has no ID or no name");
    }
}

} // namespace

const std::vector<DangerRule>& stepDangers() {
    static const std::vector<DangerRule> rules = {
        {"user-asked", Verdict::Harm, userAsked},
        {"copy-fails", Verdict::Harm, copyFails},
        {"remove-fails", Verdict::Harm, removeFails},
        {"not-installed", Verdict::Harm, notInstalled},
        {"not-there", Verdict::Harm, notThere},
        {"kind-changes", Verdict::Harm, kindChanges},
        {"folder-for-file", Verdict::Harm, folderForFile},
        {"unrecorded-file", Verdict::Harm, unrecordedFile},
        {"same-place", Verdict::Harm, samePlace},
        {"working-folder", Verdict::Harm, workingFolder},
        {"whole-folder", Verdict::Harm, wholeFolder},
        {"shortcut", Verdict::Harm, shortcut},
        {"uninstaller", Verdict::Harm, uninstaller},
    };
    return rules;
}
