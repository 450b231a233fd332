// Mistakes inside a record. Only the engine writes it, so these come from somebody's edit or from a damaged
// disk.
#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Utility/InstallInspector/Documents/Product.h"
#include "Utility/InstallInspector/Status/Status.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <set>

namespace {

using Entry = LocatedDocument::Entry;

constexpr const char* countsFromNothing = "The engine takes it for an empty record, and keeps it beside its "
                                          "own under another name: the next install "
                                          "counts every file from nothing and forgets the other products, "
                                          "and an uninstall leaves its files in place.";
constexpr const char* countsNothing = "The engine takes it for an empty record and leaves it as it is: no "
                                      "install is recorded, and an uninstall "
                                      "leaves its files in place.";
constexpr const char* mendRecord = "Let InstallInspector rebuild make the record anew (Docs/inspector.md has "
                                   "the three steps), put back a copy "
                                   "of it, or mend it there by hand.";

bool isPath(const Entry& entry) {
    return entry.kind == Kind::RecordedDirectory || entry.kind == Kind::RecordedFile;
}

template <class Visitor>
void forEachPath(const Status& status, Visitor visit) {
    for (const Entry& entry : status.record.file.entries()) {
        if (isPath(entry)) {
            visit(entry);
        }
    }
}

/// The number in `text`. -1 if the text is anything else than digits, or the number is too large.
long countIn(const char* text) {
    if (*text == '\0' || text[std::strspn(text, "0123456789")] != '\0') {
        return -1;
    }
    errno = 0;
    const long count = std::strtol(text, nullptr, 10);
    return errno == 0 && count <= std::numeric_limits<std::int32_t>::max() ? count : -1;
}

/// The text of the attribute. Empty if it is missing.
const char* textOf(const Entry& entry, const char* attribute) {
    const char* text = entry.element->Attribute(attribute);
    return text == nullptr ? "" : text;
}

long countOf(const Entry& entry) {
    return countIn(textOf(entry, "ref"));
}

std::string products(long count) {
    return std::to_string(count) + (count == 1 ? " product" : " products");
}

// The file

void recordUnreadable(Status& status, const Report& report) {
    const Record& record = status.record;
    if (record.state != Record::State::Unreadable) {
        return;
    }
    if (record.file.path().empty()) {
        report(record.start(), "the record is no file", countsNothing,
               "Move away what is there. Let InstallInspector rebuild make the record anew "
               "(Docs/inspector.md has "
               "the three steps), or put back a copy of it.");
    } else if (const auto& fault = record.file.fault()) {
        report(record.file.at(fault->where), "the record cannot be read: " + fault->text, countsFromNothing,
               mendRecord);
    } else if (!record.file.hiddenElements().empty()) {
        report(record.file.at(*record.file.hiddenElements().front().element),
               "the record cannot be read: a comment or text that is exactly \"install\" hides this element",
               countsFromNothing, "Remove the comment or text.");
    } else {
        const auto& unknown = record.file.unknownElements();
        report(unknown.empty() ? record.file.start() : record.file.at(*unknown.front().element),
               "the record cannot be read: no element <install> at the top", countsFromNothing, mendRecord);
    }
}

void unfinishedSave(Status& status, const Report& report) {
    if (status.record.bUnfinishedSave) {
        report(
            {Location::Document::Record, status.record.path + ".new", 0, 0},
            "a run was broken off while it saved the record",
            "The record is the one before that run, which may have copied or removed files since. The next "
            "run takes this file away.",
            "Do the last install or uninstall again.");
    }
}

bool startsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

void recordSetAside(Status& status, const Report& report) {
    const std::string& path = status.record.path;
    const VLString folder = folderAbove(toVLString(path));
    for (const VLString& name : Machine::current().namesIn(folder)) {
        const std::string other = toString(PathLibrary::GetDirectoryWithFile(folder, name));
        if (startsWith(other, path + ".damaged")) {
            report({Location::Document::Record, other, 0, 0},
                   "a run has found the record damaged, and has set it aside",
                   "That run counted every file from nothing. What the record had of other products is lost, "
                   "unless somebody has put it back since.",
                   "Let InstallInspector rebuild make the record anew (Docs/inspector.md has the three "
                   "steps), and "
                   "delete this file.",
                   {other});
        }
    }
}

// What the engine does not read

void recordEntryIgnored(Status& status, const Report& report) {
    const LocatedDocument& file = status.record.file;
    if (status.record.state != Record::State::Readable) {
        return;
    }
    const auto reportIgnored = [&](const Location& where, const std::string& message) {
        report(where, message, "The engine passes it over, and the next run that saves the record drops it.",
               "Mend it as Docs/status-file-format.md says, or remove it.");
    };
    for (const auto* list : {&file.unknownElements(), &file.repeatedElements(), &file.hiddenElements()}) {
        for (const auto& unread : *list) {
            reportIgnored(file.at(*unread.element),
                          "nothing reads the element " + quotedText(VLString(unread.element->Value())) +
                              (unread.parent == nullptr
                                   ? std::string(" at the top")
                                   : " inside " + quotedText(VLString(unread.parent->Value()))) +
                              (list == &file.repeatedElements() ? " but the first" : ""));
        }
    }
    forEachPath(status, [&](const Entry& entry) {
        for (const char* attribute : {"fileName", "ref"}) {
            if (*textOf(entry, attribute) == '\0') {
                reportIgnored(file.at(*entry.element, attribute), "<" + nameOf(entry.kind) + "> without " +
                                                                      attribute + ", with everything in it");
                return;
            }
        }
    });
}

/// An entry, and the attribute that must be unique among the entries of the same parent.
struct Named {
    const Entry* entry;
    const char* attribute;

    const char* name() const { return textOf(*entry, attribute); }
    bool operator<(const Named& other) const {
        return entry->parent != other.entry->parent ? std::less<>()(entry->parent, other.entry->parent)
                                                    : std::strcmp(name(), other.name()) < 0;
    }
};

void recordDuplicate(Status& status, const Report& report) {
    const LocatedDocument& file = status.record.file;
    std::vector<Named> named;
    for (const Entry& entry : file.entries()) {
        if (isPath(entry) && *textOf(entry, "fileName") != '\0') {
            named.push_back({&entry, "fileName"});
        } else if (entry.kind == Kind::RecordedSku) {
            named.push_back({&entry, "ID"});
        }
    }
    std::stable_sort(named.begin(), named.end()); // puts equal names next to each other
    const Named* first = nullptr;
    for (const Named& other : named) {
        if (first == nullptr || *first < other) {
            first = &other;
            continue;
        }
        report(file.at(*other.entry->element, other.attribute),
               quotedText(VLString(other.name())) + " stands in line " +
                   std::to_string(first->entry->element->Row()) + " too",
               isPath(*other.entry)
                   ? "The later one replaces the earlier one with everything in it, and a file a directory."
                   : "The product counts as two: the record is not removed with the last product.",
               "Keep one of the two.");
    }
}

void recordProductIncomplete(Status& status, const Report& report) {
    for (const Entry& entry : status.record.file.entries()) {
        for (const char* attribute : {"ID", "name", "build"}) {
            if (entry.kind == Kind::RecordedSku && findAttribute(*entry.element, attribute) == nullptr) {
                report(status.record.file.at(*entry.element), std::string("a product without ") + attribute,
                       "The engine gives it that of the product before it.",
                       std::string("Write ") + attribute + "=\"...\".");
            }
        }
    }
}

// Counts

void countNotANumber(Status& status, const Report& report) {
    forEachPath(status, [&](const Entry& entry) {
        const VLString text = attributeOf(*entry.element, "ref");
        if (text.IsSet() && countOf(entry) < 1) {
            report(
                status.record.file.at(*entry.element, "ref"),
                "ref=" + quotedText(text) + " is no number from 1 on",
                "The engine reads what digits it begins with, else 0. With less than 1 the path leaves the "
                "record at the next save, with everything below it.",
                "Write how many of the products use the path.");
        }
    });
}

void countAboveProducts(Status& status, const Report& report) {
    const auto& entries = status.record.file.entries();
    const long most = std::count_if(entries.begin(), entries.end(),
                                    [](const Entry& entry) { return entry.kind == Kind::RecordedSku; });
    std::set<const Entry*> reported;
    forEachPath(status, [&](const Entry& entry) {
        if (countOf(entry) <= most) {
            return;
        }
        reported.insert(&entry);
        if (reported.count(entry.parent) == 0) {
            report(
                status.record.file.at(*entry.element, "ref"),
                quotedText(attributeOf(*entry.element, "fileName")) + " is in use by " +
                    products(countOf(entry)) + ", and the record lists " + std::to_string(most),
                "The count never comes to 0: no uninstall removes the path, nor what is below it with such "
                "a count.",
                "Write how many of the products use the path.");
        }
    });
}

void countAboveFolder(Status& status, const Report& report) {
    forEachPath(status, [&](const Entry& entry) {
        if (entry.parent->kind == Kind::RecordedDirectory && countOf(*entry.parent) >= 1 &&
            countOf(entry) > countOf(*entry.parent)) {
            report(status.record.file.at(*entry.element, "ref"),
                   quotedText(attributeOf(*entry.element, "fileName")) + " is in use by " +
                       products(countOf(entry)) + ", its folder by " + std::to_string(countOf(*entry.parent)),
                   "The folder's count comes to 0 first. Everything below it then leaves the record while "
                   "products use it, and is not removed when they go.",
                   "Give the folder at least the count of everything in it.");
        }
    });
}

} // namespace

const std::vector<StatusRuleEntry>& recordRules() {
    static const std::vector<StatusRuleEntry> rules = {
        {{"record-unreadable", Severity::Error, "a record that is there but cannot be read"},
         recordUnreadable},
        {{"record-set-aside", Severity::Warning, "a damaged record that a run has kept under another name"},
         recordSetAside},
        {{"unfinished-save", Severity::Warning, "what a run left that broke off while it saved"},
         unfinishedSave},
        {{"record-entry-ignored", Severity::Error, "something in the record that the engine passes over"},
         recordEntryIgnored},
        {{"record-duplicate", Severity::Error, "a product or path that stands in the record twice"},
         recordDuplicate},
        {{"record-product-incomplete", Severity::Error, "a product without ID, name or build"},
         recordProductIncomplete},
        {{"count-not-a-number", Severity::Error, "a count that is no number from 1 on"}, countNotANumber},
        {{"count-above-products", Severity::Error, "a count above the number of products"},
         countAboveProducts},
        {{"count-above-folder", Severity::Error, "a count above that of the folder"}, countAboveFolder},
    };
    return rules;
}
