/*
 * CFBase.h: base types, the object model and the memory rules of ZpCoreFoundation,
 * the subset of Apple's CoreFoundation that ZpToolboxLite calls.
 *
 * Conventions shared by every header of this library:
 *  1. Every object is an opaque pointer (CFTypeRef and the typed ...Ref names).
 *  2. Ownership follows Apple's create rule: a function whose name contains
 *     "Create" or "Copy" returns a reference the caller owns and must give back
 *     with CFRelease; any other function ("Get") returns a borrowed reference,
 *     valid while the object it came from is alive. Retain what you keep.
 *  3. Retain counts are atomic: an object may be retained and released from any
 *     thread. An immutable object may be read from several threads at once; a
 *     mutable object must not be read while another thread changes it.
 *  4. Boolean is unsigned char, true is 1 and false 0, as in C.
 *  5. The headers are plain C (C11) and C++; everything is declared extern "C".
 *  6. Allocators are accepted everywhere Apple takes one and are ignored: all
 *     memory comes from the C++ runtime of this library.
 */
#ifndef ZPCOREFOUNDATION_CFBASE_H
#define ZPCOREFOUNDATION_CFBASE_H

#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#if defined(__cplusplus)
#define CF_EXTERN_C_BEGIN extern "C" {
#define CF_EXTERN_C_END }
#else
#define CF_EXTERN_C_BEGIN
#define CF_EXTERN_C_END
#endif

/* The one export macro of the library. ZPCOREFOUNDATION_BUILDING is defined
 * (privately, by CMake) only while the library itself is compiled. */
#if defined(_WIN32)
#if defined(ZPCOREFOUNDATION_BUILDING)
#define CF_EXPORT extern __declspec(dllexport)
#else
#define CF_EXPORT extern __declspec(dllimport)
#endif
#else
#define CF_EXPORT extern __attribute__((visibility("default")))
#endif

#if !defined(CF_INLINE)
#if defined(__GNUC__)
#define CF_INLINE static __inline__ __attribute__((always_inline))
#elif defined(__cplusplus)
#define CF_INLINE static inline
#elif defined(_MSC_VER)
#define CF_INLINE static __inline
#else
#define CF_INLINE static inline
#endif
#endif

/* Annotations that Apple's headers and code written against them use. They
 * carry no meaning for this compiler and expand to nothing. */
#ifndef CF_RETURNS_RETAINED
#define CF_RETURNS_RETAINED
#endif
#ifndef CF_RETURNS_NOT_RETAINED
#define CF_RETURNS_NOT_RETAINED
#endif
#ifndef CF_RELEASES_ARGUMENT
#define CF_RELEASES_ARGUMENT
#endif
#ifndef CF_CONSUMED
#define CF_CONSUMED
#endif
#ifndef CF_IMPLICIT_BRIDGING_ENABLED
#define CF_IMPLICIT_BRIDGING_ENABLED
#endif
#ifndef CF_IMPLICIT_BRIDGING_DISABLED
#define CF_IMPLICIT_BRIDGING_DISABLED
#endif
#ifndef CF_ASSUME_NONNULL_BEGIN
#define CF_ASSUME_NONNULL_BEGIN
#endif
#ifndef CF_ASSUME_NONNULL_END
#define CF_ASSUME_NONNULL_END
#endif
#ifndef CF_NOESCAPE
#define CF_NOESCAPE
#endif
/* Apple marks its format functions with a CFString-aware format attribute that
 * only its compilers know; GCC would misread %@, so nothing is checked here. */
#ifndef CF_FORMAT_FUNCTION
#define CF_FORMAT_FUNCTION(F, A)
#endif
#ifndef CF_FORMAT_ARGUMENT
#define CF_FORMAT_ARGUMENT
#endif

CF_EXTERN_C_BEGIN

/* Apple's MacTypes. */
#if !defined(TRUE)
#define TRUE 1
#endif
#if !defined(FALSE)
#define FALSE 0
#endif

typedef unsigned char Boolean;
typedef unsigned char UInt8;
typedef signed char SInt8;
typedef unsigned short UInt16;
typedef signed short SInt16;
typedef unsigned int UInt32;
typedef signed int SInt32;
typedef uint64_t UInt64;
typedef int64_t SInt64;
typedef float Float32;
typedef double Float64;
typedef unsigned short UniChar;
typedef unsigned long UniCharCount;
typedef UInt32 UTF32Char;
typedef UInt16 UTF16Char;
typedef UInt8 UTF8Char;
typedef SInt32 OSStatus;
typedef SInt16 OSErr;

typedef unsigned long CFTypeID;
typedef unsigned long CFOptionFlags;
typedef unsigned long CFHashCode;
typedef signed long CFIndex;

/* Any object of this library. */
typedef const void *CFTypeRef;

typedef const struct __CFString *CFStringRef;
typedef struct __CFString *CFMutableStringRef;

/* A property-list object: CFString, CFNumber, CFBoolean, CFArray or CFDictionary. */
typedef CFTypeRef CFPropertyListRef;

typedef CFIndex CFComparisonResult;
enum {
    kCFCompareLessThan = -1,
    kCFCompareEqualTo = 0,
    kCFCompareGreaterThan = 1
};

typedef CFComparisonResult (*CFComparatorFunction)(const void *val1, const void *val2, void *context);

static const CFIndex kCFNotFound = -1;

/* A range of UTF-16 code units (strings) or elements (collections). */
typedef struct {
    CFIndex location;
    CFIndex length;
} CFRange;

CF_INLINE CFRange CFRangeMake(CFIndex loc, CFIndex len) {
    CFRange range;
    range.location = loc;
    range.length = len;
    return range;
}

/* Allocators exist so that Apple's signatures are kept. Both constants are
 * NULL and every function ignores the allocator it is given. */
typedef const struct __CFAllocator *CFAllocatorRef;
CF_EXPORT const CFAllocatorRef kCFAllocatorDefault;
CF_EXPORT const CFAllocatorRef kCFAllocatorSystemDefault;

/* Adds one reference and returns cf. CFRetain(NULL) returns NULL (Apple's
 * crashes). Constant objects (CFSTR strings, kCFBooleanTrue/False) ignore it. */
CF_EXPORT CFTypeRef CFRetain(CFTypeRef cf);

/* Gives back one reference; the object is destroyed when the last one goes,
 * on whichever thread that happens. CFRelease(NULL) does nothing. */
CF_EXPORT void CFRelease(CFTypeRef cf);

/* The current number of references; for constant objects a large constant that
 * never changes. 0 for NULL. For diagnostics and tests only. */
CF_EXPORT CFIndex CFGetRetainCount(CFTypeRef cf);

/* The type of cf, to compare with CFStringGetTypeID() and friends; 0 for NULL. */
CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef cf);

/* True when both are the same object, or of the same type with equal contents
 * (strings by UTF-16 text, numbers by value, collections element-wise).
 * False when either is NULL and the other is not. */
CF_EXPORT Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2);

/* A hash consistent with CFEqual: equal objects hash alike. 0 for NULL. */
CF_EXPORT CFHashCode CFHash(CFTypeRef cf);

/* A readable description, owned by the caller. What it contains is chosen so
 * that "%@" prints what a reader expects:
 *   CFString   the string itself (a copy);
 *   CFNumber   the value: integers in decimal, floating values in the shortest
 *              form that reads back to the same value ("3", "0.1", "1e+20");
 *   CFBoolean  "true" or "false";
 *   CFURL      its URL string;
 *   CFArray    "(" then one element per line, indented, comma separated, ")";
 *   CFDictionary "{" then one "key = value;" per line, indented, "}",
 *              in the order the keys were added.
 * Returns NULL for NULL. */
CF_EXPORT CFStringRef CFCopyDescription(CFTypeRef cf);

CF_EXTERN_C_END

#endif /* ZPCOREFOUNDATION_CFBASE_H */
