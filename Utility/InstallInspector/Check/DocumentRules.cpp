// Mistakes of either XML file as such.
#include "Platform/Utf8.h"
#include "Utility/InstallInspector/Check/NameRules.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Documents/LookAlike.h"
#include "Utility/InstallInspector/Report/NearestName.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <algorithm>
#include <cstring>

namespace {

template <class Visitor>
void forEachDocument(const Product& product, Visitor visit) {
    visit(product.definitionFile);
    if (product.bTargets) {
        visit(product.targetsFile);
    }
}

std::string tag(const std::string& name) {
    return "<" + name + ">";
}

/// The name of the element, safe to print. It comes from the file, so it may contain anything.
std::string tagOf(const TiXmlElement& element) {
    const std::string name = quotedText(VLString(element.Value()));
    return tag(name.substr(1, name.size() - 2));
}

const char* unreadableConsequence(const LocatedDocument& document) {
    return document.rootKind() == Kind::Product
               ? "The engine goes on with an empty definition: it copies nothing, enters a product without "
                 "ID into the record, places no uninstaller, and still reports success."
               : "An install stops with \"Can't find node <root> in target paths XML.\" and status 1; an "
                 "uninstall does so after it has removed the uninstaller.";
}

void notWellFormed(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        if (const auto& fault = document.fault()) {
            report(document.at(fault->where), "not well-formed: " + fault->text,
                   unreadableConsequence(document), fault->advice);
        }
    });
}

void noRootElement(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        if (document.fault().has_value() || document.isReadable() || !document.hiddenElements().empty()) {
            return;
        }
        const std::string name = nameOf(document.rootKind());
        const auto& unknown = document.unknownElements();
        const Location where = unknown.empty() ? document.start() : document.at(*unknown.front().element);
        const bool bMisspelt =
            !unknown.empty() && nearestName(unknown.front().element->ValueStr(), {name}).has_value();
        report(where, "no element " + tag(name) + " at the top of the document",
               unreadableConsequence(document),
               bMisspelt ? "Write " + tag(name) + "." : "Put everything inside one " + tag(name) + ".");
    });
}

void unreadRest(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        const char* const consequence = "The engine never sees the rest of the file.";
        if (document.unreadRest().has_value()) {
            report(document.at(*document.unreadRest()), "the parser stops at text outside all elements",
                   consequence, "Remove the text; a document type with rules in brackets is such text, too.");
        }
        if (document.bCutByZeroByte) {
            report(document.at(document.scan().end), "a zero byte ends the document here", consequence,
                   "Remove the zero byte.");
        }
    });
}

void strayAmpersand(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        for (const TextPosition& position : document.scan().strayAmpersands) {
            report(document.at(position), "\"&\" begins no reference that the parser knows",
                   "The parser drops the \"&\" without a word, so that the name or path is another one.",
                   "Write \"&amp;\".");
        }
    });
}

void notUtf8(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        for (const auto& entry : document.entries()) {
            for (const TiXmlAttribute* attribute = entry.element->FirstAttribute(); attribute != nullptr;
                 attribute = attribute->Next()) {
                if (!isUtf8(attribute->ValueStr())) {
                    report(document.at(*attribute),
                           "the value of " + quotedText(VLString(attribute->Name())) + " is not UTF-8",
                           "The engine passes the bytes on as they are: file systems refuse such a name or "
                           "show another one.",
                           "Save the file as UTF-8 and begin it with <?xml version=\"1.0\" "
                           "encoding=\"UTF-8\"?>; without that, a reference such as &#233; gives one byte.");
                }
            }
        }
    });
}

// Values

/// Calls `visit` with each attribute that names something: a file, a product, a path.
template <class Visitor>
void forEachNamingAttribute(const Product& product, Visitor visit) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        for (const auto& entry : document.entries()) {
            for (const char* name : {"ID", "name", "fileName", "value"}) {
                const TiXmlAttribute* attribute = findAttribute(*entry.element, name);
                if (attribute != nullptr) {
                    visit(document.at(*attribute), VLString(attribute->Value()));
                }
            }
        }
    });
}

void blankAtEnd(const Product& product, const Report& report) {
    forEachNamingAttribute(product, [&](const Location& where, const VLString& value) {
        if (hasBlankAtEnd(value)) {
            report(where, "a blank at the beginning or end of " + quotedText(value),
                   "It belongs to the name: nothing matches that is written without it.",
                   "Write it without the blank, unless the file's name has it.");
        }
    });
}

void oddBlank(const Product& product, const Report& report) {
    forEachNamingAttribute(product, [&](const Location& where, const VLString& value) {
        const std::string code = oddBlankIn(value);
        if (!code.empty()) {
            report(where, quotedText(value) + " has the character " + code,
                   "It looks like a blank, or like nothing, and is another character: a name that looks the "
                   "same "
                   "does not match.",
                   "Write a blank, or nothing, in its place, unless the file's name has it.");
        }
    });
}

std::vector<std::string> namesOf(const std::vector<Kind>& kinds) {
    std::vector<std::string> names;
    names.reserve(kinds.size());
    for (const Kind kind : kinds) {
        names.push_back(nameOf(kind));
    }
    return names;
}

/// The elements inside which one of that name is read.
std::vector<std::string> parentsOf(const std::string& name, Kind root) {
    std::vector<std::string> parents;
    for (const ElementFormat& format : elementFormats()) {
        const bool bOwn = rootOf(format.kind) == root;
        const auto names = namesOf(format.children);
        if (bOwn && std::find(names.begin(), names.end(), name) != names.end() &&
            std::find(parents.begin(), parents.end(), tag(format.name)) == parents.end()) {
            parents.push_back(tag(format.name));
        }
    }
    return parents;
}

std::string adviceForElement(const LocatedDocument& document, const LocatedDocument::Unread& unread) {
    const auto known = namesOf(unread.place == nullptr ? std::vector<Kind>{document.rootKind()}
                                                       : formatOf(unread.place->kind).children);
    const std::string name = unread.element->ValueStr();
    const auto parents = parentsOf(name, document.rootKind());
    const auto nearest = nearestName(name, known);
    if (!parents.empty()) {
        // If two names are as similar as "plugin" and "plugins", either may be the right one.
        return (nearest.has_value() ? "Write " + tag(*nearest) + ", or move it" : std::string("Move it")) +
               ": it is read inside " + joined(parents, ", ") + " only.";
    }
    if (nearest.has_value()) {
        return "Write " + tag(*nearest) + ".";
    }
    return known.empty() ? "Remove it: nothing is read inside this element."
                         : "Remove it; what is read here: " + joined(known, ", ") + ".";
}

void unknownElement(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        if (!document.isReadable()) {
            return; // no-root-element reports it
        }
        for (const auto& unread : document.unknownElements()) {
            const std::string where =
                unread.parent == nullptr ? " at the top of the document" : " inside " + tagOf(*unread.parent);
            report(document.at(*unread.element), "nothing reads " + tagOf(*unread.element) + where,
                   "The engine passes it over with everything in it.", adviceForElement(document, unread));
        }
    });
}

bool isForEditors(const LocatedDocument::Entry& entry, const char* name) {
    return entry.parent == nullptr &&
           (std::strncmp(name, "xmlns", 5) == 0 || std::strncmp(name, "xsi:", 4) == 0);
}

std::string adviceForAttribute(const ElementFormat& format, const std::string& name) {
    const std::vector<std::string> known(format.attributes.begin(), format.attributes.end());
    if (const auto nearest = nearestName(name, known)) {
        return "Write " + *nearest + ".";
    }
    for (const std::string& longer : known) {
        // "name" for "fileName"
        if (toVLString(longer).ToLower().EndsWith(toVLString(name).ToLower())) {
            return "Write " + longer + ".";
        }
    }
    return known.empty() ? "Remove it: no attribute is read here."
                         : "Remove it; what is read here: " + joined(known, ", ") + ".";
}

void unknownAttribute(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        for (const auto& entry : document.entries()) {
            const ElementFormat& format = formatOf(entry.kind);
            for (const TiXmlAttribute* attribute = entry.element->FirstAttribute(); attribute != nullptr;
                 attribute = attribute->Next()) {
                const std::string name = attribute->Name();
                const bool bKnown = std::find(format.attributes.begin(), format.attributes.end(), name) !=
                                    format.attributes.end();
                if (!bKnown && !isForEditors(entry, attribute->Name())) {
                    report(document.at(*attribute),
                           "nothing reads the attribute " + quotedText(VLString(attribute->Name())) + " of " +
                               tagOf(*entry.element),
                           "The engine passes it over, as if it were not there.",
                           adviceForAttribute(format, name));
                }
            }
        }
    });
}

void repeatedElement(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        for (const auto& unread : document.repeatedElements()) {
            const bool bCondition = unread.element->ValueStr() == nameOf(Kind::Condition);
            report(document.at(*unread.element),
                   "a further " + tagOf(*unread.element) + "; the first is in " + lineOf(*unread.first),
                   "The engine reads the first one only and passes this one over with everything in it.",
                   bCondition ? "Put both inside one <condition type=\"And\"> or <condition type=\"Or\">."
                              : "Move what it holds into the first one.");
        }
    });
}

void hiddenElement(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        for (const auto& unread : document.hiddenElements()) {
            const bool bComment = unread.first->ToComment() != nullptr;
            report(document.at(*unread.element),
                   std::string(bComment ? "the comment" : "the text") + " in " + lineOf(*unread.first) +
                       " is exactly the name of this element",
                   "The engine takes it for the element, finds that it is none, and does not read " +
                       tagOf(*unread.element) + " at all.",
                   bComment ? "Say something else in the comment, or put blanks around the word."
                            : "Remove the text.");
        }
    });
}

void strayText(const Product& product, const Report& report) {
    forEachDocument(product, [&](const LocatedDocument& document) {
        for (const TiXmlText* text : document.texts()) {
            report(document.at(*text), "text between elements: " + quotedText(VLString(text->Value())),
                   "The engine passes it over.",
                   "Remove it, make it a comment, or put it into the attribute where it belongs.");
        }
    });
}

} // namespace

const std::vector<Rule>& documentRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"not-well-formed", Severity::Error, Needs::Nothing, "the parser gives up", notWellFormed},
        {"no-root-element", Severity::Error, Needs::Nothing, "no product, or no root, at the top",
         noRootElement},
        {"unread-rest", Severity::Error, Needs::Nothing, "the parser stops before the end of the file",
         unreadRest},
        {"stray-ampersand", Severity::Error, Needs::Nothing, "an \"&\" that the parser drops",
         strayAmpersand},
        {"not-utf8", Severity::Error, Needs::Nothing, "a value that is not UTF-8", notUtf8},
        {"unknown-element", Severity::Warning, Needs::Nothing, "an element that nothing reads",
         unknownElement},
        {"unknown-attribute", Severity::Warning, Needs::Nothing, "an attribute that nothing reads",
         unknownAttribute},
        {"repeated-element", Severity::Error, Needs::Nothing, "a second element where only the first is read",
         repeatedElement},
        {"hidden-element", Severity::Error, Needs::Nothing,
         "an element whose place a comment or text of its name takes", hiddenElement},
        {"stray-text", Severity::Warning, Needs::Nothing, "text between elements", strayText},
        {"blank-at-end", Severity::Warning, Needs::Nothing,
         "an ID, name or path that begins or ends with a blank", blankAtEnd},
        {"odd-blank", Severity::Warning, Needs::Nothing,
         "a blank that is none, or a character that nobody sees", oddBlank},
    };
    return rules;
}
