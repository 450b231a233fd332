// Findings that an author excludes: with an option everywhere, with a comment at one place.
#include "Utility/InstallInspector/Check/Suppressions.h"

#include "Utility/InstallInspector/Check/NameRules.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <utility>

namespace {

using Words = std::vector<std::string>;
using Position = std::pair<int, int>;

constexpr const char* unknownIgnore = "unknown-ignore";
constexpr const char* unusedIgnore = "unused-ignore";

Position positionOf(const TiXmlBase& node) {
    return {node.Row(), node.Column()};
}

/// The words of a comment for this program, without "inspector:". Empty for any other comment.
Words wordsOf(const TiXmlComment& comment) {
    std::istringstream text(comment.ValueStr());
    const Words words{std::istream_iterator<std::string>(text), {}};
    return !words.empty() && words.front() == "inspector:" ? Words(words.begin() + 1, words.end()) : Words();
}

bool speaks(const TiXmlComment& comment) {
    return comment.ValueStr().find_first_not_of(" \t\r\n") == comment.ValueStr().find("inspector:");
}

/// Calls `visit` with each comment and each element of the document, in their order.
template <class Visitor>
void forEachNode(const TiXmlNode& parent, Visitor& visit) {
    for (const TiXmlNode* child = parent.FirstChild(); child != nullptr; child = child->NextSibling()) {
        if (child->ToComment() != nullptr || child->ToElement() != nullptr) {
            visit(*child);
        }
        forEachNode(*child, visit);
    }
}

template <class Visitor>
void forEachNode(const LocatedDocument& document, Visitor visit) {
    if (document.isReadable()) {
        forEachNode(*document.entries().front().element->GetDocument(), visit);
    }
}

/// A rule whose findings are left out, at one place or everywhere.
struct Ignore {
    std::string rule;
    Location where; ///< of the comment, or of the option
    bool bUsed = false;
};

/// The comments of one document.
class Comments {
public:
    Comments(const LocatedDocument& document, std::vector<Finding>& mistakes);

    bool covers(const Finding& finding);
    const std::vector<Ignore>& ignores() const { return list; }

private:
    void read(const LocatedDocument& document, const TiXmlComment& comment, std::vector<Finding>& mistakes);

    std::string file;
    std::vector<Ignore> list;
    /// The comments before each element, as a range of `list`, by the place of the element.
    std::map<Position, std::pair<std::size_t, std::size_t>> elements;
};

const Rule& ruleOf(const char* name) {
    return *std::find_if(suppressionRules().begin(), suppressionRules().end(),
                         [name](const Rule& rule) { return std::string(rule.name) == name; });
}

Words ruleNames() {
    Words names;
    for (const Rule& rule : allRules()) {
        names.emplace_back(rule.name);
    }
    return names;
}

/// Whether there is a rule with this name. If not, adds a finding to `mistakes`.
bool isRule(const std::string& name, const Location& where, std::vector<Finding>& mistakes) {
    const Words names = ruleNames();
    if (std::find(names.begin(), names.end(), name) != names.end()) {
        return true;
    }
    Report(ruleOf(unknownIgnore), mistakes)(
        where, "no rule is called " + quotedText(toVLString(name)), "Nothing is ignored.",
        adviseNearest(toVLString(name), names, "Write a name that \"check --list-rules\" shows."));
    return false;
}

Comments::Comments(const LocatedDocument& document, std::vector<Finding>& mistakes) : file(document.path()) {
    std::size_t begin = 0; // of the comments that stand before the next element
    const TiXmlNode* last = nullptr;
    forEachNode(document, [&](const TiXmlNode& node) {
        if (last == nullptr || node.Parent() != last->Parent() || last->ToComment() == nullptr) {
            begin = list.size();
        }
        last = &node;
        if (const TiXmlComment* comment = node.ToComment()) {
            read(document, *comment, mistakes);
        } else {
            elements[positionOf(node)] = {begin, list.size()};
        }
    });
}

void Comments::read(const LocatedDocument& document, const TiXmlComment& comment,
                    std::vector<Finding>& mistakes) {
    if (!speaks(comment)) {
        return;
    }
    const Words words = wordsOf(comment);
    const Location where = document.at(comment);
    const std::string verb = words.empty() ? "" : words.front();
    if (words.size() < 2 || (verb != "ignore" && verb != "host")) {
        Report(ruleOf(unknownIgnore), mistakes)(
            where, "a comment that begins with \"inspector:\" and says nothing that is known",
            "Nothing is ignored.",
            "Write <!-- inspector: ignore RULE --> before the element, or <!-- inspector: host NAME -->.");
        return;
    }
    for (std::size_t i = 1; verb == "ignore" && i < words.size(); ++i) {
        if (isRule(words[i], where, mistakes)) {
            list.push_back({words[i], where});
        }
    }
}

bool Comments::covers(const Finding& finding) {
    const Location& where = finding.where;
    // The element of the finding is the last one that begins before it.
    auto next = elements.upper_bound({where.line, where.column});
    if (where.file != file || where.line == 0 || next == elements.begin()) {
        return false;
    }
    const auto [begin, end] = std::prev(next)->second;
    bool bCovered = false;
    for (std::size_t i = begin; i < end; ++i) {
        if (list[i].rule == finding.rule) {
            list[i].bUsed = bCovered = true;
        }
    }
    return bCovered;
}

std::vector<Comments> commentsOf(const ProductLine& line, std::vector<Finding>& mistakes) {
    std::vector<Comments> comments;
    std::set<std::string> files;
    for (const Product* product : line.products) {
        for (const LocatedDocument* document : {&product->definitionFile, &product->targetsFile}) {
            if (files.insert(document->path()).second) {
                comments.emplace_back(*document, mistakes);
            }
        }
    }
    return comments;
}

void reportUnused(const std::vector<Ignore>& ignores, std::vector<Finding>& findings) {
    for (const Ignore& ignore : ignores) {
        if (!ignore.bUsed && ignore.rule != unusedIgnore) {
            Report(ruleOf(unusedIgnore), findings)(
                ignore.where, quotedText(toVLString(ignore.rule)) + " is ignored here, and nothing was found",
                "A mistake of that kind would go unnoticed later.", "Remove it when it is no longer needed.");
        }
    }
}

} // namespace

std::vector<VLString> hostsInComments(const Product& product) {
    std::vector<VLString> hosts;
    for (const LocatedDocument* document : {&product.definitionFile, &product.targetsFile}) {
        forEachNode(*document, [&](const TiXmlNode& node) {
            const TiXmlComment* comment = node.ToComment();
            const Words words = comment == nullptr ? Words() : wordsOf(*comment);
            if (words.size() > 1 && words.front() == "host") {
                std::string name = words[1];
                for (std::size_t i = 2; i < words.size(); ++i) {
                    name += " " + words[i];
                }
                hosts.push_back(toVLString(name));
            }
        });
    }
    return hosts;
}

void leaveOutIgnored(const ProductLine& line, std::vector<Finding>& findings) {
    std::vector<Finding> mistakes;
    std::vector<Ignore> options;
    for (const std::string& rule : line.ignoredRules) {
        const Location where = {Location::Document::Definition, "--ignore " + rule, 0, 0};
        if (isRule(rule, where, mistakes)) {
            options.push_back({rule, where});
        }
    }
    std::vector<Comments> comments = commentsOf(line, mistakes);

    const auto isIgnored = [&](const Finding& finding) {
        bool bIgnored = false;
        for (Ignore& option : options) {
            if (option.rule == finding.rule) {
                option.bUsed = bIgnored = true;
            }
        }
        for (Comments& ofDocument : comments) {
            bIgnored = ofDocument.covers(finding) || bIgnored;
        }
        return bIgnored;
    };
    const auto leaveOut = [&](std::vector<Finding>& list) {
        list.erase(std::remove_if(list.begin(), list.end(), isIgnored), list.end());
    };
    leaveOut(findings);
    for (const Comments& ofDocument : comments) {
        reportUnused(ofDocument.ignores(), mistakes);
    }
    reportUnused(options, mistakes);
    leaveOut(mistakes);
    findings.insert(findings.end(), mistakes.begin(), mistakes.end());
}

const std::vector<Rule>& suppressionRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {unknownIgnore, Severity::Warning, Needs::Nothing,
         "something to be ignored that names no rule, or a comment that is not understood", nullptr},
        {unusedIgnore, Severity::Note, Needs::Nothing, "something to be ignored that was not found", nullptr},
    };
    return rules;
}
