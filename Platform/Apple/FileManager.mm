#include "Platform/PlatformServices.h"

#import <Foundation/Foundation.h>

// Compiled without automatic reference counting. Every operation has its own autorelease pool, because a
// program without a run loop has no other.

namespace {

/// Nil for an empty path and for a text that is not UTF-8.
NSString* pathOf(const std::string& text) {
    NSString* path = [NSString stringWithUTF8String:text.c_str()];
    while ([path length] > 1 && [path hasSuffix:@"/"]) {
        path = [path substringToIndex:[path length] - 1];
    }
    return [path length] == 0 ? nil : path;
}

std::string textOf(NSString* string) {
    const char* text = [string cStringUsingEncoding:NSUTF8StringEncoding];
    return text == nullptr ? std::string() : std::string(text);
}

NSFileManager* fileManager() {
    return [NSFileManager defaultManager];
}

} // namespace

std::string PlatformServices::MainBundlePath() {
    @autoreleasepool {
        return textOf([[NSBundle mainBundle] bundlePath]);
    }
}

std::string PlatformServices::AppendPathComponent(const std::string& folder, const std::string& component) {
    @autoreleasepool {
        NSString* base = [NSString stringWithUTF8String:folder.c_str()];
        NSString* name = [NSString stringWithUTF8String:component.c_str()];
        return base == nil || name == nil ? std::string()
                                          : textOf([base stringByAppendingPathComponent:name]);
    }
}

bool PlatformServices::RemoveItem(const std::string& path) {
    @autoreleasepool {
        NSString* item = pathOf(path);
        return item != nil && ![item isEqualToString:@"/"] &&
               [fileManager() removeItemAtPath:item error:nullptr];
    }
}

bool PlatformServices::CreateFolder(const std::string& path) {
    @autoreleasepool {
        NSString* folder = pathOf(path);
        return folder != nil && [fileManager() createDirectoryAtPath:folder
                                         withIntermediateDirectories:YES
                                                          attributes:nil
                                                               error:nullptr];
    }
}

bool PlatformServices::CopyItem(const std::string& source, const std::string& destination) {
    @autoreleasepool {
        NSString* from = pathOf(source);
        NSString* to = pathOf(destination);
        return from != nil && to != nil && [fileManager() copyItemAtPath:from toPath:to error:nullptr];
    }
}

bool PlatformServices::CreateSymbolicLink(const std::string& link, const std::string& target) {
    @autoreleasepool {
        NSString* path = pathOf(link);
        NSString* text = [NSString stringWithUTF8String:target.c_str()];
        return path != nil && text != nil &&
               [fileManager() createSymbolicLinkAtPath:path withDestinationPath:text error:nullptr];
    }
}
