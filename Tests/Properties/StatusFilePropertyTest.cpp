// Random products, installed and removed in random order, against a model of the record: one flat list of
// paths. PROPERTY_SEED=n makes the first world from n.

#include "Foundation/PathLibrary.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/FullRun.h"
#include "Tests/Support/SchemaCheck.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

// A world: products, and what is done with them

/// A file or folder of a product's tree.
struct Entry {
    bool bFolder = false;
    bool bDowngrade = false;
    std::string shortCut;
    std::string shortCutFolder;

    bool hasShortCut() const { return !shortCut.empty() && !shortCutFolder.empty(); }
};

/// By path. A folder's path sorts before those of what it holds.
using Tree = std::map<std::string, Entry>;

struct Build {
    std::string text;
    std::int32_t number;
};

struct Step {
    std::size_t product = 0;
    bool bRemove = false;
    Build build = {"", 0};
    std::string name;
    bool bReload = true; ///< load what was saved; otherwise the next step goes on with the record in memory
};

struct World {
    std::vector<std::string> paths;
    std::vector<Tree> products;
    std::vector<Step> steps;
};

std::string IDOf(std::size_t product) {
    return std::string(product % 3 + 1, static_cast<char>('A' + product));
}

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

std::string nameOf(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

class WorldMaker {
public:
    explicit WorldMaker(std::uint32_t seed) : random(seed) {}

    World make() {
        World world;
        makePaths(world.paths);
        // Now and then one product's file is the other one's folder.
        const bool bKindsDiffer = oneIn(8);
        const std::size_t products = 1 + below(4);
        for (std::size_t i = 0; i < products; ++i) {
            world.products.push_back(makeTree(world.paths, bKindsDiffer));
        }
        const std::size_t steps = 1 + below(12);
        for (std::size_t i = 0; i < steps; ++i) {
            world.steps.push_back({below(products), oneIn(3), makeBuild(), makeName(), !oneIn(4)});
        }
        return world;
    }

private:
    std::size_t below(std::size_t limit) { return random() % limit; }
    bool oneIn(std::size_t chances) { return below(chances) == 0; }

    std::string makeName() {
        static const std::vector<std::string> parts = {"a",       "b",     "long name", "Éclair", "日本",
                                                       "'x' & y", "\"q\"", "<t>",       ".bundle"};
        const std::string name = parts[below(parts.size())];
        return oneIn(3) ? name + parts[below(parts.size())] : name;
    }

    void makePaths(std::vector<std::string>& paths) {
        const std::size_t count = 2 + below(20);
        for (std::size_t i = 0; i < count; ++i) {
            const std::string folder = paths.empty() || oneIn(4) ? "" : paths[below(paths.size())] + "/";
            paths.push_back(folder + makeName());
        }
        std::sort(paths.begin(), paths.end());
        paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    }

    Tree makeTree(const std::vector<std::string>& paths, bool bKindsDiffer) {
        Tree tree;
        for (const std::string& path : paths) {
            const std::string parent = parentOf(path);
            const auto folder = tree.find(parent);
            const bool bHasPlace = parent.empty() || (folder != tree.end() && folder->second.bFolder);
            if (bHasPlace && !oneIn(4)) {
                const bool bHolds = std::any_of(paths.begin(), paths.end(), [&](const std::string& other) {
                    return parentOf(other) == path;
                });
                const bool bFolder = bKindsDiffer ? oneIn(2) : bHolds;
                tree[path] = {bFolder, oneIn(4), oneIn(3) ? makeName() : "", oneIn(2) ? "Apps" : ""};
            }
        }
        return tree;
    }

    Build makeBuild() {
        const auto number = static_cast<std::int32_t>(below(4));
        const std::string start = std::to_string(below(3)) + "." + std::to_string(below(3)) + ".";
        switch (below(6)) {
        case 0:
            return {start + std::to_string(200'000 + number), 200'000 + number};
        case 1:
            return {start + "9", 0};
        case 2:
            return {oneIn(2) ? "" : "no version", 0};
        default:
            return {start + "0." + std::to_string(number), number};
        }
    }

    std::mt19937 random;
};

// The model

class CountModel {
public:
    struct Node {
        bool bFolder = false;
        std::int32_t ref = 0;
        Build build = {"", 0};
        bool needReplace = false;
        std::pair<std::string, std::string> shortCut;
    };
    struct Installed {
        std::string ID;
        std::string name;
        std::string build;
    };

    std::vector<Installed> products;
    std::map<std::string, Node> nodes; ///< by path

    void install(const std::string& ID, const Step& step, const Tree& tree) {
        const auto known = find(ID);
        const bool bNew = known == products.end();
        if (bNew) {
            products.push_back({ID, step.name, step.build.text});
        } else {
            *known = {ID, step.name, step.build.text};
        }
        for (const auto& [path, entry] : tree) {
            if (nodes.count(path) == 0) {
                create(nodes[path], entry, step.build);
            } else {
                update(nodes[path], entry, step.build, bNew);
            }
        }
    }

    void remove(const std::string& ID, const Tree& tree) {
        const auto known = find(ID);
        if (known != products.end()) {
            products.erase(known);
        }
        for (const auto& [path, entry] : tree) {
            const auto node = nodes.find(path);
            if (node != nodes.end()) {
                --node->second.ref;
            }
        }
    }

    /// What is left of the record after it was saved and loaded.
    void reload() {
        std::map<std::string, Node> kept;
        for (const auto& [path, node] : nodes) {
            const std::string parent = parentOf(path);
            const auto folder = kept.find(parent);
            // What lies below a file is written, but not read.
            if (node.ref < 1 || !(parent.empty() || (folder != kept.end() && folder->second.bFolder))) {
                continue;
            }
            Node& copy = kept[path] = node;
            copy.needReplace = false;
            if (node.bFolder) {
                copy.build = {"", 0};
                copy.shortCut = {};
            }
        }
        nodes = kept;
    }

    std::string text() const {
        std::string xml = "<install>\n" + std::string(4, ' ');
        xml += products.empty() ? "<products />\n" : "<products>\n";
        for (const Installed& product : products) {
            xml += std::string(8, ' ') + "<sku" + attribute("ID", product.ID) +
                   attribute("name", product.name) + attribute("build", product.build) + " />\n";
        }
        xml += products.empty() ? "" : "    </products>\n";
        return xml + element("installFiles", "", childrenText("", 2), 1) + "</install>\n";
    }

private:
    std::vector<Installed>::iterator find(const std::string& ID) {
        return std::find_if(products.begin(), products.end(),
                            [&](const Installed& product) { return product.ID == ID; });
    }

    static void setShortCut(Node& node, const Entry& entry) {
        if (entry.hasShortCut()) {
            node.shortCut = {entry.shortCut, entry.shortCutFolder};
        }
    }

    static void create(Node& node, const Entry& entry, const Build& build) {
        node.bFolder = entry.bFolder;
        node.ref = 1;
        node.needReplace = true;
        node.build = entry.bFolder ? Build{"", 0} : build;
        setShortCut(node, entry);
    }

    static void update(Node& node, const Entry& entry, const Build& build, bool bCount) {
        node.ref += bCount ? 1 : 0;
        node.needReplace = entry.bDowngrade || build.number >= node.build.number;
        if (node.needReplace) {
            node.build = build;
            setShortCut(node, entry);
        }
    }

    static std::string attribute(const std::string& name, const std::string& value) {
        std::string escaped;
        for (const char c : value) {
            switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&apos;";
                break;
            default:
                escaped += c;
            }
        }
        const char* quote = value.find('"') == std::string::npos ? "\"" : "'";
        return " " + name + "=" + quote + escaped + quote;
    }

    static std::string element(const std::string& name, const std::string& attributes,
                               const std::string& content, std::size_t level) {
        const std::string indent(4 * level, ' ');
        return indent + "<" + name + attributes +
               (content.empty() ? " />\n" : ">\n" + content + indent + "</" + name + ">\n");
    }

    std::string childrenText(const std::string& parent, std::size_t level) const {
        std::vector<std::string> names;
        for (const auto& [path, node] : nodes) {
            if (parentOf(path) == parent && node.ref >= 1) {
                names.push_back(nameOf(path));
            }
        }
        std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
            return a.size() != b.size() ? a.size() > b.size() : a < b;
        });
        std::string xml;
        for (const std::string& name : names) {
            const std::string path = parent.empty() ? name : parent + "/" + name;
            const Node& node = nodes.at(path);
            std::string attributes = attribute("fileName", name) + attribute("ref", std::to_string(node.ref));
            std::string content;
            if (!node.bFolder) {
                attributes += attribute("build", node.build.text);
                if (!node.shortCut.first.empty()) {
                    content = element("shortCut",
                                      attribute("name", node.shortCut.first) +
                                          attribute("dir", node.shortCut.second),
                                      "", level + 1);
                }
            }
            xml += element(node.bFolder ? "directory" : "file", attributes,
                           content + childrenText(path, level + 1), level);
        }
        return xml;
    }
};

// The comparison

std::string describe(const World& world) {
    std::ostringstream out;
    for (std::size_t i = 0; i < world.products.size(); ++i) {
        out << "product " << IDOf(i) << "\n";
        for (const auto& [path, entry] : world.products[i]) {
            out << "    " << path << (entry.bFolder ? "/" : "") << (entry.bDowngrade ? " downgrade" : "")
                << (entry.hasShortCut() ? " shortcut " + entry.shortCut : "") << "\n";
        }
    }
    for (const Step& step : world.steps) {
        out << (step.bRemove ? "remove " : "install ") << IDOf(step.product) << " build \"" << step.build.text
            << "\"" << (step.bReload ? ", save, load" : ", save") << "\n";
    }
    return out.str();
}

FileNode treeOf(const Tree& tree) {
    FileNode root;
    root.isDirectory = true;
    std::map<std::string, FileNode*> folders = {{"", &root}};
    for (const auto& [path, entry] : tree) {
        const VLString name(nameOf(path).c_str());
        FileNode& node = folders.at(parentOf(path))->children[name];
        node.name = name;
        node.isDirectory = entry.bFolder;
        node.allowDowngrade = entry.bDowngrade;
        node.shortCut = {entry.shortCut.c_str(), entry.shortCutFolder.c_str()};
        folders[path] = &node;
    }
    return root;
}

/// Each node before its children, as the engine does.
void update(StatusFile& record, const VLString& directory, const FileNode& node, bool remove) {
    if (remove) {
        record.decrementFileRef(directory, node);
    } else {
        record.incrementFileRef(directory, node);
    }
    for (const auto& child : node.children) {
        update(record, PathLibrary::GetDirectoryWithFile(directory, node.name), child.second, remove);
    }
}

/// What a record says of a path, in one line; of the model and of the real one alike.
std::string line(bool bFolder, std::int32_t ref, const std::string& build, std::int32_t number,
                 bool needReplace, bool needRemove, const std::string& shortCut) {
    std::ostringstream out;
    out << (bFolder ? "folder" : "file") << " ref " << ref << " build \"" << build << "\" = " << number
        << (needReplace ? " replace" : "") << (needRemove ? " remove" : "") << " shortcut \"" << shortCut
        << "\"";
    return out.str();
}

std::string lineOf(const CountModel& model, const std::string& path) {
    const auto found = model.nodes.find(path);
    if (found == model.nodes.end()) {
        return "none";
    }
    const CountModel::Node& node = found->second;
    return line(node.bFolder, node.ref, node.build.text, node.build.number, node.needReplace, node.ref < 1,
                node.shortCut.first + " in " + node.shortCut.second);
}

std::string lineOf(StatusFile& record, const std::string& path) {
    const VLString name(path.c_str());
    const StatusFile::FileNodeRef* node = record.getFileInfo(name);
    if (node == nullptr) {
        return record.needReplaceFile(name) || record.needRemove(name) ? "none, but asked for" : "none";
    }
    return line(node->isDirectory, node->ref, node->build.ConstData(), node->buildNumber,
                record.needReplaceFile(name), record.needRemove(name),
                node->shortCut.name.ConstData() + std::string(" in ") + node->shortCut.dir.ConstData());
}

/// The first difference between record and model; empty when there is none.
std::string difference(StatusFile& record, const CountModel& model, const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        const std::string expected = lineOf(model, path);
        const std::string actual = lineOf(record, path);
        if (expected != actual) {
            return path + "\n  expected " + expected + "\n  actual   " + actual + "\n";
        }
    }
    for (const CountModel::Installed& product : model.products) {
        const auto i = static_cast<std::size_t>(&product - model.products.data());
        if (i >= record.products.size() || record.products[i].ID != VLString(product.ID.c_str()) ||
            record.products[i].name != VLString(product.name.c_str()) ||
            record.products[i].build != VLString(product.build.c_str())) {
            return "product " + std::to_string(i) + " differs\n";
        }
    }
    return record.products.size() == model.products.size() ? "" : "too many products\n";
}

/// Does all that the world says, and adds each saved record to `saved`; the first difference, or empty.
std::string run(const World& world, const VLString& path, std::set<std::string>& saved) {
    CountModel model;
    StatusFile record;
    std::filesystem::remove(path.ConstData());
    for (const Step& step : world.steps) {
        const Tree& tree = world.products[step.product];
        const std::string ID = IDOf(step.product);
        record.startProcessProduct({ID.c_str(), step.name.c_str(), step.build.text.c_str(), "pre"},
                                   step.bRemove);
        update(record, "", treeOf(tree), step.bRemove);
        record.endProcessProduct();
        if (step.bRemove) {
            model.remove(ID, tree);
        } else {
            model.install(ID, step, tree);
        }
        std::string found = difference(record, model, world.paths);
        if (found.empty() && !record.write(path)) {
            found = "not saved\n";
        }
        if (found.empty()) {
            const auto& text = *saved.insert(FileTree::read(path.ConstData())).first;
            if (text != model.text()) {
                found = "file\n" + text + "expected\n" + model.text();
            }
        }
        if (found.empty() && step.bReload) {
            record.parse(path);
            model.reload();
            found = difference(record, model, world.paths);
        }
        if (!found.empty()) {
            return "step " + std::to_string(&step - world.steps.data() + 1) + ": " + found;
        }
    }
    return "";
}

/// Leaves out every step without which the world still fails.
World shrunk(World world, const VLString& path) {
    std::set<std::string> saved;
    for (std::size_t i = world.steps.size(); i-- > 0;) {
        World smaller = world;
        smaller.steps.erase(smaller.steps.begin() + static_cast<std::ptrdiff_t>(i));
        if (!run(smaller, path, saved).empty()) {
            world = smaller;
        }
    }
    return world;
}

/// What the schema of the record has against these; empty for nothing.
std::string schemaMistakes(const std::set<std::string>& records, const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    for (const std::string& record : records) {
        files.push_back(folder / ("record" + std::to_string(files.size()) + ".xml"));
        FileTree::write(files.back(), record);
    }
    return SchemaCheck::mistakes("InstallationStatusFile.xsd", files);
}

} // namespace

TEST(StatusFileProperties, RandomProductsInRandomOrderAgreeWithTheModel) {
    const char* wanted = std::getenv("PROPERTY_SEED"); // NOLINT(concurrency-mt-unsafe)
    const std::uint32_t first = wanted == nullptr
                                    ? std::random_device()()
                                    : static_cast<std::uint32_t>(std::strtoul(wanted, nullptr, 10));
    std::cout << "first seed " << first << std::endl;

    // Every save waits for the disk; where there is one in memory, far more worlds fit into the time.
    const bool bInMemory = std::getenv("TMPDIR") == nullptr && // NOLINT(concurrency-mt-unsafe)
                           std::filesystem::is_directory("/dev/shm");
    const ScopedEnvironment temporary("TMPDIR",
                                      bInMemory ? "/dev/shm" : std::filesystem::temp_directory_path());
    const TemporaryDirectory folder;
    const VLString path = folder / "InstallationStatusFile.xml";
    constexpr std::uint32_t atLeast = 20;
    const std::uint32_t atMost = isFullRun() ? 100'000 : 1000;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(isFullRun() ? 60 : 1);
    std::uint32_t worlds = 0;
    std::set<std::string> saved;
    while (worlds < atLeast || (worlds < atMost && std::chrono::steady_clock::now() < end)) {
        const std::uint32_t seed = first + worlds++;
        const World world = WorldMaker(seed).make();
        if (!run(world, path, saved).empty()) {
            const World small = shrunk(world, path);
            FAIL() << "seed " << seed << "\n" << describe(small) << run(small, path, saved);
        }
    }
    std::cout << worlds << " worlds" << std::endl;
    if (SchemaCheck::whyNot().empty()) {
        EXPECT_EQ(schemaMistakes(saved, folder.path()), "");
    } else {
        std::cout << "not held against the schema: " << SchemaCheck::whyNot() << std::endl;
    }
}
