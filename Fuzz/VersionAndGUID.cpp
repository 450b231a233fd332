#include "Foundation/VLVersion.h"
#include "Fuzz/Support/FuzzTarget.h"

#include <cstring>

using Fuzz::require;

namespace {

bool isAnyLess(const VLVersion& a, const VLVersion& b) {
    return a.major < b.major || a.minor < b.minor || a.revision < b.revision || a.build < b.build;
}

void checkVersions(const VLString& one, const VLString& other) {
    const VLVersion a(one);
    const VLVersion b(other);
    require(VLVersion(a.ToString(false)) == a, "a version's text gives the version");
    require(a.IsValid() == !(a == VLVersion()), "the version without any number is the invalid one");
    require((a < b) == isAnyLess(a, b), "one lesser number makes a version less");
    require((a > b) == (b < a), "greater is less, turned round");
    require((a <= b) == (a < b || a == b) && (a >= b) == (a > b || a == b), "or equal");
    require((a == b) == (!(a < b) && !(b < a)), "equal versions are those of which neither is less");
    static_cast<void>(a.ToUInt(true));
    static_cast<void>(a.ToUInt(false));
}

/// Takes four numbers and writes them as text.
void checkNumbersOfVersion(Fuzz::Input input) {
    constexpr int largestRevision = 100000;
    const auto number = [&input] {
        std::uint32_t bits = 0;
        for (int i = 0; i < 4; ++i) {
            bits = bits << 8U | input.byte();
        }
        return static_cast<int>(bits);
    };
    const VLVersion numbers(number(), number(), number(), number());
    VLVersion expected = numbers;
    if (numbers.revision > largestRevision && numbers.build == 0) {
        expected = VLVersion(numbers.major, numbers.minor, 0, numbers.revision);
    }
    require(VLVersion(numbers.ToString(false)) == expected, "a large revision alone is the build");
}

void checkGUIDText(const VLString& text) {
    constexpr unsigned long textSize = 36;
    bool bOk = false;
    const _GUID guid = text.GetGUID(&bOk);
    VLString written;
    require(written.FromGUID(guid).Size() == textSize, "a GUID's text has 36 characters");
    bool bAgain = false;
    const _GUID again = written.GetGUID(&bAgain);
    require(bAgain && std::memcmp(&guid, &again, sizeof guid) == 0, "a GUID's text gives the GUID");
    const _GUID zero = {};
    require(bOk || std::memcmp(&guid, &zero, sizeof guid) == 0, "text that is no GUID gives zeros");
    static_cast<void>(text.GetGUID(nullptr));
}

void checkNumbers(const VLString& text) {
    VLString written;
    require(written.FromInt(text.GetLong(0)).GetLong(1) == text.GetLong(0),
            "a number's text gives the number");
    require(written.FromDword(text.GetULong(0)).GetULong(1) == text.GetULong(0), "without sign, too");
    static_cast<void>(text.GetDouble(0));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Input input(data, size);
    checkNumbersOfVersion(input);
    const VLString first = input.line();
    checkVersions(first, Fuzz::textOf(input.bytes()));
    checkGUIDText(first);
    checkNumbers(first);
    return 0;
}
