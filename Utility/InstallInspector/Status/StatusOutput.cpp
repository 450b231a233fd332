#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Status/Status.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

using Condition = Status::Condition;
using Node = Record::Node;

struct ConditionText {
    const char* text; ///< empty for what needs no word
    const char* json;
    Condition condition;
    Colour colour;
};

const ConditionText& textOf(Condition condition) {
    static const ConditionText texts[] = {
        {"", "", Condition::Unknown, Colour::Dim},
        {"", "there", Condition::There, Colour::Dim},
        {"missing", "missing", Condition::Missing, Colour::Red},
        {"changed", "changed", Condition::OtherKind, Colour::Red},
        {"left behind", "left behind", Condition::LeftBehind, Colour::Red},
        {"no target here", "no target", Condition::NoTarget, Colour::Dim},
    };
    return *std::find_if(std::begin(texts), std::end(texts),
                         [condition](const ConditionText& text) { return text.condition == condition; });
}

Condition conditionOf(const Status& status, const Node& node) {
    const auto found = status.conditions.find(&node);
    return found == status.conditions.end() ? Condition::Unknown : found->second;
}

// The tree

struct Row {
    std::string count;
    std::string branch; ///< lines of the tree
    std::string name;
    std::string build;
    std::string shortCut;
    Condition condition;
};

Row rowOf(const Status& status, const Node& node, const std::string& branch) {
    const auto& recorded = *node.recorded;
    Row row;
    row.count = std::to_string(recorded.ref);
    row.branch = branch;
    row.name = printableText(recorded.name) + (recorded.isDirectory ? "/" : "");
    row.build = printableText(recorded.build);
    row.condition = conditionOf(status, node);
    VLString link;
    if (recorded.IsShortCutInfoValid() && InstallUtility::createFullShortCutName(recorded, link)) {
        row.shortCut = "shortcut " + printableText(link);
    }
    return row;
}

/// As people look for them; the record has the longest names first.
std::vector<const Node*> byName(const Node& parent) {
    std::vector<const Node*> children = parent.children;
    std::sort(children.begin(), children.end(), [](const Node* a, const Node* b) {
        return toString(a->recorded->name.ToLower()) < toString(b->recorded->name.ToLower());
    });
    return children;
}

void addRows(const Status& status, const Node& parent, const std::string& indent, std::vector<Row>& rows) {
    const std::vector<const Node*> children = byName(parent);
    for (const Node* child : children) {
        const bool bTop = parent.parent == nullptr;
        const bool bLast = child == children.back();
        rows.push_back(rowOf(status, *child, bTop ? "" : indent + (bLast ? "└── " : "├── ")));
        addRows(status, *child, bTop ? "" : indent + (bLast ? "    " : "│   "), rows);
    }
}

std::string printedRow(const Row& row, std::size_t countWidth, std::size_t nameWidth, std::size_t buildWidth,
                       const Painter& painter) {
    const ConditionText& condition = textOf(row.condition);
    const std::string count = std::string(countWidth - row.count.size(), ' ') + row.count;
    std::string text = "  " + count + "  " + painter.paint(Colour::Dim, row.branch);
    const std::string name =
        condition.colour == Colour::Red ? painter.paint(Colour::Red, row.name) : row.name;
    if (row.build.empty() && row.shortCut.empty() && *condition.text == '\0') {
        return text + name + "\n";
    }
    const std::size_t used = widthOf(row.branch) + widthOf(row.name);
    text += name + std::string(nameWidth - std::min(nameWidth, used) + 2, ' ');
    const bool bMore = !row.shortCut.empty() || *condition.text != '\0';
    text += painter.paint(Colour::Dim, bMore ? padded(row.build, buildWidth) : row.build);
    if (*condition.text != '\0') {
        text += "  " + painter.paint(condition.colour, condition.text);
    }
    if (!row.shortCut.empty()) {
        text += "  " + painter.paint(Colour::Dim, row.shortCut);
    }
    return text + "\n";
}

std::string printedTree(const Status& status, const Painter& painter) {
    std::vector<Row> rows;
    if (!status.record.nodes.empty()) {
        addRows(status, status.record.nodes.front(), "", rows);
    }
    if (rows.empty()) {
        return "";
    }
    constexpr std::size_t widest = 60;
    std::size_t count = 4;
    std::size_t name = 0;
    std::size_t build = 0;
    for (const Row& row : rows) {
        count = std::max(count, row.count.size());
        name = std::max(name, std::min(widest, widthOf(row.branch) + widthOf(row.name)));
        build = std::max(build, widthOf(row.build));
    }
    std::string text =
        "\n  " +
        painter.paint(Colour::Bold, padded("uses", count) + "  " + padded("path", name) + "  build") + "\n";
    for (const Row& row : rows) {
        text += printedRow(row, count, name, build, painter);
    }
    return text;
}

// Products and the rest

std::string printedProducts(const Status& status, const Painter& painter) {
    const auto& products = status.record.content.products;
    if (products.empty()) {
        return "\n  No product is installed.\n";
    }
    std::size_t ID = 7;
    std::size_t name = 4;
    for (const auto& info : products) {
        ID = std::max(ID, widthOf(printableText(info.ID)));
        name = std::max(name, widthOf(printableText(info.name)));
    }
    std::string text =
        "\n  " +
        painter.paint(Colour::Bold, padded("product", ID) + "  " + padded("name", name) + "  build") + "\n";
    for (const auto& info : products) {
        text += "  " + padded(printableText(info.ID), ID) + "  " + padded(printableText(info.name), name) +
                "  " + printableText(info.build) + "\n";
    }
    return text;
}

std::string verdict(const Status& status, const Painter& painter) {
    if (!status.findings.empty()) {
        return "\n" + printed(status.findings, painter);
    }
    const bool bThere = status.record.state == Record::State::Readable;
    if (!bThere) {
        return "";
    }
    return "\n" +
           painter.paint(Colour::Green, status.products.empty() ? "The record is sound."
                                                                : "The record and this machine agree.") +
           (status.products.empty()
                ? painter.paint(Colour::Dim, " Give --targets and --sku to compare it with this machine.")
                : "") +
           "\n";
}

std::string leftOutOf(const Status& status) {
    const auto count = std::count_if(status.conditions.begin(), status.conditions.end(),
                                     [](const auto& entry) { return entry.second == Condition::NoTarget; });
    if (count == 0) {
        return "";
    }
    return "\n  " + std::to_string(count) +
           (count == 1 ? " entry has no target path that applies"
                       : " entries have no target path that applies") +
           " on this machine.\n";
}

nlohmann::ordered_json jsonOf(const SKUDefinition::SKUInfo& info) {
    nlohmann::ordered_json product;
    product["ID"] = toString(info.ID);
    product["name"] = toString(info.name);
    product["build"] = toString(info.build);
    return product;
}

nlohmann::ordered_json jsonOf(const Status& status, const Node& node) {
    const auto& recorded = *node.recorded;
    nlohmann::ordered_json entry;
    entry["path"] = toString(node.treePath);
    entry["kind"] = recorded.isDirectory ? "directory" : "file";
    entry["count"] = recorded.ref;
    if (!recorded.isDirectory) {
        entry["build"] = toString(recorded.build);
    }
    if (recorded.IsShortCutInfoValid()) {
        entry["shortCut"] = {{"name", toString(recorded.shortCut.name)},
                             {"dir", toString(recorded.shortCut.dir)}};
    }
    if (const Condition condition = conditionOf(status, node); condition != Condition::Unknown) {
        entry["condition"] = textOf(condition).json;
    }
    nlohmann::ordered_json places = nlohmann::ordered_json::array();
    for (const auto& product : status.products) {
        if (const auto* spot = product->find(node.treePath)) {
            for (const auto& place : spot->places) {
                const std::string path = toString(place.path);
                if (std::find(places.begin(), places.end(), path) == places.end()) {
                    places.push_back(path);
                }
            }
        }
    }
    if (!places.empty()) {
        entry["places"] = places;
    }
    return entry;
}

} // namespace

std::string statusAsText(const Status& status, const Painter& painter) {
    std::string text = painter.paint(Colour::Bold, printableText(toVLString(status.record.path))) + "\n";
    switch (status.record.state) {
    case Record::State::Missing:
        text += "\n  There is no record here: no product is installed.\n";
        break;
    case Record::State::Unreadable:
        text += "\n  The record is there, but the engine cannot read it.\n";
        break;
    case Record::State::Readable:
        text += printedProducts(status, painter) + printedTree(status, painter) + leftOutOf(status);
        break;
    }
    return text + verdict(status, painter);
}

std::string statusAsJson(const Status& status) {
    static const char* const states[] = {"missing", "readable", "unreadable"};
    nlohmann::ordered_json document;
    document["record"] = status.record.path;
    document["state"] = states[static_cast<std::size_t>(status.record.state)];
    document["products"] = nlohmann::ordered_json::array();
    for (const auto& info : status.record.content.products) {
        document["products"].push_back(jsonOf(info));
    }
    document["entries"] = nlohmann::ordered_json::array();
    for (const Node& node : status.record.nodes) {
        if (node.parent != nullptr) {
            document["entries"].push_back(jsonOf(status, node));
        }
    }
    addFindings(document, status.findings);
    return printed(document);
}
