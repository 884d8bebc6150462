// CFURL.cpp: file URLs built from and turned back into file-system paths.
//
// A URL is its string plus, for relative paths, the URL of the directory it is
// relative to. Only the forms this file makes are understood: "file://" + host
// + escaped absolute path, or an escaped relative path.
#include "CFRuntime.h"

#include <algorithm>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>

namespace {

constexpr std::u16string_view kFileScheme = u"file://";

// RFC 3986 unreserved characters, sub-delimiters other than ';', and ':' '@'
// '/': what a path keeps unescaped ('?' '#' ';' '%' and the rest are escaped).
bool keptInPath(unsigned char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    switch (c) {
    case '-': case '.': case '_': case '~':
    case '!': case '$': case '&': case '\'': case '(': case ')': case '*': case '+': case ',': case '=':
    case ':': case '@': case '/':
        return true;
    default:
        return false;
    }
}

// Percent-escapes text as UTF-8; false when it is not valid UTF-16.
bool escapePath(std::u16string_view text, std::u16string &out) {
    std::string utf8;
    if (!zpcf::utf16ToUtf8(text, utf8))
        return false;
    static const char hex[] = "0123456789ABCDEF";
    for (char ch : utf8) {
        const auto c = static_cast<unsigned char>(ch);
        if (keptInPath(c)) {
            out += static_cast<char16_t>(c);
        } else {
            out += u'%';
            out += static_cast<char16_t>(hex[c >> 4]);
            out += static_cast<char16_t>(hex[c & 0xF]);
        }
    }
    return true;
}

int hexValue(char16_t c) {
    if (c >= u'0' && c <= u'9')
        return c - u'0';
    if (c >= u'a' && c <= u'f')
        return c - u'a' + 10;
    if (c >= u'A' && c <= u'F')
        return c - u'A' + 10;
    return -1;
}

// Decodes percent-escapes (as UTF-8); false when they do not form UTF-8.
bool unescape(std::u16string_view text, std::u16string &out) {
    std::string utf8;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0) {
            utf8 += static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]));
            i += 2;
        } else if (text[i] < 0x80) {
            utf8 += static_cast<char>(text[i]);
        } else {
            std::string encoded;
            if (!zpcf::utf16ToUtf8(text.substr(i, 1), encoded))
                return false;
            utf8 += encoded;
        }
    }
    return zpcf::utf8ToUtf16(utf8, out);
}

bool endsWith(std::u16string_view text, char16_t c) { return !text.empty() && text.back() == c; }

bool isDriveLetter(std::u16string_view path) {
    return path.size() >= 2 && path[1] == u':' &&
           ((path[0] >= u'A' && path[0] <= u'Z') || (path[0] >= u'a' && path[0] <= u'z')) &&
           (path.size() == 2 || path[2] == u'/');
}

// The parts of a URL string this file makes.
struct Parts {
    bool absolute = false;
    std::u16string_view host;
    std::u16string_view path; // escaped; absolute ones start with '/'
};

Parts split(std::u16string_view url) {
    Parts parts;
    if (url.substr(0, kFileScheme.size()) != kFileScheme) {
        parts.path = url;
        return parts;
    }
    parts.absolute = true;
    const std::u16string_view rest = url.substr(kFileScheme.size());
    const size_t slash = rest.find(u'/');
    parts.host = rest.substr(0, slash);
    parts.path = slash == std::u16string_view::npos ? std::u16string_view(u"/") : rest.substr(slash);
    return parts;
}

} // namespace

struct __CFURL final : zpcf::Object {
    __CFURL(CFStringRef string_, CFURLRef base_) : string(string_), base(base_) {}
    ~__CFURL() override {
        CFRelease(string);
        CFRelease(base);
    }

    CFTypeID typeID() const override { return zpcf::kTypeIDURL; }
    bool equals(const Object &other) const override {
        const auto &that = static_cast<const __CFURL &>(other);
        return CFEqual(string, that.string) && CFEqual(base, that.base);
    }
    CFHashCode hash() const override { return CFHash(string); }
    std::u16string description() const override { return std::u16string(zpcf::stringText(string)); }

    const CFStringRef string; // owned, immutable
    const CFURLRef base;      // owned; NULL for absolute URLs
};

namespace {

const __CFURL *asURL(CFURLRef url) { return zpcf::isA(url, zpcf::kTypeIDURL) ? url : nullptr; }

// Takes ownership of base (which may be NULL).
CFURLRef makeURL(std::u16string text, CFURLRef base) {
    CFStringRef string = zpcf::makeString(std::move(text));
    if (!string) {
        CFRelease(base);
        return nullptr;
    }
    try {
        return new __CFURL(string, base);
    } catch (const std::bad_alloc &) {
        CFRelease(string);
        CFRelease(base);
        return nullptr;
    }
}

// The directory relative paths are taken against: the current one, now.
CFURLRef currentDirectoryURL() {
    std::error_code error;
    const std::filesystem::path cwd = std::filesystem::current_path(error);
    if (error)
        return nullptr;
    const std::string utf8 = cwd.generic_u8string();
    std::u16string path;
    std::u16string escaped;
    if (!zpcf::utf8ToUtf16(utf8, path) || !escapePath(path, escaped))
        return nullptr;
    if (!escaped.empty() && escaped.front() != u'/')
        escaped.insert(0, 1, u'/'); // a drive letter on Windows
    if (!endsWith(escaped, u'/'))
        escaped += u'/';
    return makeURL(std::u16string(kFileScheme) + escaped, nullptr);
}

// The decoded path of url: absolute ones from their '/', no trailing slash
// except for the root.
bool decodedPath(const __CFURL *url, Parts &parts, std::u16string &path) {
    parts = split(zpcf::stringText(url->string));
    if (!unescape(parts.path, path))
        return false;
    while (path.size() > 1 && endsWith(path, u'/'))
        path.pop_back();
    return true;
}

} // namespace

CFTypeID CFURLGetTypeID(void) { return zpcf::kTypeIDURL; }

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef filePath, CFURLPathStyle pathStyle,
                                       Boolean isDirectory) {
    std::u16string path(zpcf::stringText(filePath));
    if (path.empty() || (pathStyle != kCFURLPOSIXPathStyle && pathStyle != kCFURLWindowsPathStyle))
        return nullptr;
    try {
        std::u16string prefix;
        if (pathStyle == kCFURLWindowsPathStyle) {
            for (char16_t &c : path)
                if (c == u'\\')
                    c = u'/';
            if (path.size() > 2 && path[0] == u'/' && path[1] == u'/') {
                path.erase(0, 2); // "//host/share/f": the host follows the scheme's "//"
                prefix = kFileScheme;
            } else if (isDriveLetter(path)) {
                if (path.size() == 2)
                    path += u'/';
                prefix = std::u16string(kFileScheme) + u"/";
            } else if (path[0] == u'/') {
                prefix = kFileScheme;
            }
        } else if (path[0] == u'/') {
            prefix = kFileScheme;
        }
        if (isDirectory) {
            if (!endsWith(path, u'/'))
                path += u'/';
        } else {
            while (path.size() > 1 && endsWith(path, u'/') && !(isDriveLetter(path) && path.size() == 3))
                path.pop_back();
        }
        std::u16string escaped;
        if (!escapePath(path, escaped))
            return nullptr;
        const bool relative = prefix.empty();
        return makeURL(prefix + escaped, relative ? currentDirectoryURL() : nullptr);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFStringRef CFURLGetString(CFURLRef anURL) {
    const __CFURL *url = asURL(anURL);
    return url ? url->string : nullptr;
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef anURL, CFURLPathStyle pathStyle) {
    const __CFURL *url = asURL(anURL);
    if (!url || (pathStyle != kCFURLPOSIXPathStyle && pathStyle != kCFURLWindowsPathStyle))
        return nullptr;
    try {
        Parts parts;
        std::u16string path;
        if (!decodedPath(url, parts, path))
            return nullptr;
        if (!parts.host.empty()) {
            std::u16string host;
            if (!unescape(parts.host, host))
                return nullptr;
            path = u"//" + host + path;
        }
        if (pathStyle == kCFURLWindowsPathStyle) {
            if (parts.absolute && parts.host.empty() && isDriveLetter(std::u16string_view(path).substr(1))) {
                path.erase(0, 1);
                if (path.size() == 2)
                    path += u'/'; // the root of a drive keeps its separator
            }
            for (char16_t &c : path)
                if (c == u'/')
                    c = u'\\';
        }
        return zpcf::makeString(std::move(path));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef url) {
    const __CFURL *u = asURL(url);
    if (!u)
        return nullptr;
    try {
        Parts parts;
        std::u16string path;
        if (!decodedPath(u, parts, path))
            return nullptr;
        if (path == u"/")
            return zpcf::makeString(path);
        const size_t slash = path.rfind(u'/');
        return zpcf::makeString(slash == std::u16string::npos ? path : path.substr(slash + 1));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8 *buffer,
                                         CFIndex maxBufLen) {
    const __CFURL *u = asURL(url);
    if (!u || !buffer || maxBufLen <= 0)
        return false;
    try {
        CFStringRef posix = CFURLCopyFileSystemPath(u, kCFURLPOSIXPathStyle);
        if (!posix)
            return false;
        std::u16string path(zpcf::stringText(posix));
        CFRelease(posix);
        if (resolveAgainstBase && u->base) {
            CFStringRef basePath = CFURLCopyFileSystemPath(u->base, kCFURLPOSIXPathStyle);
            if (!basePath)
                return false;
            std::u16string prefix(zpcf::stringText(basePath));
            CFRelease(basePath);
            if (!endsWith(prefix, u'/'))
                prefix += u'/';
            path = prefix + path;
        }
        std::string utf8;
        if (!zpcf::utf16ToUtf8(path, utf8) || utf8.size() >= static_cast<size_t>(maxBufLen))
            return false;
        std::copy(utf8.begin(), utf8.end(), buffer);
        buffer[utf8.size()] = 0;
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef pathComponent,
                                               Boolean isDirectory) {
    const __CFURL *u = asURL(url);
    if (!u || !zpcf::asString(pathComponent))
        return nullptr;
    try {
        std::u16string text(zpcf::stringText(u->string));
        std::u16string escaped;
        if (!escapePath(zpcf::stringText(pathComponent), escaped))
            return nullptr;
        if (!endsWith(text, u'/'))
            text += u'/';
        text += escaped;
        if (isDirectory && !endsWith(text, u'/'))
            text += u'/';
        return makeURL(std::move(text), static_cast<CFURLRef>(CFRetain(u->base)));
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}
