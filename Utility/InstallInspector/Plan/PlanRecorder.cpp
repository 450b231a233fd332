#include "Utility/InstallInspector/Plan/PlanRecorder.h"

#include "Foundation/PathLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Foundation/VLVersion.h"
#include "Utility/InstallInspector/Documents/QuietLog.h"
#include "Utility/InstallInspector/Plan/DescribedProducts.h"
#include "Utility/InstallInspector/Plan/Survey.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/Branches.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/XMLDocument.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace {

using Action = Plan::Action;
using Verb = PlannedMachine::Verb;

std::int32_t buildNumberOf(const std::string& build) {
    return VLVersion(toVLString(build)).build;
}

void append(const StatusFile::FileNodeRef& folder, const std::string& path, Plan::Record& record) {
    for (const auto& [name, node] : folder.refChildren) {
        const std::string below = path + toString(name);
        Plan::RecordedPath& recorded = record.paths[below];
        recorded.count = node.ref;
        recorded.build = toString(node.build);
        recorded.shortCut = toString(node.shortCut.name);
        recorded.bFolder = node.isDirectory;
        append(node, below + "/", record);
    }
}

Plan::Record recordOf(const StatusFile& file) {
    Plan::Record record;
    record.products.assign(file.products.begin(), file.products.end());
    append(file.root, "", record);
    return record;
}

/// Removes what a saved and reloaded record does not contain: paths with a count of 0 and everything below
/// them, the builds and shortcuts of folders, invalid shortcuts, and everything below a file.
void keepWhatIsSaved(StatusFile::FileNodeRef& folder) {
    for (auto child = folder.refChildren.begin(); child != folder.refChildren.end();) {
        StatusFile::FileNodeRef& node = child->second;
        if (node.ref < 1) {
            child = folder.refChildren.erase(child);
            continue;
        }
        if (node.isDirectory) {
            node.build.Clear();
        }
        if (node.isDirectory || !node.IsShortCutInfoValid()) {
            node.shortCut = {};
        }
        if (!node.isDirectory) {
            node.refChildren.clear();
        }
        keepWhatIsSaved(node);
        ++child;
    }
}

std::string whyLeftOut(TreeBranch::LeftOut leftOut) {
    switch (leftOut) {
    case TreeBranch::LeftOut::HostWithoutItem:
        return "the target-paths file has no item for this host";
    case TreeBranch::LeftOut::UnknownFamily:
        return "the definition has no plug-ins of this family";
    case TreeBranch::LeftOut::ContentWithoutItem:
        return "the target-paths file has no item of that name";
    case TreeBranch::LeftOut::UnknownName:
        return "only Hosts, VorlaneFX and Content are installed";
    case TreeBranch::LeftOut::No:
        break;
    }
    return "";
}

/// The paths in use below a folder that no product uses.
void appendLost(const StatusFile::FileNodeRef& folder, const std::string& path, bool bLost,
                std::vector<std::string>& lost) {
    for (const auto& [name, node] : folder.refChildren) {
        const std::string below = path + toString(name);
        if (bLost && node.ref > 0) {
            lost.push_back(below);
        }
        appendLost(node, below + "/", bLost || node.ref < 1, lost);
    }
}

} // namespace

// Runs

void PlanRecorder::runBegins(bool bUninstall) {
    if (!plan.runs.empty()) {
        endRun(); // the next run is the one of the shared package
    }
    plan.runs.emplace_back();
    thisRun().bUninstall = bUninstall;
    thisRun().firstStep = machine.steps().size();
    writtenBy.clear();
}

void PlanRecorder::runEnds() {
    endRun();
}

/// May be called twice for a run.
void PlanRecorder::endRun() {
    Plan::Run& ended = thisRun();
    ended.endStep = machine.steps().size();
    // If the definition of the shared package cannot be read, the engine still has that of the first run.
    const SKUDefinition::SKUInfo& product = engine.skuDefinition.skuInfo;
    if (plan.runs.size() == 1 || !(product.ID == plan.runs.front().product.ID)) {
        ended.product = product;
    } else {
        ended.product.ID = SharedPackage::ID;
    }
    for (std::size_t i = ended.firstStep; i < ended.endStep; ++i) {
        const PlannedMachine::Step& step = machine.steps()[i];
        ended.bRecordRemoved =
            ended.bRecordRemoved || (step.verb == Verb::RemoveFile && step.bSucceeded && step.before != 0 &&
                                     !ended.recordPath.empty() && step.path == ended.recordPath);
    }
    if (!ended.branches.empty() && ended.leftOut.empty()) {
        addLeftOut();
    }
}

void PlanRecorder::addLeftOut() {
    for (const TreeBranch& found :
         branchesOf(engine.skuDefinition, engine.installItems, TreeBranch::Order::Tree)) {
        if (found.leftOut != TreeBranch::LeftOut::No) {
            thisRun().leftOut.push_back(toString(found.treePath) + ": " + whyLeftOut(found.leftOut));
        }
    }
}

// The record

void PlanRecorder::recordLoaded(const VLString& path, const StatusFile& record) {
    thisRun().recordPath = toString(path);
    thisRun().before = recordOf(record);
    thisRun().after = thisRun().before;
    thisRun().bRecordLeftAlone = !engine.recordFile.isOurs();
    thisRun().bRecordDamaged = engine.recordFile.isDamaged();
}

void PlanRecorder::recordSaved(const StatusFile& record, bool bSaved) {
    appendLost(record.root, "", false, thisRun().lost);
    thisRun().bRecordSaved = bSaved;
    if (bSaved) {
        StatusFile saved = record;
        keepWhatIsSaved(saved.root);
        thisRun().after = recordOf(saved);
    } else if (machine.typeOf(toVLString(thisRun().recordPath)) == 0) {
        thisRun().after = {}; // it was removed with its folder, or never existed
    }
}

// Target folders

std::size_t PlanRecorder::beginBranch(const VLString& treePath, const InstallItem& item) {
    Plan::Branch begun;
    begun.treePath = toString(treePath);
    begun.family = toString(engine.currentFamily);
    const std::string family = "/" + begun.family;
    const std::string hosts = "Hosts/";
    if (walks.empty() && begun.treePath.rfind(hosts, 0) == 0 &&
        begun.treePath.size() > hosts.size() + family.size()) {
        begun.item = begun.treePath.substr(0, begun.treePath.size() - family.size());
        begun.host = begun.item.substr(hosts.size());
    } else {
        begun.item = begun.treePath;
    }
    begun.targets = explain(item);
    thisRun().branches.push_back(begun);
    return std::exchange(currentBranch, thisRun().branches.size() - 1);
}

std::vector<Plan::Target> PlanRecorder::explain(const InstallItem& item) {
    const PlannedMachine::WithoutSteps withoutSteps(machine);
    const QuietLog quiet;
    std::vector<Plan::Target> targets;
    std::set<VLString> seen;
    for (const InstallItem::ItemPath& candidate : item.paths) {
        Plan::Target target;
        target.pattern = toString(candidate.path);
        if (isGiven(candidate.condition)) {
            target.condition = resultOf(candidate.condition);
        }
        const std::vector<VLString> paths = InstallUtility::getTargetPaths({candidate}, engine.currentFamily);
        if (!InstallUtility::isConditionTrue(candidate.condition)) {
            target.whyNot = "its condition does not hold";
        } else if (paths.empty()) {
            target.whyNot = "the path comes out empty";
        } else if (!seen.insert(paths.front().ToLower()).second) {
            target.whyNot = "the same folder is named before";
        } else {
            target.path = toString(paths.front());
            target.bThere = machine.typeOf(paths.front()) == S_IFDIR;
        }
        targets.push_back(target);
    }
    return targets;
}

// The copy

void PlanRecorder::beginWalk(const VLString& treePath, bool bOwnItem, const InstallItem& item) {
    Walk walk{currentBranch, 0, {}};
    if (bOwnItem) {
        beginBranch(treePath, item);
    }
    walk.firstStep = machine.steps().size();
    walks.push_back(std::move(walk));
}

void PlanRecorder::endWalk() {
    currentBranch = walks.back().branchBefore;
    walks.pop_back();
}

void PlanRecorder::attemptBegins(bool bLast) {
    if (bLast) {
        addQuestion();
    }
    missing.clear();
    // The entries of the last attempt replace those of the first one.
    firstOfAttempt = bLast ? firstOfAttempt : thisRun().branches.size();
    thisRun().branches.resize(firstOfAttempt);
}

/// Adds the question after a failed attempt, with the causes of the failure.
void PlanRecorder::addQuestion() {
    Plan::Question question;
    question.text = machine.alerts().empty() ? "" : machine.alerts().back();
    question.missing = missing;
    for (const std::string& treePath : missing) {
        const bool bFile = machine.typeOf(sourceOf(treePath)) != 0;
        question.causes.push_back(bFile ? treePath + " has a target item, which only a folder can have"
                                        : "the source has no folder " + treePath);
    }
    const auto& branches = thisRun().branches;
    for (std::size_t i = firstOfAttempt; i < branches.size(); ++i) {
        for (const Plan::Entry& entry : branches[i].entries) {
            if (entry.action == Action::Fail) {
                question.causes.push_back(entry.path + ": " + entry.why);
            }
        }
    }
    thisRun().questions.push_back(std::move(question));
}

VLString PlanRecorder::sourceOf(const std::string& treePath) const {
    return PathLibrary::GetDirectoryWithFile(engine.srcPath, toVLString(treePath));
}

void PlanRecorder::copyBegins(const VLString& treePath, const VLString& target, const InstallItem& item,
                              bool bLast) {
    beginWalk(treePath, target.IsEmpty(), item);
    branch().bSecondAttempt = bLast;
    if (machine.typeOf(sourceOf(toString(treePath))) != S_IFDIR) {
        missing.push_back(toString(treePath));
    }
}

void PlanRecorder::copyEnds() {
    endWalk();
}

void PlanRecorder::wholeFolderCopied(const VLString& treePath, const VLString& target, bool bCopied) {
    const auto& steps = machine.steps();
    const auto first = steps.begin() + static_cast<std::ptrdiff_t>(walks.back().firstStep);
    const auto step = std::find_if(first, steps.end(), [&](const PlannedMachine::Step& taken) {
        return taken.verb == Verb::CopyFolder && taken.path == toString(target);
    });
    if (step == steps.end()) {
        return; // the source was removed after the walk began
    }
    const bool bRecorded = thisRun().before.paths.count(toString(treePath)) != 0;
    if (!bCopied) {
        add(Action::Fail, treePath, target, true, step->why);
    } else if (wasThere(target)) {
        add(bRecorded ? Action::Replace : Action::Copy, treePath, target, true,
            "its content is added to the folder that is there");
    } else {
        add(Action::Copy, treePath, target, true, "new, with all that is in it");
    }
}

void PlanRecorder::fileCopyBegins(const VLString& /*destination*/) {
    firstOfFile = machine.steps().size();
}

void PlanRecorder::fileCopyEnds(const VLString& treePath, const VLString& source, const VLString& destination,
                                FileCopy result, const VLString& shortCut) {
    const bool bThere = wasThere(destination);
    const bool bFolder = machine.typeOf(source) == S_IFDIR;
    switch (result) {
    case FileCopy::Failed:
        add(Action::Fail, treePath, destination, bFolder,
            failureSince(firstOfFile, toString(source) + " is neither a file nor a folder"));
        break;
    case FileCopy::Kept:
        add(Action::Keep, treePath, destination, bFolder, whyKept(treePath));
        break;
    case FileCopy::Written: {
        const auto [written, bFirst] = writtenBy.try_emplace(toString(destination), toString(treePath));
        const bool bOwn = !bFirst && written->second != toString(treePath);
        add(bThere ? Action::Replace : Action::Copy, treePath, destination, bFolder,
            bOwn ? "in place of what this run has put there from " + written->second
                 : whyWritten(treePath, bThere),
            toString(shortCut));
        break;
    }
    }
}

std::string PlanRecorder::whyWritten(const VLString& treePath, bool bThere) {
    if (thisRun().recordPath.empty()) {
        return "new; no record is kept";
    }
    const auto recorded = thisRun().before.paths.find(toString(treePath));
    if (recorded == thisRun().before.paths.end()) {
        return bThere ? "it is there, but the record does not list it" : "new";
    }
    const std::string& old = recorded->second.build;
    const std::string build = toString(engine.skuDefinition.skuInfo.build);
    if (!bThere) {
        return "the record lists it, but it is not there";
    }
    if (old.empty()) {
        return "the record has no build of it";
    }
    if (buildNumberOf(old) > buildNumberOf(build)) {
        return "its newer build " + old + " goes back to " + build + ", which it allows";
    }
    return buildNumberOf(old) < buildNumberOf(build) ? "build " + build + " in place of " + old
                                                     : "the same build again, " + build;
}

std::string PlanRecorder::whyKept(const VLString& treePath) {
    if (thisRun().recordPath.empty()) {
        return "it is there, and no record is kept that would say whether it may be replaced";
    }
    const auto recorded = thisRun().before.paths.find(toString(treePath));
    return recorded == thisRun().before.paths.end()
               ? "it is there, and the record does not ask to replace it"
               : "the newer build " + recorded->second.build + " is there";
}

// The removal

void PlanRecorder::removalBegins(const VLString& treePath, const FileNode& node, const VLString& folder,
                                 const InstallItem& item) {
    beginWalk(treePath, folder.IsEmpty(), item);
    const std::vector<VLString> there = foldersThere(folder);
    if (node.dontDelete) {
        addWhole(Action::Keep, treePath, there, "marked to stay");
    } else {
        addKeptChildren(there, node, treePath, item);
    }
    walks.back().there = there;
}

void PlanRecorder::removalEnds(const VLString& treePath, const FileNode& node) {
    if (!node.dontDelete && node.isDirectory && node.children.empty()) {
        if (engine.statusFile.needRemove(treePath)) {
            addRemovedFolders(treePath, walks.back().firstStep);
        } else {
            addWhole(Action::Keep, treePath, walks.back().there, whoUses(treePath));
        }
    }
    endWalk();
}

void PlanRecorder::addWhole(Plan::Action action, const VLString& treePath,
                            const std::vector<VLString>& folders, const std::string& why) {
    for (const VLString& folder : folders) {
        add(action, treePath, folder, true, why);
    }
}

/// Adds the children that the walk skips because they are marked to stay.
void PlanRecorder::addKeptChildren(const std::vector<VLString>& folders, const FileNode& node,
                                   const VLString& treePath, const InstallItem& item) {
    for (const auto& [childName, child] : node.children) {
        if (!child.dontDelete) {
            continue;
        }
        const VLString path = PathLibrary::GetDirectoryWithFile(treePath, childName);
        const auto subItem = item.items.find(childName);
        if (subItem != item.items.end()) {
            const std::size_t before = beginBranch(path, subItem->second);
            addWhole(Action::Keep, path, foldersThere(VLString()), "marked to stay");
            currentBranch = before;
            continue;
        }
        for (const VLString& folder : folders) {
            const VLString there = PathLibrary::GetDirectoryWithFile(folder, childName);
            if (machine.linkTypeOf(there) != 0) {
                add(Action::Keep, path, there, child.isDirectory, "marked to stay");
            }
        }
    }
}

/// A folder without listed content is removed as a whole.
void PlanRecorder::addRemovedFolders(const VLString& treePath, std::size_t firstStep) {
    for (std::size_t i = firstStep; i < machine.steps().size(); ++i) {
        const PlannedMachine::Step step = machine.steps()[i];
        if (step.verb == Verb::RemoveFolder) {
            add(step.bSucceeded ? Action::Remove : Action::Fail, treePath, toVLString(step.path), true,
                step.bSucceeded ? "with all that is in it; " + whoUses(treePath) : step.why);
        }
    }
}

void PlanRecorder::fileRemovalBegins(const VLString& path) {
    bFileWasThere = machine.linkTypeOf(path) != 0;
    bFileWasFolder = machine.typeOf(path) == S_IFDIR;
    firstOfFile = machine.steps().size();
}

void PlanRecorder::fileRemovalEnds(const VLString& treePath, const VLString& path, bool bInUse,
                                   const VLString& shortCut) {
    // A shortcut that was not there has not been removed.
    const bool bShortCut = shortCut.IsSet() && machine.steps().back().before != 0;
    const std::string removed = bShortCut ? toString(shortCut) : "";
    const std::size_t count = branch().entries.size();
    if (!bFileWasThere) {
        add(Action::Missing, treePath, path, bFileWasFolder, "it is not there", removed);
    } else if (bInUse) {
        add(Action::Keep, treePath, path, bFileWasFolder, whoUses(treePath));
    } else if (machine.linkTypeOf(path) == 0) {
        add(Action::Remove, treePath, path, bFileWasFolder, whoUses(treePath), removed);
    } else {
        add(Action::Fail, treePath, path, bFileWasFolder,
            failureSince(firstOfFile, "it is neither a file nor a folder"), removed);
    }
    branch().entries[count].bListedAsFile = true;
}

std::string PlanRecorder::whoUses(const VLString& treePath) {
    const StatusFile::FileNodeRef* recorded = engine.statusFile.getFileInfo(treePath);
    if (recorded == nullptr) {
        return "the record does not list it";
    }
    return recorded->ref < 1    ? "no product uses it any more"
           : recorded->ref == 1 ? "another product uses it"
                                : std::to_string(recorded->ref) + " other products use it";
}

// Shared by copy and removal

void PlanRecorder::add(Plan::Action action, const VLString& treePath, const VLString& path, bool bFolder,
                       const std::string& why, const std::string& shortCut) {
    branch().entries.push_back({toString(treePath), toString(path), bFolder, action, why, shortCut, false});
}

/// Whether something was at `path` before the run.
bool PlanRecorder::wasThere(const VLString& path) {
    return machine.before().linkTypeOf(path) != 0;
}

std::vector<VLString> PlanRecorder::foldersThere(const VLString& folder) {
    std::vector<VLString> folders;
    if (folder.IsSet()) {
        if (machine.typeOf(folder) == S_IFDIR) {
            folders.push_back(folder);
        }
        return folders;
    }
    for (const Plan::Target& target : branch().targets) {
        if (target.bThere) {
            folders.push_back(toVLString(target.path));
        }
    }
    return folders;
}

std::string PlanRecorder::failureSince(std::size_t firstStep, const std::string& otherwise) const {
    const auto& steps = machine.steps();
    const auto failed = std::find_if(steps.begin() + static_cast<std::ptrdiff_t>(firstStep), steps.end(),
                                     [](const PlannedMachine::Step& step) { return !step.bSucceeded; });
    return failed == steps.end() ? otherwise : failed->why;
}

bool Plan::TreeOrder::operator()(const std::string& a, const std::string& b) const {
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(), [](const char x, const char y) {
            const auto rank = [](const char c) { return c == '/' ? 0 : static_cast<unsigned char>(c) + 1; };
            return rank(x) < rank(y);
        });
}

namespace {

/// Makes the arguments of the run visible on a described machine.
void giveArguments(const Plan& plan, PlannedMachine& machine) {
    for (const std::string& path : {plan.source, plan.definition, plan.targets}) {
        machine.give(path);
    }
}

} // namespace

Plan planRun(bool bUninstall, const std::string& source, const std::string& definition,
             const std::string& targets, const MachineDescription* described) {
    Plan plan;
    plan.bUninstall = bUninstall;
    plan.source = source;
    plan.definition = definition;
    plan.targets = targets;
    PlannedMachine machine = described == nullptr ? PlannedMachine() : PlannedMachine(*described);
    InstallUtility engine;
    PlanRecorder recorder(engine, machine, plan);
    engine.observer = &recorder;

    struct Restore {
        Machine* machine;
        std::string* log;
        ~Restore() {
            Machine::setCurrent(machine);
            SimpleLog::held = log;
        }
    } const restore{Machine::setCurrent(&machine), std::exchange(SimpleLog::held, &plan.log)};
    std::string discarded; // what the engine logs outside of the run
    SimpleLog::held = &discarded;
    if (described != nullptr) {
        installProducts(*described, machine);
        giveArguments(plan, machine);
    }
    machine.begin();
    Survey survey(machine, plan);
    SimpleLog::held = &plan.log;
    plan.bSucceeds = bUninstall ? engine.runUninstall(toVLString(definition), toVLString(targets))
                                : engine.run(toVLString(source), toVLString(definition), toVLString(targets));
    plan.steps = machine.takeSteps();
    SimpleLog::held = &discarded;
    survey.lookAfterRun();
    plan.remnants = remnantsOf(survey);
    findDangers(plan, survey);
    return plan;
}
