#include <ZpCore/ZpString.h>

#include "ZpCFStringUtf8.h"

#include <cstring>
#include <utility>

namespace {

// Shared by every empty ZpString; constant strings ignore retain and release.
CFStringRef emptyCFString()
{
    static const CFStringRef empty = CFSTR("");
    return empty;
}

std::u16string textOf(CFStringRef string)
{
    const CFIndex length = CFStringGetLength(string);
    std::u16string text(static_cast<size_t>(length), u'\0');
    if (length > 0)
        CFStringGetCharacters(string, CFRangeMake(0, length), reinterpret_cast<UniChar*>(text.data()));
    return text;
}

CFStringRef createCFString(const std::u16string& text)
{
    if (text.empty())
        return emptyCFString();
    CFStringRef string = CFStringCreateWithCharacters(
        kCFAllocatorDefault, reinterpret_cast<const UniChar*>(text.data()), static_cast<CFIndex>(text.size()));
    return string ? string : emptyCFString();
}

} // namespace

ZpString::ZpString()
    : mString(emptyCFString())
{
}

ZpString::ZpString(CFStringRef string)
    : mString(emptyCFString())
{
    if (!string)
        return;
    if (CFStringRef copy = CFStringCreateCopy(kCFAllocatorDefault, string)) {
        mString = copy;
        mText = textOf(copy);
    }
}

ZpString::ZpString(const char16_t* utf16)
    : ZpString(utf16 ? std::u16string(utf16) : std::u16string())
{
}

ZpString::ZpString(const std::u16string& utf16)
    : mText(utf16)
    , mString(createCFString(mText))
{
}

ZpString::ZpString(const char* utf8)
    : mString(emptyCFString())
{
    if (!utf8 || !*utf8)
        return;
    CFStringRef string = CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(utf8),
                                                 static_cast<CFIndex>(std::strlen(utf8)), kCFStringEncodingUTF8,
                                                 false);
    if (string) {
        mString = string;
        mText = textOf(string);
    }
}

ZpString::ZpString(const ZpString& other)
    : mText(other.mText)
    , mString(static_cast<CFStringRef>(CFRetain(other.mString)))
{
}

ZpString::ZpString(ZpString&& other) noexcept
    : mText(std::move(other.mText))
    , mString(std::exchange(other.mString, emptyCFString()))
{
    other.mText.clear();
}

ZpString& ZpString::operator=(const ZpString& other)
{
    if (this != &other) {
        ZpString copy(other);
        *this = std::move(copy);
    }
    return *this;
}

ZpString& ZpString::operator=(ZpString&& other) noexcept
{
    std::swap(mText, other.mText);
    std::swap(mString, other.mString);
    return *this;
}

ZpString::~ZpString()
{
    CFRelease(mString);
}

CFStringRef ZpString::cfString() const
{
    return mString;
}

const std::u16string& ZpString::utf16() const
{
    return mText;
}

std::string ZpString::utf8() const
{
    return ZpCFStringUtf8(mString);
}

int ZpString::length() const
{
    return static_cast<int>(mText.size());
}

bool ZpString::isEmpty() const
{
    return mText.empty();
}
