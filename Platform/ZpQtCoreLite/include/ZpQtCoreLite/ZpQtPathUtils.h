#pragma once

#include <ZpQtCoreLite/ZpQtCoreLiteExport.h>

#include <CoreFoundation/CoreFoundation.h>

// Where products keep their per-user files.
//
// Thread safety: all members may be called from any thread.
class ZPQTCORELITE_EXPORT ZpQtPathUtils
{
public:
    ZpQtPathUtils() = delete;

    // The directory URL <generic data location>/Vantro/<product>/ (on Linux
    // ~/.local/share/Vantro/<product>/), created user-only (0700 on POSIX) where it
    // and the Vantro folder are missing; existing folders keep their permissions.
    // Create rule: the caller releases the URL. NULL when `product` is NULL or
    // empty, names more than one path component, or the folder cannot be created.
    static CFURLRef getUserAppDataPathForProduct(CFStringRef product);
};
