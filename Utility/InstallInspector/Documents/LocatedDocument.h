#pragma once

#include "Foundation/VLString.h"
#include "Utility/InstallInspector/Documents/TextScan.h"
#include "Utility/InstallInspector/Documents/Vocabulary.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <tinyxml.h>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

/// One of the two XML files as the engine's parser sees it, with the place of everything in it.
class LocatedDocument {
public:
    /// An element that the engine reads, or would read if its attributes were right.
    struct Entry {
        TiXmlElement* element;
        Kind kind;
        const Entry* parent; ///< null for the root element
    };
    /// An element that the engine does not read.
    struct Unread {
        const TiXmlElement* element;
        const TiXmlElement* parent; ///< null at the top of the document
        /// Where children are known: null at the top of the document.
        const Entry* place;
        const TiXmlNode* first; ///< what is read, or taken for the element, in its stead; may be null
    };
    /// Why the parser gives up.
    struct Fault {
        TextPosition where;
        std::string text; ///< without a full stop
        std::string advice;
    };

    /// Reads the file at `filePath`, the root of which should be of the kind `root`. When there is no such
    /// file, or it cannot be read, gives false, and `error` says why.
    bool read(const std::string& filePath, Location::Document document, Kind root, std::string& error);

    const std::string& path() const { return file; }
    Kind rootKind() const { return rootElementKind; }
    const std::optional<Fault>& fault() const { return parserFault; }
    /// Well-formed, with the root element that the engine looks for.
    bool isReadable() const { return !entryList.empty(); }
    TiXmlDocument& xml() { return parsed; }

    /// In document order; parents first.
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
    /// Elements of a name that nothing reads where they stand.
    const std::vector<Unread>& unknownElements() const { return unknown; }
    /// Elements of which only the first is read.
    const std::vector<Unread>& repeatedElements() const { return repeated; }
    /// Elements of which a comment or text that is exactly their name takes the place.
    const std::vector<Unread>& hiddenElements() const { return hidden; }
    const std::vector<const TiXmlText*>& texts() const { return textNodes; }
    const TextScan& scan() const { return textScan; }
    /// Where the parser stops although it finds no fault.
    const std::optional<TextPosition>& unreadRest() const { return rest; }
    /// A zero byte ends the text for the parser.
    bool bCutByZeroByte = false;

    /// The first entry of that kind; null when there is none.
    const Entry* find(Kind kind) const;

    Location at(const TextPosition& position) const;
    Location at(const TiXmlBase& node) const;
    /// The place of the attribute, or of the element when it has none of that name.
    Location at(const TiXmlElement& element, const char* attribute) const;
    Location start() const { return at(TextPosition{}); }

private:
    struct Level;

    void parse();
    void findFault(bool bRefused);
    void collect(TiXmlNode& parent, const Entry* place, const std::vector<Kind>& kinds);
    void sortInto(TiXmlElement& element, Level& level);

    std::string file;
    std::string text; ///< with line feeds alone for line ends
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

/// The attribute of that name. An absent one gives null.
const TiXmlAttribute* findAttribute(const TiXmlElement& element, const char* name);

/// "line " and the number of the line in which the node begins.
std::string lineOf(const TiXmlBase& node);

/// Whether `a` stands before `b` in their document.
bool comesBefore(const TiXmlBase& a, const TiXmlBase& b);
