// CFBase.cpp: the type-independent entry points (retain/release, equality,
// hashing, descriptions) dispatched through zpcf::Object.
#include "CFRuntime.h"

#include <cinttypes>
#include <cstdio>
#include <new>

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFAllocatorRef kCFAllocatorSystemDefault = nullptr;

namespace zpcf {

std::u16string pointerText(const void *p) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(p));
    return asciiToUtf16(buffer);
}

std::u16string asciiToUtf16(std::string_view ascii) { return std::u16string(ascii.begin(), ascii.end()); }

std::u16string describeValue(const void *value, CFStringRef (*copyDescription)(const void *)) {
    if (copyDescription) {
        CFStringRef described = copyDescription(value);
        std::u16string text(stringText(described));
        CFRelease(described);
        return text;
    }
    return u"<" + pointerText(value) + u">";
}

} // namespace zpcf

CFTypeRef CFRetain(CFTypeRef cf) {
    if (cf)
        zpcf::asObject(cf)->retain();
    return cf;
}

void CFRelease(CFTypeRef cf) {
    if (cf)
        zpcf::asObject(cf)->release();
}

CFIndex CFGetRetainCount(CFTypeRef cf) { return cf ? zpcf::asObject(cf)->retainCount() : 0; }

CFTypeID CFGetTypeID(CFTypeRef cf) { return cf ? zpcf::asObject(cf)->typeID() : 0; }

Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2) {
    if (cf1 == cf2)
        return true;
    if (!cf1 || !cf2)
        return false;
    const zpcf::Object *a = zpcf::asObject(cf1);
    const zpcf::Object *b = zpcf::asObject(cf2);
    return a->typeID() == b->typeID() && a->equals(*b);
}

CFHashCode CFHash(CFTypeRef cf) { return cf ? zpcf::asObject(cf)->hash() : 0; }

CFStringRef CFCopyDescription(CFTypeRef cf) {
    if (!cf)
        return nullptr;
    // An immutable string describes itself; sharing it is Apple's behaviour too.
    if (const __CFString *str = zpcf::asString(cf); str && !str->isMutable)
        return static_cast<CFStringRef>(CFRetain(str));
    try {
        return zpcf::makeString(zpcf::asObject(cf)->description());
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}
