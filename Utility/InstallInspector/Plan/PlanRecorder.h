#pragma once

#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallUtility/RunObserver.h"

/// Records in a Plan what the engine decides while it runs against a PlannedMachine, and what that has done
/// to the machine's files.
class PlanRecorder : public RunObserver {
public:
    using Verb = PlannedMachine::Verb;

    /// All must outlive this object. The machine must be in use.
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
        std::size_t branchBefore; ///< the current one when the walk began
        std::size_t firstStep;
        std::vector<VLString> there; ///< of a removal, the folders that exist
    };

    Plan::Run& thisRun() { return plan.runs.back(); }
    Plan::Branch& branch() { return thisRun().branches[currentBranch]; }
    void endRun();
    void noteWhatIsLeftOut();

    /// Begins a walk, and with it a branch if the node has a target item of its own.
    void beginWalk(const VLString& treePath, bool bOwnItem, const InstallItem& item);
    void endWalk();
    /// Begins a branch and makes it the current one; gives the one that was it before.
    std::size_t beginBranch(const VLString& treePath, const InstallItem& item);
    std::vector<Plan::Target> explain(const InstallItem& item);
    Plan::Condition explain(const InstallItem::ItemPath::Condition& condition);
    std::string found(const InstallItem::ItemPath::Condition& condition, const VLString& filled);

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
    /// Whether something was at `path` when this was first asked.
    bool wasThere(const VLString& path);
    /// `folder`, or without one the target folders of the branch, as far as they are there.
    std::vector<VLString> foldersThere(const VLString& folder);
    /// Why the first step since `firstStep` that failed did so; `otherwise` when none did.
    std::string failureSince(std::size_t firstStep, const std::string& otherwise) const;

    const InstallUtility& engine;
    PlannedMachine& machine;
    Plan& plan;
    std::size_t currentBranch = 0;
    std::size_t firstOfAttempt = 0; ///< the first branch of this attempt
    std::vector<Walk> walks;
    std::size_t firstOfFile = 0; ///< the first step of the file that is copied or removed
    bool bFileWasThere = false;  ///< of the file that is removed
    bool bFileWasFolder = false;
    std::map<std::string, bool> thereOnce; ///< see wasThere
};
