#include "Foundation/FileLibrary.h"
#include "Foundation/RegistryHelper.h"
#include "Fuzz/Support/FuzzTarget.h"
#include "Fuzz/Support/ScratchFolder.h"

#ifdef FUZZ_COUNTS_OBJECTS
#include "Platform/Linux/CoreFoundation/LiveObjects.h"
#endif

#include <map>
#include <set>

using Fuzz::require;
using Fuzz::view;

namespace {

std::size_t liveObjects() {
#ifdef FUZZ_COUNTS_OBJECTS
    return liveCoreFoundationObjects();
#else
    return 0;
#endif
}

std::map<VLString, VLString> readAll(const VLString& folder) {
    const CFStringRef directory = folder.CreateCFString();
    const CFStringRef file = VLString("com.vorlane.fuzz.plist").CreateCFString();
    std::set<VLString> names;
    if (const CFDictionaryRef list = RegistryHelper::GetDictionaryAtPath(directory, file)) {
        CFDictionaryApplyFunction(list, RegistryHelper::AppendKeyName, &names);
        CFRelease(list);
    }
    CFRelease(file);
    CFRelease(directory);
    std::map<VLString, VLString> values;
    for (const VLString& name : names) {
        values[name] = RegistryHelper::GetRegistryKeyAtPath("fuzz", name, folder);
    }
    return values;
}

void checkWriting(const VLString& folder, const VLString& path) {
    const std::map<VLString, VLString> before = readAll(folder);
    const VLString content = FileLibrary::readFile(path);
    const VLString name = "a new name";
    if (!RegistryHelper::SetRegistryKeyAtPath("fuzz", name, "value", folder)) {
        require(view(FileLibrary::readFile(path)) == view(content), "a write that fails leaves the file");
        return;
    }
    require(RegistryHelper::GetRegistryKeyAtPath("fuzz", name, folder) == "value", "what is written is read");
    std::map<VLString, VLString> after = readAll(folder);
    for (const auto& [other, value] : before) {
        require(other == name || (after.count(other) == 1 && view(after[other]) == view(value)),
                "other values stay");
    }
    require(RegistryHelper::SetRegistrySubkeyAtPath("fuzz", "a subkey", name, "value", folder),
            "what was written can be written again");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Fuzz::ScratchFolder scratch;
    const std::size_t objects = liveObjects();
    const VLString path = scratch.write("com.vorlane.fuzz.plist", Fuzz::Input(data, size).bytes());
    static_cast<void>(RegistryHelper::GetRegistryKeyAtPath("fuzz", "name", scratch.path()));
    checkWriting(scratch.path(), path);
    require(liveObjects() == objects, "every object is released");
    return 0;
}
