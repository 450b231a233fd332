#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Status/StatusWords.h"
#include "Utility/InstallInspector/Status/Wanted.h"

#include <algorithm>

namespace {

using Condition = Status::Condition;
using Node = Record::Node;

// The tree

struct Row {
    std::string count;
    std::string branch; ///< the lines of the tree before the name
    std::string name;
    std::string build;
    std::string shortCut;
    Condition condition;
};

std::string nameOf(const Node& node) {
    return printableText(node.recorded->name) + (node.recorded->isDirectory ? "/" : "");
}

Row rowOf(const Status& status, const Node& node, const std::string& branch) {
    const auto& recorded = *node.recorded;
    Row row;
    row.count = std::to_string(recorded.ref);
    row.branch = branch;
    row.name = nameOf(node);
    row.build = printableText(recorded.build);
    row.condition = conditionOf(status, node);
    VLString link;
    if (recorded.IsShortCutInfoValid() && InstallUtility::createFullShortCutName(recorded, link)) {
        row.shortCut = "shortcut " + printableText(link);
    }
    return row;
}

struct Widths {
    std::size_t count = 4;
    std::size_t name = 0;
    std::size_t build = 0;

    /// Widens the columns for the rows of all paths below `parent`. `branch` is the width of the lines before
    /// the names of its children.
    void makeRoomFor(const Node& parent, std::size_t branch) {
        constexpr std::size_t widestName = 60;
        for (const Node* child : parent.children) {
            count = std::max(count, std::to_string(child->recorded->ref).size());
            name = std::max(name, std::min(widestName, branch + widthOf(nameOf(*child))));
            build = std::max(build, widthOf(printableText(child->recorded->build)));
            makeRoomFor(*child, branch + 4);
        }
    }
};

std::string printedRow(const Row& row, const Widths& widths, const Painter& painter) {
    const ConditionText& condition = textOf(row.condition);
    const std::string count = std::string(widths.count - row.count.size(), ' ') + row.count;
    std::string text = "  " + count + "  " + painter.paint(Colour::Dim, row.branch);
    const std::string name =
        condition.colour == Colour::Red ? painter.paint(Colour::Red, row.name) : row.name;
    if (row.build.empty() && row.shortCut.empty() && *condition.text == '\0') {
        return text + name + "\n";
    }
    const std::size_t used = widthOf(row.branch) + widthOf(row.name);
    text += name + std::string(widths.name - std::min(widths.name, used) + 2, ' ');
    const bool bMore = !row.shortCut.empty() || *condition.text != '\0';
    text += painter.paint(Colour::Dim, bMore ? padded(row.build, widths.build) : row.build);
    if (*condition.text != '\0') {
        text += "  " + painter.paint(condition.colour, condition.text);
    }
    if (!row.shortCut.empty()) {
        text += "  " + painter.paint(Colour::Dim, row.shortCut);
    }
    return text + "\n";
}

void writeRows(const Status& status, const Node& parent, const std::string& indent, const Widths& widths,
               const Painter& painter, Output& output) {
    const std::vector<const Node*> children = byName(parent);
    for (const Node* child : children) {
        const bool bTop = parent.parent == nullptr;
        const bool bLast = child == children.back();
        const Row row = rowOf(status, *child, bTop ? "" : indent + (bLast ? "└── " : "├── "));
        output.write(printedRow(row, widths, painter));
        if (!child->children.empty()) {
            writeRows(status, *child, bTop ? "" : indent + (bLast ? "    " : "│   "), widths, painter,
                      output);
        }
    }
}

/// Writes row by row, because all rows together would take more memory than the record itself.
void writeTree(const Status& status, const Painter& painter, Output& output) {
    if (status.record.nodes.size() < 2) {
        return; // the root alone, at most
    }
    const Node& root = status.record.nodes.front();
    Widths widths;
    widths.makeRoomFor(root, 0);
    output.write("\n  " +
                 painter.paint(Colour::Bold, padded("uses", widths.count) + "  " +
                                                 padded("path", widths.name) + "  build") +
                 "\n");
    writeRows(status, root, "", widths, painter, output);
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

/// The files that differ from their manifests.
void writeContents(const Status& status, const Painter& painter, Output& output) {
    const auto& faults = status.contents.faults;
    if (faults.empty()) {
        return;
    }
    std::size_t width = 0;
    for (const auto& fault : faults) {
        width = std::max(width, widthOf(nameOf(fault.kind)));
    }
    output.write("\n  " + painter.paint(Colour::Bold, padded("content", width) + "  file") + "\n");
    for (const auto& fault : faults) {
        output.write("  " + painter.paint(colourOf(fault.kind), padded(nameOf(fault.kind), width)) + "  " +
                     printable(fault.path) + " " + painter.paint(Colour::Dim, printable(fault.text)) + "\n");
    }
}

std::string verified(const Status& status) {
    return status.contents.files == 0 ? ""
                                      : "\n  " + counted(status.contents.files, "file was", "files were") +
                                            " compared with a manifest.\n";
}

std::string verdict(const Status& status, const Painter& painter) {
    if (!status.findings.empty()) {
        return "\n" + printed(status.findings, painter);
    }
    if (status.record.state != Record::State::Readable) {
        return "";
    }
    return "\n" + painter.paint(Colour::Green, outcomeOf(status)) + "\n";
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

void write(const Wanted& wanted, const Painter& painter, Output& output) {
    std::string text = printableText(wanted.ID) +
                       (wanted.build.IsEmpty() ? "" : " " + printableText(wanted.build)) + ": " +
                       nameOf(wanted.state);
    if (wanted.state == Wanted::State::Older || wanted.state == Wanted::State::Newer) {
        text += ", installed is " + printableText(wanted.installed);
    }
    output.write("\n" + painter.paint(wanted.isThere() ? Colour::Green : Colour::Red, text) + "\n");
}

void write(JsonWriter& json, const Wanted& wanted) {
    json.beginObject();
    json.text("ID", toString(wanted.ID));
    if (wanted.build.IsSet()) {
        json.text("build", toString(wanted.build));
    }
    if (wanted.installed.IsSet()) {
        json.text("installed", toString(wanted.installed));
    }
    json.text("state", nameOf(wanted.state));
    json.endObject();
}

void write(JsonWriter& json, const SKUDefinition::SKUInfo& info) {
    json.beginObject();
    json.text("ID", toString(info.ID));
    json.text("name", toString(info.name));
    json.text("build", toString(info.build));
    json.endObject();
}

void write(JsonWriter& json, const Status& status, const Node& node) {
    const auto& recorded = *node.recorded;
    const VLString treePath = pathOf(node);
    json.beginObject();
    json.text("path", toString(treePath));
    json.text("kind", recorded.isDirectory ? "directory" : "file");
    json.number("count", recorded.ref);
    if (!recorded.isDirectory) {
        json.text("build", toString(recorded.build));
    }
    if (recorded.IsShortCutInfoValid()) {
        json.beginObject("shortCut");
        json.text("name", toString(recorded.shortCut.name));
        json.text("dir", toString(recorded.shortCut.dir));
        json.endObject();
    }
    if (const Condition condition = conditionOf(status, node); condition != Condition::Unknown) {
        json.text("condition", textOf(condition).json);
    }
    const std::vector<std::string> places = placesOf(status, treePath);
    if (!places.empty()) {
        json.beginArray("places");
        for (const std::string& place : places) {
            json.element(place);
        }
        json.endArray();
    }
    json.endObject();
}

/// Writes the members that exist only with --verify.
void writeContents(const Status& status, JsonWriter& json) {
    if (!status.contents.bVerified) {
        return;
    }
    json.number("verified", static_cast<long>(status.contents.files));
    json.beginArray("contents");
    for (const auto& fault : status.contents.faults) {
        json.beginObject();
        json.text("kind", nameOf(fault.kind));
        json.text("file", fault.path);
        json.text("text", fault.text);
        json.text("product", toString(fault.product->info().ID));
        json.text("path", toString(fault.treePath));
        json.endObject();
    }
    json.endArray();
}

} // namespace

void writeText(const Status& status, const std::vector<Wanted>& wanted, const Painter& painter,
               Output& output) {
    output.write(painter.paint(Colour::Bold, printableText(toVLString(status.record.path))) + "\n");
    if (status.record.state == Record::State::Readable) {
        output.write(printedProducts(status, painter));
        writeTree(status, painter, output);
        output.write(leftOutOf(status));
    } else {
        output.write("\n  " + outcomeOf(status) + "\n");
    }
    writeContents(status, painter, output);
    output.write(verified(status));
    output.write(verdict(status, painter));
    for (const Wanted& each : wanted) {
        write(each, painter, output);
    }
}

void writeJson(const Status& status, const std::vector<Wanted>& wanted, Output& output) {
    static const char* const states[] = {"missing", "readable", "unreadable"};
    JsonWriter json(output);
    json.beginObject();
    json.text("record", status.record.path);
    json.text("state", states[static_cast<std::size_t>(status.record.state)]);
    json.text("verdict", nameOf(verdictOf(status.findings)));
    json.beginArray("products");
    for (const auto& info : status.record.content.products) {
        write(json, info);
    }
    json.endArray();
    if (!wanted.empty()) {
        json.beginArray("wanted");
        for (const Wanted& each : wanted) {
            write(json, each);
        }
        json.endArray();
    }
    json.beginArray("entries");
    for (const Node& node : status.record.nodes) {
        if (node.parent != nullptr) {
            write(json, status, node);
        }
    }
    json.endArray();
    writeContents(status, json);
    writeFindings(json, status.findings);
    json.endObject();
}
