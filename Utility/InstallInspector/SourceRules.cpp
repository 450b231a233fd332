// Differences between the definition's tree and the source folder.
#include "Utility/InstallInspector/Rules.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>

namespace {

namespace fs = std::filesystem;
using TreeNode = Product::TreeNode;

constexpr const char* stops = "The install stops at the first such name, before it has copied anything.";

/// The names in a folder; empty when it cannot be read.
std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        names.insert(entry->path().filename().string());
    }
    return names;
}

std::string shownPath(const fs::path& path) {
    return shown(toVLString(path.string()));
}

/// Calls `visit` with each folder of the tree that is a folder in the source, too, and its path there.
template <class Visitor>
void forEachFolder(const TreeNode& node, const fs::path& folder, Visitor& visit) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        return;
    }
    visit(node, folder);
    for (const TreeNode* child : node.children) {
        if (child->node->isDirectory) {
            forEachFolder(*child, folder / toString(child->node->name), visit);
        }
    }
}

template <class Visitor>
void forEachFolder(const Product& product, Visitor visit) {
    if (!product.tree.empty()) {
        forEachFolder(product.tree.front(), product.source, visit);
    }
}

std::string sameButForCase(const std::string& name, const std::set<std::string>& names) {
    for (const std::string& other : names) {
        if (toVLString(other).EqualsIgnoreCase(toVLString(name))) {
            return other;
        }
    }
    return "";
}

void missingInSource(const Product& product, const Report& report) {
    forEachFolder(product, [&](const TreeNode& node, const fs::path& folder) {
        const std::set<std::string> names = namesIn(folder);
        for (const TreeNode* child : node.children) {
            const std::string name = toString(child->node->name);
            const fs::path path = folder / name;
            std::error_code error;
            const bool bFolder = fs::is_directory(path, error);
            const bool bThere = bFolder || (!child->node->isDirectory && fs::is_regular_file(path, error));
            if (bThere) {
                continue;
            }
            const bool bWrongKind = fs::exists(path, error);
            const std::string other = sameButForCase(name, names);
            report(product.definitionFile.at(*child->element, "fileName"),
                   bWrongKind ? shownPath(path) + " is no " + (child->node->isDirectory ? "folder" : "file")
                              : "the source has no " + shownPath(path),
                   stops,
                   bWrongKind       ? "List it as what it is, or put the right thing there."
                   : !other.empty() ? "Write " + shown(toVLString(other)) + ", as it is spelt in the source."
                                    : "Put it there, or take it out of the tree.");
        }
    });
}

void caseDiffersInSource(const Product& product, const Report& report) {
    forEachFolder(product, [&](const TreeNode& node, const fs::path& folder) {
        const std::set<std::string> names = namesIn(folder);
        for (const TreeNode* child : node.children) {
            const std::string name = toString(child->node->name);
            const std::string other = sameButForCase(name, names);
            std::error_code error;
            // On a disk that does not tell case apart the name is found all the same.
            if (names.count(name) == 0 && !other.empty() && fs::exists(folder / name, error)) {
                report(product.definitionFile.at(*child->element, "fileName"),
                       "the source spells " + shown(child->node->name) + " as " + shown(toVLString(other)),
                       "On a disk that tells case apart the install does not find it and stops.",
                       "Write " + shown(toVLString(other)) + ".");
            }
        }
    });
}

void notListed(const Product& product, const Report& report) {
    forEachFolder(product, [&](const TreeNode& node, const fs::path& folder) {
        const bool bWhole = node.parent != nullptr && node.children.empty();
        if (bWhole) {
            return;
        }
        for (const std::string& name : namesIn(folder)) {
            // What the Finder leaves in every folder is nobody's mistake.
            if (name == ".DS_Store" || node.child(toVLString(name)) != nullptr) {
                continue;
            }
            report({Location::Document::Source, (folder / name).string(), 0, 0},
                   "no entry of the tree covers it", "It is not installed.",
                   "List it in the tree, or take it out of the source.");
        }
    });
}

void noSharedSource(const Product& product, const Report& report) {
    std::error_code error;
    if (product.tree.empty() || product.branch("VorlaneFX") != nullptr ||
        fs::is_directory(fs::path(product.source) / "VorlaneFX", error)) {
        return;
    }
    report({Location::Document::Source, product.source, 0, 0}, "the source has no folder VorlaneFX",
           "Every install opens it, whether the tree lists it or not: the customer is told that something "
           "blocks "
           "the installation, as often as Retry is chosen.",
           "Put a folder VorlaneFX there, and list it in the tree.");
}

} // namespace

const std::vector<Rule>& sourceRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"missing-in-source", Severity::Error, Needs::Source,
         "a name of the tree that the source does not have", missingInSource},
        {"case-differs-in-source", Severity::Warning, Needs::Source,
         "a name that the source spells otherwise", caseDiffersInSource},
        {"not-listed", Severity::Warning, Needs::Source, "something in the source that no entry covers",
         notListed},
        {"no-shared-source", Severity::Error, Needs::Source, "neither tree nor source has VorlaneFX",
         noSharedSource},
    };
    return rules;
}
