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
