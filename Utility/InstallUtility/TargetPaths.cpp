#include "Foundation/FileLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/Pattern.h"
#include "Utility/InstallUtility/XMLDocument.h"

#include <tinyxml.h>

#include <algorithm>
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
    // Intended: after the first operand, every element is an operand, whatever its name is.
    for (TiXmlNode* operand = node->FirstChild("condition"); operand != nullptr;
         operand = operand->NextSibling()) {
        if (operand->ToElement() != nullptr) {
            conditions.emplace_back();
            conditions.back().parse(operand);
        }
    }
}

Condition::ConditionType InstallUtility::InstallItem::ItemPath::Condition::fromString(const VLString& text) {
    for (std::int32_t number = None + 1;; ++number) {
        const auto type = static_cast<ConditionType>(number);
        const VLString name(nameOf(type));
        if (name.IsEmpty()) {
            return None;
        }
        if (text.EqualsIgnoreCase(name)) {
            return type;
        }
    }
}

const char* InstallUtility::InstallItem::ItemPath::Condition::nameOf(ConditionType type) {
    // There is no default, so that a type without a name does not compile.
    switch (type) {
    case None:
        break;
    case PathExist:
        return "PathExist";
    case PathNotExist:
        return "PathNotExist";
    case FileExist:
        return "FileExist";
    case FileNotExist:
        return "FileNotExist";
    case RegKeyExist:
        return "RegKeyExist";
    case RegKeyNotExist:
        return "RegKeyNotExist";
    case And:
        return "And";
    case Or:
        return "Or";
    }
    return "";
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
        // %FAMILY% is replaced in the path only, not in the condition.
        VLString pattern = candidate.path;
        if (!Pattern::fillFamily(pattern, family)) {
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
    // fillPattern reads the registry. An empty value counts as missing.
    case Condition::RegKeyExist:
        return fillPattern(condition.value).IsSet();
    case Condition::RegKeyNotExist:
        return fillPattern(condition.value).IsEmpty();
    case Condition::And:
        return std::all_of(operands.begin(), operands.end(), isConditionTrue);
    case Condition::Or:
        return std::any_of(operands.begin(), operands.end(), isConditionTrue);
    case Condition::None:
        break;
    }
    return true;
}
