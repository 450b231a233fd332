#include "Platform/Linux/CoreFoundation/BinaryCheck.h"
#include "Platform/Linux/CoreFoundation/Object.h"
#include "Platform/Linux/CoreFoundation/XmlReduction.h"

#include <cstdlib>
#include <memory>

namespace {

constexpr std::size_t deepestNesting = 512;
constexpr BinaryListLimits binaryLimits{deepestNesting, 1'000'000, 64UL << 20};

struct FreeNode {
    void operator()(plist_t node) const { plist_free(node); }
};
struct FreeMemory {
    void operator()(char* memory) const { std::free(memory); }
};
using OwnedNode = std::unique_ptr<void, FreeNode>;
using OwnedText = std::unique_ptr<char, FreeMemory>;

OwnedNode nodeFromXml(std::string_view xml) {
    plist_t node = nullptr;
    if (const auto reduced = reducePropertyListXml(xml, deepestNesting)) {
        plist_from_xml(reduced->data(), static_cast<uint32_t>(reduced->size()), &node);
    }
    return OwnedNode(node);
}

OwnedNode nodeFromBinary(std::string_view list) {
    plist_t node = nullptr;
    if (isHarmlessBinaryList(list, binaryLimits)) {
        plist_from_bin(list.data(), static_cast<uint32_t>(list.size()), &node);
    }
    return OwnedNode(node);
}

// From nodes of libplist to objects. Null if a text at any depth is not UTF-8.

CFTypeRef objectFromNode(plist_t node);

/// Adds `object` and takes over its reference. Returns false for null.
template <class Add>
bool addObject(CFTypeRef object, Add add) {
    if (object == nullptr) {
        return false;
    }
    add(RetainedObject(object));
    CFRelease(object);
    return true;
}

CFTypeRef stringFromNode(plist_t node) {
    uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return createString(text == nullptr ? std::string() : std::string(text, length));
}

CFTypeRef arrayFromNode(plist_t node) {
    auto array = std::make_unique<__CFArray>();
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    const OwnedText owner(static_cast<char*>(iterator));
    plist_t item = nullptr;
    for (plist_array_next_item(node, iterator, &item); item != nullptr;
         plist_array_next_item(node, iterator, &item)) {
        if (!addObject(objectFromNode(item),
                       [&](RetainedObject value) { array->values.push_back(std::move(value)); })) {
            return nullptr;
        }
    }
    return array.release();
}

CFTypeRef dictionaryFromNode(plist_t node) {
    auto dictionary = std::make_unique<__CFDictionary>();
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    const OwnedText owner(static_cast<char*>(iterator));
    while (true) {
        char* text = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &text, &item);
        const OwnedText key(text);
        if (item == nullptr) {
            return dictionary.release();
        }
        const CFStringRef string = createString(text);
        const bool bAdded = string != nullptr && addObject(objectFromNode(item), [&](RetainedObject value) {
                                dictionary->values.insert_or_assign(string->utf8, std::move(value));
                            });
        if (string != nullptr) {
            CFRelease(string);
        }
        if (!bAdded) {
            return nullptr;
        }
    }
}

CFTypeRef objectFromNode(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_STRING:
        return stringFromNode(node);
    case PLIST_ARRAY:
        return arrayFromNode(node);
    case PLIST_DICT:
        return dictionaryFromNode(node);
    default:
        return new OtherPropertyListValue(node);
    }
}

// From objects to nodes of libplist

plist_t nodeFromObject(CFTypeRef object);

plist_t nodeFromArray(CFArrayRef array) {
    plist_t node = plist_new_array();
    for (const auto& value : array->values) {
        plist_array_append_item(node, nodeFromObject(value.get()));
    }
    return node;
}

plist_t nodeFromDictionary(CFDictionaryRef dictionary) {
    plist_t node = plist_new_dict();
    for (const auto& [key, value] : dictionary->values) {
        plist_dict_set_item(node, key.c_str(), nodeFromObject(value.get()));
    }
    return node;
}

plist_t nodeFromObject(CFTypeRef object) {
    switch (CFGetTypeID(object)) {
    case CoreFoundationObject::String:
        return plist_new_string(static_cast<CFStringRef>(object)->utf8.c_str());
    case CoreFoundationObject::Array:
        return nodeFromArray(static_cast<CFArrayRef>(object));
    case CoreFoundationObject::Dictionary:
        return nodeFromDictionary(static_cast<CFDictionaryRef>(object));
    default:
        return plist_copy(static_cast<const OtherPropertyListValue*>(object)->node);
    }
}

} // namespace

CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef, CFDataRef data, CFOptionFlags,
                                                  CFStringRef* errorText) {
    const bool bBinary = data->bytes.compare(0, 6, "bplist") == 0;
    const OwnedNode node = bBinary ? nodeFromBinary(data->bytes) : nodeFromXml(data->bytes);
    CFTypeRef result = node == nullptr ? nullptr : objectFromNode(node.get());
    if (errorText != nullptr) {
        *errorText =
            result == nullptr ? createString("This is not a property list that can be read.") : nullptr;
    }
    return result; // NOLINT(clang-analyzer-osx.cocoa.RetainCount): it does not know how these objects are
                   // made
}

CFDataRef CFPropertyListCreateXMLData(CFAllocatorRef, CFPropertyListRef propertyList) {
    const OwnedNode node(nodeFromObject(propertyList));
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(node.get(), &xml, &length);
    const OwnedText owner(xml);
    return new __CFData(std::string(xml, length));
}
