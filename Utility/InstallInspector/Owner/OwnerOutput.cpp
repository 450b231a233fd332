#include "Utility/InstallInspector/Owner/Owners.h"
#include "Utility/InstallInspector/Report/JsonWriter.h"
#include "Utility/InstallInspector/Report/Verdict.h"

#include <algorithm>

namespace {

using Kind = OwnerAnswer::Kind;

const char* nameOf(Kind kind) {
    switch (kind) {
    case Kind::File:
        return "file";
    case Kind::TreePath:
        return "tree path";
    case Kind::Product:
        return "product";
    case Kind::Unknown:
        break;
    }
    return "unknown";
}

std::string wordsOf(const Use& use) {
    std::string text = use.bThere ? "" : "  missing";
    text += use.bInside ? "  the whole folder" : use.bShortCut ? "  its shortcut was asked for" : "";
    if (!use.condition.empty()) {
        text += (use.bApplies ? "  since " : "  out of reach: no longer ") + use.condition;
    }
    return text;
}

/// Each place with the products that have it there, the same for all of them once.
std::vector<std::pair<std::string, std::vector<std::string>>> placesOf(const OwnedEntry& entry) {
    std::vector<std::pair<std::string, std::vector<std::string>>> places;
    const auto add = [&](const std::string& place, const InstalledProduct& product) {
        const auto& info = product.files.info();
        auto known =
            std::find_if(places.begin(), places.end(), [&](const auto& one) { return one.first == place; });
        if (known == places.end()) {
            known = places.insert(places.end(), {place, {}});
        }
        known->second.push_back(printableText(info.ID) + " " + printableText(info.build));
    };
    for (const Use& use : entry.uses) {
        add(printable(use.file) + wordsOf(use), *use.product);
    }
    for (const InstalledProduct* product : entry.products) {
        if (std::none_of(entry.uses.begin(), entry.uses.end(),
                         [&](const Use& use) { return use.product == product; })) {
            add("no such place here", *product);
        }
    }
    return places;
}

void write(const OwnedEntry& entry, const Painter& painter, Output& output) {
    const bool bRecorded = entry.recorded != nullptr;
    output.write("\n  " + printable(toString(entry.treePath)) + (entry.bFolder ? "/" : "") +
                 (bRecorded ? "  uses " + std::to_string(entry.recorded->recorded->ref) : "  in no record") +
                 (bRecorded && entry.recorded->recorded->build.IsSet()
                      ? "  build " + printableText(entry.recorded->recorded->build)
                      : "") +
                 "\n");
    for (const auto& [place, IDs] : placesOf(entry)) {
        output.write("    " + place + painter.paint(Colour::Dim, "  of " + joined(IDs, ", ")) + "\n");
    }
    output.write("    " + entry.removal + "\n");
}

void write(const OwnerAnswer& answer, const Painter& painter, Output& output) {
    output.write(painter.paint(Colour::Bold, printable(answer.asked)) + "\n");
    if (answer.product != nullptr) {
        const auto& info = answer.product->files.info();
        output.write("\n  " + printableText(info.ID) + "  " + printableText(info.name) + "  " +
                     printableText(info.build) + "\n");
        const std::string& own =
            answer.product->isShared() ? answer.product->definition : answer.product->uninstaller;
        output.write("    " + printable(own) + "\n");
    }
    for (const std::string& note : answer.notes) {
        output.write("  " + note + "\n");
    }
    for (const OwnedEntry& entry : answer.entries) {
        write(entry, painter, output);
    }
    if (answer.kind == Kind::Unknown) {
        output.write("  No installed product knows it." +
                     (answer.nearest.empty() ? std::string()
                                             : " The nearest that is known: " + printable(answer.nearest)) +
                     "\n");
    }
}

void write(JsonWriter& json, const Use& use) {
    json.beginObject();
    json.text("product", toString(use.product->files.info().ID));
    json.text("file", use.file);
    json.flag("there", use.bThere);
    json.flag("applies", use.bApplies);
    if (!use.condition.empty()) {
        json.text("condition", use.condition);
    }
    json.text("relation", use.bInside ? "inside" : use.bShortCut ? "shortcut" : "same");
    json.endObject();
}

void write(JsonWriter& json, const OwnedEntry& entry) {
    json.beginObject();
    json.text("path", toString(entry.treePath));
    json.text("record", entry.record);
    if (entry.recorded != nullptr) {
        json.number("count", entry.recorded->recorded->ref);
        if (!entry.recorded->recorded->isDirectory) {
            json.text("build", toString(entry.recorded->recorded->build));
        }
    }
    json.beginArray("products");
    for (const InstalledProduct* product : entry.products) {
        json.beginObject();
        json.text("ID", toString(product->files.info().ID));
        json.text("name", toString(product->files.info().name));
        json.text("build", toString(product->files.info().build));
        json.endObject();
    }
    json.endArray();
    json.beginArray("uses");
    for (const Use& use : entry.uses) {
        write(json, use);
    }
    json.endArray();
    json.text("removal", entry.removal);
    json.endObject();
}

void write(JsonWriter& json, const OwnerAnswer& answer) {
    json.beginObject();
    json.text("asked", answer.asked);
    json.text("kind", nameOf(answer.kind));
    if (!answer.nearest.empty()) {
        json.text("nearest", answer.nearest);
    }
    json.beginArray("notes");
    for (const std::string& note : answer.notes) {
        json.element(note);
    }
    json.endArray();
    json.beginArray("entries");
    for (const OwnedEntry& entry : answer.entries) {
        write(json, entry);
    }
    json.endArray();
    json.endObject();
}

} // namespace

void writeText(const std::vector<OwnerAnswer>& answers, const Painter& painter, Output& output) {
    for (const OwnerAnswer& answer : answers) {
        output.write(&answer == &answers.front() ? "" : "\n");
        write(answer, painter, output);
    }
}

void writeJson(const std::vector<OwnerAnswer>& answers, Output& output) {
    const bool bUnknown = std::any_of(answers.begin(), answers.end(), [](const OwnerAnswer& answer) {
        return answer.kind == OwnerAnswer::Kind::Unknown;
    });
    JsonWriter json(output);
    json.beginObject();
    json.text("verdict", nameOf(bUnknown ? Verdict::CannotTell : Verdict::Safe));
    json.beginArray("answers");
    for (const OwnerAnswer& answer : answers) {
        write(json, answer);
    }
    json.endArray();
    json.endObject();
}
