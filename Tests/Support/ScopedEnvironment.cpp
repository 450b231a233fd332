#include "Tests/Support/ScopedEnvironment.h"

#include <cstdlib>
#include <utility>

namespace {

void set(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
        setenv(name.c_str(), value->c_str(), 1);
    } else {
        unsetenv(name.c_str());
    }
}

} // namespace

ScopedEnvironment::ScopedEnvironment(std::string variable, const std::optional<std::string>& value)
    : name(std::move(variable)) {
    if (const char* current = std::getenv(name.c_str()); current != nullptr) {
        oldValue = current;
    }
    set(name, value);
}

ScopedEnvironment::~ScopedEnvironment() {
    set(name, oldValue);
}
