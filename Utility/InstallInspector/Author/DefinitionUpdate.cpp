#include "Utility/InstallInspector/Author/DefinitionUpdate.h"

#include "Utility/InstallInspector/Documents/LookAlike.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <iterator>

namespace {

using Change = DefinitionChange::Kind;
using NodeKind = StagedNode::Kind;
using Omission = StagedNode::Omission;

std::string valueOf(const TiXmlElement& element, const char* attribute) {
    const TiXmlAttribute* found = findAttribute(element, attribute);
    return found == nullptr ? "" : found->ValueStr();
}

std::string inside(const std::string& path, const std::string& name) {
    return path.empty() ? name : path + "/" + name;
}

/// Whether a folder at that path, listed without children, is copied whole.
bool mayBeWhole(const std::string& path) {
    return path.compare(0, path.find('/'), Branch::hosts) != 0 || levelOf(path) > 2;
}

} // namespace

DefinitionUpdate::DefinitionUpdate(EditableDefinition& edited, const StagedFolder& folder,
                                   EntryWriter& entries, Remarks& toAddTo)
    : definition(edited), source(folder), writer(entries), remarks(toAddTo),
      hosts(StagedHosts::of(folder.root())) {
    TiXmlDocument taken = definition.document().xml(); // reading takes it down
    meaning.parseInner(taken);
}

void DefinitionUpdate::change(Change kind, const std::string& path, const std::string& text) {
    changeList.push_back({kind, path, text});
}

void DefinitionUpdate::run() {
    if (const Entry* files = definition.document().find(Kind::InstallFiles)) {
        compareFolder(*files, source.root(), "");
    } else {
        addTree();
    }
    std::stable_sort(changeList.begin(), changeList.end(),
                     [](const DefinitionChange& a, const DefinitionChange& b) { return a.path < b.path; });
    if (begunManifests > 0) {
        change(Change::Changed, "manifest", "of " + counted(begunManifests, "entry", "entries") + ", new");
    }
    for (const auto& repeated : definition.document().repeatedElements()) {
        if (repeated.element->ValueStr() == nameOf(Kind::InstallFiles)) {
            remarks.note("installFiles in " + lineOf(*repeated.element),
                         "is not the first, so that nothing reads it, and it stays as it is");
        }
    }
    addFamilies();
    addHosts();
    noteServedHosts();
}

DefinitionUpdate::ListedNames DefinitionUpdate::listedIn(const Entry& parent) const {
    ListedNames names;
    for (const Entry* entry : definition.childrenOf(parent, {Kind::Directory, Kind::File})) {
        const std::string name = valueOf(*entry->element, "fileName");
        if (name.empty()) {
            continue; // the engine passes it over, and so does this
        }
        Listed& listed = names[name];
        listed.all.push_back(entry);
        // Like in the engine, a file replaces a directory, and a later entry an earlier one.
        if (listed.counts == nullptr || listed.counts->kind == Kind::Directory || entry->kind == Kind::File) {
            listed.counts = entry;
        }
    }
    return names;
}

/// Finds each listed name in the folder. If it is not there, takes a name that looks the same and is not
/// listed.
void DefinitionUpdate::matchNames(ListedNames& listed, const StagedNode& folder) const {
    std::map<std::string, const StagedNode*> strangers;
    for (const StagedNode& child : folder.children) {
        const auto found = listed.find(child.name);
        if (found != listed.end()) {
            found->second.node = &child;
        } else {
            strangers.emplace(diskFormOf(child.name), &child);
        }
    }
    for (auto& [name, entry] : listed) {
        if (entry.node == nullptr) {
            const auto found = strangers.find(diskFormOf(name));
            if (found != strangers.end()) {
                entry.node = found->second;
                strangers.erase(found);
            }
        }
    }
}

/// Why the entry is dropped. No value if it stays.
std::optional<std::string> DefinitionUpdate::whyGone(const Listed& listed, const std::string& path) const {
    if (listed.node == nullptr) {
        return "";
    }
    const StagedNode& node = *listed.node;
    if (node.omission == Omission::Excluded) {
        return "excluded";
    }
    const ListedNames inner = listedIn(*listed.counts);
    const bool bWhole = listed.counts->kind == Kind::File || (inner.empty() && mayBeWhole(path));
    const bool bNothing = node.omission == Omission::Hollow ||
                          (path == Branch::shared && node.isFolder() && node.children.empty());
    const bool bAllGone = std::none_of(inner.begin(), inner.end(),
                                       [&](const auto& entry) { return node.child(entry.first) != nullptr; });
    // An entry without content would mean the whole folder, with everything that it ever contains.
    return !bWhole && bNothing && bAllGone ? std::optional<std::string>("nothing is left of it")
                                           : std::nullopt;
}

void DefinitionUpdate::compareFolder(const Entry& entry, const StagedNode& folder, const std::string& path) {
    ListedNames listed = listedIn(entry);
    matchNames(listed, folder);
    for (const auto& [name, found] : listed) {
        if (const auto reason = whyGone(found, inside(path, name))) {
            drop(found, inside(path, name), *reason);
            continue;
        }
        const std::string itsPath = inside(path, found.node->name);
        if (found.node->name != name) {
            rename(*found.counts, itsPath, name);
        }
        compareEntry(*found.counts, *found.node, itsPath);
    }
    addMissing(entry, folder, path, listed);
}

void DefinitionUpdate::compareEntry(const Entry& entry, const StagedNode& node, const std::string& path) {
    if (node.kind == NodeKind::LooseLink) {
        remarks.fault(path, "is a link to nothing");
    } else if (entry.kind == Kind::Directory) {
        compareDirectory(entry, node, path);
    } else {
        writer.noteInsideWhole(node, path);
        compareManifest(entry, path);
    }
}

void DefinitionUpdate::compareDirectory(const Entry& entry, const StagedNode& node, const std::string& path) {
    const bool bWhole = listedIn(entry).empty() && mayBeWhole(path);
    if (node.kind == NodeKind::File) {
        if (!writer.standsInPlace(node, path)) {
            return;
        }
        listDropped(entry, path, "");
        change(Change::Added, path, "a file in its place");
        definition.replaceByEmpty(*entry.element, nameOf(Kind::File));
        compareManifest(entry, path);
    } else if (node.kind == NodeKind::LinkToFolder && !bWhole) {
        remarks.fault(path, "is a link, while the definition lists what is in a folder");
    } else if (node.omission == Omission::Junk || // listed on purpose, and not looked into
               (!bWhole && node.children.empty() && !writer.standsInPlace(node, path))) {
        return;
    } else if (bWhole) {
        writer.noteInsideWhole(node, path);
        compareManifest(entry, path);
    } else {
        compareFolder(entry, node, path);
    }
}

/// Updates the entry's manifest to the file or folder at `path`.
void DefinitionUpdate::compareManifest(const Entry& entry, const std::string& path) {
    if (!writer.writesManifests()) {
        return;
    }
    const Manifest::Parts parts = writer.manifestOf(path);
    const bool bFile = parts.size() == 1 && parts.front().path.empty();
    begunManifests += !parts.empty() && !Manifest::isIn(*entry.element) ? 1U : 0U;
    if (bFile) {
        compareFileManifest(*entry.element, parts.front(), path);
    } else if (entry.kind == Kind::File) {
        definition.removeAttribute(*entry.element, "size");
        definition.removeAttribute(*entry.element, "sha256");
    }
    compareParts(entry, bFile ? Manifest::Parts() : parts, path);
}

void DefinitionUpdate::compareFileManifest(const TiXmlElement& element, const Manifest::Part& part,
                                           const std::string& path) {
    const std::string size = valueOf(element, "size");
    if (comparePart(element, part) && Manifest::isIn(element)) {
        change(Change::Changed, path,
               size == std::to_string(part.size) ? "other content"
                                                 : size + " to " + counted(part.size, "byte", "bytes"));
    }
}

/// Sets the attributes of the element. Returns whether one of them had another value.
bool DefinitionUpdate::comparePart(const TiXmlElement& element, const Manifest::Part& part) {
    bool bChanged = false;
    const auto set = [&](const char* name, const std::string& value) {
        if (valueOf(element, name) == value) {
            return;
        }
        bChanged = true;
        if (value.empty()) {
            definition.removeAttribute(element, name);
        } else {
            definition.setAttribute(element, name, value);
        }
    };
    set("size", part.link.empty() ? std::to_string(part.size) : "");
    set("sha256", part.digest);
    if (!part.path.empty()) {
        set("link", part.link);
    }
    return bChanged;
}

void DefinitionUpdate::compareParts(const Entry& entry, const Manifest::Parts& parts,
                                    const std::string& path) {
    const bool bBegun = !Manifest::isIn(*entry.element);
    const auto find = [&parts](const std::string& wanted) {
        const auto found =
            std::lower_bound(parts.begin(), parts.end(), wanted,
                             [](const Manifest::Part& a, const std::string& b) { return a.path < b; });
        return found != parts.end() && found->path == wanted ? &*found : nullptr;
    };
    std::map<std::string, const TiXmlElement*> kept;
    for (const Entry* part : definition.childrenOf(entry, {Kind::Part})) {
        const std::string name = valueOf(*part->element, "path");
        const Manifest::Part* is = find(name);
        if (is == nullptr || !kept.emplace(name, part->element).second) {
            change(Change::Dropped, inside(path, name));
            definition.remove(*part->element);
        } else if (comparePart(*part->element, *is)) {
            change(Change::Changed, inside(path, name), "other content");
        }
    }
    std::map<const TiXmlElement*, std::string> lines; // by what they come behind
    const std::string before = definition.indentationInside(*entry.element);
    for (const Manifest::Part& part : parts) {
        if (kept.count(part.path) == 0) {
            const auto next = kept.upper_bound(part.path);
            lines[next == kept.begin() ? nullptr : std::prev(next)->second] +=
                before + "<part" + manifestAttributes(part) + "/>" + definition.style().lineEnd;
            if (!bBegun) {
                change(Change::Added, inside(path, part.path));
            }
        }
    }
    for (const auto& [behind, text] : lines) {
        definition.insert(*entry.element, behind, text);
    }
}

void DefinitionUpdate::addMissing(const Entry& parent, const StagedNode& folder, const std::string& path,
                                  const ListedNames& listed) {
    std::map<std::string, const TiXmlElement*> kept;
    std::set<const StagedNode*> matched;
    for (const auto& [name, found] : listed) {
        if (found.node != nullptr) {
            matched.insert(found.node);
            if (!whyGone(found, inside(path, name))) {
                kept[found.node->name] = found.counts->element;
            }
        }
    }
    const TiXmlElement* last = nullptr; // in the file
    for (const auto& [name, element] : kept) {
        last = last == nullptr || definition.spanOf(*last).end < definition.spanOf(*element).end ? element
                                                                                                 : last;
    }
    const auto excludes =
        path.empty() ? definition.childrenOf(parent, {Kind::Exclude}) : std::vector<const Entry*>();
    const TiXmlElement* top = excludes.empty() ? nullptr : excludes.back()->element;
    std::map<const TiXmlElement*, std::string> lines; // by what they come behind
    for (const StagedNode& child : folder.children) {
        if (child.isLeftOut() || matched.count(&child) != 0) {
            continue;
        }
        const auto next = kept.upper_bound(child.name);
        const TiXmlElement* before = next == kept.begin() ? top : std::prev(next)->second;
        // Branches have an order of their own; a new one comes last.
        before = path.empty() && last != nullptr ? last : before;
        std::string text;
        const std::size_t already = writer.written().size();
        writer.write(child, inside(path, child.name), definition.indentationInside(*parent.element), text);
        if (path.empty() && !text.empty()) {
            text.insert(0, definition.style().lineEnd);
        }
        lines[before] += text;
        for (std::size_t i = already; i < writer.written().size(); ++i) {
            change(Change::Added, writer.written()[i]);
            addedPaths.insert(writer.written()[i]);
        }
    }
    for (const auto& [before, text] : lines) {
        if (!text.empty()) {
            definition.insert(*parent.element, before, text);
        }
    }
}

/// For a definition without `installFiles`.
void DefinitionUpdate::addTree() {
    const TiXmlElement& product = *definition.document().find(Kind::Product)->element;
    const std::string before = definition.indentationInside(product);
    const TextStyle& style = definition.style();
    std::string text;
    for (const StagedNode& child : source.root().children) {
        writer.write(child, child.name, before + style.indentation, text);
    }
    if (text.empty()) {
        return;
    }
    const TiXmlElement* last = nullptr;
    for (const TiXmlElement* child = product.FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        last = child;
    }
    definition.insert(product, last,
                      before + "<installFiles>" + style.lineEnd + text + before + "</installFiles>" +
                          style.lineEnd);
    for (const std::string& path : writer.written()) {
        change(Change::Added, path);
        addedPaths.insert(path);
    }
}

void DefinitionUpdate::drop(const Listed& listed, const std::string& path, const std::string& why) {
    listDropped(*listed.counts, path, why);
    for (const Entry* entry : listed.all) {
        definition.remove(*entry->element);
    }
}

void DefinitionUpdate::listDropped(const Entry& entry, const std::string& path, const std::string& why) {
    change(Change::Dropped, path + (entry.kind == Kind::Directory ? "/" : ""), why);
    for (const auto& [name, listed] : listedIn(entry)) {
        listDropped(*listed.counts, inside(path, name), why);
    }
}

void DefinitionUpdate::rename(const Entry& entry, const std::string& path, const std::string& oldName) {
    definition.setAttribute(*entry.element, "fileName", path.substr(path.rfind('/') + 1));
    change(Change::Changed, path, "was " + quotedText(toVLString(oldName)));
}

// What else the engine needs for new folders of hosts

void DefinitionUpdate::addFamilies() {
    const TextStyle& style = definition.style();
    const Entry* families = definition.document().find(Kind::Families);
    std::set<std::string> known;
    definition.document().forEach({Kind::Family},
                                  [&](const Entry& entry) { known.insert(valueOf(*entry.element, "name")); });
    const TiXmlElement& product = *definition.document().find(Kind::Product)->element;
    const std::string before = families != nullptr
                                   ? definition.indentationInside(*families->element)
                                   : definition.indentationInside(product) + style.indentation;
    std::string text;
    for (const std::string& family : hosts.families) {
        if (known.count(family) == 0) {
            text += familyText(family, style, before);
            change(Change::Added, "family " + family, "with one plug-in of its name; name the real ones");
        } else if (meaning.pluginsByFamily.count(toVLString(family)) == 0) {
            remarks.note("family " + family, "has no plug-in, and is not installed");
        }
    }
    if (text.empty()) {
        return;
    }
    if (families != nullptr) {
        const auto all = definition.childrenOf(*families, {Kind::Family});
        definition.insert(*families->element, all.empty() ? nullptr : all.back()->element, text);
        return;
    }
    const std::string one = definition.indentationInside(product);
    const Entry* sku = definition.document().find(Kind::Sku);
    definition.insert(product, sku == nullptr ? nullptr : sku->element,
                      style.lineEnd + one + "<families>" + style.lineEnd + text + one + "</families>" +
                          style.lineEnd);
}

/// Only if the definition has such a list, because no install needs it.
void DefinitionUpdate::addHosts() {
    const Entry* list = definition.document().find(Kind::Hosts);
    if (list == nullptr) {
        return;
    }
    const auto all = definition.childrenOf(*list, {Kind::Host});
    std::set<std::string> known;
    for (const Entry* entry : all) {
        known.insert(valueOf(*entry->element, "name"));
    }
    std::string text;
    for (const auto& [name, host] : hosts.hosts) {
        if (known.count(name) == 0) {
            text += hostText(name, host, hosts.families, definition.style(),
                             definition.indentationInside(*list->element));
            change(Change::Added, "host " + name);
        }
    }
    if (!text.empty()) {
        definition.insert(*list->element, all.empty() ? nullptr : all.back()->element, text);
    }
}

/// Does not change what a person has written about a host.
void DefinitionUpdate::noteServedHosts() {
    const auto isListed = [&](const std::string& host) {
        const auto& names = meaning.hostNames;
        return std::find(names.begin(), names.end(), toVLString(host)) != names.end();
    };
    for (const std::string& folder : hosts.folders) {
        const std::string variantOf = hostOfVariant(folder);
        const std::string host = variantOf.empty() ? folder : variantOf;
        if (!isListed(host)) {
            continue;
        }
        const VLString qualified = toVLString(folder);
        const auto& known = meaning.hostArchNames;
        const std::string path = inside(Branch::hosts, folder);
        if (addedPaths.count(path + "/") != 0 &&
            std::find(known.begin(), known.end(), qualified) == known.end()) {
            remarks.note(path, "is new, while the arch of " + quotedText(toVLString(host)) +
                                   " in hosts does not have it: write arch=\"x86;x64\"");
        }
        const auto served = meaning.hostFamilies.find(qualified);
        for (const std::string& family : hosts.families) {
            const std::string familyPath = inside(path, family);
            const bool bNew = addedPaths.count(familyPath + "/") != 0;
            if (bNew && served != meaning.hostFamilies.end() &&
                std::find(served->second.begin(), served->second.end(), toVLString(family)) ==
                    served->second.end()) {
                remarks.note(familyPath, "is new, while the families of the host in hosts do not name it");
            }
        }
    }
}
