#include "Platform/Linux/CoreFoundation/Object.h"

#include <algorithm>

namespace {

const std::string& textOf(const void* key) {
    return static_cast<CFStringRef>(key)->utf8;
}

/// Puts the lead bytes of characters that are surrogates in UTF-16 (F0 and above) before those of U+E000 to
/// U+FFFF.
unsigned char utf16Rank(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value == 0xEE || value == 0xEF ? static_cast<unsigned char>(value + 0x10) : value;
}

} // namespace

bool Utf16Order::operator()(const std::string& a, const std::string& b) const {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [](char x, char y) { return utf16Rank(x) < utf16Rank(y); });
}

CFTypeID CFDictionaryGetTypeID() {
    return CoreFoundationObject::Dictionary;
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex, const CFDictionaryKeyCallBacks*,
                                                 const CFDictionaryValueCallBacks*) {
    return new __CFDictionary;
}

CFMutableDictionaryRef CFDictionaryCreateMutableCopy(CFAllocatorRef, CFIndex, CFDictionaryRef dictionary) {
    auto* copy = new __CFDictionary;
    copy->values = dictionary->values;
    return copy;
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const auto found = dictionary->values.find(textOf(key));
    return found == dictionary->values.end() ? nullptr : found->second.get();
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    dictionary->values.insert_or_assign(textOf(key), RetainedObject(value));
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier,
                               void* context) {
    for (const auto& [text, value] : dictionary->values) {
        const CFStringRef key = createString(text);
        applier(key, value.get(), context);
        CFRelease(key);
    }
}
