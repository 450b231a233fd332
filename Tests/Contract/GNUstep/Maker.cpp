// The maker for macOS over GNUstep, as far as GNUstep behaves like the framework.

#include "Tests/Contract/MakerDifferences.h"

namespace {

MakerDifferences differencesOfGNUstep() {
    MakerDifferences differences;
    differences.bOtherBundleLayout = true;
    differences.bFileCountsAsFolder = true;
    differences.bCopiedLinkOpensItsTarget = true;
    differences.bCopyFollowsADanglingLink = true;
    differences.bReadOnlyFolderIsCopiedEmpty = true;
    differences.bCopiedLinkHasANewTime = true;
    return differences;
}

} // namespace

const MakerDifferences makerDifferences = differencesOfGNUstep();

/// GNUstep's classes keep some 10 kB for as long as the program runs.
/// The leak sanitizer asks by this name.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" int __lsan_is_turned_off() {
    return 1;
}
