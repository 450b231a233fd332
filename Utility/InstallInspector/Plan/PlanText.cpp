#include "Utility/InstallInspector/Documents/FolderAbove.h"
#include "Utility/InstallInspector/Plan/PlanSummary.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

using Action = Plan::Action;
using Verb = PlannedMachine::Verb;

std::string printableNameOf(const SKUDefinition::SKUInfo& product) {
    return printable(nameAndBuildOf(product));
}

Colour colourOf(Verdict verdict) {
    return verdict == Verdict::Safe ? Colour::Green : verdict == Verdict::Harm ? Colour::Red : Colour::Yellow;
}

class TextWriter {
public:
    TextWriter(const Plan& toPrint, const Painter& colours) : plan(toPrint), painter(colours) {}

    std::string text() {
        for (const Plan::Run& run : plan.runs) {
            print(run);
        }
        printDangers();
        printOutcome();
        return out;
    }

private:
    struct Line {
        const Plan::Entry* entry;
        std::string name;
    };

    void line(const std::string& text) { out += text + "\n"; }
    void heading(const std::string& text) { line("\n" + painter.paint(Colour::Bold, text)); }

    void print(const Plan::Run& run) {
        if (&run != &plan.runs.front()) {
            line("");
            line("With the last product goes the shared package:");
        }
        line(painter.paint(Colour::Bold, std::string(run.bUninstall ? "Uninstall " : "Install ") +
                                             printableNameOf(run.product)));
        if (run.bUninstall) {
            printUninstaller(run); // in the order of the run
        }
        for (const Plan::Branch& branch : run.branches) {
            print(branch);
        }
        if (!run.leftOut.empty()) {
            heading("Left out");
            for (const std::string& what : run.leftOut) {
                line("  " + printable(what));
            }
        }
        printFolders(run);
        printRecord(run);
        if (!run.bUninstall) {
            printUninstaller(run);
        }
    }

    // Branches

    void print(const Plan::Branch& branch) {
        heading(branch.host.empty() ? printable(branch.treePath)
                                    : printable(branch.host) + ", family " + printable(branch.family));
        if (branch.bSecondAttempt) {
            line(painter.paint(Colour::Yellow,
                               "  the second attempt, after the first has failed and nobody was "
                               "there to be asked"));
        }
        if (branch.targets.empty()) {
            line("  has no target path");
        }
        std::vector<const Plan::Entry*> rest;
        for (const Plan::Entry& entry : branch.entries) {
            rest.push_back(&entry);
        }
        for (const Plan::Target& target : branch.targets) {
            print(target);
            printEntries(takeEntriesIn(target.path, rest));
        }
        printBareNames(rest, printRemnants(branch));
    }

    /// Returns whether the branch has remnants.
    bool printRemnants(const Plan::Branch& branch) {
        bool bAny = false;
        for (const Plan::Remnant& remnant : plan.remnants) {
            if (isAtOrBelow(remnant.treePath, branch.treePath)) {
                line("      " + painter.paint(Colour::Red, "left   ") + "  " + printable(remnant.path) +
                     "  " + painter.paint(Colour::Dim, remnant.why));
                bAny = true;
            }
        }
        return bAny;
    }

    /// If an uninstall finds no target folder of a branch, it looks for the files in its working folder.
    void printBareNames(const std::vector<const Plan::Entry*>& entries, bool bLeft) {
        std::vector<Line> lines;
        for (const Plan::Entry* entry : entries) {
            if (entry->action != Action::Missing) {
                lines.push_back({entry, entry->path});
            }
        }
        if (!lines.empty()) {
            line("  " + painter.paint(Colour::Yellow, "in the folder in which the run is started"));
        } else if (!entries.empty() && !bLeft) {
            line("      " + painter.paint(Colour::Dim, "nothing of it is here"));
        }
        printEntries(lines);
    }

    void print(const Plan::Target& target) {
        const bool bApplies = !target.path.empty();
        line("  " + (bApplies ? painter.paint(Colour::Bold, printable(target.path))
                              : painter.paint(Colour::Dim, "not " + printable(target.pattern))));
        const std::string reason = reasonOf(target);
        if (!reason.empty()) {
            line("      " + painter.paint(Colour::Dim, printable("since " + reason)));
        }
    }

    /// Removes the entries in a target folder from `rest` and returns them.
    static std::vector<Line> takeEntriesIn(const std::string& folder, std::vector<const Plan::Entry*>& rest) {
        std::vector<Line> lines;
        std::vector<const Plan::Entry*> others;
        for (const Plan::Entry* entry : rest) {
            const std::string name = folder.empty() ? "" : relativeTo(folder, entry->path);
            if (name.empty()) {
                others.push_back(entry);
            } else {
                lines.push_back({entry, name});
            }
        }
        rest = others;
        return lines;
    }

    void printEntries(const std::vector<Line>& lines) {
        constexpr std::size_t widest = 44;
        std::size_t width = 0;
        for (const Line& entry : lines) {
            width = std::max(width, std::min(widest, nameOf(entry).size()));
        }
        for (const Line& entry : lines) {
            const Action action = entry.entry->action;
            line("      " + painter.paint(colourOf(action), padded(wordFor(action), 7)) + "  " +
                 padded(nameOf(entry), width) + "  " +
                 painter.paint(Colour::Dim, printable(entry.entry->why)));
            if (!entry.entry->shortCut.empty()) {
                line("               shortcut " + printable(entry.entry->shortCut));
            }
        }
    }

    static std::string nameOf(const Line& line) {
        return line.name == "." ? "the whole folder"
                                : printable(line.name) + (line.entry->bFolder ? "/" : "");
    }

    // Folders, record and uninstaller

    void printFolders(const Plan::Run& run) {
        const auto [made, removed] = folderChangesOf(plan, run);
        if (made.empty() && removed.empty()) {
            return;
        }
        heading("Folders");
        for (const std::string& folder : made) {
            line("  " + painter.paint(Colour::Green, "make   ") + "  " + printable(folder));
        }
        for (const std::string& folder : removed) {
            line("  " + painter.paint(Colour::Yellow, "remove ") + "  " + printable(folder));
        }
    }

    void printUninstaller(const Plan::Run& run) {
        bool bHeading = false;
        for (std::size_t i = run.firstStep; i < run.endStep; ++i) {
            const Plan::Step& step = plan.steps[i];
            const std::string what = stepWithoutShell(step);
            if (!what.empty()) {
                if (!bHeading) {
                    heading(run.product.ID == SharedPackage::ID ? "Application Manager" : "Uninstaller");
                }
                bHeading = true;
                line("  " + what);
            }
        }
    }

    std::string stepWithoutShell(const Plan::Step& step) const {
        const std::string path = printable(step.path);
        if (step.verb == Verb::RemoveItem) {
            return step.bSucceeded ? painter.paint(Colour::Yellow, "remove ") + "  " + path : "";
        }
        if (step.verb == Verb::CreateFolder && step.bSucceeded) {
            return "";
        }
        if (step.verb != Verb::CopyItem && step.verb != Verb::CreateLink && step.verb != Verb::CreateFolder) {
            return "";
        }
        if (!step.bSucceeded) {
            return painter.paint(Colour::Red, "FAIL   ") + "  " + path + "  " +
                   painter.paint(Colour::Dim, printable(step.why));
        }
        if (step.verb == Verb::CreateLink) {
            return painter.paint(Colour::Green, "link   ") + "  " + path + " to " + printable(step.source);
        }
        return painter.paint(Colour::Green, "copy   ") + "  " + path + "  " +
               painter.paint(Colour::Dim, step.source == PlannedMachine::bundle
                                              ? "the bundle of InstallUtility"
                                              : printable("from " + step.source));
    }

    void printRecord(const Plan::Run& run) {
        if (run.recordPath.empty()) {
            if (!run.branches.empty()) {
                heading("Record");
                line("  none is kept, since the item VorlaneFX has no target folder here: files that are "
                     "there "
                     "stay as they are, and an uninstall removes nothing");
            }
            return;
        }
        heading("Record " + printable(run.recordPath));
        printProducts(run);
        printCounts(run);
        if (run.bRecordRemoved) {
            line("  the file is removed, since no product is left in it");
        }
    }

    static const SKUDefinition::SKUInfo* find(const Plan::Record& record, const VLString& id) {
        const auto found = std::find_if(record.products.begin(), record.products.end(),
                                        [&](const auto& product) { return product.ID == id; });
        return found == record.products.end() ? nullptr : &*found;
    }

    void printProducts(const Plan::Run& run) {
        for (const SKUDefinition::SKUInfo& product : run.before.products) {
            const SKUDefinition::SKUInfo* after = find(run.after, product.ID);
            if (after == nullptr) {
                line("  " + painter.paint(Colour::Yellow, "leaves ") + "  " + printableNameOf(product));
            } else if (after->build != product.build || after->name != product.name) {
                line("  " + painter.paint(Colour::Yellow, "changes") + "  " + printableNameOf(product) +
                     " to " + printableNameOf(*after));
            } else {
                line("  stays    " + printableNameOf(product));
            }
        }
        for (const SKUDefinition::SKUInfo& product : run.after.products) {
            if (find(run.before, product.ID) == nullptr) {
                line("  " + painter.paint(Colour::Green, "enters ") + "  " + printableNameOf(product));
            }
        }
    }

    /// Prints the paths that change, and the folders above them.
    void printCounts(const Plan::Run& run) {
        const RecordChanges changes = changesOf(run);
        std::set<std::string> changed;
        for (const auto& [path, change] : changes) {
            for (std::size_t end = path.size(); !change.isNone() && end != std::string::npos && end != 0;
                 end = path.rfind('/', end - 1)) {
                changed.insert(path.substr(0, end));
            }
        }
        if (!changed.empty()) {
            line("  before  after");
        }
        for (const auto& [path, change] : changes) {
            if (changed.count(path) != 0) {
                print(path, change);
            }
        }
        const std::size_t others = changes.size() - changed.size();
        if (others != 0) {
            line("  " + painter.paint(Colour::Dim, counted(others, "other path keeps its count and build",
                                                           "other paths keep their counts and builds")));
        }
    }

    void print(const std::string& path, const RecordChange& change) {
        const auto depth = static_cast<std::size_t>(std::count(path.begin(), path.end(), '/'));
        std::string text = aligned(change.before, 8) + aligned(change.after, 7) +
                           std::string(2 + 2 * depth, ' ') + printable(path.substr(path.rfind('/') + 1)) +
                           (change.bFolder ? "/" : "");
        if (change.isNone()) {
            line(painter.paint(Colour::Dim, text));
            return;
        }
        const std::string build = change.builds();
        line(text + (build.empty() ? "" : "  " + painter.paint(Colour::Dim, printable(build))));
    }

    static std::string aligned(const std::string& number, std::size_t width) {
        return std::string(number.size() < width ? width - number.size() : 0, ' ') + number;
    }

    // The end

    void printDangers() {
        printDangers(Verdict::Harm, "Dangerous", painter.paint(Colour::Red, "!"));
        printDangers(Verdict::CannotTell, "Not known", painter.paint(Colour::Yellow, "?"));
    }

    void printDangers(Verdict verdict, const char* title, const std::string& mark) {
        bool bHeading = false;
        for (const Plan::Danger& danger : plan.dangers) {
            if (danger.verdict != verdict) {
                continue;
            }
            if (!bHeading) {
                heading(title);
            }
            bHeading = true;
            line("  " + mark + " " + printable(danger.message) + " " +
                 painter.paint(Colour::Dim, "[" + danger.rule + "]"));
        }
    }

    void printOutcome() {
        line("");
        if (!plan.bSucceeds) {
            line(painter.paint(Colour::Red, outcomeOf(plan)) + " It would print:");
            out += printableLines(plan.log);
            return;
        }
        line(workOf(plan) + " " + painter.paint(colourOf(plan.verdict), outcomeOf(plan)));
    }

    static std::string printableLines(const std::string& log) {
        std::string text;
        std::size_t begin = 0;
        while (begin < log.size()) {
            const std::size_t end = std::min(log.find('\n', begin), log.size());
            if (end > begin) {
                text += "  " + printable(log.substr(begin, end - begin)) + "\n";
            }
            begin = end + 1;
        }
        return text;
    }

    const Plan& plan;
    const Painter& painter;
    std::string out;
};

} // namespace

std::string asText(const Plan& plan, const Painter& painter) {
    return TextWriter(plan, painter).text();
}

std::string asCommands(const Plan& plan) {
    std::string text;
    for (const Plan::Step& step : plan.steps) {
        text += step.command.empty() ? "" : step.command + "\n";
    }
    return text;
}
