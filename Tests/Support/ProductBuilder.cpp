#include "Tests/Support/ProductBuilder.h"

#include "Tests/Support/FileTree.h"

#include <algorithm>
#include <sstream>

namespace fs = std::filesystem;

namespace {

std::string escaped(const std::string& text) {
    static const std::map<char, std::string> entities{
        {'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'"', "&quot;"}, {'\'', "&apos;"}};
    std::string result;
    for (const char character : text) {
        const auto entity = entities.find(character);
        result.append(entity == entities.end() ? std::string(1, character) : entity->second);
    }
    return result;
}

std::string startTag(const std::string& name, const ProductBuilder::Attributes& attributes) {
    std::string text = "<" + name;
    for (const auto& [attribute, value] : attributes) {
        if (!value.empty()) {
            text.append(" ").append(attribute).append("=\"").append(escaped(value)).append("\"");
        }
    }
    return text;
}

std::string emptyElement(const std::string& name, const ProductBuilder::Attributes& attributes) {
    return startTag(name, attributes) + "/>\n";
}

std::vector<std::string> parts(const std::string& path) {
    std::vector<std::string> result;
    std::istringstream stream(path);
    for (std::string part; std::getline(stream, part, '/');) {
        result.push_back(part);
    }
    return result;
}

/// The entry of that name, appended if there is none.
template <class Named>
Named& findOrAppend(std::vector<Named>& list, const std::string& name) {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const Named& entry) { return entry.name == name; });
    if (found != list.end()) {
        return *found;
    }
    list.emplace_back();
    list.back().name = name;
    return list.back();
}

void writeCondition(const TargetCondition& condition, std::string& xml) {
    xml += startTag("condition", {{"type", condition.type}, {"value", condition.value}}) + ">";
    for (const TargetCondition& operand : condition.operands) {
        writeCondition(operand, xml);
    }
    xml += "</condition>";
}

std::string registryPattern(const std::string& key, const std::string& value) {
    return "%REGKEY:" + key + "::" + value + "%";
}

} // namespace

TargetCondition pathExists(const std::string& pattern) {
    return {"PathExist", pattern, {}};
}

TargetCondition pathMissing(const std::string& pattern) {
    return {"PathNotExist", pattern, {}};
}

TargetCondition fileExists(const std::string& pattern) {
    return {"FileExist", pattern, {}};
}

TargetCondition fileMissing(const std::string& pattern) {
    return {"FileNotExist", pattern, {}};
}

TargetCondition valueExists(const std::string& key, const std::string& value) {
    return {"RegKeyExist", registryPattern(key, value), {}};
}

TargetCondition valueMissing(const std::string& key, const std::string& value) {
    return {"RegKeyNotExist", registryPattern(key, value), {}};
}

TargetCondition allOf(std::vector<TargetCondition> operands) {
    return {"And", "", std::move(operands)};
}

TargetCondition anyOf(std::vector<TargetCondition> operands) {
    return {"Or", "", std::move(operands)};
}

ProductBuilder::ProductBuilder(std::string id, std::string name)
    : identity{{"ID", std::move(id)}, {"name", std::move(name)}, {"build", "1.0.0.100"}} {
    root.bFolder = true;
}

ProductBuilder& ProductBuilder::build(const std::string& text) {
    identity["build"] = text;
    return *this;
}

ProductBuilder& ProductBuilder::name(const std::string& text) {
    identity["name"] = text;
    return *this;
}

ProductBuilder& ProductBuilder::family(const std::string& name, const std::vector<std::string>& plugins) {
    families.emplace_back(name, plugins);
    return *this;
}

ProductBuilder& ProductBuilder::host(const std::string& name, const std::string& arch,
                                     const std::string& servedFamilies) {
    hosts.push_back({{"name", name}, {"arch", arch}, {"families", servedFamilies}});
    return *this;
}

ProductBuilder& ProductBuilder::file(const std::string& path, const std::string& content,
                                     const Attributes& attributes) {
    listedFile(path, attributes);
    return unlistedFile(path, content);
}

ProductBuilder& ProductBuilder::listedFile(const std::string& path, const Attributes& attributes) {
    node(path, false).attributes = attributes;
    return *this;
}

ProductBuilder& ProductBuilder::folder(const std::string& path, const Attributes& attributes) {
    sourceFolders.push_back(path);
    return listedFolder(path, attributes);
}

ProductBuilder& ProductBuilder::listedFolder(const std::string& path, const Attributes& attributes) {
    node(path, true).attributes.insert(attributes.begin(), attributes.end());
    return *this;
}

ProductBuilder& ProductBuilder::unlistedFile(const std::string& path, const std::string& content,
                                             unsigned mode) {
    sourceFiles[path] = {content, mode};
    return *this;
}

ProductBuilder& ProductBuilder::shortCut(const std::string& path, const std::string& name,
                                         const std::string& folder) {
    node(path, false).shortCut = {{"name", name}, {"dir", folder}};
    return *this;
}

ProductBuilder& ProductBuilder::target(const std::string& itemPath, const std::string& pattern,
                                       const TargetCondition& condition) {
    itemAt(itemPath).paths.emplace_back(pattern, condition);
    return *this;
}

ProductBuilder& ProductBuilder::item(const std::string& itemPath) {
    itemAt(itemPath);
    return *this;
}

ProductBuilder& ProductBuilder::definitionText(const std::string& text) {
    fixedDefinition = text;
    return *this;
}

ProductBuilder& ProductBuilder::targetsText(const std::string& text) {
    fixedTargets = text;
    return *this;
}

std::string ProductBuilder::definition() const {
    if (!fixedDefinition.empty()) {
        return fixedDefinition;
    }
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<product>\n" + emptyElement("sku", identity);
    xml += "<families>\n";
    for (const auto& [name, plugins] : families) {
        xml += startTag("family", {{"name", name}}) + "><plugins>\n";
        for (const std::string& plugin : plugins) {
            xml += emptyElement("plugin", {{"name", plugin}});
        }
        xml += "</plugins></family>\n";
    }
    xml += "</families>\n<hosts>\n";
    for (const Attributes& host : hosts) {
        xml += emptyElement("host", host);
    }
    xml += "</hosts>\n<installFiles>\n";
    for (const Node& child : root.children) {
        write(child, xml);
    }
    return xml + "</installFiles>\n</product>\n";
}

std::string ProductBuilder::targets() const {
    if (!fixedTargets.empty()) {
        return fixedTargets;
    }
    std::string xml = "<root>\n";
    for (const Item& item : rootItem.items) {
        write(item, xml);
    }
    return xml + "</root>\n";
}

void ProductBuilder::writeTo(const fs::path& folder) const {
    fs::remove_all(folder);
    fs::create_directories(folder / "files");
    FileTree::write(folder / "sku.xml", definition());
    FileTree::write(folder / "target_path.xml", targets());
    for (const std::string& path : sourceFolders) {
        fs::create_directories(folder / "files" / path);
    }
    for (const auto& [path, source] : sourceFiles) {
        FileTree::write(folder / "files" / path, source.content, source.mode);
    }
}

ProductBuilder::Node& ProductBuilder::node(const std::string& path, bool bFolder) {
    Node* current = &root;
    for (const std::string& part : parts(path)) {
        current->bFolder = true;
        current = &findOrAppend(current->children, part);
    }
    current->bFolder = bFolder;
    return *current;
}

ProductBuilder::Item& ProductBuilder::itemAt(const std::string& path) {
    Item* current = &rootItem;
    for (const std::string& part : parts(path)) {
        current = &findOrAppend(current->items, part);
    }
    return *current;
}

void ProductBuilder::write(const Node& node, std::string& xml) {
    Attributes attributes = node.attributes;
    attributes["fileName"] = node.name;
    const char* element = node.bFolder ? "directory" : "file";
    xml += startTag(element, attributes) + ">";
    if (!node.shortCut.empty()) {
        xml += emptyElement("shortCut", node.shortCut);
    }
    for (const Node& child : node.children) {
        write(child, xml);
    }
    xml.append("</").append(element).append(">\n");
}

void ProductBuilder::write(const Item& item, std::string& xml) {
    xml += startTag("item", {{"name", item.name}}) + ">\n";
    for (const auto& [pattern, condition] : item.paths) {
        xml += startTag("path", {{"value", pattern}}) + ">";
        if (!condition.type.empty()) {
            writeCondition(condition, xml);
        }
        xml += "</path>\n";
    }
    for (const Item& child : item.items) {
        write(child, xml);
    }
    xml += "</item>\n";
}
