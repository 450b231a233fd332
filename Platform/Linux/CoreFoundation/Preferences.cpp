// In a file of its own, so that a test program can have its own and see what is called.

#include <CoreFoundation/CoreFoundation.h>

// There is no cache of preferences here that could be behind the files.
Boolean CFPreferencesAppSynchronize(CFStringRef) {
    return 1;
}
