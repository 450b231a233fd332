// The plan as a table that fits on a screen: what each host and family gets, where, and why.
#include "Utility/InstallInspector/Plan/PlanSummary.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <algorithm>

namespace {

struct Line {
    std::string host;
    std::string families;
    std::string what;
    const TargetRow* row;
};

/// The first names that fit into the column, and the number of the others.
std::string shortList(const std::vector<std::string>& names) {
    constexpr std::size_t widest = 24;
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::string name = printable(names[i]);
        if (i > 0 && widthOf(text) + widthOf(name) > widest) {
            return text + " and " + std::to_string(names.size() - i) + " more";
        }
        text += (i > 0 ? ", " : "") + name;
    }
    return text;
}

class Table {
public:
    Table(const std::vector<TargetRow>& rows, const Painter& colours) : painter(colours) {
        for (const TargetRow& row : rows) {
            const bool bSame = !lines.empty() && lines.back().row->host == row.host;
            lines.push_back(
                {bSame ? "" : printable(row.host), shortList(row.families), whatHappens(row), &row});
            host = std::max(host, widthOf(lines.back().host));
            families = std::max(families, widthOf(lines.back().families));
            what = std::max(what, widthOf(lines.back().what));
        }
    }

    std::string text() const {
        std::string out = painter.paint(Colour::Bold, cells("for", "families", "here") + "folder") + "\n";
        for (const Line& line : lines) {
            const bool bApplies = line.row->bApplies;
            const std::string folder = printable(line.row->folder);
            out += cells(line.host, line.families, line.what) +
                   (bApplies ? folder : painter.paint(Colour::Dim, folder)) + "\n";
            if (!line.row->why.empty()) {
                out += cells("", "", "") + painter.paint(Colour::Dim, "since " + printable(line.row->why)) +
                       "\n";
            }
        }
        return out;
    }

private:
    std::string cells(const std::string& a, const std::string& b, const std::string& c) const {
        return "  " + padded(a, host) + "  " + padded(b, families) + "  " + padded(c, what) + "  ";
    }

    const Painter& painter;
    std::vector<Line> lines;
    std::size_t host = 3;
    std::size_t families = 8;
    std::size_t what = 4;
};

std::string dangersOf(const Plan& plan, const Painter& painter) {
    constexpr std::size_t most = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(most, plan.dangers.size()); ++i) {
        const Plan::Danger& danger = plan.dangers[i];
        text += (danger.verdict == Verdict::Harm ? painter.paint(Colour::Red, "! ")
                                                 : painter.paint(Colour::Yellow, "? ")) +
                printable(danger.message) + " " + painter.paint(Colour::Dim, "[" + danger.rule + "]") + "\n";
    }
    if (plan.dangers.size() > most) {
        text += "  and " + std::to_string(plan.dangers.size() - most) + " more\n";
    }
    return text.empty() ? "" : "\n" + text;
}

} // namespace

std::string asBrief(const Plan& plan, const Painter& painter) {
    std::string text;
    for (const Plan::Run& run : plan.runs) {
        text += painter.paint(Colour::Bold, std::string(run.bUninstall ? "Uninstall " : "Install ") +
                                                printable(nameAndBuildOf(run.product))) +
                "\n";
        const std::vector<TargetRow> rows = targetRows(plan, run, true);
        text += rows.empty() ? "" : Table(rows, painter).text();
        if (!run.leftOut.empty()) {
            text += "  " + counted(run.leftOut.size(), "part of the tree is", "parts of the tree are") +
                    " left out\n";
        }
    }
    return text + dangersOf(plan, painter) + "\n" + (plan.bSucceeds ? workOf(plan) + " " : "") +
           outcomeOf(plan) + "\n";
}
