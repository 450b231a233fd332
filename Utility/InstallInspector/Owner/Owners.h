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
    std::string condition;  ///< of the target path; empty if it has none
    bool bInside = false;   ///< it is a folder that is copied whole, with the file in the question inside
    bool bShortCut = false; ///< the file in the question is the shortcut to it
};

/// A path of the tree, and what is known about it.
struct OwnedEntry {
    VLString treePath;
    bool bFolder;
    std::string record;                            ///< path of the record that counts it; may be empty
    const Record::Node* recorded = nullptr;        ///< null if it is in no record
    std::vector<const InstalledProduct*> products; ///< all products that list it
    std::vector<Use> uses;                         ///< the uses that the question is about
    std::string removal;                           ///< who removes it, as a sentence
};

struct OwnerAnswer {
    enum class Kind { File, TreePath, Product, Unknown };

    std::string asked;
    Kind kind = Kind::Unknown;
    const InstalledProduct* product = nullptr; ///< the product in the question; null if it is none
    std::vector<std::string> notes;            ///< other facts about it, a sentence each
    std::vector<OwnedEntry> entries;
    std::string nearest; ///< a similar known path, if the one in the question is not known; may be empty
};

/// Finds the installed products to which files on this machine belong.
class Owners {
public:
    Owners();

    const InstalledProducts& all() const { return installed; }
    /// Answers a question about a path on this machine, a path of the tree, or a product. The answer refers
    /// to this object, which must outlive it.
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
    /// By the last component of the place, in lower case, because a disk may ignore case.
    std::multimap<VLString, Known> byName;
    std::map<VLString, std::unique_ptr<Record>> records; ///< by folder
    /// The index of each entry in the current answer, by record and path.
    std::map<std::pair<std::string, VLString>, std::size_t> entryPlaces;
};

void writeText(const std::vector<OwnerAnswer>& answers, const Painter& painter, Output& output);
void writeJson(const std::vector<OwnerAnswer>& answers, Output& output);
