#pragma once

#include "Utility/InstallInspector/Author/Remarks.h"
#include "Utility/InstallInspector/Author/StagedFolder.h"
#include "Utility/InstallInspector/Documents/Manifest.h"

#include <cstddef>
#include <string>

/// How a document is laid out.
struct TextStyle {
    std::string indentation = "  "; ///< of one level
    std::string lineEnd = "\n";
};

/// How many entries there are of each kind, and what an install has to do for them.
struct EntryCounts {
    std::size_t files = 0;
    std::size_t wholeFolders = 0;
    std::size_t emptyFolders = 0;
    /// Folders of which a file, or a whole folder, is the first that is copied; others come into being with
    /// what is in them.
    std::size_t foldersMade = 0;
    std::size_t filesInWholeFolders = 0;
    std::size_t foldersMadeInWholeFolders = 0; ///< if their files were listed one by one

    /// The commands of an install that has one folder to copy each of them to, none of which is there yet.
    std::size_t commands() const;
    /// The same if the files of whole folders were listed one by one.
    std::size_t commandsFileByFile() const;
};

/// Writes the entries of the tree of files for what lies in a staged folder, and says what about it no
/// definition can carry, or a person should look at.
class EntryWriter {
public:
    EntryWriter(const TextStyle& layout, Remarks& said) : style(layout), remarks(said) {}

    /// Appends the lines for `node`, which lies at `path` in the staged folder, with `before` in front of
    /// each. Nothing when it is left out.
    void write(const StagedNode& node, const std::string& path, const std::string& before, std::string& text);

    /// From now on entries get a manifest of what lies in `sourceFolder`.
    void writeManifests(const std::string& sourceFolder, Progress& shown) {
        source = sourceFolder;
        progress = &shown;
    }
    bool writesManifests() const { return progress != nullptr; }
    /// The manifest of what lies at that path. What cannot be read becomes a fault.
    Manifest::Parts manifestOf(const std::string& path);

    const EntryCounts& counts() const { return counted; }
    /// The tree paths of what was written, in its order; of folders with a slash at the end.
    const std::vector<std::string>& written() const { return entries; }

    /// Says what is left out of a folder that is copied whole, where that is not possible.
    void noteInsideWhole(const StagedNode& node, const std::string& path);

    /// Whether a node of its kind may lie at that path: what is above the files of families, VorlaneFX and
    /// Content has to be folders of a certain kind. Where it may not, says so.
    bool standsInPlace(const StagedNode& node, const std::string& path);

private:
    bool mayStand(const StagedNode& node, const std::string& path);
    void writeFolder(const StagedNode& node, const std::string& path, const std::string& before,
                     std::string& text);
    void endFile(const std::string& path, const std::string& before, std::string& text);
    void noteName(const std::string& name, const std::string& path);
    void noteContent(const StagedNode& node, const std::string& path);
    void countInside(const StagedNode& node);
    void begin(const char* element, const StagedNode& node, const std::string& path,
               const std::string& before, std::string& text);

    const TextStyle& style;
    Remarks& remarks;
    EntryCounts counted;
    std::string source;
    Progress* progress = nullptr;
    std::vector<std::string> entries;
};

/// Whether `node`, which lies at `path` in the staged folder, is copied as one piece.
bool isTakenWhole(const StagedNode& node, const std::string& path);

/// How many names the path has.
std::size_t levelOf(const std::string& path);

/// The known host of which the folder of a host is the 32-bit variant; empty when it is none.
std::string hostOfVariant(const std::string& folder);

/// Why a thing is left out.
std::string reasonOf(StagedNode::Omission omission);

/// A part of a manifest as attributes, with a blank before each.
std::string manifestAttributes(const Manifest::Part& part);

/// `text` as the value of an attribute, between double quotes.
std::string asAttribute(const std::string& text);
