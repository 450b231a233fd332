#pragma once

// What the alert for macOS uses and GNUstep does not have. ShowAlert.mm defines it. A dictionary is one of
// GNUstep.

#import <AppKit/AppKit.h>

using CFTypeRef = const void*;
using CFDictionaryRef = const struct SessionDictionary*;

extern const CFTypeRef kCFBooleanTrue;
#define kCGSessionLoginDoneKey @"kCGSessionLoginDoneKey"

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);
void CFRelease(CFTypeRef object);
CFDictionaryRef CGSessionCopyCurrentDictionary();

@interface NSApplication (ActivationPolicy)
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
@end
