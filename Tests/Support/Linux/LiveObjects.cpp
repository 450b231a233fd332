#include "Platform/Linux/CoreFoundation/LiveObjects.h"

#include "Tests/Support/LiveObjects.h"

std::size_t liveObjects() {
    return liveCoreFoundationObjects();
}
