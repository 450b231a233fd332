#include "Utility/InstallUtility/OncePerRun.h"

#include <set>

namespace {

int runs = 0;
std::set<VLString> said;

} // namespace

OncePerRun::OncePerRun() {
    ++runs;
}

OncePerRun::~OncePerRun() {
    if (--runs == 0) {
        said.clear();
    }
}

bool OncePerRun::isFirst(const VLString& text) {
    return runs == 0 || said.insert(text).second;
}
