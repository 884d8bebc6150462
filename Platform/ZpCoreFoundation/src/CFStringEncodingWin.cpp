// CFStringEncodingWin.cpp: byte-encoding conversion through the Win32
// code-page functions. Windows has no code page for UTF-32, so those two
// encodings report failure here.
#include "CFStringEncoding.h"

#include <climits>
#include <windows.h>

namespace zpcf {
namespace {

UINT codePage(CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingUTF8: return CP_UTF8;
    case kCFStringEncodingASCII: return 20127;
    case kCFStringEncodingMacRoman: return 10000;
    case kCFStringEncodingISOLatin1: return 28591;
    case kCFStringEncodingWindowsLatin1: return 1252;
    default: return 0;
    }
}

} // namespace

bool platformDecode(std::string_view bytes, CFStringEncoding encoding, std::u16string &out) {
    const UINT cp = codePage(encoding);
    if (cp == 0 || bytes.size() > static_cast<size_t>(INT_MAX))
        return false;
    out.clear();
    if (bytes.empty())
        return true;
    const int inLen = static_cast<int>(bytes.size());
    const int needed = MultiByteToWideChar(cp, MB_ERR_INVALID_CHARS, bytes.data(), inLen, nullptr, 0);
    if (needed <= 0)
        return false;
    std::wstring wide(static_cast<size_t>(needed), L'\0');
    if (MultiByteToWideChar(cp, MB_ERR_INVALID_CHARS, bytes.data(), inLen, wide.data(), needed) != needed)
        return false;
    // ASCII (20127) maps bytes above 0x7F silently instead of failing.
    if (encoding == kCFStringEncodingASCII)
        for (char c : bytes)
            if (static_cast<unsigned char>(c) > 0x7F)
                return false;
    out.assign(wide.begin(), wide.end());
    return true;
}

bool platformEncode(std::u16string_view text, CFStringEncoding encoding, std::string &out) {
    const UINT cp = codePage(encoding);
    if (cp == 0 || text.size() > static_cast<size_t>(INT_MAX))
        return false;
    out.clear();
    if (text.empty())
        return true;
    std::wstring wide(text.begin(), text.end());
    const int inLen = static_cast<int>(wide.size());
    // UTF-8 reports unpaired surrogates through WC_ERR_INVALID_CHARS; the code
    // pages report unmappable characters through usedDefault instead.
    const DWORD flags = cp == CP_UTF8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
    BOOL usedDefault = FALSE;
    BOOL *usedDefaultPtr = cp == CP_UTF8 ? nullptr : &usedDefault;
    const int needed = WideCharToMultiByte(cp, flags, wide.data(), inLen, nullptr, 0, nullptr, usedDefaultPtr);
    if (needed <= 0 || usedDefault)
        return false;
    out.assign(static_cast<size_t>(needed), '\0');
    if (WideCharToMultiByte(cp, flags, wide.data(), inLen, out.data(), needed, nullptr, usedDefaultPtr) != needed ||
        usedDefault) {
        out.clear();
        return false;
    }
    return true;
}

} // namespace zpcf
