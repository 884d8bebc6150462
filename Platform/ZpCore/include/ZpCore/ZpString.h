#ifndef ZPCORE_ZPSTRING_H
#define ZPCORE_ZPSTRING_H

#include <ZpCore/ZpCoreExport.h>

#include <CoreFoundation/CoreFoundation.h>

#include <string>

// An immutable piece of Unicode text with value semantics, the bridge between
// CoreFoundation strings and C++ code.
//
// The text is held both as UTF-16 and as a CFString, so that cfString() hands out
// a CFStringRef without allocating and comparisons never call into
// CoreFoundation. Comparison is by UTF-16 code units: operator< is the
// lexicographic order of code units, a strict weak order consistent with
// operator==, so a ZpString can key std::map or QMap.
//
// Thread safety: like std::string. Const members may be used from several
// threads at once; changing one object (assignment) needs exclusive access.
class ZPCORE_EXPORT ZpString {
public:
    ZpString();
    // Keeps an immutable copy of string (for an immutable string: the same object,
    // retained). NULL gives the empty string.
    ZpString(CFStringRef string);
    // UTF-16 text up to its terminating 0; NULL gives the empty string.
    ZpString(const char16_t* utf16);
    ZpString(const std::u16string& utf16);
    // UTF-8 text up to its terminating 0. NULL, and text that is not valid UTF-8,
    // give the empty string.
    ZpString(const char* utf8);

    ZpString(const ZpString& other);
    ZpString(ZpString&& other) noexcept;
    ZpString& operator=(const ZpString& other);
    ZpString& operator=(ZpString&& other) noexcept;
    ~ZpString();

    // Borrowed, valid as long as this object is neither destroyed nor assigned
    // to; never NULL (the empty string is CFSTR("")).
    CFStringRef cfString() const;
    const std::u16string& utf16() const;
    std::string utf8() const;

    // In UTF-16 code units, as CFStringGetLength counts.
    int length() const;
    bool isEmpty() const;

    friend bool operator==(const ZpString& a, const ZpString& b) { return a.mText == b.mText; }
    friend bool operator!=(const ZpString& a, const ZpString& b) { return a.mText != b.mText; }
    friend bool operator<(const ZpString& a, const ZpString& b) { return a.mText < b.mText; }

private:
    std::u16string mText;
    CFStringRef mString; // owned (+1), never NULL; same text as mText
};

#endif
