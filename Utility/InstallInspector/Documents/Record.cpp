#include "Utility/InstallInspector/Documents/Record.h"

#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Utility/InstallInspector/Documents/FindByName.h"
#include "Utility/InstallInspector/Documents/Product.h"
#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/XMLDocument.h"

#include <algorithm>
#include <map>
#include <sys/stat.h>

namespace {

/// As StatusFile reads them: folders before files, a later one in the place of an earlier one.
std::map<VLString, TiXmlElement*> elementsIn(TiXmlElement& parent) {
    std::map<VLString, TiXmlElement*> elements;
    for (const char* kind : {"directory", "file"}) {
        XMLDocument::ForEachChild(&parent, kind, [&](TiXmlElement& element) {
            const VLString name = attributeOf(element, "fileName");
            if (name.IsSet() && attributeOf(element, "ref").IsSet()) {
                // A record is written in the order of the map, so that the end is the right place.
                elements.insert_or_assign(elements.end(), name, &element);
            }
        });
    }
    return elements;
}

/// Where each path below `parent` has its name, parents first, in the engine's order.
void appendPlaces(TiXmlElement& parent, std::vector<TextPosition>& places) {
    for (const auto& [name, element] : elementsIn(parent)) {
        const TiXmlAttribute& attribute = *findAttribute(*element, "fileName");
        places.push_back({attribute.Row(), attribute.Column()});
        if (element->ValueStr() == "directory") {
            appendPlaces(*element, places);
        }
    }
}

} // namespace

const Record::Node* Record::Node::child(const VLString& name) const {
    return findByName(children, name,
                      [](const Node& candidate) -> const VLString& { return candidate.recorded->name; });
}

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
    return true;
}

void Record::interpret() {
    if (state != State::Readable) {
        return;
    }
    std::vector<TextPosition> places;
    const auto* files = file.find(Kind::RecordedFiles);
    const bool bFiles = files != nullptr;
    if (bFiles) {
        appendPlaces(*files->element, places);
    }
    content.parseInner(file.xml());
    file.forgetContent();
    if (bFiles) {
        // Pointers into the list stay valid, because its memory is reserved before.
        nodes.reserve(1 + places.size());
        nodes.push_back({&content.root, {}, nullptr, {}});
        addNodes(nodes.front(), places);
    }
}

/// `places` are those of all nodes but the root, in their order.
void Record::addNodes(Node& parent, const std::vector<TextPosition>& places) {
    parent.children.reserve(parent.recorded->refChildren.size());
    for (const auto& [name, child] : parent.recorded->refChildren) {
        nodes.push_back({&child, places[nodes.size() - 1], &parent, {}});
        parent.children.push_back(&nodes.back());
        addNodes(nodes.back(), places);
    }
}

const Record::Node* Record::find(const VLString& treePath) const {
    if (nodes.empty()) {
        return nullptr;
    }
    const Node* node = &nodes.front();
    const std::string text = toString(treePath);
    for (std::size_t begin = 0; node != nullptr && begin <= text.size();) {
        const std::size_t end = std::min(text.find('/', begin), text.size());
        node = node->child(toVLString(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return node;
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

VLString pathOf(const Record::Node& node) {
    const VLString& name = node.recorded->name;
    const bool bTop = node.parent == nullptr || node.parent->parent == nullptr;
    return bTop ? name : PathLibrary::GetDirectoryWithFile(pathOf(*node.parent), name);
}
