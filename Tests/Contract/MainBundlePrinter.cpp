#include "Foundation/SimpleLog.h"
#include "Platform/PlatformServices.h"

int main() {
    SimpleLog::printText("%s", PlatformServices::MainBundlePath().ConstData());
    return 0;
}
