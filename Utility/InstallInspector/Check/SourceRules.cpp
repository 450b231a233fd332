// Differences between the definition's tree and the source folder.
#include "Utility/InstallInspector/Check/NameRules.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Documents/LeftOut.h"
#include "Utility/InstallInspector/Documents/LookAlike.h"
#include "Utility/InstallInspector/Documents/Manifest.h"
#include "Utility/InstallInspector/Report/NearestName.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>

namespace {

namespace fs = std::filesystem;
using TreeNode = Product::TreeNode;

/// The names in a folder; empty when it cannot be read.
std::set<std::string> namesIn(const fs::path& folder) {
    std::set<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        names.insert(entry->path().filename().string());
    }
    return names;
}

std::string quotedPath(const fs::path& path) {
    return quotedText(toVLString(path.string()));
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

/// The form of a name in which it is compared: most disks treat names with the same form as equal.
VLString folded(const VLString& name) {
    return appearanceOf(name).ToLower();
}

/// The names of a folder, by the form in which most disks compare them.
std::map<VLString, std::string> byFoldedName(const std::set<std::string>& names) {
    std::map<VLString, std::string> result;
    for (const std::string& name : names) {
        result.emplace(folded(toVLString(name)), name);
    }
    return result;
}

bool isThere(const fs::path& path, bool bDirectory) {
    std::error_code error;
    return fs::is_directory(path, error) || (!bDirectory && fs::is_regular_file(path, error));
}

/// The names of a folder that the tree does not list. A missing name may be a misspelling of one of them.
std::vector<std::string> unlisted(const TreeNode& node, const std::set<std::string>& names) {
    constexpr std::size_t mostComparisons = 10'000; // where so much differs nothing is a slip
    std::vector<std::string> others;
    for (const std::string& name : names) {
        if (node.child(toVLString(name)) == nullptr) {
            others.push_back(name);
        }
    }
    return others.size() * node.children.size() > mostComparisons ? std::vector<std::string>() : others;
}

std::string adviseMissing(const TreeNode& node, const fs::path& folder,
                          const std::vector<std::string>& others) {
    const auto nearest = nearestName(toString(node.node->name), others);
    return nearest.has_value() && isThere(folder / *nearest, node.node->isDirectory)
               ? "Write " + quotedText(toVLString(*nearest)) + ", which the source has, or put it there."
               : "Put it there, or take it out of the tree.";
}

void missingInSource(const Product& product, const Report& report) {
    forEachFolder(product, [&](const TreeNode& node, const fs::path& folder) {
        const std::set<std::string> names = namesIn(folder);
        const auto byFolded = byFoldedName(names);
        const std::vector<std::string> others = unlisted(node, names);
        for (const TreeNode* child : node.children) {
            const std::string name = toString(child->node->name);
            const fs::path path = folder / name;
            const auto other =
                names.count(name) != 0 ? byFolded.end() : byFolded.find(folded(child->node->name));
            // On a disk that treats the two names as equal the file is found, but not on every disk.
            const bool bOtherCase = other != byFolded.end();
            if (isThere(path, child->node->isDirectory) && !bOtherCase) {
                continue;
            }
            std::error_code error;
            const bool bWrongKind = !bOtherCase && fs::exists(path, error);
            report(product.definitionFile.at(*child->element, "fileName"),
                   bWrongKind ? quotedPath(path) + " is no " + (child->node->isDirectory ? "folder" : "file")
                              : "the source has no " + quotedPath(path),
                   "The install stops at the first such name, before it has copied anything.",
                   bWrongKind ? "List it as what it is, or put the right thing there."
                   : bOtherCase
                       ? "Write " + quotedText(toVLString(other->second)) + ", as the source spells it." +
                             remarkOnLook(child->node->name, toVLString(other->second))
                       : adviseMissing(*child, folder, others));
        }
    });
}

/// Names of files for the people who build the package. They are not meant to be installed.
bool isReadme(const std::string& name) {
    return fs::path(toString(toVLString(name).ToLower())).stem() == "readme";
}

/// Whether there is something in the folder, and all of it is left out.
bool holdsOnlyLeftOut(const fs::path& folder, const std::string& path, const LeftOut& leftOut) {
    const std::set<std::string> names = namesIn(folder);
    return !names.empty() && std::all_of(names.begin(), names.end(), [&](const std::string& name) {
        const std::string inside = path + "/" + name;
        return leftOut.matches(name, inside) || holdsOnlyLeftOut(folder / name, inside, leftOut);
    });
}

/// Every source folder has to have VorlaneFX, also for a product that has nothing to put there.
bool isEmptySharedFolder(const fs::path& folder, const std::string& path) {
    std::error_code error;
    return path == Branch::shared && fs::is_directory(folder, error) && namesIn(folder).empty();
}

void notListed(const Product& product, const Report& report) {
    const LeftOut leftOut(product.definitionFile);
    forEachFolder(product, [&](const TreeNode& node, const fs::path& folder) {
        const bool bWhole = node.parent != nullptr && node.children.empty();
        if (bWhole) {
            return;
        }
        for (const std::string& name : namesIn(folder)) {
            const std::string path = (node.parent == nullptr ? "" : toString(node.treePath) + "/") + name;
            if (node.child(toVLString(name)) != nullptr || isReadme(name) || leftOut.matches(name, path) ||
                isEmptySharedFolder(folder / name, path) || holdsOnlyLeftOut(folder / name, path, leftOut)) {
                continue;
            }
            report({Location::Document::Source, (folder / name).string(), 0, 0},
                   "no entry of the tree covers it", "It is not installed.",
                   "List it in the tree, write an <exclude> for it, or take it out of the source.");
        }
    });
}

void manifestDiffers(const Product& product, const Report& report) {
    Progress progress;
    for (const TreeNode& node : product.tree) {
        const Manifest::Parts manifest = Manifest::of(*node.element);
        const fs::path path = fs::path(product.source) / toString(node.treePath);
        // missing-in-source reports a file that does not exist.
        if (manifest.empty() || !node.children.empty() || !isThere(path, node.node->isDirectory)) {
            continue;
        }
        for (const auto& difference : Manifest::compare(manifest, path.string(), progress)) {
            report(product.definitionFile.at(*node.element, "fileName"),
                   quotedPath(difference.path.empty() ? path : path / difference.path) + " " +
                       difference.text,
                   "It would be installed as it is, and is not the file that the release was made of.",
                   "Put the right file there, or let InstallInspector update write the manifest anew.");
        }
    }
}

void noSharedSource(const Product& product, const Report& report) {
    std::error_code error;
    if (product.tree.empty() || product.branch(Branch::shared) != nullptr ||
        fs::is_directory(fs::path(product.source) / Branch::shared, error)) {
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
        {"not-listed", Severity::Warning, Needs::Source, "something in the source that no entry covers",
         notListed, true},
        {"manifest-differs", Severity::Error, Needs::Source,
         "a file that is another one than the manifest says", manifestDiffers},
        {"no-shared-source", Severity::Error, Needs::Source, "neither tree nor source has VorlaneFX",
         noSharedSource},
    };
    return rules;
}
