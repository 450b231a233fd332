// Mistakes of the target-paths file alone.
#include "Utility/InstallInspector/Check/NameRules.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Documents/Placeholders.h"

#include <algorithm>
#include <set>

namespace {

using Entry = LocatedDocument::Entry;
using TargetItem = Product::TargetItem;
using Condition = InstallUtility::InstallItem::ItemPath::Condition;
using Pattern::Placeholder;

constexpr const char* withoutRecord = "No record is kept: installs never replace a file that is there, not "
                                      "even by a newer one, and an uninstall "
                                      "removes no file.";

template <class Visitor>
void forEachCondition(const Product& product, Visitor visit) {
    product.targetsFile.forEach({Kind::Condition, Kind::Operand}, [&](const Entry& entry) {
        visit(entry, Condition::fromString(attributeOf(*entry.element, "type")));
    });
}

Location atTarget(const Product& product, const TiXmlElement& element, const char* attribute) {
    return product.targetsFile.at(element, attribute);
}

bool combines(Condition::ConditionType type) {
    return type == Condition::And || type == Condition::Or;
}

bool readsRegistry(Condition::ConditionType type) {
    return type == Condition::RegKeyExist || type == Condition::RegKeyNotExist;
}

bool looksForFile(Condition::ConditionType type) {
    return type == Condition::FileExist || type == Condition::FileNotExist;
}

/// Whether a test of this kind holds when it looks for something that is not there.
bool holdsForNothing(Condition::ConditionType type) {
    return type == Condition::PathNotExist || type == Condition::FileNotExist ||
           type == Condition::RegKeyNotExist;
}

std::string always(bool bHolds) {
    return bHolds ? "always holds" : "never holds";
}

std::string quotedType(const Entry& entry) {
    return quotedText(attributeOf(*entry.element, "type"));
}

bool hasOperands(const Product& product, const Entry& entry) {
    // Operands follow their condition directly.
    const Entry* next = &entry + 1;
    const auto& entries = product.targetsFile.entries();
    return next != entries.data() + entries.size() && next->parent == &entry;
}

// Elements without what they need

void itemWithoutName(const Product& product, const Report& report) {
    product.targetsFile.forEach({Kind::Item}, [&](const Entry& entry) {
        if (attributeOf(*entry.element, "name").IsEmpty()) {
            report(atTarget(product, *entry.element, "name"), "an <item> without name",
                   "The engine passes it over with all its paths and items.",
                   "Write name=\"VorlaneFX\", \"Hosts\", \"Content\", the name of a host, or that of a "
                   "directory "
                   "of the tree.");
        }
    });
}

void pathWithoutValue(const Product& product, const Report& report) {
    product.targetsFile.forEach({Kind::Path}, [&](const Entry& entry) {
        if (attributeOf(*entry.element, "value").IsEmpty()) {
            report(atTarget(product, *entry.element, "value"), "a <path> without value",
                   "The engine passes it over with its condition: nothing is installed there.",
                   "Write value=\"/...\" with the folder.");
        }
    });
}

void conditionWithoutValue(const Product& product, const Report& report) {
    forEachCondition(product, [&](const Entry& entry, Condition::ConditionType type) {
        if (type != Condition::None && !combines(type) && attributeOf(*entry.element, "value").IsEmpty()) {
            report(atTarget(product, *entry.element, "value"),
                   "a condition " + quotedType(entry) + " without value",
                   "It tests nothing and " + always(holdsForNothing(type)) + ".",
                   readsRegistry(type) ? "Write value=\"%REGKEY:key::value name%\"."
                                       : "Write value=\"/...\" with what to look for.");
        }
    });
}

// Conditions

void unknownConditionType(const Product& product, const Report& report) {
    forEachCondition(product, [&](const Entry& entry, Condition::ConditionType type) {
        if (type != Condition::None) {
            return;
        }
        const VLString text = attributeOf(*entry.element, "type");
        report(atTarget(product, *entry.element, "type"),
               text.IsEmpty() ? "a condition without type" : "unknown condition type " + quotedText(text),
               "A condition of no known type always holds.", adviseOneOf(text, conditionNames()));
    });
}

void noOperands(const Product& product, const Report& report) {
    forEachCondition(product, [&](const Entry& entry, Condition::ConditionType type) {
        if (combines(type) && !hasOperands(product, entry)) {
            report(atTarget(product, *entry.element, "type"),
                   quotedType(entry) + " without conditions inside it",
                   std::string("It ") + always(type == Condition::And) + ".",
                   "Write its conditions as <condition> elements inside it.");
        }
    });
}

void operandsIgnored(const Product& product, const Report& report) {
    forEachCondition(product, [&](const Entry& entry, Condition::ConditionType type) {
        if (!combines(type) && type != Condition::None && hasOperands(product, entry)) {
            report(atTarget(product, *entry.element, "type"),
                   "conditions inside one of type " + quotedType(entry),
                   "Only And and Or look at the conditions inside them: these have no effect.",
                   "Put this condition and those inside it side by side into a <condition type=\"And\"> or "
                   "\"Or\".");
        }
    });
}

void valueIgnored(const Product& product, const Report& report) {
    forEachCondition(product, [&](const Entry& entry, Condition::ConditionType type) {
        if (combines(type) && findAttribute(*entry.element, "value") != nullptr) {
            report(atTarget(product, *entry.element, "value"), "a value for " + quotedType(entry),
                   "And and Or do not look at their own value: it is not tested.",
                   "Put a <condition> with that value inside it.");
        }
    });
}

void operandName(const Product& product, const Report& report) {
    product.targetsFile.forEach({Kind::Operand}, [&](const Entry& entry) {
        if (entry.element->ValueStr() != "condition") {
            const std::string name = quotedText(VLString(entry.element->Value()));
            report(product.targetsFile.at(*entry.element), name + " inside a condition is no <condition>",
                   "Behind the first <condition> the engine takes every element for one, whatever its name.",
                   "Write <condition>, or remove the element.");
        }
    });
}

void familyInCondition(const Product& product, const Report& report) {
    forEachCondition(product, [&](const Entry& entry, Condition::ConditionType type) {
        const VLString value = attributeOf(*entry.element, "value");
        if (!combines(type) && value.HasOf(value.IndexOf("%FAMILY%", 0))) {
            report(atTarget(product, *entry.element, "value"), "%FAMILY% in a condition",
                   readsRegistry(type) || type == Condition::None
                       ? "It is replaced in paths only and stays in the value as it stands."
                       : "It is replaced in paths only: the engine looks for a name that has the text "
                         "%FAMILY% in "
                         "it, so the condition " +
                             always(holdsForNothing(type)) + ".",
                   "Write the family's name, or test a folder above it.");
        }
    });
}

void registryTestWithoutPlaceholder(const Product& product, const Report& report) {
    forEachCondition(product, [&](const Entry& entry, Condition::ConditionType type) {
        const VLString value = attributeOf(*entry.element, "value");
        if (!readsRegistry(type) || value.IsEmpty()) {
            return;
        }
        // The text around a placeholder stays, even if the registry has no value.
        if (withoutPlaceholders(value).IsSet()) {
            report(
                atTarget(product, *entry.element, "value"),
                quotedType(entry) + " of " + quotedText(value) +
                    ", which is not a registry placeholder alone",
                "The test is only whether the filled-in value is empty, which text outside the placeholder "
                "never is: the condition " +
                    always(!holdsForNothing(type)) + ".",
                "Write value=\"%REGKEY:key::value name%\" and nothing else.");
        }
    });
}

void bundleAsFile(const Product& product, const Report& report) {
    forEachCondition(product, [&](const Entry& entry, Condition::ConditionType type) {
        const VLString value = attributeOf(*entry.element, "value");
        if (!looksForFile(type)) {
            return;
        }
        for (const char* ending : {".app", ".app/", ".bundle", ".plugin", ".framework", "/"}) {
            if (value.EndsWith(ending)) {
                report(atTarget(product, *entry.element, "type"),
                       quotedType(entry) + " of " + quotedText(value) + ", which is a folder",
                       "Only regular files count: the condition " + always(holdsForNothing(type)) + ".",
                       type == Condition::FileExist ? "Write type=\"PathExist\"."
                                                    : "Write type=\"PathNotExist\".");
                return;
            }
        }
    });
}

// Patterns

/// Path values, and the values of conditions that look for a path.
template <class Visitor>
void forEachPattern(const Product& product, Visitor visit) {
    product.targetsFile.forEach({Kind::Path, Kind::Condition, Kind::Operand}, [&](const Entry& entry) {
        const bool bPath = entry.kind == Kind::Path;
        if (bPath || !combines(Condition::fromString(attributeOf(*entry.element, "type")))) {
            visit(entry, attributeOf(*entry.element, "value"), bPath);
        }
    });
}

template <class Visitor>
void forEachPlaceholder(const Product& product, Visitor visit) {
    forEachPattern(product, [&](const Entry& entry, const VLString& value, bool bPath) {
        for (const Placeholder& placeholder : placeholdersIn(value, bPath)) {
            visit(atTarget(product, *entry.element, "value"), placeholder);
        }
    });
}

void unknownPlaceholder(const Product& product, const Report& report) {
    forEachPlaceholder(product, [&](const Location& where, const Placeholder& placeholder) {
        const VLString& text = placeholder.text;
        if (placeholder.kind != Placeholder::Kind::Unknown || text == VLString("%FAMILY%")) {
            return; // family-in-condition
        }
        const bool bRegistry = text.HasOf(text.IndexOfIgnoreCase("REGKEY", 0));
        report(where, "unknown placeholder " + quotedText(text),
               "It stays as it stands: the engine goes on with a name that has percent signs in it.",
               bRegistry ? "Write %REGKEY:key::value name%, with REGKEY in capitals."
                         : adviseNearest(text, {"%FAMILY%", "%USER%"},
                                         "Write %FAMILY%, %USER% or %REGKEY:key::value name%, in this case "
                                         "of letters."));
    });
}

constexpr const char* registryOpening = "%REGKEY:";

/// Whether the placeholder has no "::", or has text before REGKEY that the engine would skip.
bool isMalformed(const Placeholder& placeholder) {
    return placeholder.kind == Placeholder::Kind::MalformedRegistry ||
           (placeholder.kind == Placeholder::Kind::Registry &&
            placeholder.text.IndexOf(registryOpening, 0) != 0);
}

/// The advice to write "::". If a single colon separates key and value, it has the corrected placeholder.
std::string adviseSeparator(const std::string& placeholder) {
    const std::string opening = registryOpening;
    const std::size_t colon = placeholder.find(':', opening.size());
    const bool bParted = placeholder.compare(0, opening.size(), opening) == 0 && colon > opening.size() &&
                         colon == placeholder.rfind(':') && colon + 2 < placeholder.size();
    return bParted
               ? "Write " +
                     quotedText(toVLString(placeholder.substr(0, colon) + ":" + placeholder.substr(colon))) +
                     "."
               : "Write %REGKEY:key::value name%.";
}

void registryPlaceholder(const Product& product, const Report& report) {
    forEachPlaceholder(product, [&](const Location& where, const Placeholder& placeholder) {
        if (isMalformed(placeholder)) {
            report(where,
                   "the registry placeholder " + quotedText(placeholder.text) +
                       " has no \"::\" between key and value",
                   "The engine cannot fill it in: it stays as it stands, with an error in the log.",
                   adviseSeparator(toString(placeholder.text)));
        }
    });
    forEachPlaceholder(product, [&](const Location& where, const Placeholder& placeholder) {
        if (placeholder.kind != Placeholder::Kind::Registry || isMalformed(placeholder)) {
            return;
        }
        const Pattern::RegistryReference reference = Pattern::registryReference(placeholder.text);
        if (reference.key.IsEmpty() || reference.valueName.IsEmpty()) {
            report(where,
                   "the registry placeholder " + quotedText(placeholder.text) + " names no " +
                       (reference.key.IsEmpty() ? "key" : "value"),
                   "Nothing is found under an empty name: it is filled in with nothing.",
                   "Write %REGKEY:key::value name%.");
        }
    });
}

void lonePercent(const Product& product, const Report& report) {
    forEachPattern(product, [&](const Entry& entry, const VLString& value, bool) {
        if (hasLonePercentSign(value)) {
            report(atTarget(product, *entry.element, "value"), "a percent sign that no second one closes",
                   "It stays in the name as it stands.",
                   "Close the placeholder with \"%\", or leave the sign out of the path.");
        }
    });
}

void relativePath(const Product& product, const Report& report) {
    forEachPattern(product, [&](const Entry& entry, const VLString& value, bool bPath) {
        const auto type = Condition::fromString(attributeOf(*entry.element, "type"));
        if (value.IsEmpty() || (!bPath && (readsRegistry(type) || type == Condition::None))) {
            return;
        }
        const auto placeholders = placeholdersIn(value, bPath);
        const bool bRegistry = !placeholders.empty() && placeholders.front().begin == 0 &&
                               (placeholders.front().kind == Placeholder::Kind::Registry ||
                                placeholders.front().kind == Placeholder::Kind::MalformedRegistry);
        if (value[0] == '/' || bRegistry) {
            return;
        }
        report(atTarget(product, *entry.element, "value"),
               "the path " + quotedText(value) + " does not begin with \"/\"",
               value[0] == '~'
                   ? "Nothing expands \"~\": it is the name of a folder below whatever folder the "
                     "installer happens to run in."
                   : "It is looked for below whatever folder the installer happens to run in.",
               value[0] == '~' ? "Write /Users/%USER% for the user's home."
                               : "Write the whole path from \"/\".");
    });
}

/// The text between the placeholders. Only this text is written by the author.
void shellCharacterInPath(const Product& product, const Report& report) {
    product.targetsFile.forEach({Kind::Path}, [&](const Entry& entry) {
        const VLString value = attributeOf(*entry.element, "value");
        if (const auto fault = shellCharacterIn(withoutPlaceholders(value))) {
            report(atTarget(product, *entry.element, "value"), fault->message, fault->consequence,
                   "Choose a folder whose path does not have the character.");
        }
    });
}

void controlCharacterInPath(const Product& product, const Report& report) {
    forEachPattern(product, [&](const Entry& entry, const VLString& value, bool) {
        if (const auto fault = controlCharacterIn(value)) {
            report(atTarget(product, *entry.element, "value"), fault->message, fault->consequence,
                   "Write the path on one line, without it.");
        }
    });
}

/// The component of the path that is another maker's application. Empty if there is none.
std::string foreignApplication(const VLString& path) {
    for (const VLString& part : StringLibrary::Split(path, "/", true)) {
        if (part.ToLower().EndsWith(".app") && !part.HasOf(part.IndexOfIgnoreCase("vorlane", 0))) {
            return toString(part);
        }
    }
    return "";
}

void targetInApplication(const Product& product, const Report& report) {
    product.targetsFile.forEach({Kind::Path}, [&](const Entry& entry) {
        const VLString value = attributeOf(*entry.element, "value");
        const std::string application = foreignApplication(value);
        if (!application.empty()) {
            report(
                atTarget(product, *entry.element, "value"),
                "a target inside the application " + quotedText(toVLString(application)),
                "What is added breaks the signature of another maker's application, which may not start any "
                "more; macOS may refuse the copy, and an update of the application takes the files away.",
                "Choose the folder outside it that the application looks in for plug-ins.");
        }
    });
}

/// Where macOS lets programs write; all else of its volume is sealed.
bool isWritable(const VLString& path) {
    for (const char* folder : {"/Applications", "/Library", "/Users", "/Volumes", "/usr/local", "/opt",
                               "/private", "/tmp", "/var", "/etc"}) {
        const VLString begin = VLString(folder) + "/";
        if ((path + "/").Substr(0, begin.Size()).EqualsIgnoreCase(begin)) {
            return true;
        }
    }
    return false;
}

void targetNotWritable(const Product& product, const Report& report) {
    product.targetsFile.forEach({Kind::Path}, [&](const Entry& entry) {
        const VLString value = attributeOf(*entry.element, "value");
        if (value[0] == '/' && !isWritable(value)) {
            report(atTarget(product, *entry.element, "value"),
                   quotedText(value) + " is on the volume of the system, which nobody can write to",
                   "On macOS nothing can be copied there: the customer is told that something blocks the "
                   "installation.",
                   "Choose a folder below /Library, /Users or /Applications.");
        }
    });
}

// Items

void duplicateItem(const Product& product, const Report& report) {
    std::map<std::pair<const Entry*, VLString>, std::vector<const Entry*>> groups;
    product.targetsFile.forEach({Kind::Item}, [&](const Entry& entry) {
        const VLString name = attributeOf(*entry.element, "name");
        if (name.IsSet()) {
            groups[{entry.parent, name}].push_back(&entry);
        }
    });
    for (const auto& [key, siblings] : groups) {
        for (const Entry* entry : siblings) {
            if (entry != siblings.back()) {
                report(atTarget(product, *entry->element, "name"),
                       "the item " + quotedText(key.second) + " stands in " +
                           lineOf(*siblings.back()->element) + " too",
                       "The later one replaces this one whole: none of its paths and items counts.",
                       "Put all paths and items of the name into one <item>.");
            }
        }
    }
}

void itemCaseConflict(const Product& product, const Report& report) {
    for (const TargetItem& parent : product.targetItems) {
        std::map<VLString, const TargetItem*> seen;
        for (const TargetItem* child : parent.items) {
            const auto [found, bNew] = seen.emplace(child->name.ToLower(), child);
            if (bNew) {
                continue;
            }
            const bool bLater = comesBefore(*found->second->element, *child->element);
            const TargetItem* first = bLater ? found->second : child;
            const TargetItem* second = bLater ? child : found->second;
            report(atTarget(product, *second->element, "name"),
                   "the items " + quotedText(second->name) + " and " + quotedText(first->name) + " of " +
                       lineOf(*first->element) + " differ only in case",
                   "Items are found by their exact name: only one of them can match the tree.",
                   "Merge them under the name that the tree has.");
        }
    }
}

void duplicatePath(const Product& product, const Report& report) {
    std::map<std::pair<const Entry*, VLString>, const Entry*> unconditional;
    product.targetsFile.forEach({Kind::Path}, [&](const Entry& entry) {
        const VLString value = attributeOf(*entry.element, "value");
        if (value.IsEmpty()) {
            return;
        }
        const std::pair<const Entry*, VLString> key = {entry.parent, value.ToLower()};
        const auto first = unconditional.find(key);
        if (first != unconditional.end()) {
            report(atTarget(product, *entry.element, "value"),
                   "the path " + quotedText(value) + " stands in " + lineOf(*first->second->element) +
                       " without a condition",
                   "The folder counts once, in the earlier place, whatever this one's condition says.",
                   "Remove one of the two.");
        } else if (entry.element->FirstChild("condition") == nullptr) {
            unconditional.emplace(key, &entry);
        }
    });
}

void unknownItem(const Product& product, const Report& report) {
    for (const TargetItem* item : product.targetItems.front().items) {
        const auto& known = branchNames();
        if (std::find(known.begin(), known.end(), toString(item->name)) == known.end()) {
            report(
                atTarget(product, *item->element, "name"),
                "nothing looks for an item " + quotedText(item->name) + " here",
                "The engine passes it over with all its paths.",
                adviseNearest(item->name, known,
                              "Write VorlaneFX, Hosts or Content; items of hosts belong inside Hosts, items "
                              "of the tree's directories inside the item of their branch."));
        }
    }
}

void hostsPath(const Product& product, const Report& report) {
    const TargetItem* hosts = product.topItem(Branch::hosts);
    if (hosts == nullptr || hosts->item->paths.empty()) {
        return;
    }
    const TiXmlElement* path = hosts->element->FirstChildElement("path");
    report(product.targetsFile.at(*path), "a <path> directly inside the item Hosts",
           "Nothing is copied there: the engine looks only at the items inside Hosts, one for each host.",
           "Move it into an <item> with the host's name.");
}

void noRecord(const Product& product, const Report& report) {
    const TargetItem* shared = product.topItem(Branch::shared);
    if (shared == nullptr) {
        report(product.targetsFile.at(*product.targetItems.front().element), "no item VorlaneFX",
               withoutRecord, "Write <item name=\"VorlaneFX\"> with the folder that all products share.");
    } else if (shared->item->paths.empty()) {
        report(atTarget(product, *shared->element, "name"), "the item VorlaneFX has no path", withoutRecord,
               "Write a <path> with the folder that all products share.");
    }
}

void recordMoves(const Product& product, const Report& report) {
    const TargetItem* shared = product.topItem(Branch::shared);
    if (shared == nullptr || shared->item->paths.empty()) {
        return;
    }
    const auto& first = shared->item->paths.front();
    const TiXmlElement* element = shared->element->FirstChildElement("path");
    while (attributeOf(*element, "value").IsEmpty()) {
        element = element->NextSiblingElement("path");
    }
    std::string reason;
    if (element->FirstChildElement("condition") != nullptr) {
        reason = "depends on a condition";
    }
    for (const Placeholder& placeholder : placeholdersIn(first.path, false)) {
        reason = "depends on " + quotedText(placeholder.text);
    }
    if (!reason.empty()) {
        report(
            product.targetsFile.at(*element), "the first path of VorlaneFX " + reason,
            "The record is kept in the first folder that applies. When that is another one in a later run, "
            "the engine starts a new record there, and files that products share are counted from nothing.",
            "Begin the item with a fixed path without condition, the same one in every product.");
    }
}

} // namespace

const std::vector<Rule>& targetsRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"item-without-name", Severity::Error, Needs::Targets, "an item without name", itemWithoutName},
        {"path-without-value", Severity::Error, Needs::Targets, "a path without value", pathWithoutValue},
        {"condition-without-value", Severity::Error, Needs::Targets, "a condition that tests nothing",
         conditionWithoutValue},
        {"unknown-condition-type", Severity::Error, Needs::Targets, "a condition of no known type",
         unknownConditionType},
        {"no-operands", Severity::Error, Needs::Targets, "And or Or without conditions inside", noOperands},
        {"operands-ignored", Severity::Error, Needs::Targets, "conditions inside one that is not And or Or",
         operandsIgnored},
        {"value-ignored", Severity::Warning, Needs::Targets, "And or Or with a value", valueIgnored},
        {"operand-name", Severity::Warning, Needs::Targets,
         "an element of another name taken for a condition", operandName},
        {"family-in-condition", Severity::Error, Needs::Targets, "%FAMILY% in a condition",
         familyInCondition},
        {"registry-test-without-placeholder", Severity::Error, Needs::Targets,
         "a registry test of text that is never empty", registryTestWithoutPlaceholder},
        {"bundle-as-file", Severity::Error, Needs::Targets, "a file test of a folder", bundleAsFile},
        {"unknown-placeholder", Severity::Error, Needs::Targets, "a placeholder that nothing fills in",
         unknownPlaceholder},
        {"registry-placeholder", Severity::Error, Needs::Targets,
         "a registry placeholder without \"::\", key or value", registryPlaceholder},
        {"lone-percent", Severity::Warning, Needs::Targets, "a percent sign that opens no placeholder",
         lonePercent},
        {"relative-path", Severity::Error, Needs::Targets, "a path that does not begin with \"/\"",
         relativePath},
        {"shell-character-in-path", Severity::Error, Needs::Targets,
         "a target folder with a character that the shell interprets", shellCharacterInPath},
        {"control-character-in-path", Severity::Error, Needs::Targets,
         "a path with a line break or another control character", controlCharacterInPath},
        {"target-in-application", Severity::Warning, Needs::Targets,
         "a target folder inside another maker's application", targetInApplication},
        {"target-not-writable", Severity::Warning, Needs::Targets,
         "a target folder on the volume of the system", targetNotWritable},
        {"duplicate-item", Severity::Error, Needs::Targets, "items that replace each other", duplicateItem},
        {"item-case-conflict", Severity::Warning, Needs::Targets, "items that differ only in case",
         itemCaseConflict},
        {"duplicate-path", Severity::Warning, Needs::Targets, "a folder that is named twice", duplicatePath},
        {"unknown-item", Severity::Warning, Needs::Targets, "a top item that nothing looks for", unknownItem},
        {"hosts-path", Severity::Error, Needs::Targets, "a path of Hosts itself", hostsPath},
        {"no-record", Severity::Error, Needs::Targets, "no VorlaneFX target, so that no record is kept",
         noRecord},
        {"record-moves", Severity::Warning, Needs::Targets, "a record that may be looked for elsewhere",
         recordMoves},
    };
    return rules;
}
