#pragma once

#include <ZpQtCoreLite/ZpQtCoreLiteExport.h>

#include <CoreFoundation/CoreFoundation.h>

#include <QString>

// Text conversion between CoreFoundation and Qt. Both store UTF-16, so every
// conversion is lossless, surrogate pairs included.
//
// Thread safety: all members may be called from any thread.
class ZPQTCORELITE_EXPORT ZpQtStringUtils
{
public:
    ZpQtStringUtils() = delete;

    // A QString with the same text. Does not consume `string`: the caller keeps
    // its reference. NULL gives a null QString; an empty string an empty,
    // non-null one.
    static QString createQStringFromCFStringRef(CFStringRef string);

    // A new CFString with the same text (create rule: the caller releases it).
    // A null or empty QString gives an empty CFString, never NULL.
    static CFStringRef createCFStringRefFromQString(const QString& string);

    // The native file-system path of a file URL, e.g. "/home/me/Å b.txt" for
    // file:///home/me/%C3%85%20b.txt; directories come without a trailing slash.
    // Empty for NULL and for URLs that name no local file. Does not consume `url`.
    static QString createQStringFileSystemRepresentationFromCFUrlRef(CFURLRef url);
};
