// Mistakes in the content of the source folder: empty files, links out of the package, and leftovers of other
// tools.
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <system_error>

namespace {

namespace fs = std::filesystem;
using TreeNode = Product::TreeNode;

/// A node of the tree that is copied as it is in the source: a file, or a folder taken whole.
struct Piece {
    const TreeNode* node;
    fs::path path;
};

void addPieces(const TreeNode& node, const fs::path& path, std::vector<Piece>& pieces) {
    if (node.children.empty() && node.parent != nullptr) {
        pieces.push_back({&node, path});
    }
    for (const TreeNode* child : node.children) {
        addPieces(*child, path / toString(child->node->name), pieces);
    }
}

std::vector<Piece> piecesOf(const Product& product) {
    std::vector<Piece> pieces;
    if (!product.tree.empty()) {
        addPieces(product.tree.front(), product.source, pieces);
    }
    return pieces;
}

bool isFolder(const fs::path& path) {
    std::error_code error;
    return fs::is_directory(path, error);
}

bool isLink(const fs::directory_entry& entry) {
    std::error_code error;
    return entry.is_symlink(error);
}

/// Calls `visit` with each entry below the folder, without following links. If `visit` returns false, does
/// not go into the entry.
void forEachEntry(const fs::path& folder, const std::function<bool(const fs::directory_entry&)>& visit) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (visit(*entry) && !isLink(*entry) && isFolder(entry->path())) {
            forEachEntry(entry->path(), visit);
        }
    }
}

/// The paths below the piece for which `test` holds, sorted. Does not go into a folder for which it holds.
std::vector<fs::path> pathsIn(const Piece& piece,
                              const std::function<bool(const fs::directory_entry&)>& test) {
    std::vector<fs::path> found;
    std::error_code error;
    const fs::directory_entry self(piece.path, error);
    if (isLink(self) || !isFolder(piece.path)) {
        return found;
    }
    forEachEntry(piece.path, [&](const fs::directory_entry& entry) {
        const bool bFound = test(entry);
        if (bFound) {
            found.push_back(entry.path());
        }
        return !bFound;
    });
    std::sort(found.begin(), found.end());
    return found;
}

std::string printedPaths(const fs::path& path) {
    return quotedText(toVLString(path.string()));
}

/// The first path, and the number of the others.
std::string printedPaths(const std::vector<fs::path>& paths) {
    return printedPaths(paths.front()) +
           (paths.size() == 1 ? "" : " and " + counted(paths.size() - 1, "other", "others") + " like it");
}

Location atPiece(const Product& product, const Piece& piece) {
    return product.definitionFile.at(*piece.node->element, "fileName");
}

// Empty things

bool isEmptyFile(const fs::directory_entry& entry) {
    std::error_code error;
    const bool bFile = entry.is_regular_file(error) && !isLink(entry);
    return bFile && entry.file_size(error) == 0 && !error;
}

void emptyFile(const Product& product, const Report& report) {
    for (const Piece& piece : piecesOf(product)) {
        std::error_code error;
        const fs::directory_entry self(piece.path, error);
        // Hidden files, which keep an empty folder in a repository, and __init__.py are empty on purpose.
        const auto empty = pathsIn(piece, [](const fs::directory_entry& entry) {
            const std::string name = entry.path().filename().string();
            return isEmptyFile(entry) && name.front() != '.' && name != "__init__.py";
        });
        if (isEmptyFile(self) || !empty.empty()) {
            report(
                atPiece(product, piece),
                (empty.empty() ? printedPaths(piece.path) : printedPaths(empty)) + " has 0 bytes",
                "The customer gets an empty file: most often a build, or a copy of it, that was broken off.",
                "Build it again, or take it out of the package.");
        }
    }
}

bool hasFile(const fs::path& folder) {
    bool bFound = false;
    forEachEntry(folder, [&](const fs::directory_entry& entry) {
        bFound = bFound || isLink(entry) || !isFolder(entry.path());
        return !bFound;
    });
    return bFound;
}

void emptyBundle(const Product& product, const Report& report) {
    for (const Piece& piece : piecesOf(product)) {
        // The product or its user may fill a directory without an extension.
        const bool bBundle = !piece.node->node->isDirectory || piece.path.has_extension();
        if (bBundle && isFolder(piece.path) && !hasFile(piece.path)) {
            report(atPiece(product, piece), printedPaths(piece.path) + " is a folder without a file",
                   "The customer gets an empty bundle, which no host can load.",
                   "Build it again, or take it out of the package.");
        }
    }
}

// Links

bool isBelow(const fs::path& path, const fs::path& folder) {
    const fs::path relative = path.lexically_normal().lexically_relative(folder.lexically_normal());
    return !relative.empty() && *relative.begin() != "..";
}

/// Folders that every customer's machine has.
bool isOfTheSystem(const fs::path& target) {
    for (const char* folder : {"/System", "/usr/lib", "/usr/bin", "/usr/share", "/bin", "/sbin", "/usr/sbin",
                               "/Library/Frameworks", "/Applications", "/dev"}) {
        if (isBelow(target, folder)) {
            return true;
        }
    }
    return false;
}

fs::path linkTarget(const fs::directory_entry& entry) {
    std::error_code error;
    return isLink(entry) ? fs::read_symlink(entry.path(), error) : fs::path();
}

bool isAbsoluteLink(const fs::directory_entry& entry) {
    const fs::path target = linkTarget(entry);
    return target.is_absolute() && !isOfTheSystem(target);
}

/// Calls `visit` with each node of the tree that is a link in the source, and that link.
template <class Visitor>
void forEachListedLink(const Product& product, Visitor visit) {
    for (const TreeNode& node : product.tree) {
        std::error_code error;
        const fs::directory_entry link(fs::path(product.source) / toString(node.treePath), error);
        if (node.parent != nullptr && isLink(link)) {
            visit(node, link);
        }
    }
}

void absoluteLink(const Product& product, const Report& report) {
    for (const Piece& piece : piecesOf(product)) {
        const auto links = pathsIn(piece, isAbsoluteLink);
        if (!links.empty()) {
            const fs::path target = linkTarget(fs::directory_entry(links.front()));
            report(atPiece(product, piece), printedPaths(links) + " is a link to " + printedPaths(target),
                   "It is copied as it is: on a customer's machine it leads nowhere, or to something else.",
                   "Make it relative, with a target inside the folder.");
        }
    }
    forEachListedLink(product, [&](const TreeNode& node, const fs::directory_entry& link) {
        if (isAbsoluteLink(link)) {
            report(
                product.definitionFile.at(*node.element, "fileName"),
                printedPaths(link.path()) + " is a link to " + printedPaths(linkTarget(link)),
                "On a customer's machine the source has a link that leads nowhere, or to something else: the "
                "install stops, or installs that.",
                "Put the file itself there.");
        }
    });
}

void linkLeadsOut(const Product& product, const Report& report) {
    const auto leadsOut = [](const fs::directory_entry& link, const fs::path& folder) {
        const fs::path target = linkTarget(link);
        return target.is_relative() && !target.empty() &&
               !isBelow(link.path().parent_path() / target, folder);
    };
    for (const Piece& piece : piecesOf(product)) {
        const auto links = pathsIn(piece, [&](const fs::directory_entry& entry) {
            const fs::path target = linkTarget(entry);
            std::error_code error;
            return leadsOut(entry, piece.path) ||
                   (target.is_relative() && !target.empty() && !fs::exists(entry.path(), error));
        });
        if (!links.empty()) {
            report(
                atPiece(product, piece),
                printedPaths(links) + " is a link to " +
                    printedPaths(linkTarget(fs::directory_entry(links.front()))) + ", which is not inside " +
                    quotedText(piece.node->node->name),
                "The folder is copied as one piece, and what the link leads to is not part of it: where the "
                "folder lies on a customer's machine the link leads nowhere.",
                "Put what it leads to into the folder.");
        }
    }
    forEachListedLink(product, [&](const TreeNode& node, const fs::directory_entry& link) {
        std::error_code error;
        if (leadsOut(link, product.source) && fs::exists(link.path(), error)) {
            report(product.definitionFile.at(*node.element, "fileName"),
                   printedPaths(link.path()) + " is a link to " + printedPaths(linkTarget(link)) +
                       ", outside the source",
                   "A source that goes to customers with the link, and not with what it leads to, is "
                   "incomplete: the "
                   "install stops.",
                   "Put the file itself there.");
        }
    });
}

// Leftovers

bool isLeftover(const fs::directory_entry& entry) {
    const std::string name = entry.path().filename().string();
    const std::vector<std::string> names = {".git",      ".svn",      ".hg",        "__MACOSX",
                                            ".DS_Store", "Thumbs.db", "desktop.ini"};
    return std::find(names.begin(), names.end(), name) != names.end() || name.compare(0, 2, "._") == 0;
}

void leftoverInFolder(const Product& product, const Report& report) {
    for (const Piece& piece : piecesOf(product)) {
        const auto leftovers = pathsIn(piece, isLeftover);
        if (!leftovers.empty()) {
            report(atPiece(product, piece), printedPaths(leftovers) + " goes to the customer",
                   "The folder is copied as one piece, with what the Finder, an archive or version control "
                   "has left "
                   "in it; a signed bundle may no longer pass the check of its signature.",
                   "Remove it from the source, best in the script that builds the package.");
        }
    }
}

// What cannot be compared

void unreadableSource(const Product& product, const Report& report) {
    const auto reportAt = [&](const fs::path& path) {
        report({Location::Document::Source, path.string(), 0, 0}, "the folder cannot be read",
               "What is in it was not compared with the tree, and an install as this user cannot copy it.",
               "Give the user who checks and builds the right to read it.");
    };
    const std::function<void(const fs::path&)> look = [&](const fs::path& folder) {
        std::error_code error;
        fs::directory_iterator entry(folder, error);
        if (error) {
            reportAt(folder);
            return;
        }
        for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
            if (!isLink(*entry) && isFolder(entry->path())) {
                look(entry->path());
            }
        }
    };
    look(product.source);
}

} // namespace

const std::vector<Rule>& sourceContentRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"empty-file", Severity::Warning, Needs::Source, "a file of 0 bytes", emptyFile},
        {"empty-bundle", Severity::Error, Needs::Source, "a bundle without a file in it", emptyBundle},
        {"absolute-link", Severity::Error, Needs::Source, "a link to a place on the machine that built it",
         absoluteLink},
        {"link-leads-out", Severity::Warning, Needs::Source,
         "a link out of the folder with which it is copied", linkLeadsOut},
        {"leftover-in-folder", Severity::Warning, Needs::Source,
         "what other tools have left in a folder that is copied whole", leftoverInFolder},
        {"unreadable-source", Severity::Warning, Needs::Source, "a folder of the source that cannot be read",
         unreadableSource},
    };
    return rules;
}
