#pragma once

#include "Utility/InstallInspector/Documents/InstalledProducts.h"
#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

/// A file, a folder that is installed as one piece, or a shortcut, at a place where a product puts it or may
/// have put it.
struct OwnedPlace {
    enum class Reach {
        Today,
        Idle,        ///< the condition of its target folder does not hold today
        OtherHome,   ///< the product puts it there for another user
        BesideRecord ///< it belongs to the shared package and lies next to the record; see besideRecord
    };

    std::string treePath;
    std::string path;
    std::string place; ///< see PlannedMachine::placeOf
    Reach reach = Reach::Today;
    bool bFolder = false; ///< the tree lists a folder
    bool bShortCut = false;
    bool bStays = false;  ///< marked to stay at an uninstall
    bool bTarget = false; ///< it is a target folder itself, which may belong to anyone
    // The types before and after the run, without following a link. 0 if nothing is there.
    mode_t before = 0;
    mode_t after = 0;
    std::string linkBefore; ///< the target of a link
    std::string linkAfter;
};

/// The files of one build of a product on this machine.
struct OwnedFiles {
    struct Node {
        bool bFolder;
        bool bLeaf; ///< it is a file, or a folder that is installed as one piece
    };

    SKUDefinition::SKUInfo product;
    std::string uninstaller; ///< the path of its application; empty if there is none or it is not known
    std::string recordPlace; ///< the place of its record; empty if it has none
    std::map<std::string, Node> tree;
    std::vector<OwnedPlace> places;
};

/// Whether the folder at `path` is a bundle now, or was one before the run.
bool isOrWasBundle(const std::string& path, PlannedMachine& machine);

/// Who owns which files on this machine before and after a planned run. It does not believe the record, but
/// reads the definitions of the installed products and looks at the files.
class Survey {
public:
    /// Surveys the machine before the run. Both arguments must outlive this object. The machine must be in
    /// use.
    Survey(PlannedMachine& inUse, const Plan& planned);
    /// Surveys the machine after the run. The run must have filled the plan.
    void lookAfterRun();

    PlannedMachine& machine;
    const Plan& plan;

    std::string fault; ///< why the given definition and targets cannot be used; empty if they can
    SKUDefinition::SKUInfo product;     ///< of the given definition
    std::vector<OwnedFiles> oldBuilds;  ///< the builds that the run replaces or removes
    std::vector<OwnedFiles> others;     ///< the other installed products
    std::optional<OwnedFiles> newBuild; ///< the given build after an install
    std::vector<std::string> unknown;   ///< IDs of recorded products without a usable definition
    bool bInstalledUnknown = false;     ///< the build that the run replaces or removes is one of these
    bool bFirst = false;                ///< the record does not list the product before the run
    std::string sharedFault;            ///< why the shared package's definition cannot be used
    std::vector<std::string> paths;     ///< tree paths of `oldBuilds` and `newBuild`, sorted, each once
    std::optional<StatusFile> record;   ///< as the next run will read it; no value if it cannot be read

    const Plan::Run* run() const { return plan.runs.empty() ? nullptr : &plan.runs.front(); }
    std::string recordPath() const;
    /// The recorded count after the run; -1 for a path that is not recorded.
    std::int32_t countOf(const std::string& treePath) const;
    /// How many installed products list the path after the run. Does not count the unknown ones.
    std::int32_t usesOf(const std::string& treePath) const;
    /// How many uses of the path may come from the unknown products: what the record counts before the run
    /// beyond the known products of that time. The plan must have a run.
    std::int32_t mostUnknownUsesOf(const std::string& treePath) const;
    bool wasRecorded(const std::string& treePath) const;

    /// Whether the place belonged to a product before the run, by itself or inside a folder that is installed
    /// as one piece.
    bool wasOwned(const std::string& place) const { return before.has(place); }
    /// The same after the run, with the products and target folders of that time.
    bool isOwnedAfterRun(const std::string& place) const { return after.has(place); }
    /// Whether the folder contained something before the run that belonged to no product.
    bool hadForeignContent(const std::string& folder) const;
    /// Whether the shortcut led to the file for which the product makes it. If not, it belongs to someone
    /// else.
    bool isOwnShortCut(const OwnedPlace& shortCut, const OwnedFiles& files) const;
    /// Whether a shortcut of `newBuild` leads to the place of its file after the run.
    bool leadsToOwnFile(const OwnedPlace& shortCut) const;
    /// The paths at or below the place that exist after the run and belong to no product.
    std::vector<std::string> ownerless(const OwnedPlace& place) const;
    /// The path of the uninstaller that the run places or removes.
    std::string ownUninstaller() const;

private:
    /// The places that belong to products.
    struct Owned {
        std::unordered_set<std::string> places;
        std::unordered_set<std::string> folders; ///< the places whose whole content is owned
        std::unordered_set<std::string> above;   ///< the folders that contain places

        /// With `bWithAll`, the content of a folder that is installed as one piece is owned, too.
        void add(const OwnedPlace& place, mode_t type, bool bWithAll, PlannedMachine& machine);
        bool has(const std::string& place) const;
    };

    OwnedFiles filesOf(PlacedProduct& placed, const std::string& uninstaller, bool bShared = false);
    void addPlaces(const PlacedProduct& placed, OwnedPlace::Reach reach, bool bShared, OwnedFiles& files,
                   std::set<std::string>& known);
    void addPlace(OwnedPlace place, OwnedFiles& files, std::set<std::string>& known);
    void findUnknown();
    /// Whether the build lists the path and is counted in the record.
    bool uses(const OwnedFiles& files, const std::string& treePath) const;
    void readRecord();
    void listPaths();
    void collect(const std::string& folder, std::vector<std::string>& found) const;

    std::string recordPlace; ///< see recordPath
    PlacedProduct given;
    InstalledProducts installed;
    std::vector<std::string> homes; ///< of other users
    Owned before;
    Owned after;
};
