#include "ZpCFStringUtf8.h"

#include <cstring>
#include <vector>

std::string ZpCFStringUtf8(CFStringRef string)
{
    if (!string)
        return std::string();
    if (const char* direct = CFStringGetCStringPtr(string, kCFStringEncodingUTF8))
        return std::string(direct);
    const CFIndex size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(string), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<size_t>(size));
    if (!CFStringGetCString(string, buffer.data(), size, kCFStringEncodingUTF8))
        return std::string();
    return std::string(buffer.data());
}
