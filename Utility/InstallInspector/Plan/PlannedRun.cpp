#include "Utility/InstallInspector/Plan/PlannedRun.h"

#include "Foundation/PathLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Foundation/VLVersion.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/MapLookup.h"
#include "Utility/InstallUtility/XMLDocument.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace {

using Condition = InstallUtility::InstallItem::ItemPath::Condition;
using Action = Plan::Action;
using Verb = PlannedFileSystem::Verb;

/// Takes what is printed until the end of its scope, and gives it to nobody.
class Unheard {
public:
    Unheard() : before(std::exchange(SimpleLog::held, &nothing)) {}
    ~Unheard() { SimpleLog::held = before; }
    Unheard(const Unheard&) = delete;
    Unheard& operator=(const Unheard&) = delete;

private:
    std::string nothing;
    std::string* before;
};

const char* nameOf(Condition::ConditionType type) {
    switch (type) {
    case Condition::PathExist:
        return "PathExist";
    case Condition::PathNotExist:
        return "PathNotExist";
    case Condition::FileExist:
        return "FileExist";
    case Condition::FileNotExist:
        return "FileNotExist";
    case Condition::RegKeyExist:
        return "RegKeyExist";
    case Condition::RegKeyNotExist:
        return "RegKeyNotExist";
    case Condition::And:
        return "And";
    case Condition::Or:
        return "Or";
    case Condition::None:
        break;
    }
    return "";
}

bool isGiven(const Condition& condition) {
    return condition.type != Condition::None || condition.value.IsSet() || !condition.conditions.empty();
}

/// The entry of a preference file that the pattern stands for, or the pattern itself.
std::string preferenceOf(const std::string& pattern) {
    const std::string opening = "%REGKEY:";
    const bool bAlone = pattern.size() > opening.size() + 1 && pattern.rfind(opening, 0) == 0 &&
                        pattern.find('%', 1) == pattern.size() - 1;
    return bAlone ? "preference " + pattern.substr(opening.size(), pattern.size() - opening.size() - 1)
                  : "\"" + pattern + "\"";
}

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

Plan::Record recordAt(const VLString& path) {
    StatusFile file;
    file.parse(path);
    Plan::Record record;
    for (unsigned long i = 0; i < file.products.size(); ++i) {
        record.products.push_back(file.products[i]);
    }
    append(file.root, "", record);
    return record;
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

bool PlannedRun::install(const std::string& source, const std::string& definition,
                         const std::string& targets) {
    beginRun(false);
    const bool bResult = InstallUtility::run(toVLString(source), toVLString(definition), toVLString(targets));
    endRun();
    return bResult;
}

bool PlannedRun::uninstall(const std::string& definition, const std::string& targets) {
    return runUninstall(toVLString(definition), toVLString(targets));
}

bool PlannedRun::runUninstall(VLString definitionPath, VLString targetsPath) {
    if (!plan.runs.empty()) {
        endRun(); // what follows belongs to the shared package
    }
    beginRun(true);
    const bool bResult = InstallUtility::runUninstall(std::move(definitionPath), std::move(targetsPath));
    endRun();
    return bResult;
}

void PlannedRun::beginRun(bool bUninstall) {
    plan.runs.emplace_back();
    thisRun().bUninstall = bUninstall;
    thisRun().firstStep = fileSystem.steps().size();
    thereOnce.clear();
}

/// May be called again.
void PlannedRun::endRun() {
    Plan::Run& ended = thisRun();
    ended.endStep = fileSystem.steps().size();
    // A definition that cannot be read leaves that of the run before in place.
    const bool bRead = plan.runs.size() == 1 || !(skuDefinition.skuInfo.ID == plan.runs.front().product.ID);
    if (bRead) {
        ended.product = skuDefinition.skuInfo;
    } else {
        ended.product.ID = "COMMON";
    }
    for (std::size_t i = ended.firstStep; i < ended.endStep; ++i) {
        const PlannedFileSystem::Step& step = fileSystem.steps()[i];
        ended.bRecordRemoved =
            ended.bRecordRemoved || (step.verb == Verb::RemoveFile && step.bSucceeded && step.before != 0 &&
                                     !ended.recordPath.empty() && step.path == ended.recordPath);
    }
    if (!ended.branches.empty() && ended.leftOut.empty()) {
        noteWhatIsLeftOut();
    }
}

void PlannedRun::noteWhatIsLeftOut() {
    std::set<std::string> entered;
    for (const Plan::Branch& branch : thisRun().branches) {
        entered.insert(branch.name);
    }
    const InstallItem& hostsItem = findOrEmpty(installItems, "Hosts");
    for (const auto& [name, node] : skuDefinition.installFiles.children) {
        const bool bKnown = name == "Hosts" || name == "VorlaneFX" || name == "Content";
        if (name == "Content" && entered.count("Content") == 0) {
            thisRun().leftOut.emplace_back("Content: the target-paths file has no item of that name");
        } else if (!bKnown) {
            thisRun().leftOut.push_back(toString(name) + ": only Hosts, VorlaneFX and Content are installed");
        } else if (name == "Hosts") {
            for (const auto& [host, families] : node.children) {
                if (hostsItem.items.count(host) == 0) {
                    thisRun().leftOut.push_back("Hosts/" + toString(host) +
                                                ": the target-paths file has no item for this host");
                    continue;
                }
                for (const auto& [family, files] : families.children) {
                    const std::string path = "Hosts/" + toString(host) + "/" + toString(family);
                    if (entered.count(path) == 0) {
                        thisRun().leftOut.push_back(path + ": the definition has no plug-ins of this family");
                    }
                }
            }
        }
    }
}

// The record

void PlannedRun::loadStatusFile(const VLString& directory, bool remove) {
    const VLString path = statusFilePath(directory);
    thisRun().recordPath = toString(path);
    thisRun().before = recordAt(path);
    thisRun().after = thisRun().before;
    InstallUtility::loadStatusFile(directory, remove);
    thisRun().bRecordLeftAlone = !recordFile.isOurs();
    thisRun().bRecordDamaged = recordFile.isDamaged();
}

void PlannedRun::saveStatusFile(const VLString& directory) {
    appendLost(statusFile.root, "", false, thisRun().lost);
    InstallUtility::saveStatusFile(directory);
    thisRun().bRecordSaved = recordFile.isSaved();
    thisRun().after = recordAt(statusFilePath(directory));
}

// Target folders

std::size_t PlannedRun::beginBranch(const VLString& name, const InstallItem& item) {
    Plan::Branch begun;
    begun.name = toString(name);
    begun.family = toString(currentFamily);
    const std::string family = "/" + begun.family;
    const std::string hosts = "Hosts/";
    if (depth == 0 && begun.name.rfind(hosts, 0) == 0 && begun.name.size() > hosts.size() + family.size()) {
        begun.item = begun.name.substr(0, begun.name.size() - family.size());
        begun.host = begun.item.substr(hosts.size());
    } else {
        begun.item = begun.name;
    }
    begun.targets = explain(item);
    thisRun().branches.push_back(begun);
    return std::exchange(currentBranch, thisRun().branches.size() - 1);
}

std::vector<Plan::Target> PlannedRun::explain(const InstallItem& item) {
    const PlannedFileSystem::Unnoted unnoted(fileSystem);
    const Unheard unheard;
    std::vector<Plan::Target> targets;
    std::set<VLString> seen;
    for (const InstallItem::ItemPath& candidate : item.paths) {
        Plan::Target target;
        target.pattern = toString(candidate.path);
        if (isGiven(candidate.condition)) {
            target.condition = explain(candidate.condition);
        }
        const std::vector<VLString> paths = getTargetPaths({candidate}, currentFamily);
        if (!isConditionTrue(candidate.condition)) {
            target.whyNot = "its condition does not hold";
        } else if (paths.empty()) {
            target.whyNot = "the path comes out empty";
        } else if (!seen.insert(paths.front().ToLower()).second) {
            target.whyNot = "the same folder is named before";
        } else {
            target.path = toString(paths.front());
            target.bThere = fileSystem.typeOf(paths.front()) == S_IFDIR;
        }
        targets.push_back(target);
    }
    return targets;
}

Plan::Condition PlannedRun::explain(const InstallItem::ItemPath::Condition& condition) {
    Plan::Condition told;
    told.type = nameOf(condition.type);
    told.value = toString(condition.value);
    told.bHolds = isConditionTrue(condition);
    if (condition.type == Condition::And || condition.type == Condition::Or) {
        for (const Condition& operand : condition.conditions) {
            told.operands.push_back(explain(operand));
        }
    } else {
        const VLString filled = fillPattern(condition.value);
        told.filled = toString(filled);
        told.found = found(condition, filled);
    }
    return told;
}

std::string PlannedRun::found(const InstallItem::ItemPath::Condition& condition, const VLString& filled) {
    const std::string path = toString(filled);
    if (condition.type == Condition::None) {
        return "a condition of a kind that the engine does not know always holds";
    }
    if (condition.type == Condition::RegKeyExist || condition.type == Condition::RegKeyNotExist) {
        return preferenceOf(toString(condition.value)) +
               (path.empty() ? " is not set" : " is \"" + path + "\"");
    }
    if (path.empty()) {
        return "\"" + toString(condition.value) + "\" comes out empty";
    }
    switch (fileSystem.typeOf(filled)) {
    case S_IFDIR:
        return path + " is a folder";
    case S_IFREG:
        return path + " is a file";
    case 0:
        return path +
               (fileSystem.linkTypeOf(filled) == 0 ? " is not there" : " is a link that leads nowhere");
    default:
        return path + " is neither a file nor a folder";
    }
}

// The copy

bool PlannedRun::copyFilesRecursively(const VLString& targetSubPath, const VLString& sourceFolder,
                                      const FileNode& node, const VLString& relativePath,
                                      const InstallItem& item, bool lastAttempt) {
    if (depth == 0) {
        // What the last attempt tells takes the place of what the first one has told.
        firstOfAttempt = lastAttempt ? firstOfAttempt : thisRun().branches.size();
        thisRun().branches.resize(firstOfAttempt);
    }
    const std::size_t before = targetSubPath.IsEmpty() ? beginBranch(relativePath, item) : currentBranch;
    branch().bSecondAttempt = lastAttempt;
    for (const Plan::Target& target : branch().targets) {
        wasThere(toVLString(target.path));
    }
    const std::size_t firstStep = fileSystem.steps().size();
    ++depth;
    const bool bResult = InstallUtility::copyFilesRecursively(targetSubPath, sourceFolder, node, relativePath,
                                                              item, lastAttempt);
    --depth;
    if (node.isDirectory && node.children.empty()) {
        addCopiedFolders(relativePath, firstStep);
    }
    currentBranch = before;
    return bResult;
}

void PlannedRun::addCopiedFolders(const VLString& name, std::size_t firstStep) {
    for (std::size_t i = firstStep; i < fileSystem.steps().size(); ++i) {
        const PlannedFileSystem::Step step = fileSystem.steps()[i];
        if (step.verb != Verb::CopyFolder) {
            continue;
        }
        const VLString path = toVLString(step.path);
        const auto known = thereOnce.find(step.path);
        const bool bThere = known == thereOnce.end() ? step.before != 0 : known->second;
        if (!step.bSucceeded) {
            add(Action::Fail, name, path, true, step.why);
        } else if (bThere) {
            add(Action::Replace, name, path, true, "its content is added to the folder that is there");
        } else {
            add(Action::Copy, name, path, true, "new, with all that is in it");
        }
    }
}

bool PlannedRun::copyFile(const FileNode& node, const VLString& source, const VLString& relativePath,
                          const VLString& target, const VLString& destination, bool lastAttempt) {
    const bool bThere = wasThere(destination);
    const std::size_t firstStep = fileSystem.steps().size();
    const bool bResult =
        InstallUtility::copyFile(node, source, relativePath, target, destination, lastAttempt);

    const bool bFolder = fileSystem.typeOf(source) == S_IFDIR;
    if (!bResult) {
        add(Action::Fail, relativePath, destination, bFolder,
            failureSince(firstStep, toString(source) + " is neither a file nor a folder"));
    } else if (!hasStepSince(firstStep, Verb::CopyFile) && !hasStepSince(firstStep, Verb::CopyFolder)) {
        add(Action::Keep, relativePath, destination, bFolder, whyKept(relativePath));
    } else {
        const PlannedFileSystem::Step& last = fileSystem.steps().back();
        add(bThere ? Action::Replace : Action::Copy, relativePath, destination, bFolder,
            whyWritten(relativePath, bThere), last.verb == Verb::Link && last.bSucceeded ? last.path : "");
    }
    return bResult;
}

std::string PlannedRun::whyWritten(const VLString& name, bool bThere) {
    if (thisRun().recordPath.empty()) {
        return "new; no record is kept";
    }
    const auto recorded = thisRun().before.paths.find(toString(name));
    if (recorded == thisRun().before.paths.end()) {
        return bThere ? "it is there, but the record does not list it" : "new";
    }
    const std::string& old = recorded->second.build;
    const std::string build = toString(skuDefinition.skuInfo.build);
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

std::string PlannedRun::whyKept(const VLString& name) {
    if (thisRun().recordPath.empty()) {
        return "it is there, and no record is kept that would say whether it may be replaced";
    }
    const auto recorded = thisRun().before.paths.find(toString(name));
    return recorded == thisRun().before.paths.end()
               ? "it is there, and the record does not ask to replace it"
               : "the newer build " + recorded->second.build + " is there";
}

// The removal

bool PlannedRun::removeFilesRecursively(const VLString& folder, const FileNode& node,
                                        const VLString& statusName, const InstallItem& item) {
    const std::size_t before = folder.IsEmpty() ? beginBranch(statusName, item) : currentBranch;
    const std::vector<VLString> there = foldersThere(folder);
    const std::size_t firstStep = fileSystem.steps().size();
    if (node.dontDelete) {
        addWhole(Action::Keep, statusName, there, "marked to stay");
    } else {
        addKeptChildren(there, node, statusName, item);
    }
    ++depth;
    const bool bResult = InstallUtility::removeFilesRecursively(folder, node, statusName, item);
    --depth;
    if (!node.dontDelete && node.isDirectory && node.children.empty()) {
        if (statusFile.needRemove(statusName)) {
            addRemovedFolders(statusName, firstStep);
        } else {
            addWhole(Action::Keep, statusName, there, whoUses(statusName));
        }
    }
    currentBranch = before;
    return bResult;
}

void PlannedRun::addWhole(Plan::Action action, const VLString& name, const std::vector<VLString>& folders,
                          const std::string& why) {
    for (const VLString& folder : folders) {
        add(action, name, folder, true, why);
    }
}

/// The children that the walk passes over because they are marked to stay.
void PlannedRun::addKeptChildren(const std::vector<VLString>& folders, const FileNode& node,
                                 const VLString& name, const InstallItem& item) {
    for (const auto& [childName, child] : node.children) {
        if (!child.dontDelete) {
            continue;
        }
        const VLString path = PathLibrary::GetDirectoryWithFile(name, childName);
        const auto subItem = item.items.find(childName);
        if (subItem != item.items.end()) {
            const std::size_t before = beginBranch(path, subItem->second);
            addWhole(Action::Keep, path, foldersThere(VLString()), "marked to stay");
            currentBranch = before;
            continue;
        }
        for (const VLString& folder : folders) {
            const VLString there = PathLibrary::GetDirectoryWithFile(folder, childName);
            if (fileSystem.linkTypeOf(there) != 0) {
                add(Action::Keep, path, there, child.isDirectory, "marked to stay");
            }
        }
    }
}

/// A folder of which the tree lists nothing goes as a whole.
void PlannedRun::addRemovedFolders(const VLString& name, std::size_t firstStep) {
    for (std::size_t i = firstStep; i < fileSystem.steps().size(); ++i) {
        const PlannedFileSystem::Step step = fileSystem.steps()[i];
        if (step.verb == Verb::RemoveFolder) {
            add(step.bSucceeded ? Action::Remove : Action::Fail, name, toVLString(step.path), true,
                step.bSucceeded ? "with all that is in it; " + whoUses(name) : step.why);
        }
    }
}

void PlannedRun::removeChild(const FileNode& node, const VLString& path, const VLString& statusName) {
    if (node.isDirectory) {
        InstallUtility::removeChild(node, path, statusName);
        return;
    }
    const bool bThere = fileSystem.linkTypeOf(path) != 0;
    const bool bFolder = fileSystem.typeOf(path) == S_IFDIR;
    const std::size_t firstStep = fileSystem.steps().size();
    InstallUtility::removeChild(node, path, statusName);

    std::string shortCut;
    if (firstStep < fileSystem.steps().size() && node.IsShortCutInfoValid()) {
        const PlannedFileSystem::Step& last = fileSystem.steps().back();
        shortCut = last.before != 0 && last.bSucceeded ? last.path : "";
    }
    if (!bThere) {
        add(Action::Missing, statusName, path, bFolder, "it is not there", shortCut);
    } else if (!statusFile.needRemove(statusName)) {
        add(Action::Keep, statusName, path, bFolder, whoUses(statusName));
    } else if (fileSystem.linkTypeOf(path) == 0) {
        add(Action::Remove, statusName, path, bFolder, whoUses(statusName), shortCut);
    } else {
        add(Action::Fail, statusName, path, bFolder,
            failureSince(firstStep, "it is neither a file nor a folder"), shortCut);
    }
}

std::string PlannedRun::whoUses(const VLString& name) {
    const StatusFile::FileNodeRef* recorded = statusFile.getFileInfo(name);
    if (recorded == nullptr) {
        return "the record does not list it";
    }
    return recorded->ref < 1    ? "no product uses it any more"
           : recorded->ref == 1 ? "another product uses it"
                                : std::to_string(recorded->ref) + " other products use it";
}

// What both note

void PlannedRun::add(Plan::Action action, const VLString& name, const VLString& path, bool bFolder,
                     const std::string& why, const std::string& shortCut) {
    branch().entries.push_back({toString(name), toString(path), bFolder, action, why, shortCut});
}

bool PlannedRun::wasThere(const VLString& path) {
    const auto [known, bNew] = thereOnce.try_emplace(toString(path));
    if (bNew) {
        known->second = fileSystem.linkTypeOf(path) != 0;
    }
    return known->second;
}

std::vector<VLString> PlannedRun::foldersThere(const VLString& folder) {
    std::vector<VLString> folders;
    if (folder.IsSet()) {
        if (fileSystem.typeOf(folder) == S_IFDIR) {
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

std::string PlannedRun::failureSince(std::size_t firstStep, const std::string& otherwise) const {
    const auto& steps = fileSystem.steps();
    const auto failed = std::find_if(steps.begin() + static_cast<std::ptrdiff_t>(firstStep), steps.end(),
                                     [](const PlannedFileSystem::Step& step) { return !step.bSucceeded; });
    return failed == steps.end() ? otherwise : failed->why;
}

bool PlannedRun::hasStepSince(std::size_t firstStep, Verb verb) const {
    const auto& steps = fileSystem.steps();
    return std::any_of(steps.begin() + static_cast<std::ptrdiff_t>(firstStep), steps.end(),
                       [verb](const PlannedFileSystem::Step& step) { return step.verb == verb; });
}

bool Plan::TreeOrder::operator()(const std::string& a, const std::string& b) const {
    return std::lexicographical_compare(
        a.begin(), a.end(), b.begin(), b.end(), [](const char x, const char y) {
            const auto rank = [](const char c) { return c == '/' ? 0 : static_cast<unsigned char>(c) + 1; };
            return rank(x) < rank(y);
        });
}

Plan planRun(bool bUninstall, const std::string& source, const std::string& definition,
             const std::string& targets) {
    Plan plan;
    plan.bUninstall = bUninstall;
    plan.source = source;
    plan.definition = definition;
    plan.targets = targets;
    PlannedFileSystem fileSystem;
    PlannedRun run(fileSystem, plan);

    struct Restore {
        Machine* access;
        std::string* held;
        ~Restore() {
            Machine::setCurrent(access);
            SimpleLog::held = held;
        }
    } const restore{Machine::setCurrent(&fileSystem), std::exchange(SimpleLog::held, &plan.log)};
    plan.bSucceeds =
        bUninstall ? run.uninstall(definition, targets) : run.install(source, definition, targets);
    plan.steps = fileSystem.steps();
    findDangers(plan);
    return plan;
}
