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

/// The number of entries of each kind, and the work of an install for them.
struct EntryCounts {
    std::size_t files = 0;
    std::size_t wholeFolders = 0;
    std::size_t emptyFolders = 0;
    /// Folders that need a command of their own: the first thing that is copied into them is a file or a
    /// whole folder. Other folders are made together with a folder inside them.
    std::size_t foldersMade = 0;
    std::size_t filesInWholeFolders = 0;
    std::size_t foldersMadeInWholeFolders = 0; ///< if their files were listed one by one

    /// The commands of an install with one target folder for each part, on a machine without these folders.
    std::size_t commands() const;
    /// The same if the files of whole folders were listed one by one.
    std::size_t commandsFileByFile() const;
};

/// Writes the entries of a definition's tree for the content of a staged folder. Adds a remark for what no
/// definition can contain, and for what a person should check.
class EntryWriter {
public:
    /// Both arguments must outlive this object.
    EntryWriter(const TextStyle& layout, Remarks& toAddTo) : style(layout), remarks(toAddTo) {}

    /// Appends the lines for `node` to `text`, each with `before` at its beginning. `path` is the path of the
    /// node in the staged folder. Writes nothing for a node that is left out.
    void write(const StagedNode& node, const std::string& path, const std::string& before, std::string& text);

    /// From now on, writes a manifest of the files in `sourceFolder` into the entries. `toUpdate` must
    /// outlive this object.
    void writeManifests(const std::string& sourceFolder, Progress& toUpdate) {
        source = sourceFolder;
        progress = &toUpdate;
    }
    bool writesManifests() const { return progress != nullptr; }
    /// The manifest of the file or folder at `path`. Adds a fault for each file that cannot be read.
    Manifest::Parts manifestOf(const std::string& path);

    const EntryCounts& counts() const { return counted; }
    /// The tree paths of the written entries in their order. Paths of folders end with a slash.
    const std::vector<std::string>& written() const { return entries; }

    /// Adds a remark for each file inside a folder that should be left out, but is installed because the
    /// folder is copied whole.
    void noteInsideWhole(const StagedNode& node, const std::string& path);

    /// Whether a node of this kind is allowed at `path`. Above the files of families, VorlaneFX and Content
    /// there must be certain folders. If the node is not allowed, adds a remark.
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

/// The number of components of the path.
std::size_t levelOf(const std::string& path);

/// The known host, if `folder` is the folder of its 32-bit variant. Otherwise empty.
std::string hostOfVariant(const std::string& folder);

/// Why a node is left out, in words.
std::string reasonOf(StagedNode::Omission omission);

/// A part of a manifest as attributes, with a blank before each.
std::string manifestAttributes(const Manifest::Part& part);

/// `text` as the value of an attribute, between double quotes.
std::string asAttribute(const std::string& text);
