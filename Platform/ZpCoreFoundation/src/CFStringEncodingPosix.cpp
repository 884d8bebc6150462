// CFStringEncodingPosix.cpp: byte-encoding conversion through iconv(3).
// Each call opens its own conversion descriptor, so calls on different threads
// share nothing.
#include "CFStringEncoding.h"

#include <cerrno>
#include <iconv.h>

namespace zpcf {
namespace {

const char *iconvName(CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingUTF8: return "UTF-8";
    case kCFStringEncodingASCII: return "ASCII";
    case kCFStringEncodingMacRoman: return "MACINTOSH";
    case kCFStringEncodingISOLatin1: return "ISO-8859-1";
    case kCFStringEncodingWindowsLatin1: return "CP1252";
    case kCFStringEncodingUTF32BE: return "UTF-32BE";
    case kCFStringEncodingUTF32LE: return "UTF-32LE";
    default: return nullptr;
    }
}

// Runs the whole input through one descriptor. Fails on invalid or
// unrepresentable input (EILSEQ) and on truncated input (EINVAL).
bool convert(const char *to, const char *from, std::string_view in, std::string &out) {
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1))
        return false;
    out.assign(in.size() * 2 + 16, '\0');
    char *src = const_cast<char *>(in.data());
    size_t srcLeft = in.size();
    size_t produced = 0;
    bool ok = true;
    while (srcLeft > 0) {
        char *dst = out.data() + produced;
        size_t dstLeft = out.size() - produced;
        size_t rc = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
        produced = out.size() - dstLeft;
        if (rc != static_cast<size_t>(-1))
            continue;
        if (errno == E2BIG) {
            out.resize(out.size() * 2);
            continue;
        }
        ok = false;
        break;
    }
    iconv_close(cd);
    out.resize(ok ? produced : 0);
    return ok;
}

} // namespace

bool platformDecode(std::string_view bytes, CFStringEncoding encoding, std::u16string &out) {
    const char *name = iconvName(encoding);
    std::string utf16le;
    if (!name || !convert("UTF-16LE", name, bytes, utf16le))
        return false;
    out.resize(utf16le.size() / 2);
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<char16_t>(static_cast<unsigned char>(utf16le[2 * i]) |
                                       (static_cast<unsigned char>(utf16le[2 * i + 1]) << 8));
    return true;
}

bool platformEncode(std::u16string_view text, CFStringEncoding encoding, std::string &out) {
    const char *name = iconvName(encoding);
    if (!name)
        return false;
    std::string utf16le(text.size() * 2, '\0');
    for (size_t i = 0; i < text.size(); ++i) {
        utf16le[2 * i] = static_cast<char>(text[i] & 0xFF);
        utf16le[2 * i + 1] = static_cast<char>(text[i] >> 8);
    }
    return convert(name, "UTF-16LE", utf16le, out);
}

} // namespace zpcf
