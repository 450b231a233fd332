#include "Platform/PlatformServices.h"

#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>

namespace {

/// Whether this process belongs to the window session of a logged-in user. Not so at the login window, over
/// ssh, and for a program that device management starts.
bool hasWindowSession() {
    CFDictionaryRef session = CGSessionCopyCurrentDictionary();
    if (session == nullptr) {
        return false;
    }
    const bool bLoggedIn = CFDictionaryGetValue(session, kCGSessionLoginDoneKey) == kCFBooleanTrue;
    CFRelease(session);
    return bLoggedIn;
}

NSInteger runAlert(NSString* title, NSString* text) {
    // An alert needs an application object. A program without a bundle of its own is in the background until
    // it says otherwise, and its windows open behind all others.
    NSApplication* application = [NSApplication sharedApplication];
    [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
    [application activateIgnoringOtherApps:YES];
    // Deprecated, but no other function answers with NSAlertDefaultReturn.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
    NSAlert* alert = [NSAlert alertWithMessageText:title
                                     defaultButton:@"Retry"
                                   alternateButton:@"Cancel"
                                       otherButton:nil
                         informativeTextWithFormat:@"%@", text];
#pragma clang diagnostic pop
    return [alert runModal];
}

} // namespace

PlatformServices::AlertAnswer PlatformServices::ShowRetryCancelAlert(const std::string& title,
                                                                     const std::string& text) {
    @autoreleasepool {
        constexpr NSInteger defaultButton = 1;
        NSString* titleString = [NSString stringWithUTF8String:title.c_str()];
        NSString* textString = [NSString stringWithUTF8String:text.c_str()];
        if (titleString == nil || textString == nil || !hasWindowSession()) {
            return AlertAnswer::NobodyToAsk;
        }
        return runAlert(titleString, textString) == defaultButton ? AlertAnswer::Retry : AlertAnswer::Cancel;
    }
}
