#pragma once

#include "Foundation/VLString.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

// What every target includes. A target checks one reader with one hostile input: that it comes to its end,
// and that what it gives has the properties that hold for any input whatever.

/// Runs the target once. Always 0. Called by the fuzzer, or by CorpusMain.cpp for the kept inputs.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Fuzz {

/// Ends the program, for the fuzzer a finding, unless `bHolds`; says `property`.
void require(bool bHolds, const char* property);

/// An input taken apart from its beginning.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size)
        : rest(size == 0 ? "" : reinterpret_cast<const char*>(data), size) {}

    /// The next byte; 0 at the end.
    std::uint8_t byte();
    /// What comes before the next line feed, which is skipped; all that is left when there is none.
    VLString line();
    /// All that is left.
    std::string_view bytes() const { return rest; }
    /// The same, up to its first zero byte.
    VLString text() const { return VLString(bytesToZero().data(), bytesToZero().size()); }

private:
    std::string_view bytesToZero() const { return rest.substr(0, rest.find('\0')); }

    std::string_view rest;
};

inline std::string_view view(const VLString& text) {
    return {text.ConstData(), text.Size()};
}

inline VLString textOf(std::string_view bytes) {
    return VLString(bytes.data(), bytes.size());
}

} // namespace Fuzz
