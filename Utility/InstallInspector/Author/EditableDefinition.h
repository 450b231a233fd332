#pragma once

#include "Platform/WholeFile.h"
#include "Utility/InstallInspector/Author/EntryWriter.h"
#include "Utility/InstallInspector/Documents/LocatedDocument.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

/// Where an element stands in the bytes of its file.
struct ElementSpan {
    std::string name;
    std::size_t begin = 0; ///< of its "<"
    std::size_t nameEnd = 0;
    std::size_t tagEnd = 0;   ///< behind the ">" of its first tag
    std::size_t endBegin = 0; ///< of its end tag; where it has none, the end
    std::size_t end = 0;
    bool bEmptyTag = false; ///< ends with "/>"
};

/// A product definition of which single places are changed, while all other bytes stay as they are. Edits are
/// collected, and text() gives the file with all of them.
class EditableDefinition {
public:
    /// False, and `error` says why, for what must not be written over: a file that cannot be read, that the
    /// engine's parser does not read whole, or in which not every place can be found.
    bool read(const std::string& path, std::string& error);

    const LocatedDocument& document() const { return located; }
    /// Of the file as it was read.
    const FileState& state() const { return fileState; }
    const std::string& bytes() const { return text; }
    const TextStyle& style() const { return layout; }
    const ElementSpan& spanOf(const TiXmlElement& element) const { return spans[indexOf.at(&element)]; }
    /// The entries of these kinds inside `parent`, in the order of the file.
    std::vector<const LocatedDocument::Entry*> childrenOf(const LocatedDocument::Entry& parent,
                                                          std::initializer_list<Kind> kinds) const;
    /// Whether any entry has one.
    bool hasManifest() const;
    /// Whether the file says that its encoding is another than UTF-8.
    bool hasForeignEncoding() const;

    /// The blanks with which the line of the element begins.
    std::string indentationOf(const TiXmlElement& element) const;
    /// That of what is inserted into `parent`: as what stands there already, when something does.
    std::string indentationInside(const TiXmlElement& parent) const;

    /// Inserts whole lines into `parent`: behind `sibling` and what else stands in its line, or before
    /// everything else when that is null. At most one insertion for each place.
    void insert(const TiXmlElement& parent, const TiXmlElement* sibling, std::string lines);
    /// Takes the element away, and its lines when nothing else is in them.
    void remove(const TiXmlElement& element);
    /// Makes of the element one of another name with the same attributes and nothing inside.
    void replaceByEmpty(const TiXmlElement& element, const std::string& name);
    /// Gives the attribute that value; adds it behind the others when there is none.
    void setAttribute(const TiXmlElement& element, const std::string& name, const std::string& value);
    void removeAttribute(const TiXmlElement& element, const std::string& name);

    bool isChanged() const { return !edits.empty(); }
    /// What was inserted, without what was there.
    std::string inserted() const;
    std::string editedText() const;

private:
    struct Edit {
        std::size_t begin;
        std::size_t end;
        std::string text;
    };
    struct AttributeSpan {
        std::size_t begin; ///< of the name
        std::size_t valueBegin;
        std::size_t valueEnd; ///< quotes left out
        std::size_t end;
    };

    bool locateElements();
    void findStyle();
    std::optional<AttributeSpan> find(const ElementSpan& span, const std::string& attribute) const;
    std::size_t lastAttributeEnd(const ElementSpan& span) const;
    std::size_t lineBegin(std::size_t position) const;
    std::size_t behindBlanks(std::size_t position) const;
    std::size_t behindLineEnd(std::size_t position) const;
    std::size_t behindLine(std::size_t position) const;
    bool isLineEnd(std::size_t position) const;

    std::string text;
    FileState fileState;
    TextStyle layout;
    LocatedDocument located;
    std::vector<ElementSpan> spans;
    std::unordered_map<const TiXmlElement*, std::size_t> indexOf;
    std::unordered_map<const LocatedDocument::Entry*, std::vector<const LocatedDocument::Entry*>> children;
    std::vector<Edit> edits;
};
