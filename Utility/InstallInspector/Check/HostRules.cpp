// Differences between the tree and the lists of hosts and families. An install uses the tree, other tools use
// the lists.
#include "Foundation/VLString.h"
#include "Utility/InstallInspector/Check/NameRules.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Report/NearestName.h"

#include <algorithm>
#include <map>
#include <set>

namespace {

using Entry = LocatedDocument::Entry;
using TreeNode = Product::TreeNode;

constexpr const char* otherTools =
    "An install goes by the tree, and other tools of the family by the list: the "
    "product that is built, or shown, is not the one that is installed.";

bool endsWith32(const VLString& name) {
    return name.EndsWith("32");
}

VLString without32(const VLString& name) {
    return name.Substr(0, name.Size() - 2);
}

/// The names of the folders that a `host` of the list has in the tree. They depend on its `arch`.
std::vector<VLString> foldersOf(const Entry& host) {
    const VLString name = attributeOf(*host.element, "name");
    const auto parts = StringLibrary::Split(attributeOf(*host.element, "arch"), ";", true);
    std::vector<VLString> names;
    for (const VLString& part : parts) {
        if (part.EqualsIgnoreCase("x86")) {
            names.push_back(name + "32");
        } else if (part.EqualsIgnoreCase("x64")) {
            names.push_back(name);
        }
    }
    if (parts.empty()) {
        names.push_back(name);
    }
    return names;
}

/// Calls `visit` with each `host` inside `hosts`, and each folder that it has.
template <class Visitor>
void forEachListedHost(const Product& product, Visitor visit) {
    product.definitionFile.forEach({Kind::Host}, [&](const Entry& entry) {
        if (entry.parent->kind == Kind::Hosts && attributeOf(*entry.element, "name").IsSet()) {
            for (const VLString& folder : foldersOf(entry)) {
                visit(entry, folder);
            }
        }
    });
}

/// Whether arch-value reports the host, or the host of which it is a variant. Then its folders are not known.
bool hasUnclearProcessors(const Product& product, const VLString& folder) {
    bool bUnclear = false;
    product.definitionFile.forEach({Kind::Host}, [&](const Entry& entry) {
        const VLString name = attributeOf(*entry.element, "name");
        for (const VLString& part : StringLibrary::Split(attributeOf(*entry.element, "arch"), ";", true)) {
            const bool bKnown = part.EqualsIgnoreCase("x86") || part.EqualsIgnoreCase("x64");
            bUnclear = bUnclear || (!bKnown && (folder == name || folder == name + "32"));
        }
    });
    return bUnclear;
}

/// The folders of hosts in the tree.
std::vector<const TreeNode*> hostFolders(const Product& product) {
    std::vector<const TreeNode*> folders;
    const TreeNode* hosts = product.branch(Branch::hosts);
    for (std::size_t i = 0; hosts != nullptr && i < hosts->children.size(); ++i) {
        if (hosts->children[i]->node->isDirectory) {
            folders.push_back(hosts->children[i]);
        }
    }
    return folders;
}

const TreeNode* hostFolder(const Product& product, const VLString& name) {
    const TreeNode* hosts = product.branch(Branch::hosts);
    const TreeNode* folder = hosts == nullptr ? nullptr : hosts->child(name);
    return folder != nullptr && folder->node->isDirectory ? folder : nullptr;
}

// Hosts

/// Whether unknown-host reports the name, because it is similar to a known one.
bool isSlip(const Product& product, const VLString& host) {
    return !product.knowsHost(host) && nearestName(toString(host), hostNames()).has_value();
}

void hostNotInTree(const Product& product, const Report& report) {
    std::vector<std::string> unlisted = namesOf(hostFolders(product));
    forEachListedHost(product, [&](const Entry&, const VLString& folder) {
        unlisted.erase(std::remove(unlisted.begin(), unlisted.end(), toString(folder)), unlisted.end());
    });
    forEachListedHost(product, [&](const Entry& entry, const VLString& folder) {
        const auto nearest = nearestName(toString(folder), unlisted);
        const bool bToldOf =
            isSlip(product, folder) || (nearest.has_value() && isSlip(product, toVLString(*nearest)));
        if (hostFolder(product, folder) == nullptr && !bToldOf) {
            report(product.definitionFile.at(*entry.element, "name"),
                   "<hosts> lists a host that the tree does not have: " + quotedText(folder),
                   "Nothing is installed for it. " + std::string(otherTools),
                   adviseNearest(
                       folder, unlisted,
                       "List the directory " + quotedText(folder) +
                           " inside Hosts of the tree, or take the host, or its variant in arch, out."));
        }
    });
}

void hostNotListed(const Product& product, const Report& report) {
    std::vector<std::string> listed;
    forEachListedHost(product,
                      [&](const Entry&, const VLString& folder) { listed.push_back(toString(folder)); });
    if (listed.empty()) {
        return; // the list may be left out as a whole
    }
    std::vector<std::string> withoutFolder;
    for (const std::string& name : listed) {
        if (hostFolder(product, toVLString(name)) == nullptr) {
            withoutFolder.push_back(name);
        }
    }
    for (const TreeNode* host : hostFolders(product)) {
        const VLString& name = host->node->name;
        // A similar name in the list has a finding there.
        if (std::find(listed.begin(), listed.end(), toString(name)) == listed.end() &&
            !nearestName(toString(name), withoutFolder).has_value() && !hasUnclearProcessors(product, name)) {
            const bool bVariant = endsWith32(name) && std::find(listed.begin(), listed.end(),
                                                                toString(without32(name))) != listed.end();
            report(product.definitionFile.at(*host->element, "fileName"),
                   "the tree has a host that <hosts> does not list: " + quotedText(name), otherTools,
                   bVariant ? "Write arch=\"x86;x64\" at the <host>." : "List it in <hosts>.");
        }
    }
}

// Families

void familyNotInTree(const Product& product, const Report& report) {
    std::set<VLString> inTree;
    for (const TreeNode* host : hostFolders(product)) {
        for (const TreeNode* family : host->children) {
            inTree.insert(family->node->name);
        }
    }
    if (inTree.empty()) {
        return; // a product of other files alone
    }
    product.definitionFile.forEach({Kind::Family}, [&](const Entry& entry) {
        const VLString name = attributeOf(*entry.element, "name");
        if (product.definition.pluginsByFamily.count(name) != 0 && inTree.count(name) == 0) {
            std::vector<std::string> strangers;
            for (const VLString& other : inTree) {
                if (product.definition.pluginsByFamily.count(other) == 0) {
                    strangers.push_back(toString(other));
                }
            }
            report(product.definitionFile.at(*entry.element, "name"),
                   "no host of the tree has a directory for the family " + quotedText(name),
                   "Nothing of the family is installed for any host.",
                   adviseNearest(
                       name, strangers,
                       "List a directory of its name inside the hosts that it is for, or take the family "
                       "out."));
        }
    });
}

/// The families that the list has for a host. If it has none, the host is for all families.
std::vector<VLString> servedFamilies(const Entry& host) {
    const auto parts = StringLibrary::Split(attributeOf(*host.element, "families"), ";", true);
    return {parts.begin(), parts.end()};
}

void hostFamilyNotInTree(const Product& product, const Report& report) {
    forEachListedHost(product, [&](const Entry& entry, const VLString& folder) {
        const TreeNode* host = hostFolder(product, folder);
        for (const VLString& family : servedFamilies(entry)) {
            // host-family-unknown reports a family that the product does not have.
            if (host != nullptr && host->child(family) == nullptr &&
                product.definition.pluginsByFamily.count(family) != 0) {
                report(product.definitionFile.at(*entry.element, "families"),
                       "<hosts> says that " + quotedText(folder) + " has the family " + quotedText(family) +
                           ", and the tree has no such directory",
                       "Nothing of the family is installed for the host. " + std::string(otherTools),
                       "List the directory " + quotedText(host->treePath + "/" + family) +
                           ", or take the family out of the list.");
            }
        }
    });
}

void hostFamilyNotListed(const Product& product, const Report& report) {
    forEachListedHost(product, [&](const Entry& entry, const VLString& folder) {
        const auto served = servedFamilies(entry);
        const auto& known = product.definition.pluginsByFamily;
        if (std::any_of(served.begin(), served.end(),
                        [&](const VLString& family) { return known.count(family) == 0; })) {
            return; // host-family-unknown speaks of the list
        }
        const TreeNode* host = hostFolder(product, folder);
        for (std::size_t i = 0; host != nullptr && !served.empty() && i < host->children.size(); ++i) {
            const VLString& family = host->children[i]->node->name;
            if (known.count(family) != 0 && std::find(served.begin(), served.end(), family) == served.end()) {
                report(product.definitionFile.at(*host->children[i]->element, "fileName"),
                       "the tree has the family " + quotedText(family) + " for " + quotedText(folder) +
                           ", and <hosts> does not say so in " + lineOf(*entry.element),
                       otherTools, "Write it behind a \";\" into families, or take the directory out.");
            }
        }
    });
}

void plugInInTwoFamilies(const Product& product, const Report& report) {
    std::map<VLString, const Entry*> seen;
    product.definitionFile.forEach({Kind::Plugin}, [&](const Entry& entry) {
        const VLString name = attributeOf(*entry.element, "name");
        const Entry* family = entry.parent->parent;
        const auto [first, bNew] = seen.emplace(name, family);
        const VLString other = attributeOf(*first->second->element, "name");
        if (name.IsSet() && !bNew && other != attributeOf(*family->element, "name")) {
            report(product.definitionFile.at(*entry.element, "name"),
                   "the plug-in " + quotedText(name) + " is also one of the family " + quotedText(other),
                   "A plug-in belongs to one family: whoever asks for it finds one of the two.",
                   "Take it out of one family, or give it another name.");
        }
    });
}

// Processors

/// The processor if the text names only one, "x86" or "x64". Otherwise empty.
std::string onlyProcessor(const VLString& arch) {
    std::set<std::string> parts;
    for (const VLString& part : StringLibrary::Split(arch, ";", true)) {
        parts.insert(toString(part.ToLower()));
    }
    return parts.size() == 1 && (*parts.begin() == "x86" || *parts.begin() == "x64") ? *parts.begin() : "";
}

/// Whether the folder is that of a host's 32-bit variant, and not of a host with such a name.
bool isVariant(const Product& product, const VLString& folder) {
    if (!endsWith32(folder)) {
        return false;
    }
    bool bListedAsItIs = false;
    forEachListedHost(product, [&](const Entry& entry, const VLString&) {
        bListedAsItIs = bListedAsItIs || attributeOf(*entry.element, "name") == folder;
    });
    return !bListedAsItIs && product.ownHosts.count(folder) == 0;
}

void reportArch(const Product& product, const TreeNode& node, const VLString& host, const char* right,
                const Report& report) {
    const std::string arch = onlyProcessor(attributeOf(*node.element, "arch"));
    if (!arch.empty() && arch != right) {
        report(product.definitionFile.at(*node.element, "arch"),
               "arch=" + quotedText(toVLString(arch)) + " below the host folder " + quotedText(host),
               std::string(
                   "A folder with \"32\" behind the host's name is for the 32-bit host, any other for the "
                   "64-bit one: the host does not load files of the other kind."),
               std::string("Write arch=\"") + right + "\", or move it to the other folder.");
    }
    for (const TreeNode* child : node.children) {
        reportArch(product, *child, host, right, report);
    }
}

void archAgainstName(const Product& product, const Report& report) {
    for (const TreeNode* host : hostFolders(product)) {
        const VLString& name = host->node->name;
        reportArch(product, *host, name, isVariant(product, name) ? "x86" : "x64", report);
    }
    product.definitionFile.forEach({Kind::Host}, [&](const Entry& entry) {
        const VLString name = attributeOf(*entry.element, "name");
        if (endsWith32(name) && isKnownHost(without32(name))) {
            report(product.definitionFile.at(*entry.element, "name"),
                   quotedText(name) + " is the 32-bit variant of a host, not a host",
                   "Its variant would have \"32\" behind the name twice, or none at all.",
                   "Write name=" + quotedText(without32(name)) +
                       " with arch=\"x86\", or \"x86;x64\" for both.");
        }
    });
}

} // namespace

const std::vector<Rule>& hostRules() {
    using Needs = Rule::Needs;
    static const std::vector<Rule> rules = {
        {"host-not-in-tree", Severity::Warning, Needs::Definition,
         "a host of the list that the tree does not have", hostNotInTree},
        {"host-not-listed", Severity::Warning, Needs::Definition,
         "a host of the tree that the list does not have", hostNotListed},
        {"family-not-in-tree", Severity::Warning, Needs::Definition,
         "a family without a directory in any host", familyNotInTree},
        {"host-family-not-in-tree", Severity::Warning, Needs::Definition,
         "a family that a host is said to have, and has not in the tree", hostFamilyNotInTree},
        {"host-family-not-listed", Severity::Warning, Needs::Definition,
         "a family that a host has in the tree, and is not said to have", hostFamilyNotListed},
        {"plugin-in-two-families", Severity::Warning, Needs::Definition, "a plug-in of two families",
         plugInInTwoFamilies},
        {"arch-against-name", Severity::Warning, Needs::Definition,
         "a processor other than that of the host's folder", archAgainstName},
    };
    return rules;
}
