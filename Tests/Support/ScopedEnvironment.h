#pragma once

#include <optional>
#include <string>

/// Gives an environment variable another value, or takes it away, until the end of the scope.
class ScopedEnvironment {
public:
    /// No `value` unsets the variable.
    ScopedEnvironment(std::string variable, const std::optional<std::string>& value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string name;
    std::optional<std::string> oldValue;
};
