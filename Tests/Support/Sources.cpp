#include "Tests/Support/Sources.h"

std::string inSources(const std::string& path) {
    return INSTALLUTILITY_SOURCE_DIR "/" + path;
}
