#pragma once

// The part of the CoreServices C interface that this system calls, with the framework's names and types.
// The folders are those of macOS: "Library/Preferences" in the user's home ($HOME) and in "/".

#include <CoreFoundation/CoreFoundation.h>

using OSErr = SInt16;
using OSType = unsigned int;
using FSVolumeRefNum = SInt16;

constexpr OSErr noErr = 0;
constexpr OSErr fnfErr = -43;

constexpr SInt16 kUserDomain = -32763;
constexpr SInt16 kLocalDomain = -32765;
constexpr OSType kPreferencesFolderType = 0x70726566; // 'pref'

/// A file or folder. Only these functions use its fields.
struct FSRef {
    char path[4096];
};

/// Finds the folder of the domain. Makes it if `createFolder` is set. Returns fnfErr if it does not exist or
/// cannot be made, if $HOME is not an absolute path, and for any other domain or type.
OSErr FSFindFolder(FSVolumeRefNum domain, OSType folderType, Boolean createFolder, FSRef* folder);

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* item);
