#pragma once

#include <optional>
#include <string>

/// Sets or unsets an environment variable until the end of the scope.
class ScopedEnvironment {
public:
    /// Without `value`, unsets the variable.
    ScopedEnvironment(std::string variable, const std::optional<std::string>& value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string name;
    std::optional<std::string> oldValue;
};
