#ifndef ZPCORE_ZPCFSTRINGUTF8_H
#define ZPCORE_ZPCFSTRINGUTF8_H

#include <CoreFoundation/CoreFoundation.h>

#include <string>

// The text of string as UTF-8; empty for NULL. Text after an embedded U+0000 is
// lost, as with every C-string conversion of CoreFoundation.
std::string ZpCFStringUtf8(CFStringRef string);

#endif
