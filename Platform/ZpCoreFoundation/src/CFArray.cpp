// CFArray.cpp: arrays of pointer-sized values whose lifetime the array's
// callbacks manage.
#include "CFRuntime.h"

#include <new>
#include <vector>

namespace {

const void *retainCFType(CFAllocatorRef, const void *value) { return CFRetain(value); }
void releaseCFType(CFAllocatorRef, const void *value) { CFRelease(value); }

CFArrayCallBacks callBacksOrNone(const CFArrayCallBacks *callBacks) {
    return callBacks ? *callBacks : CFArrayCallBacks{0, nullptr, nullptr, nullptr, nullptr};
}

} // namespace

const CFArrayCallBacks kCFTypeArrayCallBacks = {0, retainCFType, releaseCFType, CFCopyDescription, CFEqual};

struct __CFArray final : zpcf::Object {
    __CFArray(const CFArrayCallBacks &callBacks_, bool isMutable_) : callBacks(callBacks_), isMutable(isMutable_) {}
    ~__CFArray() override {
        if (callBacks.release)
            for (const void *value : values)
                callBacks.release(nullptr, value);
    }

    CFTypeID typeID() const override { return zpcf::kTypeIDArray; }

    bool equals(const Object &other) const override {
        const auto &that = static_cast<const __CFArray &>(other);
        if (values.size() != that.values.size())
            return false;
        for (size_t i = 0; i < values.size(); ++i) {
            const bool same = callBacks.equal ? callBacks.equal(values[i], that.values[i]) != 0
                                              : values[i] == that.values[i];
            if (!same)
                return false;
        }
        return true;
    }

    // Consistent with equals for any element equality: equal arrays have equal counts.
    CFHashCode hash() const override { return static_cast<CFHashCode>(values.size()); }

    std::u16string description() const override {
        if (values.empty())
            return u"(\n)";
        std::u16string out = u"(\n";
        for (size_t i = 0; i < values.size(); ++i) {
            std::u16string element = zpcf::describeValue(values[i], callBacks.copyDescription);
            // Nested collections stay readable: their lines move in with ours.
            for (size_t at = element.find(u'\n'); at != std::u16string::npos; at = element.find(u'\n', at + 1))
                element.insert(at + 1, u"    ");
            out += u"    " + element;
            out += i + 1 < values.size() ? u",\n" : u"\n";
        }
        out += u")";
        return out;
    }

    const void *hold(const void *value) const { return callBacks.retain ? callBacks.retain(nullptr, value) : value; }

    const CFArrayCallBacks callBacks;
    const bool isMutable;
    std::vector<const void *> values;
};

CFTypeID CFArrayGetTypeID(void) { return zpcf::kTypeIDArray; }

CFArrayRef CFArrayCreate(CFAllocatorRef, const void **values, CFIndex numValues, const CFArrayCallBacks *callBacks) {
    if (numValues < 0 || (!values && numValues > 0))
        return nullptr;
    __CFArray *array = nullptr;
    try {
        array = new __CFArray(callBacksOrNone(callBacks), false);
        array->values.reserve(static_cast<size_t>(numValues));
        for (CFIndex i = 0; i < numValues; ++i)
            array->values.push_back(array->hold(values[i]));
        return array;
    } catch (const std::bad_alloc &) {
        delete array; // releases what it took so far
        return nullptr;
    }
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex capacity, const CFArrayCallBacks *callBacks) {
    if (capacity < 0)
        return nullptr;
    try {
        return new __CFArray(callBacksOrNone(callBacks), true);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void CFArrayAppendValue(CFMutableArrayRef theArray, const void *value) {
    if (!zpcf::isA(theArray, zpcf::kTypeIDArray) || !theArray->isMutable)
        return;
    try {
        theArray->values.reserve(theArray->values.size() + 1);
    } catch (const std::bad_alloc &) {
        return;
    }
    // Reserved first so that a value retained here is always stored.
    theArray->values.push_back(theArray->hold(value));
}

CFIndex CFArrayGetCount(CFArrayRef theArray) {
    return zpcf::isA(theArray, zpcf::kTypeIDArray) ? static_cast<CFIndex>(theArray->values.size()) : 0;
}

const void *CFArrayGetValueAtIndex(CFArrayRef theArray, CFIndex idx) {
    if (!zpcf::isA(theArray, zpcf::kTypeIDArray) || idx < 0 || static_cast<size_t>(idx) >= theArray->values.size())
        return nullptr;
    return theArray->values[static_cast<size_t>(idx)];
}
