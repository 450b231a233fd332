#include "Platform/PlatformServices.h"

#import <Foundation/Foundation.h>

// Compiled without automatic reference counting. Every operation is in an autorelease pool of its own, since
// a program without a run loop has no other.

namespace {

/// Nil for an empty path and for text that is not UTF-8.
NSString* pathOf(const VLString& text) {
    NSString* path = [NSString stringWithUTF8String:text.ConstData()];
    while ([path length] > 1 && [path hasSuffix:@"/"]) {
        path = [path substringToIndex:[path length] - 1];
    }
    return [path length] == 0 ? nil : path;
}

VLString textOf(NSString* string) {
    return VLString([string cStringUsingEncoding:NSUTF8StringEncoding]);
}

NSFileManager* fileManager() {
    return [NSFileManager defaultManager];
}

} // namespace

VLString PlatformServices::MainBundlePath() {
    @autoreleasepool {
        return textOf([[NSBundle mainBundle] bundlePath]);
    }
}

VLString PlatformServices::AppendPathComponent(const VLString& folder, const VLString& component) {
    @autoreleasepool {
        NSString* base = [NSString stringWithUTF8String:folder.ConstData()];
        NSString* name = [NSString stringWithUTF8String:component.ConstData()];
        return base == nil || name == nil ? VLString() : textOf([base stringByAppendingPathComponent:name]);
    }
}

bool PlatformServices::RemoveItem(const VLString& path) {
    @autoreleasepool {
        NSString* item = pathOf(path);
        return item != nil && ![item isEqualToString:@"/"] &&
               [fileManager() removeItemAtPath:item error:nullptr];
    }
}

bool PlatformServices::CreateFolder(const VLString& path) {
    @autoreleasepool {
        NSString* folder = pathOf(path);
        return folder != nil && [fileManager() createDirectoryAtPath:folder
                                         withIntermediateDirectories:YES
                                                          attributes:nil
                                                               error:nullptr];
    }
}

bool PlatformServices::CopyItem(const VLString& source, const VLString& destination) {
    @autoreleasepool {
        NSString* from = pathOf(source);
        NSString* to = pathOf(destination);
        return from != nil && to != nil && [fileManager() copyItemAtPath:from toPath:to error:nullptr];
    }
}

bool PlatformServices::CreateSymbolicLink(const VLString& link, const VLString& target) {
    @autoreleasepool {
        NSString* path = pathOf(link);
        NSString* text = [NSString stringWithUTF8String:target.ConstData()];
        return path != nil && text != nil &&
               [fileManager() createSymbolicLinkAtPath:path withDestinationPath:text error:nullptr];
    }
}
