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

/// A file, a folder in one piece, or a shortcut that a product has put on this machine, or may have.
struct OwnedPlace {
    enum class Reach {
        Today,
        Idle,        ///< the condition of its target folder does not hold today
        OtherHome,   ///< it is another user's, and lies where the product goes for that user
        BesideRecord ///< the shared package has it there, and the target paths in use send it elsewhere
    };

    std::string treePath;
    std::string path;
    std::string place; ///< see PlannedMachine::placeOf
    Reach reach = Reach::Today;
    bool bFolder = false; ///< the tree lists a folder
    bool bShortCut = false;
    bool bStays = false;  ///< marked to stay at an uninstall
    bool bTarget = false; ///< it is a target folder itself, which may be anyone's
    // What is there itself, before the run and after it:
    mode_t before = 0;
    mode_t after = 0;
    std::string linkBefore; ///< what a link says
    std::string linkAfter;
};

/// What a build of a product has on this machine.
struct OwnedFiles {
    struct Node {
        bool bFolder;
        bool bLeaf; ///< it is installed as it is
    };

    SKUDefinition::SKUInfo product;
    std::string uninstaller; ///< its application; empty when it is not known, or has none
    std::string recordPlace; ///< of its record; empty for none
    std::map<std::string, Node> tree;
    std::vector<OwnedPlace> places;
};

/// Whether a folder at the path is a bundle, on the machine as it is or as it was before the run.
bool isOrWasBundle(const std::string& path, PlannedMachine& machine);

/// Who owns what on this machine before and after a planned run. What owns itself, as the record says, is not
/// asked: this looks at the definitions that the installed products have left, and at what is there.
class Survey {
public:
    /// Looks before the run. Both must outlive this object, and the machine must be in use.
    Survey(PlannedMachine& inUse, const Plan& planned);
    /// Looks after the run, which has filled the plan.
    void lookAgain();

    PlannedMachine& machine;
    const Plan& plan;

    std::string fault; ///< why the given definition and targets cannot be used; empty when they can
    SKUDefinition::SKUInfo product; ///< of the given definition
    std::vector<OwnedFiles> mine;   ///< the builds that the run replaces or takes away
    std::vector<OwnedFiles> others;
    std::optional<OwnedFiles> made;   ///< the given build, as it lies after an install
    std::vector<std::string> unknown; ///< IDs of recorded products that cannot be looked at
    bool bInstalledUnknown = false;   ///< what the run replaces or takes away is among these
    bool bFirst = false;              ///< the record does not list the product before the run
    std::string sharedFault;          ///< why the shared package's definition cannot be used
    std::vector<std::string> paths;   ///< of `mine` and `made` in the tree, sorted, each once
    std::optional<StatusFile> record; ///< as the next run will read it; none when there is none to be read

    const Plan::Run* run() const { return plan.runs.empty() ? nullptr : &plan.runs.front(); }
    std::string recordPath() const;
    /// The recorded count after the run; -1 for a path that is not recorded.
    std::int32_t countOf(const std::string& treePath) const;
    /// How many installed products list the path after the run, the unknown ones left out.
    std::int32_t usesOf(const std::string& treePath) const;
    bool wasRecorded(const std::string& treePath) const;

    /// Whether it belonged to a product before the run, alone or in a folder in one piece.
    bool wasOwned(const std::string& place) const { return before.has(place); }
    /// The same after the run, for the products that are installed then, and where they go then.
    bool isAfterOwned(const std::string& place) const { return after.has(place); }
    /// Whether the folder held something before the run that belonged to no product.
    bool hadForeign(const std::string& folder) const;
    /// Whether the shortcut led to the file for which the product makes it. Another one is someone else's.
    bool isOwnShortCut(const OwnedPlace& shortCut, const OwnedFiles& files) const;
    /// Whether a shortcut of `made` leads to where its file goes today.
    bool leadsToday(const OwnedPlace& shortCut) const;
    /// What of the place is there after the run and belongs to no product then.
    std::vector<std::string> ownerless(const OwnedPlace& place) const;
    /// The path of the uninstaller that the run places or removes.
    std::string ownUninstaller() const;

private:
    /// Places, and the folders in one piece among them.
    struct Owned {
        std::unordered_set<std::string> places;
        std::unordered_set<std::string> folders;
        std::unordered_set<std::string> above; ///< folders in which they lie

        /// `bWithAll`: what lies in a folder in one piece is owned, too.
        void add(const OwnedPlace& place, mode_t type, bool bWithAll, PlannedMachine& machine);
        bool has(const std::string& place) const;
    };

    OwnedFiles filesOf(PlacedProduct& placed, const std::string& uninstaller, bool bShared = false);
    void addPlaces(const PlacedProduct& placed, OwnedPlace::Reach reach, bool bShared, OwnedFiles& files,
                   std::set<std::string>& known);
    void addPlace(OwnedPlace place, OwnedFiles& files, std::set<std::string>& known);
    void findUnknown();
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
