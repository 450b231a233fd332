#include "Utility/InstallUtility/StatusFile.h"

#include "Foundation/Machine.h"
#include "Foundation/VLVersion.h"
#include "Utility/InstallUtility/XMLDocument.h"
#include "Utility/InstallUtility/XMLTextCheck.h"

#include <tinyxml.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <utility>

using FileNodeRef = StatusFile::FileNodeRef;
using SKUInfo = SKUDefinition::SKUInfo;

namespace {

// Reading. Elements are removed while the record grows, so that both are never complete in memory.

void readProducts(TiXmlNode* element, Vector<SKUInfo>& products) {
    // Intended: one variable for all elements. A missing attribute keeps the value of the product before.
    SKUInfo info;
    const auto readAttribute = [](const TiXmlElement& sku, const char* name, VLString& text) {
        if (const char* value = sku.Attribute(name)) {
            text = VLString(value);
        }
    };
    XMLDocument::ForEachChild(element, "sku", [&](TiXmlElement& sku) {
        readAttribute(sku, "ID", info.ID);
        readAttribute(sku, "name", info.name);
        readAttribute(sku, "build", info.build);
        products.push_back(info);
        element->RemoveChild(&sku);
    });
}

/// Adds a child for `element` to `parent` and returns it. Null if the element has no name or no count.
FileNodeRef* readNode(const TiXmlElement& element, FileNodeRef& parent) {
    VLString name = XMLDocument::Attribute(element, "fileName");
    const char* ref = element.Attribute("ref");
    if (name.IsEmpty() || ref == nullptr || *ref == '\0') {
        return nullptr;
    }
    // A record is written in the order of the map, so the end is usually the right place.
    FileNodeRef& node = parent.refChildren.try_emplace(parent.refChildren.end(), name)->second;
    if (node.name.IsSet()) {
        node = FileNodeRef(); // replaces an earlier node with the same name
    }
    node.name = std::move(name);
    node.ref = static_cast<std::int32_t>(std::strtol(ref, nullptr, 10)); // 0 if it is not a number
    return &node;
}

// Writing. Prints element by element, without a document in memory. The text is the one that
// TiXmlDocument::SaveFile prints.

class ElementPrinter {
public:
    explicit ElementPrinter(FILE* stream) : file(stream) {}

    void begin(const char* element) {
        if (bInStartTag) {
            endLine(">\n");
        }
        indent();
        text += '<';
        text += element;
        ++depth;
        bInStartTag = true;
    }

    void attribute(const char* name, const VLString& value) {
        attribute(name, std::string(value.ConstData()));
    }

    void attribute(const char* name, const std::string& value) {
        const char quote = value.find('"') == std::string::npos ? '"' : '\'';
        text += ' ';
        text += name;
        text += '=';
        text += quote;
        TiXmlBase::EncodeString(value, &text);
        text += quote;
    }

    void end(const char* element) {
        --depth;
        if (bInStartTag) {
            endLine(" />\n");
        } else {
            indent();
            text += "</";
            text += element;
            endLine(">\n");
        }
        bInStartTag = false;
    }

private:
    void indent() {
        constexpr unsigned long width = 4;
        text.append(width * depth, ' ');
    }

    /// AtomicFile checks the stream for errors.
    void endLine(const char* ending) {
        text += ending;
        (void)std::fwrite(text.data(), 1, text.size(), file);
        text.clear();
    }

    FILE* file;
    std::string text; ///< the current line
    unsigned long depth = 0;
    bool bInStartTag = false;
};

void printProducts(ElementPrinter& printer, const Vector<SKUInfo>& products) {
    printer.begin("products");
    for (const SKUInfo& info : products) {
        printer.begin("sku");
        printer.attribute("ID", info.ID);
        printer.attribute("name", info.name);
        printer.attribute("build", info.build);
        printer.end("sku");
    }
    printer.end("products");
}

void printShortCut(ElementPrinter& printer, const FileNode::ShortCutInfo& shortCut) {
    printer.begin("shortCut");
    printer.attribute("name", shortCut.name);
    printer.attribute("dir", shortCut.dir);
    printer.end("shortCut");
}

/// Leaves out paths that no product uses, with everything below them.
void printChildren(ElementPrinter& printer, const FileNodeRef& parent) {
    for (const auto& [name, node] : parent.refChildren) {
        if (node.ref < 1) {
            continue;
        }
        const char* element = node.isDirectory ? "directory" : "file";
        printer.begin(element);
        printer.attribute("fileName", node.name);
        printer.attribute("ref", std::to_string(node.ref));
        if (!node.isDirectory) {
            printer.attribute("build", node.build);
            if (node.IsShortCutInfoValid()) {
                printShortCut(printer, node.shortCut);
            }
        }
        printChildren(printer, node);
        printer.end(element);
    }
}

// Walking the tree. A path is passed as a directory and a name, because joining them for every file is slow.

/// The largest number of components of a path that can be read again. There are two more levels above them,
/// install and installFiles, and one below, a shortcut.
constexpr unsigned long maxComponents = XMLTextCheck::maxDepth - 3;

/// The components of a path from left to right, without empty ones.
class Components {
public:
    explicit Components(const VLString& path) : rest(path.ConstData()) {}

    bool next(VLString& component) {
        rest += std::strspn(rest, "/");
        const unsigned long length = std::strcspn(rest, "/");
        component.init(rest, length);
        rest += length;
        return length != 0;
    }

private:
    const char* rest;
};

unsigned long countComponents(const VLString& path) {
    unsigned long count = 0;
    char previous = '/';
    for (const char* c = path.ConstData(); *c != '\0'; previous = *c++) {
        count += *c != '/' && previous == '/' ? 1 : 0;
    }
    return count;
}

/// The node at `path` below `node`. Null if there is none or `node` is null.
template <class Node>
Node* find(Node* node, const VLString& path) {
    Components components(path);
    VLString component;
    while (node != nullptr && components.next(component)) {
        const auto child = node->refChildren.find(component);
        node = child == node->refChildren.end() ? nullptr : &child->second;
    }
    return node;
}

// Recording. A damaged record can contain any count, so counts must not overflow.

void addUse(FileNodeRef& recorded) {
    recorded.ref += recorded.ref == std::numeric_limits<std::int32_t>::max() ? 0 : 1;
}

void dropUse(FileNodeRef& recorded) {
    recorded.ref -= recorded.ref == std::numeric_limits<std::int32_t>::min() ? 0 : 1;
}

void copyShortCut(const FileNode& node, FileNodeRef& recorded) {
    if (node.IsShortCutInfoValid()) {
        recorded.shortCut = node.shortCut;
    }
}

} // namespace

void StatusFile::clear() {
    products.clear();
    root.name.Clear();
    root.refChildren.clear();
}

bool StatusFile::parse(const VLString& path) {
    clear(); // not in memory together with the document
    TiXmlDocument document;
    XMLDocument::Load(path, document);
    parseInner(document);
    return true;
}

bool StatusFile::parseBytes(std::unique_ptr<char[]> bytes) {
    clear();
    TiXmlDocument document;
    XMLDocument::ParseBytes(bytes.get(), document);
    bytes.reset(); // not in memory together with the record
    return parseInner(document);
}

bool StatusFile::parseInner(TiXmlDocument& document) {
    clear();
    TiXmlNode* install = document.FirstChild("install");
    if (install == nullptr) {
        return false;
    }
    readProducts(install->FirstChild("products"), products);
    if (TiXmlNode* installFiles = install->FirstChild("installFiles")) {
        root.isDirectory = true;
        readChildren(*installFiles, root);
    }
    return true;
}

void StatusFile::readFile(TiXmlElement& element, FileNodeRef& parent) {
    FileNodeRef* file = readNode(element, parent);
    if (file == nullptr) {
        return;
    }
    file->build = XMLDocument::Attribute(element, "build");
    file->buildNumber = buildNumbers.of(file->build);
    if (const TiXmlElement* shortCut = XMLDocument::FirstChild(element, "shortCut")) {
        file->shortCut.name = XMLDocument::Attribute(*shortCut, "name");
        file->shortCut.dir = XMLDocument::Attribute(*shortCut, "dir");
    }
}

/// Reads the children of `parent`. Files are read after all folders and replace folders with the same name.
void StatusFile::readChildren(TiXmlNode& element, FileNodeRef& parent) {
    XMLDocument::ForEachChild(&element, "directory", [&](TiXmlElement& child) {
        if (FileNodeRef* directory = readNode(child, parent)) {
            directory->isDirectory = true;
            readChildren(child, *directory);
        }
        element.RemoveChild(&child);
    });
    XMLDocument::ForEachChild(&element, "file", [&](TiXmlElement& child) {
        readFile(child, parent);
        element.RemoveChild(&child);
    });
}

bool StatusFile::write(const VLString& path) {
    int error = 0;
    return Machine::current().saveFile(
               path, [this](FILE* stream) { print(stream); }, nullptr, error) == Machine::Saved::Yes;
}

void StatusFile::print(FILE* stream) const {
    ElementPrinter printer(stream);
    printer.begin("install");
    printProducts(printer, products);
    printer.begin("installFiles");
    printChildren(printer, root);
    printer.end("installFiles");
    printer.end("install");
}

int StatusFile::getProductIndex(const SKUDefinition::SKUInfo& info) const {
    const auto product = std::find_if(products.begin(), products.end(),
                                      [&](const SKUInfo& other) { return other.ID == info.ID; });
    return product == products.end() ? -1 : static_cast<int>(product - products.begin());
}

bool StatusFile::hasProduct(const SKUDefinition::SKUInfo& info) const {
    return getProductIndex(info) >= 0;
}

bool StatusFile::hasProduct(const VLString& ID) const {
    SKUInfo info;
    info.ID = ID;
    return hasProduct(info);
}

bool StatusFile::addProduct(const SKUDefinition::SKUInfo& info) {
    if (!hasProduct(info)) {
        products.push_back(info);
        products.back().prefix.Clear();
    }
    return true;
}

bool StatusFile::removeProduct(const SKUDefinition::SKUInfo& info) {
    // An index of -1 is past the end.
    products.remove(static_cast<unsigned long>(getProductIndex(info)));
    return true;
}

void StatusFile::startProcessProduct(const SKUDefinition::SKUInfo& info, bool remove) {
    currentProduct = info;
    if (remove) {
        removeProduct(currentProduct);
        return;
    }
    const int index = getProductIndex(currentProduct);
    countReferences = index < 0;
    if (countReferences) {
        addProduct(currentProduct);
        return;
    }
    SKUInfo& product = products[static_cast<unsigned long>(index)];
    product.name = currentProduct.name;
    product.build = currentProduct.build;
}

void StatusFile::endProcessProduct() {
    currentProduct.ID.Clear();
    currentProduct.name.Clear();
    currentProduct.build.Clear();
    countReferences = false;
}

std::int32_t StatusFile::BuildNumbers::of(const VLString& build) {
    if (build != last) {
        last = build;
        number = VLVersion(build).build;
    }
    return number;
}

void StatusFile::recordNew(FileNodeRef& recorded, const VLString& name, const FileNode& node) {
    recorded.name = name;
    recorded.ref = 1;
    recorded.needReplace = true;
    recorded.isDirectory = node.isDirectory;
    if (!node.isDirectory) {
        recorded.build = currentProduct.build;
        recorded.buildNumber = buildNumbers.of(currentProduct.build);
    }
    copyShortCut(node, recorded);
}

void StatusFile::recordAgain(FileNodeRef& recorded, const FileNode& node) {
    const std::int32_t buildNumber = buildNumbers.of(currentProduct.build);
    recorded.needReplace = recorded.buildNumber <= buildNumber || node.allowDowngrade;
    if (recorded.needReplace) {
        recorded.buildNumber = buildNumber;
        recorded.build = currentProduct.build;
        copyShortCut(node, recorded);
    }
}

int StatusFile::incrementFileRef(const VLString& directory, const FileNode& node) {
    // A file with a deeper path could be written but not read again, so the record would be lost.
    if (countComponents(directory) + countComponents(node.name) > maxComponents) {
        return 0;
    }
    FileNodeRef* recorded = &root;
    bool bNew = true;
    VLString component;
    for (const VLString& path : {std::cref(directory), std::cref(node.name)}) {
        for (Components components(path); components.next(component);) {
            const auto child = recorded->refChildren.try_emplace(component);
            recorded = &child.first->second;
            bNew = child.second;
            if (bNew) {
                recordNew(*recorded, component, node);
            }
        }
    }
    if (!bNew) {
        if (countReferences) {
            addUse(*recorded);
        }
        recordAgain(*recorded, node);
    }
    return 0;
}

int StatusFile::decrementFileRef(const VLString& directory, const FileNode& node) {
    FileNodeRef* recorded = find(find(&root, directory), node.name);
    if (recorded == nullptr || recorded == &root) {
        return -1;
    }
    dropUse(*recorded);
    return recorded->ref;
}

StatusFile::FileNodeRef* StatusFile::getFileInfo(const VLString& treePath) {
    FileNodeRef* recorded = find(&root, treePath);
    return recorded == &root ? nullptr : recorded;
}

const StatusFile::FileNodeRef* StatusFile::getFileInfo(const VLString& treePath) const {
    const FileNodeRef* recorded = find(&root, treePath);
    return recorded == &root ? nullptr : recorded;
}

bool StatusFile::needRemove(const VLString& treePath) const {
    const FileNodeRef* recorded = getFileInfo(treePath);
    return recorded != nullptr && recorded->ref < 1;
}

bool StatusFile::needReplaceFile(const VLString& treePath) const {
    const FileNodeRef* recorded = getFileInfo(treePath);
    return recorded != nullptr && recorded->needReplace;
}

StatusFile::FileNodeRef* StatusFile::getFileRef(const VLString& /*treePath*/) {
    return nullptr;
}
