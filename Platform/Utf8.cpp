#include "Platform/Utf8.h"

namespace {

/// The number of continuation bytes after a lead byte, and the range of the first of them.
struct Sequence {
    std::size_t continuations;
    unsigned char lowest;
    unsigned char highest;
};

std::optional<Sequence> sequenceOf(unsigned char lead) {
    if (lead < 0x80) {
        return Sequence{0, 0, 0};
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return std::nullopt;
    }
    if (lead < 0xE0) {
        return Sequence{1, 0x80, 0xBF};
    }
    if (lead < 0xF0) {
        return Sequence{2, static_cast<unsigned char>(lead == 0xE0 ? 0xA0 : 0x80),
                        static_cast<unsigned char>(lead == 0xED ? 0x9F : 0xBF)};
    }
    return Sequence{3, static_cast<unsigned char>(lead == 0xF0 ? 0x90 : 0x80),
                    static_cast<unsigned char>(lead == 0xF4 ? 0x8F : 0xBF)};
}

bool continues(const Sequence& sequence, std::string_view bytes) {
    if (bytes.size() < sequence.continuations) {
        return false;
    }
    for (std::size_t i = 0; i < sequence.continuations; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if (byte < (i == 0 ? sequence.lowest : 0x80) || byte > (i == 0 ? sequence.highest : 0xBF)) {
            return false;
        }
    }
    return true;
}

} // namespace

std::size_t utf8Length(std::string_view text, std::size_t index) {
    const auto sequence = sequenceOf(static_cast<unsigned char>(text[index]));
    return sequence && continues(*sequence, text.substr(index + 1)) ? 1 + sequence->continuations : 0;
}

std::size_t lengthOfUtf8(std::string_view text) {
    std::size_t index = 0;
    while (index < text.size()) {
        const std::size_t length = utf8Length(text, index);
        if (length == 0) {
            break;
        }
        index += length;
    }
    return index;
}

bool isUtf8(std::string_view text) {
    return lengthOfUtf8(text) == text.size();
}

std::optional<std::size_t> utf16Length(std::string_view text) {
    std::size_t units = 0;
    for (std::size_t index = 0; index < text.size();) {
        const std::size_t length = utf8Length(text, index);
        if (length == 0) {
            return std::nullopt;
        }
        index += length;
        units += length == 4 ? 2U : 1U;
    }
    return units;
}
