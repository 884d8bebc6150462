// CFRuntime.h (private): the object header every CF object starts with, and the
// string representation that the other types need to see.
//
// Every public ...Ref points at an object derived from zpcf::Object, whose
// retain count is atomic. The public opaque types (struct __CFString, ...) are
// defined as C++ classes derived from zpcf::Object; the single non-virtual base
// sits at offset 0, so a CFTypeRef and the typed pointer hold the same address.
//
// Constant objects (CFSTR strings, the booleans) are "immortal": retain and
// release do nothing to them and they are never destroyed, so they stay usable
// from static initialisers and destructors of any library in the process.
//
// No exception may leave a public function: entry points that allocate catch
// std::bad_alloc and return NULL / do nothing, as CF does on allocation failure.
#ifndef ZPCOREFOUNDATION_SRC_CFRUNTIME_H
#define ZPCOREFOUNDATION_SRC_CFRUNTIME_H

#include <CoreFoundation/CoreFoundation.h>

#include <atomic>
#include <cstdarg>
#include <string>
#include <string_view>

namespace zpcf {

// Type ids. Callers compare them only with the ...GetTypeID() functions, as
// with Apple's, whose numbers change between releases.
enum : CFTypeID {
    kTypeIDString = 7,
    kTypeIDDictionary = 18,
    kTypeIDArray = 19,
    kTypeIDBoolean = 21,
    kTypeIDNumber = 22,
    kTypeIDURL = 29,
};

// The retain count reported for constant objects.
constexpr CFIndex kImmortalRetainCount = 0x0FFFFFFFFFFFFFFFL;

class Object {
public:
    enum class Lifetime { Counted, Immortal };

    explicit Object(Lifetime lifetime = Lifetime::Counted) : immortal_(lifetime == Lifetime::Immortal) {}
    virtual ~Object() = default;
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    virtual CFTypeID typeID() const = 0;
    // Called by CFEqual only with an object of the same typeID.
    virtual bool equals(const Object &other) const { return this == &other; }
    virtual CFHashCode hash() const { return static_cast<CFHashCode>(reinterpret_cast<uintptr_t>(this)); }
    // The text of CFCopyDescription (see CFBase.h for what each type gives).
    virtual std::u16string description() const = 0;

    void retain() const {
        if (!immortal_)
            refs_.fetch_add(1, std::memory_order_relaxed);
    }
    // Destroys the object when the last reference goes; acquire-release so that
    // every write made through other references happens before the destructor.
    void release() const {
        if (immortal_)
            return;
        if (refs_.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    CFIndex retainCount() const { return immortal_ ? kImmortalRetainCount : refs_.load(std::memory_order_relaxed); }

private:
    mutable std::atomic<CFIndex> refs_{1};
    const bool immortal_;
};

inline const Object *asObject(CFTypeRef cf) { return static_cast<const Object *>(cf); }

// True when cf is a live object of the given type (NULL gives false).
inline bool isA(CFTypeRef cf, CFTypeID type) { return cf && asObject(cf)->typeID() == type; }

// Pointer formatting shared by descriptions ("0x..." as Apple prints it).
std::u16string pointerText(const void *p);

// Plain ASCII to UTF-16 (for literals and numbers printed by the library).
std::u16string asciiToUtf16(std::string_view ascii);

// UTF-8 to UTF-16; false on bytes that are not UTF-8.
bool utf8ToUtf16(std::string_view utf8, std::u16string &out);
// UTF-16 to UTF-8; false on unpaired surrogates.
bool utf16ToUtf8(std::u16string_view text, std::string &out);

// Description of a value held by a collection: its copyDescription callback's
// result when there is one, else "<0x...>" for raw pointers.
std::u16string describeValue(const void *value, CFStringRef (*copyDescription)(const void *));

} // namespace zpcf

// The string object, seen by every part of the library. Immutable strings never
// change after creation, which is what makes them safe to share across threads.
struct __CFString final : zpcf::Object {
    __CFString(std::u16string text, bool isMutable, Lifetime lifetime = Lifetime::Counted);

    CFTypeID typeID() const override { return zpcf::kTypeIDString; }
    bool equals(const Object &other) const override;
    CFHashCode hash() const override;
    std::u16string description() const override { return text; }

    std::u16string text;
    // The text as 8-bit ASCII, kept for immutable all-ASCII strings so that
    // CFStringGetCStringPtr can hand it out; empty and unused otherwise.
    std::string ascii;
    bool hasAscii = false;
    const bool isMutable;
};

namespace zpcf {

// A new string owned by the caller, NULL when out of memory.
CFStringRef makeString(std::u16string text);
CFMutableStringRef makeMutableString(std::u16string text);
// The text of a CFString; an empty view for NULL or a non-string.
std::u16string_view stringText(CFStringRef str);
// Checked downcast: NULL unless cf is a CFString.
const __CFString *asString(CFTypeRef cf);

// Appends the expansion of a CFString format to out (CFStringFormat.cpp).
// args is consumed as the conversions in format ask.
void appendFormatted(std::u16string &out, std::u16string_view format, va_list args);

} // namespace zpcf

#endif // ZPCOREFOUNDATION_SRC_CFRUNTIME_H
