#pragma once

#include "Foundation/VLString.h"
#include "Platform/WholeFile.h"
#include "Utility/InstallInspector/Documents/TextScan.h"
#include "Utility/InstallInspector/Documents/Vocabulary.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <tinyxml.h>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

/// An XML file as the engine's parser reads it, with the position of each element and attribute.
class LocatedDocument {
public:
    /// An element that the engine reads, or would read if its attributes were correct.
    struct Entry {
        TiXmlElement* element;
        Kind kind;
        const Entry* parent; ///< null for the root element
    };
    /// An element that the engine does not read.
    struct Unread {
        const TiXmlElement* element;
        const TiXmlElement* parent; ///< null at the top of the document
        const Entry* place;         ///< the entry of `parent`; null at the top of the document
        const TiXmlNode* first;     ///< the node that the engine reads in its place; may be null
    };
    /// The error at which the parser stops.
    struct Fault {
        TextPosition where;
        std::string text; ///< without a full stop
        std::string advice;
    };

    /// Reads the file at `filePath`. Its root element should be of the kind `root`. If the file does not
    /// exist or cannot be read, returns false and sets `error` to the reason.
    bool read(const std::string& filePath, Location::Document document, Kind root, std::string& error);
    /// The same. A document that is not readable fails, too; the reason begins with its path.
    bool readUsable(const std::string& filePath, Location::Document document, Kind root, std::string& error);

    const std::string& path() const { return file; }
    Kind rootKind() const { return rootElementKind; }
    const std::optional<Fault>& fault() const { return parserFault; }
    /// Whether the document is well-formed and has the expected root element.
    bool isReadable() const { return !entryList.empty(); }
    TiXmlDocument& xml() { return parsed; }
    const TiXmlDocument& xml() const { return parsed; }
    /// Call it after a reader has emptied `xml`. Clears everything that refers to its nodes.
    void forgetContent();

    /// In document order, parents first.
    const std::vector<Entry>& entries() const { return entryList; }
    /// Calls `visit` with each entry of one of these kinds, in document order.
    template <class Visitor>
    void forEach(std::initializer_list<Kind> kinds, Visitor visit) const {
        for (const Entry& entry : entryList) {
            if (std::find(kinds.begin(), kinds.end(), entry.kind) != kinds.end()) {
                visit(entry);
            }
        }
    }
    /// Elements with a name that the engine does not read at this place.
    const std::vector<Unread>& unknownElements() const { return unknown; }
    /// Second and later elements where the engine reads only the first.
    const std::vector<Unread>& repeatedElements() const { return repeated; }
    /// Elements that are not read because a comment or text before them is exactly their name.
    const std::vector<Unread>& hiddenElements() const { return hidden; }
    const std::vector<const TiXmlText*>& texts() const { return textNodes; }
    /// Filled only if there is a fault, an "&" or a zero byte. Without these the scan finds nothing.
    const TextScan& scan() const { return textScan; }
    /// The position at which the parser stops without an error. No value if it reads the whole text.
    const std::optional<TextPosition>& unreadRest() const { return rest; }
    /// Whether a zero byte ends the text for the parser.
    bool bCutByZeroByte = false;

    /// The first entry of this kind. Null if there is none.
    const Entry* find(Kind kind) const;

    Location at(const TextPosition& position) const;
    Location at(const TiXmlBase& node) const;
    /// The position of the attribute, or of the element if it has no such attribute.
    Location at(const TiXmlElement& element, const char* attribute) const;
    Location start() const { return at(TextPosition{}); }

private:
    struct Level;

    /// The text up to the first zero byte. All line ends are LF, like in the engine's reader.
    std::string textOf(const FileContent& content);
    void parse(std::string text);
    void findFault(const std::string& text, bool bRefused);
    void collect(TiXmlNode& parent, const Entry* place, const std::vector<Kind>& kinds);
    void sortInto(TiXmlElement& element, Level& level);

    std::string file;
    Location::Document documentKind = Location::Document::Definition;
    Kind rootElementKind = Kind::Product;
    TiXmlDocument parsed;
    std::optional<Fault> parserFault;
    std::optional<TextPosition> rest;
    TextScan textScan;
    std::vector<Entry> entryList;
    std::vector<Unread> unknown;
    std::vector<Unread> repeated;
    std::vector<Unread> hidden;
    std::vector<const TiXmlText*> textNodes;
};

/// The attribute with this name. Null if it is missing.
const TiXmlAttribute* findAttribute(const TiXmlElement& element, const char* name);

/// "line " and the number of the line in which the node begins.
std::string lineOf(const TiXmlBase& node);

/// Whether `a` comes before `b` in their document.
bool comesBefore(const TiXmlBase& a, const TiXmlBase& b);
