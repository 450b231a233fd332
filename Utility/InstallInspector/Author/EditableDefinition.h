#pragma once

#include "Platform/WholeFile.h"
#include "Utility/InstallInspector/Author/EntryWriter.h"
#include "Utility/InstallInspector/Documents/LocatedDocument.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

/// The position of an element in the bytes of its file.
struct ElementSpan {
    std::string name;
    std::size_t begin = 0; ///< of its "<"
    std::size_t nameEnd = 0;
    std::size_t tagEnd = 0;   ///< after the ">" of its first tag
    std::size_t endBegin = 0; ///< of its end tag; the same as `end` if it has none
    std::size_t end = 0;
    bool bEmptyTag = false; ///< ends with "/>"
};

/// A product definition that is changed only at single places. All other bytes stay as they are. Edits are
/// collected, and editedText() returns the file with all of them.
class EditableDefinition {
public:
    /// Reads the file. Returns false and sets `error` to the reason if the file must not be overwritten: it
    /// cannot be read, the engine's parser does not read all of it, or the position of an element is not
    /// found.
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

    /// The blanks at the beginning of the element's line.
    std::string indentationOf(const TiXmlElement& element) const;
    /// The indentation for new content of `parent`. The same as that of its existing content, if there is
    /// any.
    std::string indentationInside(const TiXmlElement& parent) const;

    /// Inserts whole lines into `parent`: after the line of `sibling`, or before all other content if
    /// `sibling` is null. Only one insertion at each place is allowed.
    void insert(const TiXmlElement& parent, const TiXmlElement* sibling, std::string lines);
    /// Removes the element. Also removes its lines, if nothing else is in them.
    void remove(const TiXmlElement& element);
    /// Replaces the element with an empty one of another name and the same attributes.
    void replaceByEmpty(const TiXmlElement& element, const std::string& name);
    /// Changes the value of the attribute. If it is missing, adds it after the others.
    void setAttribute(const TiXmlElement& element, const std::string& name, const std::string& value);
    void removeAttribute(const TiXmlElement& element, const std::string& name);

    bool isChanged() const { return !edits.empty(); }
    /// Only the inserted text, without the rest of the file.
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
        std::size_t valueEnd; ///< the value has no quotes
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
