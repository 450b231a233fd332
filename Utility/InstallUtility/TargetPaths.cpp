#include "Foundation/FileLibrary.h"
#include "Foundation/RegistryHelper.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/OncePerRun.h"
#include "Utility/InstallUtility/XMLDocument.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>
#include <utility>

namespace {

using ItemPath = InstallUtility::InstallItem::ItemPath;
using Condition = ItemPath::Condition;

ItemPath parsePath(TiXmlElement& element) {
    ItemPath path;
    path.path = XMLDocument::Attribute(element, "value");
    path.condition.parse(element.FirstChild("condition"));
    return path;
}

std::vector<ItemPath> parsePaths(TiXmlElement& item) {
    std::vector<ItemPath> paths;
    XMLDocument::ForEachChild(&item, "path", [&paths](TiXmlElement& element) {
        if (ItemPath path = parsePath(element); path.path.IsSet()) {
            paths.push_back(std::move(path));
        }
    });
    return paths;
}

bool isDirectory(const VLString& pattern) {
    const VLString path = InstallUtility::fillPattern(pattern);
    return path.IsSet() && FileLibrary::IsDirectoryExists(path);
}

bool isFile(const VLString& pattern) {
    const VLString path = InstallUtility::fillPattern(pattern);
    return path.IsSet() && FileLibrary::IsFileExists(path, false);
}

VLString withoutLastCharacter(const VLString& text) {
    return text.IsEmpty() ? text : text.Substr(0, text.Size() - 1);
}

// Placeholders. A value that brings its own placeholder back, directly or through others, would be filled in
// for ever; no pattern that is meant comes near these limits.

constexpr unsigned int mostExpansions = 256;
constexpr unsigned long longestExpansion = 1UL << 20;

enum class PlaceholderKind { Unknown, User, Registry, MalformedRegistry };

/// "%REGKEY:key name::value name%": the text behind the opening "%REGKEY:", wherever in the placeholder
/// "REGKEY:" stands. Intended.
VLString registryReference(const VLString& placeholder) {
    return placeholder.Substr(VLString("%REGKEY:").Size(), VLString::maxLen);
}

PlaceholderKind kindOf(const VLString& placeholder) {
    if (placeholder.EqualsIgnoreCase("%USER%")) {
        return PlaceholderKind::User;
    }
    if (!placeholder.HasOf(placeholder.IndexOf("REGKEY:", 0))) {
        return PlaceholderKind::Unknown;
    }
    const VLString reference = registryReference(placeholder);
    return reference.HasOf(reference.IndexOf("::", 0)) ? PlaceholderKind::Registry
                                                       : PlaceholderKind::MalformedRegistry;
}

// What comes from a user's preferences or environment ends up in commands that the superuser runs. Inside
// double quotes a shell acts on some characters; outside, on more.

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

bool hasControlOrAnyOf(const VLString& text, const char* characters) {
    const char* begin = text.ConstData();
    return std::any_of(begin, begin + text.Size(),
                       [&](char c) { return isControl(c) || std::strchr(characters, c) != nullptr; });
}

/// Tells that a value is not used. In a run that looks it up again and again it is told once.
void tellRefused(const VLString& what) {
    if (OncePerRun::isFirst(what)) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "%s holds a character that a shell would act on. It counts as empty.",
                            what.ConstData());
    }
}

VLString registryValue(const VLString& placeholder) {
    const VLString separator("::");
    const VLString reference = withoutLastCharacter(registryReference(placeholder));
    const unsigned long keyLength = reference.IndexOf(separator, 0);
    const VLString key = reference.Substr(0, keyLength);
    const VLString name = reference.Substr(keyLength + separator.Size(), VLString::maxLen);
    VLString value =
        RegistryHelper::GetRegistryKeyAtPath(key, name, InstallUtility::getUserPreferencesPath());
    if (hasControlOrAnyOf(value, "\"$`\\")) {
        tellRefused(VLString("The preference '") + key + "::" + name + "'");
        value.Clear();
    }
    return value;
}

/// Whether HOME can be given to "eval echo $HOME", which splits it, looks for files that match it, and runs
/// the result as a command once more.
bool isHomeSafe() {
    const char* home = std::getenv("HOME"); // NOLINT(concurrency-mt-unsafe): one thread
    if (home == nullptr || !hasControlOrAnyOf(home, ";&|<>()$`\\\"'*?[")) {
        return true;
    }
    tellRefused("The environment variable HOME");
    return false;
}

unsigned long countOf(const VLString& needle, const VLString& text) {
    unsigned long count = 0;
    for (unsigned long found = text.IndexOf(needle, 0); text.HasOf(found);
         found = text.IndexOf(needle, found + needle.Size())) {
        ++count;
    }
    return count;
}

/// Fills the value in wherever the placeholder stands in `text`. False, and nothing done, when `text` would
/// grow too long.
bool expand(VLString& text, const VLString& placeholder, const VLString& value) {
    const unsigned long count = countOf(placeholder, text);
    const unsigned long size = text.Size() - count * placeholder.Size() + count * value.Size();
    if (size > longestExpansion && size > text.Size()) {
        return false;
    }
    text = text.Replace(placeholder, value);
    return true;
}

VLString valueOf(const VLString& placeholder, PlaceholderKind kind) {
    return kind == PlaceholderKind::User ? InstallUtility::getUserName() : registryValue(placeholder);
}

void sayEndless(const VLString& pattern) {
    SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                        "The pattern '%s' does not come to an end", pattern.ConstData());
}

} // namespace

// The target-paths file

bool InstallUtility::parseTargetsPathXMLFile(const VLString& path) {
    if (!FileLibrary::IsFileExists(path, false)) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "Error! File with target not found\n");
    }
    TiXmlDocument document;
    XMLDocument::Load(path.ToUTF8(), document);
    TiXmlNode* root = document.FirstChild("root");
    if (root == nullptr) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "Can't find node <root> in target paths XML.");
        return false;
    }
    if (!parseXMLwithTargetPathsRecursively(root, installItems)) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "Failed to parse target paths.");
        return false;
    }
    return true;
}

bool InstallUtility::parseXMLwithTargetPathsRecursively(TiXmlNode* parent,
                                                        std::map<VLString, InstallItem>& items) {
    items.clear();
    XMLDocument::ForEachChild(parent, "item", [&items](TiXmlElement& element) {
        const VLString name = XMLDocument::Attribute(element, "name");
        if (name.IsEmpty()) {
            return;
        }
        InstallItem& item = items[name];
        item.paths = parsePaths(element);
        parseXMLwithTargetPathsRecursively(&element, item.items);
    });
    return true;
}

void InstallUtility::InstallItem::ItemPath::Condition::parse(TiXmlNode* node) {
    const TiXmlElement* element = node == nullptr ? nullptr : node->ToElement();
    if (element == nullptr) {
        return;
    }
    value = XMLDocument::Attribute(*element, "value");
    type = fromString(XMLDocument::Attribute(*element, "type"));
    // Intended: behind the first operand every element is one, whatever its name.
    for (TiXmlNode* operand = node->FirstChild("condition"); operand != nullptr;
         operand = operand->NextSibling()) {
        if (operand->ToElement() != nullptr) {
            conditions.emplace_back();
            conditions.back().parse(operand);
        }
    }
}

Condition::ConditionType InstallUtility::InstallItem::ItemPath::Condition::fromString(const VLString& text) {
    static constexpr std::pair<const char*, ConditionType> types[] = {
        {"PathExist", PathExist},
        {"PathNotExist", PathNotExist},
        {"FileExist", FileExist},
        {"FileNotExist", FileNotExist},
        {"RegKeyExist", RegKeyExist},
        {"RegKeyNotExist", RegKeyNotExist},
        {"And", And},
        {"Or", Or},
    };
    for (const auto& [name, type] : types) {
        if (text.EqualsIgnoreCase(name)) {
            return type;
        }
    }
    return None;
}

// Candidates and conditions

std::vector<VLString> InstallUtility::getTargetPaths(const std::vector<InstallItem::ItemPath>& candidates,
                                                     const VLString& family) {
    std::vector<VLString> paths;
    std::set<VLString> seen;
    for (const ItemPath& candidate : candidates) {
        if (!isConditionTrue(candidate.condition)) {
            continue;
        }
        // Only the path names the family; a condition keeps the placeholder.
        VLString pattern = candidate.path;
        if (!expand(pattern, "%FAMILY%", family)) {
            // No command could be given such a path.
            sayEndless(candidate.path);
            continue;
        }
        VLString path = fillPattern(pattern);
        if (path.IsSet() && seen.insert(path.ToLower()).second) {
            paths.push_back(std::move(path));
        }
    }
    return paths;
}

bool InstallUtility::isConditionTrue(const InstallItem::ItemPath::Condition& condition) {
    const auto& operands = condition.conditions;
    switch (condition.type) {
    case Condition::PathExist:
        return isDirectory(condition.value);
    case Condition::PathNotExist:
        return !isDirectory(condition.value);
    case Condition::FileExist:
        return isFile(condition.value);
    case Condition::FileNotExist:
        return !isFile(condition.value);
    // The registry is read through the placeholder in the value: one that is empty counts as absent.
    case Condition::RegKeyExist:
        return fillPattern(condition.value).IsSet();
    case Condition::RegKeyNotExist:
        return fillPattern(condition.value).IsEmpty();
    case Condition::And:
        return std::all_of(operands.begin(), operands.end(), isConditionTrue);
    case Condition::Or:
        return std::any_of(operands.begin(), operands.end(), isConditionTrue);
    default:
        return true;
    }
}

// Patterns and the user

VLString InstallUtility::fillPattern(const VLString& pattern) {
    VLString text = pattern;
    unsigned long position = 0;
    unsigned int expansions = 0;
    bool bMalformed = false;
    for (;;) {
        const unsigned long begin = text.IndexOf("%", position);
        const unsigned long end = text.HasOf(begin) ? text.IndexOf("%", begin + 1) : VLString::maxLen;
        if (!text.HasOf(end)) {
            break;
        }
        const VLString placeholder = text.Substr(begin, end + 1 - begin);
        const PlaceholderKind kind = kindOf(placeholder);
        if (kind == PlaceholderKind::Unknown || kind == PlaceholderKind::MalformedRegistry) {
            bMalformed = bMalformed || kind == PlaceholderKind::MalformedRegistry;
            position = end + 1;
            continue;
        }
        if (expansions++ == mostExpansions || !expand(text, placeholder, valueOf(placeholder, kind))) {
            sayEndless(pattern);
            break;
        }
    }
    if (bMalformed) {
        SimpleLog::printLog(SimpleLog::Error, __FILE__, __FUNCTION__, __LINE__,
                            "The pattern '%s' has a registry placeholder without \"::\"",
                            pattern.ConstData());
    }
    return text;
}

VLString InstallUtility::getUserName() {
    const VLString usersFolder("/Users/");
    VLString output;
    if (!isHomeSafe()) {
        return output;
    }
    exec("eval echo $HOME", output);
    if (output.Size() > usersFolder.Size() + 1) {
        output = output.Replace(usersFolder, VLString());
    }
    return withoutLastCharacter(output);
}

VLString InstallUtility::getUserHomePath() {
    VLString output;
    exec(VLString("eval echo '~") + getUserName() + "'", output);
    return withoutLastCharacter(output);
}

VLString InstallUtility::getUserPreferencesPath() {
    return getUserHomePath() + "/Library/Preferences";
}

bool InstallUtility::exec(const VLString& command, VLString& output) {
    VLString line = command;
    return ::exec(line, output);
}
