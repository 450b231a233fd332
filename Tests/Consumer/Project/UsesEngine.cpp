// Prints the product that a definition describes, and its build as a version.
#include <Foundation/VLVersion.h>
#include <tinyxml.h>

#include <Utility/InstallUtility/InstallUtility.h>
#include <cstdio>

int main(int argc, char* argv[]) {
    InstallUtility engine;
    if (argc != 2) {
        return 2;
    }
    engine.skuDefinition.fromFile(argv[1]);
    const SKUDefinition::SKUInfo& product = engine.skuDefinition.skuInfo;
    std::printf("%s %s, read with TinyXML %d\n", product.name.ConstData(),
                VLVersion(product.build).ToString(false).ConstData(), TIXML_MAJOR_VERSION);
    return 0;
}
