#include "Utility/InstallUtility/SKUDefinition.h"

#include "Utility/InstallUtility/XMLDocument.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>

using XMLDocument::FirstChild;
using XMLDocument::ForEachChild;

namespace {

/// Copies the attribute into `text`. Without the attribute, `text` keeps its value.
void copyAttribute(const TiXmlElement& element, const char* name, VLString& text) {
    if (const char* value = element.Attribute(name)) {
        text = VLString(value);
    }
}

bool hasName(const TiXmlElement& element) {
    return element.Attribute("name") != nullptr;
}

/// The names of the `item` elements below the first child `list` of `family`.
Vector<VLString> namesIn(TiXmlElement& family, const char* list, const char* item) {
    Vector<VLString> names;
    ForEachChild(FirstChild(family, list), item, [&](const TiXmlElement& element) {
        if (hasName(element)) {
            names.push_back(XMLDocument::Attribute(element, "name"));
        }
    });
    return names;
}

void insertUnlessEmpty(SKUDefinition::FamilyLists& lists, const VLString& family, Vector<VLString> names) {
    if (!names.empty()) {
        lists.emplace(family, std::move(names));
    }
}

void parseFamily(SKUDefinition& definition, TiXmlElement& element) {
    if (!hasName(element)) {
        return;
    }
    const VLString family = XMLDocument::Attribute(element, "name");
    insertUnlessEmpty(definition.pluginsByFamily, family, namesIn(element, "plugins", "plugin"));
    insertUnlessEmpty(definition.contentsByFamily, family, namesIn(element, "contents", "content"));

    if (const TiXmlElement* mask = FirstChild(element, "featuresmask"); mask != nullptr && hasName(*mask)) {
        VLBitSet bits;
        bits.fromString(XMLDocument::Attribute(*mask, "name"));
        definition.featuresMaskByFamily.emplace(family, std::move(bits));
    }
    // Intended: of several families with the same name, the last gives the content mask, the first the rest.
    if (const TiXmlElement* mask = FirstChild(element, "contentmask"); mask != nullptr && hasName(*mask)) {
        definition.contentMaskByFamily[family] = XMLDocument::Attribute(*mask, "name");
    }
}

Vector<VLString> splitList(const VLString& text) {
    return StringLibrary::Split(text, ";", true);
}

bool contains(const Vector<VLString>& names, const VLString& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// The names of the host's variants, in the order of `arch`. An unknown variant gives no name.
Vector<VLString> archQualifiedNames(const VLString& host, const VLString& arch) {
    // More variants are repetitions. With a long name, they could use up the memory.
    constexpr unsigned long mostNamesWithRepetitions = 8;
    const Vector<VLString> variants = splitList(arch);
    if (variants.empty()) {
        return {host};
    }
    Vector<VLString> names;
    const auto add = [&names](const VLString& name) {
        if (names.size() < mostNamesWithRepetitions || !contains(names, name)) {
            names.push_back(name);
        }
    };
    for (const VLString& variant : variants) {
        if (variant.EqualsIgnoreCase("x86")) {
            add(host + "32");
        } else if (variant.EqualsIgnoreCase("x64")) {
            add(host);
        }
    }
    return names;
}

/// The attributes of a folder or file, found in one pass. Null if missing.
struct NodeAttributes {
    explicit NodeAttributes(const TiXmlElement& element) {
        for (const TiXmlAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
             attribute = attribute->Next()) {
            take(attribute->NameTStr(), attribute->Value());
        }
    }

    const char* fileName = nullptr;
    const char* arch = nullptr;
    const char* configuration = nullptr;
    const char* dontDelete = nullptr;
    const char* ignoreInstallErrors = nullptr;
    const char* allowDowngrade = nullptr;

private:
    void take(const std::string& name, const char* value) {
        if (name == "fileName") {
            fileName = value;
        } else if (name == "arch") {
            arch = value;
        } else if (name == "configuration") {
            configuration = value;
        } else if (name == "dontdelete") {
            dontDelete = value;
        } else if (name == "ignoreinstallerrors") {
            ignoreInstallErrors = value;
        } else if (name == "allowdowngrade") {
            allowDowngrade = value;
        }
    }
};

/// Takes the attributes that folders and files have in common into a new child of `parent`. It replaces a
/// child of that name with everything below it. Null if they contain no name.
FileNode* addNode(const NodeAttributes& attributes, FileNode& parent, const VLString& parentName) {
    VLString name(attributes.fileName);
    if (name.IsEmpty()) {
        return nullptr;
    }
    // Names of one length mostly come in their order, and then the end is the right place.
    FileNode& node = parent.children.try_emplace(parent.children.end(), name)->second;
    if (node.name.IsSet()) {
        node = FileNode();
    }
    node.name = std::move(name);
    // Each child stores a copy. With a long name, they could use up the memory.
    if (parentName.Size() <= FileNode::longestParentName) {
        node.parentName = parentName;
    }
    node.arch = VLString(attributes.arch).EqualsIgnoreCase("x86") ? 1 : 0;
    node.dontDelete = getBoolFlagFromString(attributes.dontDelete, parent.dontDelete);
    node.ignoreInstallErrors =
        getBoolFlagFromString(attributes.ignoreInstallErrors, parent.ignoreInstallErrors);
    node.allowDowngrade = getBoolFlagFromString(attributes.allowDowngrade, parent.allowDowngrade);
    return &node;
}

void readFile(TiXmlElement& element, FileNode& parent, const VLString& parentName) {
    const NodeAttributes attributes(element);
    FileNode* file = addNode(attributes, parent, parentName);
    if (file == nullptr) {
        return;
    }
    file->configuration = attributes.configuration;
    if (const TiXmlElement* shortCut = FirstChild(element, "shortCut")) {
        file->shortCut.name = XMLDocument::Attribute(*shortCut, "name");
        file->shortCut.dir = XMLDocument::Attribute(*shortCut, "dir");
    }
}

} // namespace

bool getBoolFlagFromString(const VLString& text, bool defaultValue) {
    // Fast path: every node reads three flags, and most of them are missing.
    const char flag = text.Size() == 1 ? text[0] : '\0';
    return flag == '1' || (flag != '0' && defaultValue);
}

// VLBitSet

bool VLBitSet::fromString(const VLString& hexadecimal) {
    constexpr unsigned long chunkDigits = 8;
    constexpr unsigned int chunkBits = 32;
    bits.clear();
    std::istringstream stream;
    stream >> std::hex;
    for (unsigned long end = hexadecimal.Size(); end > 0;) {
        const unsigned long begin = end - std::min(end, chunkDigits);
        stream.clear();
        stream.str(std::string(hexadecimal.Data() + begin, end - begin));
        // Everything that a stream reads as a number counts, also with leading blanks, a sign or "0x".
        std::uint32_t chunk = 0;
        if (stream >> chunk && stream.peek() == std::istringstream::traits_type::eof()) {
            for (unsigned int bit = 0; bit < chunkBits; ++bit) {
                bits.push_back((chunk >> bit & 1U) != 0);
            }
        }
        end = begin;
    }
    return !bits.empty();
}

// SKUDefinition

void SKUDefinition::fromFile(const VLString& path) {
    TiXmlDocument document;
    XMLDocument::Load(path, document);
    parseInner(document);
}

void SKUDefinition::parse(const VLString& xml) {
    TiXmlDocument document;
    XMLDocument::Parse(xml.ToUTF8(), document);
    parseInner(document);
}

void SKUDefinition::parseInner(TiXmlDocument& document) {
    clear();
    TiXmlElement* product = FirstChild(document, "product");
    if (product == nullptr) {
        return;
    }
    if (const TiXmlElement* sku = FirstChild(*product, "sku")) {
        copyAttribute(*sku, "ID", skuInfo.ID);
        copyAttribute(*sku, "name", skuInfo.name);
        copyAttribute(*sku, "build", skuInfo.build);
        copyAttribute(*sku, "prefix", skuInfo.prefix);
    }
    ForEachChild(FirstChild(*product, "families"), "family",
                 [this](TiXmlElement& family) { parseFamily(*this, family); });
    fillHostsInfo(FirstChild(*product, "hosts"), hostNames, hostArchNames, hostFamilies, hostCompilerOptions);
    if (TiXmlElement* hostsForBuild = FirstChild(*product, "hostsForBuild")) {
        // Intended: both kinds of hosts share the compiler options, so those of `hosts` are lost here.
        fillHostsInfo(hostsForBuild, buildHostNames, buildHostArchNames, buildHostFamilies,
                      hostCompilerOptions);
    } else {
        buildHostNames = hostNames;
        buildHostArchNames = hostArchNames;
        buildHostFamilies = hostFamilies;
    }
    if (TiXmlNode* files = product->FirstChild("installFiles")) {
        installFiles.name.Clear();
        installFiles.isDirectory = true;
        parseInstallFiles(installFiles, files, VLString());
    }
}

void SKUDefinition::clear() {
    skuInfo.ID.Clear();
    skuInfo.name.Clear();
    skuInfo.build.Clear();
    hostNames.clear();
    hostArchNames.clear();
    buildHostNames.clear();
    buildHostArchNames.clear();
    pluginsByFamily.clear();
    contentsByFamily.clear();
    installFiles.name.Clear();
    installFiles.children.clear();
    installFiles.arch = 0;
}

bool SKUDefinition::familyHasHost(const VLString& family, const VLString& host) const {
    return _familyHasHost(family, host, hostFamilies, hostArchNames);
}

bool SKUDefinition::familyHasHostBuild(const VLString& family, const VLString& host) const {
    return _familyHasHost(family, host, buildHostFamilies, buildHostArchNames);
}

bool SKUDefinition::_familyHasHost(const VLString& family, const VLString& host, const FamilyLists& families,
                                   const Vector<VLString>& archNames) const {
    if (pluginsByFamily.count(family) == 0) {
        return false;
    }
    const auto found = families.find(host);
    if (found != families.end() && !found->second.empty()) {
        return contains(found->second, family);
    }
    return contains(archNames, host);
}

void SKUDefinition::fillHostsInfo(TiXmlElement* hosts, Vector<VLString>& names, Vector<VLString>& archNames,
                                  FamilyLists& families, std::map<VLString, VLString>& compilerOptions) {
    if (hosts == nullptr) {
        return;
    }
    compilerOptions.clear();
    ForEachChild(hosts, "host", [&](const TiXmlElement& host) {
        if (!hasName(host)) {
            return;
        }
        const VLString name = XMLDocument::Attribute(host, "name");
        const VLString options = XMLDocument::Attribute(host, "compilerOptions");
        const Vector<VLString> hostFamilyNames = splitList(XMLDocument::Attribute(host, "families"));
        names.push_back(name);
        for (const VLString& archName : archQualifiedNames(name, XMLDocument::Attribute(host, "arch"))) {
            archNames.push_back(archName);
            if (options.IsSet()) {
                compilerOptions[archName] = options;
            }
            if (!hostFamilyNames.empty()) {
                families[archName] = hostFamilyNames;
            }
        }
    });
}

void SKUDefinition::parseInstallFiles(FileNode& parent, TiXmlNode* element, const VLString& parentName) {
    // The elements are removed while the tree grows, so that both are never complete in memory.
    ForEachChild(element, "directory", [&](TiXmlElement& child) {
        if (FileNode* directory = addNode(NodeAttributes(child), parent, parentName)) {
            directory->isDirectory = true;
            parseInstallFiles(*directory, &child, directory->name);
        }
        element->RemoveChild(&child);
    });
    ForEachChild(element, "file", [&](TiXmlElement& child) {
        readFile(child, parent, parentName);
        element->RemoveChild(&child);
    });
}
