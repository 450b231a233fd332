#include "Platform/Linux/CoreFoundation/Object.h"

#include "Platform/Linux/CoreFoundation/LiveObjects.h"

namespace {

std::size_t liveObjects = 0;

const CoreFoundationObject* objectOf(CFTypeRef reference) {
    // Valid for every object: CoreFoundationObject is its only base class and polymorphic.
    return static_cast<const CoreFoundationObject*>(reference);
}

} // namespace

CoreFoundationObject::CoreFoundationObject(Type type) : objectType(type) {
    ++liveObjects;
}

CoreFoundationObject::~CoreFoundationObject() {
    --liveObjects;
}

void CoreFoundationObject::release() const {
    if (--references == 0) {
        delete this;
    }
}

std::size_t liveCoreFoundationObjects() {
    return liveObjects;
}

CFTypeRef CFRetain(CFTypeRef object) {
    objectOf(object)->retain();
    return object;
}

void CFRelease(CFTypeRef object) {
    objectOf(object)->release();
}

CFTypeID CFGetTypeID(CFTypeRef object) {
    return objectOf(object)->type();
}
