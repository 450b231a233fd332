// Mistakes of the product definition alone.
#include "Foundation/VLVersion.h"
#include "Utility/InstallInspector/Check/NameRules.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Documents/LookAlike.h"
#include "Utility/InstallInspector/Documents/Manifest.h"
#include "Utility/InstallInspector/Documents/Placeholders.h"
#include "Utility/InstallInspector/Report/NearestName.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <limits>
#include <set>

namespace {

using Entry = LocatedDocument::Entry;
using TreeNode = Product::TreeNode;

constexpr const char* flagNames[] = {"dontdelete", "ignoreinstallerrors", "allowdowngrade"};

Location at(const Product& product, const TiXmlElement& element, const char* attribute) {
    return product.definitionFile.at(element, attribute);
}

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

// Identity

void noId(const Product& product, const Report& report) {
    if (product.definition.skuInfo.ID.IsEmpty()) {
        report(atIdentity(product, "ID"), "the product has no ID",
               "The record takes it for the same product as any other without one, and no uninstaller is "
               "placed (\"Wrong/corrupted SKU XML\").",
               "Write <sku ID=\"...\"> with text that no other product has.");
    }
}

void noName(const Product& product, const Report& report) {
    if (product.definition.skuInfo.name.IsEmpty()) {
        report(atIdentity(product, "name"), "the product has no name",
               "No uninstaller is placed (\"Wrong/corrupted SKU XML\"), while the install reports success.",
               "Write <sku name=\"...\"> with the name that customers know.");
    }
}

void slashInProductName(const Product& product, const Report& report) {
    const VLString& name = product.definition.skuInfo.name;
    if (name.HasOf(name.IndexOf("/", 0))) {
        report(
            atIdentity(product, "name"), "a slash in the product's name " + quotedText(name),
            "The uninstaller is named after the product: it goes into a folder that does not exist, and is "
            "not placed.",
            "Write the name without \"/\".");
    }
}

void commonIdCase(const Product& product, const Report& report) {
    const VLString& ID = product.definition.skuInfo.ID;
    if (ID.EqualsIgnoreCase(SharedPackage::ID) && ID != SharedPackage::ID) {
        report(
            atIdentity(product, "ID"),
            "the ID " + quotedText(ID) + " is that of the shared package in another case",
            "It gets the Application Manager's link in place of an uninstaller, as the shared package does, "
            "but does not go with the last product.",
            "Write \"COMMON\" for the shared package, and something else for any other product.");
    }
}

void commonDefinitionMissing(const Product& product, const Report& report) {
    if (product.definition.skuInfo.ID != SharedPackage::ID) {
        return;
    }
    const TreeNode* shared = product.branch(Branch::shared);
    const TreeNode* folder = shared == nullptr ? nullptr : shared->child("SKU");
    const bool bWhole = (shared != nullptr && shared->node->isDirectory && shared->children.empty()) ||
                        (folder != nullptr && folder->children.empty());
    if (!bWhole && (folder == nullptr || folder->child("COMMON.xml") == nullptr)) {
        report(atIdentity(product, "ID"), "the shared package does not install VorlaneFX/SKU/COMMON.xml",
               "The uninstall of the last other product looks for this definition there, fails without it, "
               "and leaves the shared package installed.",
               "List this definition as the file COMMON.xml in the directory SKU of VorlaneFX.");
    }
}

bool isVersionText(const VLString& text) {
    const std::string bytes = toString(text);
    std::size_t dots = 0;
    char last = '.';
    for (const char c : bytes) {
        const bool bDigit = std::isdigit(static_cast<unsigned char>(c)) != 0;
        if (!bDigit && (c != '.' || last == '.')) {
            return false;
        }
        dots += c == '.' ? 1 : 0;
        last = c;
    }
    return dots <= 3 && last != '.';
}

void buildNotComparable(const Product& product, const Report& report) {
    const VLString& build = product.definition.skuInfo.build;
    if (VLVersion(build).build != 0) {
        return;
    }
    report(
        atIdentity(product, "build"),
        build.IsEmpty() ? "the product has no build"
                        : "the build " + quotedText(build) + " has no fourth number",
        "Builds are compared by their fourth number alone, so that all versions of this product count as "
        "equal: an older one replaces a newer one, and files that another product brought with a fourth "
        "number are never replaced.",
        "Write four numbers, such as build=\"1.0.0.100\", and raise the fourth with every build (the third "
        "stands for it when it is above 100000 and there is no fourth).");
}

void buildNotReadWhole(const Product& product, const Report& report) {
    const VLString& build = product.definition.skuInfo.build;
    if (build.IsSet() && !isVersionText(build)) {
        report(atIdentity(product, "build"),
               "the build " + quotedText(build) + " is not up to four numbers with dots",
               "The engine reads numbers up to the first thing that does not fit and takes the others for 0.",
               "Write four numbers, such as build=\"1.0.0.100\".");
    }
}

/// Reads the number like the engine's sscanf, whose result for a number that is too large is undefined.
void buildOutOfRange(const Product& product, const Report& report) {
    const std::string build = toString(product.definition.skuInfo.build);
    for (const VLString& part : StringLibrary::Split(toVLString(build), ".", true)) {
        const std::string digits = toString(part).substr(0, toString(part).find_first_not_of("0123456789"));
        const std::size_t first = std::min(digits.find_first_not_of('0'), digits.size());
        const std::string number = digits.substr(first);
        const std::string largest = std::to_string(std::numeric_limits<std::int32_t>::max());
        if (number.size() > largest.size() || (number.size() == largest.size() && number > largest)) {
            report(atIdentity(product, "build"),
                   quotedText(toVLString(number)) + " in the build is above " + largest,
                   "The engine reads another number in its place, which may be below that of an older build: "
                   "files are not replaced, or older ones replace them.",
                   "Write numbers up to " + largest + ", such as a date as 20260131.");
            return;
        }
    }
}

// Families and hosts

/// The consequence of a family, host and so on without a name.
void missingAttribute(const Product& product, const Report& report) {
    const auto check = [&](const Entry& entry, const char* attribute, const char* consequence) {
        const bool bEmptyCounts = entry.kind == Kind::Directory || entry.kind == Kind::File;
        const TiXmlAttribute* found = findAttribute(*entry.element, attribute);
        if (found != nullptr && (found->ValueStr()[0] != '\0')) {
            return;
        }
        const std::string element = "<" + nameOf(entry.kind) + ">";
        report(at(product, *entry.element, attribute),
               element + (found == nullptr ? " without " : " with an empty ") + attribute,
               found == nullptr || bEmptyCounts ? consequence
                                                : "The engine takes it for one whose name has no characters.",
               std::string("Write ") + attribute + "=\"...\".");
    };
    for (const Entry& entry : product.definitionFile.entries()) {
        switch (entry.kind) {
        case Kind::Family:
        case Kind::Plugin:
        case Kind::Content:
        case Kind::Host:
            check(entry, "name", "The engine passes it over with everything in it.");
            break;
        case Kind::FeaturesMask:
        case Kind::ContentMask:
            check(entry, "name", "The family has no such mask.");
            break;
        case Kind::Directory:
        case Kind::File:
            check(entry, "fileName",
                  "The engine passes it over with everything in it: nothing of it is installed.");
            break;
        default:
            break;
        }
    }
}

void familyWithoutPlugins(const Product& product, const Report& report) {
    std::set<VLString> inTree;
    if (const TreeNode* hosts = product.branch(Branch::hosts)) {
        for (const TreeNode* host : hosts->children) {
            for (const TreeNode* family : host->children) {
                inTree.insert(family->node->name);
            }
        }
    }
    product.definitionFile.forEach({Kind::Family}, [&](const Entry& entry) {
        const VLString name = attributeOf(*entry.element, "name");
        if (name.IsSet() && product.definition.pluginsByFamily.count(name) == 0 && inTree.count(name) == 0) {
            report(
                at(product, *entry.element, "name"), "the family " + quotedText(name) + " lists no plug-in",
                "It is not one of the product's families, and its folders in the tree would be passed over.",
                "Write <plugins><plugin name=\"...\"/></plugins> inside it.");
        }
    });
}

void unknownFamily(const Product& product, const Report& report) {
    const TreeNode* hosts = product.branch(Branch::hosts);
    if (hosts == nullptr) {
        return;
    }
    const auto& known = product.definition.pluginsByFamily;
    std::vector<std::string> names;
    for (const auto& [name, plugins] : known) {
        names.push_back(toString(name));
    }
    std::set<VLString> withoutPlugins;
    product.definitionFile.forEach({Kind::Family}, [&](const Entry& entry) {
        withoutPlugins.insert(attributeOf(*entry.element, "name"));
    });
    for (const TreeNode* host : hosts->children) {
        for (const TreeNode* family : host->children) {
            const VLString& name = family->node->name;
            if (!family->node->isDirectory || known.count(name) != 0) {
                continue;
            }
            const bool bListed = withoutPlugins.count(name) != 0;
            report(at(product, *family->element, "fileName"),
                   "the definition lists the family " + quotedText(name) +
                       (bListed ? " without a plug-in" : " nowhere"),
                   "Its files for the host " + quotedText(host->node->name) +
                       " are not installed; the log has a warning.",
                   bListed ? "Write <plugins><plugin name=\"...\"/></plugins> inside the <family>."
                           : adviseNearest(name, names, "List it in <families>, with a plug-in."));
        }
    }
}

/// `list` with ";" in place of other separators, if all its parts are then known names. Otherwise empty.
std::string withSemicolons(const VLString& list, const std::vector<std::string>& known) {
    for (const char* separator : {";", ",", "/", "|", "+", " "}) {
        std::string joinedParts;
        bool bKnown = true;
        for (const VLString& part : StringLibrary::Split(list, separator, true)) {
            const std::string text = toString(part);
            const std::size_t begin = text.find_first_not_of(" \t");
            const std::string name = begin == std::string::npos
                                         ? ""
                                         : text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
            bKnown = bKnown && std::find(known.begin(), known.end(), name) != known.end();
            joinedParts += (joinedParts.empty() ? "" : ";") + name;
        }
        if (bKnown && !joinedParts.empty()) {
            return joinedParts;
        }
    }
    return "";
}

std::string adviseList(const char* attribute, const VLString& list, const std::vector<std::string>& known,
                       const std::string& otherwise) {
    const std::string mended = withSemicolons(list, known);
    return mended.empty() ? otherwise : "Write " + attributeText(attribute, toVLString(mended)) + ".";
}

void hostFamilyUnknown(const Product& product, const Report& report) {
    const auto& known = product.definition.pluginsByFamily;
    std::vector<std::string> names;
    for (const auto& [name, plugins] : known) {
        names.push_back(toString(name));
    }
    product.definitionFile.forEach({Kind::Host}, [&](const Entry& entry) {
        const VLString list = attributeOf(*entry.element, "families");
        for (const VLString& family : StringLibrary::Split(list, ";", true)) {
            if (known.count(family) == 0) {
                report(
                    at(product, *entry.element, "families"),
                    "the host serves a family " + quotedText(family) + " that the product does not have",
                    "Nothing of that name is found when it is asked which families the host has; names are "
                    "parted by \";\" alone, and blanks around it count as part of a name.",
                    adviseList(
                        "families", list, names,
                        adviseNearest(family, names, "List the family in <families>, with a plug-in.")));
            }
        }
    });
}

/// The engine installs for any name. So only a name that is similar to a known one is likely to be a mistake.
void unknownHost(const Product& product, const Report& report) {
    std::vector<std::string> known = hostNames();
    for (const VLString& host : product.ownHosts) {
        known.push_back(toString(host));
    }
    std::set<VLString> reported;
    const auto check = [&](const Location& where, const VLString& name) {
        const std::string advice = product.knowsHost(name) ? "" : adviseNearest(name, known, "");
        if (!advice.empty() && reported.insert(name).second) {
            report(where, "unknown host " + quotedText(name),
                   "The engine knows no application of this name: what it says to the customer calls it just "
                   "that, and target items of another name do not match it.",
                   advice + " If it is another host, name it with --host.");
        }
    };
    product.definitionFile.forEach({Kind::Host}, [&](const Entry& entry) {
        check(at(product, *entry.element, "name"), attributeOf(*entry.element, "name"));
    });
    if (const TreeNode* hosts = product.branch(Branch::hosts)) {
        for (const TreeNode* host : hosts->children) {
            if (host->node->isDirectory) {
                check(at(product, *host->element, "fileName"), host->node->name);
            }
        }
    }
    if (const Product::TargetItem* hosts = product.topItem(Branch::hosts)) {
        for (const Product::TargetItem* host : hosts->items) {
            check(product.targetsFile.at(*host->element, "name"), host->name);
        }
    }
}

void archValue(const Product& product, const Report& report) {
    product.definitionFile.forEach({Kind::Host, Kind::Directory, Kind::File}, [&](const Entry& entry) {
        const VLString list = attributeOf(*entry.element, "arch");
        for (const VLString& part : StringLibrary::Split(list, ";", true)) {
            if (!part.EqualsIgnoreCase("x86") && !part.EqualsIgnoreCase("x64")) {
                report(
                    at(product, *entry.element, "arch"), "unknown processor " + quotedText(part) + " in arch",
                    entry.kind == Kind::Host ? "The host has no variant for it; one with no other processor "
                                               "has no variant at all."
                                             : "It counts as 64-bit.",
                    adviseList("arch", list, {"x86", "x64"}, "Write \"x86\", \"x64\" or \"x86;x64\"."));
            }
        }
    });
}

void compilerOptionsLost(const Product& product, const Report& report) {
    if (product.definitionFile.find(Kind::HostsForBuild) == nullptr) {
        return;
    }
    const auto hasOptions = [](const Entry& entry) {
        return findAttribute(*entry.element, "compilerOptions") != nullptr;
    };
    std::set<VLString> replaced;
    product.definitionFile.forEach({Kind::Host}, [&](const Entry& entry) {
        if (entry.parent->kind == Kind::HostsForBuild && hasOptions(entry)) {
            replaced.insert(attributeOf(*entry.element, "name"));
        }
    });
    product.definitionFile.forEach({Kind::Host}, [&](const Entry& entry) {
        const VLString name = attributeOf(*entry.element, "name");
        if (entry.parent->kind == Kind::Hosts && hasOptions(entry) && replaced.count(name) == 0) {
            report(at(product, *entry.element, "compilerOptions"),
                   "compilerOptions of " + quotedText(name) + " in <hosts>, beside a <hostsForBuild>",
                   "Those of <hostsForBuild> replace all of <hosts>: the host has no options.",
                   "Write them in <hostsForBuild>.");
        }
    });
}

void featuresMask(const Product& product, const Report& report) {
    constexpr unsigned long chunkDigits = 8;
    product.definitionFile.forEach({Kind::FeaturesMask}, [&](const Entry& entry) {
        const VLString mask = attributeOf(*entry.element, "name");
        bool bBad = false;
        for (unsigned long end = mask.Size(); end > 0; end -= std::min(end, chunkDigits)) {
            const unsigned long begin = end - std::min(end, chunkDigits);
            VLBitSet bits;
            bBad = bBad || !bits.fromString(mask.Substr(begin, end - begin));
        }
        if (bBad) {
            report(at(product, *entry.element, "name"),
                   "the mask " + quotedText(mask) + " is not hexadecimal",
                   "The eight digits around the fault are dropped, and all bits above them move down by 32.",
                   "Write hexadecimal digits only.");
        }
    });
}

// Names

/// The names that become part of paths, as the engine uses them.
template <class Visitor>
void forEachPathName(const Product& product, Visitor visit) {
    for (const Entry& entry : product.definitionFile.entries()) {
        const bool bNode = entry.kind == Kind::Directory || entry.kind == Kind::File;
        if (bNode) {
            visit(entry, "fileName", attributeOf(*entry.element, "fileName"));
        } else if (entry.kind == Kind::ShortCut || entry.kind == Kind::Family) {
            visit(entry, "name", attributeOf(*entry.element, "name"));
        }
    }
}

void shellCharacter(const Product& product, const Report& report) {
    forEachPathName(product, [&](const Entry& entry, const char* attribute, const VLString& name) {
        if (const auto fault = shellCharacterIn(name)) {
            report(at(product, *entry.element, attribute), fault->message, fault->consequence, fault->advice);
        }
    });
}

void controlCharacter(const Product& product, const Report& report) {
    forEachPathName(product, [&](const Entry& entry, const char* attribute, const VLString& name) {
        if (const auto fault = controlCharacterIn(name)) {
            report(at(product, *entry.element, attribute), fault->message, fault->consequence, fault->advice);
        }
    });
    if (const auto fault = controlCharacterIn(product.definition.skuInfo.name)) {
        report(atIdentity(product, "name"), fault->message,
               "The uninstaller is named after the product and shows it garbled.",
               "Write the name without it.");
    }
}

void nameIsPath(const Product& product, const Report& report) {
    forEachPathName(product, [&](const Entry& entry, const char* attribute, const VLString& name) {
        const bool bDots = name == "." || name == "..";
        if (bDots || name.HasOf(name.IndexOf("/", 0))) {
            const bool bNode = entry.kind == Kind::Directory || entry.kind == Kind::File;
            report(at(product, *entry.element, attribute), quotedText(name) + " is a path, not a name",
                   bNode ? "The copy goes into a folder that nothing creates, and the record, which splits "
                           "paths at \"/\", counts folders that no <directory> lists."
                         : "What is made of it goes into a folder that nothing creates.",
                   bNode ? "Write a <directory> for each folder of the path."
                         : "Write a name without \"/\".");
        }
    });
}

void nameTooLong(const Product& product, const Report& report) {
    constexpr unsigned long longest = 255;
    forEachPathName(product, [&](const Entry& entry, const char* attribute, const VLString& name) {
        if (name.Size() > longest) {
            report(at(product, *entry.element, attribute),
                   "a name of " + std::to_string(name.Size()) + " bytes",
                   "File systems take up to 255: the copy fails on the customer's machine.",
                   "Write a shorter name, on disk too.");
        }
    });
}

bool hasKnownPlaceholder(const VLString& name) {
    const auto placeholders = placeholdersIn(name, false);
    return name.HasOf(name.IndexOfIgnoreCase("%FAMILY%", 0)) ||
           std::any_of(placeholders.begin(), placeholders.end(), [](const Pattern::Placeholder& placeholder) {
               return placeholder.kind != Pattern::Placeholder::Kind::Unknown;
           });
}

void placeholderInName(const Product& product, const Report& report) {
    const auto check = [&](const Location& where, const VLString& name) {
        if (hasKnownPlaceholder(name)) {
            report(where, "a placeholder in the name " + quotedText(name),
                   "Placeholders are filled in in target paths only: this is the name as it stands, with "
                   "percent "
                   "signs, in the source and on the customer's disk.",
                   "Write the name itself, or put what differs into the target path.");
        }
    };
    forEachPathName(product, [&](const Entry& entry, const char* attribute, const VLString& name) {
        check(at(product, *entry.element, attribute), name);
    });
    check(atIdentity(product, "name"), product.definition.skuInfo.name);
}

void colonInName(const Product& product, const Report& report) {
    const auto check = [&](const Location& where, const VLString& name, const std::string& what) {
        if (name.HasOf(name.IndexOf(":", 0))) {
            report(where, "a colon in " + what + " " + quotedText(name),
                   "The Finder shows a colon in a file's name as \"/\", and lets nobody type one.",
                   "Write the name without \":\".");
        }
    };
    check(atIdentity(product, "name"), product.definition.skuInfo.name,
          "the product's name, after which the uninstaller is named,");
    forEachPathName(product, [&](const Entry& entry, const char* attribute, const VLString& name) {
        check(at(product, *entry.element, attribute), name, "the name");
    });
}

void duplicateName(const Product& product, const Report& report) {
    using Siblings = std::vector<const Entry*>;
    // By parent and name, in document order.
    std::map<std::pair<const Entry*, VLString>, Siblings> groups;
    product.definitionFile.forEach(
        {Kind::Directory, Kind::File, Kind::Family, Kind::Host}, [&](const Entry& entry) {
            const bool bNode = entry.kind == Kind::Directory || entry.kind == Kind::File;
            const VLString name = attributeOf(*entry.element, bNode ? "fileName" : "name");
            if (name.IsSet()) {
                groups[{entry.parent, name}].push_back(&entry);
            }
        });
    for (const auto& [key, siblings] : groups) {
        const Entry* winner = siblings.back();
        const Kind kind = winner->kind;
        if (kind == Kind::Family) {
            winner = siblings.front();
        } else if (kind == Kind::Directory || kind == Kind::File) {
            const auto lastFile = std::find_if(siblings.rbegin(), siblings.rend(),
                                               [](const Entry* entry) { return entry->kind == Kind::File; });
            winner = lastFile != siblings.rend() ? *lastFile : winner;
        }
        for (const Entry* entry : siblings) {
            if (entry == winner) {
                continue;
            }
            const bool bNode = kind == Kind::Directory || kind == Kind::File;
            report(
                at(product, *entry->element, bNode ? "fileName" : "name"),
                "the name " + quotedText(key.second) + " stands in " + lineOf(*winner->element) + " too",
                kind == Kind::Family ? "The plug-ins, contents and features of the first family of a name "
                                       "count and those here are lost; only its content mask replaces the "
                                       "first one's."
                : kind == Kind::Host ? "The later host's families and compiler options replace those here."
                : entry->kind == Kind::Directory && winner->kind == Kind::File
                    ? "A file replaces a directory of its name: nothing inside this directory is installed."
                    : "The later one replaces this one with everything in it.",
                "Merge the two, or give one another name.");
        }
    }
}

void caseConflict(const Product& product, const Report& report) {
    for (const TreeNode& parent : product.tree) {
        std::map<VLString, const TreeNode*> seen;
        for (const TreeNode* child : parent.children) {
            const auto [found, bNew] = seen.emplace(child->node->name.ToLower(), child);
            if (bNew) {
                continue;
            }
            const TreeNode* first = found->second;
            const TreeNode* second = child;
            if (comesBefore(*second->element, *first->element)) {
                std::swap(first, second);
            }
            report(
                at(product, *second->element, "fileName"),
                quotedText(second->node->name) + " and " + quotedText(first->node->name) + " of " +
                    lineOf(*first->element) + " differ only in case",
                "To most disks of customers they are one file, which each copy and each removal takes from "
                "the other, while the record counts two.",
                "Keep one spelling, or give one another name.");
        }
    }
}

void lookAlikeNames(const Product& product, const Report& report) {
    for (const TreeNode& parent : product.tree) {
        std::map<VLString, const TreeNode*> seen;
        for (const TreeNode* child : parent.children) {
            const auto [found, bNew] = seen.emplace(appearanceOf(child->node->name), child);
            if (bNew) {
                continue;
            }
            const bool bLater = comesBefore(*found->second->element, *child->element);
            const TreeNode* first = bLater ? found->second : child;
            const TreeNode* second = bLater ? child : found->second;
            report(at(product, *second->element, "fileName"),
                   quotedText(second->node->name) + " and that of " + lineOf(*first->element) +
                       " look the same and are two names: " +
                       hiddenDifference(second->node->name, first->node->name),
                   "Nobody can tell them apart, and to some disks they are one file, while the record counts "
                   "two.",
                   "Keep one spelling, or give one another name.");
        }
    }
}

// The tree

void flagValue(const Product& product, const Report& report) {
    product.definitionFile.forEach({Kind::Directory, Kind::File}, [&](const Entry& entry) {
        for (const char* flag : flagNames) {
            const TiXmlAttribute* attribute = findAttribute(*entry.element, flag);
            const VLString value(attribute == nullptr ? "0" : attribute->Value());
            if (attribute == nullptr || value == "0" || value == "1") {
                continue;
            }
            const std::string meant = flagMeantBy(value);
            report(
                product.definitionFile.at(*attribute),
                attributeText(flag, value) + " is neither \"0\" nor \"1\"",
                "It counts as if it were not there: the enclosing directory's value holds, \"0\" at the top.",
                meant.empty() ? std::string("Write ") + flag + "=\"1\" or \"0\"."
                              : std::string("Write ") + flag + "=" + quoted(meant) + ".");
        }
    });
}

void nothingToInstall(const Product& product, const Report& report) {
    if (!product.tree.empty() && !product.tree.front().children.empty()) {
        return;
    }
    const Entry* files = product.definitionFile.find(Kind::InstallFiles);
    const Entry* product_ = product.definitionFile.find(Kind::Product);
    report(
        product.definitionFile.at(*(files != nullptr ? files : product_)->element),
        files != nullptr ? "<installFiles> is empty" : "no <installFiles>",
        "The product installs nothing, and the install reports success.",
        "Write <installFiles> with the directories Hosts, VorlaneFX and Content, as far as there are any.");
}

bool isBranch(const VLString& name) {
    const auto& names = branchNames();
    return std::find(names.begin(), names.end(), toString(name)) != names.end();
}

void neverCopied(const Product& product, const Report& report) {
    const auto reportNode = [&](const TreeNode& node, const std::string& message, const std::string& advice) {
        report(at(product, *node.element, "fileName"), message,
               "It must be there in the source folder and counts in the record, but no install copies it.",
               advice);
    };
    if (product.tree.empty()) {
        return;
    }
    for (const TreeNode* child : product.tree.front().children) {
        const VLString& name = child->node->name;
        if (!isBranch(name)) {
            reportNode(*child, quotedText(name) + " stands directly inside <installFiles>",
                       adviseNearest(name, branchNames(), "Move it into Hosts, VorlaneFX or Content."));
        } else if (!child->node->isDirectory) {
            reportNode(*child, quotedText(name) + " is a file",
                       "Make it a <directory> that holds what is to be installed.");
        }
    }
    const TreeNode* hosts = product.branch(Branch::hosts);
    if (hosts == nullptr) {
        return;
    }
    for (const TreeNode* host : hosts->children) {
        if (!host->node->isDirectory) {
            reportNode(*host, "the file " + quotedText(host->node->name) + " stands directly inside Hosts",
                       "Move it into Hosts/HOST/FAMILY.");
        }
        for (const TreeNode* family : host->children) {
            if (!family->node->isDirectory) {
                reportNode(*family,
                           "the file " + quotedText(family->node->name) +
                               " stands directly inside the host " + quotedText(host->node->name),
                           "Move it into a directory named for its family.");
            }
        }
    }
}

void emptyHost(const Product& product, const Report& report) {
    const TreeNode* hosts = product.branch(Branch::hosts);
    if (hosts == nullptr || !hosts->node->isDirectory) {
        return;
    }
    const auto check = [&](const TreeNode& node, const char* what, const char* advice) {
        if (node.node->isDirectory && node.children.empty()) {
            report(at(product, *node.element, "fileName"), quotedText(node.treePath) + " lists no " + what,
                   "Only families, and what is below them, are copied whole: nothing of this is installed.",
                   advice);
        }
    };
    check(*hosts, "host", "List a directory for each host, and in it one for each family.");
    for (const TreeNode* host : hosts->children) {
        check(*host, "family", "List a directory for each family of the host.");
    }
}

void shortCutIncomplete(const Product& product, const Report& report) {
    product.definitionFile.forEach({Kind::ShortCut}, [&](const Entry& entry) {
        for (const char* attribute : {"name", "dir"}) {
            if (attributeOf(*entry.element, attribute).IsEmpty()) {
                report(at(product, *entry.element, attribute), std::string("a shortcut without ") + attribute,
                       "The shortcut is neither made nor recorded.",
                       std::string(attribute) == "dir" ? "Write dir=\"/Applications\"."
                                                       : "Write name=\"...\" with the shortcut's file name.");
            }
        }
    });
}

void shortCutDirIgnored(const Product& product, const Report& report) {
    product.definitionFile.forEach({Kind::ShortCut}, [&](const Entry& entry) {
        const VLString folder = attributeOf(*entry.element, "dir");
        if (folder.IsSet() && folder != "/Applications" && folder != "/Applications/") {
            report(at(product, *entry.element, "dir"), attributeText("dir", folder) + " is not used",
                   "A shortcut lies in /Applications whatever its dir says.", "Write dir=\"/Applications\".");
        }
    });
}

void duplicateShortCut(const Product& product, const Report& report) {
    std::vector<const TreeNode*> nodes;
    for (const TreeNode& node : product.tree) {
        if (node.node->IsShortCutInfoValid()) {
            nodes.push_back(&node);
        }
    }
    std::sort(nodes.begin(), nodes.end(),
              [](const TreeNode* a, const TreeNode* b) { return comesBefore(*a->element, *b->element); });
    std::map<VLString, const TreeNode*> seen;
    for (const TreeNode* node : nodes) {
        const VLString& name = node->node->shortCut.name;
        const auto [first, bNew] = seen.emplace(name.ToLower(), node);
        if (!bNew) {
            report(
                at(product, *node->element->FirstChildElement("shortCut"), "name"),
                "the file of " + lineOf(*first->second->element) + " has a shortcut " + quotedText(name) +
                    " too",
                "There is one shortcut, to whichever file is copied last, and it goes with the first of them "
                "that is removed.",
                "Give one of them another name.");
        }
    }
}

/// Whether an uninstall walks through the node: not through the root, Hosts and the folders of hosts.
bool isWalked(const TreeNode& node) {
    const TreeNode* top = &node;
    int depth = 0;
    for (; top->parent != nullptr && top->parent->parent != nullptr; top = top->parent) {
        ++depth;
    }
    return node.parent != nullptr && (depth > 1 || top->node->name != Branch::hosts);
}

/// Whether an uninstall leaves the node: for its own flag, or for that of a directory around it.
bool isKept(const TreeNode& node) {
    return isWalked(node) && (node.node->dontDelete || isKept(*node.parent));
}

void shortCutStays(const Product& product, const Report& report) {
    for (const TreeNode& node : product.tree) {
        if (node.node->IsShortCutInfoValid() && isKept(node)) {
            report(at(product, *node.element->FirstChildElement("shortCut"), "name"),
                   "a shortcut of a file that is \"dontdelete\"",
                   "An uninstall leaves the file, and with it the shortcut: the customer keeps it in "
                   "/Applications "
                   "for good.",
                   "Give the shortcut to a file that is removed, or take \"dontdelete\" off this one.");
        }
    }
}

void shortCutNameTaken(const Product& product, const Report& report) {
    product.definitionFile.forEach({Kind::ShortCut}, [&](const Entry& entry) {
        const VLString name = attributeOf(*entry.element, "name");
        for (const char* taken : {"Vorlane Uninstallers", "Vorlane Application Manager.app"}) {
            if (name.EqualsIgnoreCase(taken)) {
                report(
                    at(product, *entry.element, "name"),
                    "the shortcut has the name of " + quotedText(VLString("/Applications/") + taken) +
                        ", which the engine itself makes",
                    "The one takes the place of the other, or the link is made inside that folder, where no "
                    "uninstall looks for it.",
                    "Give the shortcut another name.");
            }
        }
    });
}

void dontDeleteUndone(const Product& product, const Report& report) {
    for (const TreeNode& node : product.tree) {
        const VLString value = attributeOf(*node.element, "dontdelete");
        if (node.parent != nullptr && value == "0" && isKept(*node.parent)) {
            report(at(product, *node.element, "dontdelete"),
                   "dontdelete=\"0\" inside a directory that is \"dontdelete\"",
                   "An uninstall leaves such a directory with everything below it, this too.",
                   "Take the flag off the directory, and give it to what is to stay.");
        }
    }
}

/// What is wrong with the size, digest or link of a file or of a part of one; empty when nothing is.
std::string manifestFaultOf(const TiXmlElement& element, bool bPart) {
    const auto isThere = [&](const char* name) { return findAttribute(element, name) != nullptr; };
    const auto value = [&](const char* name) { return toString(attributeOf(element, name)); };
    if (bPart && value("path").empty()) {
        return "a part without path";
    }
    if (bPart && isThere("link")) {
        return value("link").empty()                  ? "a link to nothing"
               : isThere("size") || isThere("sha256") ? "a link with the size or digest of a file"
                                                      : "";
    }
    if (!bPart && !isThere("size") && !isThere("sha256")) {
        return "";
    }
    if (!Manifest::isSize(value("size"))) {
        return "no size in bytes";
    }
    return Manifest::isDigest(value("sha256")) ? "" : "no SHA-256 of 64 small hexadecimal digits";
}

void manifestValue(const Product& product, const Report& report) {
    const auto reportAt = [&](const Entry& entry, const std::string& what) {
        report(product.definitionFile.at(*entry.element), "a manifest with " + what,
               "It is passed over, so that nobody sees when the file is another one.",
               "Let InstallInspector update --manifest write it.");
    };
    std::map<const Entry*, std::set<VLString>> paths;
    std::set<const Entry*> withEntries;
    product.definitionFile.forEach({Kind::Directory, Kind::File},
                                   [&](const Entry& entry) { withEntries.insert(entry.parent); });
    product.definitionFile.forEach({Kind::File, Kind::Part}, [&](const Entry& entry) {
        const bool bPart = entry.kind == Kind::Part;
        const std::string fault = manifestFaultOf(*entry.element, bPart);
        if (!fault.empty()) {
            reportAt(entry, fault);
        } else if (bPart && withEntries.count(entry.parent) != 0) {
            reportAt(entry, "a part of a directory that is not copied whole");
        } else if (bPart && Manifest::isSize(toString(attributeOf(*entry.parent->element, "size")))) {
            reportAt(entry, "a part of what has a size of its own");
        } else if (bPart && !paths[entry.parent].insert(attributeOf(*entry.element, "path")).second) {
            reportAt(entry, "a path that stands there twice");
        }
    });
}

void noSharedFolder(const Product& product, const Report& report) {
    // With a source folder, missing-in-source and the check below are more exact.
    const TreeNode* shared = product.branch(Branch::shared);
    if (shared != nullptr || product.tree.empty() || !product.source.empty()) {
        return;
    }
    report(
        product.definitionFile.at(*product.tree.front().element), "the tree has no VorlaneFX directory",
        "Every install opens the source folder's VorlaneFX all the same; where there is none, the customer "
        "is told that something blocks the installation.",
        "List <directory fileName=\"VorlaneFX\"> with what the product shares, and have the folder in the "
        "source.");
}

} // namespace

const std::vector<Rule>& definitionRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"no-id", Severity::Error, Needs::Definition, "the product has no ID", noId},
        {"no-name", Severity::Error, Needs::Definition, "the product has no name", noName},
        {"slash-in-product-name", Severity::Error, Needs::Definition, "a product name that is a path",
         slashInProductName},
        {"common-id-case", Severity::Error, Needs::Definition, "the shared package's ID in another case",
         commonIdCase},
        {"common-definition-missing", Severity::Error, Needs::Definition,
         "a shared package that does not install its own definition", commonDefinitionMissing},
        {"build-not-comparable", Severity::Error, Needs::Definition, "a build without a fourth number",
         buildNotComparable},
        {"build-not-read-whole", Severity::Warning, Needs::Definition,
         "a build that is more than four numbers", buildNotReadWhole},
        {"build-out-of-range", Severity::Error, Needs::Definition, "a build number beyond 32 bits",
         buildOutOfRange},
        {"missing-attribute", Severity::Error, Needs::Definition, "an element without its name",
         missingAttribute},
        {"family-without-plugins", Severity::Warning, Needs::Definition, "a family that lists no plug-in",
         familyWithoutPlugins},
        {"unknown-family", Severity::Error, Needs::Definition,
         "a family in the tree that the definition does not list, or lists without plug-ins", unknownFamily},
        {"host-family-unknown", Severity::Warning, Needs::Definition,
         "a host that serves a family which the product does not have", hostFamilyUnknown},
        {"unknown-host", Severity::Warning, Needs::Definition, "a host that the engine does not know",
         unknownHost},
        {"arch-value", Severity::Warning, Needs::Definition, "a processor other than x86 and x64", archValue},
        {"compiler-options-lost", Severity::Warning, Needs::Definition,
         "compiler options that those of hostsForBuild replace", compilerOptionsLost},
        {"features-mask", Severity::Warning, Needs::Definition, "a mask that is not hexadecimal",
         featuresMask},
        {"shell-character", Severity::Error, Needs::Definition,
         "a name with a character that the shell interprets", shellCharacter},
        {"control-character", Severity::Error, Needs::Definition,
         "a name with a line break or another control character", controlCharacter},
        {"name-is-path", Severity::Error, Needs::Definition, "a name with a slash, or of dots", nameIsPath},
        {"name-too-long", Severity::Error, Needs::Definition, "a name that no file system takes",
         nameTooLong},
        {"placeholder-in-name", Severity::Error, Needs::Definition,
         "a placeholder in a name, where nothing fills it in", placeholderInName},
        {"colon-in-name", Severity::Warning, Needs::Definition, "a colon, which users see as a slash",
         colonInName},
        {"duplicate-name", Severity::Error, Needs::Definition, "names that replace each other",
         duplicateName},
        {"case-conflict", Severity::Warning, Needs::Definition, "names that differ only in case",
         caseConflict},
        {"look-alike-names", Severity::Warning, Needs::Definition, "names that differ and look the same",
         lookAlikeNames},
        {"flag-value", Severity::Error, Needs::Definition, "a flag that is neither \"0\" nor \"1\"",
         flagValue},
        {"nothing-to-install", Severity::Error, Needs::Definition, "an empty tree", nothingToInstall},
        {"never-copied", Severity::Error, Needs::Definition, "a node of the tree that no install copies",
         neverCopied},
        {"empty-host", Severity::Warning, Needs::Definition, "a host, or Hosts, without anything in it",
         emptyHost},
        {"shortcut-incomplete", Severity::Error, Needs::Definition, "a shortcut without name or dir",
         shortCutIncomplete},
        {"shortcut-dir-ignored", Severity::Warning, Needs::Definition, "a shortcut's dir that is not used",
         shortCutDirIgnored},
        {"duplicate-shortcut", Severity::Warning, Needs::Definition, "two shortcuts of one name",
         duplicateShortCut},
        {"shortcut-stays", Severity::Error, Needs::Definition, "a shortcut that no uninstall removes",
         shortCutStays},
        {"shortcut-name-taken", Severity::Error, Needs::Definition,
         "a shortcut with the name of what the engine makes", shortCutNameTaken},
        {"dontdelete-undone", Severity::Warning, Needs::Definition,
         "a dontdelete that is to be taken back below a directory that has it", dontDeleteUndone},
        {"manifest-value", Severity::Warning, Needs::Definition, "a size or digest that is none",
         manifestValue},
        {"no-shared-folder", Severity::Warning, Needs::Definition, "a tree without VorlaneFX",
         noSharedFolder},
    };
    return rules;
}
