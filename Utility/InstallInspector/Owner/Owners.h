#pragma once

#include "Utility/InstallInspector/Documents/InstalledProducts.h"
#include "Utility/InstallInspector/Documents/Record.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

/// One place where a product has an entry of the tree.
struct Use {
    const InstalledProduct* product;
    std::string file; ///< path on this machine
    bool bThere;
    bool bApplies;          ///< whether the condition of the target path holds today
    std::string condition;  ///< of the target path; empty for none
    bool bInside = false;   ///< what was asked for lies in it: it is a folder that is copied whole
    bool bShortCut = false; ///< what was asked for is the link to it
};

/// A path of the tree, with what is known of it.
struct OwnedEntry {
    VLString treePath;
    bool bFolder;
    std::string record;                            ///< the file that counts it; empty for none
    const Record::Node* recorded = nullptr;        ///< null when it is in no record
    std::vector<const InstalledProduct*> products; ///< all that list it
    std::vector<Use> uses;                         ///< those that were asked for
    std::string removal;                           ///< who removes it, a sentence
};

struct OwnerAnswer {
    enum class Kind { File, TreePath, Product, Unknown };

    std::string asked;
    Kind kind = Kind::Unknown;
    const InstalledProduct* product = nullptr; ///< the one that was asked for
    std::vector<std::string> notes;            ///< what else it is, a sentence each
    std::vector<OwnedEntry> entries;
    std::string nearest; ///< of what is not known: the nearest that is; may be empty
};

/// Finds out which installed products have what on this machine.
class Owners {
public:
    Owners();

    const InstalledProducts& all() const { return installed; }
    OwnerAnswer ask(const std::string& what);

private:
    using Spot = PlacedProduct::Spot;
    using Place = PlacedProduct::Place;
    struct Known {
        const InstalledProduct* product;
        const Spot* spot;
        const Place* place;
        bool bApplies;
    };

    void addPlaces(const InstalledProduct& product);
    bool askProduct(OwnerAnswer& answer);
    bool askTreePath(OwnerAnswer& answer);
    bool askFile(OwnerAnswer& answer);
    void noteOtherThings(const std::string& file, OwnerAnswer& answer);
    void findNearest(OwnerAnswer& answer);
    OwnedEntry& entryOf(OwnerAnswer& answer, const InstalledProduct& product, const Spot& spot);
    static Use useOf(const Known& known);
    void addUsesOfAll(OwnerAnswer& answer, const InstalledProduct& product, const Spot& spot);
    void addUses(OwnerAnswer& answer, const InstalledProduct& product, const Spot& spot);
    void finish(OwnedEntry& entry);
    const Record& recordIn(const VLString& folder);

    InstalledProducts installed;
    /// By the last component of the place, in lower case: a disk may know no other.
    std::multimap<VLString, Known> byName;
    std::map<VLString, std::unique_ptr<Record>> records; ///< by folder
    /// Of the answer in work: the place of each entry in its list, by record and path.
    std::map<std::pair<std::string, VLString>, std::size_t> entryPlaces;
};

void writeText(const std::vector<OwnerAnswer>& answers, const Painter& painter, Output& output);
void writeJson(const std::vector<OwnerAnswer>& answers, Output& output);
