// Helpers shared by the ZpCoreFoundation tests: an owner that releases a CF
// reference at scope exit, and conversions to std::string for assertions.
#ifndef ZPCF_TESTS_CFTESTSUPPORT_H
#define ZPCF_TESTS_CFTESTSUPPORT_H

#include <CoreFoundation/CoreFoundation.h>

#include <string>
#include <vector>

namespace zpcf_test {

// Owns one reference (the create rule's +1) and gives it back when it goes.
template <typename Ref> class Owned {
public:
    explicit Owned(Ref ref = nullptr) : ref_(ref) {}
    ~Owned() {
        if (ref_)
            CFRelease(ref_);
    }
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;
    Ref get() const { return ref_; }
    operator Ref() const { return ref_; }
    explicit operator bool() const { return ref_ != nullptr; }

private:
    Ref ref_;
};

// The string's text as UTF-8; "<null>" for NULL, "<unencodable>" when it fails.
inline std::string utf8(CFStringRef str) {
    if (!str)
        return "<null>";
    const CFIndex size = CFStringGetMaximumSizeForEncoding(CFStringGetLength(str), kCFStringEncodingUTF8) + 1;
    std::vector<char> buffer(static_cast<size_t>(size));
    if (!CFStringGetCString(str, buffer.data(), size, kCFStringEncodingUTF8))
        return "<unencodable>";
    return std::string(buffer.data());
}

inline CFStringRef createString(const char *text) {
    return CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8);
}

inline std::u16string units(CFStringRef str) {
    std::u16string out(static_cast<size_t>(CFStringGetLength(str)), u'\0');
    if (!out.empty())
        CFStringGetCharacters(str, CFRangeMake(0, CFStringGetLength(str)), reinterpret_cast<UniChar *>(out.data()));
    return out;
}

// CFCopyDescription as UTF-8.
inline std::string describe(CFTypeRef cf) {
    Owned<CFStringRef> description(CFCopyDescription(cf));
    return utf8(description);
}

} // namespace zpcf_test

#endif // ZPCF_TESTS_CFTESTSUPPORT_H
