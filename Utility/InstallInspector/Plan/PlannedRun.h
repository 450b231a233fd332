#pragma once

#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallUtility/InstallUtility.h"

/// The engine on a machine that is only thought: it takes its own walks, and each step of them is noted.
class PlannedRun : public InstallUtility {
public:
    using Verb = PlannedFileSystem::Verb;

    /// Both must outlive this object; `machine` must be in use.
    PlannedRun(PlannedFileSystem& machine, Plan& toFill) : fileSystem(machine), plan(toFill) {}

    /// True when the run would succeed.
    bool install(const std::string& source, const std::string& definition, const std::string& targets);
    bool uninstall(const std::string& definition, const std::string& targets);

    void loadStatusFile(const VLString& directory, bool remove) override;
    void saveStatusFile(const VLString& directory) override;
    bool copyFilesRecursively(const VLString& targetSubPath, const VLString& sourceFolder,
                              const FileNode& node, const VLString& relativePath, const InstallItem& item,
                              bool lastAttempt) override;
    bool copyFile(const FileNode& node, const VLString& source, const VLString& relativePath,
                  const VLString& target, const VLString& destination, bool lastAttempt) override;
    bool runUninstall(VLString definitionPath, VLString targetsPath) override;
    bool removeFilesRecursively(const VLString& folder, const FileNode& node, const VLString& statusName,
                                const InstallItem& item) override;
    void removeChild(const FileNode& node, const VLString& path, const VLString& statusName) override;

private:
    Plan::Run& thisRun() { return plan.runs.back(); }
    Plan::Branch& branch() { return thisRun().branches[currentBranch]; }
    void beginRun(bool bUninstall);
    void endRun();
    void noteWhatIsLeftOut();

    /// Begins a branch and makes it the current one; gives the one that was it before.
    std::size_t beginBranch(const VLString& name, const InstallItem& item);
    std::vector<Plan::Target> explain(const InstallItem& item);
    Plan::Condition explain(const InstallItem::ItemPath::Condition& condition);
    std::string found(const InstallItem::ItemPath::Condition& condition, const VLString& filled);

    void add(Plan::Action action, const VLString& name, const VLString& path, bool bFolder,
             const std::string& why, const std::string& shortCut = "");
    void addCopiedFolders(const VLString& name, std::size_t firstStep);
    void addWhole(Plan::Action action, const VLString& name, const std::vector<VLString>& folders,
                  const std::string& why);
    void addKeptChildren(const std::vector<VLString>& folders, const FileNode& node, const VLString& name,
                         const InstallItem& item);
    void addRemovedFolders(const VLString& name, std::size_t firstStep);
    std::string whyWritten(const VLString& name, bool bThere);
    std::string whyKept(const VLString& name);
    std::string whoUses(const VLString& name);
    /// Whether something was at `path` when this was first asked.
    bool wasThere(const VLString& path);
    /// `folder`, or without one the target folders of the branch, as far as they are there.
    std::vector<VLString> foldersThere(const VLString& folder);
    /// Why the first step since `firstStep` that failed did so; `otherwise` when none did.
    std::string failureSince(std::size_t firstStep, const std::string& otherwise) const;
    bool hasStepSince(std::size_t firstStep, Verb verb) const;

    PlannedFileSystem& fileSystem;
    Plan& plan;
    std::size_t currentBranch = 0;
    std::size_t firstOfAttempt = 0;        ///< the first branch of the call from outside the walk
    int depth = 0;                         ///< of the walk
    std::map<std::string, bool> thereOnce; ///< see wasThere
};
