#pragma once

#include "Foundation/VLString.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

// Included by every target. A target passes one hostile input to one reader and checks that the reader ends
// and that its result has the properties that hold for every input.

/// Runs the target once. Always 0. The fuzzer calls it, or CorpusMain.cpp for the inputs in Fuzz/Corpus.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Fuzz {

/// Prints `property` and ends the program.
[[noreturn]] void reportBroken(const char* property);

/// If `bHolds` is false, prints `property` and ends the program, which the fuzzer reports as a finding.
inline void require(bool bHolds, const char* property) {
    if (!bHolds) {
        reportBroken(property);
    }
}

/// Reads the parts of an input from its beginning.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size)
        : rest(size == 0 ? "" : reinterpret_cast<const char*>(data), size) {}

    /// The next byte. 0 at the end.
    std::uint8_t byte();
    /// The text before the next line feed, which is skipped. The rest if there is no line feed.
    VLString line();
    /// The rest.
    std::string_view bytes() const { return rest; }
    /// The rest up to its first zero byte.
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
