#pragma once

#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallUtility/RunObserver.h"

/// Writes the decisions of the engine into a Plan, while the engine runs against a PlannedMachine.
class PlanRecorder : public RunObserver {
public:
    using Verb = PlannedMachine::Verb;

    /// All arguments must outlive this object. `inUse` must be the current Machine.
    PlanRecorder(const InstallUtility& toObserve, PlannedMachine& inUse, Plan& toFill)
        : engine(toObserve), machine(inUse), plan(toFill) {}

    void runBegins(bool bUninstall) override;
    void runEnds() override;
    void recordLoaded(const VLString& path, const StatusFile& record) override;
    void recordSaved(const StatusFile& record, bool bSaved) override;
    void attemptBegins(bool bLast) override;
    void copyBegins(const VLString& treePath, const VLString& target, const InstallItem& item,
                    bool bLast) override;
    void copyEnds() override;
    void fileCopyBegins(const VLString& destination) override;
    void fileCopyEnds(const VLString& treePath, const VLString& source, const VLString& destination,
                      FileCopy result, const VLString& shortCut) override;
    void wholeFolderCopied(const VLString& treePath, const VLString& target, bool bCopied) override;
    void removalBegins(const VLString& treePath, const FileNode& node, const VLString& folder,
                       const InstallItem& item) override;
    void removalEnds(const VLString& treePath, const FileNode& node) override;
    void fileRemovalBegins(const VLString& path) override;
    void fileRemovalEnds(const VLString& treePath, const VLString& path, bool bInUse,
                         const VLString& shortCut) override;

private:
    /// A folder of the tree that is being copied or removed.
    struct Walk {
        std::size_t branchBefore; ///< the current branch when the walk began
        std::size_t firstStep;
        std::vector<VLString> there; ///< the existing folders, for a removal
    };

    Plan::Run& thisRun() { return plan.runs.back(); }
    Plan::Branch& branch() { return thisRun().branches[currentBranch]; }
    void endRun();
    void addLeftOut();

    /// Begins a walk. Also begins a branch if the node has its own target item.
    void beginWalk(const VLString& treePath, bool bOwnItem, const InstallItem& item);
    void endWalk();
    /// Begins a branch and makes it the current one. Returns the previous one.
    std::size_t beginBranch(const VLString& treePath, const InstallItem& item);
    std::vector<Plan::Target> explain(const InstallItem& item);

    void add(Plan::Action action, const VLString& treePath, const VLString& path, bool bFolder,
             const std::string& why, const std::string& shortCut = "");
    void addWhole(Plan::Action action, const VLString& treePath, const std::vector<VLString>& folders,
                  const std::string& why);
    void addKeptChildren(const std::vector<VLString>& folders, const FileNode& node, const VLString& treePath,
                         const InstallItem& item);
    void addRemovedFolders(const VLString& treePath, std::size_t firstStep);
    std::string whyWritten(const VLString& treePath, bool bThere);
    std::string whyKept(const VLString& treePath);
    std::string whoUses(const VLString& treePath);
    bool wasThere(const VLString& path);
    void addQuestion();
    VLString sourceOf(const std::string& treePath) const;
    /// `folder` if it exists. If it is empty, the existing target folders of the branch.
    std::vector<VLString> foldersThere(const VLString& folder);
    /// The reason of the first failed step since `firstStep`. `otherwise` if no step failed.
    std::string failureSince(std::size_t firstStep, const std::string& otherwise) const;

    const InstallUtility& engine;
    PlannedMachine& machine;
    Plan& plan;
    std::size_t currentBranch = 0;
    std::size_t firstOfAttempt = 0; ///< the first branch of this attempt
    std::vector<Walk> walks;
    std::size_t firstOfFile = 0; ///< the first step of the current file
    bool bFileWasThere = false;  ///< whether the file that is being removed existed
    bool bFileWasFolder = false;
    std::map<std::string, std::string> writtenBy; ///< paths of the tree, by path on this machine
    std::vector<std::string> missing;             ///< in this attempt, see Plan::Question
};
