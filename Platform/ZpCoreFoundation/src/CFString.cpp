// CFString.cpp: string objects, the constant-string table behind CFSTR,
// encoding dispatch (byte order and byte-order marks here, the byte encodings
// in the platform converter), searching and comparing.
#include "CFRuntime.h"
#include "CFStringEncoding.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <locale>
#include <mutex>
#include <new>
#include <unordered_map>
#include <vector>

namespace {

bool allAscii(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
}

// Encodings whose first 128 byte values are ASCII, one byte each.
bool isAsciiSuperset(CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingASCII:
    case kCFStringEncodingUTF8:
    case kCFStringEncodingMacRoman:
    case kCFStringEncodingISOLatin1:
    case kCFStringEncodingWindowsLatin1:
        return true;
    default:
        return false;
    }
}

bool hostIsBigEndian() {
    const uint16_t probe = 0x0102;
    unsigned char first;
    std::memcpy(&first, &probe, 1);
    return first == 0x01;
}

bool decodeUtf16(std::string_view bytes, bool bigEndian, std::u16string &out) {
    if (bytes.size() % 2 != 0)
        return false;
    out.resize(bytes.size() / 2);
    for (size_t i = 0; i < out.size(); ++i) {
        const unsigned hi = static_cast<unsigned char>(bytes[2 * i + (bigEndian ? 0 : 1)]);
        const unsigned lo = static_cast<unsigned char>(bytes[2 * i + (bigEndian ? 1 : 0)]);
        out[i] = static_cast<char16_t>((hi << 8) | lo);
    }
    return true;
}

std::string encodeUtf16(std::u16string_view text, bool bigEndian) {
    std::string out(text.size() * 2, '\0');
    for (size_t i = 0; i < text.size(); ++i) {
        out[2 * i + (bigEndian ? 0 : 1)] = static_cast<char>(text[i] >> 8);
        out[2 * i + (bigEndian ? 1 : 0)] = static_cast<char>(text[i] & 0xFF);
    }
    return out;
}

// Bytes to UTF-16. For the encodings that name no byte order (UTF-16, UTF-32),
// an external representation may start with a byte-order mark; without one it
// is big-endian, as Unicode prescribes. Internal representations are in the
// machine's order and a leading U+FEFF stays part of the text.
bool decode(std::string_view bytes, CFStringEncoding encoding, bool external, std::u16string &out) {
    if (isAsciiSuperset(encoding) &&
        std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
        out.assign(bytes.begin(), bytes.end());
        return true;
    }
    switch (encoding) {
    case kCFStringEncodingUTF16BE:
        return decodeUtf16(bytes, true, out);
    case kCFStringEncodingUTF16LE:
        return decodeUtf16(bytes, false, out);
    case kCFStringEncodingUTF16: {
        if (!external)
            return decodeUtf16(bytes, hostIsBigEndian(), out);
        if (bytes.size() >= 2) {
            const auto b0 = static_cast<unsigned char>(bytes[0]), b1 = static_cast<unsigned char>(bytes[1]);
            if ((b0 == 0xFE && b1 == 0xFF) || (b0 == 0xFF && b1 == 0xFE))
                return decodeUtf16(bytes.substr(2), b0 == 0xFE, out);
        }
        return decodeUtf16(bytes, true, out);
    }
    case kCFStringEncodingUTF32: {
        if (!external)
            return zpcf::platformDecode(bytes, hostIsBigEndian() ? kCFStringEncodingUTF32BE : kCFStringEncodingUTF32LE,
                                        out);
        if (bytes.size() >= 4) {
            if (bytes.substr(0, 4) == std::string_view("\x00\x00\xFE\xFF", 4))
                return zpcf::platformDecode(bytes.substr(4), kCFStringEncodingUTF32BE, out);
            if (bytes.substr(0, 4) == std::string_view("\xFF\xFE\x00\x00", 4))
                return zpcf::platformDecode(bytes.substr(4), kCFStringEncodingUTF32LE, out);
        }
        return zpcf::platformDecode(bytes, kCFStringEncodingUTF32BE, out);
    }
    default:
        return zpcf::platformDecode(bytes, encoding, out);
    }
}

// UTF-16 to bytes, without a byte-order mark; UTF-16 and UTF-32 in the
// machine's order.
bool encode(std::u16string_view text, CFStringEncoding encoding, std::string &out) {
    if (isAsciiSuperset(encoding) && allAscii(text)) {
        out.assign(text.begin(), text.end());
        return true;
    }
    switch (encoding) {
    case kCFStringEncodingUTF16BE:
        out = encodeUtf16(text, true);
        return true;
    case kCFStringEncodingUTF16LE:
        out = encodeUtf16(text, false);
        return true;
    case kCFStringEncodingUTF16:
        out = encodeUtf16(text, hostIsBigEndian());
        return true;
    case kCFStringEncodingUTF32:
        return zpcf::platformEncode(text, hostIsBigEndian() ? kCFStringEncodingUTF32BE : kCFStringEncodingUTF32LE, out);
    default:
        return zpcf::platformEncode(text, encoding, out);
    }
}

// Simple (one-to-one) Unicode case folding, which keeps every index of the
// text where it was: CFStringFind reports ranges in the original string. The
// character tables come from the C library's UTF-8 locale; where that locale
// is missing only ASCII letters fold.
const std::ctype<wchar_t> &unicodeCType() {
    static const std::ctype<wchar_t> *facet = [] {
        try {
            static const std::locale utf8Locale("C.UTF-8");
            return &std::use_facet<std::ctype<wchar_t>>(utf8Locale);
        } catch (const std::exception &) {
            return &std::use_facet<std::ctype<wchar_t>>(std::locale::classic());
        }
    }();
    return *facet;
}

bool isHighSurrogate(char16_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLowSurrogate(char16_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

std::u16string foldCase(std::u16string_view text) {
    const std::ctype<wchar_t> &ctype = unicodeCType();
    const auto fold = [&ctype](char32_t c) -> char32_t {
        if (c > static_cast<char32_t>(std::numeric_limits<wchar_t>::max()))
            return c;
        return static_cast<char32_t>(ctype.tolower(ctype.toupper(static_cast<wchar_t>(c))));
    };
    std::u16string out(text);
    for (size_t i = 0; i < out.size(); ++i) {
        if (isHighSurrogate(out[i]) && i + 1 < out.size() && isLowSurrogate(out[i + 1])) {
            const char32_t c = 0x10000 + ((char32_t(out[i]) - 0xD800) << 10) + (char32_t(out[i + 1]) - 0xDC00);
            const char32_t f = fold(c);
            if (f >= 0x10000 && f <= 0x10FFFF) {
                out[i] = static_cast<char16_t>(0xD800 + ((f - 0x10000) >> 10));
                out[i + 1] = static_cast<char16_t>(0xDC00 + ((f - 0x10000) & 0x3FF));
            }
            ++i;
        } else if (!isHighSurrogate(out[i]) && !isLowSurrogate(out[i])) {
            const char32_t f = fold(out[i]);
            if (f < 0x10000 && !(f >= 0xD800 && f <= 0xDFFF))
                out[i] = static_cast<char16_t>(f);
        }
    }
    return out;
}

__CFString *mutableString(CFMutableStringRef str) {
    return (zpcf::isA(str, zpcf::kTypeIDString) && str->isMutable) ? str : nullptr;
}

// The table behind CFSTR. Created on first use and never destroyed, so that
// CFSTR works from any library's static initialisers and destructors.
struct ConstantStringTable {
    std::mutex mutex;
    std::unordered_map<std::string, const __CFString *> strings;
};

ConstantStringTable &constantStrings() {
    static ConstantStringTable *table = new ConstantStringTable;
    return *table;
}

CFStringRef createFromBytes(std::string_view bytes, CFStringEncoding encoding, bool external) {
    try {
        std::u16string text;
        if (!decode(bytes, encoding, external, text))
            return nullptr;
        return zpcf::makeString(std::move(text));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

} // namespace

__CFString::__CFString(std::u16string text_, bool isMutable_, Lifetime lifetime)
    : Object(lifetime), text(std::move(text_)), isMutable(isMutable_) {
    if (!isMutable && allAscii(text)) {
        ascii.assign(text.begin(), text.end());
        hasAscii = true;
    }
}

bool __CFString::equals(const Object &other) const { return text == static_cast<const __CFString &>(other).text; }

CFHashCode __CFString::hash() const { return std::hash<std::u16string_view>()(text); }

namespace zpcf {

CFStringRef makeString(std::u16string text) {
    try {
        return new __CFString(std::move(text), false);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFMutableStringRef makeMutableString(std::u16string text) {
    try {
        return new __CFString(std::move(text), true);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

const __CFString *asString(CFTypeRef cf) {
    return isA(cf, kTypeIDString) ? static_cast<const __CFString *>(asObject(cf)) : nullptr;
}

std::u16string_view stringText(CFStringRef str) {
    const __CFString *s = asString(str);
    return s ? std::u16string_view(s->text) : std::u16string_view();
}

bool utf8ToUtf16(std::string_view utf8, std::u16string &out) {
    return decode(utf8, kCFStringEncodingUTF8, false, out);
}

bool utf16ToUtf8(std::u16string_view text, std::string &out) { return encode(text, kCFStringEncodingUTF8, out); }

} // namespace zpcf

CFTypeID CFStringGetTypeID(void) { return zpcf::kTypeIDString; }

CFStringRef __CFStringMakeConstantString(const char *cStr) {
    if (!cStr)
        return nullptr;
    try {
        ConstantStringTable &table = constantStrings();
        std::lock_guard<std::mutex> lock(table.mutex);
        auto found = table.strings.find(cStr);
        if (found != table.strings.end())
            return found->second;
        std::u16string text;
        // Literals are UTF-8; bytes that are not get read one to one as Latin-1
        // rather than losing the constant.
        if (!zpcf::utf8ToUtf16(cStr, text))
            decode(cStr, kCFStringEncodingISOLatin1, false, text);
        auto *str = new __CFString(std::move(text), false, zpcf::Object::Lifetime::Immortal);
        table.strings.emplace(cStr, str);
        return str;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char *cStr, CFStringEncoding encoding) {
    if (!cStr)
        return nullptr;
    return createFromBytes(cStr, encoding, false);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8 *bytes, CFIndex numBytes, CFStringEncoding encoding,
                                    Boolean isExternalRepresentation) {
    if (numBytes < 0 || (!bytes && numBytes > 0))
        return nullptr;
    if (numBytes == 0)
        return zpcf::makeString(std::u16string());
    return createFromBytes(std::string_view(reinterpret_cast<const char *>(bytes), static_cast<size_t>(numBytes)),
                           encoding, isExternalRepresentation);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar *chars, CFIndex numChars) {
    if (numChars < 0 || (!chars && numChars > 0))
        return nullptr;
    try {
        return zpcf::makeString(numChars ? std::u16string(chars, chars + numChars) : std::u16string());
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef theString) {
    const __CFString *str = zpcf::asString(theString);
    if (!str)
        return nullptr;
    if (!str->isMutable)
        return static_cast<CFStringRef>(CFRetain(str));
    try {
        return zpcf::makeString(str->text);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef, CFStringRef str, CFRange range) {
    const std::u16string_view text = zpcf::stringText(str);
    if (!zpcf::asString(str) || range.location < 0 || range.length < 0 ||
        static_cast<size_t>(range.location) > text.size() ||
        static_cast<size_t>(range.length) > text.size() - static_cast<size_t>(range.location))
        return nullptr;
    try {
        return zpcf::makeString(std::u16string(text.substr(static_cast<size_t>(range.location),
                                                            static_cast<size_t>(range.length))));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFMutableStringRef CFStringCreateMutable(CFAllocatorRef, CFIndex) { return zpcf::makeMutableString(std::u16string()); }

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef, CFIndex, CFStringRef theString) {
    if (!zpcf::asString(theString))
        return nullptr;
    try {
        return zpcf::makeMutableString(std::u16string(zpcf::stringText(theString)));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void CFStringAppend(CFMutableStringRef theString, CFStringRef appendedString) {
    __CFString *str = mutableString(theString);
    if (!str || !zpcf::asString(appendedString))
        return;
    try {
        // Appending a string to itself must read the text before it grows.
        const std::u16string appended(zpcf::stringText(appendedString));
        str->text += appended;
    } catch (const std::bad_alloc &) {
    }
}

void CFStringAppendCString(CFMutableStringRef theString, const char *cStr, CFStringEncoding encoding) {
    __CFString *str = mutableString(theString);
    if (!str || !cStr)
        return;
    try {
        std::u16string text;
        if (decode(cStr, encoding, false, text))
            str->text += text;
    } catch (const std::bad_alloc &) {
    }
}

void CFStringAppendFormat(CFMutableStringRef theString, CFDictionaryRef, CFStringRef format, ...) {
    __CFString *str = mutableString(theString);
    if (!str || !zpcf::asString(format))
        return;
    va_list args;
    va_start(args, format);
    try {
        std::u16string formatted;
        zpcf::appendFormatted(formatted, zpcf::stringText(format), args);
        str->text += formatted;
    } catch (const std::bad_alloc &) {
    }
    va_end(args);
}

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef, CFDictionaryRef, CFStringRef format,
                                                 va_list arguments) {
    if (!zpcf::asString(format))
        return nullptr;
    try {
        std::u16string formatted;
        zpcf::appendFormatted(formatted, zpcf::stringText(format), arguments);
        return zpcf::makeString(std::move(formatted));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFStringRef CFStringCreateWithFormat(CFAllocatorRef alloc, CFDictionaryRef formatOptions, CFStringRef format, ...) {
    va_list args;
    va_start(args, format);
    CFStringRef result = CFStringCreateWithFormatAndArguments(alloc, formatOptions, format, args);
    va_end(args);
    return result;
}

CFIndex CFStringGetLength(CFStringRef theString) { return static_cast<CFIndex>(zpcf::stringText(theString).size()); }

UniChar CFStringGetCharacterAtIndex(CFStringRef theString, CFIndex idx) {
    const std::u16string_view text = zpcf::stringText(theString);
    if (idx < 0 || static_cast<size_t>(idx) >= text.size())
        return 0;
    return text[static_cast<size_t>(idx)];
}

void CFStringGetCharacters(CFStringRef theString, CFRange range, UniChar *buffer) {
    const std::u16string_view text = zpcf::stringText(theString);
    if (!buffer || range.location < 0 || range.length < 0 || static_cast<size_t>(range.location) > text.size() ||
        static_cast<size_t>(range.length) > text.size() - static_cast<size_t>(range.location))
        return;
    std::copy_n(text.begin() + range.location, range.length, buffer);
}

Boolean CFStringGetCString(CFStringRef theString, char *buffer, CFIndex bufferSize, CFStringEncoding encoding) {
    if (!buffer || bufferSize <= 0)
        return false;
    buffer[0] = '\0';
    if (!zpcf::asString(theString))
        return false;
    try {
        std::string bytes;
        if (!encode(zpcf::stringText(theString), encoding, bytes) ||
            bytes.size() >= static_cast<size_t>(bufferSize))
            return false;
        std::memcpy(buffer, bytes.data(), bytes.size());
        buffer[bytes.size()] = '\0';
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

const char *CFStringGetCStringPtr(CFStringRef theString, CFStringEncoding encoding) {
    const __CFString *str = zpcf::asString(theString);
    if (!str || str->isMutable || !str->hasAscii || !isAsciiSuperset(encoding))
        return nullptr;
    return str->ascii.c_str();
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    if (length < 0)
        return kCFNotFound;
    CFIndex perUnit;
    switch (encoding) {
    case kCFStringEncodingASCII:
    case kCFStringEncodingMacRoman:
    case kCFStringEncodingISOLatin1:
    case kCFStringEncodingWindowsLatin1:
        perUnit = 1;
        break;
    case kCFStringEncodingUTF16:
    case kCFStringEncodingUTF16BE:
    case kCFStringEncodingUTF16LE:
        perUnit = 2;
        break;
    case kCFStringEncodingUTF8: // a unit takes at most 3 bytes; a pair (2 units) 4
        perUnit = 3;
        break;
    case kCFStringEncodingUTF32:
    case kCFStringEncodingUTF32BE:
    case kCFStringEncodingUTF32LE:
        perUnit = 4;
        break;
    default:
        return kCFNotFound;
    }
    return length > std::numeric_limits<CFIndex>::max() / perUnit ? kCFNotFound : length * perUnit;
}

CFRange CFStringFind(CFStringRef theString, CFStringRef stringToFind, CFStringCompareFlags compareOptions) {
    const CFRange notFound = CFRangeMake(kCFNotFound, 0);
    std::u16string_view haystack = zpcf::stringText(theString);
    std::u16string_view needle = zpcf::stringText(stringToFind);
    if (needle.empty() || needle.size() > haystack.size())
        return notFound;
    try {
        std::u16string foldedHaystack, foldedNeedle;
        if (compareOptions & kCFCompareCaseInsensitive) {
            foldedHaystack = foldCase(haystack);
            foldedNeedle = foldCase(needle);
            haystack = foldedHaystack;
            needle = foldedNeedle;
        }
        const bool backwards = (compareOptions & kCFCompareBackwards) != 0;
        size_t at;
        if (compareOptions & kCFCompareAnchored) {
            at = backwards ? haystack.size() - needle.size() : 0;
            if (haystack.substr(at, needle.size()) != needle)
                return notFound;
        } else {
            at = backwards ? haystack.rfind(needle) : haystack.find(needle);
            if (at == std::u16string_view::npos)
                return notFound;
        }
        return CFRangeMake(static_cast<CFIndex>(at), static_cast<CFIndex>(needle.size()));
    } catch (const std::bad_alloc &) {
        return notFound;
    }
}

CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2,
                                   CFStringCompareFlags compareOptions) {
    std::u16string_view a = zpcf::stringText(theString1);
    std::u16string_view b = zpcf::stringText(theString2);
    int order;
    try {
        if (compareOptions & kCFCompareCaseInsensitive)
            order = foldCase(a).compare(foldCase(b));
        else
            order = a.compare(b);
    } catch (const std::bad_alloc &) {
        order = a.compare(b);
    }
    if (order < 0)
        return kCFCompareLessThan;
    return order > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

Boolean CFStringHasPrefix(CFStringRef theString, CFStringRef prefix) {
    return CFStringFind(theString, prefix, kCFCompareAnchored).location != kCFNotFound;
}

Boolean CFStringHasSuffix(CFStringRef theString, CFStringRef suffix) {
    return CFStringFind(theString, suffix, kCFCompareAnchored | kCFCompareBackwards).location != kCFNotFound;
}

CFArrayRef CFStringCreateArrayBySeparatingStrings(CFAllocatorRef, CFStringRef theString,
                                                  CFStringRef separatorString) {
    if (!zpcf::asString(theString))
        return nullptr;
    std::vector<const void *> pieces;
    CFArrayRef result = nullptr;
    try {
        const std::u16string_view text = zpcf::stringText(theString);
        const std::u16string_view separator = zpcf::stringText(separatorString);
        size_t start = 0;
        while (true) {
            const size_t at = separator.empty() ? std::u16string_view::npos : text.find(separator, start);
            const size_t end = at == std::u16string_view::npos ? text.size() : at;
            CFStringRef piece = zpcf::makeString(std::u16string(text.substr(start, end - start)));
            if (!piece)
                throw std::bad_alloc();
            pieces.push_back(piece);
            if (at == std::u16string_view::npos)
                break;
            start = at + separator.size();
        }
        result = CFArrayCreate(nullptr, pieces.data(), static_cast<CFIndex>(pieces.size()), &kCFTypeArrayCallBacks);
    } catch (const std::bad_alloc &) {
    }
    for (const void *piece : pieces)
        CFRelease(piece);
    return result;
}
