#pragma once

#include "Utility/InstallInspector/Author/EditableDefinition.h"
#include "Utility/InstallInspector/Author/NewDefinition.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// One change that an update makes.
struct DefinitionChange {
    enum class Kind { Added, Dropped, Changed };

    Kind kind;
    std::string path; ///< in the tree, with a slash at the end for a folder; or the name of another part
    std::string text; ///< printed after the path; may be empty
};

/// Brings a definition up to date with a staged folder. Makes as few edits as possible.
class DefinitionUpdate {
public:
    /// All arguments must outlive this object.
    DefinitionUpdate(EditableDefinition& edited, const StagedFolder& folder, EntryWriter& entries,
                     Remarks& toAddTo);

    /// Finds all differences, and makes the edits.
    void run();
    /// In the order of the tree, families and hosts last.
    const std::vector<DefinitionChange>& changes() const { return changeList; }

private:
    using Entry = LocatedDocument::Entry;
    /// What the definition lists under one name inside one element.
    struct Listed {
        const Entry* counts = nullptr; ///< the entry that the engine uses
        std::vector<const Entry*> all;
        const StagedNode* node = nullptr; ///< the node in the folder; null if it is not there
    };
    using ListedNames = std::map<std::string, Listed>;

    ListedNames listedIn(const Entry& parent) const;
    void matchNames(ListedNames& listed, const StagedNode& folder) const;
    std::optional<std::string> whyGone(const Listed& listed, const std::string& path) const;
    void compareFolder(const Entry& entry, const StagedNode& folder, const std::string& path);
    void compareEntry(const Entry& entry, const StagedNode& node, const std::string& path);
    void compareDirectory(const Entry& entry, const StagedNode& node, const std::string& path);
    void compareManifest(const Entry& entry, const std::string& path);
    void compareFileManifest(const TiXmlElement& element, const Manifest::Part& part,
                             const std::string& path);
    void compareParts(const Entry& entry, const Manifest::Parts& parts, const std::string& path);
    bool comparePart(const TiXmlElement& element, const Manifest::Part& part);
    void addMissing(const Entry& parent, const StagedNode& folder, const std::string& path,
                    const ListedNames& listed);
    void addTree();
    void drop(const Listed& listed, const std::string& path, const std::string& why);
    void listDropped(const Entry& entry, const std::string& path, const std::string& why);
    void rename(const Entry& entry, const std::string& path, const std::string& oldName);
    void addFamilies();
    void addHosts();
    void noteServedHosts();
    void change(DefinitionChange::Kind kind, const std::string& path, const std::string& text = "");

    EditableDefinition& definition;
    const StagedFolder& source;
    EntryWriter& writer;
    Remarks& remarks;
    SKUDefinition meaning;
    StagedHosts hosts;
    std::vector<DefinitionChange> changeList;
    std::set<std::string> addedPaths;
    std::size_t begunManifests = 0; ///< the number of entries that had no manifest before
};
