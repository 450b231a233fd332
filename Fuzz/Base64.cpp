#include "Foundation/Base64.h"

#include "Fuzz/Support/FuzzTarget.h"

#include <algorithm>
#include <vector>

using Fuzz::require;

namespace {

std::vector<char> encoded(std::string_view bytes, int lineLength, unsigned long capacity) {
    std::vector<char> target(capacity);
    unsigned long size = capacity;
    const bool bComplete = Base64EncodeData(bytes.data(), bytes.size(), target.data(), &size, lineLength);
    require(bComplete ? size <= capacity : size == 0, "the encoded size lies within the room");
    target.resize(size);
    return target;
}

void checkEncode(std::string_view bytes, int lineLength) {
    const unsigned long room = Base64EstimateEncodedDataSize(bytes.size(), lineLength);
    const std::vector<char> text = encoded(bytes, lineLength, room);
    require(text.size() == room, "encoding takes exactly the estimated room");
    require(room == 0 || encoded(bytes, lineLength, room - 1).empty(), "one byte less does not do");

    unsigned long size = Base64EstimateDecodedDataSize(text.size());
    std::vector<char> back(size);
    require(Base64DecodeData(text.data(), text.size(), back.data(), &size), "own text can be decoded");
    require(std::string_view(back.data(), size) == bytes, "decode(encode(x)) == x");
}

void checkDecode(std::string_view text, unsigned long capacity) {
    const auto count = [](std::string_view characters) {
        return std::count_if(characters.begin(), characters.end(), [](char c) {
            return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '+' ||
                   c == '/';
        });
    };
    const auto needed = static_cast<unsigned long>(count(text)) * 6 / 8;
    require(needed <= Base64EstimateDecodedDataSize(text.size()), "the estimated room is enough");

    std::vector<char> target(capacity);
    unsigned long size = capacity;
    const bool bComplete = Base64DecodeData(text.data(), text.size(), target.data(), &size);
    require(bComplete == (needed <= capacity), "decoding fails exactly where the room is too small");
    require(size == (bComplete ? needed : 0), "every whole byte is given");
    require(!bComplete || std::all_of(target.begin() + static_cast<long>(size), target.end(),
                                      [](char c) { return c == '.'; }),
            "the room left is filled with dots");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Input input(data, size);
    const int lineLength = 4 * (1 + input.byte());
    const unsigned long capacity = input.byte();
    checkEncode(input.bytes(), lineLength);
    checkDecode(input.bytes(), capacity);
    checkDecode(input.bytes(), Base64EstimateDecodedDataSize(input.bytes().size()));
    return 0;
}
