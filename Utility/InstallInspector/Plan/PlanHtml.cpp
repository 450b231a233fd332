// The page about a plan. From the top: what is dangerous, the result for the hosts of this machine, each host
// and family with its folders, every file, and what support needs.
#include "Utility/InstallInspector/Plan/PlanSummary.h"
#include "Utility/InstallInspector/Report/HtmlPage.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <memory>

namespace {

using Action = Plan::Action;
using Verb = PlannedMachine::Verb;
using Mood = HtmlPage::Mood;
using Tag = HtmlWriter::Tag;
using Name = HtmlWriter::Name;

constexpr HtmlPage::Part dangerPart{"dangerous", "What is dangerous"};
constexpr HtmlPage::Part unknownPart{"unknown", "What is not known"};
constexpr HtmlPage::Part shortPart{"short", "In short"};
constexpr HtmlPage::Part tablePart{"where", "Where it goes, and why"};
constexpr HtmlPage::Part uninstallTablePart{"where", "Where it is, and why"};
constexpr HtmlPage::Part filesPart{"files", "Every file"};
constexpr HtmlPage::Part supportPart{"support", "For support"};

/// The name under which users know the host.
std::string displayNameOf(const std::string& host) {
    for (const KnownHost& known : knownHosts) {
        if (host == known.name) {
            return known.displayName;
        }
        if (host == std::string(known.name) + "32") {
            return std::string(known.displayName) + ", 32 bits";
        }
    }
    return host;
}

bool hasAny(const TargetRow& row, std::initializer_list<Action> actions) {
    return std::any_of(actions.begin(), actions.end(),
                       [&](Action action) { return row.counts.count(action) != 0; });
}

/// The tree of a run: what happens to its files, and how many products use each path.
struct TreeNode {
    std::string name;
    std::vector<std::unique_ptr<TreeNode>> children;
    std::vector<const Plan::Entry*> entries;
    std::vector<const Plan::Remnant*> remnants;
    const RecordChange* change = nullptr;
    const Plan::Branch* branch = nullptr; ///< the one that begins here
    ActionCounts counts;                  ///< of all entries in it
    std::size_t left = 0;                 ///< the number of remnants in it
    bool bFolder = false;
};

class Tree {
public:
    Tree(const Plan& plan, const Plan::Run& run) : changes(changesOf(run)) {
        for (const auto& [path, change] : changes) {
            if (!change.isNone()) {
                TreeNode& changed = at(path);
                changed.change = &change;
                changed.bFolder = changed.bFolder || change.bFolder;
            }
        }
        for (const Plan::Branch& branch : run.branches) {
            at(branch.treePath).branch = &branch;
            for (const Plan::Entry& entry : branch.entries) {
                at(entry.treePath).entries.push_back(&entry);
            }
        }
        for (const Plan::Remnant& remnant : plan.remnants) {
            at(remnant.treePath).remnants.push_back(&remnant);
        }
        sum(root);
    }

    TreeNode root;
    RecordChanges changes;

private:
    TreeNode& at(const std::string& path) {
        const auto known = byPath.find(path);
        if (known != byPath.end()) {
            return *known->second;
        }
        const std::size_t slash = path.rfind('/');
        TreeNode& folder = slash == std::string::npos ? root : at(path.substr(0, slash));
        folder.children.push_back(std::make_unique<TreeNode>());
        TreeNode& node = *folder.children.back();
        node.name = slash == std::string::npos ? path : path.substr(slash + 1);
        byPath[path] = &node;
        return node;
    }

    static void sum(TreeNode& node) {
        node.left = node.remnants.size();
        for (const Plan::Entry* entry : node.entries) {
            ++node.counts[entry->action];
            node.bFolder = node.bFolder || entry->bFolder;
        }
        for (const auto& child : node.children) {
            sum(*child);
            for (const auto& [action, count] : child->counts) {
                node.counts[action] += count;
            }
            node.left += child->left;
        }
        std::sort(node.children.begin(), node.children.end(),
                  [](const auto& a, const auto& b) { return a->name < b->name; });
    }

    std::map<std::string, TreeNode*> byPath;
};

class Page {
public:
    explicit Page(const Plan& toShow) : plan(toShow), page(titleOf(toShow)), html(page.html) {
        for (const Plan::Run& run : plan.runs) {
            rows.push_back(targetRows(plan, run, false));
            if (rows.back().size() > mostRows) {
                rows.back() = targetRows(plan, run, true);
            }
        }
    }

    std::string text() {
        {
            const auto main = html.in(Tag::Main);
            head();
            dangers(dangerPart, Verdict::Harm, "card alarm bad");
            dangers(unknownPart, Verdict::CannotTell, "card alarm odd");
            if (!plan.runs.empty()) {
                inShort();
                tables();
                files();
            }
            support();
        }
        return html.finish();
    }

private:
    /// Above this, families of a host come together.
    static constexpr std::size_t mostRows = 60;

    static std::string titleOf(const Plan& plan) {
        const std::string product =
            plan.runs.empty() ? plan.definition : nameAndBuildOf(plan.runs.front().product);
        return (plan.bUninstall ? "Plan: uninstall " : "Plan: install ") + product;
    }

    // The top

    bool hasDangers(Verdict verdict) const {
        return std::any_of(plan.dangers.begin(), plan.dangers.end(),
                           [verdict](const Plan::Danger& danger) { return danger.verdict == verdict; });
    }

    std::string verdictWord() const {
        return !plan.bSucceeds                 ? "Fails."
               : plan.verdict == Verdict::Safe ? "Safe."
               : plan.verdict == Verdict::Harm ? "Dangerous."
                                               : "Not known.";
    }

    std::string verdictSentence() const {
        return plan.verdict == Verdict::Safe
                   ? outcomeOf(plan) + " Nothing of this product or of others would be lost or left behind."
                   : outcomeOf(plan);
    }

    void head() {
        std::vector<HtmlPage::Part> parts;
        if (hasDangers(Verdict::Harm)) {
            parts.push_back(dangerPart);
        }
        if (hasDangers(Verdict::CannotTell)) {
            parts.push_back(unknownPart);
        }
        if (!plan.runs.empty()) {
            parts.insert(parts.end(), {shortPart, whereAndWhy(), filesPart});
        }
        parts.push_back(supportPart);
        page.head(titleOf(plan), "What InstallUtility would do. Nothing has been changed.", plan.verdict,
                  verdictWord(), verdictSentence(), parts);
    }

    void dangers(const HtmlPage::Part& part, Verdict verdict, const char* style) {
        if (!hasDangers(verdict)) {
            return;
        }
        const auto section = page.part(part, style);
        const auto list = html.in(Tag::Ul, {{Name::Class, "plain"}});
        for (const Plan::Danger& danger : plan.dangers) {
            if (danger.verdict == verdict) {
                const auto item = html.in(Tag::Li);
                html.text(danger.message + " ");
                page.label(Mood::None, danger.rule);
                page.pathsBeside(danger.message, danger.paths);
            }
        }
    }

    // In short

    /// Each host once, in the order of the run.
    std::vector<std::string> hosts() const {
        std::vector<std::string> names;
        for (const TargetRow& row : rows.front()) {
            if (!row.families.empty() && std::find(names.begin(), names.end(), row.host) == names.end()) {
                names.push_back(row.host);
            }
        }
        return names;
    }

    void inShort() {
        const auto section = page.part(shortPart);
        const auto list = html.in(Tag::Dl);
        page.term("To do", workOf(plan));
        hostTerms();
        const Plan::Run& run = plan.runs.front();
        for (const Plan::Run& each : plan.runs) {
            if (&each != &run) {
                page.term("And with it", "The last product leaves, so the shared package goes, too: " +
                                             nameAndBuildOf(each.product) + ".");
            }
        }
        productTerm();
    }

    bool hostHas(const std::string& host, std::initializer_list<Action> actions) const {
        return std::any_of(rows.front().begin(), rows.front().end(),
                           [&](const TargetRow& row) { return row.host == host && hasAny(row, actions); });
    }

    void hostTerms() {
        std::vector<std::string> done;
        std::vector<std::string> kept; // by an uninstall
        std::vector<std::string> without;
        for (const std::string& host : hosts()) {
            const bool bDone = plan.bUninstall ? hostHas(host, {Action::Remove})
                                               : hostHas(host, {Action::Copy, Action::Replace, Action::Keep});
            const bool bKept = plan.bUninstall && hostHas(host, {Action::Keep});
            (bDone ? done : bKept ? kept : without).push_back(host);
        }
        hostTerm(plan.bUninstall ? "Leaves" : "For", done);
        hostTerm("Stays in", kept);
        whyNotTerm(plan.bUninstall ? "Not in" : "Not for", without);
    }

    void hostTerm(const char* name, const std::vector<std::string>& some) {
        if (!some.empty()) {
            std::vector<std::string> names;
            std::transform(some.begin(), some.end(), std::back_inserter(names), displayNameOf);
            page.term(name, joined(names, "; "));
        }
    }

    void whyNotTerm(const char* name, const std::vector<std::string>& without) {
        if (without.empty()) {
            return;
        }
        html.put(Tag::Dt, name);
        const auto description = html.in(Tag::Dd);
        const auto list = html.in(Tag::Ul, {{Name::Class, "plain"}});
        for (const std::string& host : without) {
            const auto item = html.in(Tag::Li);
            html.text(displayNameOf(host) + " ");
            html.put(Tag::Span, whyNot(host), {{Name::Class, "why"}});
        }
    }

    std::string whyNot(const std::string& host) const {
        std::vector<std::string> reasons;
        for (const TargetRow& row : rows.front()) {
            const std::string reason = hasAny(row, {Action::Fail}) ? "a copy fails"
                                       : row.bApplies              ? "nothing of it is there"
                                                                   : row.why;
            if (row.host == host && std::find(reasons.begin(), reasons.end(), reason) == reasons.end()) {
                reasons.push_back(reason);
            }
        }
        return "since " + joined(reasons, "; ");
    }

    void productTerm() {
        const Plan::Record& after = plan.runs.back().after;
        std::vector<std::string> names;
        for (const SKUDefinition::SKUInfo& product : after.products) {
            names.push_back(nameAndBuildOf(product));
        }
        page.term("Installed afterwards", names.empty() ? "no product" : joined(names, "; "));
    }

    // The table

    const HtmlPage::Part& whereAndWhy() const { return plan.bUninstall ? uninstallTablePart : tablePart; }

    void tables() {
        const auto section = page.part(whereAndWhy());
        for (std::size_t i = 0; i < plan.runs.size(); ++i) {
            if (i > 0) {
                html.put(Tag::H3, "Shared package: " + nameAndBuildOf(plan.runs[i].product));
            }
            table(plan.runs[i], rows[i]);
        }
    }

    void table(const Plan::Run& run, const std::vector<TargetRow>& all) {
        {
            const auto scroll = page.scrolled("Target folders");
            const auto element = html.in(Tag::Table);
            html.put(Tag::Caption, "Each target folder of each host and family on this machine.");
            page.columns({"Host or part", "Family", "Here", "Target folder", "Why"});
            for (auto first = all.begin(); first != all.end();) {
                const auto end = std::find_if(first, all.end(),
                                              [&](const TargetRow& row) { return row.host != first->host; });
                group(first, end);
                first = end;
            }
        }
        page.paths(counted(run.leftOut.size(), "part of the tree that no run touches",
                           "parts of the tree that no run touches"),
                   run.leftOut);
    }

    using Rows = std::vector<TargetRow>::const_iterator;

    /// The rows of a host: its name is said once, and so is that of a family.
    void group(Rows first, Rows end) {
        const auto body = html.in(Tag::Tbody);
        for (Rows row = first; row != end; ++row) {
            const auto line = row->bApplies ? html.in(Tag::Tr) : html.in(Tag::Tr, {{Name::Class, "no"}});
            if (row == first) {
                page.rowHeading(row->host, static_cast<std::size_t>(end - first));
            }
            html.put(Tag::Th, row->families.empty() ? "all" : joined(row->families, ", "),
                     {{Name::Scope, "row"}, {Name::Class, "family"}});
            here(*row);
            page.pathCell(row->folder);
            page.reasonCell(row->why.empty() ? "always" : row->why);
        }
    }

    void here(const TargetRow& row) {
        const auto cell = html.in(Tag::Td, {{Name::Class, "here"}});
        const bool bBad = hasAny(row, {Action::Fail}) || row.left != 0;
        const Mood mood = bBad                                             ? Mood::Bad
                          : hasAny(row, {Action::Replace, Action::Remove}) ? Mood::Odd
                          : hasAny(row, {Action::Copy})                    ? Mood::Good
                                                                           : Mood::None;
        page.label(mood, whatHappens(row));
    }

    // The tree

    void files() {
        const auto section = page.part(filesPart);
        html.put(
            Tag::P,
            "Open a folder to see what is in it. Uses: how many products use the path, before and after.",
            {{Name::Class, "soft"}});
        for (const Plan::Run& run : plan.runs) {
            if (&run != &plan.runs.front()) {
                html.put(Tag::H3, "Shared package: " + nameAndBuildOf(run.product));
            }
            const Tree tree(plan, run);
            {
                const auto element = html.in(Tag::Div, {{Name::Class, "tree"}});
                children(tree.root);
            }
            const auto others = static_cast<std::size_t>(
                std::count_if(tree.changes.begin(), tree.changes.end(),
                              [](const auto& change) { return change.second.isNone(); }));
            if (others != 0) {
                html.put(Tag::P,
                         counted(others, "recorded path keeps its", "recorded paths keep their") +
                             " count and build.",
                         {{Name::Class, "soft"}});
            }
        }
    }

    void children(const TreeNode& node) {
        if (node.children.empty()) {
            return;
        }
        const auto list = html.in(Tag::Ul);
        for (const auto& child : node.children) {
            if (child->children.empty() && child->branch == nullptr) {
                leaf(*child);
            } else {
                folder(*child);
            }
        }
    }

    void folder(const TreeNode& node) {
        const auto item = html.in(Tag::Li);
        const bool bBad = node.counts.count(Action::Fail) != 0;
        const auto details = bBad ? html.in(Tag::Details, {{Name::Open, "open"}}) : html.in(Tag::Details);
        {
            const auto summary = html.in(Tag::Summary);
            page.code(node.name + "/");
            html.text(" ");
            countLabels(node);
            uses(node);
        }
        if (node.branch != nullptr) {
            targets(*node.branch);
        }
        events(node);
        children(node);
    }

    void countLabels(const TreeNode& node) {
        for (const auto& [action, count] : node.counts) {
            page.label(moodOf(colourOf(action)), std::to_string(count) + " " + wordFor(action));
            html.text(" ");
        }
        if (node.left != 0) {
            page.label(Mood::Bad, std::to_string(node.left) + " left behind");
            html.text(" ");
        }
    }

    void targets(const Plan::Branch& branch) {
        if (branch.bSecondAttempt) {
            html.put(Tag::P,
                     "The second attempt, after the first has failed and nobody was there to be asked.");
        }
        for (const Plan::Target& target : branch.targets) {
            if (!target.path.empty()) {
                const auto place = html.in(Tag::P);
                html.put(Tag::Span, "in ", {{Name::Class, "why"}});
                page.code(target.path);
            }
        }
    }

    void leaf(const TreeNode& node) {
        const auto item = html.in(Tag::Li, {{Name::Class, "leaf"}});
        page.code(node.name + (node.bFolder ? "/" : ""));
        html.text(" ");
        if (node.entries.size() == 1 && node.remnants.empty() && node.entries.front()->shortCut.empty()) {
            const Plan::Entry& entry = *node.entries.front();
            page.label(moodOf(colourOf(entry.action)), wordFor(entry.action));
            html.text(" ");
            html.put(Tag::Span, entry.why, {{Name::Class, "why"}});
            uses(node);
            return;
        }
        if (node.entries.empty() && node.remnants.empty()) {
            html.put(Tag::Span, "nothing of it on this machine", {{Name::Class, "why"}});
        }
        uses(node);
        events(node);
    }

    /// With the paths on this machine.
    void events(const TreeNode& node) {
        for (const Plan::Entry* entry : node.entries) {
            const auto line = html.in(Tag::P);
            page.label(moodOf(colourOf(entry->action)), wordFor(entry->action));
            html.text(" ");
            page.code(entry->path);
            html.put(Tag::Span, " " + entry->why, {{Name::Class, "why"}});
            if (!entry->shortCut.empty()) {
                html.put(Tag::Span, ", with the shortcut ", {{Name::Class, "why"}});
                page.code(entry->shortCut);
            }
        }
        for (const Plan::Remnant* remnant : node.remnants) {
            const auto line = html.in(Tag::P);
            page.label(Mood::Bad, "left behind");
            html.text(" ");
            page.code(remnant->path);
            html.put(Tag::Span, " " + remnant->why, {{Name::Class, "why"}});
        }
    }

    void uses(const TreeNode& node) {
        if (node.change == nullptr) {
            return;
        }
        const RecordChange& change = *node.change;
        const auto number = [](const std::string& count) { return count == "-" ? "0" : count; };
        const std::string build = change.builds();
        html.put(Tag::Span,
                 " · uses " + number(change.before) + " → " + number(change.after) +
                     (build.empty() ? "" : ", build " + build),
                 {{Name::Class, "uses"}});
    }

    // Support

    void support() {
        const auto section = page.part(supportPart);
        {
            const auto list = html.in(Tag::Dl);
            pathTerm("Definition", plan.definition);
            pathTerm("Target paths", plan.targets);
            if (!plan.source.empty()) {
                pathTerm("Source", plan.source);
            }
            for (const Plan::Run& run : plan.runs) {
                record(run);
            }
        }
        for (const Plan::Run& run : plan.runs) {
            questions(run);
            folders(run);
        }
        fold("Shell commands, in their order", asCommands(plan));
        fold("What the run would print", plan.log);
    }

    void pathTerm(const char* name, const std::string& path) {
        html.put(Tag::Dt, name);
        const auto description = html.in(Tag::Dd);
        page.code(path);
    }

    void record(const Plan::Run& run) {
        if (run.recordPath.empty()) {
            return;
        }
        html.put(Tag::Dt, "Record");
        const auto description = html.in(Tag::Dd);
        page.code(run.recordPath);
        html.text(run.bRecordRemoved     ? " is removed, since no product is left in it"
                  : run.bRecordLeftAlone ? " cannot be read, and stays as it is"
                  : run.bRecordDamaged   ? " is damaged: a copy is kept, and a new one is written"
                  : run.bRecordSaved     ? " is written anew"
                                         : " is not saved");
    }

    void questions(const Plan::Run& run) {
        for (const Plan::Question& question : run.questions) {
            html.put(Tag::H3, "The user would be asked");
            html.lines(question.text);
            page.paths(counted(question.causes.size(), "cause", "causes"), question.causes);
        }
    }

    void folders(const Plan::Run& run) {
        const auto [made, removed] = folderChangesOf(plan, run);
        std::vector<std::string> uninstaller;
        for (std::size_t i = run.firstStep; i < run.endStep; ++i) {
            const Plan::Step& step = plan.steps[i];
            if (step.verb == Verb::CopyItem || step.verb == Verb::CreateLink ||
                step.verb == Verb::RemoveItem) {
                uninstaller.push_back(step.path);
            }
        }
        page.paths(counted(made.size(), "folder is made", "folders are made"), made);
        page.paths(counted(removed.size(), "folder is removed", "folders are removed"), removed);
        page.paths(std::string("The uninstaller that is ") + (run.bUninstall ? "removed" : "placed"),
                   uninstaller);
    }

    void fold(const char* heading, const std::string& text) {
        if (!text.empty()) {
            const auto details = html.in(Tag::Details);
            html.put(Tag::Summary, heading);
            html.lines(text);
        }
    }

    const Plan& plan;
    HtmlPage page;
    HtmlWriter& html;
    std::vector<std::vector<TargetRow>> rows; ///< of each run
};

} // namespace

std::string asHtml(const Plan& plan) {
    return Page(plan).text();
}
