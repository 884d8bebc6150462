/*
 * CFString.h: immutable and mutable Unicode strings.
 *
 * Text is kept as UTF-16; lengths, indexes and ranges count UTF-16 code units,
 * so a character outside the Basic Multilingual Plane (an emoji) counts two.
 * Creating a string from bytes that are not valid in the given encoding fails
 * with NULL, as Apple's does. Mutating functions ignore an immutable string.
 */
#ifndef ZPCOREFOUNDATION_CFSTRING_H
#define ZPCOREFOUNDATION_CFSTRING_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFDictionary.h>

CF_EXTERN_C_BEGIN

typedef UInt32 CFStringEncoding;

/* Apple's encoding numbers. The library converts the ones listed here. */
typedef CFStringEncoding CFStringBuiltInEncodings;
enum {
    kCFStringEncodingMacRoman = 0,
    kCFStringEncodingWindowsLatin1 = 0x0500,
    kCFStringEncodingISOLatin1 = 0x0201,
    kCFStringEncodingNextStepLatin = 0x0B01, /* not convertible here */
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingUnicode = 0x0100,
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingNonLossyASCII = 0x0BFF, /* not convertible here */
    kCFStringEncodingUTF16 = 0x0100,
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100,
    kCFStringEncodingUTF32 = 0x0c000100,
    kCFStringEncodingUTF32BE = 0x18000100,
    kCFStringEncodingUTF32LE = 0x1c000100
};
#define kCFStringEncodingInvalidId (0xffffffffU)

typedef CFOptionFlags CFStringCompareFlags;
enum {
    kCFCompareCaseInsensitive = 1,
    kCFCompareBackwards = 4,
    kCFCompareAnchored = 8,
    kCFCompareNonliteral = 16,
    kCFCompareLocalized = 32,
    kCFCompareNumerically = 64,
    kCFCompareDiacriticInsensitive = 128,
    kCFCompareWidthInsensitive = 256,
    kCFCompareForcedOrdering = 512
};

CF_EXPORT CFTypeID CFStringGetTypeID(void);

/* CFSTR("text") is a constant string: never freed (CFRetain and CFRelease do
 * nothing to it), and the same text always gives the same pointer, in every
 * translation unit and library of the process. The literal must be ASCII or
 * UTF-8. Usable from static initialisers of other libraries. */
#define CFSTR(cStr) __CFStringMakeConstantString("" cStr "")
CF_EXPORT CFStringRef __CFStringMakeConstantString(const char *cStr);

/* Creation. Each returns a string owned by the caller, or NULL when the input
 * is NULL or not valid in the encoding. */
CF_EXPORT CFStringRef CFStringCreateWithCString(CFAllocatorRef alloc, const char *cStr,
                                                CFStringEncoding encoding);
/* isExternalRepresentation: for UTF-16 and UTF-32 (no byte order named) the bytes
 * may start with a byte-order mark, which picks the byte order and is dropped;
 * without one, an external representation is big-endian and an internal one is
 * in the machine's order. */
CF_EXPORT CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8 *bytes, CFIndex numBytes,
                                              CFStringEncoding encoding, Boolean isExternalRepresentation);
CF_EXPORT CFStringRef CFStringCreateWithCharacters(CFAllocatorRef alloc, const UniChar *chars,
                                                   CFIndex numChars);
CF_EXPORT CFStringRef CFStringCreateCopy(CFAllocatorRef alloc, CFStringRef theString);
/* A part of str; NULL when the range lies outside it. */
CF_EXPORT CFStringRef CFStringCreateWithSubstring(CFAllocatorRef alloc, CFStringRef str, CFRange range);

/* Formatting, printf-style plus "%@" for any CF object (its CFCopyDescription,
 * "(null)" for NULL). Conversions: d i u o x X c s p f F e E g G a A %,
 * with flags "-+ 0#", width and precision (also as "*"), the length modifiers
 * hh h l ll q j z t L, and %S (NUL-terminated UniChar text) and %C (a UniChar).
 * "%s" reads UTF-8 (bytes that are not UTF-8 are read as ISO Latin-1); width and
 * precision of %s, %S and %@ count UTF-16 units. formatOptions is ignored.
 * Positional arguments ("%1$d") are not supported. */
CF_EXPORT CFStringRef CFStringCreateWithFormat(CFAllocatorRef alloc, CFDictionaryRef formatOptions,
                                               CFStringRef format, ...) CF_FORMAT_FUNCTION(3, 4);
CF_EXPORT CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef alloc, CFDictionaryRef formatOptions,
                                                           CFStringRef format, va_list arguments)
    CF_FORMAT_FUNCTION(3, 0);

/* Mutable strings. maxLength is Apple's capacity hint (0 means none); it is
 * accepted and not enforced. */
CF_EXPORT CFMutableStringRef CFStringCreateMutable(CFAllocatorRef alloc, CFIndex maxLength);
CF_EXPORT CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef alloc, CFIndex maxLength,
                                                       CFStringRef theString);
CF_EXPORT void CFStringAppend(CFMutableStringRef theString, CFStringRef appendedString);
CF_EXPORT void CFStringAppendCString(CFMutableStringRef theString, const char *cStr, CFStringEncoding encoding);
CF_EXPORT void CFStringAppendFormat(CFMutableStringRef theString, CFDictionaryRef formatOptions,
                                    CFStringRef format, ...) CF_FORMAT_FUNCTION(3, 4);

/* Access. Lengths and indexes count UTF-16 units. */
CF_EXPORT CFIndex CFStringGetLength(CFStringRef theString);
/* 0 when idx is out of range. */
CF_EXPORT UniChar CFStringGetCharacterAtIndex(CFStringRef theString, CFIndex idx);
/* Copies range.length units into buffer; copies nothing when the range lies
 * outside the string. */
CF_EXPORT void CFStringGetCharacters(CFStringRef theString, CFRange range, UniChar *buffer);
/* Writes the text, NUL-terminated, into buffer. False (and an empty buffer when
 * bufferSize > 0) when it does not fit, NUL included, or cannot be encoded. */
CF_EXPORT Boolean CFStringGetCString(CFStringRef theString, char *buffer, CFIndex bufferSize,
                                     CFStringEncoding encoding);
/* The string's own 8-bit text when it keeps one in this encoding (immutable
 * strings whose text is ASCII, CFSTR constants among them, in ASCII, UTF-8,
 * MacRoman, ISO Latin-1 or Windows Latin-1); NULL otherwise, as Apple allows.
 * Valid while the string is alive. */
CF_EXPORT const char *CFStringGetCStringPtr(CFStringRef theString, CFStringEncoding encoding);
/* The most bytes length UTF-16 units can take in encoding, without the NUL;
 * kCFNotFound when that overflows or the encoding is unknown. */
CF_EXPORT CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);

/* Searching and comparing. Options honoured: kCFCompareCaseInsensitive
 * (simple Unicode case folding), kCFCompareBackwards and kCFCompareAnchored
 * (CFStringFind). Other flags are accepted and ignored. */
/* The first (or with kCFCompareBackwards the last) occurrence; {kCFNotFound, 0}
 * when there is none or either string is empty or NULL. */
CF_EXPORT CFRange CFStringFind(CFStringRef theString, CFStringRef stringToFind, CFStringCompareFlags compareOptions);
/* Orders by UTF-16 code units (after case folding when asked). */
CF_EXPORT CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2,
                                             CFStringCompareFlags compareOptions);
/* An empty prefix or suffix gives false, as Apple's does. */
CF_EXPORT Boolean CFStringHasPrefix(CFStringRef theString, CFStringRef prefix);
CF_EXPORT Boolean CFStringHasSuffix(CFStringRef theString, CFStringRef suffix);
/* The pieces between occurrences of separatorString, empty ones included:
 * "a..b" split at "." is ("a", "", "b"); a string without the separator gives
 * one piece. The array retains its strings (kCFTypeArrayCallBacks). */
CF_EXPORT CFArrayRef CFStringCreateArrayBySeparatingStrings(CFAllocatorRef alloc, CFStringRef theString,
                                                            CFStringRef separatorString);

CF_EXTERN_C_END

#endif /* ZPCOREFOUNDATION_CFSTRING_H */
