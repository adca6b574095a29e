// Core Foundation objects: reference-counted, created with one count that the creator owns.
// Names tell ownership: what a function with Create or Copy in its name returns, the caller releases; what a
// function with Get returns is borrowed. Counts are atomic, so an object may be retained and released on any
// thread; reading an immutable object needs no lock.
#pragma once

#include <toolbox/MacTypes.h>
#include <toolbox/ToolboxExport.h>

TOOLBOX_EXTERN_C_BEGIN

typedef const void* CFTypeRef;
typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef long CFIndex;  // a count or position; never negative where it is a result, but for kCFNotFound
enum { kCFNotFound = -1 };

typedef SInt32 CFComparisonResult;
enum { kCFCompareLessThan = -1, kCFCompareEqualTo = 0, kCFCompareGreaterThan = 1 };

typedef struct CFRange {
    CFIndex location;
    CFIndex length;
} CFRange;

static inline CFRange CFRangeMake(CFIndex inLocation, CFIndex inLength) {
    CFRange range = {inLocation, inLength};
    return range;
}

// Declared here because several managers name them.
typedef const struct OpaqueCFString* CFStringRef;
typedef struct OpaqueCFString* CFMutableStringRef;  // a CFStringRef too
typedef const struct OpaqueCFDictionary* CFDictionaryRef;
typedef const struct OpaqueCFLocale* CFLocaleRef;

// Only the default allocator exists; null stands for it too.
typedef const struct OpaqueCFAllocator* CFAllocatorRef;
#define kCFAllocatorDefault ((CFAllocatorRef)0)
#define kCFAllocatorSystemDefault ((CFAllocatorRef)0)

// Adds a count and returns its argument, which must not be null.
TOOLBOX_EXPORT CFTypeRef CFRetain(CFTypeRef inObject);
// Takes one count away; the last destroys the object. The argument must not be null.
TOOLBOX_EXPORT void CFRelease(CFTypeRef inObject);
// The present count. A constant string is never destroyed and answers a count that does not change.
TOOLBOX_EXPORT CFIndex CFGetRetainCount(CFTypeRef inObject);
TOOLBOX_EXPORT CFTypeID CFGetTypeID(CFTypeRef inObject);

// Whether two objects are of one type and hold the same: strings the same UTF-16 units, dates the same time,
// and so on. Objects of which nothing else is said are equal only to themselves. Equal objects hash alike.
TOOLBOX_EXPORT Boolean CFEqual(CFTypeRef inObject1, CFTypeRef inObject2);
TOOLBOX_EXPORT CFHashCode CFHash(CFTypeRef inObject);
// What people who look for mistakes want to see of an object; of a string, its text. Null when the object is
// null or memory is short.
TOOLBOX_MUST_USE CFStringRef CFCopyDescription(CFTypeRef inObject);

TOOLBOX_EXTERN_C_END
