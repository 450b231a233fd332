#include "Utility/InstallInspector/Documents/Record.h"

#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Utility/InstallInspector/Documents/Product.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/XMLDocument.h"

#include <sys/stat.h>

namespace {

std::size_t countNodes(const StatusFile::FileNodeRef& node) {
    std::size_t count = 1;
    for (const auto& [name, child] : node.refChildren) {
        count += countNodes(child);
    }
    return count;
}

/// As StatusFile reads them: folders before files, a later one in the place of an earlier one.
std::map<VLString, TiXmlElement*> elementsIn(TiXmlElement& parent) {
    std::map<VLString, TiXmlElement*> elements;
    for (const char* kind : {"directory", "file"}) {
        XMLDocument::ForEachChild(&parent, kind, [&](TiXmlElement& element) {
            const VLString name = attributeOf(element, "fileName");
            if (name.IsSet() && attributeOf(element, "ref").IsSet()) {
                elements[name] = &element;
            }
        });
    }
    return elements;
}

} // namespace

bool Record::read(const std::string& folder, std::string& error) {
    Machine& machine = Machine::current();
    path = S_ISREG(machine.typeOf(toVLString(folder)))
               ? folder
               : toString(InstallUtility::statusFilePath(toVLString(folder)));
    bUnfinishedSave = machine.linkTypeOf(toVLString(path + ".new")) != 0;
    if (machine.linkTypeOf(toVLString(path)) == 0) {
        return true;
    }
    state = State::Unreadable;
    if (!S_ISREG(machine.typeOf(toVLString(path)))) {
        return true;
    }
    if (!file.read(path, Location::Document::Record, Kind::Install, error)) {
        return false;
    }
    if (!file.isReadable()) {
        return true;
    }
    state = State::Readable;
    content.parse(toVLString(path));
    if (const auto* files = file.find(Kind::RecordedFiles)) {
        // Pointers into the list stay valid: its room is there from the start.
        nodes.reserve(countNodes(content.root));
        nodes.push_back({&content.root, files->element, VLString(), nullptr, {}});
        addNodes(0, *files->element);
    }
    return true;
}

void Record::addNodes(std::size_t index, TiXmlElement& element) {
    const auto elements = elementsIn(element);
    for (const auto& [name, child] : nodes[index].recorded->refChildren) {
        const auto found = elements.find(name);
        if (found == elements.end()) {
            continue; // the file has changed since it was looked at first
        }
        const VLString treePath =
            index == 0 ? name : PathLibrary::GetDirectoryWithFile(nodes[index].treePath, name);
        nodes.push_back({&child, found->second, treePath, &nodes[index], {}});
        nodes[index].children.push_back(&nodes.back());
        byPath[treePath] = &nodes.back();
        if (child.isDirectory) {
            addNodes(nodes.size() - 1, *found->second);
        }
    }
}

const Record::Node* Record::find(const VLString& treePath) const {
    const auto found = byPath.find(treePath);
    return found == byPath.end() ? nullptr : found->second;
}

Location Record::near(const VLString& treePath) const {
    for (std::string above = toString(treePath); !above.empty();) {
        if (const Node* node = find(toVLString(above))) {
            return at(*node);
        }
        const std::size_t slash = above.rfind('/');
        above.resize(slash == std::string::npos ? 0 : slash);
    }
    return start();
}
