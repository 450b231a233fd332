// In a separate file, so that a test program can replace it and record the calls.

#include <CoreFoundation/CoreFoundation.h>

// There is no cache of preferences here.
Boolean CFPreferencesAppSynchronize(CFStringRef) {
    return 1;
}
