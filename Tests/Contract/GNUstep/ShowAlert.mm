// Shows the alert for macOS through GNUstep, and prints what a person sees. Reads the files "title" and
// "text" in the folder that ALERT_INPUT names, since GNUstep opens arguments as files, and takes only UTF-8
// there and in the environment. The file "session" says where this program runs: "none", "login window" or
// "user".
//
// Exit status: 10 for Retry, 11 for Cancel, 12 if there is nobody to ask, 1 if the session was not released.

#include "Platform/PlatformServices.h"

#import <CoreGraphics/CoreGraphics.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

// The session

namespace {

std::string input(const std::string& name) {
    const char* folder = std::getenv("ALERT_INPUT");
    std::ifstream file(std::string(folder == nullptr ? "." : folder) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int sessionsHeld = 0;

} // namespace

const CFTypeRef kCFBooleanTrue = @"true";

CFDictionaryRef CGSessionCopyCurrentDictionary() {
    const std::string session = input("session");
    if (session == "none") {
        return nullptr;
    }
    NSMutableDictionary* dictionary = [[NSMutableDictionary alloc] init];
    if (session == "user") {
        [dictionary setObject:(id)kCFBooleanTrue forKey:kCGSessionLoginDoneKey];
    }
    ++sessionsHeld;
    return reinterpret_cast<CFDictionaryRef>(dictionary);
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    return [(NSDictionary*)dictionary objectForKey:(id)key];
}

void CFRelease(CFTypeRef object) {
    [(id)object release];
    --sessionsHeld;
}

@implementation NSApplication (ActivationPolicy)
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy {
    std::printf("policy: %s\n", policy == NSApplicationActivationPolicyAccessory ? "accessory" : "another");
    return YES;
}
@end

// Other programs' notifications come through a daemon, which would outlive this program.
@implementation NSDistributedNotificationCenter (NoDaemon)
+ (NSNotificationCenter*)defaultCenter {
    return nil;
}
@end

// What a person sees

@interface Onlooker : NSObject
- (void)seesActivation:(NSNotification*)notification;
- (void)looks:(NSTimer*)timer;
@end

@implementation Onlooker

- (void)seesActivation:(NSNotification*)notification {
    (void)notification;
    std::printf("active: %s\n", [NSApp modalWindow] == nil ? "before the alert" : "too late");
}

- (void)looks:(NSTimer*)timer {
    NSWindow* alert = [NSApp modalWindow];
    if (![alert isVisible]) {
        return;
    }
    if ([NSApp keyWindow] != alert) {
        // Until then GNUstep gives keys to no window.
        [NSApp finishLaunching];
        return;
    }
    [timer invalidate];
    std::printf("window: %s\n", [[alert title] UTF8String]);
    [self describe:[alert contentView]];
    std::printf("ready\n");
    std::fflush(stdout);
}

- (void)describe:(NSView*)view {
    if ([view isKindOfClass:[NSButton class]]) {
        [self describeButton:(NSButton*)view];
    } else if ([view isKindOfClass:[NSTextField class]]) {
        std::printf("text: %s\n", [[(NSTextField*)view stringValue] UTF8String]);
    }
    for (NSView* part in [view subviews]) {
        [self describe:part];
    }
}

- (void)describeButton:(NSButton*)button {
    // The icon is a button without a border.
    if (![button isBordered]) {
        return;
    }
    NSWindow* window = [button window];
    const NSRect bounds = [button convertRect:[button bounds] toView:nil];
    const NSPoint middle = [window convertBaseToScreen:NSMakePoint(NSMidX(bounds), NSMidY(bounds))];
    const bool bDefault = [[button keyEquivalent] isEqualToString:@"\r"];
    std::printf("button: %s%s\n", [[button title] UTF8String], bDefault ? ", the default" : "");
    // GNUstep counts from the lower end of the screen.
    std::printf("place: %d %d\n", static_cast<int>(middle.x),
                static_cast<int>(NSMaxY([[window screen] frame]) - middle.y));
}

@end

namespace {

int exitStatusFor(PlatformServices::AlertAnswer answer) {
    switch (answer) {
    case PlatformServices::AlertAnswer::Retry:
        return 10;
    case PlatformServices::AlertAnswer::Cancel:
        return 11;
    case PlatformServices::AlertAnswer::NobodyToAsk:
        return 12;
    }
    return 1;
}

} // namespace

int main() {
    @autoreleasepool {
        Onlooker* onlooker = [[[Onlooker alloc] init] autorelease];
        [[NSNotificationCenter defaultCenter] addObserver:onlooker
                                                 selector:@selector(seesActivation:)
                                                     name:NSApplicationWillBecomeActiveNotification
                                                   object:nil];
        NSTimer* timer = [NSTimer timerWithTimeInterval:0.02
                                                 target:onlooker
                                               selector:@selector(looks:)
                                               userInfo:nil
                                                repeats:YES];
        [[NSRunLoop currentRunLoop] addTimer:timer forMode:NSModalPanelRunLoopMode];
        const auto answer = PlatformServices::ShowRetryCancelAlert(input("title"), input("text"));
        [[NSNotificationCenter defaultCenter] removeObserver:onlooker];
        return sessionsHeld == 0 ? exitStatusFor(answer) : 1;
    }
}
