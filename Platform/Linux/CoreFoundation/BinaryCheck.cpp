#include "Platform/Linux/CoreFoundation/BinaryCheck.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace {

constexpr std::size_t trailerSize = 32;

enum Marker : unsigned { Data = 0x4, Ascii = 0x5, Utf16 = 0x6, Array = 0xA, Set = 0xC, Dictionary = 0xD };

/// The cost of an object, including everything that it refers to.
struct Cost {
    std::size_t depth = 0;
    std::size_t objects = 1;
    std::size_t bytes = 0;
};

struct Object {
    unsigned marker;
    std::uint64_t count;
    std::size_t content;
};

class BinaryList {
public:
    BinaryList(std::string_view bytes, const BinaryListLimits& limit) : list(bytes), limits(limit) {}

    bool isHarmless() {
        if (list.size() < trailerSize) {
            return false;
        }
        const std::size_t trailer = list.size() - trailerSize;
        offsetSize = *number(trailer + 6, 1);
        referenceSize = *number(trailer + 7, 1);
        objectCount = *number(trailer + 8, 8);
        offsetTable = *number(trailer + 24, 8);
        if (offsetSize == 0 || offsetSize > 8 || referenceSize == 0 || referenceSize > 8 ||
            objectCount > list.size() || offsetTable > trailer) {
            return false;
        }
        states.resize(objectCount);
        return walk(*number(trailer + 16, 8));
    }

private:
    /// The big-endian number in `size` bytes (at most 8) at `position`. No value past the end.
    std::optional<std::uint64_t> number(std::uint64_t position, std::uint64_t size) const {
        if (position > list.size() || size > list.size() - position) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        for (const char c : list.substr(position, size)) {
            value = value << 8 | static_cast<unsigned char>(c);
        }
        return value;
    }

    std::optional<Object> objectAt(std::uint64_t index) const {
        const auto position = number(offsetTable + index * offsetSize, offsetSize);
        const auto first = position ? number(*position, 1) : std::nullopt;
        if (!first) {
            return std::nullopt;
        }
        Object object{static_cast<unsigned>(*first >> 4), *first & 0xF, *position + 1};
        if (object.count == 0xF) {
            const auto sizeMarker = number(object.content, 1);
            const std::uint64_t size = sizeMarker ? std::uint64_t{1} << (*sizeMarker & 0xF) : 0;
            const auto count = size <= 8 ? number(object.content + 1, size) : std::nullopt;
            if (!sizeMarker || !count) {
                return std::nullopt;
            }
            object.count = *count;
            object.content += 1 + size;
        }
        return object;
    }

    /// The number of references in the object. No value if they do not fit into the file.
    std::optional<std::size_t> referenceCount(const Object& object) const {
        if (object.marker != Array && object.marker != Set && object.marker != Dictionary) {
            return 0;
        }
        if (object.count > list.size()) {
            return std::nullopt;
        }
        const std::size_t count = object.marker == Dictionary ? 2 * object.count : object.count;
        return count <= (list.size() - object.content) / referenceSize ? std::optional(count) : std::nullopt;
    }

    /// The length of the object's text or data. No value if it does not fit into the file, or contains a zero
    /// character.
    std::optional<std::size_t> contentSize(const Object& object) const {
        if (object.marker != Data && object.marker != Ascii && object.marker != Utf16) {
            return 0;
        }
        const std::size_t unit = object.marker == Utf16 ? 2 : 1;
        if (object.count > (list.size() - object.content) / unit) {
            return std::nullopt;
        }
        const std::size_t size = object.count * unit;
        for (std::size_t i = 0; object.marker != Data && i < size; i += unit) {
            if (number(object.content + i, unit) == 0) {
                return std::nullopt;
            }
        }
        return size;
    }

    // The walk uses its own stack, and visits each object once.

    enum class Visit : unsigned char { None, Open, Done };
    struct State {
        Visit visit = Visit::None;
        Cost cost;
    };
    struct Step {
        std::uint64_t index;
        Object object;
        std::size_t references;
        std::size_t next = 0;
    };

    bool enter(std::uint64_t index) {
        if (index >= objectCount || states[index].visit == Visit::Open || steps.size() > limits.deepest) {
            return false;
        }
        const auto object = objectAt(index);
        const auto references = object ? referenceCount(*object) : std::nullopt;
        const auto size = object ? contentSize(*object) : std::nullopt;
        if (!references || !size) {
            return false;
        }
        states[index].visit = Visit::Open;
        states[index].cost.bytes = *size;
        steps.push_back({index, *object, *references});
        return true;
    }

    bool add(const Cost& part, Cost& whole) const {
        whole.depth = std::max(whole.depth, part.depth + 1);
        whole.objects += part.objects;
        whole.bytes += part.bytes;
        return whole.depth <= limits.deepest && whole.objects <= limits.mostObjects &&
               whole.bytes <= limits.mostBytes;
    }

    /// Continues with the innermost open object.
    bool advance() {
        Step& step = steps.back();
        if (step.next == step.references) {
            states[step.index].visit = Visit::Done;
            steps.pop_back();
            return true;
        }
        const auto child = number(step.object.content + step.next * referenceSize, referenceSize);
        if (!child || *child >= objectCount) {
            return false;
        }
        if (states[*child].visit != Visit::Done) {
            return enter(*child);
        }
        ++step.next;
        return add(states[*child].cost, states[step.index].cost);
    }

    bool walk(std::uint64_t root) {
        bool bHarmless = enter(root);
        while (bHarmless && !steps.empty()) {
            bHarmless = advance();
        }
        return bHarmless;
    }

    const std::string_view list;
    const BinaryListLimits& limits;
    std::uint64_t offsetSize = 0;
    std::uint64_t referenceSize = 0;
    std::uint64_t objectCount = 0;
    std::uint64_t offsetTable = 0;
    std::vector<State> states;
    std::vector<Step> steps;
};

} // namespace

bool isHarmlessBinaryList(std::string_view list, const BinaryListLimits& limits) {
    return BinaryList(list, limits).isHarmless();
}
