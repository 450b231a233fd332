#pragma once

/// What the maker of PlatformServices under test does otherwise than its contract says. The contract tests
/// expect exactly this, so that nothing is passed over.
struct MakerDifferences {
    /// MainBundlePath knows no layout but "X.app/Tool"; elsewhere it gives "Resources/Tool" in the program's
    /// folder.
    bool bOtherBundleLayout = false;
    /// CreateFolder gives true over an existing file, and does nothing.
    bool bFileCountsAsFolder = false;
    /// CopyItem of a link to something that exists gives that something mode 0777.
    bool bCopiedLinkOpensItsTarget = false;
    /// CopyItem of a file onto a dangling link gives true, and makes the link's target.
    bool bCopyFollowsADanglingLink = false;
    /// CopyItem makes a folder with its final mode before its content, so that one that may not be written is
    /// copied empty and gives false, but for the superuser.
    bool bReadOnlyFolderIsCopiedEmpty = false;
    /// CopyItem gives a link the time of the copy.
    bool bCopiedLinkHasANewTime = false;
};

/// Each program of contract tests defines its own.
extern const MakerDifferences makerDifferences;
