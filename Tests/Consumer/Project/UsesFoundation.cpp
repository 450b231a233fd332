// Writes a value to a preference file in the folder given and prints what it reads back.
#include <CoreServices/CoreServices.h>
#include <Foundation/RegistryHelper.h>

#include <Platform/PlatformServices.h>
#include <cstdio>

int main(int argc, char* argv[]) {
    if (argc != 2 || !PlatformServices::CreateFolder(argv[1])) {
        return 2;
    }
    const VLString key("Consumer");
    const bool bWritten = RegistryHelper::SetRegistryKeyAtPath(key, "name", "from the registry", argv[1]);
    std::puts(RegistryHelper::GetRegistryKeyAtPath(key, "name", argv[1]).ConstData());
    return bWritten ? 0 : 1;
}
