// Parts of the tree that meet in one place on disk.
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Documents/ConditionLogic.h"
#include "Utility/InstallInspector/Documents/TargetFolders.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <system_error>
#include <utility>

namespace {

using TreeNode = Product::TreeNode;

/// Two nodes that go to one path.
struct Meeting {
    const TreeNode* first;
    const TreeNode* second;
    std::string path;
};

/// Two target folders. They have the same path, or the second one lies inside the first. Finds the nodes that
/// go to one path.
class Pair {
public:
    Pair(const TargetFolder& outer, const TargetFolder& inner) : first(outer), second(inner) {
        compare(*first.node, second.compared.substr(first.compared.size()), first.folder);
    }

    const std::vector<Meeting>& meetings() const { return list; }

private:
    const TargetFolder& first;
    const TargetFolder& second;
    std::vector<Meeting> list;

    static std::string nameOf(const TreeNode& node) { return comparedPath(toString(node.node->name)); }

    /// Whether copy and removal take the node as one piece.
    static bool isWhole(const TreeNode& node) { return node.children.empty(); }

    void add(const TreeNode& a, const TreeNode& b, const std::string& path) {
        // A path of the tree that several products list is one file on purpose.
        if (a.treePath != b.treePath) {
            list.push_back({&a, &b, path});
        }
    }

    /// `node` lies at `path`; `rest` leads from there to the second folder.
    void compare(const TreeNode& node, const std::string& rest, const std::string& path) {
        if (rest.empty()) {
            merge(node, *second.node, path);
            return;
        }
        if (isWhole(node)) {
            add(node, *second.node, second.folder);
            return;
        }
        const std::size_t end = std::min(rest.find('/', 1), rest.size());
        for (const TreeNode* child : first.children(node)) {
            if (nameOf(*child) == rest.substr(1, end - 1)) {
                compare(*child, rest.substr(end), path + "/" + toString(child->node->name));
            }
        }
    }

    /// Both lie at `path`.
    void merge(const TreeNode& a, const TreeNode& b, const std::string& path) {
        if (&a == &b) {
            return;
        }
        if (isWhole(a) || isWhole(b)) {
            add(a, b, path);
            return;
        }
        std::map<std::string, const TreeNode*> names;
        for (const TreeNode* child : first.children(a)) {
            names.emplace(nameOf(*child), child);
        }
        for (const TreeNode* child : second.children(b)) {
            const auto same = names.find(nameOf(*child));
            if (same != names.end()) {
                merge(*same->second, *child, path + "/" + toString(child->node->name));
            }
        }
    }
};

// What meets

namespace fs = std::filesystem;

bool sameBytes(const fs::path& a, const fs::path& b) {
    std::ifstream first(a, std::ios::binary);
    std::ifstream second(b, std::ios::binary);
    using Bytes = std::istreambuf_iterator<char>;
    return first && second && std::equal(Bytes(first), {}, Bytes(second), {});
}

/// Whether the two are files, or folders, with the same in them.
bool sameContent(const fs::path& a, const fs::path& b) {
    std::error_code error;
    if (!fs::is_directory(a, error) || !fs::is_directory(b, error)) {
        return fs::is_regular_file(a, error) && fs::is_regular_file(b, error) && sameBytes(a, b);
    }
    std::set<fs::path> names;
    for (const fs::path& folder : {a, b}) {
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error)) {
            names.insert(entry->path().filename());
        }
    }
    return std::all_of(names.begin(), names.end(),
                       [&](const fs::path& name) { return sameContent(a / name, b / name); });
}

/// Whether the source shows that the two are not copies of one thing.
bool differ(const Product& product, const Meeting& meeting) {
    const auto inSource = [&](const TreeNode& node) {
        return fs::path(product.source) / toString(node.treePath);
    };
    std::error_code error;
    return !product.source.empty() && fs::exists(inSource(*meeting.first), error) &&
           fs::exists(inSource(*meeting.second), error) &&
           !sameContent(inSource(*meeting.first), inSource(*meeting.second));
}

/// Calls `visit` with each two folders of which the second lies at the first or inside it.
template <class Visitor>
void forEachPair(const std::vector<TargetFolder>& targets, Visitor visit) {
    std::map<std::string, std::vector<const TargetFolder*>> byFolder;
    for (const TargetFolder& target : targets) {
        byFolder[target.compared].push_back(&target);
    }
    for (const auto& [folder, here] : byFolder) {
        for (std::size_t i = 0; i < here.size(); ++i) {
            for (std::size_t j = i + 1; j < here.size(); ++j) {
                visit(*here[i], *here[j]);
            }
        }
        for (std::size_t end = folder.rfind('/'); end != std::string::npos && end > 0;
             end = folder.rfind('/', end - 1)) {
            const auto above = byFolder.find(folder.substr(0, end));
            for (std::size_t i = 0; above != byFolder.end() && i < above->second.size(); ++i) {
                for (const TargetFolder* inner : here) {
                    visit(*above->second[i], *inner);
                }
            }
        }
    }
}

void reportMeeting(const TargetFolder& outer, const TargetFolder& inner, const std::vector<Meeting>& meetings,
                   const Report& report) {
    const Meeting& meeting = meetings.front();
    const bool bOneFile = outer.product == inner.product;
    // Of two products the one that was named last; both folders are of one list.
    const bool bSwap =
        bOneFile ? comesBefore(*meeting.second->element, *meeting.first->element) : &outer > &inner;
    const Product& product = bSwap ? *outer.product : *inner.product;
    const TreeNode* later = bSwap ? meeting.first : meeting.second;
    const TreeNode* other = bSwap ? meeting.second : meeting.first;
    const std::size_t more = meetings.size() - 1;
    const std::string otherFile =
        bOneFile ? "" : " of " + printable((bSwap ? inner : outer).product->definitionFile.path());
    const auto isWholeFolder = [](const TreeNode& node) {
        return node.node->isDirectory && node.children.empty();
    };
    // Equal copies in one product are installed and removed together. That changes if another product
    // installs one of them.
    const bool bLoses = !bOneFile || std::any_of(meetings.begin(), meetings.end(),
                                                 [&](const Meeting& each) { return differ(product, each); });
    report.as(bLoses ? Severity::Error : Severity::Warning)(
        product.definitionFile.at(*later->element, "fileName"),
        quotedText(later->treePath) + " and " + quotedText(other->treePath) + " in " +
            lineOf(*other->element) + otherFile + " meet in " + quotedText(toVLString(meeting.path)) +
            (more == 0 ? "" : ", and so do " + counted(more, "other", "others")),
        isWholeFolder(*later) || isWholeFolder(*other)
            ? "A folder that is copied whole is removed whole, with what the other has put there; and each "
              "counts by itself."
            : "Whichever is copied last replaces the other, and each counts by itself: an uninstall that "
              "brings one count to 0 removes the file, though the other is still in use.",
        "Give each a target folder of its own, for families with %FAMILY%, or list it once.");
}

void reportMeetings(const std::vector<TargetFolder>& targets, bool bAcross, const Report& report) {
    std::map<std::pair<const TreeNode*, const TreeNode*>, bool> told;
    forEachPair(targets, [&](const TargetFolder& outer, const TargetFolder& inner) {
        if ((outer.product != inner.product) != bAcross) {
            return;
        }
        const Pair pair(outer, inner);
        if (!pair.meetings().empty() &&
            ConditionLogic::canHoldTogether(outer.path->condition, inner.path->condition) &&
            told.emplace(std::pair(pair.meetings().front().first, pair.meetings().front().second), true)
                .second) {
            reportMeeting(outer, inner, pair.meetings(), report);
        }
    });
}

void targetsMeet(const Product& product, const Report& report) {
    reportMeetings(targetFoldersOf(product), false, report);
}

void targetsOfProductsMeet(const ProductLine& line, const Report& report) {
    std::vector<TargetFolder> targets;
    for (const Product* product : line.products) {
        const auto own = targetFoldersOf(*product);
        targets.insert(targets.end(), own.begin(), own.end());
    }
    reportMeetings(targets, true, report);
}

} // namespace

const std::vector<Rule>& meetingRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"targets-meet", Severity::Error, Needs::Both, "parts of the tree that meet in one place on disk",
         targetsMeet, false, targetsOfProductsMeet},
    };
    return rules;
}
