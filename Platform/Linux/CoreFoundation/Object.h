#pragma once

// The objects behind the references of CoreFoundation.h. Only files of this folder include this header.

#include "Platform/Linux/CoreFoundation/CoreFoundation.h"

#include <plist/plist.h>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

class CoreFoundationObject {
public:
    enum Type : CFTypeID { String = 1, Data, URL, Array, Dictionary, OtherValue };

    CoreFoundationObject(const CoreFoundationObject&) = delete;
    CoreFoundationObject& operator=(const CoreFoundationObject&) = delete;
    virtual ~CoreFoundationObject();

    Type type() const { return objectType; }
    void retain() const { ++references; }
    void release() const;

protected:
    explicit CoreFoundationObject(Type type);

private:
    const Type objectType;
    mutable std::size_t references = 1;
};

/// A reference that a container owns.
class RetainedObject {
public:
    /// Retains `object`.
    explicit RetainedObject(CFTypeRef object) : target(CFRetain(object)) {}
    RetainedObject(const RetainedObject& other) : RetainedObject(other.target) {}
    RetainedObject(RetainedObject&& other) noexcept : target(std::exchange(other.target, nullptr)) {}
    RetainedObject& operator=(RetainedObject other) noexcept {
        std::swap(target, other.target);
        return *this;
    }
    ~RetainedObject() {
        if (target != nullptr) {
            CFRelease(target);
        }
    }

    CFTypeRef get() const { return target; }

private:
    CFTypeRef target;
};

/// Orders UTF-8 texts by their UTF-16 units.
struct Utf16Order {
    bool operator()(const std::string& a, const std::string& b) const;
};

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the framework's names
struct __CFString final : CoreFoundationObject {
    /// `text` is UTF-8. Its length in UTF-16 units is `units`.
    __CFString(std::string text, std::size_t units)
        : CoreFoundationObject(String), utf8(std::move(text)), length(units) {}

    const std::string utf8;
    const std::size_t length;
};

struct __CFData final : CoreFoundationObject {
    explicit __CFData(std::string content) : CoreFoundationObject(Data), bytes(std::move(content)) {}

    const std::string bytes;
};

struct __CFURL final : CoreFoundationObject {
    /// Removes one slash at the end of `absolutePath`.
    explicit __CFURL(std::string absolutePath);

    const std::string path;
};

struct __CFArray final : CoreFoundationObject {
    __CFArray() : CoreFoundationObject(Array) {}

    std::vector<RetainedObject> values;
};

struct __CFDictionary final : CoreFoundationObject {
    __CFDictionary() : CoreFoundationObject(Dictionary) {}

    std::map<std::string, RetainedObject, Utf16Order> values;
};
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

/// A number, date, truth value or block of data.
struct OtherPropertyListValue final : CoreFoundationObject {
    /// Copies `value`.
    explicit OtherPropertyListValue(plist_t value)
        : CoreFoundationObject(OtherValue), node(plist_copy(value)) {}
    OtherPropertyListValue(const OtherPropertyListValue&) = delete;
    OtherPropertyListValue& operator=(const OtherPropertyListValue&) = delete;
    ~OtherPropertyListValue() override { plist_free(node); }

    plist_t node;
};

/// A new string with the text of `utf8`. Null if it is not UTF-8.
CFStringRef createString(std::string utf8);
