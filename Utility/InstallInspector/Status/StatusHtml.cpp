// The page about what is installed. From the top: what is wrong and what to do, the products, each host and
// family with its folders, every recorded path, and what support needs.
#include "Foundation/Machine.h"
#include "Utility/InstallInspector/Documents/ConditionResult.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Report/HtmlPage.h"
#include "Utility/InstallInspector/Status/StatusWords.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace {

using PageMood = HtmlPage::Mood;
using PageTag = HtmlWriter::Tag;
using PageName = HtmlWriter::Name;

constexpr HtmlPage::Part wrongPart{"wrong", "What is wrong, and what to do"};
constexpr HtmlPage::Part uncertainPart{"uncertain", "What is not certain"};
constexpr HtmlPage::Part notesPart{"notes", "To know"};
constexpr HtmlPage::Part productsPart{"products", "Installed products"};
constexpr HtmlPage::Part placesPart{"where", "Where it is, and why"};
constexpr HtmlPage::Part contentsPart{"contents", "Files that are not those of the build"};
constexpr HtmlPage::Part pathsPart{"paths", "Every recorded path"};
constexpr HtmlPage::Part helpPart{"support", "For support"};

/// What the compared products have in one target folder for a host and family, or for a shared branch.
struct PlaceRow {
    std::string host;   ///< or the path of the branch in the tree
    std::string family; ///< empty for a shared branch
    std::string folder;
    std::string pattern; ///< what the target-paths file says
    std::string why;
    bool bApplies = true;
    std::set<std::string> products;
    std::map<std::string, bool> files; ///< paths, and whether something is there
};

/// The rows of all compared products, sorted by host.
class PlaceRows {
public:
    explicit PlaceRows(const Status& status) {
        for (const PlacedProduct* product : status.products) {
            add(*product);
        }
        std::stable_sort(rows.begin(), rows.end(), [this](const PlaceRow& a, const PlaceRow& b) {
            return hosts.at(a.host) < hosts.at(b.host);
        });
    }

    std::vector<PlaceRow> rows;

private:
    using Place = PlacedProduct::Place;
    using TargetKey = std::pair<const void*, std::string>;

    void add(const PlacedProduct& product) {
        rowOfTarget.clear();
        for (const PlacedProduct::Spot& spot : product.spots()) {
            for (const Place& place : spot.places) {
                add(product, spot, place, true);
            }
            for (const Place& place : spot.idle) {
                add(product, spot, place, false);
            }
        }
    }

    /// Parents come first, and the target folder is the place of the uppermost one.
    void add(const PlacedProduct& product, const PlacedProduct::Spot& spot, const Place& place,
             bool bApplies) {
        const TargetKey target(place.candidate, toString(place.target));
        auto row = rowOfTarget.find(target);
        if (row == rowOfTarget.end()) {
            row = rowOfTarget.emplace(target, rowFor(toString(spot.node->treePath), place, bApplies)).first;
        }
        PlaceRow& found = rows[row->second];
        found.products.insert(toString(product.info().name));
        if (spot.bLeaf) {
            found.files[toString(place.path)] = Machine::current().linkTypeOf(place.path) != 0;
        }
    }

    std::size_t rowFor(const std::string& branch, const Place& place, bool bApplies) {
        PlaceRow row;
        const std::string top = "Hosts/";
        const std::size_t slash =
            branch.rfind(top, 0) == 0 ? branch.find('/', top.size()) : std::string::npos;
        row.host = slash == std::string::npos ? branch : branch.substr(top.size(), slash - top.size());
        row.family = slash == std::string::npos ? "" : branch.substr(slash + 1);
        row.folder = toString(place.target);
        row.bApplies = bApplies;
        const auto same = std::find_if(rows.begin(), rows.end(), [&row](const PlaceRow& other) {
            return other.host == row.host && other.family == row.family && other.folder == row.folder &&
                   other.bApplies == row.bApplies;
        });
        if (same != rows.end()) {
            return static_cast<std::size_t>(same - rows.begin());
        }
        const auto& condition = place.candidate->condition;
        row.pattern = toString(place.candidate->path);
        row.why = isGiven(condition) ? reasonOf(resultOf(condition)) : "always";
        hosts.emplace(row.host, hosts.size());
        rows.push_back(std::move(row));
        return rows.size() - 1;
    }

    std::map<TargetKey, std::size_t> rowOfTarget; ///< for the product that is being added
    std::map<std::string, std::size_t> hosts;     ///< the position of each host
};

class StatusPage {
public:
    explicit StatusPage(const Status& toShow) : status(toShow), page(titleOf(toShow)), html(page.html) {}

    std::string text() {
        {
            const auto main = html.in(PageTag::Main);
            head();
            findings(wrongPart, Severity::Error, "card alarm bad");
            findings(uncertainPart, Severity::Warning, "card alarm odd");
            products();
            places();
            contents();
            paths();
            findings(notesPart, Severity::Note, "card");
            support();
        }
        return html.finish();
    }

private:
    struct Totals {
        std::size_t files = 0;
        std::size_t bad = 0;
    };

    static std::string titleOf(const Status& status) {
        std::vector<std::string> names;
        for (const auto& product : status.record.content.products) {
            names.push_back(toString(product.name));
        }
        const bool bKnown =
            status.record.state == Record::State::Readable || status.findings.empty() || !names.empty();
        return "Installed: " + (names.empty() ? bKnown ? "nothing" : "not known" : joined(names, ", "));
    }

    bool has(Severity severity) const {
        return std::any_of(status.findings.begin(), status.findings.end(),
                           [severity](const Finding& finding) { return finding.severity == severity; });
    }

    bool hasTree() const { return status.record.nodes.size() > 1; }

    std::string about() const {
        const bool bAlone = status.products.empty() && !status.bThisMachine;
        return "The record " + status.record.path +
               (bAlone ? ", looked at by itself." : ", compared with this machine.");
    }

    void head() {
        std::vector<HtmlPage::Part> parts;
        if (has(Severity::Error)) {
            parts.push_back(wrongPart);
        }
        if (has(Severity::Warning)) {
            parts.push_back(uncertainPart);
        }
        parts.push_back(productsPart);
        if (!status.products.empty()) {
            parts.push_back(placesPart);
        }
        if (!status.contents.faults.empty()) {
            parts.push_back(contentsPart);
        }
        if (hasTree()) {
            parts.push_back(pathsPart);
        }
        if (has(Severity::Note)) {
            parts.push_back(notesPart);
        }
        parts.push_back(helpPart);
        const Verdict verdict = verdictOf(status.findings);
        page.head(titleOf(status), about(), verdict,
                  verdict == Verdict::Safe   ? "In order."
                  : verdict == Verdict::Harm ? "Not in order."
                                             : "Not known.",
                  outcomeOf(status), parts);
    }

    // Findings

    void findings(const HtmlPage::Part& part, Severity severity, const char* style) {
        if (!has(severity)) {
            return;
        }
        const auto section = page.part(part, style);
        const auto list = html.in(PageTag::Ul, {{PageName::Class, "plain"}});
        for (const Finding& finding : status.findings) {
            if (finding.severity == severity) {
                const auto item = html.in(PageTag::Li);
                write(finding);
            }
        }
    }

    void write(const Finding& finding) {
        {
            const auto what = html.in(PageTag::P);
            html.put(PageTag::Strong, finding.message);
            html.text(" ");
            page.label(PageMood::None, finding.rule);
        }
        html.put(PageTag::P, finding.consequence);
        html.put(PageTag::P, finding.advice);
        if (finding.where.line > 0) {
            const auto where = html.in(PageTag::P, {{PageName::Class, "soft"}});
            page.code(finding.where.file + ":" + std::to_string(finding.where.line) + ":" +
                      std::to_string(finding.where.column));
        }
        page.pathsBeside(finding.message, finding.paths);
    }

    // Products

    void products() {
        const auto section = page.part(productsPart);
        const auto& recorded = status.record.content.products;
        if (recorded.empty()) {
            html.put(PageTag::P, outcomeOf(status));
            return;
        }
        const auto scroll = page.scrolled("Installed products");
        const auto table = html.in(PageTag::Table);
        html.put(PageTag::Caption, "What the record lists.");
        page.columns({"Product", "Build", "ID", "Uninstaller"});
        const auto body = html.in(PageTag::Tbody);
        for (const auto& info : recorded) {
            const auto row = html.in(PageTag::Tr);
            page.rowHeading(toString(info.name), 1);
            html.put(PageTag::Td, toString(info.build));
            {
                const auto cell = html.in(PageTag::Td);
                page.code(toString(info.ID));
            }
            const auto cell = html.in(PageTag::Td);
            uninstallerOf(info.ID);
        }
    }

    void uninstallerOf(const VLString& ID) {
        const InstalledProduct* installed = status.installed.find(ID);
        if (installed == nullptr) {
            html.text("not found");
        } else if (installed->isShared()) {
            html.text("none: it goes with the last product");
        } else {
            page.code(installed->uninstaller);
        }
    }

    // The table

    void places() {
        if (status.products.empty()) {
            return;
        }
        const auto section = page.part(placesPart);
        const PlaceRows all(status);
        const auto scroll = page.scrolled("Target folders");
        const auto table = html.in(PageTag::Table);
        html.put(PageTag::Caption,
                 "Each target folder of each host and family of the installed products, as it is "
                 "for this user today.");
        page.columns({"Host or part", "Family", "Here", "Target folder", "Product", "Why"});
        for (auto first = all.rows.begin(); first != all.rows.end();) {
            const auto end = std::find_if(first, all.rows.end(),
                                          [&](const PlaceRow& row) { return row.host != first->host; });
            const auto body = html.in(PageTag::Tbody);
            for (auto row = first; row != end; ++row) {
                write(*row, row == first ? static_cast<std::size_t>(end - first) : 0);
            }
            first = end;
        }
    }

    /// `rows` is the number of rows of the host for its first row, and 0 for the others.
    void write(const PlaceRow& row, std::size_t rows) {
        const auto line =
            row.bApplies ? html.in(PageTag::Tr) : html.in(PageTag::Tr, {{PageName::Class, "no"}});
        if (rows != 0) {
            page.rowHeading(row.host, rows);
        }
        html.put(PageTag::Th, row.family.empty() ? "all" : row.family,
                 {{PageName::Scope, "row"}, {PageName::Class, "family"}});
        here(row);
        page.pathCell(row.bApplies || thereOf(row) != 0 ? row.folder : row.pattern);
        html.put(PageTag::Td, joined({row.products.begin(), row.products.end()}, ", "));
        page.reasonCell(row.why);
    }

    static std::size_t thereOf(const PlaceRow& row) {
        return static_cast<std::size_t>(
            std::count_if(row.files.begin(), row.files.end(), [](const auto& file) { return file.second; }));
    }

    void here(const PlaceRow& row) {
        const auto cell = html.in(PageTag::Td, {{PageName::Class, "here"}});
        const std::size_t there = thereOf(row);
        const std::string count = std::to_string(there);
        if (!row.bApplies) {
            page.label(there == 0 ? PageMood::None : PageMood::Odd,
                       there == 0 ? "no" : "no, but " + count + " there");
        } else if (there == row.files.size()) {
            page.label(PageMood::Good, there == 0 ? "nothing" : "all " + count + " there");
        } else {
            page.label(PageMood::Bad, count + " of " + std::to_string(row.files.size()));
        }
    }

    // Contents

    void contents() {
        if (status.contents.faults.empty()) {
            return;
        }
        const auto section = page.part(contentsPart);
        const auto scroll = page.scrolled("Files that differ");
        const auto table = html.in(PageTag::Table);
        html.put(PageTag::Caption, "What a comparison with the manifests has found.");
        page.columns({"File", "Content", "What is the matter"});
        const auto body = html.in(PageTag::Tbody);
        for (const Status::ContentFault& fault : status.contents.faults) {
            const auto row = html.in(PageTag::Tr);
            page.pathCell(fault.path);
            {
                const auto cell = html.in(PageTag::Td, {{PageName::Class, "here"}});
                page.label(moodOf(colourOf(fault.kind)), nameOf(fault.kind));
            }
            html.put(PageTag::Td, fault.text);
        }
    }

    // The tree

    void paths() {
        if (!hasTree()) {
            return;
        }
        const auto section = page.part(pathsPart);
        html.put(PageTag::P, "Open a folder to see what is in it. Uses: how many products use the path.",
                 {{PageName::Class, "soft"}});
        const auto tree = html.in(PageTag::Div, {{PageName::Class, "tree"}});
        const Record::Node& root = status.record.nodes.front();
        sum(root);
        children(root);
    }

    const Totals& sum(const Record::Node& node) {
        Totals sums;
        sums.files = node.children.empty() ? 1 : 0;
        sums.bad = isBad(node) ? 1 : 0;
        for (const Record::Node* child : node.children) {
            const Totals& below = sum(*child);
            sums.files += below.files;
            sums.bad += below.bad;
        }
        return totals[&node] = sums;
    }

    bool isBad(const Record::Node& node) const {
        return textOf(conditionOf(status, node)).colour == Colour::Red;
    }

    void children(const Record::Node& node) {
        if (node.children.empty()) {
            return;
        }
        const auto list = html.in(PageTag::Ul);
        for (const Record::Node* child : byName(node)) {
            if (child->children.empty()) {
                const auto item = html.in(PageTag::Li, {{PageName::Class, "leaf"}});
                name(*child);
                details(*child);
            } else {
                const auto item = html.in(PageTag::Li);
                folder(*child);
            }
        }
    }

    /// Opens a folder with bad entries, so that they are seen without a click. Not if there are too many.
    void folder(const Record::Node& node) {
        constexpr std::size_t mostOpen = 50;
        const Totals& sums = totals[&node];
        const bool bOpen = sums.bad != 0 && totals[&status.record.nodes.front()].bad <= mostOpen;
        const auto element =
            bOpen ? html.in(PageTag::Details, {{PageName::Open, "open"}}) : html.in(PageTag::Details);
        {
            const auto summary = html.in(PageTag::Summary);
            name(node);
            page.label(PageMood::None, counted(sums.files, "entry", "entries"));
            if (sums.bad != 0) {
                html.text(" ");
                page.label(PageMood::Bad, std::to_string(sums.bad) + " not as recorded");
            }
        }
        details(node);
        children(node);
    }

    void name(const Record::Node& node) {
        const auto& recorded = *node.recorded;
        page.code(toString(recorded.name) + (recorded.isDirectory ? "/" : ""));
        const std::string build = toString(recorded.build);
        html.put(PageTag::Span,
                 " · uses " + std::to_string(recorded.ref) + (build.empty() ? "" : ", build " + build) + " ",
                 {{PageName::Class, "uses"}});
        const ConditionText& condition = textOf(conditionOf(status, node));
        if (*condition.text != '\0') {
            page.label(moodOf(condition.colour), condition.text);
            html.text(" ");
        }
    }

    /// The paths on this machine. Only where they do not follow from the path of the folder above.
    void details(const Record::Node& node) {
        const VLString treePath = pathOf(node);
        if (isBad(node)) {
            for (const std::string& place : placesOf(status, treePath)) {
                path("", place);
            }
        } else {
            for (const std::string& folder : targetsAt(treePath)) {
                path("in ", folder);
            }
        }
        const auto& recorded = *node.recorded;
        VLString link;
        if (recorded.IsShortCutInfoValid() && InstallUtility::createFullShortCutName(recorded, link)) {
            path("shortcut ", toString(link));
        }
    }

    /// The target folders that begin here.
    std::set<std::string> targetsAt(const VLString& treePath) const {
        std::set<std::string> folders;
        for (const PlacedProduct* product : status.products) {
            const PlacedProduct::Spot* spot = product->find(treePath);
            for (const auto& place : spot == nullptr ? std::vector<PlacedProduct::Place>() : spot->places) {
                if (place.path == place.target) {
                    folders.insert(toString(place.target));
                }
            }
        }
        return folders;
    }

    void path(const char* before, const std::string& path) {
        const auto line = html.in(PageTag::P);
        html.put(PageTag::Span, before, {{PageName::Class, "why"}});
        page.code(path);
    }

    // Support

    void support() {
        const auto section = page.part(helpPart);
        static const char* const states[] = {"is not there", "can be read", "cannot be read"};
        {
            const auto list = html.in(PageTag::Dl);
            html.put(PageTag::Dt, "Record");
            {
                const auto description = html.in(PageTag::Dd);
                page.code(status.record.path);
                html.text(std::string(" ") + states[static_cast<std::size_t>(status.record.state)]);
            }
            page.term("Findings", findingCounts());
            if (status.contents.bVerified) {
                page.term("Compared with a manifest", counted(status.contents.files, "file", "files"));
            }
        }
        page.paths(counted(status.installed.all().size(), "definition on this machine",
                           "definitions on this machine"),
                   definitions());
        for (const auto& [home, found] : status.inOtherHomes) {
            page.paths("In the home folder " + home, found);
        }
        for (const auto& [home, hidden] : status.hiddenHomes) {
            page.paths("In the home folder " + home + ", where this user may not look, may be", hidden);
        }
    }

    std::string findingCounts() const {
        const auto count = [this](Severity severity) {
            return static_cast<std::size_t>(
                std::count_if(status.findings.begin(), status.findings.end(),
                              [severity](const Finding& finding) { return finding.severity == severity; }));
        };
        return counted(count(Severity::Error), "error", "errors") + ", " +
               counted(count(Severity::Warning), "warning", "warnings") + ", " +
               counted(count(Severity::Note), "note", "notes");
    }

    std::vector<std::string> definitions() const {
        std::vector<std::string> texts;
        for (const auto& product : status.installed.all()) {
            texts.push_back(product->definition + (product->isReadable() ? "" : ": " + product->fault));
        }
        return texts;
    }

    const Status& status;
    HtmlPage page;
    HtmlWriter& html;
    std::map<const Record::Node*, Totals> totals;
};

} // namespace

std::string asHtml(const Status& status) {
    return StatusPage(status).text();
}
