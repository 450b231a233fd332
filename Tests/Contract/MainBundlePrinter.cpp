#include "Platform/PlatformServices.h"

#include <cstdio>

int main() {
    return std::fputs(PlatformServices::MainBundlePath().c_str(), stdout) < 0 ? 1 : 0;
}
