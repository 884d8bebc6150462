// CFStringFormat.cpp: the format engine behind CFStringCreateWithFormat and
// CFStringAppendFormat.
//
// Only the dispatch is written here: each conversion is read from the format,
// its argument taken from the va_list with the type the conversion names, and
// numbers are rendered by the C library's snprintf with the same flags, width
// and precision. The text conversions (%@, %s, %S, %c, %C) are rendered here
// because their output is UTF-16 and their width counts UTF-16 units.
#include "CFRuntime.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <type_traits>

namespace {

enum class Length { None, Char, Short, Long, LongLong, IntMax, Size, PtrDiff, LongDouble };

struct Directive {
    std::string flags;
    int width = -1;     // -1: none
    int precision = -1; // -1: none
    Length length = Length::None;
    char conversion = 0;
    bool leftAlign() const { return flags.find('-') != std::string::npos; }
};

// The snprintf form of directive, with '*' already resolved into numbers.
std::string printfDirective(const Directive &directive, const char *lengthText, char conversion) {
    std::string out = "%" + directive.flags;
    if (directive.width >= 0)
        out += std::to_string(directive.width);
    if (directive.precision >= 0)
        out += "." + std::to_string(directive.precision);
    out += lengthText;
    out += conversion;
    return out;
}

template <typename T> std::string render(const std::string &format, T value) {
    char small[128];
    const int needed = std::snprintf(small, sizeof small, format.c_str(), value);
    if (needed < 0)
        return std::string();
    if (static_cast<size_t>(needed) < sizeof small)
        return std::string(small, static_cast<size_t>(needed));
    std::string out(static_cast<size_t>(needed) + 1, '\0');
    std::snprintf(out.data(), out.size(), format.c_str(), value);
    out.resize(static_cast<size_t>(needed));
    return out;
}

// Precision cuts text to that many UTF-16 units (never between the two halves
// of a surrogate pair); width pads it with spaces.
void appendText(std::u16string &out, std::u16string text, const Directive &directive) {
    if (directive.precision >= 0 && text.size() > static_cast<size_t>(directive.precision)) {
        size_t keep = static_cast<size_t>(directive.precision);
        if (keep > 0 && text[keep - 1] >= 0xD800 && text[keep - 1] <= 0xDBFF)
            --keep;
        text.resize(keep);
    }
    const size_t pad = directive.width > 0 && text.size() < static_cast<size_t>(directive.width)
                           ? static_cast<size_t>(directive.width) - text.size()
                           : 0;
    if (!directive.leftAlign())
        out.append(pad, u' ');
    out += text;
    if (directive.leftAlign())
        out.append(pad, u' ');
}

void appendAscii(std::u16string &out, const std::string &text) { out.append(text.begin(), text.end()); }

// "%s" text: UTF-8, or ISO Latin-1 byte for byte when it is not UTF-8.
std::u16string systemText(const char *bytes) {
    std::u16string text;
    if (!zpcf::utf8ToUtf16(bytes, text)) {
        text.clear();
        for (const char *p = bytes; *p; ++p)
            text += static_cast<char16_t>(static_cast<unsigned char>(*p));
    }
    return text;
}

void appendSigned(std::u16string &out, const Directive &directive, va_list args) {
    const char c = directive.conversion;
    switch (directive.length) {
    case Length::Long: appendAscii(out, render(printfDirective(directive, "l", c), va_arg(args, long))); break;
    case Length::LongLong: appendAscii(out, render(printfDirective(directive, "ll", c), va_arg(args, long long))); break;
    case Length::IntMax: appendAscii(out, render(printfDirective(directive, "j", c), va_arg(args, intmax_t))); break;
    case Length::Size:
        appendAscii(out, render(printfDirective(directive, "z", c), va_arg(args, std::make_signed_t<size_t>)));
        break;
    case Length::PtrDiff: appendAscii(out, render(printfDirective(directive, "t", c), va_arg(args, ptrdiff_t))); break;
    case Length::Char: appendAscii(out, render(printfDirective(directive, "hh", c), va_arg(args, int))); break;
    case Length::Short: appendAscii(out, render(printfDirective(directive, "h", c), va_arg(args, int))); break;
    default: appendAscii(out, render(printfDirective(directive, "", c), va_arg(args, int))); break;
    }
}

void appendUnsigned(std::u16string &out, const Directive &directive, va_list args) {
    const char c = directive.conversion;
    switch (directive.length) {
    case Length::Long: appendAscii(out, render(printfDirective(directive, "l", c), va_arg(args, unsigned long))); break;
    case Length::LongLong:
        appendAscii(out, render(printfDirective(directive, "ll", c), va_arg(args, unsigned long long)));
        break;
    case Length::IntMax: appendAscii(out, render(printfDirective(directive, "j", c), va_arg(args, uintmax_t))); break;
    case Length::Size: appendAscii(out, render(printfDirective(directive, "z", c), va_arg(args, size_t))); break;
    case Length::PtrDiff:
        appendAscii(out, render(printfDirective(directive, "t", c), va_arg(args, std::make_unsigned_t<ptrdiff_t>)));
        break;
    case Length::Char: appendAscii(out, render(printfDirective(directive, "hh", c), va_arg(args, unsigned int))); break;
    case Length::Short: appendAscii(out, render(printfDirective(directive, "h", c), va_arg(args, unsigned int))); break;
    default: appendAscii(out, render(printfDirective(directive, "", c), va_arg(args, unsigned int))); break;
    }
}

void appendFloating(std::u16string &out, const Directive &directive, va_list args) {
    if (directive.length == Length::LongDouble)
        appendAscii(out, render(printfDirective(directive, "L", directive.conversion), va_arg(args, long double)));
    else
        appendAscii(out, render(printfDirective(directive, "", directive.conversion), va_arg(args, double)));
}

// "0x" and lowercase hex digits, NULL as "0x0", as Apple prints pointers
// (glibc would print "(nil)").
void appendPointer(std::u16string &out, const Directive &directive, va_list args) {
    const void *p = va_arg(args, void *);
    Directive digits;
    digits.precision = directive.precision;
    const std::string text = "0x" + render(printfDirective(digits, "j", 'x'), static_cast<uintmax_t>(reinterpret_cast<uintptr_t>(p)));
    Directive padding = directive;
    padding.precision = -1;
    appendText(out, std::u16string(text.begin(), text.end()), padding);
}

void appendObject(std::u16string &out, const Directive &directive, va_list args) {
    CFTypeRef object = va_arg(args, CFTypeRef);
    if (!object) {
        appendText(out, u"(null)", directive);
        return;
    }
    CFStringRef description = CFCopyDescription(object);
    std::u16string text(zpcf::stringText(description));
    CFRelease(description);
    appendText(out, std::move(text), directive);
}

bool isFlag(char16_t c) { return c == u'-' || c == u'+' || c == u' ' || c == u'0' || c == u'#' || c == u'\''; }
bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Reads digits or '*' at format[i]; returns -2 for '*', -1 for nothing.
int readCount(std::u16string_view format, size_t &i) {
    if (i < format.size() && format[i] == u'*') {
        ++i;
        return -2;
    }
    if (i >= format.size() || !isDigit(format[i]))
        return -1;
    long value = 0;
    while (i < format.size() && isDigit(format[i])) {
        if (value < 100000000)
            value = value * 10 + (format[i] - u'0');
        ++i;
    }
    return static_cast<int>(value);
}

Length readLength(std::u16string_view format, size_t &i) {
    const auto next = [&](char16_t c) {
        if (i < format.size() && format[i] == c) {
            ++i;
            return true;
        }
        return false;
    };
    if (next(u'h'))
        return next(u'h') ? Length::Char : Length::Short;
    if (next(u'l'))
        return next(u'l') ? Length::LongLong : Length::Long;
    if (next(u'q'))
        return Length::LongLong;
    if (next(u'j'))
        return Length::IntMax;
    if (next(u'z'))
        return Length::Size;
    if (next(u't'))
        return Length::PtrDiff;
    if (next(u'L'))
        return Length::LongDouble;
    return Length::None;
}

} // namespace

namespace zpcf {

void appendFormatted(std::u16string &out, std::u16string_view format, va_list args) {
    size_t i = 0;
    while (i < format.size()) {
        const size_t percent = format.find(u'%', i);
        out.append(format.substr(i, percent == std::u16string_view::npos ? std::u16string_view::npos : percent - i));
        if (percent == std::u16string_view::npos)
            return;
        const size_t start = percent;
        i = percent + 1;

        Directive directive;
        while (i < format.size() && isFlag(format[i]))
            directive.flags += static_cast<char>(format[i++]);
        directive.width = readCount(format, i);
        if (directive.width == -2) {
            const int width = va_arg(args, int);
            if (width < 0)
                directive.flags += '-';
            directive.width = width < 0 ? -width : width;
        }
        if (i < format.size() && format[i] == u'.') {
            ++i;
            directive.precision = readCount(format, i);
            if (directive.precision == -2) {
                const int precision = va_arg(args, int);
                directive.precision = precision < 0 ? -1 : precision;
            } else if (directive.precision == -1) {
                directive.precision = 0; // "%.f" means precision 0
            }
        }
        directive.length = readLength(format, i);
        if (i >= format.size()) {
            out.append(format.substr(start)); // an unfinished conversion stays as written
            return;
        }
        const char16_t conversion = format[i++];
        directive.conversion = conversion < 0x80 ? static_cast<char>(conversion) : 0;

        switch (conversion) {
        case u'%':
            out += u'%';
            break;
        case u'd':
        case u'i':
            appendSigned(out, directive, args);
            break;
        case u'u':
        case u'o':
        case u'x':
        case u'X':
            appendUnsigned(out, directive, args);
            break;
        case u'D': // Apple's old synonyms for the long forms
        case u'U':
        case u'O':
            directive.conversion = static_cast<char>(conversion - u'A' + u'a');
            directive.length = Length::Long;
            conversion == u'D' ? appendSigned(out, directive, args) : appendUnsigned(out, directive, args);
            break;
        case u'f':
        case u'F':
        case u'e':
        case u'E':
        case u'g':
        case u'G':
        case u'a':
        case u'A':
            appendFloating(out, directive, args);
            break;
        case u'c':
            appendText(out, std::u16string(1, static_cast<char16_t>(static_cast<unsigned char>(va_arg(args, int)))),
                       directive);
            break;
        case u'C':
            appendText(out, std::u16string(1, static_cast<char16_t>(va_arg(args, int))), directive);
            break;
        case u's': {
            const char *text = va_arg(args, const char *);
            appendText(out, text ? systemText(text) : u"(null)", directive);
            break;
        }
        case u'S': {
            const UniChar *text = va_arg(args, const UniChar *);
            if (!text) {
                appendText(out, u"(null)", directive);
                break;
            }
            std::u16string units;
            for (const UniChar *p = text; *p; ++p)
                units += static_cast<char16_t>(*p);
            appendText(out, std::move(units), directive);
            break;
        }
        case u'p':
            appendPointer(out, directive, args);
            break;
        case u'@':
            appendObject(out, directive, args);
            break;
        case u'n': // never written through: the argument is skipped
            (void)va_arg(args, void *);
            break;
        default: // unknown: kept as written, no argument taken
            out.append(format.substr(start, i - start));
            break;
        }
    }
}

} // namespace zpcf
