#pragma once

#include <CoreFoundation/CoreFoundation.h>

// The CoreFoundation objects that feature tracking creates, behind one seam so
// that tests can make a creation fail and see the internal-failure events.
// Every function follows the create rule. The defaults are CoreFoundation's
// own functions; nothing but tests replaces them.
struct TrackingObjectFactory {
    CFArrayRef (*separate)(CFAllocatorRef, CFStringRef, CFStringRef) = CFStringCreateArrayBySeparatingStrings;
    CFStringRef (*copy)(CFAllocatorRef, CFStringRef) = CFStringCreateCopy;
    CFStringRef (*substring)(CFAllocatorRef, CFStringRef, CFRange) = CFStringCreateWithSubstring;
    CFMutableDictionaryRef (*mutableCopy)(CFAllocatorRef, CFIndex, CFDictionaryRef) = CFDictionaryCreateMutableCopy;
    CFMutableDictionaryRef (*emptyDictionary)() = newEmptyDictionary;

    static TrackingObjectFactory& current();

    // A mutable copy of `properties`, or an empty dictionary when there are none.
    CFMutableDictionaryRef copyOrCreate(CFDictionaryRef properties) const;

private:
    static CFMutableDictionaryRef newEmptyDictionary();
};
