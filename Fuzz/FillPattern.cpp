#include "Foundation/RegistryHelper.h"
#include "Fuzz/Support/FakeUser.h"
#include "Fuzz/Support/Output.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <optional>
#include <string>

using Fuzz::require;
using Fuzz::textOf;
using Fuzz::view;

namespace {

/// The value for a placeholder; none for one that stays.
std::optional<VLString> valueOf(const std::string& placeholder) {
    if (textOf(placeholder).EqualsIgnoreCase("%user%")) {
        return InstallUtility::getUserName();
    }
    const std::size_t prefix = std::string("%REGKEY:").size();
    if (placeholder.find("REGKEY:") == std::string::npos || placeholder.size() <= prefix) {
        return std::nullopt;
    }
    const std::string reference = placeholder.substr(prefix);
    const std::size_t separator = reference.find("::");
    if (separator == std::string::npos) {
        return std::nullopt;
    }
    const std::string value = reference.substr(separator + 2);
    return RegistryHelper::GetRegistryKeyAtPath(textOf(reference.substr(0, separator)),
                                                textOf(value.substr(0, value.size() - 1)),
                                                InstallUtility::getUserPreferencesPath());
}

/// The filled pattern as the rules read; none when that takes many steps.
std::optional<std::string> filled(std::string text) {
    std::size_t position = 0;
    for (int steps = 0; steps < 24 && text.size() < 4096; ++steps) {
        const std::size_t begin = text.find('%', position);
        const std::size_t end = begin == std::string::npos ? begin : text.find('%', begin + 1);
        if (end == std::string::npos) {
            return text;
        }
        const std::string placeholder = text.substr(begin, end + 1 - begin);
        const std::optional<VLString> value = valueOf(placeholder);
        if (!value) {
            position = end + 1;
            continue;
        }
        text = std::string(view(textOf(text).Replace(textOf(placeholder), *value)));
    }
    return std::nullopt;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Fuzz::Output output;
    static Fuzz::FakeUser user;
    Fuzz::Input input(data, size);
    user.homeVariable = Fuzz::textOf(view(input.line()));
    const VLString pattern = input.text();
    const std::optional<std::string> expected = filled(std::string(view(pattern)));
    // Filling one that comes to no end takes as long as filling hundreds of others.
    constexpr std::size_t oneIn = 64;
    if (!expected && size % oneIn != 0) {
        return 0;
    }
    const VLString result = InstallUtility::fillPattern(pattern);
    const std::string printed = output.take();
    // A line about something else may name a pattern that holds these words.
    const std::string words = "does not come to an end";
    const bool bEndless =
        printed.find(words) != std::string::npos &&
        std::string(reinterpret_cast<const char*>(data), size).find(words) == std::string::npos;
    require(!expected || (!bEndless && view(result) == *expected), "a pattern is filled as the rules read");
    require(result.Size() <= pattern.Size() + (1UL << 20), "no pattern grows without end");
    return 0;
}
