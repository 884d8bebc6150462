// CFStringEncoding.h (private): conversion between UTF-16 and the byte
// encodings that the operating system's converter handles. One implementation
// per platform (CFStringEncodingPosix.cpp: iconv; CFStringEncodingWin.cpp: the
// Win32 code-page functions), picked by CMake.
//
// Encodings passed here are already resolved to a definite byte order: the
// callers (CFString.cpp) deal with UTF-16 themselves and with byte-order marks.
// Both functions are thread-safe and strict: bytes that are not valid in the
// encoding, or text that cannot be represented in it, make them return false.
#ifndef ZPCOREFOUNDATION_SRC_CFSTRINGENCODING_H
#define ZPCOREFOUNDATION_SRC_CFSTRINGENCODING_H

#include <CoreFoundation/CFString.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace zpcf {

// kCFStringEncodingUTF8, ASCII, MacRoman, ISOLatin1, WindowsLatin1,
// UTF32BE and UTF32LE (the last two not on Windows).
bool platformDecode(std::string_view bytes, CFStringEncoding encoding, std::u16string &out);
bool platformEncode(std::u16string_view text, CFStringEncoding encoding, std::string &out);

} // namespace zpcf

#endif // ZPCOREFOUNDATION_SRC_CFSTRINGENCODING_H
