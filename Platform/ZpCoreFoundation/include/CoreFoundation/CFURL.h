/*
 * CFURL.h: file URLs made from file-system paths.
 *
 * Only what paths need: a URL is made from a POSIX or Windows path, converted
 * back, extended by a component, and asked for its last component. A URL from
 * an absolute path is absolute ("file:///tmp/a%20b"); one from a relative path
 * keeps the relative, escaped path as its string and the current directory (at
 * creation) as its base. Characters outside RFC 3986's path set, plus ';' and
 * '?', are percent-escaped as UTF-8.
 */
#ifndef ZPCOREFOUNDATION_CFURL_H
#define ZPCOREFOUNDATION_CFURL_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

typedef CFIndex CFURLPathStyle;
enum {
    kCFURLPOSIXPathStyle = 0,
    kCFURLHFSPathStyle = 1, /* deprecated by Apple; not supported here: gives NULL */
    kCFURLWindowsPathStyle = 2
};

typedef const struct __CFURL *CFURLRef;

CF_EXPORT CFTypeID CFURLGetTypeID(void);

/* A file URL owned by the caller. isDirectory true adds a trailing slash; false
 * drops one (except for the root). Windows paths take '\' or '/' separators:
 * "C:\Users\x y" gives "file:///C:/Users/x%20y" and "\\host\share\f" gives
 * "file://host/share/f". NULL for NULL, an empty path or the HFS style. */
CF_EXPORT CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef filePath,
                                                 CFURLPathStyle pathStyle, Boolean isDirectory);
/* The URL string, borrowed: valid while anURL is alive. */
CF_EXPORT CFStringRef CFURLGetString(CFURLRef anURL);
/* The path in pathStyle, percent-escapes decoded, owned by the caller; no
 * trailing separator except for a root ("/" or "C:\"). Relative URLs give a
 * relative path. NULL when the escapes do not decode to UTF-8 or for HFS. */
CF_EXPORT CFStringRef CFURLCopyFileSystemPath(CFURLRef anURL, CFURLPathStyle pathStyle);
/* The last path component, decoded, owned by the caller; a trailing slash is
 * ignored ("file:///tmp/dir/" gives "dir"), the root gives "/". */
CF_EXPORT CFStringRef CFURLCopyLastPathComponent(CFURLRef url);
/* Writes the POSIX path as NUL-terminated UTF-8 into buffer. With
 * resolveAgainstBase a relative URL is made absolute first. False when the
 * path and its NUL do not fit in maxBufLen bytes (buffer then unspecified). */
CF_EXPORT Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8 *buffer,
                                                   CFIndex maxBufLen);
/* url with pathComponent (escaped; '/' inside it stays a separator) added after
 * a '/', and a trailing '/' when isDirectory; owned by the caller. */
CF_EXPORT CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                                         CFStringRef pathComponent, Boolean isDirectory);

CF_EXTERN_C_END

#endif /* ZPCOREFOUNDATION_CFURL_H */
