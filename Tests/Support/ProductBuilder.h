#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// The condition of a target path; see the functions below it.
struct TargetCondition {
    std::string type; ///< empty for none
    std::string value;
    std::vector<TargetCondition> operands;
};
TargetCondition pathExists(const std::string& pattern);
TargetCondition pathMissing(const std::string& pattern);
TargetCondition fileExists(const std::string& pattern);
TargetCondition fileMissing(const std::string& pattern);
/// `key` and `value` name an entry of a preference file.
TargetCondition valueExists(const std::string& key, const std::string& value);
TargetCondition valueMissing(const std::string& key, const std::string& value);
TargetCondition allOf(std::vector<TargetCondition> operands);
TargetCondition anyOf(std::vector<TargetCondition> operands);

/// Builds a product: a folder of files, a product definition and a target-paths file. Writes XML as text, so
/// that faults in the engine's XML code are found. Every operation returns the product, so that calls can be
/// chained.
///
/// Paths in the tree have "/" between components: "Hosts/Edius/Alpha/a.plugin". Missing folders above a path
/// are added.
class ProductBuilder {
public:
    using Attributes = std::map<std::string, std::string>;

    /// Build "1.0.0.100" and no families.
    explicit ProductBuilder(std::string id, std::string name = "");

    ProductBuilder& build(const std::string& text);
    ProductBuilder& name(const std::string& text);
    ProductBuilder& family(const std::string& name, const std::vector<std::string>& plugins = {"plug-in"});
    /// A host of the definition, without files.
    ProductBuilder& host(const std::string& name, const std::string& arch = "",
                         const std::string& servedFamilies = "");

    /// A file in the source folder and in the tree.
    ProductBuilder& file(const std::string& path, const std::string& content,
                         const Attributes& attributes = {});
    /// A file in the tree only. It may be a folder on disk.
    ProductBuilder& listedFile(const std::string& path, const Attributes& attributes = {});
    /// A folder in the source folder and in the tree. Adds attributes to a folder that is already listed.
    ProductBuilder& folder(const std::string& path, const Attributes& attributes = {});
    ProductBuilder& listedFolder(const std::string& path, const Attributes& attributes = {});
    /// A file in the source folder only.
    ProductBuilder& unlistedFile(const std::string& path, const std::string& content, unsigned mode = 0644);
    /// Adds a shortcut to the listed file `path`.
    ProductBuilder& shortCut(const std::string& path, const std::string& name,
                             const std::string& folder = "/Applications");

    /// Appends a candidate to the target item at `itemPath`: "VorlaneFX", "Hosts/Edius".
    ProductBuilder& target(const std::string& itemPath, const std::string& pattern,
                           const TargetCondition& condition = {});
    /// An item without paths.
    ProductBuilder& item(const std::string& itemPath);

    /// Replaces the whole definition (target-paths file) with this text.
    ProductBuilder& definitionText(const std::string& text);
    ProductBuilder& targetsText(const std::string& text);

    const std::string& id() const { return identity.at("ID"); }
    const std::string& productName() const { return identity.at("name"); }
    std::string definition() const;
    std::string targets() const;

    /// Replaces `folder` with one that contains files/, sku.xml and target_path.xml.
    void writeTo(const std::filesystem::path& folder) const;

private:
    struct Node {
        std::string name;
        bool bFolder = false;
        Attributes attributes;
        Attributes shortCut;
        std::vector<Node> children; ///< in the order of the calls, which is that of the document
    };
    struct Item {
        std::string name;
        std::vector<std::pair<std::string, TargetCondition>> paths;
        std::vector<Item> items;
    };
    struct Source {
        std::string content;
        unsigned mode;
    };

    Node& node(const std::string& path, bool bFolder);
    Item& itemAt(const std::string& path);
    static void write(const Node& node, std::string& xml);
    static void write(const Item& item, std::string& xml);

    Attributes identity;
    std::vector<std::pair<std::string, std::vector<std::string>>> families;
    std::vector<Attributes> hosts;
    Node root;
    Item rootItem;
    std::map<std::string, Source> sourceFiles;
    std::vector<std::string> sourceFolders;
    std::string fixedDefinition;
    std::string fixedTargets;
};
